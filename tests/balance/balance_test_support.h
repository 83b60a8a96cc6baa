// Small images in the three accepted layouts, and a way to read an object's tables.
#ifndef TAVRIX_TESTS_BALANCE_TEST_SUPPORT_H
#define TAVRIX_TESTS_BALANCE_TEST_SUPPORT_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <vector>

#include "tavrix/color_balance.h"

namespace balance_test {

constexpr uint8_t kSentinel = 0xA5;  // marks bytes nobody should write

enum class Format { kBgr24, kBgrx32, kBgr48 };
constexpr Format kFormats[] = {Format::kBgr24, Format::kBgrx32, Format::kBgr48};

inline const char* Name(Format f) {
  return f == Format::kBgr24 ? "24-bit" : f == Format::kBgrx32 ? "32-bit" : "48-bit";
}

using Bgr = std::array<unsigned, 3>;  // blue, green, red, in memory order

class Image {
public:
  // padding: bytes after each row's pixels (the stride is imageSize / height).
  Image(Format format, unsigned width, unsigned height, unsigned padding = 0)
      : format_(format), stride_(width * PixelBytes(format) + padding),
        bytes_(size_t(stride_) * height + 1, kSentinel) {
    info_.width = width;
    info_.height = height;
    info_.bitsPerPixel = unsigned(PixelBytes(format) * 8);
    info_.bitsPerChannel = format == Format::kBgr48 ? 16 : 8;
    info_.imageSize = stride_ * height;
    info_.colorFormat = format == Format::kBgrx32 ? eFormatRGBA : eFormatRGB;
  }

  static Image FromPixels(Format format, unsigned width, unsigned height,
                          const std::vector<Bgr>& pixels, unsigned padding = 0) {
    Image image(format, width, height, padding);
    for (unsigned i = 0; i < pixels.size(); ++i) image.Set(i / width, i % width, pixels[i]);
    return image;
  }

  // Channel values drawn uniformly from 0..maxValue.
  static Image Random(Format format, unsigned width, unsigned height, unsigned maxValue,
                      uint32_t seed, unsigned padding = 0) {
    Image image(format, width, height, padding);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<unsigned> value(0, maxValue);
    for (unsigned r = 0; r < height; ++r)
      for (unsigned c = 0; c < width; ++c) image.Set(r, c, {value(rng), value(rng), value(rng)});
    return image;
  }

  static size_t PixelBytes(Format f) {
    return f == Format::kBgr24 ? 3 : f == Format::kBgrx32 ? 4 : 6;
  }

  // Moves the pixels one byte further into the buffer (48-bit rows at odd addresses).
  void ShiftByOneByte() {
    std::memmove(bytes_.data() + 1, bytes_.data(), bytes_.size() - 1);
    bytes_[0] = kSentinel;
    offset_ = 1;
  }

  // Re-describes the same bytes (to make refused or degenerate descriptions);
  // returns the image data, with null pixels when asked.
  CImageData* Describe(unsigned width, unsigned height, unsigned colorFormat, bool nullPixels) {
    info_.width = width;
    info_.height = height;
    info_.colorFormat = colorFormat;
    CImageData* data = Data();
    if (nullPixels) data->pixels = nullptr;
    return data;
  }

  CImageInfo* Info() { return &info_; }
  CImageData* Data() {
    data_.pixels = bytes_.data() + offset_;
    return &data_;
  }
  uint8_t* Byte(size_t offset) { return bytes_.data() + offset_ + offset; }
  const std::vector<uint8_t>& Bytes() const { return bytes_; }
  unsigned Stride() const { return stride_; }

  void SetSample(unsigned row, unsigned column, int channel, unsigned value);
  unsigned Sample(unsigned row, unsigned column, int channel) const;
  void Set(unsigned row, unsigned column, const Bgr& bgr) {
    for (int ch = 0; ch < 3; ++ch) SetSample(row, column, ch, bgr[ch]);
  }
  Bgr Get(unsigned row, unsigned column) const {
    return {Sample(row, column, 0), Sample(row, column, 1), Sample(row, column, 2)};
  }

private:
  size_t SampleOffset(unsigned row, unsigned column, int channel) const;

  Format format_;
  unsigned stride_;
  std::vector<uint8_t> bytes_;
  size_t offset_ = 0;
  CImageInfo info_;
  CImageData data_;
};

// Caller-owned tables, filled with a sentinel so that unwritten entries show.
struct Tables {
  static constexpr size_t kEntries = 65536;
  static constexpr uint16_t kUnwritten = 0xA5A5;
  std::vector<uint16_t> red = std::vector<uint16_t>(kEntries, kUnwritten);
  std::vector<uint16_t> green = std::vector<uint16_t>(kEntries, kUnwritten);
  std::vector<uint16_t> blue = std::vector<uint16_t>(kEntries, kUnwritten);
  bool operator==(const Tables& o) const {
    return red == o.red && green == o.green && blue == o.blue;
  }
};

// Failure messages show where tables start, not 400 KB of bytes.
inline void PrintTo(const Tables& t, std::ostream* os) {
  *os << "tables starting red " << t.red[0] << ' ' << t.red[1] << ", green " << t.green[0] << ' '
      << t.green[1] << ", blue " << t.blue[0] << ' ' << t.blue[1];
}

// The tables of a new object: all zero.
inline Tables ZeroTables() {
  Tables zero;
  for (auto* t : {&zero.red, &zero.green, &zero.blue}) std::fill(t->begin(), t->end(), 0);
  return zero;
}

// The object's own tables, read by applying them to a 48-bit image that holds
// every value 0..65535 once in each channel.
inline Tables ReadTables(CColorBalance& balance) {
  Image probe(Format::kBgr48, Tables::kEntries, 1);
  for (unsigned v = 0; v < Tables::kEntries; ++v) probe.Set(0, v, {v, v, v});
  balance.ApplyColorBalance(probe.Info(), probe.Data());
  Tables tables;
  for (unsigned v = 0; v < Tables::kEntries; ++v) {
    tables.blue[v] = uint16_t(probe.Sample(0, v, 0));
    tables.green[v] = uint16_t(probe.Sample(0, v, 1));
    tables.red[v] = uint16_t(probe.Sample(0, v, 2));
  }
  return tables;
}

// Whether the last estimator left the "unchanged" flag set, seen through the
// caller-table apply (which refuses to run when it is set). The applied flag is
// restored afterwards.
inline bool UnchangedFlag(CColorBalance& balance) {
  const bool applied = balance.GetAutoColorBalanceApplied();
  balance.SetAutoColorBalanceApplied(false);
  Image one(Format::kBgr24, 1, 1);
  Tables any;
  balance.ApplyColorBalance(one.Info(), one.Data(), any.red.data(), any.green.data(),
                            any.blue.data());
  const bool unchanged = !balance.GetAutoColorBalanceApplied();
  balance.SetAutoColorBalanceApplied(applied);
  return unchanged;
}

// Fills all 65536 entries of the object's tables with a recognisable pattern:
// ScaleByMax at depth 16 with gains blue 3, green 5, red 15. Leaves depth 16.
inline void FillWithPattern(CColorBalance& balance) {
  Image peak(Format::kBgr48, 1, 1);
  peak.Set(0, 0, {21845, 13107, 4369});  // gains 3, 5, 15 at depth 16
  balance.SetLutDepth(16);
  balance.ScaleByMax(peak.Info(), peak.Data());
}

}  // namespace balance_test

#endif
