// Choosing the line bodies of the active path (baseline code).
#include "bayer/kernels/simd/line_bodies.h"

#include "cpu/dispatch.h"

namespace tavrix::detail {
#if TAVRIX_SIMD_X86 || TAVRIX_SIMD_NEON
namespace {

// Above this output size streamed stores measured faster on a 32 MiB-L3 EPYC
// (bench/bayer_bench.cpp, 4096 x 3072 frames).
constexpr std::int64_t kStreamedOutputBytes = std::int64_t(16) << 20;

bool RampFor(const ClampedOffset &shape, bool byteLanes, ChannelRamp &ramp) {
  const std::int32_t cap = byteLanes ? 255 : 65535;
  if (shape.max < 0 || shape.max > cap) return false;
  const std::int32_t add = shape.offset > 0 ? shape.offset : 0;
  const std::int32_t sub = shape.offset < 0 ? -shape.offset : 0;
  ramp = {std::uint16_t(add < cap ? add : cap), std::uint16_t(sub < cap ? sub : cap),
          std::uint16_t(shape.max)};
  return true;
}

// What the reference stores, written as ramps, one shift and a limit (plain and
// byte-select), or as ramps, the matrix and a narrowing (corrected).
bool ArgsFor(const FastPassJob &job, bool byteLanes, VectorLineArgs &a) {
  const TableShapes &s = job.shapes;
  if (!s.clamped || s.red.shift != s.green.shift || s.red.shift != s.blue.shift) return false;
  if (!RampFor(s.blue, byteLanes, a.blue) || !RampFor(s.green, byteLanes, a.green) ||
      !RampFor(s.red, byteLanes, a.red))
    return false;
  const int depthShift = job.context.depthShift, bits = job.context.bitDepth;
  const bool to24 = job.variant == PassVariant::k24From8 || job.variant == PassVariant::k24From16;
  if (to24 && (depthShift < 0 || depthShift > 15)) return false;
  if (bits < 0 || bits > 31) return false;
  const bool corrected = job.family == LineFamily::kCorrected;
  a.shift = s.red.shift + (to24 && !corrected ? depthShift : 0);
  a.limit = 65535;
  if (job.variant == PassVariant::k48From16 && bits < 16) a.limit = std::uint16_t((1u << bits) - 1);
  a.matrix = job.context.matrix;
  a.narrowShift = to24 ? depthShift : 0;
  a.narrowMax = job.variant == PassVariant::k48From16 ? int((1u << bits) - 1) : 255;
  if (corrected && (a.narrowMax < 0 || a.narrowMax > 65535)) return false;
  // Streamed stores pay once the output cannot stay in the last-level cache anyway.
  const std::int64_t outputBytes =
      std::int64_t(FastPassRowBytes(job)) * (std::int64_t(job.inputSize.height) - 1);
  a.stream = outputBytes >= kStreamedOutputBytes;
  return !byteLanes || a.shift == 0;
}

// The byte a plain or byte-select pass stores for each of 256 indexes.
bool ByteTablesFor(const FastPassJob &job, VectorLineArgs &a) {
  const bool to24 = job.variant == PassVariant::k24From8;
  const int shift = to24 ? job.context.depthShift : 0;
  if (job.family == LineFamily::kCorrected || shift < 0 || shift > 31) return false;
  const std::uint16_t *luts[3] = {job.luts.blue, job.luts.green, job.luts.red};
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < 256; ++i) a.tables[c][i] = std::uint8_t(unsigned(luts[c][i]) >> shift);
  a.stream = std::int64_t(FastPassRowBytes(job)) * (std::int64_t(job.inputSize.height) - 1) >=
             kStreamedOutputBytes;
  return true;
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
  const Path path = ActivePath();
#if TAVRIX_SIMD_X86
  if (!job.shapes.clamped && input != BodyInput::kWords && Admits(path, Path::kAvx2) &&
      ByteTablesFor(job, args))
    return LookupBodiesAvx2(input, output);
  if (!ArgsFor(job, input != BodyInput::kWords, args)) return nullptr;
  if (job.family == LineFamily::kCorrected)
    return Admits(path, Path::kAvx2) ? CorrectedBodiesAvx2(input, output) : nullptr;
  if (Admits(path, Path::kAvx2)) return LineBodiesAvx2(input, output);
  if (Admits(path, Path::kSse41)) return LineBodiesSse41(input, output);
  return nullptr;
#else
  // The corrected pass stays with the reference: its vector body works on four
  // doubles per register (AVX2), NEON holds two, and no ARM machine of ours has
  // shown that this pays.
  if (!Admits(path, Path::kNeon) || job.family == LineFamily::kCorrected) return nullptr;
  if (!job.shapes.clamped && input != BodyInput::kWords && ByteTablesFor(job, args))
    return LookupBodiesNeon(input, output);
  if (!ArgsFor(job, input != BodyInput::kWords, args)) return nullptr;
  return LineBodiesNeon(input, output);
#endif
}
#else
// No vector bodies for this architecture: the reference walks every row.
const RowBody *ChooseLineBodies(const FastPassJob &, VectorLineArgs &) { return nullptr; }
#endif

}  // namespace tavrix::detail
