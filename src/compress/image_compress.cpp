// The codec object: selection and sizing, the stream length word, dispatch to the
// payload writers and readers of codecs.h.
#include "tavrix/image_compress.h"

#include "compress/codecs.h"
#include "compress/stream_decoder.h"

#include <cstdlib>
#include <new>

namespace {

constexpr uint32_t kLengthWordSize = 4;
// Tree bits of a full 256-leaf tree: 256 leaves of 9 bits and 255 internal nodes
// of 3 bits, 3069 bits, which end in byte 384. InitCompress adds the length word.
constexpr uint32_t kHuffmanAdvertisedOverhead = 388;
constexpr unsigned long long kHuffmanTreeBytes = 384;

void PutLengthWord(void *destination, uint32_t streamLength) {
  auto *out = static_cast<uint8_t *>(destination);
  for (int k = 0; k < 4; ++k) out[k] = uint8_t(streamLength >> (8 * k));
}

uint32_t GetLengthWord(const void *source) {
  const auto *in = static_cast<const uint8_t *>(source);
  return uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
}

uint8_t *PayloadOf(void *destination) {
  return static_cast<uint8_t *>(destination) + kLengthWordSize;
}

// Stores the length word of a stream whose payload is `payload` bytes; returns its length.
unsigned long FinishStream(void *destination, uint32_t payload) {
  PutLengthWord(destination, payload + kLengthWordSize);
  return payload + kLengthWordSize;
}

bool KnownType(eCompressType type) { return type == eHuffman || type == eLZ77 || type == eRLE; }

} // namespace

CImageCompress::CImageCompress() : m_matchTable(nullptr), m_compressType(eHuffman), m_imageSize(0) {}

CImageCompress::~CImageCompress() {
  if (m_matchTable != nullptr) std::free(m_matchTable);
}

CImageCompress &CImageCompress::operator=(const CImageCompress &other) {
  m_matchTable = other.m_matchTable;
  m_compressType = other.m_compressType;
  m_imageSize = other.m_imageSize;
  return *this;
}

unsigned long CImageCompress::InitCompress(eCompressType type, unsigned long size) {
  if (m_matchTable != nullptr) {
    std::free(m_matchTable);
    m_matchTable = nullptr;
  }
  m_compressType = type;
  m_imageSize = uint32_t(size);
  switch (type) {
  case eHuffman:
    return uint32_t(m_imageSize + kHuffmanAdvertisedOverhead);
  case eLZ77: {
    // The size is computed in 64 bits: no entry count can wrap into a short block.
    const unsigned long long bytes = tavrix::detail::Lz77TableEntries(m_imageSize) * 4;
    void *table = bytes <= SIZE_MAX ? std::malloc(size_t(bytes)) : nullptr;
    if (table == nullptr) throw std::bad_alloc();
    m_matchTable = static_cast<uint32_t *>(table);
  }
    [[fallthrough]];
  case eRLE:
    // 32-bit product on purpose: the advertised capacity wraps from 16,711,936 bytes on.
    return (uint32_t(m_imageSize * 257u) >> 8) + 5;
  default:
    return 0;
  }
}

unsigned long long CImageCompress::MaxEncodedSize(eCompressType type, unsigned long long size) {
  switch (type) {
  case eHuffman:
    // Codes average at most 8 + 17/32 bits per byte (docs/compression.md).
    return kLengthWordSize + kHuffmanTreeBytes + (size * 273 + 255) / 256;
  case eLZ77:
  case eRLE:
    return kLengthWordSize + 1 + size + size / 256;
  default:
    return 0;
  }
}

unsigned long CImageCompress::EncodeImage(void *source, void *destination) {
  switch (m_compressType) {
  case eHuffman:
    return EncodeHuffmanImage(source, destination);
  case eLZ77:
    return EncodeLZ77Image(source, destination);
  case eRLE:
    return EncodeRLEImage(source, destination);
  default:
    return 0;
  }
}

