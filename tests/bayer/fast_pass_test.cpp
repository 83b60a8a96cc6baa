// The band entry of the fast line pass: strided rows and bands in any order give
// the bytes of the converter's whole-frame call, and every vector path gives the
// bytes of the reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "bayer/kernels/fast_pass.h"
#include "bayer/kernels/simd/line_bodies.h"
#include "bayer/lut_rules.h"
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

namespace {

// Tables as the converter builds them (a clamped offset per channel), or a
// caller's random curve, which the vector paths must look up instead.
struct Tables {
  std::vector<std::uint16_t> red, green, blue;
  d::TableSettings settings;
  d::Luts Luts() const { return {red.data(), green.data(), blue.data()}; }
};
Tables MakeTables(const d::TableSettings &s, bool randomCurve, std::uint32_t seed) {
  Tables t{std::vector<std::uint16_t>(65536), std::vector<std::uint16_t>(65536),
           std::vector<std::uint16_t>(65536), s};
  std::mt19937 rng(seed);
  const int balance[3] = {s.redBalance, s.greenBalance, s.blueBalance};
  std::vector<std::uint16_t> *tables[3] = {&t.red, &t.green, &t.blue};
  for (int k = 0; k < 3; ++k)
    for (int i = 0; i < 65536; ++i)
      (*tables[k])[i] =
          randomCurve ? std::uint16_t(rng())
          : d::LutRuleFor(s.format) == d::LutRule::kByte
              ? d::ByteRule(balance[k], i)
              : d::SixteenBitRule(balance[k], i, s.bitDepth, s.depthShift, s.outputShift);
  return t;
}

struct PathCase {
  const char *why;
  Out kind;
  d::LineFamily family;
  int depth;
  unsigned short format;
};
const PathCase kPathCases[] = {
    {"8 to 24", Out::k24From8, d::LineFamily::kPlain, 8, 100},
    {"8 to 32", Out::k32From8, d::LineFamily::kPlain, 8, 100},
    {"16 to 24, depth 12", Out::k24From16, d::LineFamily::kPlain, 12, 100},
    {"16 to 32, depth 10", Out::k32From16, d::LineFamily::kPlain, 10, 100},
    {"16 to 48, depth 14", Out::k48From16, d::LineFamily::kPlain, 14, 100},
    {"16 to 48, depth 16: samples of 32768 and above", Out::k48From16, d::LineFamily::kPlain,
     16, 100},
    {"16 to 24, depth 8: samples far above the depth", Out::k24From16, d::LineFamily::kPlain, 8,
     100},
    {"byte-select, high bytes", Out::k32From16, d::LineFamily::kByteSelect, 12, 112},
    {"byte-select, low bytes", Out::k32From16, d::LineFamily::kByteSelect, 12, 114},
    {"corrected 8 to 24", Out::k24From8, d::LineFamily::kCorrected, 8, 100},
    {"corrected 16 to 32", Out::k32From16, d::LineFamily::kCorrected, 12, 100},
    {"corrected 16 to 48", Out::k48From16, d::LineFamily::kCorrected, 12, 100},
};
struct TableCase {
  const char *why;
  int red, green, blue;  // balance offsets
  bool randomCurve;
};
const TableCase kTableCases[] = {
    {"rebuilt, no offset", 0, 0, 0, false},
    {"rebuilt, offsets saturate at both ends", 300, -300, 17, false},
    {"rebuilt, small offsets of both signs", -5, 9, -1, false},
    {"a caller's random curve", 0, 0, 0, true},
};
struct SizeCase {
  int width, height, factor;
};
const SizeCase kPathSizes[] = {{4, 4, 1},  {6, 4, 1},  {34, 6, 1}, {66, 10, 1},
                               {130, 8, 1}, {4098, 6, 1}, {40, 12, 2}, {30, 18, 3},
                               {48, 16, 4}, {50, 20, 5}};

// A packed job over `input` (8- or 16-bit samples) with rows of kinds GB, RG.
d::FastPassJob PackedJob(const PathCase &c, const SizeCase &z, const std::vector<std::uint8_t> &input,
                         const Tables &tables, const double *matrix) {
  const bool bytes = From8(c.kind);
  d::FastPassJob job{};
  job.variant = VariantOf(c.kind);
  job.family = c.family;
  job.input = input.data();
  job.inputStride = std::ptrdiff_t(z.width) * (bytes ? 1 : 2);
  job.inputSize = {z.width, z.height};
  job.outputWidth = z.width / z.factor;
  job.evenRows = d::RowKind::kGB;
  job.oddRows = d::RowKind::kRG;
  job.walkEvenRows = job.walkOddRows = true;
  job.rowBegin = 0;
  job.rowEnd = z.height;
  job.luts = tables.Luts();
  job.context = {z.factor, c.depth, c.depth - 8, matrix, nullptr};
  job.highByte = c.format == 112;
  job.outputStride = d::FastPassRowBytes(job);
  job.shapes = d::CheckTableShapes(job.luts, tables.settings,
                                   bytes || c.format == 112 ? d::kByteReach : d::kWordReach);
  return job;
}

std::vector<std::uint8_t> SampleBytes(const Mosaic &m, bool bytes) {
  std::vector<std::uint8_t> input(m.samples.size() * (bytes ? 1 : 2));
  for (std::size_t i = 0; i < m.samples.size(); ++i) {
    if (bytes) input[i] = std::uint8_t(m.samples[i]);
    else std::memcpy(&input[2 * i], &m.samples[i], 2);
  }
  return input;
}

d::TableSettings SettingsFor(const PathCase &c, const TableCase &t) {
  const int outShift = Is32(c.kind) && c.family != d::LineFamily::kCorrected ? c.depth - 8 : 0;
  return {c.format, t.red, t.green, t.blue, c.depth, c.depth - 8, outShift};
}

// Correction matrices: a camera's, one whose results wrap past 16 bits and
// saturate past 32 bits, and one with infinite and NaN elements.
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMatrices[][9] = {{1.6, -0.4, -0.2, -0.3, 1.5, -0.2, -0.1, -0.5, 1.6},
                                   {1e10, 0, 0, 0.5, -1e300, 0, 0, 0.25, 70000.5},
                                   {1.5, -0.75, 300.0, 2.0, kInf, 0.0, kNaN, 1.0, 1.0}};

TEST(FastPassPaths, EveryPathMatchesTheReferenceBitForBit) {
  std::uint32_t seed = 1;
  for (const PathCase &c : kPathCases)
    for (const TableCase &t : kTableCases)
      for (const SizeCase &z : kPathSizes)
        for (int matrixIndex = 0; matrixIndex < 3; ++matrixIndex) {
        const double *matrix = kMatrices[matrixIndex];
        if (z.factor != 1 && !Is32(c.kind)) continue;
        if (matrixIndex != 0 && c.family != d::LineFamily::kCorrected) continue;
        SCOPED_TRACE(testing::Message() << c.why << ", " << t.why << ", " << z.width << "x"
                                        << z.height << " factor " << z.factor << ", matrix "
                                        << matrixIndex);
        const Tables tables = MakeTables(SettingsFor(c, t), t.randomCurve, ++seed);
        const Mosaic m = RandomMosaic(z.width, z.height, From8(c.kind) ? 8 : 16, ++seed);
        const std::vector<std::uint8_t> input = SampleBytes(m, From8(c.kind));
        d::FastPassJob job = PackedJob(c, z, input, tables, matrix);
        EXPECT_EQ(job.shapes.clamped, !t.randomCurve);
        const std::size_t outBytes = std::size_t(job.outputStride) * z.height;
        std::vector<std::uint8_t> reference[4];
        path_test::ForEachPath([&](path_test::Path p) {
          for (int o = 0; o < 4; ++o) {
            job.evenRows = KindsOf(kOrigins[o]).even;
            job.oddRows = KindsOf(kOrigins[o]).odd;
            std::vector<std::uint8_t> out(outBytes + kGuardBytes, kSentinel);
            job.output = out.data();
            d::RunFastPass(job);
            if (p == path_test::Path::kReference) reference[o] = out;
            ASSERT_EQ(out, reference[o]) << "origin " << kOrigins[o];
          }
        });
      }
}

// The comparisons above pass as well when a vector path quietly walks with the
// reference: every vector path takes a body for the plain and byte-select passes.
TEST(FastPassPaths, VectorPathsTakeTheirBodies) {
  const SizeCase z = {66, 10, 1};
  for (const PathCase &c : kPathCases) {
    if (c.family == d::LineFamily::kCorrected) continue;
    SCOPED_TRACE(c.why);
    const Tables tables = MakeTables(SettingsFor(c, kTableCases[2]), false, 5);
    const Mosaic m = RandomMosaic(z.width, z.height, From8(c.kind) ? 8 : 16, 6);
    const std::vector<std::uint8_t> input = SampleBytes(m, From8(c.kind));
    const d::FastPassJob job = PackedJob(c, z, input, tables, nullptr);
    path_test::ForEachPath([&](path_test::Path p) {
      d::VectorLineArgs args;
      EXPECT_EQ(d::ChooseLineBodies(job, args) != nullptr, p != path_test::Path::kReference);
    });
  }
}

// Outputs far larger than the cache take streamed stores on some paths.
TEST(FastPassPaths, LargeOutputsMatchTheReference) {
  const PathCase cases[] = {{"8 to 32", Out::k32From8, d::LineFamily::kPlain, 8, 100},
                            {"16 to 32", Out::k32From16, d::LineFamily::kPlain, 12, 100}};
  const SizeCase z = {4096, 1040, 1};  // 17 MB of output
  for (const PathCase &c : cases) {
    SCOPED_TRACE(c.why);
    const Tables tables = MakeTables(SettingsFor(c, kTableCases[1]), false, 3);
    const Mosaic m = RandomMosaic(z.width, z.height, From8(c.kind) ? 8 : 16, 4);
    const std::vector<std::uint8_t> input = SampleBytes(m, From8(c.kind));
    d::FastPassJob job = PackedJob(c, z, input, tables, nullptr);
    std::vector<std::uint8_t> reference;
    path_test::ForEachPath([&](path_test::Path p) {
      std::vector<std::uint8_t> out(std::size_t(job.outputStride) * z.height, kSentinel);
      job.output = out.data();
      d::RunFastPass(job);
      if (p == path_test::Path::kReference) reference = out;
      ASSERT_TRUE(out == reference);
    });
  }
}

}  // namespace
