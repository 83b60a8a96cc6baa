// Registration of comparison cases and the ratio table printed after the run.
//
// A case is one Google Benchmark whose rate (Mpix/s of input pixels, or MB/s of raw
// bytes) the report reads back from the median over the interleaved repetitions. A
// comparison names a Tavrix case and what it is held against: a peer library's
// case and the ceilings measured in the same run.
#ifndef TAVRIX_BENCH_COMPARE_CASES_H
#define TAVRIX_BENCH_COMPARE_CASES_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

enum class Unit { kMegapixels, kMegabytes };

// Registers a benchmark called `name`; each iteration processes `work` units
// (pixels or bytes). The body reports its own extra counters (a size ratio).
void AddCase(const std::string &name, Unit unit, std::size_t work,
             std::function<void(benchmark::State &)> body);

// One row of the ratio table. Empty names leave their columns blank.
struct Comparison {
  std::string section;  // "Demosaic 4096x3072", printed as a heading row
  std::string label;    // what the Tavrix case does, for a reader
  std::string tavrix;   // case names, as given to AddCase
  std::string peer;
  std::string memcpyCeiling;
  std::string streamCeiling;
};
void AddComparison(const Comparison &comparison);

// A reporter that shows Google Benchmark's usual console output and keeps the
// median rate (and size ratio) of every case for the tables.
class MedianReporter : public benchmark::ConsoleReporter {
 public:
  using benchmark::ConsoleReporter::ConsoleReporter;
  void ReportRuns(const std::vector<Run> &runs) override;
};

// The Markdown ratio table, then every case's median rate.
std::string RatioTable();
std::string RateTable();

}  // namespace bench

#endif
