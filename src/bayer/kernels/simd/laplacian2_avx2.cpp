// Second-order Laplacian rows compiled for AVX2 (the bodies are in laplacian2_rows.inc).
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bayer/kernels/simd/site_fast.h"

namespace {
#include "bayer/kernels/simd/laplacian2_rows.inc"
}  // namespace

namespace tavrix::detail {
TAVRIX_DEFINE_SITE_FAST(Laplacian2RowsAvx2, Laplacian2Band)
}  // namespace tavrix::detail
