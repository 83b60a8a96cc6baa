// The balance object's settings, copies, offset tables and dispatchers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

TEST(ColorBalanceState, NewObjectHasZeroDepthFirstAlgorithmClearFlagsAndZeroTables) {
  CColorBalance balance;
  EXPECT_EQ(balance.GetLutDepth(), 0);
  EXPECT_EQ(balance.GetAlgorithm(), eMeanEqualization);
  EXPECT_FALSE(balance.GetAutoColorBalanceMode());
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
  EXPECT_FALSE(UnchangedFlag(balance));
  int red = -1, green = -1, blue = -1;
  balance.GetColorBalance(red, green, blue);
  EXPECT_EQ(red, 0);
  EXPECT_EQ(green, 0);  // the blue value, see below
  EXPECT_EQ(ReadTables(balance), ZeroTables());
}

TEST(ColorBalanceState, GetColorBalanceWritesBlueIntoTheSecondArgumentAndSkipsTheThird) {
  CColorBalance balance;
  balance.SetColorBalance(1, 2, 3);
  int red = 0, green = 0, blue = 77;
  balance.GetColorBalance(red, green, blue);
  EXPECT_EQ(red, 1);
  EXPECT_EQ(green, 3);
  EXPECT_EQ(blue, 77);
}

TEST(ColorBalanceState, SettersStoreAnyValue) {
  CColorBalance balance;
  balance.SetLutDepth(-5);
  balance.SetAlgorithm(eAlgorithm(7));
  balance.SetAutoColorBalanceMode(true);
  balance.SetAutoColorBalanceApplied(true);
  EXPECT_EQ(balance.GetLutDepth(), -5);
  EXPECT_EQ(int(balance.GetAlgorithm()), 7);
  EXPECT_TRUE(balance.GetAutoColorBalanceMode());
  EXPECT_TRUE(balance.GetAutoColorBalanceApplied());
  balance.SetAutoColorBalanceApplied(false);
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
}

TEST(ColorBalanceState, CopiesCarryEveryFieldAndAllOfEachTable) {
  CColorBalance original;
  FillWithPattern(original);
  original.SetAlgorithm(eStandardDeviation);
  original.SetAutoColorBalanceMode(true);
  original.SetAutoColorBalanceApplied(true);
  original.SetColorBalance(4, 5, 6);
  const Tables expected = ReadTables(original);
  ASSERT_EQ(expected.red[65535], 65535);  // the pattern reaches the last entry
  ASSERT_EQ(expected.blue[100], 300);

  CColorBalance copied(original);
  CColorBalance assigned;
  CColorBalance& result = (assigned = original);
  EXPECT_EQ(&result, &assigned);
  original.ComputeColorBalance(0, 0, 0);  // later changes must not reach the copies
  for (CColorBalance* copy : {&copied, &assigned}) {
    EXPECT_EQ(ReadTables(*copy), expected);
    EXPECT_EQ(copy->GetLutDepth(), 16);
    EXPECT_EQ(copy->GetAlgorithm(), eStandardDeviation);
    EXPECT_TRUE(copy->GetAutoColorBalanceMode());
    EXPECT_TRUE(copy->GetAutoColorBalanceApplied());
    EXPECT_FALSE(UnchangedFlag(*copy));
    int red = 0, green = 0, blue = 0;
    copy->GetColorBalance(red, green, blue);
    EXPECT_EQ(red, 4);
    EXPECT_EQ(green, 6);
  }
}

TEST(ColorBalanceOffsets, AddClampedOffsetsToTheFirst256EntriesOnly) {
  CColorBalance balance;
  FillWithPattern(balance);
  const Tables before = ReadTables(balance);
  balance.ComputeColorBalance(10, 0, -300);
  EXPECT_EQ(balance.GetLutDepth(), 8);
  const Tables after = ReadTables(balance);
  EXPECT_EQ(after.red[0], 10);
  EXPECT_EQ(after.red[245], 255);
  EXPECT_EQ(after.red[250], 255);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(after.green[i], i);
    EXPECT_EQ(after.blue[i], 0);
  }
  Tables expected = before;  // entries 256 and up as they were
  std::copy_n(after.red.begin(), 256, expected.red.begin());
  std::copy_n(after.green.begin(), 256, expected.green.begin());
  std::copy_n(after.blue.begin(), 256, expected.blue.begin());
  EXPECT_EQ(after, expected);
}

TEST(ColorBalanceOffsets, ExtremeOffsetsSaturateAndLeaveFlagsAlone) {
  CColorBalance balance;
  balance.SetColorBalance(1, 2, 3);
  balance.ComputeColorBalance(INT_MAX, INT_MIN, 0);
  const Tables tables = ReadTables(balance);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(tables.red[i], 255);
    EXPECT_EQ(tables.green[i], 0);
    EXPECT_EQ(tables.blue[i], i);
  }
  int red = 0, green = 0, blue = 0;
  balance.GetColorBalance(red, green, blue);
  EXPECT_EQ(red, 1);
  EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
  EXPECT_FALSE(UnchangedFlag(balance));
}

// An image every estimator in the dispatcher corrects.
Image CastImage(Format format) {
  return Image::FromPixels(format, 3, 2,
                           {{10, 60, 90}, {40, 80, 200}, {20, 70, 150},
                            {30, 90, 120}, {50, 100, 180}, {0, 50, 240}});
}