unsigned long CImageCompress::EncodeImage(const void *source, void *destination,
                                          unsigned long destinationCapacity) {
  namespace d = tavrix::detail;
  if (!KnownType(m_compressType) || destinationCapacity < kLengthWordSize) return 0;
  if (m_compressType == eLZ77 && m_matchTable == nullptr) return 0;
  void *input = const_cast<void *>(source); // the trusted writers only read it
  if (MaxEncodedSize(m_compressType, m_imageSize) <= destinationCapacity)
    return EncodeImage(input, destination);

  const auto *in = static_cast<const uint8_t *>(source);
  uint8_t *payload = PayloadOf(destination);
  const size_t capacity = destinationCapacity - kLengthWordSize;
  size_t payloadLength = 0;
  bool fits = false;
  switch (m_compressType) {
  case eHuffman:
    fits = d::HuffmanEncodeBounded(in, payload, m_imageSize, capacity, &payloadLength);
    break;
  case eLZ77:
    fits = d::Lz77EncodeBounded(in, payload, m_imageSize, m_matchTable, capacity, &payloadLength);
    break;
  default:
    fits = d::RleEncodeBounded(in, payload, m_imageSize, capacity, &payloadLength);
    break;
  }
  return fits ? FinishStream(destination, uint32_t(payloadLength)) : 0;
}

bool CImageCompress::DecodeImage(void *source, void *destination) {
  switch (m_compressType) {
  case eHuffman:
    return DecodeHuffmanImage(source, destination);
  case eLZ77:
    return DecodeLZ77Image(source, destination);
  case eRLE:
    return DecodeRLEImage(source, destination);
  default:
    return false;
  }
}

bool CImageCompress::DecodeImage(const void *source, unsigned long sourceSize, void *destination,
                                 unsigned long destinationSize) {
  return tavrix::detail::DecodeStreamChecked(m_compressType, m_imageSize, source, sourceSize,
                                             destination, destinationSize);
}

// ---- per-codec framing ----------------------------------------------------------
// Each writer gets the payload area after the length word and returns the payload
// length P; the stream is P + 4 bytes. Each reader gets the payload length from the
// word (minus 4, wrapping as 32-bit arithmetic does) and believes it.

unsigned long CImageCompress::EncodeHuffmanImage(void *source, void *destination) {
  const uint8_t *in = static_cast<const uint8_t *>(source);
  return FinishStream(destination,
                      tavrix::detail::HuffmanEncode(in, PayloadOf(destination), m_imageSize));
}

unsigned long CImageCompress::EncodeLZ77Image(void *source, void *destination) {
  const uint8_t *in = static_cast<const uint8_t *>(source);
  return FinishStream(destination, tavrix::detail::Lz77Encode(in, PayloadOf(destination),
                                                              m_imageSize, m_matchTable));
}

unsigned long CImageCompress::EncodeRLEImage(void *source, void *destination) {
  const uint8_t *in = static_cast<const uint8_t *>(source);
  return FinishStream(destination,
                      tavrix::detail::RleEncode(in, PayloadOf(destination), m_imageSize));
}

bool CImageCompress::DecodeHuffmanImage(void *source, void *destination) {
  tavrix::detail::HuffmanDecode(static_cast<const uint8_t *>(source) + kLengthWordSize,
                                static_cast<uint8_t *>(destination),
                                GetLengthWord(source) - kLengthWordSize, m_imageSize);
  return true;
}

bool CImageCompress::DecodeLZ77Image(void *source, void *destination) {
  tavrix::detail::Lz77Decode(static_cast<const uint8_t *>(source) + kLengthWordSize,
                             static_cast<uint8_t *>(destination),
                             GetLengthWord(source) - kLengthWordSize);
  return true;
}

bool CImageCompress::DecodeRLEImage(void *source, void *destination) {
  tavrix::detail::RleDecode(static_cast<const uint8_t *>(source) + kLengthWordSize,
                            static_cast<uint8_t *>(destination),
                            GetLengthWord(source) - kLengthWordSize);
  return true;
}
