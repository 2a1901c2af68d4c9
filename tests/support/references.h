// What each function is measured against and where one looks: a row for every root.
//
//   precise   the function in MPFR: results of double kernels, and the worst results of single ones
//   quick     the function in double, its error below 1 ulp: results of single kernels
//   single, full  where single and double results are ordinary: arguments are drawn evenly from there,
//             and the mean error is the mean over these
//   grid      multiples of it are visited: half the distance of table rows, so that boundaries between rows
//             and the rows themselves are among them; 0 for none
//   points    thresholds and hard cases; the arguments beside them are visited one by one and, farther off,
//             at distances of every magnitude
//   floor     relative errors are measured to at least this, for a function with zeros away from the origin
//   second    the second result, where there are two
#pragma once
#include <mpfr.h>

#include <cmath>
#include <type_traits>
#include <vector>

namespace arko::test {

struct interval {
  double low, high;
};

struct reference {
  int (*precise)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
  double (*quick)(double);
  interval single, full;
  double grid = 0;
  std::vector<double> points;
  double floor = 0;
  struct {
    int (*precise)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double (*quick)(double);
  } second = {};
};

// A function of two arguments, or of the parts of a complex one. They are drawn from an interval each; the points are visited in pairs.
struct pair_reference {
  int (*precise)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
  double (*quick)(double, double);
  interval single[2], full[2];
  std::vector<double> points;
  double floor = 0;
};

template <int inputs> using reference_of = std::conditional_t<inputs == 1, reference, pair_reference>;

namespace references {

inline const reference Abs{
    .precise = mpfr_abs,
    .quick = std::fabs,
    .single = {-1e3, 1e3},
    .full = {-1e3, 1e3},
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 1, -1, 0x1.fffffep127, 0x1.fffffffffffffp1023},
};

// ---- Arithmetic, rounding and comparison: results without error, or correctly rounded

// Where numbers begin and end, and where they become whole, whole and even, and halves.
inline const std::vector<double> number_points = {0,
                                                  0x1p-1074,
                                                  0x1p-1022,
                                                  0x1p-149,
                                                  0x1p-126,
                                                  0.5,
                                                  1,
                                                  -1,
                                                  1.5,
                                                  -2.5,
                                                  3,
                                                  0x1p22,
                                                  -0x1p23,
                                                  0x1p24,
                                                  0x1p51,
                                                  -0x1p52,
                                                  0x1p53,
                                                  0x1.fffffep127,
                                                  0x1.fffffffffffffp1023,
                                                  -HUGE_VAL};
inline constexpr interval thousands = {-1e3, 1e3};

#define REFERENCE(root, in_mpfr, in_double)                                                                 \
  inline const reference root {                                                                             \
    .precise = in_mpfr, .quick = in_double, .single = thousands, .full = thousands, .points = number_points \
  }
REFERENCE(Sqr, mpfr_sqr, [](double x) { return x * x; });
REFERENCE(Ceil, mpfr_rint_ceil, std::ceil);
REFERENCE(Floor, mpfr_rint_floor, std::floor);
REFERENCE(Round, mpfr_rint_round, std::round);
REFERENCE(Rint, mpfr_rint, std::rint);
REFERENCE(NearbyInt, mpfr_rint, std::rint);
REFERENCE(Trunc, mpfr_rint_trunc, std::trunc);
REFERENCE(Frac, mpfr_frac, [](double x) { return std::isinf(x) ? 0 : x - std::trunc(x); });
#undef REFERENCE

inline const reference Modf{
    .precise = mpfr_rint_trunc,
    .quick = std::trunc,
    .single = thousands,
    .full = thousands,
    .points = number_points,
    .second = {Frac.precise, Frac.quick},
};

// The one of greater magnitude, or of the lesser; the greater number, or the lesser, of two of like magnitude.
template <bool greater> int by_magnitude(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rounding) {
  const auto extreme = greater ? mpfr_max : mpfr_min;
  if (mpfr_nan_p(x) || mpfr_nan_p(y)) return extreme(r, x, y, rounding);
  const int order = greater ? mpfr_cmpabs(x, y) : mpfr_cmpabs(y, x);
  return order ? mpfr_set(r, order > 0 ? x : y, rounding) : extreme(r, x, y, rounding);
}
template <bool greater> double by_magnitude(double x, double y) {
  const double ax = greater ? std::fabs(x) : std::fabs(y), ay = greater ? std::fabs(y) : std::fabs(x);
  return ax > ay || y != y ? x : ay > ax || x != x ? y : greater ? std::fmax(x, y) : std::fmin(x, y);
}

#define REFERENCE(root, in_mpfr, ...)                                           \
  inline const pair_reference root {                                            \
    .precise = in_mpfr, .quick = __VA_ARGS__, .single = {thousands, thousands}, \
    .full = {thousands, thousands}, .points = number_points                     \
  }
REFERENCE(Add, mpfr_add, [](double x, double y) { return x + y; });
REFERENCE(Sub, mpfr_sub, [](double x, double y) { return x - y; });
REFERENCE(Mul, mpfr_mul, [](double x, double y) { return x * y; });
REFERENCE(Div, mpfr_div, [](double x, double y) { return x / y; });
REFERENCE(Fmax, mpfr_max, std::fmax);
REFERENCE(Fmin, mpfr_min, std::fmin);
REFERENCE(MaxMag, by_magnitude<true>, by_magnitude<true>);
REFERENCE(MinMag, by_magnitude<false>, by_magnitude<false>);
REFERENCE(Fdim, mpfr_dim, std::fdim);
REFERENCE(Fmod, mpfr_fmod, std::fmod);
REFERENCE(Remainder, mpfr_remainder, std::remainder);
REFERENCE(CopySign, nullptr, nullptr);  // these two go by patterns: no error to measure
REFERENCE(NextAfter, nullptr, nullptr);
#undef REFERENCE

// ---- Exponentials and logarithms

// The finest table has 1024 rows a binade. The points: zero and one, where single and double results leave
// the normal numbers, where the last table rows scale beyond them (64 and 128 rows), where results become
// infinite and zero, and three arguments whose e^x all but is a double.
inline const reference Exp{
    .precise = mpfr_exp,
    .quick = std::exp,
    .single = {-104, 88.8},
    .full = {-745.2, 709.8},
    .grid = 0x1.62e42fefa39efp-1 / 2048,
    .points = {0, 0x1p-126, 1, -1, 87.3365, -87.3365, 88.7228, -103.27894, -103.972084, 708.396, -708.396,
               -708.39641853, 709.77729770, 709.78000528721, 709.7827128933841, -745.1332191019412,
               0x1.83d4bcdebb3f4p+2, -0x1.22e24fa3d5cf9p-1, 0x1.273c188aa7b14p+2},
};

// Rows are 1/64 apart. The points: zero and one, the bounds of the fast path, where results leave the normal
// numbers, become infinite and zero, and an argument in the middle between rows.
inline const reference Exp2{
    .precise = mpfr_exp2,
    .quick = std::exp2,
    .single = {-150, 128},
    .full = {-1075, 1024},
    .grid = 0x1p-7,
    .points = {0, 0x1p-126, 1, -1, 126, -126, 128, -149, -150, 1022, -1022, 1023, 1024, -1074, -1075},
};

// Rows are log10(2) / 128 apart. The points as above, and three powers that are exact.
inline const reference Exp10{
    .precise = mpfr_exp10,
    .quick = [](double x) { return std::pow(10.0, x); },
    .single = {-45.2, 38.6},
    .full = {-323.7, 308.3},
    .grid = 0x1.34413509f79ffp-2 / 256,
    .points = {0, 0x1p-126, 1, -1, 2, 10, 22, 37.9297791, -37.9297829, 38.5318413, -45.154499, 307.6525,
               -307.6526555685887, 308.2547155599167, -323.60724533877976},
};

// Rows are ln 2 / 64 and ln 2 / 128 apart; the first few from zero are where the relative error is hardest.
// From -16.6, -36.7 down results round to -1; from 16.6, 36.7 up the 1 falls below the last place.
inline const reference Expm1{
    .precise = mpfr_expm1,
    .quick = std::expm1,
    .single = {-20, 88.8},
    .full = {-40, 709.8},
    .grid = 0x1.62e42fefa39efp-1 / 256,
    .points = {0,
               0x1p-126,
               0x1p-24,
               -0x1p-24,
               0x1p-53,
               -0x1p-53,
               0x1.62e42fefa39efp-9,
               -0x1.62e42fefa39efp-9,
               0x1.62e42fefa39efp-8,
               -0x1.62e42fefa39efp-8,
               0x1.8a2p-8,
               -0x1.8a2p-8,
               0.25,
               -0.25,
               0.6931472,
               -0.6931472,
               1,
               -1,
               -16.6355,
               -17.32868,
               16.6355,
               17.32868,
               86.6433945,
               -86.6433945,
               88.7228317,
               -36.7368,
               -37.42995,
               36.7368,
               37.42995,
               707.7032713,
               709.7827128933841},
};

// Rows begin at odd multiples of 2^-10 (2^-11 below one). The points: one and its neighbouring rows, the
// bounds of the reduction (2/3 and 4/3; 3/4 and 3/2 less half a row), and where normal numbers begin and end.
inline const reference Ln{
    .precise = mpfr_log,
    .quick = std::log,
    .single = {0, 10},
    .full = {0, 10},
    .grid = 0x1p-11,
    .points = {0, 1, 0x1.ff8p-1, 0x1.ffcp-1, 0x1.004p0, 0x1.00cp0, 0x1.555556p-1, 0x1.555556p0, 0x1.7fcp-1,
               0x1.7fcp0, 0x1.7f8p-1, 0x1.7f8p0, 2, 0x1p-149, 0x1p-126, 0x1.fffffep127, 0x1p-1074, 0x1p-1022,
               0x1.fffffffffffffp1023},
    .floor = 0.25,
};

// The rows of the finest table of reciprocals are 1/1024 apart in 1/x; the points are where the range
// reductions and the tables wrap round, and where log2 x is all but a double.
inline const reference Log2{
    .precise = mpfr_log2,
    .quick = std::log2,
    .single = {0.5, 8},
    .full = {0.5, 8},
    .grid = 0x1p-11,
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 0x1.555556p-1, 0.75, 1, 0x1.6a09e667f3bcdp0, 1.5,
               2, 8, 0x1.fffffep127, 0x1.fffffffffffffp1023},
    .floor = 0.25,
};

