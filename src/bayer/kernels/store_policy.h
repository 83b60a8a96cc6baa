// How the per-site kernel families read and write one channel of an output
// record. The algorithms are written once; what the three records disagree on
// lives here:
//
//   record        channel   own value (table entry v)   interpolated values      fourth byte
//   tagRGBTRIPLE  byte      low byte of v >> k          shift by k, narrowed     -
//   BGRxTRIPLE    byte      low byte of v >> k          shift by k, narrowed     0 where written
//   RGBTRIPLE16   word      v                           unshifted, 16-bit wrap   -
//
// (k is the depth shift.) How an interpolated value is narrowed differs per
// family, so each family has its own member: the first-order Laplacian clamps
// to 0..255, the second-order one clamps only from above.
#ifndef TAVRIX_SRC_BAYER_KERNELS_STORE_POLICY_H
#define TAVRIX_SRC_BAYER_KERNELS_STORE_POLICY_H

#include <cstdint>

#include "bayer/kernels/site_helpers.h"
#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

enum class Channel { kBlue, kGreen, kRed };

// The colour a pass estimates opposite to `c` at a red or blue site.
constexpr Channel Opposite(Channel c) {
  return c == Channel::kRed ? Channel::kBlue : Channel::kRed;
}

// Channel access, the same member names in all three records.
struct ChannelsOf {
  template <Channel kChannel, class Record>
  static auto &At(Record &px) {
    if constexpr (kChannel == Channel::kBlue)
      return px.rgbtBlue;
    else if constexpr (kChannel == Channel::kGreen)
      return px.rgbtGreen;
    else
      return px.rgbtRed;
  }
  // A value an earlier pass stored, read back unsigned.
  template <Channel kChannel, class Record>
  static int Read(const Record &px) {
    return At<kChannel>(px);
  }
};

// Records with one byte per channel, values brought to the 8-bit scale.
template <class Record>
struct ByteStore : ChannelsOf {
  static constexpr bool kWide = false;
  explicit ByteStore(int depthShift) : shift(depthShift) {}

  // A table entry copied to its own site: logical shift, low byte, no clamp.
  std::uint8_t Own(std::uint16_t entry) const { return std::uint8_t(entry >> shift); }
  // First-order Laplacian result: floor shift, then clamped to 0..255.
  std::uint8_t Laplacian1(int value) const {
    const int v = FloorShift(value, shift);
    return std::uint8_t(v > 255 ? 255 : (v < 0 ? 0 : v));
  }
  // Second-order Laplacian result (already non-negative unless it is -32768):
  // floor shift of the 16-bit value, 255 above 255, otherwise the low byte.
  std::uint8_t Laplacian2(short value) const {
    const int v = FloorShift(value, shift);
    return v > 255 ? 255 : std::uint8_t(unsigned(v));
  }
  int shift;
};

template <class Record>
struct SiteStore;

template <>
struct SiteStore<tagRGBTRIPLE> : ByteStore<tagRGBTRIPLE> {
  using ByteStore::ByteStore;
  static void MarkWritten(tagRGBTRIPLE &) {}
};

template <>
struct SiteStore<CBayerConverter::BGRxTRIPLE> : ByteStore<CBayerConverter::BGRxTRIPLE> {
  using ByteStore::ByteStore;
  // The fourth byte carries no colour; the kernels zero it where they write.
  static void MarkWritten(CBayerConverter::BGRxTRIPLE &px) { px.rgbtReserved = 0; }
};

// 16-bit words on the sensor's scale: nothing is shifted or clamped.
template <>
struct SiteStore<CBayerConverter::RGBTRIPLE16> : ChannelsOf {
  static constexpr bool kWide = true;
  explicit SiteStore(int /*depthShift*/) {}
  static std::uint16_t Own(std::uint16_t entry) { return entry; }
  // A negative sum wraps to a large word (-5 is stored as 65531).
  static std::uint16_t Laplacian1(int value) { return std::uint16_t(unsigned(value)); }
  // -32768 is stored as 32768.
  static std::uint16_t Laplacian2(short value) { return std::uint16_t(value); }
  static void MarkWritten(CBayerConverter::RGBTRIPLE16 &) {}
};

}  // namespace tavrix::detail

#endif
