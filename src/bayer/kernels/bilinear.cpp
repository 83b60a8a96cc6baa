// Bilinear per-site interpolation: three passes (blue, red, green), each filling
// one channel of the interior from the one table of its colour.
//
//            c-1    c    c+1
//   r-1      D      V     D          direct  own sample
//   r        H    [own]   H          H, V    mean of the two neighbours shown
//   r+1      D      V     D          D       mean of the four diagonals
//                                    Cross   mean of the four H and V neighbours
//
// Red and blue: rows and columns 1 .. size-2, pairs (odd column, even column);
// green: rows and columns 2 .. size-3, pairs (even, odd). Which estimate a site
// gets is tabulated per origin. The tables are not symmetric on purpose: the
// red pass gives every green site of the rows without red the direction of the
// green sites of the rows with red (so it averages two blue samples there), and
// the blue pass does the same under origin BG.
//
// Variants:
//   24- and 32-bit: sums shifted by the output shift s (+1 or +2 for the means),
//                   Cross through a double product with 0.25 and a 16-bit
//                   arithmetic shift; the low byte stored, no clamp.
//   48-bit:         no shift; red-pass pair means through a double product with
//                   0.5, Cross a plain shift by 2; the word stored.
//   32-bit, the cases BilinearPassDecimates lists: the fourth byte is zeroed and,
//                   with a sample factor f > 1, only every f-th visited position
//                   is stored, packed (rows with r mod f != 0 are not visited).
//
// Samples index the tables unsigned, 16-bit ones included.
#include <algorithm>

#include "bayer/kernels/bilinear_sites.h"
#include "bayer/kernels/plane_kernels.h"
#include "bayer/kernels/simd/site_fast.h"
#include "bayer/kernels/store_policy.h"
#include "bayer/walk_limits.h"

namespace tavrix::detail {
namespace {

constexpr Channel ChannelOf(BilinearPass pass) {
  return pass == BilinearPass::kBlue  ? Channel::kBlue
         : pass == BilinearPass::kRed ? Channel::kRed
                                      : Channel::kGreen;
}

// How sums of table entries become stored values.
template <bool kWide, BilinearPass kPass>
struct Averages;

template <BilinearPass kPass>
struct Averages<false, kPass> {
  explicit Averages(int outputShift) : s(outputShift) {}
  int Direct(std::uint16_t entry) const { return entry >> s; }
  int Pair(unsigned sum) const { return int(sum >> (s + 1)); }
  int Quad(unsigned sum) const { return int(sum >> (s + 2)); }
  int Cross(unsigned sum) const { return FloorShift(Cut16(int(double(sum) * 0.25)), s); }
  int s;
};

template <BilinearPass kPass>
struct Averages<true, kPass> {
  explicit Averages(int /*outputShift*/) {}
  static int Direct(std::uint16_t entry) { return entry; }
  static int Pair(unsigned sum) {
    if constexpr (kPass == BilinearPass::kRed)
      return int(double(sum) * 0.5);
    else
      return int(sum >> 1);
  }
  static int Quad(unsigned sum) { return int(sum >> 2); }
  static int Cross(unsigned sum) { return int(sum >> 2); }
};

template <Estimate kEstimate, class Sample, class Math>
TAVRIX_SITE_INLINE int Interpolate(const Sample *p, std::ptrdiff_t w, const std::uint16_t *lut,
                       const Math &math) {
  if constexpr (kEstimate == Estimate::kDirect) {
    return math.Direct(lut[p[0]]);
  } else if constexpr (kEstimate == Estimate::kH) {
    return math.Pair(unsigned(lut[p[-1]]) + lut[p[1]]);
  } else if constexpr (kEstimate == Estimate::kV) {
    return math.Pair(unsigned(lut[p[-w]]) + lut[p[w]]);
  } else if constexpr (kEstimate == Estimate::kD) {
    return math.Quad(unsigned(lut[p[-w - 1]]) + lut[p[-w + 1]] + lut[p[w - 1]] + lut[p[w + 1]]);
  } else {
    return math.Cross(unsigned(lut[p[-w]]) + lut[p[w]] + lut[p[-1]] + lut[p[1]]);
  }
}

template <BilinearPass kPass, int kOrigin, class Record, class Sample>
struct SitePass {
  using Store = SiteStore<Record>;
  using Math = Averages<Store::kWide, kPass>;
  static constexpr Channel kChannel = ChannelOf(kPass);
  static constexpr int kMargin = BilinearMargin(kPass);
  static constexpr bool kMarks =
      std::is_same<Record, CBayerConverter::BGRxTRIPLE>::value &&
      BilinearPassDecimates(kPass, kOrigin, std::is_same<Sample, std::uint16_t>::value);

