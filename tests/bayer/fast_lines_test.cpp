// The fast line pass: hand-worked pixels for every origin and variant, the
// region it writes, decimation, the corrected and byte-select kernels.
#include <gtest/gtest.h>

#include "conversion_util.h"

using namespace tavrix_test;

namespace {

// A 4x4 mosaic with distinct values; worked pixel by pixel below.
//   row 0: 10 21 12 23
//   row 1: 30 40 32 42
//   row 2: 14 25 16 27
//   row 3: 34 44 36 46
const std::vector<std::uint16_t> kMosaic4x4 = {10, 21, 12, 23, 30, 40, 32, 42,
                                               14, 25, 16, 27, 34, 44, 36, 46};
constexpr ISize k4x4 = {4, 4};

struct Rgb {
  int b, g, r;
};
struct OriginCase {
  const char *why;
  ePatternOrigin origin;
  Rgb expected[9];  // rows 0..2, columns 0..2, as blue, green, red
};

// BG: at a blue site B = own, G = floor((below + right) / 2), R = diagonal;
// at a green site G = own, B = right, R = below. RG is BG with red and blue
// exchanged; GB and GR likewise.
const OriginCase kOriginCases[] = {
    {"BG rows, then GR rows",
     eOriginBG,
     {{10, 25, 40}, {12, 21, 40}, {12, 27, 42},
      {14, 30, 40}, {16, 28, 40}, {16, 32, 42},
      {14, 29, 44}, {16, 25, 44}, {16, 31, 46}}},
    {"RG rows, then GB rows: BG with red and blue exchanged",
     eOriginRG,
     {{40, 25, 10}, {40, 21, 12}, {42, 27, 12},
      {40, 30, 14}, {40, 28, 16}, {42, 32, 16},
      {44, 29, 14}, {44, 25, 16}, {46, 31, 16}}},
    {"GB rows, then RG rows",
     eOriginGB,
     {{21, 10, 30}, {21, 26, 32}, {23, 12, 32},
      {25, 27, 30}, {25, 40, 32}, {27, 29, 32},
      {25, 14, 34}, {25, 30, 36}, {27, 16, 36}}},
    {"GR rows, then BG rows: GB with red and blue exchanged",
     eOriginGR,
     {{30, 10, 21}, {32, 26, 21}, {32, 12, 23},
      {30, 27, 25}, {32, 40, 25}, {32, 29, 27},
      {34, 14, 25}, {36, 30, 25}, {36, 16, 27}}},
};

TEST(FastLinePass, HandWorkedPixelsForEveryOriginAndVariant) {
  for (const OriginCase &c : kOriginCases) {
    for (Variant v : kAllVariants) {
      SCOPED_TRACE(std::string(c.why) + ", " + Name(v));
      CBayerConverter conv;
      conv.SetPatternOrigin(c.origin);
      const Output out = Convert(conv, v, kMosaic4x4, k4x4);
      const int fourth = RecordBytes(v) == 4 ? 0 : -1;
      for (int r = 0; r < 3; ++r)
        for (int col = 0; col < 3; ++col) {
          const Rgb &e = c.expected[r * 3 + col];
          EXPECT_EQ(out.At(r * 4 + col), (Pixel{e.b, e.g, e.r, fourth})) << r << "," << col;
        }
      // The last column and the last row are never written by the pass; only the
      // 8-bit to 32-bit entry point clears them to zero afterwards.
      for (int i : {3, 7, 11, 12, 13, 14, 15}) {
        if (v == Variant::k8To32) {
          EXPECT_EQ(out.At(i), (Pixel{0, 0, 0, 0})) << i;
        } else {
          EXPECT_TRUE(out.Untouched(i)) << i;
        }
      }
      EXPECT_TRUE(out.GuardIntact());
    }
  }
}

TEST(FastLinePass, UnknownOriginWritesNothingButThe8BitBGRxBorderIsStillCleared) {
  for (Variant v : kAllVariants) {
    SCOPED_TRACE(Name(v));
    CBayerConverter conv;
    conv.SetPatternOrigin(static_cast<ePatternOrigin>(3));
    EXPECT_EQ(conv.GetPatternOrigin(), 3);
    const Output out = Convert(conv, v, kMosaic4x4, k4x4);
    for (int i = 0; i < 16; ++i) {
      const bool border = i % 4 == 3 || i >= 12;
      if (v == Variant::k8To32 && border) {
        EXPECT_EQ(out.At(i), (Pixel{0, 0, 0, 0})) << i;
      } else {
        EXPECT_TRUE(out.Untouched(i)) << i;
      }
    }
  }
}

TEST(FastLinePass, TwelveBitSamplesScaleToEachRecord) {
  // Flat 12-bit frame of 4095 at depth 12: the 24-bit record keeps 4095 >> 4,
  // the 48-bit record the sensor's scale, the 32-bit record the 8-bit table value.
  const std::vector<std::uint16_t> flat(16, 4095);
  const struct {
    Variant v;
    Pixel expected;
  } cases[] = {{Variant::k16To24, {255, 255, 255, -1}},
               {Variant::k16To32, {255, 255, 255, 0}},
               {Variant::k16To48, {4095, 4095, 4095, -1}}};
  for (const auto &c : cases) {
    CBayerConverter conv;
    EXPECT_EQ(Convert(conv, c.v, flat, k4x4, 12).At(5), c.expected) << Name(c.v);
  }
  // A sample of 0x0123 at depth 12 stores 0x12 in 24-bit output: the entry shifted by 4.
  CBayerConverter conv;
  EXPECT_EQ(Convert(conv, Variant::k16To24, std::vector<std::uint16_t>(16, 0x123), k4x4, 12).At(0),
            (Pixel{0x12, 0x12, 0x12, -1}));
}

TEST(FastLinePass, CallerTableSurvivesWhileSettingsStayAndIsLimitedInFortyEightBit) {
  CBayerConverter conv;
  const std::vector<std::uint16_t> flat(16, 7);
  Convert(conv, Variant::k16To48, flat, k4x4, 12);  // builds the 12-bit tables
  conv.GetBlueLUT()[7] = 5000;                      // a caller's curve, beyond 12 bits
  conv.GetRedLUT()[7] = 33;
  Output out = Convert(conv, Variant::k16To48, flat, k4x4, 12);
  EXPECT_EQ(out.At(0), (Pixel{4095, 7, 33, -1}));
  // A different depth rebuilds the tables: the caller's values are gone.
  out = Convert(conv, Variant::k16To48, flat, k4x4, 10);
  EXPECT_EQ(out.At(0), (Pixel{7, 7, 7, -1}));
}

TEST(FastLinePass, SixteenBitSamplesAboveFifteenBitsAverageUnsigned) {
  // Green at a blue site is the mean of 65534 and 65532: index 65533, not a
  // negative one. A caller's table makes the index visible.
  CBayerConverter conv;
  conv.SetPatternOrigin(eOriginBG);
  const std::vector<std::uint16_t> mosaic = {1, 65534, 1, 65534, 65532, 2, 65532, 2,
                                             1, 65534, 1, 65534, 65532, 2, 65532, 2};
  Convert(conv, Variant::k16To48, mosaic, k4x4, 16);
  conv.GetGreenLUT()[65533] = 1234;
  EXPECT_EQ(Convert(conv, Variant::k16To48, mosaic, k4x4, 16).At(0).g, 1234);
}

TEST(FastLinePass, EightAndSixteenBitInputAgreeAtDepthEight) {
  const ISize size = {34, 10};
  const auto mosaic = RandomMosaic(size, 8, 7);
  for (ePatternOrigin origin : kAllOrigins) {
    CBayerConverter conv;
    conv.SetPatternOrigin(origin);
    conv.SetColorBalance(9, -4, 30);
    EXPECT_EQ(Convert(conv, Variant::k8To24, mosaic, size).bytes,
              Convert(conv, Variant::k16To24, mosaic, size, 8).bytes);
    const Output a = Convert(conv, Variant::k8To32, mosaic, size);
    const Output b = Convert(conv, Variant::k16To32, mosaic, size, 8);
    const Output w = Convert(conv, Variant::k16To48, mosaic, size, 8);
    for (std::size_t i = 0; i < a.PixelCount(); ++i) {
      // Only the 8-bit entry point clears the unwritten last column and row.
      const bool border = i % size.width == std::size_t(size.width) - 1 ||
                          i >= std::size_t(size.width) * (size.height - 1);
      if (border) {
        ASSERT_EQ(a.At(i), (Pixel{0, 0, 0, 0}));
        ASSERT_TRUE(b.Untouched(i) && w.Untouched(i));
      } else {
        ASSERT_EQ(a.At(i), b.At(i)) << i;
        ASSERT_EQ(w.At(i), (Pixel{a.At(i).b, a.At(i).g, a.At(i).r, -1})) << i;
      }
    }
  }
}

TEST(FastLinePass, DecimationByTwoTakesEachCellsTopLeftSite) {
  // 8x8 input into a 4x4 output with factor 2: each output pixel is the site
  // formula of the top-left sample of its 2x2 cell (a blue site under BG).
  const ISize in = {8, 8}, out = {4, 4};
  std::vector<std::uint16_t> mosaic(64);
  for (int i = 0; i < 64; ++i) mosaic[i] = std::uint16_t(3 * i);
  CBayerConverter conv;
  conv.SetPatternOrigin(eOriginBG);
  conv.SetSampleFactor(2);
  Output o(Variant::k16To32, out);
   ConvertInto(conv, Variant::k16To32, mosaic, in, o, out);
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      const int p = 2 * r * 8 + 2 * c;  // the cell's top-left sample
      const Pixel expected = {mosaic[p], (mosaic[p + 8] + mosaic[p + 1]) / 2, mosaic[p + 9], 0};
      EXPECT_EQ(o.At(r * 4 + c), expected) << r << "," << c;
    }
  EXPECT_TRUE(o.GuardIntact());
  // The 24-bit and 48-bit outputs ignore the factor and stay full size.
  const Output full = Convert(conv, Variant::k16To24, mosaic, in);
  EXPECT_FALSE(full.Untouched(6 * 8 + 6));
}

