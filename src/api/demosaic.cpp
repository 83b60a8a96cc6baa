// Demosaic through views: checks with reasons, then the converter's entry
// points on bands of rows.
//
// Three ways to run, by what the views allow:
//   - packed views, one thread: the entry point on the caller's buffers;
//   - rows the kernels' banded entries can read (direct_bands.h), and sensor
//     layouts unpacked a window at a time: those entries on the caller's
//     output rows, a band per task;
//   - otherwise (16-bit rows at odd addresses, decimated sensor layouts):
//     halo bands through scratch, below.
//
// Halo bands. The entry points work on whole packed frames. A band of output
// rows [a, b) is produced exactly by converting the sub-frame of rows
// [a - h, b + h) (h from HaloRows, clipped to the frame) in scratch: every row
// of the band sees the same input, and the same caller values in the frame the
// algorithm never writes, as in the whole frame. Rows near a sub-frame's cut
// come out differently and are thrown away. Each task converts its band in
// chunks of rows (input rows packed or unpacked, output rows pre-filled with
// what the caller held) and copies the chunk's own rows back.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "api/converter_cache.h"
#include "api/demosaic_plan.h"
#include "api/direct_bands.h"
#include "api/messages.h"
#include "api/task_runner.h"
#include "bayer/walk_limits.h"

