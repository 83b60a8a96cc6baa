// Steps of the converter's entry points (Convert in entry_points.cpp) over
// strided rows: the fast pass in bands of input rows; the per-site stages band
// by band, every band finishing a stage before any starts the next (a stage
// reads what the previous one stored a row beyond the band); the colour
// correction after the last stage.
//
// Sensor layouts run the same steps on sub-frames: a task unpacks the input
// rows a window of output rows reads (and a margin that keeps the window inside
// the sub-frame's interior) into a buffer of its own that stays in the caches,
// and the kernels write straight into the caller's rows. A sub-frame starts on
// an even row, so its rows have the kinds they have in the frame; the tables'
// shape is checked once per call on the whole frame.
#include "api/direct_bands.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "api/task_runner.h"
#include "bayer/color_correction.h"
#include "bayer/kernels/fast_pass.h"
#include "bayer/kernels/site_pass.h"
#include "bayer/lut_rules.h"
#include "bayer/table_shape.h"

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

// Input rows of a sensor layout unpacked into a task's own buffer, a sub-frame
// at a time. Consecutive sub-frames overlap by a few rows, which stay where
// they are: the next sub-frame starts further down the buffer, and only when it
// would run past the end are they moved to the front.
class UnpackedRows {
 public:
  explicit UnpackedRows(const DemosaicPlan &p) : p_(p), width_(std::size_t(p.raw.width)) {}
  // Rows [from, to) of the frame, the first one returned.
  const std::uint16_t *Rows(int from, int to) {
    const std::size_t rows = std::size_t(to - from);
    if (capacity_ < rows) {
      capacity_ = kSlack * rows;
      samples_.resize(capacity_ * width_);
      from_ = to_ = 0;
    }
    int next = from;
    std::size_t base = 0;
    if (from >= from_ && from < to_) {
      next = std::min(to, to_);
      base = base_ + std::size_t(from - from_);
      if (base + rows > capacity_) {
        std::memmove(Row(0), Row(base), std::size_t(next - from) * width_ * 2);
        base = 0;
      }
    }
    const auto *raw = static_cast<const unsigned char *>(p_.raw.data);
    for (int r = next; r < to; ++r)
      p_.unpacker(raw + std::ptrdiff_t(r) * p_.raw.Stride(), Row(base + std::size_t(r - from)));
    from_ = from;
    to_ = to;
    base_ = base;
    return Row(base);
  }
  std::ptrdiff_t Stride() const { return std::ptrdiff_t(width_) * 2; }

 private:
  // Buffer rows per sub-frame row: the overlap moves once every few sub-frames.
  static constexpr std::size_t kSlack = 4;
  std::uint16_t *Row(std::size_t k) { return &samples_[k * width_]; }
  const DemosaicPlan &p_;
  std::size_t width_;
  std::vector<std::uint16_t> samples_;
  std::size_t capacity_ = 0;  // rows
  int from_ = 0, to_ = 0;     // the frame rows it holds, from buffer row base_ on
  std::size_t base_ = 0;
};

// Rows [from, to) of the frame around rows [a, b) that read `above` rows above
// and `below` rows below themselves: even bounds, at least 4 rows.
struct SubFrame {
  int from, to;
};
SubFrame Around(int a, int b, int above, int below, int height) {
  SubFrame f{std::max(0, a - above) & ~1, std::min(height, (b + below + 1) & ~1)};
  if (f.to - f.from < 4) f.from = std::max(0, f.to - 4);
  if (f.to - f.from < 4) f.to = std::min(height, f.from + 4);
  return f;
}

unsigned char *OutputRow(const DemosaicPlan &p, int r) {
  return static_cast<unsigned char *>(p.output.data) + std::ptrdiff_t(r) * p.output.Stride();
}

