// Shared plumbing of the per-site kernel families (bilinear, first- and
// second-order Laplacian): what they read from the converter, macros that
// define the five fixed-name variants of a pass as forwarders to one template,
// the mosaic phase as a compile-time constant, and the interior walk.
#ifndef TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H
#define TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

struct PlaneContext {
  int origin;                   // m_patternOrigin as stored (any value)
  int outputShift;              // m_outputShift
  int depthShift;               // m_depthShift
  int bitDepth;                 // m_bitDepth
  int sampleFactor;             // m_sampleFactor
  const int *scaledThresholds;  // m_scaledThresholds, five entries
};

}  // namespace tavrix::detail

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

namespace tavrix::detail {

struct PlaneLuts {
  const std::uint16_t *blue;
  const std::uint16_t *green;
  const std::uint16_t *red;
};

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

// The interior walk of the per-site passes: rows and columns kMargin .. size -
// 1 - kMargin of a frame of even sizes, row by row, two sites at a time, calling
// visit(row parity, column parity, input site, output pixel); parities count
// from the first visited row and column. Input site (r, c) is output pixel
// kMargin * (outSize.width + 1) + (r - kMargin) * W + (c - kMargin): the output
// size only places the first pixel, rows are W pixels apart (W = input width),
// so reading out[-W] and out[+W] reaches the neighbours above and below.
template <int kMargin, class Record, class Sample, class Visit>
inline void WalkInterior(Record *out, const ISize &outSize, const Sample *in, const ISize &inSize,
                         Visit &&visit) {
  const std::ptrdiff_t width = inSize.width;
  const std::ptrdiff_t pairs = (width - 2 * kMargin) / 2;
  const std::ptrdiff_t rowPairs = (std::ptrdiff_t(inSize.height) - 2 * kMargin) / 2;
  if (pairs <= 0) return;
  const Sample *i = in + kMargin * (width + 1);
  Record *o = out + kMargin * (std::ptrdiff_t(outSize.width) + 1);
  for (std::ptrdiff_t k = 0; k < rowPairs; ++k, i += 2 * width, o += 2 * width) {
    WalkRow<0>(i, o, pairs, visit);
    WalkRow<1>(i + width, o + width, pairs, visit);
  }
}

}  // namespace tavrix::detail

#endif
