// Byte-select line pass: 32-bit output from one byte of each 16-bit sample
// (the high byte for format codes 112 and 113, the low byte for 114 and 115),
// demosaiced exactly as the 8-bit plain kernel does, including decimation.
// There is no corrected form: these kernels ignore the correction mode.
#include "bayer/kernels/line_walk.h"

namespace tavrix::detail {
namespace {

template <RowKind kKind>
void ByteSelectLines(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize,
                     const std::uint16_t *in, const ISize &inSize, unsigned startRow,
                     unsigned short format, const Luts &lut, int sampleFactor) {
  const bool highByte = format == 112 || format == 113;
  const ByteOfWord bytes{reinterpret_cast<const std::uint8_t *>(in) + (highByte ? 1 : 0)};
  auto put = [](CBayerConverter::BGRxTRIPLE &px, TableValues v) {
    px = {std::uint8_t(v.blue), std::uint8_t(v.green), std::uint8_t(v.red), 0};
  };
  WalkLines<kKind, Columns::kDecimate>(out, outSize, bytes, inSize, startRow, sampleFactor, lut,
                                       put);
}

}  // namespace
}  // namespace tavrix::detail

#define TAVRIX_DEFINE_BYTE_SELECT_KERNEL(Name, Kind)                                         \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono16 *i,                \
                             const ISize &is, unsigned s, unsigned short format,             \
                             const Lut *r, const Lut *g, const Lut *b) {                     \
    tavrix::detail::ByteSelectLines<Kind>(o, os, i, is, s, format, {r, g, b},                \
                                          m_sampleFactor);                                   \
  }
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearBGLinesMSB, tavrix::detail::RowKind::kBG)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearGBLinesMSB, tavrix::detail::RowKind::kGB)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearGRLinesMSB, tavrix::detail::RowKind::kGR)
TAVRIX_DEFINE_BYTE_SELECT_KERNEL(ProcessBilinearRGLinesMSB, tavrix::detail::RowKind::kRG)
