// Internal pieces whose fast forms must match a plain reference bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "balance/level_tables.h"
#include "balance/statistics.h"
#include "balance_test_support.h"
#include "support/paths.h"

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
  // 37 pixels: a vector block of every layout, and a tail; an odd stride.
  Image image = Image::Random(Format::kBgr48, 37, 9, 65535, 3, /*padding=*/5);
  const detail::ImageView view = ViewOf(image);
  const detail::PerChannel<double> plain = PlainSums<detail::Bgr48>(view);
  // Bands run here one after another, the last first.
  detail::RowBands bands{1, [](int n, const std::function<void(int)>& body) {
                           for (int k = n - 1; k >= 0; --k) body(k);
                         }};
  path_test::ForEachPath([&](path_test::Path) {
    // Limits that switch to per-value addition before the first row, in the
    // middle (4 rows in: past the first of 2 bands, within the second of 4) and
    // never; the maxima come out the same either way.
    for (uint64_t limit : {uint64_t(1), uint64_t(37) * 65535 * 4, detail::kExactSumLimit})
      for (int count : {1, 2, 4}) {
        SCOPED_TRACE(testing::Message() << limit << " limit, " << count << " bands");
        bands.count = count;
        detail::PerChannel<uint32_t> maxima{1, 2, 3};
        EXPECT_EQ(detail::ChannelSums<detail::Bgr48>(view, limit, &maxima, bands), plain);
        EXPECT_EQ(maxima, detail::ChannelMaxima<detail::Bgr48>(view));
        EXPECT_EQ(maxima, detail::ChannelMaxima<detail::Bgr48>(view, bands));
      }
  });
}

TEST(DeviationSquares, AreThePowerFunctionsBitsWithTheMemoAndWithout) {
  // The reference calls the power function through a pointer the compiler cannot
  // see through: pow(d, 2.0) rounds differently from d * d for about 50 of the
  // 65536 values at such a mean (glibc 2.36), which a multiplication would miss.
  double (*volatile power)(double, double) = std::pow;
  const detail::PerChannel<double> means = {1234.56789, 0.1, 65535.0 / 3.0};
  const detail::PerChannel<uint32_t> maxima = {65535, 40000, 65535};
  const detail::ImageView large{nullptr, 0, 1 << 16, 1 << 16};  // room for a memo
  const detail::ImageView small{nullptr, 0, 1 << 15, 1};        // too few values to repay one
  const struct { const char* why; detail::ImageView view; bool memo, expectMemo; } cases[] = {
      {"memo", large, true, true},
      {"no memo asked for", large, false, false},
      {"fewer values than the memo would hold", small, true, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const detail::DeviationSquares<detail::Bgr48> squares(c.view, means, maxima, c.memo);
    ASSERT_EQ(squares.HasMemo(), c.expectMemo);
    int squareDiffers = 0;
    for (int channel = 0; channel < 3; ++channel)
      for (uint32_t value = 0; value <= maxima[channel]; ++value) {
        const double deviation = double(value) - means[channel];
        const double term = c.expectMemo ? squares.Known(channel, value) : squares.Compute(channel, value);
        ASSERT_EQ(term, power(deviation, 2.0)) << value;
        squareDiffers += term != deviation * deviation;
      }
    EXPECT_GT(squareDiffers, 0) << "no value tells the power function from a multiplication";
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
