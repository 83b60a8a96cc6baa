// Running the built tavrix program in a temporary folder, and reading what it
// wrote without the tool's own image-file code where that matters.
#ifndef TAVRIX_TESTS_TOOLS_CLI_TEST_SUPPORT_H
#define TAVRIX_TESTS_TOOLS_CLI_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tavrix::cli_test {

using Bytes = std::vector<std::uint8_t>;

struct RunResult {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out, err;
};

// Red, green, blue values per pixel, top row first.
struct Picture {
  int width = 0, height = 0;
  int maxval = 0;
  std::vector<std::uint16_t> rgb;
};

class ToolTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  // Runs `tavrix ARGS` with the temporary folder as working directory.
  RunResult Run(const std::string &args) const;
  std::string Path(const std::string &name) const { return dir_ + "/" + name; }
  void Write(const std::string &name, const Bytes &bytes) const;
  Bytes Read(const std::string &name) const;
  // Every entry of the folder, hidden ones included.
  std::set<std::string> Files() const;

  // The command failed with status 2, said so in one stderr line naming
  // `subject` and containing `fragment`, and left the folder as it was.
  void ExpectRefused(const std::string &args, const std::string &subject,
                     const std::string &fragment) const;
  struct Refusal {
    const char *args;
    const char *subject;
    const char *fragment;
  };
  template <std::size_t kCount>
  void ExpectRefused(const Refusal (&cases)[kCount]) const {
    for (const Refusal &c : cases) ExpectRefused(c.args, c.subject, c.fragment);
  }

  std::string dir_;
};

// Samples of `bits` bits from a fixed generator.
std::vector<std::uint16_t> RandomSamples(std::size_t count, int bits, std::uint32_t seed);

// A binary PGM, written here byte by byte (words big-endian above maxval 255).
Bytes PgmBytes(int width, int height, int maxval, const std::vector<std::uint16_t> &samples);
// Headerless samples: bytes, or little-endian words when `wide`.
Bytes RawBytes(const std::vector<std::uint16_t> &samples, bool wide);

// A binary PPM, parsed here (header without comments, as tavrix writes it).
Picture ParsePpm(const Bytes &bytes);
// An 8-bit PNG through libpng's simplified reader (not the tool's reader).
Picture ReadPng8(const std::string &path);

}  // namespace tavrix::cli_test

#endif
