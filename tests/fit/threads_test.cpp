// Search, construction and evaluation give the same on no threads, on several, and on what is no count of threads.

#include <gtest/gtest.h>

#include <random>

#include "tests/fit/tasks.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;
using entries = fit_entries<double>;

TEST(threads, change_nothing) {
  constexpr std::size_t n = 4501, ny = 3, sites = 1500;
  std::mt19937 random(1);
  const auto number = [&] { return std::generate_canonical<double, 53>(random); };
  std::vector<double> x(n), y(n * ny), site(sites), results[3];
  double sum = 0;
  for (double& v : x) v = sum += number() + 0.01;
  for (double& v : y) v = number();
  for (double& v : site) v = sum * number();
  thread_services::threads = 4;

  const auto run = [&](auto construct, int64_t xhint, const DFThreadServices* services,
                       std::vector<double>& r) {
    std::vector<double> c(4 * n * ny);
    std::vector<int32_t> cells(sites);
    r.assign(2 * ny * sites, 0);
    const fit_task<double> task(n, x.data(), xhint, ny, y.data(), FIT_Y_BYSITE);
    const auto order = construct == entries::linear ? FIT_ORDER_LINEAR : FIT_ORDER_CUBIC;
    ASSERT_EQ(entries::edit_spline(task, order, FIT_TYPE_NATURAL, FIT_BC_FREE_END, nullptr, 0, nullptr,
                                   c.data(), 0),
              FIT_OK);
    ASSERT_EQ(construct(task, 0, 0, services), FIT_OK);
    ASSERT_EQ(
        entries::search(task, 0, sites, site.data(), 0, nullptr, cells.data(), nullptr, nullptr, services),
        0);
    ASSERT_EQ(entries::interpolate(task, 0, 0, sites, site.data(), 0, 0, nullptr, nullptr, r.data(), 0,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   nullptr, services),
              0);
    ASSERT_EQ(
        entries::integrate(task, 0, 700, site.data(), 0, x.data(), 0, nullptr, nullptr, &r[ny * sites], 0,
                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, services),
        0);
    r.insert(r.end(), c.begin(), c.end());
    r.insert(r.end(), cells.begin(), cells.end());
  };
  for (const auto construct : {entries::linear, entries::natural, entries::bessel, entries::akima})
    for (const int64_t xhint : {FIT_X_QUASI, FIT_X_NOHINT}) {
      run(construct, xhint, nullptr, results[0]);
      run(construct, xhint, thread_services::get(), results[1]);
      EXPECT_EQ(results[0], results[1]);
      for (const int32_t no_count : {0, -3}) {
        run(construct, xhint, recorded(no_count), results[2]);
        EXPECT_EQ(results[0], results[2]);
        for (const auto& [tasks, threads] : recording_services::rounds) EXPECT_EQ(threads, 1);
      }
    }
}

}  // namespace
