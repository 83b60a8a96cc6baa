// A checked conversion of the tavrix:: interface and the bands it runs in.
#ifndef TAVRIX_SRC_API_DEMOSAIC_PLAN_H
#define TAVRIX_SRC_API_DEMOSAIC_PLAN_H

#include "tavrix/demosaic.h"

namespace tavrix::detail {

struct DemosaicPlan {
  RawView raw;
  ColorView output;
  DemosaicOptions options;  // without the executor (the batch carries it)
  int bitDepth;             // 8 for 8-bit samples
  unsigned short format;    // sample format code handed to the converter
  bool decimates;           // 32-bit output with a walk that packs its pixels
  int halo;                 // rows a band reaches beyond itself (see HaloRows)
  RowUnpacker unpacker;     // prepared when the raw view is in a sensor layout
};

// Checks everything the converter would refuse, and the views, before
// anything is written.
Status CheckDemosaic(const RawView &raw, const ColorView &output, const DemosaicOptions &options,
                     DemosaicPlan *plan);

// How far one output row's value reaches: rows r - h .. r + h of the input, and of
// the output the caller left in the frame the algorithm never writes, decide it.
int HaloRows(Algorithm algorithm);

// Runs a checked plan on `tasks` bands (tests also ask for bands of chunkRows
// output rows through scratch, with 0 for the normal choice).
void RunDemosaic(const DemosaicPlan &plan, const Parallelism &parallel, int chunkRows);

// The directional algorithm, which needs no converter: whole frames in bands of
// rows, one per task (directional_run.cpp).
void RunDirectional(const DemosaicPlan &plan, const Parallelism &parallel);

}  // namespace tavrix::detail

#endif
