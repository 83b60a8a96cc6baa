// Bilinear per-site interpolation. (Not yet written: the passes leave the output as it is.)
#include "bayer/kernels/plane_kernels.h"

namespace tavrix::detail {
namespace {
template <class Record, class Sample>
void BilinearPending(Record *, const ISize &, const Sample *, const ISize &,
                     const std::uint16_t *, const PlaneContext &) {}
}  // namespace
}  // namespace tavrix::detail

TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearBluePixel, tavrix::detail::BilinearPending)
TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearRedPixel, tavrix::detail::BilinearPending)
TAVRIX_DEFINE_SITE_KERNEL(ProcessBilinearGreenPixel, tavrix::detail::BilinearPending)

short CBayerConverter::Bilinear(short a, short b) { return short((int(a) + int(b)) >> 1); }
short CBayerConverter::Bilinear(short a, short b, short c, short d) {
  return short((int(a) + int(b) + int(c) + int(d)) >> 2);
}
