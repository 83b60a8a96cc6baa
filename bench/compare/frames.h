// Source images and the noisy mosaics the speed cases run on.
#ifndef TAVRIX_BENCH_COMPARE_FRAMES_H
#define TAVRIX_BENCH_COMPARE_FRAMES_H

#include <cstdint>
#include <string>
#include <vector>

#include "image_files.h"
#include "tavrix/tavrix.h"

namespace bench {

// The folder of sample photographs: $TAVRIX_BENCH_IMAGES, else the shared data
// folder beside the source tree.
std::string ImageDir();

struct NamedImage {
  std::string name;
  tavrix::files::RgbImage image;  // 8 bits, red first, even width and height
};

// Every image of the folder that can be read here (PNG through libpng, anything
// through OpenCV when present), cropped to even sizes from the top left. Empty
// when the folder is missing or nothing in it can be read.
std::vector<NamedImage> LoadImages();

// Channel (0 red, 1 green, 2 blue) the sensor sees at (x, y).
int SiteChannel(ePatternOrigin origin, int x, int y);

// The origin every speed case uses, and a name for it.
constexpr ePatternOrigin kFrameOrigin = eOriginBG;

// A camera frame: a photograph (or the synthetic chart when none can be read)
// resampled to the frame size, on a 12-bit scale with sensor noise, sampled to
// a mosaic of kFrameOrigin. mosaic8 holds the top 8 of the 12 bits.
struct Frame {
  int width = 0, height = 0;
  std::string source;
  std::vector<std::uint16_t> mosaic16;
  std::vector<std::uint8_t> mosaic8;
  std::size_t Pixels() const { return std::size_t(width) * std::size_t(height); }
};
const Frame &GetFrame(int width, int height);

}  // namespace bench

#endif
