// Sums, differences, products, squares and quotients.
#include "vector/arith/arith.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct add : arith<T, fn::Add, 64 / sizeof(T), 2> {
  static results<T> fast(vec<T> a, vec<T> b) { return {{a + b}}; }
};
template <class T> struct sub : arith<T, fn::Sub, 64 / sizeof(T), 2> {
  static results<T> fast(vec<T> a, vec<T> b) { return {{a - b}}; }
};
template <class T> struct mul : arith<T, fn::Mul, 64 / sizeof(T), 2> {
  static results<T> fast(vec<T> a, vec<T> b) { return {{a * b}}; }
};
template <class T> struct sqr : arith<T, fn::Sqr, 64 / sizeof(T)> {
  static results<T> fast(vec<T> a) { return {{a * a}}; }
};

// A zero divisor is a pole whatever the dividend.
template <class T> struct div : arith<T, fn::Div, 4, 2> {
  static constexpr int together = 64 / sizeof(T);
  static results<T> fast(vec<T> a, vec<T> b) { return {{a / b}, where<T>(b == 0)}; }
  static int routine(const T& a, const T& b, T& r) {
    r = fp::divide(a, b);
    return b == 0 ? ZUR_STATUS_SINGULARITY : ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Add, add, add)
TABLES_OF_ONE_KERNEL(Sub, sub, sub)
TABLES_OF_ONE_KERNEL(Mul, mul, mul)
TABLES_OF_ONE_KERNEL(Sqr, sqr, sqr)
TABLES_OF_ONE_KERNEL(Div, div, div)

}  // namespace zur::inline ZUR_WIDTH
