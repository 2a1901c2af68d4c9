// exp, ln and sqrt at three levels beside the C library.
#include <arko/vector.h>

#include <cmath>
#include <cstdio>

#include "examples/tour/tour.h"

namespace tour {
namespace {

using kernel = void (*)(std::int32_t, const double*, double*);

struct function {
  const char* name;
  kernel levels[3];
  double (*libm)(double);
  long double (*exact)(long double);
};
const function functions[] = {
    {"exp", {_zurdExp_50, _zurdExp, _zurdExp_26}, std::exp, std::exp},
    {"ln", {_zurdLn_50, _zurdLn, _zurdLn_26}, std::log, std::log},
    {"sqrt", {_zurdSqrt_50, _zurdSqrt, _zurdSqrt_26}, std::sqrt, std::sqrt},
};

// Distance in units of the last place of the exact result.
double ulp(double result, long double exact) {
  return static_cast<double>(std::fabs(result - exact) / std::ldexp(1.0L, std::ilogb(exact) - 52));
}

void compare(const char* what, const std::vector<double>& x) {
  const auto n = static_cast<std::int32_t>(x.size());
  std::vector<double> r(x.size());
  std::vector<long double> exact(x.size());
  std::printf("  %s\n", what);
  for (const function& f : functions) {
    for (std::size_t i = 0; i < x.size(); i++) exact[i] = f.exact(x[i]);
    const double libm = seconds([&] {
      for (std::size_t i = 0; i < x.size(); i++) r[i] = f.libm(x[i]);
    });
    std::printf("    %-6s %8.2f", f.name, 1e9 * libm / n);
    for (const kernel k : f.levels) {
      const double time = seconds([&] { k(n, x.data(), r.data()); });
      double worst = 0;
      for (std::size_t i = 0; i < x.size(); i++) worst = std::fmax(worst, ulp(r[i], exact[i]));
      std::printf("  %8.2f %9.3g", 1e9 * time / n, worst);
    }
    std::printf("\n");
  }
}

}  // namespace

void vector_mathematics(const std::string& data) {
  std::printf(
      "Vector mathematics, double: ns an element, and the largest error in ulp\n"
      "              libm        LA                  HA                  EP\n");
  compare("272 waiting times in hours", [&] {
    std::vector<double> hours = read_table(data + "/faithful.csv", {"waiting"})[0].values;
    for (double& h : hours) h /= 60;
    return hours;
  }());
  std::vector<double> many(1000000);
  for (std::size_t i = 0; i < many.size(); i++) many[i] = 0.001 + 1e-4 * static_cast<double>(i);
  compare("10^6 numbers from 0.001 to 100", many);
  std::printf(
      "  EP keeps 26 bits, errors below 1.4e8 ulp; of ln near 1 the errors are to be seen beside 0.25\n\n");
}

}  // namespace tour
