// The band entry of the fast line pass: strided rows and bands in any order give
// the bytes of the converter's whole-frame call, and every vector path gives the
// bytes of the reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "bayer/kernels/fast_pass.h"
#include "bayer_test_util.h"
#include "support/paths.h"

using namespace bayer_test;
namespace d = tavrix::detail;

namespace {

d::PassVariant VariantOf(Out kind) {
  switch (kind) {
    case Out::k24From8: return d::PassVariant::k24From8;
    case Out::k32From8: return d::PassVariant::k32From8;
    case Out::k24From16: return d::PassVariant::k24From16;
    case Out::k32From16: return d::PassVariant::k32From16;
    case Out::k48From16: return d::PassVariant::k48From16;
  }
  return d::PassVariant::k24From8;
}

// Row kinds of rows 0 and 1 for each origin.
struct Kinds {
  d::RowKind even, odd;
};
Kinds KindsOf(ePatternOrigin origin) {
  switch (origin) {
    case eOriginGB: return {d::RowKind::kGB, d::RowKind::kRG};
    case eOriginGR: return {d::RowKind::kGR, d::RowKind::kBG};
    case eOriginBG: return {d::RowKind::kBG, d::RowKind::kGR};
    default: return {d::RowKind::kRG, d::RowKind::kGB};
  }
}

struct PassCase {
  const char *why;
  Out kind;
  d::LineFamily family;
  int width, height, factor, depth;
  unsigned short format;  // 112/114: byte-select, high or low byte
};

// The converter after one class call, and the job that repeats it on strided rows.
struct PassSetup {
  CBayerConverter conv;
  Mosaic mosaic{4, 4};
  Image packed{Out::k24From8, {0, 0}};
  std::vector<std::uint8_t> input;  // the mosaic on strided rows
  double matrix[9] = {1.25, -0.5, 0.375, 0.125, 0.75, 0.25, -0.25, 0.5, 1.5};
  d::FastPassJob job{};
};

void Prepare(PassSetup &s, const PassCase &c, ePatternOrigin origin, std::uint32_t seed) {
  const bool corrected = c.family == d::LineFamily::kCorrected;
  s.conv.SetPatternOrigin(origin);
  s.conv.SetSampleFactor(c.factor);
  s.conv.SetColorBalance(7, -3, 40);
  s.conv.SetColorCorrectionMode(corrected);
  CColorMatrix matrix;
  const double *m = s.matrix;
  std::copy(m, m + 9, matrix.m_matrix);
  s.conv.SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  s.mosaic = RandomMosaic(c.width, c.height, From8(c.kind) ? 8 : 16, seed);
  // The corrected pass writes every column of a decimated row: it needs more rows.
  const ISize outSize = {c.width / c.factor, corrected ? c.height : c.height / c.factor};
  s.packed = Image(c.kind, outSize);
  ConvertInto(s.conv, s.mosaic, s.packed, c.depth, c.format, matrix);

  const std::ptrdiff_t sampleBytes = From8(c.kind) ? 1 : 2;
  const std::ptrdiff_t inStride = c.width * sampleBytes + 3;  // odd on purpose
  s.input.assign(std::size_t(inStride) * c.height + 1, 0xEE);
  for (int r = 0; r < c.height; ++r)
    for (int col = 0; col < c.width; ++col) {
      const unsigned v = s.mosaic.At(r, col);
      std::uint8_t *p = s.input.data() + 1 + r * inStride + col * sampleBytes;
      p[0] = std::uint8_t(v);
      if (sampleBytes == 2) p[1] = std::uint8_t(v >> 8);
    }
  d::FastPassJob &job = s.job;
  job.variant = VariantOf(c.kind);
  job.family = c.family;
  job.input = s.input.data() + 1;  // unaligned rows as well
  job.inputStride = inStride;
  job.inputSize = s.mosaic.size;
  job.outputWidth = outSize.width;
  const Kinds kinds = KindsOf(origin);
  job.evenRows = kinds.even;
  job.oddRows = kinds.odd;
  job.walkEvenRows = job.walkOddRows = true;
  job.luts = {s.conv.GetRedLUT(), s.conv.GetGreenLUT(), s.conv.GetBlueLUT()};
  job.context = {c.factor, c.depth, c.depth - 8, s.matrix, nullptr};
  job.highByte = c.format == 112;
  job.rowBegin = 0;
  job.rowEnd = c.height;
}

// Bytes between two rows of the converter's packed output.
std::ptrdiff_t PackedStride(const d::FastPassJob &job, const Image &packed) {
  return d::FastPassDecimates(job) ? d::FastPassRowBytes(job)
                                   : std::ptrdiff_t(job.inputSize.width) * PixelBytes(packed.kind);
}

const PassCase kCases[] = {
    {"8 to 24, smallest frame", Out::k24From8, d::LineFamily::kPlain, 4, 4, 1, 8, 100},
    {"8 to 32, vector body and tail", Out::k32From8, d::LineFamily::kPlain, 66, 10, 1, 8, 100},
    {"16 to 24 at depth 12", Out::k24From16, d::LineFamily::kPlain, 34, 6, 1, 12, 100},
    {"16 to 32 decimated by 2", Out::k32From16, d::LineFamily::kPlain, 36, 12, 2, 12, 100},
    {"16 to 32 decimated by 3: every sixth row", Out::k32From16, d::LineFamily::kPlain, 30, 18,
     3, 10, 100},
    {"16 to 48 at depth 16", Out::k48From16, d::LineFamily::kPlain, 130, 8, 1, 16, 100},
    {"corrected 8 to 24", Out::k24From8, d::LineFamily::kCorrected, 34, 8, 1, 8, 100},
    {"corrected 16 to 48", Out::k48From16, d::LineFamily::kCorrected, 18, 6, 1, 14, 100},
    {"corrected 16 to 32 decimated: rows thinned, columns not", Out::k32From16,
     d::LineFamily::kCorrected, 20, 12, 2, 10, 100},
    {"byte-select, high bytes", Out::k32From16, d::LineFamily::kByteSelect, 34, 6, 1, 12, 112},
    {"byte-select, low bytes, decimated by 2", Out::k32From16, d::LineFamily::kByteSelect, 40,
     12, 2, 12, 114},
};

TEST(FastPassBands, StridedBandsInAnyOrderEqualTheWholeFrameCall) {
  std::mt19937 rng(5);
  for (const PassCase &c : kCases)
    for (ePatternOrigin origin : kOrigins) {
      SCOPED_TRACE(testing::Message() << c.why << ", origin " << origin);
      PassSetup s;
      Prepare(s, c, origin, rng());
      d::FastPassJob job = s.job;
      const std::ptrdiff_t rowBytes = d::FastPassRowBytes(job);
      job.outputStride = rowBytes + 5;  // not a multiple of any record size
      const std::ptrdiff_t outRows = c.height;
      std::vector<std::uint8_t> out(std::size_t(job.outputStride * outRows + 1), kSentinel);
      job.output = out.data() + 1;
      job.shapes = d::CheckFastPassTables(job, {});  // no shape: tables looked up

      // Bands of even heights from 2 to 6 rows, run last band first.
      std::vector<std::pair<int, int>> bands;
      for (int begin = 0; begin < c.height;) {
        const int end = std::min(c.height, begin + 2 * int(1 + rng() % 3));
        bands.push_back({begin, end});
        begin = end;
      }
      std::reverse(bands.begin(), bands.end());
      for (const auto &band : bands) {
        d::FastPassJob part = job;
        part.rowBegin = band.first;
        part.rowEnd = band.second;
        d::RunFastPass(part);
      }

      const std::ptrdiff_t packedStride = PackedStride(job, s.packed);
      std::vector<bool> written(out.size(), false);
      for (int r = 0; r < c.height; ++r) {
        const std::ptrdiff_t row = d::FastPassOutputRow(job, r);
        if (row < 0) continue;
        const std::uint8_t *got = out.data() + 1 + row * job.outputStride;
        const std::uint8_t *want = s.packed.Bytes() + row * packedStride;
        ASSERT_EQ(0, std::memcmp(got, want, std::size_t(rowBytes))) << "input row " << r;
        std::fill(written.begin() + 1 + row * job.outputStride,
                  written.begin() + 1 + row * job.outputStride + rowBytes, true);
      }
      for (std::size_t k = 0; k < out.size(); ++k)
        if (!written[k]) {
          ASSERT_EQ(out[k], kSentinel) << "byte " << k << " outside the rows";
        }
    }
}

}  // namespace
