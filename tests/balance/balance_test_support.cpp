// Out of line so that the compiler does not follow the 16-bit write into 8-bit images.
#include "balance_test_support.h"

namespace balance_test {

size_t Image::SampleOffset(unsigned row, unsigned column, int channel) const {
  const size_t sampleBytes = format_ == Format::kBgr48 ? 2 : 1;
  return offset_ + size_t(row) * stride_ + column * PixelBytes(format_) + channel * sampleBytes;
}

void Image::SetSample(unsigned row, unsigned column, int channel, unsigned value) {
  uint8_t* const at = bytes_.data() + SampleOffset(row, column, channel);
  if (format_ == Format::kBgr48) {
    const uint16_t word = uint16_t(value);
    std::memcpy(at, &word, sizeof word);
  } else {
    *at = uint8_t(value);
  }
}

unsigned Image::Sample(unsigned row, unsigned column, int channel) const {
  const uint8_t* const at = bytes_.data() + SampleOffset(row, column, channel);
  if (format_ != Format::kBgr48) return *at;
  uint16_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

}  // namespace balance_test