// As for Ln, and powers of ten and the worst that was found.
inline const reference Log10{
    .precise = mpfr_log10,
    .quick = std::log10,
    .single = {0, 10},
    .full = {0, 10},
    .grid = 0x1p-11,
    .points = {0,
               0x1.0024d99398a57p0,
               1,
               0x1.ff8p-1,
               0x1.ffcp-1,
               0x1.004p0,
               0x1.008p0,
               0x1.00cp0,
               0x1.018p0,
               0x1.555556p-1,
               0x1.555556p0,
               0x1.7fcp-1,
               0x1.7fcp0,
               0x1.7f8p-1,
               0x1.7f8p0,
               10,
               1000,
               1e22,
               0x1p-149,
               0x1p-126,
               0x1.fffffep127,
               0x1p-1074,
               0x1p-1022,
               0x1.fffffffffffffp1023},
    .floor = 0.25,
};

inline int floor_log2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
  if (!mpfr_regular_p(x)) return mpfr_abs(r, x, rounding), mpfr_zero_p(x) ? mpfr_log(r, r, rounding) : 0;
  return mpfr_set_si(r, mpfr_get_exp(x) - 1, rounding);
}

inline const reference Logb{
    .precise = floor_log2,
    .quick = std::logb,
    .single = {-1e3, 1e3},
    .full = {-1e3, 1e3},
    .points = {0, 0x1p-1074, 0x1p-1073, 0x1p-1022, 0x1p-149, 0x1p-126, 0.5, 1, -1, 2, 0x1.fffffep127,
               0x1.fffffffffffffp1023},
};

