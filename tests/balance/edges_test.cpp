// The balance object on its edges: WhiteWorld's pixel first, last and at the end
// of a padded row in every layout (and past the image in the 48-bit one), levels
// exactly at full scale and one past, offsets at 255 and 256, null tables.
#include <gtest/gtest.h>

#include "balance_test_support.h"

namespace {

using namespace balance_test;

// A 4 x 3 image with 2 padding bytes per row, pixel (r, c) = {1 + 4r + c,
// 100 + 4r + c, 200 - 4r - c}, except the whitest blue (255) at the cells
// listed. Two more rows follow in memory, outside the described image.
Image Numbered(Format format, const std::vector<std::pair<unsigned, unsigned>>& white) {
  Image image(format, 4, 5, 2);
  for (unsigned r = 0; r < 5; ++r)
    for (unsigned c = 0; c < 4; ++c)
      image.Set(r, c, {1 + 4 * r + c, 100 + 4 * r + c, 200 - 4 * r - c});
  for (const auto& cell : white) {
    Bgr px = image.Get(cell.first, cell.second);
    px[B] = 255;
    image.Set(cell.first, cell.second, px);
  }
  image.Info()->height = 3;
  image.Info()->imageSize = 3 * image.Stride();
  return image;
}

// WhiteWorld reads the three samples at row x stride + column (in samples, the
// 48-bit stride counted in words too); the table entry 1 of each channel is its
// integer gain 255 / value.
TEST(WhiteWorld, TheWhitestPixelFirstLastAtRowEndsAndPastTheImage) {
  const struct {
    const char* why;
    Format format;
    std::vector<std::pair<unsigned, unsigned>> white;
    Bgr read;  // what it reads there; {0, 0, 0}: nothing (the address is past the image)
  } kCases[] = {
      {"first pixel: its own values", Format::kBgr24, {{0, 0}}, {255, 100, 200}},
      {"end of the first row: byte 3 is pixel 1", Format::kBgr24, {{0, 3}}, {2, 101, 199}},
      {"last pixel: byte 3 of the last row", Format::kBgr24, {{2, 3}}, {10, 109, 191}},
      {"a tie: the first one wins", Format::kBgr24, {{0, 3}, {2, 3}}, {2, 101, 199}},
      {"32-bit first pixel", Format::kBgrx32, {{0, 0}}, {255, 100, 200}},
      {"32-bit row end: a fourth byte, then pixel 1", Format::kBgrx32, {{0, 3}},
       {kSentinel, 2, 101}},
      {"32-bit last pixel", Format::kBgrx32, {{2, 3}}, {kSentinel, 10, 109}},
      {"48-bit first pixel", Format::kBgr48, {{0, 0}}, {255, 100, 200}},
      {"48-bit row end: word 3 is pixel 1", Format::kBgr48, {{0, 3}}, {2, 101, 199}},
      {"48-bit row 1: twice its address, row 2", Format::kBgr48, {{1, 0}}, {9, 108, 192}},
      {"48-bit end of row 1", Format::kBgr48, {{1, 3}}, {10, 109, 191}},
      {"48-bit last row: past the image", Format::kBgr48, {{2, 0}}, {0, 0, 0}},
      {"48-bit last pixel: past the image", Format::kBgr48, {{2, 3}}, {0, 0, 0}},
      {"48-bit tie: the first one, inside", Format::kBgr48, {{1, 3}, {2, 0}}, {10, 109, 191}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.why);
    Image image = Numbered(c.format, c.white);
    CColorBalance balance;
    balance.SetLutDepth(8);
    Tables tables;
    balance.WhiteWorld(image.Info(), image.Data(), tables.red(), tables.green(), tables.blue());
    if (c.read[B] == 0) {
      EXPECT_EQ(tables, Tables());
      EXPECT_TRUE(UnchangedFlag(balance));
      continue;
    }
    for (int ch : {B, G, R}) EXPECT_EQ(tables(ch, 1), 255 / c.read[ch]) << "channel " << ch;
  }
}

// One pixel unlike the grey rest, first, last, or at the end of the first or last
// padded row: every estimator that measures the whole image must see it.
TEST(Estimators, SeeTheFirstAndLastPixelAndTheEndsOfPaddedRows) {
  using Caller = void (CColorBalance::*)(CImageInfo*, CImageData*, unsigned short*,
                                         unsigned short*, unsigned short*);
  const struct {
    const char* name;
    Caller run;
  } kEstimators[] = {{"GrayWorld", &CColorBalance::GrayWorld},
                     {"ScaleByMax", &CColorBalance::ScaleByMax},
                     {"MeanEqualization", &CColorBalance::MeanEqualization},
                     {"StandardDeviation", &CColorBalance::StandardDeviation},
                     {"MeanAndStandardDeviation", &CColorBalance::MeanAndStandardDeviation}};
  const auto estimate = [](Caller run, Image& image) {
    CColorBalance balance;
    balance.SetLutDepth(8);
    Tables tables;
    (balance.*run)(image.Info(), image.Data(), tables.red(), tables.green(), tables.blue());
    return tables;
  };
  const std::pair<unsigned, unsigned> kPositions[] = {{0, 0}, {0, 4}, {2, 0}, {2, 4}};
  for (Format format : kFormats)
    for (const auto& e : kEstimators) {
      Image grey = Image::FromPixels(format, 5, std::vector<Bgr>(15, {90, 90, 90}), 3);
      const Tables ofGrey = estimate(e.run, grey);
      for (const auto& at : kPositions) {
        SCOPED_TRACE(testing::Message() << e.name << ", " << Name(format) << ", pixel "
                                        << at.first << "," << at.second);
        Image image = Image::FromPixels(format, 5, std::vector<Bgr>(15, {90, 90, 90}), 3);
        image.Set(at.first, at.second, {200, 30, 150});
        EXPECT_NE(estimate(e.run, image), ofGrey);
      }
    }
}

// GrayWorld at depth 16 with gains of exactly 2: level 65536 is one past full scale.
TEST(LevelEdges, FullScaleAndOnePastAtDepth16) {
  Image image = Image::FromPixels(Format::kBgr48, 1, {{1000, 2000, 1000}});
  CColorBalance balance;
  balance.SetLutDepth(16);
  Tables tables;
  balance.GrayWorld(image.Info(), image.Data(), tables.red(), tables.green(), tables.blue());
  for (int ch : {B, R})
    EXPECT_EQ((std::vector<int>{tables(ch, 32767), tables(ch, 32768), tables(ch, 65535)}),
              (std::vector<int>{65534, 65535, 65535}));
  EXPECT_EQ(tables(G, 65535), 65535);
}

// Offsets of +1 and -1: 255 + 1 stays 255 and 0 - 1 stays 0 through an 8-bit apply.
TEST(LevelEdges, OffsetTablesClampAt255AndZero) {
  CColorBalance balance;
  balance.ComputeColorBalance(1, 0, -1);
  Image image = Image::FromPixels(Format::kBgr24, 3, {{0, 7, 254}, {1, 255, 255}, {2, 0, 253}});
  balance.ApplyColorBalance(image.Info(), image.Data());
  EXPECT_EQ(image.Get(0, 0), (Bgr{0, 7, 255}));
  EXPECT_EQ(image.Get(0, 1), (Bgr{0, 255, 255}));
  EXPECT_EQ(image.Get(0, 2), (Bgr{1, 0, 254}));
}

// The row stride is the buffer size over the height, rounded down: a buffer two
// bytes longer than three padded rows still has rows 2 * 3 + 2 pixel bytes apart
// (and a fourth row beyond it stays as it was).
TEST(LevelEdges, StrideRoundsTheBufferSizeDown) {
  for (Format format : kFormats) {
    SCOPED_TRACE(Name(format));
    Image image = Image::Random(format, 2, 4, 200, 5, 2);
    Image expected = image;
    for (unsigned r = 0; r < 3; ++r)
      for (unsigned c = 0; c < 2; ++c) {
        const Bgr v = image.Get(r, c);
        expected.Set(r, c, {v[B] + 1, v[G] + 1, v[R] + 1});
      }
    image.Info()->height = 3;
    image.Info()->imageSize = 3 * image.Stride() + 2;
    CColorBalance balance;
    balance.ComputeColorBalance(1, 1, 1);
    balance.ApplyColorBalance(image.Info(), image.Data());
    EXPECT_EQ(image.Bytes(), expected.Bytes());
  }
}

// A null caller table refuses the call: nothing applied, nothing estimated.
TEST(CallerTables, AnyNullTableRefusesTheCall) {
  for (int missing : {B, G, R}) {
    SCOPED_TRACE(missing);
    Image image = Image::FromPixels(Format::kBgr24, 2, {{10, 50, 100}, {30, 150, 140}});
    const std::vector<uint8_t> before = image.Bytes();
    Tables tables(7);
    unsigned short* t[3] = {tables.blue(), tables.green(), tables.red()};
    t[missing] = nullptr;
    CColorBalance balance;
    balance.ApplyColorBalance(image.Info(), image.Data(), t[R], t[G], t[B]);
    EXPECT_EQ(image.Bytes(), before);
    EXPECT_FALSE(balance.GetAutoColorBalanceApplied());
    balance.SetLutDepth(8);
    balance.ScaleByMax(image.Info(), image.Data(), t[R], t[G], t[B]);
    EXPECT_EQ(tables, Tables(7));
  }
}

}  // namespace
