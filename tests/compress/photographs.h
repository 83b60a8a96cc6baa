// Bayer mosaics cut from the sample photographs, for the codec tests that compare
// a fast path with its reference on real image statistics. Empty when the
// photographs or the image reader are not available (a bare checkout).
#ifndef TAVRIX_TESTS_COMPRESS_PHOTOGRAPHS_H
#define TAVRIX_TESTS_COMPRESS_PHOTOGRAPHS_H

#include "test_data.h"

#include <algorithm>
#include <string>
#include <vector>

#if TAVRIX_TESTS_HAVE_IMAGES
#include <png.h>
#endif

namespace tavrix::test {

// For each photograph, the central width x height pixels sampled as an RGGB
// mosaic: once as bytes, once as 12-bit samples in little-endian 16-bit words.
inline std::vector<Bytes> PhotographMosaics(int width, int height) {
  std::vector<Bytes> out;
#if TAVRIX_TESTS_HAVE_IMAGES
  for (const char *name : {"astronaut.png", "chelsea.png", "coffee.png", "motorcycle_left.png"}) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    const std::string path = std::string(TAVRIX_TESTS_IMAGE_DIR) + "/" + name;
    if (!png_image_begin_read_from_file(&image, path.c_str())) continue;
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr) ||
        int(image.width) < width || int(image.height) < height)
      continue;
    const int left = (int(image.width) - width) / 2 & ~1, top = (int(image.height) - height) / 2 & ~1;
    Bytes narrow, wide;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const int channel = (y % 2) + (x % 2); // R, G, G, B of an RGGB cell
        const size_t at = (size_t(top + y) * image.width + size_t(left + x)) * 3;
        const unsigned value = rgb[at + size_t(channel)];
        narrow.push_back(uint8_t(value));
        const unsigned sample = value << 4 | ((unsigned(x) * 7 + unsigned(y) * 3) & 15);
        wide.push_back(uint8_t(sample));
        wide.push_back(uint8_t(sample >> 8));
      }
    out.push_back(std::move(narrow));
    out.push_back(std::move(wide));
  }
#else
  (void)width;
  (void)height;
#endif
  return out;
}

} // namespace tavrix::test

#endif
