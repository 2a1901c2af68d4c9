// Roots and reciprocals from the processor's estimates.
#include <arko/vector.h>
#include <gtest/gtest.h>
#include <immintrin.h>

#include <cmath>

#include "tests/support/child.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

// The level is what the processor estimates, in the vector and in the tail.
TEST(roots, estimates_as_they_are) {
  for (float x = 3e-38f; x < 8e37f; x *= 1.7f) {
    float inverse, root;
    _zursInv_11(1, &x, &inverse);
    _zursSqrt_11(1, &x, &root);
    EXPECT_EQ(inverse, _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))));
    EXPECT_EQ(root, x * _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))));
  }
}

// Numbers of which the products with the estimate or its square leave the normal ones: accurate at HA where
// denormal results are flushed, too.
template <class T> void check_flushed(std::initializer_list<T> arguments) {
  on_new_thread([&] {
    _zurSetMode(ZUR_FLUSH_DENORMALS);
    for (const T x : arguments) {
      T root, inverse;
      kernels_of<T>("Sqrt")[1]({1, {&x}, {&root}});
      kernels_of<T>("InvSqrt")[1]({1, {&x}, {&inverse}});
      EXPECT_NEAR(root / std::sqrt(double(x)), 1, std::numeric_limits<T>::epsilon()) << x;
      EXPECT_NEAR(inverse * std::sqrt(double(x)), 1, 2 * std::numeric_limits<T>::epsilon()) << x;
    }
  });
}
TEST(roots, with_denormals_flushed) {
  check_flushed({0x1.23456p-126f, 0x1.7p-120f, 0x1.6789acp126f, 0x1.e9p127f});
  check_flushed({0x1.23456789abcdep-1022, 0x1.789abcdef0123p-1000, 0x1.23456789abcdep1023});
}

}  // namespace
