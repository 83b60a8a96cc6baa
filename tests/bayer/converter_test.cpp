// Converter state: the two table rules, when tables are rebuilt, the
// rescalers, thresholds, accessors, copying, and refused calls.
#include <gtest/gtest.h>

#include "bayer/lut_rules.h"
#include "conversion_util.h"

using namespace tavrix_test;

namespace {

const std::vector<std::uint16_t> kFlat4x4(16, 100);
constexpr ISize k4x4 = {4, 4};

TEST(ConverterTables, EightBitRuleClampsOffsetPlusIndex) {
  CBayerConverter conv;
  conv.SetColorBalance(10, 0, -300);
  Convert(conv, Variant::k8To24, kFlat4x4, k4x4);
  EXPECT_EQ(conv.GetRedLUT()[250], 255);
  EXPECT_EQ(conv.GetRedLUT()[0], 10);
  EXPECT_EQ(conv.GetGreenLUT()[7], 7);
  for (int i = 0; i < 300; ++i) ASSERT_EQ(conv.GetBlueLUT()[i], 0) << i;
  EXPECT_EQ(conv.GetBlueLUT()[555], 255);  // indexes above the sample range saturate
}

TEST(ConverterTables, SixteenBitRuleScalesTheOffsetAndShiftsForFast32BitOutput) {
  const struct {
    const char *why;
    Variant v;
    eCalculationMode mode;
    int index, expected;
  } cases[] = {
      {"12-bit: clamp(16 * 2 + i, 0, 4095)", Variant::k16To48, eFastBilinear, 100, 132},
      {"12-bit saturates at 4095", Variant::k16To24, eFastBilinear, 4080, 4095},
      {"12-bit fast 32-bit output: shifted down to 8 bits", Variant::k16To32, eFastBilinear, 100,
       132 >> 4},
      {"12-bit 32-bit output of another mode: sensor scale", Variant::k16To32, eBilinear, 100, 132},
  };
  for (const auto &c : cases) {
    CBayerConverter conv;
    conv.SetCalcMode(c.mode);
    conv.SetColorBalance(2, 0, -1);
    Convert(conv, c.v, kFlat4x4, k4x4, 12);
    EXPECT_EQ(conv.GetRedLUT()[c.index], c.expected) << c.why;
  }
  CBayerConverter conv;
  conv.SetColorBalance(0, 0, -1);
  Convert(conv, Variant::k16To48, kFlat4x4, k4x4, 12);
  EXPECT_EQ(conv.GetBlueLUT()[16], 0);  // -16 + 16
  EXPECT_EQ(conv.GetBlueLUT()[17], 1);
}

TEST(ConverterTables, ByteRuleIgnoresTheDepth) {
  for (unsigned short depth : {10, 12, 16}) {
    CBayerConverter conv;
    conv.SetColorBalance(0, -5, 0);
    Convert(conv, Variant::k16To32, kFlat4x4, k4x4, depth, 112);
    EXPECT_EQ(conv.GetRedLUT()[300], 255);
    EXPECT_EQ(conv.GetRedLUT()[200], 200);
    EXPECT_EQ(conv.GetGreenLUT()[3], 0);
    EXPECT_EQ(conv.GetGreenLUT()[10], 5);
  }
}

TEST(ConverterTables, HugeOffsetsWrapLikeThirtyTwoBitWords) {
  // (0x10000000 << 4) wraps to 0 in 32 bits: the table is then the plain ramp.
  EXPECT_EQ(tavrix::detail::SixteenBitRule(0x10000000, 77, 12, 4, 0), 77);
  EXPECT_EQ(tavrix::detail::SixteenBitRule(INT32_MAX, 5, 8, 0, 0), 0);  // wraps negative
  EXPECT_EQ(tavrix::detail::ByteRule(INT32_MIN, 255), 0);
}

TEST(ConverterTables, RebuiltOnlyWhenTheDepthSettingsChange) {
  CBayerConverter conv;
  Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12);
  conv.GetRedLUT()[100] = 77;  // a caller's value
  Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12);
  EXPECT_EQ(conv.GetRedLUT()[100], 77) << "same depth and format: no rebuild";
  EXPECT_EQ(Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12).At(0).r, 77);
  conv.SetCalcMode(eBilinear);  // changes the output shift of the 32-bit tables
  Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12);
  EXPECT_EQ(conv.GetRedLUT()[100], 100);
  conv.GetRedLUT()[100] = 77;
  Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12, 113);  // a new format rebuilds
  EXPECT_EQ(conv.GetRedLUT()[100], 100);
  // An unknown format leaves the tables as they are and converts nothing.
  conv.SetCalcMode(eFastBilinear);
  conv.GetRedLUT()[100] = 77;
  EXPECT_TRUE(Convert(conv, Variant::k16To32, kFlat4x4, k4x4, 12, 7).AllUntouched());
  EXPECT_EQ(conv.GetRedLUT()[100], 77);
}

