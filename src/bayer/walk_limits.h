// Which size combinations a conversion accepts. Beyond the even-and-at-least-4
// rule, a walk is refused when it would read past the input or write past the
// output, so that no argument values can take a conversion out of its buffers.
#ifndef TAVRIX_SRC_BAYER_WALK_LIMITS_H
#define TAVRIX_SRC_BAYER_WALK_LIMITS_H

#include <cstdint>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

// Even width and height, both at least 4.
inline bool IsBayerFrame(const ISize &s) {
  return s.width >= 4 && s.height >= 4 && s.width % 2 == 0 && s.height % 2 == 0;
}

// A conversion that writes pixel (r, c) for input site (r, c).
inline bool CoversInput(const ISize &out, const ISize &in) {
  return out.width >= in.width && out.height >= in.height;
}

// How many pixels a decimating row writes.
enum class DecimatedRow { kEveryFactorColumn, kEveryColumn };

// The 32-bit fast line pass with sample factor f >= 1. With f = 1 the output
// must match the input (the column walk uses the output width, the row skip
// the input width). With f > 1 only the even-row kernel runs: rows 0..H-2 that
// are even multiples of f, each reading f * outWidth input columns and writing
// outWidth pixels (or f * outWidth - 1 when every column is written), packed.
inline bool DecimatedWalkFits(const ISize &out, const ISize &in, int factor, DecimatedRow row) {
  if (factor < 1) return false;
  if (factor == 1) return out.width == in.width && out.height >= in.height;
  const std::int64_t columns = std::int64_t(factor) * out.width;
  if (columns > in.width) return false;
  const std::int64_t step = factor % 2 == 0 ? factor : 2 * std::int64_t(factor);
  const std::int64_t rows = (std::int64_t(in.height) - 2) / step + 1;
  const std::int64_t perRow = row == DecimatedRow::kEveryColumn ? columns - 1 : out.width;
  return rows * perRow <= std::int64_t(out.width) * out.height;
}

}  // namespace tavrix::detail

#endif
