// The checked decoder on truncated, corrupted and hostile streams. Every buffer is
// a vector of exactly the size passed, so the sanitizer build catches any access
// outside it; wherever the checked decoder accepts a stream, the trusted decoder
// must produce the same bytes.
#include "test_data.h"

#include <gtest/gtest.h>

#include <functional>

namespace tavrix::test {
namespace {

constexpr eCompressType kCodecs[] = {eHuffman, eLZ77, eRLE};

// Decodes with both decoders into buffers of `outputSize` bytes; returns the checked
// result and, where it accepted, compares the two outputs.
bool CheckedAgreesWithTrusted(eCompressType type, uint32_t imageSize, const Bytes &stream,
                              size_t outputSize) {
  CImageCompress codec;
  codec.InitCompress(type, imageSize);
  Bytes checked(outputSize, kSentinel);
  const bool accepted = codec.DecodeImage(stream.data(), stream.size(), checked.data(), checked.size());
  if (accepted) {
    Bytes trusted(outputSize, kSentinel);
    EXPECT_TRUE(codec.DecodeImage(const_cast<uint8_t *>(stream.data()), trusted.data()));
    EXPECT_EQ(checked, trusted);
  }
  return accepted;
}

Bytes WithLengthWord(Bytes stream) {
  const uint32_t length = uint32_t(stream.size());
  for (int k = 0; k < 4; ++k) stream[size_t(k)] = uint8_t(length >> (8 * k));
  return stream;
}

std::vector<Bytes> Inputs() {
  return {RandomBytes(700, 1, 6), Runs(900, 2, 200, 3), Mosaic(24, 16, 12, 5.0, 3),
          Bytes(300, 0x42)};
}

TEST(CheckedDecoder, EveryPrefixIsRefusedOrStaysInBounds) {
  for (eCompressType type : kCodecs)
    for (const Bytes &input : Inputs()) {
      const Bytes stream = Encode(type, input);
      for (size_t size = 0; size < stream.size(); ++size) {
        SCOPED_TRACE(testing::Message() << "codec " << type << " prefix " << size);
        const Bytes prefix(stream.begin(), stream.begin() + long(size));
        // As cut, the length word disagrees with the bytes given.
        ASSERT_FALSE(CheckedAgreesWithTrusted(type, uint32_t(input.size()), prefix, input.size()));
        if (size < 4) continue;
        // With the length word rewritten: cuts inside tokens and codes.
        const bool accepted = CheckedAgreesWithTrusted(type, uint32_t(input.size()),
                                                       WithLengthWord(prefix), input.size());
        ASSERT_FALSE(type == eHuffman && size > 4 && accepted) << "bits ran out";
      }
    }
}

TEST(CheckedDecoder, CorruptedStreamsStayInBounds) {
  std::mt19937 rng(4);
  for (eCompressType type : kCodecs)
    for (const Bytes &input : Inputs()) {
      const Bytes stream = Encode(type, input);
      for (int trial = 0; trial < 400; ++trial) {
        Bytes damaged = stream;
        const int flips = 1 + int(rng() % 4);
        for (int f = 0; f < flips; ++f)
          damaged[4 + rng() % (damaged.size() - 4)] ^= uint8_t(1u << (rng() % 8));
        for (size_t outputSize : {input.size(), input.size() / 2, input.size() + 50})
          CheckedAgreesWithTrusted(type, uint32_t(input.size()), damaged, outputSize);
      }
    }
}

TEST(CheckedDecoder, ArbitraryBytesStayInBounds) {
  for (eCompressType type : kCodecs)
    for (uint32_t seed = 0; seed < 300; ++seed) {
      const Bytes stream = WithLengthWord(RandomBytes(4 + seed % 200, seed, seed % 3 ? 256 : 3));
      CheckedAgreesWithTrusted(type, 1 + seed * 7 % 500, stream, seed * 7 % 500);
    }
}

TEST(CheckedDecoder, RefusesHostileStreams) {
  struct Case {
    const char *why;
    eCompressType type;
    uint32_t imageSize;
    Bytes stream;
    size_t outputSize;
  };
  const Bytes fourLeaves = PackBits("0 1 0 1 1 00000001 1 1 00000010 1 0 1 1 00000011 1 1 00000100", 0);
  // A complete tree of depth 9: 512 leaves.
  std::function<std::string(int)> complete = [&](int depth) -> std::string {
    return depth == 0 ? "1 00000001" : "0 1 " + complete(depth - 1) + " 1 " + complete(depth - 1);
  };
  std::string leftSpine; // 33 internal nodes, each the left child of the one before
  for (int k = 0; k < 33; ++k) leftSpine += "0 1 ";
  leftSpine += "1 00000001";
  const Case cases[] = {
      {"length word below 4", eRLE, 4, {3, 0, 0, 0, 0, 0x41}, 4},
      {"huge length word", eLZ77, 4, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0x41}, 4},
      {"source shorter than a length word", eRLE, 4, {6, 0}, 4},
      {"escape byte alone", eRLE, 4, Stream({0x00}), 4},
      {"long run count cut off", eRLE, 4, Stream({0x00, 0x00, 0x85}), 400},
      {"run beyond the output", eRLE, 4, Stream({0x00, 0x00, 0x04, 0x41}), 4},
      {"run beyond what a literal left", eRLE, 4, Stream({0x00, 0x41, 0x00, 0x03, 0x42}), 4},
      {"back-reference before the start", eLZ77, 16, Stream({0x00, 0x41, 0x00, 0x04, 0x02}), 16},
      {"distance 0", eLZ77, 16, Stream({0x00, 0x41, 0x00, 0x04, 0x00}), 16},
      {"length below 4", eLZ77, 16, Stream({0x00, 0x41, 0x00, 0x80, 0x03, 0x01}), 16},
      {"huge match length", eLZ77, 16,
       Stream({0x00, 0x41, 0x00, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F, 0x01}), 16},
      {"match beyond the output", eLZ77, 4, Stream({0x00, 0x41, 0x00, 0x04, 0x01}), 4},
      {"escaped literal beyond the output", eLZ77, 1, Stream({0x00, 0x41, 0x00, 0x00}), 1},
      {"Huffman image larger than the output", eHuffman, 8,
       Stream(Concat({fourLeaves, PackBits("00000000 00000000", 0)})), 4},
      {"Huffman bits run out", eHuffman, 64, Stream(fourLeaves), 64},
      {"Huffman tree cut off", eHuffman, 1, Stream(PackBits("0 1 0 1", 0)), 1},
      {"Huffman search reaching a leaf deeper than 32", eHuffman, 1,
       Stream(PackBits(leftSpine, 0)), 1},
      {"Huffman tree with 512 leaves", eHuffman, 1, Stream(PackBits(complete(9), 0)), 1},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.why);
    CImageCompress codec;
    codec.InitCompress(c.type, c.imageSize);
    Bytes out(c.outputSize + 4, kSentinel); // four guard bytes past the destination
    EXPECT_FALSE(codec.DecodeImage(c.stream.data(), c.stream.size(), out.data(), c.outputSize));
    EXPECT_EQ(Bytes(out.end() - 4, out.end()), Bytes(4, kSentinel));
  }
}

TEST(CheckedDecoder, AcceptsWellFormedStreamsTheWriterNeverProduces) {
  const struct { const char *why; eCompressType type; Bytes stream, output; } cases[] = {
      {"overlapping reference", eLZ77, Stream({0x00, 0x41, 0x00, 0x05, 0x01}), Bytes(6, 0x41)},
      {"long count form for a short run", eRLE, Stream({0x00, 0x00, 0x80, 0x02, 0x43}),
       Bytes(3, 0x43)},
      {"Huffman root leaf: an empty code", eHuffman, Stream(PackBits("1 01000100", 0)),
       Bytes(5, 0x44)},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    CImageCompress codec;
    codec.InitCompress(c.type, c.output.size());
    Bytes out(c.output.size(), kSentinel);
    EXPECT_TRUE(codec.DecodeImage(c.stream.data(), c.stream.size(), out.data(), out.size()));
    EXPECT_EQ(out, c.output);
    EXPECT_TRUE(CheckedAgreesWithTrusted(c.type, uint32_t(c.output.size()), c.stream, out.size()));
  }
}

} // namespace
} // namespace tavrix::test
