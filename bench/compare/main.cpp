// Tavrix beside the libraries users would pick instead, in one process on the
// same frames: demosaicing (OpenCV), colour balance (OpenCV xphoto), lossless
// compression (zlib, lz4, zstd), with memcpy and streaming ceilings, plus the
// demosaic quality table. Peers that were not found at build time are left out.
//
//   tavrix_compare_bench [--quality=on|only|off] [--report=FILE]
//                        [--frames=4096x3072,1920x1080] [--suites=demosaic,balance,codec]
//                        [Google Benchmark flags]
//
// Unless the command line says otherwise, every case runs 7 repetitions of at
// least 0.15 s each in random interleaved order (one repetition of each case in
// turn, shuffled), so that a burst of load on a shared machine hits all of them
// alike; the tables use the median of the repetitions.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "cases.h"
#include "suites.h"

#if TAVRIX_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

std::string FirstLine(const char *path, const char *key) {
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line))
    if (key == nullptr || line.rfind(key, 0) == 0) {
      const std::size_t colon = line.find(':');
      return key != nullptr && colon != std::string::npos ? line.substr(colon + 2) : line;
    }
  return "unknown";
}

struct Options {
  std::string quality = "on";
  std::string report;
  std::vector<std::pair<int, int>> frames = {{4096, 3072}, {1920, 1080}};
  std::string suites = "demosaic,balance,codec";
};

bool TakeFlag(const std::string &arg, const char *name, std::string &value) {
  const std::string prefix = std::string("--") + name + "=";
  if (arg.rfind(prefix, 0) != 0) return false;
  value = arg.substr(prefix.size());
  return true;
}

// Takes this program's own flags out of argv and adds the interleaving defaults
// for every Google Benchmark flag the caller did not give.
Options ParseOptions(int &argc, char **argv, std::vector<std::string> &storage,
                     std::vector<char *> &args) {
  Options options;
  std::vector<std::string> rest;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    std::string frames;
    if (TakeFlag(arg, "quality", options.quality) || TakeFlag(arg, "report", options.report) ||
        TakeFlag(arg, "suites", options.suites))
      continue;
    if (TakeFlag(arg, "frames", frames)) {
      options.frames.clear();
      std::istringstream list(frames);
      std::string item;
      int w = 0, h = 0;
      while (std::getline(list, item, ','))
        if (std::sscanf(item.c_str(), "%dx%d", &w, &h) == 2 && w >= 4 && h >= 4 && w % 2 == 0 &&
            h % 2 == 0)
          options.frames.push_back({w, h});
      continue;
    }
    rest.push_back(arg);
  }
  const char *defaults[][2] = {{"--benchmark_repetitions", "7"},
                               {"--benchmark_enable_random_interleaving", "true"},
                               {"--benchmark_min_time", "0.15"},
                               {"--benchmark_display_aggregates_only", "true"}};
  storage.assign(1, argv[0]);
  for (const auto &d : defaults) {
    bool given = false;
    for (const std::string &arg : rest) given = given || arg.rfind(d[0], 0) == 0;
    if (!given) storage.push_back(std::string(d[0]) + "=" + d[1]);
  }
  storage.insert(storage.end(), rest.begin(), rest.end());
  for (std::string &s : storage) args.push_back(&s[0]);
  args.push_back(nullptr);
  argc = int(storage.size());
  return options;
}

std::string MachineFacts() {
  std::ostringstream out;
  out << "- CPU: " << FirstLine("/proc/cpuinfo", "model name") << "\n"
      << "- CPU flags: " << FirstLine("/proc/cpuinfo", "flags") << "\n"
      << "- compiler: " << TAVRIX_BENCH_COMPILER << " (library built without -march, baseline ISA)\n"
      << "- peers: " << TAVRIX_BENCH_PEER_LIST << "\n";
  return out.str();
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> storage;
  std::vector<char *> args;
  const Options options = ParseOptions(argc, argv, storage, args);
#if TAVRIX_BENCH_OPENCV
  cv::setNumThreads(1);
#endif
  std::ostringstream report;
  report << "## Machine\n\n" << MachineFacts() << "- load average at start: "
         << FirstLine("/proc/loadavg", nullptr) << "\n\n";

  if (options.quality != "off") {
    report << "## Demosaic quality\n\n" << bench::QualityTable() << "\n";
    std::cout << report.str() << std::flush;
    if (options.quality == "only") {
      if (!options.report.empty()) std::ofstream(options.report) << report.str();
      return 0;
    }
  }

  benchmark::Initialize(&argc, args.data());
  if (benchmark::ReportUnrecognizedArguments(argc, args.data())) return 1;

  static bench::Buffers buffers;
  std::string sources;
  for (const auto &size : options.frames) {
    const bench::Frame &frame = bench::GetFrame(size.first, size.second);
    sources += " " + std::to_string(frame.width) + "x" + std::to_string(frame.height) + " from " +
               frame.source + ";";
    if (options.suites.find("demosaic") != std::string::npos)
      bench::AddDemosaicCases(frame, buffers);
    if (options.suites.find("demosaic") != std::string::npos)
      bench::AddFastPassCases(frame, buffers);
    if (options.suites.find("balance") != std::string::npos) bench::AddBalanceCases(frame, buffers);
    if (options.suites.find("codec") != std::string::npos) bench::AddCodecCases(frame, buffers);
  }
  std::cout << "Frames:" << sources << " noise of about one 8-bit level; mosaics 8-bit and 12-bit in 16-bit words\n";

  bench::MedianReporter console;
  benchmark::RunSpecifiedBenchmarks(&console);

  std::ostringstream tables;
  tables << "## Speed: Tavrix against peers and ceilings\n\n"
         << "Frames:" << sources << " single thread; median of the interleaved repetitions; "
         << "load average at the end: " << FirstLine("/proc/loadavg", nullptr) << "\n\n"
         << bench::RatioTable() << "\n## Every case\n\n" << bench::RateTable();
  std::cout << "\n" << tables.str() << std::flush;
  report << tables.str();
  if (!options.report.empty()) std::ofstream(options.report) << report.str();
  benchmark::Shutdown();
  return 0;
}
