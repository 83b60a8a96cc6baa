// AVX2 bodies of the balance passes (compiled with AVX2 flags for this file alone).
//
// A block is the smallest run of whole pixels that fills whole registers:
//
//   Bgr24   32 pixels = 96 bytes = 3 registers; byte j of the block is channel j % 3
//   Bgrx32   8 pixels = 32 bytes = 1 register;  byte j is channel j % 4 (3: the fourth byte)
//   Bgr48   16 pixels = 96 bytes = 3 registers; word j is channel j % 3
//
// Sums and maxima keep one accumulator per byte or word position of the block and
// fold the positions into channels at the end of the row. Sums are integers, so any
// order gives the same total. The blue search pulls the blue values of 8 pixels into
// 32-bit lanes. The 8-bit apply pass sorts 32 pixels into three planes of one channel
// each, looks every byte up in registers (16 byte shuffles over a 256-entry table,
// chosen by the index bits 4..7 with byte blends), and puts the planes back.
//
// Everything here is in an anonymous namespace except Avx2RowKernels; nothing from a
// shared header is called (see cmake/TavrixSimd.cmake). The 48-bit apply pass has
// no body here: its tables of 65536 entries do not fit in registers, and gathers
// measured slower than the plain loop on our CPUs.
#include <immintrin.h>

#include <cstdint>

#include "balance/row_kernels.h"

namespace tavrix::detail {
namespace {

constexpr uint8_t kZero = 0x80;  // a shuffle index that yields 0

inline __m256i Load(const uint8_t* at) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at)); }
inline void Store(uint8_t* at, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), v); }
inline __m128i Load128(const uint8_t* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); }
inline void Store128(uint8_t* at, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(at), v); }
// Low lane from `low`, high lane from `high`.
inline __m256i LoadLanes(const uint8_t* low, const uint8_t* high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(Load128(low)), Load128(high), 1);
}

inline uint64_t SumLanes64(__m256i v) {
  alignas(32) uint64_t lane[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lane), v);
  return lane[0] + lane[1] + lane[2] + lane[3];
}

// Byte masks of a block: 0xFF where byte j of register r belongs to the channel.
struct BlockMasks {
  alignas(32) uint8_t bytes[3][kChannels][32];
};
constexpr BlockMasks MakeBlockMasks(int period) {
  BlockMasks m{};
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < kChannels; ++c)
      for (int j = 0; j < 32; ++j) m.bytes[r][c][j] = (32 * r + j) % period == c ? 0xFF : 0;
  return m;
}
constexpr BlockMasks kMasks24 = MakeBlockMasks(3);
constexpr BlockMasks kMasks32 = MakeBlockMasks(4);

inline __m256i Mask(const BlockMasks& m, int r, int c) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(m.bytes[r][c]));
}

// Raises maxima to the per-position maxima of a block's bytes or words.
template <int kRegisters, int kPeriod> void FoldMaxima(const __m256i* top, uint32_t* maxima) {
  for (int r = 0; r < kRegisters; ++r) {
    alignas(32) uint8_t lane[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lane), top[r]);
    for (int j = 0; j < 32; ++j) {
      const int c = (32 * r + j) % kPeriod;
      if (c < kChannels && lane[j] > maxima[c]) maxima[c] = lane[j];
    }
  }
}
void FoldMaxima16(const __m256i* top, uint32_t* maxima) {
  for (int r = 0; r < 3; ++r) {
    alignas(32) uint16_t lane[16];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lane), top[r]);
    for (int j = 0; j < 16; ++j) {
      const int c = (16 * r + j) % 3;
      if (lane[j] > maxima[c]) maxima[c] = lane[j];
    }
  }
}

// ---- sums ----------------------------------------------------------------------

