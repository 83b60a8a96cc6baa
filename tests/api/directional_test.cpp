// The directional algorithm (Algorithm::kDirectional): exact on flat and
// linear frames, phase-consistent, the same bytes on every path, band and
// thread count, and a quality floor on a sample photograph.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "api_test_util.h"
#include "support/paths.h"

#if TAVRIX_TESTS_HAVE_IMAGES
#include <png.h>
#endif

namespace {

using api_test::Bytes;
using api_test::kSentinel;
using tavrix::PixelFormat;
using tavrix::SampleType;

// Colour (0 red, 1 green, 2 blue) of site (x, y) under `origin`.
int SiteColour(ePatternOrigin origin, int x, int y) {
  const int row0[4][2] = {{1, 2}, {1, 0}, {2, 1}, {0, 1}}, row1[4][2] = {{0, 1}, {2, 1}, {1, 0}, {1, 2}};
  const int k = origin == eOriginGB ? 0 : origin == eOriginGR ? 1 : origin == eOriginBG ? 2 : 3;
  return y % 2 == 0 ? row0[k][x % 2] : row1[k][x % 2];
}

// An RGB image (red, green, blue per pixel) sampled as a mosaic of 8- or
// 16-bit samples.
Bytes Mosaic(const std::vector<int> &rgb, int w, int h, ePatternOrigin origin, SampleType type) {
  Bytes out(std::size_t(w) * h * tavrix::BytesPerSample(type));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const std::size_t i = std::size_t(y) * w + x;
      const int v = rgb[i * 3 + std::size_t(SiteColour(origin, x, y))];
      if (type == SampleType::kMono8) {
        out[i] = std::uint8_t(v);
      } else {
        const std::uint16_t word = std::uint16_t(v);
        std::memcpy(&out[2 * i], &word, 2);
      }
    }
  return out;
}

tavrix::DemosaicOptions Options(ePatternOrigin origin, int bits = 0) {
  tavrix::DemosaicOptions o;
  o.origin = origin;
  o.algorithm = tavrix::Algorithm::kDirectional;
  o.bitDepth = bits;
  return o;
}

Bytes Convert(const Bytes &raw, SampleType type, int w, int h, PixelFormat format,
          const tavrix::DemosaicOptions &o) {
  Bytes out(std::size_t(w) * h * tavrix::BytesPerPixel(format), kSentinel);
  const tavrix::RawView in{raw.data(), w, h, std::ptrdiff_t(w) * int(tavrix::BytesPerSample(type)), type};
  const tavrix::Status s =
      tavrix::Demosaic(in, tavrix::ColorView{out.data(), w, h, 0, format}, o);
  EXPECT_TRUE(s.ok()) << s.message();
  return out;
}

// Channel c (0 red, 1 green, 2 blue) of pixel i of a 24-bit output.
int Channel24(const Bytes &bgr, std::size_t i, int c) { return bgr[i * 3 + std::size_t(2 - c)]; }

TEST(Directional, FlatAndLinearFramesComeBackExact) {
  // Flat frames everywhere (mirrored edges stay flat); ramps with a different
  // slope per channel away from the edges, where the mirror bends them.
  struct Case {
    const char *why;
    int base[3], slopeX[3], slopeY[3];
    int margin;
  };
  const Case kCases[] = {
      {"flat grey", {90, 90, 90}, {0, 0, 0}, {0, 0, 0}, 0},
      {"flat colour", {200, 40, 120}, {0, 0, 0}, {0, 0, 0}, 0},
      {"ramps across", {10, 30, 50}, {3, 2, 1}, {0, 0, 0}, 12},
      {"ramps down and across", {5, 7, 9}, {1, 2, 1}, {2, 1, 3}, 12},
  };
  const int w = 40, h = 36;
  for (const Case &c : kCases)
    for (ePatternOrigin origin : api_test::kOrigins) {
      SCOPED_TRACE(std::string(c.why) + ", origin " + std::to_string(origin));
      std::vector<int> rgb(std::size_t(w) * h * 3);
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
          for (int k = 0; k < 3; ++k)
            rgb[(std::size_t(y) * w + x) * 3 + k] = c.base[k] + c.slopeX[k] * x + c.slopeY[k] * y;
      const Bytes out = Convert(Mosaic(rgb, w, h, origin, SampleType::kMono8), SampleType::kMono8, w,
                            h, PixelFormat::kBgr24, Options(origin));
      int wrong = 0;
      for (int y = c.margin; y < h - c.margin; ++y)
        for (int x = c.margin; x < w - c.margin; ++x)
          for (int k = 0; k < 3; ++k) {
            const std::size_t i = std::size_t(y) * w + x;
            wrong += Channel24(out, i, k) != rgb[i * 3 + k];
          }
      EXPECT_EQ(wrong, 0);
    }
}

