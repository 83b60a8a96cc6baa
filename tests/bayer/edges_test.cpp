// The converter on its edges: every size rule at the largest output it accepts
// and the next smaller one, every kernel family with three tables that cannot
// stand in for one another, and every narrowing on its edge and one past it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bayer_test_util.h"
#include "support/paths.h"

using namespace bayer_test;

namespace {

constexpr unsigned kFlat = 7;  // the walks below convert a flat mosaic of 7

// Index of the last pixel a kernel wrote a colour to, -1 when none; pixels past
// the output (the guard) count too. (The border clearing writes zeros.)
long LastWritten(const Image &out) {
  const std::size_t pixels = out.words.size() * 2 / PixelBytes(out.kind);
  for (std::size_t i = pixels; i-- > 0;)
    for (int ch : {kBlue, kGreen, kRed})
      if (out.Get(i, ch) == kFlat) return long(i);
  return -1;
}

struct Walk {
  const char *why;
  Out kind;
  eCalculationMode mode;
  ePatternOrigin origin;
  bool corrected;
  unsigned short format;
  // Whether some pass of the walk writes pixel (r, c) for site (r, c) even
  // with a sample factor, so that the output must cover the input.
  bool fullSizeWithFactor;
};
constexpr Walk kWalks[] = {
    {"fast, 8-bit", Out::k32From8, eFastBilinear, eOriginGB, false, 100, false},
    {"fast, 16-bit", Out::k32From16, eFastBilinear, eOriginRG, false, 100, false},
    {"fast corrected, 8-bit (every column)", Out::k32From8, eFastBilinear, eOriginGR, true, 100,
     false},
    {"fast corrected, 16-bit", Out::k32From16, eFastBilinear, eOriginBG, true, 100, false},
    {"byte select", Out::k32From16, eFastBilinear, eOriginGB, false, 114, false},
    {"bilinear, 16-bit GB", Out::k32From16, eBilinear, eOriginGB, false, 100, false},
    {"bilinear, 16-bit GR", Out::k32From16, eBilinear, eOriginGR, false, 100, false},
    {"bilinear, 16-bit BG", Out::k32From16, eBilinear, eOriginBG, false, 100, false},
    {"bilinear, 16-bit RG", Out::k32From16, eBilinear, eOriginRG, false, 100, false},
    {"bilinear, 8-bit GR: every pass decimates", Out::k32From8, eBilinear, eOriginGR, false, 100,
     false},
    {"bilinear, 8-bit GB: green decimates", Out::k32From8, eBilinear, eOriginGB, false, 100, true},
    {"bilinear, 8-bit RG: none decimates", Out::k32From8, eBilinear, eOriginRG, false, 100, true},
};

// One converter for all runs: its tables are built once.
Image RunWalk(const Walk &w, int factor, const Mosaic &m, ISize outSize) {
  static CBayerConverter cv;
  cv.SetCalcMode(w.mode);
  cv.SetPatternOrigin(w.origin);
  cv.SetColorCorrectionMode(w.corrected);
  cv.SetSampleFactor(factor);
  Image out(w.kind, outSize);
  ConvertInto(cv, m, out, 8, w.format);
  return out;
}

// For every 32-bit walk, sample factors 1 to 5 and every output width: the
// walk is accepted exactly from the first output height that holds what it
// writes, and writes the same there.
TEST(WalkLimits, ThirtyTwoBitWalksAcceptExactlyTheOutputsThatHoldThem) {
  // The last four put the last pixel of a decimating bilinear walk exactly one
  // past an output of even height (factors 2, 3, 4, 4 and 5).
  const ISize kInputs[] = {{12, 10}, {14, 14}, {20, 8}, {6, 10}, {8, 10}, {10, 12}, {10, 14}};
  path_test::ForEachPath([&](path_test::Path) {
    for (const Walk &w : kWalks)
      for (const ISize in : kInputs)
        for (int factor = 1; factor <= 5; ++factor)
          for (int width = 4; width <= in.width + 2; width += 2) {
            SCOPED_TRACE(testing::Message() << w.why << ", input " << in.width << " x "
                                            << in.height << ", factor " << factor << ", width "
                                            << width);
            const Mosaic m(in.width, in.height, kFlat);
            const int tall = in.width * in.height + 4;
            const Image big = RunWalk(w, factor, m, {width, tall});
            ASSERT_TRUE(big.GuardIntact());
            const bool packed = factor > 1 && w.mode == eFastBilinear;
            const bool fits = factor == 1 || w.fullSizeWithFactor ? width >= in.width
                              : packed                            ? factor * width <= in.width
                                                                  : true;
            const bool sameWidth = factor == 1 && w.mode == eFastBilinear;
            if (!fits || (sameWidth && width != in.width)) {
              EXPECT_TRUE(big.AllUntouched());
              continue;
            }
            const long last = LastWritten(big);
            ASSERT_GE(last, 0);
            // The first even height of at least 4 rows whose pixels reach past `last`.
            int height = int(last / width) + 1;
            height = std::max(4, height + height % 2);
            if (w.fullSizeWithFactor || factor == 1) height = std::max(height, in.height);
            const Image exact = RunWalk(w, factor, m, {width, height});
            EXPECT_FALSE(exact.AllUntouched()) << "refused at height " << height;
            EXPECT_TRUE(exact.GuardIntact());
            // The 8-bit fast pass clears its last output row after the walk.
            if (!(w.kind == Out::k32From8 && w.mode == eFastBilinear)) {
              EXPECT_EQ(LastWritten(exact), last);
            }
            if (height > 4) {
              EXPECT_TRUE(RunWalk(w, factor, m, {width, height - 2}).AllUntouched())
                  << "accepted at height " << height - 2;
            }
          }
  });
}

// Outputs one row or one column short of the input, and sample factors below 1,
// under every algorithm and record.
TEST(WalkLimits, OutputsShortOfTheInputAndFactorsBelowOneAreRefused) {
  const struct {
    const char *why;
    ISize out;
    int factor;
    bool accepted;
  } kCases[] = {
      {"the input's size", {8, 6}, 1, true},
      {"one column short", {7, 6}, 1, false},
      {"one row short", {8, 5}, 1, false},
      {"two rows short", {8, 4}, 1, false},
      {"factor 0", {8, 6}, 0, false},
      {"factor -1", {8, 6}, -1, false},
  };
  for (const auto &c : kCases)
    for (eCalculationMode mode : {eFastBilinear, eBilinear, eLaplacian1, eLaplacian2})
      for (Out kind : kAllOutputs) {
        if (Is32(kind) && c.out.width % 2 + c.out.height % 2 != 0) continue;  // refused anyway
        if (!Is32(kind) && c.factor != 1) continue;  // the factor plays no part
        SCOPED_TRACE(testing::Message() << c.why << ", mode " << mode << ", " << Name(kind));
        CBayerConverter cv;
        cv.SetCalcMode(mode);
        cv.SetSampleFactor(c.factor);
        Image out(kind, c.out);
        ConvertInto(cv, Mosaic(8, 6, kFlat), out);
        EXPECT_EQ(out.AllUntouched(), !c.accepted);
        EXPECT_TRUE(out.GuardIntact());
      }
}

// The correction pass after the per-site algorithms covers the input's size in
// the 24- and 48-bit outputs and the output's in the 32-bit ones: in an output
// two rows taller than the input, the sentinels below the image are corrected
// (halved) only there.
TEST(WalkLimits, CorrectionPassCoversTheInputOrTheOutputSize) {
  for (eCalculationMode mode : {eBilinear, eLaplacian1, eLaplacian2})
    for (Out kind : kAllOutputs) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << ", " << Name(kind));
      CColorMatrix half;
      for (int k : {0, 4, 8}) half.m_matrix[k] = 0.5;
      CBayerConverter cv;
      cv.SetCalcMode(mode);
      cv.SetColorCorrectionMode(true);
      cv.SetCorrectionMatrix(0.5, 0, 0, 0, 0.5, 0, 0, 0, 0.5);
      Image out(kind, {8, 8});
      ConvertInto(cv, Mosaic(8, 6, kFlat), out, 8, 100, half);
      for (std::size_t i = 48; i < 64; ++i) ASSERT_EQ(out.Untouched(i), !Is32(kind)) << i;
      EXPECT_TRUE(out.GuardIntact());
    }
}

