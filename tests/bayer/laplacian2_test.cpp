#include <gtest/gtest.h>

#include <vector>

#include "bayer/kernels/site_helpers.h"
#include "site_test_util.h"

using namespace sitetest;

namespace {

constexpr int kThresholds[5] = {0, 69, 170, 250, 255};

TEST(ColorCorrectionTerm, DerivesGradientAndEstimateByRefCount) {
  struct Case {
    const char *why;
    CColorCorrectionTerm term;
    int gradient, estimate;
  };
  const Case cases[] = {
      {"one reference", {100, 20, 0, 0, 0, 1, 30, 0, 0, 0, 1}, 80, 70},
      {"two references", {100, 20, 60, 0, 0, 2, 30, 90, 0, 0, 2}, 120, 90},
      {"two references, one base: Base2 reads 0", {100, 60, 0, 0, 0, 2, 90, 0, 0, 0, 1}, 140, 80},
      {"four references", {10, 1, 2, 3, 4, 4, 8, 8, 8, 9, 4}, 30, 11},
      {"shifts round down", {0, 3, 0, 0, 0, 1, 10, 0, 0, 0, 1}, -3, 8},
      {"sums wrap at 32 bits", {0x7fffffff, -1, 0, 0, 0, 2, 0, 0, 0, 0, 2}, -1, -1},
  };
  for (const Case &c : cases) {
    const CColorCorrectionTerm copy(c.term);  // copying re-derives the same values
    EXPECT_EQ(copy.Gradient, c.gradient) << c.why;
    EXPECT_EQ(copy.Estimate, c.estimate) << c.why;
    EXPECT_EQ(copy.BaseCount, c.term.BaseCount) << c.why;
  }
}

struct Selection {
  const char *why;
  int count;
  std::vector<int> gradients;  // terms 1..n
  int chosen;                  // the term whose estimate (1000 + term) comes back; 0: none
};
const Selection kSelections[] = {
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

TEST(Laplacian2Selector, LevelsAndTies) {
  for (const Selection &s : kSelections) {
    CColorCorrectionTerm t[12];
    for (int k = 1; k <= 11; ++k) {
      t[k].Gradient = k <= int(s.gradients.size()) ? s.gradients[k - 1] : 1000;
      t[k].Estimate = 1000 + k;
    }
    EXPECT_EQ(tavrix::detail::Laplacian2(t, s.count, kThresholds), s.chosen ? 1000 + s.chosen : 0)
        << s.why;
  }
}

TEST(Laplacian2Selector, AbsoluteValueOfTheLow16Bits) {
  const struct {
    int estimate;
    short result;
  } cases[] = {{-5, 5}, {65536 + 7, 7}, {40000, 25536}, {0x18000, -32768}};
  for (const auto &c : cases) {
    CColorCorrectionTerm t[4];
    t[1].Gradient = 0;
    t[1].Estimate = c.estimate;
    EXPECT_EQ(tavrix::detail::Laplacian2(t, 3, kThresholds), c.result) << c.estimate;
  }
}

// Green at the red site (4, 4) under RG from its own sample, the far reds and
// the near greens.
TEST(Laplacian2, GreenAtARedSite) {
  struct Case {
    const char *why;
    int centre, farW, farE, farN, farS, nearW, nearE, nearN, nearS;
    unsigned narrow, wide;
  };
  const Case cases[] = {
      {"the eleven-candidate example: south only", 200, 40, 60, 50, 70, 100, 110, 90, 120, 185,
       185},
      {"west only, built with two references, loses to east (100 + 110)", 200, 190, 100, 40, 40,
       100, 110, 90, 120, 160, 160},
      {"all four: 255 + 1020 >> 3, limited to 255 in bytes", 255, 0, 0, 0, 0, 255, 255, 255, 255,
       255, 382},
  };
  for (const Case &c : cases) {
    Mosaic m(10, 10);
    m.At(4, 4) = c.centre;
    m.At(4, 2) = c.farW, m.At(4, 6) = c.farE, m.At(2, 4) = c.farN, m.At(6, 4) = c.farS;
    m.At(4, 3) = c.nearW, m.At(4, 5) = c.nearE, m.At(3, 4) = c.nearN, m.At(5, 4) = c.nearS;
    for (Out kind : kAllOutputs)
      EXPECT_EQ(ConvertFull(eLaplacian2, eOriginRG, m, kind).At(4, 4, kGreen),
                kind == Out::k48From16 ? c.wide : c.narrow)
          << c.why << ", kind " << int(kind);
  }
}

// Blue at the green site (2, 2) under GB: g 100, side 1 is the frame pixel
// (2, 1) whose green the caller left, side 2 the blue site (2, 3) whose green
// the first pass estimates as 60; the blues there are 30 and 90.
TEST(Laplacian2, GreenSiteReadsTheFrameBesideIt) {
  Mosaic m(8, 8);
  m.At(2, 2) = 100;
  m.At(2, 1) = 30;
  m.At(2, 3) = m.At(2, 5) = m.At(0, 3) = m.At(4, 3) = 90;
  m.At(1, 3) = m.At(3, 3) = m.At(2, 4) = 60;
  const struct {
    unsigned frameGreen, blue;
  } cases[] = {{20, 70},   // both sides fail T1 (120); side 1's gradient 80 beats 140
               {80, 75}};  // both sides: gradient 60 < 69, (30 + 90) / 2 + 60 / 4
  for (const auto &c : cases) {
    CBayerConverter cv;
    cv.SetCalcMode(eLaplacian2);
    Image out(Out::k24From8, 8, 8, 0);
    out.Set(2, 1, kGreen, c.frameGreen);
    Convert(cv, m, out);
    EXPECT_EQ(out.At(2, 3, kGreen), 60u);
    EXPECT_EQ(out.At(2, 2, kBlue), c.blue) << "frame green " << c.frameGreen;
    EXPECT_EQ(out.At(2, 1, kGreen), c.frameGreen);
  }
}

TEST(Laplacian2, FlatGreyWithAGreyFrame) {
  for (ePatternOrigin origin : kOrigins)
    for (Out kind : kAllOutputs) {
      CBayerConverter cv;
      cv.SetCalcMode(eLaplacian2);
      cv.SetPatternOrigin(origin);
      Image out(kind, 10, 8);
      for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 10; ++c)
          for (int ch : {kBlue, kGreen, kRed}) out.Set(r, c, ch, 100);
      Convert(cv, Mosaic(10, 8, 100), out);
      for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 10; ++c)
          for (int ch : {kBlue, kGreen, kRed}) ASSERT_EQ(out.At(r, c, ch), 100u) << r << "," << c;
    }
}

