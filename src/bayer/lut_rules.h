// The two rules that fill a lookup table from a balance offset.
#ifndef TAVRIX_SRC_BAYER_LUT_RULES_H
#define TAVRIX_SRC_BAYER_LUT_RULES_H

#include <cstdint>

namespace tavrix::detail {

enum class LutRule { kSixteenBit, kByte, kNone };

// Sample format codes come in pairs that mean the same thing.
inline LutRule LutRuleFor(unsigned format) {
  switch (format) {
    case 100: case 101: return LutRule::kSixteenBit;
    case 112: case 113: case 114: case 115: return LutRule::kByte;
    default: return LutRule::kNone;
  }
}

// clamp((balance << depthShift) + index, 0, 2^bitDepth - 1) >> outputShift, in 32-bit
// arithmetic: a huge offset wraps exactly as a 32-bit machine word would.
inline unsigned short SixteenBitRule(int balance, int index, int bitDepth, int depthShift,
                                     int outputShift) {
  const int max = int((std::uint32_t(1) << bitDepth) - 1);
  int v = int(std::uint32_t(balance) << depthShift) ;
  v = int(std::uint32_t(v) + std::uint32_t(index));
  if (v > max) v = max;
  if (v < 0) v = 0;
  return static_cast<unsigned short>(v >> outputShift);
}

// clamp(balance + index, 0, 255); bit depth and shifts play no part.
inline unsigned short ByteRule(int balance, int index) {
  const int v = int(std::uint32_t(balance) + std::uint32_t(index));
  return static_cast<unsigned short>(v >= 256 ? 255 : (v < 0 ? 0 : v));
}

// A threshold on the 8-bit scale brought to `bits` significant bits, truncated.
inline int ScaledThreshold(int threshold, int bits) {
  return int(threshold * double((std::int64_t(1) << bits) - 1) / 255.0);
}

}  // namespace tavrix::detail

#endif