// A smooth chart with edges and fine detail, values 0..255.
std::vector<int> Chart(int w, int h) {
  std::vector<int> rgb(std::size_t(w) * h * 3);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const double r2 = double(x * x + y * y);
      const int zone = int(127.5 + 127.5 * std::cos(r2 / 90.0));
      const int edge = x + 2 * y > w ? 220 : 30;
      std::size_t i = (std::size_t(y) * w + x) * 3;
      rgb[i] = zone;
      rgb[i + 1] = (zone + edge) / 2;
      rgb[i + 2] = edge;
    }
  return rgb;
}

TEST(Directional, EveryOriginGivesTheSameImageUpToThePhaseShift) {
  // Crops of one chart one row or column apart are the four origins; away
  // from the crops' edges each must give the pixels of the crop at (0, 0).
  const int w = 52, h = 50, cw = 50, ch = 48, reach = 11;
  const std::vector<int> chart = Chart(w, h);
  struct Crop { int dx, dy; ePatternOrigin origin; };
  const Crop kCrops[] = {{0, 0, eOriginRG}, {1, 0, eOriginGR}, {0, 1, eOriginGB}, {1, 1, eOriginBG}};
  std::vector<Bytes> outs;
  for (const Crop &c : kCrops) {
    std::vector<int> crop(std::size_t(cw) * ch * 3);
    for (int y = 0; y < ch; ++y)
      std::memcpy(&crop[std::size_t(y) * cw * 3], &chart[(std::size_t(y + c.dy) * w + c.dx) * 3],
                  std::size_t(cw) * 3 * sizeof(int));
    outs.push_back(Convert(Mosaic(crop, cw, ch, c.origin, SampleType::kMono8), SampleType::kMono8, cw,
                       ch, PixelFormat::kBgr24, Options(c.origin)));
  }
  for (std::size_t k = 1; k < outs.size(); ++k) {
    SCOPED_TRACE("origin " + std::to_string(kCrops[k].origin));
    int differ = 0;
    for (int y = reach + 1; y < ch - reach - 1; ++y)
      for (int x = reach + 1; x < cw - reach - 1; ++x)
        for (int c = 0; c < 3; ++c)
          differ += Channel24(outs[k], std::size_t(y) * cw + x, c) !=
                    Channel24(outs[0], std::size_t(y + kCrops[k].dy) * cw + x + kCrops[k].dx, c);
    EXPECT_EQ(differ, 0);
  }
}

TEST(Directional, SixteenBitSamplesAgreeWithEightBitOnesScaledUp) {
  const int w = 48, h = 40;
  const std::vector<int> chart = Chart(w, h);
  std::vector<int> scaled(chart.size());
  std::transform(chart.begin(), chart.end(), scaled.begin(), [](int v) { return v << 4; });
  for (ePatternOrigin origin : api_test::kOrigins) {
    const Bytes eight = Convert(Mosaic(chart, w, h, origin, SampleType::kMono8), SampleType::kMono8, w,
                            h, PixelFormat::kBgr24, Options(origin));
    const Bytes sixteen = Convert(Mosaic(scaled, w, h, origin, SampleType::kMono16),
                              SampleType::kMono16, w, h, PixelFormat::kBgr24, Options(origin, 12));
    int apart = 0;
    for (std::size_t i = 0; i < eight.size(); ++i) apart = std::max(apart, std::abs(eight[i] - sixteen[i]));
    // Every value is exactly 16 times the 8-bit one; the 12-bit one is rounded
    // before the shift down, the 8-bit one after.
    EXPECT_LE(apart, 1) << "origin " << origin;
  }
}

