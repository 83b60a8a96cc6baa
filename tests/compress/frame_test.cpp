// The codec object: capacities, framing, dispatch, round trips of every codec, and
// the encoder that is given its destination's capacity.
#include "test_data.h"

#include <gtest/gtest.h>

namespace tavrix::test {
namespace {

constexpr eCompressType kCodecs[] = {eHuffman, eLZ77, eRLE};

TEST(ImageCompress, CapacitiesAndTheAdvertisedThirtyTwoBitWrap) {
  // advertised: what InitCompress returns, computed in 32 bits; bound: MaxEncodedSize.
  const struct { const char *why; int type; unsigned long size, advertised, bound; } cases[] = {
      {"Huffman: size plus a full tree and the length word", 1, 1000, 1388, 388 + 1067},
      {"run-length: size + size/256 + 5", 3, 1000, 1008, 1008},
      {"LZ77 sizes like run-length", 2, 1000, 1008, 1008},
      {"no codec 0", 0, 1000, 0, 0},
      {"no codec 4", 4, 1000, 0, 0},
      {"last size before the 32-bit product wraps", 3, 16711935, 16777220, 16777220},
      {"the product wraps to 256: a 6-byte capacity", 3, 16711936, 6, 16777222},
      {"LZ77 wraps alike, though its table gets all 16,777,472 entries", 2, 16711936, 6, 16777222},
      {"Huffman adds in 32 bits too", 1, 0xFFFFFFFFul, 387, 4580180355ul},
      {"16711936 = 65281 x 256: 388 + 65281 x 273", 1, 16711936, 16712324, 17822101},
  };
  for (const auto &c : cases) {
    CImageCompress codec;
    EXPECT_EQ(codec.InitCompress(eCompressType(c.type), c.size), c.advertised) << c.why;
    EXPECT_EQ(CImageCompress::MaxEncodedSize(eCompressType(c.type), c.size), c.bound) << c.why;
  }
}

TEST(ImageCompress, CheckedEncoderRefusesTheWrappedCapacity) {
  // 16,711,936 flat bytes take 2,049 bytes as run-length stream: more than the 6
  // bytes InitCompress advertises, which the checked encoder does not overrun.
  const Bytes frame(16711936, 0x00);
  CImageCompress codec;
  const unsigned long advertised = codec.InitCompress(eRLE, frame.size());
  Bytes out(64, kSentinel);
  EXPECT_EQ(codec.EncodeImage(frame.data(), out.data(), advertised), 0u);
  EXPECT_EQ(Bytes(out.begin() + long(advertised), out.end()), Bytes(64 - advertised, kSentinel));
  out.resize(4096);
  // 510 chunks of 32768 bytes and one of 256, four bytes each.
  EXPECT_EQ(codec.EncodeImage(frame.data(), out.data(), out.size()), 4u + 1 + 511 * 4);
}

TEST(ImageCompress, EmptyImagesUnknownCodecsAndTheBareLengthWord) {
  CImageCompress fresh;  // a new object encodes an empty Huffman image
  Bytes out(8, kSentinel);
  uint8_t dummy = 0;
  EXPECT_EQ(fresh.EncodeImage(&dummy, out.data()), 4u);
  EXPECT_EQ(out, (Bytes{4, 0, 0, 0, kSentinel, kSentinel, kSentinel, kSentinel}));
  for (eCompressType type : kCodecs) {
    EXPECT_EQ(Encode(type, {}), (Bytes{4, 0, 0, 0})) << type;
    CImageCompress codec;
    codec.InitCompress(type, 16);
    Bytes stream = {4, 0, 0, 0}, image(16, kSentinel);
    EXPECT_TRUE(codec.DecodeImage(stream.data(), image.data())) << type;
    EXPECT_TRUE(codec.DecodeImage(stream.data(), stream.size(), image.data(), image.size()));
    EXPECT_EQ(image, Bytes(16, kSentinel)) << type;
  }
  CImageCompress unknown;
  EXPECT_EQ(unknown.InitCompress(eCompressType(7), 16), 0u);
  Bytes input(16, 1), target(64, kSentinel);
  EXPECT_EQ(unknown.EncodeImage(input.data(), target.data()), 0u);
  EXPECT_EQ(unknown.EncodeImage(input.data(), target.data(), 64), 0u);
  const Bytes stream = Stream({0x00, 0x41});
  EXPECT_FALSE(unknown.DecodeImage(const_cast<uint8_t *>(stream.data()), target.data()));
  EXPECT_FALSE(unknown.DecodeImage(stream.data(), stream.size(), target.data(), target.size()));
  EXPECT_EQ(target, Bytes(64, kSentinel));
}

TEST(ImageCompress, AssignmentSharesTheTable) {
  const Bytes input = RandomBytes(3000, 5, 8);
  CImageCompress lz;
  lz.InitCompress(eLZ77, input.size());
  Bytes expected(4000), actual(4000);
  const unsigned long length = lz.EncodeImage(const_cast<uint8_t *>(input.data()), expected.data());
  {
    CImageCompress other;
    other = lz;
    EXPECT_EQ(other.EncodeImage(const_cast<uint8_t *>(input.data()), actual.data()), length);
    EXPECT_EQ(expected, actual);
    const CImageCompress tableless;
    other = tableless;  // drops the pointer without releasing it: lz still owns the table
  }
  EXPECT_EQ(lz.EncodeImage(const_cast<uint8_t *>(input.data()), actual.data()), length);
  EXPECT_EQ(expected, actual);
}

struct Dataset {
  const char *why;
  Bytes bytes;
};

TEST(ImageCompress, EveryCodecRoundTripsWithinTheBound) {
  Bytes all(256);
  for (int v = 0; v < 256; ++v) all[v] = uint8_t(v);
  const Dataset datasets[] = {
      {"one byte", {0x41}},
      {"one zero byte: the escape is 0x01", {0x00}},
      {"every value once", all},
      {"flat and longer than a run chunk", Bytes(70000, 0x80)},
      {"two alternating values", Repeat({0x10, 0xF0}, 9999)},
      {"uniform noise", RandomBytes(20000, 1)},
      {"four-value noise", RandomBytes(20000, 2, 4)},
      {"runs past the 32768-byte chunk", Runs(150000, 4, 40000, 3)},
      {"8-bit mosaic", Mosaic(128, 64, 8, 2.0, 5)},
      {"12-bit mosaic in 16-bit words", Mosaic(96, 48, 12, 6.0, 6)},
  };
  for (const Dataset &data : datasets)
    for (eCompressType type : kCodecs) {
      SCOPED_TRACE(std::string(data.why) + " / codec " + std::to_string(type));
      const Bytes stream = Encode(type, data.bytes);
      EXPECT_LE(stream.size(), CImageCompress::MaxEncodedSize(type, data.bytes.size()));
      CImageCompress codec;
      const unsigned long advertised = codec.InitCompress(type, data.bytes.size());
      if (type != eHuffman) { EXPECT_LE(stream.size(), advertised); }
      EXPECT_EQ(Encode(type, data.bytes), stream) << "encoding twice gives other bytes";
      Bytes trusted(data.bytes.size() + 1, kSentinel), checked(data.bytes.size());
      EXPECT_TRUE(codec.DecodeImage(const_cast<uint8_t *>(stream.data()), trusted.data()));
      EXPECT_EQ(trusted.back(), kSentinel) << "wrote past the image";
      trusted.pop_back();
      EXPECT_EQ(trusted, data.bytes);
      EXPECT_TRUE(codec.DecodeImage(stream.data(), stream.size(), checked.data(), checked.size()));
      EXPECT_EQ(checked, data.bytes);
    }
}

TEST(ImageCompress, CheckedEncoderMatchesTheTrustedOneOrRefuses) {
  Bytes all(256);
  for (int v = 0; v < 256; ++v) all[v] = uint8_t(v);
  const Dataset datasets[] = {
      {"noise", RandomBytes(5000, 8)}, {"runs", Runs(5000, 9, 50)}, {"every value once", all}};
  for (const Dataset &data : datasets)
    for (eCompressType type : kCodecs) {
      SCOPED_TRACE(std::string(data.why) + " / codec " + std::to_string(type));
      const Bytes stream = Encode(type, data.bytes);
      CImageCompress codec;
      codec.InitCompress(type, data.bytes.size());
      for (size_t capacity : {stream.size(), stream.size() - 1, size_t(4), size_t(3)}) {
        Bytes out(stream.size() + 16, kSentinel);
        const unsigned long length = codec.EncodeImage(data.bytes.data(), out.data(), capacity);
        EXPECT_EQ(Bytes(out.begin() + long(capacity), out.end()),
                  Bytes(out.size() - capacity, kSentinel)) << "wrote past " << capacity;
        const bool fits = capacity >= stream.size();
        EXPECT_EQ(Bytes(out.begin(), out.begin() + long(length)), fits ? stream : Bytes());
      }
    }
}

}  // namespace
}  // namespace tavrix::test
