// The first- and second-order Laplacian passes: helpers and the candidate
// selector, hand-worked values under every origin, the frame they leave and
// read, the 48-bit missing clamp, and agreement between the variants.
#include <gtest/gtest.h>

#include "bayer/kernels/site_helpers.h"
#include "bayer_test_util.h"

using namespace bayer_test;

namespace {

TEST(Laplacian1, HelpersRoundTowardMinusInfinity) {
  using tavrix::detail::Laplacian1;
  EXPECT_EQ(Laplacian1(short(0), short(1), short(2)), -1);  // -3 >> 2
  EXPECT_EQ(Laplacian1(short(0), short(1), short(1), short(1), short(1)), -1);  // -4 >> 3
  EXPECT_EQ(Laplacian1(short(100), short(0), short(0), short(0), short(0)), 50);
  EXPECT_EQ(Laplacian1(short(200), short(100), short(100)), 50);
}

// One sample of 160 in a 10 x 10 mosaic of zeros, worked by hand under GB
// (rows G B / R G) and moved to the same phase under the other origins;
// output prefilled with zeros, 8-bit to 24-bit. Unlisted interior values are 0.
struct Impulse {
  const char *why;
  int r, c;
  std::vector<Cell> lit[3];  // blue, green, red
};
const Impulse kImpulses[] = {
    {"green site: greens around it get a quarter, blue and red a Laplacian of G'", 4, 4,
     {{{4, 4, 60}},
      {{4, 4, 160}, {3, 4, 40}, {5, 4, 40}, {4, 3, 40}, {4, 5, 40}},
      {{4, 4, 60}}}},
    {"red site: negative greens clamp to 0, the blue estimate doubles the five-point term", 3, 4,
     {{{3, 4, 80}},
      {{3, 4, 80}},
      {{3, 4, 160}, {3, 3, 60}, {3, 5, 60}, {2, 4, 60}, {4, 4, 60},
       {2, 3, 40}, {2, 5, 40}, {4, 3, 40}, {4, 5, 40}}}},
};

TEST(Laplacian1, ImpulsesByHandUnderEveryOrigin) {
  for (const Impulse &t : kImpulses)
    for (ePatternOrigin origin : kOrigins) {
      SCOPED_TRACE(testing::Message() << t.why << ", origin " << origin);
      const Shift d = ShiftBetween(eOriginGB, origin);
      Mosaic m(10, 10);
      m.At(t.r + d.r, t.c + d.c) = 160;
      const Image out = ConvertWith(eLaplacian1, origin, m, Out::k24From8, 8, 0);
      for (int ch : {kBlue, kGreen, kRed}) ExpectLit(out, ch, 2, 8, t.lit[ch], d);
    }
}

// The red impulse into 48-bit words: negative results wrap instead of
// clamping, and later passes read the wrapped greens back as negative numbers.
TEST(Laplacian1, WideOutputWrapsNegativeSums) {
  Mosaic m(10, 10);
  m.At(3, 4) = 160;
  const Image out = ConvertWith(eLaplacian1, eOriginGB, m, Out::k48From16, 8, 0);
  EXPECT_EQ(out.At(3, 2, kGreen), 65516u);  // -20
  EXPECT_EQ(out.At(3, 2, kBlue), 65516u);   // 2 x ((4 x -20) >> 3)
  EXPECT_EQ(out.At(3, 3, kRed), 65u);       // 80 + ((0 + 20 - 80) >> 2)
  EXPECT_EQ(out.At(5, 5, kRed), 5u);        // (0 + 20 - 0) >> 2
}

// A flat grey with a frame of the same grey gives the grey everywhere: every
// Laplacian and gradient is 0.
TEST(Laplacian, FlatGreyWithAGreyFrame) {
  for (eCalculationMode mode : {eLaplacian1, eLaplacian2})
    for (ePatternOrigin origin : kOrigins)
      for (Out kind : kAllOutputs) {
        CBayerConverter cv;
        cv.SetCalcMode(mode);
        cv.SetPatternOrigin(origin);
        Image out(kind, {10, 8});
        for (int r = 0; r < 8; ++r)
          for (int c = 0; c < 10; ++c)
            for (int ch : {kBlue, kGreen, kRed}) out.Set(r, c, ch, 100);
        ConvertInto(cv, Mosaic(10, 8, 100), out);
        for (std::size_t i = 0; i < out.Pixels(); ++i)
          for (int ch : {kBlue, kGreen, kRed}) ASSERT_EQ(out.Get(i, ch), 100u) << i;
      }
}

// A dark frame shifts only the first-order results next to it. Under GB the
// green site (2, 2) averages blue sideways and red vertically; G' of the frame
// neighbour is 0: 100 + (200 - 0 - 100) >> 2.
TEST(Laplacian1, DarkFrameShiftsOnlyTheRowsAndColumnsBesideIt) {
  const Image dark = ConvertWith(eLaplacian1, eOriginGB, Mosaic(10, 8, 100), Out::k24From8, 8, 0);
  EXPECT_EQ(dark.Px(2 * 10 + 2), (Pixel{125, 100, 125, -1}));
  for (int i : {3 * 10 + 3, 4 * 10 + 6}) EXPECT_EQ(dark.Px(i), (Pixel{100, 100, 100, -1})) << i;
}

TEST(Laplacian2Selector, CandidatesByRefCount) {
  const struct { const char *why; CColorCorrectionTerm term; int gradient, estimate; } cases[] = {
      {"one reference", {100, 20, 0, 0, 0, 1, 30, 0, 0, 0, 1}, 80, 70},
      {"two references, one base: Base2 reads 0", {100, 60, 0, 0, 0, 2, 90, 0, 0, 0, 1}, 140, 80},
      {"four references", {10, 1, 2, 3, 4, 4, 8, 8, 8, 9, 4}, 30, 11},
      {"shifts round down", {0, 3, 0, 0, 0, 1, 10, 0, 0, 0, 1}, -3, 8},
      {"sums wrap at 32 bits", {0x7fffffff, -1, 0, 0, 0, 2, 0, 0, 0, 0, 2}, -1, -1},
  };
  for (const auto &c : cases) {
    const CColorCorrectionTerm copy(c.term);  // copying re-derives the same values
    EXPECT_EQ(copy.Gradient, c.gradient) << c.why;
    EXPECT_EQ(copy.Estimate, c.estimate) << c.why;
  }
}

TEST(Laplacian2Selector, LevelsTiesAndTheMirroredLow16Bits) {
  const int thresholds[5] = {0, 69, 170, 250, 255};
  // gradients: of terms 1..n, the rest 1000; chosen: the term whose estimate
  // (1000 + term) comes back, 0 for none.
  const struct { const char *why; int count; std::vector<int> gradients; int chosen; } cases[] = {
      {"level 1 tie goes to horizontal", 11, {10, 10}, 1},
      {"negative gradients are small, however large", 11, {100, -5000}, 2},
      {"level 2: first of the smallest", 11, {69, 69, 200, 150, 150, 300}, 4},
      {"level 3: first of the smallest", 11, {69, 69, 170, 170, 170, 170, 260, 249, 100, 100}, 9},
      {"all levels fail: all four", 11, {69, 69, 170, 170, 170, 170, 250, 250, 250, 250, -9}, 11},
      {"count 3: both sides", 3, {68, 0, 0}, 1},
      {"count 3: tie goes to side 2", 3, {69, 90, 90}, 3},
      {"count 3: side 1", 3, {69, 89, 90}, 2},
      {"other counts", 5, {0, 0, 0, 0, 0}, 0},
  };
  for (const auto &s : cases) {
    CColorCorrectionTerm t[12];
    for (int k = 1; k <= 11; ++k) {
      t[k].Gradient = k <= int(s.gradients.size()) ? s.gradients[k - 1] : 1000;
      t[k].Estimate = 1000 + k;
    }
    EXPECT_EQ(tavrix::detail::Laplacian2(t, s.count, thresholds), s.chosen ? 1000 + s.chosen : 0)
        << s.why;
  }
  const struct { int estimate, result; } mirrored[] = {
      {-5, 5}, {65536 + 7, 7}, {40000, 25536}, {0x18000, -32768}};
  for (const auto &c : mirrored) {
    CColorCorrectionTerm t[4];
    t[1].Gradient = 0;
    t[1].Estimate = c.estimate;
    EXPECT_EQ(tavrix::detail::Laplacian2(t, 3, thresholds), c.result) << c.estimate;
  }
}

// Green at the red site (4, 4) under RG, moved to the same phase under the
// other origins, from its own sample, the far reds and the near greens.
TEST(Laplacian2, GreenAtARedSiteUnderEveryOrigin) {
  const struct {
    const char *why;
    int centre, farW, farE, farN, farS, nearW, nearE, nearN, nearS;
    unsigned narrow, wide;
  } cases[] = {
      {"the eleven-candidate example: south only", 200, 40, 60, 50, 70, 100, 110, 90, 120, 185,
       185},
      {"west only, built with two references, loses to east (100 + 110)", 200, 190, 100, 40, 40,
       100, 110, 90, 120, 160, 160},
      {"all four: 255 + 1020 >> 3, limited to 255 in bytes", 255, 0, 0, 0, 0, 255, 255, 255, 255,
       255, 382},
  };
  for (const auto &c : cases)
    for (ePatternOrigin origin : kOrigins) {
      const Shift d = ShiftBetween(eOriginRG, origin);
      const int r = 4 + d.r, col = 4 + d.c;
      Mosaic m(10, 10);
      m.At(r, col) = c.centre;
      m.At(r, col - 2) = c.farW, m.At(r, col + 2) = c.farE, m.At(r - 2, col) = c.farN;
      m.At(r + 2, col) = c.farS, m.At(r, col - 1) = c.nearW, m.At(r, col + 1) = c.nearE;
      m.At(r - 1, col) = c.nearN, m.At(r + 1, col) = c.nearS;
      for (Out kind : kAllOutputs)
        EXPECT_EQ(ConvertWith(eLaplacian2, origin, m, kind).At(r, col, kGreen),
                  kind == Out::k48From16 ? c.wide : c.narrow)
            << c.why << ", origin " << origin << ", " << Name(kind);
    }
}

// Blue at the green site (2, 2) under GB: g 100, side 1 is the frame pixel
// (2, 1) whose green the caller left, side 2 the blue site (2, 3) whose green
// the first pass estimates as 60; the blues there are 30 and 90.
TEST(Laplacian2, GreenSiteReadsTheFrameAndSideTwoHasTwoReferences) {
  Mosaic m(8, 8);
  m.At(2, 2) = 100;
  m.At(2, 1) = 30;
  m.At(2, 3) = m.At(2, 5) = m.At(0, 3) = m.At(4, 3) = 90;
  m.At(1, 3) = m.At(3, 3) = m.At(2, 4) = 60;
  // Frame green 20: both sides fail T1 (120); side 1's 80 beats side 2's 2 x 100 - 60.
  // Frame green 80: both sides, gradient 60 < 69: (30 + 90) / 2 + 60 / 4.
  const struct { unsigned frameGreen, blue; } cases[] = {{20, 70},
               {80, 75}};
  for (const auto &c : cases) {
    CBayerConverter cv;
    cv.SetCalcMode(eLaplacian2);
    Image out(Out::k24From8, m.size, 0);
    out.Set(2, 1, kGreen, c.frameGreen);
    ConvertInto(cv, m, out);
    EXPECT_EQ(out.At(2, 3, kGreen), 60u);
    EXPECT_EQ(out.At(2, 2, kBlue), c.blue) << "frame green " << c.frameGreen;
    EXPECT_EQ(out.At(2, 1, kGreen), c.frameGreen);
  }
}

// 12-bit samples into byte channels: at a red or blue site the stored green
// (100) meets neighbour greens on the table's scale (1600), every gradient is
// strongly negative and the mirrored estimate lands far from the flat value.
TEST(Laplacian2, StoredAndTableScalesMix) {
  const Mosaic flat(10, 10, 1600);
  const Image narrow = ConvertWith(eLaplacian2, eOriginRG, flat, Out::k24From16, 12);
  EXPECT_EQ(narrow.At(4, 4, kRed), 100u);  // own value 1600 >> 4
  EXPECT_EQ(narrow.At(4, 4, kGreen), 100u);
  EXPECT_EQ(narrow.At(4, 5, kBlue), 100u);  // green site: only stored greens meet
  EXPECT_EQ(narrow.At(4, 4, kBlue), 40u);   // |100 + (200 - 3200) >> 2| >> 4
  const Image wide = ConvertWith(eLaplacian2, eOriginRG, flat, Out::k48From16, 12);
  for (int ch : {kBlue, kGreen, kRed}) EXPECT_EQ(wide.At(4, 4, ch), 1600u);
}

TEST(Laplacian, BothOrdersWriteRowsAndColumnsTwoToSizeMinusThree) {
  for (eCalculationMode mode : {eLaplacian1, eLaplacian2})
    for (ePatternOrigin origin : kOrigins)
      for (int size : {4, 8}) {  // a 4 x 4 frame gets nothing
        const Mosaic flat(size, size, 100);
        for (int ch : {kBlue, kGreen, kRed})
          EXPECT_EQ(WriteMap(mode, origin, flat, Out::k24From8, ch), Region(size, 2));
        EXPECT_EQ(WriteMap(mode, origin, flat, Out::k32From8, kFourth), Region(size, 2));
      }
}

TEST(Laplacian, VariantsAgree) {
  ExpectVariantsAgree(eLaplacian1);
  ExpectVariantsAgree(eLaplacian2);
}

}  // namespace
