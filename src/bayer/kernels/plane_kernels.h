// Shared plumbing of the per-site kernel families (bilinear, first- and
// second-order Laplacian): what they read from the converter, macros that
// define the five fixed-name variants of a pass as forwarders to one template,
// the mosaic phase as a compile-time constant, and the interior walk.
#ifndef TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H
#define TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "bayer/kernels/site_pass.h"
#include "tavrix/bayer_converter.h"


#define TAVRIX_PLANE_CONTEXT                                                                 \
  tavrix::detail::PlaneContext {                                                             \
    m_patternOrigin, m_outputShift, m_depthShift, m_bitDepth, m_sampleFactor,                \
        m_scaledThresholds                                                                   \
  }

#define TAVRIX_FOR_EACH_VARIANT(Apply, Name, Run)                                            \
  Apply(Name, Run, BGRxTRIPLE, Mono8) Apply(Name, Run, BGRxTRIPLE, Mono16)                   \
  Apply(Name, Run, RGBTRIPLE16, Mono16) Apply(Name, Run, tagRGBTRIPLE, Mono8)                \
  Apply(Name, Run, tagRGBTRIPLE, Mono16)

// One-table passes: Run(out, outSize, in, inSize, lut, context).
#define TAVRIX_SITE_VARIANT(Name, Run, Record, Sample)                                       \
  void CBayerConverter::Name(Record *o, const ISize &os, const Sample *i, const ISize &is,    \
                             const Lut *lut) {                                               \
    Run(o, os, i, is, lut, TAVRIX_PLANE_CONTEXT);                                            \
  }
#define TAVRIX_DEFINE_SITE_KERNEL(Name, Run)                                                 \
  TAVRIX_FOR_EACH_VARIANT(TAVRIX_SITE_VARIANT, Name, Run)

// Three-table passes (blue, green, red): Run(out, outSize, in, inSize, luts, context).
#define TAVRIX_PLANE_VARIANT(Name, Run, Record, Sample)                                      \
  void CBayerConverter::Name(Record *o, const ISize &os, const Sample *i, const ISize &is,    \
                             const Lut *b, const Lut *g, const Lut *r) {                     \
    Run(o, os, i, is, tavrix::detail::PlaneLuts{b, g, r}, TAVRIX_PLANE_CONTEXT);             \
  }
#define TAVRIX_DEFINE_PLANE_KERNEL(Name, Run)                                                \
  TAVRIX_FOR_EACH_VARIANT(TAVRIX_PLANE_VARIANT, Name, Run)

// Per-site bodies that the compiler would otherwise call out of line once per
// site (it judges the many template instances too big to inline): forcing them
// inline lets the row loop keep tables and pointers in registers.
#if defined(__GNUC__) || defined(__clang__)
#define TAVRIX_SITE_INLINE inline __attribute__((always_inline))
#else
#define TAVRIX_SITE_INLINE inline
#endif

