// Lossless compression speed and ratio on the raw mosaics: Tavrix's three codecs
// against zlib (levels 1 and 6), lz4 (default and HC) and zstd (levels 1 and 3),
// beside a memcpy of the raw frame.
#include <algorithm>
#include <functional>
#include <memory>

#include "suites.h"
#include "tavrix/image_compress.h"

#if TAVRIX_BENCH_ZLIB
#include <zlib.h>
#endif
#if TAVRIX_BENCH_LZ4
#include <lz4.h>
#include <lz4hc.h>
#endif
#if TAVRIX_BENCH_ZSTD
#include <zstd.h>
#endif

namespace bench {
namespace {

using Bytes = std::vector<std::uint8_t>;

// One codec as the cases drive it. Encode returns the stream length (0 on
// failure); decode reports whether it restored exactly `rawSize` bytes.
struct Codec {
  std::string name;
  std::function<std::size_t(const std::uint8_t *raw, std::size_t rawSize, std::uint8_t *stream,
                            std::size_t capacity)>
      encode;
  std::function<bool(const std::uint8_t *stream, std::size_t streamSize, std::uint8_t *raw,
                     std::size_t rawSize)>
      decode;
};

// A Tavrix codec: one object, set up once for the frame size, encodes with the
// checked encoder and decodes with the checked decoder (the one for streams that
// come from disk or a network).
Codec TavrixCodec(const char *name, eCompressType type, std::size_t rawSize) {
  auto codec = std::make_shared<CImageCompress>();
  codec->InitCompress(type, rawSize);
  return {std::string("tavrix_") + name,
          [codec](const std::uint8_t *raw, std::size_t, std::uint8_t *stream,
                  std::size_t capacity) -> std::size_t {
            return codec->EncodeImage(raw, stream, capacity);
          },
          [codec](const std::uint8_t *stream, std::size_t length, std::uint8_t *raw,
                  std::size_t size) { return codec->DecodeImage(stream, length, raw, size); }};
}

std::vector<Codec> PeerCodecs() {
  std::vector<Codec> codecs;
#if TAVRIX_BENCH_ZLIB
  for (int level : {1, 6})
    codecs.push_back({"zlib_" + std::to_string(level),
                      [level](const std::uint8_t *raw, std::size_t size, std::uint8_t *stream,
                              std::size_t capacity) -> std::size_t {
                        uLongf length = uLongf(capacity);
                        return compress2(stream, &length, raw, uLong(size), level) == Z_OK ? length : 0;
                      },
                      [](const std::uint8_t *stream, std::size_t length, std::uint8_t *raw,
                         std::size_t size) {
                        uLongf produced = uLongf(size);
                        return uncompress(raw, &produced, stream, uLong(length)) == Z_OK &&
                               produced == size;
                      }});
#endif
#if TAVRIX_BENCH_LZ4
  const auto lz4Decode = [](const std::uint8_t *stream, std::size_t length, std::uint8_t *raw,
                            std::size_t size) {
    return LZ4_decompress_safe(reinterpret_cast<const char *>(stream),
                               reinterpret_cast<char *>(raw), int(length), int(size)) == int(size);
  };
  codecs.push_back({"lz4",
                    [](const std::uint8_t *raw, std::size_t size, std::uint8_t *stream,
                       std::size_t capacity) -> std::size_t {
                      return std::size_t(LZ4_compress_default(
                          reinterpret_cast<const char *>(raw), reinterpret_cast<char *>(stream),
                          int(size), int(capacity)));
                    },
                    lz4Decode});
  codecs.push_back({"lz4_hc",
                    [](const std::uint8_t *raw, std::size_t size, std::uint8_t *stream,
                       std::size_t capacity) -> std::size_t {
                      return std::size_t(LZ4_compress_HC(
                          reinterpret_cast<const char *>(raw), reinterpret_cast<char *>(stream),
                          int(size), int(capacity), LZ4HC_CLEVEL_DEFAULT));
                    },
                    lz4Decode});
#endif
#if TAVRIX_BENCH_ZSTD
  for (int level : {1, 3})
    codecs.push_back({"zstd_" + std::to_string(level),
                      [level](const std::uint8_t *raw, std::size_t size, std::uint8_t *stream,
                              std::size_t capacity) -> std::size_t {
                        static ZSTD_CCtx *context = ZSTD_createCCtx();
                        const std::size_t n =
                            ZSTD_compressCCtx(context, stream, capacity, raw, size, level);
                        return ZSTD_isError(n) ? 0 : n;
                      },
                      [](const std::uint8_t *stream, std::size_t length, std::uint8_t *raw,
                         std::size_t size) {
                        static ZSTD_DCtx *context = ZSTD_createDCtx();
                        return ZSTD_decompressDCtx(context, raw, size, stream, length) == size;
                      }});
#endif
  return codecs;
}

// A raw frame as a codec sees it: the mosaic's bytes, 16-bit words little-endian.
struct Input {
  std::string name;
  const std::uint8_t *bytes;
  std::size_t size;
};

void AddCodec(const Codec &codec, const Input &input, const std::string &prefix,
              Buffers &buffers) {
  // Encoded once, the first time a decode case runs, outside its timing.
  auto stream = std::make_shared<Bytes>();
  const auto encodeOnce = [codec, input, stream, &buffers]() {
    if (!stream->empty()) return;
    const std::size_t n =
        codec.encode(input.bytes, input.size, buffers.output.data(), buffers.output.size());
    stream->assign(buffers.output.begin(), buffers.output.begin() + std::ptrdiff_t(n));
  };
  AddCase(prefix + codec.name + "/encode", Unit::kMegabytes, input.size,
          [codec, input, &buffers](benchmark::State &state) {
            std::size_t length = 0;
            for (auto _ : state) {
              length = codec.encode(input.bytes, input.size, buffers.output.data(),
                                    buffers.output.size());
              benchmark::ClobberMemory();
            }
            if (length == 0) state.SkipWithError("encode failed");
            state.counters["ratio"] = double(length) / double(input.size);
          });
  AddCase(prefix + codec.name + "/decode", Unit::kMegabytes, input.size,
          [codec, input, stream, encodeOnce, &buffers](benchmark::State &state) {
            encodeOnce();
            bool ok = !stream->empty();
            for (auto _ : state) {
              ok = codec.decode(stream->data(), stream->size(), buffers.scratch.data(), input.size) && ok;
              benchmark::ClobberMemory();
            }
            if (!ok || !std::equal(input.bytes, input.bytes + input.size, buffers.scratch.begin()))
              state.SkipWithError("round trip failed");
            state.counters["ratio"] = double(stream->size()) / double(input.size);
          });
}

}  // namespace

void AddCodecCases(const Frame &f, Buffers &buffers) {
  const std::string size = std::to_string(f.width) + "x" + std::to_string(f.height);
  const Input inputs[] = {
      {"8-bit", f.mosaic8.data(), f.mosaic8.size()},
      {"12-bit-in-16", reinterpret_cast<const std::uint8_t *>(f.mosaic16.data()), f.mosaic16.size() * 2}};
  const std::vector<Codec> peers = PeerCodecs();
  for (const Input &input : inputs) {
    buffers.Reserve(input.size * 2);  // beyond every codec's bound for incompressible data
    const std::string prefix = "codec/" + size + "/" + input.name + "/";
    const std::string section = "Compression " + size + ", " + input.name +
                                " mosaic (MB/s of raw bytes)";
    const std::string memcpyCase = prefix + "memcpy";
    for (const auto &[name, type] : {std::make_pair("Huffman", eHuffman),
                                     std::make_pair("LZ77", eLZ77), std::make_pair("RLE", eRLE)}) {
      const Codec codec = TavrixCodec(name, type, input.size);
      AddCodec(codec, input, prefix, buffers);
      for (const char *step : {"encode", "decode"})
        for (const char *peer : {"zstd_1", "zlib_1", "lz4"})
          AddComparison({section, std::string(name) + " " + step, prefix + codec.name + "/" + step,
                         prefix + peer + "/" + step, memcpyCase, ""});
    }
    for (const Codec &codec : peers) AddCodec(codec, input, prefix, buffers);
    AddMemcpyCase(memcpyCase, Unit::kMegabytes, input.size, input.size, buffers);
  }
}

}  // namespace bench
