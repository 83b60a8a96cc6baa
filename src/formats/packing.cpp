// Layout facts, argument checks and the whole-frame unpack and pack calls.
#include <cstring>
#include <string>

#include "api/messages.h"
#include "formats/unpack_rows.h"
#include "tavrix/formats.h"

namespace tavrix {
namespace {

using detail::Format;

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

std::string BitsText(const Layout &l) {
  return l.minBits == l.maxBits ? Format("%d-bit samples only", l.maxBits)
                                : Format("%d to %d bits", l.minBits, l.maxBits);
}

// The checks Unpack and Pack share beyond CheckPacking.
Status CheckFrame(Packing packing, int bits, int width, int height, const void *packed,
                  std::size_t packedStride, const void *samples, std::size_t sampleStride) {
  if (Status s = CheckPacking(packing, bits, width); !s.ok()) return s;
  if (height < 0)
    return Status(StatusCode::kInvalidSize, Format("height %d is negative", height));
  if (width == 0 || height == 0) return Status();
  if (packed == nullptr || samples == nullptr)
    return Status(StatusCode::kNullPointer, "a buffer is null");
  const std::size_t rowBytes = PackedRowBytes(packing, width);
  if (packedStride < rowBytes)
    return Status(StatusCode::kInvalidStride,
                  Format("packed stride %zu is below the %zu bytes of a %s row of %d samples",
                         packedStride, rowBytes, PackingName(packing), width));
  if (sampleStride < 2 * std::size_t(width) || sampleStride % 2 != 0)
    return Status(StatusCode::kInvalidStride,
                  Format("sample stride %zu must be even and at least %zu bytes (%d 16-bit "
                         "samples)", sampleStride, 2 * std::size_t(width), width));
  return Status();
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

Status CheckPacking(Packing packing, int bits, int width) {
  const Layout *l = Find(packing);
  if (l == nullptr)
    return Status(StatusCode::kInvalidOption,
                  Format("unknown packing %d", static_cast<int>(packing)));
  if (bits < l->minBits || bits > l->maxBits)
    return Status(StatusCode::kInvalidOption,
                  Format("%s cannot carry %d-bit samples: it holds %s", l->name, bits,
                         BitsText(*l).c_str()));
  if (width < 0) return Status(StatusCode::kInvalidSize, Format("width %d is negative", width));
  if (width % l->groupSamples != 0)
    return Status(StatusCode::kInvalidSize,
                  Format("%s packs %d samples into %d bytes: width %d is not a multiple of %d",
                         l->name, l->groupSamples, l->groupBytes, width, l->groupSamples));
  return Status();
}

Status Unpack(Packing packing, int bits, int width, int height, const void *packed,
              std::size_t packedStride, std::uint16_t *samples, std::size_t sampleStride) {
  if (Status s = CheckFrame(packing, bits, width, height, packed, packedStride, samples,
                            sampleStride);
      !s.ok())
    return s;
  RowUnpacker row;
  if (Status s = row.Prepare(packing, bits, width); !s.ok()) return s;
  const auto *in = static_cast<const std::uint8_t *>(packed);
  auto *out = reinterpret_cast<std::uint8_t *>(samples);
  for (int r = 0; r < height; ++r)
    row(in + std::size_t(r) * packedStride,
        reinterpret_cast<std::uint16_t *>(out + std::size_t(r) * sampleStride));
  return Status();
}

Status Pack(Packing packing, int bits, int width, int height, const std::uint16_t *samples,
            std::size_t sampleStride, void *packed, std::size_t packedStride) {
  if (Status s = CheckFrame(packing, bits, width, height, packed, packedStride, samples,
                            sampleStride);
      !s.ok())
    return s;
  const detail::PackRowFunction row = detail::ReferencePackRow(packing);
  const auto *in = reinterpret_cast<const std::uint8_t *>(samples);
  auto *out = static_cast<std::uint8_t *>(packed);
  for (int r = 0; r < height; ++r)
    row(reinterpret_cast<const std::uint16_t *>(in + std::size_t(r) * sampleStride),
        out + std::size_t(r) * packedStride, std::size_t(width), unsigned(bits));
  return Status();
}

Status RowUnpacker::Prepare(Packing packing, int bits, int width) {
  function_ = nullptr;
  if (Status s = CheckPacking(packing, bits, width); !s.ok()) return s;
  width_ = std::size_t(width);
  packedBytes_ = PackedRowBytes(packing, width);
  shift_ = packing == Packing::kMsb16 ? unsigned(16 - bits) : 0;
  function_ = detail::ActiveUnpackRow(packing);
  return Status();
}

}  // namespace tavrix
