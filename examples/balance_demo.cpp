// Automatic colour balance on a real image: cast it warm, let each estimator
// find tables that undo the cast, apply them, and write every result as a PNG.
#include "balance_demo.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "image_files.h"
#include "tavrix/color_balance.h"

namespace {

// A 24-bit image in the library's byte order: blue, green, red.
struct BgrImage {
  unsigned width = 0;
  unsigned height = 0;
  std::vector<unsigned char> bytes;

  CImageInfo Info() {
    return {width, height, 24, 8, unsigned(bytes.size()), eFormatRGB};
  }
};

// The demonstration's image files hold red, green, blue; the library's 24-bit
// layout is blue, green, red.
bool ReadPng(const std::string& path, BgrImage& image) {
  tavrix::files::RgbImage rgb;
  std::string error;
  if (!tavrix::files::ReadImage(path, rgb, error) || rgb.bits != 8) return false;
  image.width = unsigned(rgb.width);
  image.height = unsigned(rgb.height);
  image.bytes.resize(rgb.data.size());
  for (std::size_t i = 0; i < rgb.data.size(); i += 3)
    for (int c = 0; c < 3; ++c) image.bytes[i + c] = static_cast<unsigned char>(rgb.data[i + 2 - c]);
  return true;
}

bool WritePng(const std::string& path, const BgrImage& image) {
  tavrix::files::RgbImage rgb{int(image.width), int(image.height), 8,
                     std::vector<std::uint16_t>(image.bytes.size())};
  for (std::size_t i = 0; i < image.bytes.size(); i += 3)
    for (int c = 0; c < 3; ++c) rgb.data[i + c] = image.bytes[i + 2 - c];
  return !tavrix::files::WriteViewableImage(path, rgb).empty();
}

// Where the build says the shared sample images are, if it says so.
#ifdef TAVRIX_SHARED_DATA_DIR
constexpr const char* kSampleImageDir = TAVRIX_SHARED_DATA_DIR;
#else
constexpr const char* kSampleImageDir = nullptr;
#endif

// The first readable PNG among the sample images, in name order.
bool LoadSampleImage(BgrImage& image, std::string& name) {
  namespace fs = std::filesystem;
  if (kSampleImageDir == nullptr) return false;
  std::error_code error;
  std::vector<fs::path> candidates;
  for (const auto& entry : fs::directory_iterator(kSampleImageDir, error))
    if (entry.path().extension() == ".png") candidates.push_back(entry.path());
  std::sort(candidates.begin(), candidates.end());
  for (const fs::path& path : candidates)
    if (ReadPng(path.string(), image)) {
      name = path.filename().string();
      return true;
    }
  return false;
}

// A chart of colour patches above a grey ramp, for when no sample image is there.
BgrImage SynthesiseChart() {
  static const unsigned char kPatches[12][3] = {  // blue, green, red
      {68, 82, 115},  {130, 150, 194}, {157, 122, 98}, {67, 108, 87},  {177, 128, 133},
      {170, 189, 103}, {44, 126, 214}, {166, 91, 80},  {99, 90, 193},  {108, 60, 94},
      {64, 188, 157},  {46, 163, 224}};
  BgrImage chart;
  chart.width = 384;
  chart.height = 256;
  chart.bytes.resize(size_t(chart.width) * chart.height * 3);
  for (unsigned y = 0; y < chart.height; ++y)
    for (unsigned x = 0; x < chart.width; ++x) {
      unsigned char* pixel = &chart.bytes[(size_t(y) * chart.width + x) * 3];
      if (y < 192) {
        const unsigned char* patch = kPatches[(y / 96) * 6 + x / 64];
        std::copy(patch, patch + 3, pixel);
      } else {
        std::fill(pixel, pixel + 3, (unsigned char)(x * 255 / (chart.width - 1)));
      }
    }
  return chart;
}

// A warm, tungsten-like cast: blue weakened most, green a little.
void ApplyCast(BgrImage& image) {
  static const double kGain[3] = {0.55, 0.85, 1.0};
  for (size_t i = 0; i < image.bytes.size(); ++i)
    image.bytes[i] = (unsigned char)(image.bytes[i] * kGain[i % 3]);
}

void PrintMeans(const char* label, const BgrImage& image) {
  double sums[3] = {0, 0, 0};
  for (size_t i = 0; i < image.bytes.size(); ++i) sums[i % 3] += image.bytes[i];
  const double pixels = double(image.width) * image.height;
  std::printf("  %-26s red %6.1f  green %6.1f  blue %6.1f\n", label, sums[2] / pixels,
              sums[1] / pixels, sums[0] / pixels);
}

using Estimator = void (CColorBalance::*)(CImageInfo*, CImageData*, unsigned short*,
                                          unsigned short*, unsigned short*);

}  // namespace

int RunBalanceDemo(const std::string& outDir) {
  BgrImage original;
  std::string source;
  if (!LoadSampleImage(original, source)) {
    original = SynthesiseChart();
    source = "a synthesised colour chart";
  }
  std::printf("Colour balance of %s (%u x %u)\n", source.c_str(), original.width,
              original.height);

  BgrImage cast = original;
  ApplyCast(cast);
  const std::string castPath = outDir + "/balance_before.png";
  if (!WritePng(castPath, cast)) {
    std::fprintf(stderr, "cannot write %s\n", castPath.c_str());
    return 1;
  }
  PrintMeans("original", original);
  PrintMeans("with a warm cast", cast);

  const struct {
    const char* name;
    Estimator estimator;
  } kEstimators[] = {
      {"GrayWorld", &CColorBalance::GrayWorld},
      {"WhiteWorld", &CColorBalance::WhiteWorld},
      {"ScaleByMax", &CColorBalance::ScaleByMax},
      {"MeanEqualization", &CColorBalance::MeanEqualization},
      {"StandardDeviation", &CColorBalance::StandardDeviation},
      {"MeanAndStandardDeviation", &CColorBalance::MeanAndStandardDeviation},
  };
  for (const auto& e : kEstimators) {
    BgrImage balanced = cast;
    CImageInfo info = balanced.Info();
    CImageData data = {balanced.bytes.data()};
    CColorBalance balance;
    balance.SetLutDepth(8);  // 256-entry tables for 8-bit channels
    std::vector<unsigned short> red(256), green(256), blue(256);
    (balance.*e.estimator)(&info, &data, red.data(), green.data(), blue.data());
    // The caller-table apply does nothing when the estimator found nothing to correct.
    balance.ApplyColorBalance(&info, &data, red.data(), green.data(), blue.data());
    const std::string label =
        std::string(e.name) + (balance.GetAutoColorBalanceApplied() ? "" : " (no change)");
    PrintMeans(label.c_str(), balanced);
    const std::string path = outDir + "/balance_after_" + e.name + ".png";
    if (!WritePng(path, balanced)) {
      std::fprintf(stderr, "cannot write %s\n", path.c_str());
      return 1;
    }
  }
  std::printf("Images written to %s\n", outDir.c_str());
  return 0;
}
