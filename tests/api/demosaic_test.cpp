// Demosaic through views against the class on packed buffers; bands and
// threads against one thread; each refusal with its reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "api/demosaic_plan.h"
#include "api_test_util.h"
#include "support/paths.h"

namespace {

using namespace api_test;
using tavrix::Algorithm;
using tavrix::ColorView;
using tavrix::DemosaicOptions;
using tavrix::PixelFormat;
using tavrix::RawView;
using tavrix::SampleType;
using tavrix::Status;
using tavrix::StatusCode;

// Options that exercise everything the tables and the correction do.
DemosaicOptions Busy(Algorithm a, ePatternOrigin origin, SampleType type, bool correct) {
  DemosaicOptions o;
  o.algorithm = a;
  o.origin = origin;
  o.bitDepth = type == SampleType::kMono16 ? 12 : 0;
  o.balanceRed = 9;
  o.balanceBlue = -7;
  o.correctColors = correct;
  o.matrix = {{1.25, -0.125, 0.0, 0.0625, 0.875, 0.0625, -0.25, 0.0, 1.5}};
  return o;
}

struct Frame {
  Frame(const Combo &c, int w, int h, std::uint32_t seed)
      : combo(c), width(w), height(h),
        raw(RandomSamples(w, h, c.type, c.type == SampleType::kMono8 ? 8 : 12, seed)),
        output(RandomBytes(OutRowBytes() * h, seed + 1)) {}
  std::size_t InRowBytes() const { return std::size_t(width) * tavrix::BytesPerSample(combo.type); }
  std::size_t OutRowBytes() const {
    return std::size_t(width) * tavrix::BytesPerPixel(combo.format);
  }
  Bytes Class(const DemosaicOptions &o) const {
    return ClassDemosaic(raw, combo.type, {width, height}, combo.format, {width, height}, output, o);
  }
  // Through views `extra` bytes wider than the rows (0: packed), the raw view
  // starting at byte `offset` of its buffer; checks the padding survives.
  Bytes Views(const DemosaicOptions &o, std::size_t extra, std::size_t offset = 0,
              int chunkRows = -1) const {
    Padded in(raw, InRowBytes(), height, InRowBytes() + extra, offset);
    Padded out(output, OutRowBytes(), height, OutRowBytes() + extra);
    const std::ptrdiff_t inStride = extra ? std::ptrdiff_t(in.stride) : 0;
    const std::ptrdiff_t outStride = extra ? std::ptrdiff_t(out.stride) : 0;
    const RawView rv{in.data(), width, height, inStride, combo.type};
    const ColorView cv(out.data(), width, height, outStride, combo.format);
    if (chunkRows < 0) {
      const Status s = tavrix::Demosaic(rv, cv, o);
      EXPECT_TRUE(s.ok()) << s.message();
    } else {
      tavrix::detail::DemosaicPlan plan;
      EXPECT_TRUE(tavrix::detail::CheckDemosaic(rv, cv, o, &plan).ok());
      tavrix::detail::RunDemosaic(plan, o.parallel, chunkRows);
    }
    EXPECT_TRUE(out.PaddingIntact());
    EXPECT_TRUE(in.PaddingIntact());
    return out.Packed();
  }
  Combo combo;
  int width, height;
  Bytes raw, output;
};

TEST(Demosaic, PaddedViewsGiveTheClassBytes) {
  // Even padding, odd strides (not a multiple of the sample or pixel size) and a
  // raw view at an odd address.
  for (const Combo &c : kCombos)
    for (Algorithm a : kAlgorithms)
      for (ePatternOrigin origin : kOrigins)
        for (bool correct : {false, true}) {
          SCOPED_TRACE(std::string(c.name) + " algorithm " + std::to_string(int(a)) +
                       " origin " + std::to_string(origin) + (correct ? " corrected" : ""));
          const Frame f(c, 14, 10, 7 * origin + int(a));
          const DemosaicOptions o = Busy(a, origin, c.type, correct);
          const Bytes expected = f.Class(o);
          EXPECT_EQ(f.Views(o, 0), expected);
          EXPECT_EQ(f.Views(o, 4), expected);     // the kernels straight on padded rows
          EXPECT_EQ(f.Views(o, 5, 1), expected);  // 16-bit rows unaligned: through scratch
        }
}

TEST(Demosaic, ByteSelectAndDecimationGiveTheClassBytes) {
  struct Case {
    const char *why;
    SampleType type;
    Algorithm algorithm;
    tavrix::SampleBytes bytes;
    int factor;
    int outWidth, outHeight;
    bool correct;
  };
  const Case cases[] = {
      {"high byte of each sample", SampleType::kMono16, Algorithm::kFastBilinear,
       tavrix::SampleBytes::kHighByte, 1, 20, 12, false},
      {"low byte, correction ignored", SampleType::kMono16, Algorithm::kFastBilinear,
       tavrix::SampleBytes::kLowByte, 1, 20, 12, true},
      {"fast pass halved", SampleType::kMono8, Algorithm::kFastBilinear,
       tavrix::SampleBytes::kWhole, 2, 10, 6, false},
      {"fast pass, odd factor", SampleType::kMono16, Algorithm::kFastBilinear,
       tavrix::SampleBytes::kWhole, 3, 6, 4, false},
      {"corrected fast pass writes every column", SampleType::kMono8, Algorithm::kFastBilinear,
       tavrix::SampleBytes::kWhole, 2, 10, 12, true},
      {"per-site passes counted on", SampleType::kMono16, Algorithm::kBilinear,
       tavrix::SampleBytes::kWhole, 2, 12, 8, false},
      {"Laplacian ignores the factor", SampleType::kMono8, Algorithm::kLaplacian1,
       tavrix::SampleBytes::kWhole, 2, 20, 12, false},
  };
  for (const Case &k : cases)
    for (ePatternOrigin origin : kOrigins) {
      SCOPED_TRACE(std::string(k.why) + " origin " + std::to_string(origin));
      const int w = 20, h = 12;
      const Bytes raw = RandomSamples(w, h, k.type, k.type == SampleType::kMono8 ? 8 : 12, origin);
      const std::size_t outRow = std::size_t(k.outWidth) * 4;
      const Bytes before = RandomBytes(outRow * k.outHeight, 3);
      DemosaicOptions o = Busy(k.algorithm, origin, k.type, k.correct);
      o.sampleBytes = k.bytes;
      o.sampleFactor = k.factor;
      const Bytes expected = ClassDemosaic(raw, k.type, {w, h}, PixelFormat::kBgrx32,
                                           {k.outWidth, k.outHeight}, before, o);
      for (std::size_t extra : {0u, 3u}) {
        const std::size_t inRow = std::size_t(w) * tavrix::BytesPerSample(k.type);
        Padded in(raw, inRow, h, inRow + extra), out(before, outRow, k.outHeight, outRow + extra);
        o.parallel.threads = 3;
        const Status s = tavrix::Demosaic(RawView{in.data(), w, h, std::ptrdiff_t(in.stride), k.type},
                                          ColorView(out.data(), k.outWidth, k.outHeight,
                                                    std::ptrdiff_t(out.stride), PixelFormat::kBgrx32),
                                          o);
        ASSERT_TRUE(s.ok()) << s.message();
        EXPECT_EQ(out.Packed(), expected);
        EXPECT_TRUE(out.PaddingIntact());
      }
    }
}

// Runs n tasks on threads of its own, in reverse order: what a host's pool may do.
void ReversedThreads(int n, const std::function<void(int)> &task) {
  std::vector<std::thread> threads;
  for (int k = n - 1; k >= 0; --k) threads.emplace_back(task, k);
  for (std::thread &t : threads) t.join();
}

TEST(Demosaic, BandsAndThreadsGiveTheBytesOfOneThread) {
  // Heights that split into uneven bands and into bands of a single row pair.
  struct Size {
    int width, height;
  };
  const Size sizes[] = {{4, 4}, {6, 10}, {10, 6}, {18, 22}, {12, 34}};
  for (const Combo &c : kCombos)
    for (Algorithm a : kAlgorithms)
      for (const Size &size : sizes) {
        SCOPED_TRACE(std::string(c.name) + " algorithm " + std::to_string(int(a)) + " " +
                     std::to_string(size.width) + "x" + std::to_string(size.height));
        const Frame f(c, size.width, size.height, std::uint32_t(size.height * 31 + int(a)));
        DemosaicOptions o = Busy(a, eOriginBG, c.type, a == Algorithm::kLaplacian1);
        const Bytes one = f.Views(o, 0);
        for (int threads = 2; threads <= 8; ++threads) {
          o.parallel.threads = threads;
          EXPECT_EQ(f.Views(o, 0), one) << threads << " threads, in place";
          EXPECT_EQ(f.Views(o, 3), one) << threads << " threads, padded";
          EXPECT_EQ(f.Views(o, 3, 1), one) << threads << " threads, odd address";
        }
        o.parallel.threads = 5;
        o.parallel.executor = ReversedThreads;
        EXPECT_EQ(f.Views(o, 0), one) << "executor, in place";
        EXPECT_EQ(f.Views(o, 1), one) << "executor, padded";
        o.parallel = {};
        for (int chunk : {2, 4, 6})
          EXPECT_EQ(f.Views(o, 0, 0, chunk), one) << "chunks of " << chunk << " rows";
      }
}

TEST(Demosaic, DecimatingBilinearBandsAndThreadsGiveTheBytesOfOneThread) {
  // The per-site walk counts positions across rows: each band must find the
  // count of the rows above it. Heights give uneven bands and single row pairs.
  struct Size {
    int width, height;
  };
  const Size sizes[] = {{10, 6}, {14, 22}, {22, 18}};
  for (const Combo &c : {kCombos[1], kCombos[3]})
    for (ePatternOrigin origin : kOrigins)
      for (int factor = 2; factor <= 5; ++factor)
        for (const Size &size : sizes) {
          SCOPED_TRACE(std::string(c.name) + " origin " + std::to_string(origin) + " factor " +
                       std::to_string(factor) + " " + std::to_string(size.width) + "x" +
                       std::to_string(size.height));
          const Frame f(c, size.width, size.height, std::uint32_t(size.height * 7 + factor));
          DemosaicOptions o = Busy(Algorithm::kBilinear, origin, c.type, factor % 2 == 0);
          o.sampleFactor = factor;
          const Bytes one = f.Views(o, 0);
          EXPECT_EQ(one, f.Class(o));
          for (int threads = 2; threads <= 8; ++threads) {
            o.parallel.threads = threads;
            EXPECT_EQ(f.Views(o, threads % 2 == 0 ? 0 : 3), one) << threads << " threads";
          }
          o.parallel.executor = ReversedThreads;
          EXPECT_EQ(f.Views(o, 0), one) << "executor";
        }
}

// A frame in a sensor layout, and the class conversion of its unpacked samples.
struct LayoutFrame {
  LayoutFrame(tavrix::Packing packing, int bits, int w, int h, std::uint32_t seed)
      : packing(packing), width(w), height(h),
        samples(RandomSamples(w, h, SampleType::kMono16, bits, seed)),
        row(tavrix::PackedRowBytes(packing, w)), packed(row * h) {
    EXPECT_TRUE(tavrix::Pack(packing, bits, w, h, reinterpret_cast<const std::uint16_t *>(samples.data()),
                             2 * std::size_t(w), packed.data(), row).ok());
  }
  Bytes Class(PixelFormat format, const Bytes &before, DemosaicOptions o, int bits) const {
    o.bitDepth = bits;
    return ClassDemosaic(samples, SampleType::kMono16, {width, height}, format, {width, height},
                         before, o);
  }
  // Straight from the packed rows, `extra` bytes of padding after each row;
  // unpacked in windows of `window` output rows (0: the normal choice).
  Bytes Fused(PixelFormat format, const Bytes &before, const DemosaicOptions &o, int window,
              std::size_t extra = 3) const {
    const std::size_t outRow = std::size_t(width) * tavrix::BytesPerPixel(format);
    Padded in(packed, row, height, row + extra), out(before, outRow, height, outRow + extra);
    const RawView rv = RawView::Packed(in.data(), width, height, packing, std::ptrdiff_t(in.stride));
    const ColorView cv(out.data(), width, height, std::ptrdiff_t(out.stride), format);
    tavrix::detail::DemosaicPlan plan;
    const Status s = tavrix::detail::CheckDemosaic(rv, cv, o, &plan);
    EXPECT_TRUE(s.ok()) << s.message();
    if (s.ok()) tavrix::detail::RunDemosaic(plan, o.parallel, window);
    EXPECT_TRUE(out.PaddingIntact());
    EXPECT_TRUE(in.PaddingIntact());
    return out.Packed();
  }
  tavrix::Packing packing;
  int width, height;
  Bytes samples;
  std::size_t row;
  Bytes packed;
};

TEST(Demosaic, SensorLayoutsGiveTheBytesOfUnpackingFirst) {
  using tavrix::Packing;
  // Every layout; options differ from row to row (origin, correction) so that
  // each algorithm meets every origin and both with and without correction.
  struct Case {
    Packing packing;
    int bits;   // what the samples carry
    int depth;  // the option (0: the layout's own)
  };
  const Case cases[] = {{Packing::kRaw10, 10, 0},        {Packing::kRaw12, 12, 0},
                        {Packing::kRaw14, 14, 0},        {Packing::kMono10p, 10, 0},
                        {Packing::kMono12p, 12, 0},      {Packing::kMono12Packed, 12, 0},
                        {Packing::kMsb16, 12, 12},       {Packing::kBe16, 14, 14}};
  // 22 rows: bands of uneven heights for 3 and 4 tasks; 24 columns: a vector
  // step and a tail of every unpacker.
  const int w = 24, h = 22;
  const PixelFormat formats[] = {PixelFormat::kBgr24, PixelFormat::kBgrx32, PixelFormat::kBgr48};
  for (std::size_t n = 0; n < std::size(cases); ++n)
    for (Algorithm a : kAlgorithms) {
      const Case &k = cases[n];
      const int variety = int(n) + int(a);
      const ePatternOrigin origin = kOrigins[variety % 4];
      const LayoutFrame frame(k.packing, k.bits, w, h, 40 + variety);
      DemosaicOptions o = Busy(a, origin, SampleType::kMono16, n % 2 == 1);
      o.bitDepth = k.depth;
      for (PixelFormat format : formats) {
        SCOPED_TRACE(std::string(tavrix::PackingName(k.packing)) + " algorithm " +
                     std::to_string(int(a)) + " format " + std::to_string(int(format)) +
                     " origin " + std::to_string(origin));
        const Bytes before = RandomBytes(std::size_t(w) * h * tavrix::BytesPerPixel(format), 2);
        const Bytes expected = frame.Class(format, before, o, k.bits);
        for (int threads = 1; threads <= 4; ++threads)
          for (int window : {0, 2, 6}) {  // 2: every stage lags into the next window
            o.parallel.threads = threads;
            EXPECT_EQ(frame.Fused(format, before, o, window), expected)
                << threads << " threads, windows of " << window;
          }
        o.parallel = {};
      }
    }
}

TEST(Demosaic, SensorLayoutsOnEveryPathGiveTheReferenceBytes) {
  // Big enough that the tables' shape is checked and the vector bodies compute
  // them; two tasks so that bands meet. Plain samples: the kernels on the caller's rows.
  const int w = 640, h = 416;
  const tavrix::Packing packings[] = {tavrix::Packing::kRaw12, tavrix::Packing::kPlain16};
  const PixelFormat formats[] = {PixelFormat::kBgr24, PixelFormat::kBgr48};
  for (tavrix::Packing packing : packings)
    for (Algorithm a : kAlgorithms)
      for (PixelFormat format : formats) {
        SCOPED_TRACE(std::string(tavrix::PackingName(packing)) + " algorithm " +
                     std::to_string(int(a)) + " format " + std::to_string(int(format)));
        const LayoutFrame frame(packing, 12, w, h, 5);
        DemosaicOptions o = Busy(a, eOriginGR, SampleType::kMono16, false);
        o.parallel.threads = 2;
        const Bytes before(std::size_t(w) * h * tavrix::BytesPerPixel(format), kSentinel);
        tavrix::detail::ForcePathForTesting(path_test::Path::kReference);
        const Bytes expected = frame.Class(format, before, o, 12);
        path_test::ForEachPath(
            [&](path_test::Path) { EXPECT_EQ(frame.Fused(format, before, o, 0, 0), expected); });
      }
}

TEST(Demosaic, BatchGivesTheBytesOfSingleCalls) {
  const Frame frames[] = {Frame(kCombos[0], 16, 12, 1), Frame(kCombos[4], 8, 6, 2),
                          Frame(kCombos[3], 22, 14, 3)};
  for (int threads : {1, 2, 5}) {
    DemosaicOptions o = Busy(Algorithm::kLaplacian2, eOriginGR, SampleType::kMono16, false);
    o.parallel.threads = threads;
    std::vector<Bytes> outputs;
    std::vector<RawView> raws;
    std::vector<ColorView> views;
    for (const Frame &f : frames) outputs.push_back(f.output);
    for (std::size_t k = 0; k < 3; ++k) {
      const Frame &f = frames[k];
      raws.push_back({f.raw.data(), f.width, f.height, 0, f.combo.type});
      views.emplace_back(outputs[k].data(), f.width, f.height, 0, f.combo.format);
    }
    const Status s = tavrix::DemosaicBatch(raws.data(), views.data(), 3, o);
    ASSERT_TRUE(s.ok()) << s.message();
    for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(outputs[k], frames[k].Class(o)) << k;
    // One refused frame refuses them all.
    raws[1].width = 7;
    const Bytes before = outputs[0];
    const Status refused = tavrix::DemosaicBatch(raws.data(), views.data(), 3, o);
    EXPECT_EQ(refused.code(), StatusCode::kInvalidSize);
    EXPECT_EQ(refused.message().rfind("frame 1: input is 7x6", 0), 0u) << refused.message();
    EXPECT_EQ(outputs[0], before);
  }
}

TEST(Demosaic, RefusalsSayWhyAndWriteNothing) {
  struct Case {
    const char *why;
    int inWidth, inHeight;
    std::ptrdiff_t inStride;
    SampleType type;
    int outWidth, outHeight;
    std::ptrdiff_t outStride;
    PixelFormat format;
    DemosaicOptions options;
    StatusCode code;
    const char *message;
  };
  auto with = [](auto change) {
    DemosaicOptions o;
    change(o);
    return o;
  };
  const DemosaicOptions plain;
  const Case cases[] = {
      {"odd width", 5, 4, 0, SampleType::kMono8, 5, 4, 0, PixelFormat::kBgr24, plain,
       StatusCode::kInvalidSize, "input is 5x4 but a mosaic needs an even width and height of at least 4"},
      {"too few rows", 8, 2, 0, SampleType::kMono8, 8, 2, 0, PixelFormat::kBgr24, plain,
       StatusCode::kInvalidSize, "input is 8x2"},
      {"output smaller than the input", 16, 12, 0, SampleType::kMono16, 16, 10, 0,
       PixelFormat::kBgr48, plain, StatusCode::kSizeMismatch,
       "output is 16x10 but the input needs at least 16x12"},
      {"raw stride shorter than a row", 16, 12, 30, SampleType::kMono16, 16, 12, 0,
       PixelFormat::kBgr24, plain, StatusCode::kInvalidStride,
       "raw row stride is 30 bytes but a row of 16 samples takes 32"},
      {"output stride shorter than a row", 16, 12, 0, SampleType::kMono8, 16, 12, 63,
       PixelFormat::kBgrx32, plain, StatusCode::kInvalidStride,
       "output row stride is 63 bytes but a row of 16 pixels takes 64"},
      {"negative stride", 16, 12, -16, SampleType::kMono8, 16, 12, 0, PixelFormat::kBgr24, plain,
       StatusCode::kInvalidStride, "row strides are -16 and 0 bytes"},
      {"8-bit samples to 48-bit pixels", 16, 12, 0, SampleType::kMono8, 16, 12, 0,
       PixelFormat::kBgr48, plain, StatusCode::kUnsupported, "8-bit samples convert to 24- or"},
      {"bit depth 17", 16, 12, 0, SampleType::kMono16, 16, 12, 0, PixelFormat::kBgr24,
       with([](DemosaicOptions &o) { o.bitDepth = 17; }), StatusCode::kInvalidOption,
       "bit depth 17 is outside 8..16"},
      {"bit depth 7", 16, 12, 0, SampleType::kMono16, 16, 12, 0, PixelFormat::kBgr48,
       with([](DemosaicOptions &o) { o.bitDepth = 7; }), StatusCode::kInvalidOption,
       "bit depth 7 is outside 8..16"},
      {"no origin", 16, 12, 0, SampleType::kMono8, 16, 12, 0, PixelFormat::kBgr24,
       with([](DemosaicOptions &o) { o.origin = ePatternOrigin(3); }),
       StatusCode::kInvalidOption, "origin 3 is none of 1 (GB), 2 (GR), 4 (BG), 8 (RG)"},
      {"unknown algorithm", 16, 12, 0, SampleType::kMono8, 16, 12, 0, PixelFormat::kBgr24,
       with([](DemosaicOptions &o) { o.algorithm = Algorithm(9); }),
       StatusCode::kInvalidOption, "algorithm 9 is not one of 0..3"},
      {"byte select into 24-bit pixels", 16, 12, 0, SampleType::kMono16, 16, 12, 0,
       PixelFormat::kBgr24,
       with([](DemosaicOptions &o) { o.sampleBytes = tavrix::SampleBytes::kHighByte; }),
       StatusCode::kUnsupported, "one byte of each sample is read only from 16-bit samples"},
      {"sample factor 0", 16, 12, 0, SampleType::kMono8, 16, 12, 0, PixelFormat::kBgrx32,
       with([](DemosaicOptions &o) { o.sampleFactor = 0; }), StatusCode::kInvalidOption,
       "sample factor 0 is below 1"},
      {"32-bit output of odd height", 16, 12, 0, SampleType::kMono8, 16, 13, 0,
       PixelFormat::kBgrx32, plain, StatusCode::kInvalidSize,
       "32-bit output is 16x13 but needs an even width and height of at least 4"},
      {"decimated walk past the input's columns", 16, 12, 0, SampleType::kMono8, 10, 4, 0,
       PixelFormat::kBgrx32, with([](DemosaicOptions &o) { o.sampleFactor = 2; }),
       StatusCode::kSizeMismatch,
       "32-bit output is 10x4 but sample factor 2 over a 16x12 input reads 20 columns per row"},
      {"decimated walk past the output", 16, 12, 0, SampleType::kMono8, 8, 4, 0,
       PixelFormat::kBgrx32, with([](DemosaicOptions &o) { o.sampleFactor = 2; }),
       StatusCode::kSizeMismatch,
       "32-bit output is 8x4 but sample factor 2 over a 16x12 input writes more pixels than it "
       "holds"},
  };
  for (const Case &k : cases) {
    SCOPED_TRACE(k.why);
    Bytes in(4096, 0x11), out(4096, kSentinel);
    const Status s = tavrix::Demosaic(RawView{in.data(), k.inWidth, k.inHeight, k.inStride, k.type},
                                      ColorView(out.data(), k.outWidth, k.outHeight, k.outStride,
                                                k.format),
                                      k.options);
    EXPECT_EQ(s.code(), k.code);
    EXPECT_EQ(s.message().rfind(k.message, 0), 0u) << s.message();
    EXPECT_EQ(out, Bytes(4096, kSentinel));
  }
  // A sensor layout that cannot hold the row: the unpacker's reason.
  Bytes packed(4096, 0x11), out48(4096, kSentinel);
  const Status raw10 = tavrix::Demosaic(RawView::Packed(packed.data(), 6, 4, tavrix::Packing::kRaw10),
                                        ColorView(out48.data(), 6, 4, 0, PixelFormat::kBgr48));
  EXPECT_EQ(raw10.code(), StatusCode::kInvalidSize);
  EXPECT_NE(raw10.message().find('6'), std::string::npos) << raw10.message();
  EXPECT_EQ(out48, Bytes(4096, kSentinel));
  Bytes out(64, kSentinel);
  EXPECT_EQ(tavrix::Demosaic(RawView::Mono8(nullptr, 4, 4), ColorView(out.data(), 4, 4, 0, PixelFormat::kBgr24)).message(),
            "raw view has no data");
}

}  // namespace
