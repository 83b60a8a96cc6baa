// Second-order Laplacian interpolation. (Not yet written: the passes leave the output as it is.)
#include "bayer/kernels/plane_kernels.h"

namespace tavrix::detail {
namespace {
template <class Record, class Sample>
void Laplacian2Pending(Record *, const ISize &, const Sample *, const ISize &, const PlaneLuts &,
                       const PlaneContext &) {}
}  // namespace
}  // namespace tavrix::detail

TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2GreenPixel, tavrix::detail::Laplacian2Pending)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2BRFromGreen, tavrix::detail::Laplacian2Pending)
TAVRIX_DEFINE_PLANE_KERNEL(ProcessLaplacian2BRFromRB, tavrix::detail::Laplacian2Pending)

CColorCorrectionTerm::CColorCorrectionTerm() { Init(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0); }
CColorCorrectionTerm::CColorCorrectionTerm(int center, int ref1, int ref2, int ref3, int ref4,
                                           int refCount, int base1, int base2, int base3,
                                           int base4, int baseCount) {
  Init(center, ref1, ref2, ref3, ref4, refCount, base1, base2, base3, base4, baseCount);
}
CColorCorrectionTerm::CColorCorrectionTerm(const CColorCorrectionTerm &o) {
  Init(o.Center, o.Ref1, o.Ref2, o.Ref3, o.Ref4, o.RefCount, o.Base1, o.Base2, o.Base3, o.Base4,
       o.BaseCount);
}
CColorCorrectionTerm::~CColorCorrectionTerm() {}
void CColorCorrectionTerm::Init(int, int, int, int, int, int, int, int, int, int, int) {}
short CBayerConverter::Laplacian2(CColorCorrectionTerm *, int) { return 0; }