  template <int kRow, int kColumn>
  TAVRIX_SITE_INLINE static void Put(Record &px, const Sample *p, std::ptrdiff_t w, const std::uint16_t *lut,
                  const Math &math) {
    using ChannelValue = std::remove_reference_t<decltype(Store::template At<kChannel>(px))>;
    constexpr Estimate kEstimate = EstimateAt(kPass, kOrigin, kRow, kColumn);
    const int value = Interpolate<kEstimate>(p, w, lut, math);
    Store::template At<kChannel>(px) = ChannelValue(unsigned(value));  // low byte or word
    if constexpr (kMarks) Store::MarkWritten(px);
  }

  // One row of the interior, pixel (r, c) for site (r, c).
  static void Row(const SiteFrame<Record, Sample> &frame, int r, const std::uint16_t *lut,
                  const Math &math) {
    const std::ptrdiff_t w = frame.inStride / std::ptrdiff_t(sizeof(Sample));
    WalkSiteRow<kMargin>(frame, r, [&](auto row, auto column, const Sample *p, Record *o) {
      Put<decltype(row)::value, decltype(column)::value>(*o, p, w, lut, math);
    });
  }

  // Rows [firstRow, lastRow) of the converter's frame.
  static void Full(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                   const std::uint16_t *lut, const Math &math, int firstRow, int lastRow) {
    const SiteFrame<Record, Sample> frame = ConverterFrame<kMargin>(out, outSize, in, inSize);
    for (int r = std::max(firstRow, 0); r < std::min(lastRow, frame.height); ++r)
      Row(frame, r, lut, math);
  }

  // Every factor-th position at stride `step` from p, packed at stride `outStep`.
  template <int kRow, int kColumn>
  static void Strided(Record *o, const Sample *p, std::int64_t count, std::ptrdiff_t step,
                      std::ptrdiff_t outStep, std::ptrdiff_t w, const std::uint16_t *lut,
                      const Math &math) {
    for (std::int64_t k = 0; k < count; ++k)
      Put<kRow, kColumn>(o[k * outStep], p + k * step, w, lut, math);
  }

  template <int kRow>
  static void StridedRow(Record *o, const Sample *p, std::int64_t count, std::ptrdiff_t step,
                         std::ptrdiff_t outStep, bool oddColumn, std::ptrdiff_t w,
                         const std::uint16_t *lut, const Math &math) {
    if (oddColumn)
      Strided<kRow, 1>(o, p, count, step, outStep, w, lut, math);
    else
      Strided<kRow, 0>(o, p, count, step, outStep, w, lut, math);
  }

  // Sample factor f > 1: rows with r mod f = 0 only; positions counted on
  // across those rows, every f-th one stored, packed; 2 * margin pixels skipped
  // after each visited row. A stored position's column parity is fixed along
  // a row for even f and alternates for odd f, so each row is stored as one or
  // two strided runs of a fixed site kind. Only rows [firstRow, lastRow) are
  // stored; the rows above advance the counters by arithmetic alone, so a band
  // stores exactly what the whole walk stores in its rows.
  static void Decimated(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                        const std::uint16_t *lut, const Math &math, int factor, int firstRow,
                        int lastRow) {
    const std::ptrdiff_t w = inSize.width;
    const std::int64_t f = factor;
    const std::int64_t perRow = w - 2 * kMargin;
    if (perRow <= 0 || f < 1) return;
    // Index of the next pixel to store (a pointer would run past the output
    // after the last row).
    std::int64_t at = kMargin * (std::int64_t(outSize.width) + 1);
    std::int64_t first = 0;  // offset in the row of the next position to store
    const std::ptrdiff_t lastVisited =
        std::min<std::ptrdiff_t>(inSize.height - 1 - kMargin, std::ptrdiff_t(lastRow) - 1);
    for (std::ptrdiff_t r = kMargin; r <= lastVisited; ++r) {
      if (r % f != 0) continue;
      const std::int64_t count = first < perRow ? (perRow - 1 - first) / f + 1 : 0;
      if (count > 0 && r >= firstRow) {
        Record *o = out + at;
        const Sample *p = in + r * w + kMargin + first;
        const bool rowB = (r - kMargin) % 2 != 0;
        const bool odd = first % 2 != 0;
        const bool alternates = f % 2 != 0;
        const std::int64_t firstRun = alternates ? (count + 1) / 2 : count;
        const std::ptrdiff_t step = std::ptrdiff_t(alternates ? 2 * f : f);
        const std::ptrdiff_t outStep = alternates ? 2 : 1;
        (rowB ? StridedRow<1> : StridedRow<0>)(o, p, firstRun, step, outStep, odd, w, lut, math);
        if (alternates && count > 1)
          (rowB ? StridedRow<1> : StridedRow<0>)(o + 1, p + f, count / 2, step, outStep, !odd, w,
                                                 lut, math);
      }
      at += count + 2 * kMargin;
      first += count * f - perRow;
    }
  }

  static void Rows(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                   const std::uint16_t *lut, const PlaneContext &context, int firstRow,
                   int lastRow) {
    const Math math(context.outputShift);
    if (kMarks && context.sampleFactor != 1)
      Decimated(out, outSize, in, inSize, lut, math, context.sampleFactor, firstRow, lastRow);
    else
      Full(out, outSize, in, inSize, lut, math, firstRow, lastRow);
  }

