// tavrix demosaic on camera raw files: DNG files written here, converted by
// the tool to TIFF, against the library's own conversion of the same mosaic.
#include <cmath>
#include <cstring>

#include <tavrix/tavrix.h>

#include "cli_test_support.h"
#include "raw_test_files.h"

namespace tavrix::cli_test {
namespace {

constexpr int kStoredWidth = 40, kStoredHeight = 30;  // the raw reader wants at least 22 x 22

// The mosaic the tool should hand the converter: the visible area, black
// subtracted and scaled so that the white level becomes 2^bits - 1, rounded.
std::vector<std::uint16_t> Developed(const DngDescription &d, int top, int left, int width,
                                     int height, int bits) {
  const double white = d.white != 0 ? d.white : (1 << d.bits) - 1;
  const double scale = ((1 << bits) - 1) / (white - d.black);
  std::vector<std::uint16_t> m;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) {
      const double v = d.samples[std::size_t(top + r) * d.width + std::size_t(left + c)];
      const double clipped = std::min(std::max(v - d.black, 0.0), white - d.black);
      m.push_back(std::uint16_t(std::lround(clipped * scale)));
    }
  return m;
}

// The library on that mosaic, gains written into its tables after a first
// conversion has built them for this depth. Values as the tool writes them
// to a TIFF: clipped to the sensor's range, 16-bit words shifted to the full scale.
std::vector<std::uint16_t> LibraryResult(const std::vector<std::uint16_t> &mosaic, int width,
                                         int height, int bits, ePatternOrigin origin,
                                         eCalculationMode mode, const double gains[3]) {
  CBayerConverter conv;
  conv.SetPatternOrigin(origin);
  conv.SetCalcMode(mode);
  const ISize size = {width, height};
  const std::size_t pixels = std::size_t(width) * std::size_t(height);
  std::vector<std::uint16_t> words(pixels * 3);
  std::vector<unsigned char> bytes(pixels * 3);
  const std::vector<unsigned char> narrow(mosaic.begin(), mosaic.end());
  const unsigned top = (1u << bits) - 1;
  for (int pass = 0; pass < 2; ++pass) {
    if (pass == 1) {
      unsigned short *tables[3] = {conv.GetRedLUT(), conv.GetGreenLUT(), conv.GetBlueLUT()};
      for (int c = 0; c < 3; ++c)
        for (std::size_t i = 0; i < 65536; ++i)
          tables[c][i] = std::uint16_t(std::min<double>(top, std::floor(tables[c][i] * gains[c] + 0.5)));
    }
    std::fill(words.begin(), words.end(), 0);
    std::fill(bytes.begin(), bytes.end(), 0);
    if (bits > 8)
      conv.ConvertMono16ToBGR48(words.data(), size, mosaic.data(), size, bits, CColorMatrix());
    else
      conv.ConvertMono8ToBGR(bytes.data(), size, narrow.data(), size, CColorMatrix());
  }
  std::vector<std::uint16_t> rgb;
  for (std::size_t i = 0; i < pixels; ++i)
    for (int c = 2; c >= 0; --c) {  // blue, green, red in the records
      if (bits == 8) {
        rgb.push_back(bytes[3 * i + std::size_t(c)]);
        continue;
      }
      const unsigned v = words[3 * i + std::size_t(c)];
      rgb.push_back(std::uint16_t((v <= top ? v : v >= 0x8000 ? 0 : top) << (16 - bits)));
    }
  return rgb;
}

using CameraRawTest = ToolTest;

TEST_F(CameraRawTest, ToolMatchesTheLibraryOnTheFilesMosaic) {
  struct Case {
    const char *why;
    int bits;
    std::array<std::uint8_t, 4> cfa;
    std::uint32_t black, white;
    std::array<std::uint32_t, 4> activeArea;
    std::array<float, 3> neutral;
    const char *options;
    // Expected by hand: the visible area (the raw reader moves an odd edge of
    // the active area one sample inwards; the pattern starts at the active
    // area, so such a move shifts the phase), the converter's depth and origin.
    int top, left, width, height, depth;
    ePatternOrigin origin;
    double gains[3];
    eCalculationMode mode;
  };
  const Case kCases[] = {
      {"16-bit RGGB, no levels", 16, {kRed, kGreen, kGreen, kBlue}, 0, 0, {}, {0.5f, 1, 0.8f},
       "", 0, 0, 40, 30, 16, eOriginRG, {2, 1, 1.25}, eFastBilinear},
      {"12-bit packed GRBG, black and white levels", 12, {kGreen, kRed, kBlue, kGreen}, 64, 4000, {},
       {0.4f, 1, 0.5f}, "--algorithm bilinear", 0, 0, 40, 30, 12, eOriginGR, {2.5, 1, 2},
       eBilinear},
      {"8-bit GBRG: 8-bit output", 8, {kGreen, kBlue, kRed, kGreen}, 10, 250, {}, {0.5f, 1, 0.5f},
       "--algorithm laplacian1", 0, 0, 40, 30, 8, eOriginGB, {2, 1, 2}, eLaplacian1},
      {"14 bits in 16-bit words, BGGR", 16, {kBlue, kGreen, kGreen, kRed}, 512, 15000, {},
       {0.5f, 1, 0.625f}, "--algorithm laplacian2", 0, 0, 40, 30, 14, eOriginBG, {2, 1, 1.6},
       eLaplacian2},
      {"odd active area origin: RGGB becomes BG", 12, {kRed, kGreen, kGreen, kBlue}, 0, 0,
       {1, 3, 29, 39}, {0.5f, 1, 0.8f}, "--algorithm laplacian2", 2, 4, 34, 26, 12, eOriginBG,
       {2, 1, 1.25}, eLaplacian2},
      {"odd top only: RGGB becomes GB", 12, {kRed, kGreen, kGreen, kBlue}, 0, 0, {1, 2, 29, 38},
       {0.5f, 1, 0.8f}, "", 2, 2, 36, 26, 12, eOriginGB, {2, 1, 1.25}, eFastBilinear},
      {"gains from the command line", 12, {kRed, kGreen, kGreen, kBlue}, 0, 0, {}, {0.5f, 1, 0.8f},
       "--white-balance 1.5,1,3", 0, 0, 40, 30, 12, eOriginRG, {1.5, 1, 3}, eFastBilinear},
      {"no white balance", 12, {kRed, kGreen, kGreen, kBlue}, 0, 0, {}, {0.5f, 1, 0.8f},
       "--white-balance none", 0, 0, 40, 30, 12, eOriginRG, {1, 1, 1}, eFastBilinear},
      {"depth given with --bits", 12, {kRed, kGreen, kGreen, kBlue}, 100, 4000, {}, {0.5f, 1, 0.8f},
       "--bits 14", 0, 0, 40, 30, 14, eOriginRG, {2, 1, 1.25}, eFastBilinear},
  };
  int index = 0;
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    DngDescription d;
    d.width = kStoredWidth;
    d.height = kStoredHeight;
    d.bits = c.bits;
    d.cfa = c.cfa;
    d.black = c.black;
    d.white = c.white;
    d.activeArea = c.activeArea;
    d.neutral = c.neutral;
    d.samples = RandomSamples(std::size_t(d.width) * d.height, c.bits, std::uint32_t(7 + index));
    const std::string name = "in" + std::to_string(index++);
    ASSERT_TRUE(WriteDng(Path(name + ".dng"), d));
    const RunResult r = Run("demosaic " + name + ".dng " + name + ".tiff --quiet " + c.options);
    ASSERT_EQ(r.status, 0) << r.err;
    const TiffPicture tiff = ReadTiff(Path(name + ".tiff"));
    EXPECT_EQ(tiff.width, c.width);
    EXPECT_EQ(tiff.height, c.height);
    EXPECT_EQ(tiff.bitsPerSample, c.depth > 8 ? 16 : 8);
    const std::vector<std::uint16_t> mosaic = Developed(d, c.top, c.left, c.width, c.height, c.depth);
    EXPECT_TRUE(tiff.rgb == LibraryResult(mosaic, c.width, c.height, c.depth, c.origin, c.mode, c.gains))
        << "pixel values differ";
    const char *pattern = c.origin == eOriginRG ? "pattern RG" : c.origin == eOriginGR ? "pattern GR"
                          : c.origin == eOriginGB ? "pattern GB" : "pattern BG";
    EXPECT_NE(tiff.description.find(pattern), std::string::npos) << tiff.description;
    EXPECT_NE(tiff.description.find(std::to_string(c.depth) + "-bit mosaic"), std::string::npos);
  }
}

