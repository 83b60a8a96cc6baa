// Writes the seed corpora of the fuzz targets: valid streams of every codec
// for the decoder, small images for the round trip, and byte strings for the
// settings-driven targets.  Usage: make_seeds CORPUS_DIR
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tavrix/formats.h"
#include "tavrix/tavrix.h"

namespace {

void Write(const std::string &dir, const std::string &name, const std::vector<std::uint8_t> &bytes) {
  mkdir(dir.c_str(), 0755);
  const std::string path = dir + "/" + name;
  if (FILE *f = std::fopen(path.c_str(), "wb")) {
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
  }
}

// Sample images: flat, a ramp, noise, runs, a small mosaic-like pattern.
std::vector<std::vector<std::uint8_t>> Images() {
  std::mt19937 rng(7);
  std::vector<std::vector<std::uint8_t>> images;
  images.push_back(std::vector<std::uint8_t>(300, 0x41));
  std::vector<std::uint8_t> ramp(256), noise(500), runs, mosaic(16 * 16);
  for (int i = 0; i < 256; ++i) ramp[i] = std::uint8_t(i);
  for (auto &b : noise) b = std::uint8_t(rng());
  for (int r = 0; r < 20; ++r) runs.insert(runs.end(), 1 + r * 7, std::uint8_t(r * 13));
  for (int i = 0; i < 256; ++i) mosaic[i] = std::uint8_t((i % 2 ? 90 : 160) + (rng() & 7));
  images.push_back(ramp);
  images.push_back(noise);
  images.push_back(runs);
  images.push_back(mosaic);
  images.push_back({});
  images.push_back({7});
  return images;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string root = argc > 1 ? argv[1] : "corpus";
  mkdir(root.c_str(), 0755);
  const auto images = Images();
  const struct {
    eCompressType type;
    std::uint8_t index;
    const char *name;
  } codecs[] = {{eHuffman, 0, "huffman"}, {eLZ77, 1, "lz77"}, {eRLE, 2, "rle"}};
  for (std::size_t i = 0; i < images.size(); ++i) {
    const std::vector<std::uint8_t> &image = images[i];
    Write(root + "/roundtrip_fuzz", "image" + std::to_string(i), image);
    for (const auto &c : codecs) {
      CImageCompress codec;
      codec.InitCompress(c.type, image.size());
      std::vector<std::uint8_t> stream(CImageCompress::MaxEncodedSize(c.type, image.size()));
      const unsigned long length = codec.EncodeImage(image.data(), stream.data(), stream.size());
      stream.resize(length);
      const std::size_t n = image.size();
      std::vector<std::uint8_t> seed = {c.index, 0, std::uint8_t(n), std::uint8_t(n >> 8), 0, 0};
      seed.insert(seed.end(), stream.begin(), stream.end());
      Write(root + "/decode_fuzz", std::string(c.name) + std::to_string(i), seed);
    }
  }
  std::mt19937 rng(11);
  for (const char *target : {"convert_fuzz", "balance_fuzz"})
    for (int k = 0; k < 8; ++k) {
      std::vector<std::uint8_t> bytes(64 + 96 * k);
      for (auto &b : bytes) b = std::uint8_t(rng());
      Write(root + "/" + target, "random" + std::to_string(k), bytes);
    }
  // Pattern names (first byte even) and small frames of each layout (odd).
  int n = 0;
  for (const char *name : {"RGGB", "COLOR_BayerBG2BGR_VNG", "SGRBG10P", "pgAA", "BayerGB12Packed",
                           "1 0 2 1", "0x94949494"}) {
    std::vector<std::uint8_t> bytes = {0};
    bytes.insert(bytes.end(), name, name + std::strlen(name));
    Write(root + "/formats_fuzz", "name" + std::to_string(n++), bytes);
  }
  for (std::uint8_t packing = 0; packing < 10; ++packing) {
    // packing, then bits, width and height as (pick, value) pairs, then the two paddings
    const std::uint8_t bits = packing == 2 || packing == 5 ? 10 : packing == 4 ? 14 : 12;
    std::vector<std::uint8_t> bytes = {1, packing, 0, 0, 0, 1, bits, 0, 0, 0, 1, 40, 0, 0, 0,
                                       1, 3, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0};
    for (int k = 0; k < 64; ++k) bytes.push_back(std::uint8_t(rng()));
    Write(root + "/formats_fuzz", "layout" + std::to_string(packing), bytes);
  }
  return 0;
}
