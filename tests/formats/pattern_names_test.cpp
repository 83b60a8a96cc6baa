// Pattern names: every form of the table in the README, and OpenCV's naming
// checked on a synthetic mosaic (against OpenCV itself when it is installed).
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tavrix/formats.h"
#include "tavrix/tavrix.h"

#if TAVRIX_TEST_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using tavrix::Packing;
using tavrix::PatternName;

struct Named {
  const char *name;
  ePatternOrigin origin;
  std::optional<Packing> packing;
  int bits;
};

// One row per form; each phase appears under every form.
const Named kNames[] = {
    // the library's own row-0 names
    {"GB", eOriginGB, {}, 0}, {"gr", eOriginGR, {}, 0}, {"eOriginBG", eOriginBG, {}, 0},
    {"RG", eOriginRG, {}, 0},
    // CFA letters, row-major
    {"GBRG", eOriginGB, {}, 0},  // also the V4L2 fourcc of SGBRG8, read as letters
    {"grbg", eOriginGR, {}, 0}, {"BGGR", eOriginBG, {}, 0},
    {" RGGB ", eOriginRG, {}, 0},
    // OpenCV: the second row's second and third colours
    {"COLOR_BayerGR2BGR", eOriginGB, {}, 0}, {"cv::COLOR_BayerGB2BGR", eOriginGR, {}, 0},
    {"BayerRG2BGR", eOriginBG, {}, 0}, {"COLOR_BayerBG2BGR", eOriginRG, {}, 0},
    {"COLOR_BayerBG2RGB_VNG", eOriginRG, {}, 0}, {"CV_BayerBG2GRAY", eOriginRG, {}, 0},
    {"COLOR_BayerGR2BGRA", eOriginGB, {}, 0}, {"COLOR_BayerRG2BGR_EA", eOriginBG, {}, 0},
    {"COLOR_BayerRGGB2BGR", eOriginRG, {}, 0}, {"COLOR_BayerGBRG2RGB", eOriginGB, {}, 0},
    // V4L2 names and fourcc codes (case matters in codes)
    {"SGBRG8", eOriginGB, Packing::kPlain8, 8},
    {"V4L2_PIX_FMT_SGRBG12", eOriginGR, Packing::kPlain16, 12},
    {"SBGGR14P", eOriginBG, Packing::kRaw14, 14}, {"srggb10p", eOriginRG, Packing::kRaw10, 10},
    {"SRGGB16", eOriginRG, Packing::kPlain16, 16},
    {"BA81", eOriginBG, Packing::kPlain8, 8}, {"pgAA", eOriginGR, Packing::kRaw10, 10},
    {"pGAA", eOriginGB, Packing::kRaw10, 10}, {"BA12", eOriginGR, Packing::kPlain16, 12},
    {"pRCC", eOriginRG, Packing::kRaw12, 12}, {"BYR2", eOriginBG, Packing::kPlain16, 16},
    // GenICam PFNC: the first row's colours
    {"BayerGB8", eOriginGB, Packing::kPlain8, 8}, {"BayerGR10p", eOriginGR, Packing::kMono10p, 10},
    {"BayerBG12Packed", eOriginBG, Packing::kMono12Packed, 12},
    {"BayerRG12p", eOriginRG, Packing::kMono12p, 12},
    {"BayerRG16", eOriginRG, Packing::kPlain16, 16},
    // DNG CFAPattern (0 red, 1 green, 2 blue) and dcraw filter words
    {"1 2 0 1", eOriginGB, {}, 0}, {"1,0,2,1", eOriginGR, {}, 0}, {"2110", eOriginBG, {}, 0},
    {"0112", eOriginRG, {}, 0},
    {"0x49494949", eOriginGB, {}, 0}, {"0x61616161", eOriginGR, {}, 0},
    {"0x16161616", eOriginBG, {}, 0}, {"0x94949494", eOriginRG, {}, 0},
    {"0xB4B4B4B4", eOriginRG, {}, 0},  // four-colour word: colour 3 is the second green
};

TEST(PatternNames, EveryFormOfTheTable) {
  for (const Named &n : kNames) {
    SCOPED_TRACE(n.name);
    PatternName got;
    const tavrix::Status s = tavrix::ParsePatternName(n.name, &got);
    ASSERT_TRUE(s.ok()) << s.message();
    EXPECT_EQ(got.origin, n.origin);
    EXPECT_EQ(got.packing, n.packing);
    EXPECT_EQ(got.bits, n.bits);
  }
}

