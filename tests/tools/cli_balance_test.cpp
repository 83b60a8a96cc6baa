// tavrix balance and demosaic --auto-balance, run as a program.
#include <iterator>
#include <memory>

#include <tavrix/tavrix.h>

#include "cli_test_support.h"
#include "image_files.h"

namespace tavrix::cli_test {
namespace {

constexpr int kWidth = 24, kHeight = 16;
const char *const kEstimators[] = {"grayworld", "whiteworld", "scalebymax",
                                   "meanequalization", "stddev", "meanstddev"};
using Estimator = void (CColorBalance::*)(CImageInfo *, CImageData *, unsigned short *,
                                          unsigned short *, unsigned short *);
const Estimator kMethods[] = {&CColorBalance::GrayWorld,         &CColorBalance::WhiteWorld,
                              &CColorBalance::ScaleByMax,        &CColorBalance::MeanEqualization,
                              &CColorBalance::StandardDeviation, &CColorBalance::MeanAndStandardDeviation};

// A smooth picture with a warm cast: red strong, blue weak.
Picture CastPicture(int maxval) {
  Picture p{kWidth, kHeight, maxval, {}};
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      const double v = double(x + y + 4) / (kWidth + kHeight + 4);
      p.rgb.insert(p.rgb.end(), {std::uint16_t(maxval * v), std::uint16_t(maxval * v * 0.8),
                                 std::uint16_t(maxval * v * 0.5)});
    }
  return p;
}

Bytes PpmBytes(const Picture &p) {
  const std::string header = "P6\n" + std::to_string(p.width) + " " + std::to_string(p.height) +
                             "\n" + std::to_string(p.maxval) + "\n";
  Bytes bytes(header.begin(), header.end());
  for (std::uint16_t v : p.rgb) {
    if (p.maxval > 255) bytes.push_back(std::uint8_t(v >> 8));
    bytes.push_back(std::uint8_t(v));
  }
  return bytes;
}

// The library's estimator and caller-table apply on the picture, in its layout.
Picture LibraryBalance(Picture p, std::size_t estimator, int depth) {
  const bool wide = p.maxval > 255;
  const std::size_t values = p.rgb.size();
  std::vector<std::uint16_t> words(values);
  std::vector<unsigned char> bytes(values);
  for (std::size_t i = 0; i < values; i += 3)
    for (std::size_t c = 0; c < 3; ++c) {
      words[i + c] = p.rgb[i + 2 - c];
      bytes[i + c] = static_cast<unsigned char>(p.rgb[i + 2 - c]);
    }
  CImageInfo info = {unsigned(p.width), unsigned(p.height), wide ? 48u : 24u, wide ? 16u : 8u,
                     unsigned(values * (wide ? 2 : 1)), eFormatRGB};
  CImageData data = {wide ? reinterpret_cast<unsigned char *>(words.data()) : bytes.data()};
  std::vector<unsigned short> red(65536), green(65536), blue(65536);
  auto balance = std::make_unique<CColorBalance>();
  balance->SetLutDepth(depth);
  const Estimator run = kMethods[estimator];
  (balance.get()->*run)(&info, &data, red.data(), green.data(), blue.data());
  balance->ApplyColorBalance(&info, &data, red.data(), green.data(), blue.data());
  for (std::size_t i = 0; i < values; i += 3)
    for (std::size_t c = 0; c < 3; ++c) p.rgb[i + 2 - c] = wide ? words[i + c] : bytes[i + c];
  return p;
}

using BalanceTest = ToolTest;

TEST_F(BalanceTest, EveryEstimatorGivesTheLibrarysResult) {
  struct Case {
    const char *why;
    int maxval, depth;
  };
  for (const Case c : {Case{"8-bit channels, depth 8", 255, 8}, Case{"12-bit values, depth 12", 4095, 12}}) {
    const Picture cast = CastPicture(c.maxval);
    Write("cast.ppm", PpmBytes(cast));
    for (std::size_t e = 0; e < std::size(kEstimators); ++e) {
      SCOPED_TRACE(std::string(c.why) + ", " + kEstimators[e]);
      const RunResult r = Run(std::string("balance cast.ppm out.ppm --force --quiet --estimator ") + kEstimators[e]);
      ASSERT_EQ(r.status, 0) << r.err;
      const Picture expected = LibraryBalance(cast, e, c.depth);
      const Picture actual = ParsePpm(Read("out.ppm"));
      EXPECT_EQ(actual.maxval, c.maxval);
      EXPECT_TRUE(actual.rgb == expected.rgb);
    }
  }
}

TEST_F(BalanceTest, DepthOptionSetsTheFullScale) {
  const Picture cast = CastPicture(4095);
  Write("cast.ppm", PpmBytes(cast));
  ASSERT_EQ(Run("balance cast.ppm out.ppm --estimator scalebymax --depth 16").status, 0);
  EXPECT_TRUE(ParsePpm(Read("out.ppm")).rgb == LibraryBalance(cast, 2, 16).rgb);
}

// Values written on the sensor's scale into a 16-bit PNG come back on it.
TEST_F(BalanceTest, SixteenBitPngKeepsTheSensorScale) {
  if (!files::PngSupported()) GTEST_SKIP() << "built without libpng";
  Write("in.pgm", PgmBytes(16, 12, 1023, RandomSamples(16 * 12, 10, 9)));
  ASSERT_EQ(Run("demosaic in.pgm frame.png --algorithm bilinear").status, 0);
  ASSERT_EQ(Run("demosaic in.pgm frame.ppm --algorithm bilinear").status, 0);
  ASSERT_EQ(Run("balance frame.png a.ppm --estimator meanstddev").status, 0);
  ASSERT_EQ(Run("balance frame.ppm b.ppm --estimator meanstddev").status, 0);
  EXPECT_EQ(ParsePpm(Read("a.ppm")).maxval, 1023);
  EXPECT_EQ(Read("a.ppm"), Read("b.ppm"));
}

TEST_F(BalanceTest, AutoBalanceInDemosaicEqualsTheBalanceCommand) {
  for (int bits : {8, 12}) {
    SCOPED_TRACE(bits);
    Write("in.pgm", PgmBytes(kWidth, kHeight, (1 << bits) - 1, RandomSamples(kWidth * kHeight, bits, 6)));
    for (const char *estimator : {"grayworld", "stddev"}) {
      const std::string e = estimator;
      ASSERT_EQ(Run("demosaic in.pgm plain.ppm --force --algorithm laplacian1").status, 0);
      ASSERT_EQ(Run("balance plain.ppm two-steps.ppm --force --estimator " + e).status, 0);
      ASSERT_EQ(Run("demosaic in.pgm one-step.ppm --force --algorithm laplacian1 --auto-balance " + e).status, 0);
      EXPECT_EQ(Read("one-step.ppm"), Read("two-steps.ppm")) << e;
    }
  }
}

TEST_F(BalanceTest, NothingToCorrectLeavesTheImageAndSaysSo) {
  Picture grey{4, 2, 255, {}};
  for (int i = 0; i < 8; ++i) grey.rgb.insert(grey.rgb.end(), 3, std::uint16_t(30 * i));
  Write("grey.ppm", PpmBytes(grey));
  const RunResult r = Run("balance grey.ppm out.ppm --estimator grayworld");
  ASSERT_EQ(r.status, 0);
  EXPECT_NE(r.err.find("tavrix: grey.ppm: grayworld found nothing to correct; written unchanged"),
            std::string::npos) << r.err;
  EXPECT_EQ(Read("out.ppm"), Read("grey.ppm"));
}

TEST_F(BalanceTest, OddMaxvalIsReadOnTheEightBitScale) {
  Write("odd.ppm", PpmBytes({2, 1, 100, {100, 100, 100, 50, 50, 50}}));
  ASSERT_EQ(Run("balance odd.ppm out.ppm --estimator grayworld --quiet").status, 0);
  const Picture p = ParsePpm(Read("out.ppm"));
  EXPECT_EQ(p.maxval, 255);
  EXPECT_EQ(p.rgb, (std::vector<std::uint16_t>{255, 255, 255, 128, 128, 128}));  // 50 * 255 / 100 = 127.5
}

TEST_F(BalanceTest, BadInputIsRefusedWithItsReason) {
  Write("cast.ppm", PpmBytes(CastPicture(255)));
  Write("note.txt", {'h', 'i'});
  Bytes truncated = PpmBytes(CastPicture(255));
  truncated.resize(truncated.size() - 1);
  Write("truncated.ppm", truncated);
  Write("broken.png", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0, 0, 0});
  const Refusal kCases[] = {
      {"balance cast.ppm out.ppm", "balance", "--estimator NAME is required"},
      {"balance cast.ppm out.ppm --estimator bright", "balance", "--estimator bright: expected grayworld, whiteworld"},
      {"balance cast.ppm out.ppm --estimator stddev --depth 20", "balance", "--depth 20: expected a whole number from 8 to 16"},
      {"balance cast.ppm out.ppm --estimator stddev --depth 12", "cast.ppm", "the image has 8-bit channels"},
      {"balance note.txt out.ppm --estimator stddev", "note.txt", "not a colour image (PNG, binary PPM or RGB PAM)"},
      {"balance truncated.ppm out.ppm --estimator stddev", "truncated.ppm", "truncated"},
      {"balance broken.png out.ppm --estimator stddev", "broken.png", files::PngSupported() ? "bad PNG" : "PNG is not available"},
      {"balance cast.ppm out.tif --estimator stddev", "out.tif", "unknown image type"},
  };
  ExpectRefused(kCases);
}

}  // namespace
}  // namespace tavrix::cli_test
