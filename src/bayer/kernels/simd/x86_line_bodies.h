// The x86 line bodies in 128-bit vectors (SSSE3 + SSE4.1), included by each
// x86 file that compiles them with its own flags. Everything here has internal
// linkage, so no copy built with wider flags can be picked for another caller.
//
// One vector covers 16 pixels (byte lanes) or 8 pixels (word lanes) of a row.
// With x even, lane k is the pixel at column x + k, and
//   T0 = top[x + k], T1 = top[x + k + 1], D0 = below[x + k], D1 = below[x + k + 1]:
//   green site:       G = T0,                row colour = T1, other colour = D0
//   red or blue site: G = floor mean(D0, T1), row colour = T0, other colour = D1
// Even lanes take the site of the row's even columns, odd lanes the other one.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "bayer/kernels/simd/line_bodies.h"

namespace tavrix::detail {
namespace {

// pshufb masks that interleave three channel vectors into 48 bytes of records.
// Record byte p = 16 * part + j holds element e = p / elementBytes, which is
// channel e % 3 of pixel e / 3; the mask of that channel takes byte
// (pixel * elementBytes + p % elementBytes) of its vector, the others 0x80 (zero).
struct Masks {
  alignas(16) std::int8_t bytes[3][3][16];  // [part][channel][j]
};
constexpr Masks MakeInterleaveMasks(int elementBytes) {
  Masks m{};
  for (int part = 0; part < 3; ++part)
    for (int channel = 0; channel < 3; ++channel)
      for (int j = 0; j < 16; ++j) {
        const int p = 16 * part + j, element = p / elementBytes;
        m.bytes[part][channel][j] =
            element % 3 == channel
                ? std::int8_t((element / 3) * elementBytes + p % elementBytes)
                : std::int8_t(-128);
      }
  return m;
}
constexpr Masks kBytesTo24 = MakeInterleaveMasks(1);  // 16 pixels of bytes -> 48 bytes
constexpr Masks kWordsTo48 = MakeInterleaveMasks(2);  // 8 pixels of words -> 48 bytes

inline __m128i Mask(const Masks &m, int part, int channel) {
  return _mm_load_si128(reinterpret_cast<const __m128i *>(m.bytes[part][channel]));
}

// Stores 16 bytes; streamed stores (aligned, past the caches) for outputs that
// would only evict the input from the caches.
template <bool kStream>
inline void Store16(std::uint8_t *o, __m128i v) {
  if constexpr (kStream)
    _mm_stream_si128(reinterpret_cast<__m128i *>(o), v);
  else
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o), v);
}

// Three channel vectors (blue, green, red) to 48 bytes of interleaved records.
template <bool kStream>
inline void StoreInterleaved3(std::uint8_t *o, const Masks &m, __m128i b, __m128i g, __m128i r) {
  for (int part = 0; part < 3; ++part) {
    const __m128i v = _mm_or_si128(
        _mm_or_si128(_mm_shuffle_epi8(b, Mask(m, part, 0)), _mm_shuffle_epi8(g, Mask(m, part, 1))),
        _mm_shuffle_epi8(r, Mask(m, part, 2)));
    Store16<kStream>(o + 16 * part, v);
  }
}

// 16 pixels of bytes to 64 bytes of blue, green, red, 0.
template <bool kStream>
inline void StoreBgrx(std::uint8_t *o, __m128i b, __m128i g, __m128i r) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i bgLow = _mm_unpacklo_epi8(b, g), bgHigh = _mm_unpackhi_epi8(b, g);
  const __m128i rxLow = _mm_unpacklo_epi8(r, zero), rxHigh = _mm_unpackhi_epi8(r, zero);
  Store16<kStream>(o, _mm_unpacklo_epi16(bgLow, rxLow));
  Store16<kStream>(o + 16, _mm_unpackhi_epi16(bgLow, rxLow));
  Store16<kStream>(o + 32, _mm_unpacklo_epi16(bgHigh, rxHigh));
  Store16<kStream>(o + 48, _mm_unpackhi_epi16(bgHigh, rxHigh));
}

struct Ramp {
  __m128i add, sub, max;
};
inline Ramp RampOf(const ChannelRamp &c, bool bytes) {
  if (bytes)
    return {_mm_set1_epi8(char(c.add)), _mm_set1_epi8(char(c.sub)), _mm_set1_epi8(char(c.max))};
  return {_mm_set1_epi16(short(c.add)), _mm_set1_epi16(short(c.sub)),
          _mm_set1_epi16(short(c.max))};
}

