// The kernel guard: what a generator that calls vector kernels puts around its whole run.
//
// Inside it all exceptions are masked, the thread's error mode is callback alone, and the callback is one of those below,
// which replaces what a kernel stores for an element without a finite result. So nothing of a kernel's reports gets
// out, and no infinity gets into the arithmetic after it. When the guard ends, the mode word, the callback and both
// control words are what they were.
#pragma once
#include <cstdint>

#include "frame/state.h"

namespace [[gnu::visibility("hidden")]] kov {

class kernel_guard {
  zur::thread_state& thread_;
  std::uint32_t mode_;
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
    const std::uint32_t mode = thread_.mode;
    thread_.mode = (mode & ~ZUR_DENORMALS_MASK) | ZUR_KEEP_DENORMALS;
    run();
    thread_.mode = mode;
  }
};

// Callbacks. A pole of the logarithm has the logarithm of the smallest positive number of the type in place of minus
// infinity, as if the argument had been that number.

// Every report is one of a logarithm.
std::int32_t LogFloorD(ZurErrorContext* report);
std::int32_t LogFloorS(ZurErrorContext* report);
// Reports other than poles are left as they are.
std::int32_t PoleFloorD(ZurErrorContext* report);
std::int32_t PoleFloorS(ZurErrorContext* report);
// Of logarithms and of inverse error functions: the latter's results at 1 and -1, and outside, become the ends of
// what they reach inside.
std::int32_t GaussFloorD(ZurErrorContext* report);
std::int32_t GaussFloorS(ZurErrorContext* report);

}  // namespace kov
