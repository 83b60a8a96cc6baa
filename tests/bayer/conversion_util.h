// Runs any of the five conversions on a mosaic held as 16-bit values, into an
// output pre-filled with a sentinel byte and followed by guard bytes.
#ifndef TAVRIX_TESTS_BAYER_CONVERSION_UTIL_H
#define TAVRIX_TESTS_BAYER_CONVERSION_UTIL_H

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tavrix/tavrix.h"

namespace tavrix_test {

constexpr std::uint8_t kSentinel = 0xA5;
constexpr std::size_t kGuardBytes = 64;

enum class Variant { k8To24, k8To32, k16To24, k16To32, k16To48 };
constexpr Variant kAllVariants[] = {Variant::k8To24, Variant::k8To32, Variant::k16To24,
                                    Variant::k16To32, Variant::k16To48};
constexpr ePatternOrigin kAllOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};

inline const char *Name(Variant v) {
  switch (v) {
    case Variant::k8To24: return "8-bit to 24-bit";
    case Variant::k8To32: return "8-bit to 32-bit";
    case Variant::k16To24: return "16-bit to 24-bit";
    case Variant::k16To32: return "16-bit to 32-bit";
    case Variant::k16To48: return "16-bit to 48-bit";
  }
  return "?";
}

inline std::size_t RecordBytes(Variant v) {
  return v == Variant::k16To48 ? 6 : (v == Variant::k8To32 || v == Variant::k16To32) ? 4 : 3;
}
inline bool EightBitInput(Variant v) { return v == Variant::k8To24 || v == Variant::k8To32; }

struct Pixel {
  int b, g, r;
  int x;  // fourth byte of a 32-bit pixel, -1 for other records
  bool operator==(const Pixel &o) const { return b == o.b && g == o.g && r == o.r && x == o.x; }
};

// An output buffer: `pixels` records, then guard bytes, all pre-filled with the sentinel.
struct Output {
  Variant variant;
  std::vector<std::uint8_t> bytes;

  Output(Variant v, const ISize &size)
      : variant(v),
        bytes(std::size_t(size.width) * size.height * RecordBytes(v) + kGuardBytes, kSentinel) {}
  std::size_t PixelCount() const { return (bytes.size() - kGuardBytes) / RecordBytes(variant); }
  Pixel At(std::size_t i) const {
    const std::uint8_t *p = bytes.data() + i * RecordBytes(variant);
    if (variant == Variant::k16To48) {
      std::uint16_t w[3];
      std::memcpy(w, p, 6);
      return {w[0], w[1], w[2], -1};
    }
    return {p[0], p[1], p[2], RecordBytes(variant) == 4 ? p[3] : -1};
  }
  // True when every byte of the pixel still holds the sentinel.
  bool Untouched(std::size_t i) const {
    for (std::size_t k = 0; k < RecordBytes(variant); ++k)
      if (bytes[i * RecordBytes(variant) + k] != kSentinel) return false;
    return true;
  }
  bool GuardIntact() const {
    for (std::size_t k = bytes.size() - kGuardBytes; k < bytes.size(); ++k)
      if (bytes[k] != kSentinel) return false;
    return true;
  }
  bool AllUntouched() const {
    for (std::uint8_t b : bytes)
      if (b != kSentinel) return false;
    return true;
  }
};

// Converts with the variant's entry point. 8-bit variants narrow the samples to bytes.
inline void ConvertInto(CBayerConverter &conv, Variant v, const std::vector<std::uint16_t> &mosaic,
                const ISize &in, Output &out, const ISize &outSize, unsigned short depth = 8,
                unsigned short format = 100, CColorMatrix matrix = CColorMatrix()) {
  std::vector<std::uint8_t> bytes(mosaic.begin(), mosaic.end());
  std::uint8_t *o = out.bytes.data();
  switch (v) {
    case Variant::k8To24: conv.ConvertMono8ToBGR(o, outSize, bytes.data(), in, matrix); break;
    case Variant::k8To32: conv.ConvertMono8ToBGRx(o, outSize, bytes.data(), in, matrix); break;
    case Variant::k16To24:
      conv.ConvertMono16ToBGR(o, outSize, mosaic.data(), in, depth, matrix);
      break;
    case Variant::k16To32:
      conv.ConvertMono16ToBGRx(o, outSize, mosaic.data(), in, depth, format, matrix);
      break;
    case Variant::k16To48:
      conv.ConvertMono16ToBGR48(reinterpret_cast<unsigned short *>(o), outSize, mosaic.data(), in,
                                depth, matrix);
      break;
  }
}

// Convenience: a fresh output of the input's size.
inline Output Convert(CBayerConverter &conv, Variant v, const std::vector<std::uint16_t> &mosaic,
                      const ISize &in, unsigned short depth = 8, unsigned short format = 100,
                      CColorMatrix matrix = CColorMatrix()) {
  Output out(v, in);
  ConvertInto(conv, v, mosaic, in, out, in, depth, format, matrix);
  return out;
}

inline std::vector<std::uint16_t> RandomMosaic(const ISize &size, int bits, std::uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<std::uint16_t> m(std::size_t(size.width) * size.height);
  for (auto &s : m) s = std::uint16_t(rng() & ((1u << bits) - 1));
  return m;
}

}  // namespace tavrix_test

#endif