// Output rows per window when unpacking: the window's samples (about 64 KB)
// stay in the caches between unpacking and converting. BM_DemosaicLayout at
// 4096 columns: windows of 32 to 256 KB ran within the run's noise.
int UnpackWindowRows(const DemosaicPlan &p, int chunkRows) {
  if (chunkRows > 0) return std::max(2, chunkRows & ~1);
  const std::size_t rows = (std::size_t(64) << 10) / (std::size_t(p.raw.width) * 2);
  return int(std::clamp<std::size_t>(rows, 8, 64)) & ~1;
}

FastPassJob WholeFrameJob(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s) {
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
  return job;
}

// Input rows [a, b) of the frame (b <= H - 1, a even) from unpacked sub-frames,
// a window at a time. Row r reads rows r and r + 1.
void RunFastUnpacked(const DemosaicPlan &p, const FastPassJob &job, int a, int b, int window) {
  UnpackedRows rows(p);
  for (int top = a; top < b; top += window) {
    const int bottom = std::min(b, top + window);
    const SubFrame f = Around(top, bottom, 0, 1, p.raw.height);
    FastPassJob sub = job;
    sub.input = rows.Rows(f.from, f.to);
    sub.inputStride = rows.Stride();
    sub.inputSize.height = f.to - f.from;
    sub.output = OutputRow(p, f.from);
    sub.rowBegin = top - f.from;
    sub.rowEnd = bottom - f.from;
    RunFastPass(sub);
  }
}

void RunFast(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s,
             const Parallelism &parallel, int tasks, int chunkRows) {
  const FastPassJob job = WholeFrameJob(p, slot, s);
  const int height = p.raw.height;
  const std::vector<int> cuts = Cuts(height, tasks);
  const int window = UnpackWindowRows(p, chunkRows);
  RunTasks(parallel, tasks, [&](int k) {
    const int begin = cuts[k], end = std::min(cuts[k + 1], height - 1);
    if (begin >= end) return;
    if (p.raw.Unpacks()) return RunFastUnpacked(p, job, begin, end, window);
    FastPassJob band = job;
    band.rowBegin = begin;
    band.rowEnd = end;
    RunFastPass(band);
  });
  // Only the 8-bit 32-bit output then clears the last pixel of every output row,
  // and the last row (which a decimating pass may have written).
  if (job.variant != PassVariant::k32From8) return;
  const std::size_t width = std::size_t(p.output.width);
  for (int r = 0; r < p.output.height; ++r) {
    unsigned char *row = OutputRow(p, r);
    if (r == p.output.height - 1) std::memset(row, 0, width * 4);
    else std::memset(row + (width - 1) * 4, 0, 4);
  }
}

// What the per-site stages of one call read, and their entry.
template <class Record, class Sample>
class SiteStages {
 public:
  using Frame = SiteFrame<Record, Sample>;
  using Run = void (*)(const Frame &, const PlaneLuts &, const PlaneContext &, const SiteBand &);

  SiteStages(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s) : p_(p) {
    CBayerConverter &c = const_cast<CBayerConverter &>(slot.converter);  // tables only read
    const DemosaicOptions &o = p.options;
    luts_ = {c.GetBlueLUT(), c.GetGreenLUT(), c.GetRedLUT()};
    // The 32-bit calls find the thresholds of a new converter; the others scale them.
    const int thresholdBits = p.output.format == PixelFormat::kBgrx32 ? 8 : s.bitDepth;
    for (int k = 0; k < 5; ++k)
      thresholds_[k] = ScaledThreshold(kDefaultThresholds[k], thresholdBits);
    context_ = {o.origin, s.outputShift, s.depthShift, s.bitDepth, o.sampleFactor, thresholds_};
    switch (o.algorithm) {
      case Algorithm::kBilinear: run_ = BilinearRows; stages_ = kBilinearStages; break;
      case Algorithm::kLaplacian1: run_ = Laplacian1Rows; stages_ = kLaplacian1Stages; break;
      default: run_ = Laplacian2Rows; stages_ = kLaplacian2Stages; break;
    }
    // The vector bodies compute clamped-offset tables; like the converter,
    // frames too small to repay the check look them up.
    const int reach = sizeof(Sample) == 1 ? kByteReach : kWordReach;
    if (std::int64_t(p.raw.width) * p.raw.height >= 4 * reach) {
      shapes_ = CheckTableShapes({luts_.red, luts_.green, luts_.blue},
                                 {s.format, o.balanceRed, o.balanceGreen, o.balanceBlue,
                                  s.bitDepth, s.depthShift, s.outputShift},
                                 reach);
      context_.shapes = &shapes_;
    }
  }
  SiteStages(const SiteStages &) = delete;

