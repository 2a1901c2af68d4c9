// Fits the coefficients of the logarithm kernels and compares them with given ones.
//
// A form approximates ln(1 + r) for |r| up to some bound. Errors are relative to the smallest result in which
// the term occurs, or to a floor; the largest is printed as a power of two, for the given coefficients, the
// unrounded and the rounded fit. No rounding in the evaluation is counted.
//
// Usage: fit_log [number...], the forms of these numbers or all.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "minimax.h"
#include "real.h"

namespace {

using namespace arko::tools;

struct form {
  int number;
  const char* title;
  int bits;  // significand of the coefficients: 24 or 53
  real low, high;
  real (*size)(const real& r);  // what the error at r is relative to
  std::vector<term> terms;
  std::vector<double> given;     // coefficients to compare with, one a free term, or none
  std::vector<real> jumps = {};  // of the size, with 0 among them
};

real larger(const real& a, const real& b) { return a < b ? b : a; }
real smaller(const real& a, const real& b) { return b < a ? b : a; }

// The smallest |k ln 2 + ln(1 + r)|: for k = 0 or, near r = -1/3, for 1.
real reduced(const real& r) { return smaller(abs(log1p(r)), ln2() + log1p(r)); }
real reduced_ep(const real& r) { return larger(reduced(r), real(0.25)); }
real result(const real& r) { return abs(log1p(r)); }
real quarter(const real&) { return real(0.25); }

// The power of two at or below it: what an error in ulp is relative to.
real binade(const real& r) { return ldexp(real(1), exponent(reduced(r))); }

// The same for double with 512 rows, for the rows of vector/explog/log.h: the middle row has r from -2^-11 to
// 2^-10 and the result ln(1 + r); others reach down to 2^-10 or, where |r| passes certain bounds, only to
// what is told here.
real rows_512(const real& r) {
  if (abs(r) > real(0x1.5p-10)) return real(0x1p-6);
  if (abs(r) > real(0x1.18p-10)) return real(0x1p-7);
  if (abs(r) > real(0x1.01p-10)) return real(0x1p-9);
  if (r < real(-0x1p-11) || r > real(0x1p-10)) return real(0x1p-11);
  return ldexp(real(1), exponent(log1p(r)));
}

void print_set(const form& f, const char* name, const minimax_fitter& fitter, const std::vector<real>& c,
               bool values) {
  std::printf("  %-10s 2^%.3f\n", name, static_cast<double>(log2(fitter.largest_error(c))));
  if (!values) return;
  for (std::size_t k = 0; k < c.size(); ++k) {
    if (f.terms[k].fixed) continue;
    const double v = static_cast<double>(c[k]);
    std::printf("    r^%d  %24.*g  %a\n", f.terms[k].power, f.bits == 24 ? 9 : 17, v, v);
  }
}

void run(const form& f) {
  std::printf("%d. %s\n", f.number, f.title);
  minimax_problem p;
  p.low = f.low;
  p.high = f.high;
  p.terms = f.terms;
  p.jumps = f.jumps;
  p.target = [](const real& r) { return log1p(r); };
  p.weight = [&f](const real& r) { return 1 / f.size(r); };
  const minimax_fitter fitter(std::move(p));
  if (!f.given.empty()) {
    std::vector<real> c;
    std::size_t next = 0;
    for (const term& t : f.terms) c.push_back(t.fixed ? *t.fixed : round_to_bits(f.given[next++], f.bits));
    print_set(f, "given", fitter, c, false);
  }
  print_set(f, "unrounded", fitter, fitter.fit().coefficients, false);
  print_set(f, "rounded", fitter, fitter.fit_rounded(f.bits).coefficients, true);
  std::fflush(stdout);
}

std::vector<term> free_terms(int first, int last) {
  std::vector<term> t;
  if (first == 2) t.push_back({1, real(1)});
  for (int power = first; power <= last; ++power) t.push_back({power});
  return t;
}
std::vector<term> one_and_free(int last) {
  std::vector<term> t = {{1, real(1)}};
  for (int power = 1; power <= last; ++power) t.push_back({power});
  return t;
}
std::vector<term> half_and_free(int last) {
  std::vector<term> t = {{1, real(1)}, {2, real(-0.5)}};
  for (int power = 3; power <= last; ++power) t.push_back({power});
  return t;
}

// Where the binade of the result changes, for results of at least 2^-least.
std::vector<real> binade_ends(int least) {
  std::vector<real> ends;
  for (int n = 2; n <= least; ++n) ends.push_back(expm1(real(-ldexp(real(1), -n))));
  ends.push_back(real(0));
  for (int n = least; n >= 2; --n) ends.push_back(expm1(ldexp(real(1), -n)));
  return ends;
}

std::vector<real> row_ends() {
  std::vector<real> ends = {real(-0x1.5p-10), real(-0x1.18p-10), real(-0x1.01p-10), real(-0x1p-11)};
  for (int n = 12; n <= 13; ++n) ends.push_back(expm1(real(-ldexp(real(1), -n))));
  ends.push_back(real(0));
  for (int n = 13; n >= 11; --n) ends.push_back(expm1(ldexp(real(1), -n)));
  for (const double end : {0x1p-10, 0x1.01p-10, 0x1.18p-10, 0x1.5p-10}) ends.push_back(real(end));
  return ends;
}

std::vector<form> forms() {
  const real third = real(1) / 3;
  const std::vector<real> ends = binade_ends(5);
  return {
      {1, "single EP: c1 r + ... + c5 r^5", 24, -third, third, reduced_ep, free_terms(1, 5), {}, {real(0)}},
      {2,
       "single LA: r + c2 r^2 + ... + c8 r^8",
       24,
       -third,
       third,
       binade,
       free_terms(2, 8),
       {-0.5, 0.333365649, -0.250046641, 0.198225036, -0.164624572, 0.169648811, -0.151772052},
       ends},
      {3, "single LA: r + d r + c2 r^2 + ... + c8 r^8", 24, -third, third, binade, one_and_free(8), {}, ends},
      {4,
       "single HA: r - r^2 / 2 + c3 r^3 + ... + c10 r^10",
       24,
       -third,
       third,
       binade,
       half_and_free(10),
       {0.333332151, -0.249997973, 0.200104058, -0.16680488, 0.140058696, -0.121842608, 0.139844373,
        -0.12891686},
       ends},
      {5,
       "double EP, 256 rows: c1 r + c2 r^2",
       53,
       real(-0x1p-9),
       real(0x1p-9),
       quarter,
       free_terms(1, 2),
       {},
       {real(0)}},
      {6,
       "double, 512 rows: r + c2 r^2 + ... + c5 r^5",
       53,
       real(-0.00141715),
       real(0.00141715),
       rows_512,
       free_terms(2, 5),
       {-0.49999999999995254, 0.33333333333327408, -0.25000019886943392, 0.20000019344205111},
       row_ends()},
      {7,
       "single log1p LA and EP: r + c2 r^2 + ... + c9 r^9",
       24,
       -third,
       third,
       binade,
       free_terms(2, 9),
       {-0.5, 0.333332658, -0.250042379, 0.200079203, -0.164723262, 0.140423089, -0.151221797, 0.138202384},
       ends},
      {8,
       "single log1p HA, c up to 2^8: r + c2 r^2 + c3 r^3",
       24,
       real(-0.0043),
       real(0.0043),
       result,
       free_terms(2, 3),
       {-0.500003219, 0.333337575},
       {real(0)}},
      {9,
       "double log1p LA, c up to 2^10: r + c2 r^2 + ... + c5 r^5",
       53,
       real(-0.00135),
       real(0.00135),
       result,
       free_terms(2, 5),
       {-0.49999999999988803, 0.33333333333308374, -0.2500003054940248, 0.20000036659494241},
       {real(0)}},
      {10,
       "double log1p EP, c up to 2^10: r + c2 r^2 + c3 r^3",
       53,
       real(-0.00135),
       real(0.00135),
       result,
       free_terms(2, 3),
       {},
       {real(0)}},
  };
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