TEST(Directional, EveryPathBandAndThreadsGiveTheReferenceBytes) {
  struct Case {
    const char *why;
    int w, h, bits, red, green, blue;
    bool correct;
  };
  const Case kCases[] = {
      {"smallest frame", 4, 4, 12, 0, 0, 0, false},
      {"narrow and tall", 6, 22, 10, 0, 0, 0, false},
      {"several tiles both ways, offsets", 530, 140, 12, 9, -4, 200, false},
      {"colour correction, 16-bit depth", 70, 66, 16, -3, 0, 5, true},
  };
  for (const Case &c : kCases)
    for (const api_test::Combo &combo : api_test::kCombos) {
      SCOPED_TRACE(std::string(c.why) + ", " + combo.name);
      const Bytes raw = api_test::RandomSamples(c.w, c.h, combo.type, combo.type == SampleType::kMono8 ? 8 : c.bits, 7u + unsigned(c.w));
      tavrix::DemosaicOptions o = Options(eOriginBG, c.bits);
      o.balanceRed = c.red;
      o.balanceGreen = c.green;
      o.balanceBlue = c.blue;
      o.correctColors = c.correct;
      o.matrix = {{1.2, -0.1, 0.0, 0.05, 0.9, 0.1, -0.2, 0.1, 1.3}};
      tavrix::detail::ForcePathForTesting(tavrix::detail::Path::kReference);
      const Bytes reference = Convert(raw, combo.type, c.w, c.h, combo.format, o);
      tavrix::detail::ClearForcedPath();
      if (combo.format == PixelFormat::kBgrx32) {  // every pixel written: every fourth byte 0
        for (std::size_t i = 3; i < reference.size(); i += 4) ASSERT_EQ(reference[i], 0) << i;
      }
      path_test::ForEachPath([&](path_test::Path) {
        EXPECT_EQ(Convert(raw, combo.type, c.w, c.h, combo.format, o), reference);
        o.parallel.threads = 3;
        EXPECT_EQ(Convert(raw, combo.type, c.w, c.h, combo.format, o), reference) << "3 threads";
        o.parallel.threads = 1;
      });
      // Padded rows at odd addresses, through the same kernels.
      const std::size_t inRow = std::size_t(c.w) * tavrix::BytesPerSample(combo.type);
      const std::size_t outRow = std::size_t(c.w) * tavrix::BytesPerPixel(combo.format);
      api_test::Padded in(raw, inRow, c.h, inRow + 5, 1);
      api_test::Padded out(Bytes(outRow * c.h, kSentinel), outRow, c.h, outRow + 3, 1);
      ASSERT_TRUE(tavrix::Demosaic(tavrix::RawView{in.data(), c.w, c.h, std::ptrdiff_t(in.stride), combo.type},
                                   tavrix::ColorView{out.data(), c.w, c.h, std::ptrdiff_t(out.stride), combo.format}, o)
                      .ok());
      EXPECT_EQ(out.Packed(), reference) << "padded rows";
      EXPECT_TRUE(out.PaddingIntact());
    }
}

TEST(Directional, OneByteOfEachSampleIsRefusedWithoutWriting) {
  const Bytes raw = api_test::RandomSamples(8, 8, SampleType::kMono16, 12, 3);
  Bytes out(8 * 8 * 4, kSentinel);
  tavrix::DemosaicOptions o = Options(eOriginGB, 12);
  o.sampleBytes = tavrix::SampleBytes::kHighByte;
  const tavrix::Status s = tavrix::Demosaic(tavrix::RawView{raw.data(), 8, 8, 16, SampleType::kMono16},
                                            tavrix::ColorView{out.data(), 8, 8, 32, PixelFormat::kBgrx32}, o);
  EXPECT_EQ(s.code(), tavrix::StatusCode::kUnsupported);
  EXPECT_EQ(out, Bytes(out.size(), kSentinel));
}

#if TAVRIX_TESTS_HAVE_IMAGES
TEST(Directional, QualityFloorOnASamplePhotograph) {
  // Measured 37.2 dB over the four origins (the first-order Laplacian: 34.0).
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::string path = std::string(TAVRIX_TESTS_IMAGE_DIR) + "/astronaut.png";
  ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str()));
  image.format = PNG_FORMAT_RGB;
  Bytes pixels(PNG_IMAGE_SIZE(image));
  ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
  const int w = int(image.width) & ~1, h = int(image.height) & ~1, border = 4;
  std::vector<int> rgb(std::size_t(w) * h * 3);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w * 3; ++x) rgb[std::size_t(y) * w * 3 + x] = pixels[std::size_t(y) * image.width * 3 + x];
  const Bytes out = Convert(Mosaic(rgb, w, h, eOriginRG, SampleType::kMono8), SampleType::kMono8, w, h,
                        PixelFormat::kBgr24, Options(eOriginRG));
  double squared = 0;
  for (int y = border; y < h - border; ++y)
    for (int x = border; x < w - border; ++x)
      for (int c = 0; c < 3; ++c) {
        const std::size_t i = std::size_t(y) * w + x;
        const double d = Channel24(out, i, c) - rgb[i * 3 + c];
        squared += d * d;
      }
  const double psnr = 10 * std::log10(255.0 * 255.0 * 3 * (w - 2 * border) * (h - 2 * border) / squared);
  EXPECT_GT(psnr, 36.0);
}
#endif

}  // namespace
