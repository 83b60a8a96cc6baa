// A synthetic colour test chart and its Bayer sampling.
#ifndef TAVRIX_EXAMPLES_CHART_H
#define TAVRIX_EXAMPLES_CHART_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <tavrix/tavrix.h>

namespace demo {

// Linear colour in 0..1 per channel.
struct Colour {
  double r, g, b;
};

// Colour bars across the top quarter, a zone plate and a grey ramp in the
// middle half, smooth hue and brightness gradients in the bottom quarter.
inline Colour ChartAt(int x, int y, int width, int height) {
  const double u = (x + 0.5) / width, v = (y + 0.5) / height;
  if (v < 0.25) {
    static const Colour kBars[8] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                    {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0.1, 0.1, 0.1}};
    const Colour c = kBars[int(u * 8)];
    return {0.1 + 0.8 * c.r, 0.1 + 0.8 * c.g, 0.1 + 0.8 * c.b};
  }
  if (v < 0.75) {
    if (u < 0.5) {  // zone plate: frequency rises with the distance from the centre
      const double cx = (u - 0.25) * width, cy = (v - 0.5) * height;
      const double radius = 0.25 * height, r2 = cx * cx + cy * cy;
      // Half the sampling limit at the rim (a quarter cycle per pixel); flat beyond it.
      const double k = 3.14159265358979 / (4.0 * radius);
      const double s = 0.5 + 0.4 * std::cos(k * std::min(r2, radius * radius));
      return {s, s, s};
    }
    const double ramp = (u - 0.5) * 2.0;  // grey ramp with a tinted band
    return v < 0.5 ? Colour{ramp, ramp, ramp} : Colour{ramp, 0.6 * ramp, 0.3};
  }
  const double hue = u * 6.0, light = 0.2 + 0.7 * (v - 0.75) * 4.0;
  const double f = hue - std::floor(hue);
  Colour c;
  switch (int(hue) % 6) {
    case 0: c = {1, f, 0}; break;
    case 1: c = {1 - f, 1, 0}; break;
    case 2: c = {0, 1, f}; break;
    case 3: c = {0, 1 - f, 1}; break;
    case 4: c = {f, 0, 1}; break;
    default: c = {1, 0, 1 - f}; break;
  }
  return {c.r * light, c.g * light, c.b * light};
}

// The chart quantised to `bits` per channel: red, green, blue values, row-major.
inline std::vector<std::uint16_t> RenderChart(int width, int height, int bits) {
  const double top = double((1 << bits) - 1);
  std::vector<std::uint16_t> rgb(std::size_t(width) * height * 3);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Colour c = ChartAt(x, y, width, height);
      std::uint16_t *p = &rgb[(std::size_t(y) * width + x) * 3];
      p[0] = std::uint16_t(std::lround(c.r * top));
      p[1] = std::uint16_t(std::lround(c.g * top));
      p[2] = std::uint16_t(std::lround(c.b * top));
    }
  return rgb;
}

// Channel (0 red, 1 green, 2 blue) seen by the sensor at (x, y) for an origin.
inline int SiteChannel(ePatternOrigin origin, int x, int y) {
  // Row 0 kinds: GB, GR, BG, RG; row 1 is the other kind.
  static const int kRows[4][2][2] = {{{1, 2}, {0, 1}},   // GB: G B / R G
                                     {{1, 0}, {2, 1}},   // GR: G R / B G
                                     {{2, 1}, {1, 0}},   // BG: B G / G R
                                     {{0, 1}, {1, 2}}};  // RG: R G / G B
  const int index = origin == eOriginGB ? 0 : origin == eOriginGR ? 1 : origin == eOriginBG ? 2 : 3;
  return kRows[index][y & 1][x & 1];
}

// Samples an RGB image (red, green, blue per pixel) into a Bayer mosaic.
inline std::vector<std::uint16_t> Mosaic(const std::vector<std::uint16_t> &rgb, int width,
                                         int height, ePatternOrigin origin) {
  std::vector<std::uint16_t> m(std::size_t(width) * height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      m[std::size_t(y) * width + x] =
          rgb[(std::size_t(y) * width + x) * 3 + SiteChannel(origin, x, y)];
  return m;
}

}  // namespace demo

#endif
