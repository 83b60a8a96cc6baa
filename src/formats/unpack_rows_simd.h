// The vector row unpackers, written once over a small set of vector operations
// and included by one file per instruction set (unpack_rows_ssse3.cpp,
// unpack_rows_avx2.cpp), each compiled with its own flags. Everything here is in
// an anonymous namespace so that each of those files keeps its own copy: no
// out-of-line function compiled with wide flags can be shared with baseline code.
//
// Eight samples come from a 16-byte load by byte shuffles into 16-bit words and
// one of three recipes (Desc::kind):
//   kShifted  a sample is a 16-bit window of the stream: shuffle, then multiply
//             each lane by 2^(r - s) and shift right by r, which keeps bits s ..
//             s + 16 - r - 1 of the window (mono10p, mono12p);
//   kHighLow  a high byte and low bits from a shared byte: the high bytes
//             zero-extended and shifted left, or'ed with the low bits cut from
//             their byte the same way (raw10, raw12, raw14, mono12packed);
//   kWords    whole words or bytes, optionally shifted right (plain, msb16, be16).
// An AVX2 step decodes two such groups of bytes, one per 128-bit lane, from one
// 32-byte load. Whatever is left at the
// end of a row (fewer samples than a step, or too few bytes for the last load)
// goes to the reference.
#ifndef TAVRIX_SRC_FORMATS_UNPACK_ROWS_SIMD_H
#define TAVRIX_SRC_FORMATS_UNPACK_ROWS_SIMD_H

#include <cstddef>
#include <cstdint>

#include "formats/unpack_rows.h"

