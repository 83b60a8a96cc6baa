// Fast line pass, plain kernels: table values narrowed and stored directly.
//
//   32-bit output: low byte of each entry, fourth byte 0, decimates by the sample factor
//   24-bit output: low byte of (entry >> depth shift)
//   48-bit output: entry limited to 2^bit depth - 1
#include "bayer/kernels/line_walk.h"

namespace tavrix::detail {
namespace {

template <class Record>
struct PlainStore;

template <>
struct PlainStore<CBayerConverter::BGRxTRIPLE> {
  static constexpr Columns kColumns = Columns::kDecimate;
  explicit PlainStore(const LineContext &) {}
  void operator()(CBayerConverter::BGRxTRIPLE &px, TableValues v) const {
    px = {std::uint8_t(v.blue), std::uint8_t(v.green), std::uint8_t(v.red), 0};
  }
};

template <>
struct PlainStore<tagRGBTRIPLE> {
  static constexpr Columns kColumns = Columns::kAll;
  explicit PlainStore(const LineContext &c) : shift(c.depthShift) {}
  void operator()(tagRGBTRIPLE &px, TableValues v) const {
    px = {std::uint8_t(v.blue >> shift), std::uint8_t(v.green >> shift),
          std::uint8_t(v.red >> shift)};
  }
  int shift;
};

template <>
struct PlainStore<CBayerConverter::RGBTRIPLE16> {
  static constexpr Columns kColumns = Columns::kAll;
  explicit PlainStore(const LineContext &c) : max((1u << c.bitDepth) - 1) {}
  void operator()(CBayerConverter::RGBTRIPLE16 &px, TableValues v) const {
    px = {std::uint16_t(v.blue > max ? max : v.blue), std::uint16_t(v.green > max ? max : v.green),
          std::uint16_t(v.red > max ? max : v.red)};
  }
  unsigned max;
};

template <RowKind kKind, class Record, class Sample>
void FastLines(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
               unsigned startRow, const Luts &lut, const LineContext &context) {
  PlainStore<Record> put(context);
  WalkLines<kKind, PlainStore<Record>::kColumns>(out, outSize, in, inSize, startRow,
                                                  context.sampleFactor, lut, put);
}

}  // namespace
}  // namespace tavrix::detail

using tavrix::detail::FastLines;
using tavrix::detail::RowKind;
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearBGLines, RowKind::kBG, FastLines)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGBLines, RowKind::kGB, FastLines)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGRLines, RowKind::kGR, FastLines)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearRGLines, RowKind::kRG, FastLines)
