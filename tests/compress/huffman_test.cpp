// Huffman payloads worked out by hand, the code-length bound behind MaxEncodedSize,
// and the table-driven decoder against the plain linear search.
#include "compress/codecs.h"
#include "test_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace tavrix::test {
namespace {

Bytes HuffmanStream(const Bytes &input, uint8_t fill) {
  CImageCompress codec;
  codec.InitCompress(eHuffman, input.size());
  Bytes out(size_t(CImageCompress::MaxEncodedSize(eHuffman, input.size())), fill);
  out.resize(codec.EncodeImage(const_cast<uint8_t *>(input.data()), out.data()));
  return out;
}

Bytes Payload(const Bytes &stream) { return Bytes(stream.begin() + 4, stream.end()); }

TEST(Huffman, OneByteStreamKeepsThePaddingBits) {
  // Tree 0 1 1 01000001 0, data bit 0: 0x68, then 00100 and three untouched bits.
  EXPECT_EQ(HuffmanStream({0x41}, 0xA5), (Bytes{6, 0, 0, 0, 0x68, 0x25}));
  EXPECT_EQ(HuffmanStream({0x41}, 0x00), (Bytes{6, 0, 0, 0, 0x68, 0x20}));
}

TEST(Huffman, GoldenPayloads) {
  const struct {
    const char *why;
    Bytes input;
    std::string bits;
  } cases[] = {
      {"two symbols, 3:1", {0, 0, 0, 1}, "0 1 1 00000000 1 1 00000001  0 0 0 1"},
      {"equal counts: the smaller value gets code 0", {1, 0}, "0 1 1 00000000 1 1 00000001  1 0"},
      {"one value 1000 times: one-bit code 0", Bytes(1000, 0x07),
       "0 1 1 00000111 0" + std::string(1000, '0')},
      {"three symbols 2:1:1: split after the first", {5, 6, 5, 7},
       "0 1 1 00000101 1 0 1 1 00000110 1 1 00000111  0 10 0 11"},
  };
  for (const auto &c : cases)
    EXPECT_EQ(Payload(HuffmanStream(c.input, kSentinel)), PackBits(c.bits, kSentinel)) << c.why;
  EXPECT_EQ(HuffmanStream(Bytes(1000, 0x07), 0).size(), 4u + 127u);
}

TEST(Huffman, EveryValueOnceGetsEightBitCodes) {
  Bytes all(256);
  std::iota(all.begin(), all.end(), uint8_t(0));
  uint32_t counts[256];
  std::fill(counts, counts + 256, 1u);
  detail::CodeTable code;
  ASSERT_TRUE(detail::BuildCode(counts, code, nullptr));
  EXPECT_EQ(std::count(code.length, code.length + 256, 8u), 256);
  // 3069 tree bits (255 internal nodes) and 2048 data bits end in byte 640.
  EXPECT_EQ(HuffmanStream(all, 0).size(), 4u + 640u);
}

// Data bits of the code for these counts, or -1 when the code cannot be built.
long long DataBits(const uint32_t counts[256]) {
  detail::CodeTable code;
  if (!detail::BuildCode(counts, code, nullptr)) return -1;
  long long bits = 0;
  for (int v = 0; v < 256; ++v) bits += (long long)counts[v] * code.length[v];
  return bits;
}

TEST(Huffman, CodeLengthsStayWithinTheBoundOnAdversarialCounts) {
  // MaxEncodedSize rests on: data bits <= n * (8 + 17/32). Near-uniform counts are
  // the worst case (the split then lands off the middle of the values); a hill
  // climb from several of them must not find counts that break the bound.
  std::mt19937 rng(77);
  double worst = 0;
  for (int start = 0; start < 12; ++start) {
    uint32_t counts[256];
    const int present = start < 6 ? 256 : 129 + start * 10;
    for (int v = 0; v < 256; ++v) counts[v] = v < present ? 40 + rng() % (1 + start * 3) : 0;
    auto ratio = [&](const uint32_t *c) {
      const long long n = std::accumulate(c, c + 256, 0ll);
      return double(DataBits(c)) / double(n);
    };
    double current = ratio(counts);
    for (int step = 0; step < 1500; ++step) {
      uint32_t trial[256];
      std::copy(counts, counts + 256, trial);
      const int a = int(rng() % uint32_t(present)), b = int(rng() % uint32_t(present));
      const uint32_t moved = 1 + rng() % 3;
      if (trial[a] <= moved) continue;
      trial[a] -= moved;
      trial[b] += moved;
      const double r = ratio(trial);
      if (r >= current) {
        current = r;
        std::copy(trial, trial + 256, counts);
      }
    }
    const long long n = std::accumulate(counts, counts + 256, 0ll);
    EXPECT_LE(DataBits(counts) * 32, n * 273) << "start " << start;
    worst = std::max(worst, current);
  }
  EXPECT_GT(worst, 8.0) << "the search should find codes longer than 8 bits a byte";
}

TEST(Huffman, CountsOfTwoToThe32MinusOneCannotBeSplit) {
  uint32_t counts[256] = {};
  counts[0] = 0xFFFFFFFEu;
  counts[1] = 1;
  EXPECT_EQ(DataBits(counts), -1);
  counts[0] = 0xFFFFFFFDu; // one less: an ordinary two-leaf tree
  EXPECT_EQ(DataBits(counts), 0xFFFFFFFEll);
}

TEST(Huffman, UnmatchedPatternsConsumeTheLongestCodeAndWriteNothing) {
  // Root: left child internal with only a left leaf A (code 00); right leaf B (code 1).
  // Data 00 01 1 00: A, nothing (01 matches no code), B, A.
  const Bytes payload = PackBits("0 1 0 1 1 01000001 0 1 1 01000010  00 01 1 00", 0);
  for (auto decode : {detail::HuffmanDecode, detail::HuffmanDecodeReference}) {
    Bytes out(5, kSentinel);
    decode(payload.data(), out.data(), uint32_t(payload.size()), 4);
    EXPECT_EQ(out, (Bytes{'A', 'B', 'A', kSentinel, kSentinel}));
  }
}

std::string Bits8(int value) {
  std::string out;
  for (int k = 7; k >= 0; --k) out += char('0' + ((value >> k) & 1));
  return out + " ";
}

TEST(Huffman, DecodesCodesOfOneTo32Bits) {
  // Internal nodes at depths 0..30 each have a leaf on the left; the node at depth
  // 31 has two leaves, codes 1...10 and 1...11 of 32 bits.
  std::string tree;
  for (int d = 1; d <= 31; ++d) tree += "0 1 1 " + Bits8(d) + "1 ";
  tree += "0 1 1 " + Bits8(32) + "1 1 " + Bits8(33);
  // Once, and repeated so that long codes follow three table lookups of 12 bits
  // and the stream is long enough for two decoding chains.
  for (int repeats : {1, 3000}) {
    std::string data;
    Bytes expected;
    for (int r = 0; r < repeats; ++r) {
      for (int d : {1, 32, 7, 33, 31, 2, 12, 13, 14, 1, 1, 33, 12, 12, 12, 29, 30}) {
        const int ones = d == 33 ? 32 : d - 1;
        data += std::string(size_t(ones), '1') + (d == 33 ? "" : "0") + " ";
        expected.push_back(uint8_t(d));
      }
    }
    const Bytes payload = PackBits(tree + " " + data, 0);
    for (auto decode : {detail::HuffmanDecode, detail::HuffmanDecodeReference}) {
      Bytes out(expected.size(), kSentinel);
      decode(payload.data(), out.data(), uint32_t(payload.size()), uint32_t(out.size()));
      EXPECT_EQ(out, expected) << repeats;
    }
  }
}

TEST(Huffman, LeavesDeeperThan32BitsDecodeUntilASearchReachesThem) {
  // Root: leaf A on the left (code 0); on the right a chain of 39 internal nodes,
  // each with only a left child, ending in leaf B at depth 40.
  std::string deep = "1 " + Bits8('B');
  for (int k = 0; k < 39; ++k) deep = "0 1 " + deep + " 0";
  const std::string tree = "0 1 1 " + Bits8('A') + "1 " + deep + " ";
  const struct {
    const char *why;
    std::string data;
    Bytes output;
    bool accepted;
  } cases[] = {
      {"only the short code is used", "0 0 0 0", {'A', 'A', 'A', 'A'}, true},
      {"a search passes code 0 and would reach B: decoding stops", "0 0 1 0 0",
       {'A', 'A', kSentinel, kSentinel}, false},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    const Bytes payload = PackBits(tree + c.data, 0);
    for (auto decode : {detail::HuffmanDecode, detail::HuffmanDecodeReference}) {
      Bytes out(4, kSentinel);
      decode(payload.data(), out.data(), uint32_t(payload.size()), 4);
      EXPECT_EQ(out, c.output);
    }
    CImageCompress codec;
    codec.InitCompress(eHuffman, 4);
    const Bytes stream = Stream(payload);
    Bytes out(4, kSentinel);
    EXPECT_EQ(codec.DecodeImage(stream.data(), stream.size(), out.data(), out.size()), c.accepted);
    if (c.accepted) {
      EXPECT_EQ(out, c.output);
    }
  }
}

TEST(Huffman, TableDecoderMatchesTheLinearSearch) {
  // Skewed data gives codes longer than the table; random payloads give every kind
  // of tree, with missing children and unmatched patterns.
  std::vector<Bytes> payloads;
  std::mt19937 rng(99);
  Bytes skewed(40000);
  for (auto &b : skewed) b = uint8_t(__builtin_ctz(rng() | 0x80000u) * 13); // geometric counts
  payloads.push_back(Payload(HuffmanStream(skewed, 0)));
  payloads.push_back(Payload(HuffmanStream(Mosaic(64, 64, 12, 40.0, 3), 0)));
  // Long streams decode in two chains that meet where their code boundaries do.
  // Every value equally often: 8-bit codes, whose boundaries meet only when the
  // second chain starts a whole number of bytes after the first code; and a
  // mosaic decoded to twice its length, far past the payload's end.
  for (uint32_t n : {40000u, 40001u, 40002u, 40003u}) {
    Bytes uniform(n);
    for (uint32_t i = 0; i < n; ++i) uniform[i] = uint8_t(i * 167);
    payloads.push_back(Payload(HuffmanStream(uniform, 0)));
  }
  payloads.push_back(Payload(HuffmanStream(Mosaic(256, 80, 8, 3.0, 4), 0)));
  for (int k = 0; k < 300; ++k) payloads.push_back(RandomBytes(1 + rng() % 600, 1000 + k));
  for (const Bytes &payload : payloads) {
    const uint32_t count = payload.size() > 1000 ? 40000 : 700;
    Bytes fast(count, kSentinel), plain(count, kSentinel);
    detail::HuffmanDecode(payload.data(), fast.data(), uint32_t(payload.size()), count);
    detail::HuffmanDecodeReference(payload.data(), plain.data(), uint32_t(payload.size()), count);
    ASSERT_EQ(fast, plain);
  }
}


TEST(Huffman, CheckedDecoderOnLongStreamsRefusesExactlyTheBitsRunningOut) {
  // Long enough to decode in two chains. A cut stream runs out of bits; a corrupted
  // one may or may not: it must be refused where the output depends on bits past
  // the payload (they differ as zeros and as ones) and, where accepted, give what
  // the linear search gives.
  const Bytes input = Mosaic(200, 100, 8, 3.0, 6);
  const Bytes stream = HuffmanStream(input, 0);
  const auto checked = [&](const Bytes &payload, size_t capacity, Bytes &out) {
    out.assign(capacity, kSentinel);
    return detail::HuffmanDecodeChecked(payload.data(), payload.size(), out.data(), capacity,
                                        uint32_t(input.size()));
  };
  Bytes out;
  const Bytes payload = Payload(stream);
  ASSERT_TRUE(checked(payload, input.size(), out));
  EXPECT_EQ(out, input);
  EXPECT_FALSE(checked(payload, input.size() - 1, out));
  for (size_t cut = 1; cut < payload.size(); cut += cut + 100 < payload.size() ? 211 : 1)
    ASSERT_FALSE(checked(Bytes(payload.begin(), payload.begin() + long(cut)), input.size(), out)) << cut;
  std::mt19937 rng(8);
  for (int trial = 0; trial < 60; ++trial) {
    Bytes damaged = payload;
    // Flips in the tree (first 200 bytes) or the codes; near the end half the time.
    const size_t span = trial % 2 ? 200 : damaged.size();
    damaged[damaged.size() - 1 - rng() % span] ^= uint8_t(1u << (rng() % 8));
    if (trial % 3 == 0) damaged[rng() % 200] ^= uint8_t(1u << (rng() % 8));
    Bytes zeros(input.size(), kSentinel), ones(input.size(), kSentinel);
    Bytes padded = damaged;
    padded.resize(damaged.size() + 64, 0x00);
    detail::HuffmanDecodeReference(padded.data(), zeros.data(), uint32_t(padded.size()), uint32_t(zeros.size()));
    std::fill(padded.begin() + long(damaged.size()), padded.end(), uint8_t(0xFF));
    detail::HuffmanDecodeReference(padded.data(), ones.data(), uint32_t(padded.size()), uint32_t(ones.size()));
    const bool accepted = checked(damaged, input.size(), out);
    if (zeros != ones) {
      ASSERT_FALSE(accepted) << trial;
    }
    if (accepted) {
      ASSERT_EQ(out, zeros) << trial;
    }
  }
}

} // namespace
} // namespace tavrix::test