// 8-bit layouts: the masked bytes of each channel summed 8 at a time (psadbw) into
// 64-bit lanes, which hold any row (2^32 pixels x 255). Maxima, when asked for, per
// byte position.
template <int kRegisters, int kPeriod, bool kMaxima>
uint32_t SumRowBytes(const uint8_t* row, uint32_t width, uint64_t* sums, uint32_t* maxima) {
  constexpr uint32_t kBlockPixels = 32 * kRegisters / kPeriod;
  const BlockMasks& masks = kPeriod == 3 ? kMasks24 : kMasks32;
  const uint32_t blocks = width / kBlockPixels;
  const __m256i zero = _mm256_setzero_si256();
  __m256i acc[kChannels] = {zero, zero, zero};
  __m256i top[kRegisters];
  for (auto& t : top) t = zero;
  for (uint32_t b = 0; b < blocks; ++b, row += 32 * kRegisters)
    for (int r = 0; r < kRegisters; ++r) {
      const __m256i v = Load(row + 32 * r);
      for (int c = 0; c < kChannels; ++c)
        acc[c] = _mm256_add_epi64(acc[c], _mm256_sad_epu8(_mm256_and_si256(v, Mask(masks, r, c)), zero));
      if (kMaxima) top[r] = _mm256_max_epu8(top[r], v);
    }
  for (int c = 0; c < kChannels; ++c) sums[c] += SumLanes64(acc[c]);
  if (kMaxima) FoldMaxima<kRegisters, kPeriod>(top, maxima);
  return blocks * kBlockPixels;
}

// 48-bit: the even and odd words of each register in 32-bit lanes, which hold 65536
// blocks (65536 x 65535 < 2^32) before they are folded into the 64-bit sums.
template <bool kMaxima>
uint32_t SumRowWords(const uint8_t* row, uint32_t width, uint64_t* sums, uint32_t* maxima) {
  constexpr uint32_t kBlockPixels = 16;
  constexpr uint32_t kBlocksPerFold = 65536;
  const uint32_t blocks = width / kBlockPixels;
  const __m256i low16 = _mm256_set1_epi32(0xFFFF);
  __m256i top[3];
  for (auto& t : top) t = _mm256_setzero_si256();
  for (uint32_t start = 0; start < blocks; start += kBlocksPerFold) {
    const uint32_t end = blocks - start < kBlocksPerFold ? blocks : start + kBlocksPerFold;
    __m256i acc[3][2];
    for (auto& r : acc) r[0] = r[1] = _mm256_setzero_si256();
    for (uint32_t b = start; b < end; ++b, row += 96)
      for (int r = 0; r < 3; ++r) {
        const __m256i v = Load(row + 32 * r);
        acc[r][0] = _mm256_add_epi32(acc[r][0], _mm256_and_si256(v, low16));
        acc[r][1] = _mm256_add_epi32(acc[r][1], _mm256_srli_epi32(v, 16));
        if (kMaxima) top[r] = _mm256_max_epu16(top[r], v);
      }
    for (int r = 0; r < 3; ++r)
      for (int odd = 0; odd < 2; ++odd) {
        alignas(32) uint32_t lane[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lane), acc[r][odd]);
        for (int d = 0; d < 8; ++d) sums[(16 * r + 2 * d + odd) % 3] += lane[d];
      }
  }
  if (kMaxima) FoldMaxima16(top, maxima);
  return blocks * kBlockPixels;
}

template <int kRegisters, int kPeriod>
uint32_t SumRowBytes(const uint8_t* row, uint32_t width, uint64_t* sums, uint32_t* maxima) {
  return maxima ? SumRowBytes<kRegisters, kPeriod, true>(row, width, sums, maxima)
                : SumRowBytes<kRegisters, kPeriod, false>(row, width, sums, maxima);
}
uint32_t SumRow48(const uint8_t* row, uint32_t width, uint64_t* sums, uint32_t* maxima) {
  return maxima ? SumRowWords<true>(row, width, sums, maxima)
                : SumRowWords<false>(row, width, sums, maxima);
}

// ---- maxima --------------------------------------------------------------------

