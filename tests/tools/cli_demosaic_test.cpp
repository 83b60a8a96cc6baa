// tavrix demosaic, run as a program: its files against the library's own
// results, hand-worked colours, and every refusal.
#include <cstring>
#include <filesystem>

#include <tavrix/tavrix.h>

#include "cli_test_support.h"
#include "image_files.h"

namespace tavrix::cli_test {
namespace {

constexpr int kWidth = 16, kHeight = 12;

enum class Record { kBgr24, kBgrx32, kBgr48 };

struct Conversion {
  ePatternOrigin origin = eOriginGB;
  eCalculationMode mode = eFastBilinear;
  Record record = Record::kBgr24;
  int offsets[3] = {0, 0, 0};
  bool correct = false;
  double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  int factor = 1;
};

// Words outside the sensor's range: 32768 and up were negative, others overshoot.
std::uint16_t Clip(unsigned v, int maxval) {
  return std::uint16_t(v <= unsigned(maxval) ? v : v >= 0x8000 ? 0 : unsigned(maxval));
}

template <class Pixel>
Picture Unpack(const std::vector<std::uint16_t> &buffer, int width, int rows, int maxval) {
  Picture p{width, rows, maxval, {}};
  const unsigned char *bytes = reinterpret_cast<const unsigned char *>(buffer.data());
  for (std::size_t i = 0; i < std::size_t(width) * std::size_t(rows); ++i) {
    Pixel px;
    std::memcpy(&px, bytes + i * sizeof px, sizeof px);
    p.rgb.insert(p.rgb.end(), {Clip(px.rgbtRed, maxval), Clip(px.rgbtGreen, maxval),
                               Clip(px.rgbtBlue, maxval)});
  }
  return p;
}

// The library's own conversion of a mosaic, into a zeroed buffer of outSize,
// of which the first `rows` rows are returned.
Picture LibraryResult(const std::vector<std::uint16_t> &mosaic, int width, int height, int bits,
                      const Conversion &s, ISize outSize, int rows) {
  CBayerConverter conv;
  conv.SetPatternOrigin(s.origin);
  conv.SetCalcMode(s.mode);
  conv.SetSampleFactor(s.factor);
  conv.SetColorBalance(s.offsets[0], s.offsets[1], s.offsets[2]);
  conv.SetColorCorrectionMode(s.correct);
  const double *m = s.matrix;
  conv.SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  CColorMatrix matrix;
  std::memcpy(matrix.m_matrix, s.matrix, sizeof s.matrix);
  const ISize in = {width, height};
  std::vector<std::uint16_t> buffer(std::size_t(outSize.width) * std::size_t(outSize.height) * 3, 0);
  unsigned char *bytes = reinterpret_cast<unsigned char *>(buffer.data());
  const std::vector<unsigned char> narrow(mosaic.begin(), mosaic.end());
  const bool wide = bits > 8;
  switch (s.record) {
    case Record::kBgr24:
      if (wide) conv.ConvertMono16ToBGR(bytes, outSize, mosaic.data(), in, bits, matrix);
      else conv.ConvertMono8ToBGR(bytes, outSize, narrow.data(), in, matrix);
      return Unpack<tagRGBTRIPLE>(buffer, outSize.width, rows, 255);
    case Record::kBgrx32:
      if (wide) conv.ConvertMono16ToBGRx(bytes, outSize, mosaic.data(), in, bits, 100, matrix);
      else conv.ConvertMono8ToBGRx(bytes, outSize, narrow.data(), in, matrix);
      return Unpack<CBayerConverter::BGRxTRIPLE>(buffer, outSize.width, rows, 255);
    case Record::kBgr48:
      conv.ConvertMono16ToBGR48(buffer.data(), outSize, mosaic.data(), in, bits, matrix);
      return Unpack<CBayerConverter::RGBTRIPLE16>(buffer, outSize.width, rows, (1 << bits) - 1);
  }
  return {};
}

void ExpectSamePicture(const Picture &actual, const Picture &expected) {
  EXPECT_EQ(actual.width, expected.width);
  EXPECT_EQ(actual.height, expected.height);
  EXPECT_EQ(actual.maxval, expected.maxval);
  EXPECT_TRUE(actual.rgb == expected.rgb) << "pixel values differ";
}

Conversion With(ePatternOrigin origin, eCalculationMode mode, Record record) {
  Conversion s;
  s.origin = origin;
  s.mode = mode;
  s.record = record;
  return s;
}

using DemosaicTest = ToolTest;

TEST_F(DemosaicTest, EveryOptionReachesTheConverter) {
  const Conversion kMatrixBilinear = [] {
    Conversion s = With(eOriginBG, eBilinear, Record::kBgr48);
    s.correct = true;
    const double m[9] = {0.9, 0.1, 0, 0, 1, 0, 0, 0.2, 0.8};
    std::memcpy(s.matrix, m, sizeof m);
    return s;
  }();
  Conversion fastCorrected32 = kMatrixBilinear;
  fastCorrected32.mode = eFastBilinear;
  fastCorrected32.record = Record::kBgrx32;
  Conversion offsets = With(eOriginRG, eLaplacian1, Record::kBgr24);
  offsets.offsets[0] = 20, offsets.offsets[1] = -10, offsets.offsets[2] = 5;
  const std::string matrixArgs = " --correct --matrix 0.9,0.1,0,0,1,0,0,0.2,0.8";
  struct Case {
    const char *why;
    int bits;
    std::string args;
    Conversion setup;
  };
  const Case kCases[] = {
      {"8-bit samples and the converter's defaults", 8, "", Conversion()},
      {"pattern and algorithm", 8, "--pattern RG --algorithm laplacian2",
       With(eOriginRG, eLaplacian2, Record::kBgr24)},
      {"the 32-bit record", 8, "--pattern BG --algorithm bilinear --output bgrx32",
       With(eOriginBG, eBilinear, Record::kBgrx32)},
      {"16-bit samples keep the sensor's scale by default", 12, "--pattern GR --algorithm laplacian1",
       With(eOriginGR, eLaplacian1, Record::kBgr48)},
      {"16-bit samples to 8 bits per channel", 12, "--output bgr24 --pattern BG --algorithm laplacian2",
       With(eOriginBG, eLaplacian2, Record::kBgr24)},
      {"16-bit samples through the 32-bit fast pass", 12, "--output bgrx32 --pattern GB",
       With(eOriginGB, eFastBilinear, Record::kBgrx32)},
      {"balance offsets", 8, "--pattern RG --algorithm laplacian1 --balance 20,-10,5", offsets},
      {"balance offsets on 12-bit samples", 12, "--pattern RG --algorithm laplacian1 --balance 20,-10,5 --output bgr24",
       offsets},
      {"matrix passed to a 48-bit conversion", 12,
       "--pattern BG --algorithm bilinear --output bgr48" + matrixArgs, kMatrixBilinear},
      {"matrix stored for the corrected 32-bit fast pass", 10,
       "--pattern BG --output bgrx32" + matrixArgs, fastCorrected32},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    const std::vector<std::uint16_t> mosaic = RandomSamples(kWidth * kHeight, c.bits, 7);
    Write("in.pgm", PgmBytes(kWidth, kHeight, (1 << c.bits) - 1, mosaic));
    const RunResult r = Run("demosaic in.pgm out.ppm --force --quiet " + c.args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    ExpectSamePicture(ParsePpm(Read("out.ppm")),
                      LibraryResult(mosaic, kWidth, kHeight, c.bits, c.setup, {kWidth, kHeight}, kHeight));
  }
}

TEST_F(DemosaicTest, DecimationKeepsEveryNthColumnAndRow) {
  struct Case {
    const char *why;
    int width, height, bits, factor;
    int imageWidth, imageRows;  // worked out by hand
  };
  const Case kCases[] = {
      {"even factor: rows 0, 2, ..., 10", 16, 12, 8, 2, 8, 6},
      {"odd factor: only rows that are multiples of 6", 24, 20, 8, 3, 8, 4},
      {"width 20 / 3 rounded down to even", 20, 8, 8, 3, 6, 2},
      {"width 20 / 4 = 5 rounded down to even", 20, 8, 8, 4, 4, 2},
      {"16-bit samples", 16, 12, 12, 2, 8, 6},
      {"factor 1 changes nothing", 16, 12, 8, 1, 16, 12},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.why);
    const std::vector<std::uint16_t> mosaic = RandomSamples(std::size_t(c.width) * c.height, c.bits, 3);
    Write("in.pgm", PgmBytes(c.width, c.height, (1 << c.bits) - 1, mosaic));
    const RunResult r = Run("demosaic in.pgm out.ppm --force --pattern GR --decimate " +
                            std::to_string(c.factor));
    ASSERT_EQ(r.status, 0) << r.err;
    Conversion s = With(eOriginGR, eFastBilinear, Record::kBgrx32);
    s.factor = c.factor;
    // Any buffer taller than the image holds the same packed rows.
    const ISize buffer = {c.imageWidth, c.factor == 1 ? c.height : 2 * c.imageRows + 4};
    ExpectSamePicture(ParsePpm(Read("out.ppm")),
                      LibraryResult(mosaic, c.width, c.height, c.bits, s, buffer, c.imageRows));
  }
}

// A flat colour sampled on a BG mosaic comes back as that colour inside the
// border, in both file types, in red-green-blue order. (Not the bilinear
// passes: at some green sites they average the wrong neighbours on purpose.)
TEST_F(DemosaicTest, FlatColourComesBackInEveryAlgorithm) {
  // 8-bit PNGs through libpng's own reader; 16-bit ones, shifted up with
  // sBIT 12, through the tool's, which brings them back to the 12-bit scale.
  const auto ReadPng = [this](int bits) {
    if (bits == 8) return ReadPng8(Path("flat.png"));
    files::RgbImage image;
    std::string error;
    EXPECT_TRUE(files::ReadImage(Path("flat.png"), image, error)) << error;
    return Picture{image.width, image.height, (1 << image.bits) - 1, image.data};
  };
  struct Sample {
    int bits;
    std::uint16_t red, green, blue;
  };
  for (const Sample s : {Sample{8, 200, 100, 50}, Sample{12, 3200, 1600, 800}}) {
    std::vector<std::uint16_t> mosaic(kWidth * kHeight);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x)
        mosaic[std::size_t(y) * kWidth + x] = y % 2 == 0 ? (x % 2 == 0 ? s.blue : s.green)
                                                         : (x % 2 == 0 ? s.green : s.red);
    Write("flat.pgm", PgmBytes(kWidth, kHeight, (1 << s.bits) - 1, mosaic));
    for (const char *algorithm : {"fast", "laplacian1", "laplacian2"}) {
      SCOPED_TRACE(std::string(algorithm) + " at " + std::to_string(s.bits) + " bits");
      ASSERT_EQ(Run(std::string("demosaic flat.pgm flat.ppm --force --pattern BG --algorithm ") + algorithm).status, 0);
      std::vector<Picture> pictures = {ParsePpm(Read("flat.ppm"))};
      if (files::PngSupported()) {
        ASSERT_EQ(Run(std::string("demosaic flat.pgm flat.png --force --pattern BG --algorithm ") + algorithm).status, 0);
        pictures.push_back(ReadPng(s.bits));
      }
      for (const Picture &p : pictures) {
        ASSERT_EQ(p.width, kWidth);
        ASSERT_EQ(p.maxval, (1 << s.bits) - 1);
        // The Laplacian passes read the unwritten border: three pixels stay out.
        for (int y = 3; y < kHeight - 3; ++y)
          for (int x = 3; x < kWidth - 3; ++x) {
            const std::uint16_t *px = &p.rgb[(std::size_t(y) * kWidth + x) * 3];
            ASSERT_EQ(px[0], s.red) << x << "," << y;
            ASSERT_EQ(px[1], s.green) << x << "," << y;
            ASSERT_EQ(px[2], s.blue) << x << "," << y;
          }
      }
    }
  }
}

TEST_F(DemosaicTest, HeaderlessRawGivesWhatThePgmGives) {
  for (int bits : {8, 12}) {
    SCOPED_TRACE(bits);
    const std::vector<std::uint16_t> mosaic = RandomSamples(kWidth * kHeight, bits, 11);
    Write("in.pgm", PgmBytes(kWidth, kHeight, (1 << bits) - 1, mosaic));
    Write("in.raw", RawBytes(mosaic, bits > 8));
    ASSERT_EQ(Run("demosaic in.pgm a.ppm --force --algorithm laplacian2").status, 0);
    const RunResult r = Run("demosaic in.raw b.ppm --force --algorithm laplacian2 --width 16 --height 12 --bits " +
                            std::to_string(bits));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Read("a.ppm"), Read("b.ppm"));
  }
}

