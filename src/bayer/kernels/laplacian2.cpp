// Second-order Laplacian interpolation: directional candidates, the one with
// the smallest (signed) gradient wins through three threshold levels.
//
//                  N2                 pass 1, green at a red or blue site X:
//                  N1                   centre X, references the far samples of
//          W2  W1 [X] E1  E2            X's colour (N2..W2), bases the near greens
//                  S1                   (N1..W1); eleven candidates
//                  S2
//
//   pass 2, red and blue at a green site: centre, references and bases are the
//     stored greens and the table values one step left/right (the row's colour)
//     and up/down (the other colour); three candidates per colour
//   pass 3, at a red or blue site: its own value, and the opposite colour from
//     eleven candidates with the stored green as centre, the neighbours' green
//     table values as references and their stored opposite colour as bases
//
// Deliberate asymmetries: the single-sided west candidate (and pass 2's side-2
// candidate) is built with two references and one base, so its gradient is
// 2C - ref and its estimate (base >> 1) + ((2C - ref) >> 2). Table values are
// unshifted while stored values are on the output scale; gradients and means
// mix the two as they stand. The frame (rows 0, 1, H-2, H-1 and columns 0, 1,
// W-2, W-1) is never written, but passes 2 and 3 read stored values from it.
//
// Variants: byte channels store an estimate shifted by the depth shift and
// limited to 255 from above (own values: the low byte of the shifted entry);
// 48-bit stores both unshifted and unclamped. Table values are taken as signed
// 16-bit numbers; samples index the tables unsigned.
#include "bayer/kernels/plane_kernels.h"
#include "bayer/kernels/simd/site_fast.h"
#include "bayer/kernels/site_helpers.h"
#include "bayer/kernels/store_policy.h"

namespace tavrix::detail {
namespace {

// A table value as the candidates take it: signed 16-bit.
inline int Signed(std::uint16_t entry) { return std::int16_t(entry); }

// Values of one direction around a site: north, east, south, west.
struct Compass {
  int north, east, south, west;
};

// The eleven candidates of slots 1..11 (slot 0 is never read): both
// horizontal, both vertical, the four corners, the four single sides (west
// with two references and one base), all four; then the three-level choice.
inline short ChooseOfEleven(int center, const Compass &ref, const Compass &base,
                            const int *thresholds) {
  Candidate t[12];
  t[1] = MakeCandidate<2>(center, ref.west, ref.east, 0, 0, base.west, base.east, 0, 0);
  t[2] = MakeCandidate<2>(center, ref.north, ref.south, 0, 0, base.north, base.south, 0, 0);
  t[3] = MakeCandidate<2>(center, ref.north, ref.east, 0, 0, base.north, base.east, 0, 0);
  t[4] = MakeCandidate<2>(center, ref.east, ref.south, 0, 0, base.east, base.south, 0, 0);
  t[5] = MakeCandidate<2>(center, ref.south, ref.west, 0, 0, base.south, base.west, 0, 0);
  t[6] = MakeCandidate<2>(center, ref.west, ref.north, 0, 0, base.west, base.north, 0, 0);
  t[7] = MakeCandidate<1>(center, ref.north, 0, 0, 0, base.north, 0, 0, 0);
  t[8] = MakeCandidate<1>(center, ref.east, 0, 0, 0, base.east, 0, 0, 0);
  t[9] = MakeCandidate<1>(center, ref.south, 0, 0, 0, base.south, 0, 0, 0);
  t[10] = MakeCandidate<2>(center, ref.west, 0, 0, 0, base.west, 0, 0, 0);
  t[11] = MakeCandidate<4>(center, ref.north, ref.west, ref.east, ref.south, base.north, base.west,
                           base.east, base.south);
  return Laplacian2(t, 11, thresholds);
}

// The three candidates of slots 1..3: both sides, side 1, side 2 (two
// references and one base); then the choice among them.
inline short ChooseOfThree(int center, int ref1, int ref2, int base1, int base2,
                           const int *thresholds) {
  Candidate t[4];
  t[1] = MakeCandidate<2>(center, ref1, ref2, 0, 0, base1, base2, 0, 0);
  t[2] = MakeCandidate<1>(center, ref1, 0, 0, 0, base1, 0, 0, 0);
  t[3] = MakeCandidate<2>(center, ref2, 0, 0, 0, base2, 0, 0, 0);
  return Laplacian2(t, 3, thresholds);
}

// The three stages, in the order they run (stage numbers of site_pass.h).
enum class Stage { kGreen, kFromGreen, kFromRedBlue };

constexpr Channel ChannelOf(SiteColour c) {
  return c == SiteColour::kRed    ? Channel::kRed
         : c == SiteColour::kBlue ? Channel::kBlue
                                  : Channel::kGreen;
}

template <int kOrigin, class Record, class Sample>
struct Laplacian2Pass {
  using Store = SiteStore<Record>;

