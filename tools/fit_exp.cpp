// Fits the coefficients of the exponential kernels and compares them with given ones.
//
// For every form two figures are printed for the given coefficients, the unrounded and the rounded fit: the
// largest approximation error (no rounding in the evaluation) in ulp of the result, and log2 of the largest
// relative error. A result is 2^(j/rows) e^r times a power of two, and the ulp is taken in the row where it
// is smallest against the result: row 0 for r < 0, just below a power of two, or the last row, just below
// the next.
//
// Usage: fit_exp [number...], the forms of these numbers or all.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "minimax.h"
#include "real.h"

namespace {

using arko::tools::exp;
using arko::tools::exp10;
using arko::tools::exp2;
using arko::tools::expm1;
using arko::tools::exponent;
using arko::tools::ldexp;
using arko::tools::ln2;
using arko::tools::log10;
using arko::tools::log2;
using arko::tools::minimax_fitter;
using arko::tools::minimax_problem;
using arko::tools::real;
using arko::tools::round_to_bits;
using arko::tools::term;

enum class measure { ulp, relative };

struct kernel {
  int bits;                    // significand of the results: 24 or 53
  real (*power)(const real&);  // of r: e^r and so on
  int rows;                    // of the table, 1 for none
  real half;                   // |r| <= half
};

struct form {
  int number;
  const char* title;
  kernel of;
  measure fit;  // what is minimised
  std::vector<term> terms;
  std::vector<double> given;  // coefficients to compare with, one a free term, or none
  int coefficient_bits;       // 0: those of the results
};

// The largest of 2^(j/rows) / ulp(2^(j/rows) f) over the rows, f the value of the exponential at r.
real ulp_weight(const kernel& k, const real& value) {
  real largest(0);
  for (const int j : {0, k.rows - 1}) {  // the other rows lie between these two
    const real base = exp2(real(j) / k.rows);
    real w = ldexp(base, k.bits - 1 - exponent(base * value));
    if (w > largest) largest = std::move(w);
  }
  return largest;
}

// (e^r - 1) / r, where no table row stands between the approximation and the result.
real mean_slope(const real& r) { return expm1(r) / r; }

minimax_fitter make_fitter(const form& f, measure m) {
  const kernel& k = f.of;
  minimax_problem p;
  p.low = -k.half;
  p.high = k.half;
  p.terms = f.terms;
  p.jumps = {real(0)};
  p.target = [k](const real& r) { return k.power(r); };
  if (m == measure::ulp) {
    p.weight = [k](const real& r) { return ulp_weight(k, k.power(r)); };
  } else {
    p.weight = [k](const real& r) { return 1 / k.power(r); };
  }
  return minimax_fitter(std::move(p));
}

void print_set(const form& f, const char* name, const minimax_fitter& in_ulp, const minimax_fitter& relative,
               const std::vector<real>& c, int bits) {
  std::printf("  %-10s %12.6g ulp   2^%.3f\n", name, static_cast<double>(in_ulp.largest_error(c)),
              static_cast<double>(log2(relative.largest_error(c))));
  if (bits == 0) return;
  for (std::size_t k = 0; k < c.size(); ++k) {
    if (f.terms[k].fixed) continue;
    const double v = static_cast<double>(c[k]);
    std::printf("    r^%d  %24.*g  %a\n", f.terms[k].power, bits == 24 ? 9 : 17, v, v);
  }
}

void run(const form& f) {
  std::printf("%d. %s\n", f.number, f.title);
  const minimax_fitter in_ulp = make_fitter(f, measure::ulp);
  const minimax_fitter relative = make_fitter(f, measure::relative);
  const minimax_fitter& chosen = f.fit == measure::ulp ? in_ulp : relative;
  const int bits = f.coefficient_bits != 0 ? f.coefficient_bits : f.of.bits;
  if (!f.given.empty()) {
    std::vector<real> c;
    std::size_t next = 0;
    for (const term& t : f.terms) c.push_back(t.fixed ? *t.fixed : round_to_bits(f.given[next++], bits));
    print_set(f, "given", in_ulp, relative, c, bits);
  }
  print_set(f, "unrounded", in_ulp, relative, chosen.fit().coefficients, 0);
  print_set(f, "rounded", in_ulp, relative, chosen.fit_rounded(bits).coefficients, bits);
  std::fflush(stdout);
}

std::vector<form> forms() {
  const term c0{0, real(1)}, c1{1, real(1)};  // fixed at one
  const kernel d64{53, exp, 64, ln2() / 128}, d128{53, exp, 128, ln2() / 256};
  const kernel d1024{53, exp, 1024, ln2() / 2048};
  const kernel s1{24, exp, 1, ln2() / 2}, s2{24, exp2, 1, real(0.5)}, s128{24, exp, 128, ln2() / 256};
  std::vector<form> list;
  const auto add = [&](int number, const char* title, const kernel& k, measure m, std::vector<term> terms,
                       std::vector<double> given, int coefficient_bits = 0) {
    list.push_back({number, title, k, m, std::move(terms), std::move(given), coefficient_bits});
  };
  add(1, "double, 128 rows: 1 + r + r^2 (c2 + c3 r + c4 r^2)", d128, measure::ulp, {c0, c1, {2}, {3}, {4}},
      {0.49999999999998135, 0.16666671248624326, 0.041666679394326736});
  add(1, "double, 128 rows: 1 + r (c1 + c2 r + c3 r^2 + c4 r^3)", d128, measure::ulp,
      {c0, {1}, {2}, {3}, {4}}, {});
  add(2, "double, 64 rows: 1 + r + r^2 (c2 + c3 r + c4 r^2 + c5 r^3)", d64, measure::ulp,
      {c0, c1, {2}, {3}, {4}, {5}},
      {0.49999999999945266, 0.16666666666653376, 0.04166672515731616, 0.008333343728805863});
  add(3, "single, base 2: 1 + c1 f + c2 f^2 + c3 f^3", s2, measure::relative, {c0, {1}, {2}, {3}},
      {0.693178296, 0.242028862, 0.0555040054});
  add(4, "single, no table: 1 + r + c2 r^2 + ... + c5 r^5", s1, measure::ulp, {c0, c1, {2}, {3}, {4}, {5}},
      {});
  add(4, "single, no table: 1 + c1 r + ... + c5 r^5", s1, measure::ulp, {c0, {1}, {2}, {3}, {4}, {5}},
      {0.999999881, 0.49999392, 0.166674316, 0.0418735221, 0.00829171948});
  add(5, "single, subnormal results: c0 + c1 r + ... + c5 r^5", s1, measure::relative,
      {{0}, {1}, {2}, {3}, {4}, {5}},
      {1.00000012, 1.00000012, 0.499988705, 0.166663259, 0.0419175252, 0.00838111248});
  add(5, "single, subnormal results: 1 + c1 r + ... + c5 r^5", s1, measure::relative,
      {c0, {1}, {2}, {3}, {4}, {5}}, {});
  add(6, "single, 128 rows: 1 + r + c2 r^2", s128, measure::ulp, {c0, c1, {2}}, {0.5});
  add(6, "single, 128 rows: 1 + r + (d + c2 r) r", s128, measure::ulp, {c0, c1, {1}, {2}}, {0, 0.5});
  add(7, "single, 128 rows: 1 + r (c1 + c2 r)", s128, measure::ulp, {c0, {1}, {2}}, {1, 0.5});
  add(8, "double arithmetic, single result, base 2: 1 + c1 f + ... + c7 f^7", s2, measure::relative,
      {c0, {1}, {2}, {3}, {4}, {5}, {6}, {7}}, {}, 53);
  add(9, "double, 1024 rows: 1 + r + c2 r^2 + c3 r^3", d1024, measure::ulp, {c0, c1, {2}, {3}},
      {0.50000000357965391, 0.16666666666666666});
  add(10, "double, 128 rows: 1 + r + c2 r^2", d128, measure::ulp, {c0, c1, {2}}, {0.49999908361121337});
  add(10, "double, 128 rows: 1 + r (c1 + c2 r)", d128, measure::ulp, {c0, {1}, {2}},
      {1, 0.49999908361121337});
  const kernel s64_2{24, exp2, 64, real(1) / 128}, d64_2{53, exp2, 64, real(1) / 128};
  const real half_10 = log10(real(2)) / 256;
  const kernel s128_10{24, exp10, 128, half_10}, d128_10{53, exp10, 128, half_10};
  const kernel s64_1{24, mean_slope, 64, ln2() / 128}, d128_1{53, mean_slope, 128, ln2() / 256};
  add(11, "single, base 2, 64 rows: 1 + f (c1 + c2 f)", s64_2, measure::ulp, {c0, {1}, {2}},
      {0.693149745, 0.240226686});
  add(12, "double, base 2, 64 rows: 1 + f (c1 + ... + c5 f^4)", d64_2, measure::ulp,
      {c0, {1}, {2}, {3}, {4}, {5}},
      {0.69314718055994529, 0.24022650695884967, 0.05550410866607508, 0.0096181422696537591,
       0.0013333417185814622});
  add(13, "single, base 10, 128 rows: 1 + r (c1 + c2 r)", s128_10, measure::ulp, {c0, {1}, {2}},
      {2.30258727, 2.65094972});
  add(14, "double, base 10, 128 rows: 1 + r (c1 + ... + c5 r^4)", d128_10, measure::ulp,
      {c0, {1}, {2}, {3}, {4}, {5}},
      {2.3025850929940459, 2.650949055239026, 2.0346785917911965, 1.1712555494866221, 0.53964245129450683});
  // Of e^r - 1, over r.
  add(15, "single, 64 rows: (e^r - 1) / r = 1 + r (c2 + c3 r)", s64_1, measure::relative, {c0, {1}, {2}},
      {0.500000894, 0.16666697});
  add(16, "double, 128 rows: (e^r - 1) / r = 1 + r (c2 + ... + c5 r^3)", d128_1, measure::relative,
      {c0, {1}, {2}, {3}, {4}},
      {0.49999999999997669, 0.166666666666658, 0.041666679394326687, 0.0083333358788305473});
  add(17, "double, 128 rows: (e^r - 1) / r = 1 + r (c2 + c3 r)", d128_1, measure::relative, {c0, {1}, {2}},
      {});
  return list;
}

}  // namespace

int main(int argc, char** argv) {
  for (const form& f : forms()) {
    bool wanted = argc == 1;
    for (int i = 1; i < argc; ++i) wanted = wanted || std::atoi(argv[i]) == f.number;
    if (wanted) run(f);
  }
  return 0;
}
