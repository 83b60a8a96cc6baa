// The two apply passes: accepted layouts, what they write and what they leave, flags.
#include <gtest/gtest.h>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

// Tables mapping v to v + 1 for v < 255 in all three channels.
CColorBalance PlusOne() {
  CColorBalance balance;
  balance.ComputeColorBalance(1, 1, 1);
  return balance;
}

TEST(ColorBalanceApply, AcceptsExactlyTheThreeLayouts) {
  const struct {
    const char* why;
    unsigned colorFormat, bitsPerPixel, bitsPerChannel;
    bool accepted;
  } kCases[] = {
      {"24-bit three channels", 200, 24, 8, true},
      {"48-bit three channels", 200, 48, 16, true},
      {"48-bit whatever the channel depth says", 200, 48, 3, true},
      {"32-bit four bytes", 500, 32, 8, true},
      {"32-bit whatever the channel depth says", 500, 32, 0, true},
      {"24-bit needs 8-bit channels", 200, 24, 16, false},
      {"three channels are never 32-bit", 200, 32, 8, false},
      {"four bytes are never 24-bit", 500, 24, 8, false},
      {"four bytes are never 48-bit", 500, 48, 16, false},
      {"unknown layout code", 300, 24, 8, false},
      {"a pixel size nobody has", 200, 16, 8, false},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.why);
    // 6 bytes of value 7 per pixel fit every pixel size.
    Image image(Format::kBgr48, 4, 2);
    for (unsigned r = 0; r < 2; ++r)
      for (unsigned col = 0; col < 4; ++col) image.Set(r, col, {0x0707, 0x0707, 0x0707});
    const std::vector<uint8_t> before = image.Bytes();
    image.Info()->colorFormat = c.colorFormat;
    image.Info()->bitsPerPixel = c.bitsPerPixel;
    image.Info()->bitsPerChannel = c.bitsPerChannel;
    CColorBalance balance = PlusOne();
    balance.ApplyColorBalance(image.Info(), image.Data());
    EXPECT_EQ(image.Bytes() != before, c.accepted);
  }
}

TEST(ColorBalanceApply, EightBitChannelsTakeTheLowByteOfTheEntry) {
  CColorBalance balance;
  FillWithPattern(balance);  // blue 3i, green 5i, red 15i at depth 16
  for (Format format : {Format::kBgr24, Format::kBgrx32}) {
    SCOPED_TRACE(Name(format));
    Image image = Image::FromPixels(format, 1, 1, {{100, 60, 20}});
    balance.ApplyColorBalance(image.Info(), image.Data());
    EXPECT_EQ(image.Get(0, 0), (Bgr{300 - 256, 300 - 256, 300 - 256}));
  }
  Image wide = Image::FromPixels(Format::kBgr48, 1, 1, {{100, 60, 20}});
  balance.ApplyColorBalance(wide.Info(), wide.Data());
  EXPECT_EQ(wide.Get(0, 0), (Bgr{300, 300, 300}));
}

TEST(ColorBalanceApply, LeavesRowPaddingAndTheFourthByteAlone) {
  for (Format format : kFormats) {
    SCOPED_TRACE(Name(format));
    Image image = Image::Random(format, 5, 3, 200, 11, /*padding=*/7);
    if (format == Format::kBgrx32) {
      for (unsigned r = 0; r < 3; ++r)
        for (unsigned c = 0; c < 5; ++c) *image.Byte(r * image.Stride() + c * 4 + 3) = uint8_t(r * 5 + c);
    }
    const Image before = image;
    CColorBalance balance = PlusOne();
    balance.ApplyColorBalance(image.Info(), image.Data());
    for (unsigned r = 0; r < 3; ++r) {
      for (unsigned c = 0; c < 5; ++c) {
        const Bgr old = before.Get(r, c);
        EXPECT_EQ(image.Get(r, c), (Bgr{old[0] + 1, old[1] + 1, old[2] + 1}));
      }
      const size_t rowEnd = r * image.Stride() + 5 * Image::PixelBytes(format);
      for (size_t b = rowEnd; b < (r + 1) * image.Stride(); ++b)
        EXPECT_EQ(image.Bytes()[b], kSentinel) << "row " << r << ", byte " << b;
    }
    if (format == Format::kBgrx32) {
      for (unsigned r = 0; r < 3; ++r)
        for (unsigned c = 0; c < 5; ++c)
          EXPECT_EQ(image.Bytes()[r * image.Stride() + c * 4 + 3], r * 5 + c);
    }
    EXPECT_EQ(image.Bytes().back(), kSentinel);
  }
}

TEST(ColorBalanceApply, WideRowsAtOddAddressesGiveTheSameValues) {
  Image aligned = Image::Random(Format::kBgr48, 6, 4, 65535, 5, /*padding=*/3);  // odd stride
  Image shifted = aligned;
  shifted.ShiftByOneByte();
  CColorBalance balance;
  FillWithPattern(balance);
  balance.ApplyColorBalance(aligned.Info(), aligned.Data());
  balance.ApplyColorBalance(shifted.Info(), shifted.Data());
  for (unsigned r = 0; r < 4; ++r)
    for (unsigned c = 0; c < 6; ++c) EXPECT_EQ(aligned.Get(r, c), shifted.Get(r, c));
}

