// Compression of byte spans on CImageCompress's checked encoder and decoder.
#include "tavrix/compress.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "api/messages.h"
#include "compress/stream_decoder.h"
#include "tavrix/image_compress.h"

namespace tavrix {
namespace {

using detail::Format;

constexpr std::size_t kMaxImage = 0xFFFFFFFFu;  // the codec object counts bytes in 32 bits

bool ValidCodec(Codec c) { return c == Codec::kHuffman || c == Codec::kLz77 || c == Codec::kRle; }

const char *Name(Codec c) {
  return c == Codec::kHuffman ? "Huffman" : c == Codec::kLz77 ? "LZ77" : "run-length";
}

Status CheckCommon(Codec codec, const void *source, std::size_t sourceSize, const void *destination,
                   std::size_t size) {
  if (!ValidCodec(codec))
    return Status(StatusCode::kInvalidOption, Format("codec %d is none of 1, 2, 3", int(codec)));
  if (source == nullptr && sourceSize > 0) return Status(StatusCode::kNullPointer, "source is null");
  if (destination == nullptr) return Status(StatusCode::kNullPointer, "destination is null");
  if (size > kMaxImage)
    return Status(StatusCode::kInvalidSize,
                  Format("image of %zu bytes is larger than the codecs' 4294967295", size));
  return Status();
}

}  // namespace

std::size_t MaxCompressedSize(Codec codec, std::size_t size) {
  if (!ValidCodec(codec) || size > kMaxImage) return 0;
  return std::size_t(CImageCompress::MaxEncodedSize(eCompressType(codec), size));
}

Status Compress(Codec codec, const void *source, std::size_t size, void *destination,
                std::size_t capacity, std::size_t *written) {
  if (Status s = CheckCommon(codec, source, size, destination, size); !s.ok()) return s;
  if (written == nullptr) return Status(StatusCode::kNullPointer, "written is null");
  const std::size_t most = MaxCompressedSize(codec, size);
  try {
    CImageCompress codecObject;
    codecObject.InitCompress(eCompressType(codec), static_cast<unsigned long>(size));
    if (capacity >= most) {
      *written = codecObject.EncodeImage(source, destination, static_cast<unsigned long>(most));
      return Status();
    }
    // The stream may still fit: encode aside, so that a refusal writes nothing.
    std::vector<unsigned char> aside(most);
    const std::size_t n =
        codecObject.EncodeImage(source, aside.data(), static_cast<unsigned long>(most));
    if (n > capacity)
      return Status(StatusCode::kCapacity,
                    Format("%s stream of %zu bytes takes %zu bytes but the destination holds %zu",
                           Name(codec), size, n, capacity));
    std::memcpy(destination, aside.data(), n);
    *written = n;
    return Status();
  } catch (const std::bad_alloc &) {
    return Status(StatusCode::kOutOfMemory,
                  Format("no memory for the %s tables of %zu bytes", Name(codec), size));
  }
}

Status Decompress(Codec codec, const void *source, std::size_t sourceSize, void *destination,
                  std::size_t destinationSize) {
  if (Status s = CheckCommon(codec, source, sourceSize, destination, destinationSize); !s.ok())
    return s;
  if (sourceSize > kMaxImage)
    return Status(StatusCode::kCorruptStream,
                  Format("stream of %zu bytes is longer than a length word can say", sourceSize));
  try {
    // Bytes a shorter stream does not produce keep what the destination held.
    const auto *held = static_cast<const unsigned char *>(destination);
    std::vector<unsigned char> aside(held, held + destinationSize);
    // No codec object: its LZ77 initialisation would reserve the encoder's search table.
    if (!detail::DecodeStreamChecked(eCompressType(codec), std::uint32_t(destinationSize), source,
                                     sourceSize, aside.data(), destinationSize))
      return Status(StatusCode::kCorruptStream,
                    Format("stream of %zu bytes is not a valid %s stream of an image of %zu bytes",
                           sourceSize, Name(codec), destinationSize));
    if (destinationSize > 0) std::memcpy(destination, aside.data(), destinationSize);
    return Status();
  } catch (const std::bad_alloc &) {
    return Status(StatusCode::kOutOfMemory,
                  Format("no memory to decode an image of %zu bytes", destinationSize));
  }
}

}  // namespace tavrix
