// The six estimators: hand-worked tables on tiny images, the frame they share,
// and agreement between their two forms and between layouts.
#include <gtest/gtest.h>

#include <algorithm>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

using Own = void (CColorBalance::*)(CImageInfo*, CImageData*);
using Caller = void (CColorBalance::*)(CImageInfo*, CImageData*, unsigned short*,
                                       unsigned short*, unsigned short*);
constexpr Caller kGrayWorld = &CColorBalance::GrayWorld, kWhite = &CColorBalance::WhiteWorld,
                 kMax = &CColorBalance::ScaleByMax, kMean = &CColorBalance::MeanEqualization,
                 kSd = &CColorBalance::StandardDeviation,
                 kMeanSd = &CColorBalance::MeanAndStandardDeviation;
const struct {
  const char* name;
  Own own;
  Caller caller;
} kEstimators[] = {
    {"GrayWorld", &CColorBalance::GrayWorld, kGrayWorld},
    {"WhiteWorld", &CColorBalance::WhiteWorld, kWhite},
    {"ScaleByMax", &CColorBalance::ScaleByMax, kMax},
    {"MeanEqualization", &CColorBalance::MeanEqualization, kMean},
    {"StandardDeviation", &CColorBalance::StandardDeviation, kSd},
    {"MeanAndStandardDeviation", &CColorBalance::MeanAndStandardDeviation, kMeanSd}};

struct Outcome {
  Tables tables;
  bool unchanged, ownTablesUntouched;
};
Outcome Estimate(Caller estimator, Image& image, int depth, bool readOwnTables = false) {
  CColorBalance balance;
  balance.SetLutDepth(depth);
  Outcome out;
  (balance.*estimator)(image.Info(), image.Data(), out.tables.red(), out.tables.green(),
                       out.tables.blue());
  out.unchanged = UnchangedFlag(balance);
  out.ownTablesUntouched = !readOwnTables || ReadTables(balance) == Tables(0);
  return out;
}

std::vector<Bgr> NineAndOne(Bgr nine, Bgr one) {
  std::vector<Bgr> pixels(9, nine);
  pixels.push_back(one);
  return pixels;
}
// Blue 10, 30 (mean 20, deviation 10); green 50, 150 (100, 50); red 100, 140 (120, 20).
const std::vector<Bgr> kSpread = {{10, 50, 100}, {30, 150, 140}};
const std::vector<Bgr> kFlatGreen = {{10, 50, 100}, {30, 50, 140}};
const std::vector<Bgr> kGrey = {{90, 90, 90}, {90, 90, 90}};

struct Entry {
  int channel;
  unsigned index, value;
};