  int Stages() const { return stages_; }

  // The whole frame on the caller's rows.
  void Direct(const SiteBand &band) const {
    const Frame frame{static_cast<Record *>(p_.output.data), p_.output.Stride(),
                      static_cast<const Sample *>(p_.raw.data), p_.raw.Stride(), p_.raw.width,
                      p_.raw.height};
    run_(frame, luts_, context_, band);
  }

  // Stages [band.firstStage, band.lastStage) of rows [band.firstRow,
  // band.lastRow) from unpacked sub-frames, down in windows, each stage
  // kSiteStageLag rows behind the one before. With `correct`, rows are
  // corrected once no later window reads them.
  void Unpacked(const SiteBand &band, int window, bool correct) const {
    UnpackedRows rows(p_);
    const int lastLag = (band.lastStage - band.firstStage - 1) * kSiteStageLag;
    int corrected = band.firstRow;
    for (int top = band.firstRow; top - lastLag < band.lastRow; top += window) {
      const int from = std::max(band.firstRow, top - lastLag);
      const int to = std::min(band.lastRow, top + window);
      // Stage reads reach two input rows; the kernels write rows 2 .. H - 3 of a frame.
      const SubFrame f = Around(from, to, 2, 2, p_.raw.height);
      const Frame frame{reinterpret_cast<Record *>(OutputRow(p_, f.from)), p_.output.Stride(),
                        reinterpret_cast<const Sample *>(rows.Rows(f.from, f.to)), rows.Stride(),
                        p_.raw.width, f.to - f.from};
      for (int stage = band.firstStage; stage < band.lastStage; ++stage) {
        const int lag = (stage - band.firstStage) * kSiteStageLag;
        const int a = std::max(band.firstRow, top - lag);
        const int b = std::min(band.lastRow, top + window - lag);
        if (a < b) run_(frame, luts_, context_, SiteBand{a - f.from, b - f.from, stage, stage + 1});
      }
      // The next window reads stored values from one row above its own.
      const int done = std::min(band.lastRow, top + window - lastLag) - kSiteStageLag;
      if (correct && done > corrected) {
        Correct(corrected, done);
        corrected = done;
      }
    }
    if (correct) Correct(corrected, band.lastRow);
  }

  // Applies the colour correction to output rows [a, b), when asked for.
  void Correct(int a, int b) const {
    const DemosaicOptions &o = p_.options;
    if (!o.correctColors) return;
    const double *m = o.matrix.data();
    const int max = int((1u << context_.bitDepth) - 1);
    for (int r = a; r < b; ++r) {
      Record *row = reinterpret_cast<Record *>(OutputRow(p_, r));
      ForEachPixel(row, ISize{p_.raw.width, 1}, [=](Record *px) {
        if constexpr (std::is_same<Record, CBayerConverter::RGBTRIPLE16>::value) {
          CorrectWords(px, m, max);
        } else {
          CorrectBytes(px, m);
          if constexpr (std::is_same<Record, CBayerConverter::BGRxTRIPLE>::value)
            px->rgbtReserved = 0;
        }
      });
    }
  }

 private:
  const DemosaicPlan &p_;
  PlaneLuts luts_;
  int thresholds_[5];
  TableShapes shapes_{};
  PlaneContext context_;
  Run run_ = nullptr;
  int stages_ = 0;
};

