// Directional demosaicing with local discrimination: a fifth algorithm beside
// the converter's four, reached through the tavrix:: interface only.
//
// The method follows ratio-corrected demosaicing (L. Sanz Rodriguez, "RCD:
// ratio corrected demosaicing", 2017) in its structure: a vertical/horizontal
// and a diagonal discrimination from local high-pass energy, each refined
// against its neighbours, steer gradient-weighted directional estimates of
// green, then of red and blue at blue and red sites, then at green sites. Its
// directional green estimates are Laplacian-corrected colour differences
// (J. Hamilton and J. Adams, US patent 5,629,734, 1997) instead of ratios,
// which measured better on our sample photographs (docs/benchmarks.md).
//
// Values are computed in single-precision floats on the tables' scale (the
// sample plus its channel's balance offset, clamped to the bit depth), with
// every operation in a fixed order and no contraction, so the vector paths give
// the bytes of the plain one. Every pixel is written: the frame is mirrored
// about its first and last rows and columns (which keeps the Bayer phase), and
// an output pixel depends on the input alone, so bands and tiles of any size
// give the same image.
#ifndef TAVRIX_SRC_BAYER_KERNELS_DIRECTIONAL_H
#define TAVRIX_SRC_BAYER_KERNELS_DIRECTIONAL_H

#include <cstddef>

namespace tavrix::detail {

enum class DirectionalRecord { kBgr24, kBgrx32, kBgr48 };

struct DirectionalJob {
  const void *input;  // 8-bit or 16-bit samples, 16-bit ones at even addresses
  std::ptrdiff_t inputStride;  // bytes
  bool wideSamples;            // 16-bit samples
  int width, height;           // even, at least 4
  void *output;
  std::ptrdiff_t outputStride;  // bytes; 48-bit rows at even addresses
  DirectionalRecord record;
  int origin;  // eOriginGB, eOriginGR, eOriginBG or eOriginRG
  // Added to every sample of the channel before the clamp to 0..maxValue, in
  // 32-bit arithmetic (the converter's table rule): balance << depthShift.
  int offsetRed, offsetGreen, offsetBlue;
  int maxValue;    // 2^bitDepth - 1
  int depthShift;  // 8-bit records keep value >> depthShift
  const double *matrix;  // colour correction after interpolation, or null
};

// Writes output rows [rowBegin, rowEnd) (rowBegin even), every column, on the
// vector path ActivePath() allows (chosen once per call).
void DirectionalRows(const DirectionalJob &job, int rowBegin, int rowEnd);

// Strip entries, one per instruction set: output rows [y0, y1) and columns
// [x0, x1) (at most kDirectionalTileColumns), all even, into `scratch` of
// DirectionalScratchFloats() floats; the rows are walked top to bottom.
constexpr int kDirectionalTileColumns = 256;
std::size_t DirectionalScratchFloats();
using DirectionalTileFn = void (*)(const DirectionalJob &, int y0, int y1, int x0, int x1,
                                   float *scratch);
void DirectionalTileReference(const DirectionalJob &, int, int, int, int, float *);
void DirectionalTileSse41(const DirectionalJob &, int, int, int, int, float *);
void DirectionalTileAvx2(const DirectionalJob &, int, int, int, int, float *);

}  // namespace tavrix::detail

#endif
