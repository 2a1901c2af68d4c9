// The tables of the kernels: rows lie in their places, parts belong together, and what the kernels take to be
// exact is.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "exp_tables.inc"
#include "log_tables.inc"
#include "root_tables.inc"
#include "tests/support/data.h"

namespace {

using arko::test::bits_of;
using number = long double;

// ---- exponentials

// Row j stands for 2^(j/rows): the first part is that rounded, both together are it to twice the digits.
template <class T, int rows, class Both> void check_powers(const T (&table)[rows][2], Both both) {
  for (int j = 0; j < rows; j++) {
    const number power = std::exp2(number(j) / rows);
    const auto [hi, sum] = both(table, j);
    EXPECT_EQ(hi, static_cast<T>(power)) << j;
    const number allowed = std::max<number>(0x1p-62L, std::pow(std::numeric_limits<T>::epsilon(), 2));
    EXPECT_NEAR(static_cast<double>((sum - power) / allowed), 0, 1) << j;
  }
}

struct parts {
  number hi, sum;
};
const auto absolute = [](const auto& table, int j) -> parts {
  return {table[j][0], number(table[j][0]) + table[j][1]};
};
const auto relative = [](const auto& table, int j) -> parts {
  return {table[j][0], table[j][0] * (1 + number(table[j][1]))};
};
// The first column lacks j steps of the exponent field, the second is by how much it is too large.
const auto scaled = []<class T, int rows>(const T (&table)[rows][2], int j) -> parts {
  const int step = std::numeric_limits<T>::digits - 1 - std::countr_zero(unsigned{rows});
  const T hi = std::bit_cast<T>(std::bit_cast<bits_of<T>>(table[j][0]) + (bits_of<T>(j) << step));
  return {hi, hi * (1 - number(table[j][1]))};
};

TEST(tables, of_exponentials) {
  check_powers(TExpS128, relative);
  check_powers(TExpD64, absolute);
  check_powers(TExp2S64, absolute);
  check_powers(TExp2D64, absolute);
  check_powers(TExp10S128, absolute);
  check_powers(TExp10D128, absolute);
  check_powers(TExpm1S64, scaled);
  check_powers(TExpm1D128, scaled);
}

// ---- logarithms

using logarithm = number (*)(number);
constexpr logarithm ln = std::log, lb = std::log2, lg = std::log10;

// hi has so few places that multiples of log 2 can be added to it; where rcp is short, so are its products.
template <std::size_t n> void check_logarithms(const double (&table)[n][4], logarithm log, bool short_rcp) {
  for (std::size_t j = 0; j < n; j++) {
    const auto [rcp, hi, lo, unused] = table[j];
    const bool below_one = j < n / 2;
    const double m = below_one ? 0.75 + double(j) / double(2 * n) : 0.5 + double(j) / double(n);
    EXPECT_NEAR(m * rcp, 1, short_rcp ? 0x1p-10 : 0x1p-52) << j;
    EXPECT_EQ(std::rint(hi * 0x1p43), hi * 0x1p43) << j;
    EXPECT_LE(std::fabs(lo), 0x1p-43) << j;
    EXPECT_NEAR(double(log(1 / number(rcp)) - hi - lo), 0, 0x1p-63) << j;
    const double half = (below_one ? 0x1p-2 : 0x1p-1) / double(n);
    for (const double end : {std::nextafter(m - half, 2), m, std::nextafter(m + half, 0)}) {
      const number r = number(end) * rcp - 1;  // exact: 53 and 11 bits
      EXPECT_TRUE(!short_rcp || static_cast<double>(r) == r) << j;
    }
  }
  EXPECT_EQ(table[n / 2][0], 1);
  EXPECT_EQ(table[n / 2][1], 0);
}

// The same of hi, for the first row's, log 2; and the ends cancel.
template <class E, std::size_t n> void check_reciprocals(const E (&table)[n][2], logarithm log, int places) {
  for (std::size_t j = 0; j < n; j++) {
    const auto [hi, lo] = table[j];
    const double whole = std::ldexp(double(hi), places);
    EXPECT_EQ(std::rint(whole), whole) << j;
    const number value = log(number(2 * (n - 1)) / number(n - 1 + j));
    EXPECT_NEAR(double(value - hi - lo), 0, std::ldexp(sizeof(E) == 4 ? 0x1p-24 : 0x1p-20, -places)) << j;
  }
  EXPECT_EQ(table[n - 1][0], 0);
  EXPECT_EQ(table[n - 1][1], 0);
}

TEST(tables, of_logarithms) {
  check_logarithms(TLnD512, ln, true);
  check_logarithms(TLog10D512, lg, true);
  check_logarithms(TLnD256Full, ln, false);
  check_reciprocals(TLnDC10, ln, 42);
  check_reciprocals(TLog2DC10, lb, 42);
  check_reciprocals(TLog2DC9, lb, 42);
  check_reciprocals(TLnSC8, ln, 16);
  check_reciprocals(TLog2SC7, lb, 16);
  check_reciprocals(TLog10SC7, lg, 17);
}

// ---- roots

// Cubes of the first are exact, its reciprocals rounded; roots of the second are those of their c but for
// 2^-7 of an ulp.
template <class T, std::size_t n>
void check_roots(const T (&cube)[n][2], const T (&inverse)[n][2], double first) {
  constexpr int digits = std::numeric_limits<T>::digits;
  for (std::size_t j = 0; j < n; j++) {
    const number at = std::ldexp(first * (1 + (double(j % 64) + 0.5) / 64), int(j / 64));
    const auto [rcp, u] = cube[j];
    EXPECT_EQ(std::fmod(std::ldexp(u, digits / 3 - 1), u < 1 ? 0.5 : 1), 0) << j;
    EXPECT_NEAR(double(u / std::cbrt(at)), 1, std::ldexp(1, -digits / 3)) << j;
    EXPECT_EQ(rcp, T(1 / (number(u) * u * u))) << j;
    const auto [c, root] = inverse[j];
    EXPECT_NEAR(double(c / at), 1, 0x1p-12) << j;
    EXPECT_NEAR(double(root * std::cbrt(number(c)) - 1), 0, std::ldexp(1.01, -digits - 6)) << j;
  }
}

TEST(tables, of_cube_roots) {
  check_roots(TCbrtS, TInvCbrtS, 0.5);
  check_roots(TCbrtD, TInvCbrtD, 1);
}

}  // namespace
