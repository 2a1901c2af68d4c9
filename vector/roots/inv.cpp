// 1 / x.
//
// By division, 0.5 ulp, except single at EP: the processor's estimate as it is, of relative error below 1.5 * 2^-12.
#include "vector/roots/special.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct by_division : usual_kernel<fn::Inv, T> {
  static constexpr int block = sizeof(T) == 4 ? 32 : 8;

  static results<T> fast(vec<T> x) { return {{T(1) / x}, where<T>(x == T(0))}; }
  static int routine(const T& x, T& r) { return pole(x, r); }
};

// From 2^126 on the estimate of 1/x is 0.
struct estimate : usual_kernel<fn::Inv, float, ep> {
  static constexpr int block = 8;
  static constexpr bool screened = true;

  static results<float> fast(vec<float> x) {
    return {{approx_reciprocal(x)}, outside<float>(magnitude<float>(x), least_normal<float>, 0x7E7FFFFF)};
  }
  static int routine(const float& x, float& r) {
    if (x == 0) return pole(x, r);
    return r = fp::divide(1.0f, x), ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sInv, by_division<float>, by_division<float>, estimate)
TABLES_BY_LEVEL(dInv, by_division<double>, by_division<double>, by_division<double>)

}  // namespace zur::inline ZUR_WIDTH
