// Bit streams of the Huffman codec: most significant bit of each byte first, and a
// value of n bits is written and read from its bit n - 1 down.
#ifndef TAVRIX_SRC_COMPRESS_BIT_IO_H
#define TAVRIX_SRC_COMPRESS_BIT_IO_H

#include "compress/codecs.h"

namespace tavrix::detail {

// A 64-bit word as the big-endian bytes of the stream see it.
inline uint64_t ByteSwapped(uint64_t v) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return v;
#else
  return __builtin_bswap64(v);
#endif
}

// Collects bits in a 64-bit word and stores whole bytes. The stream's last byte is
// merged into the destination: its bits past the end keep their previous content,
// as if every bit had been cleared and set one by one.
class BitWriter {
public:
  explicit BitWriter(uint8_t *out) : out_(out) {}

  // n <= 32; the bits of value above n are ignored.
  void Put(uint32_t value, unsigned n) {
    if (n == 0) return;
    const uint64_t bits = uint64_t(value) & (~uint64_t(0) >> (64 - n));
    acc_ |= bits << (64 - count_ - n);
    count_ += n;
    if (count_ >= 32) {
      for (int k = 0; k < 4; ++k) out_[k] = uint8_t(acc_ >> (56 - 8 * k));
      out_ += 4;
      bytes_ += 4;
      acc_ <<= 32;
      count_ -= 32;
    }
  }

  // Writes the codes of input[0], input[1], ... several per 8-byte store, for as
  // long as a store stays inside the stream's first `wholeBytes` bytes, which are
  // all rewritten later. packed[b] = code << 8 | length (length 1 to `longest`,
  // at most 32). Returns how many bytes it coded; Put goes on from there.
  uint32_t PutMany(const uint8_t *input, uint32_t n, const uint64_t packed[256], uint32_t longest,
                   uint64_t wholeBytes) {
    // Codes per store: a store leaves at most 7 bits pending, and takes at most 63.
    const uint32_t perStore = (63 - 7) / longest;
    uint64_t bits = count_ == 0 ? 0 : acc_ >> (64 - count_); // right-aligned, garbage above
    unsigned used = count_;
    uint32_t i = 0;
    while (n - i >= perStore && bytes_ + 8 <= wholeBytes) {
      const uint64_t word = ByteSwapped(bits << 1 << (63 - used));
      std::memcpy(out_, &word, 8);
      out_ += used >> 3;
      bytes_ += used >> 3;
      used &= 7;
      for (uint32_t k = 0; k < perStore; ++k, ++i) {
        const uint64_t e = packed[input[i]];
        bits = bits << (e & 63) | e >> 8;
        used += unsigned(e & 63);
      }
    }
    acc_ = used == 0 ? 0 : bits << (64 - used);
    count_ = used;
    StoreWholeBytes();
    return i;
  }

  // Any length; bits above 32 are zero (a 32-bit code word holds the rest).
  void PutLong(uint32_t value, uint32_t n) {
    for (; n > 32; n -= 32) Put(0, 32);
    Put(value, unsigned(n));
  }

  // Stores the whole bytes collected, one at a time, touching only those.
  void StoreWholeBytes() {
    while (count_ >= 8) {
      *out_++ = uint8_t(acc_ >> 56);
      acc_ <<= 8;
      count_ -= 8;
      ++bytes_;
    }
  }

  // Stores the pending bits and returns the number of bytes touched.
  uint64_t Finish() {
    StoreWholeBytes();
    if (count_ > 0) {
      const uint8_t keep = uint8_t(0xFF >> count_);
      *out_ = uint8_t((*out_ & keep) | uint8_t(acc_ >> 56));
      ++bytes_;
      acc_ = 0;
      count_ = 0;
      ++out_;
    }
    return bytes_;
  }

  uint64_t BitCount() const { return bytes_ * 8 + count_; }

private:
  uint8_t *out_;
  uint64_t acc_ = 0;
  unsigned count_ = 0; // pending bits, from bit 63 of acc_ down
  uint64_t bytes_ = 0;
};

// Reads a payload of known length. Bits past its end read as 0, so that peeking
// ahead never touches memory past the payload; Overrun() tells whether any bit
// past the end was consumed.
class BitReader {
public:
  BitReader(const uint8_t *payload, size_t size) : in_(payload), size_(size) {}
  // Starts at bit `offset` of the payload (which may lie past its end).
  BitReader(const uint8_t *payload, size_t size, uint64_t offset)
      : in_(payload), size_(size), pos_(size_t(offset >> 3)) {
    Refill();
    Skip(unsigned(offset & 7));
  }

  // At least 57 bits are buffered afterwards.
  void Refill() {
    if (pos_ <= size_ && size_ - pos_ >= 8) {
      buf_ |= ByteSwapped(Load64(in_ + pos_)) >> count_;
      pos_ += (63 - count_) >> 3;
      count_ |= 56;
      return;
    }
    while (count_ <= 56) {
      const uint64_t b = pos_ < size_ ? in_[pos_] : 0;
      ++pos_;
      buf_ |= b << (56 - count_);
      count_ += 8;
    }
  }

  // The next n bits (n <= 32) without consuming them; needs a Refill since the
  // last 25 or more consumed bits.
  uint32_t Peek(unsigned n) const { return n == 0 ? 0 : uint32_t(buf_ >> (64 - n)); }
  // The same for 1 <= n (no test for 0).
  uint32_t PeekSome(unsigned n) const { return uint32_t(buf_ >> (64 - n)); }
  void Skip(unsigned n) {
    buf_ <<= n;
    count_ -= n;
  }
  uint32_t Get(unsigned n) {
    if (count_ < n) Refill();
    const uint32_t v = Peek(n);
    Skip(n);
    return v;
  }
  // Bits consumed from the payload's start.
  uint64_t BitPosition() const { return uint64_t(pos_) * 8 - count_; }
  // Whether any bit past the payload has been consumed.
  bool Overrun() const { return uint64_t(pos_) * 8 - count_ > uint64_t(size_) * 8; }

private:
  const uint8_t *in_;
  size_t size_;
  size_t pos_ = 0; // next byte to buffer; may pass size_ (those bytes read as 0)
  uint64_t buf_ = 0;
  unsigned count_ = 0; // buffered bits, from bit 63 of buf_ down
};

} // namespace tavrix::detail

#endif
