// 10^x.
//
// Adding `shift` to x 128 log2(10) rounds it to the integer n = 128 m + j and leaves that in the low bits of
// the sum; r = x - n log10(2) / 128, |r| <= log10(2) / 256; 10^x = 2^(m + j/128) (1 + (10^r - 1)). One kernel
// serves all levels. Largest errors in ulp, measured (docs/accuracy.md): single 0.56, double 0.52, among denormal
// results 0.75.
#include "vector/explog/exp_parts.h"
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {
#include "exp_tables.inc"

// log10(2) / 128 stands in two pieces, of which multiples of the first are exact. Polynomials for 10^r - 1 of
// tools/fit_exp.cpp, forms 13 and 14.

struct single_exp10 : usual_kernel<fn::Exp10, float> {
  static constexpr int block = 8;

  static results<float> fast(vec<float> x) {
    constexpr float shift = 0x1.8p23f, rows_log2_10 = 425.206787f;
    constexpr float log10_2_hi = 0.00235366821f, log10_2_lo = -1.87137175e-06f;
    const vec<float> t = x * rows_log2_10 + shift, n = t - shift;
    const vec<float> r = (x - n * log10_2_hi) - n * log10_2_lo;
    const vec<float> q = horner(r, 2.30258727f, 2.65095615f) * r;
    return {{scaled_row(TExp10S128, as<pattern<float>>(t), q)},
            above_abs<float>(x, 0x4217B818)};  // 37.9297791
  }

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inff()) return r = 0, ZUR_STATUS_OK;
    if (x >= 38.5318413f) return r = fp::square(0x1p127f), ZUR_STATUS_OVERFLOW;
    if (x < -45.154499f) return r = fp::square(0x1p-126f), ZUR_STATUS_UNDERFLOW;
    return r = exp2_to_single(x * 3.3219280948873622),
           x <= -37.9297829f ? ZUR_STATUS_UNDERFLOW : ZUR_STATUS_OK;
  }
};

struct double_exp10 : usual_kernel<fn::Exp10, double> {
  static constexpr int block = 4;

  // 2^raise 10^x.
  static vec<double> evaluate(vec<double> x, int raise) {
    constexpr double shift = 0x1.8p52, rows_log2_10 = 425.20679614558236;
    constexpr double log10_2_hi = 0.0023517968411397305, log10_2_lo = -1.4877444114972089e-14;
    const vec<double> t = x * rows_log2_10 + shift, n = t - shift;
    const vec<double> r = (x - n * log10_2_hi) - n * log10_2_lo;
    const vec<double> q = horner2(r, r * r, 2.3025850929940459, 2.6509490552391521, 2.0346785918315344,
                                  1.1712554373034769, 0.53960349292736554) *
                          r;
    return scaled_row(TExp10D128, as<pattern<double>>(t), q, raise);
  }

  static results<double> fast(vec<double> x) {
    return {{evaluate(x, 0)}, above_abs<double>(x, 0x40733A70)};  // upper word of 307.6525
  }

  static int routine(const double& x, double& r) {
    if (x != x || x == __builtin_inf()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inf()) return r = 0, ZUR_STATUS_OK;
    if (x > 308.2547155599167) return r = fp::square(0x1p1023), ZUR_STATUS_OVERFLOW;
    if (x < -323.60724533877976) return r = fp::square(0x1p-1022), ZUR_STATUS_UNDERFLOW;
    if (x < -307.6526555685887) return r = evaluate(all(x), 512)[0] * 0x1p-512, ZUR_STATUS_UNDERFLOW;
    return r = evaluate(all(x), 0)[0], ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sExp10, single_exp10, single_exp10, single_exp10)
TABLES_BY_LEVEL(dExp10, double_exp10, double_exp10, double_exp10)

}  // namespace zur::inline ZUR_WIDTH
