#include "balance/level_tables.h"

namespace tavrix::detail {

std::optional<TableDepth> DepthOf(int lutDepth) {
  if (lutDepth >= 0 && lutDepth <= kMaxTableDepth) {
    const uint32_t size = uint32_t(1) << lutDepth;
    return TableDepth{size, size - 1, true};
  }
  if (lutDepth == kNegativeSizeDepth) {
    const uint32_t size = uint32_t(1) << kNegativeSizeDepth;
    return TableDepth{size, size - 1, false};
  }
  return std::nullopt;
}

void FillTables(const PerChannel<LevelMap>& maps, const TableDepth& depth, const Tables& out) {
  for (int c = 0; c < kChannels; ++c) {
    const LevelMap map = maps[c];
    uint16_t* const table = out[c];
    for (uint32_t i = 0; i < depth.size; ++i)
      table[i] = ToLevel((double(i) - map.pivot) * map.scale + map.level, depth.fullScale);
  }
}

}  // namespace tavrix::detail
