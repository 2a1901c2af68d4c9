// The caller's side of arko/threads.h over std::thread, with a number of threads that can be set.
#pragma once
#include <arko/threads.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace arko::examples {

struct thread_services {
  static inline std::int32_t threads = 2;  // what thread_count answers
  static inline std::atomic<std::int32_t> rounds =
      0;  // calls of the three parallel functions since the start
  static inline std::mutex mutex;

  static void parallel_region(std::int32_t count, void* context, RegionBody body) {
    rounds++;
    std::vector<std::thread> others;
    for (std::int32_t t = 1; t < count; t++) others.emplace_back(body, t, 0, count, context);
    if (count > 0) body(0, 0, count, context);
    for (std::thread& t : others) t.join();
  }

  static void parallel_for(std::int32_t tasks, std::int32_t count, void* context, TaskBody body) {
    struct work {
      std::int32_t tasks;
      void* context;
      TaskBody body;
      std::atomic<std::int32_t> next = 0;
    } w{tasks, context, body};
    parallel_region(count > 0 ? count : std::max(threads, 1), &w,
                    [](std::int32_t thread, std::int32_t, std::int32_t n, void* p) {
                      work& w = *static_cast<work*>(p);
                      for (std::int32_t task; (task = w.next++) < w.tasks;)
                        w.body(task, thread, n, w.context);
                    });
  }

  static void critical(std::int32_t task, std::int32_t thread, std::int32_t count, void* context,
                       TaskBody function) {
    const std::lock_guard lock(mutex);
    function(task, thread, count, context);
  }

  static std::int32_t thread_count() { return threads; }

  static const DFThreadServices* get() {
    static constexpr DFThreadServices services = {parallel_for, parallel_for, parallel_region, critical,
                                                  thread_count};
    return &services;
  }
};

}  // namespace arko::examples
