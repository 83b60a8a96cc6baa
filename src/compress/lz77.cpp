// LZ77 codec. Payload: the escape byte E (least frequent input value), then tokens
//   b (b != E)                          literal b
//   E, 0x00                             literal E
//   E, length (>= 4), distance (>= 1)   copy, both as big-endian base-128 integers
//
// The writer takes at each position the longest earlier match of at least 4 bytes
// anywhere in the input, never overlapping the position (length <= distance) and
// never past the end, the nearest one among equal lengths, and emits it only where
// it is shorter than the literals it replaces (kMaxDistanceForLength).
//
// Two searches give that same match. The reference walks two-byte hash chains to
// their ends and compares byte by byte: quadratic on flat or periodic frames and
// kept for the tests. The fast search walks chains of four-byte keys (a match
// needs four equal bytes anyway) and prunes only what provably cannot win:
//  - a candidate whose limit min(remaining, distance) is below the best length;
//  - everything farther once the best length equals the remaining length;
//  - candidates that fail the four bytes ending at the best length.
// Runs and periodic stretches, where every candidate matches far and the literal
// search compares O(n^2) bytes, are evaluated in closed form:
//  - a run of equal bytes is one chain block: its interior positions link straight
//    to the run's first position, and in a block only one candidate can be the best;
//  - in a stretch of period q the candidates at multiples of q all share one match
//    length, so the best of them is computed once and they are then skipped.
#include "compress/codecs.h"

#include <algorithm>

namespace tavrix::detail {

size_t MatchLength(const uint8_t *a, const uint8_t *b, size_t start, size_t limit) {
  size_t k = start;
  for (; k + 8 <= limit; k += 8) {
    const uint64_t diff = Load64(a + k) ^ Load64(b + k);
    if (diff != 0) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
      return k + size_t(__builtin_clzll(diff) >> 3);
#else
      return k + size_t(__builtin_ctzll(diff) >> 3);
#endif
    }
  }
  while (k < limit && a[k] == b[k]) ++k;
  return std::max(k, start);
}

uint32_t WriteVarLength(uint32_t value, uint8_t *output) {
  uint32_t groups = 1;
  while (groups < 5 && (value >> (7 * groups)) != 0) ++groups;
  for (uint32_t g = groups; g-- > 0;)
    *output++ = uint8_t(((value >> (7 * g)) & 0x7F) | (g != 0 ? 0x80 : 0));
  return groups;
}

uint32_t ReadVarLength(const uint8_t *input, uint32_t *result) {
  uint32_t value = 0;
  uint32_t count = 0;
  uint8_t b;
  do {
    b = input[count++];
    value = value * 128 + (b & 0x7F);
  } while (b & 0x80);
  *result = value;
  return count;
}

namespace {

constexpr uint32_t kMinMatch = 4;
constexpr uint32_t kNoMatch = 3; // best length before any candidate

// A match of length L is emitted only when E, L and the distance take fewer bytes
// than L literals: at most this distance for L = 4..7 (1, 2, 3, 4 distance bytes).
bool WorthEmitting(uint32_t length, uint32_t distance) {
  switch (length) {
  case 0: case 1: case 2: case 3:
    return false;
  case 4:
    return distance <= 127;
  case 5:
    return distance <= 16383;
  case 6:
    return distance <= 2097151;
  case 7:
    return distance <= 268435455;
  default:
    return true;
  }
}

struct Best {
  uint32_t length = kNoMatch;
  uint32_t distance = 0;
  // Longest wins; among equal lengths the nearest (the chains run nearest first,
  // but closed-form groups are offered out of order).
  void Offer(uint32_t length_, uint32_t distance_) {
    if (length_ > length || (length_ == length && distance_ < distance)) {
      length = length_;
      distance = distance_;
    }
  }
};

// ---- reference search: two-byte chains, every candidate compared byte by byte ----

class ReferenceSearch {
public:
  ReferenceSearch(const uint8_t *input, uint32_t n, uint32_t *table)
      : in_(input), heads_(table), chain_(table + kHashHeads) {
    std::fill(heads_, heads_ + kHashHeads, kNoPosition);
    for (uint32_t i = 0; i + 1 < n; ++i) {
      const uint32_t key = uint32_t(in_[i]) << 8 | in_[i + 1];
      chain_[i] = heads_[key];
      heads_[key] = i;
    }
    chain_[n - 1] = kNoPosition;
  }

