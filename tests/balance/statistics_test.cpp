// Internal pieces whose fast forms must match a plain reference bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "balance/level_tables.h"
#include "balance/statistics.h"
#include "balance_test_support.h"

namespace {

using namespace balance_test;
namespace detail = tavrix::detail;

detail::ImageView ViewOf(Image& image) {
  return {image.Data()->pixels, image.Info()->imageSize / image.Info()->height,
          image.Info()->width, image.Info()->height};
}

// The plain form of a pass-order sum: one double addition per value.
template <class Layout> detail::PerChannel<double> PlainSums(const detail::ImageView& view) {
  detail::PerChannel<double> sums{};
  detail::ForEachPixel<Layout>(view, [&](const uint8_t* pixel) {
    for (int c = 0; c < detail::kChannels; ++c) sums[c] += double(Layout::Get(pixel, c));
  });
  return sums;
}

TEST(ChannelSums, RowTotalsMatchPerValueAdditionWhereverTheSwitchHappens) {
  Image image = Image::Random(Format::kBgr48, 13, 9, 65535, 3, /*padding=*/5);
  const detail::ImageView view = ViewOf(image);
  const detail::PerChannel<double> plain = PlainSums<detail::Bgr48>(view);
  // Limits that switch to per-value addition before the first row, in the
  // middle and never.
  for (uint64_t limit : {uint64_t(1), uint64_t(13) * 65535 * 4, detail::kExactSumLimit}) {
    SCOPED_TRACE(limit);
    EXPECT_EQ(detail::ChannelSums<detail::Bgr48>(view, limit), plain);
  }
}

TEST(DeviationSquares, TheMemoGivesThePowerFunctionsBitsEvenWhenSlotsCollide) {
  // 16-bit values over the whole range collide in the memo's 1024 slots.
  Image image = Image::Random(Format::kBgr48, 64, 16, 65535, 9);
  const detail::ImageView view = ViewOf(image);
  const detail::PerChannel<double> means = {1234.56789, 30000.1, 65000.3};
  detail::PerChannel<double> plain{};
  detail::ForEachPixel<detail::Bgr48>(view, [&](const uint8_t* pixel) {
    for (int c = 0; c < detail::kChannels; ++c)
      plain[c] += detail::PowerOfTwoDeviation(double(detail::Bgr48::Get(pixel, c)), means[c]);
  });
  EXPECT_EQ(detail::SquaredDeviationSums<detail::Bgr48>(view, means), plain);
}

TEST(LevelConversion, TruncatesThenClampsAndSendsNaNToZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    uint32_t fullScale;
    uint16_t level;
  } kCases[] = {{nan, 255, 0},      {-inf, 255, 0},   {-1e300, 255, 0},  {-0.9, 255, 0},
                {0.99, 255, 0},     {1.0, 255, 1},    {254.999, 255, 254}, {255.0, 255, 255},
                {1e300, 255, 255},  {inf, 255, 255},  {65535.5, 65535, 65535},
                {7.7, 0, 0}};
  for (const auto& c : kCases)
    EXPECT_EQ(detail::ToLevel(c.value, c.fullScale), c.level) << c.value << " / " << c.fullScale;
}

TEST(LevelConversion, OffsetsTruncateAndSaturate) {
  EXPECT_EQ(detail::TruncateToInt32(-1.6), -1);
  EXPECT_EQ(detail::TruncateToInt32(0.9), 0);
  EXPECT_EQ(detail::TruncateToInt32(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(detail::TruncateToInt32(1e12), INT32_MAX);
  EXPECT_EQ(detail::TruncateToInt32(-1e12), INT32_MIN);
}

TEST(PixelCount, IsTheSigned32BitProduct) {
  EXPECT_EQ(detail::PixelCount({nullptr, 0, 4096, 3072}), 12582912.0);
  EXPECT_EQ(detail::PixelCount({nullptr, 0, 65536, 32768}), -2147483648.0);
  EXPECT_EQ(detail::PixelCount({nullptr, 0, 65536, 65536}), 0.0);
}

TEST(TableDepth, AcceptsZeroTo16And31Only) {
  for (int depth : {-1, 17, 30, 32, 1000}) EXPECT_FALSE(detail::DepthOf(depth)) << depth;
  EXPECT_EQ(detail::DepthOf(0)->size, 1u);
  EXPECT_EQ(detail::DepthOf(16)->fullScale, 65535u);
  EXPECT_FALSE(detail::DepthOf(31)->writesTables);
  EXPECT_EQ(detail::DepthOf(31)->fullScale, 0x7FFFFFFFu);  // S - 1 wraps from INT_MIN
}

}  // namespace
