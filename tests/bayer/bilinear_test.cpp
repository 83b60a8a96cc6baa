#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bayer/kernels/site_helpers.h"
#include "site_test_util.h"

using namespace sitetest;

namespace {

TEST(BilinearHelpers, FloorOfTheMean) {
  using tavrix::detail::Bilinear;
  EXPECT_EQ(Bilinear(short(-3), short(0)), -2);
  EXPECT_EQ(Bilinear(short(3), short(0)), 1);
  EXPECT_EQ(Bilinear(short(1), short(1), short(1), short(2)), 1);
  EXPECT_EQ(Bilinear(short(-1), short(0), short(0), short(0)), -1);
  EXPECT_EQ(Bilinear(short(-32768), short(-32768)), -32768);
}

// One sample of 200 in a mosaic of zeros, 8-bit to 24-bit: the channel of one
// pass is 0 everywhere it writes except at the cells listed.
struct Cell {
  int r, c;
  unsigned v;
};
struct Impulse {
  const char *why;
  ePatternOrigin origin;
  int channel;
  int r, c;
  std::vector<Cell> lit;
};
const Impulse kImpulses[] = {
    {"red site: copy, H, D", eOriginGB, kRed, 3, 2,
     {{3, 2, 200}, {3, 1, 100}, {3, 3, 100}, {2, 1, 50}, {2, 3, 50}, {4, 1, 50}, {4, 3, 50}}},
    {"red pass averages the blues beside the greens of blue rows", eOriginGB, kRed, 2, 3,
     {{2, 2, 100}, {2, 4, 100}}},
    {"red pass, GR: blues above and below the greens of red rows", eOriginGR, kRed, 3, 2,
     {{2, 2, 100}, {4, 2, 100}}},
    {"red site under RG: copy, V, D", eOriginRG, kRed, 2, 2,
     {{2, 2, 200}, {1, 2, 100}, {3, 2, 100}, {1, 1, 50}, {1, 3, 50}, {3, 1, 50}, {3, 3, 50}}},
    {"red pass, RG: blues above and below the greens of red rows", eOriginRG, kRed, 1, 3,
     {{2, 3, 100}}},
    {"red pass, BG: blues beside the greens of blue rows", eOriginBG, kRed, 2, 2,
     {{2, 1, 100}, {2, 3, 100}}},
    {"blue site under RG: copy, H, V, D", eOriginRG, kBlue, 1, 3,
     {{1, 3, 200}, {1, 2, 100}, {1, 4, 100}, {2, 3, 100}, {2, 2, 50}, {2, 4, 50}}},
    {"blue pass, BG: reds above and below the greens of blue rows", eOriginBG, kBlue, 3, 3,
     {{2, 3, 100}, {4, 3, 100}}},
    {"blue site under GR: copy, H, V, D", eOriginGR, kBlue, 3, 2,
     {{3, 2, 200}, {3, 1, 100}, {3, 3, 100}, {2, 2, 100}, {4, 2, 100},
      {2, 1, 50}, {2, 3, 50}, {4, 1, 50}, {4, 3, 50}}},
    {"blue site under GB: copy, H, V, D", eOriginGB, kBlue, 2, 3,
     {{2, 3, 200}, {2, 2, 100}, {2, 4, 100}, {1, 3, 100}, {3, 3, 100},
      {1, 2, 50}, {1, 4, 50}, {3, 2, 50}, {3, 4, 50}}},
    {"green under GB: copy and cross", eOriginGB, kGreen, 3, 3,
     {{3, 3, 200}, {2, 3, 50}, {4, 3, 50}, {3, 2, 50}, {3, 4, 50}}},
    {"green under BG: copy and cross", eOriginBG, kGreen, 2, 3,
     {{2, 3, 200}, {2, 2, 50}, {2, 4, 50}, {3, 3, 50}}},
};

TEST(Bilinear, ImpulsesSpreadByTheTabulatedEstimates) {
  for (const Impulse &t : kImpulses) {
    SCOPED_TRACE(t.why);
    Mosaic m(8, 8);
    m.At(t.r, t.c) = 200;
    const Image out = ConvertFull(eBilinear, t.origin, m, Out::k24From8);
    const int margin = t.channel == kGreen ? 2 : 1;
    for (int r = margin; r < 8 - margin; ++r)
      for (int c = margin; c < 8 - margin; ++c) {
        unsigned expected = 0;
        for (const Cell &cell : t.lit)
          if (cell.r == r && cell.c == c) expected = cell.v;
        EXPECT_EQ(out.At(r, c, t.channel), expected) << "at " << r << "," << c;
      }
  }
}

std::vector<std::string> Region(int size, int margin) {
  std::vector<std::string> map(size, std::string(size, '.'));
  for (int r = margin; r < size - margin; ++r)
    for (int c = margin; c < size - margin; ++c) map[r][c] = 'w';
  return map;
}

TEST(Bilinear, RedAndBlueLeaveOnePixelGreenTwo) {
  for (int size : {4, 8})
    for (ePatternOrigin origin : kOrigins) {
      const Mosaic flat(size, size, 100);
      EXPECT_EQ(WriteMap(eBilinear, origin, flat, Out::k24From8, kBlue), Region(size, 1));
      EXPECT_EQ(WriteMap(eBilinear, origin, flat, Out::k24From8, kRed), Region(size, 1));
      // A 4 x 4 frame gets no green at all.
      EXPECT_EQ(WriteMap(eBilinear, origin, flat, Out::k24From8, kGreen), Region(size, 2));
    }
}

// Only the decimating cases zero the fourth byte; the others keep the buffer's.
TEST(Bilinear, FourthByteOnlyWhereThePassDecimates) {
  struct Case {
    Out kind;
    ePatternOrigin origin;
    int margin;  // 1: every pass zeroes it, 2: only green does, 0: none
  };
  const Case cases[] = {{Out::k32From8, eOriginGB, 2},  {Out::k32From8, eOriginGR, 1},
                        {Out::k32From8, eOriginBG, 0},  {Out::k32From8, eOriginRG, 0},
                        {Out::k32From16, eOriginGB, 1}, {Out::k32From16, eOriginGR, 1},
                        {Out::k32From16, eOriginBG, 1}, {Out::k32From16, eOriginRG, 1}};
  for (const Case &c : cases) {
    const std::vector<std::string> expected =
        c.margin ? Region(8, c.margin) : std::vector<std::string>(8, std::string(8, '.'));
    EXPECT_EQ(WriteMap(eBilinear, c.origin, Mosaic(8, 8, 100), c.kind, 3), expected)
        << "origin " << c.origin;
  }
}

TEST(Bilinear, VariantValueRules) {
  // 24-bit output from 12-bit samples keeps the low byte of the sensor-scale value.
  const Image low = ConvertFull(eBilinear, eOriginGB, Mosaic(8, 8, 300), Out::k24From16, 12);
  // 48-bit output: a 16-bit sample of 40000 indexes its own entry, as a neighbour too.
  const Image wide = ConvertFull(eBilinear, eOriginGB, Mosaic(8, 8, 40000), Out::k48From16, 16);
  for (int ch : {kBlue, kGreen, kRed}) {
    EXPECT_EQ(low.At(3, 3, ch), 300u & 0xFF);
    EXPECT_EQ(wide.At(3, 3, ch), 40000u);
  }
}

// 32-bit output, sample factor f: every f-th visited position, counted on across
// rows r with r mod f = 0, packed from pixel m * (outWidth + 1) with 2m pixels
// skipped after each row, holds the value the full conversion has there.
TEST(Bilinear, DecimatedPassesStoreEveryFactorthPositionPacked) {
  const Mosaic m = RandomMosaic(12, 10, 255, 7);
  for (ePatternOrigin origin : kOrigins)
    for (int factor : {2, 3}) {
      SCOPED_TRACE(testing::Message() << "origin " << origin << " factor " << factor);
      const Image full = ConvertFull(eBilinear, origin, m, Out::k32From16);
      CBayerConverter cv;
      cv.SetCalcMode(eBilinear);
      cv.SetPatternOrigin(origin);
      cv.SetSampleFactor(factor);
      Image packed(Out::k32From16, 6, 6);
      Convert(cv, m, packed);
      for (int ch : {kBlue, kGreen, kRed}) {
        const int margin = ch == kGreen ? 2 : 1;
        int o = margin * (6 + 1), k = 0;
        for (int r = margin; r < m.height - margin; ++r) {
          if (r % factor) continue;
          for (int c = margin; c < m.width - margin; ++c, ++k)
            if (k % factor == 0) {
              EXPECT_EQ(packed.Get(o, ch), full.At(r, c, ch)) << r << "," << c;
              EXPECT_EQ(packed.Fourth(o++), 0u);
            }
          o += 2 * margin;
        }
      }
    }
}

TEST(Bilinear, DecimatedWalkWritesExactlyItsPackedPixels) {
  CBayerConverter cv;
  cv.SetCalcMode(eBilinear);
  cv.SetSampleFactor(2);
  Image out(Out::k32From16, 6, 6);
  Convert(cv, Mosaic(8, 8, 100), out);
  const std::vector<int> redBlue = {7, 8, 9, 12, 13, 14, 17, 18, 19}, green = {14, 15, 20, 21};
  auto in = [](const std::vector<int> &set, int i) {
    for (int v : set)
      if (v == i) return true;
    return false;
  };
  for (int i = 0; i < 36; ++i) {
    EXPECT_EQ(out.Get(i, kBlue), in(redBlue, i) ? 100u : kSentinel) << i;
    EXPECT_EQ(out.Get(i, kRed), in(redBlue, i) ? 100u : kSentinel) << i;
    EXPECT_EQ(out.Get(i, kGreen), in(green, i) ? 100u : kSentinel) << i;
  }
}

TEST(Bilinear, RefusesWalksThatWouldLeaveTheOutput) {
  struct Case {
    const char *why;
    Out kind;
    ePatternOrigin origin;
    int outSize;
  };
  const Case cases[] = {
      {"packed walk longer than the output", Out::k32From16, eOriginGB, 4},
      {"8-bit GB blue pass does not decimate: needs a full output", Out::k32From8, eOriginGB, 6},
  };
  for (const Case &c : cases) {
    CBayerConverter cv;
    cv.SetCalcMode(eBilinear);
    cv.SetPatternOrigin(c.origin);
    cv.SetSampleFactor(2);
    Image out(c.kind, c.outSize, c.outSize);
    const Image before = out;
    Convert(cv, Mosaic(8, 8, 100), out);
    EXPECT_EQ(out.words, before.words) << c.why;
  }
}

// Run under the sanitizers: every buffer is exactly the size the arguments
// describe, so a walk that left it would be reported.
TEST(Bilinear, AnySizesAndFactorsStayInsideTheBuffers) {
  for (Out kind : {Out::k32From8, Out::k32From16})
    for (ePatternOrigin origin : kOrigins) {
      CBayerConverter cv;
      cv.SetCalcMode(eBilinear);
      cv.SetPatternOrigin(origin);
      for (int factor = 1; factor <= 5; ++factor) {
        cv.SetSampleFactor(factor);
        for (int inW : {4, 6, 10})
          for (int inH : {4, 8})
            for (int outW = 4; outW <= 10; outW += 2)
              for (int outH = 4; outH <= 8; outH += 2) {
                Image out(kind, outW, outH);
                Convert(cv, RandomMosaic(inW, inH, 255, factor), out);
              }
      }
    }
}

TEST(Bilinear, VariantsAgree) {
  ExpectVariantsAgree(eBilinear);
  // Without an output shift the 48-bit words carry the bytes of the 24-bit output.
  const Mosaic m = RandomMosaic(10, 8, 255, 3);
  for (ePatternOrigin origin : kOrigins) {
    const Image narrow = ConvertFull(eBilinear, origin, m, Out::k24From8);
    const Image wide = ConvertFull(eBilinear, origin, m, Out::k48From16);
    for (int ch : {kBlue, kGreen, kRed}) {
      const int margin = ch == kGreen ? 2 : 1;
      for (int r = margin; r < 8 - margin; ++r)
        for (int c = margin; c < 10 - margin; ++c)
          EXPECT_EQ(wide.At(r, c, ch), narrow.At(r, c, ch));
    }
  }
}

}  // namespace