  Best Find(uint32_t p, uint32_t remaining) const {
    Best best;
    for (uint32_t c = chain_[p]; c != kNoPosition; c = chain_[c]) {
      const uint32_t d = p - c;
      const uint32_t limit = std::min(remaining, d);
      // The quick test at the best length; where the best length already equals
      // the remaining length nothing can be longer, and the byte past the input
      // is not read.
      if (best.length >= remaining || in_[c + best.length] != in_[p + best.length]) continue;
      uint32_t len = 2; // the key already matched bytes 0 and 1
      while (len < limit && in_[p + len] == in_[c + len]) ++len;
      if (len > best.length) best = {len, d};
    }
    return best;
  }

private:
  const uint8_t *in_;
  uint32_t *heads_;
  uint32_t *chain_;
};

// ---- fast search ------------------------------------------------------------------

constexpr uint32_t kRunKeyFactor = 0x01010101u; // a four-byte key of one repeated byte
// Longest period handled in closed form. Periodic frames in practice are flat
// mosaics (period 2, or twice the row length for 2x2 colour cells in rows that
// repeat); longer periods fall back to the chain walk, which stays exact.
constexpr uint32_t kMaxClosedFormPeriod = 64;

uint32_t HashKey(uint32_t key) { return (key * 2654435761u) >> 16; }

class FastSearch {
public:
  FastSearch(const uint8_t *input, uint32_t n, uint32_t *table)
      : in_(input), n_(n), heads_(table), chain_(table + kHashHeads) {
    std::fill(heads_, heads_ + kHashHeads, kNoPosition);
    uint32_t runFirst = 0;
    for (uint32_t i = 0; i + kMinMatch <= n; ++i) {
      const uint32_t key = Load32(in_ + i);
      const uint32_t h = HashKey(key);
      if (IsRunKey(key)) {
        if (i == 0 || in_[i - 1] != in_[i]) runFirst = i;
        if (i != runFirst) {
          chain_[i] = runFirst; // interior of a run block: straight to its first position
          heads_[h] = i;
          continue;
        }
      }
      chain_[i] = heads_[h];
      heads_[h] = i;
    }
  }

  Best Find(uint32_t p, uint32_t remaining) {
    Best best;
    if (remaining < kMinMatch) return best;
    const uint32_t key = Load32(in_ + p);
    uint32_t c = chain_[p];
    uint32_t runLength = 0;
    if (IsRunKey(key)) {
      runLength = RunFrom(p);
      if (IsBlockInterior(p)) {
        // Earlier positions of this run: distance d matches min(d, run) bytes.
        const uint32_t first = chain_[p];
        const uint32_t distance = std::min(runLength, p - first);
        if (distance >= kMinMatch) best.Offer(distance, distance);
        c = chain_[first];
      }
    }
    Period period{};
    bool periodic = false;
    for (; c != kNoPosition; c = chain_[c]) {
      const uint32_t d = p - c;
      if (best.length >= remaining && d >= best.distance) break; // nothing can win any more
      const uint32_t candidateKey = Load32(in_ + c);
      if (IsRunKey(candidateKey)) {
        // We enter a block at its last position; it spans [first, c + 4) of the input.
        const uint32_t first = IsBlockInterior(c) ? chain_[c] : c;
        if (candidateKey == key) OfferRun(p, remaining, first, c + kMinMatch, runLength, best);
        c = first;
        continue;
      }
      if (candidateKey != key) continue; // a hash collision
      if (!periodic && d <= kMaxClosedFormPeriod && best.length == kNoMatch) {
        periodic = true;
        period = PeriodAt(p, d);
        OfferPeriodGroup(p, period, best);
      }
      if (periodic && c >= period.first && d % period.q == 0) continue; // in the group
      const uint32_t limit = std::min(remaining, d);
      if (limit < best.length || (limit == best.length && d >= best.distance)) continue;
      if (d > best.distance || best.length == kNoMatch) {
        // Must be strictly longer: bytes best.length - 3 .. best.length must agree.
        const uint32_t at = best.length - 3;
        if (Load32(in_ + c + at) != Load32(in_ + p + at)) continue;
      }
      best.Offer(uint32_t(MatchLength(in_ + p, in_ + c, kMinMatch, limit)), d);
    }
    return best;
  }

private:
  // A stretch of period q: in[x] == in[x + q] for x in [first, end), and the
  // equality fails at `end` (or end + q is the input's end).
  struct Period {
    uint32_t q;
    uint32_t first;
    uint32_t end;
  };

