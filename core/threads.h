// The caller's threads, for the libraries that stand on core.
#pragma once
#include <arko/threads.h>

#include <algorithm>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] arko {

inline std::int32_t thread_count(const DFThreadServices* services) {
  return services ? std::max(services->thread_count(), 1) : 1;
}

// Runs body(thread) on each of that many threads.
template <class Body>
void parallel_region(const DFThreadServices* services, std::int32_t threads, const Body& body) {
  services->parallel_region(threads, const_cast<Body*>(&body),
                            [](std::int32_t thread, std::int32_t, std::int32_t, void* context) {
                              (*static_cast<const Body*>(context))(thread);
                            });
}

inline constexpr std::int32_t all_threads = 0;  // as many as the caller's count tells

// Runs body(item, thread) for each item on up to that many threads; without services, on the calling one.
template <class Body>
void parallel_for(const DFThreadServices* services, std::int32_t items, std::int32_t threads,
                  const Body& body) {
  if (services)
    services->parallel_for(items, threads, const_cast<Body*>(&body),
                           [](std::int32_t item, std::int32_t thread, std::int32_t, void* context) {
                             (*static_cast<const Body*>(context))(item, thread);
                           });
  else
    for (std::int32_t item = 0; item < items; item++) body(item, 0);
}

}  // namespace arko
