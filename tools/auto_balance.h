// Automatic colour balance of an image held in one of the converter's output
// layouts, shared by `tavrix balance` and `tavrix demosaic --auto-balance`.
#ifndef TAVRIX_TOOLS_AUTO_BALANCE_H
#define TAVRIX_TOOLS_AUTO_BALANCE_H

#include <string>
#include <vector>

#include <tavrix/color_balance.h>

namespace tavrix::cli {

// The estimator names the command line accepts, in the order of Estimator.
const std::vector<std::string> &EstimatorNames();

// Layout of the pixels handed to AutoBalance: 3 bytes (blue, green, red),
// 4 bytes (blue, green, red, unused) or 3 native 16-bit words.
enum class PixelLayout { kBgr24, kBgrx32, kBgr48 };

// Runs the estimator at table depth `depth` (8 for byte channels, the
// significant bits for words) and applies its tables in place. Returns false
// when the estimator found nothing to correct (the image is then unchanged).
// The image must be smaller than 4 GiB (the description counts bytes in 32 bits).
bool AutoBalance(std::size_t estimator, PixelLayout layout, int width, int height, int depth,
                 unsigned char *pixels);

}  // namespace tavrix::cli

#endif
