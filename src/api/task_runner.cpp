#include "api/task_runner.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace tavrix {

int HardwareThreads() { return std::max(1, int(std::thread::hardware_concurrency())); }

namespace detail {
namespace {

// One call's tasks: whoever is free takes the next index.
struct Job {
  const std::function<void(int)> *task;
  int count;
  std::atomic<int> next{0};
  std::atomic<int> done{0};
  std::mutex mutex;
  std::condition_variable finished;

  // Runs tasks until none is left; true when this thread finished the last one.
  void Work() {
    for (int i; (i = next.fetch_add(1)) < count;) {
      (*task)(i);
      if (done.fetch_add(1) + 1 == count) {
        std::lock_guard<std::mutex> lock(mutex);
        finished.notify_all();
      }
    }
  }
  void Wait() {
    std::unique_lock<std::mutex> lock(mutex);
    finished.wait(lock, [this] { return done.load() == count; });
  }
};

// Workers are created when a call first asks for more than there are, and
// live until the process ends. Each queued entry is a job's request for one
// more thread; a worker that takes it helps with the job until it is empty.
class Pool {
 public:
  static Pool &Instance() {
    static Pool pool;
    return pool;
  }

  void Run(int threads, int count, const std::function<void(int)> &task) {
    Job job;
    job.task = &task;
    job.count = count;
    const int helpers = std::min(threads, count) - 1;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      while (int(workers_.size()) < helpers) workers_.emplace_back([this] { Serve(); });
      for (int k = 0; k < helpers; ++k) queue_.push_back(&job);
    }
    if (helpers == 1) wake_.notify_one(); else wake_.notify_all();
    job.Work();
    job.Wait();
    // A request no worker took yet must not outlive the job.
    std::unique_lock<std::mutex> lock(mutex_);
    queue_.erase(std::remove(queue_.begin(), queue_.end(), &job), queue_.end());
    idle_.wait(lock, [&] { return busy_.count(&job) == 0; });
  }

  ~Pool() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    for (std::thread &t : workers_) t.join();
  }

 private:
  void Serve() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return stop_ || !queue_.empty(); });
      if (stop_) return;
      Job *job = queue_.front();
      queue_.pop_front();
      busy_.insert(job);
      lock.unlock();
      job->Work();
      lock.lock();
      busy_.erase(busy_.find(job));
      idle_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_, idle_;
  std::deque<Job *> queue_;
  std::multiset<Job *> busy_;
  std::vector<std::thread> workers_;
  bool stop_ = false;
};

}  // namespace

int TaskCount(const Parallelism &parallel) {
  if (parallel.threads < 0) return 1;
  return parallel.threads == 0 ? HardwareThreads() : parallel.threads;
}

void RunTasks(const Parallelism &parallel, int count, const std::function<void(int)> &task) {
  if (count <= 0) return;
  if (parallel.executor && count > 1) return parallel.executor(count, task);
  const int threads = TaskCount(parallel);
  if (count == 1 || threads <= 1) {
    for (int i = 0; i < count; ++i) task(i);
    return;
  }
  Pool::Instance().Run(threads, count, task);
}

}  // namespace detail
}  // namespace tavrix
