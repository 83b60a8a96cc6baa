// Demonstration: synthesises a colour chart, samples it into a Bayer mosaic
// for every origin, converts it with every algorithm and output record,
// writes the pictures, and prints the quality (PSNR against the chart) and
// the speed (megapixels per second on a 4096 x 3072 frame) of each. Then it
// casts a photograph (or a chart) warm and balances it with every estimator.
//
//   tavrix_demo [OUTPUT_DIR]      (default: demo-output)
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <tavrix/tavrix.h>

#include "balance_demo.h"
#include "chart.h"
#include "image_files.h"

namespace {

using tavrix::files::RgbImage;
using tavrix::files::WriteViewableImage;

constexpr int kChartWidth = 1024, kChartHeight = 768;
constexpr int kBenchWidth = 4096, kBenchHeight = 3072;
constexpr int kSensorBits = 12;  // the 16-bit inputs carry 12-bit samples
constexpr int kBorder = 4;       // pixels the algorithms leave unwritten are excluded

struct Algorithm {
  eCalculationMode mode;
  const char *name;
};
const Algorithm kAlgorithms[] = {{eFastBilinear, "fast"},
                                 {eBilinear, "bilinear"},
                                 {eLaplacian1, "laplacian1"},
                                 {eLaplacian2, "laplacian2"}};

enum class Variant { k8To24, k8To32, k16To24, k16To32, k16To48 };
struct VariantInfo {
  Variant v;
  const char *name;
  int recordBytes;
  bool eightBitInput;
};
const VariantInfo kVariants[] = {{Variant::k8To24, "8->24", 3, true},
                                 {Variant::k8To32, "8->32", 4, true},
                                 {Variant::k16To24, "16->24", 3, false},
                                 {Variant::k16To32, "16->32", 4, false},
                                 {Variant::k16To48, "16->48", 6, false}};
const ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};
const char *OriginName(ePatternOrigin o) {
  return o == eOriginGB ? "GB" : o == eOriginGR ? "GR" : o == eOriginBG ? "BG" : "RG";
}

// One mosaic in both sample widths.
struct Mosaic {
  int width, height;
  std::vector<unsigned char> eight;
  std::vector<unsigned short> sixteen;
};

Mosaic MakeMosaic(const std::vector<std::uint16_t> &rgb8, const std::vector<std::uint16_t> &rgb12,
                  int width, int height, ePatternOrigin origin) {
  Mosaic m{width, height, {}, demo::Mosaic(rgb12, width, height, origin)};
  const std::vector<std::uint16_t> m8 = demo::Mosaic(rgb8, width, height, origin);
  m.eight.assign(m8.begin(), m8.end());
  return m;
}

void Convert(CBayerConverter &conv, const VariantInfo &vi, const Mosaic &m,
             std::vector<unsigned char> &out) {
  const ISize size = {m.width, m.height};
  CColorMatrix identity;
  switch (vi.v) {
    case Variant::k8To24: conv.ConvertMono8ToBGR(out.data(), size, m.eight.data(), size, identity); break;
    case Variant::k8To32: conv.ConvertMono8ToBGRx(out.data(), size, m.eight.data(), size, identity); break;
    case Variant::k16To24:
      conv.ConvertMono16ToBGR(out.data(), size, m.sixteen.data(), size, kSensorBits, identity);
      break;
    case Variant::k16To32:
      conv.ConvertMono16ToBGRx(out.data(), size, m.sixteen.data(), size, kSensorBits, 100, identity);
      break;
    case Variant::k16To48:
      conv.ConvertMono16ToBGR48(reinterpret_cast<unsigned short *>(out.data()), size,
                                m.sixteen.data(), size, kSensorBits, identity);
      break;
  }
}

// The output as red, green, blue values on its own scale.
std::vector<std::uint16_t> ToRgb(const VariantInfo &vi, const std::vector<unsigned char> &out,
                                 std::size_t pixels) {
  std::vector<std::uint16_t> rgb(pixels * 3);
  for (std::size_t i = 0; i < pixels; ++i) {
    const unsigned char *p = &out[i * vi.recordBytes];
    if (vi.recordBytes == 6) {
      std::uint16_t w[3];
      std::memcpy(w, p, 6);
      rgb[i * 3] = w[2], rgb[i * 3 + 1] = w[1], rgb[i * 3 + 2] = w[0];
    } else {
      rgb[i * 3] = p[2], rgb[i * 3 + 1] = p[1], rgb[i * 3 + 2] = p[0];
    }
  }
  return rgb;
}

double Psnr(const std::vector<std::uint16_t> &a, const std::vector<std::uint16_t> &b, int width,
            int height, double peak) {
  double sum = 0;
  std::size_t count = 0;
  for (int y = kBorder; y < height - kBorder; ++y)
    for (int x = kBorder; x < width - kBorder; ++x)
      for (int c = 0; c < 3; ++c) {
        const std::size_t i = (std::size_t(y) * width + x) * 3 + c;
        const double d = double(a[i]) - double(b[i]);
        sum += d * d;
        ++count;
      }
  const double mse = sum / double(count);
  return mse == 0 ? 99.0 : 10.0 * std::log10(peak * peak / mse);
}

