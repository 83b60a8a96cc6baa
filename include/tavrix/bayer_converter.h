#ifndef TAVRIX_BAYER_CONVERTER_H
#define TAVRIX_BAYER_CONVERTER_H

#include "tavrix/color_matrix.h"
#include "tavrix/export.h"

#if defined(_WIN32)
#include <windows.h> /* the platform supplies tagRGBTRIPLE */
#else
/// A 24-bit pixel: blue, green, red bytes, in that order, 3 bytes, no padding.
struct tagRGBTRIPLE {
  unsigned char rgbtBlue;
  unsigned char rgbtGreen;
  unsigned char rgbtRed;
};
#endif

/// Image size in pixels. The width is also the row stride of every packed buffer
/// the size describes: rows carry no padding.
struct ISize {
  int width;
  int height;
};

/// Colour of the mosaic's first row: the kind of row 0 (row 1 is the other kind).
enum ePatternOrigin : int {
  eOriginGB = 1, ///< row 0: green, blue; row 1: red, green
  eOriginGR = 2, ///< row 0: green, red;  row 1: blue, green
  eOriginBG = 4, ///< row 0: blue, green; row 1: green, red
  eOriginRG = 8  ///< row 0: red, green;  row 1: green, blue
};

/// Demosaicing algorithm.
enum eCalculationMode : int {
  eFastBilinear = 0, ///< one pass over 2x2 neighbourhoods; the only mode that decimates fully
  eBilinear = 1,     ///< per-site bilinear averages
  eLaplacian1 = 2,   ///< bilinear plus a first-order Laplacian correction
  eLaplacian2 = 3    ///< direction-selecting second-order Laplacian
};

/// One directional candidate of the second-order Laplacian demosaic. The
/// constructor derives Gradient and Estimate from the first eleven fields;
/// RefCount selects the formula (1, 2 or 4), BaseCount is only kept.
class TAVRIX_API CColorCorrectionTerm {
public:
  CColorCorrectionTerm();
  CColorCorrectionTerm(int center, int ref1, int ref2, int ref3, int ref4, int refCount,
                       int base1, int base2, int base3, int base4, int baseCount);
  CColorCorrectionTerm(const CColorCorrectionTerm &other);
  ~CColorCorrectionTerm();

  int Center;
  int Ref1;
  int Ref2;
  int Ref3;
  int Ref4;
  int RefCount;
  int Base1;
  int Base2;
  int Base3;
  int Base4;
  int BaseCount;
  int Gradient;
  int Estimate;

private:
  void Init(int center, int ref1, int ref2, int ref3, int ref4, int refCount, int base1,
            int base2, int base3, int base4, int baseCount);
};

/// Turns raw Bayer mosaics (8-bit samples, or 16-bit little-endian samples of a
/// given bit depth) into 24-bit, 32-bit or 48-bit colour images.
///
/// A converter holds its settings and three 65536-entry lookup tables inline
/// (about 400 KB): create it once and reuse it. One thread at a time.
///
/// Conversions never allocate and never report errors: refused arguments (odd
/// sizes, sizes below 4, an output too small for the walk, a bit depth outside
/// 8..16, a sample factor below 1 on the 32-bit outputs) leave the output
/// buffer untouched.
class TAVRIX_API CBayerConverter {
public:
  /// 32-bit pixel: blue, green, red, and a fourth byte that carries no colour.
  struct BGRxTRIPLE {
    unsigned char rgbtBlue;
    unsigned char rgbtGreen;
    unsigned char rgbtRed;
    unsigned char rgbtReserved;
  };
  /// 48-bit pixel: blue, green, red 16-bit words (in this order), on the sensor's scale.
  struct RGBTRIPLE16 {
    unsigned short rgbtBlue;
    unsigned short rgbtGreen;
    unsigned short rgbtRed;
  };

  CBayerConverter();
  CBayerConverter(CBayerConverter &other);
  CBayerConverter &operator=(CBayerConverter &other);
  virtual ~CBayerConverter();

  // ---- conversions -------------------------------------------------------
  // The output holds outSize.width x outSize.height records; the input
  // inSize.width x inSize.height samples. Without decimation both sizes must be equal.

