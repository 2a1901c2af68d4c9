// Threads that start together; and a check when the process has ended as far as libraries can see.
#pragma once
#include <unistd.h>

#include <barrier>
#include <thread>
#include <vector>

#include "core/testing.h"

extern "C" int __cxa_atexit(void (*)(void*), void*, void*);

namespace arko::test {

template <class F> void on_threads(F&& f, int count = 16) {
  std::barrier start(count);
  std::vector<std::jthread> threads;
  for (int t = 0; t < count; t++) threads.emplace_back([&, t] { start.arrive_and_wait(), f(t); });
}

// Set to the blocks that must still be alive then, in a child; the exit code is 9 where they are not.
inline std::int64_t blocks_at_end = -1;

// Handlers run in reverse order, and the destructors of libraries are one that is registered between this and main.
inline void register_first(int, char**, char**) {
  const auto check = [](void*) {
    if (blocks_at_end >= 0) _exit(arko_core_live_blocks() == blocks_at_end ? 0 : 9);
  };
  __cxa_atexit(check, nullptr, nullptr);
}
[[gnu::section(".preinit_array"), gnu::used]] static void (*const first)(int, char**,
                                                                         char**) = register_first;

}  // namespace arko::test
