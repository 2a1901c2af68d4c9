// What every entry has to survive, for any of them: refusals as rows, each of its allocations failing, and thread services
// that do as they are told.
#pragma once
#include <arko/threads.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "core/testing.h"

namespace arko::test {

// A call that cannot be served, and its status.
struct refusal {
  const char* what;
  std::int32_t status;
  std::function<std::int32_t()> call;
};
inline void expect_refusals(const std::vector<refusal>& rows) {
  for (const refusal& r : rows) EXPECT_EQ(r.call(), r.status) << r.what;
}

// Runs `run` with its first, second and so on allocation failing, until none is left to fail. A failed run answers `refusal`,
// the last one `success`, and none keeps a block. How many allocations there are.
template <class Run> int each_allocation_fails(std::int32_t refusal, Run&& run, std::int32_t success = 0) {
  const std::int64_t live = arko_core_live_blocks();
  for (std::int32_t k = 1;; k++) {
    const std::int64_t asked = arko_core_allocations();
    arko_core_fail_allocation(k);
    const std::int32_t status = run();
    arko_core_fail_allocation(0);
    const bool failed = arko_core_allocations() - asked >= k;
    EXPECT_EQ(status, failed ? refusal : success) << "allocation " << k;
    EXPECT_EQ(arko_core_live_blocks(), live) << "allocation " << k;
    if (!failed || status == success) return k - 1;
  }
}

// Runs everything on the caller's thread, the last task or thread first, and keeps what was asked for.
struct scripted_services {
  static inline std::int32_t threads = 2;  // what thread_count answers
  // Tasks and threads of each parallel_for and parallel_groups; 0 and threads of each parallel_region.
  static inline std::vector<std::pair<std::int32_t, std::int32_t>> rounds;

  static const DFThreadServices* with(std::int32_t count) {
    threads = count;
    rounds.clear();
    return get();
  }
  static const DFThreadServices* get() {
    static constexpr DFThreadServices services = {
        tasks_last_first, tasks_last_first,
        [](std::int32_t count, void* context, TaskBody body) {
          rounds.emplace_back(0, count);
          for (std::int32_t t = count; t-- > 0;) body(t, 0, count, context);
        },
        [](std::int32_t task, std::int32_t thread, std::int32_t count, void* context, TaskBody function) {
          function(task, thread, count, context);
        },
        [] { return threads; }};
    return &services;
  }

 private:
  static void tasks_last_first(std::int32_t tasks, std::int32_t count, void* context, TaskBody body) {
    rounds.emplace_back(tasks, count);
    const std::int32_t share = count > 0 ? count : threads > 0 ? threads : 1;
    for (std::int32_t t = tasks; t-- > 0;) body(t, t % share, share, context);
  }
};

}  // namespace arko::test
