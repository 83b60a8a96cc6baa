// Run-length payloads worked out by hand, and the escape-byte rule.
#include "compress/codecs.h"
#include "test_data.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavrix::test {
namespace {

Bytes RlePayload(const Bytes &input) {
  Bytes out(input.size() + input.size() / 256 + 1, kSentinel);
  out.resize(detail::RleEncode(input.data(), out.data(), uint32_t(input.size())));
  return out;
}

TEST(Rle, OneByteStream) { EXPECT_EQ(Encode(eRLE, {0x41}), (Bytes{6, 0, 0, 0, 0x00, 0x41})); }

TEST(Rle, RunsAreChunkedAndCounted) {
  const struct {
    const char *why;
    size_t run;
    Bytes tokens;  // after the escape byte 0x00
  } cases[] = {
      {"3 stays literal", 3, {0x41, 0x41, 0x41}},
      {"4 is the shortest run token", 4, {0x00, 0x03, 0x41}},
      {"128: longest one-byte count", 128, {0x00, 0x7F, 0x41}},
      {"129: first two-byte count", 129, {0x00, 0x80, 0x80, 0x41}},
      {"32768: longest chunk", 32768, {0x00, 0xFF, 0xFF, 0x41}},
      {"32769: a chunk and a single byte", 32769, {0x00, 0xFF, 0xFF, 0x41, 0x41}},
      {"65540: two chunks and a run of 4", 65540,
       {0x00, 0xFF, 0xFF, 0x41, 0x00, 0xFF, 0xFF, 0x41, 0x00, 0x03, 0x41}},
  };
  for (const auto &c : cases)
    EXPECT_EQ(RlePayload(Bytes(c.run, 0x41)), Concat({{0x00}, c.tokens})) << c.why;
}

TEST(Rle, EscapeRunsUseTheShortForms) {
  // k escape bytes (value 0, the rarest), then every other value k + 1 times.
  const struct {
    const char *why;
    size_t k;
    Bytes tokens;
  } cases[] = {{"single escape", 1, {0x00, 0x00}},
               {"two", 2, {0x00, 0x01}},
               {"three", 3, {0x00, 0x02}},
               {"five: a run token of the escape itself", 5, {0x00, 0x04, 0x00}}};
  for (const auto &c : cases) {
    Bytes rest;
    for (size_t copy = 0; copy <= c.k; ++copy)
      for (int v = 1; v < 256; ++v) rest.push_back(uint8_t(v));
    EXPECT_EQ(RlePayload(Concat({Bytes(c.k, 0x00), rest})), Concat({{0x00}, c.tokens, rest}))
        << c.why;
  }
}

TEST(Rle, EscapeIsTheRarestValueSmallestOnTies) {
  Bytes all(256);
  for (int v = 0; v < 256; ++v) all[v] = uint8_t(255 - v);
  Bytes allButOne = all;
  allButOne.erase(allButOne.begin() + 100);  // value 155 missing
  const struct {
    const char *why;
    Bytes input;
    uint8_t escape;
  } cases[] = {{"all equally often: 0x00", all, 0x00},
               {"a missing value", allButOne, 155},
               {"only 0x00 present: 0x01", {0, 0, 0}, 0x01}};
  for (const auto &c : cases) EXPECT_EQ(RlePayload(c.input)[0], c.escape) << c.why;
}

// The payload built run by run, one chunk at a time, as the format describes it.
Bytes PlainRlePayload(const Bytes &input, uint8_t escape) {
  Bytes out = {escape};
  for (size_t i = 0; i < input.size();) {
    size_t run = 1;
    while (i + run < input.size() && input[i + run] == input[i]) ++run;
    const uint8_t v = input[i];
    i += run;
    while (run > 0) {
      const size_t chunk = std::min<size_t>(run, 32768);
      run -= chunk;
      if (chunk >= 4 && chunk <= 128) {
        out.insert(out.end(), {escape, uint8_t(chunk - 1), v});
      } else if (chunk > 128) {
        out.insert(out.end(), {escape, uint8_t(0x80 | (chunk - 1) >> 8), uint8_t(chunk - 1), v});
      } else if (v == escape) {
        out.insert(out.end(), {escape, uint8_t(chunk - 1)});
      } else {
        out.insert(out.end(), chunk, v);
      }
    }
  }
  return out;
}

TEST(Rle, ScanningWriterMatchesThePlainChunking) {
  // Runs of 1 to 6 over few values put runs of 3 and 4 and escapes at every offset
  // of the eight-byte scan; the long runs cross the chunk size.
  const struct {
    const char *why;
    Bytes input;
  } cases[] = {
      {"short runs over two values", Runs(5000, 61, 6, 2)},
      {"short runs over five values", Runs(5000, 62, 6, 5)},
      {"runs to 40000", Runs(200000, 63, 40000, 3)},
      {"noise with rare repeats", RandomBytes(5000, 64)},
      {"12-bit mosaic", Mosaic(40, 30, 12, 3.0, 65)},
  };
  for (const auto &c : cases)
    for (size_t cut : {c.input.size(), c.input.size() - 5, size_t(13)}) {
      const Bytes input(c.input.begin(), c.input.begin() + ptrdiff_t(cut));
      const Bytes payload = RlePayload(input);
      EXPECT_EQ(payload, PlainRlePayload(input, payload[0])) << c.why << ", " << cut << " bytes";
    }
}

}  // namespace
}  // namespace tavrix::test
