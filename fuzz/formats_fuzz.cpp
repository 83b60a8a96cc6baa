// Sensor layouts and pattern names on arbitrary input. The first byte picks:
//   even: the rest is a pattern name; a name that parses must give a valid origin;
//   odd:  packing, bits, width, height and padding from the next bytes, the rest
//         fills a packed buffer of exactly the documented size. An accepted unpack
//         of a layout that keeps every bit must pack back to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "tavrix/formats.h"

namespace {

void Names(const std::uint8_t *data, std::size_t size) {
  tavrix::PatternName name;
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  if (tavrix::ParsePatternName(text, &name).ok()) {
    const int o = name.origin;
    if (o != eOriginGB && o != eOriginGR && o != eOriginBG && o != eOriginRG) std::abort();
  }
}

void Layouts(tavrix_fuzz::FuzzInput &in) {
  const auto packing = static_cast<tavrix::Packing>(in.Bounded(0, 9));
  const int bits = in.Small(0, 17);
  const int width = in.Small(0, 300);
  const int height = in.Small(0, 5);
  const std::size_t padIn = std::size_t(in.Bounded(0, 7));
  const std::size_t padOut = 2 * std::size_t(in.Bounded(0, 3));
  if (width < 0 || width > 4096 || height < 0 || height > 8) return;  // keep buffers small
  const std::size_t rowBytes = tavrix::PackedRowBytes(packing, width);
  const std::size_t packedStride = rowBytes + padIn, sampleStride = 2 * std::size_t(width) + padOut;
  std::vector<std::uint8_t> packed(height ? packedStride * (height - 1) + rowBytes : 0);
  in.Fill(packed.data(), packed.size());
  std::vector<std::uint16_t> samples(height ? sampleStride * (height - 1) / 2 + width : 0,
                                     0xA5A5);
  if (!tavrix::Unpack(packing, bits, width, height, packed.data(), packedStride, samples.data(),
                      sampleStride)
           .ok())
    return;
  const bool keepsEveryBit = tavrix::PackingFixedBits(packing) != 0 ||
                             (packing == tavrix::Packing::kPlain8 && bits == 8) ||
                             (packing != tavrix::Packing::kPlain8 && bits == 16);
  if (!keepsEveryBit || rowBytes == 0) return;
  std::vector<std::uint8_t> again(packed.size());
  if (!tavrix::Pack(packing, bits, width, height, samples.data(), sampleStride, again.data(),
                    packedStride)
           .ok())
    std::abort();
  for (int r = 0; r < height; ++r)
    if (std::memcmp(again.data() + r * packedStride, packed.data() + r * packedStride,
                    rowBytes) != 0)
      std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  if (data[0] % 2 == 0) {
    Names(data + 1, size - 1);
  } else {
    tavrix_fuzz::FuzzInput in(data + 1, size - 1);
    Layouts(in);
  }
  return 0;
}
