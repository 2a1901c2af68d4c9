// What memory.cpp tells the testing build about its blocks. In the normal build nothing listens.
#pragma once

namespace arko::core {

#ifdef ARKO_CORE_TESTING
bool allocation_may_succeed();  // called once an allocation; false makes it fail
void block_taken();
void block_released();
#else
constexpr bool allocation_may_succeed() { return true; }
constexpr void block_taken() {}
constexpr void block_released() {}
#endif

}  // namespace arko::core
