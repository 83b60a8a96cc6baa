// LZ77 payloads worked out by hand, and the fast search against the literal one.
#include "compress/codecs.h"
#include "photographs.h"
#include "test_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace tavrix::test {
namespace {

using Encoder = uint32_t (*)(const uint8_t *, uint8_t *, uint32_t, uint32_t *);

Bytes Lz77Payload(const Bytes &input, Encoder encode = detail::Lz77Encode) {
  std::vector<uint32_t> table(size_t(detail::Lz77TableEntries(uint32_t(input.size()))),
                              0xDEADBEEF);
  Bytes out(input.size() + input.size() / 256 + 1, kSentinel);
  out.resize(encode(input.data(), out.data(), uint32_t(input.size()), table.data()));
  return out;
}

// `count` distinct bytes from `first` on, in shuffled order: no pair of bytes repeats.
Bytes Distinct(int first, int count, uint32_t seed) {
  Bytes out(size_t(count), 0);
  std::iota(out.begin(), out.end(), uint8_t(first));
  std::shuffle(out.begin(), out.end(), std::mt19937(seed));
  return out;
}

TEST(Lz77, VarLengthUsesFewestBytesAndReadsPaddedGroups) {
  const struct { uint32_t value; Bytes bytes; } cases[] = {
      {127, {0x7F}}, {128, {0x81, 0x00}}, {16384, {0x81, 0x80, 0x00}},
      {0xFFFFFFFF, {0x8F, 0xFF, 0xFF, 0xFF, 0x7F}}};
  uint8_t buffer[8];
  uint32_t read = 0;
  for (const auto &c : cases) {
    EXPECT_EQ(Bytes(buffer, buffer + detail::WriteVarLength(c.value, buffer)), c.bytes);
    EXPECT_EQ(detail::ReadVarLength(c.bytes.data(), &read), c.bytes.size());
    EXPECT_EQ(read, c.value);
  }
  const Bytes padded = {0x80, 0x80, 0x81, 0x00}; // leading empty groups are accepted
  EXPECT_EQ(detail::ReadVarLength(padded.data(), &read), 4u);
  EXPECT_EQ(read, 128u);
}

TEST(Lz77, GoldenPayloads) {
  const Bytes x8 = Distinct(1, 8, 1), x128 = Distinct(1, 128, 2);
  const Bytes abcd = {'A', 'B', 'C', 'D'};
  Bytes all(256);
  std::iota(all.begin(), all.end(), uint8_t(0));
  const struct {
    const char *why;
    Bytes input;
    Bytes payload;
  } cases[] = {
      {"one byte: escape 0x00", {0x41}, {0x00, 0x41}},
      {"one zero byte: escape 0x01", {0x00}, {0x01, 0x00}},
      {"8 x 0x41: four literals, then length 4 at distance 4", Bytes(8, 0x41),
       {0x00, 0x41, 0x41, 0x41, 0x41, 0x00, 0x04, 0x04}},
      {"repeat of 4 at distance 127 is a match",
       Concat({abcd, Distinct(0x80, 123, 3), abcd}),
       Concat({{0x00}, abcd, Distinct(0x80, 123, 3), {0x00, 0x04, 0x7F}})},
      {"repeat of 4 at distance 128 stays literal",
       Concat({abcd, Distinct(0x80, 124, 4), abcd}),
       Concat({{0x00}, abcd, Distinct(0x80, 124, 4), abcd})},
      {"length and distance 128 take two bytes each", Concat({x128, x128}),
       Concat({{0x00}, x128, {0x00, 0x81, 0x00, 0x81, 0x00}})},
      {"a match may run to the very end", Concat({x8, x8}),
       Concat({{0x00}, x8, {0x00, 0x08, 0x08}})},
      {"fewer than 4 left after a token: literals although they repeat",
       Concat({x8, x8, {x8[0], x8[1], x8[2]}}),
       Concat({{0x00}, x8, {0x00, 0x08, 0x08, x8[0], x8[1], x8[2]}})},
      {"every value once: the escape 0x00 as a literal is doubled", all,
       Concat({{0x00, 0x00, 0x00}, Bytes(all.begin() + 1, all.end())})},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Lz77Payload(c.input), c.payload);
    EXPECT_EQ(Lz77Payload(c.input, detail::Lz77EncodeReference), c.payload);
  }
}

TEST(Lz77, NearestOfEqualLengthsWins) {
  const Bytes key = {'W', 'X', 'Y', 'Z'};
  const Bytes input = Concat({key, {1, 2, 3, 4, 5}, key, {6, 7, 8}, key});
  // The last key matches 4 bytes at distances 7 and 16; the nearer one is taken.
  EXPECT_EQ(Lz77Payload(input),
            Concat({{0x00}, key, {1, 2, 3, 4, 5}, {0x00, 0x04, 0x09}, {6, 7, 8}, {0x00, 0x04, 0x07}}));
}

// Words of 12 bytes with one byte changed here and there: many candidates that
// agree for the same 4 to 11 bytes, at different distances.
Bytes NearlyEqualWords(size_t n, uint32_t seed) {
  std::mt19937 rng(seed);
  const Bytes words = RandomBytes(4 * 12, seed + 1);
  Bytes out;
  while (out.size() < n) {
    const size_t word = rng() % 4;
    out.insert(out.end(), words.begin() + 12 * word, words.begin() + 12 * (word + 1));
    if (rng() % 2) out[out.size() - 1 - rng() % 12] ^= uint8_t(1 + rng() % 3);
  }
  return out;
}

