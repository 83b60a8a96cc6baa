// Per-site row bodies compiled for AVX2 (the bodies are in the .inc files beside).
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bayer/kernels/bilinear_sites.h"
#include "bayer/kernels/simd/site_fast.h"
#include "bayer/kernels/simd/x86_line_bodies.h"
#include "bayer/table_shape.h"

namespace {
#define TAVRIX_SITE_VECTOR_STORES 1
#include "bayer/kernels/simd/site_rows.inc"
#include "bayer/kernels/simd/x86_site_stores.inc"
#include "bayer/kernels/simd/bilinear_rows.inc"
#include "bayer/kernels/simd/laplacian1_rows.inc"
#include "bayer/kernels/simd/laplacian2_rows.inc"
}  // namespace

namespace tavrix::detail {
TAVRIX_DEFINE_SITE_FAST(BilinearRowsAvx2, BilinearBand)
TAVRIX_DEFINE_SITE_FAST(Laplacian1RowsAvx2, Laplacian1Band)
TAVRIX_DEFINE_SITE_FAST(Laplacian2RowsAvx2, Laplacian2Band)
}  // namespace tavrix::detail