TEST_F(DemosaicTest, BitsOptionSetsTheScaleOfAWidePgm) {
  const std::vector<std::uint16_t> mosaic = RandomSamples(kWidth * kHeight, 10, 5);
  Write("in.pgm", PgmBytes(kWidth, kHeight, 65535, mosaic));
  ASSERT_EQ(Run("demosaic in.pgm out.ppm --bits 10").status, 0);
  ExpectSamePicture(ParsePpm(Read("out.ppm")),
                    LibraryResult(mosaic, kWidth, kHeight, 10, With(eOriginGB, eFastBilinear, Record::kBgr48),
                                  {kWidth, kHeight}, kHeight));
}

TEST_F(DemosaicTest, CropIsARegionOfTheWholeResult) {
  Write("in.pgm", PgmBytes(kWidth, kHeight, 255, RandomSamples(kWidth * kHeight, 8, 2)));
  ASSERT_EQ(Run("demosaic in.pgm whole.ppm --algorithm bilinear").status, 0);
  ASSERT_EQ(Run("demosaic in.pgm part.ppm --algorithm bilinear --crop 3,2,5,7").status, 0);
  const Picture whole = ParsePpm(Read("whole.ppm")), part = ParsePpm(Read("part.ppm"));
  ASSERT_EQ(part.width, 5);
  ASSERT_EQ(part.height, 7);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < 3; ++c)
        EXPECT_EQ(part.rgb[(std::size_t(y) * 5 + x) * 3 + c],
                  whole.rgb[(std::size_t(y + 2) * kWidth + x + 3) * 3 + c]);
}

