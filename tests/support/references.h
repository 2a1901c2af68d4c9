// What each function is measured against, and where one looks and times: a row for every root here and in
// data/places.txt.
#pragma once
#include <mpfr.h>

#include <cmath>
#include <type_traits>

#include "tests/support/places.h"

namespace arko::test {

// Of one argument, in MPFR for results of double kernels and the worst results of single ones, and in double
// with an error below 1 ulp for results of single kernels; and the second result, where there are two.
struct reference {
  int (*precise)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
  double (*quick)(double);
  int (*precise_second)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t) = nullptr;
  double (*quick_second)(double) = nullptr;
};

// Of two arguments, or of the parts of a complex one.
struct pair_reference {
  int (*precise)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
  double (*quick)(double, double);
};

template <int inputs> using reference_of = std::conditional_t<inputs == 1, reference, pair_reference>;

namespace references {

inline const reference Abs{mpfr_abs, std::fabs};
inline const reference Sqr{mpfr_sqr, [](double x) { return x * x; }};
inline const reference Ceil{mpfr_rint_ceil, std::ceil};
inline const reference Floor{mpfr_rint_floor, std::floor};
inline const reference Round{mpfr_rint_round, std::round};
inline const reference Rint{mpfr_rint, std::rint}, NearbyInt = Rint;
inline const reference Trunc{mpfr_rint_trunc, std::trunc};
inline const reference Frac{mpfr_frac, [](double x) { return std::isinf(x) ? 0 : x - std::trunc(x); }};
inline const reference Modf{mpfr_rint_trunc, std::trunc, Frac.precise, Frac.quick};

// The one of greater magnitude, or of the lesser; the greater number, or the lesser, of two of like
// magnitude.
template <bool greater> int by_magnitude(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rounding) {
  const auto extreme = greater ? mpfr_max : mpfr_min;
  if (mpfr_nan_p(x) || mpfr_nan_p(y)) return extreme(r, x, y, rounding);
  const int order = greater ? mpfr_cmpabs(x, y) : mpfr_cmpabs(y, x);
  return order ? mpfr_set(r, order > 0 ? x : y, rounding) : extreme(r, x, y, rounding);
}
template <bool greater> double by_magnitude(double x, double y) {
  const double ax = greater ? std::fabs(x) : std::fabs(y), ay = greater ? std::fabs(y) : std::fabs(x);
  return ax > ay || y != y ? x : ay > ax || x != x ? y : greater ? std::fmax(x, y) : std::fmin(x, y);
}

inline const pair_reference Add{mpfr_add, [](double x, double y) { return x + y; }};
inline const pair_reference Sub{mpfr_sub, [](double x, double y) { return x - y; }};
inline const pair_reference Mul{mpfr_mul, [](double x, double y) { return x * y; }};
inline const pair_reference Div{mpfr_div, [](double x, double y) { return x / y; }};
inline const pair_reference Fmax{mpfr_max, std::fmax};
inline const pair_reference Fmin{mpfr_min, std::fmin};
inline const pair_reference MaxMag{by_magnitude<true>, by_magnitude<true>};
inline const pair_reference MinMag{by_magnitude<false>, by_magnitude<false>};
inline const pair_reference Fdim{mpfr_dim, std::fdim};
inline const pair_reference Fmod{mpfr_fmod, std::fmod};
inline const pair_reference Remainder{mpfr_remainder, std::remainder};
inline const pair_reference CopySign{}, NextAfter{};  // these two go by patterns: no error to measure

inline const reference Exp{mpfr_exp, std::exp};
inline const reference Exp2{mpfr_exp2, std::exp2};
inline const reference Exp10{mpfr_exp10, [](double x) { return std::pow(10.0, x); }};
inline const reference Expm1{mpfr_expm1, std::expm1};
inline const reference Ln{mpfr_log, std::log};
inline const reference Log2{mpfr_log2, std::log2};
inline const reference Log10{mpfr_log10, std::log10};
inline const reference Log1p{mpfr_log1p, std::log1p};

inline int floor_log2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
  if (!mpfr_regular_p(x)) return mpfr_abs(r, x, rounding), mpfr_zero_p(x) ? mpfr_log(r, r, rounding) : 0;
  return mpfr_set_si(r, mpfr_get_exp(x) - 1, rounding);
}
inline const reference Logb{floor_log2, std::logb};

inline int inverse(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) { return mpfr_ui_div(r, 1, x, rounding); }
inline const reference Inv{inverse, [](double x) { return 1 / x; }};
inline const reference Sqrt{mpfr_sqrt, std::sqrt};
inline const reference InvSqrt{[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
                                 return (mpfr_zero_p(x) ? inverse : mpfr_rec_sqrt)(r, x, rounding);
                               },
                               [](double x) { return x == 0 ? 1 / x : 1 / std::sqrt(x); }};
inline const reference Cbrt{mpfr_cbrt, std::cbrt};
inline const reference InvCbrt{[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
                                 return mpfr_cbrt(r, x, rounding), inverse(r, r, rounding);
                               },
                               [](double x) { return 1 / std::cbrt(x); }};
inline const pair_reference Hypot{mpfr_hypot, std::hypot};
// The square and the cube are exact in MPFR.
inline const reference Pow2o3{[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
                                return mpfr_sqr(r, x, rounding), mpfr_cbrt(r, r, rounding);
                              },
                              [](double x) { return std::cbrt(x * x); }};
inline const reference Pow3o2{[](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
                                return mpfr_pow_ui(r, x, 3, rounding), mpfr_sqrt(r, r, rounding);
                              },
                              [](double x) { return x * std::sqrt(x); }};

// Of complex numbers, by their parts.
namespace complex {
inline const pair_reference &Abs = Hypot, Conj = CopySign;
}  // namespace complex

}  // namespace references
}  // namespace arko::test