TEST(ColorBalanceApply, CallerTablesServeBlueGreenRedToTheirOwnChannels) {
  Tables tables;
  for (unsigned v = 0; v < Tables::kEntries; ++v) {
    tables.blue[v] = uint16_t(v + 1);
    tables.green[v] = uint16_t(v + 2);
    tables.red[v] = uint16_t(v + 3);
  }
  for (Format format : kFormats) {
    SCOPED_TRACE(Name(format));
    Image image = Image::FromPixels(format, 2, 1, {{10, 20, 30}, {255, 254, 253}});
    CColorBalance balance;
    balance.ApplyColorBalance(image.Info(), image.Data(), tables.red.data(), tables.green.data(),
                              tables.blue.data());
    EXPECT_EQ(image.Get(0, 0), (Bgr{11, 22, 33}));
    const bool wide = format == Format::kBgr48;
    EXPECT_EQ(image.Get(0, 1), (wide ? Bgr{256, 256, 256} : Bgr{0, 0, 0}));
    EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
  }
}

TEST(ColorBalanceApply, OnlyTheCallerTableFormSetsTheAppliedFlag) {
  const struct {
    const char* why;
    unsigned width, height;
    unsigned colorFormat;
    bool nullPixels;
    bool setsFlag;
  } kCases[] = {
      {"an ordinary image", 2, 2, 200, false, true},
      {"rows without pixels still count as applied", 0, 2, 200, false, true},
      {"no rows: nothing happens", 2, 0, 200, false, false},
      {"unsupported layout returns first", 2, 2, 300, false, false},
      {"null pixels return first", 2, 2, 200, true, false},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.why);
    Image image(Format::kBgr24, 2, 2);
    CImageData* data = image.Describe(c.width, c.height, c.colorFormat, c.nullPixels);
    Tables tables;
    CColorBalance balance = PlusOne();
    balance.ApplyColorBalance(image.Info(), data);
    EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
    balance.ApplyColorBalance(image.Info(), data, tables.red.data(), tables.green.data(),
                              tables.blue.data());
    EXPECT_EQ(balance.GetAutoColorBalanceApplied(), c.setsFlag);
  }
}

TEST(ColorBalanceApply, NothingToCorrectStopsOnlyTheCallerTableForm) {
  Image grey = Image::FromPixels(Format::kBgr24, 2, 1, {{90, 90, 90}, {30, 30, 30}});
  Image cast = Image::FromPixels(Format::kBgr24, 2, 1, {{40, 90, 120}, {20, 30, 60}});
  CColorBalance balance;
  balance.SetLutDepth(8);
  Tables tables;
  balance.GrayWorld(grey.Info(), grey.Data(), tables.red.data(), tables.green.data(),
                    tables.blue.data());  // nothing to correct
  EXPECT_EQ(tables, Tables());

  Image target = cast;
  balance.ApplyColorBalance(target.Info(), target.Data(), tables.red.data(), tables.green.data(),
                            tables.blue.data());
  EXPECT_EQ(target.Bytes(), cast.Bytes());
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
  balance.ApplyColorBalance(target.Info(), target.Data());  // the own tables (zero) apply anyway
  EXPECT_EQ(target.Get(0, 0), (Bgr{0, 0, 0}));

  // A later estimator that corrects re-opens the caller-table form; the flag then
  // stays set until the caller clears it, whatever the estimators say.
  balance.GrayWorld(cast.Info(), cast.Data(), tables.red.data(), tables.green.data(),
                    tables.blue.data());
  target = cast;
  balance.ApplyColorBalance(target.Info(), target.Data(), tables.red.data(), tables.green.data(),
                            tables.blue.data());
  EXPECT_NE(target.Bytes(), cast.Bytes());
  EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
  balance.GrayWorld(grey.Info(), grey.Data());
  EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
  EXPECT_TRUE(UnchangedFlag(balance));
  balance.SetAutoColorBalanceApplied(false);
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());

  // An estimator that returns before measuring leaves the flag as it was.
  CImageData none = {nullptr};
  balance.GrayWorld(cast.Info(), &none);
  EXPECT_TRUE(UnchangedFlag(balance));
}

TEST(ColorBalanceApply, NullCallerTablesAreRefused) {
  Image image = Image::FromPixels(Format::kBgr24, 1, 1, {{1, 2, 3}});
  const std::vector<uint8_t> before = image.Bytes();
  Tables tables;
  CColorBalance balance;
  balance.ApplyColorBalance(image.Info(), image.Data(), tables.red.data(), nullptr,
                            tables.blue.data());
  EXPECT_EQ(image.Bytes(), before);
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
}

}  // namespace