struct Channels {
  __m128i blue, green, red;
};

// Site selection, shared by byte and word lanes: `evenMask` has all bits set in
// the even lanes.
template <RowKind kKind>
inline Channels Select(__m128i t0, __m128i t1, __m128i d0, __m128i d1, __m128i mean,
                       __m128i evenMask) {
  constexpr bool kGreenAtEven = kKind == RowKind::kGB || kKind == RowKind::kGR;
  constexpr bool kRedInRow = kKind == RowKind::kGR || kKind == RowKind::kRG;
  // Green-site values in the lanes of green sites, colour-site values elsewhere.
  const __m128i greenLanes = kGreenAtEven ? evenMask : _mm_xor_si128(evenMask, _mm_set1_epi8(-1));
  const __m128i green = _mm_blendv_epi8(mean, t0, greenLanes);
  const __m128i row = _mm_blendv_epi8(t0, t1, greenLanes);
  const __m128i other = _mm_blendv_epi8(d1, d0, greenLanes);
  return kRedInRow ? Channels{other, green, row} : Channels{row, green, other};
}

// ---- byte lanes: 8-bit samples, or one byte of each 16-bit sample ----------

template <BodyInput kInput>
inline __m128i LoadBytes(const std::uint8_t *row, std::ptrdiff_t x) {
  if constexpr (kInput == BodyInput::kBytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + x));
  } else {
    const __m128i *p = reinterpret_cast<const __m128i *>(row + 2 * x);
    __m128i low = _mm_loadu_si128(p), high = _mm_loadu_si128(p + 1);
    if constexpr (kInput == BodyInput::kHighBytes) {
      low = _mm_srli_epi16(low, 8);
      high = _mm_srli_epi16(high, 8);
    } else {
      const __m128i byte = _mm_set1_epi16(0xFF);
      low = _mm_and_si128(low, byte);
      high = _mm_and_si128(high, byte);
    }
    return _mm_packus_epi16(low, high);
  }
}

inline __m128i FloorMean8(__m128i a, __m128i b) {
  const __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1));
  return _mm_sub_epi8(_mm_avg_epu8(a, b), odd);
}

inline __m128i Apply8(__m128i v, const Ramp &r) {
  return _mm_min_epu8(_mm_subs_epu8(_mm_adds_epu8(v, r.add), r.sub), r.max);
}

// Runs `step(x, stream)` over the vectors of a row: x = 0, kLanes, ... while
// x + kLanes < pixels (the last lane reads one column further). Streamed stores
// (the 32-bit output only, whose vectors write whole 64-byte spans) measured
// about a fifth faster on frames far larger than the cache; for the 24- and
// 48-bit records they did not pay, so those always store normally.
template <std::ptrdiff_t kLanes, bool kMayStream, class Step>
std::ptrdiff_t RowVectors(const VectorLineArgs &a, std::uint8_t *out, std::ptrdiff_t pixels,
                          Step step) {
  const std::ptrdiff_t vectors = pixels > kLanes ? (pixels - 1) / kLanes * kLanes : 0;
  std::ptrdiff_t x = 0;
  if (kMayStream && a.stream && (reinterpret_cast<std::uintptr_t>(out) & 15) == 0) {
    for (; x < vectors; x += kLanes) step(x, std::true_type());
    _mm_sfence();  // later stores, and other threads, see the streamed ones in order
  }
  for (; x < vectors; x += kLanes) step(x, std::false_type());
  return vectors;
}

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t ByteBody(const void *argBlock, const std::uint8_t *top, const std::uint8_t *below,
                        std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const Ramp blue = RampOf(a.blue, true), green = RampOf(a.green, true), red = RampOf(a.red, true);
  const __m128i evenMask = _mm_set1_epi16(0x00FF);
  constexpr bool k24 = kOutput == BodyOutput::k24;
  auto step = [&](std::ptrdiff_t x, auto stream) {
    const __m128i t0 = LoadBytes<kInput>(top, x), t1 = LoadBytes<kInput>(top, x + 1);
    const __m128i d0 = LoadBytes<kInput>(below, x), d1 = LoadBytes<kInput>(below, x + 1);
    const Channels c = Select<kKind>(t0, t1, d0, d1, FloorMean8(d0, t1), evenMask);
    const __m128i b = Apply8(c.blue, blue), g = Apply8(c.green, green), r = Apply8(c.red, red);
    if constexpr (k24)
      StoreInterleaved3<decltype(stream)::value>(out + x * 3, kBytesTo24, b, g, r);
    else
      StoreBgrx<decltype(stream)::value>(out + x * 4, b, g, r);
  };
  return RowVectors<16, !k24>(a, out, pixels, step);
}

