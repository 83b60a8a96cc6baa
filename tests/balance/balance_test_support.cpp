// Out of line so that the compiler does not follow 16-bit writes into 8-bit images.
#include <cstring>

#include "balance_test_support.h"

namespace balance_test {

void Image::Set(unsigned row, unsigned column, const Bgr& bgr) {
  uint8_t* const pixel = bytes_.data() + size_t(row) * stride_ + column * PixelBytes();
  for (int ch : {B, G, R}) {
    const uint16_t word = uint16_t(bgr[ch]);
    if (format_ == Format::kBgr48) std::memcpy(pixel + 2 * ch, &word, 2);
    else pixel[ch] = uint8_t(word);
  }
}

Bgr Image::Get(unsigned row, unsigned column) const {
  const uint8_t* const pixel = bytes_.data() + size_t(row) * stride_ + column * PixelBytes();
  Bgr bgr;
  for (int ch : {B, G, R}) {
    uint16_t word = pixel[ch];
    if (format_ == Format::kBgr48) std::memcpy(&word, pixel + 2 * ch, 2);
    bgr[ch] = word;
  }
  return bgr;
}

}  // namespace balance_test