  void ConvertMono8ToBGR(unsigned char *output, const ISize &outSize, const unsigned char *input,
                         const ISize &inSize, CColorMatrix matrix);
  void ConvertMono8ToBGRx(unsigned char *output, const ISize &outSize,
                          const unsigned char *input, const ISize &inSize, CColorMatrix matrix);
  void ConvertMono16ToBGR(unsigned char *output, const ISize &outSize,
                          const unsigned short *input, const ISize &inSize,
                          unsigned short bitDepth, CColorMatrix matrix);
  void ConvertMono16ToBGRx(unsigned char *output, const ISize &outSize,
                           const unsigned short *input, const ISize &inSize,
                           unsigned short bitDepth, unsigned short format, CColorMatrix matrix);
  void ConvertMono16ToBGR48(unsigned short *output, const ISize &outSize,
                            const unsigned short *input, const ISize &inSize,
                            unsigned short bitDepth, CColorMatrix matrix);

  // ---- settings ------------------------------------------------------------

  /// Stores the offsets (8-bit scale) and rebuilds the tables at once.
  void SetColorBalance(int red, int green, int blue);
  /// Writes red to the first argument, then green and then blue to the second;
  /// the third argument is left as it was.
  void GetColorBalance(int &red, int &green, int &blue);
  void SetColorCorrectionMode(bool on);
  bool GetColorCorrectionMode();
  void SetCorrectionMatrix(double m0, double m1, double m2, double m3, double m4, double m5,
                           double m6, double m7, double m8);
  void GetCorrectionMatrix(double &m0, double &m1, double &m2, double &m3, double &m4,
                           double &m5, double &m6, double &m7, double &m8);
  void SetPatternOrigin(ePatternOrigin origin);
  ePatternOrigin GetPatternOrigin();
  void SetCalcMode(eCalculationMode mode);
  eCalculationMode GetCalcMode();
  void SetSampleFactor(int factor);
  int GetSampleFactor();

  /// The tables (65536 entries each); a caller may write its own curve into them.
  unsigned short *GetRedLUT();
  unsigned short *GetGreenLUT();
  unsigned short *GetBlueLUT();

  /// Spread the first 256 entries of each table over the first 2^bits entries
  /// (bits 8..16; other values do nothing). The 24-bit form also shifts each
  /// value left by bits - 8.
  void RescaleLUTBGR24(int bits);
  void RescaleLUTBGRx(int bits);

private:
  typedef unsigned char Mono8;
  typedef unsigned short Mono16;
  typedef unsigned short Lut;

  void RebuildLUT();
  void ProcessThreshold(int bits);
  // Stores the depth settings and rebuilds the tables if any of them differs.
  void RefreshTables(int bitDepth, int outputShift, unsigned short format);

  template <class Record, class Sample>
  void Convert(Record *output, const ISize &outSize, const Sample *input, const ISize &inSize,
               unsigned short format, CColorMatrix &matrix);
  template <class Record, class Sample>
  void RunLineKernel(int rowKind, Record *output, const ISize &outSize, const Sample *input,
                     const ISize &inSize, unsigned int startRow, unsigned short format,
                     bool corrected);

  // Fast line pass: one kernel per row kind, five variants each.
#define TAVRIX_LINE_KERNEL(Name)                                                              \
  void Name(BGRxTRIPLE *, const ISize &, const Mono8 *, const ISize &, unsigned int,           \
            const Lut *, const Lut *, const Lut *);                                            \
  void Name(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &, unsigned int,          \
            const Lut *, const Lut *, const Lut *);                                            \
  void Name(RGBTRIPLE16 *, const ISize &, const Mono16 *, const ISize &, unsigned int,         \
            const Lut *, const Lut *, const Lut *);                                            \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono8 *, const ISize &, unsigned int,         \
            const Lut *, const Lut *, const Lut *);                                            \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono16 *, const ISize &, unsigned int,        \
            const Lut *, const Lut *, const Lut *);
  TAVRIX_LINE_KERNEL(ProcessBilinearBGLines)
  TAVRIX_LINE_KERNEL(ProcessBilinearGBLines)
  TAVRIX_LINE_KERNEL(ProcessBilinearGRLines)
  TAVRIX_LINE_KERNEL(ProcessBilinearRGLines)
  TAVRIX_LINE_KERNEL(ProcessBilinearBGLinesCorrection)
  TAVRIX_LINE_KERNEL(ProcessBilinearGBLinesCorrection)
  TAVRIX_LINE_KERNEL(ProcessBilinearGRLinesCorrection)
  TAVRIX_LINE_KERNEL(ProcessBilinearRGLinesCorrection)
