// Work that is cut into tasks of which each can fail.
#pragma once
#include <atomic>

#include "core/threads.h"
#include "fit/task.h"

namespace [[gnu::visibility("hidden")]] fit {

// Runs f(task, thread), which returns a status, for each task on up to that many threads. The result is the negative
// status of the first task, by number, that has one; tasks behind a failed one may be left out.
template <class F>
status run_tasks(const DFThreadServices* services, int64_t tasks, int64_t threads, const F& f) {
  for (int64_t first = 0, n; (n = std::min<int64_t>(tasks - first, INT32_MAX)) > 0; first += n) {
    std::atomic<int64_t> failure = INT64_MAX;  // the task's number, and below it the status
    auto body = [&](int32_t task, int32_t thread) {
      if (failure.load(std::memory_order_relaxed) >> 32 < task) return;
      const status s = f(first + task, thread);
      if (s >= 0) return;
      const int64_t mine = (int64_t{task} << 32) | static_cast<uint32_t>(s);
      int64_t known = failure;
      while (mine < known && !failure.compare_exchange_weak(known, mine)) {
      }
    };
    arko::parallel_for(services, static_cast<int32_t>(n), static_cast<int32_t>(std::min(threads, n)), body);
    if (failure != INT64_MAX) return static_cast<status>(failure & UINT32_MAX);
  }
  return FIT_OK;
}

}  // namespace fit
