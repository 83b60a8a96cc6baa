// The tavrix:: interface on a 4096 x 3072 frame beside the class call it wraps:
// what the interface adds (threads 1, packed rows), padded rows, and threads, for
// every demosaicing algorithm, balance estimator and the balance apply pass.
// BM_DemosaicLayout: the same call straight from a camera's packed layout
// (RAW12, Mono12p) beside it on the unpacked 16-bit samples.
// Interleave the cases and take medians:
//   tavrix_interface_bench --benchmark_repetitions=7 --benchmark_enable_random_interleaving=true
//     --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "tavrix/tavrix.h"

namespace {

constexpr int kWidth = 4096, kHeight = 3072;
constexpr std::size_t kPixels = std::size_t(kWidth) * kHeight;
constexpr int kPadBytes = 64;  // a frame grabber's row alignment

struct Frames {
  std::vector<unsigned short> sixteen;
  std::vector<unsigned char> eight;
  Frames() : sixteen(kPixels), eight(kPixels) {
    std::mt19937 rng(1);
    for (std::size_t k = 0; k < kPixels; ++k) {
      const unsigned v = (k % kWidth * 3 + k / kWidth * 2 + (rng() & 63)) % 4096;
      sixteen[k] = static_cast<unsigned short>(v);
      eight[k] = static_cast<unsigned char>(v >> 4);
    }
  }
};
const Frames &TheFrames() {
  static const Frames frames;
  return frames;
}

enum Output { k8To24, k16To48 };
enum Shape { kClass, kPacked, kPadded };

// range(0): algorithm, range(1): output, range(2): shape, range(3): threads.
void BM_Demosaic(benchmark::State &state) {
  const auto algorithm = static_cast<tavrix::Algorithm>(state.range(0));
  const auto output = static_cast<Output>(state.range(1));
  const auto shape = static_cast<Shape>(state.range(2));
  const int threads = int(state.range(3));
  const Frames &f = TheFrames();
  const bool eight = output == k8To24;
  const std::size_t inRow = kWidth * (eight ? 1 : 2), outRow = kWidth * (eight ? 3 : 6);
  const std::size_t inStride = inRow + (shape == kPadded ? kPadBytes : 0);
  const std::size_t outStride = outRow + (shape == kPadded ? kPadBytes : 0);
  std::vector<unsigned char> in(inStride * kHeight), out(outStride * kHeight);
  for (int r = 0; r < kHeight; ++r)
    std::memcpy(&in[r * inStride],
                eight ? static_cast<const void *>(&f.eight[std::size_t(r) * kWidth])
                      : static_cast<const void *>(&f.sixteen[std::size_t(r) * kWidth]),
                inRow);
  tavrix::DemosaicOptions o;
  o.origin = eOriginBG;
  o.algorithm = algorithm;
  o.bitDepth = 12;
  o.parallel.threads = threads;
  const tavrix::RawView raw{in.data(), kWidth, kHeight, std::ptrdiff_t(inStride),
                            eight ? tavrix::SampleType::kMono8 : tavrix::SampleType::kMono16};
  const tavrix::ColorView view(out.data(), kWidth, kHeight, std::ptrdiff_t(outStride),
                               eight ? tavrix::PixelFormat::kBgr24 : tavrix::PixelFormat::kBgr48);
  CBayerConverter conv;
  conv.SetCalcMode(static_cast<eCalculationMode>(algorithm));
  conv.SetPatternOrigin(eOriginBG);
  const ISize size = {kWidth, kHeight};
  CColorMatrix m;
  for (auto _ : state) {
    if (shape != kClass) {
      if (!tavrix::Demosaic(raw, view, o).ok()) state.SkipWithError("refused");
    } else if (eight) {
      conv.ConvertMono8ToBGR(out.data(), size, in.data(), size, m);
    } else {
      conv.ConvertMono16ToBGR48(reinterpret_cast<unsigned short *>(out.data()), size,
                                reinterpret_cast<const unsigned short *>(in.data()), size, 12, m);
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Demosaic)
    ->ArgNames({"algorithm", "output", "shape", "threads"})
    ->ArgsProduct({{0, 1, 2, 3}, {k8To24, k16To48}, {kClass}, {1}})
    ->ArgsProduct({{0, 1, 2, 3}, {k8To24, k16To48}, {kPacked}, {1, 2}})
    ->ArgsProduct({{0, 1, 2, 3}, {k8To24, k16To48}, {kPadded}, {1, 2}})
    ->ArgsProduct({{int(tavrix::Algorithm::kDirectional)}, {k8To24, k16To48}, {kPacked}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// range(0): algorithm, range(1): 24 or 48 bits, range(2): layout of the 12-bit samples.
void BM_DemosaicLayout(benchmark::State &state) {
  const auto algorithm = static_cast<tavrix::Algorithm>(state.range(0));
  const bool bgr48 = state.range(1) == 48;
  const auto packing = static_cast<tavrix::Packing>(state.range(2));
  const std::vector<unsigned short> &samples = TheFrames().sixteen;
  const std::size_t stride = tavrix::PackedRowBytes(packing, kWidth);
  std::vector<unsigned char> in(stride * kHeight);
  if (!tavrix::Pack(packing, 12, kWidth, kHeight, samples.data(), 2 * kWidth, in.data(), stride)
           .ok())
    return state.SkipWithError("pack refused");
  const auto format = bgr48 ? tavrix::PixelFormat::kBgr48 : tavrix::PixelFormat::kBgr24;
  std::vector<unsigned char> out(kPixels * tavrix::BytesPerPixel(format));
  tavrix::DemosaicOptions o;
  o.origin = eOriginBG;
  o.algorithm = algorithm;
  o.bitDepth = 12;
  const auto raw = tavrix::RawView::Packed(in.data(), kWidth, kHeight, packing);
  const tavrix::ColorView view(out.data(), kWidth, kHeight, 0, format);
  for (auto _ : state) {
    if (!tavrix::Demosaic(raw, view, o).ok()) state.SkipWithError("refused");
    benchmark::DoNotOptimize(out.data());
  }
  state.SetLabel(tavrix::PackingName(packing));
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DemosaicLayout)
    ->ArgNames({"algorithm", "bits", "layout"})
    ->ArgsProduct({{0, 1, 2, 3},
                   {24, 48},
                   {int(tavrix::Packing::kPlain16), int(tavrix::Packing::kRaw12),
                    int(tavrix::Packing::kMono12p)}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The decimating per-site bilinear walk: 16-bit samples to 32-bit pixels, origin
// GR (every pass counts positions), every second site of every second row into
// an output of the input's size. range(0): shape (packed or padded), range(1): threads.
void BM_DecimatedBilinear(benchmark::State &state) {
  const bool padded = state.range(0) == kPadded;
  const std::size_t inRow = kWidth * 2, outRow = kWidth * 4;
  const std::size_t inStride = inRow + (padded ? kPadBytes : 0);
  const std::size_t outStride = outRow + (padded ? kPadBytes : 0);
  std::vector<unsigned char> in(inStride * kHeight), out(outStride * kHeight);
  for (int r = 0; r < kHeight; ++r)
    std::memcpy(&in[r * inStride], &TheFrames().sixteen[std::size_t(r) * kWidth], inRow);
  tavrix::DemosaicOptions o;
  o.origin = eOriginGR;
  o.algorithm = tavrix::Algorithm::kBilinear;
  o.bitDepth = 12;
  o.sampleFactor = 2;
  o.parallel.threads = int(state.range(1));
  const tavrix::RawView raw{in.data(), kWidth, kHeight, std::ptrdiff_t(inStride),
                            tavrix::SampleType::kMono16};
  const tavrix::ColorView view(out.data(), kWidth, kHeight, std::ptrdiff_t(outStride),
                               tavrix::PixelFormat::kBgrx32);
  for (auto _ : state) {
    if (!tavrix::Demosaic(raw, view, o).ok()) state.SkipWithError("refused");
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_DecimatedBilinear)
    ->ArgNames({"shape", "threads"})
    ->ArgsProduct({{kPacked, kPadded}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

constexpr int kApply = 6;  // range(0) past the six estimators: the apply pass

// range(0): estimator 0..5 or kApply, range(1): output (the image's layout), range(2): shape,
// range(3): threads. The image is the frame's pixel values spread over three channels.
void BM_Balance(benchmark::State &state) {
  const int what = int(state.range(0));
  const bool eight = static_cast<Output>(state.range(1)) == k8To24;
  const auto shape = static_cast<Shape>(state.range(2));
  const Frames &f = TheFrames();
  const std::size_t row = kWidth * (eight ? 3 : 6);
  const std::size_t stride = row + (shape == kPadded ? kPadBytes : 0);
  std::vector<unsigned char> image(stride * kHeight);
  for (int r = 0; r < kHeight; ++r)
    for (int c = 0; c < kWidth * 3; ++c) {
      const unsigned short v = f.sixteen[(std::size_t(r) * kWidth * 3 + c) % kPixels];
      if (eight) image[r * stride + c] = static_cast<unsigned char>(v >> 4);
      else std::memcpy(&image[r * stride + 2 * c], &v, 2);
    }
  const tavrix::PixelFormat format = eight ? tavrix::PixelFormat::kBgr24 : tavrix::PixelFormat::kBgr48;
  const tavrix::ColorView view(image.data(), kWidth, kHeight, std::ptrdiff_t(stride), format);
  tavrix::BalanceOptions o;
  o.estimator = static_cast<tavrix::BalanceEstimator>(what == kApply ? 1 : what);
  o.tableDepth = eight ? 8 : 12;
  o.parallel.threads = int(state.range(3));
  tavrix::BalanceTables tables;
  if (!tavrix::EstimateBalance(view, o, &tables).ok()) state.SkipWithError("refused");
  CImageInfo info{kWidth, kHeight, eight ? 24u : 48u, eight ? 8u : 16u,
                  unsigned(stride * kHeight), 200};
  CImageData data{image.data()};
  auto object = std::make_unique<CColorBalance>();
  object->SetLutDepth(o.tableDepth);
  std::vector<unsigned short> red(tables.red), green(tables.green), blue(tables.blue);
  using Estimator = void (CColorBalance::*)(CImageInfo *, CImageData *, unsigned short *,
                                            unsigned short *, unsigned short *);
  const Estimator estimators[] = {&CColorBalance::MeanEqualization, &CColorBalance::GrayWorld,
                                  &CColorBalance::StandardDeviation,
                                  &CColorBalance::MeanAndStandardDeviation,
                                  &CColorBalance::ScaleByMax, &CColorBalance::WhiteWorld};
  for (auto _ : state) {
    bool ok = true;
    if (shape != kClass)
      ok = what == kApply ? tavrix::ApplyBalance(view, tables, o.parallel).ok()
                          : tavrix::EstimateBalance(view, o, &tables).ok();
    else if (what == kApply)
      object->ApplyColorBalance(&info, &data, red.data(), green.data(), blue.data());
    else
      (object.get()->*estimators[what])(&info, &data, red.data(), green.data(), blue.data());
    if (!ok) state.SkipWithError("refused");
    benchmark::DoNotOptimize(image.data());
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(double(kPixels) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Balance)
    ->ArgNames({"estimator", "output", "shape", "threads"})
    ->ArgsProduct({{0, 1, 2, 3, 4, 5, kApply}, {k8To24, k16To48}, {kClass}, {1}})
    ->ArgsProduct({{0, 1, 2, 3, 4, 5, kApply}, {k8To24, k16To48}, {kPacked, kPadded}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
