// Unpacking packed sensor layouts into 16-bit samples, on every vector path this
// CPU runs, beside a memcpy of the 16-bit output (what the unpacked frame costs
// to move). Two sizes: a 4096 x 3072 frame (memory-bound) and a band of 16 rows
// of it (cache-resident, as a conversion that unpacks band by band sees it).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "cpu/dispatch.h"
#include "tavrix/formats.h"

namespace {

using tavrix::Packing;
using tavrix::detail::Path;

constexpr int kWidth = 4096, kFrameRows = 3072, kBandRows = 16;

int RowsOf(int size) { return size == 0 ? kFrameRows : kBandRows; }

void BM_MemcpyOutput(benchmark::State &state) {
  const std::size_t bytes = std::size_t(kWidth) * RowsOf(int(state.range(0))) * 2;
  std::vector<unsigned char> a(bytes, 1), b(bytes);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::DoNotOptimize(b.data());
  }
  state.SetBytesProcessed(std::int64_t(bytes) * state.iterations());
}
BENCHMARK(BM_MemcpyOutput)->ArgName("band")->Arg(0)->Arg(1);

void BM_Unpack(benchmark::State &state) {
  const auto packing = static_cast<Packing>(state.range(0));
  const auto path = static_cast<Path>(state.range(1));
  const int rows = RowsOf(int(state.range(2)));
  if (!tavrix::detail::ForcePathForTesting(path)) {
    state.SkipWithError("this CPU lacks the path");
    return;
  }
  const int bits = packing == Packing::kRaw10 || packing == Packing::kMono10p ? 10 : 12;
  const std::size_t stride = tavrix::PackedRowBytes(packing, kWidth);
  std::vector<unsigned char> packed(stride * rows);
  std::mt19937 rng(7);
  for (auto &b : packed) b = static_cast<unsigned char>(rng());
  std::vector<std::uint16_t> samples(std::size_t(kWidth) * rows);
  for (auto _ : state) {
    tavrix::Unpack(packing, bits, kWidth, rows, packed.data(), stride, samples.data(),
                   2 * std::size_t(kWidth));
    benchmark::DoNotOptimize(samples.data());
  }
  tavrix::detail::ClearForcedPath();
  state.SetBytesProcessed(std::int64_t(samples.size() * 2) * state.iterations());
  state.SetLabel(std::string(tavrix::PackingName(packing)) + " " +
                 tavrix::detail::PathName(path));
}
BENCHMARK(BM_Unpack)
    ->ArgNames({"packing", "path", "band"})
    ->ArgsProduct({{int(Packing::kRaw12), int(Packing::kMono12p), int(Packing::kRaw10),
                    int(Packing::kMono10p), int(Packing::kMono12Packed), int(Packing::kRaw14)},
                   {int(Path::kReference), int(Path::kSse41), int(Path::kAvx2)},
                   {0, 1}});

}  // namespace

BENCHMARK_MAIN();