// Rows and reductions are those of 1 + x. The points: where 1 + x begins to round to 1, and its ends.
inline const reference Log1p{
    .precise = mpfr_log1p,
    .quick = std::log1p,
    .single = {-1, 10},
    .full = {-1, 10},
    .grid = 0x1p-11,
    .points = {0,        -1,      0x1p-24,  -0x1p-25,       0x1p-53,       -0x1p-54,  0x1p-11,
               -0x1p-12, 0x1p-8,  -0x1p-9,  -0x1.555554p-2, 0x1.555556p-2, 1,         0x1p24,
               0x1p53,   0x1p127, 0x1p1023, 0x1.fffffep127, 0x1p-149,      0x1p-1074, 0x1.fffffffffffffp1023},
};

// Roots. Their arithmetic is the same in all binades but the last ones of either end; the points are those ends, the
// bounds of their fast paths, powers and the numbers beside them.
inline const reference Inv{
    .precise = [](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) { return mpfr_ui_div(r, 1, x, rounding); },
    .quick = [](double x) { return 1 / x; },
    .single = {-1e3, 1e3},
    .full = {-1e3, 1e3},
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 1, -3, 0x1p126, 0x1.fffffep127, 0x1p1022,
               0x1.fffffffffffffp1023},
};

inline const reference Sqrt{
    .precise = mpfr_sqrt,
    .quick = std::sqrt,
    .single = {0, 1e3},
    .full = {0, 1e3},
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-960, 0x1p-149, 0x1p-126, 1, 2, 4, 9, 0x1.fffffep127,
               0x1.fffffffffffffp1023},
};

