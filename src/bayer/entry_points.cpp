// The five conversion entry points: table refresh, matrix and thresholds,
// size checks, dispatch to the selected algorithm, correction afterwards.
#include <cstring>
#include <type_traits>

#include "bayer/kernels/plane_kernels.h"
#include "bayer/kernels/site_pass.h"
#include "bayer/lut_rules.h"
#include "bayer/table_shape.h"
#include "bayer/walk_limits.h"
#include "tavrix/bayer_converter.h"

namespace {

using tavrix::detail::LutRule;
using tavrix::detail::LutRuleFor;

constexpr unsigned short kSixteenBitFormat = 100;  // what the non-32-bit entry points pass on

// Row kinds, named by the colours at a row's even and odd columns.
enum RowKind { kBG, kGB, kGR, kRG, kNoRows };

struct RowPair {
  RowKind even, odd;
};

// Row 0 has the origin's kind; row 1 the other kind.
RowPair RowsOf(ePatternOrigin origin) {
  switch (origin) {
    case eOriginGB: return {kGB, kRG};
    case eOriginGR: return {kGR, kBG};
    case eOriginBG: return {kBG, kGR};
    case eOriginRG: return {kRG, kGB};
    default: return {kNoRows, kNoRows};
  }
}

bool ValidDepth(unsigned short bits) { return bits >= 8 && bits <= 16; }

}  // namespace

template <class Record, class Sample>
void CBayerConverter::RunLineKernel(int rowKind, Record *o, const ISize &os, const Sample *i,
                                    const ISize &is, unsigned int start, unsigned short format,
                                    bool corrected) {
  const Lut *r = m_redLUT, *g = m_greenLUT, *b = m_blueLUT;
  if constexpr (std::is_same<Record, BGRxTRIPLE>::value && std::is_same<Sample, Mono16>::value) {
    if (LutRuleFor(format) == LutRule::kByte) {
      switch (rowKind) {
        case kBG: return ProcessBilinearBGLinesMSB(o, os, i, is, start, format, r, g, b);
        case kGB: return ProcessBilinearGBLinesMSB(o, os, i, is, start, format, r, g, b);
        case kGR: return ProcessBilinearGRLinesMSB(o, os, i, is, start, format, r, g, b);
        case kRG: return ProcessBilinearRGLinesMSB(o, os, i, is, start, format, r, g, b);
      }
      return;
    }
  }
  if (corrected) {
    switch (rowKind) {
      case kBG: return ProcessBilinearBGLinesCorrection(o, os, i, is, start, r, g, b);
      case kGB: return ProcessBilinearGBLinesCorrection(o, os, i, is, start, r, g, b);
      case kGR: return ProcessBilinearGRLinesCorrection(o, os, i, is, start, r, g, b);
      case kRG: return ProcessBilinearRGLinesCorrection(o, os, i, is, start, r, g, b);
    }
    return;
  }
  switch (rowKind) {
    case kBG: return ProcessBilinearBGLines(o, os, i, is, start, r, g, b);
    case kGB: return ProcessBilinearGBLines(o, os, i, is, start, r, g, b);
    case kGR: return ProcessBilinearGRLines(o, os, i, is, start, r, g, b);
    case kRG: return ProcessBilinearRGLines(o, os, i, is, start, r, g, b);
  }
}

// Steps after the table refresh (and, for the 24- and 48-bit outputs, after the
// matrix and threshold step): size checks, the algorithm, the correction pass.
template <class Record, class Sample>
void CBayerConverter::Convert(Record *output, const ISize &outSize, const Sample *input,
                              const ISize &inSize, unsigned short format, CColorMatrix &matrix) {
  using namespace tavrix::detail;
  constexpr bool kBGRx = std::is_same<Record, BGRxTRIPLE>::value;
  if (!IsBayerFrame(inSize)) return;
  if (kBGRx && (!IsBayerFrame(outSize) || m_sampleFactor < 1)) return;
  const PlaneLuts luts{m_blueLUT, m_greenLUT, m_redLUT};
  PlaneContext context = TAVRIX_PLANE_CONTEXT;
  // The per-site algorithms' vector bodies compute clamped-offset tables
  // rather than look them up; checking the tables costs about three passes over
  // the entries a sample can index, so small frames look them up.
  TableShapes shapes{};
  const int reach = std::is_same<Sample, Mono8>::value ? kByteReach : kWordReach;
  const bool perSite =
      m_calcMode == eBilinear || m_calcMode == eLaplacian1 || m_calcMode == eLaplacian2;
  if (perSite && std::int64_t(inSize.width) * inSize.height >= 4 * reach) {
    shapes = CheckTableShapes({m_redLUT, m_greenLUT, m_blueLUT},
                              {m_lutFormat, m_redBalance, m_greenBalance, m_blueBalance,
                               m_bitDepth, m_depthShift, m_outputShift},
                              reach);
    context.shapes = &shapes;
  }

  switch (m_calcMode) {
    case eFastBilinear: {
      const LutRule rule = LutRuleFor(format);
      if (rule == LutRule::kNone) return;
      const bool corrected = m_colorCorrection && rule == LutRule::kSixteenBit;
      if (kBGRx) {
        const DecimatedRow row =
            corrected ? DecimatedRow::kEveryColumn : DecimatedRow::kEveryFactorColumn;
        if (!DecimatedWalkFits(outSize, inSize, m_sampleFactor, row)) return;
      } else if (!CoversInput(outSize, inSize)) {
        return;
      }
      const RowPair rows = RowsOf(m_patternOrigin);
      if (rows.even != kNoRows) {
        RunLineKernel(rows.even, output, outSize, input, inSize, 0, format, corrected);
        // The 32-bit outputs decimate with the even-row kernel alone.
        if (!kBGRx || m_sampleFactor == 1)
          RunLineKernel(rows.odd, output, outSize, input, inSize, 1, format, corrected);
      }
      if constexpr (kBGRx && std::is_same<Sample, Mono8>::value) {
        // Only the 8-bit 32-bit output clears what the line pass leaves unwritten:
        // the last pixel of every row, then the whole last row.
        const std::size_t width = std::size_t(outSize.width);
        for (std::size_t r = 1; r <= std::size_t(outSize.height); ++r)
          std::memset(output + r * width - 1, 0, sizeof(Record));
        std::memset(output + (std::size_t(outSize.height) - 1) * width, 0, width * sizeof(Record));
      }
      return;  // the corrected kernels already applied the matrix
    }
    case eBilinear: {
      // Some 32-bit cases decimate through a position counter into a smaller output.
      const int factor = kBGRx ? m_sampleFactor : 1;
      if (!BilinearWalksFit(outSize, inSize, factor, m_patternOrigin,
                            std::is_same<Sample, Mono16>::value))
        return;
      if (factor == 1 && outSize.width == inSize.width) {
        // One walk: the three passes are independent and run row by row.
        BilinearRows(ConverterFrame<1>(output, outSize, input, inSize), luts, context,
                     WholeFrame(inSize.height, kBilinearStages));
        break;
      }
      // A wider output places each pass differently; decimation counts across rows.
      ProcessBilinearBluePixel(output, outSize, input, inSize, m_blueLUT);
      ProcessBilinearRedPixel(output, outSize, input, inSize, m_redLUT);
      ProcessBilinearGreenPixel(output, outSize, input, inSize, m_greenLUT);
      break;
    }
    case eLaplacian1:
      if (!CoversInput(outSize, inSize)) return;
      Laplacian1Rows(ConverterFrame<2>(output, outSize, input, inSize), luts, context,
                     WholeFrame(inSize.height, kLaplacian1Stages));
      break;
    case eLaplacian2:
      if (!CoversInput(outSize, inSize)) return;
      Laplacian2Rows(ConverterFrame<2>(output, outSize, input, inSize), luts, context,
                     WholeFrame(inSize.height, kLaplacian2Stages));
      break;
    default:
      return;
  }
  // The 32-bit outputs are corrected over the output size, the others over the input size.
  if (m_colorCorrection) ProcessColorCorrection(output, kBGRx ? outSize : inSize, matrix);
}

