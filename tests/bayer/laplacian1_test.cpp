#include <gtest/gtest.h>

#include <vector>

#include "bayer/kernels/site_helpers.h"
#include "site_test_util.h"

using namespace sitetest;

namespace {

TEST(Laplacian1Helpers, RoundTowardMinusInfinity) {
  using tavrix::detail::Laplacian1;
  EXPECT_EQ(Laplacian1(short(0), short(1), short(2)), -1);  // -3 >> 2
  EXPECT_EQ(Laplacian1(short(4), short(1), short(1)), 1);
  EXPECT_EQ(Laplacian1(short(0), short(1), short(1), short(1), short(1)), -1);  // -4 >> 3
  EXPECT_EQ(Laplacian1(short(100), short(0), short(0), short(0), short(0)), 50);
  // A bright centre between darker neighbours raises the mean by 50.
  EXPECT_EQ(Laplacian1(short(200), short(100), short(100)), 50);
}

struct Cell {
  int r, c;
  unsigned v;
};
struct Expected {
  int channel;
  std::vector<Cell> lit;  // every other interior value is 0
};

// One sample of 160 in a 10 x 10 mosaic of zeros under GB (rows G B / R G),
// output prefilled with zeros, 8-bit to 24-bit. Worked by hand.
struct Impulse {
  const char *why;
  int r, c;
  std::vector<Expected> planes;
};
const Impulse kImpulses[] = {
    {"green site: greens around it get a quarter, blue and red a Laplacian of G'", 4, 4,
     {{kGreen, {{4, 4, 160}, {3, 4, 40}, {5, 4, 40}, {4, 3, 40}, {4, 5, 40}}},
      {kBlue, {{4, 4, 60}}},
      {kRed, {{4, 4, 60}}}}},
    {"red site: negative greens clamp to 0, the blue estimate doubles the five-point term", 3, 4,
     {{kGreen, {{3, 4, 80}}},
      {kBlue, {{3, 4, 80}}},
      {kRed,
       {{3, 4, 160}, {3, 3, 60}, {3, 5, 60}, {2, 4, 60}, {4, 4, 60},
        {2, 3, 40}, {2, 5, 40}, {4, 3, 40}, {4, 5, 40}}}}},
};

TEST(Laplacian1, ImpulsesByHand) {
  for (const Impulse &t : kImpulses) {
    SCOPED_TRACE(t.why);
    Mosaic m(10, 10);
    m.At(t.r, t.c) = 160;
    const Image out = ConvertFull(eLaplacian1, eOriginGB, m, Out::k24From8, 8, 0);
    for (const Expected &plane : t.planes)
      for (int r = 2; r < 8; ++r)
        for (int c = 2; c < 8; ++c) {
          unsigned expected = 0;
          for (const Cell &cell : plane.lit)
            if (cell.r == r && cell.c == c) expected = cell.v;
          EXPECT_EQ(out.At(r, c, plane.channel), expected)
              << "channel " << plane.channel << " at " << r << "," << c;
        }
  }
}

// The same red impulse into 48-bit words: negative results wrap instead of
// clamping, and later passes read the wrapped greens back as negative numbers.
TEST(Laplacian1, WideOutputWrapsNegativeSums) {
  Mosaic m(10, 10);
  m.At(3, 4) = 160;
  const Image out = ConvertFull(eLaplacian1, eOriginGB, m, Out::k48From16, 8, 0);
  EXPECT_EQ(out.At(3, 2, kGreen), 65516u);  // -20
  EXPECT_EQ(out.At(5, 4, kGreen), 65516u);
  EXPECT_EQ(out.At(3, 2, kBlue), 65516u);   // 2 x ((4 x -20) >> 3)
  EXPECT_EQ(out.At(3, 3, kRed), 65u);       // 80 + ((0 + 20 - 80) >> 2)
  EXPECT_EQ(out.At(5, 5, kRed), 5u);        // (0 + 20 - 0) >> 2
  EXPECT_EQ(out.At(3, 4, kRed), 160u);
}

TEST(Laplacian1, FlatImageAndTheFrameItReads) {
  for (ePatternOrigin origin : kOrigins) {
    SCOPED_TRACE(testing::Message() << "origin " << origin);
    const Mosaic flat(10, 8, 100);
    // A frame that holds the same grey: every interior value is the sample.
    const Image grey = ConvertFull(eLaplacian1, origin, flat, Out::k24From8, 8, 100);
    // A dark frame shifts only the rows and columns next to it.
    const Image dark = ConvertFull(eLaplacian1, origin, flat, Out::k24From8, 8, 0);
    for (int r = 2; r < 6; ++r)
      for (int c = 2; c < 8; ++c)
        for (int ch : {kBlue, kGreen, kRed}) {
          EXPECT_EQ(grey.At(r, c, ch), 100u);
          if (r >= 3 && r < 5 && c >= 3 && c < 7) {
            EXPECT_EQ(dark.At(r, c, ch), 100u);
          }
        }
  }
  // Under GB the green site (2, 2) averages blue sideways and red vertically;
  // G' of the frame neighbour is 0: 100 + (200 - 0 - 100) >> 2.
  const Image dark = ConvertFull(eLaplacian1, eOriginGB, Mosaic(10, 8, 100), Out::k24From8, 8, 0);
  EXPECT_EQ(dark.At(2, 2, kBlue), 125u);
  EXPECT_EQ(dark.At(2, 2, kRed), 125u);
}

TEST(Laplacian1, WritesRowsAndColumnsTwoToSizeMinusThree) { ExpectInteriorWrites(eLaplacian1); }

TEST(Laplacian1, VariantsAgree) { ExpectVariantsAgree(eLaplacian1); }

}  // namespace
