#include "api/converter_cache.h"

#include <mutex>

namespace tavrix::detail {
namespace {

// Enough for a batch on every core of a large machine; more are dropped.
constexpr std::size_t kMaxCached = 64;

std::mutex g_mutex;
std::vector<std::unique_ptr<CachedConverter>> &Cache() {
  static std::vector<std::unique_ptr<CachedConverter>> cache;
  return cache;
}

}  // namespace

std::unique_ptr<CachedConverter> AcquireConverter(const TableKey &want, bool sameThresholds) {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    auto &cache = Cache();
    std::size_t best = cache.size();
    for (std::size_t k = cache.size(); k-- > 0;) {
      const TableKey &has = cache[k]->key;
      if (has.lutFormat != want.lutFormat) continue;
      if (sameThresholds && has.thresholdBits != want.thresholdBits) continue;
      if (has == want) {
        best = k;
        break;
      }
      if (best == cache.size()) best = k;
    }
    if (best != cache.size()) {
      std::unique_ptr<CachedConverter> found = std::move(cache[best]);
      cache.erase(cache.begin() + std::ptrdiff_t(best));
      return found;
    }
  }
  return std::make_unique<CachedConverter>();
}

void ReleaseConverter(std::unique_ptr<CachedConverter> converter) {
  std::lock_guard<std::mutex> lock(g_mutex);
  if (Cache().size() < kMaxCached) Cache().push_back(std::move(converter));
}

}  // namespace tavrix::detail
