// |x|^(2/3), by the table told in third.h: the square of its row's cube root is exact. Largest errors in ulp, measured
// (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   1.52   0.53   2^-14.9 relative
//   double   0.63   0.52   2^-33.1 relative
//
// Single coefficients are from tools/fit_roots.cpp, double ones the binomial series.
#include "vector/roots/third.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct pow2o3_kernel : usual_kernel<fn::Pow2o3, T, L> {
  static constexpr int block = 32 / sizeof(T);

  // r P(r).
  static vec<T> series(vec<T> r) {
    if constexpr (sizeof(T) == 4) {
      if constexpr (L == ep) return r * 0.666702211f;
      return r * (L == la ? horner(r, 0.666677296f, -0.11112158f)
                          : horner(r, 0.666666687f, -0.111117646f, 0.0493201911f));
    } else {
      if constexpr (L == ep)
        return r * horner(r, 0.6666666666666666, -0.1111111111111111, 0.04938271604938271);
      if constexpr (L == la)
        return r * horner2(r, r * r, 0.6666666666666666, -0.1111111111111111, 0.04938271604938271,
                           -0.02880658436213992, 0.019204389574759947, -0.013869836915104405);
      return r * horner2(r, r * r, 0.6666666666666666, -0.1111111111111111, 0.04938271604938271,
                         -0.02880658436213992, 0.019204389574759947, -0.013869836915104405,
                         0.010567494792460498, -0.008365933377364562);
    }
  }

  static vec<T> power(vec<T> x) {
    const third_split<T> s = split_third<T>(magnitude<T>(x));
    const auto [u, r] = cube_root_row(s);
    const vec<T> square = u * u, y = square + square * series(r);
    const pattern<T> k = s.k - third_bias<T>;
    return as<vec<T>>(as<pattern<T>>(y) + (k + k));
  }

  static results<T> fast(vec<T> x) { return {{power(x)}, not_normal<T>(x)}; }
  static int routine(const T& x, T& r) {
    const bool special = x == 0 || x != x || x == infinite<T> || x == -infinite<T>;
    return r = special ? x * x : power(all(x * T(0x1p99)))[0] * T(0x1p-66), ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sPow2o3, pow2o3_kernel<float, la>, pow2o3_kernel<float, ha>, pow2o3_kernel<float, ep>)
TABLES_BY_LEVEL(dPow2o3, pow2o3_kernel<double, la>, pow2o3_kernel<double, ha>, pow2o3_kernel<double, ep>)

}  // namespace zur::inline ZUR_WIDTH
