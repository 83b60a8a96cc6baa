// Whole-image statistics of the balance estimators: each gives the result of one
// pass in pass order, whether its rows run as one band or several.
#ifndef TAVRIX_BALANCE_STATISTICS_H
#define TAVRIX_BALANCE_STATISTICS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "balance/pixel_layout.h"
#include "balance/row_bands.h"
#include "balance/row_kernels.h"

namespace tavrix::detail {

// Adds the channel values of pixels from .. width - 1 of a row to sums and, unless
// maxima is null, raises maxima to them.
template <class Layout>
void SumPixels(const uint8_t* row, uint32_t from, uint32_t width, uint64_t* sums, uint32_t* maxima) {
  const uint8_t* pixel = row + size_t(from) * Layout::kPixelBytes;
  for (uint32_t column = from; column < width; ++column, pixel += Layout::kPixelBytes)
    for (int c = 0; c < kChannels; ++c) {
      const uint32_t value = Layout::Get(pixel, c);
      sums[c] += value;
      if (maxima && value > maxima[c]) maxima[c] = value;
    }
}

// Every partial sum of a pass adding integers in doubles is an integer; while it is
// below 2^53 it is representable, so each addition is exact and the integer total,
// summed in any order and converted once, has the very bits of the pass-order sum.
constexpr uint64_t kExactSumLimit = uint64_t(1) << 53;

// Adds the integer sums of the rows from .. to - 1 to exact (and raises maxima to
// their values unless top is null) while every total stays below exactLimit;
// returns the first row not added (`to` when all were).
template <class Layout>
uint32_t AddExactRows(const ImageView& image, const RowKernels& kernels, uint32_t from, uint32_t to,
                      uint64_t exactLimit, PerChannel<uint64_t>& exact, uint32_t* top) {
  for (uint32_t row = from; row < to; ++row) {
    const uint8_t* const start = RowStart(image, row);
    uint64_t rowSum[kChannels] = {};
    const uint32_t done = kernels.sum ? kernels.sum(start, image.width, rowSum, top) : 0;
    SumPixels<Layout>(start, done, image.width, rowSum, top);
    for (int c = 0; c < kChannels; ++c)
      if (exact[c] + rowSum[c] >= exactLimit) return row;
    for (int c = 0; c < kChannels; ++c) exact[c] += rowSum[c];
  }
  return to;
}

inline PerChannel<double> ToDouble(const PerChannel<uint64_t>& exact) {
  return {double(exact[0]), double(exact[1]), double(exact[2])};
}

// The integer totals of every band, when each stays below exactLimit: then every
// prefix of the pass in order does too (the values are not negative), and that
// pass would add them exactly. Empty otherwise.
template <class Layout>
std::optional<PerChannel<uint64_t>> ExactSumsInBands(const ImageView& image, const RowKernels& kernels,
                                                     uint64_t exactLimit, uint32_t* top,
                                                     const RowBands& bands) {
  struct Part {
    PerChannel<uint64_t> exact;
    PerChannel<uint32_t> top;
    bool whole;
  };
  const std::vector<Part> parts = MeasureBands(
      image.height, bands, Part{{}, {}, false}, [&](uint32_t from, uint32_t to, Part& part) {
        part.whole = AddExactRows<Layout>(image, kernels, from, to, exactLimit, part.exact,
                                          top ? part.top.data() : nullptr) == to;
      });
  PerChannel<uint64_t> total{};
  for (const Part& part : parts) {
    if (!part.whole) return std::nullopt;
    for (int c = 0; c < kChannels; ++c) {
      if (part.exact[c] >= exactLimit - total[c]) return std::nullopt;
      total[c] += part.exact[c];
      if (top) top[c] = std::max(top[c], part.top[c]);
    }
  }
  return total;
}

// Channel sums, as double-precision sums adding every value in pass order would
// give them. An image whose rows do not overlap never comes near the limit: its
// buffer of imageSize < 2^32 bytes holds fewer than 2^32 values below 2^16, so the
// total stays below 2^48. Rows that overlap (a stride shorter than the row) are
// trusted input too and may repeat a row 2^32 times, so rows are summed in integers
// (any order; a row holds at most 2^32 x 65535 < 2^48) only while the total stays
// below exactLimit; from the row that would reach it on, the values go through
// per-value double additions, keeping the rounding of the pass-order sum. Bands
// add their rows' integers at once; should a band's totals reach the limit, the
// pass in order runs after all.
template <class Layout>
PerChannel<double> ChannelSums(const ImageView& image, uint64_t exactLimit = kExactSumLimit,
                               PerChannel<uint32_t>* maxima = nullptr, const RowBands& bands = {}) {
  const RowKernels kernels = KernelsFor(KindOf<Layout>());
  uint32_t* const top = maxima ? maxima->data() : nullptr;
  if (top) *maxima = {};
  if (bands.For(image.height) > 1)
    if (const auto total = ExactSumsInBands<Layout>(image, kernels, exactLimit, top, bands))
      return ToDouble(*total);
  PerChannel<uint64_t> exact{};
  const uint32_t inexact = AddExactRows<Layout>(image, kernels, 0, image.height, exactLimit, exact, top);
  PerChannel<double> rounded = ToDouble(exact);
  for (uint32_t row = inexact; row < image.height; ++row) {
    const uint8_t* pixel = RowStart(image, row);
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes)
      for (int c = 0; c < kChannels; ++c) {
        const uint32_t value = Layout::Get(pixel, c);
        rounded[c] += double(value);
        if (top && value > top[c]) top[c] = value;
      }
  }
  return rounded;
}

