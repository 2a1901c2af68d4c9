// The two-part tables of the exponentials against powers in long double.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

#include "exp_tables.inc"

// Row j stands for 2^(j/rows): the first part is that rounded, both together are it to twice the digits.
template <class T, int rows, class Both> void check(const T (&table)[rows][2], Both both) {
  for (int j = 0; j < rows; j++) {
    const long double power = std::exp2(static_cast<long double>(j) / rows);
    const auto [hi, sum] = both(table, j);
    EXPECT_EQ(hi, static_cast<T>(power)) << j;
    const long double allowed =
        std::max<long double>(0x1p-62L, std::pow(std::numeric_limits<T>::epsilon(), 2));
    EXPECT_NEAR(static_cast<double>((sum - power) / allowed), 0, 1) << j;
  }
}

struct parts {
  long double hi, sum;
};
const auto absolute = [](const auto& table, int j) -> parts {
  return {table[j][0], static_cast<long double>(table[j][0]) + table[j][1]};
};
const auto relative = [](const auto& table, int j) -> parts {
  return {table[j][0], table[j][0] * (1 + static_cast<long double>(table[j][1]))};
};
// The first column lacks j steps of the exponent field, the second is by how much it is too large.
const auto scaled = []<class T, int rows>(const T (&table)[rows][2], int j) -> parts {
  using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  const int step = std::numeric_limits<T>::digits - 1 - std::countr_zero(unsigned{rows});
  const T hi = std::bit_cast<T>(std::bit_cast<bits>(table[j][0]) + (static_cast<bits>(j) << step));
  return {hi, hi * (1 - static_cast<long double>(table[j][1]))};
};

TEST(exp_tables, rows) {
  check(TExpS128, relative);
  check(TExpD64, absolute);
  check(TExp2S64, absolute);
  check(TExp2D64, absolute);
  check(TExp10S128, absolute);
  check(TExp10D128, absolute);
  check(TExpm1S64, scaled);
  check(TExpm1D128, scaled);
}

}  // namespace
