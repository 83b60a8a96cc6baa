// The colour-correction pass that follows the per-site algorithms: every pixel
// of the finished image multiplied by the converter's matrix, in place.
#include "bayer/color_correction.h"

void CBayerConverter::ProcessColorCorrection(BGRxTRIPLE *pixels, ISize size, CColorMatrix) {
  const double *m = m_correctionMatrix.m_matrix;
  tavrix::detail::ForEachPixel(pixels, size, [m](BGRxTRIPLE *px) {
    tavrix::detail::CorrectBytes(px, m);
    px->rgbtReserved = 0;
  });
}

void CBayerConverter::ProcessColorCorrection(tagRGBTRIPLE *pixels, ISize size, CColorMatrix) {
  const double *m = m_correctionMatrix.m_matrix;
  tavrix::detail::ForEachPixel(pixels, size,
                               [m](tagRGBTRIPLE *px) { tavrix::detail::CorrectBytes(px, m); });
}

void CBayerConverter::ProcessColorCorrection(RGBTRIPLE16 *pixels, ISize size, CColorMatrix) {
  const double *m = m_correctionMatrix.m_matrix;
  const int max = int((1u << m_bitDepth) - 1);
  tavrix::detail::ForEachPixel(pixels, size, [m, max](RGBTRIPLE16 *px) {
    tavrix::detail::CorrectWords(px, m, max);
  });
}
