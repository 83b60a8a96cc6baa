// Conversion speed of every algorithm and output on a 4096 x 3072 frame,
// beside a memcpy of the output size (the ceiling a conversion cannot beat).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "bayer/table_shape.h"
#include "tavrix/tavrix.h"

namespace {

constexpr int kWidth = 4096, kHeight = 3072;
constexpr std::size_t kPixels = std::size_t(kWidth) * kHeight;

// A smooth 12-bit frame with a little noise, and its 8-bit counterpart.
struct Frames {
  std::vector<unsigned short> sixteen;
  std::vector<unsigned char> eight;
  Frames() : sixteen(kPixels), eight(kPixels) {
    std::mt19937 rng(1);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        const unsigned v = (x * 3 + y * 2 + (rng() & 63)) % 4096;
        sixteen[std::size_t(y) * kWidth + x] = static_cast<unsigned short>(v);
        eight[std::size_t(y) * kWidth + x] = static_cast<unsigned char>(v >> 4);
      }
  }
};
const Frames &TheFrames() {
  static const Frames frames;
  return frames;
}

enum Output { k8To24, k8To32, k16To24, k16To32, k16To48 };

void BM_Convert(benchmark::State &state) {
  const auto mode = static_cast<eCalculationMode>(state.range(0));
  const auto output = static_cast<Output>(state.range(1));
  const Frames &f = TheFrames();
  static CBayerConverter conv;
  conv.SetCalcMode(mode);
  conv.SetPatternOrigin(eOriginBG);
  std::vector<unsigned char> out(kPixels * 6);
  const ISize size = {kWidth, kHeight};
  CColorMatrix m;
  for (auto _ : state) {
    switch (output) {
      case k8To24: conv.ConvertMono8ToBGR(out.data(), size, f.eight.data(), size, m); break;
      case k8To32: conv.ConvertMono8ToBGRx(out.data(), size, f.eight.data(), size, m); break;
      case k16To24: conv.ConvertMono16ToBGR(out.data(), size, f.sixteen.data(), size, 12, m); break;
      case k16To32:
        conv.ConvertMono16ToBGRx(out.data(), size, f.sixteen.data(), size, 12, 100, m);
        break;
      case k16To48:
        conv.ConvertMono16ToBGR48(reinterpret_cast<unsigned short *>(out.data()), size,
                                  f.sixteen.data(), size, 12, m);
        break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Convert)
    ->ArgNames({"mode", "output"})
    ->ArgsProduct({{eFastBilinear, eBilinear, eLaplacian1, eLaplacian2},
                   {k8To24, k8To32, k16To24, k16To32, k16To48}})
    ->Unit(benchmark::kMillisecond);

void BM_MemcpyOutput(benchmark::State &state) {
  const std::size_t bytes = kPixels * std::size_t(state.range(0));
  std::vector<unsigned char> a(bytes, 1), b(bytes);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::DoNotOptimize(b.data());
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_MemcpyOutput)->ArgName("bytes_per_pixel")->Arg(3)->Arg(4)->Arg(6)->Unit(benchmark::kMillisecond);

// What the fast pass pays per call to learn whether the tables are still clamped
// offsets: all three tables over the entries 16-bit (65536) or 8-bit (256) samples reach.
void BM_TableShapeCheck(benchmark::State &state) {
  static CBayerConverter conv;
  std::vector<unsigned char> out(64 * 64 * 3);
  std::vector<unsigned short> in(64 * 64, 100);
  const ISize size = {64, 64};
  conv.ConvertMono16ToBGR(out.data(), size, in.data(), size, 12, CColorMatrix());
  const tavrix::detail::Luts luts = {conv.GetRedLUT(), conv.GetGreenLUT(), conv.GetBlueLUT()};
  const tavrix::detail::TableSettings settings = {100, 0, 0, 0, 12, 4, 0};
  const int reach = int(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(tavrix::detail::CheckTableShapes(luts, settings, reach).clamped);
  }
}
BENCHMARK(BM_TableShapeCheck)->ArgName("entries")->Arg(256)->Arg(65536)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
