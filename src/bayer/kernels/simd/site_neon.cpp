// Per-site row bodies for aarch64 (the bodies are in the .inc files beside): the
// operand loops compile to four 32-bit lanes of Advanced SIMD per instruction.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bayer/kernels/bilinear_sites.h"
#include "bayer/kernels/simd/site_fast.h"
#include "bayer/table_shape.h"

namespace {
#include "bayer/kernels/simd/site_rows.inc"
#include "bayer/kernels/simd/bilinear_rows.inc"
#include "bayer/kernels/simd/laplacian1_rows.inc"
#include "bayer/kernels/simd/laplacian2_rows.inc"
}  // namespace

namespace tavrix::detail {
TAVRIX_DEFINE_SITE_FAST(BilinearRowsNeon, BilinearBand)
TAVRIX_DEFINE_SITE_FAST(Laplacian1RowsNeon, Laplacian1Band)
TAVRIX_DEFINE_SITE_FAST(Laplacian2RowsNeon, Laplacian2Band)
}  // namespace tavrix::detail
