// ln x.
//
// Single: x = 2^k (1 + f), 1 + f in [2/3, 4/3), and ln x = k ln 2 + ln(1 + f) by a polynomial. Double: by
// table rows, see log.h. Near 1 k is 0 and the reduction is exact, so that small results keep their relative
// accuracy. Largest errors in ulp, measured (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   3.1    0.65   2^-14.7 relative
//   double   0.65   0.65   2^-28.5 relative
//
// Coefficients are those of tools/fit_log.cpp.
#include "vector/explog/log.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// ---- single

// `ln` adds k ln 2, the factor scaled because k() is.
constexpr float ln2 = 0x1.62e43p-1f * 0x1p-23f;
constexpr float ln2_hi = 0.693145752f * 0x1p-23f, ln2_lo = 1.42860677e-06f * 0x1p-23f;  // k ln2_hi is exact

// LA: degree 8, with a part of the linear term that is small.
struct single_la {
  static vec<float> ln(const log_split& x) {
    const vec<float> f = x.f;
    const vec<float> p = horner(f, -1.31050641e-07f, -0.499999195f, 0.3333745f, -0.250092834f, 0.198086455f,
                                -0.163850516f, 0.170278147f, -0.155661374f);
    return x.k() * ln2 + (f + f * p);
  }
};

// HA: degree 10. The large terms k ln2_hi, f and -f^2 / 2 are added without loss; of the square, f_hi^2 is
// exact.
struct single_ha {
  static vec<float> ln(const log_split& x) {
    const vec<float> f = x.f, k = x.k(), large = k * ln2_hi;
    const auto [f_hi, f_lo] = split<0xFFFFF000>(f);
    const vec<float> half = 0.5f * f_hi * f_hi, rest_of_half = 0.5f * f_lo * (f + f_hi);
    const vec<float> p = horner(f, 0.33333227f, -0.24999775f, 0.200098038f, -0.166814104f, 0.140152484f,
                                -0.121689066f, 0.139404684f, -0.129731998f);
    const auto [a, a_rest] = fast_two_sum(large, f);  // |large| > |f|, or 0
    const auto [b, b_rest] = fast_two_sum(a, -half);
    return b + ((a_rest + b_rest) + ((k * ln2_lo - rest_of_half) + f * f * f * p));
  }
};

// EP: degree 5.
struct single_ep {
  static vec<float> ln(const log_split& x) {
    const vec<float> f = x.f;
    return x.k() * ln2 + horner(f, 1.00002491f, -0.499034464f, 0.331566274f, -0.278005958f, 0.231267855f) * f;
  }
};

template <level L, class M> struct single_ln : usual_kernel<fn::Ln, float, L> {
  static constexpr int block = L == ep ? 4 : 32;

  static results<float> fast(vec<float> x) { return {{M::ln(split_log(x))}, not_positive_normal<float>(x)}; }

  static int routine(const float& x, float& r) {
    return special_log(x, r, [](float denormal) { return float(natural_log(double(denormal))); });
  }
};

// ---- double

// A logarithm by rows, of a number 2^k m.
struct double_ha {
  static constexpr int bits = 9;
  static vec<double> ln(const log_row& x) { return natural_log(x); }
};

// EP: 256 rows, one part; fitted c1 r + c2 r^2.
struct double_ep {
  static constexpr int bits = 8;
  static vec<double> ln(const log_row& x) {
    const auto [rcp, hi, lo] = lookup_rows<3>(TLnD256Full, x.j);
    const vec<double> r = x.m * rcp - 1.0;
    return (x.k * TLnOf2Hi + hi) + horner(r, 1.0000009534434433, -0.50000095367674169) * r;
  }
};

template <level L, class M> struct double_ln : usual_kernel<fn::Ln, double, L> {
  static constexpr int block = 4;
  static constexpr bool screened = true;

  static results<double> fast(vec<double> x) {
    return {{M::ln(log_rows<M::bits>(x))}, not_positive_normal<double>(x)};
  }

  static int routine(const double& x, double& r) {
    return special_log(x, r, [](double denormal) {
      log_row scaled = log_rows<M::bits>(all(denormal * 0x1p60));
      scaled.k = scaled.k - 60.0;
      return M::ln(scaled)[0];
    });
  }
};

}  // namespace

TABLES_BY_LEVEL(sLn, single_ln<la, single_la>, single_ln<ha, single_ha>, single_ln<ep, single_ep>)
TABLES_BY_LEVEL(dLn, double_ln<la, double_ha>, double_ln<la, double_ha>, double_ln<ep, double_ep>)

}  // namespace zur::inline ZUR_WIDTH
