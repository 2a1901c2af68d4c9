// The congruential generators against their recursions in exact integers.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

TEST(mcg31m1, is_its_recursion) {
  const std::uint64_t m = (std::uint64_t{1} << 31) - 1, a = 1132489760;
  for (const std::uint32_t seed : {1u, 2147483646u, 77u, 0u, 2147483647u, 2147483648u, 4294967295u}) {
    words expected;
    std::uint64_t x = seed % m ? seed % m : 1;
    for (int i = 0; i < 3000; i++, x = a * x % m) expected.push_back(static_cast<std::uint32_t>(x));
    EXPECT_EQ(stream(KOV_BRNG_MCG31M1, {seed}).integers(3000), expected) << seed;
  }
}

}  // namespace
