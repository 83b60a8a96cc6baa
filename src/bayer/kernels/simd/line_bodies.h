// Vector bodies of the plain and byte-select line passes, one set per
// instruction set, each compiled in a file of its own with that set's flags.
//
// They run only while every table is a clamped offset (table_shape.h): a table
// value is then computed, not looked up, as
//     v = min(sub_sat(add_sat(i, add), sub), max) >> shift
// in unsigned saturating lanes (one of add and sub is 0), followed by the
// variant's narrowing: the low byte (24- and 32-bit output) or a limit (48-bit).
// A body writes the first pixels of a row in whole vectors and leaves the rest,
// always at least the row's last pixel, to the reference walk.
#ifndef TAVRIX_SRC_BAYER_KERNELS_SIMD_LINE_BODIES_H
#define TAVRIX_SRC_BAYER_KERNELS_SIMD_LINE_BODIES_H

#include <cstdint>

#include "bayer/kernels/band_walk.h"

namespace tavrix::detail {

struct ChannelRamp {
  std::uint16_t add, sub, max;  // byte lanes: all three at most 255
};

struct VectorLineArgs {
  ChannelRamp blue, green, red;
  int shift;             // word lanes: right shift after the clamp (24-bit: plus the depth shift)
  std::uint16_t limit;   // 48-bit output: the largest value stored
  bool stream;           // store aligned rows past the caches (outputs far larger than them)
  // The corrected pass: the matrix, then (24-bit) an arithmetic shift and a clamp to 0 .. max.
  const double *matrix;
  int narrowShift;
  int narrowMax;
  // Tables that are not clamped offsets, with 8-bit indexes: the byte each entry stores.
  std::uint8_t tables[3][256];
};

// Which samples a body reads and what it stores.
enum class BodyInput {
  kBytes,     // 8-bit samples, byte lanes
  kHighBytes, // the high byte of each 16-bit sample, byte lanes
  kLowBytes,  // the low byte of each 16-bit sample, byte lanes
  kWords      // 16-bit samples, word lanes
};
enum class BodyOutput { k24, k32, k48 };

// The four bodies (indexed by RowKind) for an input and output, or nullptr
// where the instruction set has none. Byte lanes need shift 0 and no limit.
const RowBody *LineBodiesSse41(BodyInput input, BodyOutput output);
const RowBody *LineBodiesAvx2(BodyInput input, BodyOutput output);
const RowBody *CorrectedBodiesAvx2(BodyInput input, BodyOutput output);
const RowBody *LookupBodiesAvx2(BodyInput input, BodyOutput output);  // the byte lanes only
const RowBody *LineBodiesNeon(BodyInput input, BodyOutput output);
const RowBody *LookupBodiesNeon(BodyInput input, BodyOutput output);  // the byte lanes only

// The bodies of the active path for a job of any family, with their
// arguments filled in; nullptr when the tables are not clamped offsets, when
// the lanes cannot hold the shapes, or when the reference path is active.
// Tables of any curve indexed by bytes (8-bit samples, byte-select) are looked
// up in registers on AVX2 and NEON.
const RowBody *ChooseLineBodies(const FastPassJob &job, VectorLineArgs &args);

}  // namespace tavrix::detail

#endif
