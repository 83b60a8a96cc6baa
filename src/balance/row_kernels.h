// Vector bodies of the balance passes, chosen once per pass.
//
// Each body handles a leading run of whole blocks of one row and returns how many
// pixels that was; the caller finishes the row with the plain template, so that
// tails (and the whole image, on the reference path) take the same code. A null
// member means "no vector body": the reference does everything.
#ifndef TAVRIX_BALANCE_ROW_KERNELS_H
#define TAVRIX_BALANCE_ROW_KERNELS_H

#include <cstdint>

#include "balance/pixel_layout.h"

namespace tavrix::detail {

// The low bytes of entries 0..255 of the three tables of an 8-bit apply pass, by
// channel position, in 16 runs of 16 bytes, each run twice (one copy per 128-bit
// lane), as a byte shuffle reads them.
struct ByteTables {
  static constexpr int kRuns = 16;
  static constexpr int kRunBytes = 16;
  alignas(32) uint8_t runs[kChannels][kRuns][2 * kRunBytes];
};

struct RowKernels {
  // Adds the channel values of the pixels it handles to sums (blue, green, red)
  // and, unless maxima is null, raises maxima to them.
  uint32_t (*sum)(const uint8_t* row, uint32_t width, uint64_t* sums, uint32_t* maxima);
  // Raises maxima to the channel values of the pixels it handles.
  uint32_t (*max)(const uint8_t* row, uint32_t width, uint32_t* maxima);
  // Lowers *least to the least blue distance 3 (B - fullScale)^2 (wrapping 32-bit
  // arithmetic) of the pixels it handles.
  uint32_t (*nearestBlue)(const uint8_t* row, uint32_t width, uint32_t fullScale,
                          uint32_t* least);
  // Rewrites the pixels it handles through tables (8-bit layouts only).
  uint32_t (*apply)(uint8_t* row, uint32_t width, const ByteTables& tables);
};

// The bodies for ActivePath() and this layout: all null on the reference path.
RowKernels KernelsFor(LayoutKind kind);

#if TAVRIX_SIMD_X86
RowKernels Avx2RowKernels(LayoutKind kind);
#endif

}  // namespace tavrix::detail

#endif
