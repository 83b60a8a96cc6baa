// Shared plumbing of the per-site kernel families (bilinear, first- and
// second-order Laplacian): what they read from the converter, and macros that
// define the five fixed-name variants of a pass as forwarders to one template.
#ifndef TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H
#define TAVRIX_SRC_BAYER_KERNELS_PLANE_KERNELS_H

#include <cstdint>

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
}  // namespace tavrix::detail

#endif
