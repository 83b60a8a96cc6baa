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

TEST(DeviationSquares, AreThePowerFunctionsBitsEvenWhenMemoSlotsCollide) {
  // The reference calls the power function through a pointer the compiler cannot
  // see through: pow(d, 2.0) rounds differently from d * d for about 50 of the
  // 65536 values at this mean (glibc 2.36), which a multiplication would miss.
  double (*volatile power)(double, double) = std::pow;
  const double mean = 1234.56789;
  detail::DeviationSquares<detail::Bgr48> squares(mean);
  for (uint32_t i = 0; i < 2 * 65536; ++i) {
    const uint32_t value = (i * 7919u) & 0xFFFF;  // scattered, so slots keep changing hands
    ASSERT_EQ(squares(value), power(double(value) - mean, 2.0)) << value;
  }
}

TEST(LevelConversion, TruncatesClampsAndWrapsLikeThirtyTwoBitIntegers) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const struct { double value; uint32_t fullScale; uint16_t level; } cases[] = {
      {nan, 255, 0},       {-inf, 255, 0},     {-0.9, 255, 0},          {0.99, 255, 0},
      {254.999, 255, 254}, {1e300, 255, 255},  {65535.5, 65535, 65535}, {7.7, 0, 0}};
  for (const auto& c : cases)
    EXPECT_EQ(detail::ToLevel(c.value, c.fullScale), c.level) << c.value << " / " << c.fullScale;
  EXPECT_EQ(detail::TruncateToInt32(-1.6), -1);
  EXPECT_EQ(detail::TruncateToInt32(nan), 0);
  EXPECT_EQ(detail::TruncateToInt32(1e12), INT32_MAX);
  // The pixel count is a signed 32-bit product.
  EXPECT_EQ(detail::PixelCount({nullptr, 0, 65536, 32768}), -2147483648.0);
  EXPECT_EQ(detail::PixelCount({nullptr, 0, 65536, 65536}), 0.0);
}

}  // namespace
