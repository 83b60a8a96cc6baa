// Whether the lookup tables still have the shape the converter gives them.
//
// The converter fills each table with a clamped offset,
//     entry i = min(max(i + offset, 0), max) >> shift,
// which vector code can compute with adds, min/max and shifts instead of a
// lookup. A caller may write any curve into the tables, and a rescale spreads
// them, so a vector path that relies on the shape asks for it at every call, over
// the entries the call can index; when any table differs, the call takes a path
// that looks the tables up.
#ifndef TAVRIX_SRC_BAYER_TABLE_SHAPE_H
#define TAVRIX_SRC_BAYER_TABLE_SHAPE_H

#include <cstdint>

#include "bayer/kernels/line_walk.h"

namespace tavrix::detail {

// entry i = min(max(i + offset, 0), max) >> shift, with no wrap-around: offsets
// are bounded (|offset| <= kMaxShapeOffset), so i + offset fits in 32 bits.
struct ClampedOffset {
  std::int32_t offset;
  std::int32_t max;
  int shift;
  unsigned At(unsigned i) const {
    std::int32_t v = std::int32_t(i) + offset;
    v = v < 0 ? 0 : (v > max ? max : v);
    return unsigned(v) >> shift;
  }
};
constexpr std::int32_t kMaxShapeOffset = 1 << 20;

// What the converter's table rule was given: the sample format code (100/101:
// the sixteen-bit rule, 112-115: the byte rule), the three balance offsets on the
// 8-bit scale and the depth settings.
struct TableSettings {
  unsigned format;
  int redBalance, greenBalance, blueBalance;
  int bitDepth, depthShift, outputShift;
};

struct TableShapes {
  bool clamped;  // all three tables are clamped offsets over the reach
  ClampedOffset red, green, blue;
};

// Entries a call can index: 256 for 8-bit samples and the byte-select pass,
// 65536 for 16-bit samples (samples above 2^bitDepth - 1 index the tables too).
constexpr int kByteReach = 256;
constexpr int kWordReach = 65536;

// The shapes the settings describe, checked against the tables over `reach`
// entries. `clamped` is false when any table differs from its shape, when the
// settings describe no shape (an unknown format, or an offset so large that the
// rule's 32-bit wrap-around could matter). Callers skip the check on frames so
// small that looking the tables up costs less than checking them.
TableShapes CheckTableShapes(const Luts &luts, const TableSettings &settings, int reach);

}  // namespace tavrix::detail

#endif
