// Layout facts, argument checks and the whole-frame unpack and pack calls.
#include <cstring>
#include <string>

#include "formats/unpack_rows.h"
#include "tavrix/formats.h"

namespace tavrix {
namespace {

struct Layout {
  Packing packing;
  const char *name;
  int groupSamples, groupBytes;
  int minBits, maxBits;  // the significant bits the layout carries
};

constexpr Layout kLayouts[] = {
    {Packing::kPlain8, "plain8", 1, 1, 1, 8},
    {Packing::kPlain16, "plain16", 1, 2, 1, 16},
    {Packing::kRaw10, "raw10", 4, 5, 10, 10},
    {Packing::kRaw12, "raw12", 2, 3, 12, 12},
    {Packing::kRaw14, "raw14", 4, 7, 14, 14},
    {Packing::kMono10p, "mono10p", 4, 5, 10, 10},
    {Packing::kMono12p, "mono12p", 2, 3, 12, 12},
    {Packing::kMono12Packed, "mono12packed", 2, 3, 12, 12},
    {Packing::kMsb16, "msb16", 1, 2, 1, 16},
    {Packing::kBe16, "be16", 1, 2, 1, 16},
};

const Layout *Find(Packing packing) {
  for (const Layout &l : kLayouts)
    if (l.packing == packing) return &l;
  return nullptr;
}

bool Refuse(std::string *why, const std::string &reason) {
  if (why != nullptr) *why = reason;
  return false;
}

std::string BitsText(const Layout &l) {
  return l.minBits == l.maxBits ? std::to_string(l.maxBits) + "-bit samples only"
                                : std::to_string(l.minBits) + " to " + std::to_string(l.maxBits) +
                                      " bits";
}

// The checks Unpack and Pack share beyond CheckPacking.
bool CheckFrame(Packing packing, int bits, int width, int height, const void *packed,
                std::size_t packedStride, const void *samples, std::size_t sampleStride,
                std::string *why) {
  if (!CheckPacking(packing, bits, width, why)) return false;
  if (height < 0) return Refuse(why, "height " + std::to_string(height) + " is negative");
  if (width == 0 || height == 0) return true;
  if (packed == nullptr || samples == nullptr) return Refuse(why, "a buffer is null");
  const std::size_t rowBytes = PackedRowBytes(packing, width);
  if (packedStride < rowBytes)
    return Refuse(why, "packed stride " + std::to_string(packedStride) + " is below the " +
                           std::to_string(rowBytes) + " bytes of a " + PackingName(packing) +
                           " row of " + std::to_string(width) + " samples");
  if (sampleStride < 2 * std::size_t(width) || sampleStride % 2 != 0)
    return Refuse(why, "sample stride " + std::to_string(sampleStride) +
                           " must be even and at least " + std::to_string(2 * std::size_t(width)) +
                           " bytes (" + std::to_string(width) + " 16-bit samples)");
  return true;
}

}  // namespace

const char *PackingName(Packing packing) {
  const Layout *l = Find(packing);
  return l != nullptr ? l->name : "unknown";
}

std::optional<Packing> PackingFromName(std::string_view name) {
  for (const Layout &l : kLayouts)
    if (name == l.name) return l.packing;
  return std::nullopt;
}

int PackingFixedBits(Packing packing) {
  const Layout *l = Find(packing);
  return l != nullptr && l->minBits == l->maxBits ? l->maxBits : 0;
}

int PackingGroupSamples(Packing packing) {
  const Layout *l = Find(packing);
  return l != nullptr ? l->groupSamples : 0;
}

int PackingGroupBytes(Packing packing) {
  const Layout *l = Find(packing);
  return l != nullptr ? l->groupBytes : 0;
}

std::size_t PackedRowBytes(Packing packing, int width) {
  const Layout *l = Find(packing);
  if (l == nullptr || width <= 0) return 0;
  return std::size_t(width) / unsigned(l->groupSamples) * unsigned(l->groupBytes);
}

bool CheckPacking(Packing packing, int bits, int width, std::string *why) {
  const Layout *l = Find(packing);
  if (l == nullptr)
    return Refuse(why, "unknown packing " + std::to_string(static_cast<int>(packing)));
  if (bits < l->minBits || bits > l->maxBits)
    return Refuse(why, std::string(l->name) + " cannot carry " + std::to_string(bits) +
                           "-bit samples: it holds " + BitsText(*l));
  if (width < 0) return Refuse(why, "width " + std::to_string(width) + " is negative");
  if (width % l->groupSamples != 0)
    return Refuse(why, std::string(l->name) + " packs " + std::to_string(l->groupSamples) +
                           " samples into " + std::to_string(l->groupBytes) +
                           " bytes: width " + std::to_string(width) + " is not a multiple of " +
                           std::to_string(l->groupSamples));
  return true;
}

bool Unpack(Packing packing, int bits, int width, int height, const void *packed,
            std::size_t packedStride, std::uint16_t *samples, std::size_t sampleStride,
            std::string *why) {
  RowUnpacker row;
  if (!CheckFrame(packing, bits, width, height, packed, packedStride, samples, sampleStride,
                  why) ||
      !row.Prepare(packing, bits, width, why))
    return false;
  const auto *in = static_cast<const std::uint8_t *>(packed);
  auto *out = reinterpret_cast<std::uint8_t *>(samples);
  for (int r = 0; r < height; ++r)
    row(in + std::size_t(r) * packedStride,
        reinterpret_cast<std::uint16_t *>(out + std::size_t(r) * sampleStride));
  return true;
}

bool Pack(Packing packing, int bits, int width, int height, const std::uint16_t *samples,
          std::size_t sampleStride, void *packed, std::size_t packedStride, std::string *why) {
  if (!CheckFrame(packing, bits, width, height, packed, packedStride, samples, sampleStride,
                  why))
    return false;
  const detail::PackRowFunction row = detail::ReferencePackRow(packing);
  const auto *in = reinterpret_cast<const std::uint8_t *>(samples);
  auto *out = static_cast<std::uint8_t *>(packed);
  for (int r = 0; r < height; ++r)
    row(reinterpret_cast<const std::uint16_t *>(in + std::size_t(r) * sampleStride),
        out + std::size_t(r) * packedStride, std::size_t(width), unsigned(bits));
  return true;
}

bool RowUnpacker::Prepare(Packing packing, int bits, int width, std::string *why) {
  function_ = nullptr;
  if (!CheckPacking(packing, bits, width, why)) return false;
  width_ = std::size_t(width);
  packedBytes_ = PackedRowBytes(packing, width);
  shift_ = packing == Packing::kMsb16 ? unsigned(16 - bits) : 0;
  function_ = detail::ActiveUnpackRow(packing);
  return true;
}

}  // namespace tavrix
