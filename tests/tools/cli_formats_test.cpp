// tavrix demosaic on headerless files in camera layouts (--packing) and with
// the pattern named in other ecosystems' words (--pattern).
#include <string>

#include <tavrix/formats.h>

#include "cli_test_support.h"

namespace tavrix::cli_test {
namespace {

constexpr int kWidth = 16, kHeight = 12;

class SensorFormatTest : public ToolTest {};

Bytes Packed(Packing packing, int bits, const std::vector<std::uint16_t> &samples) {
  const std::size_t rowBytes = PackedRowBytes(packing, kWidth);
  Bytes out(rowBytes * kHeight);
  EXPECT_TRUE(Pack(packing, bits, kWidth, kHeight, samples.data(), 2 * kWidth, out.data(),
                   rowBytes)
                  .ok());
  return out;
}

TEST_F(SensorFormatTest, EveryPackingGivesWhatThePgmGives) {
  struct Case { const char *packing; Packing layout; int bits; const char *bitsOption; };
  constexpr Case kCases[] = {
      {"raw10", Packing::kRaw10, 10, ""},       {"raw12", Packing::kRaw12, 12, ""},
      {"raw14", Packing::kRaw14, 14, ""},       {"mono10p", Packing::kMono10p, 10, ""},
      {"mono12p", Packing::kMono12p, 12, ""},   {"mono12packed", Packing::kMono12Packed, 12, ""},
      {"msb16", Packing::kMsb16, 12, " --bits 12"}, {"be16", Packing::kBe16, 10, " --bits 10"},
      {"plain8", Packing::kPlain8, 8, " --bits 8"}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.packing);
    const std::vector<std::uint16_t> mosaic = RandomSamples(kWidth * kHeight, c.bits, 3);
    Write("in.pgm", PgmBytes(kWidth, kHeight, (1 << c.bits) - 1, mosaic));
    Write("in.raw", Packed(c.layout, c.bits, mosaic));
    ASSERT_EQ(Run("demosaic in.pgm a.ppm --force --pattern RG --algorithm bilinear").status, 0);
    const RunResult r = Run(std::string("demosaic in.raw b.ppm --force --pattern RG "
                                        "--algorithm bilinear --width 16 --height 12 --packing ") +
                            c.packing + c.bitsOption);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Read("a.ppm"), Read("b.ppm"));
  }
}

TEST_F(SensorFormatTest, PatternNamesOfOtherEcosystemsGiveTheSameImage) {
  const std::vector<std::uint16_t> mosaic = RandomSamples(kWidth * kHeight, 12, 8);
  Write("in.pgm", PgmBytes(kWidth, kHeight, 4095, mosaic));
  Write("in.raw", Packed(Packing::kRaw12, 12, mosaic));
  ASSERT_EQ(Run("demosaic in.pgm own.ppm --pattern RG").status, 0);
  for (const char *name : {"RGGB", "COLOR_BayerBG2BGR", "BayerRG12", "0112", "0x94949494"}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(Run(std::string("demosaic in.pgm other.ppm --force --pattern ") + name).status, 0);
    EXPECT_EQ(Read("own.ppm"), Read("other.ppm"));
  }
  // A V4L2 name with a layout reads the headerless file in that layout.
  const RunResult r = Run("demosaic in.raw v4l2.ppm --width 16 --height 12 --pattern SRGGB12P");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("own.ppm"), Read("v4l2.ppm"));
}

TEST_F(SensorFormatTest, RefusalsNameTheLayoutAndTheNumbers) {
  Write("in.raw", Bytes(PackedRowBytes(Packing::kRaw12, kWidth) * kHeight - 1, 0));
  Write("good.pgm", PgmBytes(kWidth, kHeight, 255, RandomSamples(kWidth * kHeight, 8, 1)));
  const Refusal kCases[] = {
      {"demosaic in.raw out.ppm --width 16 --height 12 --packing raw12", "in.raw",
       "file holds 287 bytes, but 12 rows of 16 raw12 samples (24 bytes each) need 288"},
      {"demosaic in.raw out.ppm --width 16 --height 12 --packing raw16", "demosaic",
       "--packing raw16: expected raw10, raw12"},
      {"demosaic in.raw out.ppm --width 16 --height 12 --packing raw12 --bits 10", "demosaic",
       "raw12 cannot carry 10-bit samples: it holds 12-bit samples only"},
      {"demosaic in.raw out.ppm --width 18 --height 12 --packing raw10", "demosaic",
       "raw10 packs 4 samples into 5 bytes: width 18 is not a multiple of 4"},
      {"demosaic in.raw out.ppm --width 16 --height 12 --packing msb16", "demosaic",
       "--packing msb16 carries 1 to 16 bits: give --bits"},
      {"demosaic good.pgm out.ppm --packing raw12", "demosaic",
       "--packing applies to a headerless raw input"},
      {"demosaic in.raw out.ppm --width 16 --height 12 --pattern SRGGB10P --packing raw12",
       "demosaic", "--pattern SRGGB10P names raw10 samples, but --packing says raw12"},
  };
  ExpectRefused(kCases);
}

}  // namespace
}  // namespace tavrix::cli_test
