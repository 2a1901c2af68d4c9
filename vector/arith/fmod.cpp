// Remainders of division: Fmod with the quotient cut to a whole number, Remainder with the nearest one.
//
// While the quotient is small its products with the two halves of the divisor are exact, and so are both
// differences from the dividend. A whole quotient that the division's rounding put one too high, or to the
// wrong side of a half, is taken back. Other lanes are divided as whole numbers.
#include <algorithm>
#include <bit>
#include <limits>

#include "vector/arith/arith.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// What is told in words of 32 bits: exponent fields, and bounds of the divisor between which the fast path
// serves. In double the lower bound keeps the divisor's lower half a normal number, so that flushing does not
// reach it.
template <class T> struct range;
template <> struct range<float> {
  static constexpr std::int32_t exponent = 0x7F800000, quotient = 11 << 23, least = 0x0C000000;
  static constexpr std::int32_t fmod_most = 0x7E8FFFFF, remainder_most = 0x797FFFFF;
  static constexpr std::uint32_t lower_half = 0xFFF;
  static constexpr float rounder = 12582912;  // 1.5 * 2^23
};
template <> struct range<double> {
  static constexpr std::int32_t exponent = 0x7FF00000, quotient = 25 << 20, least = 0x03500000;
  static constexpr std::int32_t fmod_most = 0x7FEFFFFF, remainder_most = 0x7E4FFFFF;
  static constexpr std::uint64_t lower_half = 0x7FFFFFF;
  static constexpr double rounder = 6755399441055744;  // 1.5 * 2^52
};

template <class T> ZUR_INLINE flags<T> beyond(vec<T> a, vec<T> b, std::int32_t most) {
  using r = range<T>;
  const words ea = as<words>(a) & r::exponent, eb = as<words>(b) & r::exponent;
  const words ab = as<words>(b) & 0x7FFFFFFF;
  return where<T>(as<ints<T>>((ea - eb > r::quotient) | (ab < r::least) | (ab > most))) | not_finite<T>(a);
}

template <class T> ZUR_INLINE vec<T> rounded(vec<T> q) { return (q + range<T>::rounder) - range<T>::rounder; }

// a - b t, exact.
template <class T> ZUR_INLINE vec<T> minus_multiple(vec<T> a, vec<T> b, vec<T> t) {
  const vec<T> bh = as<vec<T>>(as<pattern<T>>(b) & ~(pattern<T>{} + range<T>::lower_half));
  return (a - bh * t) - (b - bh) * t;
}

// ---- Whole numbers

template <class T> struct whole {
  using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  static constexpr int fraction = std::numeric_limits<T>::digits - 1;
  std::uint64_t mantissa;
  int exponent;  // the number is mantissa * 2^exponent, but for one bias

  explicit whole(T x) {
    const bits b = std::bit_cast<bits>(x) & ~bits{0} >> 1;
    exponent = std::max(static_cast<int>(b >> fraction), 1);
    mantissa = (b & ((bits{1} << fraction) - 1)) | (b >> fraction ? bits{1} << fraction : 0);
  }
  // Back to a number, mantissa below 2^(fraction + 1).
  T number() const {
    const int up = mantissa ? std::min(std::countl_zero(mantissa) - (63 - fraction), exponent - 1) : 0;
    const std::uint64_t m = mantissa << up;
    return std::bit_cast<T>(
        static_cast<bits>(m >> fraction ? m + (std::uint64_t(exponent - up - 1) << fraction) : m));
  }
};

