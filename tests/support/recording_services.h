// Thread services that run everything on the caller's thread, last task first, and keep what they were asked for.
#pragma once
#include <arko/threads.h>

#include <utility>
#include <vector>

namespace arko::test {

struct recording_services {
  using rounds_type = std::vector<std::pair<std::int32_t, std::int32_t>>;
  static inline std::int32_t threads = 2;  // what thread_count answers
  static inline rounds_type rounds;        // counts of tasks and threads of each parallel_for

  static const DFThreadServices* get() {
    static constexpr DFThreadServices services = {
        [](std::int32_t tasks, std::int32_t count, void* context, TaskBody body) {
          rounds.emplace_back(tasks, count);
          for (std::int32_t t = tasks; t-- > 0;) body(t, t % count, count, context);
        },
        nullptr, nullptr, nullptr, [] { return threads; }};
    return &services;
  }
};

}  // namespace arko::test
