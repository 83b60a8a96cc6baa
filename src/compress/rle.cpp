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

// Marks (bit 7 of each byte) the zero bytes of x, exactly: no carries between bytes.
uint64_t ZeroBytes(uint64_t x) {
  constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
  return ~(((x & kLow7) + kLow7) | x | kLow7);
}

// The first position from `from` on that holds the escape byte or starts four equal
// bytes, or n if none does. Every byte before it belongs to a run of at most 3
// bytes other than the escape, which the payload holds as the bytes themselves.
// Eight positions per step: the masks mark byte k of each word for position i + k.
size_t NextRunOrEscape(const uint8_t *in, size_t from, size_t n, uint8_t escape) {
  const uint64_t escapes = 0x0101010101010101ull * escape;
  size_t i = from;
  for (; i + 11 <= n; i += 8) {
    const uint64_t w0 = Load64(in + i), w1 = Load64(in + i + 1), w2 = Load64(in + i + 2),
                   w3 = Load64(in + i + 3);
    const uint64_t hit = ZeroBytes(w0 ^ escapes) |
                         (ZeroBytes(w0 ^ w1) & ZeroBytes(w1 ^ w2) & ZeroBytes(w2 ^ w3));
    if (hit != 0) return i + FirstMarkedByte(hit);
  }
  for (; i < n; ++i)
    if (in[i] == escape || (i + 3 < n && in[i] == in[i + 1] && in[i] == in[i + 2] && in[i] == in[i + 3]))
      return i;
  return n;
}

template <class Sink> void RleEncodeInto(const uint8_t *input, uint32_t n, Sink &out) {
  if (n == 0) return;
  uint32_t counts[256];
  CountBytes(input, n, counts);
  const uint8_t escape = ChooseEscape(counts);
  out.Put(escape);
  for (uint32_t i = 0; i < n && !out.Overflowed();) {
    const uint32_t next = uint32_t(NextRunOrEscape(input, i, n, escape));
    out.PutSpan(input + i, next - i);
    if (next == n) break;
    i = next;
    const uint8_t value = input[i];
    uint32_t run = uint32_t(RunLength(input + i, n - i));
    i += run;
    for (; run > kMaxChunk; run -= kMaxChunk) PutChunk(out, escape, value, kMaxChunk);
    PutChunk(out, escape, value, run);
  }
}

// Reads a payload. Bytes other than the escape are copied as spans; each escape
// token is read whole, and the checked instance tests every read and write.
template <bool kChecked>
bool RleDecodeInto(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                   size_t outputCapacity) {
  if (payloadLength == 0) return true;
  const uint8_t escape = payload[0];
  PayloadReader<kChecked> in(payload + 1, payloadLength - 1);
  size_t o = 0;
  do { // the end test follows each token: a payload of the escape byte alone still reads one
    const size_t before = o;
    if (!in.CopyLiterals(escape, output, o, outputCapacity)) return false;
    if (o != before && in.AtEnd()) break; // the span was the last token
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
