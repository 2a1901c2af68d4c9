// Compensated sums, products and splits are exact: by arithmetic of 128 bits, which holds all of each.
#include "vector/compensated.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace zur;

template <class T, class F> void for_pairs(F check) {
  std::mt19937_64 bits(1);
  const auto number = [&] {
    const T digits = static_cast<T>(static_cast<std::int64_t>(bits() >> (sizeof(T) == 4 ? 40 : 11)));
    return std::ldexp(bits() % 2 ? digits : -digits, static_cast<int>(bits() % 16) - 8);
  };
  for (int i = 0; i < 100000; i++) check(number(), number());
}

template <class V, class X> void expect_exact(const two<V>& t, X exact, X lo_limit) {
  EXPECT_EQ(static_cast<X>(t.hi) + static_cast<X>(t.lo), exact);
  EXPECT_LE(std::fabs(static_cast<double>(t.lo)), static_cast<double>(lo_limit));
}

template <class T> void exact() {
  using X = __float128;
  constexpr T half_ulp = std::numeric_limits<T>::epsilon() / 2;
  const auto size = [](T x) { return std::fabs(x) * half_ulp; };
  for_pairs<T>([&](T a, T b) {
    expect_exact<T, X>(two_sum(a, b), X(a) + b, size(a + b));
    const bool descending = std::fabs(a) >= std::fabs(b);
    expect_exact<T, X>(fast_two_sum(descending ? a : b, descending ? b : a), X(a) + b, size(a + b));
    expect_exact<T, X>(two_prod(a, b), X(a) * b, size(a * b));
    expect_exact<T, X>(split(a), X(a), std::fabs(a) * (sizeof(T) == 4 ? T(0x1p-12) : T(0x1p-26)));
    expect_exact<T, X>(split < sizeof(T) == 4 ? 0xFFFFF000 : 0xFFFFFFFF00000000 > (a), X(a),
                       std::fabs(a) / 2048);
    // Vectors are the same operations.
    const auto sum = two_sum(all(a), all(b)), product = two_prod(all(a), all(b));
    EXPECT_TRUE(sum.lo[0] == two_sum(a, b).lo && product.lo[0] == two_prod(a, b).lo);
  });
}
TEST(Compensated, SumsProductsAndSplitsAreExact) {
  exact<float>();
  exact<double>();
}

}  // namespace
