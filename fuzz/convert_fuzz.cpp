// The five conversion entry points with fuzzer-chosen settings and sizes.
// Buffers are allocated to exactly the documented sizes (width x height
// records or samples; one byte for a size with no pixels), so any access
// outside them is caught by AddressSanitizer.
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "tavrix/tavrix.h"

using tavrix_fuzz::FuzzInput;

namespace {

std::size_t Pixels(const ISize &s) {
  return s.width > 0 && s.height > 0 ? std::size_t(s.width) * std::size_t(s.height) : 0;
}

const unsigned short kFormats[] = {100, 101, 112, 113, 114, 115};

void ConvertOnce(CBayerConverter &conv, FuzzInput &in) {
  const int entry = in.Small(0, 4);
  conv.SetCalcMode(static_cast<eCalculationMode>(in.Small(0, 4)));
  const int origins[] = {1, 2, 4, 8};
  const int originPick = in.Small(0, 4) & 7;  // 4..7: any stored value, valid or not
  conv.SetPatternOrigin(
      static_cast<ePatternOrigin>(originPick < 4 ? origins[originPick] : in.Take<std::int32_t>()));
  conv.SetSampleFactor(in.Small(-2, 5));
  conv.SetColorCorrectionMode(in.Take<std::uint8_t>() & 1);
  double m[9];
  for (double &v : m) v = in.Take<std::uint8_t>() & 1 ? in.Take<double>() : in.Small(-4, 4) * 0.5;
  conv.SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  CColorMatrix matrix;
  for (int i = 0; i < 9; ++i) matrix.m_matrix[i] = m[(i + 4) % 9];
  if (in.Take<std::uint8_t>() & 1)
    conv.SetColorBalance(in.Small(-300, 300), in.Small(-300, 300), in.Small(-300, 300));
  const unsigned short depth = static_cast<unsigned short>(in.Small(6, 18));
  const unsigned short format =
      in.Take<std::uint8_t>() & 1 ? kFormats[unsigned(in.Small(0, 5)) % 6] : in.Take<unsigned short>();

  // Sizes stay small enough to allocate, but cover zero, negative and odd values.
  const ISize inSize = {in.Bounded(-3, 48), in.Bounded(-3, 48)};
  const ISize outSize = in.Take<std::uint8_t>() & 1
                            ? inSize
                            : ISize{in.Bounded(-3, 48), in.Bounded(-3, 48)};
  const std::size_t recordBytes = entry == 4 ? 6 : (entry == 1 || entry == 3) ? 4 : 3;

  std::vector<std::uint8_t> input8(Pixels(inSize) ? Pixels(inSize) : 1);
  std::vector<unsigned short> input16(input8.size());
  std::vector<std::uint8_t> output(Pixels(outSize) ? Pixels(outSize) * recordBytes : 1);
  std::vector<unsigned short> output16(Pixels(outSize) ? Pixels(outSize) * 3 : 1);
  in.Fill(input8.data(), input8.size());
  in.Fill(reinterpret_cast<std::uint8_t *>(input16.data()), input16.size() * 2);
  in.Fill(output.data(), output.size());

  switch (entry) {
    case 0: conv.ConvertMono8ToBGR(output.data(), outSize, input8.data(), inSize, matrix); break;
    case 1: conv.ConvertMono8ToBGRx(output.data(), outSize, input8.data(), inSize, matrix); break;
    case 2:
      conv.ConvertMono16ToBGR(output.data(), outSize, input16.data(), inSize, depth, matrix);
      break;
    case 3:
      conv.ConvertMono16ToBGRx(output.data(), outSize, input16.data(), inSize, depth, format,
                               matrix);
      break;
    default:
      conv.ConvertMono16ToBGR48(output16.data(), outSize, input16.data(), inSize, depth, matrix);
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  // Every input starts from the same converter state (copying it is far cheaper
  // than building tables), one that has already converted an 8-bit frame.
  static CBayerConverter *const pristine = [] {
    auto *c = new CBayerConverter;
    unsigned char mosaic[16] = {}, bgr[48];
    const ISize size = {4, 4};
    c->ConvertMono8ToBGR(bgr, size, mosaic, size, CColorMatrix());
    return c;
  }();
  static CBayerConverter *const conv = new CBayerConverter;
  *conv = *pristine;
  FuzzInput in(data, size);
  ConvertOnce(*conv, in);
  ConvertOnce(*conv, in);  // a second call sees the tables and settings the first left
  return 0;
}
