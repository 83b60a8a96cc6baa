#include "cpu/dispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace tavrix::detail {
namespace {

constexpr int kNotForced = -1;
std::atomic<int> g_forced{kNotForced};

CpuFeatures Detect() {
  CpuFeatures f;
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  f.ssse3 = __builtin_cpu_supports("ssse3");
  f.sse41 = __builtin_cpu_supports("sse4.1");
  f.avx2 = __builtin_cpu_supports("avx2");
  f.bmi2 = __builtin_cpu_supports("bmi2");
  f.avx512bw = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl");
  f.avx512vbmi = f.avx512bw && __builtin_cpu_supports("avx512vbmi");
#elif defined(__aarch64__)
  f.neon = true;  // Advanced SIMD is part of every aarch64 CPU
#endif
  return f;
}

// Paths the project's test machines have run against the reference, bit for bit.
// AVX-512 is compiled and testable, but stays out of the automatic choice until a
// CPU that has it has run the whole suite.
constexpr Path kProven[] = {Path::kReference, Path::kSse41, Path::kAvx2, Path::kNeon};

// x86 paths nest: each includes the one before. NEON stands alone.
int Rank(Path p) {
  switch (p) {
    case Path::kReference: return 0;
    case Path::kSse41: return 1;
    case Path::kAvx2: return 2;
    case Path::kAvx512: return 3;
    case Path::kNeon: return 1;
  }
  return 0;
}
bool IsX86(Path p) { return p == Path::kSse41 || p == Path::kAvx2 || p == Path::kAvx512; }

// The TAVRIX_CPU cap: the highest rank a user allows, or -1 for no cap.
int CapFromEnvironment() {
  const char *value = std::getenv("TAVRIX_CPU");
  if (value == nullptr || *value == '\0') return -1;
  struct Name { const char *name; int rank; };
  constexpr Name kNames[] = {{"baseline", 0}, {"reference", 0}, {"sse41", 1}, {"avx2", 2},
                             {"avx512", 3},   {"neon", 1}};
  for (const Name &n : kNames)
    if (std::strcmp(value, n.name) == 0) return n.rank;
  return -1;  // an unknown name caps nothing
}

Path Choose() {
  const int cap = CapFromEnvironment();
  Path best = Path::kReference;
  for (Path p : ArchitecturePaths())
    if (CpuSupports(p) && PathProven(p) && (cap < 0 || Rank(p) <= cap) && Rank(p) > Rank(best))
      best = p;
  return best;
}

}  // namespace

const CpuFeatures &Cpu() {
  static const CpuFeatures features = Detect();
  return features;
}

const char *PathName(Path path) {
  switch (path) {
    case Path::kReference: return "reference";
    case Path::kSse41: return "sse41";
    case Path::kAvx2: return "avx2";
    case Path::kAvx512: return "avx512";
    case Path::kNeon: return "neon";
  }
  return "?";
}

bool CpuSupports(Path path) {
  const CpuFeatures &f = Cpu();
  switch (path) {
    case Path::kReference: return true;
    case Path::kSse41: return f.ssse3 && f.sse41;
    case Path::kAvx2: return f.ssse3 && f.sse41 && f.avx2 && f.bmi2;
    case Path::kAvx512: return f.avx2 && f.bmi2 && f.avx512bw && f.avx512vbmi;
    case Path::kNeon: return f.neon;
  }
  return false;
}

bool PathProven(Path path) {
  for (Path p : kProven)
    if (p == path) return true;
  return false;
}

Path ActivePath() {
  const int forced = g_forced.load(std::memory_order_relaxed);
  if (forced != kNotForced) return Path(forced);
  static const Path chosen = Choose();
  return chosen;
}

bool Admits(Path active, Path wanted) {
  if (wanted == Path::kReference) return true;
  if (IsX86(wanted)) return IsX86(active) && Rank(wanted) <= Rank(active);
  return wanted == active;
}

bool ForcePathForTesting(Path path) {
  if (!CpuSupports(path)) return false;
  g_forced.store(int(path), std::memory_order_relaxed);
  return true;
}

void ClearForcedPath() { g_forced.store(kNotForced, std::memory_order_relaxed); }

std::vector<Path> ArchitecturePaths() {
#if defined(__x86_64__) || defined(__i386__)
  return {Path::kReference, Path::kSse41, Path::kAvx2, Path::kAvx512};
#elif defined(__aarch64__)
  return {Path::kReference, Path::kNeon};
#else
  return {Path::kReference};
#endif
}

std::vector<Path> SupportedPaths() {
  std::vector<Path> paths;
  for (Path p : ArchitecturePaths())
    if (CpuSupports(p)) paths.push_back(p);
  return paths;
}

}  // namespace tavrix::detail
