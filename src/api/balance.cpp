// Colour balance of views on the balance object's estimators and apply pass,
// their rows split into bands for the caller's threads.
#include "tavrix/balance.h"

#include <cstdint>
#include <functional>

#include "api/messages.h"
#include "api/task_runner.h"
#include "balance/banded_passes.h"

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

// Bands of rows, one per task the caller allows.
detail::RowBands BandsFor(const Parallelism &parallel) {
  return {detail::TaskCount(parallel), [&parallel](int count, const std::function<void(int)> &body) {
            detail::RunTasks(parallel, count, body);
          }};
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
  // The estimators only read the pixels.
  const CImageData data{static_cast<unsigned char *>(const_cast<void *>(image.data))};
  bool unchanged = true;
  detail::EstimateInBands(detail::EstimatorKind(estimator), &info, &data, options.tableDepth,
                          unchanged, {tables->blue.data(), tables->green.data(), tables->red.data()},
                          BandsFor(options.parallel));
  // An estimator with nothing to correct writes no table: they stay the identity.
  // Tables it writes may still be the identity (gains of 1), with nothing to apply.
  const std::size_t entries = std::size_t(1) << options.tableDepth;
  tables->unchanged = unchanged || (IsIdentity(tables->red, entries) &&
                                    IsIdentity(tables->green, entries) &&
                                    IsIdentity(tables->blue, entries));
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
  const CImageData data{static_cast<unsigned char *>(image.data)};
  detail::ApplyInBands(&info, &data, {tables.blue.data(), tables.green.data(), tables.red.data()},
                       BandsFor(parallel));
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
