// Frames for the interface tests: packed byte images, the same images with
// padded rows, and the class conversion they are compared with.
#ifndef TAVRIX_TESTS_API_API_TEST_UTIL_H
#define TAVRIX_TESTS_API_API_TEST_UTIL_H

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "tavrix/tavrix.h"

namespace api_test {

using Bytes = std::vector<std::uint8_t>;
constexpr std::uint8_t kSentinel = 0xA5;

inline Bytes RandomBytes(std::size_t n, std::uint32_t seed) {
  std::mt19937 rng(seed);
  Bytes b(n);
  for (auto &x : b) x = std::uint8_t(rng());
  return b;
}

// Random samples of `bits` bits, as bytes in native order.
inline Bytes RandomSamples(int w, int h, tavrix::SampleType type, int bits, std::uint32_t seed) {
  std::mt19937 rng(seed);
  Bytes b(std::size_t(w) * h * tavrix::BytesPerSample(type));
  for (std::size_t k = 0; k < std::size_t(w) * h; ++k) {
    const std::uint16_t v = std::uint16_t(rng() & ((1u << bits) - 1));
    if (type == tavrix::SampleType::kMono8) b[k] = std::uint8_t(v);
    else std::memcpy(&b[2 * k], &v, 2);
  }
  return b;
}

// An image with rows `stride` bytes apart, starting `offset` bytes into its
// buffer; padding and the bytes before and after are the sentinel.
struct Padded {
  Padded(const Bytes &packed, std::size_t rowBytes, int rows, std::size_t stride,
         std::size_t offset = 0)
      : rowBytes(rowBytes), rows(rows), stride(stride), offset(offset),
        buffer(offset + stride * rows + 16, kSentinel) {
    for (int r = 0; r < rows; ++r)
      std::memcpy(Row(r), &packed[r * rowBytes], rowBytes);
  }
  std::uint8_t *Row(int r) { return &buffer[offset + r * stride]; }
  std::uint8_t *data() { return &buffer[offset]; }
  Bytes Packed() {
    Bytes b(rowBytes * rows);
    for (int r = 0; r < rows; ++r) std::memcpy(&b[r * rowBytes], Row(r), rowBytes);
    return b;
  }
  // Every byte outside the rows still holds the sentinel.
  bool PaddingIntact() {
    Padded copy = *this;
    for (int r = 0; r < rows; ++r) std::memset(copy.Row(r), kSentinel, rowBytes);
    for (std::uint8_t b : copy.buffer)
      if (b != kSentinel) return false;
    return true;
  }
  std::size_t rowBytes;
  int rows;
  std::size_t stride, offset;
  Bytes buffer;
};

// The class conversion a Demosaic call must equal: a new converter, the
// options' settings, packed buffers.
inline Bytes ClassDemosaic(const Bytes &raw, tavrix::SampleType type, ISize in,
                           tavrix::PixelFormat format, ISize out, Bytes output,
                           const tavrix::DemosaicOptions &o) {
  CBayerConverter c;
  c.SetPatternOrigin(o.origin);
  c.SetCalcMode(eCalculationMode(o.algorithm));
  c.SetSampleFactor(o.sampleFactor);
  c.SetColorCorrectionMode(o.correctColors);
  const auto &m = o.matrix;
  c.SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  if (o.balanceRed || o.balanceGreen || o.balanceBlue)
    c.SetColorBalance(o.balanceRed, o.balanceGreen, o.balanceBlue);
  CColorMatrix matrix;
  for (int k = 0; k < 9; ++k) matrix.m_matrix[k] = m[k];
  const auto depth = static_cast<unsigned short>(o.bitDepth == 0 ? 16 : o.bitDepth);
  std::vector<std::uint16_t> wide((raw.size() + 1) / 2);
  std::memcpy(wide.data(), raw.data(), raw.size());
  std::vector<std::uint16_t> words((output.size() + 1) / 2);
  std::memcpy(words.data(), output.data(), output.size());
  auto *bytes = reinterpret_cast<unsigned char *>(words.data());
  using tavrix::PixelFormat;
  if (type == tavrix::SampleType::kMono8) {
    if (format == PixelFormat::kBgr24) c.ConvertMono8ToBGR(bytes, out, raw.data(), in, matrix);
    else c.ConvertMono8ToBGRx(bytes, out, raw.data(), in, matrix);
  } else if (format == PixelFormat::kBgr24) {
    c.ConvertMono16ToBGR(bytes, out, wide.data(), in, depth, matrix);
  } else if (format == PixelFormat::kBgrx32) {
    c.ConvertMono16ToBGRx(bytes, out, wide.data(), in, depth,
                          static_cast<unsigned short>(o.sampleBytes), matrix);
  } else {
    c.ConvertMono16ToBGR48(words.data(), out, wide.data(), in, depth, matrix);
  }
  std::memcpy(output.data(), words.data(), output.size());
  return output;
}

struct Combo {
  const char *name;
  tavrix::SampleType type;
  tavrix::PixelFormat format;
};
constexpr Combo kCombos[] = {
    {"8 to 24", tavrix::SampleType::kMono8, tavrix::PixelFormat::kBgr24},
    {"8 to 32", tavrix::SampleType::kMono8, tavrix::PixelFormat::kBgrx32},
    {"16 to 24", tavrix::SampleType::kMono16, tavrix::PixelFormat::kBgr24},
    {"16 to 32", tavrix::SampleType::kMono16, tavrix::PixelFormat::kBgrx32},
    {"16 to 48", tavrix::SampleType::kMono16, tavrix::PixelFormat::kBgr48},
};
constexpr tavrix::Algorithm kAlgorithms[] = {
    tavrix::Algorithm::kFastBilinear, tavrix::Algorithm::kBilinear,
    tavrix::Algorithm::kLaplacian1, tavrix::Algorithm::kLaplacian2};
constexpr ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};

}  // namespace api_test

#endif
