// How a balance pass may split an image's rows into bands that run at once.
//
// The object's own passes never split (one band, the calling thread); the
// interface hands its threads or its host's executor in here. A pass splits only
// what gives the same bits in any order: integer sums, maxima, a first-least
// search merged in band order, rows rewritten in place.
#ifndef TAVRIX_BALANCE_ROW_BANDS_H
#define TAVRIX_BALANCE_ROW_BANDS_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace tavrix::detail {

struct RowBands {
  // Calls body(k) once for each k in 0 .. count - 1, on any threads, in any
  // order, and returns when all have returned.
  using Runner = std::function<void(int count, const std::function<void(int)> &body)>;
  int count = 1;
  Runner run;

  // Bands for an image of `height` rows: no more than it has rows.
  int For(uint32_t height) const {
    return run ? int(std::min<uint64_t>(uint64_t(std::max(count, 1)), height)) : 1;
  }
};

// First row of band k of `count` bands over `height` rows; band k ends where k + 1 starts.
inline uint32_t BandStart(uint32_t height, int count, int k) {
  return uint32_t(uint64_t(height) * uint32_t(k) / uint32_t(count));
}

// Calls body(k, from, to) for each band k and its rows from .. to - 1; with one
// band, on the calling thread without going through the runner.
template <class Body> void ForEachBand(uint32_t height, const RowBands &bands, const Body &body) {
  const int count = bands.For(height);
  if (count <= 1) return body(0, uint32_t(0), height);
  bands.run(count, [&](int k) {
    body(k, BandStart(height, count, k), BandStart(height, count, k + 1));
  });
}

// Each band measured into its own part (starting as `initial`); the parts in band order.
template <class Part, class Measure>
std::vector<Part> MeasureBands(uint32_t height, const RowBands &bands, const Part &initial,
                               const Measure &measure) {
  const int count = bands.For(height);
  std::vector<Part> parts(size_t(count), initial);
  ForEachBand(height, bands, [&](int k, uint32_t from, uint32_t to) {
    measure(from, to, parts[size_t(k)]);
  });
  return parts;
}

}  // namespace tavrix::detail

#endif
