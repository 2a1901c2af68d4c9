// What the exponentials of several bases share.
#pragma once
#include <cstdint>

#include "vector/lanes.h"

namespace zur::inline ZUR_WIDTH {

// (1 + q) 2^(m + j/rows), times 2^raise: s holds m rows + j in its low bits, hi + lo = 2^(j/rows) is a row of
// the table. The last addition to the significand rounds the result; q is small.
template <int rows, class T>
ZUR_INLINE vec<T> scaled_row(const T (&table)[rows][2], pattern<T> s, vec<T> q, int raise = 0) {
  constexpr int fraction = sizeof(T) == 4 ? 23 : 52, row_bits = __builtin_ctz(rows);
  const pattern<T> j = s & (rows - 1), m = s - j;
  const auto [hi, lo] = lookup_rows<2>(table, as<ints<T>>(j));
  const vec<T> v = (q * hi + lo) + hi;
  return as<vec<T>>(as<pattern<T>>(v) + (m << (fraction - row_bits)) + ((pattern<T>{} + raise) << fraction));
}

// 2^y rounded once to single, denormal results included, from a fitted polynomial for 2^f, |f| <= 1/2.
ZUR_INLINE float exp2_to_single(double y) {
  constexpr double shift = 0x1.8p52;
  const double s = y + shift, f = y - (s - shift);
  const double p =
      horner(f, 1.0, 0.69314718070453196, 0.2402265106656109, 0.055504103659921082, 0.0096180381320589425,
             0.0013333935055016863, 0.00015466756318202989, 1.5196156671869054e-05);
  const auto bits = __builtin_bit_cast(std::uint64_t, p) + (__builtin_bit_cast(std::uint64_t, s) << 52);
  return static_cast<float>(__builtin_bit_cast(double, bits));
}

}  // namespace zur::inline ZUR_WIDTH
