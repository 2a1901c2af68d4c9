// A check that runs when the process has ended as far as libraries can see: after all their destructors.
#pragma once
#include <unistd.h>

#include "core/testing.h"

extern "C" int __cxa_atexit(void (*)(void*), void*, void*);

namespace arko::test {

// Set to the blocks that must still be alive then, in a child; the exit code is 9 where they are not.
inline std::int64_t blocks_at_end = -1;

// Handlers run in reverse order, and the destructors of libraries are a handler of the system that is
// registered between this and main.
inline void register_first(int, char**, char**) {
  __cxa_atexit(
      [](void*) {
        if (blocks_at_end >= 0) _exit(arko_core_live_blocks() == blocks_at_end ? 0 : 9);
      },
      nullptr, nullptr);
}
[[gnu::section(".preinit_array"), gnu::used]] static void (*const first)(int, char**,
                                                                         char**) = register_first;

}  // namespace arko::test
