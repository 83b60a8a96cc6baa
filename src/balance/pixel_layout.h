// The three pixel layouts a balance object accepts, and how a pass walks an image.
//
//   Bgr24   B G R | B G R | ...          bytes
//   Bgrx32  B G R x | B G R x | ...      bytes; x is never read or written
//   Bgr48   B  G  R | B  G  R | ...      native 16-bit words
//
// Every pass is written once as a template over these policies; the layout is
// picked once per call (WithLayout), never inside a pixel loop.
#ifndef TAVRIX_BALANCE_PIXEL_LAYOUT_H
#define TAVRIX_BALANCE_PIXEL_LAYOUT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "tavrix/color_balance.h"

namespace tavrix::detail {

// Position of a channel inside every layout's pixel.
enum Channel : int { kBlue = 0, kGreen = 1, kRed = 2 };
constexpr int kChannels = 3;
template <class T> using PerChannel = std::array<T, kChannels>;

template <class SampleType, size_t kPitch> struct PixelLayout {
  using Sample = SampleType;
  static constexpr size_t kSampleBytes = sizeof(Sample);
  static constexpr size_t kPixelBytes = kPitch;
  static constexpr size_t kValues = size_t(1) << (8 * sizeof(Sample));  // distinct samples

  // The stride is imageSize / height and may be odd, so a 48-bit row can start at
  // an odd address: samples are copied in and out rather than dereferenced.
  static unsigned Load(const uint8_t* at) {
    Sample s;
    std::memcpy(&s, at, sizeof s);
    return s;
  }
  static unsigned Get(const uint8_t* pixel, int channel) {
    return Load(pixel + size_t(channel) * kSampleBytes);
  }
  // Narrowing keeps the low bits: an 8-bit channel takes the low byte of a table entry.
  static void Put(uint8_t* pixel, int channel, unsigned value) {
    const Sample s = Sample(value);
    std::memcpy(pixel + size_t(channel) * kSampleBytes, &s, sizeof s);
  }
};

using Bgr24 = PixelLayout<uint8_t, 3>;
using Bgrx32 = PixelLayout<uint8_t, 4>;
using Bgr48 = PixelLayout<uint16_t, 6>;

enum class LayoutKind { kBgr24, kBgrx32, kBgr48 };
template <class Layout> constexpr LayoutKind KindOf() {
  return Layout::kPixelBytes == Bgr24::kPixelBytes    ? LayoutKind::kBgr24
         : Layout::kPixelBytes == Bgrx32::kPixelBytes ? LayoutKind::kBgrx32
                                                      : LayoutKind::kBgr48;
}

// The layout test: 200 with 24 bpp and 8-bit channels or with 48 bpp, 500 with 32 bpp.
std::optional<LayoutKind> LayoutOf(const CImageInfo& info);

struct ImageView {
  uint8_t* pixels;
  size_t stride;  // bytes from one row start to the next
  uint32_t width;
  uint32_t height;
};

struct OpenedImage {
  LayoutKind kind;
  ImageView view;
};

// An image the passes may walk: a description, non-null pixels, an accepted
// layout and at least one row (so that the stride division is defined).
std::optional<OpenedImage> OpenImage(const CImageInfo* info, const CImageData* data);

template <class Fn> decltype(auto) WithLayout(LayoutKind kind, Fn&& fn) {
  switch (kind) {
    case LayoutKind::kBgr24: return fn(Bgr24{});
    case LayoutKind::kBgrx32: return fn(Bgrx32{});
    case LayoutKind::kBgr48: break;
  }
  return fn(Bgr48{});
}

inline uint8_t* RowStart(const ImageView& image, uint32_t row) {
  return image.pixels + size_t(uint64_t(row) * image.stride);
}

// Calls fn(pixel) for every pixel in pass order: rows from the top, each left to right.
template <class Layout, class Fn> void ForEachPixel(const ImageView& image, Fn&& fn) {
  for (uint32_t row = 0; row < image.height; ++row) {
    uint8_t* pixel = RowStart(image, row);
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes)
      fn(pixel);
  }
}

// Bytes from the first pixel to the end of the last row's pixels.
template <class Layout> uint64_t PixelExtent(const ImageView& image) {
  return uint64_t(image.height - 1) * image.stride + uint64_t(image.width) * Layout::kPixelBytes;
}

}  // namespace tavrix::detail

#endif
