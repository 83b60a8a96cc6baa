// tavrix compress / decompress: any file through the library's codecs, in a
// container of the tool's own.
//
// Container, all numbers little-endian:
//   offset  0  4 bytes  magic "TVXZ"
//           4  2 bytes  container version (1)
//           6  2 bytes  codec: 1 huffman, 2 lz77, 3 rle (the library's eCompressType)
//           8  4 bytes  uncompressed size in bytes
//          12  4 bytes  CRC-32 of the uncompressed bytes
//          16  ...      the library's stream (its own length word, then the payload)
// The library's stream names neither its codec nor the uncompressed size (the
// Huffman decoder needs it); the checksum catches damage the stream itself
// cannot show, such as a payload that decodes to fewer bytes.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>

#include <tavrix/image_compress.h>

#include "cli.h"

namespace tavrix::cli {

const char kCompressHelp[] = R"(Usage: tavrix compress IN OUT --codec rle|lz77|huffman [options]
       tavrix compress IN... --out-dir DIR --codec NAME [options]

Compresses any file losslessly (typically a raw frame or a converted image)
with one of the library's codecs, into a file tavrix decompress restores.

Options:
  --codec NAME    rle      runs of equal bytes (good on flat images, little else)
                  lz77     repeated sequences anywhere before: smallest files, but
                           slow to compress (over a minute for a 25 MB frame)
                  huffman  short codes for frequent byte values
  --out-dir DIR   several inputs: write DIR/NAME.tvxz for each IN
  --force         replace existing outputs
  --quiet         no summary line

The file holds a 16-byte header of the tool's own (magic, version, codec,
uncompressed size, CRC-32) followed by the library's stream. Inputs must be
smaller than 4 GiB.

Example:
  tavrix compress frame.raw frame.tvxz --codec rle
)";

const char kDecompressHelp[] = R"(Usage: tavrix decompress IN OUT [options]
       tavrix decompress IN... --out-dir DIR [options]

Restores a file written by tavrix compress, byte for byte. The stream is
decoded with the library's checked decoder and the result checked against
the stored CRC-32: a damaged or foreign file is refused and nothing is written.

Options:
  --out-dir DIR   several inputs: write DIR/NAME (NAME.tvxz loses .tvxz) for each IN
  --force         replace existing outputs
  --quiet         no summary line

Example:
  tavrix decompress frame.tvxz frame.raw
)";

