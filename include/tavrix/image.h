// Non-owning views of the images the tavrix:: interface reads and writes.
//
// A view is a pointer to the first sample of the top row, a width and height in
// pixels, and the distance between row starts in bytes: rows may be padded, as
// camera SDKs, frame grabbers and OpenCV matrices deliver them. A packed image
// has strideBytes == width * bytes per pixel (0 means exactly that).
#ifndef TAVRIX_IMAGE_H
#define TAVRIX_IMAGE_H

#include <cstddef>
#include <cstdint>

#include "tavrix/bayer_converter.h"
#include "tavrix/formats.h"

namespace tavrix {

// Samples of a raw mosaic.
enum class SampleType : int {
  kMono8 = 8,    // one byte per sample
  kMono16 = 16,  // one native 16-bit word per sample, right-aligned (a 12-bit sensor: 0..4095)
};

// Pixels of a colour image; channels are blue, green, red in memory order.
enum class PixelFormat : int {
  kBgr24 = 24,  // tagRGBTRIPLE: three bytes
  kBgrx32 = 32, // CBayerConverter::BGRxTRIPLE: four bytes, the fourth carries no colour
  kBgr48 = 48,  // CBayerConverter::RGBTRIPLE16: three 16-bit words on the sensor's scale
};

constexpr std::size_t BytesPerSample(SampleType type) { return type == SampleType::kMono8 ? 1 : 2; }
constexpr std::size_t BytesPerPixel(PixelFormat format) { return std::size_t(format) / 8; }

// A raw Bayer mosaic, read only. 16-bit samples may arrive in a sensor layout
// (`packing`, see formats.h: RAW10, Mono12p, MSB-aligned words, ...); they are
// unpacked a band of rows at a time, never as a whole frame.
struct RawView {
  const void *data = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t strideBytes = 0;  // 0: packed
  SampleType type = SampleType::kMono8;
  Packing packing = Packing::kPlain16;  // kMono16 only; kPlain8 and kPlain16 both mean plain

  // A mosaic in a sensor layout, delivered as 16-bit samples to the converter.
  static RawView Packed(const void *data, int width, int height, Packing packing,
                        std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, SampleType::kMono16, packing};
  }
  bool Unpacks() const {
    return type == SampleType::kMono16 && packing != Packing::kPlain16 &&
           packing != Packing::kPlain8;
  }

  static RawView Mono8(const std::uint8_t *data, int width, int height,
                       std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, SampleType::kMono8};
  }
  static RawView Mono16(const std::uint16_t *data, int width, int height,
                        std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, SampleType::kMono16};
  }
  std::ptrdiff_t RowBytes() const {
    if (Unpacks()) return width < 0 ? 0 : std::ptrdiff_t(PackedRowBytes(packing, width));
    return std::ptrdiff_t(width) * BytesPerSample(type);
  }
  std::ptrdiff_t Stride() const { return strideBytes != 0 ? strideBytes : RowBytes(); }
};

// A colour image. ColorView is written (demosaicing, balance); ConstColorView read.
template <class Byte>
struct BasicColorView {
  Byte *data = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t strideBytes = 0;  // 0: packed
  PixelFormat format = PixelFormat::kBgr24;

  std::ptrdiff_t RowBytes() const { return std::ptrdiff_t(width) * BytesPerPixel(format); }
  std::ptrdiff_t Stride() const { return strideBytes != 0 ? strideBytes : RowBytes(); }
};

struct ColorView : BasicColorView<void> {
  ColorView() = default;
  ColorView(void *d, int w, int h, std::ptrdiff_t stride, PixelFormat f)
      : BasicColorView<void>{d, w, h, stride, f} {}

  static ColorView Bgr24(tagRGBTRIPLE *data, int width, int height,
                         std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, PixelFormat::kBgr24};
  }
  static ColorView Bgrx32(CBayerConverter::BGRxTRIPLE *data, int width, int height,
                          std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, PixelFormat::kBgrx32};
  }
  static ColorView Bgr48(CBayerConverter::RGBTRIPLE16 *data, int width, int height,
                         std::ptrdiff_t strideBytes = 0) {
    return {data, width, height, strideBytes, PixelFormat::kBgr48};
  }
};

struct ConstColorView : BasicColorView<const void> {
  ConstColorView() = default;
  ConstColorView(const void *d, int w, int h, std::ptrdiff_t stride, PixelFormat f)
      : BasicColorView<const void>{d, w, h, stride, f} {}
  ConstColorView(const ColorView &v)  // NOLINT: a writable view reads as well
      : BasicColorView<const void>{v.data, v.width, v.height, v.strideBytes, v.format} {}
};

}  // namespace tavrix

#endif