// A grey card under reddish light, by hand: every sample 1000 of 4095, so
// every interior pixel is (1000 x red gain, 1000, 1000 x blue gain).
TEST_F(CameraRawTest, GainsScaleAFlatFieldByHand) {
  DngDescription d;
  d.width = kStoredWidth;
  d.height = kStoredHeight;
  d.bits = 12;
  d.neutral = {0.5f, 1, 0.8f};
  d.samples.assign(std::size_t(d.width) * d.height, 1000);
  ASSERT_TRUE(WriteDng(Path("grey.dng"), d));
  struct Case {
    const char *why, *options;
    std::uint16_t red, green, blue;
  };
  const Case kCases[] = {
      {"as shot: 1/0.5 and 1/0.8", "", 2000, 1000, 1250},
      {"given", "--white-balance 0.5,2,4.2", 500, 2000, 4095},  // 4200 saturates
      {"none", "--white-balance none", 1000, 1000, 1000},
      {"offsets first, then gains", "--balance 10,0,0 --white-balance 2,1,1", 2320, 1000, 1000},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    const RunResult r = Run("demosaic grey.dng grey.ppm --force --quiet --algorithm bilinear " +
                            std::string(c.options));
    ASSERT_EQ(r.status, 0) << r.err;
    const Picture p = ParsePpm(Read("grey.ppm"));
    ASSERT_EQ(p.width, kStoredWidth);
    const std::size_t centre = (std::size_t(p.height / 2) * p.width + std::size_t(p.width / 2)) * 3;
    EXPECT_EQ(p.rgb[centre], c.red);
    EXPECT_EQ(p.rgb[centre + 1], c.green);
    EXPECT_EQ(p.rgb[centre + 2], c.blue);
  }
}

