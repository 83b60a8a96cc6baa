// Small mosaics and output images for the per-site kernel tests, converted
// through the public entry points.
#ifndef TAVRIX_TESTS_BAYER_SITE_TEST_UTIL_H
#define TAVRIX_TESTS_BAYER_SITE_TEST_UTIL_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tavrix/bayer_converter.h"
#include "tavrix/color_matrix.h"

namespace sitetest {

enum { kBlue = 0, kGreen = 1, kRed = 2 };
constexpr ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};
constexpr std::uint8_t kSentinel = 0xA5;

// Samples of either width, row-major.
struct Mosaic {
  Mosaic(int w, int h, unsigned fill = 0) : width(w), height(h), samples(size_t(w) * h, fill) {}
  std::uint16_t &At(int r, int c) { return samples[size_t(r) * width + c]; }
  int width, height;
  std::vector<std::uint16_t> samples;
};

inline Mosaic RandomMosaic(int w, int h, unsigned max, std::uint32_t seed) {
  Mosaic m(w, h);
  std::mt19937 rng(seed);
  for (auto &s : m.samples) s = std::uint16_t(rng() % (max + 1));
  return m;
}

// Output record and entry point: (record, sample width).
enum class Out { k24From8, k24From16, k32From8, k32From16, k48From16 };
constexpr Out kAllOutputs[] = {Out::k24From8, Out::k24From16, Out::k32From8, Out::k32From16,
                               Out::k48From16};

struct Image {
  Image(Out k, int w, int h, std::uint8_t fill = kSentinel)
      : kind(k), size{w, h}, words((size_t(w) * h * PixelBytes() + 1) / 2) {
    std::memset(words.data(), fill, words.size() * 2);
  }
  int PixelBytes() const { return kind == Out::k48From16 ? 6 : (Is32() ? 4 : 3); }
  bool Is32() const { return kind == Out::k32From8 || kind == Out::k32From16; }
  std::uint8_t *Bytes() { return reinterpret_cast<std::uint8_t *>(words.data()); }
  const std::uint8_t *Bytes() const { return reinterpret_cast<const std::uint8_t *>(words.data()); }
  size_t Offset(int index, int channel) const {
    return size_t(index) * PixelBytes() + channel * (kind == Out::k48From16 ? 2 : 1);
  }
  unsigned Get(int index, int channel) const {
    const std::uint8_t *b = Bytes() + Offset(index, channel);
    return kind == Out::k48From16 ? unsigned(b[0] | b[1] << 8) : b[0];
  }
  unsigned At(int r, int c, int channel) const { return Get(r * size.width + c, channel); }
  void Set(int r, int c, int channel, unsigned v) {
    std::uint8_t *b = Bytes() + Offset(r * size.width + c, channel);
    b[0] = std::uint8_t(v);
    if (kind == Out::k48From16) b[1] = std::uint8_t(v >> 8);
  }
  unsigned Fourth(int index) const { return Bytes()[size_t(index) * 4 + 3]; }
  Out kind;
  ISize size;
  std::vector<std::uint16_t> words;
};

inline void Convert(CBayerConverter &cv, const Mosaic &m, Image &out, unsigned short bits = 8) {
  const ISize in{m.width, m.height};
  const std::vector<std::uint8_t> narrow(m.samples.begin(), m.samples.end());
  const CColorMatrix identity;
  switch (out.kind) {
    case Out::k24From8:
      return cv.ConvertMono8ToBGR(out.Bytes(), out.size, narrow.data(), in, identity);
    case Out::k32From8:
      return cv.ConvertMono8ToBGRx(out.Bytes(), out.size, narrow.data(), in, identity);
    case Out::k24From16:
      return cv.ConvertMono16ToBGR(out.Bytes(), out.size, m.samples.data(), in, bits, identity);
    case Out::k32From16:
      return cv.ConvertMono16ToBGRx(out.Bytes(), out.size, m.samples.data(), in, bits, 100,
                                    identity);
    case Out::k48From16:
      return cv.ConvertMono16ToBGR48(out.words.data(), out.size, m.samples.data(), in, bits,
                                     identity);
  }
}

