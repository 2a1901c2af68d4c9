// log10 x.
//
// Single at LA and EP: x = 2^k (1 + f), 1 + f in [2/3, 4/3), and a polynomial in f; at HA a table of reciprocals, told
// in reciprocal_log.h. Double: by table rows, see log.h. Largest errors in ulp, measured (docs/accuracy.md):
//
//            LA     HA     EP
//   single   2.48   0.51   2^-15.7 relative
//   double   1.63   0.51   as LA
//
// Coefficients are those of tools/fit_log2.cpp.
#include "vector/explog/reciprocal_log.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// ---- single

template <level L>
struct single_log10 : usual_kernel<fn::Log10, float, L>, scaled_log<single_log10<L>, float, 40> {
  static constexpr int block = L == ep ? 4 : 8;

  struct precise {
    using type = float;
    static constexpr float log2_hi = TLog10SC7[0][0], log2_lo = TLog10SC7[0][1];
    static constexpr float head = 0.43359375f;
    static vec<float> rest(vec<float> r) {
      return r * horner(r, 0.000700731878f, -0.217147246f, 0.144770011f, -0.108501308f);
    }
  };

  // log10 x, less that of 2^raised.
  template <int raised> static vec<float> log(vec<float> x) {
    if constexpr (L == ha) {
      const auto s = split_reciprocal<7, float, raised>(x);
      const auto [hi, lo] = lookup_rows<2>(TLog10SC7, s.row);
      return precise_log<precise>(s.k, hi, lo, reduced(s.v, s.c));
    } else {
      const log_split s = split_log(x);
      const vec<float> f = s.f;
      vec<float> k = s.k();
      if constexpr (raised != 0) k = k - raised * 0x1p23f;
      if constexpr (L == la) {
        constexpr float log2_hi = 0.30103302f * 0x1p-23f,
                        log2_lo = -3.02435365e-06f * 0x1p-23f;  // k log2_hi is exact
        const vec<float> square = f * f;                        // two shorter chains
        const vec<float> odd =
            horner(square, -8.02238453e-09f, 0.144763917f, 0.0869212151f, 0.0605764613f, 0.0618918948f);
        const vec<float> even = horner(square, -0.217146933f, -0.108609624f, -0.0712562427f, -0.0670286939f);
        return k * log2_hi + (f * 0.434294492f + (f * (odd + f * even) + k * log2_lo));
      }
      return k * (0.30103001f * 0x1p-23f) +
             f * horner(f, 0.434309393f, -0.216707498f, 0.143788904f, -0.120937817f, 0.10198348f);
    }
  }
};

// ---- double

template <level L>
struct double_log10 : usual_kernel<fn::Log10, double, L>, scaled_log<double_log10<L>, double, 60> {
  static constexpr int block = 4;

  struct precise {
    using type = double;
    static constexpr double log2_hi = TLog10Of2Hi, log2_lo = TLog10Of2Lo;
    static constexpr double head = 0.43359375;
    static vec<double> rest(vec<double> r) {
      return r * horner(r, 0.00070073190325182762, -0.21714724095162591, 0.14476482730121662,
                        -0.10857362048950689, 0.086858885160998586, -0.072377121923705295);
    }
  };

  // log10 x, less that of 2^raised.
  template <int raised> static vec<double> log(vec<double> x) {
    const log_row s = log_rows<9>(x);
    const auto [rcp, hi, lo] = lookup_rows<3>(TLog10D512, s.j);
    const vec<double> r = reduced(s.m, rcp);
    vec<double> k = s.k;
    if constexpr (raised != 0) k = k - double(raised);
    if constexpr (L == ha) return precise_log<precise>(k, hi, lo, r);
    const vec<double> square = r * r;
    const vec<double> p = horner(r, -0.21714724095160101, 0.14476482732042423) +
                          square * horner(r, -0.10857372971933356, 0.086852171958067326);
    return (k * TLog10Of2Hi + hi) + (r * 0.43429448190325182 + ((k * TLog10Of2Lo + lo) + square * p));
  }
};

}  // namespace

TABLES_BY_LEVEL(sLog10, single_log10<la>, single_log10<ha>, single_log10<ep>)
TABLES_BY_LEVEL(dLog10, double_log10<la>, double_log10<ha>, double_log10<la>)

}  // namespace zur::inline ZUR_WIDTH