TEST_F(CameraRawTest, DamagedAndUnsupportedFilesAreRefused) {
  DngDescription good;
  good.width = kStoredWidth;
  good.height = kStoredHeight;
  good.bits = 12;
  good.samples = RandomSamples(std::size_t(good.width) * good.height, 12, 3);
  ASSERT_TRUE(WriteDng(Path("good.dng"), good));
  const Bytes whole = Read("good.dng");
  Write("cut.dng", Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(whole.size() / 2)));
  Write("empty.dng", {});
  DngDescription shortData = good;
  shortData.storedRows = good.height / 2;
  ASSERT_TRUE(WriteDng(Path("short.dng"), shortData));
  DngDescription notBayer = good;
  notBayer.cfa = {kRed, kGreen, kBlue, kBlue};
  ASSERT_TRUE(WriteDng(Path("notbayer.dng"), notBayer));
  DngDescription linear = good;
  linear.channels = 3;
  linear.samples = RandomSamples(std::size_t(good.width) * good.height * 3, 12, 3);
  ASSERT_TRUE(WriteDng(Path("linear.dng"), linear));
  Write("frame.pgm", PgmBytes(8, 8, 255, RandomSamples(64, 8, 1)));
  const Refusal kCases[] = {
      {"demosaic empty.dng out.tiff", "empty.dng", "empty file"},
      {"demosaic cut.dng out.tiff", "cut.dng", "nor a camera raw file"},
      {"demosaic short.dng out.tiff", "short.dng", "damaged raw data"},
      {"demosaic notbayer.dng out.tiff", "notbayer.dng", "is not a 2 x 2 Bayer mosaic"},
      {"demosaic linear.dng out.tiff", "linear.dng", "no colour-filter mosaic"},
      {"demosaic good.dng out.tiff --pattern RG", "good.dng", "states its own pattern (here GB)"},
      {"demosaic frame.pgm out.tiff --white-balance camera", "frame.pgm",
       "only camera raw files record an as-shot white balance"},
      {"demosaic good.dng out.tiff --white-balance 0,1,1", "demosaic", "gains must lie above 0"},
      {"demosaic good.dng out.tif --white-balance 1,1", "demosaic", "expected 3 comma-separated"},
  };
  ExpectRefused(kCases);
}

}  // namespace
}  // namespace tavrix::cli_test
