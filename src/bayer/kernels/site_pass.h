// Row-banded entries of the per-site algorithms (bilinear, first- and
// second-order Laplacian) over frames with padded rows.
//
// A conversion is a few stages, each reading what the earlier ones stored:
//
//   algorithm                stage 0                    stage 1                  stage 2
//   bilinear                 blue, red and green        -                        -
//   first-order Laplacian    green                      blue and red             -
//   second-order Laplacian   green                      red and blue at green    own value and the
//                                                       sites                    opposite colour at
//                                                                                red and blue sites
//
// A stage at row r reads what the previous stage stored at rows r-1..r+1 (and
// nothing that a later stage writes), so one call runs its stages in a single
// walk down the frame, each stage kSiteStageLag rows behind the one before:
// every row is finished while it is still in cache, and the bytes are those of
// running the stages one after the other over the whole frame.
//
// Contract for a caller that splits the frame into bands of rows (threads):
//   - one call with every stage over rows [0, height) is the whole conversion;
//   - otherwise run stage by stage: for k = 0 .. stages-1, call every band with
//     stages [k, k+1) (in any order, at the same time if you like), and let all
//     of stage k finish before any band starts stage k+1. Bands may have any
//     heights; together they must cover rows [0, height) (rows outside the
//     interior are skipped). A band never writes outside its own rows, so bands
//     of one stage do not race.
//   - the bilinear algorithm has one stage: its bands are independent.
//   Running all stages on a band while its neighbours have not yet done the
//   earlier stages near the shared edge is not exact: the first band's last row
//   would read greens the next band has not stored.
//
// Frame: sample (r, c) at byte r * inStride of `in`, pixel (r, c) at byte
// r * outStride of `out`. Strides are in bytes, at least the packed row size,
// and multiples of the element alignment (2 for 16-bit samples and 48-bit
// pixels; any value for 8-bit samples and 24- or 32-bit pixels). Width and
// height must be even and at least 4 (otherwise nothing is written). Only the
// interior is written: rows and columns 1 .. size-2 (bilinear red and blue) or
// 2 .. size-3 (everything else); the Laplacians read the border the caller
// left in `out`, as the converter does.
//
// These entries write every site, whatever `sampleFactor` holds, and zero the
// fourth byte where the converter's factor-1 walk does. Decimation has its own
// entry, PackedBilinearRows below.
#ifndef TAVRIX_SRC_BAYER_KERNELS_SITE_PASS_H
#define TAVRIX_SRC_BAYER_KERNELS_SITE_PASS_H

#include <cstddef>
#include <cstdint>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

struct TableShapes;

// What the per-site kernels read from the converter.
struct PlaneContext {
  int origin;                   // m_patternOrigin as stored (any value)
  int outputShift;              // m_outputShift (the bilinear passes' shift)
  int depthShift;               // m_depthShift (the Laplacians' shift)
  int bitDepth;                 // m_bitDepth
  int sampleFactor;             // m_sampleFactor (ignored by the banded entries)
  const int *scaledThresholds;  // m_scaledThresholds, five entries
  // The tables' shapes when checked (table_shape.h): vector bodies compute
  // clamped-offset tables instead of looking them up. Null: look them up.
  const TableShapes *shapes = nullptr;
};

struct PlaneLuts {
  const std::uint16_t *blue;
  const std::uint16_t *green;
  const std::uint16_t *red;
};

template <class Record, class Sample>
struct SiteFrame {
  Record *out;
  std::ptrdiff_t outStride;  // bytes
  const Sample *in;
  std::ptrdiff_t inStride;  // bytes
  int width, height;
};

// Rows [firstRow, lastRow), stages [firstStage, lastStage).
struct SiteBand {
  int firstRow, lastRow;
  int firstStage, lastStage;
};

constexpr int kBilinearStages = 1;
constexpr int kLaplacian1Stages = 2;
constexpr int kLaplacian2Stages = 3;
// Within one call each stage runs this many rows behind the previous one: it
// reads the previous stage's values one row above and below.
constexpr int kSiteStageLag = 1;

inline SiteBand WholeFrame(int height, int stages) { return {0, height, 0, stages}; }

#define TAVRIX_SITE_ROWS(Name)                                                                  \
  void Name(const SiteFrame<CBayerConverter::BGRxTRIPLE, std::uint8_t> &, const PlaneLuts &,    \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<CBayerConverter::BGRxTRIPLE, std::uint16_t> &, const PlaneLuts &,   \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<CBayerConverter::RGBTRIPLE16, std::uint16_t> &, const PlaneLuts &,  \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<tagRGBTRIPLE, std::uint8_t> &, const PlaneLuts &,                   \
            const PlaneContext &, const SiteBand &);                                            \
  void Name(const SiteFrame<tagRGBTRIPLE, std::uint16_t> &, const PlaneLuts &,                  \
            const PlaneContext &, const SiteBand &);

TAVRIX_SITE_ROWS(BilinearRows)
TAVRIX_SITE_ROWS(Laplacian1Rows)
TAVRIX_SITE_ROWS(Laplacian2Rows)
// TAVRIX_SITE_ROWS stays defined: the vector bodies declare their entries with it.

// The converter's 32-bit bilinear passes in its own packed layout, for any
// sample factor: a decimating pass counts positions across the rows it visits
// and stores every sampleFactor-th one packed into the output; a pass that does
// not decimate writes pixel (r, c) of site (r, c) at the converter's offsets
// (ConverterFrame). Stage k is pass k (blue, red, green); each writes its own
// channel and reads only the mosaic. A band [firstRow, lastRow) of input rows
// stores what the whole walk stores for those rows: it finds the counters at
// firstRow by arithmetic over the rows above (no pixel work), so bands of one
// stage are independent and may run at the same time in any order. Different
// stages zero the same fourth bytes, so let one stage finish before the next
// starts (or run all stages in one call). Sizes and factor as the converter
// accepts them (BilinearWalksFit); otherwise nothing is written.
constexpr int kPackedBilinearStages = 3;
void PackedBilinearRows(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize,
                        const std::uint8_t *in, const ISize &inSize, const PlaneLuts &luts,
                        const PlaneContext &context, const SiteBand &band);
void PackedBilinearRows(CBayerConverter::BGRxTRIPLE *out, const ISize &outSize,
                        const std::uint16_t *in, const ISize &inSize, const PlaneLuts &luts,
                        const PlaneContext &context, const SiteBand &band);

}  // namespace tavrix::detail

#endif