template <int kRegisters, int kPeriod>
uint32_t MaxRowBytes(const uint8_t* row, uint32_t width, uint32_t* maxima) {
  constexpr uint32_t kBlockPixels = 32 * kRegisters / kPeriod;
  const uint32_t blocks = width / kBlockPixels;
  __m256i top[kRegisters];
  for (auto& t : top) t = _mm256_setzero_si256();
  for (uint32_t b = 0; b < blocks; ++b, row += 32 * kRegisters)
    for (int r = 0; r < kRegisters; ++r) top[r] = _mm256_max_epu8(top[r], Load(row + 32 * r));
  FoldMaxima<kRegisters, kPeriod>(top, maxima);
  return blocks * kBlockPixels;
}

uint32_t MaxRow48(const uint8_t* row, uint32_t width, uint32_t* maxima) {
  constexpr uint32_t kBlockPixels = 16;
  const uint32_t blocks = width / kBlockPixels;
  __m256i top[3];
  for (auto& t : top) t = _mm256_setzero_si256();
  for (uint32_t b = 0; b < blocks; ++b, row += 96)
    for (int r = 0; r < 3; ++r) top[r] = _mm256_max_epu16(top[r], Load(row + 32 * r));
  FoldMaxima16(top, maxima);
  return blocks * kBlockPixels;
}

// ---- blue search ---------------------------------------------------------------

// The blue values of 8 pixels in 32-bit lanes, one policy per layout.
struct Blue24 {
  static constexpr uint32_t kPixelBytes = 3;
  static __m256i Get(const uint8_t* at) {
    // Pixels 0..3 from bytes 0..15, pixels 4..7 from bytes 8..23.
    const __m256i pick = _mm256_setr_epi8(0, kZero, kZero, kZero, 3, kZero, kZero, kZero, 6, kZero,
                                          kZero, kZero, 9, kZero, kZero, kZero,  //
                                          4, kZero, kZero, kZero, 7, kZero, kZero, kZero, 10, kZero,
                                          kZero, kZero, 13, kZero, kZero, kZero);
    return _mm256_shuffle_epi8(LoadLanes(at, at + 8), pick);
  }
};
struct Blue32 {
  static constexpr uint32_t kPixelBytes = 4;
  static __m256i Get(const uint8_t* at) { return _mm256_and_si256(Load(at), _mm256_set1_epi32(0xFF)); }
};
struct Blue48 {
  static constexpr uint32_t kPixelBytes = 6;
  static __m256i Get(const uint8_t* at) {
    // Blue words at bytes 0, 6, 12, 18 | 24, 30, 36, 42. `first` holds bytes 0..15 |
    // 16..31, `second` bytes 16..31 | 32..47.
    const __m256i first = Load(at);
    const __m256i second = _mm256_permute2x128_si256(first, Load(at + 16), 0x31);
    const __m256i fromFirst = _mm256_setr_epi8(
        0, 1, kZero, kZero, 6, 7, kZero, kZero, 12, 13, kZero, kZero, kZero, kZero, kZero, kZero,  //
        8, 9, kZero, kZero, 14, 15, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero);
    const __m256i fromSecond = _mm256_setr_epi8(
        kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, 2, 3, kZero, kZero,  //
        kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, 4, 5, kZero, kZero, 10, 11, kZero, kZero);
    return _mm256_or_si256(_mm256_shuffle_epi8(first, fromFirst), _mm256_shuffle_epi8(second, fromSecond));
  }
};

template <class Blue>
uint32_t NearestBlueRow(const uint8_t* row, uint32_t width, uint32_t fullScale, uint32_t* least) {
  constexpr uint32_t kBlockPixels = 8;
  const uint32_t blocks = width / kBlockPixels;
  const __m256i scale = _mm256_set1_epi32(int(fullScale));
  __m256i best = _mm256_set1_epi32(-1);
  for (uint32_t b = 0; b < blocks; ++b, row += kBlockPixels * Blue::kPixelBytes) {
    const __m256i difference = _mm256_sub_epi32(Blue::Get(row), scale);
    const __m256i square = _mm256_mullo_epi32(difference, difference);
    best = _mm256_min_epu32(best, _mm256_add_epi32(square, _mm256_add_epi32(square, square)));
  }
  alignas(32) uint32_t lane[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lane), best);
  for (uint32_t d : lane)
    if (d < *least) *least = d;
  return blocks * kBlockPixels;
}

