// How a call of the tavrix:: interface may use threads.
#ifndef TAVRIX_PARALLEL_H
#define TAVRIX_PARALLEL_H

#include <functional>

#include "tavrix/export.h"

namespace tavrix {

// A host's own scheduler (a TBB arena, an OpenMP team, a game engine's jobs).
// Called with a task count n and a task; it must call task(0) .. task(n - 1)
// exactly once each, on any threads, in any order and concurrently as it likes,
// and return when all have returned. The library then creates no thread.
using Executor = std::function<void(int taskCount, const std::function<void(int)> &task)>;

struct Parallelism {
  // 1: the calling thread alone, no thread is created. 0: all hardware threads.
  // n > 1: up to n threads: the caller's plus workers of a pool the library
  // creates on first use and reuses (never more workers than asked for).
  // Ignored when an executor is given.
  int threads = 1;
  // When set, the work is split into `threads` tasks (all hardware threads
  // for 0) and handed to it.
  Executor executor;
};

// The number of hardware threads (at least 1).
TAVRIX_API int HardwareThreads();

}  // namespace tavrix

#endif
