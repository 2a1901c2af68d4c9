// Search and construction on several threads give what they give on one.

#include <gtest/gtest.h>

#include <random>

#include "tests/fit/tasks.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;
using entries = fit_entries<double>;

TEST(threads, change_nothing) {
  constexpr std::size_t n = 9001, ny = 6, sites = 5000;
  std::mt19937 random(1);
  const auto number = [&] { return std::generate_canonical<double, 53>(random); };
  std::vector<double> x(n), y(n * ny), site(sites);
  double sum = 0;
  for (double& v : x) v = sum += number() + 0.01;
  for (double& v : y) v = number();
  for (double& v : site) v = sum * number();
  thread_services::threads = 4;
  const DFThreadServices* const services[] = {nullptr, thread_services::get()};

  for (const auto construct : {entries::linear, entries::natural, entries::bessel, entries::akima}) {
    std::vector<double> rows[2];
    for (int i = 0; i < 2; i++) {
      rows[i].resize(4 * n * ny);
      const fit_task<double> task(n, x.data(), FIT_X_NOHINT, ny, y.data(), FIT_Y_BYSITE);
      const auto order = construct == entries::linear ? FIT_ORDER_LINEAR : FIT_ORDER_CUBIC;
      ASSERT_EQ(entries::edit_spline(task, order, FIT_TYPE_NATURAL, FIT_BC_FREE_END, nullptr, 0, nullptr,
                                     rows[i].data(), FIT_C_NOHINT),
                FIT_OK);
      ASSERT_EQ(construct(task, 0, 0, services[i]), FIT_OK);
    }
    EXPECT_EQ(rows[0], rows[1]);
  }
  for (const int64_t hint : {FIT_X_QUASI, FIT_X_NOHINT}) {
    const fit_task<double> task(n, x.data(), hint);
    std::vector<int32_t> cells[2];
    for (int i = 0; i < 2; i++) {
      cells[i].resize(sites);
      ASSERT_EQ(entries::search(task, 0, sites, site.data(), 0, nullptr, cells[i].data(), nullptr, nullptr,
                                services[i]),
                FIT_OK);
    }
    EXPECT_EQ(cells[0], cells[1]);
  }
}

}  // namespace
