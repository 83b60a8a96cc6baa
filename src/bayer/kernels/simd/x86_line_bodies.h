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

#include "bayer/kernels/simd/line_bodies.h"

namespace tavrix::detail {
namespace {

// pshufb masks that interleave channel vectors into records. Output byte p of
// the records belongs to element p / (channels * width) ... computed per mask:
// for record bytes p = 16 * part + j, element e = p / elementBytes, channel
// e % channels, pixel e / channels; the mask takes byte (pixel * elementBytes +
// p % elementBytes) of that channel's vector, or zero (0x80) for other channels.
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

// Three channel vectors (blue, green, red) to 48 bytes of interleaved records.
inline void StoreInterleaved3(std::uint8_t *o, const Masks &m, __m128i b, __m128i g, __m128i r) {
  for (int part = 0; part < 3; ++part) {
    const __m128i v = _mm_or_si128(
        _mm_or_si128(_mm_shuffle_epi8(b, Mask(m, part, 0)), _mm_shuffle_epi8(g, Mask(m, part, 1))),
        _mm_shuffle_epi8(r, Mask(m, part, 2)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(o + 16 * part), v);
  }
}

// 16 pixels of bytes to 64 bytes of blue, green, red, 0.
inline void StoreBgrx(std::uint8_t *o, __m128i b, __m128i g, __m128i r) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i bgLow = _mm_unpacklo_epi8(b, g), bgHigh = _mm_unpackhi_epi8(b, g);
  const __m128i rxLow = _mm_unpacklo_epi8(r, zero), rxHigh = _mm_unpackhi_epi8(r, zero);
  __m128i *out = reinterpret_cast<__m128i *>(o);
  _mm_storeu_si128(out + 0, _mm_unpacklo_epi16(bgLow, rxLow));
  _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(bgLow, rxLow));
  _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(bgHigh, rxHigh));
  _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(bgHigh, rxHigh));
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

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t ByteBody(const void *argBlock, const std::uint8_t *top, const std::uint8_t *below,
                        std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const Ramp blue = RampOf(a.blue, true), green = RampOf(a.green, true), red = RampOf(a.red, true);
  const __m128i evenMask = _mm_set1_epi16(0x00FF);
  constexpr std::ptrdiff_t kLanes = 16, kBytes = kOutput == BodyOutput::k24 ? 3 : 4;
  std::ptrdiff_t x = 0;
  // Lane 15 reads column x + 16, which must stay below the row's last pixel.
  for (; x + kLanes < pixels; x += kLanes) {
    const __m128i t0 = LoadBytes<kInput>(top, x), t1 = LoadBytes<kInput>(top, x + 1);
    const __m128i d0 = LoadBytes<kInput>(below, x), d1 = LoadBytes<kInput>(below, x + 1);
    const Channels c = Select<kKind>(t0, t1, d0, d1, FloorMean8(d0, t1), evenMask);
    const __m128i b = Apply8(c.blue, blue), g = Apply8(c.green, green), r = Apply8(c.red, red);
    if constexpr (kOutput == BodyOutput::k24)
      StoreInterleaved3(out + x * kBytes, kBytesTo24, b, g, r);
    else
      StoreBgrx(out + x * kBytes, b, g, r);
  }
  return x;
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
  std::ptrdiff_t x = 0;
  if constexpr (kOutput == BodyOutput::k48) {
    for (; x + 8 < pixels; x += 8) {
      const Channels c = WordPixels<kKind>(top, below, x, w);
      StoreInterleaved3(out + x * 6, kWordsTo48, _mm_min_epu16(c.blue, w.limit),
                        _mm_min_epu16(c.green, w.limit), _mm_min_epu16(c.red, w.limit));
    }
  } else {
    constexpr std::ptrdiff_t kBytes = kOutput == BodyOutput::k24 ? 3 : 4;
    for (; x + 16 < pixels; x += 16) {
      const Channels low = WordPixels<kKind>(top, below, x, w);
      const Channels high = WordPixels<kKind>(top, below, x + 8, w);
      const __m128i b = LowBytes(low.blue, high.blue), g = LowBytes(low.green, high.green),
                    r = LowBytes(low.red, high.red);
      if constexpr (kOutput == BodyOutput::k24)
        StoreInterleaved3(out + x * kBytes, kBytesTo24, b, g, r);
      else
        StoreBgrx(out + x * kBytes, b, g, r);
    }
  }
  return x;
}

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

const RowBody *X86LineBodies(BodyInput input, BodyOutput output) {
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

}  // namespace
}  // namespace tavrix::detail
