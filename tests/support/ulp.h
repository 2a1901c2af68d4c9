// Errors of results, in ulp and relative, and a meter that keeps the largest.
//
// The ulp is the spacing of E in the binade of the exact value; among denormal values and at zero it is the
// smallest denormal number. An infinite result counts as the power of two after the largest finite number,
// and is no error where the exact value rounds to it. NaN is no error where the exact value is NaN, and an
// infinite error elsewhere. The sign of a zero is not looked at.
#pragma once
#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace arko::test {

// An exact value to be met by a result of type E, as the unevaluated sum value + rest. The wide type has
// range enough for denormal results of E to be seen with all their digits.
template <class E> struct exact {
  using wide = std::conditional_t<std::is_same_v<E, float>, double, long double>;
  wide value, rest;
  wide per_ulp;  // 1 / ulp
  E rounded;

  explicit exact(wide v, wide low = 0) : value(v), rest(std::isfinite(v) ? low : 0), rounded(E(v)) {
    using limits = std::numeric_limits<E>;
    if constexpr (sizeof(E) == 4)
      if (rest == 0) {  // the usual case of single kernels, by its bits
        const int exponent = int(std::bit_cast<std::uint64_t>(v) >> 52 & 0x7FF) - 1023;
        const int ulp =
            std::clamp(exponent, limits::min_exponent - 1, limits::max_exponent - 1) - (limits::digits - 1);
        per_ulp = std::bit_cast<double>(std::uint64_t(1023 - ulp) << 52);
        return;
      }
    int binade = std::ilogb(v);
    int unused;
    if (rest != 0 && (rest < 0) != (v < 0) && std::fabs(std::frexp(v, &unused)) == wide(0.5)) binade--;
    binade = std::clamp(binade, limits::min_exponent - 1, limits::max_exponent - 1);
    per_ulp = std::ldexp(wide(1), limits::digits - 1 - binade);
  }
  explicit exact(mpfr_srcptr v);  // keeps the leading 106 (float) or 128 (double) bits
};

// |y - x|, infinite results as told above; NaN where one of the two is NaN.
template <class E> typename exact<E>::wide distance(E y, const exact<E>& x) {
  using wide = typename exact<E>::wide;
  if (!std::isinf(y)) return std::fabs((wide(y) - x.value) - x.rest);
  if (y == x.rounded) return 0;
  const wide beyond = std::copysign(std::ldexp(wide(1), std::numeric_limits<E>::max_exponent), wide(y));
  return std::fabs((beyond - x.value) - x.rest);
}

template <class E> double in_ulps(E y, const exact<E>& x) {
  const auto error = distance(y, x) * x.per_ulp;
  if (error == error) return double(error);
  return y != y && x.value != x.value ? 0 : HUGE_VAL;
}

// Relative to |x|, or to the floor or the smallest normal number where x is smaller.
template <class E> double in_relative(E y, const exact<E>& x, double floor) {
  using wide = typename exact<E>::wide;
  const wide error = distance(y, x);
  if (error == 0) return 0;
  if (error == error)
    return double(error / std::max({std::fabs(x.value), wide(floor), wide(std::numeric_limits<E>::min())}));
  return y != y && x.value != x.value ? 0 : HUGE_VAL;
}

// An error and the argument, or arguments, where it is.
template <class A> struct worst {
  double error = 0;
  A where{};
  void add(const A& argument, double e) {
    if (e > error) error = e, where = argument;
  }
};

// The largest errors, those of results below the normal numbers apart, and the mean.
template <class E, class A = E> struct meter {
  worst<A> normal, tiny, relative;
  double sum = 0;
  std::uint64_t averaged = 0, samples = 0;

  void add(const A& argument, E y, const exact<E>& x, bool in_mean) {
    samples++;
    worst<A>& most = std::fabs(x.value) < std::numeric_limits<E>::min() ? tiny : normal;
    // Nearly always the error is below one that was met before, which takes little to tell.
    if (!in_mean && std::fabs((y - x.value) - x.rest) * x.per_ulp <= most.error) return;
    const double ulps = in_ulps(y, x);
    most.add(argument, ulps);
    if (in_mean) sum += ulps, averaged++;
  }
  void add_relative(const A& argument, E y, const exact<E>& x, double floor) {
    if (std::fabs((y - x.value) - x.rest) <= relative.error * std::fabs(x.value)) return;
    relative.add(argument, in_relative(y, x, floor));
  }
  void merge(const meter& other) {
    normal.add(other.normal.where, other.normal.error);
    tiny.add(other.tiny.where, other.tiny.error);
    relative.add(other.relative.where, other.relative.error);
    sum += other.sum, averaged += other.averaged, samples += other.samples;
  }
  double mean() const { return averaged ? sum / double(averaged) : 0; }
};

}  // namespace arko::test
