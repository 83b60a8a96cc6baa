// Sensor sample layouts as cameras deliver them, and the names of the four
// Bayer phases in the ecosystems around the library.
//
// The converter reads right-aligned samples: bytes, or little-endian 16-bit
// words holding 0 .. 2^bits - 1. Cameras send other layouts; the functions here
// turn them into that form and back. C++17.
//
// Layouts. Bytes are drawn lowest address first, [] is one byte, Pn is the n-th
// sample of the row and Pn[h:l] its bits h down to l. A row of `width` samples
// holds width / (samples per group) groups and no padding; the caller's stride
// may add padding after each row.
//
//   kPlain8        one byte per sample (1..8 bits).
//                  [P0]
//   kPlain16       16-bit little-endian word per sample, right-aligned (1..16 bits).
//                  [P0[7:0]] [P0[15:8]]
//   kRaw10         MIPI CSI-2 RAW10, 4 samples in 5 bytes, high bits first, the two
//                  low bits of each sample collected in the fifth byte (10 bits).
//                  [P0[9:2]] [P1[9:2]] [P2[9:2]] [P3[9:2]]
//                  [P3[1:0] P2[1:0] P1[1:0] P0[1:0]]   (bit 7 .. bit 0)
//   kRaw12         MIPI CSI-2 RAW12, 2 samples in 3 bytes (12 bits).
//                  [P0[11:4]] [P1[11:4]] [P1[3:0] P0[3:0]]
//   kRaw14         MIPI CSI-2 RAW14, 4 samples in 7 bytes; the low six bits of
//                  P0..P3 fill the last three bytes as one little-endian 24-bit
//                  word, P0 in its lowest bits (14 bits).
//                  [P0[13:6]] [P1[13:6]] [P2[13:6]] [P3[13:6]]
//                  [P1[1:0] P0[5:0]] [P2[3:0] P1[5:2]] [P3[5:0] P2[5:4]]
//   kMono10p       GenICam PFNC Mono10p / Bayer**10p: a least-significant-bit-first
//                  stream, 4 samples in 5 bytes (10 bits).
//                  [P0[7:0]] [P1[5:0] P0[9:8]] [P2[3:0] P1[9:6]] [P3[1:0] P2[9:4]]
//                  [P3[9:2]]
//   kMono12p       GenICam PFNC Mono12p / Bayer**12p, 2 samples in 3 bytes (12 bits).
//                  [P0[7:0]] [P1[3:0] P0[11:8]] [P1[11:4]]
//   kMono12Packed  GigE Vision Mono12Packed / Bayer**12Packed (the layout before
//                  PFNC), 2 samples in 3 bytes (12 bits).
//                  [P0[11:4]] [P1[3:0] P0[3:0]] [P1[11:4]]
//   kMsb16         16-bit little-endian word per sample, the sample in its high bits:
//                  word = sample << (16 - bits) (1..16 bits).
//   kBe16          16-bit big-endian word per sample, right-aligned (1..16 bits).
//                  [P0[15:8]] [P0[7:0]]
//
// Unpacking writes right-aligned 16-bit samples and never masks: the bits of a
// plain or big-endian word above `bits` come through as the converter would see
// them. Packing stores the low `bits` bits of each sample (higher bits are
// dropped), so packing and unpacking samples of 0 .. 2^bits - 1 is exact.
//
// Refusals: a call whose arguments a layout cannot express (a width that is not
// a whole number of groups, a bit depth the layout does not carry, a stride
// shorter than a row, a null buffer) returns a Status that says why, with the
// numbers, and writes nothing.
#ifndef TAVRIX_FORMATS_H
#define TAVRIX_FORMATS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "tavrix/bayer_converter.h"
#include "tavrix/export.h"
#include "tavrix/status.h"