// ---- three tables per family ------------------------------------------------------

// FNV-1a over every byte of the output, sentinels of unwritten pixels included.
std::uint64_t Fnv(const Image &out, std::uint64_t h) {
  for (std::size_t k = 0; k < out.words.size() * 2; ++k)
    h = (h ^ out.Bytes()[k]) * 0x100000001b3ull;
  return h;
}

// Caller-written curves, a different shape per channel, reaching past 2^bits
// so that every clamp and wrap takes part.
void WriteCurves(CBayerConverter &cv, int bits) {
  const unsigned top = 1u << bits;
  for (unsigned i = 0; i < 65536; ++i) {
    const unsigned v = i % top;
    cv.GetRedLUT()[i] = std::uint16_t(v < top / 3 ? 3 * v : top - 1);  // saturates early
    cv.GetGreenLUT()[i] = std::uint16_t(top + 8 - v * v / top);  // falling, above 2^bits
    cv.GetBlueLUT()[i] = std::uint16_t((v * 5 / 4 + 300) & (2 * top - 1));  // wraps
  }
}

struct Family {
  const char *name;
  eCalculationMode mode;
  bool corrected;
  unsigned short format;  // for the 16- to 32-bit entry point
};
constexpr Family kFamilies[] = {
    {"fast", eFastBilinear, false, 100},       {"fast corrected", eFastBilinear, true, 100},
    {"byte select high", eFastBilinear, false, 113}, {"byte select low", eFastBilinear, false, 115},
    {"bilinear", eBilinear, false, 100},       {"bilinear corrected", eBilinear, true, 100},
    {"laplacian1", eLaplacian1, false, 100},   {"laplacian2", eLaplacian2, false, 100},
    {"laplacian2 corrected", eLaplacian2, true, 100},
};

