// |x|: one kernel for all levels.
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct abs_base : usual_kernel<fn::Abs, T> {
  static constexpr int block = 64 / sizeof(T);
};

// x times 1.0 with the sign of x: a signalling NaN is quietened and keeps its sign. The caller's rounding and
// denormal handling hold.
template <class T> struct abs_unit : abs_base<T> {
  using environment = mask_only_environment<>;
  static results<T> fast(vec<T> x) { return {{x * with_sign<T>(all(T(1)), x)}}; }
};

// The sign bit cleared, then +0 added: a NaN comes out positive and quiet.
template <class T> struct abs_twin : abs_base<T> {
  static results<T> fast(vec<T> x) { return {{magnitude<T>(x) + T(0)}}; }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Abs, abs_unit, abs_twin)

}  // namespace zur::inline ZUR_WIDTH