// The remainder of |a| divided by |b|, |b| > 0 and both finite, and whether the whole quotient is odd. The dividend goes
// in 64 bits at a time. Afterwards rest and divisor have one exponent, unless the dividend is below a quarter of the
// divisor.
template <class T> struct division {
  whole<T> rest, divisor;
  bool odd;

  division(T a, T b) : rest(a), divisor(b), odd(false) {
    int shift = rest.exponent - divisor.exponent;
    if (shift < 0) {
      if (shift == -1) divisor.mantissa <<= 1, divisor.exponent--;
      return;
    }
    const auto divide = [&](unsigned __int128 dividend) {
      odd = dividend / divisor.mantissa & 1;
      rest.mantissa = static_cast<std::uint64_t>(dividend % divisor.mantissa);
    };
    divide(rest.mantissa);
    for (; shift > 0; shift -= 64)
      divide(static_cast<unsigned __int128>(rest.mantissa) << std::min(shift, 64));
    rest.exponent = divisor.exponent;
  }
};

// ---- Kernels

template <class T> struct fmod : arith<T, fn::Fmod, 4, 2> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const vec<T> aa = magnitude<T>(a), ab = magnitude<T>(b), q = magnitude<T>(a / b);
    vec<T> t = rounded<T>(q);
    t = t - as<vec<T>>(if_negative<T>(q - t) & as<pattern<T>>(all(T(1))));
    const vec<T> r = minus_multiple<T>(aa, ab, t);
    const vec<T> lifted = r + as<vec<T>>(if_negative<T>(r) & as<pattern<T>>(ab));
    return {{with_sign<T>(lifted, a)}, beyond<T>(a, b, range<T>::fmod_most)};
  }
  static int routine(const T& a, const T& b, T& r) {
    const T aa = __builtin_fabs(a), ab = __builtin_fabs(b);
    if (a != a || b != b) return r = a * b, ZUR_STATUS_OK;
    if (ab == 0 || aa > std::numeric_limits<T>::max())
      return r = fp::divide(T(0), T(0)), ZUR_STATUS_SINGULARITY;
    if (aa < ab) return r = a, ZUR_STATUS_OK;
    r = __builtin_copysign(division<T>(a, b).rest.number(), a);
    return ZUR_STATUS_OK;
  }
};

template <class T> struct remainder : arith<T, fn::Remainder, 4, 2> {
  static results<T> fast(vec<T> a, vec<T> b) {
    const vec<T> ab = magnitude<T>(b);
    const vec<T> r = minus_multiple<T>(a, b, rounded<T>(a / b));
    const auto over = if_negative<T>(T(0.5) * ab - magnitude<T>(r));
    const vec<T> lowered = r - with_sign<T>(as<vec<T>>(over & as<pattern<T>>(ab)), r);
    const vec<T> zero = with_sign<T>(vec<T>{}, a);
    return {{lowered == 0 ? zero : lowered}, beyond<T>(a, b, range<T>::remainder_most)};
  }
  static int routine(const T& a, const T& b, T& r) {
    const T aa = __builtin_fabs(a), ab = __builtin_fabs(b);
    if (a != a || b != b) return r = fp::quieted(a != a ? a : b), ZUR_STATUS_OK;
    if (ab == 0) return r = fp::divide(T(0), T(0)), ZUR_STATUS_DOMAIN;
    if (aa > std::numeric_limits<T>::max()) return r = fp::divide(T(0), T(0)), ZUR_STATUS_OK;
    if (ab > std::numeric_limits<T>::max() || aa == 0) return r = a, ZUR_STATUS_OK;
    // By whole numbers, so that denormal ones count in every mode.
    division<T> d(a, b);
    const std::uint64_t other = d.divisor.mantissa - d.rest.mantissa;
    const bool beyond_half = d.rest.exponent == d.divisor.exponent &&
                             (d.rest.mantissa > other || (d.rest.mantissa == other && d.odd));
    if (beyond_half) d.rest.mantissa = other;
    return r = __builtin_copysign(d.rest.number(), beyond_half ? -a : a), ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_OF_ONE_KERNEL(Fmod, fmod, fmod)
TABLES_OF_ONE_KERNEL(Remainder, remainder, remainder)

}  // namespace zur::inline ZUR_WIDTH
