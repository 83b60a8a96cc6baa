// Balance and compression through the interface: the class's results on padded
// views and byte spans, threads that change nothing, refusals that write nothing.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "api_test_util.h"

namespace {

using namespace api_test;
using tavrix::BalanceEstimator;
using tavrix::BalanceOptions;
using tavrix::BalanceTables;
using tavrix::Codec;
using tavrix::ColorView;
using tavrix::PixelFormat;
using tavrix::Status;
using tavrix::StatusCode;

struct Layout {
  const char *name;
  PixelFormat format;
  unsigned colorFormat;
};
constexpr Layout kLayouts[] = {{"24-bit", PixelFormat::kBgr24, 200},
                               {"32-bit", PixelFormat::kBgrx32, 500},
                               {"48-bit", PixelFormat::kBgr48, 200}};

// Channel values spread unevenly so that every estimator has work to do. In the
// 8-bit layouts blue stays below 128 but for three pixels near white: one in the
// second row, then two of equal distance further down, so that bands find their
// own bests and the earliest least one must win.
Bytes Photo(PixelFormat f, int w, int h, std::uint32_t seed) {
  const std::size_t pixel = tavrix::BytesPerPixel(f);
  Bytes b = RandomBytes(std::size_t(w) * h * pixel, seed);
  if (f == PixelFormat::kBgr48) {  // 12-bit words
    for (std::size_t k = 1; k < b.size(); k += 2) b[k] &= 0x0F;
    return b;
  }
  for (std::size_t k = 0; k < b.size(); k += pixel) b[k] /= 2;  // dim blue
  const std::size_t row = std::size_t(w) * pixel;
  b[row + 2 * pixel] = 250;
  b[(h / 2) * row + (w - 1) * pixel] = 253;
  b[(h - 1) * row] = 253;
  return b;
}

struct Balanced {
  Bytes pixels;
  std::vector<unsigned short> red, green, blue;
};

// The class on the packed image: estimator into identity tables, then apply.
Balanced ClassBalance(const Layout &l, Bytes pixels, int w, int h, BalanceEstimator e, int depth) {
  const unsigned bits = unsigned(l.format);
  CImageInfo info{unsigned(w), unsigned(h), bits, bits == 24 ? 8u : 16u,
                  unsigned(pixels.size()), l.colorFormat};
  CImageData data{pixels.data()};
  std::vector<unsigned short> t[3];
  for (auto &table : t) {
    table.resize(65536);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<unsigned short>(i);
  }
  auto c = std::make_unique<CColorBalance>();
  c->SetLutDepth(depth);
  unsigned short *r = t[0].data(), *g = t[1].data(), *b = t[2].data();
  switch (e) {
    case BalanceEstimator::kMeanEqualization: c->MeanEqualization(&info, &data, r, g, b); break;
    case BalanceEstimator::kGrayWorld: c->GrayWorld(&info, &data, r, g, b); break;
    case BalanceEstimator::kStandardDeviation: c->StandardDeviation(&info, &data, r, g, b); break;
    case BalanceEstimator::kMeanAndStandardDeviation:
      c->MeanAndStandardDeviation(&info, &data, r, g, b);
      break;
    case BalanceEstimator::kScaleByMax: c->ScaleByMax(&info, &data, r, g, b); break;
    case BalanceEstimator::kWhiteWorld: c->WhiteWorld(&info, &data, r, g, b); break;
  }
  c->ApplyColorBalance(&info, &data, r, g, b);
  return {pixels, t[0], t[1], t[2]};
}

// Runs the tasks on threads of its own, the last first.
void HostExecutor(int n, const std::function<void(int)> &task) {
  std::vector<std::thread> pool;
  for (int k = n - 1; k >= 0; --k) pool.emplace_back(task, k);
  for (std::thread &t : pool) t.join();
}

TEST(Balance, PaddedViewsAndThreadsGiveTheClassTablesAndPixels) {
  const BalanceEstimator estimators[] = {
      BalanceEstimator::kMeanEqualization, BalanceEstimator::kGrayWorld,
      BalanceEstimator::kStandardDeviation, BalanceEstimator::kMeanAndStandardDeviation,
      BalanceEstimator::kScaleByMax, BalanceEstimator::kWhiteWorld};
  const struct { const char *why; int w, h; } sizes[] = {
      {"13 rows: uneven bands for 2..8 threads", 11, 13}, {"fewer rows than threads", 9, 3}};
  for (const auto &size : sizes)
    for (const Layout &l : kLayouts)
      for (BalanceEstimator e : estimators) {
        SCOPED_TRACE(std::string(size.why) + ", " + l.name + ", estimator " + std::to_string(int(e)));
        const int w = size.w, h = size.h;
        const int depth = l.format == PixelFormat::kBgr48 ? 12 : 8;
        const Bytes photo = Photo(l.format, w, h, 5 + int(e));
        const Balanced expected = ClassBalance(l, photo, w, h, e, depth);
        const std::size_t row = std::size_t(w) * tavrix::BytesPerPixel(l.format);
        for (int threads = 1; threads <= 9; ++threads) {  // 9: 4 tasks for a host executor
          Padded image(photo, row, h, row + 3);  // odd stride
          BalanceOptions o;
          o.estimator = e;
          o.tableDepth = depth;
          o.parallel.threads = threads == 9 ? 4 : threads;
          if (threads == 9) o.parallel.executor = HostExecutor;
          BalanceTables tables;
          const Status s = tavrix::AutoBalance(
              ColorView(image.data(), w, h, std::ptrdiff_t(image.stride), l.format), o, &tables);
          ASSERT_TRUE(s.ok()) << s.message();
          EXPECT_EQ(tables.red, expected.red) << threads << " threads";
          EXPECT_EQ(tables.green, expected.green) << threads << " threads";
          EXPECT_EQ(tables.blue, expected.blue) << threads << " threads";
          EXPECT_EQ(image.Packed(), expected.pixels) << threads << " threads";
          EXPECT_TRUE(image.PaddingIntact());
          EXPECT_EQ(tables.unchanged, expected.pixels == photo);
        }
      }
}

TEST(Balance, RefusalsSayWhyAndWriteNothing) {
  Bytes pixels(4096, kSentinel);
  BalanceTables tables, shortTables;
  shortTables.red.resize(256);
  shortTables.green.resize(65536);
  shortTables.blue.resize(65536);
  BalanceOptions deep, unknown;
  deep.tableDepth = 17;
  unknown.estimator = BalanceEstimator(6);
  struct Case {
    const char *why;
    ColorView view;
    const BalanceOptions *options;
    BalanceTables *tables;
    StatusCode code;
    const char *message;
  };
  const BalanceOptions plain;
  const Case cases[] = {
      {"no pixels", ColorView(nullptr, 4, 4, 0, PixelFormat::kBgr24), &plain, &tables,
       StatusCode::kNullPointer, "image view has no data"},
      {"no rows", ColorView(pixels.data(), 4, 0, 0, PixelFormat::kBgr24), &plain, &tables,
       StatusCode::kInvalidSize, "image is 4x0 but needs at least one pixel"},
      {"short stride", ColorView(pixels.data(), 8, 4, 30, PixelFormat::kBgr48), &plain, &tables,
       StatusCode::kInvalidStride, "row stride is 30 bytes but a row of 8 pixels takes 48"},
      {"too deep", ColorView(pixels.data(), 4, 4, 0, PixelFormat::kBgr24), &deep, &tables,
       StatusCode::kInvalidOption, "table depth 17 is outside 1..16"},
      {"unknown estimator", ColorView(pixels.data(), 4, 4, 0, PixelFormat::kBgr24), &unknown,
       &tables, StatusCode::kInvalidOption, "estimator 6 is not one of 0..5"},
      {"no tables", ColorView(pixels.data(), 4, 4, 0, PixelFormat::kBgr24), &plain, nullptr,
       StatusCode::kNullPointer, "tables pointer is null"},
  };
  for (const Case &k : cases) {
    SCOPED_TRACE(k.why);
    const Status s = tavrix::EstimateBalance(k.view, *k.options, k.tables);
    EXPECT_EQ(s.code(), k.code);
    EXPECT_EQ(s.message(), k.message);
  }
  const Status s = tavrix::ApplyBalance(ColorView(pixels.data(), 4, 4, 0, PixelFormat::kBgr24),
                                        shortTables);
  EXPECT_EQ(s.code(), StatusCode::kInvalidOption);
  EXPECT_EQ(s.message(), "tables hold 256, 65536, 65536 entries but 65536 each are needed");
  EXPECT_EQ(pixels, Bytes(4096, kSentinel));
}

TEST(Compress, RoundTripsAndRefusals) {
  const Codec codecs[] = {Codec::kHuffman, Codec::kLz77, Codec::kRle};
  Bytes image = RandomBytes(3000, 9);
  for (std::size_t k = 0; k < 1000; ++k) image[k] = 7;  // a run, and something to match
  for (Codec c : codecs) {
    SCOPED_TRACE(int(c));
    const std::size_t most = tavrix::MaxCompressedSize(c, image.size());
    Bytes stream(most, kSentinel);
    std::size_t n = 0;
    ASSERT_TRUE(tavrix::Compress(c, image.data(), image.size(), stream.data(), most, &n).ok());
    // The class's stream, byte for byte.
    CImageCompress object;
    object.InitCompress(eCompressType(c), 3000);
    Bytes classStream(most, kSentinel);  // Huffman padding bits keep what was there
    ASSERT_EQ(object.EncodeImage(image.data(), classStream.data(), most), n);
    EXPECT_TRUE(std::equal(stream.begin(), stream.begin() + long(n), classStream.begin()));
    // A destination of exactly the stream's length is enough; one byte less is not.
    Bytes exact(n, kSentinel), tight(n - 1, kSentinel);
    std::size_t m = 0;
    EXPECT_TRUE(tavrix::Compress(c, image.data(), image.size(), exact.data(), n, &m).ok());
    EXPECT_EQ(m, n);
    const Status full = tavrix::Compress(c, image.data(), image.size(), tight.data(), n - 1, &m);
    EXPECT_EQ(full.code(), StatusCode::kCapacity);
    EXPECT_NE(full.message().find("takes " + std::to_string(n) + " bytes but the destination holds " +
                                  std::to_string(n - 1)),
              std::string::npos)
        << full.message();
    EXPECT_EQ(tight, Bytes(n - 1, kSentinel));

    Bytes decoded(image.size(), kSentinel);
    ASSERT_TRUE(tavrix::Decompress(c, stream.data(), n, decoded.data(), decoded.size()).ok());
    EXPECT_EQ(decoded, image);
    // Truncated: refused, destination untouched.
    Bytes untouched(image.size(), kSentinel);
    const Status cut = tavrix::Decompress(c, stream.data(), n - 1, untouched.data(), untouched.size());
    EXPECT_EQ(cut.code(), StatusCode::kCorruptStream);
    EXPECT_EQ(untouched, Bytes(image.size(), kSentinel));
  }
  std::size_t n;
  Bytes out(16);
  EXPECT_EQ(tavrix::Compress(Codec(4), image.data(), 16, out.data(), 16, &n).message(),
            "codec 4 is none of 1, 2, 3");
  EXPECT_EQ(tavrix::MaxCompressedSize(Codec::kRle, 1000), 1008u);
}

}  // namespace