#undef TAVRIX_LINE_KERNEL

  // Byte-select line pass (32-bit output from one byte of each 16-bit sample).
  void ProcessBilinearBGLinesMSB(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &,
                                 unsigned int, unsigned short, const Lut *, const Lut *,
                                 const Lut *);
  void ProcessBilinearGBLinesMSB(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &,
                                 unsigned int, unsigned short, const Lut *, const Lut *,
                                 const Lut *);
  void ProcessBilinearGRLinesMSB(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &,
                                 unsigned int, unsigned short, const Lut *, const Lut *,
                                 const Lut *);
  void ProcessBilinearRGLinesMSB(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &,
                                 unsigned int, unsigned short, const Lut *, const Lut *,
                                 const Lut *);

  // Per-site bilinear passes: one table each.
#define TAVRIX_SITE_KERNEL(Name)                                                              \
  void Name(BGRxTRIPLE *, const ISize &, const Mono8 *, const ISize &, const Lut *);           \
  void Name(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &, const Lut *);          \
  void Name(RGBTRIPLE16 *, const ISize &, const Mono16 *, const ISize &, const Lut *);         \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono8 *, const ISize &, const Lut *);         \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono16 *, const ISize &, const Lut *);
  TAVRIX_SITE_KERNEL(ProcessBilinearBluePixel)
  TAVRIX_SITE_KERNEL(ProcessBilinearRedPixel)
  TAVRIX_SITE_KERNEL(ProcessBilinearGreenPixel)
#undef TAVRIX_SITE_KERNEL

  // Laplacian passes: tables blue, green, red.
#define TAVRIX_PLANE_KERNEL(Name)                                                             \
  void Name(BGRxTRIPLE *, const ISize &, const Mono8 *, const ISize &, const Lut *,            \
            const Lut *, const Lut *);                                                         \
  void Name(BGRxTRIPLE *, const ISize &, const Mono16 *, const ISize &, const Lut *,           \
            const Lut *, const Lut *);                                                         \
  void Name(RGBTRIPLE16 *, const ISize &, const Mono16 *, const ISize &, const Lut *,          \
            const Lut *, const Lut *);                                                         \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono8 *, const ISize &, const Lut *,          \
            const Lut *, const Lut *);                                                         \
  void Name(tagRGBTRIPLE *, const ISize &, const Mono16 *, const ISize &, const Lut *,         \
            const Lut *, const Lut *);
  TAVRIX_PLANE_KERNEL(ProcessLaplacian1GreenPixel)
  TAVRIX_PLANE_KERNEL(ProcessLaplacian1BluePixel)
  TAVRIX_PLANE_KERNEL(ProcessLaplacian1RedPixel)
  TAVRIX_PLANE_KERNEL(ProcessLaplacian2GreenPixel)
  TAVRIX_PLANE_KERNEL(ProcessLaplacian2BRFromGreen)
  TAVRIX_PLANE_KERNEL(ProcessLaplacian2BRFromRB)
#undef TAVRIX_PLANE_KERNEL

  // Colour correction over a finished image, by m_correctionMatrix (the matrix
  // argument is not read).
  void ProcessColorCorrection(BGRxTRIPLE *pixels, ISize size, CColorMatrix matrix);
  void ProcessColorCorrection(RGBTRIPLE16 *pixels, ISize size, CColorMatrix matrix);
  void ProcessColorCorrection(tagRGBTRIPLE *pixels, ISize size, CColorMatrix matrix);

  // Averaging helpers: floor of the mean (arithmetic shift), cut to 16 bits.
  short Bilinear(short a, short b);
  short Bilinear(short a, short b, short c, short d);
  // Discrete Laplacians: (2a-b-c) >> 2 and (4a-b-c-d-e) >> 3, cut to 16 bits.
  short Laplacian1(short a, short b, short c);
  short Laplacian1(short a, short b, short c, short d, short e);
  // Picks one of a one-based array of candidates (count 11 or 3).
  short Laplacian2(CColorCorrectionTerm *terms, int count);

  int m_redBalance;
  int m_greenBalance;
  int m_blueBalance;
  unsigned short m_redLUT[65536];
  unsigned short m_greenLUT[65536];
  unsigned short m_blueLUT[65536];
  int m_bitDepth;
  int m_depthShift;
  int m_outputShift;
  unsigned short m_lutFormat;
  CColorMatrix m_correctionMatrix;
  unsigned short m_workPixel[3];
  bool m_colorCorrection;
  int m_thresholds[5];
  int m_scaledThresholds[5];
  int m_sampleFactor;
  ePatternOrigin m_patternOrigin;
  eCalculationMode m_calcMode;
};

#endif
