// Greater and lesser of two numbers, the sign of another, the positive difference and the next number.
#include <bit>
#include <limits>

#include "vector/arith/arith.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// A number and a NaN give the number, two NaNs the second, and infinities what the lanes made of them.
template <class T> ZUR_INLINE void other_than_nan(const T& a, const T& b, T& r) {
  if (b != b) r = fp::quieted(a);
  if (a != a) r = fp::quieted(b);
}

template <class T, template <class> class root> struct extreme : arith<T, root, 64 / sizeof(T), 2> {
  static results<T> one_of(vec<T> a, vec<T> b, vec<T> r) {
    return {{r}, not_finite<T>(a) | not_finite<T>(b)};
  }
  static int routine(const T& a, const T& b, T& r) { return other_than_nan(a, b, r), ZUR_STATUS_OK; }
};
template <class T> struct fmax : extreme<T, fn::Fmax> {
  static results<T> fast(vec<T> a, vec<T> b) { return fmax::one_of(a, b, maximum(a, b)); }
};
template <class T> struct fmin : extreme<T, fn::Fmin> {
  static results<T> fast(vec<T> a, vec<T> b) { return fmin::one_of(a, b, minimum(a, b)); }
};
template <class T> struct max_mag : extreme<T, fn::MaxMag> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const vec<T> aa = magnitude<T>(a), ab = magnitude<T>(b);
    return max_mag::one_of(a, b, ab < aa ? a : aa < ab ? b : maximum(b, a));
  }
};
template <class T> struct min_mag : extreme<T, fn::MinMag> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const vec<T> aa = magnitude<T>(a), ab = magnitude<T>(b);
    return min_mag::one_of(a, b, aa < ab ? a : ab < aa ? b : minimum(b, a));
  }
};

template <class T> struct copy_sign : arith<T, fn::CopySign, 64 / sizeof(T), 2> {
  static results<T> fast(vec<T> a, vec<T> b) { return {{with_sign<T>(magnitude<T>(a), b)}}; }
};

template <class T> struct fdim : arith<T, fn::Fdim, 64 / sizeof(T), 2> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const vec<T> d = a - b, size = magnitude<T>(d);  // no finite number where a or b is none
    return {{as<vec<T>>(as<ints<T>>(size) & (d == size))}, not_finite<T>(d)};
  }
  static int routine(const T& a, const T& b, T& r) {
    if (a != a) r = fp::quieted(a);
    if (b != b) r = fp::quieted(b);
    return ZUR_STATUS_OK;
  }
};

// One step of the pattern, for ordinary numbers with an ordinary result.
template <class T> struct next_after : arith<T, fn::NextAfter, 4, 2> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const ints<T> ia = as<ints<T>>(a), ib = as<ints<T>>(b);
    const ints<T> down = (ia > ib) | ((ia ^ ib) < 0), apart = ia != ib;
    const vec<T> r = as<vec<T>>(as<pattern<T>>(a) + as<pattern<T>>((down | 1) & apart));
    return {{r}, not_normal<T>(a) | not_normal<T>(b) | not_normal<T>(r)};
  }
  static int routine(const T& a, const T& b, T& r) {
    using bits = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;
    if (a != a || b != b) return r = a + b, ZUR_STATUS_OK;
    // By patterns, so that denormal numbers count in every mode.
    constexpr bits sign = std::numeric_limits<bits>::min();
    bits ia = std::bit_cast<bits>(a);
    const bits ib = std::bit_cast<bits>(b), aa = ia & ~sign, ab = ib & ~sign;
    if (ia == ib || (aa | ab) == 0) return r = b, ZUR_STATUS_OK;
    if (aa == 0)
      ia = (ib & sign) | 1;
    else
      ia += (ia ^ ib) >= 0 && aa < ab ? 1 : -1;
    r = std::bit_cast<T>(ia);
    const bits ar = ia & ~sign;
    if (ar >= std::bit_cast<bits>(std::numeric_limits<T>::infinity())) {
      fp::raise_by_square(std::numeric_limits<T>::max());
      return ZUR_STATUS_OVERFLOW;
    }
    if (ar >= std::bit_cast<bits>(std::numeric_limits<T>::min())) return ZUR_STATUS_OK;
    fp::raise_by_square(std::numeric_limits<T>::min());
    return ZUR_STATUS_UNDERFLOW;
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Fmax, fmax, fmax)
TABLES_OF_ONE_KERNEL(Fmin, fmin, fmin)
TABLES_OF_ONE_KERNEL(MaxMag, max_mag, max_mag)
TABLES_OF_ONE_KERNEL(MinMag, min_mag, min_mag)
TABLES_OF_ONE_KERNEL(CopySign, copy_sign, copy_sign)
TABLES_OF_ONE_KERNEL(Fdim, fdim, fdim)
TABLES_OF_ONE_KERNEL(NextAfter, next_after, next_after)

}  // namespace zur::inline ZUR_WIDTH
