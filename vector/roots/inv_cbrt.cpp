// The reciprocal of the cube root, with the sign of x. Single at EP: a polynomial for m in [1, 2) and a factor for the
// remainder of the exponent; at LA one step of Newton's iteration besides; all others by the table told in third.h.
// Largest errors in ulp, measured (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   1.29   0.52   2^-14.5 relative
//   double   0.52 at all levels
//
// Single coefficients at HA are from tools/fit_roots.cpp, double ones the binomial series.
#include "vector/roots/third.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct inv_cbrt_kernel : usual_kernel<fn::InvCbrt, T, L> {
  static constexpr int block = 32 / sizeof(T);
  static constexpr bool screened = true;

  // v^(-1/3).
  static vec<T> root(const third_split<T>& x) {
    if constexpr (sizeof(T) == 4 && L != ha) {
      const vec<float> m = fraction_of(x.v);
      const vec<float> of_m =
          horner(m, 1.67149866f, -1.17654657f, 0.698747635f, -0.222482517f, 0.0287614856f);
      const vec<float> y = of_m * horner(power_of_two_of(x.v), 1.62435631f, -0.833384726f, 0.209028417f);
      if constexpr (L == ep) return y;
      return y + (y * 0.333333343f) * (1.0f - (x.v * y) * (y * y));
    } else {
      const auto [u, r] = reciprocal_cube_root_row(x);
      return u + u * (r * series(r));
    }
  }

  static vec<T> series(vec<T> r) {
    if constexpr (sizeof(T) == 4)
      return horner(r, -0.333333343f, 0.222229168f, -0.172682211f);
    else
      return horner2(r, r * r, -0.3333333333333333, 0.2222222222222222, -0.1728395061728395,
                     0.1440329218106996, -0.12482853223593965, 0.11095869532083524, -0.10039120052837473,
                     0.092068967651795494);
  }

  static vec<T> reciprocal(vec<T> x) {
    const third_split<T> s = split_third<T>(magnitude<T>(x));
    const auto y = as<pattern<T>>(root(s));
    return with_sign<T>(as<vec<T>>(y + (third_bias<T> - s.k)), x);
  }

  static results<T> fast(vec<T> x) { return {{reciprocal(x)}, not_normal<T>(x)}; }
  static int routine(const T& x, T& r) {
    if (x == 0) return pole(x, r);
    if (x != x) return r = x + x, ZUR_STATUS_OK;
    if (x == infinite<T> || x == -infinite<T>) return r = 1 / x, ZUR_STATUS_OK;
    constexpr T up = sizeof(T) == 4 ? T(0x1p48) : T(0x1p54), down = sizeof(T) == 4 ? T(0x1p16) : T(0x1p18);
    return r = reciprocal(all(x * up))[0] * down, ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sInvCbrt, inv_cbrt_kernel<float, la>, inv_cbrt_kernel<float, ha>, inv_cbrt_kernel<float, ep>)
TABLES_BY_LEVEL(dInvCbrt, inv_cbrt_kernel<double, la>, inv_cbrt_kernel<double, la>,
                inv_cbrt_kernel<double, la>)

}  // namespace zur::inline ZUR_WIDTH
