// Writing colour images for viewing: PNG through libpng when it is available,
// otherwise binary PPM (the file name's extension is changed to .ppm).
#ifndef TAVRIX_EXAMPLES_IMAGE_IO_H
#define TAVRIX_EXAMPLES_IMAGE_IO_H

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

// Interleaved RGB, 8 or 16 bits per channel, top row first.
struct RgbImage {
  int width = 0, height = 0;
  int bits = 8;                      // 8 or 16
  std::vector<std::uint16_t> data;   // width * height * 3 values, red first
};

// Writes the image; returns the path actually written, or "" on failure.
std::string WriteImage(const std::string &path, const RgbImage &image);

// Reads an 8-bit RGB or RGBA PNG (alpha dropped). False when it cannot.
bool ReadPng(const std::string &path, RgbImage &image);

}  // namespace demo

#endif