// Twelve-bit samples, most of them from a few levels (so that gradients tie),
// the rest random, with the extremes of the range in every row.
Mosaic GoldenMosaic(int bits, std::uint32_t seed) {
  Mosaic m = RandomMosaic(14, 12, bits, seed);
  const unsigned levels[] = {0, 100, 101, (1u << bits) / 2, (1u << bits) - 1};
  for (std::size_t i = 0; i < m.samples.size(); ++i)
    if (i % 3 != 0) m.samples[i] = std::uint16_t(levels[(i * 7 + seed) % 5]);
  return m;
}

// One hash per family and output over four origins, two sample factors for the
// 32-bit outputs, and three table sets: offsets clamping at different levels,
// the other way round, and the curves above.
std::uint64_t FamilyHash(const Family &f, Out kind) {
  const int bits = From8(kind) ? 8 : 12;
  const unsigned short depth = From8(kind) ? 8 : 12;
  CColorMatrix matrix;
  const double elements[9] = {1.5, -0.25, 0.125, -0.375, 1.25, 0.0625, 0.3, -0.45, 1.2};
  for (int k = 0; k < 9; ++k) matrix.m_matrix[k] = elements[k];
  std::uint64_t h = 0xcbf29ce484222325ull;
  CBayerConverter cv;  // one object: the depth settings stay, only the tables change
  cv.SetCalcMode(f.mode);
  cv.SetColorCorrectionMode(f.corrected);
  cv.SetCorrectionMatrix(elements[0], elements[1], elements[2], elements[3], elements[4],
                         elements[5], elements[6], elements[7], elements[8]);
  for (ePatternOrigin origin : kOrigins)
    for (int factor : {1, 3}) {
      if (factor != 1 && !Is32(kind)) continue;
      cv.SetPatternOrigin(origin);
      cv.SetSampleFactor(factor);
      for (int tables = 0; tables < 3; ++tables) {
        const Mosaic m = GoldenMosaic(bits, std::uint32_t(origin * 10 + tables));
        ISize outSize = m.size;
        if (factor != 1 && f.mode == eFastBilinear) outSize.width = (m.size.width / factor) & ~1;
        if (tables == 0) cv.SetColorBalance(40, -3, -25);
        if (tables == 1) cv.SetColorBalance(-30, 9, 50);
        if (tables == 2) WriteCurves(cv, bits);
        Image out(kind, outSize);
        ConvertInto(cv, m, out, depth, f.format, matrix);
        h = Fnv(out, h);
      }
    }
  return h;
}