  // A site: its sample, its pixel, the input row pitch in samples and the
  // output row pitch in bytes.
  struct Site {
    const Sample *s;
    Record *o;
    std::ptrdiff_t w;
    std::ptrdiff_t ow;
  };

  static const std::uint16_t *TableOf(SiteColour colour, const PlaneLuts &luts) {
    return colour == SiteColour::kRed    ? luts.red
           : colour == SiteColour::kBlue ? luts.blue
                                         : luts.green;
  }
  template <Channel kChannel>
  static int Stored(const Record &px) {
    return Store::template Read<kChannel>(px);
  }

  // Pass 1 at a red or blue site.
  template <SiteColour kSite>
  static short GreenEstimate(const Site &at, const PlaneLuts &luts, const int *thresholds) {
    const Sample *s = at.s;
    const std::ptrdiff_t w = at.w;
    const std::uint16_t *own = TableOf(kSite, luts);
    const std::uint16_t *g = luts.green;
    const Compass far{Signed(own[s[-2 * w]]), Signed(own[s[2]]), Signed(own[s[2 * w]]),
                      Signed(own[s[-2]])};
    const Compass near{Signed(g[s[-w]]), Signed(g[s[1]]), Signed(g[s[w]]), Signed(g[s[-1]])};
    return ChooseOfEleven(Signed(own[s[0]]), far, near, thresholds);
  }

  // Pass 2: the colour lying `d` samples (`od` output bytes) away on both sides
  // of a green site.
  static short SideEstimate(const Site &at, std::ptrdiff_t d, std::ptrdiff_t od,
                            const std::uint16_t *table, const int *thresholds) {
    return ChooseOfThree(Stored<Channel::kGreen>(*at.o), Stored<Channel::kGreen>(*Shift(at.o, -od)),
                         Stored<Channel::kGreen>(*Shift(at.o, od)), Signed(table[at.s[-d]]),
                         Signed(table[at.s[d]]), thresholds);
  }

  // Pass 3: the colour opposite to the site's own one.
  template <Channel kOpposite>
  static short OppositeEstimate(const Site &at, const PlaneLuts &luts, const int *thresholds) {
    const Sample *s = at.s;
    const Record *o = at.o;
    const std::ptrdiff_t w = at.w;
    const std::uint16_t *g = luts.green;
    const Compass greens{Signed(g[s[-w]]), Signed(g[s[1]]), Signed(g[s[w]]), Signed(g[s[-1]])};
    const Compass stored{Stored<kOpposite>(*Shift(o, -at.ow)), Stored<kOpposite>(o[1]),
                         Stored<kOpposite>(*Shift(o, at.ow)), Stored<kOpposite>(o[-1])};
    return ChooseOfEleven(Stored<Channel::kGreen>(o[0]), greens, stored, thresholds);
  }

  template <Stage kStage, int kRow, int kColumn>
  TAVRIX_SITE_INLINE static void Visit(const Site &at, const PlaneLuts &luts, const Store &store,
                    const int *thresholds) {
    constexpr SiteColour kSite = ColourAt(kOrigin, kRow, kColumn);
    Record &px = *at.o;
    if constexpr (kStage == Stage::kGreen) {
      if constexpr (kSite == SiteColour::kGreen)
        Store::template At<Channel::kGreen>(px) = store.Own(luts.green[at.s[0]]);
      else
        Store::template At<Channel::kGreen>(px) =
            store.Laplacian2(GreenEstimate<kSite>(at, luts, thresholds));
      Store::MarkWritten(px);
    } else if constexpr (kStage == Stage::kFromGreen) {
      if constexpr (kSite == SiteColour::kGreen) {
        // The row's other colour lies left and right, the remaining one above and below.
        constexpr SiteColour kBeside = ColourAt(kOrigin, kRow, 1 - kColumn);
        constexpr SiteColour kAbove =
            kBeside == SiteColour::kRed ? SiteColour::kBlue : SiteColour::kRed;
        const short beside =
            SideEstimate(at, 1, sizeof(Record), TableOf(kBeside, luts), thresholds);
        const short above = SideEstimate(at, at.w, at.ow, TableOf(kAbove, luts), thresholds);
        Store::template At<ChannelOf(kBeside)>(px) = store.Laplacian2(beside);
        Store::template At<ChannelOf(kAbove)>(px) = store.Laplacian2(above);
        Store::MarkWritten(px);
      }
    } else if constexpr (kSite != SiteColour::kGreen) {
      constexpr Channel kOwn = ChannelOf(kSite);
      constexpr Channel kOpposite = Opposite(kOwn);
      const short estimate = OppositeEstimate<kOpposite>(at, luts, thresholds);
      Store::template At<kOwn>(px) = store.Own(TableOf(kSite, luts)[at.s[0]]);
      Store::template At<kOpposite>(px) = store.Laplacian2(estimate);
      Store::MarkWritten(px);
    }
  }

