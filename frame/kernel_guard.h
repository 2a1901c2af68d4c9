// What code of the module puts around the kernels that it calls for itself, so that none of their reports reaches the
// caller: no status, errno, message or exception, and no call of the caller's callback, which could replace results.
#pragma once
#include <cstdint>

#include "frame/state.h"

namespace [[gnu::visibility("hidden")]] zur {

// Runs `run` with fields of the thread's mode word set, and puts the word back exactly: the setter cannot clear a field.
template <class Run>
void with_mode(thread_state& thread, std::uint32_t fields, std::uint32_t values, Run run) {
  const std::uint32_t mode = thread.mode;
  thread.mode = (mode & ~fields) | values;
  run();
  thread.mode = mode;
}

// Runs kernels that report nothing, with denormals as numbers. What they store for an element without a finite result
// stays. They mask exceptions themselves and leave their flags, as arithmetic does.
template <class Run> void silently(Run run) {
  mode();  // read from the environment where this is its first use
  with_mode(state(), ZUR_ERRMODE_MASK | ZUR_DENORMALS_MASK, ZUR_ERRMODE_NOERR | ZUR_KEEP_DENORMALS, run);
}

// For a run of kernels and other code in which a callback replaces what kernels store. Inside, all exceptions are
// masked, the thread's error mode is callback alone, and the callback is the given one. When it ends, the mode word, the
// callback, the status and both control words are what they were; flags of the x87 are clear.
class kernel_guard {
  thread_state& thread_;
  std::uint32_t mode_;
  std::int32_t status_;
  ZurErrorCallBack callback_;
  unsigned sse_;
  std::uint16_t x87_;

 public:
  explicit kernel_guard(ZurErrorCallBack callback);
  ~kernel_guard();
  kernel_guard(const kernel_guard&) = delete;

  // Runs kernels with denormals as numbers, whatever the thread's mode has. Between kernels the mode stays the thread's,
  // since the fills that run there may be the caller's code.
  template <class Run> void kernels(Run run) const {
    with_mode(thread_, ZUR_DENORMALS_MASK, ZUR_KEEP_DENORMALS, run);
  }
};

}  // namespace zur
