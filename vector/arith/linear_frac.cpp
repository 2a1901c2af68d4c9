// Quotients of two linear functions, by an approximate reciprocal of the denominator.
#include "vector/arith/arith.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// About 1/d: the processor's estimate, refined once. Its relative error is some 2^-23.
ZUR_INLINE vec<float> reciprocal(vec<float> d) {
  const vec<float> y = approx_reciprocal(d);
  return 2.0f * y - (d * y) * y;
}

// The estimate is that of a single number with the leading digits of d; the exponent is subtracted. With
// e = 1 - d y, below 1.5 * 2^-12, the error of y (1 + e + e^2) is e^3.
ZUR_INLINE vec<double> reciprocal(vec<double> d) {
  const auto w = as<pattern<float>>(d);
  const auto digits = as<vec<float>>(((w << 3) & 0x007FFFFF) | 0x3F800000);
  const auto estimate = as<pattern<float>>(approx_reciprocal(digits)) >> 3;
  const auto upper = as<pattern<double>>(estimate + 0x77F00000 - (w & 0xFFF00000));
  const auto y = as<vec<double>>(upper & 0xFFFFFFFF00000000);
  const vec<double> e = 1.0 - d * y;
  return y + y * (e + e * e);
}

template <class T, int in> struct fraction : arith<T, fn::LinearFrac, 8, in> {};

// The denominator is constant, with c its reciprocal.
template <class T> struct over_constant : fraction<T, 1> {
  T scale, shift, c;
  results<T> fast(vec<T> a) const { return {{(scale * a + shift) * c}}; }
};
template <class T> struct constant_over : fraction<T, 1> {
  T numerator, scale, shift;
  results<T> fast(vec<T> b) const { return {{reciprocal(scale * b + shift) * numerator}}; }
};
template <class T> struct general : fraction<T, 2> {
  T scalea, shifta, scaleb, shiftb;
  results<T> fast(vec<T> a, vec<T> b) const {
    return {{reciprocal(scaleb * b + shiftb) * (scalea * a + shifta)}};
  }
};

// The scalars tell which array need not be read.
template <class T> struct linear_frac : fraction<T, 2> {
  using environment = std::conditional_t<sizeof(T) == 4, usual_environment<>, mask_only_environment<>>;

  template <class Run, class Array>
  ZUR_INLINE static void choose(Run run, Array a, Array b, T scalea, T shifta, T scaleb, T shiftb) {
    if (scaleb == 0)
      run(over_constant<T>{{}, scalea, shifta, fp::divide(T(1), shiftb)}, a);
    else if (scalea == 0)
      run(constant_over<T>{{}, shifta, scaleb, shiftb}, b);
    else
      run(general<T>{{}, scalea, shifta, scaleb, shiftb}, a, b);
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(LinearFrac, linear_frac, linear_frac)

}  // namespace zur::inline ZUR_WIDTH
