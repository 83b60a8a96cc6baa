// The fast line pass beyond its default: colour correction by a real matrix, the
// byte-select formats, a caller's own table curve (which the vector paths must
// look up) and decimation by 2, each beside OpenCV's bilinear conversion of the
// same entry and the memcpy ceiling of the same output.
#include <cmath>
#include <memory>

#include "cases.h"
#include "demosaicers.h"
#include "frames.h"
#include "suites.h"

namespace bench {
namespace {

// A typical camera-to-display matrix: rows sum to 1, negative off-diagonals.
constexpr double kMatrix[9] = {1.6, -0.4, -0.2, -0.3, 1.5, -0.2, -0.1, -0.5, 1.6};

enum class Variant { kCorrected, kByteSelect, kCustomTable, kHalfSize };
const char *VariantName(Variant v) {
  switch (v) {
    case Variant::kCorrected: return "corrected";
    case Variant::kByteSelect: return "byte_select";
    case Variant::kCustomTable: return "custom_table";
    case Variant::kHalfSize: return "decimate2";
  }
  return "?";
}

// A gamma curve over the table's first 2^bits entries: a caller's own table.
void WriteCurve(CBayerConverter &c, int bits, int outBits) {
  unsigned short *tables[3] = {c.GetRedLUT(), c.GetGreenLUT(), c.GetBlueLUT()};
  const int n = 1 << bits, top = (1 << outBits) - 1;
  for (unsigned short *t : tables)
    for (int i = 0; i < 65536; ++i)
      t[i] = static_cast<unsigned short>(
          std::lround(top * std::pow(double(i < n ? i : n - 1) / (n - 1), 1 / 2.2)));
}

void Run(CBayerConverter &c, Entry entry, Variant v, const Frame &f, void *out) {
  const ISize in = {f.width, f.height};
  const ISize half = {f.width / 2, f.height / 2};
  const ISize &size = v == Variant::kHalfSize ? half : in;
  CColorMatrix m;
  if (v == Variant::kCorrected)
    for (int k = 0; k < 9; ++k) m.m_matrix[k] = kMatrix[k];
  auto *bytes = static_cast<unsigned char *>(out);
  switch (entry) {
    case Entry::k8To24: c.ConvertMono8ToBGR(bytes, size, f.mosaic8.data(), in, m); break;
    case Entry::k8To32: c.ConvertMono8ToBGRx(bytes, size, f.mosaic8.data(), in, m); break;
    case Entry::k16To24:
      c.ConvertMono16ToBGR(bytes, size, f.mosaic16.data(), in, kSensorBits, m);
      break;
    case Entry::k16To32:
      c.ConvertMono16ToBGRx(bytes, size, f.mosaic16.data(), in, kSensorBits,
                            v == Variant::kByteSelect ? 112 : 100, m);
      break;
    case Entry::k16To48:
      c.ConvertMono16ToBGR48(static_cast<unsigned short *>(out), size, f.mosaic16.data(), in,
                             kSensorBits, m);
      break;
  }
}

struct FastCase {
  Entry entry;
  Variant variant;
};
constexpr FastCase kFastCases[] = {
    {Entry::k8To24, Variant::kCorrected},    {Entry::k8To32, Variant::kCorrected},
    {Entry::k16To24, Variant::kCorrected},   {Entry::k16To32, Variant::kCorrected},
    {Entry::k16To48, Variant::kCorrected},   {Entry::k16To32, Variant::kByteSelect},
    {Entry::k8To24, Variant::kCustomTable},  {Entry::k8To32, Variant::kCustomTable},
    {Entry::k16To24, Variant::kCustomTable}, {Entry::k16To48, Variant::kCustomTable},
    {Entry::k8To32, Variant::kHalfSize},     {Entry::k16To32, Variant::kHalfSize},
};

}  // namespace

void AddFastPassCases(const Frame &f, Buffers &buffers) {
  const std::string size = std::to_string(f.width) + "x" + std::to_string(f.height);
  const std::string prefix = "demosaic/" + size + "/";
  const std::string section = "Fast pass variants " + size + " (Mpix/s of mosaic pixels)";
  for (const FastCase &c : kFastCases) {
    const EntryInfo info = Info(c.entry);
    auto converter = std::make_shared<CBayerConverter>();
    converter->SetPatternOrigin(kFrameOrigin);
    converter->SetColorCorrectionMode(c.variant == Variant::kCorrected);
    // The 32-bit entry points correct by the matrix the converter holds.
    converter->SetCorrectionMatrix(kMatrix[0], kMatrix[1], kMatrix[2], kMatrix[3], kMatrix[4],
                                   kMatrix[5], kMatrix[6], kMatrix[7], kMatrix[8]);
    if (c.variant == Variant::kHalfSize) converter->SetSampleFactor(2);
    if (c.variant == Variant::kCustomTable) {
      // One conversion sets the depth, so that the next ones keep the curve.
      Run(*converter, c.entry, c.variant, f, buffers.output.data());
      const bool wide = info.sixteenIn;
      WriteCurve(*converter, wide ? kSensorBits : 8,
                 wide && c.entry != Entry::k16To32 ? kSensorBits : 8);
    }
    const std::string name = prefix + info.name + "/tavrix_fast_" + VariantName(c.variant);
    AddCase(name, Unit::kMegapixels, f.Pixels(),
            [&f, &buffers, converter, c](benchmark::State &state) {
              for (auto _ : state) {
                Run(*converter, c.entry, c.variant, f, buffers.output.data());
                benchmark::ClobberMemory();
              }
            });
    std::string peer;
#if TAVRIX_BENCH_OPENCV
    if (c.variant != Variant::kHalfSize && CvSupports(CvMethod::kBilinear, c.entry))
      peer = prefix + info.name + "/opencv_bilinear";
#endif
    const std::string ceiling = c.variant == Variant::kHalfSize
                                    ? ""
                                    : prefix + "memcpy_" + std::to_string(info.outBytes) + "B";
    AddComparison({section, std::string(info.name) + " fast " + VariantName(c.variant), name,
                   peer, ceiling, prefix + info.name + "/stream"});
  }
}

}  // namespace bench