// N: width x height as a signed 32-bit product (wrapping for huge images), as a double.
inline double PixelCount(const ImageView& image) {
  const uint32_t product = image.width * image.height;
  return product < 0x80000000u ? double(product) : double(product) - 4294967296.0;
}

inline PerChannel<double> Means(const PerChannel<double>& sums, double count) {
  return {sums[0] / count, sums[1] / count, sums[2] / count};
}

// Raises maxima to the channel values of the rows from .. to - 1.
template <class Layout>
void RaiseMaxima(const ImageView& image, const RowKernels& kernels, uint32_t from, uint32_t to,
                 PerChannel<uint32_t>& maxima) {
  for (uint32_t row = from; row < to; ++row) {
    const uint8_t* const start = RowStart(image, row);
    const uint32_t done = kernels.max ? kernels.max(start, image.width, maxima.data()) : 0;
    const uint8_t* pixel = start + size_t(done) * Layout::kPixelBytes;
    for (uint32_t column = done; column < image.width; ++column, pixel += Layout::kPixelBytes)
      for (int c = 0; c < kChannels; ++c) maxima[c] = std::max(maxima[c], Layout::Get(pixel, c));
  }
}

template <class Layout>
PerChannel<uint32_t> ChannelMaxima(const ImageView& image, const RowBands& bands = {}) {
  const RowKernels kernels = KernelsFor(KindOf<Layout>());
  PerChannel<uint32_t> maxima{};
  if (bands.For(image.height) <= 1) {
    RaiseMaxima<Layout>(image, kernels, 0, image.height, maxima);
    return maxima;
  }
  const auto parts = MeasureBands(image.height, bands, maxima,
                                  [&](uint32_t from, uint32_t to, PerChannel<uint32_t>& part) {
                                    RaiseMaxima<Layout>(image, kernels, from, to, part);
                                  });
  for (const PerChannel<uint32_t>& part : parts)
    for (int c = 0; c < kChannels; ++c) maxima[c] = std::max(maxima[c], part[c]);
  return maxima;
}

struct PixelPosition {
  uint32_t row;
  uint32_t column;
};

template <class Layout> uint32_t BlueDistance(const uint8_t* pixel, uint32_t fullScale) {
  const uint32_t difference = Layout::Get(pixel, kBlue) - fullScale;
  return 3u * (difference * difference);
}

struct NearestBlue {
  uint32_t distance;
  PixelPosition at;
};

// Moves best to the first pixel of the rows from .. to - 1 whose distance is below
// best's and below every earlier one's. A vector body finds each row's least
// distance; only a row that holds a new best is searched pixel by pixel.
template <class Layout>
void FindNearestBlue(const ImageView& image, const RowKernels& kernels, uint32_t from, uint32_t to,
                     uint32_t fullScale, NearestBlue& best) {
  for (uint32_t row = from; row < to; ++row) {
    const uint8_t* const start = RowStart(image, row);
    if (kernels.nearestBlue) {
      uint32_t least = UINT32_MAX;
      const uint32_t done = kernels.nearestBlue(start, image.width, fullScale, &least);
      const uint8_t* pixel = start + size_t(done) * Layout::kPixelBytes;
      for (uint32_t column = done; column < image.width; ++column, pixel += Layout::kPixelBytes)
        least = std::min(least, BlueDistance<Layout>(pixel, fullScale));
      if (least >= best.distance) continue;
    }
    const uint8_t* pixel = start;
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes) {
      const uint32_t distance = BlueDistance<Layout>(pixel, fullScale);
      if (distance < best.distance) best = {distance, {row, column}};
    }
  }
}

