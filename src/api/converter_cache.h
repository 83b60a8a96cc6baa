// Converters kept between calls of the tavrix:: interface.
//
// A CBayerConverter carries 400 KB of tables that a conversion rebuilds whenever
// the depth settings, the sample format or the balance offsets change. Building
// one per call would cost more than a small conversion, so finished converters
// go back to a cache and a call takes one whose tables already suit it.
#ifndef TAVRIX_SRC_API_CONVERTER_CACHE_H
#define TAVRIX_SRC_API_CONVERTER_CACHE_H

#include <memory>
#include <vector>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

// What decides a converter's tables besides the call's own depth settings.
struct TableKey {
  unsigned short lutFormat;  // the sample format code the tables were built for
  int bitDepth;              // of the last call (a match saves the rebuild)
  int red, green, blue;      // balance offsets
  // Bits the second-order Laplacian's thresholds are scaled to: set by every
  // 24- and 48-bit call, left by the 32-bit calls (a new converter: 8).
  int thresholdBits;

  bool operator==(const TableKey &o) const {
    return lutFormat == o.lutFormat && bitDepth == o.bitDepth && red == o.red &&
           green == o.green && blue == o.blue &&
           thresholdBits == o.thresholdBits;
  }
};

struct CachedConverter {
  CBayerConverter converter;
  // A new converter: format 100, no depth yet, offsets 0 (tables built by the first call).
  TableKey key{100, 0, 0, 0, 0, 8};
  std::vector<unsigned char> scratch;  // band buffers of the calls that use it
};

// A converter whose tables were built under `want.lutFormat` (a converter keeps
// the format of its last 16-bit to 32-bit call, which the other entry points
// then use) and, when `sameThresholds`, whose thresholds are scaled to
// `want.thresholdBits` (the 32-bit calls use them as they find them);
// preferably with the same depth and offsets; a new one otherwise.
// The caller sets the offsets it needs (see SetOffsets) and updates the key.
std::unique_ptr<CachedConverter> AcquireConverter(const TableKey &want, bool sameThresholds);
void ReleaseConverter(std::unique_ptr<CachedConverter> converter);

}  // namespace tavrix::detail

#endif
