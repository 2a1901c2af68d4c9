// Sums and products with what their rounding loses, and numbers in two parts; for vectors and for single numbers.
//
// T. J. Dekker, "A floating-point technique for extending the available precision", Numerische Mathematik 18 (1971);
// D. E. Knuth, "The Art of Computer Programming", volume 2, 4.2.2. All hold in round-to-nearest, where nothing overflows
// and no product of parts is below the normal numbers.
#pragma once
#include <cstdint>
#include <type_traits>

#include "vector/lanes.h"

namespace zur::inline ZUR_WIDTH {

// hi + lo, not added.
template <class V> struct two { V hi, lo; };

// a + b and its error.
template <class V> ZUR_INLINE two<V> two_sum(V a, V b) {
  const V sum = a + b, of_b = sum - a;
  return {sum, (a - (sum - of_b)) + (b - of_b)};
}

// The same where |a| >= |b|, or a is 0.
template <class V> ZUR_INLINE two<V> fast_two_sum(V a, V b) {
  const V sum = a + b;
  return {sum, b - (sum - a)};
}

// x cut to the bits that `kept` has, and the rest.
template <std::uint64_t kept, class V> ZUR_INLINE two<V> split(V x) {
  V hi;
  if constexpr (std::is_same_v<V, float>)
    hi = __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, x) & static_cast<std::uint32_t>(kept));
  else if constexpr (std::is_same_v<V, double>)
    hi = __builtin_bit_cast(double, __builtin_bit_cast(std::uint64_t, x) & kept);
  else if constexpr (std::is_same_v<V, vec<float>>)
    hi = as<V>(as<pattern<float>>(x) & static_cast<std::uint32_t>(kept));
  else
    hi = as<V>(as<pattern<double>>(x) & kept);
  return {hi, x - hi};
}

// x in two parts of half its digits, the lower one with a sign. Not for numbers within a factor of 2^27 of the greatest.
template <class V> ZUR_INLINE two<V> split(V x) {
  constexpr bool single = std::is_same_v<V, float> || std::is_same_v<V, vec<float>>;
  constexpr std::conditional_t<single, float, double> factor = single ? 0x1.002p12 : 0x1.0000002p27;
  const V scaled = x * factor, hi = scaled - (scaled - x);
  return {hi, x - hi};
}

// a b and its error.
template <class V> ZUR_INLINE two<V> two_prod(V a, V b) {
  const V product = a * b;
  const two<V> x = split(a), y = split(b);
  return {product, ((x.hi * y.hi - product) + x.hi * y.lo + x.lo * y.hi) + x.lo * y.lo};
}

}  // namespace zur::inline ZUR_WIDTH