// ---- 8-bit apply ---------------------------------------------------------------

// Entry x of a 256-entry table held as 16 runs: the run is picked by bits 4..7 of x,
// one bit per level of blends (a blend follows the top bit of each mask byte, so
// the mask for bit k is x shifted left by 7 - k; the 16-bit shift only brings the
// neighbour byte's bits into the low bits, which the blend ignores).
inline __m256i LookUp(__m256i x, const uint8_t (*runs)[32]) {
  const __m256i low = _mm256_and_si256(x, _mm256_set1_epi8(0x0F));
  __m256i level[8];
  const __m256i bit4 = _mm256_slli_epi16(x, 3);
  for (int k = 0; k < 8; ++k) {
    const __m256i even = _mm256_load_si256(reinterpret_cast<const __m256i*>(runs[2 * k]));
    const __m256i odd = _mm256_load_si256(reinterpret_cast<const __m256i*>(runs[2 * k + 1]));
    level[k] = _mm256_blendv_epi8(_mm256_shuffle_epi8(even, low), _mm256_shuffle_epi8(odd, low), bit4);
  }
  const __m256i bit5 = _mm256_slli_epi16(x, 2);
  for (int k = 0; k < 4; ++k) level[k] = _mm256_blendv_epi8(level[2 * k], level[2 * k + 1], bit5);
  const __m256i bit6 = _mm256_slli_epi16(x, 1);
  for (int k = 0; k < 2; ++k) level[k] = _mm256_blendv_epi8(level[2 * k], level[2 * k + 1], bit6);
  return _mm256_blendv_epi8(level[0], level[1], x);
}

// 24-bit: each lane holds 16 pixels (48 bytes); byte j of plane c is byte 3j + c of
// those 48. The three source registers hold bytes 0..15, 16..31, 32..47 of each half.
struct PlaneShuffles24 {
  alignas(32) uint8_t gather[kChannels][3][32];   // [plane][source register]
  alignas(32) uint8_t scatter[3][kChannels][32];  // [target register][plane]
};
constexpr PlaneShuffles24 MakePlaneShuffles24() {
  PlaneShuffles24 s{};
  for (int lane = 0; lane < 2; ++lane)
    for (int i = 0; i < 16; ++i)
      for (int c = 0; c < kChannels; ++c)
        for (int r = 0; r < 3; ++r) {
          const int from = 3 * i + c;  // plane byte i of channel c comes from here
          s.gather[c][r][16 * lane + i] = from / 16 == r ? uint8_t(from % 16) : kZero;
          const int to = 16 * r + i;  // target byte i of register r is plane byte to / 3
          s.scatter[r][c][16 * lane + i] = to % 3 == c ? uint8_t(to / 3) : kZero;
        }
  return s;
}
constexpr PlaneShuffles24 kPlanes24 = MakePlaneShuffles24();

inline __m256i Shuffle(__m256i v, const uint8_t* pattern) {
  return _mm256_shuffle_epi8(v, _mm256_load_si256(reinterpret_cast<const __m256i*>(pattern)));
}