TEST(ConverterTables, RescalersSpreadTheFirst256Entries) {
  CBayerConverter conv;
  for (int i = 0; i < 65536; ++i) conv.GetRedLUT()[i] = std::uint16_t(i);
  conv.RescaleLUTBGRx(10);
  const unsigned short *t = conv.GetRedLUT();
  EXPECT_EQ(t[0], 0);
  EXPECT_EQ(t[3], 0);
  EXPECT_EQ(t[4], 1);
  EXPECT_EQ(t[7], 1);
  EXPECT_EQ(t[1023], 255);
  EXPECT_EQ(t[1024], 1024) << "entries from 2^bits on are left alone";

  for (int i = 0; i < 65536; ++i) conv.GetGreenLUT()[i] = std::uint16_t(i);
  conv.RescaleLUTBGR24(10);
  EXPECT_EQ(conv.GetGreenLUT()[1023], 1020);
  EXPECT_EQ(conv.GetGreenLUT()[5], 4);

  for (int i = 0; i < 65536; ++i) conv.GetBlueLUT()[i] = std::uint16_t(i);
  conv.RescaleLUTBGR24(16);
  EXPECT_EQ(conv.GetBlueLUT()[65535], 255 << 8);
  conv.RescaleLUTBGRx(17);  // out of range: nothing happens
  conv.RescaleLUTBGRx(7);
  EXPECT_EQ(conv.GetBlueLUT()[65535], 255 << 8);
}

TEST(ConverterThresholds, ScaleToTheBitDepthByTruncation) {
  const int eight[] = {0, 69, 170, 250, 255}, twelve[] = {0, 1108, 2730, 4014, 4095};
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(tavrix::detail::ScaledThreshold(eight[k], 8), eight[k]);
    EXPECT_EQ(tavrix::detail::ScaledThreshold(eight[k], 12), twelve[k]);
  }
}

TEST(ConverterSettings, AccessorsStoreAndReturnWithTheirQuirks) {
  CBayerConverter conv;
  EXPECT_EQ(conv.GetPatternOrigin(), eOriginGB);
  EXPECT_EQ(conv.GetCalcMode(), eFastBilinear);
  EXPECT_EQ(conv.GetSampleFactor(), 1);
  EXPECT_FALSE(conv.GetColorCorrectionMode());
  for (int i = 0; i < 65536; i += 4097) EXPECT_EQ(conv.GetGreenLUT()[i], 0);

  conv.SetColorBalance(1, 2, 3);
  int r = -1, g = -1, b = -1;
  conv.GetColorBalance(r, g, b);
  EXPECT_EQ(r, 1);
  EXPECT_EQ(g, 3) << "the blue offset lands in the second argument";
  EXPECT_EQ(b, -1) << "the third argument is left as it was";

  double m[9];
  conv.GetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(m[i], i % 4 == 0 ? 1.0 : 0.0);
  conv.SetCorrectionMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9);
  conv.GetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(m[i], i + 1);
}

TEST(ConverterSettings, CopiesCarryTablesAndSettings) {
  CBayerConverter a;
  a.SetColorBalance(5, 6, 7);
  a.SetPatternOrigin(eOriginRG);
  a.SetSampleFactor(3);
  a.SetCorrectionMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9);
  a.GetRedLUT()[1000] = 4242;
  CBayerConverter b(a);
  CBayerConverter c;
  c = a;
  for (CBayerConverter *x : {&b, &c}) {
    EXPECT_EQ(x->GetRedLUT()[1000], 4242);
    EXPECT_EQ(x->GetPatternOrigin(), eOriginRG);
    EXPECT_EQ(x->GetSampleFactor(), 3);
    double m[9];
    x->GetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
    EXPECT_EQ(m[8], 9);
  }
  CColorMatrix m1;
  m1.m_matrix[3] = 2.5;
  CColorMatrix m2;
  m2 = m1;
  EXPECT_EQ(m2.m_matrix[3], 2.5);
  m2.ResetMatrix();
  EXPECT_EQ(m2.m_matrix[3], 0.0);
  EXPECT_EQ(m2.m_matrix[4], 1.0);
}

