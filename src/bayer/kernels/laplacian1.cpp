// First-order Laplacian interpolation: green first, then blue, then red; each
// missing value is a bilinear mean plus a discrete Laplacian correction.
//
//                    N2                   green at a red or blue site X:
//                    N                      mean(N, W, E, S) of green
//            W2  W  [X]  E  E2              + Laplacian(X; N2, W2, E2, S2) of X's colour
//                    S
//                    S2
//
//   blue (red likewise) from the finished green plane G':
//     green site, blue beside it:  mean(left, right)  + Laplacian(G'; left, right)
//     green site, blue above/below: mean(up, down)    + Laplacian(G'; up, down)
//     red site:                    mean(4 diagonals)  + 2 x Laplacian(G'; N, W, E, S)
//
// The means are of table entries, G' is what the green pass stored, so with
// 16-bit samples and byte channels the two scales mix; that is intended. The
// outermost interior pixels read G' from the frame (rows 1 and H-2, columns 1
// and W-2), which no pass writes: the caller's values there take part.
//
// Variants: byte channels shift by the depth shift and clamp to 0..255 (own
// values keep the low byte unclamped); 48-bit stores the sum unshifted,
// wrapping modulo 65536. Entries and stored greens enter the helpers as signed
// 16-bit values.
#include "bayer/kernels/plane_kernels.h"
#include "bayer/kernels/simd/site_fast.h"
#include "bayer/kernels/site_helpers.h"
#include "bayer/kernels/store_policy.h"

namespace tavrix::detail {
namespace {

inline short S16(unsigned v) { return Cut16(int(v)); }

template <int kOrigin, class Record, class Sample>
struct Laplacian1Pass {
  using Store = SiteStore<Record>;

  static const std::uint16_t *TableOf(SiteColour colour, const PlaneLuts &luts) {
    return colour == SiteColour::kRed    ? luts.red
           : colour == SiteColour::kBlue ? luts.blue
                                         : luts.green;
  }
  template <Channel kTarget>
  static constexpr SiteColour kTargetColour =
      kTarget == Channel::kRed ? SiteColour::kRed : SiteColour::kBlue;

  // Green plane: own green, or green estimated at a red or blue site.
  template <SiteColour kSite>
  TAVRIX_SITE_INLINE static void Green(const Sample *s, Record &px, std::ptrdiff_t w, const PlaneLuts &luts,
                    const Store &store) {
    const std::uint16_t *g = luts.green;
    if constexpr (kSite == SiteColour::kGreen) {
      Store::template At<Channel::kGreen>(px) = store.Own(g[s[0]]);
    } else {
      const std::uint16_t *own = TableOf(kSite, luts);
      const short mean = Bilinear(S16(g[s[-w]]), S16(g[s[-1]]), S16(g[s[1]]), S16(g[s[w]]));
      const short laplacian = Laplacian1(S16(own[s[0]]), S16(own[s[-2 * w]]), S16(own[s[-2]]),
                                         S16(own[s[2]]), S16(own[s[2 * w]]));
      Store::template At<Channel::kGreen>(px) = store.Laplacian1(mean + laplacian);
    }
    Store::MarkWritten(px);
  }

  // Red or blue plane; kRowHoldsTarget: at a green site, whether the target
  // colour lies left and right (else above and below). `ow`: output row pitch
  // in bytes.
  template <Channel kTarget, SiteColour kSite, bool kRowHoldsTarget>
  TAVRIX_SITE_INLINE static void RedOrBlue(const Sample *s, Record *o, std::ptrdiff_t w, std::ptrdiff_t ow,
                        const PlaneLuts &luts, const Store &store) {
    constexpr SiteColour kColour = kTargetColour<kTarget>;
    const std::uint16_t *t = TableOf(kColour, luts);
    auto green = [o](std::ptrdiff_t bytes) {
      return S16(Store::template Read<Channel::kGreen>(*Shift(o, bytes)));
    };
    constexpr std::ptrdiff_t kPx = sizeof(Record);
    auto &channel = Store::template At<kTarget>(*o);
    if constexpr (kSite == kColour) {
      channel = store.Own(t[s[0]]);
    } else if constexpr (kSite == SiteColour::kGreen) {
      const std::ptrdiff_t d = kRowHoldsTarget ? 1 : w;
      const std::ptrdiff_t od = kRowHoldsTarget ? kPx : ow;
      const short mean = Bilinear(S16(t[s[-d]]), S16(t[s[d]]));
      channel = store.Laplacian1(mean + Laplacian1(green(0), green(-od), green(od)));
    } else {
      const short mean =
          Bilinear(S16(t[s[-w - 1]]), S16(t[s[-w + 1]]), S16(t[s[w - 1]]), S16(t[s[w + 1]]));
      const short laplacian = Laplacian1(green(0), green(-ow), green(-kPx), green(kPx), green(ow));
      channel = store.Laplacian1(mean + 2 * laplacian);
    }
    Store::MarkWritten(*o);
  }

