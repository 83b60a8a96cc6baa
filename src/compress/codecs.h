// Payload writers and readers of the three codecs. The frame (image_compress.cpp)
// adds and strips the 4-byte length word; everything here sees payloads only.
//
// Each writer exists once, as a template over its output sink: the unbounded sink
// serves the trusted encoder, the bounded one the encoder that is given a capacity.
// Each reader exists once, as a template over `kChecked`: the trusted instance
// believes the stream, the checked one tests every read and write against the
// buffer ends and reports a malformed stream by returning false.
#ifndef TAVRIX_SRC_COMPRESS_CODECS_H
#define TAVRIX_SRC_COMPRESS_CODECS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavrix::detail {

inline uint32_t Load32(const uint8_t *p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline uint64_t Load64(const uint8_t *p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Index of the first byte in memory order whose bit 7 is set in `marks` (not 0).
inline size_t FirstMarkedByte(uint64_t marks) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return size_t(__builtin_clzll(marks) >> 3);
#else
  return size_t(__builtin_ctzll(marks) >> 3);
#endif
}

// n bytes from `from` to `to` (not overlapping), short copies without a call.
inline void CopyBytes(uint8_t *to, const uint8_t *from, size_t n) {
  if (n >= 8 && n <= 16) {
    std::memcpy(to, from, 8);
    std::memcpy(to + n - 8, from + n - 8, 8);
  } else if (n >= 4 && n < 8) {
    std::memcpy(to, from, 4);
    std::memcpy(to + n - 4, from + n - 4, 4);
  } else if (n < 4) {
    for (size_t k = 0; k < n; ++k) to[k] = from[k];
  } else {
    std::memcpy(to, from, n);
  }
}

// ---- output sinks -------------------------------------------------------------

// The caller sized the buffer from MaxEncodedSize: no test per byte.
class UnboundedSink {
public:
  explicit UnboundedSink(uint8_t *out) : begin_(out), pos_(out) {}
  void Put(uint8_t b) { *pos_++ = b; }
  void PutSpan(const uint8_t *p, size_t n) {
    std::memcpy(pos_, p, n);
    pos_ += n;
  }
  bool Overflowed() const { return false; }
  size_t Size() const { return size_t(pos_ - begin_); }

private:
  uint8_t *begin_;
  uint8_t *pos_;
};

// Writes until `capacity` bytes, then only remembers that the payload did not fit.
class BoundedSink {
public:
  BoundedSink(uint8_t *out, size_t capacity) : begin_(out), pos_(out), end_(out + capacity) {}
  void Put(uint8_t b) {
    if (pos_ == end_) {
      overflowed_ = true;
      return;
    }
    *pos_++ = b;
  }
  void PutSpan(const uint8_t *p, size_t n) {
    const size_t fits = std::min(n, size_t(end_ - pos_));
    std::memcpy(pos_, p, fits);
    pos_ += fits;
    overflowed_ = overflowed_ || fits < n;
  }
  bool Overflowed() const { return overflowed_; }
  size_t Size() const { return size_t(pos_ - begin_); }

private:
  uint8_t *begin_;
  uint8_t *pos_;
  uint8_t *end_;
  bool overflowed_ = false;
};

// Runs a payload writer `write(sink)` into `output` through each kind of sink.
template <class Write> uint32_t WriteUnbounded(uint8_t *output, Write write) {
  UnboundedSink out(output);
  write(out);
  return uint32_t(out.Size());
}
template <class Write>
bool WriteBounded(uint8_t *output, size_t capacity, size_t *payloadLength, Write write) {
  BoundedSink out(output, capacity);
  write(out);
  *payloadLength = out.Size();
  return !out.Overflowed();
}

// Reads payload bytes; the checked instance refuses to read past the end, the
// trusted one reads on as the stream says.
template <bool kChecked> class PayloadReader {
public:
  PayloadReader(const uint8_t *p, size_t size) : p_(p), end_(p + size) {}
  bool Get(uint8_t &b) {
    if (kChecked && p_ == end_) return false;
    b = *p_++;
    return true;
  }
  bool Peek(uint8_t &b) const {
    if (kChecked && p_ == end_) return false;
    b = *p_;
    return true;
  }
  // A big-endian base-128 integer of any number of bytes (wrapping modulo 2^32).
  bool GetVarLength(uint32_t &value) {
    value = 0;
    uint8_t b;
    do {
      if (!Get(b)) return false;
      value = value * 128 + (b & 0x7F);
    } while (b & 0x80);
    return true;
  }
  bool AtEnd() const { return p_ >= end_; }
  // Bytes from here to the next `escape` or the payload end (0 at or past the end).
  // The next eight bytes are tested in place: spans are short in noisy data.
  size_t LiteralSpan(uint8_t escape) const {
    if (p_ >= end_) return 0;
    if (end_ - p_ >= 8) {
      constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
      const uint64_t x = Load64(p_) ^ (0x0101010101010101ull * escape);
      const uint64_t zero = ~(((x & kLow7) + kLow7) | x | kLow7); // bit 7 of each zero byte
      if (zero != 0) return FirstMarkedByte(zero);
    }
    const void *found = std::memchr(p_, escape, size_t(end_ - p_));
    return found != nullptr ? size_t(static_cast<const uint8_t *>(found) - p_)
                            : size_t(end_ - p_);
  }
  // Copies the bytes up to the next `escape` (literals of both escape codecs) to
  // output + o and advances both; false if the checked reader finds no room.
  bool CopyLiterals(uint8_t escape, uint8_t *output, size_t &o, size_t outputCapacity) {
    const size_t n = LiteralSpan(escape);
    if (kChecked && outputCapacity - o < n) return false;
    CopyBytes(output + o, p_, n);
    p_ += n;
    o += n;
    return true;
  }

private:
  const uint8_t *p_;
  const uint8_t *end_;
};

// ---- shared by the run-length and LZ77 writers ----------------------------------

// Occurrences of each byte value, in 32-bit counters (an image has fewer than 2^32 bytes).
void CountBytes(const uint8_t *input, uint32_t n, uint32_t counts[256]);

// The least frequent byte value, the smallest one on ties.
uint8_t ChooseEscape(const uint32_t counts[256]);

// ---- run-length codec ---------------------------------------------------------

uint32_t RleEncode(const uint8_t *input, uint8_t *output, uint32_t n);
// Returns false (payload length undefined) when the payload would exceed `capacity`.
bool RleEncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, size_t capacity,
                      size_t *payloadLength);
