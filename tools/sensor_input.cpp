#include "sensor_input.h"

#include <cstdint>
#include <vector>

namespace tavrix::cli {

SensorFormat ReadSensorFormat(const Arguments &a) {
  SensorFormat f;
  std::optional<Packing> named;
  if (a.Has("--pattern")) {
    PatternName name;
    if (Status s = ParsePatternName(a.Value("--pattern"), &name); !s.ok())
      a.Refuse("--pattern: " + s.message());
    f.origin = name.origin;
    named = name.packing;
    f.packing = name.packing;
    f.bits = name.bits;
  }
  if (a.Has("--packing")) {
    const std::optional<Packing> packing = PackingFromName(a.Value("--packing"));
    if (!packing)
      a.Refuse("--packing " + a.Value("--packing") +
               ": expected raw10, raw12, raw14, mono10p, mono12p, mono12packed, msb16, be16, "
               "plain8 or plain16");
    if (named && *named != *packing)
      a.Refuse("--pattern " + a.Value("--pattern") + " names " + PackingName(*named) +
               " samples, but --packing says " + PackingName(*packing));
    f.packing = packing;
    f.packingGiven = true;
    if (PackingFixedBits(*packing) != 0) f.bits = PackingFixedBits(*packing);
  }
  return f;
}

int HeaderlessBits(const Arguments &a, const SensorFormat &f, int bits, int width) {
  if (!f.packing) return bits;
  if (bits == 0) bits = f.bits;
  if (bits == 0)
    a.Refuse(std::string("--packing ") + PackingName(*f.packing) +
             " carries 1 to 16 bits: give --bits");
  if (Status s = CheckPacking(*f.packing, bits, width); !s.ok()) a.Refuse(s.message());
  return bits;
}

bool ReadPackedMosaic(const std::string &path, int width, int height, int bits, Packing packing,
                      files::GreyImage &image, std::string &error) {
  std::vector<std::uint8_t> bytes;
  if (!files::ReadWholeFile(path, bytes, error)) return false;
  const std::size_t rowBytes = PackedRowBytes(packing, width);
  const std::uint64_t need = std::uint64_t(rowBytes) * std::uint64_t(height);
  if (bytes.size() != need) {
    error = "file holds " + std::to_string(bytes.size()) + " bytes, but " + std::to_string(height) +
            " rows of " + std::to_string(width) + " " + PackingName(packing) + " samples (" +
            std::to_string(rowBytes) + " bytes each) need " + std::to_string(need);
    return false;
  }
  files::GreyImage m;
  m.width = width;
  m.height = height;
  m.bits = bits;
  m.wide = packing != Packing::kPlain8;
  m.data.resize(std::size_t(width) * std::size_t(height));
  if (Status s = Unpack(packing, bits, width, height, bytes.data(), rowBytes, m.data.data(),
                        2 * std::size_t(width));
      !s.ok()) {
    error = s.message();
    return false;
  }
  image = std::move(m);
  return true;
}

}  // namespace tavrix::cli
