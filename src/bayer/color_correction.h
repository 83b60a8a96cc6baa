// Colour correction of one pixel by a 3x3 matrix acting on (blue, green, red).
#ifndef TAVRIX_SRC_BAYER_COLOR_CORRECTION_H
#define TAVRIX_SRC_BAYER_COLOR_CORRECTION_H

#include <cstddef>

#include "bayer/numeric.h"
#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

inline int ClampToRange(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

// 8-bit channels: the first two rows add the green product first, the third
// adds in element order; each result is truncated and clamped to 0..255.
template <class Pixel>
inline void CorrectBytes(Pixel *px, const double *m) {
  const double b = px->rgbtBlue, g = px->rgbtGreen, r = px->rgbtRed;
  const double nb = (g * m[1] + m[0] * b) + m[2] * r;
  const double ng = (g * m[4] + m[3] * b) + m[5] * r;
  const double nr = (m[6] * b + m[7] * g) + m[8] * r;
  px->rgbtBlue = static_cast<unsigned char>(ClampToRange(TruncateToInt32(nb), 0, 255));
  px->rgbtGreen = static_cast<unsigned char>(ClampToRange(TruncateToInt32(ng), 0, 255));
  px->rgbtRed = static_cast<unsigned char>(ClampToRange(TruncateToInt32(nr), 0, 255));
}

// 16-bit channels on the sensor's scale: element order, clamped to 0..2^bits-1.
inline void CorrectWords(CBayerConverter::RGBTRIPLE16 *px, const double *m, int max) {
  const double b = px->rgbtBlue, g = px->rgbtGreen, r = px->rgbtRed;
  const double nb = m[0] * b + m[1] * g + m[2] * r;
  const double ng = m[3] * b + m[4] * g + m[5] * r;
  const double nr = m[6] * b + m[7] * g + m[8] * r;
  px->rgbtBlue = static_cast<unsigned short>(ClampToRange(TruncateToInt32(nb), 0, max));
  px->rgbtGreen = static_cast<unsigned short>(ClampToRange(TruncateToInt32(ng), 0, max));
  px->rgbtRed = static_cast<unsigned short>(ClampToRange(TruncateToInt32(nr), 0, max));
}

template <class Pixel, class Correct>
void ForEachPixel(Pixel *pixels, const ISize &size, Correct correct) {
  if (size.height < 1 || size.width < 1) return;
  const std::size_t count = std::size_t(size.width) * std::size_t(size.height);
  for (std::size_t i = 0; i < count; ++i) correct(pixels + i);
}

}  // namespace tavrix::detail

#endif
