// The square root, by the processor's estimate y of 1/sqrt(x) and corrections. Largest errors in ulp, measured
// (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   3.27   0.51   2^-11.4 relative
//   double   1.23   0.51   2^-32.9 relative
#include "vector/roots/reciprocal_root.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct sqrt_kernel : usual_kernel<fn::Sqrt, T, L> {
  static constexpr bool screened = true;
};

// The routine of all kernels: `root` gives the root of a positive number.
template <class T, class F> int special_root(T x, T& r, F root) {
  if (x != x || x == 0 || x == infinite<T>) return r = x + x, ZUR_STATUS_OK;
  if (x < 0) return out_of_domain(r);
  return r = root(x), ZUR_STATUS_OK;
}

// Single: y is about 1/sqrt(x), g = x y. At EP that is all; at LA one step of Newton's iteration; at HA a coupled step
// for sqrt(x) and 1/(2 sqrt(x)) and a correction by the residual, gh^2 exact.
template <level L> struct single_sqrt : sqrt_kernel<float, L> {
  static constexpr int block = L == ep ? 8 : 16;

  static vec<float> root(vec<float> x) {
    const vec<float> y = estimate_or_zero(x), g = x * y;
    if constexpr (L == ep) return g;
    if constexpr (L == la) return (g * -0.5f) * (y * g - 3.0f);
    const vec<float> h = 0.5f * y, e = 0.5f - h * g, h1 = h + h * e, g1 = g + g * e;
    const vec<float> gh = as<vec<float>>(as<pattern<float>>(g1) & 0xFFFF0000), gl = g1 - gh;
    const vec<float> d = (gh * gh - x) + gh * gl + gl * g1;
    return g1 - h1 * d;
  }

  // Of a negative or denormal number, an infinity or NaN, g is infinite or NaN and so is the result. At HA the residual
  // of numbers below 2^-101 would be no normal one; and gh^2 could overflow for the largest numbers if an estimate were
  // a little larger than here.
  static results<float> fast(vec<float> x) {
    const vec<float> r = root(x);
    flags<float> flagged = above_abs<float>(r, 0x7F7FFFFF);
    if constexpr (L == ha) flagged |= outside<float>(x, 0x0D000000, 0x7F7FFFFF) & ~where<float>(x == 0.0f);
    return {{r}, flagged};
  }
  static int routine(const float& x, float& r) {
    return special_root(x, r, [](float y) {
      return y < 1 ? root(all(y * 0x1p60f))[0] * 0x1p-30f : root(all(y * 0x1p-60f))[0] * 0x1p30f;
    });
  }
};

// Double: the series, of 2 terms at EP, 4 at LA and 5 at HA, there with x y in two parts.
template <level L> struct double_sqrt : sqrt_kernel<double, L> {
  static constexpr int block = 4;

  static vec<double> root(vec<double> x) {
    if constexpr (L == ha) {
      const root_parts p = parts_of_root(x);
      return p.hi + (p.lo + (p.hi + p.lo) * root_series<5>(p.e));
    } else {
      const vec<double> y = estimate_of_reciprocal_root(x), g = x * y;
      constexpr int terms = L == ep ? 2 : 4;
      return g + g * root_series<terms>(g * y - 1.0);
    }
  }

  static results<double> fast(vec<double> x) {
    return {{root(x)}, outside<double>(x, least_in_parts, greatest_finite<double>)};
  }
  static int routine(const double& x, double& r) {
    return special_root(x, r, [](double y) { return root(all(y * 0x1p200))[0] * 0x1p-100; });
  }
};

}  // namespace

TABLES_BY_LEVEL(sSqrt, single_sqrt<la>, single_sqrt<ha>, single_sqrt<ep>)
TABLES_BY_LEVEL(dSqrt, double_sqrt<la>, double_sqrt<ha>, double_sqrt<ep>)

}  // namespace zur::inline ZUR_WIDTH
