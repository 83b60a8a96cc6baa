// SSSE3 row unpackers: eight samples per step (compiled with -mssse3 -msse4.1).
#include <immintrin.h>

#include "formats/unpack_rows_simd.h"

namespace tavrix::detail {
namespace {

struct Sse {
  using V = __m128i;
  using Count = __m128i;
  static constexpr std::size_t kSamples = 8;
  static constexpr std::size_t kLoadBytes = 16;
  template <int kLaneBytes>
  static V Load(const std::uint8_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
  }
  static void Store(std::uint16_t *p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
  template <int kLaneBytes>
  static V Bytes(const std::int8_t (&b)[16]) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(b));
  }
  static V Words(const std::uint16_t (&w)[8]) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(w));
  }
  static V Shuffle(V v, V mask) { return _mm_shuffle_epi8(v, mask); }
  static V MulLow(V a, V b) { return _mm_mullo_epi16(a, b); }
  static V Or(V a, V b) { return _mm_or_si128(a, b); }
  template <int n> static V ShiftLeftBy(V v) { return _mm_slli_epi16(v, n); }
  template <int n> static V ShiftRightBy(V v) { return _mm_srli_epi16(v, n); }
  static Count MakeCount(unsigned n) { return _mm_cvtsi32_si128(int(n)); }
  static V ShiftRight(V v, Count n) { return _mm_srl_epi16(v, n); }
};

}  // namespace

UnpackRowFunction Ssse3UnpackRow(Packing packing) { return Select<Sse>(packing); }

}  // namespace tavrix::detail