TEST_F(DemosaicTest, SeveralInputsGoOnPastAFailure) {
  Write("a.pgm", PgmBytes(kWidth, kHeight, 255, RandomSamples(kWidth * kHeight, 8, 1)));
  Write("b.pgm", PgmBytes(kWidth - 1, kHeight, 255, RandomSamples((kWidth - 1) * kHeight, 8, 1)));
  Write("c.pgm", PgmBytes(kWidth, kHeight, 4095, RandomSamples(kWidth * kHeight, 12, 1)));
  std::filesystem::create_directory(Path("out"));
  const RunResult r = Run("demosaic a.pgm b.pgm c.pgm --out-dir out --format ppm");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("tavrix: b.pgm: 15 x 12: odd width"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("demosaic: 2 of 3 frames, 0.00 Mpix"), std::string::npos) << r.err;
  EXPECT_EQ(ParsePpm(Read("out/a.ppm")).maxval, 255);
  EXPECT_EQ(ParsePpm(Read("out/c.ppm")).maxval, 4095);
  EXPECT_EQ(std::filesystem::exists(Path("out/b.ppm")), false);
}

TEST_F(DemosaicTest, ExistingOutputIsKeptUnlessForced) {
  Write("in.pgm", PgmBytes(kWidth, kHeight, 255, RandomSamples(kWidth * kHeight, 8, 1)));
  Write("out.ppm", {'o', 'l', 'd'});
  ExpectRefused("demosaic in.pgm out.ppm", "out.ppm", "already exists (use --force");
  EXPECT_EQ(Read("out.ppm"), (Bytes{'o', 'l', 'd'}));
  ASSERT_EQ(Run("demosaic in.pgm out.ppm --force").status, 0);
  EXPECT_EQ(ParsePpm(Read("out.ppm")).width, kWidth);
  EXPECT_EQ(Files(), (std::set<std::string>{"in.pgm", "out.ppm"}));
}

