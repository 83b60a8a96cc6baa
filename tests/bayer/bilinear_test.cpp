// The per-site bilinear passes: hand-worked impulses for every origin (with
// the red and blue passes' odd directions), the regions and fourth bytes they
// write, the packed decimating walk, and agreement between the variants.
#include <gtest/gtest.h>

#include "bayer/kernels/site_helpers.h"
#include "bayer_test_util.h"

using namespace bayer_test;

namespace {

TEST(Bilinear, HelpersTakeTheFloorOfTheMean) {
  using tavrix::detail::Bilinear;
  EXPECT_EQ(Bilinear(short(-3), short(0)), -2);
  EXPECT_EQ(Bilinear(short(3), short(0)), 1);
  EXPECT_EQ(Bilinear(short(1), short(1), short(1), short(2)), 1);
  EXPECT_EQ(Bilinear(short(-32768), short(-32768)), -32768);
}

// One sample of 200 in an 8 x 8 mosaic of zeros, 8-bit to 24-bit: the channel
// of one pass is 0 everywhere it writes except at the cells listed.
struct Impulse {
  const char *why;
  ePatternOrigin origin;
  int channel, r, c;
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
    const Image out = ConvertWith(eBilinear, t.origin, m, Out::k24From8);
    const int margin = t.channel == kGreen ? 2 : 1;
    ExpectLit(out, t.channel, margin, 8 - margin, t.lit);
  }
}

TEST(Bilinear, RedAndBlueLeaveAOnePixelFrameGreenTwo) {
  for (int size : {4, 8})  // a 4 x 4 frame gets no green at all
    for (ePatternOrigin origin : kOrigins)
      for (int ch : {kBlue, kGreen, kRed})
        EXPECT_EQ(WriteMap(eBilinear, origin, Mosaic(size, size, 100), Out::k24From8, ch),
                  Region(size, ch == kGreen ? 2 : 1));
  // Only the decimating cases zero the fourth byte; the others keep the buffer's.
  // margin 1: every pass zeroes it, 2: only green does, 8: none.
  const struct { Out kind; ePatternOrigin origin; int margin; } cases[] = {
      {Out::k32From8, eOriginGB, 2}, {Out::k32From8, eOriginGR, 1},
               {Out::k32From8, eOriginBG, 8},  {Out::k32From8, eOriginRG, 8},
               {Out::k32From16, eOriginGB, 1}, {Out::k32From16, eOriginRG, 1}};
  for (const auto &c : cases)
    EXPECT_EQ(WriteMap(eBilinear, c.origin, Mosaic(8, 8, 100), c.kind, kFourth),
              Region(8, c.margin)) << Name(c.kind) << ", origin " << c.origin;
}

TEST(Bilinear, TwelveBitSamplesKeepTheLowByteIn24BitOutput) {
  const Image low = ConvertWith(eBilinear, eOriginGB, Mosaic(8, 8, 300), Out::k24From16, 12);
  EXPECT_EQ(low.Px(3 * 8 + 3), (Pixel{300 & 0xFF, 300 & 0xFF, 300 & 0xFF, -1}));
}

// 32-bit output, sample factor f: every f-th visited position, counted on across
// rows r with r mod f = 0, packed from pixel margin * (outWidth + 1) with
// 2 * margin pixels skipped after each row, holds the value the full
// conversion has there; nothing else is written.
TEST(Bilinear, DecimatedPassesStoreEveryFactorthPositionPacked) {
  const Mosaic m = RandomMosaic(12, 10, 8, 7);
  for (ePatternOrigin origin : kOrigins)
    for (int factor : {2, 3}) {
      SCOPED_TRACE(testing::Message() << "origin " << origin << " factor " << factor);
      const Image full = ConvertWith(eBilinear, origin, m, Out::k32From16);
      CBayerConverter cv;
      cv.SetCalcMode(eBilinear);
      cv.SetPatternOrigin(origin);
      cv.SetSampleFactor(factor);
      Image packed(Out::k32From16, {6, 6});
      ConvertInto(cv, m, packed);
      std::vector<bool> any(36);
      for (int ch : {kBlue, kGreen, kRed}) {
        std::vector<bool> written(36);
        const int margin = ch == kGreen ? 2 : 1;
        int o = margin * (6 + 1), k = 0;
        for (int r = margin; r < 10 - margin; ++r) {
          if (r % factor) continue;
          for (int c = margin; c < 12 - margin; ++c, ++k)
            if (k % factor == 0) {
              EXPECT_EQ(packed.Get(o, ch), full.At(r, c, ch)) << r << "," << c;
              written[o] = any[o] = true;
              ++o;
            }
          o += 2 * margin;
        }
        for (int i = 0; i < 36; ++i)
          if (!written[i]) { EXPECT_EQ(packed.Get(i, ch), 0xA5u) << i; }
      }
      for (int i = 0; i < 36; ++i) EXPECT_EQ(packed.Get(i, kFourth), any[i] ? 0u : 0xA5u);
      EXPECT_TRUE(packed.GuardIntact());
    }
}

TEST(Bilinear, RefusesWalksThatWouldLeaveTheOutput) {
  const struct { const char *why; Out kind; int outSize; } cases[] = {
      {"packed walk longer than the output", Out::k32From16, 4},
               {"8-bit GB blue pass does not decimate: needs a full output", Out::k32From8, 6}};
  for (const auto &c : cases) {
    CBayerConverter cv;
    cv.SetCalcMode(eBilinear);
    cv.SetSampleFactor(2);
    Image out(c.kind, {c.outSize, c.outSize});
    ConvertInto(cv, Mosaic(8, 8, 100), out);
    EXPECT_TRUE(out.AllUntouched()) << c.why;
  }
}

TEST(Bilinear, VariantsAgree) {
  ExpectVariantsAgree(eBilinear);
  // Without an output shift the 48-bit words carry the bytes of the 24-bit output.
  const Mosaic m = RandomMosaic(10, 8, 8, 3);
  for (ePatternOrigin origin : kOrigins) {
    const Image narrow = ConvertWith(eBilinear, origin, m, Out::k24From8);
    const Image wide = ConvertWith(eBilinear, origin, m, Out::k48From16);
    for (std::size_t i = 0; i < narrow.Pixels(); ++i)
      for (int ch : {kBlue, kGreen, kRed})
        EXPECT_EQ(wide.Get(i, ch) == 0xA5A5 ? 0xA5 : wide.Get(i, ch), narrow.Get(i, ch)) << i;
  }
}

}  // namespace
