// Colour correction of finished pixels: truncation, clamps, channel order.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "bayer/color_correction.h"

namespace {

using tavrix::detail::CorrectBytes;
using tavrix::detail::CorrectWords;

struct Case {
  const char *why;
  double m[9];
  int in[3];        // blue, green, red
  int expected[3];  // 8-bit outputs
};
const Case kCases[] = {
    {"identity is exact", {1, 0, 0, 0, 1, 0, 0, 0, 1}, {200, 17, 3}, {200, 17, 3}},
    {"1.5 x 200 clamps to 255", {1.5, 0, 0, 0, 1, 0, 0, 0, 1}, {200, 1, 2}, {255, 1, 2}},
    {"1.5 x 3 = 4.5 truncates to 4", {1.5, 0, 0, 0, 1, 0, 0, 0, 1}, {3, 1, 2}, {4, 1, 2}},
    {"first row (0, 0, 1) puts red into blue", {0, 0, 1, 0, 1, 0, 0, 0, 1}, {10, 20, 30}, {30, 20, 30}},
    {"channels use the values before correction", {0, 1, 0, 1, 0, 0, 0, 0, 1}, {10, 20, 30},
     {20, 10, 30}},
    {"a negative result stores 0", {1, -2, 0, 0, 1, 0, 0, 0, 1}, {10, 20, 30}, {0, 20, 30}},
    {"-0.9 truncates toward zero", {0.1, -0.1, 0, 0, 1, 0, 0, 0, 1}, {0, 9, 1}, {0, 9, 1}},
};

TEST(ColorCorrection, EightBitChannelsTruncateAndClamp) {
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    tagRGBTRIPLE px = {std::uint8_t(c.in[0]), std::uint8_t(c.in[1]), std::uint8_t(c.in[2])};
    CorrectBytes(&px, c.m);
    EXPECT_EQ(px.rgbtBlue, c.expected[0]);
    EXPECT_EQ(px.rgbtGreen, c.expected[1]);
    EXPECT_EQ(px.rgbtRed, c.expected[2]);
    CBayerConverter::BGRxTRIPLE quad = {px.rgbtBlue, px.rgbtGreen, px.rgbtRed, 9};
    quad = {std::uint8_t(c.in[0]), std::uint8_t(c.in[1]), std::uint8_t(c.in[2]), 9};
    CorrectBytes(&quad, c.m);
    EXPECT_EQ(quad.rgbtBlue, c.expected[0]);
    EXPECT_EQ(quad.rgbtRed, c.expected[2]);
  }
}

TEST(ColorCorrection, SixteenBitChannelsClampToTheBitDepth) {
  const double m[9] = {1.0007, 0, 0, 0, 1, 0, -1, 0, 0};
  CBayerConverter::RGBTRIPLE16 px = {1024, 1000, 5};
  CorrectWords(&px, m, (1 << 10) - 1);
  EXPECT_EQ(px.rgbtBlue, 1023) << "1024.7 is stored as 1023 at depth 10";
  EXPECT_EQ(px.rgbtGreen, 1000);
  EXPECT_EQ(px.rgbtRed, 0);
}

TEST(ColorCorrection, NonFiniteMatricesGiveDefinedResults) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double m[9] = {inf, 0, 0, 0, -inf, 0, nan, 0, 0};
  tagRGBTRIPLE px = {1, 1, 1};
  CorrectBytes(&px, m);
  EXPECT_EQ(px.rgbtBlue, 255);
  EXPECT_EQ(px.rgbtGreen, 0);
  EXPECT_EQ(px.rgbtRed, 0);
  EXPECT_EQ(tavrix::detail::TruncateToInt32(1e300), INT32_MAX);
  EXPECT_EQ(tavrix::detail::TruncateToInt32(-1e300), INT32_MIN);
  EXPECT_EQ(tavrix::detail::TruncateToInt32(-7.9), -7);
  EXPECT_EQ(tavrix::detail::WrapToInt16(51000), 51000 - 65536);
}

}  // namespace
