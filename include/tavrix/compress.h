// Lossless compression of byte spans through the checked encoder and decoder of
// CImageCompress: a destination is never overrun and a damaged stream is
// refused instead of trusted.
#ifndef TAVRIX_COMPRESS_H
#define TAVRIX_COMPRESS_H

#include <cstddef>

#include "tavrix/export.h"
#include "tavrix/status.h"

namespace tavrix {

enum class Codec : int {
  kHuffman = 1,  // byte-frequency prefix code
  kLz77 = 2,     // back-references over the whole image
  kRle = 3,      // runs of equal bytes behind an escape byte
};

// The largest stream the codec can produce for `size` bytes; 0 for an unknown
// codec or a size of 2^32 bytes or more.
TAVRIX_API std::size_t MaxCompressedSize(Codec codec, std::size_t size);

// Encodes size bytes into destination. On success *written is the stream length.
// A destination smaller than MaxCompressedSize works when the stream fits
// (kCapacity, nothing written, otherwise).
TAVRIX_API Status Compress(Codec codec, const void *source, std::size_t size, void *destination,
                           std::size_t capacity, std::size_t *written);

// Decodes a stream of sourceSize bytes into destination, which holds
// destinationSize bytes: the image size the encoder was given (a Huffman stream
// does not carry it). A damaged stream, one of another codec or one that would
// write more than destinationSize bytes is refused and leaves the destination
// as it was.
TAVRIX_API Status Decompress(Codec codec, const void *source, std::size_t sourceSize,
                             void *destination, std::size_t destinationSize);

}  // namespace tavrix

#endif
