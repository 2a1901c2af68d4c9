// Fits the coefficients of the kernels of Log2 and Log10 and compares them with given ones.
//
// A form approximates log(1 + r), to a base, for |r| up to some bound. The largest error is printed as a power of
// two, for the given coefficients, the unrounded and the rounded fit: relative to the smallest result with that r
// or, at EP, to at least 1/4. No rounding in the evaluation is counted.
//
// Usage: fit_log2 [number...], the forms of these numbers or all.

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
  int base;
  int bits;  // significand of the coefficients: 24 or 53
  real half;
  bool ep;
  std::vector<term> terms;
  std::vector<double> given = {};  // coefficients to compare with, one a free term, or none
  real step = 0;                   // of a table by rows of m, half the distance of rows
};

// Where |r| passes so many half steps, results have so many at least.
constexpr struct {
  double beyond, result;
} rounded_rows[] = {{1.2, 14.8}, {1.1, 10.9}, {1.05, 6.9}, {1.01, 2.99}};

void print_set(const form& f, const char* name, const minimax_fitter& fitter, const std::vector<real>& c) {
  std::printf("  %-10s 2^%.3f\n", name, static_cast<double>(log2(fitter.largest_error(c))));
  for (std::size_t k = 0; k < c.size(); ++k) {
    if (f.terms[k].fixed) continue;
    const double v = static_cast<double>(c[k]);
    std::printf("    r^%d  %24.*g  %a\n", f.terms[k].power, f.bits == 24 ? 9 : 17, v, v);
  }
}

void run(const form& f) {
  std::printf("%d. base %d, %s\n", f.number, f.base, f.title);
  const real factor = 1 / log(real(f.base)), log_2 = factor * log(real(2));
  // The smallest result with this r: that of k = 0 or, near the lower end of the interval without a table, of k = 1.
  // With rows of m, the one below 1 begins half a step from it. Where reciprocals are rounded, r beyond half a step is
  // only met farther from 1.
  const auto size = [&](const real& r) {
    const real zero = abs(factor * log1p(r)), one = log_2 + factor * log1p(r);
    const real size = one < zero ? one : zero;
    if (f.ep && size < real(0.25)) return real(0.25);
    if (f.step.sign() == 0) return size;
    for (const auto& [beyond, result] : rounded_rows)
      if (abs(r) > f.step * beyond) return factor * f.step * result;
    return r < f.step * -0.5 ? factor * (2 * f.step + r) : size;
  };
  minimax_problem p;
  p.low = -f.half;
  p.high = f.half;
  p.terms = f.terms;
  p.jumps = {real(0)};
  if (f.step.sign() != 0) p.jumps = {f.step * -0.5, real(0)};
  for (std::size_t i = std::size(rounded_rows); f.step.sign() != 0 && i-- > 0;) {
    p.jumps.insert(p.jumps.begin(), f.step * -rounded_rows[i].beyond);
    p.jumps.push_back(f.step * rounded_rows[i].beyond);
  }
  p.target = [=](const real& r) { return factor * log1p(r); };
  p.weight = [=](const real& r) { return 1 / size(r); };
  const minimax_fitter fitter(std::move(p));
  if (!f.given.empty()) {
    std::vector<real> c;
    std::size_t next = 0;
    for (const term& t : f.terms) c.push_back(t.fixed ? *t.fixed : round_to_bits(f.given[next++], f.bits));
    print_set(f, "given", fitter, c);
  }
  print_set(f, "rounded", fitter, fitter.fit_rounded(f.bits).coefficients);
  std::fflush(stdout);
}

// head r and free terms of the powers 1 to `last`; no head, no fixed term.
std::vector<term> terms(double head, int last) {
  std::vector<term> t;
  if (head != 0) t.push_back({1, real(head)});
  for (int power = 1; power <= last; ++power) t.push_back({power});
  return t;
}

std::vector<form> forms() {
  const real third = real(1) / 3;
  // With a table of p: |r| below 2^-p + 1.5 * 2^-12.
  const auto table = [](int p) { return ldexp(real(1), -p) + real(0x1.8p-12); };
  const real log2e = 1 / log(real(2)), log10e = 1 / log(real(10));
  return {
      {1, "single LA: c1 r + d r + c2 r^2 + ... + c9 r^9", 2, 24, third, false, terms(1.44269502f, 9)},
      {2,
       "single EP: c1 r + ... + c5 r^5",
       2,
       24,
       third,
       true,
       terms(0, 5),
       {1.44271624, -0.720299363, 0.478471786, -0.397281051, 0.333741039}},
      {3, "single HA, p = 7: head r + tail r + ... + c4 r^4", 2, 24, table(7), false, terms(1.4375, 4)},
      {4,
       "double LA, p = 10: c1 r + ... + c5 r^5",
       2,
       53,
       table(10),
       false,
       terms(0, 5),
       {1.4426950408889634, -0.7213475204443105, 0.48089834696260636, -0.36067421384536552,
        0.28853955252864438}},
      {5,
       "double EP, p = 10: c1 r + ... + c3 r^3",
       2,
       53,
       table(10),
       true,
       terms(0, 3),
       {1.4426950408889634, -0.7213475204443105, 0.48089834696260636}},
      {6, "double HA, p = 9: head r + tail r + ... + c6 r^6", 2, 53, table(9), false, terms(1.44140625, 6)},
      {7, "single LA: c1 r + d r + c2 r^2 + ... + c9 r^9", 10, 24, third, false, terms(0.434294492f, 9)},
      {8,
       "single EP: c1 r + ... + c5 r^5",
       10,
       24,
       third,
       true,
       terms(0, 5),
       {0.43430084, -0.216831714, 0.144034356, -0.119593509, 0.100466065}},
      {9, "single HA, p = 7: head r + tail r + ... + c4 r^4", 10, 24, table(7), false, terms(0.43359375, 4)},
      {10,
       "double LA and EP, 512 rows: c1 r + ... + c5 r^5",
       10,
       53,
       real(0x1.76p-10),
       false,
       terms(0, 5),
       {},
       real(0x1p-10)},
      {11,
       "double HA, 512 rows: head r + tail r + ... + c6 r^6",
       10,
       53,
       real(0x1.76p-10),
       false,
       terms(0.43359375, 6),
       {},
       real(0x1p-10)},
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