TEST(FastLinePass, CorrectedDecimationThinsRowsButWritesEveryColumn) {
  // Factor 2 with correction on: rows 0, 2, 4, 6 each write columns 0..6 (7
  // pixels), packed: 28 pixels into an output of 4 x 8.
  const ISize in = {8, 8}, out = {4, 8};
  const auto mosaic = RandomMosaic(in, 8, 3);
  CBayerConverter plain, corrected;
  corrected.SetColorCorrectionMode(true);
  corrected.SetSampleFactor(2);
  Output o(Variant::k16To32, out);
   ConvertInto(corrected, Variant::k16To32, mosaic, in, o, out);
  const Output full = Convert(plain, Variant::k16To32, mosaic, in);
  for (int row = 0; row < 4; ++row)
    for (int c = 0; c < 7; ++c) EXPECT_EQ(o.At(row * 7 + c), full.At(2 * row * 8 + c));
  for (int i = 28; i < 32; ++i) EXPECT_TRUE(o.Untouched(i));
  // The same walk into a 4x4 output would overrun it: refused.
  Output small(Variant::k16To32, {4, 4});
   ConvertInto(corrected, Variant::k16To32, mosaic, in, small, {4, 4});
  EXPECT_TRUE(small.AllUntouched());
}

TEST(FastLinePass, CorrectedWithIdentityEqualsPlain) {
  const ISize size = {18, 8};
  for (Variant v : kAllVariants) {
    const unsigned short depth = EightBitInput(v) ? 8 : 12;
    const auto mosaic = RandomMosaic(size, depth, 11);
    for (ePatternOrigin origin : kAllOrigins) {
      SCOPED_TRACE(Name(v));
      CBayerConverter plain, corrected;
      plain.SetPatternOrigin(origin);
      corrected.SetPatternOrigin(origin);
      corrected.SetColorCorrectionMode(true);
      EXPECT_EQ(Convert(plain, v, mosaic, size, depth).bytes,
                Convert(corrected, v, mosaic, size, depth).bytes);
    }
  }
}

