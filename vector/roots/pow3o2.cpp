// x^(3/2), as x sqrt(x), by the processor's estimate y of 1/sqrt(x) and corrections. Largest errors in ulp, measured
// (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   2.94   0.51   2^-11.4 relative
//   double   2.1    0.51   2^-32.9 relative
//
// and at HA in double up to 0.75 among denormal results, which are rounded twice.
#include "vector/roots/reciprocal_root.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct pow3o2_kernel : usual_kernel<fn::Pow3o2, T, L> {};

// The routine of all kernels: `power` takes a positive number.
template <class T, class F> int special_power(T x, T& r, F power) {
  if (x != x || x == infinite<T>) return r = x, ZUR_STATUS_OK;
  if (x == 0) return r = 0, ZUR_STATUS_OK;
  if (x < 0) return out_of_domain(r);
  return r = power(x), ZUR_STATUS_OK;
}

// At EP the estimate is all; at LA one step for g, about sqrt(x); at HA a coupled step for sqrt(x) and 1/(2 sqrt(x)),
// the residual c, and the product with x from parts of 12 bits.
template <level L> struct single_power : pow3o2_kernel<float, L> {
  static constexpr int block = L == ha ? 16 : 8;

  static vec<float> power(vec<float> x) {
    const auto leading = [](vec<float> v) { return as<vec<float>>(as<pattern<float>>(v) & 0xFFFFF000); };
    const vec<float> y = estimate_or_zero(x), g = x * y;
    if constexpr (L == ep) return g * x;
    const vec<float> h = 0.5f * y, e = 0.5f - h * g, g1 = g + g * e;
    if constexpr (L == la) return g1 * x;
    const vec<float> h1 = h + h * e;
    const vec<float> gh = leading(g1), gl = g1 - gh, xh = leading(x), xl = x - xh;
    const vec<float> c = ((x - gh * gh) - gh * gl) - g1 * gl;
    return ((c * (h1 * x) + g1 * xl) + gl * xh) + gh * xh;
  }

  // At HA products of the low parts are no normal numbers, or lose bits, already where the result is below 2^-100.
  static results<float> fast(vec<float> x) {
    return {{power(x)}, outside<float>(x, L == ha ? 0x1E000000 : 0x16000000, 0x69800000)};
  }
  static int routine(const float& x, float& r) {
    return special_power(x, r, [](float y) { return float(y * __builtin_sqrt(double(y))); });
  }
};

// Double: the series, of 2 terms at EP, 4 at LA and 5 at HA, there with the root in two parts, of which the products
// with those of x are exact but the last.
template <level L> struct double_power : pow3o2_kernel<double, L> {
  static constexpr int block = 4;

  static vec<double> power(vec<double> x) {
    if constexpr (L == ha) {
      const auto leading = [](vec<double> v) {
        return as<vec<double>>(as<pattern<double>>(v) & 0xFFFFFFFF00000000);
      };
      const vec<double> xh = leading(x), xl = x - xh;
      const root_parts p = parts_of_root(xh, xl, estimate_of_reciprocal_root(x));
      const vec<double> rest = p.lo + (p.hi + p.lo) * root_series<5>(p.e);
      const vec<double> gh = leading(p.hi + rest), gl = (p.hi - gh) + rest;
      return gh * xh + (gh * xl + gl * x);
    } else {
      const vec<double> y = estimate_of_reciprocal_root(x), g = x * y;
      constexpr int terms = L == ep ? 2 : 4;
      return (g + g * root_series<terms>(g * y - 1.0)) * x;
    }
  }

  // From 2^-640 to 2^682 x and the result are far enough from the ends of the normal numbers.
  static results<double> fast(vec<double> x) {
    return {{power(x)}, outside<double>(x, 0x17F00000, 0x6A8FFFFF)};
  }
  static int routine(const double& x, double& r) {
    return special_power(x, r, [](double y) {
      return y < 1 ? power(all(y * 0x1p600))[0] * 0x1p-900 : power(all(y * 0x1p-600))[0] * 0x1p900;
    });
  }
};

}  // namespace

TABLES_BY_LEVEL(sPow3o2, single_power<la>, single_power<ha>, single_power<ep>)
TABLES_BY_LEVEL(dPow3o2, double_power<la>, double_power<ha>, double_power<ep>)

}  // namespace zur::inline ZUR_WIDTH
