// The checked codec calls on their edges: sources one byte either side of the
// length word, destinations of exactly the image and one byte less, encoder
// capacities around the stream. Every destination is followed by guard bytes
// that must stay untouched even in a build without the sanitizers.
#include "test_data.h"

#include <gtest/gtest.h>

namespace tavrix::test {
namespace {

constexpr size_t kGuard = 32;

bool GuardIntact(const Bytes &buffer, size_t from) {
  for (size_t k = from; k < buffer.size(); ++k)
    if (buffer[k] != kSentinel) return false;
  return true;
}

struct Ending {
  const char *why;
  Bytes input;
};
// What the last token of each codec's stream writes.
std::vector<Ending> Endings() {
  Bytes literal = RandomBytes(300, 7);
  Bytes run = RandomBytes(200, 8);
  run.insert(run.end(), 300, 0x5A);
  const Bytes match = Repeat(RandomBytes(40, 9), 400);
  return {{"ends in literals", literal},       {"ends in a long run", run},
          {"ends in a match", match},          {"one value: a lone Huffman leaf", Bytes(257, 3)},
          {"a single byte", Bytes(1, 0xE1)}};
}

constexpr eCompressType kCodecs[] = {eHuffman, eLZ77, eRLE};

TEST(CheckedDecoder, SourceSizesAroundTheLengthWordAndDestinationsAroundTheImage) {
  for (eCompressType type : kCodecs)
    for (const Ending &e : Endings()) {
      SCOPED_TRACE(testing::Message() << "codec " << type << ", " << e.why);
      const size_t n = e.input.size();
      Bytes stream = Encode(type, e.input);
      const size_t length = stream.size();
      CImageCompress codec;
      codec.InitCompress(type, n);
      stream.push_back(0);  // readable, but not the stream's
      for (size_t source : {length - 1, length, length + 1})
        for (size_t capacity : {n, n - 1}) {
          SCOPED_TRACE(testing::Message() << "source " << source << " of " << length
                                          << ", capacity " << capacity << " of " << n);
          Bytes out(capacity + kGuard, kSentinel);
          const bool accepted = codec.DecodeImage(stream.data(), source, out.data(), capacity);
          EXPECT_EQ(accepted, source == length && capacity == n);
          EXPECT_TRUE(GuardIntact(out, capacity));
          EXPECT_TRUE(!accepted || std::equal(e.input.begin(), e.input.end(), out.begin()));
          EXPECT_TRUE(source == length || GuardIntact(out, 0)) << "written before the refusal";
        }
    }
}

// A back-reference reaching exactly the first byte written, and one before it.
TEST(CheckedDecoder, MatchDistanceUpToTheBytesWritten) {
  const struct {
    const char *why;
    uint8_t distance;
    bool accepted;
  } kCases[] = {{"distance 2 after 2 bytes", 2, true}, {"distance 3 after 2 bytes", 3, false}};
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.why);
    const Bytes stream = Stream({0x00, 0x41, 0x42, 0x00, 0x04, c.distance});
    CImageCompress codec;
    codec.InitCompress(eLZ77, 6);
    Bytes out(6 + kGuard, kSentinel);
    EXPECT_EQ(codec.DecodeImage(stream.data(), stream.size(), out.data(), 6), c.accepted);
    const Bytes abababGuard = Concat({{65, 66, 65, 66, 65, 66}, Bytes(kGuard, kSentinel)});
    EXPECT_EQ(out == abababGuard, c.accepted);
    EXPECT_TRUE(GuardIntact(out, 6));
  }
}

// Capacities below a length word, one short of the stream and exactly the stream.
TEST(CheckedEncoder, CapacitiesAroundTheStream) {
  for (eCompressType type : kCodecs)
    for (const Ending &e : Endings()) {
      SCOPED_TRACE(testing::Message() << "codec " << type << ", " << e.why);
      const Bytes stream = Encode(type, e.input);
      CImageCompress codec;
      codec.InitCompress(type, e.input.size());
      for (size_t capacity : {size_t(0), size_t(1), size_t(3), stream.size() - 1, stream.size()}) {
        SCOPED_TRACE(capacity);
        Bytes out(capacity + kGuard, kSentinel);
        const unsigned long written = codec.EncodeImage(e.input.data(), out.data(), capacity);
        EXPECT_EQ(written, capacity == stream.size() ? stream.size() : 0u);
        EXPECT_TRUE(GuardIntact(out, capacity));
        EXPECT_TRUE(capacity >= 4 || GuardIntact(out, 0));
        EXPECT_TRUE(written == 0 || Bytes(out.begin(), out.begin() + long(written)) == stream);
      }
    }
}

}  // namespace
}  // namespace tavrix::test
