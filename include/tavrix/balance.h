// Automatic colour balance through views: estimate per-channel tables from an
// image, apply them, or both. CColorBalance's estimators and apply pass run
// underneath, so the tables and pixels are those of the class.
#ifndef TAVRIX_BALANCE_H
#define TAVRIX_BALANCE_H

#include <cstdint>
#include <vector>

#include "tavrix/export.h"
#include "tavrix/image.h"
#include "tavrix/parallel.h"
#include "tavrix/status.h"

namespace tavrix {

enum class BalanceEstimator : int {
  kMeanEqualization = 0,          // shift red and blue levels to green's mean
  kGrayWorld = 1,                 // scale red and blue so their sums match green's
  kStandardDeviation = 2,         // stretch each channel about its own mean
  kMeanAndStandardDeviation = 3,  // stretch each channel and move it to mid-scale
  kScaleByMax = 4,                // scale each channel by full scale / its maximum
  kWhiteWorld = 5,                // scale each channel by full scale / the whitest pixel
};

struct BalanceOptions {
  BalanceEstimator estimator = BalanceEstimator::kGrayWorld;
  // Table depth in bits, 1..16 (entries 0 .. 2^depth - 1 are estimated).
  int tableDepth = 8;
  // Threads for the estimators and the apply pass, each splitting the rows into
  // bands where the result is the same bits: the sums, maxima and the whitest-
  // pixel search of every estimator, and the apply pass. The squared deviations
  // of the two spread estimators are added in pass order on the calling thread
  // (a sum of doubles depends on its order); only their means use the bands.
  Parallelism parallel;
};

// Three tables of 65536 entries each (every 16-bit value indexes them). Entries
// the estimator does not fill are the identity (entry i = i).
struct BalanceTables {
  std::vector<std::uint16_t> red, green, blue;
  int depth = 0;
  // The estimator found nothing to correct: the tables are the identity.
  bool unchanged = true;
};

// Measures the image and fills the tables (resized to 65536 entries).
TAVRIX_API Status EstimateBalance(const ConstColorView &image, const BalanceOptions &options,
                                  BalanceTables *tables);

// Replaces every channel value v of the image by entry v of its table; 8-bit
// channels take the entry's low byte. The fourth byte of 32-bit pixels is kept.
TAVRIX_API Status ApplyBalance(const ColorView &image, const BalanceTables &tables,
                               const Parallelism &parallel = Parallelism());

// Estimate, then apply unless there is nothing to correct. The tables are
// returned when `tables` is not null.
TAVRIX_API Status AutoBalance(const ColorView &image, const BalanceOptions &options,
                              BalanceTables *tables = nullptr);

}  // namespace tavrix

#endif
