// The balance estimators, the dispatchers and both apply forms with
// fuzzer-chosen image descriptions. Every description is consistent with the
// buffer allocated for it (imageSize bytes, rows of width pixels at the
// stride imageSize / height, trailing bytes included), so any access outside
// it is caught by AddressSanitizer.
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "tavrix/tavrix.h"

using tavrix_fuzz::FuzzInput;

namespace {

constexpr std::size_t kCallerTableEntries = 65536;  // enough for any depth up to 16

using TwoArgument = void (CColorBalance::*)(CImageInfo *, CImageData *);
using FiveArgument = void (CColorBalance::*)(CImageInfo *, CImageData *, unsigned short *,
                                             unsigned short *, unsigned short *);
const TwoArgument kEstimators[] = {&CColorBalance::GrayWorld,         &CColorBalance::WhiteWorld,
                                   &CColorBalance::ScaleByMax,        &CColorBalance::MeanEqualization,
                                   &CColorBalance::StandardDeviation, &CColorBalance::MeanAndStandardDeviation};
const FiveArgument kTableEstimators[] = {
    &CColorBalance::GrayWorld,         &CColorBalance::WhiteWorld,
    &CColorBalance::ScaleByMax,        &CColorBalance::MeanEqualization,
    &CColorBalance::StandardDeviation, &CColorBalance::MeanAndStandardDeviation};

struct Layout {
  unsigned bitsPerPixel, bitsPerChannel, colorFormat;
};
const Layout kLayouts[] = {{24, 8, 200}, {48, 16, 200}, {48, 12, 200}, {32, 8, 500},
                           {24, 16, 200}, {32, 8, 200},  {24, 8, 500},  {48, 16, 500}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzInput in(data, size);
  const Layout layout = kLayouts[in.Bounded(0, 7)];
  CImageInfo info;
  info.width = unsigned(in.Bounded(0, 40));
  info.height = unsigned(in.Bounded(0, 40));
  info.bitsPerPixel = in.Bounded(0, 15) ? layout.bitsPerPixel : in.Take<std::uint32_t>();
  info.bitsPerChannel = layout.bitsPerChannel;
  info.colorFormat = in.Bounded(0, 15) ? layout.colorFormat : in.Take<std::uint32_t>();
  // The stride holds the pixels of a supported layout plus 0..7 trailing bytes; the size
  // may carry a remainder that the stride division drops.
  const std::size_t pixelBytes = (layout.bitsPerPixel + 7) / 8;
  const std::size_t stride = info.width * pixelBytes + std::size_t(in.Bounded(0, 7));
  const std::size_t remainder = info.height ? std::size_t(in.Bounded(0, int(info.height) - 1)) : 0;
  const std::size_t bytes = stride * info.height + remainder;
  info.imageSize = unsigned(bytes);

  std::vector<std::uint8_t> pixels(bytes ? bytes : 1);
  std::vector<unsigned short> red(kCallerTableEntries), green(kCallerTableEntries),
      blue(kCallerTableEntries);
  CColorBalance balance;
  const int depths[] = {0, 1, 8, 10, 12, 16, -1, 17, 31, 64};
  balance.SetLutDepth(depths[in.Bounded(0, 9)]);
  balance.SetAlgorithm(static_cast<eAlgorithm>(in.Bounded(-1, 5)));
  const int operations = in.Bounded(1, 3);
  std::vector<std::uint8_t> choices(std::size_t(operations) * 2);
  for (auto &c : choices) c = in.Take<std::uint8_t>();
  in.Fill(pixels.data(), pixels.size());
  CImageData image = {in.Bounded(0, 31) ? pixels.data() : nullptr};

  for (int k = 0; k < operations; ++k) {
    const unsigned op = choices[2 * k] % 7, pick = choices[2 * k + 1];
    switch (op) {
      case 0: (balance.*kEstimators[pick % 6])(&info, &image); break;
      case 1: (balance.*kTableEstimators[pick % 6])(&info, &image, red.data(), green.data(), blue.data()); break;
      case 2: balance.ComputeColorBalance(&info, &image); break;
      case 3:
        balance.ComputeColorBalance(&info, &image, static_cast<eAlgorithm>(int(pick % 6) - 1),
                                    red.data(), green.data(), blue.data());
        break;
      case 4: balance.ComputeColorBalance(int(pick) - 128, int(pick % 7) * 50 - 150, -int(pick)); break;
      case 5: balance.ApplyColorBalance(&info, &image); break;
      default: balance.ApplyColorBalance(&info, &image, red.data(), green.data(), blue.data()); break;
    }
  }
  return 0;
}
