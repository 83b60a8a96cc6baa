// The two apply passes: accepted layouts, what they write and leave, and the flags.
#include <gtest/gtest.h>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

TEST(ColorBalanceApply, AcceptsExactlyTheThreeLayouts) {
  const struct { const char* why; unsigned format, bitsPerPixel, bitsPerChannel; bool accepted; }
      cases[] = {
          {"24-bit three channels", 200, 24, 8, true},
          {"48-bit, whatever the channel depth says", 200, 48, 3, true},
          {"32-bit four bytes, whatever the channel depth says", 500, 32, 0, true},
          {"24-bit needs 8-bit channels", 200, 24, 16, false},
          {"three channels are never 32-bit", 200, 32, 8, false},
          {"four bytes are never 24-bit", 500, 24, 8, false},
          {"four bytes are never 48-bit", 500, 48, 16, false},
          {"unknown layout code", 300, 24, 8, false},
      };
  for (const auto& c : cases) {
    Image image = Image::Random(Format::kBgr48, 4, 2, 200, 1);  // room for any pixel size
    const std::vector<uint8_t> before = image.Bytes();
    *image.Info() = {4, 2, c.bitsPerPixel, c.bitsPerChannel, image.Info()->imageSize, c.format};
    CColorBalance balance;
    balance.ComputeColorBalance(1, 1, 1);
    balance.ApplyColorBalance(image.Info(), image.Data());
    EXPECT_EQ(image.Bytes() != before, c.accepted) << c.why;
  }
}

TEST(ColorBalanceApply, WritesTheLowByteAndLeavesPaddingAndTheFourthByte) {
  CColorBalance balance;
  FillWithPattern(balance);  // entries 3i, 5i, 15i: 300 at 100, 60, 20
  for (Format format : kFormats) {
    const bool wide = format == Format::kBgr48;
    // Padding and fourth bytes start as kSentinel and must stay so.
    Image image = Image::FromPixels(format, 2, {{100, 60, 20}, {1, 2, 3}, {0, 0, 0}, {4, 5, 6}}, 5);
    const Bgr first = wide ? Bgr{300, 300, 300} : Bgr{44, 44, 44};
    Image expected = Image::FromPixels(format, 2, {first, {3, 10, 45}, {0, 0, 0}, {12, 25, 90}}, 5);
    balance.ApplyColorBalance(image.Info(), image.Data());
    EXPECT_EQ(image.Bytes(), expected.Bytes()) << Name(format);
  }
}

TEST(ColorBalanceApply, OnlyTheCallerTableFormSetsTheAppliedFlag) {
  const struct {
    const char* why;
    unsigned width, height, format;
    bool nullPixels, nullTable, sets;
  } cases[] = {
      {"an ordinary image", 1, 1, 200, false, false, true},
      {"rows without pixels still count as applied", 0, 1, 200, false, false, true},
      {"no rows: nothing happens", 1, 0, 200, false, false, false},
      {"unsupported layout returns first", 1, 1, 300, false, false, false},
      {"null pixels return first", 1, 1, 200, true, false, false},
      {"a null table is refused", 1, 1, 200, false, true, false},
  };
  Tables tables;  // each channel's own table: blue v + 1, green v + 2, red v + 3
  for (unsigned v = 0; v < Tables::kEntries; ++v)
    for (int ch : {B, G, R}) tables.at[ch][v] = uint16_t(v + 1 + ch);
  for (const auto& c : cases)
    for (Format format : kFormats) {
      SCOPED_TRACE(testing::Message() << c.why << ", " << Name(format));
      Image image = Image::FromPixels(format, 1, {{10, 20, 30}});
      const Bgr before = image.Get(0, 0);
      const unsigned code = c.format == 200 ? image.Info()->colorFormat : c.format;
      CImageData* data = image.Describe(c.width, c.height, code, c.nullPixels);
      CColorBalance balance;
      balance.ApplyColorBalance(image.Info(), data, tables.red(),
                                c.nullTable ? nullptr : tables.green(), tables.blue());
      EXPECT_EQ(balance.GetAutoColorBalanceApplied(), c.sets);
      EXPECT_EQ(image.Get(0, 0), (c.sets && c.width ? Bgr{11, 22, 33} : before));
      CColorBalance own;
      own.ApplyColorBalance(image.Info(), data);
      EXPECT_FALSE(own.GetAutoColorBalanceApplied());
    }
}

TEST(ColorBalanceApply, NothingToCorrectStopsOnlyTheCallerTableForm) {
  Image grey = Image::FromPixels(Format::kBgr24, 2, {{90, 90, 90}, {30, 30, 30}});
  Image cast = Image::FromPixels(Format::kBgr24, 2, {{40, 90, 120}, {20, 30, 60}});
  CColorBalance balance;
  balance.SetLutDepth(8);
  Tables tables;
  balance.GrayWorld(grey.Info(), grey.Data(), tables.red(), tables.green(), tables.blue());
  Image target = cast;
  balance.ApplyColorBalance(target.Info(), target.Data(), tables.red(), tables.green(),
                            tables.blue());
  EXPECT_EQ(target.Bytes(), cast.Bytes());
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
  balance.ApplyColorBalance(target.Info(), target.Data());  // own tables (zero) apply anyway
  EXPECT_EQ(target.Get(0, 0), (Bgr{0, 0, 0}));

  // An estimator that corrects re-opens the caller-table form; the flag then
  // stays set through later estimators until the caller clears it.
  balance.GrayWorld(cast.Info(), cast.Data(), tables.red(), tables.green(), tables.blue());
  target = cast;
  balance.ApplyColorBalance(target.Info(), target.Data(), tables.red(), tables.green(),
                            tables.blue());
  EXPECT_NE(target.Bytes(), cast.Bytes());
  balance.GrayWorld(grey.Info(), grey.Data());
  EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
  EXPECT_TRUE(UnchangedFlag(balance));
  // An estimator that returns before measuring leaves the "unchanged" flag as it was.
  balance.GrayWorld(cast.Info(), cast.Describe(2, 1, 200, /*nullPixels=*/true));
  EXPECT_TRUE(UnchangedFlag(balance));
}

}  // namespace