// Recorded from the reference templates; any change to one output byte of any
// family shows here. TAVRIX_PRINT_GOLDENS=1 prints the table afresh.
constexpr std::uint64_t kGoldens[][5] = {
    // 8 to 24, 8 to 32, 16 to 24, 16 to 32, 16 to 48
    {0x0ec26b273eb5613a, 0x92bd9772f3d3b2f7, 0x64cda361965fce16, 0x48d8f7a07441bd27,
     0x0cdb0351fc6767f3},  // fast
    {0x0f9a2eee5a010671, 0x08ab449aaff2cf8e, 0xfde81b94749d28b1, 0x781c91e0249d23ae,
     0x14ccdfc6393b8ba4},  // fast corrected
    {0, 0, 0, 0xc238bedbf6533c25, 0},  // byte select high
    {0, 0, 0, 0x364f70756857b742, 0},  // byte select low
    {0x2e4a580d3222109a, 0x19e1611601416964, 0x46f7f808099ab71d, 0x72661d316401e7a6,
     0x7a0f8d740e7880c3},  // bilinear
    {0xbbed44c237830224, 0xca609fb83562eec1, 0x83b41ec2d2f5d2aa, 0x46867af33f9a7e4e,
     0x2b876f2d06150545},  // bilinear corrected
    {0x381255b0ef5bae89, 0xf5f3e0c281e0c30d, 0x090098ce48dca88f, 0xa60e82f1b7dc4701,
     0xd2fcbb5dd8eb2279},  // laplacian1
    {0xc89fe4d9d47ad532, 0x389d3252a23725dd, 0xc6e2f92deb806879, 0x278e47147bd4b571,
     0x37f8ae87b91a1799},  // laplacian2
    {0x2621ddbe91979a46, 0x0b22f19468f89185, 0xf9a09258822acad1, 0xac4464640135c8c9,
     0xb6bd0014cd133925},  // laplacian2 corrected
};
static_assert(sizeof kGoldens / sizeof kGoldens[0] == sizeof kFamilies / sizeof kFamilies[0],
              "one row of goldens per family");

TEST(KernelGoldens, EveryFamilyWithThreeTableSetsOnEveryPath) {
  const bool print = std::getenv("TAVRIX_PRINT_GOLDENS") != nullptr;
  path_test::ForEachPath([&](path_test::Path) {
    for (std::size_t f = 0; f < sizeof kFamilies / sizeof kFamilies[0]; ++f) {
      for (Out kind : kAllOutputs) {
        const bool bytePicking = kFamilies[f].format != 100;
        if (bytePicking && kind != Out::k32From16) continue;
        const std::uint64_t h = FamilyHash(kFamilies[f], kind);
        if (print) {
          std::printf("%s, %s: 0x%016llx\n", kFamilies[f].name, Name(kind), (unsigned long long)h);
        } else {
          EXPECT_EQ(h, kGoldens[f][int(kind)]) << kFamilies[f].name << ", " << Name(kind);
        }
      }
    }
  });
}

// ---- narrowing edges ------------------------------------------------------------

// A flat mosaic through constant tables: the value every interior pixel gets at
// an interpolated green site (row 3, column 2 is red under GB) and at a green
// site's own sample (row 3, column 3).
struct Narrowing {
  const char *why;
  eCalculationMode mode;
  Out kind;
  unsigned entry, interpolated, own;
};
constexpr Narrowing kNarrowings[] = {
    {"fast: low byte, no clamp", eFastBilinear, Out::k24From8, 255, 255, 255},
    {"fast: 256 wraps to 0", eFastBilinear, Out::k24From8, 256, 0, 0},
    {"fast 32-bit: low byte", eFastBilinear, Out::k32From8, 256, 0, 0},
    {"fast 48-bit: 2^bits - 1 kept", eFastBilinear, Out::k48From16, 4095, 4095, 4095},
    {"fast 48-bit: 2^bits clamps", eFastBilinear, Out::k48From16, 4096, 4095, 4095},
    {"bilinear: Cross of 256 wraps to 0", eBilinear, Out::k24From8, 256, 0, 0},
    {"bilinear 48-bit: no clamp", eBilinear, Out::k48From16, 4096, 4096, 4096},
    {"laplacian1: 255 kept", eLaplacian1, Out::k24From8, 255, 255, 255},
    {"laplacian1: 256 clamps, own value wraps", eLaplacian1, Out::k24From8, 256, 255, 0},
    {"laplacian1 32-bit: 256 clamps", eLaplacian1, Out::k32From8, 256, 255, 0},
    {"laplacian1 48-bit: 65535 is -1 and wraps back", eLaplacian1, Out::k48From16, 65535, 65535,
     65535},
    {"laplacian2: 255 kept", eLaplacian2, Out::k24From8, 255, 255, 255},
    {"laplacian2: 256 clamps, own value wraps", eLaplacian2, Out::k24From8, 256, 255, 0},
    {"laplacian2 32-bit, depth 12: 4096 is 256, clamps", eLaplacian2, Out::k32From16, 4096, 255,
     0},
    {"laplacian2 48-bit: no clamp", eLaplacian2, Out::k48From16, 4096, 4096, 4096},
};

