// Converter state: the two table rules, when tables are rebuilt, the
// rescalers, thresholds, accessors, copying, and which layouts are refused.
#include <gtest/gtest.h>

#include "bayer/lut_rules.h"
#include "bayer_test_util.h"

using namespace bayer_test;

namespace {

TEST(ConverterTables, RulesByRecordModeAndFormat) {
  const Out b24 = Out::k24From8, w24 = Out::k24From16, w32 = Out::k32From16, w48 = Out::k48From16;
  const eCalculationMode fast = eFastBilinear;
  // red, green, blue: balance offsets on the 8-bit scale.
  const struct {
    const char *why;
    Out kind;
    eCalculationMode mode;
    int depth, format, red, green, blue, channel, index, expected;
  } cases[] = {
      {"8-bit: 10 + 250 clamps to 255", b24, fast, 8, 100, 10, 0, -300, kRed, 250, 255},
      {"8-bit: the offset alone at entry 0", b24, fast, 8, 100, 10, 0, -300, kRed, 0, 10},
      {"8-bit: -300 + 299 clamps to 0", b24, fast, 8, 100, 10, 0, -300, kBlue, 299, 0},
      {"8-bit: entries past 255 saturate", b24, fast, 8, 100, 10, 0, -300, kBlue, 555, 255},
      {"12-bit: the offset scaled by 16", w48, fast, 12, 100, 2, 0, -1, kRed, 100, 132},
      {"12-bit: -16 + 17", w48, fast, 12, 100, 2, 0, -1, kBlue, 17, 1},
      {"12-bit saturates at 4095", w24, fast, 12, 100, 2, 0, -1, kRed, 4080, 4095},
      {"fast 32-bit output: shifted to 8 bits", w32, fast, 12, 100, 2, 0, -1, kRed, 100, 132 >> 4},
      {"32-bit output of other modes: sensor scale", w32, eBilinear, 12, 100, 2, 0, -1, kRed, 100, 132},
      {"byte formats ignore the depth: 300 clamps", w32, fast, 16, 112, 0, -5, 0, kRed, 300, 255},
      {"byte formats ignore the depth: 10 - 5", w32, fast, 16, 112, 0, -5, 0, kGreen, 10, 5},
  };
  for (const auto &c : cases) {
    CBayerConverter conv;
    conv.SetCalcMode(c.mode);
    conv.SetColorBalance(c.red, c.green, c.blue);
    Convert(conv, Mosaic(4, 4, 100), c.kind, c.depth, c.format);
    const unsigned short *tables[] = {conv.GetBlueLUT(), conv.GetGreenLUT(), conv.GetRedLUT()};
    EXPECT_EQ(tables[c.channel][c.index], c.expected) << c.why;
  }
  // (0x10000000 << 4) wraps to 0 in 32 bits: the plain ramp.
  EXPECT_EQ(tavrix::detail::SixteenBitRule(0x10000000, 77, 12, 4, 0), 77);
  EXPECT_EQ(tavrix::detail::SixteenBitRule(INT32_MAX, 5, 8, 0, 0), 0);
  EXPECT_EQ(tavrix::detail::ByteRule(INT32_MIN, 255), 0);
}

TEST(ConverterTables, CallerValuesLastUntilDepthModeOrFormatChange) {
  CBayerConverter conv;
  const Mosaic flat(4, 4, 7);
  Convert(conv, flat, Out::k48From16, 12);
  conv.GetBlueLUT()[7] = 5000;  // a caller's curve, beyond 12 bits
  conv.GetRedLUT()[7] = 33;
  EXPECT_EQ(Convert(conv, flat, Out::k48From16, 12).Px(0), (Pixel{4095, 7, 33, -1}))
      << "kept, and limited to the depth in 48-bit output";
  EXPECT_EQ(Convert(conv, flat, Out::k48From16, 10).Px(0), (Pixel{7, 7, 7, -1})) << "new depth";
  Convert(conv, flat, Out::k32From16, 10);  // fast 32-bit output: shifted to 8 bits
  conv.GetRedLUT()[7] = 33;
  conv.SetCalcMode(eBilinear);  // no output shift in this mode
  Convert(conv, flat, Out::k32From16, 10);
  EXPECT_EQ(conv.GetRedLUT()[7], 7) << "a new mode";
  conv.GetRedLUT()[7] = 33;
  Convert(conv, flat, Out::k32From16, 10, 113);
  EXPECT_EQ(conv.GetRedLUT()[7], 7) << "a new format";
  conv.GetRedLUT()[7] = 33;
  conv.SetCalcMode(eFastBilinear);  // the mode that reads the format
  EXPECT_TRUE(Convert(conv, flat, Out::k32From16, 10, 7).AllUntouched()) << "unknown format";
  EXPECT_EQ(conv.GetRedLUT()[7], 33);
}

TEST(ConverterTables, RescalersSpreadTheFirstEntriesAndThresholdsTruncate) {
  CBayerConverter conv;
  unsigned short *t = conv.GetGreenLUT();
  for (int i = 0; i < 65536; ++i) t[i] = std::uint16_t(i);
  conv.RescaleLUTBGRx(10);  // entries from 2^bits on are left alone
  EXPECT_EQ((std::vector<int>{t[3], t[4], t[1023], t[1024]}), (std::vector<int>{0, 1, 255, 1024}));
  for (int i = 0; i < 65536; ++i) t[i] = std::uint16_t(i);
  conv.RescaleLUTBGR24(17);  // out of range: nothing happens
  conv.RescaleLUTBGR24(10);
  EXPECT_EQ((std::vector<int>{t[5], t[1023], t[1024]}), (std::vector<int>{4, 1020, 1024}));
  EXPECT_EQ(tavrix::detail::ScaledThreshold(170, 12), 2730);  // 170 x 4095 / 255 = 2730.0
  EXPECT_EQ(tavrix::detail::ScaledThreshold(250, 12), 4014);  // 4014.7 truncates
}

TEST(ConverterSettings, GetColorBalanceQuirkAndCopies) {
  CBayerConverter a;
  a.SetColorBalance(1, 2, 3);
  int r = -1, g = -1, b = -1;
  a.GetColorBalance(r, g, b);
  // The blue offset lands in the second argument; the third is left as it was.
  EXPECT_EQ((std::vector<int>{r, g, b}), (std::vector<int>{1, 3, -1}));
  a.SetPatternOrigin(eOriginRG);
  a.SetSampleFactor(3);
  a.GetRedLUT()[1000] = 4242;
  CBayerConverter copied(a), assigned;
  assigned = a;
  a.GetRedLUT()[1000] = 1;  // the copies own their tables
  for (CBayerConverter *x : {&copied, &assigned})
    EXPECT_EQ((std::vector<int>{x->GetRedLUT()[1000], x->GetPatternOrigin(), x->GetSampleFactor()}),
          (std::vector<int>{4242, eOriginRG, 3}));
}

TEST(ConverterEntryPoints, MatrixStepOnlyInThe24And48BitEntryPoints) {
  CColorMatrix m;
  for (int i = 0; i < 9; ++i) m.m_matrix[i] = i + 0.5;
  for (Out kind : kAllOutputs) {
    CBayerConverter conv;
    conv.SetCalcMode(static_cast<eCalculationMode>(7));  // runs only the preparation steps
    EXPECT_TRUE(Convert(conv, Mosaic(4, 4, 100), kind, 12, 100, m).AllUntouched()) << Name(kind);
    double e[9];
    conv.GetCorrectionMatrix(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
    EXPECT_EQ(e[1], Is32(kind) ? 0.0 : 1.5) << Name(kind);
  }
}

TEST(ConverterEntryPoints, AcceptedAndRefusedLayouts) {
  enum Which { kAll, k32Only };
  const struct { const char *why; ISize in, out; int depth, factor; Which which; bool accepted; }
      cases[] = {
      {"smallest frame", {4, 4}, {4, 4}, 8, 1, kAll, true},
      {"the smallest width with more rows", {4, 6}, {4, 6}, 8, 1, kAll, true},
      {"odd width", {5, 4}, {5, 4}, 8, 1, kAll, false},
      {"too narrow", {2, 8}, {2, 8}, 8, 1, kAll, false},
      {"odd height", {6, 5}, {6, 5}, 8, 1, kAll, false},
      {"too short", {8, 2}, {8, 2}, 8, 1, kAll, false},
      {"negative size", {-4, 4}, {4, 4}, 8, 1, kAll, false},
      {"depth below 8", {4, 4}, {4, 4}, 7, 1, kAll, false},
      {"depth 16, the largest", {4, 4}, {4, 4}, 16, 1, kAll, true},
      {"depth above 16", {4, 4}, {4, 4}, 17, 1, kAll, false},
      {"output of odd height", {8, 8}, {4, 3}, 8, 2, k32Only, false},
      {"huge factor", {8, 8}, {4, 4}, 8, 1 << 30, k32Only, false},
  };
  for (const auto &c : cases)
    for (Out kind : kAllOutputs) {
      if ((c.which == k32Only && !Is32(kind)) || (From8(kind) && c.depth != 8)) continue;
      SCOPED_TRACE(std::string(c.why) + ", " + Name(kind));
      CBayerConverter conv;
      conv.SetSampleFactor(c.factor);
      Mosaic m(16, 16, 9);
      m.size = c.in;
      Image out(kind, c.out);
      ConvertInto(conv, m, out, c.depth);
      EXPECT_EQ(out.AllUntouched(), !c.accepted);
      EXPECT_TRUE(out.GuardIntact());
    }
}

}  // namespace
