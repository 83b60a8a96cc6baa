// Narrowing helpers shared by the colour-correction arithmetic.
#ifndef TAVRIX_SRC_BAYER_NUMERIC_H
#define TAVRIX_SRC_BAYER_NUMERIC_H

#include <cstdint>

namespace tavrix::detail {

// Truncation toward zero to a signed 32-bit integer. Values the type cannot
// hold saturate, and NaN becomes 0, so that any matrix (even one holding
// infinities) gives a defined result: exactly what a clamp to a range inside
// the 32-bit one would give.
inline std::int32_t TruncateToInt32(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return INT32_MAX;
  if (v <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(v);
}

// The low 16 bits as a signed value (two's-complement wrap).
inline int WrapToInt16(std::int32_t v) { return static_cast<std::int16_t>(std::uint16_t(v)); }

}  // namespace tavrix::detail

#endif
