// What the roots and reciprocals share: the shape of their strided twins, the test for arguments outside a range,
// and the answers for special ones.
#pragma once
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH { namespace {

// A kernel as that of a strided twin.
template <class K> struct strided : K {
  static constexpr int block = 64 / sizeof(typename K::type);
  static constexpr bool screened = false;
};

// Lanes that hold no number from `least` to `greatest`, told by their patterns; of double, by the upper words alone.
template <class T> ZUR_INLINE flags<T> outside(vec<T> x, std::uint32_t least, std::uint32_t greatest) {
  const std::uint32_t half = 0x80000000;  // moves the order of unsigned integers to that of signed ones
  const words above_least = as<words>(as<pattern<float>>(x) + (half - least));
  return where<T>(as<ints<T>>(above_least > static_cast<std::int32_t>((greatest - least) ^ half)));
}

template <class T> inline constexpr std::uint32_t least_normal = sizeof(T) == 4 ? 0x00800000 : 0x00100000;
template <class T> inline constexpr std::uint32_t greatest_finite = sizeof(T) == 4 ? 0x7F7FFFFF : 0x7FEFFFFF;
template <class T> inline constexpr T infinite = static_cast<T>(__builtin_inf());

// A pole at zero: the infinity with the sign of x. A negative argument out of the domain: NaN.
template <class T> int pole(T x, T& r) { return r = fp::divide(T(1), x), ZUR_STATUS_SINGULARITY; }
template <class T> int out_of_domain(T& r) { return r = fp::divide(T(0), T(0)), ZUR_STATUS_DOMAIN; }

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
