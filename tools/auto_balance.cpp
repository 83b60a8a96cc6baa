#include "auto_balance.h"

#include <memory>

namespace tavrix::cli {
namespace {

using Estimator = void (CColorBalance::*)(CImageInfo *, CImageData *, unsigned short *,
                                          unsigned short *, unsigned short *);

// Same order as EstimatorNames().
const Estimator kEstimators[] = {
    &CColorBalance::GrayWorld,         &CColorBalance::WhiteWorld,
    &CColorBalance::ScaleByMax,        &CColorBalance::MeanEqualization,
    &CColorBalance::StandardDeviation, &CColorBalance::MeanAndStandardDeviation};

constexpr std::size_t kTableSize = 65536;  // any 16-bit channel value indexes it

}  // namespace

const std::vector<std::string> &EstimatorNames() {
  static const std::vector<std::string> kNames = {
      "grayworld", "whiteworld", "scalebymax", "meanequalization", "stddev", "meanstddev"};
  return kNames;
}

bool AutoBalance(std::size_t estimator, PixelLayout layout, int width, int height, int depth,
                 unsigned char *pixels) {
  const unsigned pixelBytes = layout == PixelLayout::kBgr24 ? 3 : layout == PixelLayout::kBgrx32 ? 4 : 6;
  CImageInfo info;
  info.width = unsigned(width);
  info.height = unsigned(height);
  info.bitsPerPixel = pixelBytes * 8;
  info.bitsPerChannel = layout == PixelLayout::kBgr48 ? 16 : 8;
  info.imageSize = unsigned(std::size_t(width) * std::size_t(height) * pixelBytes);
  info.colorFormat = layout == PixelLayout::kBgrx32 ? eFormatRGBA : eFormatRGB;
  CImageData data = {pixels};

  // Caller-owned tables of the full 16-bit range: an estimator fills 2^depth
  // entries, and the apply pass of a 48-bit image may index any of them.
  std::vector<unsigned short> red(kTableSize), green(kTableSize), blue(kTableSize);
  auto balance = std::make_unique<CColorBalance>();  // ~400 KB of own tables: not on the stack
  balance->SetLutDepth(depth);
  const Estimator run = kEstimators[estimator];
  (balance.get()->*run)(&info, &data, red.data(), green.data(), blue.data());
  // The caller-table apply skips the pass, and leaves the flag down, when the
  // estimator found nothing to correct.
  balance->SetAutoColorBalanceApplied(false);
  balance->ApplyColorBalance(&info, &data, red.data(), green.data(), blue.data());
  return balance->GetAutoColorBalanceApplied();
}

}  // namespace tavrix::cli
