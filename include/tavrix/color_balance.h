#ifndef TAVRIX_COLOR_BALANCE_H
#define TAVRIX_COLOR_BALANCE_H

#include "tavrix/export.h"

/// Layout codes of CImageInfo::colorFormat.
enum eColorFormat : unsigned int {
  eFormatRGB = 200, ///< three channels per pixel: 24-bit (8 bits each) or 48-bit
  eFormatRGBA = 500 ///< four bytes per pixel: blue, green, red and a fourth byte
};

/// Describes an interleaved colour image the caller holds in memory.
///
/// Accepted layouts (channel order in memory is always blue, green, red):
///   eFormatRGB,  24 bits per pixel, 8 bits per channel: 3 bytes per pixel
///   eFormatRGB,  48 bits per pixel (bitsPerChannel not consulted): 3 native 16-bit words
///   eFormatRGBA, 32 bits per pixel: 4 bytes, the fourth never read or written
/// Row r starts r * (imageSize / height) bytes after the first pixel; bytes
/// between the last pixel of a row and the next row are never touched.
struct CImageInfo {
  unsigned int width;          ///< pixels per row
  unsigned int height;         ///< rows; an image of height 0 is left alone
  unsigned int bitsPerPixel;   ///< 24, 32 or 48
  unsigned int bitsPerChannel; ///< must be 8 for 24 bits per pixel
  unsigned int imageSize;      ///< bytes in the pixel buffer; fixes the row stride
  unsigned int colorFormat;    ///< eFormatRGB or eFormatRGBA
};

/// Where the pixels of a CImageInfo live. A null pointer means "no image":
/// every operation then returns without any change.
struct CImageData {
  unsigned char *pixels; ///< first byte of the top row
};

/// Estimator run by the dispatching forms of CColorBalance::ComputeColorBalance.
/// ScaleByMax and WhiteWorld have no value here: they are called directly.
enum eAlgorithm : int {
  eMeanEqualization = 0,        ///< shift red and blue levels to green's mean
  eGrayWorld = 1,               ///< scale red and blue so their sums match green's
  eStandardDeviation = 2,       ///< stretch each channel about its own mean
  eMeanAndStandardDeviation = 3 ///< stretch each channel and move it to mid-scale
};

/// Automatic colour (white) balance of an interleaved colour image, in place.
///
/// An estimator looks at a whole image and fills three lookup tables (red, green,
/// blue) with 2^GetLutDepth() entries each; ApplyColorBalance then replaces every
/// channel value v by entry v of its table. Every estimator and the apply pass
/// also exist in a form working on three tables owned by the caller.
///
/// The object holds three 65536-entry tables inline (about 400 KB): create it
/// once and reuse it. One thread at a time. Nothing is ever reported: refused
/// input (null pixels, an unknown layout, height 0) leaves everything unchanged.
class TAVRIX_API CColorBalance {
public:
  /// Depth 0, eMeanEqualization, all flags false, balance values and tables zero.
  CColorBalance();
  CColorBalance(CColorBalance const &other);
  CColorBalance &operator=(CColorBalance const &other);
  virtual ~CColorBalance();

  // ---- settings (stored and returned without validation) --------------------

  eAlgorithm GetAlgorithm();
  void SetAlgorithm(eAlgorithm algorithm);
  /// The caller's own record; the library never reads it.
  bool GetAutoColorBalanceMode();
  void SetAutoColorBalanceMode(bool on);
  /// Set by the caller-table ApplyColorBalance, never cleared by the library.
  bool GetAutoColorBalanceApplied();
  void SetAutoColorBalanceApplied(bool applied);
  /// Table depth in bits (meaningful: 0..16). The estimators leave other depths
  /// alone, except 31, which computes and sets the flag but writes no table.
  int GetLutDepth();
  void SetLutDepth(int depth);
  /// Stored only; no computation reads these values.
  void SetColorBalance(int red, int green, int blue);
  /// Writes red to the first argument, then green and at once blue to the
  /// second; the third argument is never written.
  void GetColorBalance(int &red, int &green, int &blue);