// Converts a full-size copy of `m` prefilled with `fill` in one go.
inline Image ConvertFull(eCalculationMode mode, ePatternOrigin origin, const Mosaic &m, Out kind,
                         unsigned short bits = 8, std::uint8_t fill = kSentinel) {
  CBayerConverter cv;
  cv.SetCalcMode(mode);
  cv.SetPatternOrigin(origin);
  Image out(kind, m.width, m.height, fill);
  Convert(cv, m, out, bits);
  return out;
}

// Which bytes of each channel a conversion writes, from two runs over buffers
// prefilled with different bytes: 'w' written (differs from both fills),
// '.' untouched (equals both fills), '?' otherwise.
inline std::vector<std::string> WriteMap(eCalculationMode mode, ePatternOrigin origin,
                                         const Mosaic &m, Out kind, int channel) {
  const Image a = ConvertFull(mode, origin, m, kind, 8, 0x11);
  const Image b = ConvertFull(mode, origin, m, kind, 8, 0xEE);
  std::vector<std::string> map(m.height, std::string(m.width, '?'));
  for (int r = 0; r < m.height; ++r)
    for (int c = 0; c < m.width; ++c) {
      const unsigned va = a.Bytes()[a.Offset(r * m.width + c, channel)];
      const unsigned vb = b.Bytes()[b.Offset(r * m.width + c, channel)];
      if (va == 0x11 && vb == 0xEE)
        map[r][c] = '.';
      else if (va != 0x11 && vb != 0xEE)
        map[r][c] = 'w';
    }
  return map;
}

// The Laplacian passes write rows and columns 2 .. size - 3, all three channels
// and, in 32-bit output, a zero fourth byte; a 4 x 4 frame gets nothing.
inline void ExpectInteriorWrites(eCalculationMode mode) {
  for (ePatternOrigin origin : kOrigins)
    for (int size : {4, 8}) {
      std::vector<std::string> region(size, std::string(size, '.'));
      for (int r = 2; r < size - 2; ++r)
        for (int c = 2; c < size - 2; ++c) region[r][c] = 'w';
      const Mosaic flat(size, size, 100);
      for (int ch : {kBlue, kGreen, kRed})
        EXPECT_EQ(WriteMap(mode, origin, flat, Out::k24From8, ch), region);
      EXPECT_EQ(WriteMap(mode, origin, flat, Out::k32From8, 3), region) << "fourth byte";
    }
}

// Conversions that must give the same colour bytes: 8-bit and 16-bit samples
// of depth 8, 24-bit and 32-bit output, correction off and on with the
// identity matrix. An unassigned origin writes nothing.
inline void ExpectVariantsAgree(eCalculationMode mode) {
  const Mosaic m = RandomMosaic(12, 10, 255, 11);
  for (ePatternOrigin origin : kOrigins) {
    SCOPED_TRACE(testing::Message() << "origin " << origin);
    const Image reference = ConvertFull(mode, origin, m, Out::k24From8);
    CBayerConverter corrected;
    corrected.SetCalcMode(mode);
    corrected.SetPatternOrigin(origin);
    corrected.SetColorCorrectionMode(true);
    Image identity(Out::k24From8, m.width, m.height);
    Convert(corrected, m, identity);
    EXPECT_EQ(identity.words, reference.words);
    for (Out kind : {Out::k24From16, Out::k32From8, Out::k32From16}) {
      const Image other = ConvertFull(mode, origin, m, kind);
      for (int i = 0; i < m.width * m.height; ++i)
        for (int ch : {kBlue, kGreen, kRed})
          ASSERT_EQ(other.Get(i, ch), reference.Get(i, ch))
              << "pixel " << i << " kind " << int(kind);
    }
  }
  for (Out kind : kAllOutputs) {
    const Image out = ConvertFull(mode, ePatternOrigin(3), m, kind);
    EXPECT_EQ(out.words, Image(kind, m.width, m.height).words) << "unassigned origin";
  }
}

}  // namespace sitetest

#endif
