// Conversions straight on the caller's strided buffers, in bands of rows, on the
// kernels' banded entries (the fast pass's FastPassJob, the per-site stages):
// no scratch copy (sensor layouts: unpacked a window of rows at a time into a
// small buffer). The frames these entries cannot take (decimated 32-bit output
// of the per-site walks or from sensor layouts, 16-bit rows at odd addresses)
// go through the halo bands of demosaic.cpp instead.
#ifndef TAVRIX_SRC_API_DIRECT_BANDS_H
#define TAVRIX_SRC_API_DIRECT_BANDS_H

#include "api/converter_cache.h"
#include "api/demosaic_plan.h"

namespace tavrix::detail {

bool RunsDirect(const DemosaicPlan &plan);

// `slot`'s tables must already suit the plan (a refused call of its entry point
// refreshes them); they are only read, by every task at once. Sensor layouts
// are unpacked in windows of `chunkRows` output rows (0: the normal choice).
void RunDirect(const DemosaicPlan &plan, const CachedConverter &slot, const Parallelism &parallel,
               int chunkRows);

// The 32-bit per-site bilinear walk of a decimating plan on packed buffers (the
// output's and the input's own, or scratch copies), in bands of rows, pass
// after pass; then the correction in bands of output rows. `slot`'s tables as
// for RunDirect.
void RunPackedBilinear(const DemosaicPlan &plan, const CachedConverter &slot, const void *in,
                       void *out, const Parallelism &parallel);

}  // namespace tavrix::detail

#endif
