// e^x - 1.
//
// Adding `shift` to x N / ln 2 rounds it to the integer n = N m + j and leaves that in the low bits of the
// sum; r = x - n ln 2 / N, |r| <= ln 2 / (2 N). With the scale S = 2^(m + j/N), rounded, and q = e^r - 1 less
// what the rounding of S added, e^x - 1 = (S - 1) + S q. Where n is 0, S is 1 and q the result, so that the
// relative error holds down to the smallest numbers; all sums keep the sign of -0.
// Largest errors in ulp, measured (docs/accuracy.md):
//
//            LA     HA     EP
//   single   0.56 at all levels
//   double   1.95   0.61   2^-32.1 relative
#include "vector/explog/exp_parts.h"
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {
#include "exp_tables.inc"

// Of each kernel: N / ln 2 and the shift; ln 2 / N in two pieces, of which multiples of the first are exact
// and the second is positive; the table, S as a pattern less j steps of the exponent field beside its
// relative excess; the polynomial of tools/fit_exp.cpp (forms 15 to 17) for (e^r - 1 - r) / r^2.
struct single_data {
  using type = float;
  static constexpr int rows = 64;
  static constexpr float shift = 0x1.8p23f, rows_log2e = 92.3324814f;
  static constexpr float ln2_hi = 0x1.62cp-7f, ln2_lo = 0x1.217f7ep-18f;
  static constexpr auto& table = TExpm1S64;
  static vec<float> polynomial(vec<float> r, vec<float>) { return horner(r, 0.500000954f, 0.166667044f); }
};
struct double_data {
  using type = double;
  static constexpr int rows = 128;
  static constexpr double shift = 0x1.8p52, rows_log2e = 184.66496523378731;
  static constexpr double ln2_hi = 0.0054152123466337798, ln2_lo = 1.4907929134926466e-12;
  static constexpr auto& table = TExpm1D128;
  static vec<double> polynomial(vec<double> r, vec<double> r2) {
    return horner2(r, r2, 0.49999999999997669, 0.16666666666667246, 0.041666679392333233,
                   0.0083333336795679541);
  }
};

// 2^raise S and its relative excess; r = d - n_lo, d exact; p = e^r - 1 - r.
template <class D> struct parts {
  using T = typename D::type;
  vec<T> S, excess, d, n_lo, r, p;

  ZUR_INLINE explicit parts(vec<T> x, int raise = 0) {
    constexpr int fraction = sizeof(T) == 4 ? 23 : 52, step = fraction - __builtin_ctz(D::rows);
    const vec<T> t = x * D::rows_log2e + D::shift, n = t - D::shift;
    const pattern<T> s = as<pattern<T>>(t);
    const auto [scale, surplus] = lookup_rows<2>(D::table, as<ints<T>>(s & (D::rows - 1)));
    S = as<vec<T>>(as<pattern<T>>(scale) + (s << step) + ((pattern<T>{} + raise) << fraction));
    excess = surplus;
    d = x - n * D::ln2_hi;
    n_lo = n * D::ln2_lo;
    r = d - n_lo;
    const vec<T> r2 = r * r;
    p = r2 * D::polynomial(r, r2);
  }
  // e^r (1 - excess) - 1 but for the product of the excess and r.
  vec<T> q() const { return r - (excess - p); }
};

// Every addition of large terms with what its rounding lost: 1 - S by the two-sum of D. E. Knuth, which holds
// whichever is larger, and d - (1 - S) by the fast one, since either S is 1 or d the smaller term.
template <class D> ZUR_INLINE vec<typename D::type> compensated(vec<typename D::type> x) {
  using V = vec<typename D::type>;
  const parts<D> e(x);
  const V w = (e.excess * e.r + e.excess) - e.p, q = e.r - w, c = e.n_lo + w;  // q = d - c
  const V b = 1 - e.S, of_s = b - 1, b_lost = (1 - (b - of_s)) - (e.S + of_s);
  const V sum = e.d - b, sum_lost = (sum + b) - e.d;
  return sum - (((sum_lost + b_lost) + c) + b * q);
}

// One rounding each for 1 - S, q, S q and their sum.
template <class D> ZUR_INLINE vec<typename D::type> plain(vec<typename D::type> x) {
  const parts<D> e(x);
  return e.q() * e.S - (1 - e.S);
}

struct single_expm1 : usual_kernel<fn::Expm1, float> {
  static constexpr int block = 8;

  static results<float> fast(vec<float> x) {
    return {{compensated<single_data>(x)}, above_abs<float>(x, 0x42AD496B)};  // 86.6433945
  }

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x * x, ZUR_STATUS_OK;
    if (x < 0) return r = -1, ZUR_STATUS_OK;
    if (x > 88.7228317f) return r = fp::square(0x1p127f), ZUR_STATUS_OVERFLOW;
    return r = exp2_to_single(x * 1.4426950408889634), ZUR_STATUS_OK;
  }
};

struct double_expm1 : usual_kernel<fn::Expm1, double> {
  static constexpr int block = 4;

  static constexpr std::int32_t bound = 0x40861DA0;  // upper word of 707.7032

  static flags<double> test(vec<double> x) { return above_abs<double>(x, bound); }

  static int routine(const double& x, double& r) {
    if (x != x || x == __builtin_inf()) return r = x * x, ZUR_STATUS_OK;
    if (x < 0) return r = -1, ZUR_STATUS_OK;
    if (x >= 709.7827128933841) return r = fp::square(0x1p1023), ZUR_STATUS_OVERFLOW;
    // 2^1024 leaves the exponent field before e^x leaves the finite numbers.
    const parts<double_data> e(all(x), -1);
    return r = 2 * (e.q() * e.S + e.S)[0], ZUR_STATUS_OK;
  }
};

struct double_la : double_expm1 {
  static constexpr level slot = la;
  static constexpr int block = 8;
  static results<double> fast(vec<double> x) { return {{plain<double_data>(x)}, test(x)}; }
};

struct double_ha : double_expm1 {
  static constexpr level slot = ha;
  static results<double> fast(vec<double> x) { return {{compensated<double_data>(x)}, test(x)}; }
};

// ln 2 / N in one piece, S in one column, a shorter polynomial.
struct double_ep : double_expm1 {
  static constexpr level slot = ep;

  static results<double> fast(vec<double> x) {
    using D = double_data;
    const vec<double> t = x * D::rows_log2e + D::shift, r = x - (t - D::shift) * (D::ln2_hi + D::ln2_lo);
    const auto s = as<pattern<double>>(t);
    const auto scale = as<pattern<double>>(lookup<double>(TExpM128D, as<ints<double>>(s & 127)));
    const auto S = as<vec<double>>((s << 45) + scale);
    return {{horner(r, 1.0, 0.50000022906681507, 0.16666668956093095) * r * S - (1 - S)}, test(x)};
  }
};

}  // namespace

TABLES_BY_LEVEL(sExpm1, single_expm1, single_expm1, single_expm1)
TABLES_BY_LEVEL(dExpm1, double_la, double_ha, double_ep)

}  // namespace zur::inline ZUR_WIDTH
