// Huffman-style codec with a top-down code: byte values sorted by count (stably, so
// equal counts stay in ascending value order) are split where the running count
// first reaches half the total, recursively. Payload: one bit stream holding the
// tree in preorder, then every input byte's code; the last byte's unused bits keep
// the destination's previous content.
//
// Tree grammar: node  = 1, symbol (8 bits)            a leaf
//                     | 0, left slot, right slot      an internal node
//               slot  = 1, node | 0                   child present or absent
//
// The decoder looks codes up in a table of 14-bit (or 12-bit) prefixes, up to three
// codes per lookup, and searches the length-sorted codes for longer ones; long
// streams decode in two interleaved chains (DecodeTwoChains). It gives what the
// plain linear search (HuffmanDecodeReference) gives: a bit pattern that matches
// no code consumes as many bits as the longest code and produces nothing, and a
// search that passes every code of up to 32 bits and would go on to a leaf deeper
// than that (its code does not fit the search's 32-bit accumulator) ends the
// decoding there. Trees with such leaves decode normally as long as no search
// reaches them.
#include "compress/bit_io.h"

#include <algorithm>
#include <memory>
#include <new>

namespace tavrix::detail {

namespace {

constexpr uint32_t kMaxCodeLength = 32; // code words are 32 bits wide
constexpr unsigned kSymbolBits = 8;
// A full tree: 256 leaves of 9 bits and 255 internal nodes of 3 bits.
constexpr size_t kMaxTreeBytes = (256 * 9 + 255 * 3 + 7) / 8;

struct SymbolEntry {
  uint32_t symbol;
  uint32_t count;
  uint32_t code;
  uint32_t length;
};

void PutBit(BitWriter *writer, uint32_t bit) {
  if (writer != nullptr) writer->Put(bit, 1);
}

// Writes the subtree of entries first..last. The right child continues in the loop
// rather than by recursion. `wrapped` reports a total of 2^32 - 1, whose halving
// (total + 1) >> 1 wraps to 0 in 32 bits: the split would then make no progress.
void WriteCodeTree(SymbolEntry *table, BitWriter *writer, uint32_t code, uint32_t length,
                   uint32_t first, uint32_t last, bool &wrapped) {
  while (first != last) {
    PutBit(writer, 0);
    uint32_t total = 0;
    for (uint32_t k = first; k <= last; ++k) total += table[k].count;
    const uint32_t half = (total + 1) >> 1;
    if (half == 0 && total != 0) {
      wrapped = true;
      return;
    }
    uint32_t i = first, acc = 0;
    if (half > 0) {
      do {
        if (i >= last) break; // the right part keeps at least the last entry
        acc += table[i].count;
        ++i;
      } while (acc < half);
    }
    if (acc > 0) {
      PutBit(writer, 1);
      WriteCodeTree(table, writer, code * 2, length + 1, first, i - 1, wrapped);
      if (wrapped) return;
    } else {
      PutBit(writer, 0);
    }
    if (acc == total) { // nothing occurs on the right: no right child
      PutBit(writer, 0);
      return;
    }
    PutBit(writer, 1);
    first = i;
    code = code * 2 + 1;
    length = length + 1;
  }
  PutBit(writer, 1);
  if (writer != nullptr) writer->Put(table[first].symbol, kSymbolBits);
  table[first].code = code;
  table[first].length = length;
}

// Writes every input byte's code. Codes of up to kFastCodeBits bits go through the
// 64-bit collector, several per store, while the 8 bytes stored stay inside the
// stream's whole bytes (`wholeBytes`); the rest bit by bit as Put does.
void PutCodes(const uint8_t *input, uint32_t n, const CodeTable &table, BitWriter &writer,
              uint64_t wholeBytes) {
  const uint32_t longest = *std::max_element(table.length, table.length + 256);
  if (longest > kMaxCodeLength) {
    for (uint32_t i = 0; i < n; ++i) writer.PutLong(table.code[input[i]], table.length[input[i]]);
    return;
  }
  uint64_t packed[256];
  for (int v = 0; v < 256; ++v) packed[v] = uint64_t(table.code[v]) << 8 | table.length[v];
  const uint32_t done = writer.PutMany(input, n, packed, std::max<uint32_t>(longest, 1), wholeBytes);
  for (uint32_t i = done; i < n; ++i) writer.Put(table.code[input[i]], table.length[input[i]]);
}

uint32_t EncodeWithCounts(const uint8_t *input, uint8_t *output, uint32_t n,
                          const uint32_t counts[256]) {
  CodeTable table;
  BitWriter writer(output);
  if (!BuildCode(counts, table, &writer)) {
    writer.Finish(); // the tree bits written so far stay in the buffer
    return 0;
  }
  uint64_t bits = writer.BitCount();
  for (uint32_t v = 0; v < 256; ++v) bits += uint64_t(counts[v]) * table.length[v];
  PutCodes(input, n, table, writer, bits / 8);
  return uint32_t(writer.Finish());
}

// ---- reading ------------------------------------------------------------------------

struct Leaf {
  uint32_t symbol;
  uint32_t code;
  uint32_t length; // kDeepLeaf: deeper than a 32-bit code
};

constexpr uint32_t kDeepLeaf = kMaxCodeLength + 1;

// Appends the leaves in preorder, left before right, as the recursive walk of the
// grammar does, with an explicit stack. Leaves deeper than 32 bits are kept with
// the length kDeepLeaf: their codes do not fit the 32-bit accumulator of the
// search, which stops at them (see Decode). Only the first 33 levels of the stack
// need their code and length (lengths grow along it); the levels below are all
// deep and only counted. Refuses more than 256 leaves. Bits past the payload read
// as 0, which closes every open node within a few bits.
bool ReadCodeTree(BitReader &in, Leaf *list, uint32_t &count) {
  struct Level {
    uint32_t code, length;
  };
  Level stack[kMaxCodeLength + 1];
  uint32_t shallow = 0;   // levels in `stack`
  uint64_t deepLevels = 0; // deeper levels above them
  uint32_t code = 0, length = 0;
  bool deep = false;
  count = 0;
  // Back to the nearest node still waiting for its right slot; false at the root.
  const auto Up = [&]() {
    if (deepLevels > 0) {
      --deepLevels;
    } else if (shallow > 0) {
      const Level &up = stack[--shallow];
      code = up.code;
      length = up.length;
      deep = false;
    } else {
      return false;
    }
    return true;
  };
  bool leaf = in.Get(1) == 1; // the node being read
  for (;;) {
    if (!leaf) { // an internal node: its left slot, then its right slot
      if (in.Get(1) == 1) { // a left child: descend, resume here afterwards
        if (deep) {
          ++deepLevels;
        } else {
          stack[shallow++] = {code, length};
        }
        code *= 2;
        deep = deep || ++length > kMaxCodeLength;
        leaf = in.Get(1) == 1;
        continue;
      }
    } else {
      if (count == 256) return false;
      const uint32_t symbol = in.Get(kSymbolBits);
      list[count++] = {symbol, code, deep ? kDeepLeaf : length};
      if (!Up()) return true;
    }
    // The right slot of the current internal node.
    while (in.Get(1) == 0) { // no right child: the node is done
      if (!Up()) return true;
    }
    code = code * 2 + 1;
    deep = deep || ++length > kMaxCodeLength;
    leaf = in.Get(1) == 1;
  }
}

// Reads the tree and orders its leaves by length (stable: equal lengths keep
// preorder, which is ascending code order; deep leaves come last).
bool ReadSortedCodes(BitReader &in, Leaf *list, uint32_t &count) {
  if (!ReadCodeTree(in, list, count) || in.Overrun()) return false;
  std::stable_sort(list, list + count,
                   [](const Leaf &a, const Leaf &b) { return a.length < b.length; });
  return true;
}

// Multi-symbol lookup: entry = bits the codes take (bits 0..5, so that the entry
// itself is the shift count), how many codes (6..7), their symbols (8..31, first
// in the low byte); 0 codes where the first code is longer than the table or
// matches nothing.
constexpr unsigned kTableBits = 14; // 16384 entries, 64 KB, mostly in the second-level cache
constexpr uint32_t kMaxPerEntry = 3;

uint32_t EntryCount(uint32_t e) { return (e >> 6) & 3; }
uint32_t EntryBits(uint32_t e) { return e & 63; }

// A narrower table of the same entries: a quarter of the size, so it stays in the
// first-level cache. It wins where the wider one resolves few more codes.
constexpr unsigned kNarrowBits = 12;

struct DecodeTable {
  uint32_t shallow; // leaves of at most 32 bits, first in the list
  uint32_t firstLong; // the first of them longer than kTableBits
  uint32_t firstLongNarrow; // the first of them longer than kNarrowBits
  uint16_t single[1u << kTableBits]; // length << 8 | symbol of the code that starts x
  uint32_t entry[1u << kTableBits];
  uint32_t narrow[1u << kNarrowBits];
};

// The multi-code entries of `bits`-bit prefixes, from the codes in t.single; returns
// the number of codes they hold together.
uint64_t FillEntries(const DecodeTable &t, unsigned bits, uint32_t *entry) {
  const uint32_t size = 1u << bits;
  uint64_t codes = 0;
  for (uint32_t x = 0; x < size; ++x) {
    uint32_t symbols = 0, used = 0, n = 0;
    while (n < kMaxPerEntry) {
      const uint16_t s = t.single[((x << used) & (size - 1)) << (kTableBits - bits)];
      if (s == 0 || (s >> 8) > bits - used) break;
      symbols |= uint32_t(s & 0xFF) << (8 * n);
      used += s >> 8;
      ++n;
    }
    entry[x] = symbols << 8 | n << 6 | used;
    codes += n;
  }
  return codes;
}

// Fills the tables for the codes of at most kTableBits bits of the length-sorted
// leaves. The width is fixed, whatever the longest code: a constant shift in the
// decoding loop.
void BuildTable(const Leaf *list, DecodeTable &t) {
  constexpr uint32_t size = 1u << kTableBits;
  std::fill(t.single, t.single + size, uint16_t(0));
  uint32_t k = 0;
  for (; k < t.shallow && list[k].length <= kTableBits; ++k) {
    const uint32_t shift = kTableBits - list[k].length;
    std::fill(t.single + (list[k].code << shift), t.single + ((list[k].code + 1) << shift),
              uint16_t(list[k].length << 8 | list[k].symbol));
  }
  t.firstLong = k;
  FillEntries(t, kTableBits, t.entry);
}

// The leaf from `first` on (those longer than a table) whose code starts the 32
// bits `ahead`, or t.shallow if none does.
uint32_t FindLongCode(const Leaf *list, const DecodeTable &t, uint32_t ahead, uint32_t first) {
  uint32_t j = first;
  while (j < t.shallow && (ahead >> (kMaxCodeLength - list[j].length)) != list[j].code) ++j;
  return j;
}
uint32_t FindLongCode(const Leaf *list, const DecodeTable &t, uint32_t ahead) {
  return FindLongCode(list, t, ahead, t.firstLong);
}

// Whether every bit string starts with a code of at most 32 bits (the code is
// complete): then every iteration writes a byte.
bool IsComplete(const Leaf *list, uint32_t leaves) {
  uint64_t space = 0;
  for (uint32_t k = 0; k < leaves; ++k)
    if (list[k].length <= kMaxCodeLength) space += uint64_t(1) << (kMaxCodeLength - list[k].length);
    else return false;
  return space == uint64_t(1) << kMaxCodeLength;
}

// ---- complete codes: every bit string starts with a code, every lookup writes ----

constexpr uint32_t kLookups = 4;                       // table lookups per refill
constexpr uint32_t kGroupBytes = kLookups * kMaxPerEntry; // bytes one group writes at most
// Bits one group reads at most.
template <unsigned kBits> constexpr uint32_t kGroupBits = 3 * kBits + kMaxCodeLength;
static_assert(kLookups * kTableBits <= 56, "a refill buffers 56 bits or more");

// The entries of a kBits-bit table and the first leaf longer than it.
template <unsigned kBits> const uint32_t *Entries(const DecodeTable &t) {
  return kBits == kTableBits ? t.entry : t.narrow;
}
template <unsigned kBits> uint32_t FirstLong(const DecodeTable &t) {
  return kBits == kTableBits ? t.firstLong : t.firstLongNarrow;
}

// One refill and up to four lookups; writes at most kGroupBytes bytes at output + o,
// and stores 4 bytes at a time: needs kGroupBytes + 1 bytes of room.
template <unsigned kBits>
inline void DecodeGroup(BitReader &bits, const Leaf *list, const DecodeTable &table,
                        uint8_t *output, size_t &o) {
  const uint32_t *entry = Entries<kBits>(table);
  bits.Refill();
  for (uint32_t step = 0; step < kLookups; ++step) {
    const uint32_t e = entry[bits.PeekSome(kBits)];
    if (EntryCount(e) == 0) { // a code longer than the table
      bits.Refill(); // up to 3 * kBits bits are gone: the code may need 32 more
      const uint32_t j =
          FindLongCode(list, table, bits.Peek(kMaxCodeLength), FirstLong<kBits>(table));
      bits.Skip(list[j].length);
      output[o++] = uint8_t(list[j].symbol);
      return;
    }
    const uint32_t symbols = e >> 8;
    std::memcpy(output + o, &symbols, 4); // little-endian: first symbol first
    o += EntryCount(e);
    bits.Skip(EntryBits(e));
  }
}

// One code.
inline uint8_t DecodeOne(BitReader &bits, const Leaf *list, const DecodeTable &table) {
  bits.Refill();
  if (const uint16_t s = table.single[bits.PeekSome(kTableBits)]; s != 0) {
    bits.Skip(s >> 8);
    return uint8_t(s);
  }
  const uint32_t j = FindLongCode(list, table, bits.Peek(kMaxCodeLength));
  bits.Skip(list[j].length);
  return uint8_t(list[j].symbol);
}

// Two independent chains of lookups for a long stream of a complete code. The first
// decodes from the start (`in`, at the first code) into `output`; the second from
// the middle bit of the rest into scratch, where its first kMarks codes start at
// unknown boundaries. Prefix codes resynchronise: once the first chain starts a
// code exactly where one of those starts, every byte the second chain wrote from
// there on is what the first would write. The first chain looks for that meeting
// code by code; if it never comes, it goes on alone. Either way `in` and `o` leave
// as the single chain would after o bytes, or where they tell the same: whether
// bits past the payload were read.
constexpr uint32_t kMarks = 256;
constexpr uint32_t kTwoChainMinBytes = 16384;

template <unsigned kBits>
void DecodeTwoChains(const uint8_t *payload, size_t payloadLength, const Leaf *list,
                     const DecodeTable &table, uint8_t *output, uint32_t outputCount,
                     BitReader &in, size_t &o) {
  const uint64_t end = uint64_t(payloadLength) * 8;
  const uint64_t begin = in.BitPosition();
  if (outputCount < kTwoChainMinBytes || end < begin + 2 * kMarks * kMaxCodeLength) return;
  std::unique_ptr<uint8_t[]> scratch(new (std::nothrow) uint8_t[outputCount]);
  if (!scratch) return;
  BitReader b(payload, payloadLength, begin + (end - begin) / 2);
  uint64_t marks[kMarks];
  size_t nb = 0;
  for (; nb < kMarks; ++nb) {
    marks[nb] = b.BitPosition();
    scratch[nb] = DecodeOne(b, list, table);
  }
  BitReader a = in; // copies whose addresses are not taken: they stay in registers
  size_t oa = o;
  const auto aRuns = [&]() {
    return a.BitPosition() + kGroupBits<kBits> <= marks[0] && oa + kGroupBytes + 1 <= outputCount;
  };
  // The second chain stays inside the payload, so that no byte it wrote read past it.
  const auto bRuns = [&]() {
    return b.BitPosition() + kGroupBits<kBits> <= end && nb + kGroupBytes + 1 <= outputCount;
  };
  while (aRuns() && bRuns()) {
    DecodeGroup<kBits>(a, list, table, output, oa);
    DecodeGroup<kBits>(b, list, table, scratch.get(), nb);
  }
  while (aRuns()) DecodeGroup<kBits>(a, list, table, output, oa);
  while (bRuns()) DecodeGroup<kBits>(b, list, table, scratch.get(), nb);
  // The first chain, code by code, up to the second chain's marks.
  for (uint32_t r = 0; oa < outputCount;) {
    const uint64_t at = a.BitPosition();
    while (r < kMarks && marks[r] < at) ++r;
    if (r == kMarks) break; // never met: the first chain goes on alone
    if (marks[r] == at) {
      const size_t n = std::min<size_t>(nb - r, outputCount - oa);
      std::memcpy(output + oa, scratch.get() + r, n);
      oa += n;
      // The second chain's reader continues after its bytes; if only some were
      // needed, the first chain's reader stays where they start (both inside the
      // payload, as is the end of every byte the second chain wrote).
      if (n == nb - r) a = b;
      break;
    }
    output[oa++] = DecodeOne(a, list, table);
  }
  in = a;
  o = oa;
}

// Whether the narrow table reads about as many codes a lookup as the wide one
// (less than 1.2 times as many, counted over all entries: the mean for bits that
// follow the code's own lengths); then its first-level cache hits win.
bool UseNarrowTable(const Leaf *list, DecodeTable &t) {
  uint32_t k = 0;
  while (k < t.shallow && list[k].length <= kNarrowBits) ++k;
  t.firstLongNarrow = k;
  uint64_t wide = 0;
  for (uint32_t e : t.entry) wide += EntryCount(e);
  const uint64_t narrow = FillEntries(t, kNarrowBits, t.narrow);
  return 5 * wide < 6 * (uint64_t(1) << (kTableBits - kNarrowBits)) * narrow;
}

// The bytes of a complete code with a kBits-bit table, while whole groups fit.
template <unsigned kBits>
void DecodeComplete(const uint8_t *payload, size_t payloadLength, const Leaf *list,
                    const DecodeTable &table, uint8_t *output, uint32_t outputCount, size_t limit,
                    BitReader &in, size_t &o) {
  if (limit == outputCount)
    DecodeTwoChains<kBits>(payload, payloadLength, list, table, output, outputCount, in, o);
  BitReader bits = in; // a copy whose address is not taken: it stays in registers
  while (outputCount - o >= kGroupBytes && o + kGroupBytes + 1 <= limit)
    DecodeGroup<kBits>(bits, list, table, output, o);
  in = bits;
}

template <bool kChecked>
bool HuffmanDecodeInto(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                       size_t outputCapacity, uint32_t outputCount) {
  if (payloadLength == 0) return true;
  BitReader in(payload, payloadLength);
  Leaf list[256];
  uint32_t leaves;
  if (!ReadSortedCodes(in, list, leaves)) return !kChecked;
  if (leaves == 0 || outputCount == 0) return true; // nothing matches, nothing is read
  uint32_t shallow = 0; // leaves of at most 32 bits, first in the list
  while (shallow < leaves && list[shallow].length <= kMaxCodeLength) ++shallow;
  const uint32_t longest = shallow > 0 ? list[shallow - 1].length : 0;
  if (shallow > 0 && longest == 0) { // a lone leaf at the root: its empty code matches at once
    if (kChecked && outputCapacity < outputCount) return false;
    std::memset(output, int(list[0].symbol), outputCount);
    return true;
  }

  const std::unique_ptr<DecodeTable> tables(new DecodeTable); // 96 KB: not on the stack
  DecodeTable &table = *tables;
  table.shallow = shallow;
  BuildTable(list, table);
  const size_t limit = kChecked ? std::min<size_t>(outputCapacity, outputCount) : outputCount;
  size_t o = 0;
  uint32_t k = 0; // iterations done
  if (IsComplete(list, leaves)) {
    if (UseNarrowTable(list, table))
      DecodeComplete<kNarrowBits>(payload, payloadLength, list, table, output, outputCount, limit, in, o);
    else
      DecodeComplete<kTableBits>(payload, payloadLength, list, table, output, outputCount, limit, in, o);
    k = uint32_t(o);
  }
  for (; k < outputCount; ++k) {
    in.Refill();
    uint32_t symbol;
    if (const uint16_t s = table.single[in.PeekSome(kTableBits)]; s != 0) {
      in.Skip(s >> 8);
      symbol = s & 0xFF;
    } else {
      const uint32_t j = FindLongCode(list, table, in.Peek(kMaxCodeLength));
      if (j == shallow) {
        // No code of up to 32 bits matches. Past them the search would reach a leaf
        // deeper than its 32-bit accumulator: decoding stops there. Otherwise it
        // has read as far as the longest code and writes nothing this iteration.
        if (shallow < leaves) return !kChecked;
        in.Skip(longest);
        if (kChecked && in.Overrun()) return false;
        continue;
      }
      in.Skip(list[j].length);
      symbol = list[j].symbol;
    }
    if (kChecked && o == outputCapacity) return false;
    output[o++] = uint8_t(symbol);
  }
  return !(kChecked && in.Overrun());
}

} // namespace

bool BuildCode(const uint32_t counts[256], CodeTable &code, BitWriter *writer) {
  SymbolEntry table[256];
  for (uint32_t v = 0; v < 256; ++v) table[v] = {v, counts[v], 0, 0};
  std::stable_sort(table, table + 256,
                   [](const SymbolEntry &a, const SymbolEntry &b) { return a.count > b.count; });
  uint32_t last = 255;
  while (last > 0 && table[last].count == 0) --last;
  if (last == 0) last = 1; // one distinct value: the root still gets a (one-child) split
  bool wrapped = false;
  WriteCodeTree(table, writer, 0, 0, 0, last, wrapped);
  if (wrapped) return false;
  // The least frequent of 256 present values is not checked: its sibling subtree is
  // at least as deep, so a code too long there has already failed.
  for (uint32_t k = 0; k < 255; ++k)
    if (table[k].length > kMaxCodeLength) return false;
  for (const SymbolEntry &entry : table) {
    code.code[entry.symbol] = entry.code;
    code.length[entry.symbol] = entry.length;
  }
  return true;
}

uint32_t HuffmanEncode(const uint8_t *input, uint8_t *output, uint32_t n) {
  if (n == 0) return 0;
  uint32_t counts[256];
  CountBytes(input, n, counts);
  return EncodeWithCounts(input, output, n, counts);
}

bool HuffmanEncodeBounded(const uint8_t *input, uint8_t *output, uint32_t n, size_t capacity,
                          size_t *payloadLength) {
  *payloadLength = 0;
  if (n == 0) return true;
  uint32_t counts[256];
  CountBytes(input, n, counts);
  // The payload size is known from the code before any data bit is written.
  CodeTable code;
  uint8_t tree[kMaxTreeBytes + 8];
  BitWriter treeWriter(tree);
  const bool built = BuildCode(counts, code, &treeWriter);
  uint64_t bits = treeWriter.BitCount();
  if (!built) {
    // The stream is the length word alone; the tree bits go where they fit.
    const size_t treeBytes = size_t((bits + 7) / 8);
    if (treeBytes <= capacity) EncodeWithCounts(input, output, n, counts);
    return true;
  }
  for (uint32_t v = 0; v < 256; ++v) bits += uint64_t(counts[v]) * code.length[v];
  if ((bits + 7) / 8 > capacity) return false;
  *payloadLength = EncodeWithCounts(input, output, n, counts);
  return true;
}

void HuffmanDecode(const uint8_t *payload, uint8_t *output, uint32_t payloadLength,
                   uint32_t outputCount) {
  HuffmanDecodeInto<false>(payload, payloadLength, output, 0, outputCount);
}

bool HuffmanDecodeChecked(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                          size_t outputCapacity, uint32_t outputCount) {
  return HuffmanDecodeInto<true>(payload, payloadLength, output, outputCapacity, outputCount);
}

void HuffmanDecodeReference(const uint8_t *payload, uint8_t *output, uint32_t payloadLength,
                            uint32_t outputCount) {
  if (payloadLength == 0) return;
  BitReader in(payload, payloadLength);
  Leaf list[256];
  uint32_t leaves;
  if (!ReadSortedCodes(in, list, leaves)) return;
  for (uint32_t k = 0; k < outputCount; ++k) {
    uint32_t acc = 0, bits = 0; // acc fills from its most significant bit
    for (uint32_t j = 0; j < leaves; ++j) {
      const uint32_t length = list[j].length;
      if (length == kDeepLeaf) return; // beyond the 32-bit accumulator: decoding stops
      if (length > bits) {
        acc |= in.Get(length - bits) << (kMaxCodeLength - length);
        bits = length;
      }
      if (acc == list[j].code << ((kMaxCodeLength - length) & 31)) {
        *output++ = uint8_t(list[j].symbol);
        break;
      }
    }
  }
}

} // namespace tavrix::detail
