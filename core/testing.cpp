// The testing build's counters behind hooks.h.

#include "core/testing.h"

#include <atomic>

#include "core/hooks.h"

namespace {

std::atomic<int32_t> until_failure{0};  // 1: the next allocation fails; 0: none will
std::atomic<int64_t> live_blocks{0};
std::atomic<int64_t> allocations{0};

}  // namespace

namespace arko::core {

bool allocation_may_succeed() {
  ++allocations;
  int32_t k = until_failure;
  while (k > 0 && !until_failure.compare_exchange_weak(k, k - 1)) {
  }
  return k != 1;
}

void block_taken() { ++live_blocks; }
void block_released() { --live_blocks; }

}  // namespace arko::core

extern "C" void arko_core_fail_allocation(int32_t k) { until_failure = k; }
extern "C" int64_t arko_core_live_blocks(void) { return live_blocks; }
extern "C" int64_t arko_core_allocations(void) { return allocations; }