// ---- word lanes: 16-bit samples ---------------------------------------------

inline __m128i LoadWords(const std::uint8_t *row, std::ptrdiff_t x) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + 2 * x));
}

inline __m128i FloorMean16(__m128i a, __m128i b) {
  const __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi16(1));
  return _mm_sub_epi16(_mm_avg_epu16(a, b), odd);
}

struct WordRamps {
  Ramp blue, green, red;
  __m128i shift, limit;
};

inline __m128i Apply16(__m128i v, const Ramp &r, __m128i shift) {
  v = _mm_min_epu16(_mm_subs_epu16(_mm_adds_epu16(v, r.add), r.sub), r.max);
  return _mm_srl_epi16(v, shift);
}

template <RowKind kKind>
inline Channels WordPixels(const std::uint8_t *top, const std::uint8_t *below, std::ptrdiff_t x,
                           const WordRamps &w) {
  const __m128i evenMask = _mm_set1_epi32(0xFFFF);
  const __m128i t0 = LoadWords(top, x), t1 = LoadWords(top, x + 1);
  const __m128i d0 = LoadWords(below, x), d1 = LoadWords(below, x + 1);
  const Channels c = Select<kKind>(t0, t1, d0, d1, FloorMean16(d0, t1), evenMask);
  return {Apply16(c.blue, w.blue, w.shift), Apply16(c.green, w.green, w.shift),
          Apply16(c.red, w.red, w.shift)};
}

inline __m128i LowBytes(__m128i low, __m128i high) {
  const __m128i byte = _mm_set1_epi16(0xFF);
  return _mm_packus_epi16(_mm_and_si128(low, byte), _mm_and_si128(high, byte));
}

template <RowKind kKind, BodyOutput kOutput>
std::ptrdiff_t WordBody(const void *argBlock, const std::uint8_t *top, const std::uint8_t *below,
                        std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const WordRamps w = {RampOf(a.blue, false), RampOf(a.green, false), RampOf(a.red, false),
                       _mm_cvtsi32_si128(a.shift), _mm_set1_epi16(short(a.limit))};
  if constexpr (kOutput == BodyOutput::k48) {
    auto step = [&](std::ptrdiff_t x, auto stream) {
      const Channels c = WordPixels<kKind>(top, below, x, w);
      StoreInterleaved3<decltype(stream)::value>(out + x * 6, kWordsTo48,
                                                 _mm_min_epu16(c.blue, w.limit),
                                                 _mm_min_epu16(c.green, w.limit),
                                                 _mm_min_epu16(c.red, w.limit));
    };
    return RowVectors<8, false>(a, out, pixels, step);
  } else {
    constexpr bool k24 = kOutput == BodyOutput::k24;
    auto step = [&](std::ptrdiff_t x, auto stream) {
      const Channels low = WordPixels<kKind>(top, below, x, w);
      const Channels high = WordPixels<kKind>(top, below, x + 8, w);
      const __m128i b = LowBytes(low.blue, high.blue), g = LowBytes(low.green, high.green),
                    r = LowBytes(low.red, high.red);
      if constexpr (k24)
        StoreInterleaved3<decltype(stream)::value>(out + x * 3, kBytesTo24, b, g, r);
      else
        StoreBgrx<decltype(stream)::value>(out + x * 4, b, g, r);
    };
    return RowVectors<16, !k24>(a, out, pixels, step);
  }
}

#if defined(__AVX2__)
// ---- corrected pass (AVX2: four doubles per register) -----------------------
//
// The table values (entries read as signed 16-bit numbers) go through the
// matrix in the reference's order, ((m0 * B + m1 * G) + m2 * R), with separate
// multiplies and adds (no fused multiply-add), so every double is the same.
// Truncation: cvttpd gives 0x80000000 for NaN and for results outside the
// 32-bit range; the reference saturates instead, which after the wrap to 16
// bits differs only for results of 2^31 - 1 and above (low half 0xFFFF).

struct Matrix {
  __m256d m[9];
};

