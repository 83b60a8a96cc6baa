// The six estimators. Each measures the image once (twice for the spread
// estimators) and answers either "nothing to correct" or one LevelMap per
// channel; RunEstimator holds the frame they share.
#include <iterator>

#include "balance/banded_passes.h"
#include "balance/level_tables.h"
#include "balance/pixel_layout.h"
#include "balance/statistics.h"

namespace tavrix::detail {
namespace {

using Correction = std::optional<PerChannel<LevelMap>>;  // empty: nothing to correct

constexpr LevelMap Gain(double gain) { return {0.0, gain, 0.0}; }
constexpr LevelMap Offset(double offset) { return {0.0, 1.0, offset}; }

// Integer gains full scale / reference value, shared by the two estimators that
// scale toward full scale. The product test wraps in 32 bits by design: 16-bit
// references such as 32768, 32768, 4 count as "nothing to correct".
Correction IntegerGains(const PerChannel<uint32_t>& reference, uint32_t fullScale) {
  if (reference[kRed] * reference[kGreen] * reference[kBlue] == 0) return std::nullopt;
  PerChannel<LevelMap> maps;
  for (int c = 0; c < kChannels; ++c) maps[c] = Gain(double(fullScale / reference[c]));
  return maps;
}

struct GrayWorld {
  template <class Layout>
  static Correction Measure(const ImageView& image, const TableDepth&, const RowBands& bands) {
    const PerChannel<double> sums = ChannelSums<Layout>(image, kExactSumLimit, nullptr, bands);
    const auto towardGreen = [&sums](int c) { return sums[c] == 0.0 ? 1.0 : sums[kGreen] / sums[c]; };
    const double red = towardGreen(kRed);
    const double blue = towardGreen(kBlue);
    if (red == 1.0 && blue == 1.0) return std::nullopt;
    return PerChannel<LevelMap>{Gain(blue), Gain(1.0), Gain(red)};
  }
};

struct MeanEqualization {
  template <class Layout>
  static Correction Measure(const ImageView& image, const TableDepth&, const RowBands& bands) {
    const PerChannel<double> means =
        Means(ChannelSums<Layout>(image, kExactSumLimit, nullptr, bands), PixelCount(image));
    const int32_t red = TruncateToInt32(means[kGreen] - means[kRed]);
    const int32_t blue = TruncateToInt32(means[kGreen] - means[kBlue]);
    if (red == 0 && blue == 0) return std::nullopt;
    return PerChannel<LevelMap>{Offset(blue), Offset(0.0), Offset(red)};
  }
};

struct ScaleByMax {
  template <class Layout>
  static Correction Measure(const ImageView& image, const TableDepth& depth, const RowBands& bands) {
    return IntegerGains(ChannelMaxima<Layout>(image, bands), depth.fullScale);
  }
};

struct WhiteWorld {
  template <class Layout>
  static Correction Measure(const ImageView& image, const TableDepth& depth, const RowBands& bands) {
    const PixelPosition white = WhitestByBlue<Layout>(image, depth.fullScale, bands);
    // The selected pixel is addressed as row start plus its column counted in
    // samples, not pixels. For 48-bit images even the row part counts in words,
    // so the address can fall beyond the image; there is nothing to read there,
    // and that counts as nothing to correct.
    const uint64_t sampleIndex = uint64_t(white.row) * image.stride + white.column;
    const uint64_t offset = sampleIndex * Layout::kSampleBytes;
    if (offset + kChannels * Layout::kSampleBytes > PixelExtent<Layout>(image)) return std::nullopt;
    const uint8_t* const at = image.pixels + size_t(offset);
    PerChannel<uint32_t> values;
    for (int c = 0; c < kChannels; ++c) values[c] = Layout::Get(at, c);
    return IntegerGains(values, depth.fullScale);
  }
};

// The spread estimators: every channel stretched to 0.27 x S about its mean,
// which Centre then places (the channel's own mean, or mid-scale). The means
// come from integer sums, which bands may add; the squared deviations are
// doubles whose sum depends on the order of addition, so that pass runs in pass
// order on the calling thread.
template <class Centre> struct Spread {
  template <class Layout>
  static Correction Measure(const ImageView& image, const TableDepth& depth, const RowBands& bands) {
    const double count = PixelCount(image);
    PerChannel<uint32_t> maxima;
    const PerChannel<double> means =
        Means(ChannelSums<Layout>(image, kExactSumLimit, &maxima, bands), count);
    const PerChannel<double> squares = SquaredDeviationSums<Layout>(image, means, maxima);
    PerChannel<double> deviations;
    for (int c = 0; c < kChannels; ++c) deviations[c] = std::sqrt(squares[c] / count);
    if (deviations[kRed] * deviations[kGreen] * deviations[kBlue] == 0.0) return std::nullopt;
    constexpr double kTargetSpread = 0.27;  // of the table size
    const double target = double(depth.size) * kTargetSpread;
    PerChannel<LevelMap> maps;
    for (int c = 0; c < kChannels; ++c)
      maps[c] = {means[c], target / deviations[c], Centre::Level(means[c], depth)};
    return maps;
  }
};

struct AroundOwnMean {
  static double Level(double mean, const TableDepth&) { return mean; }
};
struct AroundMidScale {
  static double Level(double, const TableDepth& depth) { return double(depth.size / 2); }
};
using StandardDeviation = Spread<AroundOwnMean>;
using MeanAndStandardDeviation = Spread<AroundMidScale>;

template <class Estimator>
void RunEstimator(const CImageInfo* info, const CImageData* data, int lutDepth, bool& unchanged,
                  const Tables& out, const RowBands& bands = {}) {
  const std::optional<OpenedImage> image = OpenImage(info, data);
  const std::optional<TableDepth> depth = DepthOf(lutDepth);
  if (!image || !depth || !out[kBlue] || !out[kGreen] || !out[kRed]) return;
  if (image->view.width == 0) {  // rows without pixels: no statistic to speak of
    unchanged = true;
    return;
  }
  const Correction correction = WithLayout(image->kind, [&](auto layout) {
    return Estimator::template Measure<decltype(layout)>(image->view, *depth, bands);
  });
  unchanged = !correction;
  if (correction && depth->writesTables) FillTables(*correction, *depth, out);
}

}  // namespace

void EstimateInBands(EstimatorKind kind, const CImageInfo* info, const CImageData* data,
                     int lutDepth, bool& unchanged, const Tables& out, const RowBands& bands) {
  // In the order of EstimatorKind.
  constexpr decltype(&RunEstimator<GrayWorld>) kRun[] = {
      &RunEstimator<MeanEqualization>, &RunEstimator<GrayWorld>,
      &RunEstimator<StandardDeviation>, &RunEstimator<MeanAndStandardDeviation>,
      &RunEstimator<ScaleByMax>, &RunEstimator<WhiteWorld>};
  const size_t k = size_t(kind);
  if (k < std::size(kRun)) kRun[k](info, data, lutDepth, unchanged, out, bands);
}

}  // namespace tavrix::detail

