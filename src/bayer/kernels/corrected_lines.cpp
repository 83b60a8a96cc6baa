// Fast line pass with colour correction: each pixel's table values, read as
// signed 16-bit numbers, are multiplied by the correction matrix before storing.
//
// Results are truncated to 32 bits and then wrapped to signed 16 bits (a value
// past 32767 turns negative and stores 0): that wrap is the defined behaviour.
//   32-bit output: clamp 0..255 on the table's (8-bit) scale, fourth byte 0;
//                  decimating thins rows only: every column of a producing row is written
//   24-bit output: arithmetic shift by the depth shift, then clamp 0..255
//   48-bit output: clamp 0..2^bit depth - 1
#include "bayer/kernels/band_walk.h"
#include "bayer/kernels/line_walk.h"
#include "bayer/kernels/simd/line_bodies.h"
#include "bayer/numeric.h"

namespace tavrix::detail {
namespace {

struct Corrected {
  int blue, green, red;  // after the matrix, wrapped to 16 bits
};

template <class Record>
struct CorrectedStore;

// The matrix product and the bookkeeping all variants share.
struct CorrectedStoreBase {
  explicit CorrectedStoreBase(const LineContext &c) : m(c.matrix), workPixel(c.workPixel) {}
  Corrected Multiply(TableValues v) {
    last = v;
    wrote = true;
    const double b = std::int16_t(v.blue), g = std::int16_t(v.green), r = std::int16_t(v.red);
    return {WrapToInt16(TruncateToInt32(m[0] * b + m[1] * g + m[2] * r)),
            WrapToInt16(TruncateToInt32(m[3] * b + m[4] * g + m[5] * r)),
            WrapToInt16(TruncateToInt32(m[6] * b + m[7] * g + m[8] * r))};
  }
  // The converter keeps the table values of the last pixel processed.
  ~CorrectedStoreBase() {
    if (!wrote || workPixel == nullptr) return;
    workPixel[0] = std::uint16_t(last.blue);
    workPixel[1] = std::uint16_t(last.green);
    workPixel[2] = std::uint16_t(last.red);
  }
  CorrectedStoreBase(const CorrectedStoreBase &) = delete;
  CorrectedStoreBase &operator=(const CorrectedStoreBase &) = delete;

  const double *m;
  std::uint16_t *workPixel;
  TableValues last{};
  bool wrote = false;
};

inline std::uint8_t ClampByte(int v) { return std::uint8_t(v >= 256 ? 255 : (v < 0 ? 0 : v)); }

template <>
struct CorrectedStore<CBayerConverter::BGRxTRIPLE> : CorrectedStoreBase {
  static constexpr Columns kColumns = Columns::kDecimateRows;
  static constexpr std::ptrdiff_t kBytes = 4;
  using CorrectedStoreBase::CorrectedStoreBase;
  void operator()(std::uint8_t *o, TableValues v) {
    const Corrected c = Multiply(v);
    StoreBgrx(o, ClampByte(c.blue), ClampByte(c.green), ClampByte(c.red));
  }
};

template <>
struct CorrectedStore<tagRGBTRIPLE> : CorrectedStoreBase {
  static constexpr Columns kColumns = Columns::kAll;
  static constexpr std::ptrdiff_t kBytes = 3;
  explicit CorrectedStore(const LineContext &c) : CorrectedStoreBase(c), shift(c.depthShift) {}
  void operator()(std::uint8_t *o, TableValues v) {
    const Corrected c = Multiply(v);
    StoreBytes(o, ClampByte(c.blue >> shift), ClampByte(c.green >> shift),
               ClampByte(c.red >> shift));
  }
  int shift;
};

template <>
struct CorrectedStore<CBayerConverter::RGBTRIPLE16> : CorrectedStoreBase {
  static constexpr Columns kColumns = Columns::kAll;
  static constexpr std::ptrdiff_t kBytes = 6;
  explicit CorrectedStore(const LineContext &c)
      : CorrectedStoreBase(c), max(int((1u << c.bitDepth) - 1)) {}
  std::uint16_t Limit(int v) const { return std::uint16_t(v > max ? max : (v < 0 ? 0 : v)); }
  void operator()(std::uint8_t *o, TableValues v) {
    const Corrected c = Multiply(v);
    StoreWords(o, Limit(c.blue), Limit(c.green), Limit(c.red));
  }
  int max;
};

// The store records the last pixel in the converter's work pixel when it goes.
template <class Record, class Row>
void Corrected(const FastPassJob &job) {
  CorrectedStore<Record> store(job.context);
  VectorLineArgs args;
  const RowBody *bodies = ChooseLineBodies(job, args);
  WalkBand<CorrectedStore<Record>::kColumns, Row>(job, store, bodies, &args);
}

}  // namespace

void RunCorrectedPass(const FastPassJob &job) {
  using Bytes = const std::uint8_t *;
  switch (job.variant) {
    case PassVariant::k24From8: return Corrected<tagRGBTRIPLE, Bytes>(job);
    case PassVariant::k32From8: return Corrected<CBayerConverter::BGRxTRIPLE, Bytes>(job);
    case PassVariant::k24From16: return Corrected<tagRGBTRIPLE, Words>(job);
    case PassVariant::k32From16: return Corrected<CBayerConverter::BGRxTRIPLE, Words>(job);
    case PassVariant::k48From16: return Corrected<CBayerConverter::RGBTRIPLE16, Words>(job);
  }
}

}  // namespace tavrix::detail

using tavrix::detail::LineFamily;
using tavrix::detail::RowKind;
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearBGLinesCorrection, RowKind::kBG, LineFamily::kCorrected)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGBLinesCorrection, RowKind::kGB, LineFamily::kCorrected)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearGRLinesCorrection, RowKind::kGR, LineFamily::kCorrected)
TAVRIX_DEFINE_LINE_KERNEL(ProcessBilinearRGLinesCorrection, RowKind::kRG, LineFamily::kCorrected)