// Four results, truncated to 32 bits as the reference does, wrapped to 16 bits.
inline __m128i TruncateWrap(__m256d v) {
  const __m128i t = _mm256_cvttpd_epi32(v);
  const __m128i high = _mm256_castsi256_si128(_mm256_castpd_si256(
      _mm256_permute4x64_pd(_mm256_cmp_pd(v, _mm256_set1_pd(2147483647.0), _CMP_GE_OQ), 0x08)));
  const __m128i saturated = _mm_blendv_epi8(t, _mm_set1_epi32(0x7FFFFFFF), high);
  return _mm_srai_epi32(_mm_slli_epi32(saturated, 16), 16);
}

struct Narrowing {
  __m128i shift;  // 24-bit output: arithmetic shift by the depth shift first
  __m128i max;    // then clamped to 0 .. max
};

// Four pixels: values as 32-bit lanes in, narrowed results as 32-bit lanes out.
inline void Correct4(__m128i b32, __m128i g32, __m128i r32, const Matrix &k, const Narrowing &n,
                     __m128i out[3]) {
  const __m256d b = _mm256_cvtepi32_pd(b32), g = _mm256_cvtepi32_pd(g32),
                r = _mm256_cvtepi32_pd(r32);
  const __m128i zero = _mm_setzero_si128();
  for (int row = 0; row < 3; ++row) {
    const __m256d sum = _mm256_add_pd(
        _mm256_add_pd(_mm256_mul_pd(k.m[3 * row], b), _mm256_mul_pd(k.m[3 * row + 1], g)),
        _mm256_mul_pd(k.m[3 * row + 2], r));
    const __m128i v = _mm_sra_epi32(TruncateWrap(sum), n.shift);
    out[row] = _mm_max_epi32(_mm_min_epi32(v, n.max), zero);
  }
}

// Eight pixels of 16-bit table values to eight narrowed values per channel.
inline Channels Correct8(const Channels &v, const Matrix &k, const Narrowing &n) {
  __m128i low[3], high[3];
  Correct4(_mm_cvtepi16_epi32(v.blue), _mm_cvtepi16_epi32(v.green), _mm_cvtepi16_epi32(v.red), k,
           n, low);
  Correct4(_mm_cvtepi16_epi32(_mm_unpackhi_epi64(v.blue, v.blue)),
           _mm_cvtepi16_epi32(_mm_unpackhi_epi64(v.green, v.green)),
           _mm_cvtepi16_epi32(_mm_unpackhi_epi64(v.red, v.red)), k, n, high);
  // Results lie in 0 .. 65535: packus keeps them exactly.
  return {_mm_packus_epi32(low[0], high[0]), _mm_packus_epi32(low[1], high[1]),
          _mm_packus_epi32(low[2], high[2])};
}

// Table values of eight pixels (16-bit lanes) at column x.
template <RowKind kKind, BodyInput kInput>
inline Channels TableValues8(const std::uint8_t *top, const std::uint8_t *below, std::ptrdiff_t x,
                             const WordRamps &w) {
  if constexpr (kInput == BodyInput::kWords) {
    return WordPixels<kKind>(top, below, x, w);
  } else {
    const auto load = [](const std::uint8_t *row, std::ptrdiff_t at) {
      return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(row + at)));
    };
    const __m128i t0 = load(top, x), t1 = load(top, x + 1), d0 = load(below, x),
                  d1 = load(below, x + 1);
    const Channels c = Select<kKind>(t0, t1, d0, d1, FloorMean16(d0, t1), _mm_set1_epi32(0xFFFF));
    return {Apply16(c.blue, w.blue, w.shift), Apply16(c.green, w.green, w.shift),
            Apply16(c.red, w.red, w.shift)};
  }
}

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t CorrectedBody(const void *argBlock, const std::uint8_t *top,
                             const std::uint8_t *below, std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const WordRamps w = {RampOf(a.blue, false), RampOf(a.green, false), RampOf(a.red, false),
                       _mm_cvtsi32_si128(a.shift), _mm_setzero_si128()};
  Matrix k;
  for (int e = 0; e < 9; ++e) k.m[e] = _mm256_set1_pd(a.matrix[e]);
  const Narrowing n = {_mm_cvtsi32_si128(a.narrowShift), _mm_set1_epi32(a.narrowMax)};
  if constexpr (kOutput == BodyOutput::k48) {
    auto step = [&](std::ptrdiff_t x, auto) {
      const Channels c = Correct8(TableValues8<kKind, kInput>(top, below, x, w), k, n);
      StoreInterleaved3<false>(out + x * 6, kWordsTo48, c.blue, c.green, c.red);
    };
    return RowVectors<8, false>(a, out, pixels, step);
  } else {
    constexpr bool k24 = kOutput == BodyOutput::k24;
    auto step = [&](std::ptrdiff_t x, auto stream) {
      const Channels low = Correct8(TableValues8<kKind, kInput>(top, below, x, w), k, n);
      const Channels high = Correct8(TableValues8<kKind, kInput>(top, below, x + 8, w), k, n);
      const __m128i b = _mm_packus_epi16(low.blue, high.blue),
                    g = _mm_packus_epi16(low.green, high.green),
                    r = _mm_packus_epi16(low.red, high.red);
      if constexpr (k24)
        StoreInterleaved3<decltype(stream)::value>(out + x * 3, kBytesTo24, b, g, r);
      else
        StoreBgrx<decltype(stream)::value>(out + x * 4, b, g, r);
    };
    return RowVectors<16, !k24>(a, out, pixels, step);
  }
}

