// Colour balance of views on CColorBalance: an estimator into caller tables,
// the caller-table apply pass on bands of rows.
#include "tavrix/balance.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "api/messages.h"
#include "api/task_runner.h"
#include "tavrix/color_balance.h"

namespace tavrix {
namespace {

using detail::Format;

constexpr std::size_t kTableSize = 65536;  // every 16-bit channel value indexes a table

// The CImageInfo of a view: the class finds its row stride as imageSize / height.
Status Describe(const ConstColorView &image, CImageInfo *info) {
  if (image.data == nullptr) return Status(StatusCode::kNullPointer, "image view has no data");
  if (image.format != PixelFormat::kBgr24 && image.format != PixelFormat::kBgrx32 &&
      image.format != PixelFormat::kBgr48)
    return Status(StatusCode::kInvalidOption,
                  Format("pixel format %d is none of 24, 32, 48", int(image.format)));
  if (image.width < 1 || image.height < 1)
    return Status(StatusCode::kInvalidSize,
                  Format("image is %dx%d but needs at least one pixel", image.width, image.height));
  if (image.strideBytes < 0 || image.Stride() < image.RowBytes())
    return Status(StatusCode::kInvalidStride,
                  Format("row stride is %td bytes but a row of %d pixels takes %td", image.Stride(),
                         image.width, image.RowBytes()));
  const std::uint64_t bytes = std::uint64_t(image.Stride()) * std::uint64_t(image.height);
  if (bytes > 0xFFFFFFFFu)
    return Status(StatusCode::kInvalidSize,
                  Format("image spans %llu bytes, more than the 4294967295 a balance pass takes",
                         static_cast<unsigned long long>(bytes)));
  const unsigned bits = unsigned(image.format);
  *info = CImageInfo{unsigned(image.width), unsigned(image.height), bits, bits == 24 ? 8u : 16u,
                     unsigned(bytes), image.format == PixelFormat::kBgrx32 ? 500u : 200u};
  return Status();
}

bool IsIdentity(const std::vector<std::uint16_t> &table, std::size_t entries) {
  for (std::size_t i = 0; i < entries; ++i)
    if (table[i] != i) return false;
  return true;
}

}  // namespace

Status EstimateBalance(const ConstColorView &image, const BalanceOptions &options,
                       BalanceTables *tables) {
  CImageInfo info;
  if (Status s = Describe(image, &info); !s.ok()) return s;
  if (tables == nullptr) return Status(StatusCode::kNullPointer, "tables pointer is null");
  if (options.tableDepth < 1 || options.tableDepth > 16)
    return Status(StatusCode::kInvalidOption,
                  Format("table depth %d is outside 1..16", options.tableDepth));
  const int estimator = int(options.estimator);
  if (estimator < 0 || estimator > 5)
    return Status(StatusCode::kInvalidOption,
                  Format("estimator %d is not one of 0..5", estimator));

  for (std::vector<std::uint16_t> *t : {&tables->red, &tables->green, &tables->blue}) {
    t->resize(kTableSize);
    for (std::size_t i = 0; i < kTableSize; ++i) (*t)[i] = std::uint16_t(i);
  }
  tables->depth = options.tableDepth;
  auto balance = std::make_unique<CColorBalance>();
  balance->SetLutDepth(options.tableDepth);
  // The estimators only read the pixels.
  CImageData data{static_cast<unsigned char *>(const_cast<void *>(image.data))};
  unsigned short *r = tables->red.data(), *g = tables->green.data(), *b = tables->blue.data();
  switch (options.estimator) {
    case BalanceEstimator::kMeanEqualization: balance->MeanEqualization(&info, &data, r, g, b); break;
    case BalanceEstimator::kGrayWorld: balance->GrayWorld(&info, &data, r, g, b); break;
    case BalanceEstimator::kStandardDeviation: balance->StandardDeviation(&info, &data, r, g, b); break;
    case BalanceEstimator::kMeanAndStandardDeviation:
      balance->MeanAndStandardDeviation(&info, &data, r, g, b);
      break;
    case BalanceEstimator::kScaleByMax: balance->ScaleByMax(&info, &data, r, g, b); break;
    case BalanceEstimator::kWhiteWorld: balance->WhiteWorld(&info, &data, r, g, b); break;
  }
  // An estimator with nothing to correct writes no table: they stay the identity.
  const std::size_t entries = std::size_t(1) << options.tableDepth;
  tables->unchanged = IsIdentity(tables->red, entries) && IsIdentity(tables->green, entries) &&
                      IsIdentity(tables->blue, entries);
  return Status();
}

Status ApplyBalance(const ColorView &image, const BalanceTables &tables,
                    const Parallelism &parallel) {
  CImageInfo info;
  if (Status s = Describe(image, &info); !s.ok()) return s;
  if (tables.red.size() != kTableSize || tables.green.size() != kTableSize ||
      tables.blue.size() != kTableSize)
    return Status(StatusCode::kInvalidOption,
                  Format("tables hold %zu, %zu, %zu entries but 65536 each are needed",
                         tables.red.size(), tables.green.size(), tables.blue.size()));
  // Rows are independent: each task rewrites its own band.
  const int tasks = std::min(detail::TaskCount(parallel), image.height);
  detail::RunTasks(parallel, tasks, [&](int k) {
    const int from = int(std::int64_t(image.height) * k / tasks);
    const int to = int(std::int64_t(image.height) * (k + 1) / tasks);
    if (from == to) return;
    CImageInfo band = info;
    band.height = unsigned(to - from);
    band.imageSize = unsigned(std::uint64_t(image.Stride()) * band.height);
    CImageData data{static_cast<unsigned char *>(image.data) + std::ptrdiff_t(from) * image.Stride()};
    auto balance = std::make_unique<CColorBalance>();
    // The tables are only read.
    auto *r = const_cast<unsigned short *>(tables.red.data());
    auto *g = const_cast<unsigned short *>(tables.green.data());
    auto *b = const_cast<unsigned short *>(tables.blue.data());
    balance->ApplyColorBalance(&band, &data, r, g, b);
  });
  return Status();
}

Status AutoBalance(const ColorView &image, const BalanceOptions &options, BalanceTables *tables) {
  BalanceTables own;
  BalanceTables *t = tables != nullptr ? tables : &own;
  if (Status s = EstimateBalance(image, options, t); !s.ok()) return s;
  if (t->unchanged) return Status();
  return ApplyBalance(image, *t, options.parallel);
}

}  // namespace tavrix
