// The band walk shared by the three line-pass families: which rows of a
// FastPassJob run, with which row kind, where each one writes; and the
// converter's fixed-name kernels as forwarders to RunFastPass.
#ifndef TAVRIX_SRC_BAYER_KERNELS_BAND_WALK_H
#define TAVRIX_SRC_BAYER_KERNELS_BAND_WALK_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "bayer/kernels/fast_pass.h"
#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

// A vector body for the start of one row: writes pixels 0 .. n - 1 of the row
// (n even and below `pixels`, so that the scalar walk always ends the row) and
// returns n. `args` is the family's own argument block.
using RowBody = std::ptrdiff_t (*)(const void *args, const std::uint8_t *top,
                                   const std::uint8_t *below, std::uint8_t *out,
                                   std::ptrdiff_t pixels);

// The three families, each over all five variants.
void RunPlainPass(const FastPassJob &job);
void RunCorrectedPass(const FastPassJob &job);
void RunByteSelectPass(const FastPassJob &job);

inline bool Is32BitVariant(PassVariant v) {
  return v == PassVariant::k32From8 || v == PassVariant::k32From16;
}

template <RowKind kKind, Columns kColumns, class Row, class Put>
void WalkRowsOfKind(const FastPassJob &job, int parity, Put &put, RowBody body,
                    const void *bodyArgs) {
  const std::ptrdiff_t width = job.inputSize.width;
  const std::ptrdiff_t lastRow = std::ptrdiff_t(job.inputSize.height) - 2;
  const int factor = kColumns == Columns::kAll ? 1 : job.context.sampleFactor;
  const std::ptrdiff_t limit =
      kColumns == Columns::kAll ? width : std::ptrdiff_t(factor) * job.outputWidth;
  const bool decimating = factor != 1;
  const std::uint8_t *input = static_cast<const std::uint8_t *>(job.input);
  // The scalar walk of the byte-select pass reads from the chosen byte of sample 0.
  const int byte = std::is_same<Row, ByteOfWord>::value && job.highByte ? 1 : 0;
  std::uint8_t *output = static_cast<std::uint8_t *>(job.output);
  std::ptrdiff_t r = job.rowBegin < 0 ? 0 : job.rowBegin;
  if ((r & 1) != parity) ++r;
  for (; r < job.rowEnd && r <= lastRow; r += 2) {
    if (decimating && r % factor != 0) continue;
    const std::uint8_t *top = input + r * job.inputStride;
    const std::uint8_t *below = top + job.inputStride;
    std::uint8_t *o = output + FastPassOutputRow(job, r) * job.outputStride;
    const std::ptrdiff_t from =
        body != nullptr && !decimating ? body(bodyArgs, top, below, o, limit - 1) : 0;
    WalkRow<kKind, kColumns>(o, Row{top + byte}, Row{below + byte}, limit, factor, from,
                             job.luts, put);
  }
}

// Walks the band's even rows, then its odd rows (none when decimating), each
// with its kind. `bodies` (indexed by RowKind), when given, start every
// undecimated row.
template <Columns kColumns, class Row, class Put>
void WalkBand(const FastPassJob &job, Put &put, const RowBody *bodies = nullptr,
              const void *bodyArgs = nullptr) {
  for (int parity = 0; parity < 2; ++parity) {
    if (parity == 0 ? !job.walkEvenRows : !job.walkOddRows || FastPassDecimates(job)) continue;
    const RowKind kind = parity == 0 ? job.evenRows : job.oddRows;
    const RowBody body = bodies != nullptr ? bodies[int(kind)] : nullptr;
    switch (kind) {
      case RowKind::kBG:
        WalkRowsOfKind<RowKind::kBG, kColumns, Row>(job, parity, put, body, bodyArgs);
        break;
      case RowKind::kGB:
        WalkRowsOfKind<RowKind::kGB, kColumns, Row>(job, parity, put, body, bodyArgs);
        break;
      case RowKind::kGR:
        WalkRowsOfKind<RowKind::kGR, kColumns, Row>(job, parity, put, body, bodyArgs);
        break;
      case RowKind::kRG:
        WalkRowsOfKind<RowKind::kRG, kColumns, Row>(job, parity, put, body, bodyArgs);
        break;
    }
  }
}

// What the converter's fixed-name kernels pass on: packed rows, the whole frame,
// one row kind (start row 0: the even rows, 1: the odd rows).
struct ClassKernelCall {
  LineFamily family;
  RowKind kind;
  unsigned startRow;
  Luts luts;
  LineContext context;
  TableSettings tables;
  bool highByte;
};
void RunClassKernel(const ClassKernelCall &call, CBayerConverter::BGRxTRIPLE *out,
                    const ISize &outSize, const std::uint8_t *in, const ISize &inSize);
void RunClassKernel(const ClassKernelCall &call, CBayerConverter::BGRxTRIPLE *out,
                    const ISize &outSize, const std::uint16_t *in, const ISize &inSize);
void RunClassKernel(const ClassKernelCall &call, CBayerConverter::RGBTRIPLE16 *out,
                    const ISize &outSize, const std::uint16_t *in, const ISize &inSize);
void RunClassKernel(const ClassKernelCall &call, tagRGBTRIPLE *out, const ISize &outSize,
                    const std::uint8_t *in, const ISize &inSize);
void RunClassKernel(const ClassKernelCall &call, tagRGBTRIPLE *out, const ISize &outSize,
                    const std::uint16_t *in, const ISize &inSize);

}  // namespace tavrix::detail

#define TAVRIX_LINE_CALL(Family, Kind, highByte)                                            \
  tavrix::detail::ClassKernelCall {                                                         \
    Family, Kind, s, {r, g, b},                                                             \
        {m_sampleFactor, m_bitDepth, m_depthShift, m_correctionMatrix.m_matrix, m_workPixel}, \
        {m_lutFormat, m_redBalance, m_greenBalance, m_blueBalance, m_bitDepth, m_depthShift,   \
         m_outputShift},                                                                    \
        highByte                                                                            \
  }

// Defines the five fixed-name variants of one line kernel as forwarders.
#define TAVRIX_LINE_FORWARD(Family, Kind) \
  tavrix::detail::RunClassKernel(TAVRIX_LINE_CALL(Family, Kind, false), o, os, i, is)
#define TAVRIX_DEFINE_LINE_KERNEL(Name, Kind, Family)                                        \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono8 *i, const ISize &is, \
                             unsigned s, const Lut *r, const Lut *g, const Lut *b) {         \
    TAVRIX_LINE_FORWARD(Family, Kind);                                                       \
  }                                                                                          \
  void CBayerConverter::Name(BGRxTRIPLE *o, const ISize &os, const Mono16 *i,                \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    TAVRIX_LINE_FORWARD(Family, Kind);                                                       \
  }                                                                                          \
  void CBayerConverter::Name(RGBTRIPLE16 *o, const ISize &os, const Mono16 *i,               \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    TAVRIX_LINE_FORWARD(Family, Kind);                                                       \
  }                                                                                          \
  void CBayerConverter::Name(tagRGBTRIPLE *o, const ISize &os, const Mono8 *i,               \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    TAVRIX_LINE_FORWARD(Family, Kind);                                                       \
  }                                                                                          \
  void CBayerConverter::Name(tagRGBTRIPLE *o, const ISize &os, const Mono16 *i,              \
                             const ISize &is, unsigned s, const Lut *r, const Lut *g,        \
                             const Lut *b) {                                                 \
    TAVRIX_LINE_FORWARD(Family, Kind);                                                       \
  }

#endif
