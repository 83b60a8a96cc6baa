// The banded entries of the per-site algorithms: padded rows, bands of uneven
// heights run stage by stage, and the single walk of all stages give the bytes
// of the stages run one after the other over the whole packed frame, on every
// vector path this CPU supports.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bayer/kernels/site_pass.h"
#include "bayer/table_shape.h"
#include "support/paths.h"

namespace {

using namespace tavrix::detail;
using Bytes = std::vector<std::uint8_t>;

enum class Algorithm { kBilinear, kLaplacian1, kLaplacian2 };
constexpr int kStages[] = {kBilinearStages, kLaplacian1Stages, kLaplacian2Stages};
constexpr const char *kAlgorithmNames[] = {"bilinear", "first-order", "second-order"};

// A frame of random samples and random tables, and the output bytes it starts from.
struct Scene {
  int width, height, bits;
  std::vector<std::uint16_t> samples;
  std::vector<std::uint16_t> tables[3];  // blue, green, red
  Bytes prefill;                          // one packed output's worth of random bytes
  int thresholds[5];
  TableShapes shapes;  // clamped offsets, unless the tables are the caller's noise
};

Scene MakeScene(int width, int height, int bits, std::size_t pixelBytes, std::uint32_t seed,
                bool callerTables) {
  std::mt19937 rng(seed);
  Scene s{width, height, bits, {}, {}, {}, {0, 69, 170, 250, 255}, {}};
  // The converter's clamped offsets: negative, positive, and saturating ones;
  // the green one also shifted.
  const std::int32_t max = (1 << bits) - 1, scale = 1 << (bits - 8);
  s.shapes = {!callerTables, {-7 * scale, max, 0}, {5 * scale, max, 1}, {200 * scale, max, 0}};
  const ClampedOffset *shapeOf[3] = {&s.shapes.blue, &s.shapes.green, &s.shapes.red};
  s.samples.resize(std::size_t(width) * height);
  // Samples over the whole reach (16-bit ones at 32768 and above too).
  const unsigned mask = bits == 8 ? 0xFF : 0xFFFF;
  for (auto &v : s.samples) v = std::uint16_t(rng() & mask);
  for (int k = 0; k < 3; ++k) {
    s.tables[k].resize(65536);
    for (unsigned i = 0; i < 65536; ++i)
      s.tables[k][i] = std::uint16_t(callerTables ? rng() : shapeOf[k]->At(i));
  }
  s.prefill.resize(std::size_t(width) * height * pixelBytes);
  for (auto &b : s.prefill) b = std::uint8_t(rng());
  if (bits > 8)
    for (int &t : s.thresholds) t <<= bits - 8;
  return s;
}

// Bands given by their heights, run stage by stage (`bands` empty: one walk of
// every stage over the whole frame). Rows are padded by `pad` bytes, rounded up
// to the alignment of 16-bit samples and 48-bit pixels.
template <class Record, class Sample>
Bytes Run(Algorithm algorithm, const Scene &s, int origin, int pad, std::vector<int> bands) {
  const std::size_t inRow = s.width * sizeof(Sample) + pad + pad % alignof(Sample);
  pad += pad % alignof(Record);
  const std::size_t outRow = s.width * sizeof(Record) + pad;
  std::vector<std::uint16_t> inWords((inRow * s.height + 1) / 2);
  auto *in = reinterpret_cast<std::uint8_t *>(inWords.data());
  for (int r = 0; r < s.height; ++r)
    for (int c = 0; c < s.width; ++c) {
      const Sample v = Sample(s.samples[std::size_t(r) * s.width + c]);
      std::memcpy(in + r * inRow + c * sizeof(Sample), &v, sizeof v);
    }
  // 16-bit words so that 48-bit pixels are aligned; padding bytes hold 0x5A.
  std::vector<std::uint16_t> outWords((outRow * s.height + 1) / 2, 0x5A5A);
  auto *out = reinterpret_cast<std::uint8_t *>(outWords.data());
  for (int r = 0; r < s.height; ++r)
    std::memcpy(out + r * outRow, s.prefill.data() + r * s.width * sizeof(Record),
                s.width * sizeof(Record));

  const SiteFrame<Record, Sample> frame{reinterpret_cast<Record *>(out), std::ptrdiff_t(outRow),
                                        reinterpret_cast<const Sample *>(in),
                                        std::ptrdiff_t(inRow), s.width, s.height};
  const PlaneLuts luts{s.tables[0].data(), s.tables[1].data(), s.tables[2].data()};
  const PlaneContext context{origin, s.bits - 8, s.bits - 8, s.bits, 1, s.thresholds, &s.shapes};
  auto call = [&](const SiteBand &band) {
    switch (algorithm) {
      case Algorithm::kBilinear: return BilinearRows(frame, luts, context, band);
      case Algorithm::kLaplacian1: return Laplacian1Rows(frame, luts, context, band);
      case Algorithm::kLaplacian2: return Laplacian2Rows(frame, luts, context, band);
    }
  };
  const int stages = kStages[int(algorithm)];
  if (bands.empty()) {
    call(WholeFrame(s.height, stages));
  } else {
    for (int k = 0; k < stages; ++k)
      for (int first = 0, b = 0; first < s.height; first += bands[b++ % bands.size()])
        call({first, first + bands[b % bands.size()], k, k + 1});
  }
  // Packed rows, then the padding (which must hold 0x5A).
  Bytes packed;
  for (int r = 0; r < s.height; ++r)
    packed.insert(packed.end(), out + r * outRow, out + r * outRow + s.width * sizeof(Record));
  for (int r = 0; r < s.height; ++r)
    for (int k = 0; k < pad; ++k) packed.push_back(out[r * outRow + s.width * sizeof(Record) + k]);
  return packed;
}

struct SizeCase {
  const char *why;
  int width, height;
};
constexpr SizeCase kSizes[] = {
    {"smallest frame: no green interior", 4, 4},
    {"one pair of interior rows", 6, 6},
    {"vector bodies and every tail length", 78, 14},
    {"tall, height no multiple of any block", 40, 46},
    {"wide rows", 262, 10},
};

struct BandCase {
  const char *why;
  int pad;
  std::vector<int> heights;  // repeated down the frame; empty: one walk
};
const BandCase kBands[] = {
    {"one walk, packed rows", 0, {}},
    {"one walk, rows padded by an odd byte count", 5, {}},
    {"stage by stage, one band of the whole frame", 0, {1 << 20}},
    {"stage by stage, bands of uneven heights, padded", 10, {3, 1, 7, 2}},
    {"stage by stage, one-row bands", 3, {1}},
};

template <class Record, class Sample>
void CheckVariant(const char *variant, int bits) {
  std::uint32_t seed = 1;
  for (Algorithm algorithm : {Algorithm::kBilinear, Algorithm::kLaplacian1, Algorithm::kLaplacian2})
    for (int origin : {eOriginGB, eOriginGR, eOriginBG, eOriginRG})
      for (const SizeCase &size : kSizes)
        for (bool callerTables : {false, true}) {
          const Scene scene =
              MakeScene(size.width, size.height, bits, sizeof(Record), ++seed, callerTables);
          SCOPED_TRACE(std::string(variant) + ", " + kAlgorithmNames[int(algorithm)] +
                       ", origin " + std::to_string(origin) + ", " + size.why +
                       (callerTables ? ", caller's tables" : ", clamped-offset tables"));
          // The reference: each stage over the whole packed frame in turn, plain code.
          ForcePathForTesting(Path::kReference);
          const Bytes expected = Run<Record, Sample>(algorithm, scene, origin, 0, {1 << 20});
          path_test::ForEachPath([&](Path) {
            for (const BandCase &band : kBands) {
              SCOPED_TRACE(band.why);
              Bytes got = Run<Record, Sample>(algorithm, scene, origin, band.pad, band.heights);
              for (std::size_t k = expected.size(); k < got.size(); ++k)
                ASSERT_EQ(got[k], 0x5A) << "padding byte written";
              got.resize(expected.size());
              ASSERT_EQ(got, expected);
            }
          });
        }
}

TEST(SitePass, BandsAndPaddedRowsGiveTheWholeFrameBytes) {
  CheckVariant<CBayerConverter::BGRxTRIPLE, std::uint8_t>("8 to 32", 8);
  CheckVariant<CBayerConverter::BGRxTRIPLE, std::uint16_t>("16 to 32", 12);
  CheckVariant<CBayerConverter::RGBTRIPLE16, std::uint16_t>("16 to 48", 12);
  CheckVariant<tagRGBTRIPLE, std::uint8_t>("8 to 24", 8);
  CheckVariant<tagRGBTRIPLE, std::uint16_t>("16 to 24, full 16-bit tables", 16);
}

}  // namespace