uint32_t ApplyRow24(uint8_t* row, uint32_t width, const ByteTables& tables) {
  constexpr uint32_t kBlockPixels = 32;
  const uint32_t blocks = width / kBlockPixels;
  for (uint32_t b = 0; b < blocks; ++b, row += 96) {
    __m256i source[3];
    for (int r = 0; r < 3; ++r) source[r] = LoadLanes(row + 16 * r, row + 48 + 16 * r);
    __m256i plane[kChannels];
    for (int c = 0; c < kChannels; ++c) {
      __m256i p = Shuffle(source[0], kPlanes24.gather[c][0]);
      p = _mm256_or_si256(p, Shuffle(source[1], kPlanes24.gather[c][1]));
      p = _mm256_or_si256(p, Shuffle(source[2], kPlanes24.gather[c][2]));
      plane[c] = LookUp(p, tables.runs[c]);
    }
    for (int r = 0; r < 3; ++r) {
      __m256i t = Shuffle(plane[0], kPlanes24.scatter[r][0]);
      t = _mm256_or_si256(t, Shuffle(plane[1], kPlanes24.scatter[r][1]));
      t = _mm256_or_si256(t, Shuffle(plane[2], kPlanes24.scatter[r][2]));
      Store128(row + 16 * r, _mm256_castsi256_si128(t));
      Store128(row + 48 + 16 * r, _mm256_extracti128_si256(t, 1));
    }
  }
  return blocks * kBlockPixels;
}

// 32-bit: in each register the bytes of every 4 pixels are sorted by channel (a 4 x 4
// transpose within each lane, its own inverse); a 4 x 4 transpose of 32-bit groups
// across the four registers then gives one plane per channel. The fourth-byte plane
// goes back as it came.
uint32_t ApplyRow32(uint8_t* row, uint32_t width, const ByteTables& tables) {
  constexpr uint32_t kBlockPixels = 32;
  const __m256i byChannel = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15,  //
                                             0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const uint32_t blocks = width / kBlockPixels;
  for (uint32_t b = 0; b < blocks; ++b, row += 128) {
    __m256i v[4];
    for (int r = 0; r < 4; ++r) v[r] = _mm256_shuffle_epi8(Load(row + 32 * r), byChannel);
    const __m256i t0 = _mm256_unpacklo_epi32(v[0], v[1]), t1 = _mm256_unpackhi_epi32(v[0], v[1]);
    const __m256i t2 = _mm256_unpacklo_epi32(v[2], v[3]), t3 = _mm256_unpackhi_epi32(v[2], v[3]);
    const __m256i blue = LookUp(_mm256_unpacklo_epi64(t0, t2), tables.runs[kBlue]);
    const __m256i green = LookUp(_mm256_unpackhi_epi64(t0, t2), tables.runs[kGreen]);
    const __m256i red = LookUp(_mm256_unpacklo_epi64(t1, t3), tables.runs[kRed]);
    const __m256i fourth = _mm256_unpackhi_epi64(t1, t3);
    const __m256i u0 = _mm256_unpacklo_epi32(blue, green), u1 = _mm256_unpackhi_epi32(blue, green);
    const __m256i u2 = _mm256_unpacklo_epi32(red, fourth), u3 = _mm256_unpackhi_epi32(red, fourth);
    v[0] = _mm256_unpacklo_epi64(u0, u2);
    v[1] = _mm256_unpackhi_epi64(u0, u2);
    v[2] = _mm256_unpacklo_epi64(u1, u3);
    v[3] = _mm256_unpackhi_epi64(u1, u3);
    for (int r = 0; r < 4; ++r) Store(row + 32 * r, _mm256_shuffle_epi8(v[r], byChannel));
  }
  return blocks * kBlockPixels;
}

}  // namespace

RowKernels Avx2RowKernels(LayoutKind kind) {
  switch (kind) {
    case LayoutKind::kBgr24:
      return {SumRowBytes<3, 3>, MaxRowBytes<3, 3>, NearestBlueRow<Blue24>, ApplyRow24};
    case LayoutKind::kBgrx32:
      return {SumRowBytes<1, 4>, MaxRowBytes<1, 4>, NearestBlueRow<Blue32>, ApplyRow32};
    case LayoutKind::kBgr48: break;
  }
  return {SumRow48, MaxRow48, NearestBlueRow<Blue48>, nullptr};
}

}  // namespace tavrix::detail
