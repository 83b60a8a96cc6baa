// Encode and decode speed and ratio of the three codecs on camera frames.
//
//   tavrix_compress_bench --benchmark_filter='Mosaic(8|12)/'   the two mosaics
//
// LZ77 encoding takes seconds per frame: its search for the longest match is
// exhaustive by design, over the whole frame.
// Frames are 4096x3072: an 8-bit mosaic and a 12-bit mosaic in 16-bit words (a
// smooth scene behind RGGB gains plus sensor noise), a flat-colour 8-bit mosaic
// (two alternating byte values), a flat 16-bit frame, 10-bit dark noise in 16-bit
// words, and a flat 16 MiB frame (the worst case of the literal LZ77 search).
// Counters: ratio = encoded / raw size; bytes_per_second counts raw bytes.
#include "tavrix/image_compress.h"

#include "../tests/compress/test_data.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <utility>
#include <string>
#include <vector>

namespace {

using tavrix::test::Bytes;
using tavrix::test::Mosaic;
using tavrix::test::Repeat;

constexpr int kWidth = 4096, kHeight = 3072;

const Bytes &Frame(const std::string &name) {
  static std::map<std::string, Bytes> frames;
  auto found = frames.find(name);
  if (found != frames.end()) return found->second;
  const size_t pixels = size_t(kWidth) * kHeight;
  Bytes frame;
  if (name == "Mosaic8") frame = Mosaic(kWidth, kHeight, 8, 2.0, 1);
  else if (name == "Mosaic12") frame = Mosaic(kWidth, kHeight, 12, 6.0, 2);
  else if (name == "FlatMosaic8") frame = Repeat({0x5A, 0xC3}, pixels);
  else if (name == "Flat16") frame = Repeat({0x23, 0x01}, pixels * 2);
  else if (name == "DarkNoise10") frame = Mosaic(kWidth, kHeight, 10, 3.0, 3, 0.1);
  else frame = Bytes(size_t(16) << 20, 0x80); // Flat16MiB
  return frames.emplace(name, std::move(frame)).first->second;
}

struct Setup {
  CImageCompress codec;
  Bytes stream;
  Bytes decoded;
  unsigned long streamLength = 0;
  Setup(eCompressType type, const Bytes &frame) {
    codec.InitCompress(type, frame.size());
    stream.resize(size_t(CImageCompress::MaxEncodedSize(type, frame.size())));
    decoded.resize(frame.size());
  }
};

void Report(benchmark::State &state, const Bytes &frame, unsigned long streamLength) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(frame.size()));
  state.counters["ratio"] = double(streamLength) / double(frame.size());
}

// The stream of one codec and frame, encoded once for all decode benchmarks (an
// LZ77 encode takes seconds).
std::map<std::pair<int, std::string>, Bytes> &Streams() {
  static std::map<std::pair<int, std::string>, Bytes> streams;
  return streams;
}

const Bytes &Stream(eCompressType type, const std::string &name) {
  auto &streams = Streams();
  const auto key = std::make_pair(int(type), name);
  auto found = streams.find(key);
  if (found != streams.end()) return found->second;
  const Bytes &frame = Frame(name);
  Setup s(type, frame);
  s.stream.resize(s.codec.EncodeImage(const_cast<uint8_t *>(frame.data()), s.stream.data()));
  return streams.emplace(key, std::move(s.stream)).first->second;
}

void Encode(benchmark::State &state, eCompressType type, const std::string &name) {
  const Bytes &frame = Frame(name);
  Setup s(type, frame);
  for (auto _ : state) {
    s.streamLength = s.codec.EncodeImage(const_cast<uint8_t *>(frame.data()), s.stream.data());
    benchmark::DoNotOptimize(s.stream.data());
  }
  if (s.streamLength > CImageCompress::MaxEncodedSize(type, frame.size()))
    state.SkipWithError("stream beyond the bound");
  s.stream.resize(s.streamLength);
  Streams()[std::make_pair(int(type), name)] = s.stream;
  Report(state, frame, s.streamLength);
}

void Decode(benchmark::State &state, eCompressType type, const std::string &name, bool checked) {
  const Bytes &frame = Frame(name);
  Setup s(type, frame);
  s.stream = Stream(type, name);
  s.streamLength = s.stream.size();
  for (auto _ : state) {
    bool ok = checked ? s.codec.DecodeImage(s.stream.data(), s.streamLength, s.decoded.data(),
                                            s.decoded.size())
                      : s.codec.DecodeImage(s.stream.data(), s.decoded.data());
    benchmark::DoNotOptimize(ok);
  }
  if (s.decoded != frame) state.SkipWithError("round trip failed");
  Report(state, frame, s.streamLength);
}

const struct {
  const char *name;
  eCompressType type;
} kCodecs[] = {{"Huffman", eHuffman}, {"LZ77", eLZ77}, {"RLE", eRLE}};

const char *const kFrames[] = {"Mosaic8", "Mosaic12", "FlatMosaic8", "Flat16", "DarkNoise10",
                               "Flat16MiB"};

int RegisterAll() {
  for (const char *frame : kFrames)
    for (const auto &codec : kCodecs) {
      const std::string base = std::string(codec.name) + "/" + frame;
      const eCompressType type = codec.type;
      const std::string name = frame;
      benchmark::RegisterBenchmark((base + "/Encode").c_str(), [=](benchmark::State &state) {
        Encode(state, type, name);
      })->Unit(benchmark::kMillisecond)->UseRealTime();
      benchmark::RegisterBenchmark((base + "/Decode").c_str(), [=](benchmark::State &state) {
        Decode(state, type, name, false);
      })->Unit(benchmark::kMillisecond)->UseRealTime();
      benchmark::RegisterBenchmark((base + "/DecodeChecked").c_str(), [=](benchmark::State &state) {
        Decode(state, type, name, true);
      })->Unit(benchmark::kMillisecond)->UseRealTime();
    }
  return 0;
}

const int kRegistered = RegisterAll();

} // namespace

BENCHMARK_MAIN();
