// NEON row unpackers: eight samples per step, the same recipes as the x86 files
// (tbl does what pshufb does: an index of 0xFF writes a zero byte).
#include <arm_neon.h>

#include "formats/unpack_rows_simd.h"

namespace tavrix::detail {
namespace {

struct Neon {
  using V = uint16x8_t;
  using Count = int16x8_t;  // a negative left shift: ushl shifts right
  static constexpr std::size_t kSamples = 8;
  static constexpr std::size_t kLoadBytes = 16;
  template <int kLaneBytes>
  static V Load(const std::uint8_t *p) {
    return vreinterpretq_u16_u8(vld1q_u8(p));
  }
  static void Store(std::uint16_t *p, V v) { vst1q_u16(p, v); }
  template <int kLaneBytes>
  static V Bytes(const std::int8_t (&b)[16]) {
    return vreinterpretq_u16_s8(vld1q_s8(b));
  }
  static V Words(const std::uint16_t (&w)[8]) { return vld1q_u16(w); }
  static V Shuffle(V v, V mask) {
    return vreinterpretq_u16_u8(vqtbl1q_u8(vreinterpretq_u8_u16(v), vreinterpretq_u8_u16(mask)));
  }
  static V MulLow(V a, V b) { return vmulq_u16(a, b); }
  static V Or(V a, V b) { return vorrq_u16(a, b); }
  template <int n> static V ShiftLeftBy(V v) { return vshlq_n_u16(v, n); }
  template <int n> static V ShiftRightBy(V v) { return vshrq_n_u16(v, n); }
  // ushl reads only the low byte of each count: 16 already clears a lane, as
  // every larger shift does in the reference.
  static Count MakeCount(unsigned n) { return vdupq_n_s16(std::int16_t(-int(n < 16 ? n : 16))); }
  static V ShiftRight(V v, Count n) { return vshlq_u16(v, n); }
};

}  // namespace

// Only the layouts whose samples straddle bytes in groups of four: for the
// others the compiler already turns the reference loops into ld2/ld3 vector code
// that executes fewer instructions than these shuffles (counted under emulation,
// 256 x 256 samples: plain8, plain16, raw12, mono12p, mono12packed, msb16, be16
// took 0.3 to 0.95 times the instructions of this body; raw10, raw14 and mono10p
// 2 to 2.8 times).
UnpackRowFunction NeonUnpackRow(Packing packing) {
  switch (packing) {
    case Packing::kRaw10:
    case Packing::kRaw14:
    case Packing::kMono10p: return Select<Neon>(packing);
    default: return nullptr;
  }
}

}  // namespace tavrix::detail
