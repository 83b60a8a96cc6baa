// Vector bodies of the per-site algorithms, one set per instruction set, each
// compiled with that set's flags alone (see cmake/TavrixSimd.cmake). The band
// entries of site_pass.h choose one once per call; these take the same
// arguments, a frame that passed the entry's checks and an assigned origin.
#ifndef TAVRIX_SRC_BAYER_KERNELS_SIMD_SITE_FAST_H
#define TAVRIX_SRC_BAYER_KERNELS_SIMD_SITE_FAST_H

#include "bayer/kernels/site_pass.h"
#include "cpu/dispatch.h"

namespace tavrix::detail {

TAVRIX_SITE_ROWS(BilinearRowsSse41)
TAVRIX_SITE_ROWS(BilinearRowsAvx2)
TAVRIX_SITE_ROWS(Laplacian1RowsSse41)
TAVRIX_SITE_ROWS(Laplacian1RowsAvx2)
TAVRIX_SITE_ROWS(Laplacian2RowsSse41)
TAVRIX_SITE_ROWS(Laplacian2RowsAvx2)
TAVRIX_SITE_ROWS(BilinearRowsNeon)
TAVRIX_SITE_ROWS(Laplacian1RowsNeon)
TAVRIX_SITE_ROWS(Laplacian2RowsNeon)

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

// The vector body a band entry takes on this call, or null for the plain
// templates: chosen once per call from ActivePath(), only for frames the entry
// accepts and assigned origins. The bodies gather each site's operands through
// the tables (or compute clamped-offset ones), so any table contents work.
template <class Fast, class Frame>
inline Fast PickSiteBody(const Frame &frame, const PlaneContext &context, Fast sse41, Fast avx2,
                         Fast neon) {
  const int o = context.origin;
  const bool assigned = o == eOriginGB || o == eOriginGR || o == eOriginBG || o == eOriginRG;
  const bool bayer = frame.width >= 4 && frame.height >= 4 && frame.width % 2 == 0 &&
                     frame.height % 2 == 0;
  if (!assigned || !bayer) return nullptr;
  const Path path = ActivePath();
  if (avx2 && Admits(path, Path::kAvx2)) return avx2;
  if (sse41 && Admits(path, Path::kSse41)) return sse41;
  if (neon && Admits(path, Path::kNeon)) return neon;
  return nullptr;
}
#if TAVRIX_SIMD_X86
#define TAVRIX_SITE_BODIES(Name) Name##Sse41, Name##Avx2, nullptr
#elif TAVRIX_SIMD_NEON
#define TAVRIX_SITE_BODIES(Name) nullptr, nullptr, Name##Neon
#else
#define TAVRIX_SITE_BODIES(Name) nullptr, nullptr, nullptr
#endif

}  // namespace tavrix::detail

#endif