  static bool IsRunKey(uint32_t key) { return key == (key & 0xFF) * kRunKeyFactor; }

  // Five equal bytes from x - 1: x is a run block position after the first.
  bool IsBlockInterior(uint32_t x) const {
    return x > 0 && in_[x - 1] == in_[x] && IsRunKey(Load32(in_ + x));
  }

  // Length of the run of equal bytes starting at p; positions of one run reuse it.
  uint32_t RunFrom(uint32_t p) {
    if (p < runCacheFrom_ || p >= runEnd_) {
      runCacheFrom_ = p;
      runEnd_ = p + uint32_t(RunLength(in_ + p, n_ - p));
    }
    return runEnd_ - p;
  }

  // The block [first, end) of an earlier run of the byte that also fills
  // in[p, p + runLength). A candidate x sees end - x equal bytes: fewer than the
  // run at p ends its match there, more ends it at runLength, and exactly as many
  // continues past both runs. So the best of the block is x = end - runLength
  // (farther ones tie and lose as farther), or the block's first position when the
  // block is shorter than the run.
  void OfferRun(uint32_t p, uint32_t remaining, uint32_t first, uint32_t end, uint32_t runLength,
                Best &best) const {
    if (end - first < runLength) {
      best.Offer(end - first, p - first);
      return;
    }
    const uint32_t x = end - runLength;
    const uint32_t limit = std::min(remaining, p - x);
    best.Offer(uint32_t(MatchLength(in_ + p, in_ + x, runLength, limit)), p - x);
  }

  Period PeriodAt(uint32_t p, uint32_t q) {
    const Period &cached = period_;
    if (cached.q == q && cached.first + q <= p && p < cached.end + q) return cached;
    Period found{q, p - q, 0};
    found.end = p - q + uint32_t(MatchLength(in_ + p - q, in_ + p, 0, n_ - p));
    while (found.first > 0 && in_[found.first - 1] == in_[found.first - 1 + q]) --found.first;
    period_ = found;
    return found;
  }

  // Candidates x = p - m*q with x >= first share the match length end + q - p:
  // their bytes and p's are linked by steps of q inside the stretch, up to the
  // first failure at end. So the best of them is the nearest multiple at least
  // that long, or the farthest one.
  static void OfferPeriodGroup(uint32_t p, const Period &period, Best &best) {
    const uint32_t q = period.q;
    const uint32_t shared = period.end + q - p; // <= remaining: end + q <= n
    const uint32_t maxMultiple = (p - period.first) / q;
    const uint32_t multiple = std::min((shared + q - 1) / q, maxMultiple);
    if (multiple == 0) return;
    const uint32_t distance = multiple * q;
    const uint32_t length = std::min(shared, distance);
    if (length >= kMinMatch) best.Offer(length, distance);
  }

