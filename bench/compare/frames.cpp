#include "frames.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <dirent.h>
#include <map>
#include <memory>

#include "chart.h"

#if TAVRIX_BENCH_OPENCV_IMGCODECS
#include <opencv2/imgcodecs.hpp>
#endif

namespace bench {
namespace {

bool ReadImage(const std::string &path, tavrix::files::RgbImage &image) {
#if TAVRIX_BENCH_OPENCV_IMGCODECS
  const cv::Mat bgr = cv::imread(path, cv::IMREAD_COLOR);
  if (bgr.empty() || bgr.type() != CV_8UC3) return false;
  image.width = bgr.cols;
  image.height = bgr.rows;
  image.bits = 8;
  image.data.resize(std::size_t(bgr.cols) * bgr.rows * 3);
  for (int y = 0; y < bgr.rows; ++y)
    for (int x = 0; x < bgr.cols; ++x) {
      const cv::Vec3b &p = bgr.at<cv::Vec3b>(y, x);
      std::uint16_t *q = &image.data[(std::size_t(y) * bgr.cols + x) * 3];
      q[0] = p[2];
      q[1] = p[1];
      q[2] = p[0];
    }
  return true;
#else
  std::string error;
  return tavrix::files::ReadImage(path, image, error) && image.bits == 8;
#endif
}

// Keeps the top-left even-sized part, so that every image starts on a whole Bayer cell.
void CropEven(tavrix::files::RgbImage &image) {
  const int w = image.width & ~1, h = image.height & ~1;
  std::vector<std::uint16_t> cropped(std::size_t(w) * h * 3);
  for (int y = 0; y < h; ++y)
    std::copy_n(&image.data[std::size_t(y) * image.width * 3], std::size_t(w) * 3,
                &cropped[std::size_t(y) * w * 3]);
  image.width = w;
  image.height = h;
  image.data.swap(cropped);
}

// Normal-ish noise from a sum of four uniforms (variance 4/12 of the unit square).
class Noise {
 public:
  double Next(double sigma) {
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
      state_ ^= state_ << 13;
      state_ ^= state_ >> 7;
      state_ ^= state_ << 17;
      sum += double(state_ >> 11) * (1.0 / 9007199254740992.0);
    }
    return (sum - 2.0) * sigma * std::sqrt(3.0);
  }

 private:
  std::uint64_t state_ = 0x9E3779B97F4A7C15ull;
};

// The image's centre part of the frame's aspect, upscaled bilinearly to the frame
// size on the 12-bit scale.
std::vector<std::uint16_t> Resample(const tavrix::files::RgbImage &src, int width, int height) {
  double cropW = src.width, cropH = src.width * double(height) / width;
  if (cropH > src.height) {
    cropH = src.height;
    cropW = src.height * double(width) / height;
  }
  const double x0 = (src.width - cropW) / 2, y0 = (src.height - cropH) / 2;
  const double sx = cropW / width, sy = cropH / height, scale = 4095.0 / 255.0;
  std::vector<std::uint16_t> rgb(std::size_t(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    const double fy = std::clamp(y0 + (y + 0.5) * sy - 0.5, 0.0, src.height - 1.0);
    const int iy = std::min(int(fy), src.height - 2);
    const double wy = fy - iy;
    for (int x = 0; x < width; ++x) {
      const double fx = std::clamp(x0 + (x + 0.5) * sx - 0.5, 0.0, src.width - 1.0);
      const int ix = std::min(int(fx), src.width - 2);
      const double wx = fx - ix;
      const std::uint16_t *p = &src.data[(std::size_t(iy) * src.width + ix) * 3];
      const std::uint16_t *q = p + std::size_t(src.width) * 3;
      for (int c = 0; c < 3; ++c) {
        const double v = (1 - wy) * ((1 - wx) * p[c] + wx * p[c + 3]) +
                         wy * ((1 - wx) * q[c] + wx * q[c + 3]);
        rgb[(std::size_t(y) * width + x) * 3 + c] = std::uint16_t(std::lround(v * scale));
      }
    }
  }
  return rgb;
}

// Sensor noise of about one 8-bit level, so that no frame is smoother than a camera's.
void AddNoise(std::vector<std::uint16_t> &rgb) {
  Noise noise;
  for (std::uint16_t &v : rgb)
    v = std::uint16_t(std::lround(std::clamp(v + noise.Next(16.0), 0.0, 4095.0)));
}

}  // namespace

std::string ImageDir() {
  const char *env = std::getenv("TAVRIX_BENCH_IMAGES");
  if (env != nullptr && *env != '\0') return env;
#ifdef TAVRIX_BENCH_IMAGE_DIR
  return TAVRIX_BENCH_IMAGE_DIR;
#else
  return "";
#endif
}

std::vector<NamedImage> LoadImages() {
  std::vector<NamedImage> images;
  const std::string dir = ImageDir();
  std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir(dir.c_str()), &closedir);
  if (!listing) return images;
  std::vector<std::string> names;
  while (const dirent *entry = readdir(listing.get())) names.push_back(entry->d_name);
  std::sort(names.begin(), names.end());
  for (const std::string &name : names) {
    NamedImage named{name, {}};
    if (name[0] == '.' || !ReadImage(dir + "/" + name, named.image)) continue;
    if (named.image.width < 8 || named.image.height < 8) continue;
    CropEven(named.image);
    images.push_back(std::move(named));
  }
  return images;
}

int SiteChannel(ePatternOrigin origin, int x, int y) { return demo::SiteChannel(origin, x, y); }

const Frame &GetFrame(int width, int height) {
  static std::map<std::pair<int, int>, Frame> frames;
  Frame &frame = frames[{width, height}];
  if (frame.width != 0) return frame;
  std::vector<std::uint16_t> rgb;
  std::vector<NamedImage> images = LoadImages();
  auto chosen = std::find_if(images.begin(), images.end(),
                             [](const NamedImage &i) { return i.name == "astronaut.png"; });
  if (chosen == images.end() && !images.empty()) chosen = images.begin();
  if (chosen != images.end()) {
    frame.source = chosen->name + " resampled";
    rgb = Resample(chosen->image, width, height);
  } else {
    frame.source = "synthetic chart";
    rgb = demo::RenderChart(width, height, 12);
  }
  AddNoise(rgb);
  frame.mosaic16 = demo::Mosaic(rgb, width, height, kFrameOrigin);
  frame.mosaic8.resize(frame.mosaic16.size());
  std::transform(frame.mosaic16.begin(), frame.mosaic16.end(), frame.mosaic8.begin(),
                 [](std::uint16_t v) { return std::uint8_t(v >> 4); });
  frame.width = width;
  frame.height = height;
  return frame;
}

}  // namespace bench
