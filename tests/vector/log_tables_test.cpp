// The tables of the logarithms: parts that belong together, and that what the kernels take to be exact is.

#include "log_tables.inc"

#include <gtest/gtest.h>

#include <cmath>

namespace {

template <std::size_t n>
void check_rows(const double (&table)[n][4], long double (*log)(long double), bool short_rcp) {
  for (std::size_t j = 0; j < n; j++) {
    const auto [rcp, hi, lo, unused] = table[j];
    const bool below_one = j < n / 2;
    const double m = below_one ? 0.75 + double(j) / double(2 * n) : 0.5 + double(j) / double(n);
    EXPECT_NEAR(m * rcp, 1, short_rcp ? 0x1p-10 : 0x1p-52) << j;
    EXPECT_EQ(std::rint(hi * 0x1p43), hi * 0x1p43) << j;
    EXPECT_LE(std::fabs(lo), 0x1p-43) << j;
    EXPECT_NEAR(double(log(1 / static_cast<long double>(rcp)) - hi - lo), 0, 0x1p-63) << j;
    if (!short_rcp) continue;
    const double half = (below_one ? 0x1p-2 : 0x1p-1) / double(n);
    for (const double end : {std::nextafter(m - half, 2), m, std::nextafter(m + half, 0)}) {
      const long double r = static_cast<long double>(end) * rcp - 1;  // exact: 53 and 11 bits
      EXPECT_EQ(static_cast<double>(r), r) << j;
    }
  }
  EXPECT_EQ(table[n / 2][0], 1);
  EXPECT_EQ(table[n / 2][1], 0);
}

long double ln(long double x) { return std::log(x); }
long double lb(long double x) { return std::log2(x); }
long double lg(long double x) { return std::log10(x); }

TEST(log_tables, rows) {
  check_rows(TLnD512, ln, true);
  check_rows(TLog10D512, lg, true);
  check_rows(TLnD256Full, ln, false);
}

// hi has so few places that multiples of the first row's, log 2, can be added to it; and the ends cancel.
template <class E, std::size_t n>
void check_reciprocals(const E (&table)[n][2], long double (*log)(long double), int places) {
  for (std::size_t j = 0; j < n; j++) {
    const auto [hi, lo] = table[j];
    const double scaled = std::ldexp(double(hi), places);
    EXPECT_EQ(std::rint(scaled), scaled) << j;
    const long double value =
        log(static_cast<long double>(2 * (n - 1)) / static_cast<long double>(n - 1 + j));
    EXPECT_NEAR(double(value - hi - lo), 0, std::ldexp(sizeof(E) == 4 ? 0x1p-24 : 0x1p-20, -places)) << j;
  }
  EXPECT_EQ(table[n - 1][0], 0);
  EXPECT_EQ(table[n - 1][1], 0);
}

TEST(log_tables, rows_of_reciprocals) {
  check_reciprocals(TLnDC10, ln, 42);
  check_reciprocals(TLog2DC10, lb, 42);
  check_reciprocals(TLog2DC9, lb, 42);
  check_reciprocals(TLnSC8, ln, 16);
  check_reciprocals(TLog2SC7, lb, 16);
  check_reciprocals(TLog10SC7, lg, 17);
}

}  // namespace