namespace tavrix::detail {
namespace {

enum class Recipe { kShifted, kHighLow, kWords };

constexpr std::int8_t Z = -1;  // shuffle index that writes a zero byte

struct Desc {
  Packing packing;
  Recipe kind;
  int inBytes;             // packed bytes of eight samples
  std::int8_t high[16];    // shuffle: the window (kShifted, kWords) or the high bytes
  std::int8_t low[16];     // shuffle: the bytes holding the low bits (kHighLow)
  std::uint16_t mul[8];    // per-lane multipliers (kShifted, kHighLow)
  int highShift, lowShift; // left shift of the high bytes; right shift after the multiply
};

// Bytes of the eight samples: raw12 keeps the low nibbles of two samples in the
// group's third byte (sample 0 bits 0-3, sample 1 bits 4-7).
constexpr Desc kRaw12 = {Packing::kRaw12, Recipe::kHighLow, 12,
                         {0, Z, 1, Z, 3, Z, 4, Z, 6, Z, 7, Z, 9, Z, 10, Z},
                         {2, Z, 2, Z, 5, Z, 5, Z, 8, Z, 8, Z, 11, Z, 11, Z},
                         {4096, 256, 4096, 256, 4096, 256, 4096, 256}, 4, 12};
constexpr Desc kMono12Packed = {Packing::kMono12Packed, Recipe::kHighLow, 12,
                                {0, Z, 2, Z, 3, Z, 5, Z, 6, Z, 8, Z, 9, Z, 11, Z},
                                {1, Z, 1, Z, 4, Z, 4, Z, 7, Z, 7, Z, 10, Z, 10, Z},
                                {4096, 256, 4096, 256, 4096, 256, 4096, 256}, 4, 12};
// raw10: sample j's two low bits are bits 2j, 2j + 1 of the group's fifth byte.
constexpr Desc kRaw10 = {Packing::kRaw10, Recipe::kHighLow, 10,
                         {0, Z, 1, Z, 2, Z, 3, Z, 5, Z, 6, Z, 7, Z, 8, Z},
                         {4, Z, 4, Z, 4, Z, 4, Z, 9, Z, 9, Z, 9, Z, 9, Z},
                         {1 << 14, 1 << 12, 1 << 10, 1 << 8, 1 << 14, 1 << 12, 1 << 10, 1 << 8},
                         2, 14};
// raw14: sample j's six low bits start at bit 6j of the 24-bit word in bytes 4-6;
// the windows below put them at bits 8, 6, 4 and 2 of a 16-bit word.
constexpr Desc kRaw14 = {Packing::kRaw14, Recipe::kHighLow, 14,
                         {0, Z, 1, Z, 2, Z, 3, Z, 7, Z, 8, Z, 9, Z, 10, Z},
                         {4, 4, 4, 5, 5, 6, 6, 6, 11, 11, 11, 12, 12, 13, 13, 13},
                         {4, 16, 64, 256, 4, 16, 64, 256}, 6, 10};
// mono12p: sample 0 is bits 0-11 of bytes 0-1, sample 1 bits 4-15 of bytes 1-2.
constexpr Desc kMono12p = {Packing::kMono12p, Recipe::kShifted, 12,
                           {0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11},
                           {},
                           {16, 1, 16, 1, 16, 1, 16, 1}, 0, 4};
// mono10p: sample j is bits 2j .. 2j + 9 of bytes j, j + 1 of its group.
constexpr Desc kMono10p = {Packing::kMono10p, Recipe::kShifted, 10,
                           {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9},
                           {},
                           {64, 16, 4, 1, 64, 16, 4, 1}, 0, 6};
constexpr Desc kPlain8 = {Packing::kPlain8, Recipe::kWords, 8,
                          {0, Z, 1, Z, 2, Z, 3, Z, 4, Z, 5, Z, 6, Z, 7, Z}, {}, {}, 0, 0};
constexpr Desc kPlain16 = {Packing::kPlain16, Recipe::kWords, 16,
                           {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {}, {}, 0, 0};
constexpr Desc kMsb16 = {Packing::kMsb16, Recipe::kWords, 16,
                         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {}, {}, 0, 0};
constexpr Desc kBe16 = {Packing::kBe16, Recipe::kWords, 16,
                        {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14}, {}, {}, 0, 0};

// Decodes one vector of samples from `bytes` (eight per 128-bit lane).
template <class Ops, const Desc &D>
typename Ops::V Decode(typename Ops::V bytes, typename Ops::Count shift) {
  using V = typename Ops::V;
  const V window = Ops::Shuffle(bytes, Ops::template Bytes<D.inBytes>(D.high));
  if constexpr (D.kind == Recipe::kWords) {
    return Ops::ShiftRight(window, shift);
  } else {
    const V multipliers = Ops::Words(D.mul);
    if constexpr (D.kind == Recipe::kShifted) {
      return Ops::template ShiftRightBy<D.lowShift>(Ops::MulLow(window, multipliers));
    } else {
      const V low = Ops::Shuffle(bytes, Ops::template Bytes<D.inBytes>(D.low));
      return Ops::Or(Ops::template ShiftLeftBy<D.highShift>(window),
                     Ops::template ShiftRightBy<D.lowShift>(Ops::MulLow(low, multipliers)));
    }
  }
}

// One row: whole steps while a load stays inside the row's bytes, the rest by
// the reference.
template <class Ops, const Desc &D>
void UnpackRow(const std::uint8_t *in, std::uint16_t *out, std::size_t width, unsigned shift) {
  constexpr std::size_t kLanes = Ops::kSamples / 8;
  constexpr std::size_t kStepBytes = kLanes * D.inBytes;
  static_assert(Ops::kLoadBytes >= (kLanes - 1) * D.inBytes + 16, "a load covers its lanes");
  const std::size_t rowBytes = width * D.inBytes / 8;
  const typename Ops::Count count = Ops::MakeCount(shift);
  // Steps whose samples lie in the row and whose load stays inside its bytes,
  // counted up front: one counter in the loop (no std::min: see the top).
  std::size_t steps = 0;
  if (width >= Ops::kSamples && rowBytes >= Ops::kLoadBytes) {
    const std::size_t loads = (rowBytes - Ops::kLoadBytes) / kStepBytes + 1;
    steps = width / Ops::kSamples;
    if (loads < steps) steps = loads;
  }
  const std::uint8_t *from = in;
  std::uint16_t *to = out;
  for (std::size_t k = 0; k < steps; ++k, from += kStepBytes, to += Ops::kSamples)
    Ops::Store(to, Decode<Ops, D>(Ops::template Load<D.inBytes>(from), count));
  const std::size_t i = steps * Ops::kSamples;
  if (i < width) ReferenceUnpackRow(D.packing)(from, to, width - i, shift);
}

template <class Ops>
UnpackRowFunction Select(Packing packing) {
  switch (packing) {
    case Packing::kPlain8: return UnpackRow<Ops, kPlain8>;
    case Packing::kPlain16: return UnpackRow<Ops, kPlain16>;
    case Packing::kRaw10: return UnpackRow<Ops, kRaw10>;
    case Packing::kRaw12: return UnpackRow<Ops, kRaw12>;
    case Packing::kRaw14: return UnpackRow<Ops, kRaw14>;
    case Packing::kMono10p: return UnpackRow<Ops, kMono10p>;
    case Packing::kMono12p: return UnpackRow<Ops, kMono12p>;
    case Packing::kMono12Packed: return UnpackRow<Ops, kMono12Packed>;
    case Packing::kMsb16: return UnpackRow<Ops, kMsb16>;
    case Packing::kBe16: return UnpackRow<Ops, kBe16>;
  }
  return nullptr;
}

}  // namespace
}  // namespace tavrix::detail

#endif
