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
// kept for the tests. The fast search looks at positions that share the first 4 to
// 8 bytes (a match needs four equal bytes anyway) and prunes only what provably
// cannot win:
//  - a candidate whose limit min(remaining, distance) is below the best length;
//  - everything farther once the best length equals the remaining length;
//  - candidates that fail the four bytes ending at the best length.
// Runs and periodic stretches, where every candidate matches far and the literal
// search compares O(n^2) bytes, are evaluated in closed form:
//  - a run of equal bytes is one block, met at its first and last positions only,
//    and in a block only one candidate can be the best;
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
//
// A candidate's value is min(common prefix, distance, remaining): one that shares k
// bytes and lies at least k back is worth at least k. So the search asks, from the
// top, for the best value in each band, and stops at the first band that has one:
//  - 8 or more: the positions sharing their first 8 bytes (a bucket of positions
//    sorted by that key), read whole with the prunings and closed forms below;
//  - 6 or 7: the 6-byte chain, walked until a 7;
//  - 5: the nearest position at least 5 back on the 5-byte chain;
//  - 4: the nearest position 4 to 127 back with the same 4 bytes, by a scan. A
//    farther one would be the best, but a match of 4 that far is never emitted
//    (a literal is written as when there is no match), so it need not be found.
// Chains run nearest first and are built through a hash table of about two heads
// per input byte; a chain may hold positions of other keys hashed alike, which the
// walks skip after comparing the bytes. The walks of the next positions are
// prefetched: the chains reach back over the whole input, far beyond the caches.

constexpr uint32_t kTopKey = 8;                           // bytes of the long-match key
constexpr uint64_t kRunKeyFactor = 0x0101010101010101ull; // a key of one repeated byte
constexpr uint32_t kShortWindow = 127; // the farthest a match of 4 is emitted from
constexpr uint32_t kPrefetchAhead = 16; // positions; covers the memory latency here
constexpr uint32_t kWalkPrefetch = 4;   // bucket entries a walk loads ahead
// Longest period handled in closed form. Periodic frames in practice are flat
// mosaics (period 2, or twice the row length for 2x2 colour cells in rows that
// repeat); longer periods fall back to the chain walk, which stays exact.
constexpr uint32_t kMaxClosedFormPeriod = 64;

// The first k bytes at p (k <= 8) as an integer; p + k must be inside the input.
template <uint32_t k> uint64_t KeyAt(const uint8_t *p) {
  uint64_t key = 0;
  std::memcpy(&key, p, k);
  return key;
}

// Hash of a key into `bits` bits (0 to 32).
uint32_t HashKey(uint64_t key, unsigned bits) {
  return uint32_t((key * 0x9E3779B97F4A7C15ull) >> (63 - bits) >> 1);
}

void Prefetch(const void *p) {
#if defined(__GNUC__)
  __builtin_prefetch(p);
#else
  (void)p;
#endif
}

// Links every position i with i + k <= n to the previous position of its hash.
template <uint32_t k>
void BuildChain(const uint8_t *in, uint32_t n, uint32_t *chain, uint32_t *heads, unsigned bits) {
  std::fill(heads, heads + (size_t(1) << bits), kNoPosition);
  for (uint32_t i = 0; i + k <= n; ++i) {
    if (i + kPrefetchAhead + k <= n) Prefetch(heads + HashKey(KeyAt<k>(in + i + kPrefetchAhead), bits));
    const uint32_t h = HashKey(KeyAt<k>(in + i), bits);
    chain[i] = heads[h];
    heads[h] = i;
  }
}

class FastSearch {
public:
  // Table layout behind the literal search's 65536 heads: the 5-byte chain (where
  // the literal search keeps its links), the 6- and 8-byte chains, the heads.
  FastSearch(const uint8_t *input, uint32_t n, uint32_t *table)
      : in_(input), n_(n), chain5_(table + kHashHeads), chain6_(chain5_ + n),
        order_(chain6_ + n), from_(order_ + n), bucketEnds_(from_ + n) {
    uint32_t *heads = order_; // the 2n entries of order_ and from_, free until BuildTopOrder
    const unsigned bits = Lz77HeadBits(n);
    BuildChain<5>(in_, n, chain5_, heads, bits);
    BuildChain<6>(in_, n, chain6_, heads, bits);
    BuildTopOrder();
    std::fill(nearHeads_, nearHeads_ + (1u << kNearHashBits), kNoPosition);
  }

