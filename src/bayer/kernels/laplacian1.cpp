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
#include "bayer/kernels/site_helpers.h"
#include "bayer/kernels/store_policy.h"

namespace tavrix::detail {
namespace {

inline short S16(unsigned v) { return Cut16(int(v)); }

template <Channel kTarget, int kOrigin, class Record, class Sample>
struct Laplacian1Pass {
  using Store = SiteStore<Record>;

  static const std::uint16_t *TableOf(SiteColour colour, const PlaneLuts &luts) {
    return colour == SiteColour::kRed    ? luts.red
           : colour == SiteColour::kBlue ? luts.blue
                                         : luts.green;
  }
  static constexpr SiteColour kTargetColour =
      kTarget == Channel::kRed ? SiteColour::kRed : SiteColour::kBlue;

  // Green plane: own green, or green estimated at a red or blue site.
  template <SiteColour kSite>
  static void Green(const Sample *s, Record &px, std::ptrdiff_t w, const PlaneLuts &luts,
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
  // colour lies left and right (else above and below).
  template <SiteColour kSite, bool kRowHoldsTarget>
  static void RedOrBlue(const Sample *s, Record *o, std::ptrdiff_t w, const PlaneLuts &luts,
                        const Store &store) {
    const std::uint16_t *t = TableOf(kTargetColour, luts);
    auto green = [o](std::ptrdiff_t k) { return S16(Store::template Read<Channel::kGreen>(o[k])); };
    auto &channel = Store::template At<kTarget>(*o);
    if constexpr (kSite == kTargetColour) {
      channel = store.Own(t[s[0]]);
    } else if constexpr (kSite == SiteColour::kGreen) {
      const std::ptrdiff_t d = kRowHoldsTarget ? 1 : w;
      const short mean = Bilinear(S16(t[s[-d]]), S16(t[s[d]]));
      channel = store.Laplacian1(mean + Laplacian1(green(0), green(-d), green(d)));
    } else {
      const short mean =
          Bilinear(S16(t[s[-w - 1]]), S16(t[s[-w + 1]]), S16(t[s[w - 1]]), S16(t[s[w + 1]]));
      const short laplacian = Laplacian1(green(0), green(-w), green(-1), green(1), green(w));
      channel = store.Laplacian1(mean + 2 * laplacian);
    }
    Store::MarkWritten(*o);
  }

  static void Run(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                  const PlaneLuts &luts, const PlaneContext &context) {
    const Store store(context.depthShift);
    const std::ptrdiff_t w = inSize.width;
    WalkInterior<2>(
        out, outSize, in, inSize, [&](auto row, auto column, const Sample *s, Record *o) {
          constexpr int kRow = decltype(row)::value, kColumn = decltype(column)::value;
          constexpr SiteColour kSite = ColourAt(kOrigin, kRow, kColumn);
          if constexpr (kTarget == Channel::kGreen) {
            Green<kSite>(s, *o, w, luts, store);
          } else {
            // The colour beside a green site is the row's other colour.
            constexpr bool kRowHoldsTarget = ColourAt(kOrigin, kRow, 1 - kColumn) == kTargetColour;
            RedOrBlue<kSite, kRowHoldsTarget>(s, o, w, luts, store);
          }
        });
  }
};

template <Channel kTarget>
struct Laplacian1Family {
  template <int kOrigin, class Record, class Sample>
  using Pass = Laplacian1Pass<kTarget, kOrigin, Record, Sample>;
};

}  // namespace
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
