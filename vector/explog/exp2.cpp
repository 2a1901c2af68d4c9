// 2^x.
//
// Adding `shift` rounds x to a multiple of 1/64 and leaves that, as m + j/64, in the low bits of the sum; the
// rest f, |f| <= 1/128, is exact; 2^x = 2^(m + j/64) (1 + (2^f - 1)). One kernel serves all levels. Largest
// errors in ulp, measured (docs/accuracy.md): single 0.62, double 0.53, among denormal results 0.76.
#include "vector/explog/exp_parts.h"
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {
#include "exp_tables.inc"

// Polynomials for 2^f - 1 of tools/fit_exp.cpp, forms 11 and 12.

struct single_exp2 : usual_kernel<fn::Exp2, float> {
  static constexpr int block = 4;

  static results<float> fast(vec<float> x) {
    constexpr float shift = 0x1.8p17f;
    const vec<float> t = x + shift, f = x - (t - shift);
    const vec<float> q = horner(f, 0.693149745f, 0.240229011f) * f;
    return {{scaled_row(TExp2S64, as<pattern<float>>(t), q)}, above_abs<float>(x, 0x42FC0000)};  // 126
  }

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inff()) return r = 0, ZUR_STATUS_OK;
    if (x >= 128) return r = fp::square(0x1p127f), ZUR_STATUS_OVERFLOW;
    if (x <= -150) return r = fp::square(0x1p-126f), ZUR_STATUS_UNDERFLOW;
    return r = exp2_to_single(x), x < -126 ? ZUR_STATUS_UNDERFLOW : ZUR_STATUS_OK;
  }
};

struct double_exp2 : usual_kernel<fn::Exp2, double> {
  static constexpr int block = 4;

  static vec<double> evaluate(vec<double> x) {
    constexpr double shift = 0x1.8p46;
    const vec<double> t = x + shift, f = x - (t - shift);
    const vec<double> q = horner2(f, f * f, 0.69314718055994529, 0.24022650695885564, 0.055504108665817072,
                                  0.0096181421582415723, 0.0013333464066127493) *
                          f;
    return scaled_row(TExp2D64, as<pattern<double>>(t), q);
  }

  static results<double> fast(vec<double> x) {
    return {{evaluate(x)}, above_abs<double>(x, 0x408FEFFF)};  // the upper word just below that of 1022
  }

  static int routine(const double& x, double& r) {
    if (x != x || x == __builtin_inf()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inf()) return r = 0, ZUR_STATUS_OK;
    if (x >= 1024) return r = fp::square(0x1p1023), ZUR_STATUS_OVERFLOW;
    if (x <= -1075) return r = fp::square(0x1p-1022), ZUR_STATUS_UNDERFLOW;
    if (x < -1022) return r = evaluate(all(x + 512))[0] * 0x1p-512, ZUR_STATUS_UNDERFLOW;  // the sum is exact
    return r = evaluate(all(x))[0], ZUR_STATUS_OK;
  }
};

}  // namespace

TABLES_BY_LEVEL(sExp2, single_exp2, single_exp2, single_exp2)
TABLES_BY_LEVEL(dExp2, double_exp2, double_exp2, double_exp2)

}  // namespace zur::inline ZUR_WIDTH