// The first pixel whose distance 3 (B - M)^2, in wrapping unsigned 32-bit
// arithmetic, is below that of every earlier pixel and below M itself; (0, 0)
// when there is none. Green and red are not looked at. Each band finds its own
// first least pixel; taken in band order, a later band's wins only with a
// strictly smaller distance, which leaves the pixel the pass in order finds.
template <class Layout>
PixelPosition WhitestByBlue(const ImageView& image, uint32_t fullScale, const RowBands& bands = {}) {
  const RowKernels kernels = KernelsFor(KindOf<Layout>());
  NearestBlue best{fullScale, {0, 0}};
  if (bands.For(image.height) <= 1) {
    FindNearestBlue<Layout>(image, kernels, 0, image.height, fullScale, best);
    return best.at;
  }
  const auto parts = MeasureBands(image.height, bands, best,
                                  [&](uint32_t from, uint32_t to, NearestBlue& part) {
                                    FindNearestBlue<Layout>(image, kernels, from, to, fullScale, part);
                                  });
  for (const NearestBlue& part : parts)
    if (part.distance < best.distance) best = part;
  return best.at;
}

// (x - mean) raised to the power 2.0 by the general power function. Compilers
// rewrite pow(d, 2.0) as d * d, which rounds differently for about one d in a
// thousand (glibc 2.36); hiding the exponent keeps the defined statistic.
inline double PowerOfTwoDeviation(double value, double mean) {
  volatile double exponent = 2.0;
  return std::pow(value - mean, exponent);
}

// The squared deviations of one call, each sample value's computed once, into a
// memo of the values 0 .. the channel's maximum. Memos for 8-bit channels (at most
// 6 KB) live here; 16-bit ones are scratch taken for the call. The memo is used only
// when it has no more entries than the image has values, so that filling it never
// costs more than computing every term directly, which is what happens otherwise
// and when no scratch can be had: the same bits, only slower.
template <class Layout> class DeviationSquares {
public:
  DeviationSquares(const ImageView& image, const PerChannel<double>& means,
                   const PerChannel<uint32_t>& maxima, bool useMemo = true)
      : means_(means) {
    const uint64_t values = uint64_t(kChannels) * image.width * image.height;
    const uint64_t entries = uint64_t(maxima[0]) + maxima[1] + maxima[2] + kChannels;
    if (!useMemo || entries > values) return;
    double* memo = local_;
    if constexpr (Layout::kValues > kInlineValues) {
      scratch_.reset(new (std::nothrow) double[size_t(entries)]);
      if (!scratch_) return;
      memo = scratch_.get();
    }
    for (int c = 0; c < kChannels; ++c) {
      memo_[c] = memo;
      for (uint32_t value = 0; value <= maxima[c]; ++value) *memo++ = Compute(c, value);
    }
  }
  bool HasMemo() const { return memo_[0] != nullptr; }
  double Known(int channel, uint32_t value) const { return memo_[channel][value]; }
  double Compute(int channel, uint32_t value) const {
    return PowerOfTwoDeviation(double(value), means_[channel]);
  }

private:
  static constexpr uint32_t kInlineValues = 256;
  PerChannel<double> means_;
  PerChannel<const double*> memo_{};
  double local_[Layout::kValues > kInlineValues ? 1 : kChannels * kInlineValues];
  std::unique_ptr<double[]> scratch_;
};

// Keeps a running sum in a register of its own. GCC would otherwise pack two of the
// three sums into one vector register and store it between pixels, which more than
// doubles the latency of the chain that bounds the pass.
inline void KeepInRegister(double& sum) {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
  asm("" : "+x"(sum));
#elif defined(__GNUC__) && defined(__aarch64__)
  asm("" : "+w"(sum));
#else
  (void)sum;
#endif
}

// Per-channel sums of term(channel, value) over the image, added in pass order:
// three chains of dependent additions.
template <class Layout, class Term>
PerChannel<double> SumInPassOrder(const ImageView& image, const Term& term) {
  double blue = 0.0, green = 0.0, red = 0.0;
  for (uint32_t row = 0; row < image.height; ++row) {
    const uint8_t* pixel = RowStart(image, row);
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes) {
      blue += term(kBlue, Layout::Get(pixel, kBlue));
      green += term(kGreen, Layout::Get(pixel, kGreen));
      red += term(kRed, Layout::Get(pixel, kRed));
      KeepInRegister(blue);
      KeepInRegister(green);
      KeepInRegister(red);
    }
  }
  return {blue, green, red};
}

// Sums of squared deviations from the given means, added in pass order; maxima
// are the channel maxima of the image.
template <class Layout>
PerChannel<double> SquaredDeviationSums(const ImageView& image, const PerChannel<double>& means,
                                        const PerChannel<uint32_t>& maxima) {
  const DeviationSquares<Layout> squares(image, means, maxima);
  if (squares.HasMemo())
    return SumInPassOrder<Layout>(image, [&squares](int c, uint32_t v) { return squares.Known(c, v); });
  return SumInPassOrder<Layout>(image, [&squares](int c, uint32_t v) { return squares.Compute(c, v); });
}

}  // namespace tavrix::detail

#endif