TEST(FastLinePass, CorrectedValuesTruncateClampAndWrap) {
  const std::vector<std::uint16_t> flat(16, 200);
  const struct {
    const char *why;
    double m0;  // blue-from-blue; the rest of the matrix is the identity
    std::uint16_t sample;
    Variant v;
    unsigned short depth;
    int blue;
  } cases[] = {
      {"1.5 x 200 = 300 clamps to 255", 1.5, 200, Variant::k8To24, 8, 255},
      {"1.5 x 3 = 4.5 truncates to 4", 1.5, 3, Variant::k8To32, 8, 4},
      {"200 x 255 = 51000 wraps negative and stores 0", 200.0, 255, Variant::k8To24, 8, 0},
      {"-1 x 200 stores 0", -1.0, 200, Variant::k8To32, 8, 0},
      {"12-bit: 1.25 x 4000 = 5000 limits to 4095", 1.25, 4000, Variant::k16To48, 12, 4095},
      {"12-bit 24-bit output: 0.5 x 4000 = 2000 >> 4 = 125", 0.5, 4000, Variant::k16To24, 12, 125},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    CBayerConverter conv;
    conv.SetColorCorrectionMode(true);
    CColorMatrix m;
    m.m_matrix[0] = c.m0;
    if (RecordBytes(c.v) == 4) conv.SetCorrectionMatrix(c.m0, 0, 0, 0, 1, 0, 0, 0, 1);
    const Output out =
        Convert(conv, c.v, std::vector<std::uint16_t>(16, c.sample), k4x4, c.depth, 100, m);
    EXPECT_EQ(out.At(0).b, c.blue);
    EXPECT_EQ(out.At(0).g, c.v == Variant::k16To24 ? c.sample >> 4 : c.sample);
  }
}

