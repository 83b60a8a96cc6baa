// Steps of the converter's entry points (Convert in entry_points.cpp) over
// strided rows: the fast pass in bands of input rows; the per-site stages band
// by band, every band finishing a stage before any starts the next (a stage
// reads what the previous one stored a row beyond the band); the colour
// correction after the last stage.
#include "api/direct_bands.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "api/task_runner.h"
#include "bayer/color_correction.h"
#include "bayer/kernels/fast_pass.h"
#include "bayer/kernels/site_pass.h"
#include "bayer/lut_rules.h"

namespace tavrix::detail {
namespace {

// The converter's thresholds on the 8-bit scale, before ProcessThreshold scales them.
constexpr int kDefaultThresholds[5] = {0, 69, 170, 250, 255};

bool IsAligned(const void *p, std::ptrdiff_t stride, std::size_t n) {
  return reinterpret_cast<std::uintptr_t>(p) % n == 0 && stride % std::ptrdiff_t(n) == 0;
}

RowKind EvenRowKind(int origin) {
  switch (origin) {
    case eOriginGB: return RowKind::kGB;
    case eOriginGR: return RowKind::kGR;
    case eOriginBG: return RowKind::kBG;
    default: return RowKind::kRG;
  }
}
RowKind OddRowKind(int origin) {
  switch (origin) {
    case eOriginGB: return RowKind::kRG;
    case eOriginGR: return RowKind::kBG;
    case eOriginBG: return RowKind::kGR;
    default: return RowKind::kGB;
  }
}

PassVariant VariantOf(const DemosaicPlan &p) {
  if (p.raw.type == SampleType::kMono8)
    return p.output.format == PixelFormat::kBgr24 ? PassVariant::k24From8 : PassVariant::k32From8;
  switch (p.output.format) {
    case PixelFormat::kBgr24: return PassVariant::k24From16;
    case PixelFormat::kBgrx32: return PassVariant::k32From16;
    default: return PassVariant::k48From16;
  }
}

// Row cuts of `tasks` bands over `rows` rows, even (a band starts on row 0's kind).
std::vector<int> Cuts(int rows, int tasks) {
  std::vector<int> cuts(std::size_t(tasks) + 1);
  for (int k = 0; k <= tasks; ++k) cuts[k] = int(std::int64_t(rows / 2) * k / tasks) * 2;
  cuts[tasks] = rows;
  return cuts;
}

struct Settings {
  int bitDepth, depthShift, outputShift;
  unsigned format;  // the format the tables were built under
};

void RunFast(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s,
             const Parallelism &parallel, int tasks) {
  CBayerConverter &c = const_cast<CBayerConverter &>(slot.converter);  // tables only read
  const DemosaicOptions &o = p.options;
  const bool byteSelect = LutRuleFor(p.format) == LutRule::kByte;
  const bool corrected = o.correctColors && !byteSelect;
  FastPassJob job{};
  job.variant = VariantOf(p);
  job.family = byteSelect ? LineFamily::kByteSelect
                          : corrected ? LineFamily::kCorrected : LineFamily::kPlain;
  job.input = p.raw.data;
  job.inputStride = p.raw.Stride();
  job.inputSize = {p.raw.width, p.raw.height};
  job.output = p.output.data;
  job.outputStride = p.output.Stride();
  job.outputWidth = p.output.width;
  job.evenRows = EvenRowKind(o.origin);
  job.oddRows = OddRowKind(o.origin);
  // The 32-bit outputs decimate with the even-row kind alone.
  job.walkEvenRows = true;
  job.walkOddRows = !p.decimates;
  job.luts = {c.GetRedLUT(), c.GetGreenLUT(), c.GetBlueLUT()};
  job.context = {o.sampleFactor, s.bitDepth, s.depthShift, o.matrix.data(), nullptr};
  job.highByte = p.format == 112 || p.format == 113;
  job.shapes = CheckFastPassTables(
      job, {s.format, o.balanceRed, o.balanceGreen, o.balanceBlue, s.bitDepth, s.depthShift,
            s.outputShift});
  const int height = p.raw.height;
  const std::vector<int> cuts = Cuts(height, tasks);
  RunTasks(parallel, tasks, [&](int k) {
    FastPassJob band = job;
    band.rowBegin = cuts[k];
    band.rowEnd = std::min(cuts[k + 1], height - 1);
    if (band.rowBegin < band.rowEnd) RunFastPass(band);
  });
  // Only the 8-bit 32-bit output then clears the last pixel of every output row,
  // and the last row (which a decimating pass may have written).
  if (job.variant != PassVariant::k32From8) return;
  auto *out = static_cast<unsigned char *>(p.output.data);
  const std::size_t width = std::size_t(p.output.width);
  for (int r = 0; r < p.output.height; ++r) {
    unsigned char *row = out + std::ptrdiff_t(r) * job.outputStride;
    if (r == p.output.height - 1) std::memset(row, 0, width * 4);
    else std::memset(row + (width - 1) * 4, 0, 4);
  }
}

template <class Record, class Sample>
void RunSites(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s,
              const Parallelism &parallel, int tasks) {
  CBayerConverter &c = const_cast<CBayerConverter &>(slot.converter);  // tables only read
  const DemosaicOptions &o = p.options;
  const SiteFrame<Record, Sample> frame{static_cast<Record *>(p.output.data), p.output.Stride(),
                                        static_cast<const Sample *>(p.raw.data), p.raw.Stride(),
                                        p.raw.width, p.raw.height};
  const PlaneLuts luts{c.GetBlueLUT(), c.GetGreenLUT(), c.GetRedLUT()};
  // The 32-bit calls find the thresholds of a new converter; the others scale them.
  const int thresholdBits = p.output.format == PixelFormat::kBgrx32 ? 8 : s.bitDepth;
  int thresholds[5];
  for (int k = 0; k < 5; ++k) thresholds[k] = ScaledThreshold(kDefaultThresholds[k], thresholdBits);
  const PlaneContext context{o.origin, s.outputShift, s.depthShift, s.bitDepth, o.sampleFactor,
                             thresholds};
  using Run = void (*)(const SiteFrame<Record, Sample> &, const PlaneLuts &, const PlaneContext &,
                       const SiteBand &);
  Run run = nullptr;
  int stages = 0;
  switch (o.algorithm) {
    case Algorithm::kBilinear: run = BilinearRows; stages = kBilinearStages; break;
    case Algorithm::kLaplacian1: run = Laplacian1Rows; stages = kLaplacian1Stages; break;
    default: run = Laplacian2Rows; stages = kLaplacian2Stages; break;
  }
  const int height = p.raw.height;
  const std::vector<int> cuts = Cuts(height, tasks);
  auto correct = [&](int k) {
    if (!o.correctColors) return;
    const double *m = o.matrix.data();
    const int max = int((1u << s.bitDepth) - 1);
    for (int r = cuts[k]; r < cuts[k + 1]; ++r) {
      Record *row = reinterpret_cast<Record *>(static_cast<unsigned char *>(p.output.data) +
                                               std::ptrdiff_t(r) * p.output.Stride());
      ForEachPixel(row, ISize{p.raw.width, 1}, [=](Record *px) {
        if constexpr (std::is_same<Record, CBayerConverter::RGBTRIPLE16>::value) {
          CorrectWords(px, m, max);
        } else {
          CorrectBytes(px, m);
          if constexpr (std::is_same<Record, CBayerConverter::BGRxTRIPLE>::value)
            px->rgbtReserved = 0;
        }
      });
    }
  };
  if (tasks == 1 || stages == 1) {
    // One walk per band: the stages follow each other a row apart.
    RunTasks(parallel, tasks, [&](int k) {
      run(frame, luts, context, SiteBand{cuts[k], cuts[k + 1], 0, stages});
      correct(k);
    });
    return;
  }
  for (int stage = 0; stage < stages; ++stage)
    RunTasks(parallel, tasks, [&](int k) {
      run(frame, luts, context, SiteBand{cuts[k], cuts[k + 1], stage, stage + 1});
    });
  RunTasks(parallel, tasks, correct);
}

}  // namespace

void RunPackedBilinear(const DemosaicPlan &p, const CachedConverter &slot, const void *in,
                       void *out, const Parallelism &parallel) {
  using BGRx = CBayerConverter::BGRxTRIPLE;
  CBayerConverter &c = const_cast<CBayerConverter &>(slot.converter);  // tables only read
  const DemosaicOptions &o = p.options;
  const ISize inSize{p.raw.width, p.raw.height}, outSize{p.output.width, p.output.height};
  const PlaneLuts luts{c.GetBlueLUT(), c.GetGreenLUT(), c.GetRedLUT()};
  // The per-site passes work on the sensor's scale (no output shift); no thresholds.
  const PlaneContext context{o.origin, 0, p.bitDepth - 8, p.bitDepth, o.sampleFactor, nullptr};
  auto *pixels = static_cast<BGRx *>(out);
  const int tasks = std::max(1, std::min(TaskCount(parallel), inSize.height / 2));
  const std::vector<int> cuts = Cuts(inSize.height, tasks);
  for (int stage = 0; stage < kPackedBilinearStages; ++stage)
    RunTasks(parallel, tasks, [&](int k) {
      const SiteBand band{cuts[k], cuts[k + 1], stage, stage + 1};
      if (p.raw.type == SampleType::kMono8)
        PackedBilinearRows(pixels, outSize, static_cast<const std::uint8_t *>(in), inSize, luts,
                           context, band);
      else
        PackedBilinearRows(pixels, outSize, static_cast<const std::uint16_t *>(in), inSize, luts,
                           context, band);
    });
  if (!o.correctColors) return;
  // The 32-bit output is corrected over the output's size.
  const std::vector<int> rows = Cuts(outSize.height, tasks);
  RunTasks(parallel, tasks, [&](int k) {
    const double *m = o.matrix.data();
    ForEachPixel(pixels + std::ptrdiff_t(rows[k]) * outSize.width,
                 ISize{outSize.width, rows[k + 1] - rows[k]}, [=](BGRx *px) {
                   CorrectBytes(px, m);
                   px->rgbtReserved = 0;
                 });
  });
}

bool RunsDirect(const DemosaicPlan &p) {
  if (p.raw.Unpacks()) return false;
  // The decimating per-site walks count positions across rows, and the
  // corrected fast pass writes rows longer than the output's: whole frames only.
  if (p.decimates && (p.options.algorithm != Algorithm::kFastBilinear ||
                      (p.options.correctColors && p.format == 100)))
    return false;
  if (p.raw.type == SampleType::kMono16 && !IsAligned(p.raw.data, p.raw.Stride(), 2)) return false;
  if (p.output.format == PixelFormat::kBgr48 && !IsAligned(p.output.data, p.output.Stride(), 2))
    return false;
  return true;
}

void RunDirect(const DemosaicPlan &p, const CachedConverter &slot, const Parallelism &parallel) {
  const bool fast = p.options.algorithm == Algorithm::kFastBilinear;
  const bool sixteenToBgrx =
      p.raw.type == SampleType::kMono16 && p.output.format == PixelFormat::kBgrx32;
  const Settings s{p.bitDepth, p.bitDepth - 8, fast && sixteenToBgrx ? p.bitDepth - 8 : 0,
                   slot.key.lutFormat};
  const int tasks = std::max(1, std::min(TaskCount(parallel), p.raw.height / 2));
  if (fast) return RunFast(p, slot, s, parallel, tasks);
  using BGRx = CBayerConverter::BGRxTRIPLE;
  using Words = CBayerConverter::RGBTRIPLE16;
  const bool eight = p.raw.type == SampleType::kMono8;
  switch (p.output.format) {
    case PixelFormat::kBgr24:
      return eight ? RunSites<tagRGBTRIPLE, std::uint8_t>(p, slot, s, parallel, tasks)
                   : RunSites<tagRGBTRIPLE, std::uint16_t>(p, slot, s, parallel, tasks);
    case PixelFormat::kBgrx32:
      return eight ? RunSites<BGRx, std::uint8_t>(p, slot, s, parallel, tasks)
                   : RunSites<BGRx, std::uint16_t>(p, slot, s, parallel, tasks);
    case PixelFormat::kBgr48:
      return RunSites<Words, std::uint16_t>(p, slot, s, parallel, tasks);
  }
}

}  // namespace tavrix::detail