namespace tavrix {
namespace detail {
namespace {

constexpr unsigned short kWholeSampleFormat = 100;

bool ValidOrigin(int origin) {
  return origin == eOriginGB || origin == eOriginGR || origin == eOriginBG || origin == eOriginRG;
}

bool ValidAlgorithm(Algorithm a) {
  return a == Algorithm::kFastBilinear || a == Algorithm::kBilinear ||
         a == Algorithm::kLaplacian1 || a == Algorithm::kLaplacian2 ||
         a == Algorithm::kDirectional;
}


Status StrideStatus(const char *what, std::ptrdiff_t stride, std::ptrdiff_t rowBytes, int width,
                    const char *unit) {
  if (stride >= rowBytes) return Status();
  return Status(StatusCode::kInvalidStride,
                Format("%s row stride is %td bytes but a row of %d %s takes %td", what, stride,
                       width, unit, rowBytes));
}

// The 32-bit output when the walk packs its pixels: does it hold them?
Status CheckDecimatedWalk(const ISize &out, const ISize &in, const DemosaicOptions &o,
                          bool wideSamples, bool corrected) {
  const int f = o.sampleFactor;
  bool fits;
  if (o.algorithm == Algorithm::kFastBilinear) {
    fits = DecimatedWalkFits(out, in, f,
                             corrected ? DecimatedRow::kEveryColumn : DecimatedRow::kEveryFactorColumn);
  } else {
    fits = BilinearWalksFit(out, in, f, o.origin, wideSamples);
  }
  if (fits) return Status();
  const std::string head = Format("32-bit output is %dx%d but sample factor %d over a %dx%d input",
                                  out.width, out.height, f, in.width, in.height);
  if (o.algorithm == Algorithm::kFastBilinear && std::int64_t(f) * out.width > in.width)
    return Status(StatusCode::kSizeMismatch,
                  head + Format(" reads %lld columns per row",
                                static_cast<long long>(std::int64_t(f) * out.width)));
  return Status(StatusCode::kSizeMismatch, head + " writes more pixels than it holds");
}

}  // namespace

// Even (a sub-frame must start on the origin's row kind) and at least 2 (a
// sub-frame of a single row pair must still have 4 rows). The band tests fail
// with any smaller value.
int HaloRows(Algorithm algorithm) {
  switch (algorithm) {
    // Row r reads input rows r and r + 1; a sub-frame's last row is not written.
    case Algorithm::kFastBilinear: return 2;
    // Each pass reads input rows r - 1 .. r + 1 and leaves one or two edge rows.
    case Algorithm::kBilinear: return 2;
    // Green reads r - 2 .. r + 2; blue and red read the stored green of rows
    // r - 1 .. r + 1, which the sub-frame's unwritten edge rows make wrong.
    case Algorithm::kLaplacian1: return 4;
    // Two unwritten edge rows; passes 2 and 3 read stored values one row away.
    case Algorithm::kLaplacian2: return 4;
    // Runs on whole frames of its own (directional_run.cpp); no halo bands.
    case Algorithm::kDirectional: return 0;
  }
  return 8;
}

Status CheckDemosaic(const RawView &raw, const ColorView &out, const DemosaicOptions &o,
                     DemosaicPlan *plan) {
  if (raw.data == nullptr) return Status(StatusCode::kNullPointer, "raw view has no data");
  if (out.data == nullptr) return Status(StatusCode::kNullPointer, "output view has no data");
  if (raw.type != SampleType::kMono8 && raw.type != SampleType::kMono16)
    return Status(StatusCode::kInvalidOption,
                  Format("raw sample type %d is neither 8 nor 16", int(raw.type)));
  if (out.format != PixelFormat::kBgr24 && out.format != PixelFormat::kBgrx32 &&
      out.format != PixelFormat::kBgr48)
    return Status(StatusCode::kInvalidOption,
                  Format("pixel format %d is none of 24, 32, 48", int(out.format)));
  const bool wide = raw.type == SampleType::kMono16;
  const bool bgrx = out.format == PixelFormat::kBgrx32;
  if (!wide && out.format == PixelFormat::kBgr48)
    return Status(StatusCode::kUnsupported,
                  "8-bit samples convert to 24- or 32-bit pixels, not 48-bit");
  if (!ValidOrigin(o.origin))
    return Status(StatusCode::kInvalidOption,
                  Format("origin %d is none of 1 (GB), 2 (GR), 4 (BG), 8 (RG)", int(o.origin)));
  if (!ValidAlgorithm(o.algorithm))
    return Status(StatusCode::kInvalidOption,
                  Format("algorithm %d is not one of 0..3, 16", int(o.algorithm)));
  // Unset: the depth a sensor layout fixes, or the sample width.
  const int fixedBits = raw.Unpacks() ? PackingFixedBits(raw.packing) : 0;
  const int depth = !wide ? 8 : o.bitDepth != 0 ? o.bitDepth : fixedBits != 0 ? fixedBits : 16;
  if (depth < 8 || depth > 16)
    return Status(StatusCode::kInvalidOption,
                  Format("bit depth %d is outside 8..16", o.bitDepth));
  const int bytes = int(o.sampleBytes);
  if (bytes != int(SampleBytes::kWhole) && bytes != int(SampleBytes::kHighByte) &&
      bytes != int(SampleBytes::kLowByte))
    return Status(StatusCode::kInvalidOption, Format("sample bytes %d is none of 100, 112, 114", bytes));
  if (o.sampleBytes != SampleBytes::kWhole && o.algorithm == Algorithm::kDirectional)
    return Status(StatusCode::kUnsupported, "the directional algorithm reads whole samples");
  if (o.sampleBytes != SampleBytes::kWhole && !(wide && bgrx))
    return Status(StatusCode::kUnsupported,
                  "one byte of each sample is read only from 16-bit samples into 32-bit pixels");
  if (bgrx && o.sampleFactor < 1)
    return Status(StatusCode::kInvalidOption,
                  Format("sample factor %d is below 1", o.sampleFactor));

  if (raw.type == SampleType::kMono16 && raw.packing == Packing::kPlain8)
    return Status(StatusCode::kInvalidOption, "16-bit samples cannot be in the plain8 layout");
  if (raw.type == SampleType::kMono8 && raw.packing != Packing::kPlain8 &&
      raw.packing != Packing::kPlain16)
    return Status(StatusCode::kInvalidOption,
                  Format("8-bit samples cannot be in the %s layout", PackingName(raw.packing)));
  const ISize in{raw.width, raw.height};
  if (!IsBayerFrame(in))
    return Status(StatusCode::kInvalidSize,
                  Format("input is %dx%d but a mosaic needs an even width and height of at "
                         "least 4", in.width, in.height));
  if (out.width < 0 || out.height < 0)
    return Status(StatusCode::kInvalidSize,
                  Format("output is %dx%d", out.width, out.height));
  if (raw.strideBytes < 0 || out.strideBytes < 0)
    return Status(StatusCode::kInvalidStride,
                  Format("row strides are %td and %td bytes; they may not be negative",
                         raw.strideBytes, out.strideBytes));
  if (Status s = StrideStatus("raw", raw.Stride(), raw.RowBytes(), raw.width, "samples"); !s.ok())
    return s;
  if (Status s = StrideStatus("output", out.Stride(), out.RowBytes(), out.width, "pixels");
      !s.ok())
    return s;

  const ISize outSize{out.width, out.height};
  const unsigned short format = wide && bgrx ? static_cast<unsigned short>(o.sampleBytes)
                                             : kWholeSampleFormat;
  const bool corrected = o.correctColors && format == kWholeSampleFormat;
  const bool decimates = bgrx && o.sampleFactor != 1 &&
                         (o.algorithm == Algorithm::kFastBilinear ||
                          o.algorithm == Algorithm::kBilinear);
  if (bgrx && !IsBayerFrame(outSize))
    return Status(StatusCode::kInvalidSize,
                  Format("32-bit output is %dx%d but needs an even width and height of at "
                         "least 4", out.width, out.height));
  if (decimates) {
    if (Status s = CheckDecimatedWalk(outSize, in, o, wide, corrected); !s.ok()) return s;
  } else if (!CoversInput(outSize, in)) {
    return Status(StatusCode::kSizeMismatch,
                  Format("output is %dx%d but the input needs at least %dx%d", out.width,
                         out.height, in.width, in.height));
  }
  RowUnpacker unpacker;
  if (raw.Unpacks()) {
    if (Status s = unpacker.Prepare(raw.packing, depth, raw.width); !s.ok()) return s;
  }
  if (plan != nullptr) {
    *plan = DemosaicPlan{raw, out, o, depth, format, decimates, HaloRows(o.algorithm), unpacker};
    plan->options.parallel = Parallelism();
  }
  return Status();
}

namespace {

// One call of the entry point for the plan's sample and pixel types.
void ConvertFrame(CachedConverter &slot, const DemosaicPlan &p, const void *in, const ISize &inSize,
                  void *out, const ISize &outSize) {
  CBayerConverter &c = slot.converter;
  const DemosaicOptions &o = p.options;
  c.SetPatternOrigin(o.origin);
  c.SetCalcMode(static_cast<eCalculationMode>(o.algorithm));
  c.SetSampleFactor(o.sampleFactor);
  c.SetColorCorrectionMode(o.correctColors);
  const std::array<double, 9> &m = o.matrix;
  c.SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  if (slot.key.red != o.balanceRed || slot.key.green != o.balanceGreen ||
      slot.key.blue != o.balanceBlue) {
    c.SetColorBalance(o.balanceRed, o.balanceGreen, o.balanceBlue);
    slot.key.red = o.balanceRed;
    slot.key.green = o.balanceGreen;
    slot.key.blue = o.balanceBlue;
  }
  CColorMatrix matrix;
  std::copy(m.begin(), m.end(), matrix.m_matrix);
  const auto depth = static_cast<unsigned short>(p.bitDepth);
  auto *bytesOut = static_cast<unsigned char *>(out);
  if (p.raw.type == SampleType::kMono8) {
    const auto *samples = static_cast<const unsigned char *>(in);
    if (p.output.format == PixelFormat::kBgr24)
      c.ConvertMono8ToBGR(bytesOut, outSize, samples, inSize, matrix);
    else
      c.ConvertMono8ToBGRx(bytesOut, outSize, samples, inSize, matrix);
  } else {
    const auto *samples = static_cast<const unsigned short *>(in);
    switch (p.output.format) {
      case PixelFormat::kBgr24:
        c.ConvertMono16ToBGR(bytesOut, outSize, samples, inSize, depth, matrix);
        break;
      case PixelFormat::kBgrx32:
        c.ConvertMono16ToBGRx(bytesOut, outSize, samples, inSize, depth, p.format, matrix);
        slot.key.lutFormat = p.format;
        break;
      case PixelFormat::kBgr48:
        c.ConvertMono16ToBGR48(static_cast<unsigned short *>(out), outSize, samples, inSize, depth,
                               matrix);
        break;
    }
  }
  slot.key.bitDepth = p.bitDepth;
  if (p.output.format != PixelFormat::kBgrx32) slot.key.thresholdBits = p.bitDepth;
}

// One raw row into packed samples (`to` aligned for 16-bit samples).
void CopyRawRow(const DemosaicPlan &p, const unsigned char *from, unsigned char *to) {
  if (p.raw.Unpacks())
    p.unpacker(from, reinterpret_cast<std::uint16_t *>(to));
  else
    std::memcpy(to, from, std::size_t(p.raw.width) * BytesPerSample(p.raw.type));
}

// Rows a sub-frame reads but does not keep must hold what the caller left
// there: some passes read the frame the algorithm never writes, and the
// correction pass rewrites it. So the rows within a halo of every cut between
// tasks are copied before any task starts (no task then reads rows another one
// writes), and a task working down its band keeps the rows the next chunk reads
// above itself (`carry`) before writing them back.
class HaloCopy {
 public:
  HaloCopy(const DemosaicPlan &p, const std::vector<int> &cuts, int reach) : p_(p) {
    const std::size_t rowBytes = std::size_t(p.raw.width) * BytesPerPixel(p.output.format);
    for (std::size_t k = 1; k + 1 < cuts.size(); ++k) {
      const int from = std::max(0, cuts[k] - reach), to = std::min(p.raw.height, cuts[k] + reach);
      spans_.push_back({from, to, bytes_.size()});
      bytes_.resize(bytes_.size() + std::size_t(to - from) * rowBytes);
      for (int r = from; r < to; ++r)
        std::memcpy(&bytes_[spans_.back().offset + std::size_t(r - from) * rowBytes],
                    CallerRow(r), rowBytes);
    }
    rowBytes_ = rowBytes;
  }

