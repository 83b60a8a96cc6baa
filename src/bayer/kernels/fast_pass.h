// The fast line pass over a band of rows of a strided frame: the one body behind
// the converter's line kernels (plain, corrected, byte-select), for callers that
// own row strides or split a frame into bands.
//
// What the caller guarantees:
//   - input.width and input.height are even and at least 4; every row the band
//     reads lies inside the input buffer (row r and r + 1 for each row r it walks);
//   - inputStride >= width * sample bytes, outputStride >= FastPassRowBytes(job):
//     any byte count, not necessarily a multiple of the record or sample size
//     (records and samples are read and written byte-wise where unaligned);
//   - the output buffer holds every row the band writes: output row
//     FastPassOutputRow(job, r) for each producing input row r, starting at
//     `output`, FastPassRowBytes(job) bytes long;
//   - for the 32-bit passes with a sample factor f != 1 (only the even-row kind
//     runs then): f * outputWidth <= width;
//   - the tables hold 65536 entries each; `shapes`, when it says `clamped`, was
//     computed from these very tables (CheckFastPassTables) and they have not
//     changed since.
// Bands [rowBegin, rowEnd) that cover rows 0 .. height - 2 give, in any order and
// concurrently, the bytes of one whole-frame call: every input row writes its own
// output row and nothing else. Concurrent bands must pass workPixel = nullptr.
// The last input row and the last column are never written.
#ifndef TAVRIX_SRC_BAYER_KERNELS_FAST_PASS_H
#define TAVRIX_SRC_BAYER_KERNELS_FAST_PASS_H

#include <cstddef>
#include <cstdint>

#include "bayer/kernels/line_walk.h"
#include "bayer/table_shape.h"

namespace tavrix::detail {

enum class LineFamily {
  kPlain,      // table values narrowed and stored
  kCorrected,  // table values multiplied by the correction matrix first
  kByteSelect  // 32-bit output from one byte of each 16-bit sample, no correction
};

// Output record and sample width of a pass.
enum class PassVariant { k24From8, k32From8, k24From16, k32From16, k48From16 };

struct FastPassJob {
  PassVariant variant;
  LineFamily family;
  const void *input;            // sample (0, 0)
  std::ptrdiff_t inputStride;   // bytes from one input row to the next
  ISize inputSize;              // W x H of the mosaic
  void *output;                 // first record of output row 0
  std::ptrdiff_t outputStride;  // bytes from one output row to the next
  int outputWidth;              // 32-bit passes: columns end at sampleFactor * outputWidth - 2
  RowKind evenRows, oddRows;    // row kinds of rows 0, 2, ... and 1, 3, ...
  bool walkEvenRows, walkOddRows;
  int rowBegin, rowEnd;         // input rows walked: [rowBegin, rowEnd) within 0 .. H - 2
  Luts luts;
  LineContext context;          // factor, depth, matrix (corrected), workPixel (may be null)
  bool highByte;                // byte-select: the high byte of each sample, else the low
  TableShapes shapes;           // clamped: tables computed, not looked up (vector paths)
};

// True when the pass thins rows by the sample factor (32-bit output, factor != 1).
bool FastPassDecimates(const FastPassJob &job);

// The output row input row r writes, or -1 when it writes none (the last row,
// rows the band's kinds skip, rows a decimating pass steps over).
std::ptrdiff_t FastPassOutputRow(const FastPassJob &job, std::ptrdiff_t r);

// Bytes one producing row writes: W - 1 records; outputWidth when decimating
// (factor * outputWidth - 1 for the corrected pass, which thins rows only).
std::ptrdiff_t FastPassRowBytes(const FastPassJob &job);

// The table shapes a vector path may rely on, checked once per frame: not
// clamped when no vector path is active or the frame is too small to repay the
// check (then the tables are looked up).
TableShapes CheckFastPassTables(const FastPassJob &job, const TableSettings &settings);

// Runs the band. Chooses the vector path once per call.
void RunFastPass(const FastPassJob &job);

}  // namespace tavrix::detail

#endif
