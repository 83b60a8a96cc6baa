// First-order Laplacian interpolation. (Not yet written: the passes leave the output as it is.)
#include "bayer/kernels/plane_kernels.h"

namespace tavrix::detail {
namespace {
template <class Record, class Sample>
void Laplacian1Pending(Record *, const ISize &, const Sample *, const ISize &, const PlaneLuts &,
                       const PlaneContext &) {}
}  // namespace
}  // namespace tavrix::detail

TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1GreenPixel, tavrix::detail::Laplacian1Pending)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1BluePixel, tavrix::detail::Laplacian1Pending)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian1RedPixel, tavrix::detail::Laplacian1Pending)

short CBayerConverter::Laplacian1(short a, short b, short c) {
  return short((2 * int(a) - b - c) >> 2);
}
short CBayerConverter::Laplacian1(short a, short b, short c, short d, short e) {
  return short((4 * int(a) - b - c - d - e) >> 3);
}
