// Fits the coefficients of the single kernels with exponents of thirds (vector/roots/third.h): r P(r) for (1 + r)^p - 1,
// |r| as large as their tables need. The largest relative error is printed as a power of two, for the rounded fit.
#include <cstdio>

#include "minimax.h"
#include "real.h"

using namespace arko::tools;

int main() {
  const struct {
    const char* title;
    int thirds, coefficients;
    double half;
  } forms[] = {
      {"Cbrt LA", 1, 2, 0x1.16p-6},   {"Cbrt HA", 1, 3, 0x1.16p-6},   {"Pow2o3 EP", 2, 1, 0x1.16p-6},
      {"Pow2o3 LA", 2, 2, 0x1.16p-6}, {"Pow2o3 HA", 2, 3, 0x1.16p-6}, {"InvCbrt HA", -1, 3, 0x1p-7},
  };
  for (const auto& f : forms) {
    const auto value = [thirds = f.thirds](const real& r) { return pow(1 + r, real(thirds) / 3); };
    minimax_problem p;
    p.low = -real(f.half), p.high = f.half, p.jumps = {real(0)};
    p.target = [=](const real& r) { return value(r) - 1; };
    p.weight = [=](const real& r) { return 1 / value(r); };
    for (int power = 1; power <= f.coefficients; ++power) p.terms.push_back({power});
    const auto fit = minimax_fitter(p).fit_rounded(24);
    std::printf("%s: 2^%.2f\n", f.title, static_cast<double>(log2(fit.error)));
    for (const real& c : fit.coefficients) std::printf("  %.9gf\n", static_cast<double>(c));
  }
  return 0;
}