  const unsigned char *CallerRow(int r) const {
    return static_cast<const unsigned char *>(p_.output.data) + std::ptrdiff_t(r) * p_.output.Stride();
  }
  // Row r as the caller held it, when taken before the tasks started; null otherwise.
  const unsigned char *Copied(int r) const {
    for (const Span &s : spans_)
      if (r >= s.from && r < s.to) return &bytes_[s.offset + std::size_t(r - s.from) * rowBytes_];
    return nullptr;
  }

 private:
  struct Span {
    int from, to;
    std::size_t offset;
  };
  const DemosaicPlan &p_;
  std::vector<Span> spans_;
  std::vector<unsigned char> bytes_;
  std::size_t rowBytes_ = 0;
};

struct Band {
  int from, to;  // the task's own output rows
};

class BandRunner {
 public:
  BandRunner(const DemosaicPlan &p, const HaloCopy &halo) : p_(p), halo_(halo) {
    sampleBytes_ = BytesPerSample(p.raw.type);
    pixelBytes_ = BytesPerPixel(p.output.format);
    width_ = p.raw.width;
    height_ = p.raw.height;
  }

  // Output rows [a, b) through a scratch sub-frame. Rows above `a` not in the
  // halo copy come from `carry` (rows carryFrom onwards), the rest are live.
  // Afterwards `carry` holds the caller's rows [b - halo, b).
  void Region(CachedConverter &slot, int a, int b, std::vector<unsigned char> &carry,
              int &carryFrom) const {
    int from = std::max(0, a - p_.halo), to = std::min(height_, b + p_.halo);
    if (to - from < 4) from = std::max(0, to - 4);
    if (to - from < 4) to = std::min(height_, from + 4);
    const std::size_t rows = std::size_t(to - from);
    const std::size_t inRow = std::size_t(width_) * sampleBytes_;
    const std::size_t outRow = std::size_t(width_) * pixelBytes_;
    // 16-byte alignment for the 16-bit samples and words the kernels read.
    const std::size_t inBytes = (rows * inRow + 15) / 16 * 16;
    if (slot.scratch.size() < inBytes + rows * outRow + 16) slot.scratch.resize(inBytes + rows * outRow + 16);
    unsigned char *base = slot.scratch.data();
    base += (16 - reinterpret_cast<std::uintptr_t>(base) % 16) % 16;
    unsigned char *in = base, *out = base + inBytes;
    const auto *raw = static_cast<const unsigned char *>(p_.raw.data);
    for (int r = from; r < to; ++r) {
      CopyRawRow(p_, raw + std::ptrdiff_t(r) * p_.raw.Stride(), in + std::size_t(r - from) * inRow);
      const unsigned char *row = halo_.Copied(r);
      if (row == nullptr && r < a) row = &carry[std::size_t(r - carryFrom) * outRow];
      if (row == nullptr) row = halo_.CallerRow(r);
      std::memcpy(out + std::size_t(r - from) * outRow, row, outRow);
    }
    const int keepFrom = std::max(from, b - p_.halo);
    carry.assign(out + std::size_t(keepFrom - from) * outRow, out + std::size_t(b - from) * outRow);
    carryFrom = keepFrom;
    const ISize size{width_, int(rows)};
    ConvertFrame(slot, p_, in, size, out, size);
    for (int r = a; r < b; ++r)
      std::memcpy(const_cast<unsigned char *>(halo_.CallerRow(r)), out + std::size_t(r - from) * outRow,
                  outRow);
  }

