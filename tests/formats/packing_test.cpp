// Sample layouts: golden bytes worked out by hand from each layout's diagram in
// tavrix/formats.h, round trips, every vector path against the reference, and
// refusals that leave the output untouched.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "formats/unpack_rows.h"
#include "support/paths.h"
#include "tavrix/formats.h"

namespace {

using tavrix::Packing;
using Bytes = std::vector<std::uint8_t>;
using Samples = std::vector<std::uint16_t>;
constexpr std::uint8_t kSentinel = 0xA5;

constexpr Packing kAllPackings[] = {
    Packing::kPlain8,  Packing::kPlain16,      Packing::kRaw10, Packing::kRaw12,
    Packing::kRaw14,   Packing::kMono10p,      Packing::kMono12p, Packing::kMono12Packed,
    Packing::kMsb16,   Packing::kBe16};

// Bit depths worth a round trip: the fixed width of a packed layout, the ends and
// a middle of the others.
std::vector<int> BitsOf(Packing p) {
  switch (p) {
    case Packing::kPlain8: return {1, 5, 8};
    case Packing::kRaw10: case Packing::kMono10p: return {10};
    case Packing::kRaw12: case Packing::kMono12p: case Packing::kMono12Packed: return {12};
    case Packing::kRaw14: return {14};
    default: return {1, 8, 10, 12, 16};
  }
}

struct Golden {
  const char *why;
  Packing packing;
  int bits;
  Samples samples;
  Bytes bytes;
};

const Golden kGoldens[] = {
    {"plain8 is the byte", Packing::kPlain8, 8, {0x5A, 0xFF}, {0x5A, 0xFF}},
    {"plain16 low byte first", Packing::kPlain16, 12, {0xABC, 0x001}, {0xBC, 0x0A, 0x01, 0x00}},
    {"be16 high byte first", Packing::kBe16, 12, {0xABC, 0x001}, {0x0A, 0xBC, 0x00, 0x01}},
    {"msb16 of 12 bits: shifted by 4", Packing::kMsb16, 12, {0xABC, 0x001},
     {0xC0, 0xAB, 0x10, 0x00}},
    {"msb16 of 10 bits: shifted by 6", Packing::kMsb16, 10, {0x3FF, 0x155},
     {0xC0, 0xFF, 0x40, 0x55}},
    // high bytes 0x001>>2, 0x3FF>>2, 0x2AA>>2, 0x155>>2; low bits 1, 3, 2, 1 from bit 0 up
    {"raw10: four high bytes, then the low pairs", Packing::kRaw10, 10,
     {0x001, 0x3FF, 0x2AA, 0x155}, {0x00, 0xFF, 0xAA, 0x55, 0x6D}},
    // the 40-bit little-endian word P0 | P1 << 10 | P2 << 20 | P3 << 30
    {"mono10p: one LSB-first bit stream", Packing::kMono10p, 10,
     {0x001, 0x3FF, 0x2AA, 0x155}, {0x01, 0xFC, 0xAF, 0x6A, 0x55}},
    {"raw12: two high bytes, then P1's low nibble over P0's", Packing::kRaw12, 12,
     {0xABC, 0x123, 0x001, 0xFFE}, {0xAB, 0x12, 0x3C, 0x00, 0xFF, 0xE1}},
    {"mono12p: P0's low byte first", Packing::kMono12p, 12, {0xABC, 0x123, 0x001, 0xFFE},
     {0xBC, 0x3A, 0x12, 0x01, 0xE0, 0xFF}},
    {"mono12packed: the nibbles between the high bytes", Packing::kMono12Packed, 12,
     {0xABC, 0x123, 0x001, 0xFFE}, {0xAB, 0x3C, 0x12, 0x00, 0xE1, 0xFF}},
    // low six bits 1, 63, 42, 21 make the 24-bit word 0x56AFC1
    {"raw14: four high bytes, then the low sixes", Packing::kRaw14, 14,
     {0x0001, 0x3FFF, 0x2AAA, 0x1555}, {0x00, 0xFF, 0xAA, 0x55, 0xC1, 0xAF, 0x56}},
};

Samples UnpackAll(Packing p, int bits, const Bytes &in, int width, int height) {
  Samples out(std::size_t(width) * height);
  const tavrix::Status s = tavrix::Unpack(p, bits, width, height, in.data(),
                                          tavrix::PackedRowBytes(p, width), out.data(),
                                          2 * std::size_t(width));
  EXPECT_TRUE(s.ok()) << s.message();
  return out;
}

Bytes PackAll(Packing p, int bits, const Samples &in, int width, int height) {
  Bytes out(tavrix::PackedRowBytes(p, width) * height);
  const tavrix::Status s = tavrix::Pack(p, bits, width, height, in.data(), 2 * std::size_t(width),
                                        out.data(), tavrix::PackedRowBytes(p, width));
  EXPECT_TRUE(s.ok()) << s.message();
  return out;
}

TEST(Packing, GoldenBytesFromEachLayoutsDiagram) {
  for (const Golden &g : kGoldens) {
    SCOPED_TRACE(g.why);
    const int width = int(g.samples.size());
    EXPECT_EQ(PackAll(g.packing, g.bits, g.samples, width, 1), g.bytes);
    path_test::ForEachPath([&](path_test::Path) {
      EXPECT_EQ(UnpackAll(g.packing, g.bits, g.bytes, width, 1), g.samples);
    });
  }
}

TEST(Packing, RoundTripsRandomSamplesThroughPaddedRows) {
  struct Shape { const char *why; int width, height; };
  constexpr Shape kShapes[] = {{"one group", 4, 1}, {"vector plus tail", 100, 3},
                               {"several vectors", 516, 2}};
  std::mt19937 rng(17);
  for (Packing p : kAllPackings)
    for (int bits : BitsOf(p))
      for (const Shape &s : kShapes) {
        SCOPED_TRACE(std::string(tavrix::PackingName(p)) + " " + std::to_string(bits) +
                     " bits, " + s.why);
        Samples samples(std::size_t(s.width + 3) * s.height, 0xA5A5);  // 3 samples of padding
        for (int r = 0; r < s.height; ++r)
          for (int c = 0; c < s.width; ++c)
            samples[std::size_t(r) * (s.width + 3) + c] = std::uint16_t(rng() & ((1u << bits) - 1));
        const std::size_t packedStride = tavrix::PackedRowBytes(p, s.width) + 5;
        Bytes packed(packedStride * s.height, kSentinel);
        ASSERT_TRUE(tavrix::Pack(p, bits, s.width, s.height, samples.data(),
                                 2 * std::size_t(s.width + 3), packed.data(), packedStride)
                        .ok());
        for (int r = 0; r < s.height; ++r)
          for (std::size_t k = packedStride - 5; k < packedStride; ++k)
            ASSERT_EQ(packed[r * packedStride + k], kSentinel) << "row padding written";
        Samples back(samples.size(), 0xA5A5);
        ASSERT_TRUE(tavrix::Unpack(p, bits, s.width, s.height, packed.data(), packedStride,
                                   back.data(), 2 * std::size_t(s.width + 3))
                        .ok());
        EXPECT_EQ(back, samples);
      }
}

TEST(Packing, PackingKeepsTheLowBitsUnpackingMasksNothing) {
  // 0xF123 has bits above 12: packing drops them, unpacking a plain word keeps them.
  EXPECT_EQ(PackAll(Packing::kRaw12, 12, {0xF123, 0x0456}, 2, 1), (Bytes{0x12, 0x45, 0x63}));
  EXPECT_EQ(PackAll(Packing::kBe16, 12, {0xF123}, 1, 1), (Bytes{0x01, 0x23}));
  EXPECT_EQ(UnpackAll(Packing::kPlain16, 12, {0x23, 0xF1}, 1, 1), (Samples{0xF123}));
  EXPECT_EQ(UnpackAll(Packing::kMsb16, 12, {0x2F, 0xF1}, 1, 1), (Samples{0xF12}));
}

TEST(Packing, EveryPathMatchesTheReferenceBitForBit) {
  std::mt19937 rng(1717);
  for (Packing p : kAllPackings) {
    // No vector path falls back unseen on the layouts every one of them vectorizes.
    const bool everyPathHasABody =
        p == Packing::kRaw10 || p == Packing::kRaw14 || p == Packing::kMono10p;
    if (everyPathHasABody)
      path_test::ForEachPath([&](path_test::Path path) {
        EXPECT_EQ(tavrix::detail::ActiveUnpackRow(p) != tavrix::detail::ReferenceUnpackRow(p),
                  path != path_test::Path::kReference);
      });
    const int group = tavrix::PackingGroupSamples(p);
    for (int width = 0; width <= 200; width += group * (width < 80 ? 1 : 7)) {
      const int bits = BitsOf(p).back() == 16 ? 11 : BitsOf(p).back();
      SCOPED_TRACE(std::string(tavrix::PackingName(p)) + ", width " + std::to_string(width));
      Bytes packed(tavrix::PackedRowBytes(p, width));
      for (auto &b : packed) b = std::uint8_t(rng());  // any bytes, high bits of words included
      Samples expected(std::size_t(width) + 8, 0xA5A5);
      tavrix::detail::ReferenceUnpackRow(p)(packed.data(), expected.data(), std::size_t(width),
                                            p == Packing::kMsb16 ? 16u - bits : 0u);
      path_test::ForEachPath([&](path_test::Path) {
        tavrix::RowUnpacker row;
        ASSERT_TRUE(row.Prepare(p, bits, width).ok());
        ASSERT_EQ(row.PackedBytes(), packed.size());
        Samples got(std::size_t(width) + 8, 0xA5A5);  // the 8 past the row stay untouched
        row(packed.data(), got.data());
        EXPECT_EQ(got, expected);
      });
    }
  }
}

TEST(Packing, RefusesWhatALayoutCannotExpressAndWritesNothing) {
  struct Refusal {
    const char *why;
    Packing packing;
    int bits, width, height;
    std::size_t packedStride, sampleStride;
    tavrix::StatusCode code;
    const char *message;
  };
  using C = tavrix::StatusCode;
  const Refusal kRefusals[] = {
      {"raw12 holds 12 bits only", Packing::kRaw12, 10, 8, 2, 12, 16, C::kInvalidOption,
       "raw12 cannot carry 10-bit samples: it holds 12-bit samples only"},
      {"plain8 holds at most 8", Packing::kPlain8, 9, 8, 2, 8, 16, C::kInvalidOption,
       "plain8 cannot carry 9-bit samples: it holds 1 to 8 bits"},
      {"msb16 needs a width", Packing::kMsb16, 0, 8, 2, 16, 16, C::kInvalidOption,
       "msb16 cannot carry 0-bit samples: it holds 1 to 16 bits"},
      {"raw10 groups four samples", Packing::kRaw10, 10, 6, 2, 10, 12, C::kInvalidSize,
       "raw10 packs 4 samples into 5 bytes: width 6 is not a multiple of 4"},
      {"packed stride shorter than a row", Packing::kMono12p, 12, 8, 2, 11, 16, C::kInvalidStride,
       "packed stride 11 is below the 12 bytes of a mono12p row of 8 samples"},
      {"odd sample stride", Packing::kRaw12, 12, 8, 2, 12, 17, C::kInvalidStride,
       "sample stride 17 must be even and at least 16 bytes (8 16-bit samples)"},
      {"negative height", Packing::kRaw12, 12, 8, -1, 12, 16, C::kInvalidSize,
       "height -1 is negative"},
  };
  for (const Refusal &r : kRefusals) {
    SCOPED_TRACE(r.why);
    Bytes packed(64, kSentinel);
    Samples samples(64, 0xA5A5);
    const tavrix::Status unpacked = tavrix::Unpack(r.packing, r.bits, r.width, r.height,
                                                   packed.data(), r.packedStride, samples.data(),
                                                   r.sampleStride);
    EXPECT_EQ(unpacked.code(), r.code);
    EXPECT_EQ(unpacked.message(), r.message);
    EXPECT_EQ(samples, Samples(64, 0xA5A5));
    const tavrix::Status packedStatus = tavrix::Pack(r.packing, r.bits, r.width, r.height,
                                                     samples.data(), r.sampleStride,
                                                     packed.data(), r.packedStride);
    EXPECT_EQ(packedStatus.code(), r.code);
    EXPECT_EQ(packed, Bytes(64, kSentinel));
  }
}

TEST(Packing, NamesRoundTripAndFixedDepthsAreTheOnlyOnesAccepted) {
  for (Packing p : kAllPackings) {
    EXPECT_EQ(tavrix::PackingFromName(tavrix::PackingName(p)), p);
    const int fixed = tavrix::PackingFixedBits(p);
    if (fixed == 0) continue;
    for (int bits = 1; bits <= 16; ++bits)
      EXPECT_EQ(tavrix::CheckPacking(p, bits, 4).ok(), bits == fixed);
  }
  EXPECT_FALSE(tavrix::PackingFromName("raw16"));
}

}  // namespace