inline const reference InvSqrt{
    .precise =
        [](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
          return mpfr_zero_p(x) ? mpfr_ui_div(r, 1, x, rounding) : mpfr_rec_sqrt(r, x, rounding);
        },
    .quick = [](double x) { return x == 0 ? 1 / x : 1 / std::sqrt(x); },
    .single = {0, 1e3},
    .full = {0, 1e3},
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-960, 0x1p-149, 0x1p-126, 1, 2, 4, 9, 0x1p126, 0x1.ffe002p127,
               0x1.fffffep127, 0x1.fffffffffffffp1023},
};

// With tables: rows begin at multiples of 1/128 and more in the three binades of their numbers.
inline const reference Cbrt{
    .precise = mpfr_cbrt,
    .quick = std::cbrt,
    .single = {0.5, 8},
    .full = {0.5, 8},
    .grid = 0x1p-7,
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 1, 8, -27, 0x1.fffffep127,
               0x1.fffffffffffffp1023},
};

inline const reference InvCbrt{
    .precise =
        [](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
          mpfr_cbrt(r, x, rounding);
          return mpfr_ui_div(r, 1, r, rounding);
        },
    .quick = [](double x) { return 1 / std::cbrt(x); },
    .single = {0.5, 8},
    .full = {0.5, 8},
    .grid = 0x1p-7,
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 1, 8, -27, 0x1.fffffep127,
               0x1.fffffffffffffp1023},
};

// The points: where squares, or what they lose, leave the normal numbers, and Pythagorean triples.
inline const pair_reference Hypot{
    .precise = mpfr_hypot,
    .quick = std::hypot,
    .single = {thousands, thousands},
    .full = {thousands, thousands},
    .points = {0,
               0x1p-1074,
               0x1p-1022,
               0x1p-537,
               0x1p-511,
               0x1p-480,
               0x1p-149,
               0x1p-126,
               0x1p-75,
               0x1p-63,
               0x1p-34,
               3,
               -4,
               5,
               12,
               0x1p13,
               0x1p33,
               0x1p63,
               0x1.6a09e6p63,
               0x1.6a09e6p127,
               0x1.fffffep127,
               0x1p511,
               0x1.6a09e667f3bcdp1023,
               0x1.fffffffffffffp1023,
               -HUGE_VAL},
};

// The square and the cube are exact in MPFR.
inline const reference Pow2o3{
    .precise =
        [](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
          mpfr_sqr(r, x, rounding);
          return mpfr_cbrt(r, r, rounding);
        },
    .quick = [](double x) { return std::cbrt(x * x); },
    .single = {0.5, 8},
    .full = {0.5, 8},
    .grid = 0x1p-7,
    .points = {0, 0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 1, -8, 27, 0x1.fffffep127,
               0x1.fffffffffffffp1023},
};

// The points: the bounds of the fast paths, and where results leave the normal numbers and become zero or infinite.
inline const reference Pow3o2{
    .precise =
        [](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
          mpfr_pow_ui(r, x, 3, rounding);
          return mpfr_sqrt(r, r, rounding);
        },
    .quick = [](double x) { return x * std::sqrt(x); },
    .single = {0, 1e3},
    .full = {0, 1e3},
    .points = {0, 0x1p-1074, 0x1p-716, 0x1p-682, 0x1p-640, 0x1p-149, 0x1p-100, 0x1p-84, 0x1p-83, 0x1p-67, 1,
               4, 0x1p84, 0x1.428a3p85, 0x1.965fea53d6e3cp682, 0x1.fffffep127, 0x1.fffffffffffffp1023},
};

// Of complex numbers, by their parts.
namespace complex {
inline const pair_reference &Abs = Hypot, Conj = CopySign;
}  // namespace complex

}  // namespace references
}  // namespace arko::test