TEST(PatternNames, RefusesWhatNamesNoBayerCell) {
  for (const char *name : {"", "RGBG", "GGRB", "Bayer2BGR", "COLOR_BayerGG2BGR", "BayerRG2XYZ",
                           "BayerRG10Packed", "SRGGB12X", "0111", "0x94949495", "pgaa", "3"}) {
    SCOPED_TRACE(name);
    PatternName got;
    got.bits = -1;
    const tavrix::Status s = tavrix::ParsePatternName(name, &got);
    EXPECT_EQ(s.code(), tavrix::StatusCode::kInvalidOption);
    EXPECT_NE(s.message().find("unknown Bayer pattern name"), std::string::npos);
    EXPECT_EQ(got.bits, -1) << "refused names leave the result alone";
  }
}

TEST(PatternNames, OpenCvCodesNameTheMosaicTheyConvertToBgr) {
  struct Code { int code; ePatternOrigin origin; };
  constexpr Code kCodes[] = {{46, eOriginRG}, {47, eOriginGR}, {48, eOriginBG}, {49, eOriginGB},
                             {62, eOriginRG}, {89, eOriginGB}, {135, eOriginRG}, {142, eOriginGB}};
  for (const Code &c : kCodes) EXPECT_EQ(tavrix::PatternOriginFromOpenCvCode(c.code), c.origin);
  for (int code : {45, 50, 61, 66, 90, 134, 143})
    EXPECT_FALSE(tavrix::PatternOriginFromOpenCvCode(code));
}

// A flat grey-free scene (red 200, green 100, blue 50) laid out in each phase:
// converting it with the origin that an OpenCV name gives must return the scene.
struct Scene { int red = 200, green = 100, blue = 50; };

std::vector<std::uint8_t> FlatMosaic(const char *cellLetters, int w, int h) {
  const Scene s;
  std::vector<std::uint8_t> m(std::size_t(w) * h);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const char colour = cellLetters[2 * (r & 1) + (c & 1)];
      m[std::size_t(r) * w + c] =
          std::uint8_t(colour == 'R' ? s.red : colour == 'G' ? s.green : s.blue);
    }
  return m;
}

TEST(PatternNames, OpenCvNamesOnASyntheticMosaic) {
  struct Case { const char *cell, *openCvName; int openCvCode; };
  constexpr Case kCases[] = {{"RGGB", "COLOR_BayerBG2BGR", 46}, {"GRBG", "COLOR_BayerGB2BGR", 47},
                             {"BGGR", "COLOR_BayerRG2BGR", 48}, {"GBRG", "COLOR_BayerGR2BGR", 49}};
  constexpr int kW = 8, kH = 8;
  const Scene scene;
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.openCvName);
    std::vector<std::uint8_t> mosaic = FlatMosaic(c.cell, kW, kH);
    PatternName name;
    ASSERT_TRUE(tavrix::ParsePatternName(c.openCvName, &name).ok());
    CBayerConverter converter;
    converter.SetPatternOrigin(name.origin);
    converter.SetCalcMode(eBilinear);
    std::vector<tagRGBTRIPLE> out(kW * kH);
    const ISize size{kW, kH};
    converter.ConvertMono8ToBGR(reinterpret_cast<std::uint8_t *>(out.data()), size, mosaic.data(),
                                size, CColorMatrix());
    const tagRGBTRIPLE centre = out[3 * kW + 3];  // the interior, away from unwritten borders
    EXPECT_EQ(centre.rgbtRed, scene.red);
    EXPECT_EQ(centre.rgbtGreen, scene.green);
    EXPECT_EQ(centre.rgbtBlue, scene.blue);
#if TAVRIX_TEST_OPENCV
    cv::Mat bgr;
    cv::cvtColor(cv::Mat(kH, kW, CV_8UC1, mosaic.data()), bgr, c.openCvCode);
    const cv::Vec3b px = bgr.at<cv::Vec3b>(3, 3);
    EXPECT_EQ(px[0], scene.blue) << "OpenCV itself reads this mosaic under this code";
    EXPECT_EQ(px[2], scene.red);
#endif
    EXPECT_EQ(tavrix::PatternOriginFromOpenCvCode(c.openCvCode), name.origin);
  }
}

}  // namespace
