// Writes what tavrix::Demosaic makes of a headerless mosaic, for the Python tests
// to compare the module with the C++ interface byte for byte.
//   interface_dump IN OUT WIDTH HEIGHT SAMPLE_BYTES BITS ORIGIN ALGORITHM FORMAT THREADS
// The output starts zero-filled, as the module's new arrays do. With TAVRIX_REPEAT=N
// in the environment it converts N times and prints the median time of a call
// (bench/python/binding_overhead.py compares it with the module's).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include <tavrix/demosaic.h>

int main(int argc, char **argv) {
  if (argc != 11) {
    std::fprintf(stderr, "usage: %s IN OUT W H SAMPLE_BYTES BITS ORIGIN ALGORITHM FORMAT THREADS\n",
                 argv[0]);
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  const std::vector<char> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const int w = std::atoi(argv[3]), h = std::atoi(argv[4]);
  const bool wide = std::atoi(argv[5]) == 2;
  tavrix::DemosaicOptions o;
  o.bitDepth = std::atoi(argv[6]);
  o.origin = ePatternOrigin(std::atoi(argv[7]));
  o.algorithm = tavrix::Algorithm(std::atoi(argv[8]));
  const auto format = tavrix::PixelFormat(std::atoi(argv[9]));
  o.parallel.threads = std::atoi(argv[10]);
  if (raw.size() != std::size_t(w) * h * (wide ? 2 : 1)) return 2;
  std::vector<char> out(std::size_t(w) * h * tavrix::BytesPerPixel(format), 0);
  tavrix::RawView view;
  view.data = raw.data();
  view.width = w;
  view.height = h;
  view.type = wide ? tavrix::SampleType::kMono16 : tavrix::SampleType::kMono8;
  const tavrix::ColorView target(out.data(), w, h, 0, format);
  if (const char *repeat = std::getenv("TAVRIX_REPEAT")) {
    std::vector<double> seconds;
    for (int i = 0; i < std::atoi(repeat); ++i) {
      const auto start = std::chrono::steady_clock::now();
      tavrix::Demosaic(view, target, o);
      seconds.push_back(
          std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(seconds.begin(), seconds.end());
    if (!seconds.empty()) std::printf("%.6f\n", seconds[seconds.size() / 2]);
  }
  const tavrix::Status s = tavrix::Demosaic(view, target, o);
  if (!s.ok()) {
    std::fprintf(stderr, "%s\n", s.message().c_str());
    return 1;
  }
  std::ofstream(argv[2], std::ios::binary).write(out.data(), std::streamsize(out.size()));
  return 0;
}