// Period-q patterns of several lengths with breaks between them, q = 1 .. 9.
Bytes Periodic(uint32_t seed) {
  Bytes out;
  for (size_t q = 1; q <= 9; ++q) {
    const Bytes pattern = RandomBytes(q, seed + uint32_t(q), 3);
    for (size_t length : {q * 3 + 1, size_t(40), size_t(333)}) {
      out = Concat({out, Repeat(pattern, length), RandomBytes(1 + q % 3, seed + uint32_t(length))});
    }
  }
  return out;
}

// A 4- or 5-byte repeat just inside and just beyond the farthest distance at which
// a match of that length is emitted (the fast search looks for 4 bytes no farther).
Bytes RepeatAt(size_t length, size_t distance, uint32_t seed) {
  Bytes out = RandomBytes(distance + length + 16, seed);
  std::copy(out.begin() + 8, out.begin() + 8 + ptrdiff_t(length), out.begin() + 8 + ptrdiff_t(distance));
  return out;
}

TEST(Lz77, FastSearchMatchesTheLiteralSearch) {
  Bytes runsAndBreaks;  // runs of one value with single other bytes between them
  for (int k = 0; k < 60; ++k) {
    runsAndBreaks.insert(runsAndBreaks.end(), size_t(3 + (k * 37) % 90), 0x55);
    runsAndBreaks.push_back(uint8_t(k % 3));
  }
  const Bytes block = RandomBytes(300, 40);
  const struct {
    const char *why;
    Bytes input;
  } cases[] = {
      {"flat in parts", Concat({Bytes(700, 7), {1}, Bytes(1500, 7), {2}, Bytes(900, 7)})},
      {"runs of one value between other bytes", runsAndBreaks},
      {"runs of 1 to 40 over two values", Runs(30000, 41, 40, 2)},
      {"periods 1 to 9, short and long stretches", Periodic(42)},
      {"period 3 then period 5", Concat({Repeat({1, 2, 3}, 3000), Repeat({1, 2, 3, 1, 2}, 3000)})},
      {"period 13 with a run inside", Repeat({9, 1, 9, 2, 9, 1, 9, 3, 4, 4, 4, 4, 4}, 3000)},
      {"period 70, beyond the closed form", Repeat(RandomBytes(70, 21), 8000)},
      {"long runs", Runs(40000, 23, 3000, 2)},
      {"runs of up to 20 over 40 values", Runs(20000, 50, 20, 40)},
      {"runs reaching the end", Concat({RandomBytes(200, 51), Bytes(40, 5), RandomBytes(30, 52), Bytes(60, 5)})},
      {"period 300 overlapping itself, broken once",
       Concat({Repeat(block, 30000), {0}, Repeat(block, 30000)})},
      {"near-equal candidates of equal lengths", NearlyEqualWords(20000, 43)},
      {"four-value noise", RandomBytes(20000, 25, 4)},
      {"matches reaching the end", Concat({block, RandomBytes(50, 44), block})},
      {"a match ending 3 bytes short of the end", Concat({block, RandomBytes(50, 45), block, {9, 9, 9}})},
      {"length 4 at distance 127", RepeatAt(4, 127, 46)},
      {"length 4 at distance 128", RepeatAt(4, 128, 47)},
      {"length 5 at distance 16383", RepeatAt(5, 16383, 48)},
      {"length 5 at distance 16384", RepeatAt(5, 16384, 49)},
      {"8-bit mosaic", Mosaic(64, 64, 8, 1.5, 27)},
      {"12-bit mosaic in 16-bit words", Mosaic(64, 48, 12, 8.0, 30)},
      {"10-bit dark noise in 16-bit words", Mosaic(96, 64, 10, 3.0, 31, 0.1)},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Lz77Payload(c.input), Lz77Payload(c.input, detail::Lz77EncodeReference));
  }
}

TEST(Lz77, FastSearchMatchesTheLiteralSearchOnPhotographMosaics) {
  const std::vector<Bytes> mosaics = PhotographMosaics(160, 96);
  if (mosaics.empty()) GTEST_SKIP() << "no sample photographs here";
  for (size_t k = 0; k < mosaics.size(); ++k)
    EXPECT_EQ(Lz77Payload(mosaics[k]), Lz77Payload(mosaics[k], detail::Lz77EncodeReference))
        << "mosaic " << k;
}

TEST(Lz77, FastSearchMatchesTheLiteralSearchOnEveryShortInput) {
  // Every input of up to 10 bytes over {0, 1}: all overlaps, runs and tails.
  for (int n = 1; n <= 10; ++n)
    for (uint32_t bits = 0; bits < (1u << n); ++bits) {
      Bytes input(size_t(n), 0);
      for (int k = 0; k < n; ++k) input[size_t(k)] = uint8_t((bits >> k) & 1);
      ASSERT_EQ(Lz77Payload(input), Lz77Payload(input, detail::Lz77EncodeReference))
          << "n " << n << " bits " << bits;
    }
}

} // namespace
} // namespace tavrix::test
