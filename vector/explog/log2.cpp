// log2 x.
//
// Single at LA and EP: x = 2^k (1 + f), 1 + f in [2/3, 4/3), and a polynomial in f. All others by a table of
// reciprocals, told in reciprocal_log.h. Powers of two give whole numbers at every level. Largest errors in
// ulp, measured (docs/accuracy.md):
//
//            LA     HA     EP
//   single   2.25   0.51   2^-14.4 relative
//   double   1.32   0.51   2^-39.5 relative
//
// Coefficients are those of tools/fit_log2.cpp.
#include "vector/explog/reciprocal_log.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// ---- single

template <level L>
struct single_log2 : usual_kernel<fn::Log2, float, L>, scaled_log<single_log2<L>, float, 27> {
  static constexpr int block = L == ha ? 16 : 4;

  struct precise {
    using type = float;
    static constexpr float log2_hi = 1, log2_lo = 0;
    static constexpr float head = 1.4375f;
    static vec<float> rest(vec<float> r) {
      return r * horner(r, 0.00519504072f, -0.721347511f, 0.480917513f, -0.360834509f);
    }
  };

  // log2 x, less `raised`.
  template <int raised> static vec<float> log(vec<float> x) {
    if constexpr (L == ha) {
      const auto s = split_reciprocal<7, float, raised>(x);
      const auto [hi, lo] = lookup_rows<2>(TLog2SC7, s.row);
      return precise_log<precise>(s.k, hi, lo, reduced(s.v, s.c));
    } else {
      const log_split s = split_log(x);
      const vec<float> f = s.f;
      vec<float> k = s.k() * 0x1p-23f;
      if constexpr (raised != 0) k = k - float(raised);
      if constexpr (L == la) {
        const vec<float> square = f * f;  // two shorter chains
        const vec<float> odd =
            horner(square, 2.61714508e-08f, 0.48089534f, 0.288744837f, 0.201251492f, 0.205494419f);
        const vec<float> even = horner(square, -0.721346498f, -0.360793352f, -0.236708865f, -0.222656339f);
        return k + (f * 1.44269502f + f * (odd + f * even));
      }
      return k + f * horner(f, 1.44272506f, -0.720117509f, 0.478588581f, -0.399396241f, 0.331972718f);
    }
  }
};

// ---- double

template <level L>
struct double_log2 : usual_kernel<fn::Log2, double, L>, scaled_log<double_log2<L>, double, 60> {
  static constexpr int block = L == ha ? 8 : 4;

  struct precise {
    using type = double;
    static constexpr double log2_hi = 1, log2_lo = 0;
    static constexpr double head = 1.44140625;
    static vec<double> rest(vec<double> r) {
      return r * horner(r, 0.0012887908889634083, -0.72134752044448169, 0.48089834695971806,
                        -0.36067376022355024, 0.28854065825527908, -0.24045023413224112);
    }
  };

  // log2 x, less `raised`.
  template <int raised> static vec<double> log(vec<double> x) {
    if constexpr (L == ha) {
      const auto s = split_reciprocal<9, double, raised>(x);
      const auto [hi, lo] = lookup_rows<2>(TLog2DC9, s.row);
      return precise_log<precise>(s.k, hi, lo, reduced(s.v, s.c));
    } else {
      const auto s = split_reciprocal<10, double, raised>(x);
      if constexpr (L == la) {
        const vec<double> r = reduced(s.v, s.c);
        const auto [hi, lo] = lookup_rows<2>(TLog2DC10, s.row);
        const vec<double> square = r * r;
        const vec<double> p = horner(r, -0.72134752044426387, 0.48089834699176875) +
                              square * horner(r, -0.36067428471857427, 0.28852966372031474);
        return (s.k + hi) + (r * 1.4426950408889634 + (lo + square * p));
      } else {
        const vec<double> r = s.v * s.c - 1.0, hi = lookup<double>(TLog2DC10[0], 2 * s.row);
        return (s.k + hi) + r * horner(r, 1.4426950408885748, -0.72134805917898948, 0.48089908273512799);
      }
    }
  }
};

}  // namespace

TABLES_BY_LEVEL(sLog2, single_log2<la>, single_log2<ha>, single_log2<ep>)
TABLES_BY_LEVEL(dLog2, double_log2<la>, double_log2<ha>, double_log2<ep>)

}  // namespace zur::inline ZUR_WIDTH
