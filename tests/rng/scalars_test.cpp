// The scalar helpers against the C library in a wider type.

#include "rng/scalars.h"

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "tests/support/probes.h"

namespace {

using namespace arko::test;

constexpr double inf = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();

// How many units of its last place a result is off.
template <class T> double ulps(T result, long double exact) {
  const T near = static_cast<T>(exact);
  const long double unit =
      std::nextafter(std::fabs(near), std::numeric_limits<T>::infinity()) - std::fabs(near);
  return static_cast<double>(std::fabs(result - exact) / unit);
}

// The logarithm of a positive number; 1 is 0 exactly.
template <class T> double off(T (*log)(T), T x) {
  return x == 1 ? static_cast<double>(log(x)) : ulps(log(x), std::log(static_cast<long double>(x)));
}
TEST(logarithm, is_near_for_all_positive_numbers_and_told_for_others) {
  std::mt19937_64 random(1);
  double worst = 0, worst_single = 0;
  for (int i = 0; i < 1000000; i++) {
    const double near_1 = std::ldexp(static_cast<double>(random() >> 11), -54 - i % 40);
    for (const double x : {std::bit_cast<double>(random() % 0x7FEFFFFFFFFFFFFF + 1), 1 + near_1, 1 - near_1})
      worst = std::max(worst, off(_kovdLn, x));
  }
  for (std::uint32_t bits = 1; bits < 0x7F800000; bits += 1997)
    worst_single = std::max(worst_single, off(kov::ScalarLnF, std::bit_cast<float>(bits)));
  for (const double x : {0x1p-1074, 0x1.8p-1073, 0x1p-1022, 0x1.fffffffffffffp-1023, 0x1.fffffffffffffp1023})
    worst = std::max(worst, off(_kovdLn, x));
  EXPECT_LT(worst, 0.8);
  EXPECT_LT(worst_single, 0.501);
  for (const double x : {0.0, -0.0, -1.0, -inf, inf, nan}) {
    EXPECT_EQ(_kovdLn(x), -744.4400719213812);
    EXPECT_EQ(kov::ScalarLnF(static_cast<float>(x)), -103.27893f);
  }
}

TEST(floor_and_root, are_exact) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 1000000; i++) {
    const double x = std::bit_cast<double>(random());
    const double y = std::ldexp(static_cast<double>(random() >> 11), -random() % 60) * (i % 2 ? 1 : -1);
    for (const double z : {x, y, std::round(y)}) {
      if (std::isnan(z)) continue;
      ASSERT_EQ(std::bit_cast<std::uint64_t>(_kovdFloor(z)), std::bit_cast<std::uint64_t>(std::floor(z)))
          << z;
      ASSERT_EQ(_kovdSqrt(std::fabs(z)), std::sqrt(std::fabs(z))) << z;
    }
  }
  for (const double z : {0.0, -0.0, 0.5, -0.5, -0x1p-1074, inf, -inf, 0x1p51 + 0.5, -0x1p51 - 0.5})
    EXPECT_EQ(std::bit_cast<std::uint64_t>(_kovdFloor(z)), std::bit_cast<std::uint64_t>(std::floor(z))) << z;
  EXPECT_TRUE(std::isnan(_kovdFloor(nan)) && std::isnan(_kovdSqrt(-1)));
}

TEST(quiet_nan, raises_nothing) {
  volatile double x = nan;
  volatile float y = static_cast<float>(nan);
  const fp_words after = under({}, [&] {
    _kovdLn(x);
    _kovdFloor(x);
    _kovdSqrt(x);
    kov::ScalarLnF(y);
  });
  EXPECT_EQ(after.sse_flags(), 0u);
}

}  // namespace
