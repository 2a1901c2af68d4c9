// Search, construction and evaluation give the same on no threads, on several, and on what is no count of threads.

#include <algorithm>
#include <random>

#include "tests/fit/tasks.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;
using entries = fit_entries<double>;
constexpr std::size_t ny = 16, sites = 1500;

// Coefficients, cells, values and integrals by a constructor.
numbers<double> results(std::size_t n, const char* spline, int64_t xhint, const DFThreadServices* services) {
  std::mt19937 random(1);
  const auto number = [&] { return std::generate_canonical<double, 53>(random); };
  numbers<double> x(n), y(n * ny), site(sites), r(4 * (n - 1) * ny + 3 * ny * sites);
  double sum = 0;
  for (double& v : x) v = sum += number() + 0.01;
  for (double& v : y) v = number();
  for (double& v : site) v = sum * number();
  std::vector<int32_t> cells(sites);
  double *const values = r.data() + 4 * (n - 1) * ny, *const integrals = values + ny * sites;
  const fit_task<double> task(n, x.data(), xhint, ny, y.data(), FIT_Y_BYSITE);
  const int64_t order = spline == std::string("linear") ? FIT_ORDER_LINEAR : FIT_ORDER_CUBIC;
  const int32_t statuses[] = {
      entries::edit_spline(task, order, FIT_TYPE_NATURAL, FIT_BC_FREE_END, nullptr, 0, nullptr, r.data(), 0),
      entries::construct(spline)(task, 0, 0, services),
      entries::search(task, 0, sites, site.data(), 0, nullptr, cells.data(), nullptr, nullptr, services),
      interpolation<double>{.n = sites, .site = site.data(), .r = values, .services = services}(task),
      integration<double>{
          .n = 700, .l = site.data(), .u = x.data(), .r = integrals, .services = services}(task)};
  for (const int32_t status : statuses) EXPECT_EQ(status, FIT_OK);
  r.insert(r.end(), cells.begin(), cells.end());
  return r;
}

TEST(threads, change_nothing) {
  thread_services::threads = 4;
  for (const char* spline : {"linear", "natural", "bessel", "akima"})
    for (const auto& [n, xhint] :
         {std::pair(1001, FIT_X_QUASI), {4501, FIT_X_NOHINT}, {9001, FIT_X_NOHINT}}) {
      const numbers<double> alone = results(n, spline, xhint, nullptr);
      EXPECT_TRUE(results(n, spline, xhint, thread_services::get()) == alone) << spline;
      for (const int32_t no_count : {0, -3}) {
        EXPECT_TRUE(results(n, spline, xhint, scripted_services::with(no_count)) == alone) << spline;
        for (const auto& [tasks, threads] : scripted_services::rounds) EXPECT_EQ(threads, 1);
      }
    }
}

}  // namespace
