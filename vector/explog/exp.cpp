// e^x.
//
// With N rows a binade, e^x = 2^(m + j/N) e^r: adding `shift` to x N / ln 2 rounds it to the integer m N + j
// and leaves that in the low bits of the sum; r = x - (m N + j) ln 2 / N, |r| <= ln 2 / (2 N); 2^(j/N) comes
// from a table, where N is not 1; the exponent field takes m. Largest errors in ulp, measured
// (docs/accuracy.md):
//
//            LA     HA     EP                 LA twin   HA twin
//   single   1.27   0.54   2^-13.2 relative   2.19      0.54
//   double   1.85   0.53   2^-28.1 relative   1.92      0.53
//
// and up to 1 ulp of the smallest denormal where single LA and HA give zero early (from -103.27894 down).
// Coefficients that the comments call fitted are those of tools/fit_exp.cpp.
#include "vector/explog/exp_parts.h"
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {
#include "exp_tables.inc"

// ---- single

struct single_exp : usual_kernel<fn::Exp, float> {
  static constexpr std::int32_t bound = 0x42AEAC4F;  // 87.3365402: beyond, results may be special or denormal
  static constexpr float overflow = 88.7228394f;     // the first argument of infinity

  static flags<float> test(vec<float> x) { return above_abs<float>(x, bound); }

  static float rounded_once(float x) { return exp2_to_single(x * 1.4426950408889634); }
};

// LA and HA: 128 rows; fitted coefficients of degree 2.
template <level L> struct single_table : single_exp {
  static constexpr level slot = L;
  static constexpr int block = 8;
  static constexpr bool screened = true;

  // 2^raise e^x. Multiples of ln2_hi up to 2^14 are exact.
  static vec<float> evaluate(vec<float> x, int raise) {
    constexpr float shift = 0x1.6p23f, rows_log2e = 184.664963f;
    constexpr float ln2_hi = 0.00541687012f, ln2_lo = -1.65776908e-06f;
    const vec<float> t = x * rows_log2e + shift, n = t - shift;
    const vec<float> r = (x - n * ln2_hi) - n * ln2_lo;
    const auto s = as<pattern<float>>(t);
    const auto j = as<ints<float>>(s & 127);
    if constexpr (L == la) {
      const vec<float> e =
          as<vec<float>>((s << 16) + lookup<float>(TExpM128, j) + (static_cast<unsigned>(raise) << 23));
      return e + e * (horner(r, 1.00000095f, 0.500001311f) * r);
    } else {
      const auto [hi, lo] = lookup_rows<2>(TExpS128, j);
      const vec<float> q = r + (lo + horner(r, 9.15804549e-07f, 0.5f) * r);
      return (q * hi + hi) * as<vec<float>>(((s >> 7) + (127 + raise)) << 23);
    }
  }

  static results<float> fast(vec<float> x) { return {{evaluate(x, 0)}, test(x)}; }

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x + x, ZUR_STATUS_OK;
    if (x == -__builtin_inff()) return r = 0, ZUR_STATUS_OK;
    if (x >= overflow) return r = fp::square(0x1p127f), ZUR_STATUS_OVERFLOW;
    if (x <= -103.27894f) return r = fp::square(0x1p-126f), ZUR_STATUS_UNDERFLOW;
    if (x < 0) return r = rounded_once(x), ZUR_STATUS_UNDERFLOW;
    return r = 2 * evaluate(all(x), -1)[0], ZUR_STATUS_OK;
  }
};

// What EP and the strided twins share.
struct single_masked : single_exp {
  static constexpr int block = 16;
  static constexpr float underflow = -103.972084f;  // the first argument of zero

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inff()) return r = 0, ZUR_STATUS_OK;
    if (x >= overflow) return r = fp::square(0x1.fffffep127f), ZUR_STATUS_OVERFLOW;
    if (x <= underflow) return r = fp::square(0x1p-149f), ZUR_STATUS_UNDERFLOW;
    return r = rounded_once(x), x < -87.3365402f ? ZUR_STATUS_UNDERFLOW : ZUR_STATUS_OK;
  }
};

// EP: no table; 2^f by a fitted polynomial of degree 3, |f| <= 1/2.
struct single_ep : single_masked {
  static constexpr level slot = ep;

  static results<float> fast(vec<float> x) {
    constexpr float log2e = 1.44269502f, shift = 0x1.8p23f;
    const vec<float> t = x * log2e, s = t + shift, f = t - (s - shift);
    const vec<float> p = horner(f, 1.0f, 0.693282962f, 0.242210954f, 0.0550087541f);
    return {{as<vec<float>>(as<pattern<float>>(p) + (as<pattern<float>>(s) << 23))}, test(x)};
  }
};

// Twin at LA: no table; a fitted polynomial of degree 5.
struct single_twin_la : single_masked {
  static constexpr level slot = la;

  static results<float> fast(vec<float> x) {
    constexpr float log2e = 1.44269502f, shift = 0x1.8p23f;
    constexpr float ln2_hi = 0.693145752f, ln2_lo = 1.42860677e-06f;
    const vec<float> s = x * log2e + shift, n = s - shift;
    const vec<float> r = (x - n * ln2_hi) - n * ln2_lo;
    const vec<float> p =
        horner(r, 1.0f, 0.999999464f, 0.499991447f, 0.166681796f, 0.0418985151f, 0.00826194603f);
    return {{as<vec<float>>(as<pattern<float>>(p) + (as<pattern<float>>(s) << 23))}, test(x)};
  }
};

