// Run-length codec. Payload: the escape byte E (least frequent input value), then
// tokens:  b (b != E)            one byte b
//          E, n        (n < 3)   n + 1 bytes E
//          E, n, v     (3..127)  n + 1 bytes v
//          E, h, l, v  (h >= 128) ((h & 0x7F) * 256 + l) + 1 bytes v
// The writer cuts runs into chunks of at most 32768 bytes and uses the two-byte
// count only above 128, so a payload never exceeds n + n/256 + 1 bytes: every chunk
// costs at most its own length, except a chunk of 1 to 3 escape bytes, which costs
// at most one byte more and holds at least one of the at most n/256 escape bytes.
#include "compress/codecs.h"

namespace tavrix::detail {

void CountBytes(const uint8_t *input, uint32_t n, uint32_t counts[256]) {
  // Four interleaved histograms keep consecutive equal bytes (flat frames) from
  // serialising on one counter.
  uint32_t partial[4][256] = {};
  uint32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    ++partial[0][input[i]];
    ++partial[1][input[i + 1]];
    ++partial[2][input[i + 2]];
    ++partial[3][input[i + 3]];
  }
  for (; i < n; ++i) ++partial[0][input[i]];
  for (int v = 0; v < 256; ++v)
    counts[v] = partial[0][v] + partial[1][v] + partial[2][v] + partial[3][v];
}

uint8_t ChooseEscape(const uint32_t counts[256]) {
  int best = 0;
  for (int v = 1; v < 256; ++v)
    if (counts[v] < counts[best]) best = v; // strictly smaller: the smallest value wins ties
  return uint8_t(best);
}

size_t RunLength(const uint8_t *p, size_t limit) {
  const uint64_t pattern = 0x0101010101010101ull * p[0];
  size_t k = 0;
  for (; k + 8 <= limit; k += 8) {
    const uint64_t diff = Load64(p + k) ^ pattern;
    if (diff != 0) return k + size_t(__builtin_ctzll(diff) >> 3);
  }
  while (k < limit && p[k] == p[0]) ++k;
  return k;
}

namespace {

constexpr uint32_t kMaxChunk = 32768;    // longest run one token carries
constexpr uint32_t kMaxShortCount = 128; // longest run of the one-byte count form
constexpr uint32_t kMinRunToken = 4;     // shorter runs of a non-escape byte stay literal

template <class Sink> void PutChunk(Sink &out, uint8_t escape, uint8_t value, uint32_t length) {
  if (length >= kMinRunToken) {
    const uint32_t count = length - 1;
    out.Put(escape);
    if (length <= kMaxShortCount) {
      out.Put(uint8_t(count));
    } else {
      out.Put(uint8_t(0x80 | (count >> 8)));
      out.Put(uint8_t(count & 0xFF));
    }
    out.Put(value);
  } else if (value == escape) {
    out.Put(escape);
    out.Put(uint8_t(length - 1));
  } else {
    for (uint32_t k = 0; k < length; ++k) out.Put(value);
  }
}

template <class Sink> void RleEncodeInto(const uint8_t *input, uint32_t n, Sink &out) {
  if (n == 0) return;
  uint32_t counts[256];
  CountBytes(input, n, counts);
  const uint8_t escape = ChooseEscape(counts);
  out.Put(escape);
  for (uint32_t i = 0; i < n && !out.Overflowed();) {
    const uint8_t value = input[i];
    uint32_t run = uint32_t(RunLength(input + i, n - i));
    i += run;
    for (; run > kMaxChunk; run -= kMaxChunk) PutChunk(out, escape, value, kMaxChunk);
    PutChunk(out, escape, value, run);
  }
}

template <bool kChecked>
bool RleDecodeInto(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                   size_t outputCapacity) {
  if (payloadLength == 0) return true;
  PayloadReader<kChecked> in(payload + 1, payloadLength - 1);
  const uint8_t escape = payload[0];
  size_t o = 0;
  do { // the end test follows each token: a payload of the escape byte alone still reads one
    uint8_t b;
    if (!in.Get(b)) return false;
    size_t copies = 1;
    if (b == escape) {
      uint8_t n;
      if (!in.Get(n)) return false;
      if (n < 3) {
        copies = size_t(n) + 1;
      } else {
        size_t m = n;
        if (n & 0x80) {
          uint8_t low;
          if (!in.Get(low)) return false;
          m = size_t(n & 0x7F) * 256 + low;
        }
        if (!in.Get(b)) return false;
        copies = m + 1;
      }
    }
    if (kChecked && outputCapacity - o < copies) return false;
    std::memset(output + o, b, copies);
    o += copies;
  } while (!in.AtEnd());
  return true;
}

} // namespace

uint32_t RleEncode(const uint8_t *input, uint8_t *output, uint32_t n) {
  return WriteUnbounded(output, [&](auto &out) { RleEncodeInto(input, n, out); });
}

bool RleEncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, size_t capacity,
                      size_t *payloadLength) {
  return WriteBounded(output, capacity, payloadLength,
                      [&](auto &out) { RleEncodeInto(input, n, out); });
}

void RleDecode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength) {
  RleDecodeInto<false>(payload, payloadLength, output, 0);
}

bool RleDecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                      size_t outputCapacity) {
  return RleDecodeInto<true>(payload, payloadLength, output, outputCapacity);
}

} // namespace tavrix::detail
