// Converter state: construction, copying, accessors and the lookup tables.
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "bayer/lut_rules.h"
#include "tavrix/bayer_converter.h"

namespace {
constexpr int kLutSize = 65536;  // any 16-bit sample indexes every table
constexpr int kDefaultThresholds[5] = {0, 69, 170, 250, 255};  // on the 8-bit scale
}  // namespace

CBayerConverter::CBayerConverter()
    : m_redBalance(0), m_greenBalance(0), m_blueBalance(0), m_bitDepth(0), m_depthShift(0),
      m_outputShift(0), m_lutFormat(100), m_colorCorrection(false), m_sampleFactor(1),
      m_patternOrigin(eOriginGB), m_calcMode(eFastBilinear) {
  std::memset(m_redLUT, 0, sizeof m_redLUT);
  std::memset(m_greenLUT, 0, sizeof m_greenLUT);
  std::memset(m_blueLUT, 0, sizeof m_blueLUT);
  std::memset(m_workPixel, 0, sizeof m_workPixel);
  for (int k = 0; k < 5; ++k) {
    m_thresholds[k] = kDefaultThresholds[k];
    m_scaledThresholds[k] = kDefaultThresholds[k];
  }
}

CBayerConverter::CBayerConverter(CBayerConverter &other)
    : m_correctionMatrix(other.m_correctionMatrix) {
  *this = other;
}

CBayerConverter &CBayerConverter::operator=(CBayerConverter &other) {
  if (this == &other) return *this;
  m_redBalance = other.m_redBalance;
  m_greenBalance = other.m_greenBalance;
  m_blueBalance = other.m_blueBalance;
  std::memcpy(m_redLUT, other.m_redLUT, sizeof m_redLUT);
  std::memcpy(m_greenLUT, other.m_greenLUT, sizeof m_greenLUT);
  std::memcpy(m_blueLUT, other.m_blueLUT, sizeof m_blueLUT);
  m_bitDepth = other.m_bitDepth;
  m_depthShift = other.m_depthShift;
  m_outputShift = other.m_outputShift;
  m_lutFormat = other.m_lutFormat;
  m_correctionMatrix = other.m_correctionMatrix;
  std::memcpy(m_workPixel, other.m_workPixel, sizeof m_workPixel);
  m_colorCorrection = other.m_colorCorrection;
  std::memcpy(m_thresholds, other.m_thresholds, sizeof m_thresholds);
  std::memcpy(m_scaledThresholds, other.m_scaledThresholds, sizeof m_scaledThresholds);
  m_sampleFactor = other.m_sampleFactor;
  m_patternOrigin = other.m_patternOrigin;
  m_calcMode = other.m_calcMode;
  return *this;
}

CBayerConverter::~CBayerConverter() {}

void CBayerConverter::SetColorBalance(int red, int green, int blue) {
  m_redBalance = red;
  m_greenBalance = green;
  m_blueBalance = blue;
  RebuildLUT();
}

void CBayerConverter::GetColorBalance(int &red, int &green, int & /*blue*/) {
  red = m_redBalance;
  green = m_greenBalance;
  green = m_blueBalance;  // the blue offset lands in the second argument; the third stays as it was
}

void CBayerConverter::SetColorCorrectionMode(bool on) { m_colorCorrection = on; }
bool CBayerConverter::GetColorCorrectionMode() { return m_colorCorrection; }

void CBayerConverter::SetCorrectionMatrix(double m0, double m1, double m2, double m3, double m4,
                                          double m5, double m6, double m7, double m8) {
  const double m[9] = {m0, m1, m2, m3, m4, m5, m6, m7, m8};
  std::memcpy(m_correctionMatrix.m_matrix, m, sizeof m);
}

void CBayerConverter::GetCorrectionMatrix(double &m0, double &m1, double &m2, double &m3,
                                          double &m4, double &m5, double &m6, double &m7,
                                          double &m8) {
  double *out[9] = {&m0, &m1, &m2, &m3, &m4, &m5, &m6, &m7, &m8};
  for (int i = 0; i < 9; ++i) *out[i] = m_correctionMatrix.m_matrix[i];
}

void CBayerConverter::SetPatternOrigin(ePatternOrigin origin) { m_patternOrigin = origin; }
ePatternOrigin CBayerConverter::GetPatternOrigin() { return m_patternOrigin; }
void CBayerConverter::SetCalcMode(eCalculationMode mode) { m_calcMode = mode; }
eCalculationMode CBayerConverter::GetCalcMode() { return m_calcMode; }
void CBayerConverter::SetSampleFactor(int factor) { m_sampleFactor = factor; }
int CBayerConverter::GetSampleFactor() { return m_sampleFactor; }
unsigned short *CBayerConverter::GetRedLUT() { return m_redLUT; }
unsigned short *CBayerConverter::GetGreenLUT() { return m_greenLUT; }
unsigned short *CBayerConverter::GetBlueLUT() { return m_blueLUT; }

void CBayerConverter::RebuildLUT() {
  using namespace tavrix::detail;
  const LutRule rule = LutRuleFor(m_lutFormat);
  if (rule == LutRule::kNone) return;
  const int balance[3] = {m_redBalance, m_greenBalance, m_blueBalance};
  unsigned short *tables[3] = {m_redLUT, m_greenLUT, m_blueLUT};
  for (int ch = 0; ch < 3; ++ch) {
    unsigned short *table = tables[ch];
    if (rule == LutRule::kSixteenBit) {
      for (int i = 0; i < kLutSize; ++i)
        table[i] = SixteenBitRule(balance[ch], i, m_bitDepth, m_depthShift, m_outputShift);
    } else {
      for (int i = 0; i < kLutSize; ++i) table[i] = ByteRule(balance[ch], i);
    }
  }
}

void CBayerConverter::ProcessThreshold(int bits) {
  for (int k = 0; k < 5; ++k)
    m_scaledThresholds[k] = tavrix::detail::ScaledThreshold(m_thresholds[k], bits);
}

namespace {
// Spreads entries 0..255 over 0..2^bits-1 in place. Entry i takes old entry
// i >> shift; walking i downwards, every source index is still unwritten.
void SpreadTable(unsigned short *table, int bits, bool shiftValues) {
  const int shift = bits - 8;
  for (int i = (1 << bits) - 1; i >= 0; --i) {
    const unsigned value = table[i >> shift];
    table[i] = static_cast<unsigned short>(shiftValues ? value << shift : value);
  }
}
}  // namespace

void CBayerConverter::RescaleLUTBGR24(int bits) {
  if (bits < 8 || bits > 16) return;
  for (unsigned short *t : {m_redLUT, m_greenLUT, m_blueLUT}) SpreadTable(t, bits, true);
}

void CBayerConverter::RescaleLUTBGRx(int bits) {
  if (bits < 8 || bits > 16) return;
  for (unsigned short *t : {m_redLUT, m_greenLUT, m_blueLUT}) SpreadTable(t, bits, false);
}