// 12-bit samples into byte channels: at a red or blue site the stored green
// (100) meets neighbour greens on the table's scale (1600), every gradient is
// strongly negative and the mirrored estimate lands far from the flat value.
TEST(Laplacian2, StoredAndTableScalesMix) {
  const Mosaic flat(10, 10, 1600);
  const Image narrow = ConvertFull(eLaplacian2, eOriginRG, flat, Out::k24From16, 12);
  EXPECT_EQ(narrow.At(4, 4, kRed), 100u);  // own value 1600 >> 4
  EXPECT_EQ(narrow.At(4, 4, kGreen), 100u);
  EXPECT_EQ(narrow.At(4, 5, kBlue), 100u);  // green site: only stored greens meet
  EXPECT_EQ(narrow.At(4, 4, kBlue), 40u);   // |100 + (200 - 3200) >> 2| >> 4
  const Image wide = ConvertFull(eLaplacian2, eOriginRG, flat, Out::k48From16, 12);
  for (int ch : {kBlue, kGreen, kRed}) EXPECT_EQ(wide.At(4, 4, ch), 1600u);
}

TEST(Laplacian2, WritesRowsAndColumnsTwoToSizeMinusThree) { ExpectInteriorWrites(eLaplacian2); }

TEST(Laplacian2, VariantsAgree) { ExpectVariantsAgree(eLaplacian2); }

}  // namespace
