// |z|, as the hypotenuse of the parts: vector/roots/hypot.h, with its errors. Where it is infinite and the parts are not, that
// is an overflow.
#include "vector/roots/hypot.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct complex_abs : usual_kernel<fn::Abs, complex<T>, L> {
  using hypot = hypotenuse<T, L>;
  static constexpr int block = hypot::block;

  static results<T> fast(complex_lanes<T> z) { return hypot::fast(z.re, z.im); }
  static int routine(const complex<T>& z, T& r) {
    hypot::routine(z.re, z.im, r);
    const auto is_infinite = [](T x) { return __builtin_fabs(x) == infinite<T>; };
    return is_infinite(r) && !is_infinite(z.re) && !is_infinite(z.im) ? ZUR_STATUS_OVERFLOW : ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(cAbs, complex_abs<float, la>, complex_abs<float, ha>, complex_abs<float, ep>)
TABLES_BY_LEVEL(zAbs, complex_abs<double, la>, complex_abs<double, ha>, complex_abs<double, ep>)

}  // namespace zur::inline ZUR_WIDTH