TEST(FastLinePass, RedFromBlueRowSwapsChannels) {
  // First matrix row (0, 0, 1): blue takes the red value.
  CBayerConverter conv;
  conv.SetPatternOrigin(eOriginBG);
  conv.SetColorCorrectionMode(true);
  CColorMatrix m;
  m.m_matrix[0] = 0;
  m.m_matrix[2] = 1;
  const Output out = Convert(conv, Variant::k8To24, kMosaic4x4, k4x4, 8, 100, m);
  EXPECT_EQ(out.At(0), (Pixel{40, 25, 40, -1}));
}

TEST(ByteSelectLinePass, TakesTheHighOrLowByteOfEachSample) {
  const struct {
    unsigned short format;
    int value;
  } cases[] = {{112, 0x12}, {113, 0x12}, {114, 0x34}, {115, 0x34}};
  for (const auto &c : cases) {
    CBayerConverter conv;
    conv.SetColorCorrectionMode(true);  // has no effect on these kernels
    conv.SetCorrectionMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0);
    const Output out =
        Convert(conv, Variant::k16To32, std::vector<std::uint16_t>(16, 0x1234), k4x4, 12, c.format);
    EXPECT_EQ(out.At(5), (Pixel{c.value, c.value, c.value, 0})) << c.format;
    EXPECT_TRUE(out.Untouched(15));
  }
}

TEST(ByteSelectLinePass, MatchesThePlainKernelOnTheSelectedBytes) {
  const ISize in = {16, 12}, out = {8, 6};
  const auto words = RandomMosaic(in, 16, 5);
  std::vector<std::uint16_t> high(words.size()), low(words.size());
  for (std::size_t i = 0; i < words.size(); ++i) {
    high[i] = words[i] >> 8;
    low[i] = words[i] & 0xFF;
  }
  for (int factor : {1, 2}) {
    const ISize o = factor == 1 ? in : out;
    for (ePatternOrigin origin : kAllOrigins) {
      CBayerConverter conv;
      conv.SetPatternOrigin(origin);
      conv.SetSampleFactor(factor);
      conv.SetColorBalance(3, -2, 0);
      Output selected(Variant::k16To32, o), expected(Variant::k16To32, o);
       ConvertInto(conv, Variant::k16To32, words, in, selected, o, 12, 112);
       ConvertInto(conv, Variant::k16To32, high, in, expected, o, 8, 100);
      EXPECT_EQ(selected.bytes, expected.bytes) << "high byte, factor " << factor;
       ConvertInto(conv, Variant::k16To32, words, in, selected, o, 12, 115);
       ConvertInto(conv, Variant::k16To32, low, in, expected, o, 8, 100);
      EXPECT_EQ(selected.bytes, expected.bytes) << "low byte, factor " << factor;
    }
  }
}

}  // namespace
