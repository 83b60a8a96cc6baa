// Which size combinations a conversion accepts. Beyond the even-and-at-least-4
// rule, a walk is refused when it would read past the input or write past the
// output, so that no argument values can take a conversion out of its buffers.
#ifndef TAVRIX_SRC_BAYER_WALK_LIMITS_H
#define TAVRIX_SRC_BAYER_WALK_LIMITS_H

#include <cstdint>
#include <initializer_list>

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

// The three per-site bilinear passes, in the order they run.
enum class BilinearPass { kBlue, kRed, kGreen };

// Rows and columns a per-site bilinear pass leaves at each edge.
constexpr int BilinearMargin(BilinearPass pass) { return pass == BilinearPass::kGreen ? 2 : 1; }

// Which per-site bilinear passes of the 32-bit output count positions, store
// every sample-factor-th one packed and zero the fourth byte. With 16-bit
// samples all assigned origins do; with 8-bit samples origin GR in every pass,
// and origin GB in the green pass.
constexpr bool BilinearPassDecimates(BilinearPass pass, int origin, bool wideSamples) {
  if (origin != eOriginGB && origin != eOriginGR && origin != eOriginBG && origin != eOriginRG)
    return false;
  if (wideSamples) return true;
  return origin == eOriginGR || (origin == eOriginGB && pass == BilinearPass::kGreen);
}

// A decimating per-site bilinear pass with sample factor f > 1: rows m..H-1-m
// with r mod f = 0 are visited, W - 2m positions each, counted on across rows;
// every position whose count is a multiple of f is stored, packed, starting at
// pixel m * (outWidth + 1), with 2m pixels skipped after each visited row.
// True when the last pixel stored lies inside the output.
inline bool DecimatedSiteWalkFits(const ISize &out, const ISize &in, int factor, int margin) {
  const std::int64_t f = factor, m = margin;
  const std::int64_t perRow = std::int64_t(in.width) - 2 * m;
  const std::int64_t lastRow = std::int64_t(in.height) - 1 - m;
  if (perRow <= 0 || lastRow < m) return true;
  const std::int64_t rows = lastRow / f - (m - 1) / f;
  if (rows <= 0) return true;
  const std::int64_t positions = rows * perRow;
  const std::int64_t stored = (positions - 1) / f + 1;
  const std::int64_t lastPosition = (stored - 1) * f;
  const std::int64_t lastPixel =
      m * (std::int64_t(out.width) + 1) + (stored - 1) + 2 * m * (lastPosition / perRow);
  return lastPixel < std::int64_t(out.width) * out.height;
}

// The three per-site bilinear passes of one conversion. Passes that do not
// decimate (and all of them with factor 1) write pixel (r, c) for site (r, c)
// and need an output covering the input; decimating ones need their packed
// walk to fit. `factor` is 1 for the outputs that ignore it.
inline bool BilinearWalksFit(const ISize &out, const ISize &in, int factor, int origin,
                             bool wideSamples) {
  for (BilinearPass pass : {BilinearPass::kBlue, BilinearPass::kRed, BilinearPass::kGreen}) {
    const bool packed = factor != 1 && BilinearPassDecimates(pass, origin, wideSamples);
    if (packed ? !DecimatedSiteWalkFits(out, in, factor, BilinearMargin(pass))
               : !CoversInput(out, in))
      return false;
  }
  return true;
}

}  // namespace tavrix::detail

#endif
