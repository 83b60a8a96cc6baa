#include "compress/stream_decoder.h"

#include "compress/codecs.h"

namespace tavrix::detail {

bool DecodeStreamChecked(eCompressType type, uint32_t imageSize, const void *source,
                         size_t sourceSize, void *destination, size_t destinationSize) {
  constexpr size_t kLengthWordSize = 4;  // little-endian stream length, itself included
  if ((type != eHuffman && type != eLZ77 && type != eRLE) || sourceSize < kLengthWordSize)
    return false;
  const auto *in = static_cast<const uint8_t *>(source);
  const uint32_t streamLength =
      uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
  if (streamLength < kLengthWordSize || streamLength != sourceSize) return false;
  const uint8_t *payload = in + kLengthWordSize;
  const size_t payloadLength = streamLength - kLengthWordSize;
  auto *out = static_cast<uint8_t *>(destination);
  switch (type) {
  case eHuffman:
    return HuffmanDecodeChecked(payload, payloadLength, out, destinationSize, imageSize);
  case eLZ77:
    return Lz77DecodeChecked(payload, payloadLength, out, destinationSize);
  default:
    return RleDecodeChecked(payload, payloadLength, out, destinationSize);
  }
}

}  // namespace tavrix::detail