TEST(Estimators, HandWorkedTables) {
  const Format k24 = Format::kBgr24, k48 = Format::kBgr48;
  const struct {
    const char* why;
    Caller estimator;
    Format format;
    unsigned width;
    std::vector<Bgr> pixels;
    int depth;
    std::vector<Entry> entries;  // empty: nothing to correct and no entry written
  } cases[] = {
      {"GrayWorld: sums 100, 200, 400 give red 0.5 and blue 2", kGrayWorld, k24, 2,
       {{50, 100, 200}, {50, 100, 200}}, 8,
       {{R, 3, 1}, {R, 255, 127}, {B, 100, 200}, {B, 127, 254}, {B, 128, 255}, {G, 77, 77}}},
      {"GrayWorld: a zero red sum keeps gain 1", kGrayWorld, k24, 2,
       {{50, 100, 0}, {50, 100, 0}}, 8, {{R, 77, 77}, {R, 255, 255}, {B, 100, 200}}},
      {"GrayWorld: uniform grey", kGrayWorld, k24, 2, kGrey, 8, {}},
      {"MeanEqualization: means 100.4, 101.3, 102.9 move red by -1, blue by 0", kMean, k24, 10,
       NineAndOne({100, 101, 103}, {104, 104, 102}), 8,
       {{R, 0, 0}, {R, 1, 0}, {R, 2, 1}, {R, 255, 254}, {B, 0, 0}, {B, 255, 255}}},
      {"MeanEqualization: offsets trunc(0.9) and trunc(-0.5) are both 0", kMean, k24, 10,
       NineAndOne({100, 101, 102}, {105, 105, 101}), 8, {}},
      {"ScaleByMax: maxima 120, 200, 60 give gains 2, 1, 4", kMax, k24, 3,
       {{120, 10, 5}, {3, 200, 60}, {7, 8, 9}}, 8,
       {{R, 50, 200}, {R, 63, 252}, {R, 64, 255}, {B, 127, 254}, {B, 128, 255}, {G, 200, 200}}},
      {"ScaleByMax: depth 0 writes the single entry 0", kMax, k24, 1, {{1, 2, 3}}, 0,
       {{R, 0, 0}, {G, 0, 0}, {B, 0, 0}, {R, 1, Tables::kUnwritten}}},
      {"ScaleByMax: 4 x 32768 x 32768 wraps to 0", kMax, k48, 1, {{4, 32768, 32768}}, 16, {}},
      {"ScaleByMax: a maximum above full scale gets gain 0", kMax, k48, 1, {{300, 255, 128}}, 8,
       {{B, 255, 0}, {G, 255, 255}, {R, 255, 255}}},
      {"WhiteWorld: no blue of 246 or more: the values at the image start", kWhite, k24, 2,
       {{245, 100, 50}, {200, 30, 40}}, 8, {{B, 255, 255}, {G, 100, 200}, {R, 51, 255}}},
      {"WhiteWorld: blue 246 wins at column 1, bytes 1..3 hold 100, 50, 246", kWhite, k24, 2,
       {{245, 100, 50}, {246, 30, 40}}, 8, {{B, 100, 200}, {G, 50, 250}, {R, 255, 255}}},
      {"WhiteWorld: of blues 250 and 260 the first wins; words 1..3 are read", kWhite, k48, 3,
       {{10, 85, 51}, {250, 7, 7}, {260, 9, 9}}, 8, {{B, 10, 30}, {G, 10, 50}, {R, 255, 255}}},
      {"WhiteWorld: row 1 is read at word 1 x stride, the start of row 2", kWhite, k48, 2,
       {{100, 1, 1}, {100, 1, 1}, {255, 1, 1}, {100, 1, 1}, {5, 15, 51}, {100, 1, 1}}, 8,
       {{B, 1, 51}, {B, 5, 255}, {G, 1, 17}, {R, 1, 5}}},
      {"WhiteWorld: from row 2 that address lies past the image", kWhite, k48, 2,
       {{100, 1, 1}, {100, 1, 1}, {100, 1, 1}, {100, 1, 1}, {255, 15, 51}, {100, 1, 1}}, 8, {}},
      // 3 x (12025 - 65535)^2 = 2^33 + 25708 wraps below blue 65435's 3 x 100^2.
      {"WhiteWorld: the distance wraps, so blue 12025 beats 65435", kWhite, k48, 2,
       {{65435, 5, 7}, {12025, 1, 1}}, 16, {{B, 1, 13107}, {G, 1, 9362}, {R, 1, 5}}},
      {"WhiteWorld: a zero value", kWhite, k24, 1, {{250, 0, 10}}, 8, {}},
      {"StandardDeviation: spreads 10, 50, 20 become 69.12 about the means", kSd, k24, 2,
       kSpread, 8,
       {{B, 20, 20}, {B, 30, 89}, {B, 27, 68}, {B, 10, 0}, {G, 100, 100}, {G, 150, 169},
        {G, 50, 30}, {G, 255, 255}, {R, 120, 120}, {R, 140, 189}, {R, 100, 50}}},
      {"StandardDeviation: a flat channel", kSd, k24, 2, kFlatGreen, 8, {}},
      {"MeanAndStandardDeviation: every mean moves to 128", kMeanSd, k24, 2, kSpread, 8,
       {{B, 20, 128}, {G, 100, 128}, {R, 120, 128}, {B, 30, 197}, {B, 10, 58}, {R, 100, 58}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Image image = Image::FromPixels(c.format, c.width, c.pixels);
    const Outcome out = Estimate(c.estimator, image, c.depth);
    EXPECT_EQ(out.unchanged, c.entries.empty());
    if (c.entries.empty()) { EXPECT_EQ(out.tables, Tables()); }
    for (const Entry& e : c.entries)
      EXPECT_EQ(out.tables(e.channel, e.index), e.value)
      << "channel " << e.channel << " entry " << e.index;
  }
}

TEST(WhiteWorld, ReadsTheSelectedPixelAtRowStartPlusColumnBytes) {
  // The only pixel near full scale is at column 10 of row 2; its values are read
  // from byte 2 x stride + 10, not 2 x stride + 30. In 32-bit images that spans
  // a fourth byte.
  for (Format format : {Format::kBgr24, Format::kBgrx32}) {
    SCOPED_TRACE(Name(format));
    Image image = Image::FromPixels(format, 12, std::vector<Bgr>(48, {100, 100, 100}), 4);
    image.Set(2, 10, {250, 255, 255});
    const uint8_t readThere[] = {51, 85, 17};  // gains 5, 3, 15
    std::copy(readThere, readThere + 3, image.Byte(2 * image.Stride() + 10));
    const Outcome out = Estimate(kWhite, image, 8);
    EXPECT_EQ(out.tables(B, 10), 50);
    EXPECT_EQ(out.tables(G, 10), 30);
    EXPECT_EQ(out.tables(R, 10), 150);
    EXPECT_EQ(out.tables(R, 17), 255);
  }
}

TEST(Estimators, WhatReturnsEarlyAndWhatMeasuresWithoutWriting) {
  enum Flag { kKept, kSet, kCleared };  // the "unchanged" flag afterwards
  const struct {
    const char* why;
    unsigned width, height, format;
    bool nullPixels;
    int depth;
    Flag flag;
  } cases[] = {
      {"null pixels", 2, 1, 200, true, 8, kKept},
      {"unsupported layout", 2, 1, 300, false, 8, kKept},
      {"height 0 would divide by zero", 2, 0, 200, false, 8, kKept},
      {"depth 17 overflows the object's tables", 2, 1, 200, false, 17, kKept},
      {"negative depth", 2, 1, 200, false, -1, kKept},
      {"depth 32", 2, 1, 200, false, 32, kKept},
      {"rows without pixels need nothing", 0, 1, 200, false, 8, kSet},
      {"depth 31: a table of size 0 measures but writes nothing", 2, 1, 200, false, 31, kCleared},
  };
  Image grey = Image::FromPixels(Format::kBgr24, 2, kGrey);
  for (const auto& e : kEstimators)
    for (const auto& c : cases)
      for (bool earlierFlag : {false, true}) {
        SCOPED_TRACE(testing::Message() << e.name << ": " << c.why << ", flag " << earlierFlag);
        CColorBalance balance;
        if (earlierFlag) balance.GrayWorld(grey.Info(), grey.Data());
        balance.SetLutDepth(c.depth);
        Image image = Image::FromPixels(Format::kBgr24, 2, kSpread);
        CImageData* data = image.Describe(c.width, c.height, c.format, c.nullPixels);
        Tables tables;
        (balance.*e.caller)(image.Info(), data, tables.red(), tables.green(), tables.blue());
        (balance.*e.own)(image.Info(), data);
        EXPECT_EQ(tables, Tables());
        EXPECT_EQ(ReadTables(balance), Tables(0));
        EXPECT_EQ(UnchangedFlag(balance), c.flag == kSet || (c.flag == kKept && earlierFlag));
      }
}

// The same 8-bit values in every layout; the 24-bit image is the reference.
TEST(Estimators, BothFormsAndAllLayoutsAgreeAndTouchOnlyTheirOwnTables) {
  Image reference = Image::Random(Format::kBgr24, 7, 5, 255, 42);
  std::vector<Bgr> pixels;
  for (unsigned i = 0; i < 35; ++i) pixels.push_back(reference.Get(i / 7, i % 7));
  for (const auto& e : kEstimators)
    for (int depth : {0, 8, 12, 16}) {
      const Outcome expected = Estimate(e.caller, reference, depth);
      for (Format format : kFormats) {
        SCOPED_TRACE(testing::Message() << e.name << ", " << Name(format) << ", depth " << depth);
        Image image = Image::FromPixels(format, 7, pixels, /*padding=*/2);
        const std::vector<uint8_t> before = image.Bytes();
        CColorBalance own;
        own.SetLutDepth(depth);
        (own.*e.own)(image.Info(), image.Data());
        const Outcome caller = Estimate(e.caller, image, depth, /*readOwnTables=*/true);
        EXPECT_EQ(image.Bytes(), before);
        EXPECT_FALSE(own.GetAutoColorBalanceApplied());
        EXPECT_TRUE(caller.ownTablesUntouched);
        EXPECT_EQ(UnchangedFlag(own), caller.unchanged);
        if (e.caller != kWhite) {  // it addresses its pixel per layout, by design
      EXPECT_EQ(caller.unchanged, expected.unchanged);
      EXPECT_EQ(caller.tables, expected.tables);
        }
        // Written entries agree; the rest keep each form's initial value.
        const size_t written = caller.unchanged ? 0 : size_t(1) << depth;
        Tables expectOwn = caller.tables;
        for (int ch : {B, G, R}) {
      std::fill(expectOwn.at[ch].begin() + written, expectOwn.at[ch].end(), 0);
      EXPECT_EQ(std::count(caller.tables.at[ch].begin() + written, caller.tables.at[ch].end(),
                           Tables::kUnwritten), long(Tables::kEntries - written));
        }
        EXPECT_EQ(ReadTables(own), expectOwn);
      }
    }
}

}  // namespace
