// The line bodies for aarch64 (Advanced SIMD, 128-bit vectors). The same lanes
// as the x86 bodies (x86_line_bodies.h): with x even, lane k is the pixel at
// column x + k, and
//   T0 = top[x + k], T1 = top[x + k + 1], D0 = below[x + k], D1 = below[x + k + 1]:
//   green site:       G = T0,                row colour = T1, other colour = D0
//   red or blue site: G = floor mean(D0, T1), row colour = T0, other colour = D1
// Even lanes take the site of the row's even columns, odd lanes the other one.
//
// What NEON adds over the x86 recipe: uhadd is the floor mean in one
// instruction, ld2 splits 16-bit samples into their low and high bytes, and
// st3/st4 interleave the channels into records as they store (no shuffles).
// Per 16 pixels of 8-bit samples to 24-bit records: 4 loads, 1 mean, 3 selects,
// 9 saturating adds/subs/mins, 1 store of 48 bytes.
#include <arm_neon.h>

#include <cstddef>
#include <cstdint>

#include "bayer/kernels/simd/line_bodies.h"

namespace tavrix::detail {
namespace {

struct Channels8 {
  uint8x16_t blue, green, red;
};
struct Channels16 {
  uint16x8_t blue, green, red;
};

// Site selection; `evenMask` has all bits set in the even lanes (bsl takes its
// first operand where the mask is set).
template <RowKind kKind, class V, class Select>
inline void Choose(V t0, V t1, V d0, V d1, V mean, V evenMask, Select select, V &blue, V &green,
                   V &red) {
  constexpr bool kGreenAtEven = kKind == RowKind::kGB || kKind == RowKind::kGR;
  constexpr bool kRedInRow = kKind == RowKind::kGR || kKind == RowKind::kRG;
  // Green-site values in the lanes of green sites, colour-site values elsewhere.
  const V g = kGreenAtEven ? select(evenMask, t0, mean) : select(evenMask, mean, t0);
  const V row = kGreenAtEven ? select(evenMask, t1, t0) : select(evenMask, t0, t1);
  const V other = kGreenAtEven ? select(evenMask, d0, d1) : select(evenMask, d1, d0);
  green = g;
  blue = kRedInRow ? other : row;
  red = kRedInRow ? row : other;
}

// ---- byte lanes: 8-bit samples, or one byte of each 16-bit sample ----------

struct Ramp8 {
  uint8x16_t add, sub, max;
};
inline Ramp8 Ramp8Of(const ChannelRamp &c) {
  return {vdupq_n_u8(std::uint8_t(c.add)), vdupq_n_u8(std::uint8_t(c.sub)),
          vdupq_n_u8(std::uint8_t(c.max))};
}
inline uint8x16_t Apply8(uint8x16_t v, const Ramp8 &r) {
  return vminq_u8(vqsubq_u8(vqaddq_u8(v, r.add), r.sub), r.max);
}

template <BodyInput kInput>
inline uint8x16_t LoadBytes(const std::uint8_t *row, std::ptrdiff_t x) {
  if constexpr (kInput == BodyInput::kBytes)
    return vld1q_u8(row + x);
  else if constexpr (kInput == BodyInput::kLowBytes)
    return vld2q_u8(row + 2 * x).val[0];  // little-endian words: the low byte first
  else
    return vld2q_u8(row + 2 * x).val[1];
}

template <BodyInput kInput, RowKind kKind>
inline Channels8 BytePixels(const std::uint8_t *top, const std::uint8_t *below, std::ptrdiff_t x) {
  const uint8x16_t t0 = LoadBytes<kInput>(top, x), t1 = LoadBytes<kInput>(top, x + 1);
  const uint8x16_t d0 = LoadBytes<kInput>(below, x), d1 = LoadBytes<kInput>(below, x + 1);
  const uint8x16_t evenMask = vreinterpretq_u8_u16(vdupq_n_u16(0x00FF));
  Channels8 c;
  Choose<kKind>(t0, t1, d0, d1, vhaddq_u8(d0, t1), evenMask,
                [](uint8x16_t m, uint8x16_t a, uint8x16_t b) { return vbslq_u8(m, a, b); },
                c.blue, c.green, c.red);
  return c;
}

// 16 pixels to 48 bytes of blue, green, red or 64 of blue, green, red, 0.
template <BodyOutput kOutput>
inline void StoreBytes(std::uint8_t *out, std::ptrdiff_t x, uint8x16_t b, uint8x16_t g,
                       uint8x16_t r) {
  if constexpr (kOutput == BodyOutput::k24) {
    vst3q_u8(out + 3 * x, (uint8x16x3_t{{b, g, r}}));
  } else {
    vst4q_u8(out + 4 * x, (uint8x16x4_t{{b, g, r, vdupq_n_u8(0)}}));
  }
}

// Vectors of kLanes pixels while x + kLanes < pixels (the last lane reads one
// column further); returns the pixels written.
template <std::ptrdiff_t kLanes, class Step>
inline std::ptrdiff_t RowVectors(std::ptrdiff_t pixels, Step step) {
  const std::ptrdiff_t vectors = pixels > kLanes ? (pixels - 1) / kLanes * kLanes : 0;
  for (std::ptrdiff_t x = 0; x < vectors; x += kLanes) step(x);
  return vectors;
}

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t ByteBody(const void *argBlock, const std::uint8_t *top, const std::uint8_t *below,
                        std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  const Ramp8 blue = Ramp8Of(a.blue), green = Ramp8Of(a.green), red = Ramp8Of(a.red);
  return RowVectors<16>(pixels, [&](std::ptrdiff_t x) {
    const Channels8 c = BytePixels<kInput, kKind>(top, below, x);
    StoreBytes<kOutput>(out, x, Apply8(c.blue, blue), Apply8(c.green, green), Apply8(c.red, red));
  });
}

// ---- word lanes: 16-bit samples ---------------------------------------------

struct Ramp16 {
  uint16x8_t add, sub, max;
};
struct WordRamps {
  Ramp16 blue, green, red;
  int16x8_t shift;  // negative: ushl shifts right
};
inline Ramp16 Ramp16Of(const ChannelRamp &c) {
  return {vdupq_n_u16(c.add), vdupq_n_u16(c.sub), vdupq_n_u16(c.max)};
}
inline uint16x8_t Apply16(uint16x8_t v, const Ramp16 &r, int16x8_t shift) {
  return vshlq_u16(vminq_u16(vqsubq_u16(vqaddq_u16(v, r.add), r.sub), r.max), shift);
}

template <RowKind kKind>
inline Channels16 WordPixels(const std::uint8_t *top, const std::uint8_t *below, std::ptrdiff_t x,
                             const WordRamps &w) {
  const auto load = [](const std::uint8_t *row, std::ptrdiff_t at) {
    return vreinterpretq_u16_u8(vld1q_u8(row + 2 * at));
  };
  const uint16x8_t t0 = load(top, x), t1 = load(top, x + 1);
  const uint16x8_t d0 = load(below, x), d1 = load(below, x + 1);
  const uint16x8_t evenMask = vreinterpretq_u16_u32(vdupq_n_u32(0xFFFF));
  uint16x8_t b, g, r;
  Choose<kKind>(t0, t1, d0, d1, vhaddq_u16(d0, t1), evenMask,
                [](uint16x8_t m, uint16x8_t p, uint16x8_t q) { return vbslq_u16(m, p, q); }, b, g,
                r);
  return {Apply16(b, w.blue, w.shift), Apply16(g, w.green, w.shift), Apply16(r, w.red, w.shift)};
}

// The low bytes of two word vectors, in order.
inline uint8x16_t LowBytes(uint16x8_t low, uint16x8_t high) {
  return vcombine_u8(vmovn_u16(low), vmovn_u16(high));
}

template <RowKind kKind, BodyOutput kOutput>
std::ptrdiff_t WordBody(const void *argBlock, const std::uint8_t *top, const std::uint8_t *below,
                        std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  // A shift of 16 clears a lane, as every larger one does in the reference.
  const int shift = unsigned(a.shift) < 16 ? a.shift : 16;
  const WordRamps w = {Ramp16Of(a.blue), Ramp16Of(a.green), Ramp16Of(a.red),
                       vdupq_n_s16(std::int16_t(-shift))};
  if constexpr (kOutput == BodyOutput::k48) {
    const uint16x8_t limit = vdupq_n_u16(a.limit);
    return RowVectors<8>(pixels, [&](std::ptrdiff_t x) {
      const Channels16 c = WordPixels<kKind>(top, below, x, w);
      vst3q_u16(reinterpret_cast<std::uint16_t *>(out + 6 * x),
                (uint16x8x3_t{{vminq_u16(c.blue, limit), vminq_u16(c.green, limit),
                               vminq_u16(c.red, limit)}}));
    });
  } else {
    return RowVectors<16>(pixels, [&](std::ptrdiff_t x) {
      const Channels16 low = WordPixels<kKind>(top, below, x, w);
      const Channels16 high = WordPixels<kKind>(top, below, x + 8, w);
      StoreBytes<kOutput>(out, x, LowBytes(low.blue, high.blue), LowBytes(low.green, high.green),
                          LowBytes(low.red, high.red));
    });
  }
}

// ---- a caller's tables, 8-bit indexes ------------------------------------------
//
// Each table is narrowed to the 256 bytes the output stores. tbl looks up a
// 64-byte quarter; tbx with the index moved down by 64 fills the lanes of the
// next quarter and keeps the others (an index out of range leaves the lane).
// Per 16 lookups: 16 loads of table bytes (from L1), 4 table instructions, 3 subs.
inline uint8x16x4_t Quarter(const std::uint8_t *table) {
  return {{vld1q_u8(table), vld1q_u8(table + 16), vld1q_u8(table + 32), vld1q_u8(table + 48)}};
}
inline uint8x16_t Lookup256(uint8x16_t index, const std::uint8_t *table) {
  const uint8x16_t quarter = vdupq_n_u8(64);
  uint8x16_t v = vqtbl4q_u8(Quarter(table), index);
  for (int k = 1; k < 4; ++k) {
    index = vsubq_u8(index, quarter);
    v = vqtbx4q_u8(v, Quarter(table + 64 * k), index);
  }
  return v;
}

template <RowKind kKind, BodyInput kInput, BodyOutput kOutput>
std::ptrdiff_t LookupBody(const void *argBlock, const std::uint8_t *top,
                          const std::uint8_t *below, std::uint8_t *out, std::ptrdiff_t pixels) {
  const VectorLineArgs &a = *static_cast<const VectorLineArgs *>(argBlock);
  return RowVectors<16>(pixels, [&](std::ptrdiff_t x) {
    const Channels8 c = BytePixels<kInput, kKind>(top, below, x);
    StoreBytes<kOutput>(out, x, Lookup256(c.blue, a.tables[0]), Lookup256(c.green, a.tables[1]),
                        Lookup256(c.red, a.tables[2]));
  });
}

// ---- body tables ---------------------------------------------------------------

template <BodyInput kInput, BodyOutput kOutput, bool kLookup = false>
struct Bodies {
  template <RowKind kKind>
  static constexpr RowBody Pick() {
    if constexpr (kLookup)
      return &LookupBody<kKind, kInput, kOutput>;
    else if constexpr (kInput == BodyInput::kWords)
      return &WordBody<kKind, kOutput>;
    else
      return &ByteBody<kKind, kInput, kOutput>;
  }
  static constexpr RowBody kTable[4] = {Pick<RowKind::kBG>(), Pick<RowKind::kGB>(),
                                        Pick<RowKind::kGR>(), Pick<RowKind::kRG>()};
};

// The byte-lane bodies that exist: 8-bit samples to 24 or 32 bits, one byte of
// 16-bit samples (byte-select) to 32 bits.
template <bool kLookup>
const RowBody *ByteLaneBodies(BodyInput input, BodyOutput output) {
  switch (input) {
    case BodyInput::kBytes:
      if (output == BodyOutput::k24) return Bodies<BodyInput::kBytes, BodyOutput::k24, kLookup>::kTable;
      if (output == BodyOutput::k32) return Bodies<BodyInput::kBytes, BodyOutput::k32, kLookup>::kTable;
      return nullptr;
    case BodyInput::kHighBytes:
      return output == BodyOutput::k32
                 ? Bodies<BodyInput::kHighBytes, BodyOutput::k32, kLookup>::kTable
                 : nullptr;
    case BodyInput::kLowBytes:
      return output == BodyOutput::k32
                 ? Bodies<BodyInput::kLowBytes, BodyOutput::k32, kLookup>::kTable
                 : nullptr;
    case BodyInput::kWords: return nullptr;
  }
  return nullptr;
}

}  // namespace

const RowBody *LookupBodiesNeon(BodyInput input, BodyOutput output) {
  return ByteLaneBodies<true>(input, output);
}

const RowBody *LineBodiesNeon(BodyInput input, BodyOutput output) {
  switch (input) {
    case BodyInput::kBytes:
    case BodyInput::kHighBytes:
    case BodyInput::kLowBytes: return ByteLaneBodies<false>(input, output);
    case BodyInput::kWords:
      if (output == BodyOutput::k24) return Bodies<BodyInput::kWords, BodyOutput::k24>::kTable;
      if (output == BodyOutput::k32) return Bodies<BodyInput::kWords, BodyOutput::k32>::kTable;
      return Bodies<BodyInput::kWords, BodyOutput::k48>::kTable;
  }
  return nullptr;
}

}  // namespace tavrix::detail
