// Powers with an exponent of thirds, by a table.
//
// |x| = 2^(3 k) v, v in [1/2, 4) in single and [1, 8) in double. A row stands for the numbers with the same exponent and
// 6 leading fraction bits; c is a number in its middle and r = v / c - 1, |r| < 2^-7, but 2^-5.8 in the table of single
// cube roots:
//
//   v^p = c^p (1 + r)^p,  (1 + r)^p = 1 + r P(r)
//
// c is chosen so that c^p is all but a number of the type, or is one: so the result is rounded once but for what is
// lost in r P(r), and v - c is exact.
#pragma once
#include "vector/roots/special.h"

namespace zur::inline ZUR_WIDTH { namespace {
#include "root_tables.inc"

template <class T> struct third_split {
  vec<T> v;
  pattern<T> k;  // of a number: its exponent, less `third_bias` a third of the one of x
  ints<T> row;
};
template <class T>
inline constexpr pattern<T> third_bias = pattern<T>{} + (sizeof(T) == 4 ? 42ull << 23 : 341ull << 52);

// For positive normal x; others give garbage, but a row within the table.
template <class T> ZUR_INLINE third_split<T> split_third(vec<T> x) {
  constexpr bool single = sizeof(T) == 4;
  constexpr std::uint64_t upper_third = single ? 0x55560000 : 0x5556000000000000;  // 2^16 / 3, rounded up
  constexpr std::uint64_t exponent = single ? 0x7F800000 : 0x7FF0000000000000;
  constexpr std::uint64_t half_or_one = single ? 126ull << 23 : 1023ull << 52;
  const auto size = as<pattern<T>>(x);
  const auto third = as<pattern<T>>(upper_products(as<words>(size), as<words>(pattern<T>{} + upper_third)));
  const pattern<T> k = third & exponent,
                   rest = size - k - (k + k);  // remainder of the exponent, and fraction
  return {as<vec<T>>(rest + half_or_one), k, as<ints<T>>(rest >> (single ? 17 : 46))};
}

template <class T> struct table_row {
  vec<T> root, r;  // c^(1/3), or c^(-1/3); v / c - 1
};

// c^(1/3) has so few bits that its cube is exact: c.
template <class T> ZUR_INLINE table_row<T> cube_root_row(const third_split<T>& x) {
  const auto [rcp, root] = [&] {
    if constexpr (sizeof(T) == 4)
      return lookup_rows<2>(TCbrtS, x.row);
    else
      return lookup_rows<2>(TCbrtD, x.row);
  }();
  return {root, (x.v - root * root * root) * rcp};
}

// c^(-1/3), of which the cube is near enough to 1/c.
template <class T> ZUR_INLINE table_row<T> reciprocal_cube_root_row(const third_split<T>& x) {
  const auto [c, root] = [&] {
    if constexpr (sizeof(T) == 4)
      return lookup_rows<2>(TInvCbrtS, x.row);
    else
      return lookup_rows<2>(TInvCbrtD, x.row);
  }();
  return {root, (x.v - c) * (root * root * root)};
}

// v with the exponent of 1, and its power of two alone.
ZUR_INLINE vec<float> fraction_of(vec<float> v) {
  return as<vec<float>>((as<pattern<float>>(v) & 0x007FFFFF) | 0x3F800000);
}
ZUR_INLINE vec<float> power_of_two_of(vec<float> v) {
  return as<vec<float>>(as<pattern<float>>(v) & 0x7F800000);
}

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
