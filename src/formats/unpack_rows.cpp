// The reference unpackers and packers: each layout written out group by group,
// straight from the byte diagrams in tavrix/formats.h.
#include "formats/unpack_rows.h"

#include <cstring>

#include "cpu/dispatch.h"

namespace tavrix::detail {
namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;

// ---- unpacking ------------------------------------------------------------------

void UnpackPlain8(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i < width; ++i) out[i] = in[i];
}

void UnpackPlain16(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i < width; ++i) out[i] = u16(in[2 * i] | in[2 * i + 1] << 8);
}

void UnpackMsb16(const u8 *in, u16 *out, std::size_t width, unsigned shift) {
  for (std::size_t i = 0; i < width; ++i)
    out[i] = u16(unsigned(in[2 * i] | in[2 * i + 1] << 8) >> shift);
}

void UnpackBe16(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i < width; ++i) out[i] = u16(in[2 * i] << 8 | in[2 * i + 1]);
}

void UnpackRaw10(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, in += 5) {
    const unsigned low = in[4];
    for (unsigned k = 0; k < 4; ++k) out[i + k] = u16(in[k] << 2 | (low >> (2 * k) & 3));
  }
}

void UnpackRaw12(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, in += 3) {
    out[i] = u16(in[0] << 4 | (in[2] & 15));
    out[i + 1] = u16(in[1] << 4 | in[2] >> 4);
  }
}

void UnpackRaw14(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, in += 7) {
    const unsigned long low = in[4] | unsigned(in[5]) << 8 | unsigned(in[6]) << 16;
    for (unsigned k = 0; k < 4; ++k) out[i + k] = u16(in[k] << 6 | (low >> (6 * k) & 63));
  }
}

void UnpackMono10p(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, in += 5) {
    std::uint64_t group = 0;
    for (unsigned b = 0; b < 5; ++b) group |= std::uint64_t(in[b]) << (8 * b);
    for (unsigned k = 0; k < 4; ++k) out[i + k] = u16(group >> (10 * k) & 0x3FF);
  }
}

void UnpackMono12p(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, in += 3) {
    out[i] = u16(in[0] | (in[1] & 15) << 8);
    out[i + 1] = u16(in[1] >> 4 | in[2] << 4);
  }
}

void UnpackMono12Packed(const u8 *in, u16 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, in += 3) {
    out[i] = u16(in[0] << 4 | (in[1] & 15));
    out[i + 1] = u16(in[2] << 4 | in[1] >> 4);
  }
}

// ---- packing: the low `bits` bits of each sample ------------------------------

void PackPlain8(const u16 *in, u8 *out, std::size_t width, unsigned bits) {
  for (std::size_t i = 0; i < width; ++i) out[i] = u8(in[i] & ((1u << bits) - 1));
}

void PackPlain16(const u16 *in, u8 *out, std::size_t width, unsigned bits) {
  for (std::size_t i = 0; i < width; ++i) {
    const unsigned v = in[i] & ((1u << bits) - 1);
    out[2 * i] = u8(v);
    out[2 * i + 1] = u8(v >> 8);
  }
}

void PackMsb16(const u16 *in, u8 *out, std::size_t width, unsigned bits) {
  for (std::size_t i = 0; i < width; ++i) {
    const unsigned v = unsigned(in[i]) << (16 - bits);
    out[2 * i] = u8(v);
    out[2 * i + 1] = u8(v >> 8);
  }
}

void PackBe16(const u16 *in, u8 *out, std::size_t width, unsigned bits) {
  for (std::size_t i = 0; i < width; ++i) {
    const unsigned v = in[i] & ((1u << bits) - 1);
    out[2 * i] = u8(v >> 8);
    out[2 * i + 1] = u8(v);
  }
}

void PackRaw10(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, out += 5) {
    unsigned low = 0;
    for (unsigned k = 0; k < 4; ++k) {
      out[k] = u8(in[i + k] >> 2);
      low |= (in[i + k] & 3u) << (2 * k);
    }
    out[4] = u8(low);
  }
}

void PackRaw12(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, out += 3) {
    out[0] = u8(in[i] >> 4);
    out[1] = u8(in[i + 1] >> 4);
    out[2] = u8((in[i] & 15) | (in[i + 1] & 15) << 4);
  }
}

void PackRaw14(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, out += 7) {
    unsigned long low = 0;
    for (unsigned k = 0; k < 4; ++k) {
      out[k] = u8(in[i + k] >> 6);
      low |= (in[i + k] & 63ul) << (6 * k);
    }
    for (unsigned b = 0; b < 3; ++b) out[4 + b] = u8(low >> (8 * b));
  }
}

void PackMono10p(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 4 <= width; i += 4, out += 5) {
    std::uint64_t group = 0;
    for (unsigned k = 0; k < 4; ++k) group |= std::uint64_t(in[i + k] & 0x3FF) << (10 * k);
    for (unsigned b = 0; b < 5; ++b) out[b] = u8(group >> (8 * b));
  }
}

void PackMono12p(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, out += 3) {
    out[0] = u8(in[i]);
    out[1] = u8((in[i] >> 8 & 15) | (in[i + 1] & 15) << 4);
    out[2] = u8(in[i + 1] >> 4);
  }
}

void PackMono12Packed(const u16 *in, u8 *out, std::size_t width, unsigned) {
  for (std::size_t i = 0; i + 2 <= width; i += 2, out += 3) {
    out[0] = u8(in[i] >> 4);
    out[1] = u8((in[i] & 15) | (in[i + 1] & 15) << 4);
    out[2] = u8(in[i + 1] >> 4);
  }
}

}  // namespace

UnpackRowFunction ReferenceUnpackRow(Packing packing) {
  switch (packing) {
    case Packing::kPlain8: return UnpackPlain8;
    case Packing::kPlain16: return UnpackPlain16;
    case Packing::kRaw10: return UnpackRaw10;
    case Packing::kRaw12: return UnpackRaw12;
    case Packing::kRaw14: return UnpackRaw14;
    case Packing::kMono10p: return UnpackMono10p;
    case Packing::kMono12p: return UnpackMono12p;
    case Packing::kMono12Packed: return UnpackMono12Packed;
    case Packing::kMsb16: return UnpackMsb16;
    case Packing::kBe16: return UnpackBe16;
  }
  return nullptr;
}

PackRowFunction ReferencePackRow(Packing packing) {
  switch (packing) {
    case Packing::kPlain8: return PackPlain8;
    case Packing::kPlain16: return PackPlain16;
    case Packing::kRaw10: return PackRaw10;
    case Packing::kRaw12: return PackRaw12;
    case Packing::kRaw14: return PackRaw14;
    case Packing::kMono10p: return PackMono10p;
    case Packing::kMono12p: return PackMono12p;
    case Packing::kMono12Packed: return PackMono12Packed;
    case Packing::kMsb16: return PackMsb16;
    case Packing::kBe16: return PackBe16;
  }
  return nullptr;
}

UnpackRowFunction ActiveUnpackRow(Packing packing) {
  UnpackRowFunction fast = nullptr;
#if TAVRIX_SIMD_X86
  const Path path = ActivePath();
  if (Admits(path, Path::kAvx2)) fast = Avx2UnpackRow(packing);
  if (fast == nullptr && Admits(path, Path::kSse41)) fast = Ssse3UnpackRow(packing);
#elif TAVRIX_SIMD_NEON
  if (Admits(ActivePath(), Path::kNeon)) fast = NeonUnpackRow(packing);
#endif
  return fast != nullptr ? fast : ReferenceUnpackRow(packing);
}

}  // namespace tavrix::detail
