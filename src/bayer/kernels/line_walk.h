// The walk shared by the fast line kernels (plain, corrected, byte-select).
//
// Each output pixel comes from its own 2x2 neighbourhood, to the right and below:
//
//        c     c+1
//   r   [own]  [right]
//   r+1 [below][diag]
//
//   green site:       G = own,  row colour = right, other colour = below
//   red or blue site: X = own,  G = mean(below, right) (floor), other = diag
//
// A kernel visits every other row (start, start + 2, ... up to H - 2), walks
// the columns in pairs and then one extra pixel at the last even column; the
// last row and the last column are never written. The 32-bit kernels may
// decimate: only rows and columns that are multiples of the sample factor
// produce pixels, packed one after another.
#ifndef TAVRIX_SRC_BAYER_KERNELS_LINE_WALK_H
#define TAVRIX_SRC_BAYER_KERNELS_LINE_WALK_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

enum class RowKind { kBG, kGB, kGR, kRG };

struct Luts {
  const std::uint16_t *red;
  const std::uint16_t *green;
  const std::uint16_t *blue;
};

// What a line kernel reads from the converter besides the tables.
struct LineContext {
  int sampleFactor;
  int bitDepth;
  int depthShift;
  const double *matrix;          // the correction matrix, nine elements
  std::uint16_t *workPixel;      // blue, green, red of the last corrected pixel
};

// The three table values of one pixel, before narrowing.
struct TableValues {
  unsigned blue, green, red;
};

// How the walk advances over columns.
enum class Columns {
  kAll,          // no decimation: every column, output rows two input widths apart
  kDecimate,     // rows and columns thinned by the sample factor, output packed
  kDecimateRows  // rows thinned, every column written, output packed
};

// Row readers over raw bytes, so that rows may start at any byte offset.
// 8-bit samples are read through a plain byte pointer.
// 16-bit little-endian samples, read byte-wise where a row is not aligned.
struct Words {
  const std::uint8_t *bytes;
  unsigned operator[](std::ptrdiff_t k) const {
    std::uint16_t v;
    std::memcpy(&v, bytes + 2 * k, sizeof v);
    return v;
  }
  Words operator+(std::ptrdiff_t k) const { return {bytes + 2 * k}; }
};

// One byte of each 16-bit little-endian sample: sample k is bytes 2k, 2k + 1
// (`bytes` points at byte 0 or 1 of sample 0).
struct ByteOfWord {
  const std::uint8_t *bytes;
  unsigned operator[](std::ptrdiff_t k) const { return bytes[2 * k]; }
  ByteOfWord operator+(std::ptrdiff_t k) const { return {bytes + 2 * k}; }
};

template <RowKind kKind>
struct RowLayout {
  static constexpr bool kGreenAtEven = kKind == RowKind::kGB || kKind == RowKind::kGR;
  static constexpr bool kRedInRow = kKind == RowKind::kGR || kKind == RowKind::kRG;
};

// Site formulas for the pixel at column x of a row (top) and the row below it.
template <RowKind kKind, bool kGreenSite, class Row>
inline TableValues SitePixel(Row top, Row below, std::ptrdiff_t x, Luts lut) {
  constexpr bool kRed = RowLayout<kKind>::kRedInRow;
  const std::uint16_t *rowLut = kRed ? lut.red : lut.blue;     // colour sharing this row
  const std::uint16_t *otherLut = kRed ? lut.blue : lut.red;   // colour of the row below
  unsigned row, green, other;
  if constexpr (kGreenSite) {
    green = lut.green[top[x]];
    row = rowLut[top[x + 1]];
    other = otherLut[below[x]];
  } else {
    row = rowLut[top[x]];
    green = lut.green[(unsigned(below[x]) + unsigned(top[x + 1])) >> 1];
    other = otherLut[below[x + 1]];
  }
  return kRed ? TableValues{other, green, row} : TableValues{row, green, other};
}

template <RowKind kKind, class Row>
inline TableValues PixelAt(Row top, Row below, std::ptrdiff_t x, Luts lut) {
  constexpr bool kGreenAtEven = RowLayout<kKind>::kGreenAtEven;
  if (x % 2 == 0) return SitePixel<kKind, kGreenAtEven>(top, below, x, lut);
  return SitePixel<kKind, !kGreenAtEven>(top, below, x, lut);
}

// Walks one row from column `from` (even; the columns before it are done):
// pixels at columns 0 .. limit - 2, every one or, with kDecimate and a factor
// above 1, every factor-th one. `put(bytes, TableValues)` narrows and stores a
// record of Put::kBytes bytes. The tables arrive by value: byte stores may alias
// anything reached through a reference, which would force a reload per pixel.
template <RowKind kKind, Columns kColumns, class Row, class Put>
void WalkRow(std::uint8_t *o, Row top, Row below, std::ptrdiff_t limit, int factor,
             std::ptrdiff_t from, const Luts lut, Put &put) {
  constexpr bool kGreenAtEven = RowLayout<kKind>::kGreenAtEven;
  constexpr std::ptrdiff_t kBytes = Put::kBytes;
  if (kColumns == Columns::kDecimate && factor != 1) {
    for (std::ptrdiff_t x = 0; x <= limit - 2; x += factor, o += kBytes)
      put(o, PixelAt<kKind>(top, below, x, lut));
    return;
  }
  o += from * kBytes;
  std::ptrdiff_t c = from;
  for (; c < limit - 2; c += 2) {
    // Both pixels are read before either is stored: byte stores could alias the
    // input as far as the compiler knows, and would force it to read again.
    const TableValues even = SitePixel<kKind, kGreenAtEven>(top, below, c, lut);
    const TableValues odd = SitePixel<kKind, !kGreenAtEven>(top, below, c + 1, lut);
    put(o, even);
    put(o + kBytes, odd);
    o += 2 * kBytes;
  }
  put(o, SitePixel<kKind, kGreenAtEven>(top, below, limit - 2, lut));
}

// Stores a record's fields one by one at any byte offset (output rows may start
// anywhere). Building the record on the stack and copying it whole would read
// back narrower stores than it loads, which stalls store forwarding per pixel.
inline void StoreBytes(std::uint8_t *o, unsigned blue, unsigned green, unsigned red) {
  o[0] = std::uint8_t(blue);
  o[1] = std::uint8_t(green);
  o[2] = std::uint8_t(red);
}
inline void StoreBgrx(std::uint8_t *o, unsigned blue, unsigned green, unsigned red) {
  StoreBytes(o, blue, green, red);
  o[3] = 0;
}
inline void StoreWords(std::uint8_t *o, unsigned blue, unsigned green, unsigned red) {
  const std::uint16_t b = std::uint16_t(blue), g = std::uint16_t(green), r = std::uint16_t(red);
  std::memcpy(o, &b, 2);
  std::memcpy(o + 2, &g, 2);
  std::memcpy(o + 4, &r, 2);
}

}  // namespace tavrix::detail

#endif