template <class Record, class Sample>
void RunSites(const DemosaicPlan &p, const CachedConverter &slot, const Settings &s,
              const Parallelism &parallel, int tasks, int chunkRows) {
  const SiteStages<Record, Sample> sites(p, slot, s);
  const int stages = sites.Stages();
  const std::vector<int> cuts = Cuts(p.raw.height, tasks);
  const bool unpacks = p.raw.Unpacks();
  const int window = UnpackWindowRows(p, chunkRows);
  auto band = [&](int k, int first, int last, bool correct) {
    const SiteBand b{cuts[k], cuts[k + 1], first, last};
    if (unpacks) return sites.Unpacked(b, window, correct);
    sites.Direct(b);
    if (correct) sites.Correct(b.firstRow, b.lastRow);
  };
  if (tasks == 1 || stages == 1) {
    // One walk per band: the stages follow each other a row apart.
    RunTasks(parallel, tasks, [&](int k) { band(k, 0, stages, true); });
    return;
  }
  // Stage by stage across the bands (a sensor layout is unpacked again for each).
  for (int stage = 0; stage < stages; ++stage)
    RunTasks(parallel, tasks, [&](int k) { band(k, stage, stage + 1, false); });
  RunTasks(parallel, tasks, [&](int k) { sites.Correct(cuts[k], cuts[k + 1]); });
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
  // The decimating per-site walk stores into the converter's packed layout
  // (RunPackedBilinear), and the corrected fast pass writes rows longer than the
  // output's: whole frames only. A decimating pass places its rows by their
  // number in the frame: not on sub-frames.
  if (p.decimates && (p.raw.Unpacks() || p.options.algorithm != Algorithm::kFastBilinear ||
                      (p.options.correctColors && p.format == 100)))
    return false;
  if (p.raw.type == SampleType::kMono16 && !p.raw.Unpacks() &&
      !IsAligned(p.raw.data, p.raw.Stride(), 2))
    return false;
  if (p.output.format == PixelFormat::kBgr48 && !IsAligned(p.output.data, p.output.Stride(), 2))
    return false;
  return true;
}

void RunDirect(const DemosaicPlan &p, const CachedConverter &slot, const Parallelism &parallel,
               int chunkRows) {
  const bool fast = p.options.algorithm == Algorithm::kFastBilinear;
  const bool sixteenToBgrx =
      p.raw.type == SampleType::kMono16 && p.output.format == PixelFormat::kBgrx32;
  const Settings s{p.bitDepth, p.bitDepth - 8, fast && sixteenToBgrx ? p.bitDepth - 8 : 0,
                   slot.key.lutFormat};
  const int tasks = std::max(1, std::min(TaskCount(parallel), p.raw.height / 2));
  if (fast) return RunFast(p, slot, s, parallel, tasks, chunkRows);
  using BGRx = CBayerConverter::BGRxTRIPLE;
  using Words = CBayerConverter::RGBTRIPLE16;
  const bool eight = p.raw.type == SampleType::kMono8;
  switch (p.output.format) {
    case PixelFormat::kBgr24:
      return eight ? RunSites<tagRGBTRIPLE, std::uint8_t>(p, slot, s, parallel, tasks, chunkRows)
                   : RunSites<tagRGBTRIPLE, std::uint16_t>(p, slot, s, parallel, tasks, chunkRows);
    case PixelFormat::kBgrx32:
      return eight ? RunSites<BGRx, std::uint8_t>(p, slot, s, parallel, tasks, chunkRows)
                   : RunSites<BGRx, std::uint16_t>(p, slot, s, parallel, tasks, chunkRows);
    case PixelFormat::kBgr48:
      return RunSites<Words, std::uint16_t>(p, slot, s, parallel, tasks, chunkRows);
  }
}

}  // namespace tavrix::detail
