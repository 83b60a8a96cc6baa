// Fast line pass, plain kernels: table values narrowed and stored directly.
//
//   32-bit output: low byte of each entry, fourth byte 0, decimates by the sample factor
//   24-bit output: low byte of (entry >> depth shift)
//   48-bit output: entry limited to 2^bit depth - 1
#include "bayer/kernels/band_walk.h"
#include "bayer/kernels/line_walk.h"
#include "bayer/kernels/simd/line_bodies.h"

namespace tavrix::detail {
namespace {

template <class Record>
struct PlainStore;

template <>
struct PlainStore<CBayerConverter::BGRxTRIPLE> {
  static constexpr Columns kColumns = Columns::kDecimate;
  static constexpr std::ptrdiff_t kBytes = 4;
  explicit PlainStore(const LineContext &) {}
  void operator()(std::uint8_t *o, TableValues v) const {
    StoreBgrx(o, v.blue, v.green, v.red);
  }
};

template <>
struct PlainStore<tagRGBTRIPLE> {
  static constexpr Columns kColumns = Columns::kAll;
  static constexpr std::ptrdiff_t kBytes = 3;
  explicit PlainStore(const LineContext &c) : shift(c.depthShift) {}
  void operator()(std::uint8_t *o, TableValues v) const {
    StoreBytes(o, v.blue >> shift, v.green >> shift, v.red >> shift);
  }
  int shift;
};

template <>
struct PlainStore<CBayerConverter::RGBTRIPLE16> {
  static constexpr Columns kColumns = Columns::kAll;
  static constexpr std::ptrdiff_t kBytes = 6;
  explicit PlainStore(const LineContext &c) : max((1u << c.bitDepth) - 1) {}
  void operator()(std::uint8_t *o, TableValues v) const {
    StoreWords(o, v.blue > max ? max : v.blue, v.green > max ? max : v.green,
               v.red > max ? max : v.red);
  }
  unsigned max;
};

template <class Record, class Row>
void Plain(const FastPassJob &job) {
  PlainStore<Record> put(job.context);
  VectorLineArgs args;
  const RowBody *bodies = ChooseLineBodies(job, args);
  WalkBand<PlainStore<Record>::kColumns, Row>(job, put, bodies, &args);
}

}  // namespace

void RunPlainPass(const FastPassJob &job) {
  using Bytes = const std::uint8_t *;
  switch (job.variant) {
    case PassVariant::k24From8: return Plain<tagRGBTRIPLE, Bytes>(job);
    case PassVariant::k32From8: return Plain<CBayerConverter::BGRxTRIPLE, Bytes>(job);
    case PassVariant::k24From16: return Plain<tagRGBTRIPLE, Words>(job);
    case PassVariant::k32From16: return Plain<CBayerConverter::BGRxTRIPLE, Words>(job);
    case PassVariant::k48From16: return Plain<CBayerConverter::RGBTRIPLE16, Words>(job);
  }
}

}  // namespace tavrix::detail

using tavrix::detail::LineFamily;
using tavrix::detail::RowKind;
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearBGLines, RowKind::kBG, LineFamily::kPlain)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGBLines, RowKind::kGB, LineFamily::kPlain)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGRLines, RowKind::kGR, LineFamily::kPlain)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearRGLines, RowKind::kRG, LineFamily::kPlain)
