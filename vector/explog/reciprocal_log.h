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

// For positive normal x, 4 <= p <= 10. Other x give garbage, but a row within the table. k is less by `raised`, for
// an x that was multiplied by 2^raised. Adding `shift` rounds to c and leaves the row in the low bits.
template <int p, class T, int raised = 0> ZUR_INLINE reciprocal_split<T> split_reciprocal(vec<T> x) {
  constexpr int first = 1 << (p - 1), mask = 2 * first - 1;
  constexpr float shift = 0x1.8p23f - first;
  constexpr std::uint32_t binade = (127 - p) << 23, fraction = 0x007FFFFF;
  const auto bits = as<pattern<T>>(x);
  if constexpr (sizeof(T) == 4) {
    const vec<float> k = __builtin_convertvector(as<words>(bits >> 23) - (127 + raised), vec<float>);
    const vec<float> v = as<vec<float>>((bits & fraction) | binade), s = approx_reciprocal(v) + shift;
    return {k, v, s - shift, as<words>(s) & mask};
  } else {
    constexpr std::uint64_t low = 0x000FFFFFFFFFFFFF, leading = std::uint64_t(1023 - p) << 52;
    const vec<double> k = as<vec<double>>((bits >> 52) | 0x4330000000000000) - (0x1p52 + 1023 + raised);
    const vec<double> v = as<vec<double>>((bits & low) | leading);
    // In single: the leading bits of v in the low word and infinity, of reciprocal 0, in the high one. To that, 176 is
    // added, of which the pattern makes the sum a double: 2^52 + the pattern of the low word.
    const auto halves = (as<pattern<double>>(v) >> 29) + ((0x7F80000000000000 | binade) - (leading >> 29));
    constexpr std::uint64_t shifts = 0x4330000000000000 | __builtin_bit_cast(std::uint32_t, shift);
    const vec<float> s =
        approx_reciprocal(as<vec<float>>(halves)) + as<vec<float>>(pattern<double>{} + shifts);
    const vec<double> c = as<vec<double>>(s) - (0x1p52 + __builtin_bit_cast(std::uint32_t, shift));
    return {k, v, c, as<ints<double>>(s) & mask};
  }
}

// As for double: here c has up to 11 bits, and the high part 12.
ZUR_INLINE vec<float> reduced(vec<float> v, vec<float> c) {
  const auto [hi, lo] = split<0xFFFFF000>(v);
  return (hi * c - 1.0f) + lo * c;
}

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
