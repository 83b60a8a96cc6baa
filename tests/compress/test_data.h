// Inputs and helpers shared by the codec tests.
#ifndef TAVRIX_TESTS_COMPRESS_TEST_DATA_H
#define TAVRIX_TESTS_COMPRESS_TEST_DATA_H

#include "tavrix/image_compress.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tavrix::test {

using Bytes = std::vector<uint8_t>;
inline constexpr uint8_t kSentinel = 0xA5; // marks bytes nobody may write

inline Bytes RandomBytes(size_t n, uint32_t seed, int values = 256) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> pick(0, values - 1);
  Bytes out(n);
  for (auto &b : out) b = uint8_t(pick(rng));
  return out;
}

inline Bytes Repeat(const Bytes &pattern, size_t n) {
  Bytes out(n);
  for (size_t i = 0; i < n; ++i) out[i] = pattern[i % pattern.size()];
  return out;
}

// Runs of 1 to maxRun bytes over a few values: every run and chunk boundary case.
inline Bytes Runs(size_t n, uint32_t seed, int maxRun, int values = 4) {
  std::mt19937 rng(seed);
  Bytes out;
  while (out.size() < n) {
    const size_t run = 1 + rng() % uint32_t(maxRun);
    out.insert(out.end(), run, uint8_t(rng() % uint32_t(values)));
  }
  out.resize(n);
  return out;
}

// A Bayer mosaic of a smooth scene (scaled by `level`; 0 leaves the noise alone)
// plus Gaussian sensor noise: `bits` per sample, stored as bytes (bits <= 8) or
// little-endian 16-bit words. Also the benchmark's frames.
inline Bytes Mosaic(int width, int height, int bits, double noise, uint32_t seed,
                    double level = 1.0) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> gauss(0.0, noise);
  const int maxValue = (1 << bits) - 1;
  const bool wide = bits > 8;
  Bytes out(size_t(width) * height * (wide ? 2 : 1));
  size_t o = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double gain[4] = {0.55, 0.9, 0.9, 0.4}; // R, G, G, B of an RGGB cell
      const double scene = level * (0.5 + 0.3 * double(x) / width - 0.2 * double(y) / height +
                                    0.1 * ((x / 97 + y / 61) % 2));
      const double v = scene * gain[(y % 2) * 2 + x % 2] * maxValue + gauss(rng);
      const int s = v < 0 ? 0 : v > maxValue ? maxValue : int(v);
      out[o++] = uint8_t(s);
      if (wide) out[o++] = uint8_t(s >> 8);
    }
  return out;
}

// Encodes with a fresh object into a buffer of MaxEncodedSize bytes (filled with the
// sentinel) and returns the stream.
inline Bytes Encode(eCompressType type, const Bytes &input) {
  CImageCompress codec;
  codec.InitCompress(type, input.size());
  Bytes out(size_t(CImageCompress::MaxEncodedSize(type, input.size())), kSentinel);
  const unsigned long length = codec.EncodeImage(const_cast<uint8_t *>(input.data()), out.data());
  out.resize(length);
  return out;
}

// "0110 1..." -> bytes, most significant bit first; unused bits of the last byte
// take those of `fill`. Spaces are ignored.
inline Bytes PackBits(const std::string &bits, uint8_t fill) {
  Bytes out;
  int used = 8;
  for (char c : bits) {
    if (c == ' ') continue;
    if (used == 8) {
      out.push_back(fill);
      used = 0;
    }
    const uint8_t mask = uint8_t(0x80 >> used++);
    out.back() = uint8_t(c == '1' ? (out.back() | mask) : (out.back() & ~mask));
  }
  return out;
}

inline Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes &p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

inline Bytes Stream(const Bytes &payload) {
  const uint32_t length = uint32_t(payload.size() + 4);
  Bytes out(length);
  for (int k = 0; k < 4; ++k) out[size_t(k)] = uint8_t(length >> (8 * k));
  std::copy(payload.begin(), payload.end(), out.begin() + 4);
  return out;
}

} // namespace tavrix::test

#endif
