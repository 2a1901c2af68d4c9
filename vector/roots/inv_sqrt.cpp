// The reciprocal of the square root, by the processor's estimate y of it and corrections. Largest errors in ulp,
// measured (docs/accuracy.md); the twins have the same:
//
//            LA, EP             HA
//   single   3.98 (2^-21.8)     0.51
//   double   1.44 (2^-52)       0.51
//
// What is left after LA's step in single is 3/2 of the square of the estimate's error, which is the processor's own: the
// largest error is 2.62 ulp with one maker's and 3.98 with another's.
#include "vector/roots/reciprocal_root.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct inv_sqrt_kernel : usual_kernel<fn::InvSqrt, T, L> {};

// The routine of all kernels: `reciprocal_root` takes a positive number.
template <class T, class F> int special_reciprocal_root(T x, T& r, F reciprocal_root) {
  if (x == 0) return pole(x, r);
  if (x != x) return r = x + x, ZUR_STATUS_OK;
  if (x < 0) return out_of_domain(r);
  if (x == infinite<T>) return r = 0, ZUR_STATUS_OK;
  return r = reciprocal_root(x), ZUR_STATUS_OK;
}

struct single_routine {
  static int routine(const float& x, float& r) {
    return special_reciprocal_root(x, r, [](float y) { return float(1 / __builtin_sqrt(double(y))); });
  }
};

// LA and EP: one step of Newton's iteration. Of the largest numbers some are left to the routine.
struct single_step : inv_sqrt_kernel<float, la>, single_routine {
  using environment = usual_environment<fp::nearest, 0x23F>;
  static constexpr int block = 8;
  static constexpr bool screened = true;

  static results<float> fast(vec<float> x) {
    const vec<float> y = approx_reciprocal_root(x);
    return {{(y * -0.5f) * (x * y * y - 3.0f)}, outside<float>(x, 0x00800000, 0x7F7FF001)};
  }
};

// HA: the binomial series for an estimate of 9 bits, of which the square has 18, and its product with the 6 leading
// ones of x is exact. From 2^126 on that square is no normal number.
struct single_series : inv_sqrt_kernel<float, ha>, single_routine {
  static constexpr int block = 16;

  static results<float> fast(vec<float> x) {
    const auto y = as<vec<float>>(as<pattern<float>>(approx_reciprocal_root(x)) & 0xFFFF8000);
    const vec<float> x_hi = as<vec<float>>(as<pattern<float>>(x) & 0xFFFC0000), square = y * y;
    const vec<float> e = (x_hi * square - 1.0f) + (x - x_hi) * square;
    return {{y + y * (e * horner(e, -0.5f, 0.375f, -0.3125f))}, outside<float>(x, 0x0D000000, 0x7E7FFFFF)};
  }
};

// Double: the series, of 4 terms at LA and EP and 5 at HA, there with e from parts of x.
template <level L> struct double_series : inv_sqrt_kernel<double, L> {
  static constexpr int block = 4;
  static constexpr bool screened = true;

  static vec<double> reciprocal_root(vec<double> x) {
    if constexpr (L == ha) {
      const root_parts p = parts_of_root(x);
      return p.y + p.y * root_series<5>(p.e);
    } else {
      const vec<double> y = estimate_of_reciprocal_root(x);
      return y + y * root_series<4>(x * y * y - 1.0);
    }
  }

  static results<double> fast(vec<double> x) {
    return {{reciprocal_root(x)}, outside<double>(x, least_in_parts, greatest_finite<double>)};
  }
  static int routine(const double& x, double& r) {
    return special_reciprocal_root(x, r,
                                   [](double y) { return reciprocal_root(all(y * 0x1p200))[0] * 0x1p100; });
  }
};

}  // namespace

TABLES_BY_LEVEL(sInvSqrt, single_step, single_series, single_step)
TABLES_BY_LEVEL(dInvSqrt, double_series<la>, double_series<ha>, double_series<la>)

}  // namespace zur::inline ZUR_WIDTH