namespace tavrix::detail {

enum class SiteColour { kGreen, kRed, kBlue };

// Colour of the sites in rows and columns of the given parities (0 = even).
constexpr SiteColour ColourAt(int origin, int row, int column) {
  const bool greenSite = (row + column) % 2 == (origin == eOriginGB || origin == eOriginGR ? 0 : 1);
  if (greenSite) return SiteColour::kGreen;
  // Row 0 holds red under GR and RG, blue under GB and BG; row 1 the other one.
  const bool redInRowZero = origin == eOriginGR || origin == eOriginRG;
  return (row == 0) == redInRowZero ? SiteColour::kRed : SiteColour::kBlue;
}

template <int kOrigin>
using Origin = std::integral_constant<int, kOrigin>;

// Calls body(Origin<o>{}) for the four assigned origin values; any other value
// runs nothing. The phase becomes a compile-time constant of the pass.
template <class Body>
inline void WithOrigin(int origin, Body &&body) {
  switch (origin) {
    case eOriginGB: return body(Origin<eOriginGB>{});
    case eOriginGR: return body(Origin<eOriginGR>{});
    case eOriginBG: return body(Origin<eOriginBG>{});
    case eOriginRG: return body(Origin<eOriginRG>{});
    default: return;
  }
}

// The fixed-name variants forward here: Family::Pass<origin, Record, Sample>
// runs with the stored origin as a compile-time constant. Tables are the pass's
// one table or its PlaneLuts.
template <class Family>
struct PlaneRunner {
  template <class Record, class Sample, class Tables>
  static void Run(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                  const Tables &tables, const PlaneContext &context) {
    WithOrigin(context.origin, [&](auto origin) {
      Family::template Pass<decltype(origin)::value, Record, Sample>::Run(out, outSize, in, inSize,
                                                                         tables, context);
    });
  }
};

template <int kParity>
using Parity = std::integral_constant<int, kParity>;

// Visits the sites of one row, two at a time: visit(column parity, input, output)
// where the parity counts from the walk's first column.
template <int kRowParity, class Sample, class Record, class Visit>
inline void WalkRow(const Sample *in, Record *out, std::ptrdiff_t pairs, Visit &visit) {
  for (std::ptrdiff_t k = 0; k < pairs; ++k, in += 2, out += 2) {
    visit(Parity<kRowParity>{}, Parity<0>{}, in, out);
    visit(Parity<kRowParity>{}, Parity<1>{}, in + 1, out + 1);
  }
}

// `p` moved by a signed number of bytes (rows of padded frames).
template <class T>
inline T *Shift(T *p, std::ptrdiff_t bytes) {
  using Byte = std::conditional_t<std::is_const<T>::value, const char, char>;
  return reinterpret_cast<T *>(reinterpret_cast<Byte *>(p) + bytes);
}

// One row r of the interior of a frame: columns kMargin .. W - 1 - kMargin, two
// sites at a time, visit(row parity, column parity, input site, output pixel);
// parities count from the first interior row and column. Rows outside the
// interior (r < kMargin or r > H - 1 - kMargin) are skipped.
template <int kMargin, class Record, class Sample, class Visit>
inline void WalkSiteRow(const SiteFrame<Record, Sample> &frame, int r, Visit &&visit) {
  if (r < kMargin || r > frame.height - 1 - kMargin) return;
  const std::ptrdiff_t pairs = (std::ptrdiff_t(frame.width) - 2 * kMargin) / 2;
  const Sample *i = Shift(frame.in, r * frame.inStride) + kMargin;
  Record *o = Shift(frame.out, r * frame.outStride) + kMargin;
  if ((r - kMargin) % 2 == 0)
    WalkRow<0>(i, o, pairs, visit);
  else
    WalkRow<1>(i, o, pairs, visit);
}

// The band's stages in one walk down its rows: stage firstStage + k handles row
// lead - k * kSiteStageLag, so each stage finds the rows above and below that it
// reads already finished by the stage before. row(stage, r) does one row.
template <class Row>
inline void WalkBand(const SiteBand &band, int height, Row &&row) {
  const int first = band.firstRow < 0 ? 0 : band.firstRow;
  const int last = band.lastRow > height ? height : band.lastRow;
  const int stages = band.lastStage - band.firstStage;
  if (first >= last || stages <= 0) return;
  for (int lead = first; lead < last + (stages - 1) * kSiteStageLag; ++lead)
    for (int k = 0; k < stages; ++k) {
      const int r = lead - k * kSiteStageLag;
      if (r >= first && r < last) row(band.firstStage + k, r);
    }
}

// The frame the converter's passes walk: input rows W samples apart, output
// rows W pixels apart, pixel (r, c) of a pass with margin m at
// m * (outSize.width + 1) + (r - m) * W + (c - m) (the output size only places
// the first pixel). The frame returned starts where that formula puts (0, 0).
template <int kMargin, class Record, class Sample>
inline SiteFrame<Record, Sample> ConverterFrame(Record *out, const ISize &outSize,
                                                const Sample *in, const ISize &inSize) {
  const std::ptrdiff_t w = inSize.width;
  return {out + kMargin * (std::ptrdiff_t(outSize.width) - w), w * std::ptrdiff_t(sizeof(Record)),
          in, w * std::ptrdiff_t(sizeof(Sample)), inSize.width, inSize.height};
}

// Band entries: Family::Pass<origin, Record, Sample>::Band(frame, luts, context,
// band) with the stored origin as a compile-time constant.
template <class Family, class Record, class Sample>
inline void RunBand(const SiteFrame<Record, Sample> &frame, const PlaneLuts &luts,
                    const PlaneContext &context, const SiteBand &band) {
  if (!(frame.width >= 4 && frame.height >= 4 && frame.width % 2 == 0 && frame.height % 2 == 0))
    return;
  WithOrigin(context.origin, [&](auto origin) {
    Family::template Pass<decltype(origin)::value, Record, Sample>::Band(frame, luts, context,
                                                                        band);
  });
}

}  // namespace tavrix::detail

// The five band entries of a family, forwarding to RunBand (inside tavrix::detail).
#define TAVRIX_BAND_VARIANT(Name, Family, Record, Sample)                                     \
  void Name(const SiteFrame<Record, Sample> &f, const PlaneLuts &l, const PlaneContext &c,     \
            const SiteBand &b) {                                                               \
    RunBand<Family>(f, l, c, b);                                                               \
  }
#define TAVRIX_DEFINE_BAND_ENTRY(Name, Family)                                                \
  TAVRIX_BAND_VARIANT(Name, Family, CBayerConverter::BGRxTRIPLE, std::uint8_t)                 \
  TAVRIX_BAND_VARIANT(Name, Family, CBayerConverter::BGRxTRIPLE, std::uint16_t)                \
  TAVRIX_BAND_VARIANT(Name, Family, CBayerConverter::RGBTRIPLE16, std::uint16_t)               \
  TAVRIX_BAND_VARIANT(Name, Family, tagRGBTRIPLE, std::uint8_t)                                \
  TAVRIX_BAND_VARIANT(Name, Family, tagRGBTRIPLE, std::uint16_t)

#endif
