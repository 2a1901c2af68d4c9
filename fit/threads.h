// The caller's threads.
#pragma once
#include <arko/threads.h>

#include <algorithm>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] fit {

inline std::int32_t thread_count(const DFThreadServices* services) {
  return services ? std::max(services->thread_count(), 1) : 1;
}

// Runs body(task, thread) for each task on up to that many threads.
template <class Body>
void parallel_for(const DFThreadServices* services, std::int32_t tasks, std::int32_t threads, Body body) {
  services->parallel_for(tasks, threads, &body,
                         [](std::int32_t task, std::int32_t thread, std::int32_t, void* context) {
                           (*static_cast<Body*>(context))(task, thread);
                         });
}

}  // namespace fit
