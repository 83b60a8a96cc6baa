// The band entry of the fast line pass and the converter's kernels on top of it.
#include "bayer/kernels/fast_pass.h"

#include "bayer/kernels/band_walk.h"
#include "cpu/dispatch.h"

namespace tavrix::detail {
namespace {

std::ptrdiff_t RecordBytes(PassVariant v) {
  switch (v) {
    case PassVariant::k24From8:
    case PassVariant::k24From16: return 3;
    case PassVariant::k32From8:
    case PassVariant::k32From16: return 4;
    case PassVariant::k48From16: return 6;
  }
  return 0;
}

std::ptrdiff_t SampleBytes(PassVariant v) {
  return v == PassVariant::k24From8 || v == PassVariant::k32From8 ? 1 : 2;
}

// Rows between two producing rows of a decimating pass: even multiples of the factor.
std::ptrdiff_t DecimatedRowStep(int factor) { return factor % 2 == 0 ? factor : 2 * factor; }

// The check reads every entry a call can index, three tables' worth: about 70 us
// for 16-bit samples (3 x 65536 entries, BM_TableShapeCheck), what the vector
// bodies save on some 60 000 pixels. Frames with fewer pixels than entries
// checked keep the lookups.
constexpr std::int64_t kPixelsPerCheckedEntry = 1;

template <class Record, class Sample>
PassVariant VariantOf();
template <>
PassVariant VariantOf<tagRGBTRIPLE, std::uint8_t>() { return PassVariant::k24From8; }
template <>
PassVariant VariantOf<CBayerConverter::BGRxTRIPLE, std::uint8_t>() { return PassVariant::k32From8; }
template <>
PassVariant VariantOf<tagRGBTRIPLE, std::uint16_t>() { return PassVariant::k24From16; }
template <>
PassVariant VariantOf<CBayerConverter::BGRxTRIPLE, std::uint16_t>() {
  return PassVariant::k32From16;
}
template <>
PassVariant VariantOf<CBayerConverter::RGBTRIPLE16, std::uint16_t>() {
  return PassVariant::k48From16;
}

template <class Record, class Sample>
void RunPacked(const ClassKernelCall &call, Record *out, const ISize &outSize, const Sample *in,
               const ISize &inSize) {
  FastPassJob job{};
  job.variant = VariantOf<Record, Sample>();
  job.family = call.family;
  job.input = in;
  job.inputStride = std::ptrdiff_t(inSize.width) * std::ptrdiff_t(sizeof(Sample));
  job.inputSize = inSize;
  job.outputWidth = outSize.width;
  job.evenRows = job.oddRows = call.kind;
  job.walkEvenRows = call.startRow % 2 == 0;
  job.walkOddRows = !job.walkEvenRows;
  job.rowBegin = int(call.startRow);
  job.rowEnd = inSize.height;
  job.luts = call.luts;
  job.context = call.context;
  job.highByte = call.highByte;
  // Decimated rows are packed one after another. Otherwise the kernel's first
  // row lands on output row `startRow` and each next one two input widths
  // further on (the output width only places row 1).
  std::ptrdiff_t first = std::ptrdiff_t(outSize.width) * call.startRow;
  if (FastPassDecimates(job)) {
    job.outputStride = FastPassRowBytes(job);
  } else {
    job.outputStride = std::ptrdiff_t(inSize.width) * std::ptrdiff_t(sizeof(Record));
    first -= std::ptrdiff_t(call.startRow) * inSize.width;
  }
  job.output = out + first;
  job.shapes = CheckFastPassTables(job, call.tables);
  RunFastPass(job);
}

}  // namespace

bool FastPassDecimates(const FastPassJob &job) {
  return Is32BitVariant(job.variant) && job.context.sampleFactor != 1;
}

std::ptrdiff_t FastPassOutputRow(const FastPassJob &job, std::ptrdiff_t r) {
  if (r < 0 || r > std::ptrdiff_t(job.inputSize.height) - 2) return -1;
  if (r % 2 == 0 ? !job.walkEvenRows : !job.walkOddRows) return -1;
  if (!FastPassDecimates(job)) return r;
  const std::ptrdiff_t step = DecimatedRowStep(job.context.sampleFactor);
  return r % step == 0 ? r / step : -1;
}

std::ptrdiff_t FastPassRowBytes(const FastPassJob &job) {
  std::ptrdiff_t pixels = std::ptrdiff_t(job.inputSize.width) - 1;
  if (Is32BitVariant(job.variant)) {
    const std::ptrdiff_t factor = job.context.sampleFactor;
    pixels = factor * job.outputWidth - 1;
    if (factor != 1 && job.family != LineFamily::kCorrected) pixels = job.outputWidth;
  }
  return pixels * RecordBytes(job.variant);
}

TableShapes CheckFastPassTables(const FastPassJob &job, const TableSettings &settings) {
  TableShapes none{};
  if (ActivePath() == Path::kReference) return none;
  const bool byteIndexes =
      SampleBytes(job.variant) == 1 || job.family == LineFamily::kByteSelect;
  const int reach = byteIndexes ? kByteReach : kWordReach;
  const std::int64_t pixels = std::int64_t(job.inputSize.width) * job.inputSize.height;
  if (pixels < kPixelsPerCheckedEntry * 3 * reach) return none;
  return CheckTableShapes(job.luts, settings, reach);
}

void RunFastPass(const FastPassJob &job) {
  switch (job.family) {
    case LineFamily::kPlain: return RunPlainPass(job);
    case LineFamily::kCorrected: return RunCorrectedPass(job);
    case LineFamily::kByteSelect: return RunByteSelectPass(job);
  }
}

void RunClassKernel(const ClassKernelCall &call, CBayerConverter::BGRxTRIPLE *out,
                    const ISize &outSize, const std::uint8_t *in, const ISize &inSize) {
  RunPacked(call, out, outSize, in, inSize);
}
void RunClassKernel(const ClassKernelCall &call, CBayerConverter::BGRxTRIPLE *out,
                    const ISize &outSize, const std::uint16_t *in, const ISize &inSize) {
  RunPacked(call, out, outSize, in, inSize);
}
void RunClassKernel(const ClassKernelCall &call, CBayerConverter::RGBTRIPLE16 *out,
                    const ISize &outSize, const std::uint16_t *in, const ISize &inSize) {
  RunPacked(call, out, outSize, in, inSize);
}
void RunClassKernel(const ClassKernelCall &call, tagRGBTRIPLE *out, const ISize &outSize,
                    const std::uint8_t *in, const ISize &inSize) {
  RunPacked(call, out, outSize, in, inSize);
}
void RunClassKernel(const ClassKernelCall &call, tagRGBTRIPLE *out, const ISize &outSize,
                    const std::uint16_t *in, const ISize &inSize) {
  RunPacked(call, out, outSize, in, inSize);
}

}  // namespace tavrix::detail
