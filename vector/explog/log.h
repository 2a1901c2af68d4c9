// What the logarithms share: range reductions, the test for special arguments and their routine.
#pragma once
#include "vector/compensated.h"
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH { namespace {
#include "log_tables.inc"

// Lanes that hold no positive normal number: zero, denormal, negative, infinity or NaN. With a margin, numbers of the
// last binades too.
template <class T, std::uint32_t margin = 0> ZUR_INLINE flags<T> not_positive_normal(vec<T> x) {
  return outside<T>(x, least_normal<T>, greatest_finite<T> - margin * least_normal<T>);
}

// The routine of all kernels: `log` gives the logarithm of a positive argument, denormal or not.
template <class T, class F> int special_log(T x, T& r, F log) {
  if (x != x || x == static_cast<T>(__builtin_inf())) return r = x * x, ZUR_STATUS_OK;
  if (x == 0) return r = fp::divide(T(-1), T(0)), ZUR_STATUS_SINGULARITY;
  if (x < 0) return r = fp::divide(T(0), T(0)), ZUR_STATUS_DOMAIN;
  return r = log(x), ZUR_STATUS_OK;
}

// A kernel K by its `log<raised>(x)`, the logarithm of x less that of 2^raised: where x is a denormal number it is that of
// x 2^raised, which is none.
template <class K, class T, int raised> struct scaled_log {
  static results<T> fast(vec<T> x) { return {{K::template log<0>(x)}, not_positive_normal<T>(x)}; }
  static int routine(const T& x, T& r) {
    return special_log(x, r, [](T y) {
      constexpr T scale = static_cast<T>(std::uint64_t{1} << raised);
      return K::template log<raised>(all(y * scale))[0];
    });
  }
};

// Single: x = 2^k (1 + f), 1 + f in [2/3, 4/3), for positive normal x.
struct log_split {
  vec<float> f;      // exact
  pattern<float> e;  // k << 23: the pattern of 1.0 less e is that of 2^-k

  // k 2^23, exact: constants that it is multiplied by are scaled by 2^-23.
  ZUR_INLINE vec<float> k() const { return __builtin_convertvector(as<words>(e), vec<float>); }
};
ZUR_INLINE log_split split_log(vec<float> x) {
  const auto p = as<pattern<float>>(x);
  const auto e = (p - 0x3F2AAAABu) & 0xFF800000u;
  return {as<vec<float>>(p - e) - 1.0f, e};
}

// Double: x = 2^k m, m in about [3/4, 3/2), and the row of m in a table of 2^bits rows, of which the middle
// one stands for 1: k and the row's logarithm are both 0 near 1. For positive normal x.
struct log_row {
  vec<double> k, m;
  ints<double> j;
  pattern<double> e;  // the pattern of 2^k
};
template <int bits> ZUR_INLINE log_row log_rows(vec<double> x) {
  constexpr std::uint64_t one = 0x3FF0000000000000, fraction = 0x000FFFFFFFFFFFFF;
  constexpr std::uint64_t least =
      one - (std::uint64_t{1} << 51) - (std::uint64_t{1} << (51 - bits));  // the least m
  const pattern<double> t = as<pattern<double>>(x) + (one - least), f = t & fraction;
  const vec<double> k = as<vec<double>>((t >> 52) | 0x4330000000000000) - (0x1p52 + 1023);
  return {k, as<vec<double>>(f + least), as<ints<double>>(f >> (52 - bits)), t & ~fraction};
}

// m rcp - 1 without rounding, where rcp has few bits: m in a high and a low part, of which the low word is
// cleared in the high one.
ZUR_INLINE vec<double> reduced(vec<double> m, vec<double> rcp) {
  const auto [hi, lo] = split<0xFFFFFFFF00000000>(m);
  return (hi * rcp - 1.0) + lo * rcp;
}

// k log 2 + hi + lo + log(1 + r) to any base, rounded nearly once. D tells log 2 in two parts, of which the first has
// so few bits that k log 2 + hi is exact; and log(1 + r) = (head + tail) r + c2 r^2 + ... by a head with so few bits
// that its product with the leading ones of r is exact, and by all else, `rest`. With the error of the largest sum
// kept, only what is small beside the result is rounded before it.
template <class D, class T = typename D::type>
ZUR_INLINE vec<T> precise_log(vec<T> k, vec<T> hi, vec<T> lo, vec<T> r) {
  constexpr std::uint64_t leading = sizeof(T) == 4 ? 0xFFFFFF00 : 0xFFFFFFFFFFFFF000;
  const auto [r_hi, r_lo] = split<leading>(r);
  const auto [sum, lost] = fast_two_sum(k * D::log2_hi + hi, r_hi * D::head);  // the first is 0 or larger
  vec<T> small = lost + lo;
  if constexpr (D::log2_lo != 0) small = small + k * D::log2_lo;
  return sum + (small + (r_lo * D::head + D::rest(r)));
}

// ln(2^k (m + low)) in double; m + low differs from m by a rounding error, or low is left out. Errors below 0.66 ulp.
//
// It is (k ln 2 + ln(1/rcp)) + ln(1 + r), the first sum exact in its high parts and r = m rcp - 1 exact. The
// polynomial is fitted by tools/fit_log.cpp: 0.14 ulp.
template <class... Low> ZUR_INLINE vec<double> natural_log(const log_row& x, Low... low) {
  const auto [rcp, hi, lo] = lookup_rows<3>(TLnD512, x.j);
  const vec<double> r = reduced(x.m, rcp), t = (r + ... + (low * rcp)), square = t * t;
  const vec<double> large = x.k * TLnOf2Hi + hi, small = x.k * TLnOf2Lo + lo;
  const auto [sum, lost] = fast_two_sum(large, t);  // |large| >= |t|, or 0
  const vec<double> rest = (lost + ... + ((r - t) + low * rcp));
  const vec<double> p = (0.33333333333310444 * t - 0.49999999999992228) +
                        (0.20000040083382467 * t - 0.25000025383792746) * square;
  return sum + ((rest + small) + square * p);
}

// ln x of one positive normal number.
inline double natural_log(double x) { return natural_log(log_rows<9>(all(x)))[0]; }

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
