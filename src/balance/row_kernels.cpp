#include "balance/row_kernels.h"

#include "cpu/dispatch.h"

namespace tavrix::detail {

RowKernels KernelsFor(LayoutKind kind) {
#if TAVRIX_SIMD_X86
  if (Admits(ActivePath(), Path::kAvx2)) return Avx2RowKernels(kind);
#endif
  (void)kind;
  return {};
}

}  // namespace tavrix::detail