  const uint8_t *in_;
  uint32_t n_;
  uint32_t *heads_;
  uint32_t *chain_;
  uint32_t runCacheFrom_ = 1, runEnd_ = 0; // empty: no run measured yet
  Period period_{0, 0, 0};
};

// ---- the writer ---------------------------------------------------------------------

template <class Sink> void PutLiteral(Sink &out, uint8_t escape, uint8_t b) {
  out.Put(b);
  if (b == escape) out.Put(0x00);
}

template <class Sink> void PutVarLength(Sink &out, uint32_t value) {
  uint8_t bytes[5];
  const uint32_t count = WriteVarLength(value, bytes);
  for (uint32_t k = 0; k < count; ++k) out.Put(bytes[k]);
}

template <class Search, class Sink>
void Lz77EncodeInto(const uint8_t *input, uint32_t n, uint32_t *table, Sink &out) {
  if (n == 0) return;
  uint32_t counts[256];
  CountBytes(input, n, counts);
  const uint8_t escape = ChooseEscape(counts);
  out.Put(escape);
  Search search(input, n, table);
  uint32_t p = 0, remaining = n;
  do { // runs once even for fewer than 4 bytes
    const Best best = search.Find(p, remaining);
    if (WorthEmitting(best.length, best.distance)) {
      out.Put(escape);
      PutVarLength(out, best.length);
      PutVarLength(out, best.distance);
      p += best.length;
      remaining -= best.length;
    } else {
      PutLiteral(out, escape, input[p]);
      ++p;
      --remaining;
    }
  } while (remaining >= kMinMatch && !out.Overflowed());
  for (; p < n; ++p) PutLiteral(out, escape, input[p]);
}

// ---- the reader ---------------------------------------------------------------------

// Copies byte by byte in increasing order in effect: an overlapping reference
// repeats the bytes it has just written.
void CopyMatch(uint8_t *out, size_t distance, size_t length) {
  const uint8_t *from = out - distance;
  if (distance >= length) {
    std::memcpy(out, from, length);
  } else if (distance >= 8) {
    size_t k = 0;
    for (; k + 8 <= length; k += 8) std::memcpy(out + k, from + k, 8);
    for (; k < length; ++k) out[k] = from[k];
  } else {
    for (size_t k = 0; k < length; ++k) out[k] = from[k];
  }
}

template <bool kChecked>
bool Lz77DecodeInto(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                    size_t outputCapacity) {
  if (payloadLength == 0) return true;
  const uint8_t escape = payload[0];
  PayloadReader<kChecked> in(payload + 1, payloadLength - 1);
  size_t o = 0;
  do { // the end test follows each token
    uint8_t b;
    if (!in.Get(b)) return false;
    if (b == escape) {
      uint8_t next;
      if (!in.Peek(next)) return false;
      if (next != 0) {
        uint32_t length, distance;
        if (!in.GetVarLength(length) || !in.GetVarLength(distance)) return false;
        if (kChecked && (length < kMinMatch || distance == 0 || distance > o ||
                         outputCapacity - o < length))
          return false;
        CopyMatch(output + o, distance, length);
        o += length;
        continue;
      }
      in.Get(next);
    }
    if (kChecked && o == outputCapacity) return false;
    output[o++] = b;
  } while (!in.AtEnd());
  return true;
}

} // namespace

uint32_t Lz77Encode(const uint8_t *input, uint8_t *output, uint32_t n, uint32_t *matchTable) {
  return WriteUnbounded(
      output, [&](auto &out) { Lz77EncodeInto<FastSearch>(input, n, matchTable, out); });
}

bool Lz77EncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, uint32_t *matchTable,
                       size_t capacity, size_t *payloadLength) {
  return WriteBounded(output, capacity, payloadLength, [&](auto &out) {
    Lz77EncodeInto<FastSearch>(input, n, matchTable, out);
  });
}

uint32_t Lz77EncodeReference(const uint8_t *input, uint8_t *output, uint32_t n,
                             uint32_t *matchTable) {
  return WriteUnbounded(
      output, [&](auto &out) { Lz77EncodeInto<ReferenceSearch>(input, n, matchTable, out); });
}

void Lz77Decode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength) {
  Lz77DecodeInto<false>(payload, payloadLength, output, 0);
}

bool Lz77DecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                       size_t outputCapacity) {
  return Lz77DecodeInto<true>(payload, payloadLength, output, outputCapacity);
}

} // namespace tavrix::detail
