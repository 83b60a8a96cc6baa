// The directional algorithm through views: it reads the samples and its
// balance offsets directly (no converter tables), so a task per band of rows
// runs it on the caller's buffers. Sensor layouts and 16-bit rows at odd
// addresses are first unpacked into a packed frame; 48-bit rows at odd
// addresses are written through a packed frame.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "api/demosaic_plan.h"
#include "api/task_runner.h"
#include "bayer/kernels/directional.h"

namespace tavrix::detail {
namespace {

bool Aligned2(const void *p, std::ptrdiff_t stride) {
  return reinterpret_cast<std::uintptr_t>(p) % 2 == 0 && stride % 2 == 0;
}

DirectionalRecord RecordOf(PixelFormat f) {
  switch (f) {
    case PixelFormat::kBgr24: return DirectionalRecord::kBgr24;
    case PixelFormat::kBgrx32: return DirectionalRecord::kBgrx32;
    default: return DirectionalRecord::kBgr48;
  }
}

// balance << depthShift as the converter's table rule forms it (32-bit wrap).
int Offset(int balance, int depthShift) { return int(std::uint32_t(balance) << depthShift); }

}  // namespace

void RunDirectional(const DemosaicPlan &p, const Parallelism &parallel) {
  const DemosaicOptions &o = p.options;
  const bool wide = p.raw.type == SampleType::kMono16;
  const int width = p.raw.width, height = p.raw.height;
  DirectionalJob job{};
  job.input = p.raw.data;
  job.inputStride = p.raw.Stride();
  job.wideSamples = wide;
  job.width = width;
  job.height = height;
  job.output = p.output.data;
  job.outputStride = p.output.Stride();
  job.record = RecordOf(p.output.format);
  job.origin = o.origin;
  const int shift = p.bitDepth - 8;
  job.offsetRed = Offset(o.balanceRed, shift);
  job.offsetGreen = Offset(o.balanceGreen, shift);
  job.offsetBlue = Offset(o.balanceBlue, shift);
  job.maxValue = int((std::uint32_t(1) << p.bitDepth) - 1);
  job.depthShift = shift;
  job.matrix = o.correctColors ? o.matrix.data() : nullptr;

  std::vector<std::uint16_t> samples;
  if (p.raw.Unpacks() || (wide && !Aligned2(p.raw.data, p.raw.Stride()))) {
    samples.resize(std::size_t(width) * height);
    const auto *raw = static_cast<const unsigned char *>(p.raw.data);
    for (int r = 0; r < height; ++r) {
      std::uint16_t *to = &samples[std::size_t(r) * width];
      if (p.raw.Unpacks())
        p.unpacker(raw + std::ptrdiff_t(r) * p.raw.Stride(), to);
      else
        std::memcpy(to, raw + std::ptrdiff_t(r) * p.raw.Stride(), std::size_t(width) * 2);
    }
    job.input = samples.data();
    job.inputStride = std::ptrdiff_t(width) * 2;
  }
  std::vector<std::uint16_t> words;
  const bool viaWords =
      p.output.format == PixelFormat::kBgr48 && !Aligned2(p.output.data, p.output.Stride());
  if (viaWords) {
    words.resize(std::size_t(width) * height * 3);
    job.output = words.data();
    job.outputStride = std::ptrdiff_t(width) * 6;
  }
  const int tasks = std::max(1, std::min(TaskCount(parallel), height / 2));
  RunTasks(parallel, tasks, [&](int k) {
    const int from = int(std::int64_t(height / 2) * k / tasks) * 2;
    const int to = int(std::int64_t(height / 2) * (k + 1) / tasks) * 2;
    if (from < to) DirectionalRows(job, from, to);
  });
  if (viaWords)
    for (int r = 0; r < height; ++r)
      std::memcpy(static_cast<unsigned char *>(p.output.data) + std::ptrdiff_t(r) * p.output.Stride(),
                  &words[std::size_t(r) * width * 3], std::size_t(width) * 6);
}

}  // namespace tavrix::detail
