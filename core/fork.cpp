// fork(): the lock that it takes, and what stands behind that lock.

#include "core/fork.h"

#include <pthread.h>

#include "arko/core.h"

namespace {

int32_t word = 0;

void lock() { arko_serv_lock(&word); }
void unlock() { arko_serv_unlock(&word); }

__attribute__((constructor)) void watch_forks() { pthread_atfork(lock, unlock, unlock); }

}  // namespace

namespace arko::core {

fork_guard::fork_guard() { lock(); }
fork_guard::~fork_guard() { unlock(); }

}  // namespace arko::core

// OpenBLAS hands out its buffers behind a lock of its own. The linker sends its calls through here (--wrap).
extern "C" {

void* __real_blas_memory_alloc(int position);
void __real_blas_memory_free(void* buffer);

__attribute__((visibility("hidden"))) void* __wrap_blas_memory_alloc(int position) {
  const arko::core::fork_guard guard;
  return __real_blas_memory_alloc(position);
}

__attribute__((visibility("hidden"))) void __wrap_blas_memory_free(void* buffer) {
  const arko::core::fork_guard guard;
  __real_blas_memory_free(buffer);
}
}
