// Directional demosaicing compiled for SSE41 (the body is directional_tile.inc).
#include <cstddef>
#include <cstdint>

#include "bayer/kernels/directional.h"
#include "tavrix/bayer_converter.h"

namespace {
#include "bayer/kernels/directional_tile.inc"
}  // namespace

namespace tavrix::detail {
void DirectionalTileSse41(const DirectionalJob &job, int y0, int y1, int x0, int x1, float *scratch) {
  AnyTile(job, y0, y1, x0, x1, scratch);
}
}  // namespace tavrix::detail
