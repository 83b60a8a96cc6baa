// The parts of the comparison program: each registers its cases and comparisons.
#ifndef TAVRIX_BENCH_COMPARE_SUITES_H
#define TAVRIX_BENCH_COMPARE_SUITES_H

#include <cstdint>
#include <string>
#include <vector>

#include "cases.h"
#include "frames.h"

namespace bench {

// Output and source buffers shared by every case (the cases run one at a time),
// allocated and touched before any timing starts.
struct Buffers {
  std::vector<std::uint8_t> output;
  std::vector<std::uint8_t> scratch;
  void Reserve(std::size_t bytes);
};

void AddDemosaicCases(const Frame &frame, Buffers &buffers);
// Corrected, byte-select, custom-table and decimating fast passes (after AddDemosaicCases).
void AddFastPassCases(const Frame &frame, Buffers &buffers);
void AddBalanceCases(const Frame &frame, Buffers &buffers);
void AddCodecCases(const Frame &frame, Buffers &buffers);

// memcpy of `bytes` from scratch to output, reported per `work` units.
void AddMemcpyCase(const std::string &name, Unit unit, std::size_t work, std::size_t bytes,
                   Buffers &buffers);

// Demosaic quality over the sample photographs: the PSNR table in Markdown.
std::string QualityTable();

}  // namespace bench

#endif
