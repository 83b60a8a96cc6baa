// Colour balance speed: every estimator and the apply pass on the demosaiced
// frame (24-bit, and 48-bit with 12-bit values), and a whole gray-world balance
// against OpenCV's xphoto GrayworldWB.
#include <cstring>
#include <memory>

#include "demosaicers.h"
#include "suites.h"

#if TAVRIX_BENCH_OPENCV_XPHOTO
#include <opencv2/xphoto/white_balance.hpp>
#endif

namespace bench {
namespace {

struct Image {
  std::vector<std::uint8_t> pixels;
  CImageInfo info;
  int depth;  // table depth the estimators use
  CImageData Data() { return {pixels.data()}; }
};

// The frame demosaiced by the fast pass: what a camera program balances.
Image Demosaiced(const Frame &f, bool wide) {
  Image image;
  const unsigned bits = wide ? 48 : 24;
  image.pixels.assign(f.Pixels() * bits / 8, 0);
  image.info = {unsigned(f.width), unsigned(f.height), bits, wide ? 16u : 8u,
                unsigned(image.pixels.size()), eFormatRGB};
  image.depth = wide ? kSensorBits : 8;
  CBayerConverter converter;
  converter.SetPatternOrigin(kFrameOrigin);
  TavrixConvert(converter, wide ? Entry::k16To48 : Entry::k8To24, f.mosaic8.data(),
                f.mosaic16.data(), f.width, f.height, image.pixels.data());
  return image;
}

// The read-only ceiling of an estimator: one pass over every byte, 8 at a time.
std::uint64_t ReadPass(const std::uint8_t *bytes, std::size_t size) {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i + 8 <= size; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + i, 8);
    sum += word;
  }
  return sum;
}

using Estimator = void (CColorBalance::*)(CImageInfo *, CImageData *);
const struct {
  const char *name;
  Estimator estimator;
} kEstimators[] = {
    {"GrayWorld", &CColorBalance::GrayWorld},
    {"WhiteWorld", &CColorBalance::WhiteWorld},
    {"ScaleByMax", &CColorBalance::ScaleByMax},
    {"MeanEqualization", &CColorBalance::MeanEqualization},
    {"StandardDeviation", &CColorBalance::StandardDeviation},
    {"MeanAndStandardDeviation", &CColorBalance::MeanAndStandardDeviation},
};

void AddImageCases(const Frame &f, bool wide, Buffers &buffers) {
  // Estimators read `source`; the passes that rewrite an image get their own copies.
  auto source = std::make_shared<Image>(Demosaiced(f, wide));
  auto applied = std::make_shared<Image>(*source);
  auto balanced = std::make_shared<Image>(*source);
  const std::string size = std::to_string(f.width) + "x" + std::to_string(f.height);
  const std::string prefix = "balance/" + size + "/" + (wide ? "48bit/" : "24bit/");
  const std::string section = "Colour balance " + size + ", " +
                              (wide ? "48-bit, 12-bit values" : "24-bit") + " (Mpix/s)";
  const std::string memcpyCase = prefix + "memcpy";
  const std::string readCase = prefix + "read";
  const auto compare = [&](const std::string &label, const std::string &name,
                           const std::string &peer) {
    AddComparison({section, label, name, peer, memcpyCase, readCase});
  };

  for (const auto &e : kEstimators) {
    const Estimator estimator = e.estimator;
    AddCase(prefix + e.name, Unit::kMegapixels, f.Pixels(),
            [source, estimator](benchmark::State &state) {
              CColorBalance balance;
              balance.SetLutDepth(source->depth);
              CImageData data = source->Data();
              for (auto _ : state) {
                (balance.*estimator)(&source->info, &data);
                benchmark::ClobberMemory();
              }
            });
    compare(e.name, prefix + e.name, "");
  }
  AddCase(prefix + "Apply", Unit::kMegapixels, f.Pixels(), [applied](benchmark::State &state) {
    CColorBalance balance;
    balance.SetLutDepth(applied->depth);
    CImageData data = applied->Data();
    balance.GrayWorld(&applied->info, &data);
    for (auto _ : state) {
      balance.ApplyColorBalance(&applied->info, &data);
      benchmark::ClobberMemory();
    }
  });
  compare("Apply", prefix + "Apply", "");

  std::string peer;
#if TAVRIX_BENCH_OPENCV_XPHOTO
  peer = prefix + "opencv_GrayworldWB";
  AddCase(peer, Unit::kMegapixels, f.Pixels(), [source, &buffers, wide](benchmark::State &state) {
    auto wb = cv::xphoto::createGrayworldWB();
    const int type = wide ? CV_16UC3 : CV_8UC3;
    const cv::Mat in(int(source->info.height), int(source->info.width), type,
                     source->pixels.data());
    cv::Mat out(in.rows, in.cols, type, buffers.output.data());
    for (auto _ : state) {
      wb->balanceWhite(in, out);
      benchmark::DoNotOptimize(out.data);
    }
    if (out.data != buffers.output.data()) state.SkipWithError("OpenCV reallocated");
  });
#endif
  AddCase(prefix + "GrayWorld+Apply", Unit::kMegapixels, f.Pixels(),
          [balanced](benchmark::State &state) {
            CColorBalance balance;
            balance.SetLutDepth(balanced->depth);
            CImageData data = balanced->Data();
            for (auto _ : state) {
              balance.GrayWorld(&balanced->info, &data);
              balance.ApplyColorBalance(&balanced->info, &data);
              benchmark::ClobberMemory();
            }
          });
  compare("GrayWorld + Apply", prefix + "GrayWorld+Apply", peer);

  AddMemcpyCase(memcpyCase, Unit::kMegapixels, f.Pixels(), source->pixels.size(), buffers);
  AddCase(readCase, Unit::kMegapixels, f.Pixels(), [source](benchmark::State &state) {
    for (auto _ : state) benchmark::DoNotOptimize(ReadPass(source->pixels.data(), source->pixels.size()));
  });
}

}  // namespace

void AddBalanceCases(const Frame &frame, Buffers &buffers) {
  AddImageCases(frame, false, buffers);
  AddImageCases(frame, true, buffers);
}

}  // namespace bench