template <BodyInput kInput, BodyOutput kOutput>
struct CorrectedBodies {
  template <RowKind kKind>
  struct Pick {
    static constexpr RowBody kBody = &CorrectedBody<kKind, kInput, kOutput>;
  };
};
#endif

#if defined(__AVX2__)
// ---- a caller's tables, 8-bit indexes (AVX2) --------------------------------
//
// Each table is narrowed to the 256 bytes the output stores. A lookup shuffles
// each of its sixteen 16-byte chunks by the index's low nibble, then picks the
// chunk by the high nibble's bits, one blend level per bit (blendv reads bit 7
// of each byte, so the index is shifted to bring bit 4, 5, 6, 7 there in turn).
inline __m256i Lookup256(__m256i index, const std::uint8_t *table) {
  const __m256i low = _mm256_and_si256(index, _mm256_set1_epi8(0x0F));
  __m256i level[16];
  for (int k = 0; k < 16; ++k)
    level[k] = _mm256_shuffle_epi8(
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(table + 16 * k))),
        low);
  int count = 16;
  for (int bit = 4; bit < 8; ++bit, count /= 2) {
    const __m256i select = _mm256_slli_epi16(index, 7 - bit);
    for (int k = 0; k < count / 2; ++k)
      level[k] = _mm256_blendv_epi8(level[2 * k], level[2 * k + 1], select);
  }
  return level[0];
}

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t ByteLookupBody(const void *argBlock, const std::uint8_t *top,
                              const std::uint8_t *below, std::uint8_t *out,
                              std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const __m128i evenMask = _mm_set1_epi16(0x00FF);
  constexpr bool k24 = kOutput == BodyOutput::k24;
  const auto channels = [&](std::ptrdiff_t x) {
    const __m128i t0 = LoadBytes<kInput>(top, x), t1 = LoadBytes<kInput>(top, x + 1);
    const __m128i d0 = LoadBytes<kInput>(below, x), d1 = LoadBytes<kInput>(below, x + 1);
    return Select<kKind>(t0, t1, d0, d1, FloorMean8(d0, t1), evenMask);
  };
  auto step = [&](std::ptrdiff_t x, auto stream) {
    const Channels first = channels(x), second = channels(x + 16);
    const __m256i b = Lookup256(_mm256_set_m128i(second.blue, first.blue), a.tables[0]);
    const __m256i g = Lookup256(_mm256_set_m128i(second.green, first.green), a.tables[1]);
    const __m256i r = Lookup256(_mm256_set_m128i(second.red, first.red), a.tables[2]);
    for (int half = 0; half < 2; ++half) {
      const __m128i hb = half ? _mm256_extracti128_si256(b, 1) : _mm256_castsi256_si128(b);
      const __m128i hg = half ? _mm256_extracti128_si256(g, 1) : _mm256_castsi256_si128(g);
      const __m128i hr = half ? _mm256_extracti128_si256(r, 1) : _mm256_castsi256_si128(r);
      if constexpr (k24)
        StoreInterleaved3<decltype(stream)::value>(out + (x + 16 * half) * 3, kBytesTo24, hb, hg,
                                                   hr);
      else
        StoreBgrx<decltype(stream)::value>(out + (x + 16 * half) * 4, hb, hg, hr);
    }
  };
  return RowVectors<32, !k24>(a, out, pixels, step);
}

template <BodyInput kInput, BodyOutput kOutput>
struct LookupBodies {
  template <RowKind kKind>
  struct Pick {
    static constexpr RowBody kBody = &ByteLookupBody<kKind, kInput, kOutput>;
  };
};
#endif

