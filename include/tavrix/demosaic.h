// Demosaicing through views: padded rows, a Status that says why a call was
// refused, and every core. The same kernels as CBayerConverter run underneath,
// so a call gives the bytes a converter gives for the same settings on packed
// buffers, whatever the strides and the number of threads.
//
//   tavrix::DemosaicOptions options;
//   options.origin = eOriginRG;
//   options.algorithm = tavrix::Algorithm::kLaplacian1;
//   options.bitDepth = 12;
//   options.parallel.threads = 0;  // every core
//   tavrix::Status s = tavrix::Demosaic(tavrix::RawView::Mono16(raw, w, h, rawStride),
//                                       tavrix::ColorView::Bgr24(rgb, w, h, rgbStride), options);
//   if (!s.ok()) std::puts(s.message().c_str());
#ifndef TAVRIX_DEMOSAIC_H
#define TAVRIX_DEMOSAIC_H

#include <array>
#include <cstddef>

#include "tavrix/export.h"
#include "tavrix/image.h"
#include "tavrix/parallel.h"
#include "tavrix/status.h"

namespace tavrix {

// The values of the four converter modes are those of eCalculationMode; further
// algorithms of this interface take values from 16 up.
enum class Algorithm : int {
  kFastBilinear = 0,  // one pass over 2x2 neighbourhoods; decimates fully on 32-bit output
  kBilinear = 1,      // per-site bilinear averages
  kLaplacian1 = 2,    // bilinear plus a first-order Laplacian correction
  kLaplacian2 = 3,    // direction-selecting second-order Laplacian
  // Edge-directed interpolation steered by local vertical/horizontal and
  // diagonal discrimination, with colour-difference refinement: the best
  // quality here, every pixel written (the frame's edges mirrored). Values on
  // the sensor's scale, rounded; 16-bit samples read whole; sampleFactor ignored.
  kDirectional = 16,
};

// Which bits of a 16-bit sample the fast pass to 32-bit output reads.
enum class SampleBytes : int {
  kWhole = 100,     // the whole sample, through tables of bitDepth bits
  kHighByte = 112,  // the second byte of each little-endian word
  kLowByte = 114,   // the first byte of each word
};

struct DemosaicOptions {
  ePatternOrigin origin = eOriginGB;  // colour kind of row 0
  Algorithm algorithm = Algorithm::kFastBilinear;
  // Significant bits of 16-bit samples, 8..16; 0 means the depth the raw view's
  // packing fixes (RAW12: 12), else 16. 8-bit samples: ignored.
  int bitDepth = 0;
  // 16-bit samples to 32-bit output only; other combinations need kWhole.
  SampleBytes sampleBytes = SampleBytes::kWhole;
  // Additive offsets on the 8-bit scale, folded into the lookup tables.
  int balanceRed = 0, balanceGreen = 0, balanceBlue = 0;
  // Colour correction by a 3x3 matrix acting on (blue, green, red), row-major.
  bool correctColors = false;
  std::array<double, 9> matrix = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};
  // 32-bit output only: keep every sampleFactor-th row and column (fast
  // bilinear, and the per-site bilinear passes that decimate). Other outputs ignore it.
  int sampleFactor = 1;
  Parallelism parallel;
};

// Converts one mosaic. The output must cover the input (width and height at
// least the input's) unless a 32-bit output is decimated; pixels outside the
// input's extent, and the borders the algorithm leaves (see CBayerConverter),
// keep what the buffer held. Combinations: 8-bit samples to 24- or 32-bit
// pixels, 16-bit samples to 24-, 32- or 48-bit pixels.
TAVRIX_API Status Demosaic(const RawView &raw, const ColorView &output,
                           const DemosaicOptions &options = DemosaicOptions());

// Converts count frames with the same options; frames may differ in size and
// format. Every frame is checked before any is written: one refused frame
// refuses the batch (the message names its index). The threads of the options
// are spread over the frames.
TAVRIX_API Status DemosaicBatch(const RawView *raws, const ColorView *outputs, std::size_t count,
                                const DemosaicOptions &options = DemosaicOptions());

}  // namespace tavrix

#endif
