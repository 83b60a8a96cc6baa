#include "cli_test_support.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#ifndef TAVRIX_TEST_LAUNCHER
#define TAVRIX_TEST_LAUNCHER ""  // cross builds name the emulator here
#endif

#if TAVRIX_TESTS_HAVE_PNG
#include <png.h>
#endif

namespace tavrix::cli_test {

namespace fs = std::filesystem;

void ToolTest::SetUp() {
  std::string pattern = (fs::temp_directory_path() / "tavrix-cli-XXXXXX").string();
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  dir_ = pattern;
}

void ToolTest::TearDown() {
  std::error_code ignored;
  fs::remove_all(dir_, ignored);
}

RunResult ToolTest::Run(const std::string &args) const {
  const std::string command = "cd '" + dir_ + "' && " TAVRIX_TEST_LAUNCHER "'" TAVRIX_CLI_PROGRAM "' " + args +
                              " >.stdout 2>.stderr </dev/null";
  RunResult r;
  const int raw = std::system(command.c_str());
  r.status = raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  const Bytes out = Read(".stdout"), err = Read(".stderr");
  r.out.assign(out.begin(), out.end());
  r.err.assign(err.begin(), err.end());
  fs::remove(Path(".stdout"));
  fs::remove(Path(".stderr"));
  return r;
}

void ToolTest::Write(const std::string &name, const Bytes &bytes) const {
  std::ofstream f(Path(name), std::ios::binary);
  f.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
}

Bytes ToolTest::Read(const std::string &name) const {
  std::ifstream f(Path(name), std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

std::set<std::string> ToolTest::Files() const {
  std::set<std::string> names;
  for (const auto &entry : fs::directory_iterator(dir_)) names.insert(entry.path().filename());
  return names;
}

void ToolTest::ExpectRefused(const std::string &args, const std::string &subject,
                             const std::string &fragment) const {
  SCOPED_TRACE("tavrix " + args);
  const std::set<std::string> before = Files();
  const RunResult r = Run(args);
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err.find("tavrix: " + subject + ": "), 0u) << r.err;
  EXPECT_NE(r.err.find(fragment), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  EXPECT_EQ(Files(), before);
}

std::vector<std::uint16_t> RandomSamples(std::size_t count, int bits, std::uint32_t seed) {
  std::vector<std::uint16_t> samples(count);
  std::uint32_t state = seed * 2654435761u + 1;
  for (std::uint16_t &s : samples) {
    state = state * 1664525u + 1013904223u;
    s = std::uint16_t((state >> 8) & ((1u << bits) - 1));
  }
  return samples;
}

Bytes PgmBytes(int width, int height, int maxval, const std::vector<std::uint16_t> &samples) {
  const std::string header =
      "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n" + std::to_string(maxval) + "\n";
  Bytes bytes(header.begin(), header.end());
  for (std::uint16_t s : samples) {
    if (maxval > 255) bytes.push_back(std::uint8_t(s >> 8));
    bytes.push_back(std::uint8_t(s));
  }
  return bytes;
}

Bytes RawBytes(const std::vector<std::uint16_t> &samples, bool wide) {
  Bytes bytes;
  for (std::uint16_t s : samples) {
    bytes.push_back(std::uint8_t(s));
    if (wide) bytes.push_back(std::uint8_t(s >> 8));
  }
  return bytes;
}

Picture ParsePpm(const Bytes &bytes) {
  Picture p;
  std::string text(bytes.begin(), bytes.begin() + std::ptrdiff_t(std::min<std::size_t>(bytes.size(), 64)));
  std::istringstream header(text);
  std::string magic;
  header >> magic >> p.width >> p.height >> p.maxval;
  if (magic != "P6" || !header) return {};
  const std::size_t start = std::size_t(header.tellg()) + 1;
  const std::size_t count = std::size_t(p.width) * std::size_t(p.height) * 3;
  const std::size_t sampleBytes = p.maxval > 255 ? 2 : 1;
  if (bytes.size() != start + count * sampleBytes) return {};
  p.rgb.resize(count);
  for (std::size_t i = 0; i < count; ++i)
    p.rgb[i] = sampleBytes == 2 ? std::uint16_t(bytes[start + 2 * i] << 8 | bytes[start + 2 * i + 1])
                                : bytes[start + i];
  return p;
}

Picture ReadPng8(const std::string &path) {
  Picture p;
#if TAVRIX_TESTS_HAVE_PNG
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return p;
  image.format = PNG_FORMAT_RGB;
  std::vector<png_byte> buffer(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, buffer.data(), 0, nullptr)) return p;
  p.width = int(image.width);
  p.height = int(image.height);
  p.maxval = 255;
  p.rgb.assign(buffer.begin(), buffer.end());
#else
  (void)path;
#endif
  return p;
}

}  // namespace tavrix::cli_test