TEST(NarrowingEdges, FlatMosaicThroughConstantTables) {
  path_test::ForEachPath([&](path_test::Path) {
    for (const Narrowing &n : kNarrowings) {
      SCOPED_TRACE(n.why);
      const Mosaic m(8, 8, 9);
      const unsigned short depth = From8(n.kind) ? 8 : 12;
      CBayerConverter cv;
      cv.SetCalcMode(n.mode);
      Image out(n.kind, m.size);
      ConvertInto(cv, m, out, depth);  // settles the depth settings
      for (unsigned short *t : {cv.GetRedLUT(), cv.GetGreenLUT(), cv.GetBlueLUT()})
        std::fill(t, t + 65536, std::uint16_t(n.entry));
      ConvertInto(cv, m, out, depth);
      EXPECT_EQ(out.At(3, 2, kGreen), n.interpolated);
      EXPECT_EQ(out.At(3, 3, kGreen), n.own);
      if (n.mode == eFastBilinear || n.mode == eBilinear) {  // no Laplacian terms: all alike
        for (int ch : {kBlue, kRed}) {
          EXPECT_EQ(out.At(3, 2, ch), n.interpolated) << ch;
          EXPECT_EQ(out.At(3, 3, ch), n.interpolated) << ch;
        }
      }
    }
  });
}

// The correction pass after the per-site algorithms. A flat mosaic at half scale
// (128 for the byte outputs, 2048 and 32768 for the 48-bit output at depths 12
// and 16) times a diagonal: a corrected value of exactly full scale + 1 (256,
// 4096, 65536) stores full scale; -1 stores 0; values beyond 32 bits saturate.
TEST(NarrowingEdges, CorrectedValuesOnTheEdgeAndOnePast) {
  const struct {
    const char *why;
    double diagonal;
    unsigned bytes, words12, words16;
  } kCases[] = {
      {"one past full scale clamps", 2.0, 255, 4095, 65535},
      {"255 exactly", 255.0 / 128.0, 255, 4080, 65280},
      {"4095 exactly; 255.94 truncates", 4095.0 / 2048.0, 255, 4095, 65520},
      {"257, 4112, 65792 clamp", 2.0078125, 255, 4095, 65535},
      {"-1, -16, -256 clamp", -1.0 / 128.0, 0, 0, 0},
      {"beyond 32 bits", 1e12, 255, 4095, 65535},
      {"below 32 bits", -1e12, 0, 0, 0},
  };
  const struct {
    Out kind;
    unsigned short depth;
  } kOutputs[] = {{Out::k24From8, 8},   {Out::k32From8, 8},    {Out::k24From16, 8},
                  {Out::k32From16, 8}, {Out::k48From16, 12}, {Out::k48From16, 16}};
  path_test::ForEachPath([&](path_test::Path) {
    for (const auto &c : kCases)
      for (eCalculationMode mode : {eBilinear, eLaplacian2})
        for (const auto &o : kOutputs) {
          SCOPED_TRACE(testing::Message() << c.why << ", mode " << mode << ", " << Name(o.kind)
                                          << ", depth " << o.depth);
          const Mosaic m(8, 8, 1u << (o.depth - 1));
          CColorMatrix matrix;
          for (int k : {0, 4, 8}) matrix.m_matrix[k] = c.diagonal;
          CBayerConverter cv;
          cv.SetCalcMode(mode);
          cv.SetColorCorrectionMode(true);
          cv.SetCorrectionMatrix(c.diagonal, 0, 0, 0, c.diagonal, 0, 0, 0, c.diagonal);
          Image out(o.kind, m.size);
          ConvertInto(cv, m, out, o.depth, 100, matrix);
          const unsigned expected = o.depth == 8 ? c.bytes : o.depth == 12 ? c.words12 : c.words16;
          for (int ch : {kBlue, kGreen, kRed}) EXPECT_EQ(out.At(3, 3, ch), expected) << ch;
        }
  });
}