TEST(ColorBalanceDispatch, RunsTheEstimatorOfTheAlgorithmAtDepth8) {
  using Estimator = void (CColorBalance::*)(CImageInfo*, CImageData*);
  const struct {
    eAlgorithm algorithm;
    Estimator estimator;
  } kCases[] = {{eMeanEqualization, &CColorBalance::MeanEqualization},
                {eGrayWorld, &CColorBalance::GrayWorld},
                {eStandardDeviation, &CColorBalance::StandardDeviation},
                {eMeanAndStandardDeviation, &CColorBalance::MeanAndStandardDeviation}};
  for (const auto& c : kCases)
    for (Format format : kFormats) {
      SCOPED_TRACE(testing::Message() << "algorithm " << c.algorithm << ", " << Name(format));
      Image image = CastImage(format);
      CColorBalance dispatched;
      dispatched.SetLutDepth(16);  // overruled: the dispatcher always works at depth 8
      dispatched.SetAlgorithm(c.algorithm);
      dispatched.ComputeColorBalance(image.Info(), image.Data());
      EXPECT_EQ(dispatched.GetLutDepth(), 8);
      CColorBalance direct;
      direct.SetLutDepth(8);
      (direct.*c.estimator)(image.Info(), image.Data());
      const Tables tables = ReadTables(dispatched);
      EXPECT_EQ(tables, ReadTables(direct));
      EXPECT_EQ(tables.red[256], 0);  // 256-entry tables, also for 48-bit images
    }
}

TEST(ColorBalanceDispatch, UnknownAlgorithmRunsNothingButStillSetsDepth8) {
  for (int algorithm : {4, -1, INT_MAX}) {
    SCOPED_TRACE(algorithm);
    Image image = CastImage(Format::kBgr24);
    CColorBalance balance;
    balance.SetAlgorithm(eAlgorithm(algorithm));
    balance.ComputeColorBalance(image.Info(), image.Data());
    EXPECT_EQ(balance.GetLutDepth(), 8);
    EXPECT_EQ(ReadTables(balance), ZeroTables());
    EXPECT_FALSE(UnchangedFlag(balance));
  }
}

TEST(ColorBalanceDispatch, NoImageOrNoRowsChangesNothingNotEvenTheDepth) {
  Image image = CastImage(Format::kBgr24);
  Image rowless = CastImage(Format::kBgr24);
  rowless.Info()->height = 0;
  CImageData none = {nullptr};
  const struct {
    const char* why;
    CImageInfo* info;
    CImageData* data;
  } kCases[] = {{"null pixels", image.Info(), &none},
                {"null data", image.Info(), nullptr},
                {"null description", nullptr, image.Data()},
                {"height 0 would divide by zero", rowless.Info(), rowless.Data()}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.why);
    CColorBalance balance;
    balance.SetLutDepth(3);
    balance.SetAlgorithm(eGrayWorld);
    balance.ComputeColorBalance(c.info, c.data);
    EXPECT_EQ(balance.GetLutDepth(), 3);
    EXPECT_EQ(ReadTables(balance), ZeroTables());
    EXPECT_FALSE(UnchangedFlag(balance));
  }
}

TEST(ColorBalanceDispatch, UnsupportedLayoutStillSetsDepth8) {
  Image image = CastImage(Format::kBgr24);
  image.Info()->colorFormat = 300;
  CColorBalance balance;
  balance.SetAlgorithm(eGrayWorld);
  balance.ComputeColorBalance(image.Info(), image.Data());
  EXPECT_EQ(balance.GetLutDepth(), 8);
  EXPECT_EQ(ReadTables(balance), ZeroTables());
}

TEST(ColorBalanceDispatch, CallerTableFormFillsOnlyTheCallersTablesAtTheCurrentDepth) {
  Image image = CastImage(Format::kBgr48);
  for (int algorithm = 0; algorithm < 4; ++algorithm) {
    SCOPED_TRACE(algorithm);
    CColorBalance balance;
    FillWithPattern(balance);
    balance.SetLutDepth(10);
    balance.SetAlgorithm(eGrayWorld);
    const Tables ownBefore = ReadTables(balance);
    Tables tables;
    balance.ComputeColorBalance(image.Info(), image.Data(), eAlgorithm(algorithm),
                                tables.red.data(), tables.green.data(), tables.blue.data());
    EXPECT_EQ(balance.GetLutDepth(), 10);
    EXPECT_EQ(balance.GetAlgorithm(), eGrayWorld);
    EXPECT_EQ(ReadTables(balance), ownBefore);
    EXPECT_NE(tables.green[1023], Tables::kUnwritten);
    EXPECT_EQ(tables.green[1024], Tables::kUnwritten);
  }
}

TEST(ColorBalanceDispatch, CallerTableFormIgnoresAlgorithmsOutside0To3) {
  Image image = CastImage(Format::kBgr24);
  for (int algorithm : {4, -1, INT_MIN}) {
    SCOPED_TRACE(algorithm);
    CColorBalance balance;
    balance.SetLutDepth(8);
    Tables tables;
    balance.ComputeColorBalance(image.Info(), image.Data(), eAlgorithm(algorithm),
                                tables.red.data(), tables.green.data(), tables.blue.data());
    EXPECT_EQ(tables, Tables());
    EXPECT_FALSE(UnchangedFlag(balance));
  }
}

}  // namespace
