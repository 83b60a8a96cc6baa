#include "bayer/table_shape.h"

#include "bayer/lut_rules.h"

namespace tavrix::detail {
namespace {

// The shape one table gets from the converter's rule, or false when the rule
// cannot be written as a bounded clamped offset.
bool ShapeFor(const TableSettings &s, int balance, ClampedOffset &shape) {
  switch (LutRuleFor(s.format)) {
    case LutRule::kSixteenBit: {
      if (s.bitDepth < 1 || s.bitDepth > 16 || s.depthShift < 0 || s.depthShift > 15 ||
          s.outputShift < 0 || s.outputShift > 15)
        return false;
      const std::int64_t offset = std::int64_t(balance) * (std::int64_t(1) << s.depthShift);
      if (offset > kMaxShapeOffset || offset < -kMaxShapeOffset) return false;
      shape = {std::int32_t(offset), std::int32_t((1 << s.bitDepth) - 1), s.outputShift};
      return true;
    }
    case LutRule::kByte:
      if (balance > kMaxShapeOffset || balance < -kMaxShapeOffset) return false;
      shape = {balance, 255, 0};
      return true;
    case LutRule::kNone:
      return false;
  }
  return false;
}

bool Matches(const std::uint16_t *table, const ClampedOffset &shape, int reach) {
  // One pass without early exit keeps the loop simple enough to vectorise.
  unsigned differences = 0;
  for (int i = 0; i < reach; ++i) differences |= unsigned(table[i]) ^ shape.At(unsigned(i));
  return differences == 0;
}

}  // namespace

TableShapes CheckTableShapes(const Luts &luts, const TableSettings &s, int reach) {
  TableShapes shapes{};
  shapes.clamped = ShapeFor(s, s.redBalance, shapes.red) &&
                   ShapeFor(s, s.greenBalance, shapes.green) &&
                   ShapeFor(s, s.blueBalance, shapes.blue) &&
                   Matches(luts.red, shapes.red, reach) &&
                   Matches(luts.green, shapes.green, reach) &&
                   Matches(luts.blue, shapes.blue, reach);
  return shapes;
}

}  // namespace tavrix::detail
