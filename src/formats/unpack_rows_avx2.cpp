// AVX2 row unpackers: sixteen samples per step, eight from each 128-bit lane
// (compiled with the AVX2 flags).
#include <immintrin.h>

#include "formats/unpack_rows_simd.h"

namespace tavrix::detail {
namespace {

struct Avx2 {
  using V = __m256i;
  using Count = __m128i;
  static constexpr std::size_t kSamples = 16;
  static constexpr std::size_t kLoadBytes = 32;
  // One 32-byte load; the low lane keeps bytes 0-15, the high lane gets the
  // dwords from the one holding the next eight samples' first byte (their
  // shuffle indexes are moved by the remaining offset, see Bytes).
  template <int kLaneBytes>
  static V Load(const std::uint8_t *p) {
    constexpr int d = kLaneBytes / 4;
    const __m256i all = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
    return _mm256_permutevar8x32_epi32(all, _mm256_setr_epi32(0, 1, 2, 3, d, d + 1, d + 2, d + 3));
  }
  static void Store(std::uint16_t *p, V v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v);
  }
  template <int kLaneBytes>
  static V Bytes(const std::int8_t (&b)[16]) {
    alignas(32) std::int8_t both[32];
    for (int i = 0; i < 16; ++i) {
      both[i] = b[i];
      both[16 + i] = b[i] < 0 ? b[i] : std::int8_t(b[i] + kLaneBytes % 4);
    }
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(both));
  }
  static V Words(const std::uint16_t (&w)[8]) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(w)));
  }
  static V Shuffle(V v, V mask) { return _mm256_shuffle_epi8(v, mask); }
  static V MulLow(V a, V b) { return _mm256_mullo_epi16(a, b); }
  static V Or(V a, V b) { return _mm256_or_si256(a, b); }
  template <int n> static V ShiftLeftBy(V v) { return _mm256_slli_epi16(v, n); }
  template <int n> static V ShiftRightBy(V v) { return _mm256_srli_epi16(v, n); }
  static Count MakeCount(unsigned n) { return _mm_cvtsi32_si128(int(n)); }
  static V ShiftRight(V v, Count n) { return _mm256_srl_epi16(v, n); }
};

}  // namespace

UnpackRowFunction Avx2UnpackRow(Packing packing) { return Select<Avx2>(packing); }

}  // namespace tavrix::detail
