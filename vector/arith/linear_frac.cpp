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

template <class T, int in> struct fraction : arith<T, fn::LinearFrac, 8, in> {
  using environment = std::conditional_t<sizeof(T) == 4, usual_environment<>, mask_only_environment<>>;
};

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
template <class T, template <class> class array>
ZUR_INLINE void choose(std::int32_t n, array<const T> a, array<const T> b, T scalea, T shifta, T scaleb,
                       T shiftb, array<T> r) {
  if (n <= 0) return;
  const typename fraction<T, 2>::environment environment;
  fp::launder(scalea, shifta, scaleb, shiftb);
  const auto mode = environment.mode();
  if (scaleb == 0)
    walk::elements<over_constant<T>, array>({{}, scalea, shifta, fp::divide(T(1), shiftb)}, n, mode,
                                            {{a}, {r}});
  else if (scalea == 0)
    walk::elements<constant_over<T>, array>({{}, shifta, scaleb, shiftb}, n, mode, {{b}, {r}});
  else
    walk::elements<general<T>, array>({{}, scalea, shifta, scaleb, shiftb}, n, mode, {{a, b}, {r}});
}

template <class T>
void linear_frac(std::int32_t n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* r) {
  choose<T, walk::dense>(n, {a}, {b}, scalea, shifta, scaleb, shiftb, {r});
}
template <class T>
void linear_frac_twin(std::int32_t n, const T* a, std::int32_t inca, const T* b, std::int32_t incb, T scalea,
                      T shifta, T scaleb, T shiftb, T* r, std::int32_t incr) {
  if (inca == 1 && incb == 1 && incr == 1)
    return fn::LinearFrac<T>::table[la](n, a, b, scalea, shifta, scaleb, shiftb, r);
  choose<T, walk::strided>(n, {a, inca}, {b, incb}, scalea, shifta, scaleb, shiftb, {r, incr});
}

}  // namespace

TABLE(sLinearFrac) = {linear_frac<float>, linear_frac<float>, linear_frac<float>};
TABLE(dLinearFrac) = {linear_frac<double>, linear_frac<double>, linear_frac<double>};
TABLE(sLinearFracI) = {linear_frac_twin<float>, linear_frac_twin<float>, linear_frac_twin<float>};
TABLE(dLinearFracI) = {linear_frac_twin<double>, linear_frac_twin<double>, linear_frac_twin<double>};

}  // namespace zur::inline ZUR_WIDTH
