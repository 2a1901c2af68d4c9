// What interpolation and integration refuse, and in which order.

#include <gtest/gtest.h>

#include <tuple>

#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;
using entries = fit_entries<double>;

constexpr double x[] = {0, 1, 2}, y[] = {0, 1, 2};

// The statuses of both, of n sites or intervals, with a data hint or none.
std::pair<int32_t, int32_t> evaluate(void* task, int64_t n, int64_t rhint = 16, const double* hint = nullptr,
                                     bool hint_of_right = false) {
  double r[3];
  return {entries::interpolate(task, 0, 0, n, x, 0, 0, nullptr, hint, r, rhint, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
          entries::integrate(task, 0, n, x, 0, x + 1, 0, hint_of_right ? nullptr : hint,
                             hint_of_right ? hint : nullptr, r, rhint, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, nullptr)};
}

TEST(evaluation, refuses_in_order) {
  constexpr double bad[5] = {0, 2, 0, 0, 0}, outside[5] = {0, 1, 0, 0, 4};
  constexpr int32_t type = FIT_ERR_TYPE, rhint = FIT_ERR_RHINT, lhint = FIT_ERR_INTRHINT,
                    data = FIT_ERR_DATAHINT;
  double c[16] = {};
  const struct {
    int64_t order, type, rhint;
    const double* hint;
    std::pair<int32_t, int32_t> statuses;
  } rows[] = {{0, FIT_TYPE_LOOKUP, 7, bad, {rhint, type}},
              {0, FIT_TYPE_LOOKUP, 16, nullptr, {0, type}},
              {0, FIT_TYPE_STEP_LEFT, 64, nullptr, {rhint, lhint}},
              {0, 0, 16, nullptr, {type, type}},
              {0, 9, 16, nullptr, {type, type}},
              {1, 0, 7, bad, {type, type}},
              {3, 2, 16, nullptr, {type, type}},
              {3, 5, 16, nullptr, {type, type}},
              {4, 1, 16, nullptr, {type, type}},
              {4, 9, 7, bad, {rhint, data}},
              {4, 9, 64, nullptr, {rhint, lhint}},
              {4, 9, 256, nullptr, {0, lhint}},
              {4, 9, 16, outside, {data, data}},
              {2, 5, 16, nullptr, {0, 0}},
              {5, 5, 16, nullptr, {0, 0}}};
  for (const auto& r : rows) {
    const fit_task<double> task(3, x, 0, 1, y);
    ASSERT_EQ(entries::edit_spline(task, r.order, r.type, 0, nullptr, 0, nullptr, c, 0), 0);
    for (const int64_t n : {1, 0}) {
      EXPECT_EQ(evaluate(task, n, r.rhint, r.hint), r.statuses) << r.order << ' ' << r.type << ' ' << n;
      EXPECT_EQ(evaluate(task, n, r.rhint, r.hint, true), r.statuses) << r.order << ' ' << r.type << ' ' << n;
    }
  }
  // Without arrays to read, with no functions and with one.
  for (const auto& [order, type, none, one] : {std::tuple{4, FIT_TYPE_NATURAL, 0, FIT_ERR_COEFF},
                                               {0, FIT_TYPE_STEP_LEFT, FIT_ERR_Y, FIT_ERR_Y},
                                               {0, FIT_TYPE_STEP_RIGHT, FIT_ERR_Y, FIT_ERR_Y}}) {
    const fit_task<double> empty(3, x, 0);
    ASSERT_EQ(entries::edit_spline(empty, order, type, 0, nullptr, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(evaluate(empty, 1), std::pair(0, none));
    ASSERT_EQ(arko_df_kernel_iEditVal(empty, FIT_ATTR_NY, 1), 0);
    EXPECT_EQ(evaluate(empty, 1), std::pair(one, one));
  }
}

}  // namespace
