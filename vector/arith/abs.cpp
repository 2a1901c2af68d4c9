// |x|: one kernel for all levels.
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct abs_base : usual_kernel {
  using function = fn::Abs<T>;
  using type = T;
  static constexpr level slot = la;
  static constexpr int block = 64 / sizeof(T);
  static constexpr T filler = T(0.75);
};

// x times 1.0 with the sign of x: a signalling NaN is quietened and keeps its sign. The caller's rounding and
// denormal handling hold.
template <class T> struct abs_unit : abs_base<T> {
  using environment = mask_only_environment;
  static results<T> fast(vec<T> x) {
    const auto one = as<pattern<T>>(all(T(1)));
    return {{x * as<vec<T>>((as<pattern<T>>(x) & sign_bit<T>()) | one)}};
  }
};

// The sign bit cleared, then +0 added: a NaN comes out positive and quiet.
template <class T> struct abs_twin : abs_base<T> {
  static results<T> fast(vec<T> x) { return {{as<vec<T>>(as<pattern<T>>(x) & ~sign_bit<T>()) + T(0)}}; }
};

}  // namespace

TABLE(sAbs) = {kernel<abs_unit<float>>, kernel<abs_unit<float>>, kernel<abs_unit<float>>};
TABLE(dAbs) = {kernel<abs_unit<double>>, kernel<abs_unit<double>>, kernel<abs_unit<double>>};
TABLE(sAbsI) = {twin<abs_twin<float>>, twin<abs_twin<float>>, twin<abs_twin<float>>};
TABLE(dAbsI) = {twin<abs_twin<double>>, twin<abs_twin<double>>, twin<abs_twin<double>>};

}  // namespace zur::inline ZUR_WIDTH
