// sqrt(a^2 + b^2), by the processor's estimate y of the reciprocal of the root and corrections; the errors are told in
// hypot.cpp.
#pragma once
#include "vector/roots/reciprocal_root.h"

namespace zur::inline ZUR_WIDTH { namespace {

// The routine of all kernels: `hypot` takes finite numbers, not both 0.
template <class T, class F> int special_hypot(T a, T b, T& r, F hypot) {
  a = __builtin_fabs(a), b = __builtin_fabs(b);
  if (a == infinite<T> || b == infinite<T>) return r = infinite<T>, ZUR_STATUS_OK;
  if (a != a || b != b || (a == 0 && b == 0)) return r = a + b, ZUR_STATUS_OK;
  return r = hypot(a, b), ZUR_STATUS_OK;
}

// The sum of the squares, all but exact: both numbers are cut to 5 bits (7 in double), of which the squares and their
// sum, `large`, are exact; but one that is far smaller than the other counts with the rest as a whole.
template <class T> struct squares {
  vec<T> large, small;

  squares(vec<T> x, vec<T> y) {
    constexpr bool single = sizeof(T) == 4;
    constexpr std::uint64_t leading = single ? 0xFFF80000 : 0xFFFFC00000000000;
    constexpr std::int32_t far = single ? 0x02000000 : 0x00600000;
    const vec<T> a = magnitude<T>(x), b = magnitude<T>(y);
    const words above =
        as<words>(as<pattern<float>>(a) - as<pattern<float>>(b));  // of double, the upper words tell
    const auto cut = [](vec<T> v, words counts) {
      return as<vec<T>>(as<pattern<T>>(v) & (as<pattern<T>>(counts) & leading));
    };
    const vec<T> a_hi = cut(a, above >= -far), b_hi = cut(b, above <= far);
    large = a_hi * a_hi + b_hi * b_hi;
    small = (a - a_hi) * (a + a_hi) + (b - b_hi) * (b + b_hi);
  }
  vec<T> sum() const { return small + large; }
};

template <class T, level L> struct hypotenuse;

// Single: at EP the estimate is all; at LA and HA a coupled step for the root and its reciprocal, and a correction by
// the residual, gh^2 exact.
template <level L> struct hypotenuse<float, L> {
  static constexpr int block = L == ha ? 16 : 8;

  static results<float> fast(vec<float> a, vec<float> b) {
    if constexpr (L == ep) {
      const vec<float> v = a * a + b * b;
      return {{v * estimate_or_zero(v)}, outside<float>(v, least_normal<float>, greatest_finite<float>)};
    } else {
      const squares<float> s(a, b);
      const vec<float> v = s.sum(), y = estimate_or_zero(v), g = v * y, h = 0.5f * y, e = 0.5f - h * g;
      const vec<float> h1 = h + h * e, g1 = g + g * e;
      const vec<float> gh = as<vec<float>>(as<pattern<float>>(g1) & 0xFFFFE000), gl = g1 - gh;
      const vec<float> d = (((gh * gh - s.large) + gh * gl) - s.small) + gl * g1;
      const flags<float> flagged = L == la ? outside<float>(v, least_normal<float>, greatest_finite<float>)
                                           : outside<float>(v, 0x1E300000, 0x60A00000);
      return {{g1 - h1 * d}, flagged};
    }
  }
  static int routine(const float& a, const float& b, float& r) {
    return special_hypot(a, b, r, [](double x, double y) { return float(__builtin_sqrt(x * x + y * y)); });
  }
};

// Double: the series, of 2 terms at EP, 4 at LA and 5 at HA, there with the sum in two parts.
template <level L> struct hypotenuse<double, L> {
  static constexpr int block = L == ha ? 8 : 4;

  struct outcome {
    vec<double> root, sum;
  };
  static outcome hypot(vec<double> a, vec<double> b) {
    if constexpr (L == ha) {
      const squares<double> s(a, b);
      const vec<double> v = s.sum();
      const auto v_hi = as<vec<double>>(as<pattern<double>>(v) & 0xFFFFFFFF00000000);
      const root_parts p = parts_of_root(v_hi, (s.large - v_hi) + s.small, estimate_of_reciprocal_root(v));
      return {p.hi + (p.lo + (p.hi + p.lo) * root_series<5>(p.e)), v};
    } else {
      const vec<double> v = L == la ? squares<double>(a, b).sum() : a * a + b * b;
      const vec<double> y = estimate_of_reciprocal_root(v), g = v * y;
      constexpr int terms = L == ep ? 2 : 4;
      return {g + g * root_series<terms>(g * y - 1.0), v};
    }
  }

  static results<double> fast(vec<double> a, vec<double> b) {
    const auto [root, sum] = hypot(a, b);
    return {{root}, outside<double>(sum, least_in_parts, greatest_finite<double>)};
  }
  static int routine(const double& a, const double& b, double& r) {
    return special_hypot(a, b, r, [](double x, double y) {
      const bool up = x < 1 && y < 1;
      const double in = up ? 0x1p600 : 0x1p-600, out = up ? 0x1p-600 : 0x1p600;
      return hypot(all(x * in), all(y * in)).root[0] * out;
    });
  }
};

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
