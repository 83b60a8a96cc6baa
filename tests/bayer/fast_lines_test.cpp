// The fast line passes (plain, corrected, byte-select): hand-worked pixels for
// every origin and record, the region written, decimation, and agreement
// between the variants.
#include <gtest/gtest.h>

#include "bayer/color_correction.h"
#include "bayer_test_util.h"

using namespace bayer_test;

namespace {

// A 4x4 mosaic with distinct values; worked pixel by pixel below.
//   row 0: 10 21 12 23
//   row 1: 30 40 32 42
//   row 2: 14 25 16 27
//   row 3: 34 44 36 46
const Mosaic kMosaic4x4(4, 4, 0, {10, 21, 12, 23, 30, 40, 32, 42, 14, 25, 16, 27, 34, 44, 36, 46});

// BG: at a blue site B = own, G = floor((below + right) / 2), R = diagonal;
// at a green site G = own, B = right, R = below. RG is BG with red and blue
// exchanged; GB and GR likewise. Rows 0..2, columns 0..2 as blue, green, red.
struct OriginCase {
  const char *why;
  ePatternOrigin origin;
  int expected[9][3];
};
const OriginCase kOriginCases[] = {
    {"BG rows, then GR rows", eOriginBG,
     {{10, 25, 40}, {12, 21, 40}, {12, 27, 42}, {14, 30, 40}, {16, 28, 40}, {16, 32, 42},
      {14, 29, 44}, {16, 25, 44}, {16, 31, 46}}},
    {"RG: BG with red and blue exchanged", eOriginRG,
     {{40, 25, 10}, {40, 21, 12}, {42, 27, 12}, {40, 30, 14}, {40, 28, 16}, {42, 32, 16},
      {44, 29, 14}, {44, 25, 16}, {46, 31, 16}}},
    {"GB rows, then RG rows", eOriginGB,
     {{21, 10, 30}, {21, 26, 32}, {23, 12, 32}, {25, 27, 30}, {25, 40, 32}, {27, 29, 32},
      {25, 14, 34}, {25, 30, 36}, {27, 16, 36}}},
    {"GR: GB with red and blue exchanged", eOriginGR,
     {{30, 10, 21}, {32, 26, 21}, {32, 12, 23}, {30, 27, 25}, {32, 40, 25}, {32, 29, 27},
      {34, 14, 25}, {36, 30, 25}, {36, 16, 27}}},
    {"an unassigned origin writes nothing", ePatternOrigin(3), {}},
};

TEST(FastLinePass, HandWorkedPixelsForEveryOriginAndRecord) {
  for (const OriginCase &c : kOriginCases)
    for (Out kind : kAllOutputs) {
      SCOPED_TRACE(std::string(c.why) + ", " + Name(kind));
      CBayerConverter conv;
      conv.SetPatternOrigin(c.origin);
      const Image out = Convert(conv, kMosaic4x4, kind);
      for (int i = 0; i < 16; ++i) {
        const int r = i / 4, col = i % 4;
        // The pass never writes the last column and row; only the 8-bit to
        // 32-bit entry point clears them afterwards, whatever the origin.
        if (r == 3 || col == 3) {
          if (kind == Out::k32From8) EXPECT_EQ(out.Px(i), (Pixel{0, 0, 0, 0})) << i;
          else EXPECT_TRUE(out.Untouched(i)) << i;
        } else if (c.origin == ePatternOrigin(3)) {
          EXPECT_TRUE(out.Untouched(i)) << i;
        } else {
          const int *e = c.expected[r * 3 + col];
          EXPECT_EQ(out.Px(i), (Pixel{e[0], e[1], e[2], Is32(kind) ? 0 : -1})) << i;
        }
      }
      EXPECT_TRUE(out.GuardIntact());
    }
}

TEST(FastLinePass, SampleScalePerRecord) {
  const struct { const char *why; Out kind; unsigned sample; Pixel expected; } cases[] = {
      {"24-bit keeps the top 8 of 12 bits", Out::k24From16, 4095, {255, 255, 255, -1}},
      {"0x123 at depth 12 stores 0x12", Out::k24From16, 0x123, {0x12, 0x12, 0x12, -1}},
      {"32-bit takes the 8-bit table value", Out::k32From16, 4095, {255, 255, 255, 0}},
      {"48-bit keeps the sensor's scale", Out::k48From16, 4095, {4095, 4095, 4095, -1}},
  };
  for (const auto &c : cases) {
    CBayerConverter conv;
    EXPECT_EQ(Convert(conv, Mosaic(4, 4, c.sample), c.kind, 12).Px(5), c.expected) << c.why;
  }
  // Green at a blue site averages 65534 and 65532 unsigned: index 65533, which
  // a caller's table makes visible.
  CBayerConverter conv;
  conv.SetPatternOrigin(eOriginBG);
  const Mosaic high(4, 4, 0, {1, 65534, 1, 65534, 65532, 2, 65532, 2,
                              1, 65534, 1, 65534, 65532, 2, 65532, 2});
  Convert(conv, high, Out::k48From16, 16);
  conv.GetGreenLUT()[65533] = 1234;
  EXPECT_EQ(Convert(conv, high, Out::k48From16, 16).Px(0).g, 1234);
}

TEST(FastLinePass, EightAndSixteenBitInputAgreeAtDepthEight) {
  const Mosaic m = RandomMosaic(34, 10, 8, 7);
  for (ePatternOrigin origin : kOrigins) {
    CBayerConverter conv;
    conv.SetPatternOrigin(origin);
    conv.SetColorBalance(9, -4, 30);
    EXPECT_EQ(Convert(conv, m, Out::k24From8).words, Convert(conv, m, Out::k24From16).words);
    const Image a = Convert(conv, m, Out::k32From8), b = Convert(conv, m, Out::k32From16),
                w = Convert(conv, m, Out::k48From16);
    for (std::size_t i = 0; i < a.Pixels(); ++i) {
      if (i % 34 == 33 || i >= 34 * 9) {  // cleared by the 8-bit entry point only
        ASSERT_TRUE(b.Untouched(i) && w.Untouched(i));
        continue;
      }
      ASSERT_EQ(a.Px(i), b.Px(i)) << i;
      ASSERT_EQ(w.Px(i), (Pixel{a.Px(i).b, a.Px(i).g, a.Px(i).r, -1})) << i;
    }
  }
}

TEST(FastLinePass, DecimationTakesEachCellsTopLeftSite) {
  const Mosaic m = RandomMosaic(8, 8, 12, 4);
  for (ePatternOrigin origin : kOrigins) {
    CBayerConverter conv;
    conv.SetPatternOrigin(origin);
    const Image full = Convert(conv, m, Out::k32From16, 12);
    conv.SetSampleFactor(2);
    Image half(Out::k32From16, {4, 4});
    ConvertInto(conv, m, half, 12);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(half.Px(i), full.Px(16 * (i / 4) + 2 * (i % 4))) << i;
    EXPECT_TRUE(half.GuardIntact());
    EXPECT_FALSE(Convert(conv, m, Out::k24From16, 12).Untouched(6 * 8 + 6)) << "24-bit: no factor";
  }
}

TEST(FastLinePass, CorrectedDecimationThinsRowsButWritesEveryColumn) {
  // Rows 0, 2, 4, 6 each write columns 0..6, packed: 28 pixels of a 4 x 8 output.
  const Mosaic m = RandomMosaic(8, 8, 8, 3);
  CBayerConverter plain, corrected;
  corrected.SetColorCorrectionMode(true);
  corrected.SetSampleFactor(2);
  const Image full = Convert(plain, m, Out::k32From16);
  Image packed(Out::k32From16, {4, 8});
  ConvertInto(corrected, m, packed);
  for (int i = 0; i < 28; ++i) EXPECT_EQ(packed.Px(i), full.Px(16 * (i / 7) + i % 7)) << i;
  for (int i = 28; i < 32; ++i) EXPECT_TRUE(packed.Untouched(i));
  Image small(Out::k32From16, {4, 4});  // the same walk would overrun it: refused
  ConvertInto(corrected, m, small);
  EXPECT_TRUE(small.AllUntouched());
}

TEST(FastLinePass, CorrectedWithIdentityEqualsPlain) {
  for (Out kind : kAllOutputs)
    for (ePatternOrigin origin : kOrigins) {
      const unsigned short depth = From8(kind) ? 8 : 12;
      const Mosaic m = RandomMosaic(18, 8, depth, 11);
      CBayerConverter plain, corrected;
      plain.SetPatternOrigin(origin);
      corrected.SetPatternOrigin(origin);
      corrected.SetColorCorrectionMode(true);
      EXPECT_EQ(Convert(plain, m, kind, depth).words, Convert(corrected, m, kind, depth).words)
          << Name(kind);
    }
}

TEST(FastLinePass, CorrectedValuesTruncateClampAndWrap) {
  // m0: blue-from-blue; the rest of the matrix is the identity.
  const struct { const char *why; double m0; unsigned sample; Out kind; int depth, blue; }
      cases[] = {
      {"1.5 x 200 = 300 clamps to 255", 1.5, 200, Out::k24From8, 8, 255},
      {"1.5 x 3 = 4.5 truncates to 4", 1.5, 3, Out::k32From8, 8, 4},
      {"200 x 255 = 51000 wraps negative and stores 0", 200.0, 255, Out::k24From8, 8, 0},
      {"-1 x 200 stores 0", -1.0, 200, Out::k32From8, 8, 0},
      {"12-bit: 1.25 x 4000 = 5000 limits to 4095", 1.25, 4000, Out::k48From16, 12, 4095},
      {"12-bit 24-bit output: 0.5 x 4000 = 2000 >> 4 = 125", 0.5, 4000, Out::k24From16, 12, 125},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    CBayerConverter conv;
    conv.SetColorCorrectionMode(true);
    CColorMatrix m;  // the 32-bit entry points take the converter's matrix instead
    m.m_matrix[0] = c.m0;
    conv.SetCorrectionMatrix(c.m0, 0, 0, 0, 1, 0, 0, 0, 1);
    const Image out = Convert(conv, Mosaic(4, 4, c.sample), c.kind, c.depth, 100, m);
    EXPECT_EQ(out.Px(0).b, c.blue);
    EXPECT_EQ(out.Px(0).g, int(c.kind == Out::k24From16 ? c.sample >> 4 : c.sample));
  }
}

// The correction that follows the per-site modes, one pixel at a time.
TEST(ColorCorrection, TruncatesClampsAndReadsTheValuesBeforeCorrection) {
  const struct { const char *why; double m[9]; int in[3], expected[3]; } cases[] = {
      {"4.5 truncates, 300 clamps", {1.5, 0, 0, 0, 1.5, 0, 0, 0, 1}, {3, 200, 2}, {4, 255, 2}},
      {"channels use the values before correction", {0, 1, 0, 1, 0, 0, 0, 0, 1}, {10, 20, 30},
       {20, 10, 30}},
      {"a negative result stores 0", {1, -2, 0, 0, 1, 0, 0, 0, 1}, {10, 20, 30}, {0, 20, 30}},
  };
  for (const auto &c : cases) {
    tagRGBTRIPLE px = {std::uint8_t(c.in[0]), std::uint8_t(c.in[1]), std::uint8_t(c.in[2])};
    tavrix::detail::CorrectBytes(&px, c.m);
    EXPECT_EQ((Pixel{px.rgbtBlue, px.rgbtGreen, px.rgbtRed, -1}),
              (Pixel{c.expected[0], c.expected[1], c.expected[2], -1})) << c.why;
  }
  CBayerConverter::RGBTRIPLE16 wide = {1024, 1000, 5};
  const double m[9] = {1.0007, 0, 0, 0, 1, 0, -1, 0, 0};
  tavrix::detail::CorrectWords(&wide, m, (1 << 10) - 1);
  EXPECT_EQ(wide.rgbtBlue, 1023) << "1024.7 clamps to the depth";
  EXPECT_EQ(wide.rgbtRed, 0);
}

TEST(ByteSelectLinePass, TakesTheHighOrLowByteOfEachSample) {
  const struct { unsigned short format; int value; } cases[] = {
      {112, 0x12}, {113, 0x12}, {114, 0x34}, {115, 0x34}};
  for (const auto &c : cases) {
    CBayerConverter conv;
    conv.SetColorCorrectionMode(true);  // has no effect on these kernels
    conv.SetCorrectionMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0);
    const Image out = Convert(conv, Mosaic(4, 4, 0x1234), Out::k32From16, 12, c.format);
    EXPECT_EQ(out.Px(5), (Pixel{c.value, c.value, c.value, 0})) << c.format;
    EXPECT_TRUE(out.Untouched(15));
  }
}

TEST(ByteSelectLinePass, MatchesThePlainKernelOnTheSelectedBytes) {
  const Mosaic words = RandomMosaic(16, 12, 16, 5);
  Mosaic high = words, low = words;
  for (std::size_t i = 0; i < words.samples.size(); ++i) {
    high.samples[i] = words.samples[i] >> 8;
    low.samples[i] = words.samples[i] & 0xFF;
  }
  for (int factor : {1, 2})
    for (ePatternOrigin origin : kOrigins) {
      CBayerConverter conv;
      conv.SetPatternOrigin(origin);
      conv.SetSampleFactor(factor);
      conv.SetColorBalance(3, -2, 0);
      const ISize size = {16 / factor, 12 / factor};
      Image selected(Out::k32From16, size), plain(Out::k32From16, size);
      ConvertInto(conv, words, selected, 12, 112);
      ConvertInto(conv, high, plain, 8, 100);
      EXPECT_EQ(selected.words, plain.words) << "high byte, factor " << factor;
      ConvertInto(conv, words, selected, 12, 115);
      ConvertInto(conv, low, plain, 8, 100);
      EXPECT_EQ(selected.words, plain.words) << "low byte, factor " << factor;
    }
}

}  // namespace