  template <Channel kTarget>
  static void Row(const SiteFrame<Record, Sample> &frame, int r, const PlaneLuts &luts,
                  const Store &store) {
    const std::ptrdiff_t w = frame.inStride / std::ptrdiff_t(sizeof(Sample));
    const std::ptrdiff_t ow = frame.outStride;
    WalkSiteRow<2>(frame, r, [&](auto row, auto column, const Sample *s, Record *o) {
      constexpr int kRow = decltype(row)::value, kColumn = decltype(column)::value;
      constexpr SiteColour kSite = ColourAt(kOrigin, kRow, kColumn);
      if constexpr (kTarget == Channel::kGreen) {
        Green<kSite>(s, *o, w, luts, store);
      } else {
        // The colour beside a green site is the row's other colour.
        constexpr bool kRowHoldsTarget =
            ColourAt(kOrigin, kRow, 1 - kColumn) == kTargetColour<kTarget>;
        RedOrBlue<kTarget, kSite, kRowHoldsTarget>(s, o, w, ow, luts, store);
      }
    });
  }

  // Stage 0 is green, stage 1 blue then red (each reads only the greens of
  // rows r-1..r+1, so stage 1 runs kSiteStageLag (1) row behind stage 0).
  static void Band(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                   const PlaneContext &context, const SiteBand &band) {
    const Store store(context.depthShift);
    WalkBand(band, frame.height, [&](int stage, int r) {
      if (stage == 0) return Row<Channel::kGreen>(frame, r, luts, store);
      Row<Channel::kBlue>(frame, r, luts, store);
      Row<Channel::kRed>(frame, r, luts, store);
    });
  }

  // The converter's whole-frame pass of one plane.
  template <Channel kTarget>
  static void Run(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                  const PlaneLuts &luts, const PlaneContext &context) {
    const Store store(context.depthShift);
    const SiteFrame<Record, Sample> frame = ConverterFrame<2>(out, outSize, in, inSize);
    for (int r = 0; r < frame.height; ++r) Row<kTarget>(frame, r, luts, store);
  }
};

struct Laplacian1Bands {
  template <int kOrigin, class Record, class Sample>
  using Pass = Laplacian1Pass<kOrigin, Record, Sample>;
};

template <Channel kTarget>
struct Laplacian1Family {
  template <int kOrigin, class Record, class Sample>
  struct Pass {
    template <class... Args>
    static void Run(Args &&...args) {
      Laplacian1Pass<kOrigin, Record, Sample>::template Run<kTarget>(args...);
    }
  };
};

// The vector body this CPU runs, else the plain passes.
template <class Record, class Sample>
void Laplacian1Entry(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                const PlaneContext &context, const SiteBand &band) {
  using Fast = void (*)(const SiteFrame<Record, Sample> &, const PlaneLuts &,
                        const PlaneContext &, const SiteBand &);
  if (const Fast fast = PickSiteBody<Fast>(frame, context, TAVRIX_SITE_BODIES(Laplacian1Rows)))
    return fast(frame, luts, context, band);
  RunBand<Laplacian1Bands>(frame, luts, context, band);
}

}  // namespace

TAVRIX_DEFINE_SITE_FAST(Laplacian1Rows, Laplacian1Entry)

}  // namespace tavrix::detail

namespace {
using tavrix::detail::Channel;
template <Channel kTarget>
using Laplacian1Run = tavrix::detail::PlaneRunner<tavrix::detail::Laplacian1Family<kTarget>>;
}  // namespace

TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1GreenPixel, Laplacian1Run<Channel::kGreen>::Run)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1BluePixel, Laplacian1Run<Channel::kBlue>::Run)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1RedPixel, Laplacian1Run<Channel::kRed>::Run)

short CBayerConverter::Laplacian1(short a, short b, short c) {
  return tavrix::detail::Laplacian1(a, b, c);
}
short CBayerConverter::Laplacian1(short a, short b, short c, short d, short e) {
  return tavrix::detail::Laplacian1(a, b, c, d, e);
}
