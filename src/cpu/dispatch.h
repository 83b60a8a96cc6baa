// Run-time choice of the vector path.
//
// The library is compiled for the architecture's baseline (x86-64: SSE2; aarch64:
// NEON). Faster bodies live in files of their own, compiled with that instruction
// set's flags alone (see cmake/TavrixSimd.cmake), and a kernel family picks one of
// them once per call from ActivePath(): never per row or pixel.
//
// ActivePath() is the best path that is
//   - supported by this CPU (detected once, on first use),
//   - proven: run bit for bit against the reference on a CPU of ours (a path
//     compiled for an instruction set no test machine has yet run stays off),
//   - not above the cap a user sets with the environment variable TAVRIX_CPU
//     (baseline, sse41, avx2, avx512, neon), read once.
// Tests force each supported path in turn with ForcePathForTesting().
#ifndef TAVRIX_SRC_CPU_DISPATCH_H
#define TAVRIX_SRC_CPU_DISPATCH_H

#include <vector>

namespace tavrix::detail {

enum class Path {
  kReference,  // the plain templates: baseline instructions only
  kSse41,      // SSSE3 + SSE4.1
  kAvx2,       // AVX2 + BMI2
  kAvx512,     // AVX-512 F, BW, VL and VBMI
  kNeon        // aarch64 Advanced SIMD
};

// What the CPU offers beyond the baseline, detected once.
struct CpuFeatures {
  bool ssse3 = false;
  bool sse41 = false;
  bool avx2 = false;
  bool bmi2 = false;
  bool avx512bw = false;  // with F and VL
  bool avx512vbmi = false;
  bool neon = false;
};
const CpuFeatures &Cpu();

const char *PathName(Path path);

// True when this CPU can execute code compiled for `path`.
bool CpuSupports(Path path);

// True when `path` has been proven bit for bit on a CPU of ours, so that the
// dispatch may choose it without being forced.
bool PathProven(Path path);

// The path conversions take now: forced by a test, or the best proven, supported
// path under the TAVRIX_CPU cap. Cheap: one atomic load after the first call.
Path ActivePath();

// True when code written for `wanted` may run while `active` is the chosen path:
// the reference always; x86 paths in order; NEON only on its own.
bool Admits(Path active, Path wanted);

// Tests: make ActivePath() return `path` (refused, returning false, when the CPU
// cannot run it); ClearForcedPath() returns to the normal choice.
bool ForcePathForTesting(Path path);
void ClearForcedPath();

// Every path this CPU supports, the reference first; and every path this build
// knows of for the architecture, so that tests can name the ones the CPU lacks.
std::vector<Path> SupportedPaths();
std::vector<Path> ArchitecturePaths();

}  // namespace tavrix::detail

#endif
