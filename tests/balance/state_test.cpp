// The balance object's settings, copies, offset tables and dispatchers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

TEST(ColorBalanceState, DefaultsAndTheGetColorBalanceQuirk) {
  CColorBalance balance;
  EXPECT_EQ(balance.GetLutDepth(), 0);
  EXPECT_EQ(balance.GetAlgorithm(), eMeanEqualization);
  EXPECT_FALSE(balance.GetAutoColorBalanceMode());
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
  EXPECT_FALSE(UnchangedFlag(balance));
  EXPECT_EQ(ReadTables(balance), Tables(0));
  int red = -1, green = -1, blue = 77;
  balance.SetColorBalance(1, 2, 3);
  balance.GetColorBalance(red, green, blue);
  EXPECT_EQ(red, 1);
  EXPECT_EQ(green, 3) << "blue lands in the second argument";
  EXPECT_EQ(blue, 77) << "the third argument is never written";
}

TEST(ColorBalanceState, CopiesCarryEveryFieldAndAllOfEachTable) {
  CColorBalance original;
  FillWithPattern(original);
  original.SetAlgorithm(eStandardDeviation);
  original.SetAutoColorBalanceMode(true);
  original.SetColorBalance(4, 5, 6);
  const Tables expected = ReadTables(original);
  ASSERT_EQ(expected(R, 65535), 65535);  // the pattern reaches the last entry
  CColorBalance copied(original), assigned;
  EXPECT_EQ(&(assigned = original), &assigned);
  original.ComputeColorBalance(0, 0, 0);  // later changes must not reach the copies
  for (CColorBalance* copy : {&copied, &assigned}) {
    int red = 0, green = 0, blue = 0;
    copy->GetColorBalance(red, green, blue);
    EXPECT_EQ(ReadTables(*copy), expected);
    EXPECT_EQ((std::vector<int>{copy->GetLutDepth(), copy->GetAlgorithm(),
                                copy->GetAutoColorBalanceMode(), red}),
              (std::vector<int>{16, eStandardDeviation, true, 4}));
  }
}

TEST(ColorBalanceOffsets, AddClampedOffsetsToTheFirst256EntriesOnly) {
  const struct { int red, green, blue; Bgr at0, at245, at250; } cases[] = {
      {10, 0, -300, {0, 0, 10}, {0, 245, 255}, {0, 250, 255}},
               {INT_MAX, INT_MIN, 0, {0, 0, 255}, {245, 0, 255}, {250, 0, 255}}};
  for (const auto& c : cases) {
    CColorBalance balance;
    FillWithPattern(balance);
    balance.SetAutoColorBalanceApplied(true);
    Tables expected = ReadTables(balance);
    balance.ComputeColorBalance(c.red, c.green, c.blue);
    EXPECT_EQ(balance.GetLutDepth(), 8);
    const Tables after = ReadTables(balance);
    for (int ch : {B, G, R}) {
      EXPECT_EQ(after(ch, 0), c.at0[ch]);
      EXPECT_EQ(after(ch, 245), c.at245[ch]);
      EXPECT_EQ(after(ch, 250), c.at250[ch]);
      std::copy_n(after.at[ch].begin(), 256, expected.at[ch].begin());
    }
    EXPECT_EQ(after, expected);  // entries from 256 up as they were
    EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
    EXPECT_FALSE(UnchangedFlag(balance));
  }
}

// An image every estimator of the dispatcher corrects.
Image CastImage(Format format) {
  return Image::FromPixels(format, 3, {{10, 60, 90}, {40, 80, 200}, {20, 70, 150},
                                       {30, 90, 120}, {50, 100, 180}, {0, 50, 240}});
}

TEST(ColorBalanceDispatch, RunsTheEstimatorOfTheAlgorithmAtDepth8) {
  using Estimator = void (CColorBalance::*)(CImageInfo*, CImageData*);
  const Estimator byAlgorithm[] = {&CColorBalance::MeanEqualization, &CColorBalance::GrayWorld,
                                   &CColorBalance::StandardDeviation,
                                   &CColorBalance::MeanAndStandardDeviation};
  const struct {
    const char* why;
    int algorithm;
    unsigned height, format;
    bool nullPixels;
    int depth;
  } cases[] = {
      {"MeanEqualization", 0, 2, 200, false, 8},
      {"GrayWorld", 1, 2, 200, false, 8},
      {"StandardDeviation", 2, 2, 200, false, 8},
      {"MeanAndStandardDeviation", 3, 2, 200, false, 8},
      {"algorithm 4 runs nothing but sets the depth", 4, 2, 200, false, 8},
      {"algorithm -1 runs nothing but sets the depth", -1, 2, 200, false, 8},
      {"an unsupported layout runs nothing but sets the depth", 1, 2, 300, false, 8},
      {"null pixels change nothing", 1, 2, 200, true, 16},
      {"height 0 changes nothing", 1, 0, 200, false, 16},
  };
  for (const auto& c : cases)
    for (Format format : kFormats) {
      SCOPED_TRACE(testing::Message() << c.why << ", " << Name(format));
      Image image = CastImage(format);
      const unsigned code = c.format == 200 ? image.Info()->colorFormat : c.format;
      CColorBalance dispatched, direct;
      dispatched.SetLutDepth(16);  // overruled, also for 48-bit images
      dispatched.SetAlgorithm(eAlgorithm(c.algorithm));
      dispatched.ComputeColorBalance(image.Info(), image.Describe(3, c.height, code, c.nullPixels));
      EXPECT_EQ(dispatched.GetLutDepth(), c.depth);
      const bool runs = c.algorithm >= 0 && c.algorithm <= 3 && c.height && code != 300 &&
                        !c.nullPixels;
      direct.SetLutDepth(8);
      if (runs) (direct.*byAlgorithm[c.algorithm])(image.Info(), image.Data());
      EXPECT_EQ(ReadTables(dispatched), ReadTables(direct));
      EXPECT_EQ(ReadTables(dispatched) != Tables(0), runs);
      EXPECT_EQ(UnchangedFlag(dispatched), false);
    }
  CColorBalance balance;
  balance.ComputeColorBalance(nullptr, nullptr);
  EXPECT_EQ(balance.GetLutDepth(), 0);
}

TEST(ColorBalanceDispatch, CallerTableFormFillsOnlyTheCallersTablesAtTheCurrentDepth) {
  Image image = CastImage(Format::kBgr48);
  for (int algorithm : {0, 1, 2, 3, 4, -1, INT_MIN}) {
    SCOPED_TRACE(algorithm);
    CColorBalance balance;
    FillWithPattern(balance);
    balance.SetLutDepth(10);
    balance.SetAlgorithm(eGrayWorld);
    const Tables ownBefore = ReadTables(balance);
    Tables tables;
    balance.ComputeColorBalance(image.Info(), image.Data(), eAlgorithm(algorithm), tables.red(),
                                tables.green(), tables.blue());
    EXPECT_EQ(balance.GetLutDepth(), 10);
    EXPECT_EQ(balance.GetAlgorithm(), eGrayWorld);
    EXPECT_EQ(ReadTables(balance), ownBefore);
    EXPECT_EQ(tables(G, 1023) != Tables::kUnwritten, algorithm >= 0 && algorithm <= 3);
    EXPECT_EQ(tables(G, 1024), Tables::kUnwritten);
  }
}

}  // namespace