  Best Find(uint32_t p, uint32_t remaining) {
    PrefetchWalks(p);
    Best best;
    // A position without an earlier one of its 6-byte hash has none sharing 8 bytes.
    if (remaining >= kTopKey && chain6_[p] != kNoPosition) best = FindLong(p, remaining);
    if (best.length >= kTopKey) return best;
    if (remaining >= 6) FindSix(p, remaining, best);
    if (best.length >= 6) return best;
    if (remaining >= 5) FindFive(p, best);
    if (best.length >= 5) return best;
    FindFour(p, best); // remaining >= 4 here
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

  // For the search at p + 16: the first candidate of each chain, its bytes and its
  // link, and the first bucket entry's bytes; for the search at p + 32 the bucket
  // entry itself (its bytes follow 16 positions later, once it is in the cache).
  void PrefetchWalks(uint32_t p) const {
    const uint32_t near = p + kPrefetchAhead, far = near + kPrefetchAhead;
    if (far + kTopKey <= n_) {
      const uint32_t k = from_[far];
      if ((k & emptyFlag_) == 0 && k > 0 && chain6_[far] != kNoPosition) Prefetch(order_ + k - 1);
    }
    if (near + kTopKey > n_) return;
    for (const uint32_t *chain : {chain5_, chain6_}) {
      const uint32_t c = chain[near];
      if (c == kNoPosition) continue;
      Prefetch(in_ + c);
      Prefetch(chain + c);
    }
    const uint32_t j = from_[near];
    if ((j & emptyFlag_) == 0 && j > 0 && chain6_[near] != kNoPosition) Prefetch(in_ + (order_[j - 1] & ~emptyFlag_));
  }


  // Candidates of value 6 or 7 (none is worth 8 or more here).
  void FindSix(uint32_t p, uint32_t remaining, Best &best) const {
    const uint32_t most = std::min(kTopKey - 1, remaining);
    for (uint32_t c = chain6_[p]; c != kNoPosition; c = chain6_[c]) {
      const uint32_t d = p - c;
      if (d < 6) continue;
      if (best.length >= most && d >= best.distance) return;
      const uint32_t value = uint32_t(MatchLength(in_ + p, in_ + c, 0, std::min(most, d)));
      if (value >= 6) best.Offer(value, d);
    }
  }

  // The nearest candidate at least 5 back that shares 5 bytes: worth exactly 5 when
  // nothing is worth more.
  void FindFive(uint32_t p, Best &best) const {
    const uint64_t key = KeyAt<5>(in_ + p);
    for (uint32_t c = chain5_[p]; c != kNoPosition; c = chain5_[c]) {
      if (p - c >= 5 && KeyAt<5>(in_ + c) == key) {
        best.Offer(5, p - c);
        return;
      }
    }
  }

  // The nearest candidate 4 to 127 back that shares 4 bytes, through a small hash
  // of the last positions, filled as the coder advances.
  void FindFour(uint32_t p, Best &best) {
    if (p < kMinMatch) return;
    const uint32_t upTo = p - kMinMatch + 1; // positions before it are candidates
    for (uint32_t i = std::max(nearNext_, upTo > kNearLinks ? upTo - kNearLinks : 0); i < upTo; ++i) {
      const uint32_t h = HashKey(Load32(in_ + i), kNearHashBits);
      nearLinks_[i % kNearLinks] = nearHeads_[h];
      nearHeads_[h] = i;
    }
    nearNext_ = std::max(nearNext_, upTo);
    const uint32_t key = Load32(in_ + p);
    for (uint32_t c = nearHeads_[HashKey(key, kNearHashBits)];
         c != kNoPosition && p - c <= kShortWindow; c = nearLinks_[c % kNearLinks]) {
      if (Load32(in_ + c) == key) {
        best.Offer(kMinMatch, p - c);
        return;
      }
    }
  }

  // ---- values of 8 or more: positions by their first 8 bytes ----------------------
  // The positions are sorted by the hash of their first 8 bytes (a counting sort),
  // in increasing order within a bucket: a walk reads its bucket backwards from the
  // searched position, a sequential scan whose input loads do not wait on each
  // other (a linked chain's do). A run of equal bytes is one block, entered at its
  // first and last positions (adjacent in the bucket); in a block only one candidate
  // can be the best. In a stretch of period q the candidates at multiples of q all
  // share one match length, so the best of them is computed once and they are then
  // skipped.
  //  order_:      the bucket entries, bucket after bucket;
  //  from_[i]:    index in order_ of i, or of the first position of i's run block
  //               when i lies inside one; the walk from i reads the entries below it;
  //  bucketEnds_: one past each bucket's last entry.

  uint32_t BucketOf(uint64_t key) const { return HashKey(key, bucketBits_); }

  // Whether position i (i + 8 <= n) is a bucket entry: all but the inner positions
  // of run blocks (the last one stays, to be met from later positions).
  bool IsEntry(uint32_t i) const {
    if (!IsBlockInterior(i)) return true;
    return i + kTopKey + 1 > n_ || in_[i + kTopKey] != in_[i];
  }

  void BuildTopOrder() {
    while ((uint64_t(2) << bucketBits_) <= n_) ++bucketBits_;
    emptyFlag_ = n_ < 0x80000000u ? 0x80000000u : 0; // indices below 2^31 leave the top bit
    const uint32_t buckets = 1u << bucketBits_;
    std::fill(bucketEnds_, bucketEnds_ + buckets, 0u);
    if (n_ < kTopKey) return;
    const uint32_t last = n_ - kTopKey; // last position with a key
    for (uint32_t i = 0; i <= last; ++i) {
      if (i + kPrefetchAhead <= last) Prefetch(bucketEnds_ + BucketOf(Load64(in_ + i + kPrefetchAhead)));
      if (IsEntry(i)) ++bucketEnds_[BucketOf(Load64(in_ + i))];
    }
    // Bucket starts, advanced to the ends as entries are placed; the flag marks a
    // bucket that has none placed yet.
    uint32_t sum = 0;
    for (uint32_t b = 0; b < buckets; ++b) {
      const uint32_t count = bucketEnds_[b];
      bucketEnds_[b] = sum | emptyFlag_;
      sum += count;
    }
    uint32_t blockFirst = 0; // from_ of the current run block's first position
    for (uint32_t i = 0; i <= last; ++i) {
      if (i + kPrefetchAhead <= last) Prefetch(bucketEnds_ + BucketOf(Load64(in_ + i + kPrefetchAhead)));
      const bool inner = IsBlockInterior(i);
      if (inner && !IsEntry(i)) {
        from_[i] = blockFirst;
        continue;
      }
      uint32_t &end = bucketEnds_[BucketOf(Load64(in_ + i))];
      const uint32_t entry = end; // index, flagged when it is the bucket's first
      const uint32_t k = entry & ~emptyFlag_;
      end = k + 1;
      order_[k] = i | (entry & emptyFlag_);
      from_[i] = inner ? blockFirst : entry;
      if (!inner) blockFirst = entry;
    }
  }

  Best FindLong(uint32_t p, uint32_t remaining) {
    Best best;
    const uint64_t key = Load64(in_ + p);
    const uint32_t bucket = BucketOf(key);
    const uint32_t from = from_[p];
    uint32_t k = from & ~emptyFlag_; // the entries of p's bucket below k precede p
    uint32_t runLength = 0;
    if (IsRunKey(key)) {
      runLength = RunFrom(p);
      if (IsBlockInterior(p)) {
        // Earlier positions of this run: distance d matches min(d, run) bytes.
        const uint32_t first = order_[k] & ~emptyFlag_;
        const uint32_t distance = std::min(runLength, p - first);
        if (distance >= kMinMatch) best.Offer(distance, distance);
      }
    }
    if ((from & emptyFlag_) != 0) k = 0; // none do
    Period period{};
    bool periodic = false;
    bool bucketDone = false; // the bucket's first entry has been read
    while (k > 0 && !bucketDone) {
      const uint32_t entry = order_[--k];
      const uint32_t c = entry & ~emptyFlag_;
      bucketDone = (entry & emptyFlag_) != 0;
      if (!bucketDone && k >= kWalkPrefetch) Prefetch(in_ + (order_[k - kWalkPrefetch] & ~emptyFlag_));
      const uint32_t d = p - c;
      if (best.length >= remaining && d >= best.distance) break; // nothing can win any more
      const uint64_t candidateKey = Load64(in_ + c);
      if (BucketOf(candidateKey) != bucket) break; // past the bucket's first entry
      if (IsRunKey(candidateKey)) {
        // A block spans [first, c + 8) of the input; its first position precedes c.
        uint32_t first = c;
        if (IsBlockInterior(c)) {
          const uint32_t firstEntry = order_[--k];
          first = firstEntry & ~emptyFlag_;
          bucketDone = (firstEntry & emptyFlag_) != 0;
        }
        if (candidateKey == key) OfferRun(p, remaining, first, c + kTopKey, runLength, best);
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

  static bool IsRunKey(uint64_t key) { return key == (key & 0xFF) * kRunKeyFactor; }

  // Nine equal bytes from x - 1: x is a run block position after the first.
  bool IsBlockInterior(uint32_t x) const {
    return x > 0 && in_[x - 1] == in_[x] && IsRunKey(Load64(in_ + x));
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
  uint32_t *chain5_, *chain6_;
  uint32_t *order_, *from_, *bucketEnds_; // values of 8 or more
  unsigned bucketBits_ = 0;
  uint32_t emptyFlag_ = 0; // on from_: no earlier entry in the bucket
  // Positions of the last kNearLinks bytes by their 4-byte key (FindFour).
  static constexpr unsigned kNearHashBits = 12;
  static constexpr uint32_t kNearLinks = 128; // > kShortWindow: a link outlives the window
  uint32_t nearHeads_[1u << kNearHashBits];
  uint32_t nearLinks_[kNearLinks];
  uint32_t nearNext_ = 0; // next position to enter
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

// Copies `length` bytes from `distance` back, with the effect of a byte-by-byte copy
// in increasing order: an overlapping reference repeats the bytes it has just
// written. Once k bytes are out, the first k + distance bytes from out - distance
// repeat with period `distance`, so each step copies that many, without overlap.
void CopyMatch(uint8_t *out, size_t distance, size_t length) {
  const uint8_t *from = out - distance;
  if (distance >= length) {
    CopyBytes(out, from, length);
    return;
  }
  for (size_t k = 0; k < length;) {
    const size_t chunk = std::min(k + distance, length - k);
    CopyBytes(out + k, from, chunk);
    k += chunk;
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
    const size_t before = o;
    if (!in.CopyLiterals(escape, output, o, outputCapacity)) return false;
    if (o != before && in.AtEnd()) break; // the span was the last token
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
