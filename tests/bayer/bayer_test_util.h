// Mosaics and output images for the converter tests, converted through the
// public entry points. Outputs start filled with a sentinel byte and end in
// guard bytes, so unwritten pixels and walks past the end both show.
#ifndef TAVRIX_TESTS_BAYER_BAYER_TEST_UTIL_H
#define TAVRIX_TESTS_BAYER_BAYER_TEST_UTIL_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tavrix/tavrix.h"

namespace bayer_test {

constexpr std::uint8_t kSentinel = 0xA5;
constexpr std::size_t kGuardBytes = 64;
enum { kBlue = 0, kGreen = 1, kRed = 2, kFourth = 3 };
constexpr ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};

// Output record and entry point.
enum class Out { k24From8, k32From8, k24From16, k32From16, k48From16 };
constexpr Out kAllOutputs[] = {Out::k24From8, Out::k32From8, Out::k24From16, Out::k32From16,
                               Out::k48From16};
constexpr const char *kNames[] = {"8 to 24", "8 to 32", "16 to 24", "16 to 32", "16 to 48"};
inline const char *Name(Out k) { return kNames[int(k)]; }
inline bool From8(Out k) { return k == Out::k24From8 || k == Out::k32From8; }
inline bool Is32(Out k) { return k == Out::k32From8 || k == Out::k32From16; }
inline std::size_t PixelBytes(Out k) { return k == Out::k48From16 ? 6 : Is32(k) ? 4 : 3; }

struct Pixel {
  int b, g, r, x;  // x: the fourth byte of a 32-bit pixel, -1 in other records
  bool operator==(const Pixel &o) const { return b == o.b && g == o.g && r == o.r && x == o.x; }
};
inline void PrintTo(const Pixel &p, std::ostream *os) {
  *os << '{' << p.b << ", " << p.g << ", " << p.r << ", " << p.x << '}';
}

// Samples of either width, row-major; `size` is what the entry point is told.
struct Mosaic {
  Mosaic(int w, int h, unsigned fill = 0, std::vector<std::uint16_t> values = {})
      : size{w, h}, samples(values.empty() ? std::vector<std::uint16_t>(std::size_t(w) * h, fill)
                                           : values) {}
  std::uint16_t &At(int r, int c) { return samples[std::size_t(r) * size.width + c]; }
  ISize size;
  std::vector<std::uint16_t> samples;
};
inline Mosaic RandomMosaic(int w, int h, int bits, std::uint32_t seed) {
  Mosaic m(w, h);
  std::mt19937 rng(seed);
  for (auto &s : m.samples) s = std::uint16_t(rng() & ((1u << bits) - 1));
  return m;
}

struct Image {
  Image(Out k, ISize s, std::uint8_t fill = kSentinel)
      : kind(k), size(s), words((Pixels() * PixelBytes(k) + kGuardBytes) / 2) {
    std::memset(words.data(), fill, words.size() * 2);
  }
  std::size_t Pixels() const { return std::size_t(size.width) * size.height; }
  std::uint8_t *Bytes() const { return reinterpret_cast<std::uint8_t *>(words.data()); }
  std::uint8_t *Byte(std::size_t i, int ch) const {
    return Bytes() + i * PixelBytes(kind) + ch * (kind == Out::k48From16 ? 2 : 1);
  }
  unsigned Get(std::size_t i, int ch) const {
    const std::uint8_t *b = Byte(i, ch);
    return kind == Out::k48From16 ? unsigned(b[0] | b[1] << 8) : b[0];
  }
  unsigned At(int r, int c, int ch) const { return Get(std::size_t(r) * size.width + c, ch); }
  void Set(int r, int c, int ch, unsigned v) {
    std::uint8_t *b = Byte(std::size_t(r) * size.width + c, ch);
    b[0] = std::uint8_t(v);
    if (kind == Out::k48From16) b[1] = std::uint8_t(v >> 8);
  }
  Pixel Px(std::size_t i) const {
    return {int(Get(i, kBlue)), int(Get(i, kGreen)), int(Get(i, kRed)),
            Is32(kind) ? int(Get(i, kFourth)) : -1};
  }
  bool Untouched(std::size_t i) const { return Filled(i * PixelBytes(kind), PixelBytes(kind)); }
  bool GuardIntact() const { return Filled(Pixels() * PixelBytes(kind), kGuardBytes - 1); }
  bool AllUntouched() const { return Filled(0, words.size() * 2); }
  bool Filled(std::size_t from, std::size_t count) const {
    for (std::size_t k = from; k < from + count; ++k)
      if (Bytes()[k] != kSentinel) return false;
    return true;
  }
  Out kind;
  ISize size;
  mutable std::vector<std::uint16_t> words;
};

