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
// The decoder resolves codes of up to kTableBits bits with one table lookup and
// longer ones by a search of the length-sorted codes; a bit pattern that matches no
// code consumes as many bits as the longest code and produces nothing, as the plain
// linear search (HuffmanDecodeReference) does.
#include "compress/bit_io.h"

#include <algorithm>

namespace tavrix::detail {

namespace {

constexpr uint32_t kMaxCodeLength = 32; // code words are 32 bits wide
constexpr unsigned kSymbolBits = 8;
constexpr unsigned kTableBits = 11;     // 2^11 entries (4 KB) cover the codes of most images
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

uint32_t EncodeWithCounts(const uint8_t *input, uint8_t *output, uint32_t n,
                          const uint32_t counts[256]) {
  CodeTable table;
  BitWriter writer(output);
  if (!BuildCode(counts, table, &writer)) {
    writer.Finish(); // the tree bits written so far stay in the buffer
    return 0;
  }
  const uint32_t longest = *std::max_element(table.length, table.length + 256);
  if (longest <= kMaxCodeLength) {
    for (uint32_t i = 0; i < n; ++i) writer.Put(table.code[input[i]], table.length[input[i]]);
  } else {
    for (uint32_t i = 0; i < n; ++i) writer.PutLong(table.code[input[i]], table.length[input[i]]);
  }
  return uint32_t(writer.Finish());
}

// ---- reading ------------------------------------------------------------------------

struct Leaf {
  uint32_t symbol;
  uint32_t code;
  uint32_t length;
};

// Appends the leaves below a node in preorder, left before right. Refuses more
// than 256 leaves and anything deeper than a 32-bit code; the bits past the
// payload read as 0, which closes every open node within a few bits.
bool ReadCodeTree(BitReader &in, Leaf *list, uint32_t &count, uint32_t code, uint32_t length) {
  if (in.Get(1) == 0) {
    for (;;) {
      if (in.Get(1) == 1) {
        if (length + 1 > kMaxCodeLength ||
            !ReadCodeTree(in, list, count, code * 2, length + 1))
          return false;
      }
      if (in.Get(1) == 0) return true; // no right child
      code = code * 2 + 1;
      length = length + 1;
      if (length > kMaxCodeLength) return false;
      if (in.Get(1) == 1) break; // the right child is a leaf
    }
  }
  if (count == 256) return false;
  const uint32_t symbol = in.Get(kSymbolBits);
  list[count++] = {symbol, code, length};
  return true;
}

// Reads the tree and orders its leaves by length (stable: equal lengths keep
// preorder, which is ascending code order).
bool ReadSortedCodes(BitReader &in, Leaf *list, uint32_t &count) {
  count = 0;
  if (!ReadCodeTree(in, list, count, 0, 0) || in.Overrun()) return false;
  std::stable_sort(list, list + count,
                   [](const Leaf &a, const Leaf &b) { return a.length < b.length; });
  return true;
}

template <bool kChecked>
bool HuffmanDecodeInto(const uint8_t *payload, size_t payloadLength, uint8_t *output,
                       size_t outputCapacity, uint32_t outputCount) {
  if (payloadLength == 0) return true;
  BitReader in(payload, payloadLength);
  Leaf list[256];
  uint32_t leaves;
  if (!ReadSortedCodes(in, list, leaves)) return !kChecked;
  if (leaves == 0) return true; // every iteration matches nothing and reads nothing
  const uint32_t longest = list[leaves - 1].length;
  if (longest == 0) { // a lone leaf at the root: its empty code matches at once
    if (kChecked && outputCapacity < outputCount) return false;
    if (outputCount > 0) std::memset(output, int(list[0].symbol), outputCount);
    return true;
  }

  // table[prefix] = length << 8 | symbol of the code of at most `width` bits that
  // starts the prefix; 0 where none does.
  const unsigned width = unsigned(std::min<uint32_t>(longest, kTableBits));
  uint16_t table[1u << kTableBits];
  std::fill(table, table + (1u << width), uint16_t(0));
  uint32_t firstLong = leaves;
  for (uint32_t k = 0; k < leaves; ++k) {
    const Leaf &leaf = list[k];
    if (leaf.length > width) {
      firstLong = std::min(firstLong, k);
      continue;
    }
    const uint32_t from = leaf.code << (width - leaf.length);
    const uint32_t to = (leaf.code + 1) << (width - leaf.length);
    std::fill(table + from, table + to, uint16_t(leaf.length << 8 | leaf.symbol));
  }

  size_t o = 0;
  for (uint32_t k = 0; k < outputCount; ++k) {
    in.Refill();
    uint32_t symbol;
    if (const uint16_t entry = table[in.Peek(width)]; entry != 0) {
      in.Skip(entry >> 8);
      symbol = entry & 0xFF;
    } else {
      const uint32_t ahead = in.Peek(kMaxCodeLength);
      uint32_t j = firstLong;
      while (j < leaves && (ahead >> (kMaxCodeLength - list[j].length)) != list[j].code) ++j;
      if (j == leaves) { // no code matches: the search read as far as the longest code
        in.Skip(longest);
        if (kChecked && in.Overrun()) return false;
        continue;
      }
      in.Skip(list[j].length);
      symbol = list[j].symbol;
    }
    if (kChecked && (in.Overrun() || o == outputCapacity)) return false;
    output[o++] = uint8_t(symbol);
  }
  return true;
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
