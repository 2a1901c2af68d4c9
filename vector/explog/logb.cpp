// The exponent of x, a whole number: one kernel for all levels, without error.
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct layout;  // of the exponent field, and what brings denormal numbers into it
template <> struct layout<float> {
  static constexpr int fraction = 23, bias = 127, raised = 25;
  static constexpr float raise = 0x1p25f;
  static constexpr int least = 0x00800000;  // of the smallest normal number
};
template <> struct layout<double> {
  static constexpr int fraction = 52, bias = 1023, raised = 55;
  static constexpr double raise = 0x1p55;
  static constexpr int least = 0x00100000;  // its upper word
};

template <class T> struct logb_all : usual_kernel<fn::Logb, T>, layout<T> {
  using lay = layout<T>;
  static constexpr int block = 32 / sizeof(T);

  // The exponent field with that many subtracted.
  static vec<T> exponent(vec<T> x, int bias) {
    const pattern<T> field = (as<pattern<T>>(x) << 1) >> (lay::fraction + 1);
    if constexpr (sizeof(T) == 4) return __builtin_convertvector(as<words>(field) - bias, vec<float>);
    if constexpr (sizeof(T) == 8)
      return as<vec<double>>(field | 0x4330000000000000) - (0x1p52 + bias);  // 2^52 + the field
  }

  static results<T> fast(vec<T> x) {
    // Adding 1 to an exponent field of 0 or of all ones leaves 1 or 0.
    const auto next = as<words>((as<pattern<float>>(x) + lay::least) & 0x7FFFFFFF);
    return {{exponent(x, lay::bias)}, where<T>(as<ints<T>>(next < 2 * lay::least))};
  }

  static int routine(const T& x, T& r) {
    if (x == 0) return r = fp::divide(T(-1), T(0)), ZUR_STATUS_DOMAIN;
    const auto size = magnitude<T>(all(x));
    if (x != x || size[0] == static_cast<T>(__builtin_inf())) return r = size[0], ZUR_STATUS_OK;
    return r = exponent(size * lay::raise, lay::bias + lay::raised)[0], ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Logb, logb_all, logb_all)

}  // namespace zur::inline ZUR_WIDTH