inline void ConvertInto(CBayerConverter &cv, const Mosaic &m, Image &out, unsigned short depth = 8,
                        unsigned short format = 100, const CColorMatrix &matrix = CColorMatrix()) {
  const std::vector<std::uint8_t> narrow(m.samples.begin(), m.samples.end());
  const std::uint16_t *wide = m.samples.data();
  std::uint8_t *o = out.Bytes();
  switch (out.kind) {
    case Out::k24From8: return cv.ConvertMono8ToBGR(o, out.size, narrow.data(), m.size, matrix);
    case Out::k32From8: return cv.ConvertMono8ToBGRx(o, out.size, narrow.data(), m.size, matrix);
    case Out::k24From16: return cv.ConvertMono16ToBGR(o, out.size, wide, m.size, depth, matrix);
    case Out::k32From16:
      return cv.ConvertMono16ToBGRx(o, out.size, wide, m.size, depth, format, matrix);
    case Out::k48From16:
      return cv.ConvertMono16ToBGR48(out.words.data(), out.size, wide, m.size, depth, matrix);
  }
}
// An output of the mosaic's size.
inline Image Convert(CBayerConverter &cv, const Mosaic &m, Out kind, unsigned short depth = 8,
                     unsigned short format = 100, const CColorMatrix &matrix = CColorMatrix()) {
  Image out(kind, m.size);
  ConvertInto(cv, m, out, depth, format, matrix);
  return out;
}
inline Image ConvertWith(eCalculationMode mode, ePatternOrigin origin, const Mosaic &m, Out kind,
                         unsigned short depth = 8, std::uint8_t fill = kSentinel) {
  CBayerConverter cv;
  cv.SetCalcMode(mode);
  cv.SetPatternOrigin(origin);
  Image out(kind, m.size, fill);
  ConvertInto(cv, m, out, depth);
  return out;
}

// Every origin is GB moved by 0 or 1 row and column: a mosaic worked out for
// `from` and moved by this offset gives the same values, moved alike, under `to`.
struct Shift {
  int r, c;
};
inline Shift ShiftBetween(ePatternOrigin from, ePatternOrigin to) {
  const auto of = [](ePatternOrigin o) { return Shift{o == eOriginRG || o == eOriginGR,
                                                      o == eOriginBG || o == eOriginGR}; };
  return {of(from).r ^ of(to).r, of(from).c ^ of(to).c};
}

// Every value of `channel` in rows and columns from .. to - 1 is 0 except at
// the cells listed, moved by `d`.
struct Cell {
  int r, c;
  unsigned v;
};
inline void ExpectLit(const Image &out, int channel, int from, int to,
                      const std::vector<Cell> &lit, Shift d = {0, 0}) {
  for (int r = from; r < to; ++r)
    for (int c = from; c < to; ++c) {
      unsigned expected = 0;
      for (const Cell &cell : lit)
        if (cell.r + d.r == r && cell.c + d.c == c) expected = cell.v;
      EXPECT_EQ(out.At(r, c, channel), expected) << "channel " << channel << " at " << r << ","
                                                  << c;
    }
}

// Which bytes of a channel a conversion writes, from two runs over buffers
// filled with different bytes: 'w' written, '.' untouched, '?' otherwise.
inline std::vector<std::string> WriteMap(eCalculationMode mode, ePatternOrigin origin,
                                         const Mosaic &m, Out kind, int channel) {
  const Image a = ConvertWith(mode, origin, m, kind, 8, 0x11);
  const Image b = ConvertWith(mode, origin, m, kind, 8, 0xEE);
  std::vector<std::string> map(m.size.height, std::string(m.size.width, '?'));
  for (int r = 0; r < m.size.height; ++r)
    for (int c = 0; c < m.size.width; ++c) {
      const unsigned va = a.At(r, c, channel) & 0xFF, vb = b.At(r, c, channel) & 0xFF;
      if (va == 0x11 && vb == 0xEE) map[r][c] = '.';
      else if (va != 0x11 && vb != 0xEE) map[r][c] = 'w';
    }
  return map;
}
// The map of a pass that writes all but a frame `margin` pixels wide.
inline std::vector<std::string> Region(int size, int margin) {
  std::vector<std::string> map(size, std::string(size, '.'));
  for (int r = margin; r < size - margin; ++r)
    for (int c = margin; c < size - margin; ++c) map[r][c] = 'w';
  return map;
}

// Conversions that must give the same colour bytes: 8-bit and 16-bit samples
// of depth 8, 24-bit and 32-bit output, correction off and on with the
// identity matrix. An unassigned origin writes nothing.
inline void ExpectVariantsAgree(eCalculationMode mode) {
  const Mosaic m = RandomMosaic(12, 10, 8, 11);
  for (ePatternOrigin origin : kOrigins) {
    SCOPED_TRACE(testing::Message() << "origin " << origin);
    const Image reference = ConvertWith(mode, origin, m, Out::k24From8);
    CBayerConverter corrected;
    corrected.SetCalcMode(mode);
    corrected.SetPatternOrigin(origin);
    corrected.SetColorCorrectionMode(true);
    EXPECT_EQ(Convert(corrected, m, Out::k24From8).words, reference.words);
    for (Out kind : {Out::k24From16, Out::k32From8, Out::k32From16}) {
      const Image other = ConvertWith(mode, origin, m, kind);
      for (std::size_t i = 0; i < m.samples.size(); ++i)
        for (int ch : {kBlue, kGreen, kRed})
          ASSERT_EQ(other.Get(i, ch), reference.Get(i, ch)) << "pixel " << i << ", " << Name(kind);
    }
  }
  for (Out kind : kAllOutputs)
    EXPECT_TRUE(ConvertWith(mode, ePatternOrigin(3), m, kind).AllUntouched()) << Name(kind);
}

}  // namespace bayer_test

#endif