// The four bodies of one input and output, indexed by RowKind.
template <template <RowKind> class Pick>
struct BodyTable {
  static constexpr RowBody kBodies[4] = {Pick<RowKind::kBG>::kBody, Pick<RowKind::kGB>::kBody,
                                         Pick<RowKind::kGR>::kBody, Pick<RowKind::kRG>::kBody};
};

template <BodyInput kInput, BodyOutput kOutput>
struct ByteBodies {
  template <RowKind kKind>
  struct Pick {
    static constexpr RowBody kBody = &ByteBody<kKind, kInput, kOutput>;
  };
};
template <BodyOutput kOutput>
struct WordBodies {
  template <RowKind kKind>
  struct Pick {
    static constexpr RowBody kBody = &WordBody<kKind, kOutput>;
  };
};

template <BodyInput kInput, BodyOutput kOutput>
const RowBody *Bodies() {
  if constexpr (kInput == BodyInput::kWords)
    return BodyTable<WordBodies<kOutput>::template Pick>::kBodies;
  else
    return BodyTable<ByteBodies<kInput, kOutput>::template Pick>::kBodies;
}

[[maybe_unused]] const RowBody *X86LineBodies(BodyInput input, BodyOutput output) {
  switch (input) {
    case BodyInput::kBytes:
      if (output == BodyOutput::k24) return Bodies<BodyInput::kBytes, BodyOutput::k24>();
      if (output == BodyOutput::k32) return Bodies<BodyInput::kBytes, BodyOutput::k32>();
      return nullptr;
    case BodyInput::kHighBytes:
      return output == BodyOutput::k32 ? Bodies<BodyInput::kHighBytes, BodyOutput::k32>()
                                       : nullptr;
    case BodyInput::kLowBytes:
      return output == BodyOutput::k32 ? Bodies<BodyInput::kLowBytes, BodyOutput::k32>()
                                       : nullptr;
    case BodyInput::kWords:
      if (output == BodyOutput::k24) return Bodies<BodyInput::kWords, BodyOutput::k24>();
      if (output == BodyOutput::k32) return Bodies<BodyInput::kWords, BodyOutput::k32>();
      return Bodies<BodyInput::kWords, BodyOutput::k48>();
  }
  return nullptr;
}

#if defined(__AVX2__)
template <BodyInput kInput, BodyOutput kOutput>
const RowBody *Corrected() {
  return BodyTable<CorrectedBodies<kInput, kOutput>::template Pick>::kBodies;
}

template <BodyInput kInput, BodyOutput kOutput>
const RowBody *Lookups() {
  return BodyTable<LookupBodies<kInput, kOutput>::template Pick>::kBodies;
}

[[maybe_unused]] const RowBody *X86LookupBodies(BodyInput input, BodyOutput output) {
  switch (input) {
    case BodyInput::kBytes:
      if (output == BodyOutput::k24) return Lookups<BodyInput::kBytes, BodyOutput::k24>();
      if (output == BodyOutput::k32) return Lookups<BodyInput::kBytes, BodyOutput::k32>();
      return nullptr;
    case BodyInput::kHighBytes:
      return output == BodyOutput::k32 ? Lookups<BodyInput::kHighBytes, BodyOutput::k32>()
                                       : nullptr;
    case BodyInput::kLowBytes:
      return output == BodyOutput::k32 ? Lookups<BodyInput::kLowBytes, BodyOutput::k32>()
                                       : nullptr;
    case BodyInput::kWords: return nullptr;
  }
  return nullptr;
}

[[maybe_unused]] const RowBody *X86CorrectedBodies(BodyInput input, BodyOutput output) {
  if (input == BodyInput::kBytes) {
    if (output == BodyOutput::k24) return Corrected<BodyInput::kBytes, BodyOutput::k24>();
    if (output == BodyOutput::k32) return Corrected<BodyInput::kBytes, BodyOutput::k32>();
    return nullptr;
  }
  if (input != BodyInput::kWords) return nullptr;
  if (output == BodyOutput::k24) return Corrected<BodyInput::kWords, BodyOutput::k24>();
  if (output == BodyOutput::k32) return Corrected<BodyInput::kWords, BodyOutput::k32>();
  return Corrected<BodyInput::kWords, BodyOutput::k48>();
}
#endif

}  // namespace
}  // namespace tavrix::detail

