// Splines through the real data of examples/data, from construction to integral.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>

#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;

struct table {
  std::string name;
  std::vector<double> x, y;
};
table read(const std::string& name) {
  table t{name, {}, {}};
  std::ifstream file(ARKO_SOURCE "/examples/data/" + name + ".csv");
  std::string line;
  std::getline(file, line);
  for (double x, y; file >> x && file.ignore() && file >> y;) t.x.push_back(x), t.y.push_back(y);
  return t;
}

std::vector<double> interpolated(void* task, const std::vector<double>& sites, std::vector<int32_t> dorder,
                                 std::vector<int32_t> cells = {}) {
  std::vector<double> r(sites.size());
  EXPECT_EQ(arko_df_kernel_dDFInterpolate1D(task, cells.empty() ? 0 : FIT_INTERP_GIVEN_CELLS, 0,
                                            static_cast<int64_t>(sites.size()), sites.data(), FIT_SITE_SORTED,
                                            static_cast<int64_t>(dorder.size()), dorder.data(), nullptr,
                                            r.data(), FIT_R_BYFUNC, cells.data(), nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  return r;
}

TEST(real_data, splines_join_stay_monotone_and_have_simpsons_integral) {
  const struct {
    const char* name;
    int64_t type;
    decltype(fit_entries<double>::natural) construct;
    int joints;  // derivatives that join
    bool monotone;
  } splines[] = {{"natural", FIT_TYPE_NATURAL, fit_entries<double>::natural, 2, false},
                 {"Bessel", FIT_TYPE_BESSEL, fit_entries<double>::bessel, 1, false},
                 {"Akima", FIT_TYPE_AKIMA, fit_entries<double>::akima, 1, false},
                 {"Hyman", FIT_TYPE_HYMAN, fit_entries<double>::hyman, 1, true}};
  for (const table& data : {read("mercury_pressure"), read("nile")}) {
    ASSERT_GE(data.x.size(), 19u);
    const auto n = static_cast<int64_t>(data.x.size());
    double range = 0;
    for (const double y : data.y) range = std::max(range, std::fabs(y));
    for (const auto& s : splines) {
      SCOPED_TRACE(data.name + " " + s.name);
      std::vector<double> c(static_cast<size_t>(4 * (n - 1)));
      const fit_task<double> task(n, data.x.data(), 0, 1, data.y.data());
      ASSERT_EQ(arko_df_kernel_dEditPPSpline1D(task, FIT_ORDER_CUBIC, s.type, FIT_BC_FREE_END, nullptr,
                                               FIT_IC_NONE, nullptr, c.data(), FIT_C_NOHINT),
                0);
      ASSERT_EQ(s.construct(task, 0, 0, nullptr), 0);

      const std::vector<double> at = interpolated(task, data.x, {1});
      for (int64_t i = 0; i < n; i++) EXPECT_NEAR(at[i], data.y[i], 1e-14 * range);

      std::vector<int32_t> left, right;  // of the inner breakpoints, the cells on both sides
      const std::vector<double> inner(data.x.begin() + 1, data.x.end() - 1);
      for (int32_t i = 1; i < n - 1; i++) left.push_back(i), right.push_back(i + 1);
      for (int k = 0; k <= s.joints; k++) {
        std::vector<int32_t> dorder(static_cast<size_t>(k) + 1);
        dorder[k] = 1;
        const auto from_left = interpolated(task, inner, dorder, left),
                   from_right = interpolated(task, inner, dorder, right);
        for (size_t i = 0; i < inner.size(); i++)
          EXPECT_NEAR(from_left[i], from_right[i], 1e-12 * range) << k;
      }

      // Simpson's rule has no error for cubics.
      std::vector<double> l, u, r(static_cast<size_t>(n)), middle;
      for (int64_t i = 0; i + 1 < n; i++)
        l.push_back(data.x[i]), u.push_back(data.x[i + 1]), middle.push_back((data.x[i] + data.x[i + 1]) / 2);
      l.push_back(data.x[0]), u.push_back(data.x[n - 1]);  // and all of it
      ASSERT_EQ(arko_df_kernel_dDFIntegrate1D(task, 0, n, l.data(), 0, u.data(), 0, nullptr, nullptr,
                                              r.data(), FIT_R_BYFUNC, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr),
                0);
      const std::vector<double> between = interpolated(task, middle, {1});
      double sum = 0;
      for (int64_t i = 0; i + 1 < n; i++) {
        const double h = data.x[i + 1] - data.x[i],
                     part = h / 6 * (data.y[i] + 4 * between[i] + data.y[i + 1]);
        EXPECT_NEAR(r[i], part, 1e-13 * h * range);
        sum += part;
      }
      EXPECT_NEAR(r[n - 1], sum, 1e-13 * range * (data.x[n - 1] - data.x[0]));

      if (!s.monotone) continue;
      for (int64_t i = 0; i + 1 < n; i++) {
        if (i == 0 || i == n - 2) continue;  // derivatives at the ends are not filtered
        std::vector<double> fine;
        for (int k = 0; k <= 16; k++) fine.push_back(data.x[i] + k * (data.x[i + 1] - data.x[i]) / 16);
        const auto v = interpolated(task, fine, {1});
        const double direction = data.y[i + 1] < data.y[i] ? -1 : 1;
        for (int k = 0; k < 16; k++) EXPECT_GE(direction * (v[k + 1] - v[k]), -1e-13 * range) << data.x[i];
      }
    }
  }
}

}  // namespace