  // A task's whole band, in chunks.
  void Run(CachedConverter &slot, Band own, int chunkRows) const {
    std::vector<unsigned char> carry;
    int carryFrom = own.from;
    for (int a = own.from; a < own.to; a += chunkRows)
      Region(slot, a, std::min(own.to, a + chunkRows), carry, carryFrom);
  }

 private:
  const DemosaicPlan &p_;
  const HaloCopy &halo_;
  std::size_t sampleBytes_, pixelBytes_;
  int width_, height_;
};

// Rows per scratch chunk for padded views: big enough that the halo costs
// little, small enough that a chunk's input and output stay in the caches.
int DefaultChunkRows(const DemosaicPlan &p) {
  const std::size_t rowBytes =
      std::size_t(p.raw.width) * (BytesPerSample(p.raw.type) + BytesPerPixel(p.output.format));
  const std::size_t rows = std::max<std::size_t>(16 * std::size_t(p.halo), (1u << 20) / rowBytes);
  return int(std::min<std::size_t>(rows, 1u << 20)) & ~1;
}

bool IsAligned(const void *p, std::size_t n) { return reinterpret_cast<std::uintptr_t>(p) % n == 0; }

// Runs a frame that walks packed pixels (decimated 32-bit output), through
// full-size scratch when a view is padded: the per-site bilinear walk in bands
// on threads, the fast pass in one call.
void RunWhole(const DemosaicPlan &p, CachedConverter &slot, bool packed,
              const Parallelism &parallel) {
  const ISize in{p.raw.width, p.raw.height}, out{p.output.width, p.output.height};
  const bool banded = p.options.algorithm == Algorithm::kBilinear && TaskCount(parallel) > 1 &&
                      p.raw.height > 2;
  auto convert = [&](const void *from, void *to) {
    if (!banded) return ConvertFrame(slot, p, from, in, to, out);
    // A call the entry point refuses refreshes the tables without touching a pixel.
    const std::uint16_t nothing[4] = {};
    std::uint16_t none[12];
    ConvertFrame(slot, p, nothing, ISize{2, 2}, none, ISize{2, 2});
    RunPackedBilinear(p, slot, from, to, parallel);
  };
  if (packed) return convert(p.raw.data, p.output.data);
  const std::size_t inRow = std::size_t(in.width) * BytesPerSample(p.raw.type);
  const std::size_t outRow = std::size_t(out.width) * BytesPerPixel(p.output.format);
  std::vector<std::uint16_t> inBuf((inRow * in.height + 1) / 2), outBuf((outRow * out.height + 1) / 2);
  auto *ib = reinterpret_cast<unsigned char *>(inBuf.data());
  auto *ob = reinterpret_cast<unsigned char *>(outBuf.data());
  const auto *raw = static_cast<const unsigned char *>(p.raw.data);
  auto *dst = static_cast<unsigned char *>(p.output.data);
  for (int r = 0; r < in.height; ++r) CopyRawRow(p, raw + std::ptrdiff_t(r) * p.raw.Stride(), ib + r * inRow);
  for (int r = 0; r < out.height; ++r)
    std::memcpy(ob + r * outRow, dst + std::ptrdiff_t(r) * p.output.Stride(), outRow);
  convert(ib, ob);
  for (int r = 0; r < out.height; ++r)
    std::memcpy(dst + std::ptrdiff_t(r) * p.output.Stride(), ob + r * outRow, outRow);
}

TableKey KeyFor(const DemosaicPlan &p) {
  const bool sixteenToBgrx = p.raw.type == SampleType::kMono16 && p.output.format == PixelFormat::kBgrx32;
  // The 24- and 48-bit entry points keep the format the converter holds: a new
  // converter's, which is what the class gives a new object.
  // The 32-bit calls keep the thresholds as they are: a new converter's 8-bit ones.
  return {sixteenToBgrx ? p.format : kWholeSampleFormat, p.bitDepth, p.options.balanceRed,
          p.options.balanceGreen, p.options.balanceBlue,
          p.output.format == PixelFormat::kBgrx32 ? 8 : p.bitDepth};
}

}  // namespace

void RunDemosaic(const DemosaicPlan &p, const Parallelism &parallel, int chunkRows) {
  if (p.options.algorithm == Algorithm::kDirectional) return RunDirectional(p, parallel);
  const std::size_t sampleBytes = BytesPerSample(p.raw.type);
  const std::size_t pixelBytes = BytesPerPixel(p.output.format);
  // In place needs packed rows of the input's width and samples the kernels may read as such.
  const bool packed = !p.raw.Unpacks() && p.raw.Stride() == p.raw.RowBytes() &&
                      IsAligned(p.raw.data, sampleBytes) &&
                      p.output.Stride() == std::ptrdiff_t(p.output.width * pixelBytes) &&
                      IsAligned(p.output.data, pixelBytes == 6 ? 2 : 1);
  const TableKey key = KeyFor(p);
  const bool thresholds = p.output.format == PixelFormat::kBgrx32;
  const int height = p.raw.height;
  const int tasks = std::max(1, std::min(TaskCount(parallel), height / 2));
  auto convert = [&](auto run) {
    std::unique_ptr<CachedConverter> slot = AcquireConverter(key, thresholds);
    run(*slot);
    ReleaseConverter(std::move(slot));
  };
  if (tasks == 1 && chunkRows == 0 && packed &&
      (p.decimates || p.output.width == p.raw.width)) {
    const ISize in{p.raw.width, p.raw.height}, out{p.output.width, p.output.height};
    return convert([&](CachedConverter &slot) {
      ConvertFrame(slot, p, p.raw.data, in, p.output.data, p.decimates ? out : in);
    });
  }
  const bool direct = RunsDirect(p);
  if (p.decimates && !direct)
    return convert([&](CachedConverter &slot) { RunWhole(p, slot, packed, parallel); });
  // Chunks of a sensor layout are the windows it is unpacked in.
  if (direct && (chunkRows == 0 || p.decimates || p.raw.Unpacks())) {
    return convert([&](CachedConverter &slot) {
      // A call the entry point refuses refreshes the tables (and, for the 24-
      // and 48-bit outputs, the matrix and thresholds) without touching a pixel.
      const std::uint16_t nothing[4] = {};
      std::uint16_t none[12];
      ConvertFrame(slot, p, nothing, ISize{2, 2}, none, ISize{2, 2});
      RunDirect(p, slot, parallel, chunkRows);
    });
  }
  std::vector<int> cuts(std::size_t(tasks) + 1);
  for (int k = 0; k <= tasks; ++k) cuts[k] = int(std::int64_t(height / 2) * k / tasks) * 2;
  const HaloCopy halo(p, cuts, p.halo);
  const BandRunner runner(p, halo);
  const int chunk = chunkRows > 0 ? chunkRows : DefaultChunkRows(p);
  RunTasks(parallel, tasks, [&](int k) {
    std::unique_ptr<CachedConverter> slot = AcquireConverter(key, thresholds);
    runner.Run(*slot, Band{cuts[k], cuts[k + 1]}, chunk);
    ReleaseConverter(std::move(slot));
  });
}

}  // namespace detail

Status Demosaic(const RawView &raw, const ColorView &output, const DemosaicOptions &options) {
  detail::DemosaicPlan plan;
  if (Status s = detail::CheckDemosaic(raw, output, options, &plan); !s.ok()) return s;
  detail::RunDemosaic(plan, options.parallel, 0);
  return Status();
}

Status DemosaicBatch(const RawView *raws, const ColorView *outputs, std::size_t count,
                     const DemosaicOptions &options) {
  if (count > 0 && (raws == nullptr || outputs == nullptr))
    return Status(StatusCode::kNullPointer, "batch arrays are null");
  std::vector<detail::DemosaicPlan> plans(count);
  for (std::size_t k = 0; k < count; ++k)
    if (Status s = detail::CheckDemosaic(raws[k], outputs[k], options, &plans[k]); !s.ok())
      return Status(s.code(), detail::Format("frame %zu: %s", k, s.message().c_str()));
  const int threads = detail::TaskCount(options.parallel);
  if (count >= std::size_t(threads) || count == 1) {
    // A frame per task, each frame on one thread.
    Parallelism perTask = options.parallel;
    const int tasks = int(std::min<std::size_t>(count, std::size_t(threads)));
    detail::RunTasks(perTask, tasks, [&](int t) {
      for (std::size_t k = std::size_t(t); k < count; k += std::size_t(tasks))
        detail::RunDemosaic(plans[k], Parallelism(), 0);
    });
  } else {
    for (const detail::DemosaicPlan &p : plans) detail::RunDemosaic(p, options.parallel, 0);
  }
  return Status();
}

}  // namespace tavrix