// Tables are passed by channel position: blue, green, red.
#define TAVRIX_BALANCE_ESTIMATOR(Name)                                                        \
  void CColorBalance::Name(CImageInfo* info, CImageData* data) {                              \
    tavrix::detail::RunEstimator<tavrix::detail::Name>(info, data, m_lutDepth, m_unchanged,   \
                                                       {m_blueLUT, m_greenLUT, m_redLUT});    \
  }                                                                                           \
  void CColorBalance::Name(CImageInfo* info, CImageData* data, unsigned short* red,           \
                           unsigned short* green, unsigned short* blue) {                     \
    tavrix::detail::RunEstimator<tavrix::detail::Name>(info, data, m_lutDepth, m_unchanged,   \
                                                       {blue, green, red});                   \
  }
TAVRIX_BALANCE_ESTIMATOR(GrayWorld)
TAVRIX_BALANCE_ESTIMATOR(WhiteWorld)
TAVRIX_BALANCE_ESTIMATOR(ScaleByMax)
TAVRIX_BALANCE_ESTIMATOR(MeanEqualization)
TAVRIX_BALANCE_ESTIMATOR(StandardDeviation)
TAVRIX_BALANCE_ESTIMATOR(MeanAndStandardDeviation)
#undef TAVRIX_BALANCE_ESTIMATOR