TEST_F(DemosaicTest, BadInputIsRefusedWithItsReason) {
  const std::vector<std::uint16_t> narrow = RandomSamples(kWidth * kHeight, 8, 4);
  const Bytes good = PgmBytes(kWidth, kHeight, 255, narrow);
  Write("good.pgm", good);
  Write("wide.pgm", PgmBytes(kWidth, kHeight, 4095, RandomSamples(kWidth * kHeight, 12, 4)));
  Write("truncated.pgm", Bytes(good.begin(), good.end() - 5));
  Bytes trailing = good;
  trailing.push_back(0);
  Write("trailing.pgm", trailing);
  Write("text.pgm", {'h', 'e', 'l', 'l', 'o'});
  Write("short.raw", Bytes(kWidth * kHeight * 2 - 1, 0));
  Write("oddwidth.pgm", PgmBytes(15, 12, 255, RandomSamples(15 * 12, 8, 4)));
  Write("oddheight.pgm", PgmBytes(16, 7, 255, RandomSamples(16 * 7, 8, 4)));
  Write("narrowframe.pgm", PgmBytes(2, 12, 255, RandomSamples(2 * 12, 8, 4)));
  Write("badheader.pgm", {'P', '5', '\n', '1', '6', ' ', 'x'});
  const Refusal kCases[] = {
      {"demosaic missing.pgm out.ppm", "missing.pgm", "cannot open: No such file"},
      {"demosaic truncated.pgm out.ppm", "truncated.pgm", "truncated: 16 x 12 x 1 bytes need 192"},
      {"demosaic trailing.pgm out.ppm", "trailing.pgm", "trailing data"},
      {"demosaic text.pgm out.ppm", "text.pgm", "not a binary PGM (no P5 header) nor a camera raw file"},
      {"demosaic badheader.pgm out.ppm", "badheader.pgm", "bad header: no valid height"},
      {"demosaic short.raw out.ppm --width 16 --height 12 --bits 12", "short.raw",
       "file holds 383 bytes, but 16 x 12 x 2 bytes (16-bit words) needs 384"},
      {"demosaic oddwidth.pgm out.ppm", "oddwidth.pgm", "15 x 12: odd width; the converter needs whole 2 x 2 Bayer cells"},
      {"demosaic oddheight.pgm out.ppm", "oddheight.pgm", "16 x 7: odd height"},
      {"demosaic narrowframe.pgm out.ppm", "narrowframe.pgm", "2 x 12 is too small; the converter needs at least 4 x 4"},
      {"demosaic wide.pgm out.ppm --bits 10", "wide.pgm", "does not fit in 10 bits"},
      {"demosaic good.pgm out.ppm --bits 12", "good.pgm", "holds 8-bit samples (maxval below 256), so --bits must be 8"},
      {"demosaic good.pgm out.ppm --output bgr48", "good.pgm", "--output bgr48 needs 16-bit samples"},
      {"demosaic good.pgm out.ppm --decimate 8", "good.pgm", "--decimate 8 leaves 2 columns of 16"},
      {"demosaic good.pgm out.ppm --crop 10,0,7,1", "good.pgm", "--crop 10,0,7,1 reaches outside the 16 x 12 result"},
      {"demosaic good.pgm out.jpg", "out.jpg", "unknown image type: name it .png, .tiff, .ppm or .pam"},
      {"demosaic good.pgm nowhere/out.ppm", "nowhere/out.ppm", "folder nowhere does not exist"},
      {"demosaic good.pgm out.ppm --pattern XY", "demosaic", "--pattern: unknown Bayer pattern name \"XY\""},
      {"demosaic good.pgm out.ppm --algorithm best", "demosaic", "--algorithm best: expected fast, bilinear, laplacian1, laplacian2 or directional"},
      {"demosaic good.pgm out.ppm --output rgb", "demosaic", "--output rgb: expected bgr24, bgrx32 or bgr48"},
      {"demosaic good.pgm out.ppm --auto-balance magic", "demosaic", "--auto-balance magic: expected grayworld"},
      {"demosaic good.pgm out.ppm --balance 1,2", "demosaic", "--balance 1,2: expected 3 comma-separated whole numbers from -255 to 255"},
      {"demosaic good.pgm out.ppm --matrix 1,0,0,0,1,0,0,0,1", "demosaic", "--matrix needs --correct"},
      {"demosaic good.pgm out.ppm --correct --matrix 1,0,0", "demosaic", "expected 9 comma-separated numbers"},
      {"demosaic good.pgm out.ppm --decimate 2 --algorithm bilinear", "demosaic", "--decimate needs --algorithm fast"},
      {"demosaic good.pgm out.ppm --decimate 2 --correct", "demosaic", "--decimate cannot be combined with --correct"},
      {"demosaic good.pgm out.ppm --decimate 2 --output bgr24", "demosaic", "--decimate needs --output bgrx32"},
      {"demosaic good.pgm out.ppm --decimate 0", "demosaic", "--decimate 0: expected a whole number from 1 to 1024"},
      {"demosaic good.pgm out.ppm --crop 0,0,0,5", "demosaic", "--crop 0,0,0,5: empty region"},
      {"demosaic good.pgm out.ppm --width 16", "demosaic", "needs --width, --height and --bits together"},
      {"demosaic good.pgm out.ppm --sharpen", "demosaic", "unknown option --sharpen"},
      {"demosaic good.pgm out.ppm --pattern", "demosaic", "--pattern needs a value"},
      {"demosaic good.pgm", "demosaic", "missing OUT"},
      {"demosaic good.pgm wide.pgm out.ppm", "demosaic", "3 files given: several inputs need --out-dir DIR"},
      {"demosaic good.pgm out.ppm --format ppm", "demosaic", "--format applies to --out-dir only"},
  };
  ExpectRefused(kCases);
  if (!files::PngSupported()) ExpectRefused("demosaic good.pgm out.png", "out.png", "PNG is not available");
}

TEST_F(DemosaicTest, HelpAndVersion) {
  const RunResult help = Run("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Commands:"), std::string::npos);
  for (const char *command : {"demosaic", "balance", "compress", "decompress"}) {
    SCOPED_TRACE(command);
    const RunResult r = Run(std::string(command) + " --help");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.find(std::string("Usage: tavrix ") + command), 0u);
    EXPECT_NE(r.out.find("Example"), std::string::npos);
  }
  const RunResult version = Run("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.find("tavrix 0.1.0 (library 0.1.0;"), 0u) << version.out;
  EXPECT_EQ(Run("").status, 2);
  EXPECT_EQ(Run("develop").err, "tavrix: unknown command 'develop' (see tavrix --help)\n");
}

}  // namespace
}  // namespace tavrix::cli_test