namespace tavrix {

enum class Packing : int {
  kPlain8,
  kPlain16,
  kRaw10,
  kRaw12,
  kRaw14,
  kMono10p,
  kMono12p,
  kMono12Packed,
  kMsb16,
  kBe16
};

// The tool's name of a layout ("plain8", "plain16", "raw10", "raw12", "raw14",
// "mono10p", "mono12p", "mono12packed", "msb16", "be16"), and back.
TAVRIX_API const char *PackingName(Packing packing);
TAVRIX_API std::optional<Packing> PackingFromName(std::string_view name);

// The bit depth a packed layout fixes (10, 12 or 14); 0 for the layouts that
// carry a range of depths (plain, msb16, be16).
TAVRIX_API int PackingFixedBits(Packing packing);

// Samples per group and bytes per group (kPlain16: 1 and 2).
TAVRIX_API int PackingGroupSamples(Packing packing);
TAVRIX_API int PackingGroupBytes(Packing packing);

// Bytes a row of `width` samples occupies, without padding (width a whole
// number of groups; otherwise the bytes of the groups that fit).
TAVRIX_API std::size_t PackedRowBytes(Packing packing, int width);

// Whether rows of `width` samples of `bits` significant bits can be expressed
// in `packing` (kInvalidOption: the layout or the bits; kInvalidSize: the width).
TAVRIX_API Status CheckPacking(Packing packing, int bits, int width);

// Whole frames. Strides are in bytes between the starts of consecutive rows;
// `sampleStride` must be even and at least 2 * width, `packedStride` at least
// PackedRowBytes(packing, width). The buffers must not overlap.
TAVRIX_API Status Unpack(Packing packing, int bits, int width, int height, const void *packed,
                         std::size_t packedStride, std::uint16_t *samples,
                         std::size_t sampleStride);
TAVRIX_API Status Pack(Packing packing, int bits, int width, int height,
                       const std::uint16_t *samples, std::size_t sampleStride, void *packed,
                       std::size_t packedStride);

// Unpacks one row at a time, for code that converts a frame in bands (so that
// a packed frame never needs a full-size unpacked copy). Prepare checks the
// layout once and chooses the vector path once; each call then unpacks a row
// of Width() samples from PackedBytes() bytes without further checks.
class TAVRIX_API RowUnpacker {
public:
  using RowFunction = void (*)(const std::uint8_t *packed, std::uint16_t *samples,
                               std::size_t width, unsigned shift);

  // Refused (and the unpacker stays unprepared) when CheckPacking refuses.
  Status Prepare(Packing packing, int bits, int width);

  bool Prepared() const { return function_ != nullptr; }
  int Width() const { return int(width_); }
  std::size_t PackedBytes() const { return packedBytes_; }

  void operator()(const void *packedRow, std::uint16_t *samples) const {
    function_(static_cast<const std::uint8_t *>(packedRow), samples, width_, shift_);
  }

private:
  RowFunction function_ = nullptr;
  std::size_t width_ = 0;
  std::size_t packedBytes_ = 0;
  unsigned shift_ = 0;
};

// ---- pattern names ------------------------------------------------------------

// What a pattern name says: always the phase, and for names that carry one
// (V4L2 "SRGGB10P", PFNC "BayerGB12p") the sample layout and bit depth.
struct PatternName {
  ePatternOrigin origin = eOriginGB;
  std::optional<Packing> packing;  // unset: the name does not say
  int bits = 0;                    // 0: the name does not say
};

// Reads any of (case-insensitive unless noted):
//   - the library's own row-0 names: GB, GR, BG, RG (also eOriginGB ...);
//   - CFA letters row-major: RGGB, BGGR, GRBG, GBRG;
//   - OpenCV conversion codes by name: [cv::][COLOR_|CV_]Bayer<XY>2<BGR|RGB|BGRA|RGBA|GRAY>
//     [_VNG|_EA], where XY are the second row's second and third colours
//     (BayerBG2BGR is an RGGB mosaic), and the four-letter aliases
//     (BayerRGGB2BGR); the colour order after the 2 does not change the mosaic;
//   - V4L2: names [V4L2_PIX_FMT_]S<CFA><8|10|10P|12|12P|14|14P|16> and their
//     fourcc codes (case-sensitive: "pgAA" and "pGAA" differ), e.g. BA81, pRCC;
//   - GenICam PFNC: Bayer<RG|GB|GR|BG><8|10|10p|12|12p|12Packed|14|16>;
//   - DNG CFAPattern colour indexes (0 red, 1 green, 2 blue), "0112" or "0 1 1 2";
//   - dcraw filter words in hex, e.g. 0x94949494 (RGGB).
// A name that is none of these is refused (kInvalidOption) and *out left alone.
TAVRIX_API Status ParsePatternName(std::string_view name, PatternName *out);

// OpenCV's numeric Bayer codes (COLOR_Bayer**2BGR, 2BGRA, 2GRAY, _VNG, _EA): the
// mosaic that the code converts to BGR order. A code shared by a 2RGB name
// (BayerBG2RGB == BayerRG2BGR) yields the mosaic of its 2BGR name.
TAVRIX_API std::optional<ePatternOrigin> PatternOriginFromOpenCvCode(int code);

}  // namespace tavrix

#endif
