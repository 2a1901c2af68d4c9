// Random lives of tasks beside naive models: what search and integration give after any edits.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/fit/piecewise.h"

namespace {

using namespace arko::test;

template <class T> class model_of : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(model_of, precisions);

// Breakpoints are counted and told anew at random, with and without a new search table.
TYPED_TEST(model_of, search_after_edits) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  constexpr int64_t most = 2000;
  std::mt19937 random(1);
  const auto below = [&](int64_t n) { return static_cast<int64_t>(random() % static_cast<unsigned>(n)); };
  std::vector<T> grids[3];
  for (auto& x : grids) {
    const bool skewed = &x != grids;
    T sum = 0;
    for (int64_t i = 0; i < most; i++)
      x.push_back(sum += T(1 + below(4)) * (skewed && i % 97 == 3 ? 500 : 1));
  }
  for (int round = 0; round < 60; round++) {
    int64_t nx = 2 + below(most - 1), grid = below(3);
    const int32_t wide = round % 2;
    const fit_task<T> task(nx, grids[grid].data(), FIT_X_NOHINT, 0, nullptr, 0, wide);
    T ends[2];
    bool uniform = false;
    for (int step = 0; step < 20; step++) {
      switch (below(5)) {
        case 0:
          ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_NX, nx = 2 + below(below(2) ? 20 : most - 1)), 0);
          break;
        case 1:
          grid = below(3);
          break;
        case 2:
          uniform = true;
          break;
        default:
          uniform = false;
      }
      if (uniform) ends[0] = -3, ends[1] = T(nx - 1) / 4 - 3;  // steps of a quarter: cells without rounding
      ASSERT_EQ(entries::edit_pointer(task, FIT_ATTR_X, uniform ? ends : grids[grid].data()), 0);
      ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_XHINT, uniform ? FIT_X_UNIFORM : below(3)), 0);
      std::vector<T> x(grids[grid].begin(), grids[grid].begin() + nx), sites;
      for (int64_t i = 0; i < nx && uniform; i++) x[i] = T(i) / 4 - 3;
      for (int i = 0; i < 150; i++) {
        const T s = x[below(nx)] + T(below(5) - 2) * T(0.125);
        sites.push_back(i % 7 ? s : x[0] - 1 + (x.back() - x[0] + 2) * T(below(1000)) / 1000);
      }
      const int64_t hint = below(2) * FIT_SITE_SORTED, n = 1 + below(150);
      if (hint) std::sort(sites.begin(), sites.begin() + n);
      const double peak[5] = {0, double(below(2)), 0, 0, double(below(nx + 1))};
      std::vector<int64_t> cells(n);
      ASSERT_EQ(
          entries::search(task, 0, n, sites.data(), hint, peak, cells.data(), nullptr, nullptr, nullptr), 0);
      for (int64_t i = 0; i < n; i++) {
        int64_t cell = 0;
        while (cell < nx && x[cell] <= sites[i]) cell++;
        if (sites[i] == x.back()) cell = nx - 1;
        ASSERT_EQ(wide ? cells[i] : reinterpret_cast<const int32_t*>(cells.data())[i], cell)
            << "round " << round << " nx " << nx << (uniform ? " uniform" : "") << " site " << sites[i];
      }
    }
  }
}

}  // namespace
