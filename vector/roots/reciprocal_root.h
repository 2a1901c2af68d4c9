// Square roots without the instruction. In single they begin with the processor's estimate of 1/sqrt(x); in double with
// an estimate y of 1/sqrt(x) and the binomial series of
//
//   1/sqrt(x) = y (1 + e)^(-1/2),  sqrt(x) = x y (1 + e)^(-1/2),  e = x y^2 - 1,  |e| < 2^-10.3.
//
// y has so few bits that the products with it of x in two parts are exact; of e, where it is summed from those, only
// 2^-10 of an ulp is lost.
#pragma once
#include "vector/roots/special.h"

namespace zur::inline ZUR_WIDTH { namespace {

// The processor's estimate, 0 for 0, so that x times it is.
ZUR_INLINE vec<float> estimate_or_zero(vec<float> x) {
  return as<vec<float>>(as<words>(approx_reciprocal_root(x)) & ~(x == 0.0f));
}

// About 1/sqrt(x), of 16 bits, for positive normal x; other lanes give garbage. x = 2^(2k) m, m in [1/2, 2): of the
// upper words, fraction and last exponent bit make m in single, and 511 - k in the exponent field is 0x57F00000, less
// half of that of x, beside the exponent of the single estimate.
ZUR_INLINE vec<double> estimate_of_reciprocal_root(vec<double> x) {
  const auto w = as<pattern<float>>(x);
  const auto m = as<vec<float>>((w << 3 & 0x00FFFFFF) | 0x3F000000);
  const auto y = as<pattern<float>>(approx_reciprocal_root(m));
  const auto upper = (y >> 3) + (0x57F00000 - (w >> 1 & 0x7FF00000));
  return as<vec<double>>(as<pattern<double>>(upper) & 0xFFFFFFE000000000);
}

// (1 + e)^(-1/2) - 1 by so many terms. The first one left out: 2^-32 of the result at 2, 2^-53 at 4, 2^-63 at 5.
template <int terms> ZUR_INLINE vec<double> root_series(vec<double> e) {
  if constexpr (terms == 2) return e * horner(e, -0.5, 0.375);
  if constexpr (terms == 4) return e * horner(e, -0.5, 0.375, -0.3125, 0.2734375);
  if constexpr (terms == 5) return e * horner(e, -0.5, 0.375, -0.3125, 0.2734375, -0.24609375);
}

// y, x y in two parts that are exact, and e.
struct root_parts {
  vec<double> y, hi, lo, e;
};
ZUR_INLINE root_parts parts_of_root(vec<double> x_hi, vec<double> x_lo, vec<double> y) {
  const vec<double> hi = x_hi * y, lo = x_lo * y;
  return {y, hi, lo, (hi * y - 1.0) + lo * y};
}
ZUR_INLINE root_parts parts_of_root(vec<double> x) {
  const auto x_hi = as<vec<double>>(as<pattern<double>>(x) & 0xFFFFFFFF00000000);
  return parts_of_root(x_hi, x - x_hi, estimate_of_reciprocal_root(x));
}

// Arguments of the kernels in double: below, the low part of x may not be a normal number.
inline constexpr std::uint32_t least_in_parts = 0x03F00000;  // 2^-960

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