namespace {

constexpr unsigned char kMagic[4] = {'T', 'V', 'X', 'Z'};
constexpr unsigned kVersion = 1;
constexpr std::size_t kHeaderBytes = 16;
constexpr std::uint64_t kMaxInput = 0xffffffffu;  // the codec counts image bytes in 32 bits
const char kExtension[] = ".tvxz";

std::uint32_t Crc32(const std::vector<unsigned char> &bytes) {
  static const auto kTable = [] {
    std::vector<std::uint32_t> table(256);
    for (std::uint32_t n = 0; n < 256; ++n) {
      std::uint32_t c = n;
      for (int k = 0; k < 8; ++k) c = c & 1 ? 0xedb88320u ^ (c >> 1) : c >> 1;
      table[n] = c;
    }
    return table;
  }();
  std::uint32_t crc = 0xffffffffu;
  for (unsigned char b : bytes) crc = kTable[(crc ^ b) & 0xff] ^ (crc >> 8);
  return crc ^ 0xffffffffu;
}

void PutLittle(unsigned char *at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::uint32_t GetLittle(const unsigned char *at, int bytes) {
  std::uint32_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | at[i];
  return value;
}

std::vector<unsigned char> ReadAll(const std::string &path) {
  std::unique_ptr<std::FILE, int (*)(std::FILE *)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!f) throw Failure(path, std::string("cannot open: ") + std::strerror(errno));
  std::vector<unsigned char> bytes;
  unsigned char chunk[1 << 16];
  for (;;) {
    const std::size_t n = std::fread(chunk, 1, sizeof chunk, f.get());
    bytes.insert(bytes.end(), chunk, chunk + n);
    if (bytes.size() > kMaxInput + kHeaderBytes + kMaxInput / 64)
      throw Failure(path, "too large: inputs must be smaller than 4 GiB");
    if (n < sizeof chunk) break;
  }
  if (std::ferror(f.get()))
    throw Failure(path, std::string("cannot read: ") + (errno == EISDIR ? "is a folder" : std::strerror(errno)));
  return bytes;
}

void WriteAll(OutputFile &out, const std::vector<unsigned char> &bytes) {
  std::FILE *f = out.Open();
  if (std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size())
    throw Failure(out.Path(), std::string("cannot write: ") + std::strerror(errno), kExitCannotWrite);
  out.Commit();
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TaskResult Compress(eCompressType codec, bool replace, const Task &task) {
  OutputFile out(task.output, replace);
  const std::vector<unsigned char> input = ReadAll(task.input);
  if (input.size() > kMaxInput) throw Failure(task.input, "too large: inputs must be smaller than 4 GiB");
  const unsigned long size = static_cast<unsigned long>(input.size());
  const unsigned long long capacity = CImageCompress::MaxEncodedSize(codec, size);

  std::vector<unsigned char> file(kHeaderBytes + std::size_t(capacity));
  std::copy(kMagic, kMagic + 4, file.begin());
  PutLittle(&file[4], kVersion, 2);
  PutLittle(&file[6], std::uint32_t(codec), 2);
  PutLittle(&file[8], std::uint32_t(size), 4);
  PutLittle(&file[12], Crc32(input), 4);

  const auto start = std::chrono::steady_clock::now();
  CImageCompress codecObject;
  codecObject.InitCompress(codec, size);
  static const unsigned char kNothing = 0;  // a valid address for an empty input
  const unsigned long streamBytes = codecObject.EncodeImage(
      input.empty() ? &kNothing : input.data(), &file[kHeaderBytes], static_cast<unsigned long>(capacity));
  TaskResult result;
  result.workSeconds = SecondsSince(start);
  if (streamBytes == 0) throw Failure(task.input, "the encoder produced no stream", kExitCannotWrite);
  file.resize(kHeaderBytes + streamBytes);
  WriteAll(out, file);
  result.bytesIn = input.size();
  result.bytesOut = file.size();
  return result;
}

TaskResult Decompress(bool replace, const Task &task) {
  OutputFile out(task.output, replace);
  const std::vector<unsigned char> file = ReadAll(task.input);
  if (file.size() < kHeaderBytes || !std::equal(kMagic, kMagic + 4, file.begin()))
    throw Failure(task.input, "not a file written by tavrix compress (no TVXZ header)");
  const std::uint32_t version = GetLittle(&file[4], 2);
  if (version != kVersion)
    throw Failure(task.input, "container version " + std::to_string(version) +
                                  " is unknown to this tavrix (it reads version 1)");
  const std::uint32_t codec = GetLittle(&file[6], 2);
  if (codec != eHuffman && codec != eLZ77 && codec != eRLE)
    throw Failure(task.input, "damaged: unknown codec " + std::to_string(codec));
  const std::uint32_t size = GetLittle(&file[8], 4);
  const std::uint32_t crc = GetLittle(&file[12], 4);

  std::vector<unsigned char> restored(std::size_t(size) + 1, 0);  // + 1: never a null pointer
  const auto start = std::chrono::steady_clock::now();
  CImageCompress codecObject;
  codecObject.InitCompress(eCompressType(codec), size);
  const bool decoded = codecObject.DecodeImage(&file[kHeaderBytes], static_cast<unsigned long>(file.size() - kHeaderBytes),
                                               restored.data(), size);
  TaskResult result;
  result.workSeconds = SecondsSince(start);
  if (!decoded) throw Failure(task.input, "damaged: the compressed stream does not decode");
  restored.pop_back();
  if (Crc32(restored) != crc)
    throw Failure(task.input, "damaged: the restored bytes do not match the stored checksum");
  WriteAll(out, restored);
  result.bytesIn = file.size();
  result.bytesOut = restored.size();
  return result;
}

}  // namespace

int CompressCommand(const std::vector<std::string> &args) {
  const Arguments a("compress", args, {{"--codec", true}});
  if (!a.Has("--codec")) a.Refuse("--codec rle|lz77|huffman is required (see tavrix compress --help)");
  static const eCompressType kCodecs[] = {eRLE, eLZ77, eHuffman};
  const eCompressType codec = kCodecs[a.Choice("--codec", {"rle", "lz77", "huffman"})];
  const bool replace = a.Has("--force");
  const std::vector<Task> tasks =
      TasksOf(a, [](const std::string &name) { return name + kExtension; });
  return RunTasks(a, tasks, Summary::kBytes,
                  [&](const Task &task) { return Compress(codec, replace, task); });
}

int DecompressCommand(const std::vector<std::string> &args) {
  const Arguments a("decompress", args, {});
  const bool replace = a.Has("--force");
  const std::vector<Task> tasks = TasksOf(a, [](const std::string &name) {
    const std::size_t n = sizeof kExtension - 1;
    const bool marked = name.size() > n && name.compare(name.size() - n, n, kExtension) == 0;
    return marked ? name.substr(0, name.size() - n) : name + ".out";
  });
  return RunTasks(a, tasks, Summary::kBytes,
                  [&](const Task &task) { return Decompress(replace, task); });
}

}  // namespace tavrix::cli
