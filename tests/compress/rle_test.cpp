// Run-length payloads worked out by hand, and the escape-byte rule.
#include "compress/codecs.h"
#include "test_data.h"

#include <gtest/gtest.h>

namespace tavrix::test {
namespace {

Bytes RlePayload(const Bytes &input) {
  Bytes out(input.size() + input.size() / 256 + 1, kSentinel);
  out.resize(detail::RleEncode(input.data(), out.data(), uint32_t(input.size())));
  return out;
}

TEST(Rle, OneByteStream) { EXPECT_EQ(Encode(eRLE, {0x41}), (Bytes{6, 0, 0, 0, 0x00, 0x41})); }

TEST(Rle, RunsAreChunkedAndCounted) {
  struct Case {
    const char *why;
    size_t run;
    Bytes tokens; // after the escape byte 0x00
  };
  const Case cases[] = {
      {"3 stays literal", 3, {0x41, 0x41, 0x41}},
      {"4 is the shortest run token", 4, {0x00, 0x03, 0x41}},
      {"128: longest one-byte count", 128, {0x00, 0x7F, 0x41}},
      {"129: first two-byte count", 129, {0x00, 0x80, 0x80, 0x41}},
      {"32768: longest chunk", 32768, {0x00, 0xFF, 0xFF, 0x41}},
      {"32769: a chunk and a single byte", 32769, {0x00, 0xFF, 0xFF, 0x41, 0x41}},
      {"65540: two chunks and a run of 4", 65540,
       {0x00, 0xFF, 0xFF, 0x41, 0x00, 0xFF, 0xFF, 0x41, 0x00, 0x03, 0x41}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.why);
    Bytes expected = {0x00};
    expected.insert(expected.end(), c.tokens.begin(), c.tokens.end());
    EXPECT_EQ(RlePayload(Bytes(c.run, 0x41)), expected);
  }
}

TEST(Rle, EscapeRunsUseTheShortForms) {
  // k escape bytes (value 0, the rarest) and then every other value k + 1 times, so
  // 0x00 is still the least frequent byte.
  struct Case {
    const char *why;
    size_t k;
    Bytes tokens;
  };
  const Case cases[] = {{"single escape", 1, {0x00, 0x00}},
                        {"two", 2, {0x00, 0x01}},
                        {"three", 3, {0x00, 0x02}},
                        {"five: a run token of the escape itself", 5, {0x00, 0x04, 0x00}}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.why);
    Bytes input(c.k, 0x00), rest;
    for (size_t copy = 0; copy <= c.k; ++copy)
      for (int v = 1; v < 256; ++v) rest.push_back(uint8_t(v));
    input.insert(input.end(), rest.begin(), rest.end());
    const Bytes expected = Concat({{0x00}, c.tokens, rest});
    EXPECT_EQ(RlePayload(input), expected);
  }
}

TEST(Rle, EscapeIsTheRarestValueSmallestOnTies) {
  struct Case {
    const char *why;
    Bytes input;
    uint8_t escape;
  };
  Bytes all(256);
  for (int v = 0; v < 256; ++v) all[v] = uint8_t(255 - v);
  Bytes allButOne = all;
  allButOne.erase(allButOne.begin() + 100); // value 155 missing
  const Case cases[] = {{"all equally often: 0x00", all, 0x00},
                        {"a missing value", allButOne, 155},
                        {"only 0x00 present: 0x01", {0, 0, 0}, 0x01}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.why);
    uint32_t counts[256];
    detail::CountBytes(c.input.data(), uint32_t(c.input.size()), counts);
    EXPECT_EQ(detail::ChooseEscape(counts), c.escape);
    EXPECT_EQ(RlePayload(c.input)[0], c.escape);
  }
}

TEST(Rle, DecoderReadsTheLongCountFormForShortRunsToo) {
  // The two-byte form can say 1..32768; the writer never uses it below 129.
  const Bytes payload = {0x00, 0x00, 0x80, 0x01, 0x41, 0x42};
  Bytes out(4, kSentinel);
  detail::RleDecode(payload.data(), out.data(), uint32_t(payload.size()));
  EXPECT_EQ(out, (Bytes{0x41, 0x41, 0x42, kSentinel}));
}

} // namespace
} // namespace tavrix::test
