// Per-site row bodies compiled for SSE4.1 (the bodies are in the .inc files beside).
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bayer/kernels/simd/site_fast.h"
#include "bayer/table_shape.h"

namespace {
#include "bayer/kernels/simd/site_rows.inc"
#include "bayer/kernels/simd/laplacian2_rows.inc"
}  // namespace

namespace tavrix::detail {
TAVRIX_DEFINE_SITE_FAST(Laplacian2RowsSse41, Laplacian2Band)
}  // namespace tavrix::detail
