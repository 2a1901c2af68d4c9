// The caller's threads.
#pragma once
#include <arko/threads.h>

#include <algorithm>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

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

}  // namespace kov