void PrintColumnHeads() {
  std::printf("%-12s", "algorithm");
  for (const VariantInfo &vi : kVariants) std::printf("%10s", vi.name);
  std::printf("\n");
}

double SecondsOf(CBayerConverter &conv, const VariantInfo &vi, const Mosaic &m,
                 std::vector<unsigned char> &out, int repeats) {
  double best = 1e30;
  for (int r = 0; r < repeats; ++r) {
    const auto start = std::chrono::steady_clock::now();
    Convert(conv, vi, m, out);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
  }
  return best;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string dir = argc > 1 ? argv[1] : "demo-output";
  mkdir(dir.c_str(), 0755);

  // The chart at 8 bits (reference of the 8-bit inputs), at 12 bits (the 16-bit
  // inputs and the 48-bit output) and the 12-bit chart brought to 8 bits by a
  // shift (the reference of 16-bit input with 8-bit-per-channel output).
  const int w = kChartWidth, h = kChartHeight;
  const std::vector<std::uint16_t> chart8 = demo::RenderChart(w, h, 8);
  const std::vector<std::uint16_t> chart12 = demo::RenderChart(w, h, kSensorBits);
  std::vector<std::uint16_t> chart12to8(chart12.size());
  for (std::size_t i = 0; i < chart12.size(); ++i) chart12to8[i] = chart12[i] >> (kSensorBits - 8);
  std::printf("Tavrix demonstration: a %dx%d chart, written to %s/\n", w, h, dir.c_str());
  std::printf("  %s\n", WriteViewableImage(dir + "/chart.png", {w, h, 8, chart8}).c_str());

  std::printf("\nPSNR in dB against the chart (interior; mean over the four origins):\n");
  PrintColumnHeads();
  for (const Algorithm &alg : kAlgorithms) {
    std::printf("%-12s", alg.name);
    for (const VariantInfo &vi : kVariants) {
      double total = 0;
      for (ePatternOrigin origin : kOrigins) {
        const Mosaic m = MakeMosaic(chart8, chart12, w, h, origin);
        CBayerConverter conv;
        conv.SetPatternOrigin(origin);
        conv.SetCalcMode(alg.mode);
        std::vector<unsigned char> out(std::size_t(w) * h * vi.recordBytes, 0);
        Convert(conv, vi, m, out);
        const std::vector<std::uint16_t> rgb = ToRgb(vi, out, std::size_t(w) * h);
        const bool sensorScale = vi.recordBytes == 6;
        const auto &reference = vi.eightBitInput ? chart8 : sensorScale ? chart12 : chart12to8;
        total += Psnr(rgb, reference, w, h, sensorScale ? 4095.0 : 255.0);
        if (origin == eOriginBG) {
          RgbImage image{w, h, sensorScale ? 16 : 8, rgb};
          if (sensorScale)
            for (auto &v : image.data) v = std::uint16_t(v << (16 - kSensorBits));
          WriteViewableImage(dir + "/" + alg.name + "_" + (vi.eightBitInput ? "8" : "16") + "to" +
                               std::to_string(vi.recordBytes * 8) + "_" + OriginName(origin) +
                               ".png",
                           image);
        }
      }
      std::printf("%10.2f", total / 4);
    }
    std::printf("\n");
  }

  std::printf("\nThroughput on a %dx%d frame, megapixels per second (best of 3):\n", kBenchWidth,
              kBenchHeight);
  const std::vector<std::uint16_t> big8 = demo::RenderChart(kBenchWidth, kBenchHeight, 8);
  const std::vector<std::uint16_t> big12 = demo::RenderChart(kBenchWidth, kBenchHeight, kSensorBits);
  const Mosaic big = MakeMosaic(big8, big12, kBenchWidth, kBenchHeight, eOriginBG);
  std::vector<unsigned char> out(std::size_t(kBenchWidth) * kBenchHeight * 6);
  PrintColumnHeads();
  for (const Algorithm &alg : kAlgorithms) {
    std::printf("%-12s", alg.name);
    for (const VariantInfo &vi : kVariants) {
      CBayerConverter conv;
      conv.SetPatternOrigin(eOriginBG);
      conv.SetCalcMode(alg.mode);
      const double seconds = SecondsOf(conv, vi, big, out, 3);
      std::printf("%10.0f", double(kBenchWidth) * kBenchHeight / seconds / 1e6);
    }
    std::printf("\n");
  }
  std::printf("\nImages of every algorithm and output (BG origin) are in %s/.\n\n", dir.c_str());
  return RunBalanceDemo(dir);
}
