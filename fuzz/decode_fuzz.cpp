// The checked decoder of each codec on arbitrary bytes with arbitrary sizes.
// The stream and the destination are allocated to exactly the sizes passed, so
// any read or write outside them is caught by AddressSanitizer.
//
// Input layout: codec (1 byte), flags (1), image size (2, little-endian),
// destination size (2), then the stream itself.
#include <cstdint>
#include <cstring>
#include <vector>

#include "tavrix/tavrix.h"

namespace {
constexpr std::size_t kHeader = 6;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < kHeader) return 0;
  const eCompressType codecs[] = {eHuffman, eLZ77, eRLE};
  const eCompressType codec = codecs[data[0] % 3];
  const std::uint8_t flags = data[1];
  const unsigned long imageSize = data[2] | (data[3] << 8);
  // Usually the destination is the image size; sometimes any size at all.
  const unsigned long destinationSize = flags & 1 ? (data[4] | (data[5] << 8)) : imageSize;
  std::vector<std::uint8_t> stream(data + kHeader, data + size);
  if (stream.size() >= 4 && (flags & 2)) {
    // A length word that agrees with the size, so that the payload gets parsed.
    const std::uint32_t length = std::uint32_t(stream.size());
    std::memcpy(stream.data(), &length, 4);
  }
  std::vector<std::uint8_t> destination(destinationSize);
  CImageCompress codecObject;
  codecObject.InitCompress(codec, imageSize);
  codecObject.DecodeImage(stream.empty() ? nullptr : stream.data(), stream.size(),
                          destination.empty() ? nullptr : destination.data(), destinationSize);
  return 0;
}
