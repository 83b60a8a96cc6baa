// Directional demosaicing: the plain body, the choice of path and the bands.
#include "bayer/kernels/directional.h"

#include <cstdint>
#include <type_traits>
#include <vector>

#include "bayer/color_correction.h"
#include "cpu/dispatch.h"
#include "tavrix/bayer_converter.h"

namespace {
#include "bayer/kernels/directional_tile.inc"
}  // namespace

namespace tavrix::detail {

std::size_t DirectionalScratchFloats() { return std::size_t(kPlanes) * kPlaneFloats; }

void DirectionalTileReference(const DirectionalJob &job, int y0, int y1, int x0, int x1,
                              float *scratch) {
  AnyTile(job, y0, y1, x0, x1, scratch);
}

namespace {

DirectionalTileFn PickTile() {
#if TAVRIX_SIMD_X86
  const Path path = ActivePath();
  if (Admits(path, Path::kAvx2)) return DirectionalTileAvx2;
  if (Admits(path, Path::kSse41)) return DirectionalTileSse41;
#endif
  return DirectionalTileReference;
}

template <class Record>
void CorrectRows(const DirectionalJob &job, int from, int to) {
  for (int r = from; r < to; ++r) {
    Record *row = reinterpret_cast<Record *>(static_cast<unsigned char *>(job.output) +
                                             std::ptrdiff_t(r) * job.outputStride);
    for (int x = 0; x < job.width; ++x) {
      if constexpr (std::is_same<Record, CBayerConverter::RGBTRIPLE16>::value)
        CorrectWords(row + x, job.matrix, job.maxValue);
      else
        CorrectBytes(row + x, job.matrix);
    }
  }
}

}  // namespace

void DirectionalRows(const DirectionalJob &job, int rowBegin, int rowEnd) {
  const DirectionalTileFn tile = PickTile();
  std::vector<float> scratch(DirectionalScratchFloats());
  // Strips of columns down the whole band: no row is computed twice.
  for (int x = 0; x < job.width; x += kDirectionalTileColumns) {
    const int x1 = x + kDirectionalTileColumns < job.width ? x + kDirectionalTileColumns : job.width;
    tile(job, rowBegin, rowEnd, x, x1, scratch.data());
  }
  if (job.matrix == nullptr) return;
  // As the converter corrects after its per-site passes (the 32-bit pixels'
  // fourth byte is already 0).
  switch (job.record) {
    case DirectionalRecord::kBgr24: CorrectRows<tagRGBTRIPLE>(job, rowBegin, rowEnd); break;
    case DirectionalRecord::kBgrx32: CorrectRows<CBayerConverter::BGRxTRIPLE>(job, rowBegin, rowEnd); break;
    case DirectionalRecord::kBgr48: CorrectRows<CBayerConverter::RGBTRIPLE16>(job, rowBegin, rowEnd); break;
  }
}

}  // namespace tavrix::detail
