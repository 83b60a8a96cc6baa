// Running n tasks on the threads a Parallelism allows: the caller's own thread,
// a host executor, or the workers of one pool the library creates once.
#ifndef TAVRIX_SRC_API_TASK_RUNNER_H
#define TAVRIX_SRC_API_TASK_RUNNER_H

#include <functional>

#include "tavrix/parallel.h"

namespace tavrix::detail {

// How many tasks to cut the work into: threads (hardware threads for 0), or 1.
int TaskCount(const Parallelism &parallel);

// Calls task(0) .. task(count - 1), each once, and returns when all have
// returned. With one task, or threads == 1 and no executor, everything runs on
// the calling thread in index order.
void RunTasks(const Parallelism &parallel, int count, const std::function<void(int)> &task);

}  // namespace tavrix::detail

#endif
