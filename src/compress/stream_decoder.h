// The checked decoder of a whole stream (length word and payload) without a
// codec object: decoding needs none of the table InitCompress(eLZ77) reserves
// for the encoder's search.
#ifndef TAVRIX_SRC_COMPRESS_STREAM_DECODER_H
#define TAVRIX_SRC_COMPRESS_STREAM_DECODER_H

#include <cstddef>
#include <cstdint>

#include "tavrix/image_compress.h"

namespace tavrix::detail {

// What DecodeImage(source, sourceSize, destination, destinationSize) returns and
// writes for an object after InitCompress(type, imageSize).
bool DecodeStreamChecked(eCompressType type, uint32_t imageSize, const void *source,
                         size_t sourceSize, void *destination, size_t destinationSize);

}  // namespace tavrix::detail

#endif