void RleDecode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength);
bool RleDecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                      size_t outputCapacity);

// ---- LZ77 codec ---------------------------------------------------------------

inline constexpr uint32_t kNoPosition = 0xFFFFFFFFu; // end of a hash chain
inline constexpr size_t kHashHeads = 65536;          // table entries before the chains

// Bits of the fast search's hash heads: 2^bits <= 2n, about two heads per byte.
inline unsigned Lz77HeadBits(uint32_t n) {
  unsigned bits = 0;
  while (bits < 32 && (uint64_t(2) << bits) <= 2 * uint64_t(n)) ++bits;
  return bits;
}

// Entries of the table that InitCompress(eLZ77, n) allocates: the 65536 heads and n
// chain links of the literal search (the fast search reuses the links for its
// 5-byte keys), then 4n for the fast search (a chain of 6-byte keys, the positions
// sorted by their 8-byte keys, each position's place among them, the bucket ends;
// the hash heads that build the chains use the space of the last three): 16 bytes
// per input byte beyond the first 65536 + n entries.
inline uint64_t Lz77TableEntries(uint32_t n) {
  return kHashHeads + 5 * uint64_t(n);
}

// `matchTable` holds Lz77TableEntries(n) entries; the literal search uses the first 65536 + n.
uint32_t Lz77Encode(const uint8_t *input, uint8_t *output, uint32_t n, uint32_t *matchTable);
bool Lz77EncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, uint32_t *matchTable,
                       size_t capacity, size_t *payloadLength);
// The same payload from the literal search (every chain walked byte by byte):
// the reference the fast search is tested against.
uint32_t Lz77EncodeReference(const uint8_t *input, uint8_t *output, uint32_t n,
                             uint32_t *matchTable);
void Lz77Decode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength);
bool Lz77DecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                       size_t outputCapacity);

// Big-endian base-128 integers: fewest bytes on writing, any number on reading
// (the value wraps modulo 2^32).
uint32_t WriteVarLength(uint32_t value, uint8_t *output);
uint32_t ReadVarLength(const uint8_t *input, uint32_t *result);

// ---- Huffman codec ------------------------------------------------------------

class BitWriter;

// Code of every byte value, built from the byte counts.
struct CodeTable {
  uint32_t code[256];   // right-aligned code bits
  uint32_t length[256]; // 0: no code
};

// Builds the code for the byte counts (not all 0) by splitting the count-sorted
// values top-down, and writes the tree bits through `writer` unless it is null.
// Returns false when one of the 255 most frequent values gets a code longer than 32
// bits, or when the counts add up to 2^32 - 1 (halving the root weight wraps to 0
// in 32 bits and the split would never end).
bool BuildCode(const uint32_t counts[256], CodeTable &table, BitWriter *writer);

uint32_t HuffmanEncode(const uint8_t *input, uint8_t *output, uint32_t n);
bool HuffmanEncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, size_t capacity,
                          size_t *payloadLength);
void HuffmanDecode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength,
                   uint32_t outputCount);
bool HuffmanDecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                          size_t outputCapacity, uint32_t outputCount);
// The plain reader (per output byte a linear search of the length-sorted codes,
// bits fetched as longer codes are tried): the reference of the table-driven one.
void HuffmanDecodeReference(const uint8_t *payload, uint8_t *output, uint32_t payloadLength,
                            uint32_t outputCount);

// ---- small helpers --------------------------------------------------------------

// Number of leading bytes equal in a and b, from `start` up to `limit` (start itself
// if start >= limit), eight bytes per comparison. Reads a and b below `limit` only.
size_t MatchLength(const uint8_t *a, const uint8_t *b, size_t start, size_t limit);

// Number of bytes from p[0] on that equal p[0], at most `limit` (limit >= 1).
size_t RunLength(const uint8_t *p, size_t limit);

} // namespace tavrix::detail

#endif
