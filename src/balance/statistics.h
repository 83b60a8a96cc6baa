// Whole-image statistics of the balance estimators, each one pass in pass order.
#ifndef TAVRIX_BALANCE_STATISTICS_H
#define TAVRIX_BALANCE_STATISTICS_H

#include <cmath>
#include <cstdint>
#include <optional>

#include "balance/pixel_layout.h"

namespace tavrix::detail {

// A running double sum of integers is exact while it stays below 2^53, so up to
// there an integer total converted once gives the very bits of the pass-order sum.
constexpr uint64_t kExactSumLimit = uint64_t(1) << 53;

// Channel sums, as double-precision sums adding every value in pass order would
// give them. Rows are summed in integers (no row exceeds 2^32 * 65535 < 2^48);
// only if the total would reach exactLimit does the rest of the image go through
// per-value double additions, keeping the rounding of the pass-order sum.
template <class Layout>
PerChannel<double> ChannelSums(const ImageView& image, uint64_t exactLimit = kExactSumLimit) {
  PerChannel<uint64_t> exact{};
  PerChannel<double> rounded{};
  bool inexact = false;
  for (uint32_t row = 0; row < image.height; ++row) {
    const uint8_t* const start = RowStart(image, row);
    if (!inexact) {
      PerChannel<uint64_t> rowSum{};
      const uint8_t* pixel = start;
      for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes)
        for (int c = 0; c < kChannels; ++c) rowSum[c] += Layout::Get(pixel, c);
      bool fits = true;
      for (int c = 0; c < kChannels; ++c) fits = fits && exact[c] + rowSum[c] < exactLimit;
      if (fits) {
        for (int c = 0; c < kChannels; ++c) exact[c] += rowSum[c];
        continue;
      }
      inexact = true;
      for (int c = 0; c < kChannels; ++c) rounded[c] = double(exact[c]);
    }
    const uint8_t* pixel = start;
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes)
      for (int c = 0; c < kChannels; ++c) rounded[c] += double(Layout::Get(pixel, c));
  }
  if (!inexact)
    for (int c = 0; c < kChannels; ++c) rounded[c] = double(exact[c]);
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

template <class Layout> PerChannel<uint32_t> ChannelMaxima(const ImageView& image) {
  PerChannel<uint32_t> maxima{};
  ForEachPixel<Layout>(image, [&](const uint8_t* pixel) {
    for (int c = 0; c < kChannels; ++c) {
      const uint32_t value = Layout::Get(pixel, c);
      if (value > maxima[c]) maxima[c] = value;
    }
  });
  return maxima;
}

struct PixelPosition {
  uint32_t row;
  uint32_t column;
};

// The first pixel whose distance 3 (B - M)^2, in wrapping unsigned 32-bit
// arithmetic, is below that of every earlier pixel and below M itself; (0, 0)
// when there is none. Green and red are not looked at.
template <class Layout> PixelPosition WhitestByBlue(const ImageView& image, uint32_t fullScale) {
  uint32_t best = fullScale;
  PixelPosition found{0, 0};
  for (uint32_t row = 0; row < image.height; ++row) {
    const uint8_t* pixel = RowStart(image, row);
    for (uint32_t column = 0; column < image.width; ++column, pixel += Layout::kPixelBytes) {
      const uint32_t difference = Layout::Get(pixel, kBlue) - fullScale;
      const uint32_t distance = 3u * (difference * difference);
      if (distance < best) {
        best = distance;
        found = {row, column};
      }
    }
  }
  return found;
}

// (x - mean) raised to the power 2.0 by the general power function. Compilers
// rewrite pow(d, 2.0) as d * d, which rounds differently for about one d in a
// thousand (glibc 2.36); hiding the exponent keeps the defined statistic.
inline double PowerOfTwoDeviation(double value, double mean) {
  volatile double exponent = 2.0;
  return std::pow(value - mean, exponent);
}

// Memo of PowerOfTwoDeviation per sample value, direct-mapped and filled at
// construction with the values 0 .. slots - 1: every 8-bit value has its own
// slot; 16-bit values share kMaxSlots, which holds 11-bit data whole and the
// slowly varying values of real images at higher depths.
template <class Layout> class DeviationSquares {
public:
  explicit DeviationSquares(double mean) : mean_(mean) {
    for (uint32_t value = 0; value < kSlots; ++value) Fill(value, value);
  }
  double operator()(uint32_t value) {
    const uint32_t slot = value & (kSlots - 1);
    if (keys_[slot] != value) Fill(slot, value);
    return squares_[slot];
  }

private:
  using Sample = typename Layout::Sample;
  static constexpr size_t kMaxSlots = 2048;  // 20 KB per channel on the stack
  static constexpr size_t kSlots = Layout::kValues < kMaxSlots ? Layout::kValues : kMaxSlots;
  void Fill(uint32_t slot, uint32_t value) {
    keys_[slot] = Sample(value);
    squares_[slot] = PowerOfTwoDeviation(double(value), mean_);
  }
  double mean_;
  Sample keys_[kSlots];
  double squares_[kSlots];
};

// Sums of squared deviations from the given means, added in pass order.
template <class Layout>
PerChannel<double> SquaredDeviationSums(const ImageView& image, const PerChannel<double>& means) {
  DeviationSquares<Layout> squares[kChannels] = {DeviationSquares<Layout>(means[0]),
                                                 DeviationSquares<Layout>(means[1]),
                                                 DeviationSquares<Layout>(means[2])};
  PerChannel<double> sums{};
  ForEachPixel<Layout>(image, [&](const uint8_t* pixel) {
    for (int c = 0; c < kChannels; ++c) sums[c] += squares[c](Layout::Get(pixel, c));
  });
  return sums;
}

}  // namespace tavrix::detail

#endif
