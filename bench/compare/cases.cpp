#include "cases.h"

#include <cstdio>
#include <map>
#include <sstream>

namespace bench {
namespace {

struct Record {
  Unit unit = Unit::kMegapixels;
  double rate = 0;   // median; 0 until reported
  double ratio = 0;  // encoded / raw size, codecs only
  bool fromMedian = false;
  std::string error;
};

std::map<std::string, Record> &Records() {
  static std::map<std::string, Record> records;
  return records;
}
std::vector<std::string> &Order() {
  static std::vector<std::string> order;
  return order;
}
std::vector<Comparison> &Comparisons() {
  static std::vector<Comparison> comparisons;
  return comparisons;
}

// Registered, and run (not filtered out) in this process.
bool Measured(const std::string &name) {
  auto found = Records().find(name);
  return found != Records().end() && (found->second.rate > 0 || !found->second.error.empty());
}

const char *CounterName(Unit unit) { return unit == Unit::kMegapixels ? "Mpix/s" : "MB/s"; }

std::string Number(double v) {
  char text[32];
  std::snprintf(text, sizeof text, v >= 100 ? "%.0f" : v >= 10 ? "%.1f" : "%.2f", v);
  return text;
}

// The rate of a case as a table cell; blank when the case does not exist here
// (its peer was not found), "failed" when it reported an error.
std::string Rate(const std::string &name) {
  if (name.empty()) return "";
  auto found = Records().find(name);
  if (found == Records().end() || !found->second.error.empty() || found->second.rate <= 0)
    return found == Records().end() || found->second.error.empty() ? "" : "failed";
  return Number(found->second.rate);
}

// "0.958 / 0.904": the encoded sizes of a Tavrix codec and its peer, over the raw size.
std::string SizeRatios(const std::string &tavrix, const std::string &peer) {
  auto a = Records().find(tavrix), b = Records().find(peer);
  if (a == Records().end() || a->second.ratio <= 0) return "";
  char text[48];
  if (b == Records().end() || b->second.ratio <= 0)
    std::snprintf(text, sizeof text, "%.3f", a->second.ratio);
  else
    std::snprintf(text, sizeof text, "%.3f / %.3f", a->second.ratio, b->second.ratio);
  return text;
}

std::string Ratio(const std::string &numerator, const std::string &denominator) {
  auto a = Records().find(numerator), b = Records().find(denominator);
  if (a == Records().end() || b == Records().end() || a->second.rate <= 0 || b->second.rate <= 0)
    return "";
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", a->second.rate / b->second.rate);
  return text;
}

// The peer's name from where it parts from the Tavrix case's ("zstd_1/encode").
std::string PeerLabel(const std::string &tavrix, const std::string &peer) {
  std::size_t cut = 0;
  for (std::size_t i = 0; i < tavrix.size() && i < peer.size() && tavrix[i] == peer[i]; ++i)
    if (peer[i] == '/') cut = i + 1;
  return peer.substr(cut);
}

}  // namespace

void AddCase(const std::string &name, Unit unit, std::size_t work,
             std::function<void(benchmark::State &)> body) {
  Records()[name].unit = unit;
  Order().push_back(name);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
    body(state);
    state.counters[CounterName(unit)] =
        benchmark::Counter(double(work) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
  })->Unit(benchmark::kMillisecond);
}

void AddComparison(const Comparison &comparison) { Comparisons().push_back(comparison); }

void MedianReporter::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    auto found = Records().find(run.run_name.function_name);
    if (found == Records().end()) continue;
    Record &record = found->second;
    if (run.error_occurred) {
      record.error = run.error_message;
      continue;
    }
    const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
    // A single repetition has no aggregates: its own run stands in for the median.
    if (!median && (run.run_type == Run::RT_Aggregate || record.fromMedian)) continue;
    auto counter = run.counters.find(CounterName(record.unit));
    if (counter != run.counters.end()) record.rate = counter->second.value;
    auto ratio = run.counters.find("ratio");
    if (ratio != run.counters.end()) record.ratio = ratio->second.value;
    record.fromMedian = median;
  }
  benchmark::ConsoleReporter::ReportRuns(runs);
}

std::string RatioTable() {
  std::ostringstream out;
  out << "| case | Tavrix | peer | peer rate | Tavrix / peer | memcpy | Tavrix / memcpy | stream "
         "| Tavrix / stream | encoded / raw, Tavrix / peer |\n"
      << "|---|---:|---|---:|---:|---:|---:|---:|---:|---:|\n";
  std::string section;
  for (const Comparison &c : Comparisons()) {
    if (!Measured(c.tavrix)) continue;
    if (c.section != section) {
      section = c.section;
      out << "| **" << section << "** | | | | | | | | | |\n";
    }
    const bool hasPeer = Measured(c.peer);
    const std::string peer = hasPeer ? c.peer : "";
    out << "| " << c.label << " | " << Rate(c.tavrix) << " | "
        << (hasPeer ? PeerLabel(c.tavrix, peer) : "") << " | " << Rate(peer) << " | "
        << Ratio(c.tavrix, peer) << " | " << Rate(c.memcpyCeiling) << " | "
        << Ratio(c.tavrix, c.memcpyCeiling) << " | " << Rate(c.streamCeiling) << " | "
        << Ratio(c.tavrix, c.streamCeiling) << " | " << SizeRatios(c.tavrix, peer) << " |\n";
  }
  return out.str();
}

std::string RateTable() {
  std::ostringstream out;
  out << "| case | median rate | unit | encoded / raw |\n|---|---:|---|---:|\n";
  for (const std::string &name : Order()) {
    if (!Measured(name)) continue;
    const Record &r = Records().at(name);
    char ratio[32] = "";
    if (r.ratio > 0) std::snprintf(ratio, sizeof ratio, "%.3f", r.ratio);
    out << "| " << name << " | " << Rate(name) << " | " << CounterName(r.unit) << " | " << ratio
        << " |\n";
  }
  return out.str();
}

}  // namespace bench