  static void Run(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                  const std::uint16_t *lut, const PlaneContext &context) {
    Rows(out, outSize, in, inSize, lut, context, 0, inSize.height);
  }
};

template <BilinearPass kPass>
struct BilinearFamily {
  template <int kOrigin, class Record, class Sample>
  using Pass = SitePass<kPass, kOrigin, Record, Sample>;
};

// The three passes write one channel each and read only the mosaic: one stage,
// all three done row by row.
template <int kOrigin, class Record, class Sample>
struct BilinearBand {
  template <BilinearPass kPass>
  using Pass = SitePass<kPass, kOrigin, Record, Sample>;

  static void Band(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                   const PlaneContext &context, const SiteBand &band) {
    using Blue = Pass<BilinearPass::kBlue>;
    using Red = Pass<BilinearPass::kRed>;
    using Green = Pass<BilinearPass::kGreen>;
    const typename Blue::Math blue(context.outputShift);
    const typename Red::Math red(context.outputShift);
    const typename Green::Math green(context.outputShift);
    WalkBand(band, frame.height, [&](int, int r) {
      Blue::Row(frame, r, luts.blue, blue);
      Red::Row(frame, r, luts.red, red);
      Green::Row(frame, r, luts.green, green);
    });
  }
};

struct BilinearBands {
  template <int kOrigin, class Record, class Sample>
  using Pass = BilinearBand<kOrigin, Record, Sample>;
};

// The three passes in the converter's layout, one stage each (blue, red, green).
template <class Sample>
void PackedBand(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize, const Sample *in,
                const ISize &inSize, const PlaneLuts &luts, const PlaneContext &context,
                const SiteBand &band) {
  using Record = CBayerConverter::BGRxTRIPLE;
  if (!IsBayerFrame(inSize) || !IsBayerFrame(outSize) || context.sampleFactor < 1 ||
      !BilinearWalksFit(outSize, inSize, context.sampleFactor, context.origin,
                        std::is_same<Sample, std::uint16_t>::value))
    return;
  WithOrigin(context.origin, [&](auto origin) {
    constexpr int kOrigin = decltype(origin)::value;
    for (int stage = std::max(band.firstStage, 0);
         stage < std::min(band.lastStage, kPackedBilinearStages); ++stage) {
      if (stage == 0)
        SitePass<BilinearPass::kBlue, kOrigin, Record, Sample>::Rows(
            out, outSize, in, inSize, luts.blue, context, band.firstRow, band.lastRow);
      else if (stage == 1)
        SitePass<BilinearPass::kRed, kOrigin, Record, Sample>::Rows(
            out, outSize, in, inSize, luts.red, context, band.firstRow, band.lastRow);
      else
        SitePass<BilinearPass::kGreen, kOrigin, Record, Sample>::Rows(
            out, outSize, in, inSize, luts.green, context, band.firstRow, band.lastRow);
    }
  });
}

// The vector body this CPU runs, else the plain passes.
template <class Record, class Sample>
void BilinearEntry(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                const PlaneContext &context, const SiteBand &band) {
  using Fast = void (*)(const SiteFrame<Record, Sample> &, const PlaneLuts &,
                        const PlaneContext &, const SiteBand &);
  if (const Fast fast = PickSiteBody<Fast>(frame, context, TAVRIX_SITE_BODIES(BilinearRows)))
    return fast(frame, luts, context, band);
  RunBand<BilinearBands>(frame, luts, context, band);
}

}  // namespace

TAVRIX_DEFINE_SITE_FAST(BilinearRows, BilinearEntry)

void PackedBilinearRows(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize,
                        const std::uint8_t *in, const ISize &inSize, const PlaneLuts &luts,
                        const PlaneContext &context, const SiteBand &band) {
  PackedBand(out, outSize, in, inSize, luts, context, band);
}
void PackedBilinearRows(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize,
                        const std::uint16_t *in, const ISize &inSize, const PlaneLuts &luts,
                        const PlaneContext &context, const SiteBand &band) {
  PackedBand(out, outSize, in, inSize, luts, context, band);
}

}  // namespace tavrix::detail

namespace {
using tavrix::detail::BilinearPass;
template <BilinearPass kPass>
using BilinearRun = tavrix::detail::PlaneRunner<tavrix::detail::BilinearFamily<kPass>>;
}  // namespace

TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearBluePixel, BilinearRun<BilinearPass::kBlue>::Run)
TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearRedPixel, BilinearRun<BilinearPass::kRed>::Run)
TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearGreenPixel, BilinearRun<BilinearPass::kGreen>::Run)

short CBayerConverter::Bilinear(short a, short b) { return tavrix::detail::Bilinear(a, b); }
short CBayerConverter::Bilinear(short a, short b, short c, short d) {
  return tavrix::detail::Bilinear(a, b, c, d);
}
