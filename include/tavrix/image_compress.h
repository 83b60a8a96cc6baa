#ifndef TAVRIX_IMAGE_COMPRESS_H
#define TAVRIX_IMAGE_COMPRESS_H

#include "tavrix/export.h"

#include <stdint.h>

/// Codec of a CImageCompress (32-bit). Any other value selects no codec.
enum eCompressType : int {
  eHuffman = 1, ///< byte-frequency prefix code, built top-down by halving the weight
  eLZ77 = 2,    ///< back-references found by an unlimited search over the whole image
  eRLE = 3      ///< runs of equal bytes behind an escape byte
};

/// Lossless encoder and decoder for image buffers of a size fixed in advance.
///
/// A stream is a 4-byte little-endian length word (the whole stream's length,
/// these 4 bytes included) followed by the codec's payload. It carries no magic,
/// no codec identifier and no image size: the decoding object must be set up by
/// InitCompress with the same codec and, for Huffman, the same image size.
///
/// Typical use: InitCompress once per codec or size, then any number of
/// EncodeImage / DecodeImage calls. One thread at a time per object (the LZ77
/// match table is working storage of every encode); distinct objects are independent.
class TAVRIX_API CImageCompress {
public:
  /// Huffman selected, image size 0, no match table.
  CImageCompress();
  ~CImageCompress();

  /// Not copyable by construction: an object owns its match table.
  CImageCompress(const CImageCompress &) = delete;

  /// Copies the three fields as they are, the match-table pointer included: a
  /// shallow copy. The target's previous table is not released and afterwards
  /// both objects refer to one table, which each would release on destruction.
  /// Keep at most one of the two alive, or assign only objects without a table
  /// (any codec but LZ77).
  CImageCompress &operator=(const CImageCompress &other);

  /// Selects the codec and the image size in bytes (kept modulo 2^32) and
  /// returns the stream capacity it advertises. Releases any previous match
  /// table; for eLZ77 allocates a new one of 65536 + size 32-bit entries and,
  /// in the same block, the scratch memory of the match search: at most 16
  /// more bytes per image byte, about 20 bytes per image byte in all
  /// (std::bad_alloc if that fails).
  ///
  /// Returned value: eHuffman size + 388; eLZ77 and eRLE
  /// ((size * 257) mod 2^32) / 256 + 5; any other type 0 (nothing allocated).
  ///
  /// This value is NOT a safe buffer size. The 32-bit product wraps for sizes
  /// of 16,711,936 bytes or more (a 4096x4096 8-bit frame gets 65,541 bytes),
  /// and the Huffman code can spend more than 8 bits per byte on near-uniform
  /// data (65,536 random bytes take 66,090 bytes against 65,924 advertised).
  /// Size the destination with MaxEncodedSize, or use the EncodeImage overload
  /// that takes the destination's capacity.
  unsigned long InitCompress(eCompressType type, unsigned long size);

  /// The largest stream the codec can produce for an image of `size` bytes,
  /// without any wrap; 0 for an unknown type. eLZ77, eRLE: size + size/256 + 5.
  /// eHuffman: 388 + ceil(273 * size / 256) (codes average at most 8 + 17/32
  /// bits per byte, proved in docs/compression.md).
  static unsigned long long MaxEncodedSize(eCompressType type, unsigned long long size);

  /// Trusted encoder: reads exactly the image size in bytes from `source` and
  /// writes a stream to `destination`, which must hold MaxEncodedSize bytes.
  /// Returns the stream length; 0 (nothing written) for an unknown codec. An
  /// empty image, or a Huffman code whose construction fails, gives the 4-byte
  /// stream 04 00 00 00. Huffman padding bits keep the destination's content.
  /// LZ77 needs the table of the last InitCompress(eLZ77, ...).
  unsigned long EncodeImage(void *source, void *destination);

  /// Checked encoder: the same stream as the trusted one, byte for byte, when
  /// it fits in `destinationCapacity` bytes; otherwise returns 0 and writes
  /// nothing at or past `destination + destinationCapacity` (what it wrote below
  /// that is unspecified). 0 as well for an unknown codec.
  unsigned long EncodeImage(const void *source, void *destination,
                            unsigned long destinationCapacity);

  /// Trusted decoder, for streams this library wrote and kept intact. Reads the
  /// length word and decodes the payload into `destination`; returns false only
  /// for an unknown codec (writes nothing then). The LZ77 and RLE payloads
  /// produce as many bytes as they describe; Huffman produces the image size
  /// (fewer only if a bit pattern matches no code). It checks nothing: a damaged
  /// or foreign stream makes it read and write outside the buffers.
  ///
  /// Huffman reads nothing past the payload that the length word declares: bits
  /// it needs beyond it (a short or cut stream) read as 0. A code tree with more
  /// than 256 leaves is not decoded (nothing is written). Leaves deeper than 32
  /// bits are kept: the bytes decode as long as no code search reaches them, and
  /// a search that would (a bit pattern matching none of the codes of up to 32
  /// bits) ends the decoding there.
  bool DecodeImage(void *source, void *destination);

  /// Checked decoder, for streams from disk or a network. Never reads past
  /// `sourceSize` bytes of `source` nor writes past `destinationSize` bytes of
  /// `destination`, whatever the stream holds. Returns false (destination
  /// contents then unspecified, but nothing outside the bounds is touched) for
  /// an unknown codec, a length word below 4 or different from `sourceSize`, a
  /// token running past the payload, an LZ77 length below 4 or distance of 0
  /// or reaching before the start of the output, output that would exceed
  /// `destinationSize`, a Huffman tree with more than 256 leaves, a Huffman code
  /// search reaching a leaf deeper than 32 bits, or Huffman bits running out.
  /// For every well-formed stream it returns true and writes exactly what the
  /// trusted decoder writes.
  bool DecodeImage(const void *source, unsigned long sourceSize, void *destination,
                   unsigned long destinationSize);

private:
  unsigned long EncodeHuffmanImage(void *source, void *destination);
  unsigned long EncodeLZ77Image(void *source, void *destination);
  unsigned long EncodeRLEImage(void *source, void *destination);
  bool DecodeHuffmanImage(void *source, void *destination);
  bool DecodeLZ77Image(void *source, void *destination);
  bool DecodeRLEImage(void *source, void *destination);

  uint32_t *m_matchTable;       ///< LZ77 hash heads and chains; null for other codecs
  eCompressType m_compressType; ///< selected codec
  uint32_t m_imageSize;         ///< bytes of one uncompressed image
};

#endif
