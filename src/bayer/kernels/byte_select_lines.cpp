// Byte-select line pass: 32-bit output from one byte of each 16-bit sample
// (the high byte for format codes 112 and 113, the low byte for 114 and 115),
// demosaiced exactly as the 8-bit plain kernel does, including decimation.
// There is no corrected form: these kernels ignore the correction mode.
#include "bayer/kernels/band_walk.h"
#include "bayer/kernels/line_walk.h"
#include "bayer/kernels/simd/line_bodies.h"

namespace tavrix::detail {
namespace {

struct ByteStore {
  static constexpr std::ptrdiff_t kBytes = 4;
  void operator()(std::uint8_t *o, TableValues v) const {
    StoreBgrx(o, v.blue, v.green, v.red);
  }
};

}  // namespace

void RunByteSelectPass(const FastPassJob &job) {
  if (job.variant != PassVariant::k32From16) return;
  ByteStore put;
  VectorLineArgs args;
  const RowBody *bodies = ChooseLineBodies(job, args);
  WalkBand<Columns::kDecimate, ByteOfWord>(job, put, bodies, &args);
}

}  // namespace tavrix::detail

#define TAVRIX_DEFINE_BYTE_SELECT_KERNEL(Name, Kind)                                         \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono16 *i,                \
                             const ISize &is, unsigned s, unsigned short format,             \
                             const Lut *r, const Lut *g, const Lut *b) {                     \
    const bool highByte = format == 112 || format == 113;                                   \
    tavrix::detail::RunClassKernel(                                                          \
        TAVRIX_LINE_CALL(tavrix::detail::LineFamily::kByteSelect, Kind, highByte), o, os, i, \
        is);                                                                                 \
  }
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearBGLinesMSB, tavrix::detail::RowKind::kBG)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearGBLinesMSB, tavrix::detail::RowKind::kGB)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearGRLinesMSB, tavrix::detail::RowKind::kGR)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearRGLinesMSB, tavrix::detail::RowKind::kRG)
