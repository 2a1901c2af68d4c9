// Work that a fork waits for.
#pragma once

namespace arko::core {

// While one lives, on one thread at a time, no fork begins: for calls into libraries whose locks a fork would leave held
// in the child, where no other thread goes on.
struct fork_guard {
  fork_guard();
  ~fork_guard();
  fork_guard(const fork_guard&) = delete;
};

}  // namespace arko::core