// The corrected fast pass wraps each product to 16 signed bits before the clamp.
// Flat 128 times a diagonal, on the byte outputs (depth 8) and the 48-bit one at
// depths 12 and 16 (where only the wrap limits it).
TEST(NarrowingEdges, FastCorrectedValuesWrapAtSixteenBits) {
  const struct {
    const char *why;
    double diagonal;
    unsigned bytes, words12, words16;
  } kCases[] = {
      {"256", 2.0, 255, 256, 256},
      {"4095", 4095.0 / 128, 255, 4095, 4095},
      {"4096", 32.0, 255, 4095, 4096},
      {"32767 is the largest", 32767.0 / 128, 255, 4095, 32767},
      {"32768 wraps to -32768", 256.0, 0, 0, 0},
      {"65537 wraps to 1", 65537.0 / 128, 1, 1, 1},
      {"-1 clamps to 0", -1.0 / 128, 0, 0, 0},
      {"-32769 wraps to 32767", -32769.0 / 128, 255, 4095, 32767},
      {"beyond 32 bits: saturates, then wraps to -1", 1e12, 0, 0, 0},
  };
  const struct {
    Out kind;
    unsigned short depth;
  } kOutputs[] = {{Out::k24From8, 8},   {Out::k32From8, 8},    {Out::k24From16, 8},
                  {Out::k32From16, 8}, {Out::k48From16, 12}, {Out::k48From16, 16}};
  path_test::ForEachPath([&](path_test::Path) {
    for (const auto &c : kCases)
      for (const auto &o : kOutputs) {
        SCOPED_TRACE(testing::Message() << c.why << ", " << Name(o.kind) << ", depth " << o.depth);
        CColorMatrix matrix;
        for (int k : {0, 4, 8}) matrix.m_matrix[k] = c.diagonal;
        CBayerConverter cv;
        cv.SetColorCorrectionMode(true);
        cv.SetCorrectionMatrix(c.diagonal, 0, 0, 0, c.diagonal, 0, 0, 0, c.diagonal);
        Image out(o.kind, {8, 8});
        ConvertInto(cv, Mosaic(8, 8, 128), out, o.depth, 100, matrix);
        const unsigned expected = o.depth == 8 ? c.bytes : o.depth == 12 ? c.words12 : c.words16;
        for (int ch : {kBlue, kGreen, kRed}) EXPECT_EQ(out.At(3, 3, ch), expected) << ch;
      }
  });
}

// Table entries on the clamp edges of both rules.
TEST(ConverterTables, EntriesOnTheirClampEdges) {
  CBayerConverter cv;
  cv.SetColorBalance(1, 0, -1);
  Image out(Out::k48From16, {4, 4});
  ConvertInto(cv, Mosaic(4, 4), out, 12);  // 16-bit rule, depth 12: offsets of +-16
  const unsigned short *red = cv.GetRedLUT(), *green = cv.GetGreenLUT(), *blue = cv.GetBlueLUT();
  EXPECT_EQ((std::vector<int>{red[4078], red[4079], red[4080], red[65535]}),
            (std::vector<int>{4094, 4095, 4095, 4095}));
  EXPECT_EQ((std::vector<int>{green[4095], green[4096]}), (std::vector<int>{4095, 4095}));
  EXPECT_EQ((std::vector<int>{blue[0], blue[15], blue[16], blue[17]}),
            (std::vector<int>{0, 0, 0, 1}));
  for (unsigned short format : {112, 113, 114, 115}) {  // the byte rule: 0..255 whatever the depth
    Image bgrx(Out::k32From16, {4, 4});
    ConvertInto(cv, Mosaic(4, 4), bgrx, 12, format);
    EXPECT_EQ((std::vector<int>{red[254], red[255], red[256], blue[0], blue[1], blue[2]}),
              (std::vector<int>{255, 255, 255, 0, 0, 1}))
        << format;
  }
}

}  // namespace