TEST(ConverterEntryPoints, MatrixStepOnlyInThe24And48BitEntryPoints) {
  CColorMatrix m;
  for (int i = 0; i < 9; ++i) m.m_matrix[i] = i + 0.5;
  double e[9];
  for (Variant v : kAllVariants) {
    CBayerConverter conv;
    conv.SetCalcMode(static_cast<eCalculationMode>(7));  // runs only the preparation steps
    const Output out = Convert(conv, v, kFlat4x4, k4x4, 12, 100, m);
    EXPECT_TRUE(out.AllUntouched()) << Name(v);
    conv.GetCorrectionMatrix(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
    const bool takesMatrix = RecordBytes(v) != 4;
    EXPECT_EQ(e[1], takesMatrix ? 1.5 : 0.0) << Name(v);
  }
}

struct Refusal {
  const char *why;
  ISize in, out;
  unsigned short depth;
  int factor;
};
const Refusal kRefusals[] = {
    {"odd width", {5, 4}, {5, 4}, 8, 1},
    {"too narrow", {2, 8}, {2, 8}, 8, 1},
    {"odd height", {6, 5}, {6, 5}, 8, 1},
    {"too short", {8, 2}, {8, 2}, 8, 1},
    {"negative size", {-4, 4}, {4, 4}, 8, 1},
    {"output narrower than input", {8, 8}, {6, 8}, 8, 1},
    {"output shorter than input", {8, 8}, {8, 6}, 8, 1},
    {"depth below 8", {4, 4}, {4, 4}, 7, 1},
    {"depth above 16", {4, 4}, {4, 4}, 17, 1},
};

TEST(ConverterEntryPoints, RefusedCallsLeaveTheWholeOutputUntouched) {
  for (const Refusal &c : kRefusals)
    for (Variant v : kAllVariants) {
      if (EightBitInput(v) && c.depth != 8) continue;
      SCOPED_TRACE(std::string(c.why) + ", " + Name(v));
      CBayerConverter conv;
      conv.SetSampleFactor(c.factor);
      const ISize in = {c.in.width < 0 ? 4 : c.in.width, c.in.height};
      Output out(v, {c.out.width < 0 ? 4 : c.out.width, c.out.height});
       ConvertInto(conv, v, std::vector<std::uint16_t>(std::size_t(in.width) * in.height, 9), c.in, out,
          c.out, c.depth);
      EXPECT_TRUE(out.AllUntouched());
    }
}

TEST(ConverterEntryPoints, ThirtyTwoBitOutputsRefuseWalksOutsideTheirBuffers) {
  const Refusal cases[] = {
      {"factor 0", {8, 8}, {8, 8}, 8, 0},
      {"negative factor", {8, 8}, {4, 4}, 8, -2},
      {"factor 1 with a smaller output", {8, 8}, {4, 4}, 8, 1},
      {"factor 2 reading past the row", {8, 8}, {6, 4}, 8, 2},
      {"factor 2 writing past the output", {8, 12}, {4, 4}, 8, 2},
      {"factor 3 wider than the input", {8, 8}, {4, 4}, 8, 3},
      {"output of odd height", {8, 8}, {4, 3}, 8, 2},
      {"huge factor", {8, 8}, {4, 4}, 8, 1 << 30},
  };
  for (const Refusal &c : cases)
    for (Variant v : {Variant::k8To32, Variant::k16To32}) {
      SCOPED_TRACE(std::string(c.why) + ", " + Name(v));
      CBayerConverter conv;
      conv.SetSampleFactor(c.factor);
      Output out(v, c.out);
       ConvertInto(conv, v, std::vector<std::uint16_t>(64 + 32, 9), c.in, out, c.out);
      EXPECT_TRUE(out.AllUntouched());
    }
}

TEST(ConverterEntryPoints, SmallestFramesAreAccepted) {
  for (ISize size : {ISize{4, 4}, ISize{4, 6}, ISize{6, 4}})
    for (Variant v : kAllVariants) {
      CBayerConverter conv;
      const Output out =
          Convert(conv, v, std::vector<std::uint16_t>(std::size_t(size.width) * size.height, 9),
                  size);
      EXPECT_FALSE(out.Untouched(0)) << Name(v);
    }
}

TEST(ConverterEntryPoints, LargerOutputWithoutDecimationIsWrittenWithinBounds) {
  // The walk steps through the output by the input width, so a wider output
  // is written at drifting positions, but never past its end.
  const ISize in = {8, 8}, out = {12, 10};
  for (Variant v : {Variant::k8To24, Variant::k16To48}) {
    CBayerConverter conv;
    Output o(v, out);
     ConvertInto(conv, v, RandomMosaic(in, 8, 1), in, o, out);
    EXPECT_TRUE(o.GuardIntact());
    EXPECT_FALSE(o.Untouched(0));
  }
}

}  // namespace
