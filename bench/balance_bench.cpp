// Every balance estimator and the apply pass on 4096 x 3072 images: 24-bit, and
// 48-bit with 12-bit values (a sensor's scale, depth 12) and with values over the
// full 16 bits (depth 16, where the power memo of the spread estimators misses most).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tavrix/color_balance.h"

namespace {

constexpr unsigned kWidth = 4096;
constexpr unsigned kHeight = 3072;

struct BenchImage {
  std::vector<unsigned char> bytes;
  CImageInfo info;
  CImageData data;
  int depth;
};

// A warm cast over smooth gradients with a few levels of noise; valueBits sets the scale.
BenchImage MakeImage(unsigned bitsPerPixel, unsigned valueBits) {
  BenchImage image;
  const unsigned pixelBytes = bitsPerPixel / 8;
  image.bytes.resize(size_t(kWidth) * kHeight * pixelBytes);
  image.info = {kWidth, kHeight, bitsPerPixel, bitsPerPixel == 24 ? 8u : 16u,
                unsigned(image.bytes.size()), eFormatRGB};
  image.data.pixels = image.bytes.data();
  image.depth = int(valueBits);
  const unsigned maxValue = (1u << valueBits) - 1;
  const double scale = double(maxValue) / 255.0;
  uint32_t noise = 2463534242u;
  unsigned char* out = image.bytes.data();
  for (unsigned y = 0; y < kHeight; ++y)
    for (unsigned x = 0; x < kWidth; ++x) {
      const double base[3] = {40.0 + 80.0 * x / kWidth, 70.0 + 110.0 * y / kHeight,
                              110.0 + 70.0 * (x + y) / (kWidth + kHeight)};
      for (double level : base) {
        noise ^= noise << 13;
        noise ^= noise >> 17;
        noise ^= noise << 5;
        const double v = (level + double(noise % 17) - 8.0) * scale;
        const unsigned value = unsigned(std::clamp(v, 0.0, double(maxValue)));
        if (pixelBytes == 3) {
          *out++ = (unsigned char)value;
        } else {
          const uint16_t word = uint16_t(value);
          std::memcpy(out, &word, 2);
          out += 2;
        }
      }
    }
  return image;
}

BenchImage& Image24() {
  static BenchImage image = MakeImage(24, 8);
  return image;
}
BenchImage& Image48Sensor() {
  static BenchImage image = MakeImage(48, 12);
  return image;
}
BenchImage& Image48Full() {
  static BenchImage image = MakeImage(48, 16);
  return image;
}

using Estimator = void (CColorBalance::*)(CImageInfo*, CImageData*, unsigned short*,
                                          unsigned short*, unsigned short*);

void SetRate(benchmark::State& state) {
  state.counters["Mpix/s"] = benchmark::Counter(double(kWidth) * kHeight / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

void RunEstimator(benchmark::State& state, BenchImage& (*image)(), Estimator estimator) {
  BenchImage& img = image();
  static CColorBalance balance;
  static std::vector<unsigned short> tables(3 * 65536);
  balance.SetLutDepth(img.depth);
  for (auto _ : state) {
    (balance.*estimator)(&img.info, &img.data, tables.data(), tables.data() + 65536,
                         tables.data() + 2 * 65536);
    benchmark::DoNotOptimize(tables.data());
  }
  SetRate(state);
}

void RunApply(benchmark::State& state, BenchImage& (*image)()) {
  BenchImage& img = image();
  static CColorBalance balance;
  balance.SetLutDepth(img.depth);
  balance.GrayWorld(&img.info, &img.data);
  for (auto _ : state) {
    balance.ApplyColorBalance(&img.info, &img.data);
    benchmark::ClobberMemory();
  }
  SetRate(state);
}

struct Named {
  const char* name;
  BenchImage& (*image)();
};
const Named kImages[] = {{"24bit", &Image24},
                         {"48bit_12bit_values", &Image48Sensor},
                         {"48bit_16bit_values", &Image48Full}};

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

const bool kRegistered = [] {
  for (const Named& image : kImages) {
    for (const auto& e : kEstimators)
      benchmark::RegisterBenchmark((std::string(e.name) + "/" + image.name).c_str(),
                                   [&image, &e](benchmark::State& s) {
                                     RunEstimator(s, image.image, e.estimator);
                                   })
          ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((std::string("Apply/") + image.name).c_str(),
                                 [&image](benchmark::State& s) { RunApply(s, image.image); })
        ->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
