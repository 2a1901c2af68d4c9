// The float flags of the kernels do what the kernels rely on: see canary.cpp.
#include <gtest/gtest.h>

#include "tests/support/probes.h"

namespace arko::test {

void multiply_add(const float* a, const float* b, const float* c, float* r);
void third(double* r);

namespace {

TEST(canary, arithmetic_is_rounded_step_by_step_and_in_the_rounding_of_the_moment) {
  if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "this processor has no fused multiply-add";
  // (1 + 2^-12)^2 = 1 + 2^-11 + 2^-24, whose last term is lost in a product that is rounded by itself.
  const float a[] = {0x1.001p0f, 0x1.001p0f, 2, 3}, c[] = {-0x1.002p0f, 0, 1, 0};
  float r[4];
  multiply_add(a, a, c, r);
  EXPECT_EQ(r[0], 0);
  EXPECT_EQ(r[3], 9);
  double down = 0, up = 0;
  under({0x3F80}, [&] { third(&down); });
  under({0x5F80}, [&] { third(&up); });
  EXPECT_EQ(down, 0x1.5555555555555p-2);
  EXPECT_EQ(up, 0x1.5555555555556p-2);
}

}  // namespace
}  // namespace arko::test