  // ---- estimation -----------------------------------------------------------

  /// Additive offset tables: depth 8, entry i = clamp(i + offset, 0, 255) for
  /// i < 256; entries from 256 up are left as they were.
  void ComputeColorBalance(int red, int green, int blue);
  /// Sets the depth to 8 and runs the estimator named by GetAlgorithm() (values
  /// outside 0..3 run nothing) into the object's tables.
  void ComputeColorBalance(CImageInfo *info, CImageData *data);
  /// Runs the named estimator (0..3, others run nothing) into the caller's
  /// tables at the current depth; neither the depth nor the algorithm changes.
  void ComputeColorBalance(CImageInfo *info, CImageData *data, eAlgorithm algorithm,
                           unsigned short *red, unsigned short *green, unsigned short *blue);

  // ---- application ----------------------------------------------------------

  /// Rewrites the image through the object's tables, whatever the depth; an
  /// 8-bit channel takes the low byte of its entry.
  void ApplyColorBalance(CImageInfo *info, CImageData *data);
  /// Rewrites the image through the caller's tables (at least 256 entries for
  /// 8-bit channels, 65536 for 48-bit images) and sets the applied flag, unless
  /// the last estimator found nothing to correct.
  void ApplyColorBalance(CImageInfo *info, CImageData *data, unsigned short *red,
                         unsigned short *green, unsigned short *blue);

  // ---- estimators -----------------------------------------------------------
  // The two-argument form writes the object's tables, the five-argument form
  // the caller's (2^depth entries each). Both set the "unchanged" flag that the
  // caller-table apply obeys: true when there is nothing to correct.

  /// Red and blue scaled by sum(green) / sum(channel); a zero sum keeps gain 1.
  void GrayWorld(CImageInfo *info, CImageData *data);
  void GrayWorld(CImageInfo *info, CImageData *data, unsigned short *red, unsigned short *green,
                 unsigned short *blue);
  /// Every channel scaled by full scale / value of one pixel, the first pixel
  /// whose blue value lies closest to full scale. The pixel's values are read
  /// from its row start plus its column counted in samples, not pixels.
  void WhiteWorld(CImageInfo *info, CImageData *data);
  void WhiteWorld(CImageInfo *info, CImageData *data, unsigned short *red,
                  unsigned short *green, unsigned short *blue);
  /// Every channel scaled by the integer gain full scale / channel maximum.
  void ScaleByMax(CImageInfo *info, CImageData *data);
  void ScaleByMax(CImageInfo *info, CImageData *data, unsigned short *red,
                  unsigned short *green, unsigned short *blue);
  /// Red and blue shifted by the whole levels between their mean and green's.
  void MeanEqualization(CImageInfo *info, CImageData *data);
  void MeanEqualization(CImageInfo *info, CImageData *data, unsigned short *red,
                        unsigned short *green, unsigned short *blue);
  /// Every channel stretched about its own mean to a spread of 0.27 x 2^depth.
  void StandardDeviation(CImageInfo *info, CImageData *data);
  void StandardDeviation(CImageInfo *info, CImageData *data, unsigned short *red,
                         unsigned short *green, unsigned short *blue);
  /// As StandardDeviation, but every channel's mean moves to mid-scale.
  void MeanAndStandardDeviation(CImageInfo *info, CImageData *data);
  void MeanAndStandardDeviation(CImageInfo *info, CImageData *data, unsigned short *red,
                                unsigned short *green, unsigned short *blue);

private:
  bool FormatSupported(CImageInfo &info);

  int m_lutDepth;
  eAlgorithm m_algorithm;
  bool m_autoMode;
  bool m_autoApplied;
  bool m_unchanged;
  int m_redBalance;
  int m_greenBalance;
  int m_blueBalance;
  unsigned short m_redLUT[65536];
  unsigned short m_greenLUT[65536];
  unsigned short m_blueLUT[65536];
};

#endif
