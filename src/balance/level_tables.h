// Table depth, the real-to-level conversion and the table fill shared by the estimators.
#ifndef TAVRIX_BALANCE_LEVEL_TABLES_H
#define TAVRIX_BALANCE_LEVEL_TABLES_H

#include <cstdint>
#include <optional>

#include "balance/pixel_layout.h"

namespace tavrix::detail {

constexpr int kMaxTableDepth = 16;  // the object's tables hold 65536 entries
// A depth of 31 makes the table size 1 << 31, negative as a signed 32-bit value:
// the estimators then measure and set the flag but write no entry.
constexpr int kNegativeSizeDepth = 31;

struct TableDepth {
  uint32_t size;       // S = 2^depth entries (the bit pattern of 1 << 31 for depth 31)
  uint32_t fullScale;  // S - 1 in 32-bit wrap-around arithmetic
  bool writesTables;   // S >= 1
};

// Depths 0..16 and 31; any other depth makes an estimator leave everything alone.
std::optional<TableDepth> DepthOf(int lutDepth);

// Tables by channel position (blue, green, red).
using Tables = PerChannel<uint16_t*>;
using ConstTables = PerChannel<const uint16_t*>;

// One channel's table: entry i = clamp((i - pivot) * scale + level). Every
// estimator's formula has this shape; a gain g is {0, g, 0} and an offset k is
// {0, 1, k}, which give i * g and i + k with the same rounding.
struct LevelMap {
  double pivot;
  double scale;
  double level;
};

// Truncation toward zero, then clamp to 0..fullScale; NaN gives 0.
inline uint16_t ToLevel(double value, uint32_t fullScale) {
  if (!(value > 0.0)) return 0;
  if (value >= double(fullScale)) return uint16_t(fullScale);
  return uint16_t(uint32_t(value));
}

// Truncation toward zero, saturated to the signed 32-bit range; NaN gives 0.
inline int32_t TruncateToInt32(double value) {
  if (!(value == value)) return 0;
  if (value <= -2147483648.0) return INT32_MIN;
  if (value >= 2147483647.0) return INT32_MAX;
  return int32_t(value);
}

// Writes entries 0 .. depth.size - 1 of the three tables (depths 0..16 only).
void FillTables(const PerChannel<LevelMap>& maps, const TableDepth& depth, const Tables& out);

}  // namespace tavrix::detail

#endif
