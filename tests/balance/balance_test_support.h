// Small images in the three accepted layouts, and ways to observe a balance object.
#ifndef TAVRIX_TESTS_BALANCE_TEST_SUPPORT_H
#define TAVRIX_TESTS_BALANCE_TEST_SUPPORT_H

#include <array>
#include <cstdint>
#include <ostream>
#include <random>
#include <vector>

#include "tavrix/color_balance.h"

namespace balance_test {

constexpr uint8_t kSentinel = 0xA5;  // bytes nobody should write
enum class Format { kBgr24, kBgrx32, kBgr48 };
constexpr Format kFormats[] = {Format::kBgr24, Format::kBgrx32, Format::kBgr48};
inline const char* Name(Format f) {
  return f == Format::kBgr24 ? "24-bit" : f == Format::kBgrx32 ? "32-bit" : "48-bit";
}
using Bgr = std::array<unsigned, 3>;  // blue, green, red: memory order
enum : int { B = 0, G = 1, R = 2 };

class Image {
public:
  // padding: bytes after each row's pixels; they and fourth bytes hold kSentinel.
  Image(Format format, unsigned width, unsigned height, unsigned padding = 0)
      : format_(format), stride_(unsigned(width * PixelBytes() + padding)),
        bytes_(size_t(stride_) * height, kSentinel) {
    info_ = {width, height, unsigned(PixelBytes() * 8), format == Format::kBgr48 ? 16u : 8u,
             unsigned(bytes_.size()), format == Format::kBgrx32 ? 500u : 200u};
  }
  // Row-major pixels; the height is pixels.size() / width.
  static Image FromPixels(Format format, unsigned width, const std::vector<Bgr>& pixels,
                          unsigned padding = 0) {
    Image image(format, width, unsigned(pixels.size() / width), padding);
    for (unsigned i = 0; i < pixels.size(); ++i) image.Set(i / width, i % width, pixels[i]);
    return image;
  }
  static Image Random(Format format, unsigned width, unsigned height, unsigned maxValue,
                      uint32_t seed, unsigned padding = 0) {
    Image image(format, width, height, padding);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<unsigned> value(0, maxValue);
    for (unsigned i = 0; i < width * height; ++i)
      image.Set(i / width, i % width, {value(rng), value(rng), value(rng)});
    return image;
  }

  // Re-describes the same bytes; null pixels when asked.
  CImageData* Describe(unsigned width, unsigned height, unsigned colorFormat, bool nullPixels) {
    info_.width = width;
    info_.height = height;
    info_.colorFormat = colorFormat;
    return nullPixels ? &(data_ = {nullptr}) : Data();
  }
  CImageInfo* Info() { return &info_; }
  CImageData* Data() { return &(data_ = {bytes_.data()}); }
  const std::vector<uint8_t>& Bytes() const { return bytes_; }
  uint8_t* Byte(size_t offset) { return bytes_.data() + offset; }
  unsigned Stride() const { return stride_; }
  size_t PixelBytes() const { return format_ == Format::kBgr24 ? 3 : format_ == Format::kBgrx32 ? 4 : 6; }
  void Set(unsigned row, unsigned column, const Bgr& bgr);
  Bgr Get(unsigned row, unsigned column) const;

private:
  Format format_;
  unsigned stride_;
  std::vector<uint8_t> bytes_;
  CImageInfo info_;
  CImageData data_;
};

// Caller-owned tables, filled with a sentinel so that unwritten entries show.
struct Tables {
  static constexpr size_t kEntries = 65536;
  static constexpr uint16_t kUnwritten = 0xA5A5;
  std::array<std::vector<uint16_t>, 3> at;  // by channel: blue, green, red
  explicit Tables(uint16_t fill = kUnwritten) {
    for (auto& table : at) table.assign(kEntries, fill);
  }
  bool operator==(const Tables& o) const { return at == o.at; }
  bool operator!=(const Tables& o) const { return at != o.at; }
  uint16_t operator()(int channel, size_t i) const { return at[channel][i]; }
  unsigned short* red() { return at[R].data(); }
  unsigned short* green() { return at[G].data(); }
  unsigned short* blue() { return at[B].data(); }
};
inline void PrintTo(const Tables& t, std::ostream* os) {  // a summary, not 400 KB
  for (int ch : {R, G, B}) *os << t(ch, 0) << ',' << t(ch, 1) << ',' << t(ch, 2) << "...; ";
}

// The object's own tables, read by applying them to a 48-bit image that holds
// every value 0..65535 once in each channel.
inline Tables ReadTables(CColorBalance& balance) {
  Image probe(Format::kBgr48, Tables::kEntries, 1);
  for (unsigned v = 0; v < Tables::kEntries; ++v) probe.Set(0, v, {v, v, v});
  balance.ApplyColorBalance(probe.Info(), probe.Data());
  Tables tables;
  for (unsigned v = 0; v < Tables::kEntries; ++v)
    for (int ch : {B, G, R}) tables.at[ch][v] = uint16_t(probe.Get(0, v)[ch]);
  return tables;
}

// Whether the last estimator found nothing to correct, seen through the
// caller-table apply (which refuses to run then). The applied flag is restored.
inline bool UnchangedFlag(CColorBalance& balance) {
  const bool applied = balance.GetAutoColorBalanceApplied();
  balance.SetAutoColorBalanceApplied(false);
  Image one(Format::kBgr24, 1, 1);
  static Tables any;  // one pixel is looked up; the result is not looked at
  balance.ApplyColorBalance(one.Info(), one.Data(), any.red(), any.green(), any.blue());
  const bool unchanged = !balance.GetAutoColorBalanceApplied();
  balance.SetAutoColorBalanceApplied(applied);
  return unchanged;
}

// Fills all 65536 entries of the object's tables: ScaleByMax at depth 16 with
// gains blue 3, green 5, red 15.
inline void FillWithPattern(CColorBalance& balance) {
  Image peak = Image::FromPixels(Format::kBgr48, 1, {{21845, 13107, 4369}});
  balance.SetLutDepth(16);
  balance.ScaleByMax(peak.Info(), peak.Data());
}

}  // namespace balance_test

#endif
