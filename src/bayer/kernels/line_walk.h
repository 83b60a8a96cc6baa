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

// Reads one byte of each 16-bit little-endian sample: sample k is bytes 2k, 2k + 1.
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

// Runs one line kernel. `put(Record&, TableValues)` narrows and stores a pixel.
// `factor` is the sample factor (1 when the variant does not decimate).
// The tables and the store arrive by value: byte stores may alias anything
// reached through a reference, which would force a reload after every pixel.
template <RowKind kKind, Columns kColumns, class Record, class Row, class Put>
void WalkLines(Record *out, const ISize &outSize, Row in, const ISize &inSize,
               unsigned startRow, int factor, const Luts lut, Put put) {
  constexpr bool kGreenAtEven = RowLayout<kKind>::kGreenAtEven;
  const std::ptrdiff_t width = inSize.width;
  const std::ptrdiff_t lastRow = std::ptrdiff_t(inSize.height) - 2;
  const std::ptrdiff_t limit =
      kColumns == Columns::kAll ? width : std::ptrdiff_t(factor) * outSize.width;
  const bool packed = kColumns != Columns::kAll && factor != 1;
  Record *o = out + std::ptrdiff_t(outSize.width) * startRow;
  for (std::ptrdiff_t r = startRow; r <= lastRow; r += 2) {
    if (kColumns != Columns::kAll && r % factor != 0) continue;
    const Row top = in + r * width;
    const Row below = top + width;
    if (kColumns == Columns::kDecimate && factor != 1) {
      // Only columns that are multiples of the factor: x = 0, f, 2f, ... <= limit - 2.
      for (std::ptrdiff_t x = 0; x <= limit - 2; x += factor)
        put(*o++, PixelAt<kKind>(top, below, x, lut));
    } else {
      std::ptrdiff_t c = 0;
      for (; c < limit - 2; c += 2) {
        // Both pixels are read before either is stored: byte stores could alias the
        // input as far as the compiler knows, and would force it to read again.
        const TableValues even = SitePixel<kKind, kGreenAtEven>(top, below, c, lut);
        const TableValues odd = SitePixel<kKind, !kGreenAtEven>(top, below, c + 1, lut);
        put(o[0], even);
        put(o[1], odd);
        o += 2;
      }
      put(*o++, SitePixel<kKind, kGreenAtEven>(top, below, limit - 2, lut));
    }
    if (!packed) o += 1 + width;  // the unwritten last column, then the other kernel's row
  }
}

}  // namespace tavrix::detail

// Defines the five fixed-name variants of one line kernel as forwarders to
// `Run<kind>(out, outSize, in, inSize, startRow, luts, context)`.
#define TAVRIX_DEFINE_LINE_KERNEL(Name, Kind, Run)                                          \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono8 *i, const ISize &is, \
                             unsigned s, const Lut *r, const Lut *g, const Lut *b) {         \
    Run<Kind>(o, os, i, is, s, {r, g, b}, TAVRIX_LINE_CONTEXT);                              \
  }                                                                                          \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono16 *i,                \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    Run<Kind>(o, os, i, is, s, {r, g, b}, TAVRIX_LINE_CONTEXT);                              \
  }                                                                                          \
  void CBayerConverter::Name(RGBTRIPLE16 *o, const ISize &os, const Mono16 *i,               \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    Run<Kind>(o, os, i, is, s, {r, g, b}, TAVRIX_LINE_CONTEXT);                              \
  }                                                                                          \
  void CBayerConverter::Name(tagRGBTRIPLE *o, const ISize &os, const Mono8 *i,               \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    Run<Kind>(o, os, i, is, s, {r, g, b}, TAVRIX_LINE_CONTEXT);                              \
  }                                                                                          \
  void CBayerConverter::Name(tagRGBTRIPLE *o, const ISize &os, const Mono16 *i,              \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    Run<Kind>(o, os, i, is, s, {r, g, b}, TAVRIX_LINE_CONTEXT);                              \
  }

#define TAVRIX_LINE_CONTEXT                                                                  \
  tavrix::detail::LineContext {                                                              \
    m_sampleFactor, m_bitDepth, m_depthShift, m_correctionMatrix.m_matrix, m_workPixel       \
  }

#endif
