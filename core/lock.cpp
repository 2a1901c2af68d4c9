// A lock in one 32-bit word, on the kernel's futex.
//
// The word is 0 when free, 1 when held, 2 when held and perhaps waited for. Only a word of 2 makes
// the release call the kernel, so a lock that nobody contends for costs one atomic operation each way.
// Algorithm: U. Drepper, "Futexes are tricky", the second mutex there.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "arko/core.h"

namespace {

enum : int32_t { unlocked = 0, locked = 1, contended = 2 };

// The kernel compares the word itself before it puts the thread to sleep, and it may wake it for no
// reason: callers look at the word again in every case, so the result does not matter.
void futex(int32_t* word, int operation, int32_t value) {
  const int saved = errno;
  syscall(SYS_futex, word, operation | FUTEX_PRIVATE_FLAG, value, nullptr, nullptr, 0);
  errno = saved;
}

}  // namespace

extern "C" void arko_serv_lock(int32_t* word) {
  std::atomic_ref<int32_t> state(*word);
  int32_t seen = unlocked;
  if (state.compare_exchange_strong(seen, locked, std::memory_order_acquire)) return;
  // Whoever got here cannot know whether others wait, so it takes the lock as contended.
  while (state.exchange(contended, std::memory_order_acquire) != unlocked) {
    futex(word, FUTEX_WAIT, contended);
  }
}

extern "C" void arko_serv_unlock(int32_t* word) {
  std::atomic_ref<int32_t> state(*word);
  if (state.exchange(unlocked, std::memory_order_release) == contended) futex(word, FUTEX_WAKE, 1);
}
