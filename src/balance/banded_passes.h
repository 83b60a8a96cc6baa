// The estimators and the caller-table apply pass of the balance object, with
// their rows split into bands (row_bands.h) for a caller that runs them on
// several threads. One band gives the object's own passes.
#ifndef TAVRIX_BALANCE_BANDED_PASSES_H
#define TAVRIX_BALANCE_BANDED_PASSES_H

#include "balance/level_tables.h"
#include "balance/row_bands.h"
#include "tavrix/color_balance.h"

namespace tavrix::detail {

enum class EstimatorKind : int {
  kMeanEqualization,
  kGrayWorld,
  kStandardDeviation,
  kMeanAndStandardDeviation,
  kScaleByMax,
  kWhiteWorld,
};

// The five-argument estimator `kind` at table depth lutDepth: the same tables
// (by channel position) and the same unchanged flag as the object's.
void EstimateInBands(EstimatorKind kind, const CImageInfo* info, const CImageData* data,
                     int lutDepth, bool& unchanged, const Tables& out, const RowBands& bands);

// The apply pass through tables (by channel position); every band reads the same
// tables. Returns whether the pass ran (the image was there and the layout accepted).
bool ApplyInBands(const CImageInfo* info, const CImageData* data, const ConstTables& tables,
                  const RowBands& bands);

}  // namespace tavrix::detail

#endif