// Twin at HA: the table of the unit-stride kernel.
struct single_twin_ha : single_masked {
  static constexpr level slot = ha;
  static results<float> fast(vec<float> x) { return {{single_table<ha>::evaluate(x, 0)}, test(x)}; }
};

// ---- double

// Of each kernel: 2^bits rows; ln 2 / rows in two pieces, of which multiples of the first are exact, or in
// one; the table, as scales or in two parts; the fitted polynomial for e^r - 1.
struct double_128 {
  static constexpr int bits = 7;
  static constexpr double rows_log2e = 184.66496523378731;
  static constexpr auto& scales = TExpM128D;
};
struct double_la : double_128 {
  static constexpr double ln2_hi = 0.0054152123466337798, ln2_lo = 1.4907929134926466e-12;
  static vec<double> polynomial(vec<double> r) {
    return horner(r, 0.99999999999986022, 0.50000000000009248, 0.16666674300080533, 0.041666660409023462) * r;
  }
};
struct double_ha {
  static constexpr int bits = 6;
  static constexpr double rows_log2e = 92.332482616893657;
  static constexpr double ln2_hi = 0x1.62e42fefap-7, ln2_lo = 0x1.cf79abc9e3b3ap-46;
  static vec<double> polynomial(vec<double> r) {
    return r + r * r *
                   horner(r, 0.4999999999994868, 0.16666666666694219, 0.041666723323192552,
                          0.0083333281834164791);
  }
};
struct double_ep : double_128 {
  static constexpr double ln2_hi = 0.0054152123481245725, ln2_lo = 0;
  static vec<double> polynomial(vec<double> r) { return 0.5 * r * r + r; }
};
struct double_twin_la {
  static constexpr int bits = 10;
  static constexpr double rows_log2e = 1477.3197218702985;
  static constexpr double ln2_hi = 0x1.62e42ffp-11, ln2_lo = -0x1.718432a1b0e26p-45;
  static constexpr auto& scales = TExpM1024D;
  static vec<double> polynomial(vec<double> r) {
    return horner(r, 0.50000000395376398, 0.16666666680213316) * r * r + r;
  }
};
struct double_twin_ep : double_ep {
  static vec<double> polynomial(vec<double> r) { return 0.49999908361121337 * r * r + r; }
};

template <level L, class D> struct double_exp : usual_kernel<fn::Exp, double, L> {
  static constexpr int block = 4;
  static constexpr bool screened = true;
  static constexpr std::int32_t bound = 0x4086232A;      // upper word of 708.396: beyond, as in single
  static constexpr double overflow = 709.7827128933841;  // the first argument of infinity

  // 2^raise e^x.
  static vec<double> evaluate(vec<double> x, int raise) {
    constexpr double shift = 0x1.8p52;
    const vec<double> t = x * D::rows_log2e + shift, n = t - shift;
    vec<double> r = x - n * D::ln2_hi;
    if constexpr (D::ln2_lo != 0) r = r - n * D::ln2_lo;
    const auto s = as<pattern<double>>(t);
    const auto j = as<ints<double>>(s & ((1 << D::bits) - 1));
    const vec<double> p = D::polynomial(r);
    if constexpr (requires { D::scales; }) {
      const auto raised = static_cast<std::uint64_t>(raise) << 52;
      const auto e = as<vec<double>>((s << (52 - D::bits)) + lookup<double>(D::scales, j) + raised);
      return e + e * p;
    } else {
      const auto scale = ((s + ((1023 + raise) << D::bits)) << (52 - D::bits)) & 0x7FF0000000000000;
      const auto [hi, lo] = lookup_rows<2>(TExpD64, j);
      return ((p * hi + lo) + hi) * as<vec<double>>(scale);
    }
  }

  static results<double> fast(vec<double> x) { return {{evaluate(x, 0)}, above_abs<double>(x, bound)}; }

  static int routine(const double& x, double& r) {
    if (x != x || x == __builtin_inf()) return r = x + x, ZUR_STATUS_OK;
    if (x == -__builtin_inf()) return r = 0, ZUR_STATUS_OK;
    if (x <= -745.1332191019412) return r = fp::square(0x1p-1022), ZUR_STATUS_UNDERFLOW;
    if (x < -708.3964185322641) return r = evaluate(all(x), 1022)[0] * 0x1p-1022, ZUR_STATUS_UNDERFLOW;
    if (x >= overflow) return r = fp::square(0x1p1023), ZUR_STATUS_OVERFLOW;
    if (x < 0) return r = evaluate(all(x), 0)[0], ZUR_STATUS_OK;
    // 2^1024 leaves the exponent field before e^x leaves the finite numbers.
    r = 2 * evaluate(all(x), -1)[0];
    return r == __builtin_inf() ? ZUR_STATUS_OVERFLOW : ZUR_STATUS_OK;  // at EP the error may carry it there
  }
};

// The strided twins have the shortcut of the error mode NOERR.
template <level L, class D> struct double_masked : double_exp<L, D> {
  static constexpr double underflow = -745.1332191019412;  // the first argument of zero
};

}  // namespace

TABLE(sExp) = {kernel<single_table<la>>, kernel<single_table<ha>>, kernel<single_ep>};
TABLE(dExp) = {kernel<double_exp<la, double_la>>, kernel<double_exp<ha, double_ha>>,
               kernel<double_exp<ep, double_ep>>};
TABLE(sExpI) = {twin<single_twin_la>, twin<single_twin_ha>, twin<single_ep>};
TABLE(dExpI) = {twin<double_masked<la, double_twin_la>>, twin<double_masked<ha, double_ha>>,
                twin<double_masked<ep, double_twin_ep>>};

}  // namespace zur::inline ZUR_WIDTH
