// e^x.
//
// e^x = 2^(m + j/N) e^r with N rows a binade: adding the magic constant `shift` to x N / ln 2 leaves m N + j
// in the low bits of the sum, r = x - (m N + j) ln 2 / N is small, |r| <= ln 2 / (2 N), and 2^(j/N) comes
// from a table. Without a table, N = 1.
//
// Largest errors of results, measured: see docs/accuracy.md.
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {
#include "exp_tables.inc"

// ---- single
// --------------------------------------------------------------------------------------------------

struct single_exp : usual_kernel {
  using function = fn::Exp<float>;
  using type = float;
  static constexpr float filler = 0.75f;
  static constexpr std::int32_t bound = 0x42AEAC4F;  // 87.3365402: beyond, results can be special or denormal
  static constexpr float overflow = 0x1.62e430p+6f;  // 88.7228394, the first argument of infinity

  static unsigned test(vec<float> x) { return above_abs<float>(x, bound); }

  // e^x rounded once, denormal results included: 2^f by a polynomial in double, relative error 2^-37.
  static float rounded_once(float x) {
    constexpr double shift = 0x1.8p52;
    const double y = x * 0x1.71547652b82fep0;  // 1 / ln 2
    const double s = y + shift, f = y - (s - shift);
    const double p =
        ((((((1.5403530393381609e-05 * f + 0.00015403530393381609) * f + 0.0013333558146428443) * f +
            0.0096181291076284772) *
               f +
           0.055504108664821580) *
              f +
          0.24022650695910071) *
             f +
         0.69314718055994531) *
            f +
        1.0;
    const auto bits = __builtin_bit_cast(std::int64_t, p) + (__builtin_bit_cast(std::int64_t, s) << 52);
    return static_cast<float>(__builtin_bit_cast(double, bits));
  }
};

// LA and HA: 128 rows a binade.
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
    const words s = as<words>(t), j = s & 127, scale = ((s >> 7) + (127 + raise)) << 23;
    if constexpr (L == la) {
      const vec<float> p = (0.5f * r + 1.0f) * r + 1.0f;
      return p * as<vec<float>>(scale | lookup(TExpM128, j));
    } else {
      const auto [hi, lo] = lookup(TExpS128, j);
      const vec<float> q = (lo + r) + 0.5f * r * r;
      return (q * hi + hi) * as<vec<float>>(scale);
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

// What the masked kernels share: EP and the strided twins.
struct single_masked : single_exp {
  static constexpr int block = 16;
  static constexpr float underflow = -0x1.9fe36ap+6f;  // -103.972084, the first argument of zero

  static int routine(const float& x, float& r) {
    if (x != x || x == __builtin_inff()) return r = x * x, ZUR_STATUS_OK;
    if (x == -__builtin_inff()) return r = 0, ZUR_STATUS_OK;
    if (x >= overflow) return r = fp::square(0x1.fffffep127f), ZUR_STATUS_OVERFLOW;
    if (x <= underflow) return r = fp::square(0x1p-149f), ZUR_STATUS_UNDERFLOW;
    return r = rounded_once(x), x < -87.3365402f ? ZUR_STATUS_UNDERFLOW : ZUR_STATUS_OK;
  }
};

// EP: no table, degree 3; n is added to the exponent field of the polynomial for 2^f, |f| <= 1/2.
struct single_ep : single_masked {
  static constexpr level slot = ep;

  static results<float> fast(vec<float> x) {
    constexpr float log2e = 1.44269502f, shift = 0x1.8p23f;
    const vec<float> t = x * log2e, s = t + shift, f = t - (s - shift);
    const vec<float> p = ((0.0555040054f * f + 0.242028862f) * f + 0.693178296f) * f + 1.0f;
    return {{as<vec<float>>(as<words>(p) + (as<words>(s) << 23))}, test(x)};
  }
};

// Twin at LA: no table, degree 5.
struct single_twin_la : single_masked {
  static constexpr level slot = la;

  static results<float> fast(vec<float> x) {
    constexpr float log2e = 1.44269502f, shift = 0x1.8p23f;
    constexpr float ln2_hi = 0.693145752f, ln2_lo = 1.42860677e-06f;
    const vec<float> s = x * log2e + shift, n = s - shift;
    const vec<float> r = (x - n * ln2_hi) - n * ln2_lo;
    const vec<float> p =
        ((((0.00829171948f * r + 0.0418735221f) * r + 0.166674316f) * r + 0.49999392f) * r + 0.999999881f) *
            r +
        1.0f;
    return {{as<vec<float>>(as<words>(p) + (as<words>(s) << 23))}, test(x)};
  }
};

// Twin at HA: the table of the unit-stride kernel.
struct single_twin_ha : single_masked {
  static constexpr level slot = ha;
  static results<float> fast(vec<float> x) { return {{single_table<ha>::evaluate(x, 0)}, test(x)}; }
};

// ---- double
// --------------------------------------------------------------------------------------------------

// The rows a binade, the two pieces of ln 2 / rows (multiples of hi are exact, or hi is the whole where lo is
// 0) and the polynomial for e^r - 1 of each kernel.
struct rows_128 {
  static constexpr int bits = 7;
  static constexpr double rows_log2e = 184.66496523378731;
  static constexpr auto& fractions = TExpM128D;
};
struct double_la : rows_128 {
  static constexpr double ln2_hi = 0.0054152123466337798, ln2_lo = 1.4907929134926466e-12;
  static vec<double> polynomial(vec<double> r) {
    return ((0.041666679394326736 * r + 0.16666671248624326) * r + 0.49999999999998135) * r * r + r;
  }
};
struct double_ep : rows_128 {
  static constexpr double ln2_hi = 0.0054152123481245725, ln2_lo = 0;
  static vec<double> polynomial(vec<double> r) { return 0.5 * r * r + r; }
};
struct double_twin_ep : double_ep {
  static vec<double> polynomial(vec<double> r) { return 0.49999908361121337 * r * r + r; }
};
struct double_twin_la {
  static constexpr int bits = 10;
  static constexpr double rows_log2e = 1477.3197218702985;
  static constexpr double ln2_hi = 0x1.62e42ffp-11, ln2_lo = -0x1.718432a1b0e26p-45;
  static constexpr auto& fractions = TExpM1024D;
  static vec<double> polynomial(vec<double> r) {
    return (0.16666666666666666 * r + 0.50000000357965391) * r * r + r;
  }
};
struct double_ha {
  static constexpr int bits = 6;
  static constexpr double rows_log2e = 92.332482616893657;
  static constexpr double ln2_hi = 0x1.62e42fefap-7, ln2_lo = 0x1.cf79abc9e3b3ap-46;
  static vec<double> polynomial(vec<double> r) {
    return r + r * r *
                   (((0.008333343728805863 * r + 0.04166672515731616) * r + 0.16666666666653376) * r +
                    0.49999999999945266);
  }
};

template <level L, class D> struct double_exp : usual_kernel {
  using function = fn::Exp<double>;
  using type = double;
  static constexpr level slot = L;
  static constexpr int block = 4;
  static constexpr bool screened = true;
  static constexpr double filler = 0.75;
  static constexpr std::int32_t bound =
      0x4086232A;  // upper word of 708.396: the last results that are normal
  static constexpr double overflow = 709.7827128933841;  // the first argument of infinity

  // 2^raise e^x.
  static vec<double> evaluate(vec<double> x, int raise) {
    constexpr double shift = 0x1.8p52;
    constexpr int rows = 1 << D::bits;
    const vec<double> t = x * D::rows_log2e + shift, n = t - shift;
    vec<double> r = x - n * D::ln2_hi;
    if constexpr (D::ln2_lo != 0) r = r - n * D::ln2_lo;
    const auto s = as<ints<double>>(t), j = s & (rows - 1);
    const auto scale = ((s + ((1023 + raise) << D::bits)) << (52 - D::bits)) & 0x7FF0000000000000;
    const vec<double> p = D::polynomial(r);
    if constexpr (requires { D::fractions; }) {
      const auto e = as<vec<double>>(scale | lookup(D::fractions, j));
      return e + e * p;
    } else {
      const auto [hi, lo] = lookup(TExpD64, j);
      return ((p * (hi + lo) + lo) + hi) * as<vec<double>>(scale);
    }
  }

  static results<double> fast(vec<double> x) { return {{evaluate(x, 0)}, above_abs<double>(x, bound)}; }

  static int routine(const double& x, double& r) {
    if (x != x || x == __builtin_inf()) return r = x + x, ZUR_STATUS_OK;
    if (x == -__builtin_inf()) return r = 0, ZUR_STATUS_OK;
    if (x <= -745.1332191019412) return r = fp::square(0x1p-1022), ZUR_STATUS_UNDERFLOW;
    if (x < -708.3964185322641) return r = evaluate(all(x), 1022)[0] * 0x1p-1022, ZUR_STATUS_UNDERFLOW;
    if (x >= overflow) return r = fp::square(0x1p1023), ZUR_STATUS_OVERFLOW;
    if (x >= 709.78000528721) return r = 2 * evaluate(all(x), -1)[0], ZUR_STATUS_OK;
    return r = evaluate(all(x), 0)[0], ZUR_STATUS_OK;
  }
};

// The strided twins: masked blocks, and no routine for infinite and zero results where nothing is reported.
template <level L, class D> struct double_masked : double_exp<L, D> {
  static constexpr int block = 8;
  static constexpr bool screened = false;
  static constexpr double underflow = -745.1332191019412;  // the first argument of zero
};

}  // namespace

TABLE(sExp) = {kernel<single_table<la>>, kernel<single_table<ha>>, kernel<single_ep>};
TABLE(sExpI) = {twin<single_twin_la>, twin<single_twin_ha>, twin<single_ep>};
TABLE(dExp) = {kernel<double_exp<la, double_la>>, kernel<double_exp<ha, double_ha>>,
               kernel<double_exp<ep, double_ep>>};
TABLE(dExpI) = {twin<double_masked<la, double_twin_la>>, twin<double_masked<ha, double_ha>>,
                twin<double_masked<ep, double_twin_ep>>};

}  // namespace zur::inline ZUR_WIDTH
