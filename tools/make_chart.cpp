// Writes the demonstration chart, sampled into a Bayer mosaic, as a binary
// PGM: the input of the README gallery (scripts/gallery.sh).
//
//   tavrix_make_chart OUT.pgm [WIDTH HEIGHT BITS PATTERN]   (default 1024 768 8 BG)
#include <cstdio>
#include <cstdlib>
#include <string>

#include "chart.h"
#include "image_files.h"

int main(int argc, char **argv) {
  if (argc != 2 && argc != 6) {
    std::fprintf(stderr, "usage: %s OUT.pgm [WIDTH HEIGHT BITS GB|GR|BG|RG]\n", argv[0]);
    return 2;
  }
  const int width = argc == 6 ? std::atoi(argv[2]) : 1024;
  const int height = argc == 6 ? std::atoi(argv[3]) : 768;
  const int bits = argc == 6 ? std::atoi(argv[4]) : 8;
  const std::string pattern = argc == 6 ? argv[5] : "BG";
  const ePatternOrigin origin = pattern == "GB"   ? eOriginGB
                                : pattern == "GR" ? eOriginGR
                                : pattern == "RG" ? eOriginRG
                                                  : eOriginBG;
  if (width < 4 || height < 4 || bits < 8 || bits > 16) {
    std::fprintf(stderr, "%s: sizes from 4, bits from 8 to 16\n", argv[0]);
    return 2;
  }
  tavrix::files::GreyImage mosaic;
  mosaic.width = width;
  mosaic.height = height;
  mosaic.bits = bits;
  mosaic.data = demo::Mosaic(demo::RenderChart(width, height, bits), width, height, origin);
  std::FILE *file = std::fopen(argv[1], "wb");
  std::string error;
  if (file == nullptr || !tavrix::files::WritePgm(file, mosaic, error) || std::fclose(file) != 0) {
    std::fprintf(stderr, "%s: cannot write %s %s\n", argv[0], argv[1], error.c_str());
    return 1;
  }
  return 0;
}
