// Logarithms of any base by a table of reciprocals.
//
// x = 2^k 2^p v, v in [2^-p, 2^(1 - p)). The processor's estimate of 1/v rounded to an integer is c, between
// 2^(p - 1) and 2^p, and
//
//   log x = k log 2 + log(2^p / c) + log(1 + r),  r = v c - 1,  |r| < 2^-p + 1.5 * 2^-12.
//
// A table has a row for every c, hi and lo, of which hi and hi of log 2 (row 0) have so few bits that k log 2
// + hi is exact. It cancels to 0 in the last row for k = 0 and in the first for k = -1, so that near 1 the
// result is log(1 + r) alone; r is exact.
#pragma once
#include "vector/explog/log.h"

namespace zur::inline ZUR_WIDTH { namespace {

template <class T> struct reciprocal_split {
  vec<T> k, v, c;
  ints<T> row;  // c - 2^(p - 1)
};

// For positive normal x, 4 <= p <= 10. Other x give garbage, but a row within the table. k is less by `raised`, for an
// x that was multiplied by 2^raised.
template <int p, class T, int raised = 0> ZUR_INLINE reciprocal_split<T> split_reciprocal(vec<T> x) {
  constexpr bool single = sizeof(T) == 4;
  constexpr int fraction = single ? 23 : 52, bias = single ? 127 : 1023;
  constexpr std::uint64_t one = 1;
  constexpr T shift =
      T((3 * one << (fraction - 1)) - (one << (p - 1)));  // the low bits of a sum with it: the row
  const auto bits = as<pattern<T>>(x);
  const auto e = bits >> fraction;
  vec<T> k;
  if constexpr (single)
    k = __builtin_convertvector(as<words>(e) - (bias + raised), vec<float>);
  else
    k = as<vec<T>>(e | 0x4330000000000000) - (0x1p52 + bias + raised);  // 2^52 + e
  const auto v = as<vec<T>>((bits & ((one << fraction) - 1)) | (std::uint64_t(bias - p) << fraction));
  const vec<T> s = approx_reciprocal<T>(v) + shift;
  return {k, v, s - shift, as<ints<T>>(s) & ((1 << p) - 1)};
}

// As for double: here c has up to 11 bits, and the high part 12.
ZUR_INLINE vec<float> reduced(vec<float> v, vec<float> c) {
  const vec<float> hi = as<vec<float>>(as<pattern<float>>(v) & 0xFFFFF000), lo = v - hi;
  return (hi * c - 1.0f) + lo * c;
}

// The logarithm at HA: log(1 + r) is (head + tail) r + c2 r^2 + c3 r^3 + ..., of which D tells the head and,
// in `rest`, all else. The head has so few bits that its product with the leading ones of r is exact, and the
// rounding error of the largest sum is kept; so only what is small beside the result is rounded before it.
template <class D, class T> ZUR_INLINE vec<T> precise_log(const reciprocal_split<T>& x) {
  constexpr std::uint64_t leading = sizeof(T) == 4 ? 0xFFFFFF00 : 0xFFFFFFFFFFFFF000;
  const vec<T> r = reduced(x.v, x.c), r_hi = as<vec<T>>(as<pattern<T>>(r) & leading), r_lo = r - r_hi;
  const auto [hi, lo] = lookup_pair(D::table, x.row);
  const vec<T> a = x.k * D::table[0][0] + hi, b = r_hi * D::head, sum = a + b;
  vec<T> small = (b - (sum - a)) + lo;  // a is 0 or larger than b
  if constexpr (D::table[0][1] != 0) small = small + x.k * D::table[0][1];
  return sum + (small + (r_lo * D::head + D::rest(r)));
}

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
