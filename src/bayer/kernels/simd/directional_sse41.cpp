// Directional demosaicing compiled for SSE41 (the body is directional_tile.inc).
#include <cstddef>
#include <cstdint>

#include "bayer/kernels/directional.h"
#include "tavrix/bayer_converter.h"

namespace {
#include "bayer/kernels/directional_tile.inc"

template <class Record>
void TileFor(const tavrix::detail::DirectionalJob &job, int y0, int y1, int x0, int x1,
             float *scratch) {
  if (job.wideSamples)
    DirectionalTile<Record, std::uint16_t>(job, y0, y1, x0, x1, scratch);
  else
    DirectionalTile<Record, std::uint8_t>(job, y0, y1, x0, x1, scratch);
}
}  // namespace

namespace tavrix::detail {
void DirectionalTileSse41(const DirectionalJob &job, int y0, int y1, int x0, int x1, float *scratch) {
  switch (job.record) {
    case DirectionalRecord::kBgr24: return TileFor<tagRGBTRIPLE>(job, y0, y1, x0, x1, scratch);
    case DirectionalRecord::kBgrx32:
      return TileFor<CBayerConverter::BGRxTRIPLE>(job, y0, y1, x0, x1, scratch);
    case DirectionalRecord::kBgr48:
      return TileFor<CBayerConverter::RGBTRIPLE16>(job, y0, y1, x0, x1, scratch);
  }
}
}  // namespace tavrix::detail
