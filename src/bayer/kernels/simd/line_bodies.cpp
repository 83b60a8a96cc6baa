// Choosing the line bodies of the active path (baseline code).
#include "bayer/kernels/simd/line_bodies.h"

#include "cpu/dispatch.h"

namespace tavrix::detail {
namespace {

bool RampFor(const ClampedOffset &shape, bool byteLanes, ChannelRamp &ramp) {
  const std::int32_t cap = byteLanes ? 255 : 65535;
  if (shape.max < 0 || shape.max > cap) return false;
  const std::int32_t add = shape.offset > 0 ? shape.offset : 0;
  const std::int32_t sub = shape.offset < 0 ? -shape.offset : 0;
  ramp = {std::uint16_t(add < cap ? add : cap), std::uint16_t(sub < cap ? sub : cap),
          std::uint16_t(shape.max)};
  return true;
}

// What the reference stores, written as ramps, one shift and a limit.
bool ArgsFor(const FastPassJob &job, bool byteLanes, VectorLineArgs &a) {
  const TableShapes &s = job.shapes;
  if (!s.clamped || s.red.shift != s.green.shift || s.red.shift != s.blue.shift) return false;
  if (!RampFor(s.blue, byteLanes, a.blue) || !RampFor(s.green, byteLanes, a.green) ||
      !RampFor(s.red, byteLanes, a.red))
    return false;
  const int depthShift = job.context.depthShift, bits = job.context.bitDepth;
  const bool to24 = job.variant == PassVariant::k24From8 || job.variant == PassVariant::k24From16;
  if (to24 && (depthShift < 0 || depthShift > 15)) return false;
  a.shift = s.red.shift + (to24 ? depthShift : 0);
  a.limit = 65535;
  if (job.variant == PassVariant::k48From16) {
    if (bits < 0 || bits > 31) return false;
    if (bits < 16) a.limit = std::uint16_t((1u << bits) - 1);
  }
  return !byteLanes || a.shift == 0;
}

}  // namespace

const RowBody *ChooseLineBodies(const FastPassJob &job, VectorLineArgs &args) {
  BodyInput input = BodyInput::kWords;
  if (job.family == LineFamily::kByteSelect)
    input = job.highByte ? BodyInput::kHighBytes : BodyInput::kLowBytes;
  else if (job.variant == PassVariant::k24From8 || job.variant == PassVariant::k32From8)
    input = BodyInput::kBytes;
  const BodyOutput output = Is32BitVariant(job.variant)                ? BodyOutput::k32
                            : job.variant == PassVariant::k48From16 ? BodyOutput::k48
                                                                      : BodyOutput::k24;
  if (!ArgsFor(job, input != BodyInput::kWords, args)) return nullptr;
#if TAVRIX_SIMD_X86
  const Path path = ActivePath();
  if (Admits(path, Path::kAvx2)) return LineBodiesAvx2(input, output);
  if (Admits(path, Path::kSse41)) return LineBodiesSse41(input, output);
#endif
  return nullptr;
}

}  // namespace tavrix::detail