  template <Stage kStage>
  static void Row(const SiteFrame<Record, Sample> &frame, int r, const PlaneLuts &luts,
                  const PlaneContext &context) {
    const Store store(context.depthShift);
    const std::ptrdiff_t w = frame.inStride / std::ptrdiff_t(sizeof(Sample));
    WalkSiteRow<2>(frame, r, [&](auto row, auto column, const Sample *s, Record *o) {
      Visit<kStage, decltype(row)::value, decltype(column)::value>(
          Site{s, o, w, frame.outStride}, luts, store, context.scaledThresholds);
    });
  }

  // Stage 1 at row r reads the greens of rows r-1..r+1, stage 2 at row r the
  // stage-1 values of rows r-1 and r+1 and the green of row r: each runs
  // kSiteStageLag (1) row behind the stage before.
  static void Band(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                   const PlaneContext &context, const SiteBand &band) {
    WalkBand(band, frame.height, [&](int stage, int r) {
      switch (Stage(stage)) {
        case Stage::kGreen: return Row<Stage::kGreen>(frame, r, luts, context);
        case Stage::kFromGreen: return Row<Stage::kFromGreen>(frame, r, luts, context);
        case Stage::kFromRedBlue: return Row<Stage::kFromRedBlue>(frame, r, luts, context);
      }
    });
  }
};

struct Laplacian2Family {
  template <int kOrigin, class Record, class Sample>
  using Pass = Laplacian2Pass<kOrigin, Record, Sample>;
};

// The converter's whole-frame passes: one stage over every row.
template <Stage kStage>
struct WholeFramePass {
  template <class Record, class Sample>
  static void Run(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                  const PlaneLuts &luts, const PlaneContext &context) {
    const int stage = int(kStage);
    RunBand<Laplacian2Family>(ConverterFrame<2>(out, outSize, in, inSize), luts, context,
                              SiteBand{0, inSize.height, stage, stage + 1});
  }
};

template <class Record, class Sample>
void Laplacian2Band(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                    const PlaneContext &context, const SiteBand &band) {
  using Fast = void (*)(const SiteFrame<Record, Sample> &, const PlaneLuts &,
                        const PlaneContext &, const SiteBand &);
  if (const Fast fast = PickSiteBody<Fast>(frame, context, TAVRIX_SITE_BODIES(Laplacian2Rows)))
    return fast(frame, luts, context, band);
  RunBand<Laplacian2Family>(frame, luts, context, band);
}

}  // namespace

TAVRIX_DEFINE_SITE_FAST(Laplacian2Rows, Laplacian2Band)

}  // namespace tavrix::detail

namespace {
using tavrix::detail::Stage;
using tavrix::detail::WholeFramePass;
}  // namespace

TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2GreenPixel, WholeFramePass<Stage::kGreen>::Run)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2BRFromGreen, WholeFramePass<Stage::kFromGreen>::Run)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2BRFromRB, WholeFramePass<Stage::kFromRedBlue>::Run)

// Gradient and Estimate are left undefined for counts other than 1, 2 and 4;
// they start at 0 here so that such a candidate never holds indeterminate values.
CColorCorrectionTerm::CColorCorrectionTerm() : Gradient(0), Estimate(0) {
  Init(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
}
CColorCorrectionTerm::CColorCorrectionTerm(int center, int ref1, int ref2, int ref3, int ref4,
                                           int refCount, int base1, int base2, int base3, int base4,
                                           int baseCount)
    : Gradient(0), Estimate(0) {
  Init(center, ref1, ref2, ref3, ref4, refCount, base1, base2, base3, base4, baseCount);
}
// Copying re-derives from the first eleven fields.
CColorCorrectionTerm::CColorCorrectionTerm(const CColorCorrectionTerm &o)
    : Gradient(0), Estimate(0) {
  Init(o.Center, o.Ref1, o.Ref2, o.Ref3, o.Ref4, o.RefCount, o.Base1, o.Base2, o.Base3, o.Base4,
       o.BaseCount);
}
CColorCorrectionTerm::~CColorCorrectionTerm() {}
void CColorCorrectionTerm::Init(int center, int ref1, int ref2, int ref3, int ref4, int refCount,
                                int base1, int base2, int base3, int base4, int baseCount) {
  tavrix::detail::StoreFields(*this, center, ref1, ref2, ref3, ref4, refCount, base1, base2, base3,
                              base4, baseCount);
  tavrix::detail::DeriveTerm(*this);
}

short CBayerConverter::Laplacian2(CColorCorrectionTerm *terms, int count) {
  return tavrix::detail::Laplacian2(terms, count, m_scaledThresholds);
}