// The 24- and 48-bit entry points pass the format the converter already holds,
// so it is neither tested nor changed.
void CBayerConverter::RefreshTables(int bitDepth, int outputShift, unsigned short format) {
  const int depthShift = bitDepth - 8;
  if (m_bitDepth == bitDepth && m_depthShift == depthShift && m_outputShift == outputShift &&
      m_lutFormat == format)
    return;
  m_bitDepth = bitDepth;
  m_depthShift = depthShift;
  m_outputShift = outputShift;
  m_lutFormat = format;
  RebuildLUT();
}

void CBayerConverter::ConvertMono8ToBGR(unsigned char *output, const ISize &outSize,
                                        const unsigned char *input, const ISize &inSize,
                                        CColorMatrix matrix) {
  RefreshTables(8, 0, m_lutFormat);
  m_correctionMatrix = matrix;
  ProcessThreshold(m_bitDepth);
  Convert(reinterpret_cast<tagRGBTRIPLE *>(output), outSize, input, inSize, kSixteenBitFormat,
          matrix);
}

void CBayerConverter::ConvertMono8ToBGRx(unsigned char *output, const ISize &outSize,
                                         const unsigned char *input, const ISize &inSize,
                                         CColorMatrix matrix) {
  RefreshTables(8, 0, m_lutFormat);
  Convert(reinterpret_cast<BGRxTRIPLE *>(output), outSize, input, inSize, kSixteenBitFormat,
          matrix);
}

void CBayerConverter::ConvertMono16ToBGR(unsigned char *output, const ISize &outSize,
                                         const unsigned short *input, const ISize &inSize,
                                         unsigned short bitDepth, CColorMatrix matrix) {
  if (!ValidDepth(bitDepth)) return;
  RefreshTables(bitDepth, 0, m_lutFormat);
  m_correctionMatrix = matrix;
  ProcessThreshold(m_bitDepth);
  Convert(reinterpret_cast<tagRGBTRIPLE *>(output), outSize, input, inSize, kSixteenBitFormat,
          matrix);
}

void CBayerConverter::ConvertMono16ToBGRx(unsigned char *output, const ISize &outSize,
                                          const unsigned short *input, const ISize &inSize,
                                          unsigned short bitDepth, unsigned short format,
                                          CColorMatrix matrix) {
  if (!ValidDepth(bitDepth)) return;
  // The fast pass reads 8-bit values straight from the tables; the other
  // algorithms work on the sensor's scale.
  const int outputShift = m_calcMode == eFastBilinear ? bitDepth - 8 : 0;
  RefreshTables(bitDepth, outputShift, format);
  Convert(reinterpret_cast<BGRxTRIPLE *>(output), outSize, input, inSize, format, matrix);
}

void CBayerConverter::ConvertMono16ToBGR48(unsigned short *output, const ISize &outSize,
                                           const unsigned short *input, const ISize &inSize,
                                           unsigned short bitDepth, CColorMatrix matrix) {
  if (!ValidDepth(bitDepth)) return;
  RefreshTables(bitDepth, 0, m_lutFormat);
  m_correctionMatrix = matrix;
  ProcessThreshold(m_bitDepth);
  Convert(reinterpret_cast<RGBTRIPLE16 *>(output), outSize, input, inSize, kSixteenBitFormat,
          matrix);
}
