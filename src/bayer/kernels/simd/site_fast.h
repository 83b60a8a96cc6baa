// Vector bodies of the per-site algorithms, one set per instruction set, each
// compiled with that set's flags alone (see cmake/TavrixSimd.cmake). The band
// entries of site_pass.h choose one once per call; these take the same
// arguments, a frame that passed the entry's checks and an assigned origin.
#ifndef TAVRIX_SRC_BAYER_KERNELS_SIMD_SITE_FAST_H
#define TAVRIX_SRC_BAYER_KERNELS_SIMD_SITE_FAST_H

#include "bayer/kernels/site_pass.h"

namespace tavrix::detail {

#define TAVRIX_SITE_FAST(Name)                                                                  \
  void Name(const SiteFrame<CBayerConverter::BGRxTRIPLE, std::uint8_t> &, const PlaneLuts &,    \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<CBayerConverter::BGRxTRIPLE, std::uint16_t> &, const PlaneLuts &,   \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<CBayerConverter::RGBTRIPLE16, std::uint16_t> &, const PlaneLuts &,  \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<tagRGBTRIPLE, std::uint8_t> &, const PlaneLuts &,                   \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<tagRGBTRIPLE, std::uint16_t> &, const PlaneLuts &,                  \
            const PlaneContext &, const SiteBand &);

TAVRIX_SITE_FAST(Laplacian2RowsSse41)
TAVRIX_SITE_FAST(Laplacian2RowsAvx2)

#undef TAVRIX_SITE_FAST

// Defines the five entries of a file as forwarders to Body<Record, Sample>,
// which lives in the file's anonymous namespace.
#define TAVRIX_DEFINE_SITE_FAST(Name, Body)                                                     \
  TAVRIX_SITE_FAST_VARIANT(Name, Body, CBayerConverter::BGRxTRIPLE, std::uint8_t)               \
  TAVRIX_SITE_FAST_VARIANT(Name, Body, CBayerConverter::BGRxTRIPLE, std::uint16_t)              \
  TAVRIX_SITE_FAST_VARIANT(Name, Body, CBayerConverter::RGBTRIPLE16, std::uint16_t)             \
  TAVRIX_SITE_FAST_VARIANT(Name, Body, tagRGBTRIPLE, std::uint8_t)                              \
  TAVRIX_SITE_FAST_VARIANT(Name, Body, tagRGBTRIPLE, std::uint16_t)
#define TAVRIX_SITE_FAST_VARIANT(Name, Body, Record, Sample)                                    \
  void Name(const SiteFrame<Record, Sample> &f, const PlaneLuts &l, const PlaneContext &c,       \
            const SiteBand &b) {                                                                \
    Body<Record, Sample>(f, l, c, b);                                                           \
  }

}  // namespace tavrix::detail

#endif
