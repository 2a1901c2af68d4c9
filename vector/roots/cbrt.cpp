// The cube root, with the sign of x. Single at EP: a polynomial for m in [1, 2) and a factor for the remainder of the
// exponent; all others by the table told in third.h. Largest errors in ulp, measured (docs/accuracy.md); the twins have
// the same:
//
//            LA     HA     EP
//   single   1.77   0.52   2^-13.6 relative
//   double   0.72   0.51   as LA
//
// Single coefficients but those of EP are from tools/fit_roots.cpp, double ones the binomial series.
#include "vector/roots/third.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct cbrt_kernel : usual_kernel<fn::Cbrt, T, L> {
  static constexpr int block = 32 / sizeof(T);
  static constexpr bool screened = true;

  // v^(1/3).
  static vec<T> root(const third_split<T>& x) {
    if constexpr (sizeof(T) == 4 && L == ep) {
      const vec<float> m = fraction_of(x.v);
      const vec<float> of_m = horner(m, 0.552292347f, 0.588069022f, -0.163512826f, 0.023202084f);
      return of_m * horner(power_of_two_of(x.v), 0.536508419f, 0.565276846f, -0.101785265f);
    } else {
      const auto [u, r] = cube_root_row(x);
      return u + u * (r * series(r));
    }
  }

  static vec<T> series(vec<T> r) {
    if constexpr (sizeof(T) == 4)
      return L == la ? horner(r, 0.333346635f, -0.11112383f)
                     : horner(r, 0.333333343f, -0.111120753f, 0.0617029034f);
    else if constexpr (L == la)
      return horner2(r, r * r, 0.3333333333333333, -0.1111111111111111, 0.06172839506172839,
                     -0.0411522633744856, 0.03017832647462277, -0.023479765303421718);
    else
      return horner2(r, r * r, 0.3333333333333333, -0.1111111111111111, 0.06172839506172839,
                     -0.0411522633744856, 0.03017832647462277, -0.023472031702484377, 0.019001168521058782,
                     -0.015834307100882319);
  }

  static vec<T> cube_root(vec<T> x) {
    const third_split<T> s = split_third<T>(magnitude<T>(x));
    const auto y = as<pattern<T>>(root(s));
    return with_sign<T>(as<vec<T>>(y + (s.k - third_bias<T>)), x);
  }

  static results<T> fast(vec<T> x) { return {{cube_root(x)}, not_normal<T>(x)}; }
  static int routine(const T& x, T& r) {
    constexpr T up = sizeof(T) == 4 ? T(0x1p48) : T(0x1p54), down = sizeof(T) == 4 ? T(0x1p-16) : T(0x1p-18);
    const bool special = x == 0 || x != x || x == infinite<T> || x == -infinite<T>;
    return r = special ? x + x : cube_root(all(x * up))[0] * down, ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sCbrt, cbrt_kernel<float, la>, cbrt_kernel<float, ha>, cbrt_kernel<float, ep>)
TABLES_BY_LEVEL(dCbrt, cbrt_kernel<double, la>, cbrt_kernel<double, ha>, cbrt_kernel<double, la>)

}  // namespace zur::inline ZUR_WIDTH
