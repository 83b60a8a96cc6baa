// Every vector path against the reference, bit for bit: the six estimators in both
// forms and the apply pass, in every layout, on images shaped around the vector
// blocks (8, 16 and 32 pixels) with tails and odd strides.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "balance_test_support.h"
#include "support/paths.h"

namespace {

using namespace balance_test;
using path_test::Path;

using Own = void (CColorBalance::*)(CImageInfo*, CImageData*);
using Caller = void (CColorBalance::*)(CImageInfo*, CImageData*, unsigned short*,
                                       unsigned short*, unsigned short*);
const struct {
  const char* name;
  Own own;
  Caller caller;
} kEstimators[] = {
    {"GrayWorld", &CColorBalance::GrayWorld, &CColorBalance::GrayWorld},
    {"WhiteWorld", &CColorBalance::WhiteWorld, &CColorBalance::WhiteWorld},
    {"ScaleByMax", &CColorBalance::ScaleByMax, &CColorBalance::ScaleByMax},
    {"MeanEqualization", &CColorBalance::MeanEqualization, &CColorBalance::MeanEqualization},
    {"StandardDeviation", &CColorBalance::StandardDeviation, &CColorBalance::StandardDeviation},
    {"MeanAndStandardDeviation", &CColorBalance::MeanAndStandardDeviation,
     &CColorBalance::MeanAndStandardDeviation}};

struct Shape {
  const char* why;
  unsigned width, height, padding;
};
constexpr Shape kShapes[] = {
    {"narrower than any block", 5, 3, 0},
    {"one block of 32 and a tail, odd stride", 37, 4, 5},
    {"blocks of every size and a tail", 75, 3, 2},
    {"several whole blocks of 32", 96, 2, 0},
};

struct Result {
  std::vector<uint16_t> caller, own;  // entries 0 .. S of each table, blue, green, red
  bool unchanged;
  bool operator==(const Result& o) const {
    return caller == o.caller && own == o.own && unchanged == o.unchanged;
  }
};

// The first `count` entries of each table.
std::vector<uint16_t> Entries(const Tables& tables, size_t count) {
  std::vector<uint16_t> entries;
  for (const auto& table : tables.at) entries.insert(entries.end(), table.begin(), table.begin() + count);
  return entries;
}

// The caller-table form, and the own-table form when asked (its tables take an
// apply pass over 65536 pixels to read). Entry S, past the written ones, is kept
// too: it must stay as it was.
Result Measure(const Own own, const Caller caller, Image& image, int depth, bool ownForm = true) {
  const size_t count = std::min<size_t>((size_t(1) << depth) + 1, Tables::kEntries);
  static Tables tables;
  for (auto& table : tables.at) std::fill(table.begin(), table.begin() + count, Tables::kUnwritten);
  CColorBalance balance;
  balance.SetLutDepth(depth);
  (balance.*caller)(image.Info(), image.Data(), tables.red(), tables.green(), tables.blue());
  Result r{Entries(tables, count), {}, UnchangedFlag(balance)};
  if (ownForm) {
    CColorBalance second;
    FillWithPattern(second);  // so that entries it does not write show
    second.SetLutDepth(depth);
    (second.*own)(image.Info(), image.Data());
    r.own = Entries(ReadTables(second), count);
    r.unchanged = r.unchanged && UnchangedFlag(second);
  }
  return r;
}

template <class Fn> auto OnReference(Fn fn) {
  tavrix::detail::ForcePathForTesting(Path::kReference);
  auto result = fn();
  tavrix::detail::ClearForcedPath();
  return result;
}

// Values up to maxValue, with runs of full scale and of 0 so that the searches
// and the "nothing to correct" tests meet them.
Image TestImage(Format format, const Shape& shape, unsigned maxValue, uint32_t seed) {
  Image image = Image::Random(format, shape.width, shape.height, maxValue, seed, shape.padding);
  image.Set(shape.height - 1, shape.width / 2, {maxValue, maxValue, maxValue});
  image.Set(0, shape.width - 1, {maxValue - maxValue / 7, 0, maxValue});
  return image;
}

TEST(BalancePaths, EveryEstimatorBothFormsEveryLayoutAndDepthMatchTheReference) {
  for (Format format : kFormats)
    for (const Shape& shape : kShapes)
      for (int depth = 1; depth <= 16; ++depth) {
        const unsigned sampleMax = format == Format::kBgr48 ? 65535 : 255;
        const unsigned maxValue = std::min(sampleMax, (1u << depth) - 1);
        Image image = TestImage(format, shape, maxValue, uint32_t(depth * 131 + shape.width));
        const std::vector<uint8_t> before = image.Bytes();
        for (const auto& e : kEstimators) {
          SCOPED_TRACE(testing::Message() << e.name << ", " << Name(format) << ", " << shape.why
                                          << ", depth " << depth);
          const bool ownForm = depth == 1 || depth == 8 || depth == 16;
          const Result expected =
              OnReference([&] { return Measure(e.own, e.caller, image, depth, ownForm); });
          path_test::ForEachPath(
              [&](Path) { EXPECT_EQ(Measure(e.own, e.caller, image, depth, ownForm), expected); });
          EXPECT_EQ(image.Bytes(), before);
        }
      }
}

TEST(BalancePaths, ApplyMatchesTheReferenceAndLeavesPaddingAndFourthBytes) {
  Tables tables;  // arbitrary 16-bit entries: 8-bit layouts keep their low bytes
  std::mt19937 rng(7);
  for (auto& table : tables.at)
    for (auto& entry : table) entry = uint16_t(rng());
  for (Format format : kFormats)
    for (const Shape& shape : kShapes) {
      SCOPED_TRACE(testing::Message() << Name(format) << ", " << shape.why);
      const unsigned maxValue = format == Format::kBgr48 ? 65535 : 255;
      const Image source = TestImage(format, shape, maxValue, shape.width);
      CColorBalance balance;
      const Image expected = OnReference([&] {
        Image image = source;
        balance.ApplyColorBalance(image.Info(), image.Data(), tables.red(), tables.green(),
                                  tables.blue());
        return image;
      });
      path_test::ForEachPath([&](Path) {
        Image image = source;
        balance.ApplyColorBalance(image.Info(), image.Data(), tables.red(), tables.green(),
                                  tables.blue());
        EXPECT_EQ(image.Bytes(), expected.Bytes());
      });
    }
}

// The blue search reads 8 pixels at a time; the one pixel close to full scale
// (blue 250 or 65530, the rest at most half scale) sits at each position of three
// such blocks and of the tail, in the first row and the last.
TEST(BalancePaths, WhiteWorldFindsItsPixelAtEveryPositionOfABlock) {
  const auto& kWhiteWorld = kEstimators[1];
  for (Format format : kFormats)
    for (unsigned row : {0u, 2u})
      for (unsigned column = 0; column < 27; ++column) {
        SCOPED_TRACE(testing::Message() << Name(format) << ", row " << row << ", column " << column);
        const int depth = format == Format::kBgr48 ? 16 : 8;
        const unsigned full = (1u << depth) - 1;
        Image image = Image::Random(format, 27, 3, full / 2, column + 1, /*padding=*/1);
        image.Set(row, column, {full - 5, 1, 2});
        const auto measure = [&] { return Measure(kWhiteWorld.own, kWhiteWorld.caller, image, depth, false); };
        const Result expected = OnReference(measure);
        path_test::ForEachPath([&](Path) { EXPECT_EQ(measure(), expected); });
      }
}

// The 48-bit sums gather 32-bit partial sums for 65536 blocks of 16 pixels before
// they widen them. A row of twice as many blocks of full-scale blue overflows them
// for any longer gathering.
TEST(BalancePaths, SumsOfRowsLongEnoughToOverflowThirtyTwoBitLanes) {
  constexpr unsigned kWidth = 16 * 2 * 65536 + 3;
  const auto& kGrayWorld = kEstimators[0];
  std::vector<Bgr> pixels(kWidth, Bgr{65535, 65534, 1});
  pixels[kWidth / 2] = {0, 0, 0};
  Image image = Image::FromPixels(Format::kBgr48, kWidth, pixels);
  const Result expected =
      OnReference([&] { return Measure(kGrayWorld.own, kGrayWorld.caller, image, 16); });
  ASSERT_FALSE(expected.unchanged);
  // Gains 65534 for red and 65534 / 65535 for blue; a wrapped blue sum would be
  // smaller and give a gain above 1.
  const size_t red = 2 * 65536, blue = 0;  // where each table starts in the entries
  EXPECT_EQ(expected.caller[red + 1], 65534);
  EXPECT_EQ(expected.caller[blue + 1000], 999);
  path_test::ForEachPath([&](Path) {
    EXPECT_EQ(Measure(kGrayWorld.own, kGrayWorld.caller, image, 16), expected);
  });
}

}  // namespace
