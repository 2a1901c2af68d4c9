// ln(1 + x).
//
// 1 + x is a rounded sum and its error, u + low: ln(1 + x) = k ln 2 + ln(m + low 2^-k), u = 2^k m. Near 0 the
// low part joins the reduced argument without loss, so that it is x again. Single at LA and EP: a polynomial,
// as in Ln. Double at HA: rows, as in Ln. All others: a table of reciprocals, as told in reciprocal_log.h.
// Largest errors in ulp, measured (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   1.82   0.58   as LA
//   double   1.41   0.64   2^-31.6 relative
//
// Coefficients are those of tools/fit_log.cpp.
#include "vector/explog/reciprocal_log.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// 1 + x. From 2^24 (2^53) on low may be off by 1, which is nothing beside the result.
template <class T> struct one_plus {
  vec<T> u, low;
  explicit one_plus(vec<T> x) : u(T(1) + x), low(x - (u - T(1))) {}

  // low c 2^-(k + p), u = 2^k m with m in [1, 2): what low adds to the reduced argument c 2^-p m - 1.
  template <int p> vec<T> times(vec<T> c) const {
    using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr bits exponent = sizeof(T) == 4 ? 0x7F800000 : 0x7FF0000000000000, step = exponent & -exponent;
    constexpr bits top = sizeof(T) == 4 ? 2 * 127 - p : 2 * 1023 - p;
    return low * (c * as<vec<T>>(top * step - (as<pattern<T>>(u) & exponent)));
  }
};

template <class T, level L> struct log1p_kernel : usual_kernel<fn::Log1p, T, L> {
  // In the last p + 1 binades 2^-(k + p) is no normal number.
  template <int p = 0> static flags<T> test(const one_plus<T>& x) {
    return not_positive_normal<T, p + 1>(x.u);
  }

  static int routine(const T& x, T& r) {
    return special_log(x + 1, r, [](T large) { return T(natural_log(double(large))); });
  }
};

// ---- single

// LA and EP: degree 9.
struct single_la : log1p_kernel<float, la> {
  static constexpr int block = 16;

  static results<float> fast(vec<float> x) {
    const one_plus<float> sum(x);
    const log_split s = split_log(sum.u);
    const vec<float> f = s.f + sum.low * as<vec<float>>(0x3F800000u - s.e);
    const vec<float> p = horner(f, -0.499999493f, 0.333332241f, -0.250070035f, 0.200103343f, -0.164295033f,
                                0.13998279f, -0.153225183f, 0.140558183f);
    return {{s.k() * (0x1.62e43p-1f * 0x1p-23f) + (f + f * f * p)}, test(sum)};
  }
};

// HA: c up to 2^8; degree 3.
struct single_ha : log1p_kernel<float, ha> {
  static constexpr int block = 8;

  static results<float> fast(vec<float> x) {
    const one_plus<float> sum(x);
    const auto s = split_reciprocal<8, float>(sum.u);
    const auto [hi, lo] = lookup_rows<2>(TLnSC8, s.row);
    const vec<float> low = sum.times<8>(s.c), r = reduced(s.v, s.c), t = r + low;
    const auto [a, lost] = fast_two_sum(s.k * TLnSC8[0][0] + hi, t);
    const vec<float> rest = lost + ((r - t) + low);
    const vec<float> small = s.k * TLnSC8[0][1] + lo;
    return {{a + ((rest + small) + t * t * horner(t, -0.500003457f, 0.333336443f))}, test<8>(sum)};
  }
};

// ---- double

// LA: c up to 2^10; degree 5. EP: degree 3, the low parts of the logarithms left out.
template <level L> struct double_reciprocal : log1p_kernel<double, L> {
  static constexpr int block = L == la ? 8 : 4;

  static results<double> fast(vec<double> x) {
    const one_plus<double> sum(x);
    const auto s = split_reciprocal<10, double>(sum.u);
    return {{logarithm(s, sum.times<10>(s.c))}, log1p_kernel<double, L>::template test<10>(sum)};
  }

  static vec<double> logarithm(const reciprocal_split<double>& s, vec<double> low) {
    if constexpr (L == la) {
      const auto [hi, lo] = lookup_rows<2>(TLnDC10, s.row);
      const vec<double> r = reduced(s.v, s.c), t = r + low, square = t * t;
      const vec<double> p = (0.33333333333312554 * t - 0.49999999999982703) +
                            (0.20000036488113182 * t - 0.25000037967242711) * square;
      const vec<double> large = s.k * TLnDC10[0][0] + hi, small = (s.k * TLnDC10[0][1] + lo) + low;
      return large + (r + (small + square * p));
    } else {
      const vec<double> large = s.k * TLnDC10[0][0] + lookup<double>(TLnDC10[0], 2 * s.row);
      const vec<double> r = (s.v * s.c - 1.0) + low;
      return large + (r + r * r * horner(r, -0.50000034169603658, 0.33333364086903206));
    }
  }
};

struct double_twin_ha : log1p_kernel<double, ha> {
  static constexpr int block = 8;

  static results<double> fast(vec<double> x) {
    const one_plus<double> sum(x);
    const log_row row = log_rows<9>(sum.u);
    return {{natural_log(row, sum.low * as<vec<double>>(0x7FE0000000000000 - row.e))}, test(sum)};
  }
};

// Denormals stay the caller's. In another rounding than to nearest what 1 + x loses is no number of the type.
struct double_ha : double_twin_ha {
  using environment = mask_only_environment<true>;
  static constexpr int block = 4;
};

}  // namespace

TABLES_BY_LEVEL(sLog1p, single_la, single_ha, single_la)
TABLE(dLog1p) = {kernel<double_reciprocal<la>>, kernel<double_ha>, kernel<double_reciprocal<ep>>};
TABLE(dLog1pI) = {twin<double_reciprocal<la>>, twin<double_twin_ha>, twin<double_reciprocal<ep>>};

}  // namespace zur::inline ZUR_WIDTH
