// fork() and the memory of matrix products.
//
// OpenBLAS hands out its buffers behind a lock of its own, which a fork at the wrong moment would leave held in the
// child for good. The linker sends its calls through here (--wrap), behind a lock that fork takes.

#include <pthread.h>

#include "arko/core.h"

extern "C" {
void* __real_blas_memory_alloc(int position);
void __real_blas_memory_free(void* buffer);
}

namespace {

int32_t word = 0;

void lock() { arko_serv_lock(&word); }
void unlock() { arko_serv_unlock(&word); }

__attribute__((constructor)) void watch_forks() { pthread_atfork(lock, unlock, unlock); }

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void* __wrap_blas_memory_alloc(int position) {
  lock();
  void* buffer = __real_blas_memory_alloc(position);
  unlock();
  return buffer;
}

extern "C" __attribute__((visibility("hidden"))) void __wrap_blas_memory_free(void* buffer) {
  lock();
  __real_blas_memory_free(buffer);
  unlock();
}
