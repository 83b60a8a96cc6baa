// Which estimate each site of the per-site bilinear passes gets, per origin.
// Constant tables, read by the plain passes and the vector bodies (the latter
// only in constant expressions, so no code of this header runs in them).
#ifndef TAVRIX_SRC_BAYER_KERNELS_BILINEAR_SITES_H
#define TAVRIX_SRC_BAYER_KERNELS_BILINEAR_SITES_H

#include "bayer/walk_limits.h"
#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

enum class Estimate { kDirect, kH, kV, kD, kCross };

// Estimates of the red and blue passes, per origin, in the order
// (row A odd column, row A even column, row B odd column, row B even column);
// rows A are 1, 3, 5, ..., rows B 2, 4, ...
struct SiteTable {
  Estimate site[4];
};
constexpr Estimate kDir = Estimate::kDirect, kH = Estimate::kH, kV = Estimate::kV,
                   kD = Estimate::kD;
constexpr SiteTable kRedSites[4] = {
    {{kH, kDir, kD, kH}},  // GB
    {{kV, kD, kDir, kV}},  // GR
    {{kDir, kH, kH, kD}},  // BG
    {{kD, kV, kV, kDir}},  // RG
};
constexpr SiteTable kBlueSites[4] = {
    {{kV, kD, kDir, kH}},  // GB
    {{kH, kDir, kD, kV}},  // GR
    {{kD, kV, kV, kDir}},  // BG
    {{kDir, kH, kV, kD}},  // RG
};

constexpr int OriginIndex(int origin) {
  return origin == eOriginGB ? 0 : origin == eOriginGR ? 1 : origin == eOriginBG ? 2 : 3;
}

// Estimate of a site by pass, origin and the parities counted from the pass's
// first row and first column (red and blue: row 1, odd column; green: row 2,
// even column).
constexpr Estimate EstimateAt(BilinearPass pass, int origin, int row, int column) {
  if (pass == BilinearPass::kGreen) {
    // GB and GR: green at the even columns of rows 2, 4, ... and the odd ones of rows 3, 5, ...
    const bool greenLeads = origin == eOriginGB || origin == eOriginGR;
    return (row == column) == greenLeads ? Estimate::kDirect : Estimate::kCross;
  }
  const SiteTable &table =
      (pass == BilinearPass::kRed ? kRedSites : kBlueSites)[OriginIndex(origin)];
  return table.site[2 * row + column];
}

}  // namespace tavrix::detail

#endif
