// tavrix compress and decompress, run as a program: round trips, the
// container's header, and damaged files.
#include <filesystem>
#include <iterator>

#include "cli_test_support.h"

namespace tavrix::cli_test {
namespace {

const char *const kCodecs[] = {"rle", "lz77", "huffman"};
constexpr std::size_t kHeaderBytes = 16;

struct Content {
  const char *why;
  Bytes bytes;
};

std::vector<Content> Contents() {
  Bytes runs;
  for (int i = 0; i < 40; ++i) runs.insert(runs.end(), std::size_t(i * 7 % 300 + 1), std::uint8_t(i));
  Bytes noise;
  for (std::uint16_t v : RandomSamples(5000, 8, 21)) noise.push_back(std::uint8_t(v));
  return {{"empty file", {}},
          {"one byte", {42}},
          {"runs of every length", runs},
          {"noise", noise},
          {"a 12-bit mosaic", PgmBytes(64, 48, 4095, RandomSamples(64 * 48, 12, 5))}};
}

using CompressTest = ToolTest;

TEST_F(CompressTest, EveryCodecRestoresTheSameBytes) {
  for (const Content &content : Contents()) {
    Write("in.bin", content.bytes);
    for (std::size_t codec = 0; codec < std::size(kCodecs); ++codec) {
      SCOPED_TRACE(std::string(content.why) + ", " + kCodecs[codec]);
      RunResult r = Run(std::string("compress in.bin in.tvxz --force --codec ") + kCodecs[codec]);
      ASSERT_EQ(r.status, 0) << r.err;
      const Bytes packed = Read("in.tvxz");
      ASSERT_GE(packed.size(), kHeaderBytes + 4);
      // Magic, version 1, the library's codec number (rle 3, lz77 2, huffman 1), the size.
      EXPECT_EQ(Bytes(packed.begin(), packed.begin() + 8),
                (Bytes{'T', 'V', 'X', 'Z', 1, 0, std::uint8_t(3 - codec), 0}));
      const std::size_t size = content.bytes.size();
      EXPECT_EQ(Bytes(packed.begin() + 8, packed.begin() + 12),
                (Bytes{std::uint8_t(size), std::uint8_t(size >> 8), std::uint8_t(size >> 16), 0}));
      r = Run("decompress in.tvxz out.bin --force");
      ASSERT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(Read("out.bin"), content.bytes);
    }
  }
}

TEST_F(CompressTest, SeveralFilesWithAnOutputFolder) {
  Write("a.pgm", PgmBytes(16, 8, 255, RandomSamples(128, 8, 1)));
  Write("b.raw", Bytes(1000, 7));
  std::filesystem::create_directory(Path("packed"));
  std::filesystem::create_directory(Path("restored"));
  RunResult r = Run("compress a.pgm b.raw --out-dir packed --codec lz77");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("compress: 2 files, 0.001 MB -> "), std::string::npos) << r.err;
  r = Run("decompress packed/a.pgm.tvxz packed/b.raw.tvxz --out-dir restored --quiet");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(Read("restored/a.pgm"), Read("a.pgm"));
  EXPECT_EQ(Read("restored/b.raw"), Read("b.raw"));
}

TEST_F(CompressTest, DamagedFilesAreRefusedAndNothingIsWritten) {
  Bytes noise;
  for (std::uint16_t v : RandomSamples(3000, 8, 13)) noise.push_back(std::uint8_t(v % 64));
  Write("in.bin", noise);
  for (const char *codec : kCodecs) {
    SCOPED_TRACE(codec);
    ASSERT_EQ(Run(std::string("compress in.bin good.tvxz --force --codec ") + codec).status, 0);
    const Bytes good = Read("good.tvxz");
    struct Damage {
      const char *why;
      std::size_t keep;      // bytes kept from the start
      std::size_t flipAt;    // a byte inverted (beyond the file: none)
      const char *fragment;
    };
    const std::size_t n = good.size(), none = n;
    const Damage kDamages[] = {
        {"header cut short", 10, none, "not a file written by tavrix compress"},
        {"stream cut after its length word", kHeaderBytes + 4, none, "damaged: the compressed stream does not decode"},
        {"stream cut in the middle", kHeaderBytes + (n - kHeaderBytes) / 2, none, "damaged"},
        {"last byte missing", n - 1, none, "damaged"},
        {"payload byte changed", n, kHeaderBytes + (n - kHeaderBytes) / 2, "damaged"},
        {"stored size changed", n, 9, "damaged"},
        {"stored checksum changed", n, 13, "damaged: the restored bytes do not match the stored checksum"},
        {"magic changed", n, 0, "not a file written by tavrix compress (no TVXZ header)"},
        {"newer container version", n, 4, "container version 254 is unknown to this tavrix"},
        {"unknown codec", n, 7, "damaged: unknown codec"},
    };
    for (const Damage &d : kDamages) {
      SCOPED_TRACE(d.why);
      Bytes damaged(good.begin(), good.begin() + std::ptrdiff_t(d.keep));
      if (d.flipAt < damaged.size()) damaged[d.flipAt] = std::uint8_t(~damaged[d.flipAt]);
      Write("bad.tvxz", damaged);
      ExpectRefused("decompress bad.tvxz out.bin", "bad.tvxz", d.fragment);
    }
  }
}

TEST_F(CompressTest, BadArgumentsAreRefused) {
  Write("in.bin", Bytes(100, 1));
  const Refusal kCases[] = {
      {"compress in.bin out.tvxz", "compress", "--codec rle|lz77|huffman is required"},
      {"compress in.bin out.tvxz --codec zip", "compress", "--codec zip: expected rle, lz77 or huffman"},
      {"compress missing.bin out.tvxz --codec rle", "missing.bin", "cannot open"},
      {"compress . out.tvxz --codec rle", ".", "cannot read: is a folder"},
      {"decompress in.bin out.bin --codec rle", "decompress", "unknown option --codec"},
      {"decompress in.bin", "decompress", "missing OUT"},
  };
  ExpectRefused(kCases);
}

}  // namespace
}  // namespace tavrix::cli_test
