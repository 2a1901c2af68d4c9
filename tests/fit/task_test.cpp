// The task: checks in their order, tables of pointers, the record as callers know it, search buckets.

#include "fit/task.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "core/testing.h"
#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;

template <class T> class task_of : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(task_of, precisions);

const fit::task& record(const void* task) { return *static_cast<const fit::task*>(task); }

TYPED_TEST(task_of, creation_checks_in_order) {
  using T = TypeParam;
  const T x[3] = {0, 1, 3}, y[6] = {};
  const struct {
    int64_t nx;
    const T* x;
    int64_t xhint, ny;
    const T* y;
    int64_t yhint;
    int32_t status;
  } rows[] = {
      {1, nullptr, 3, 0, y, 1, FIT_ERR_NX},
      {2, nullptr, 3, 0, y, 1, FIT_ERR_X},
      {2, x, 3, 0, y, 1, FIT_ERR_XHINT},
      {2, x, 5, 0, y, 1, FIT_ERR_XHINT},
      {2, x, 0, 0, y, 1, FIT_ERR_NY},
      {2, x, 0, -1, y, 1, FIT_ERR_NY},
      {2, x, 0, 1, nullptr, 1, FIT_ERR_Y},
      {2, x, 0, 1, y, 64, FIT_ERR_YHINT},
      {2, x, 0, 0, nullptr, 16, FIT_OK},
      {3, x, 1, 2, y, 128, FIT_OK},
      {3, x, 0, int64_t(1) << 62, y, 0, FIT_ERR_MEMORY},
  };
  for (const auto& r : rows) {
    void* task = &task;
    EXPECT_EQ(fit_entries<T>::new_task(&task, r.nx, r.x, r.xhint, r.ny, r.y, r.yhint, 0), r.status);
    EXPECT_EQ(task != nullptr, r.status == FIT_OK || r.status == FIT_ERR_MEMORY);
    const int32_t deleted = task ? FIT_OK : FIT_ERR_NULL_TASK;
    EXPECT_EQ(arko_df_kernel_DeleteTask(&task), deleted);
    EXPECT_EQ(task, nullptr);
    EXPECT_EQ(arko_df_kernel_DeleteTask(&task), FIT_ERR_NULL_TASK);
  }
}

// Which function each pointer belongs to, by storage hint; rows of the knot quadratic are one cell longer.
TYPED_TEST(task_of, tables_of_pointers) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[5] = {0, 1, 3, 4, 9}, y[15] = {};
  T c[100], *found = nullptr;
  for (const int64_t hint : {0, 16, 32, 128}) {
    const fit_task<T> task(5, x, 0, 3, y, hint);
    const bool one_array = hint == 32, apart = hint == 128;
    EXPECT_EQ(entries::query_pointer(task, FIT_ATTR_COEFF, &found), FIT_OK);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, 0, c), FIT_ERR_COEFF);
    for (int64_t f = 0; f < 3; f++) {
      const auto status = entries::query_indexed(task, FIT_ATTR_Y, f, &found);
      EXPECT_EQ(status, one_array ? FIT_ERR_YHINT : FIT_OK);
      if (!one_array) {
        EXPECT_EQ(found, apart && f ? nullptr : y + f * 5);
      }
    }
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 7, y), one_array ? FIT_ERR_YHINT : FIT_ERR_INDEX);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 2, y + 1), one_array ? FIT_ERR_YHINT : FIT_OK);
    if (!one_array) {
      EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_Y, 2, &found), FIT_OK);
    }
    if (!one_array) {
      EXPECT_EQ(found, y + 1);
    }
    EXPECT_EQ(entries::edit_pointer(task, FIT_ATTR_Y, y + 2), FIT_OK);
    EXPECT_EQ(entries::query_pointer(task, FIT_ATTR_Y, &found), FIT_OK);
    EXPECT_EQ(found, y + 2);

    for (const int64_t type : {0, 1, 6}) {
      ASSERT_EQ(entries::edit_spline(task, 3, type, 0, nullptr, 0, nullptr, c, hint), FIT_OK);
      for (int64_t f = 0; f < 3; f++) {
        EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_COEFF, f, &found), FIT_OK);
        EXPECT_EQ(found, f && apart ? nullptr : c + f * 3 * (type == 1 ? 5 : 4));
      }
    }
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, 1, c + 1), FIT_OK);
    EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_COEFF, 1, &found), FIT_OK);
    EXPECT_EQ(found, c + 1);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_ORDER, 2), FIT_OK);
    EXPECT_EQ(entries::edit_pointer(task, FIT_ATTR_COEFF, c + 2), FIT_OK);
    EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_COEFF, 1, &found), FIT_OK);
    EXPECT_EQ(found, apart ? nullptr : c + 2 + 8);
  }
  // No functions, so nothing to point at.
  const fit_task<T> none(5, x, 4);
  EXPECT_EQ(entries::edit_pointer(none, FIT_ATTR_COEFF, c), FIT_ERR_NY);
  EXPECT_EQ(entries::edit_pointer(none, FIT_ATTR_Y, c), FIT_ERR_NY);
  EXPECT_EQ(entries::edit_spline(none, 3, 0, 0, nullptr, 0, nullptr, c, 0), FIT_ERR_NY);
  ASSERT_EQ(arko_df_kernel_iEditVal(none, FIT_ATTR_NY, 2), FIT_OK);
  EXPECT_EQ(entries::edit_indexed(none, FIT_ATTR_Y, 0, y), FIT_ERR_Y);
  EXPECT_EQ(entries::edit_pointer(none, FIT_ATTR_Y, y), FIT_OK);
}

// The values or rows of all functions, read by every entry that reads them; index edits of the last function.
TYPED_TEST(task_of, functions_beyond_a_table_are_missing) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[3] = {0, 1, 3};
  constexpr int64_t most = 1000;
  const std::vector<T> y(3 * most);
  std::vector<T> c(4 * most), r(most);
  const struct {
    int64_t ny, yhint, later_ny, later_yhint;
    int32_t by_index, values, rows;  // statuses
  } cases[] = {{1, 16, most, 16, FIT_ERR_Y, FIT_ERR_Y, FIT_ERR_COEFF},
               {2, 128, 129, 0, FIT_ERR_Y, FIT_ERR_Y, FIT_ERR_COEFF},
               {3, 32, 3, 16, FIT_ERR_Y, FIT_ERR_Y, FIT_OK},
               {2, 32, 5, 32, FIT_ERR_YHINT, FIT_ERR_Y, FIT_ERR_COEFF},
               {3, 128, 3, 32, FIT_ERR_YHINT, FIT_ERR_Y, FIT_OK},  // the first array is of one function
               {3, 128, 3, 16, FIT_OK, FIT_ERR_Y, FIT_OK},         // the second array was not told
               {1, 128, 1, 32, FIT_ERR_YHINT, FIT_OK, FIT_OK},
               {3, 16, 3, 32, FIT_ERR_YHINT, FIT_OK, FIT_OK},
               {3, 0, 2, 16, FIT_OK, FIT_OK, FIT_OK}};
  for (const auto& k : cases) {
    SCOPED_TRACE(testing::Message() << k.ny << ' ' << k.yhint << ' ' << k.later_ny << ' ' << k.later_yhint);
    const fit_task<T> task(3, x, 0, k.ny, y.data(), k.yhint);
    ASSERT_EQ(entries::edit_spline(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), FIT_OK);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_NY, k.later_ny), FIT_OK);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_YHINT, k.later_yhint), FIT_OK);
    // An array told by its index is one function's, and makes no room for more.
    const auto first = entries::edit_indexed(task, FIT_ATTR_Y, 0, y.data());
    EXPECT_EQ(first, k.later_yhint == FIT_Y_BYSITE ? FIT_ERR_YHINT : FIT_OK);
    const auto read = [&] {
      const int32_t found[] = {
          entries::interpolate(task, 0, 0, 1, x, 0, 0, nullptr, nullptr, r.data(), 0, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
          entries::integrate(task, 0, 1, x, 0, x + 1, 0, nullptr, nullptr, r.data(), 0, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)};
      EXPECT_EQ(found[0], found[1]);
      return found[0];
    };
    T* pointer = c.data();
    const bool indexed = k.later_yhint != FIT_Y_BYSITE;
    EXPECT_EQ(read(), k.rows);
    EXPECT_EQ(entries::linear(task, 0, 0, nullptr), k.values ? k.values : k.rows);
    EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_Y, k.later_ny - 1, &pointer),
              indexed ? 0 : FIT_ERR_YHINT);
    EXPECT_EQ(!pointer, indexed && k.values);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, k.later_ny - 1, c.data()), k.rows);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_ORDER, 0), FIT_OK);
    for (const int64_t type : {FIT_TYPE_STEP_LEFT, FIT_TYPE_STEP_RIGHT, FIT_TYPE_LOOKUP}) {
      ASSERT_EQ(entries::edit_spline(task, 0, type, 0, nullptr, 0, nullptr, nullptr, 0), FIT_OK);
      if (type != FIT_TYPE_LOOKUP) {
        EXPECT_EQ(read(), k.values);
      }
    }
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, k.later_ny - 1, y.data()), k.by_index);
    ASSERT_EQ(entries::edit_pointer(task, FIT_ATTR_Y, y.data()), FIT_OK);  // and all is well again
    ASSERT_EQ(entries::edit_spline(task, 2, 0, 0, nullptr, 0, nullptr, c.data(), 0), FIT_OK);
    EXPECT_EQ(read(), FIT_OK);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_YHINT, FIT_Y_PTRS), FIT_OK);
    ASSERT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 0, y.data()), FIT_OK);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_YHINT, FIT_Y_BYSITE), FIT_OK);
    EXPECT_EQ(entries::linear(task, 0, 0, nullptr), k.later_ny > 1 ? FIT_ERR_Y : FIT_OK);
  }
}

// Cells and buckets are 32 bits wide.
TYPED_TEST(task_of, as_many_breakpoints_as_cells_have_numbers) {
  using T = TypeParam;
  const T ends[] = {0, 1};
  constexpr int64_t limit = int64_t{1} << 31;
  for (const int64_t nx : {limit, limit + 2, int64_t{1} << 32, INT64_MAX})
    for (const int64_t xhint : {FIT_X_NOHINT, FIT_X_UNIFORM}) {
      EXPECT_EQ(fit_task<T>(nx, ends, xhint).status(), FIT_ERR_NX);
      const fit_task<T> task(2, ends, xhint);
      EXPECT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_NX, nx), FIT_ERR_NX);
      EXPECT_EQ(record(task).nx, 2);
    }
  const fit_task<T> task(limit - 1, ends, FIT_X_UNIFORM);
  const T sites[] = {-1, 1, 2};
  int32_t cells[3];
  EXPECT_EQ(fit_entries<T>::search(task, 0, 3, sites, 0, nullptr, cells, nullptr, nullptr, nullptr), FIT_OK);
  EXPECT_EQ(cells[0], 0);
  EXPECT_EQ(cells[1], limit - 2);
  EXPECT_EQ(cells[2], limit - 1);
}

TYPED_TEST(task_of, refuses_and_keeps) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[2] = {0, 1}, ic[1] = {};
  T c[8], *p;
  for (const int32_t wide : {0, 1}) {
    const fit_task<T> task(2, x, 0, 1, x, 0, wide);
    struct {
      int64_t order, type, bc_type;
      const T* bc;
      int64_t ic_type;
      const T* ic;
      int32_t status;
    } const splines[] = {
        {-1, -1, 4, nullptr, 1, nullptr, FIT_ERR_ORDER}, {4, -1, 4, nullptr, 1, nullptr, FIT_ERR_TYPE},
        {5, 6, 128, nullptr, 1, nullptr, FIT_ERR_BC},    {4, 7, 64, nullptr, 1, nullptr, FIT_ERR_IC},
        {3, 8, 1, nullptr, 0, ic, FIT_ERR_ICTYPE},       {4, 3, 36, ic, 1, ic, FIT_OK},
    };
    for (const auto& s : splines) {
      EXPECT_EQ(entries::edit_spline(task, s.order, s.type, s.bc_type, s.bc, s.ic_type, s.ic, c, 0),
                s.status);
      if (s.type > 0) {
        EXPECT_EQ(record(task).s_type, s.type);
      }
      if (s.status == FIT_ERR_IC) {
        EXPECT_EQ(record(task).bc_type, 64);
      }
    }
    // Pairs of a value and the status of storing it; what was refused is not stored.
    struct {
      int64_t attribute, value;
      int32_t status;
    } const edits[] = {
        {14, 1, FIT_ERR_NX},
        {14, 2, 0},
        {15, 3, FIT_ERR_XHINT},
        {15, 2, 0},
        {16, 0, FIT_ERR_NY},
        {16, 1, 0},
        {17, 64, FIT_ERR_YHINT},
        {17, 32, 0},
        {18, -1, FIT_ERR_ORDER},
        {18, 9, 0},
        {19, 6, FIT_ERR_TYPE},
        {19, 9, 0},
        {20, 4, FIT_ERR_ICTYPE},
        {20, 12, 0},
        {20, -1, 0},
        {21, -1, FIT_ERR_BCTYPE},
        {21, 77, 0},
        {22, 8, FIT_ERR_COEFFHINT},
        {22, 32, 0},
        {23, 2, FIT_ERR_FLAGVALUE},
        {23, 1, 0},
        {13, 1, FIT_ERR_ATTR},
        {24, 1, FIT_ERR_ATTR},
    };
    for (const auto& e : edits) {
      EXPECT_EQ(arko_df_kernel_iEditVal(task, e.attribute, e.value), e.status)
          << e.attribute << ' ' << e.value;
      int64_t value = 0x5555555555555555, expected = value;
      const auto status = arko_df_kernel_iQueryVal(task, e.attribute, &value);
      EXPECT_EQ(status, e.status == FIT_ERR_ATTR ? FIT_ERR_ATTR : FIT_OK);
      if (e.status == FIT_OK) {
        if (wide)
          expected = e.value;
        else
          std::memcpy(&expected, &e.value, 4);
        EXPECT_EQ(value, expected) << e.attribute;
      }
    }
    EXPECT_EQ(arko_df_kernel_iQueryVal(task, 14, nullptr), FIT_ERR_OUTPTR);
    const int32_t refusals[] = {FIT_ERR_ATTR, FIT_ERR_X,     FIT_ERR_Y,   FIT_ERR_IC,
                                FIT_ERR_BC,   FIT_ERR_COEFF, FIT_ERR_ATTR};
    for (int64_t a = 0; a < 7; a++) {
      EXPECT_EQ(entries::edit_pointer(task, a, nullptr), refusals[a]) << a;
      EXPECT_EQ(entries::query_pointer(task, a, &p), a % 6 ? FIT_OK : FIT_ERR_ATTR) << a;
      EXPECT_EQ(entries::query_pointer(task, a, nullptr), FIT_ERR_OUTPTR);
      EXPECT_EQ(entries::query_indexed(task, a, 1, &p), FIT_ERR_INDEX);
      EXPECT_EQ(entries::query_indexed(task, a, -1, nullptr), FIT_ERR_OUTPTR);
      const int32_t indexed = a == 2 ? FIT_ERR_YHINT : a == 5 ? FIT_OK : FIT_ERR_ATTR;
      EXPECT_EQ(entries::query_indexed(task, a, 0, &p), indexed) << a;
      EXPECT_EQ(entries::edit_indexed(task, a, 1, c), a == 5 ? FIT_ERR_INDEX : indexed);
      EXPECT_EQ(entries::edit_indexed(task, a, 0, nullptr), a == 5 ? FIT_ERR_COEFF : indexed);
    }
  }
}

TYPED_TEST(task_of, a_null_task_has_its_status_from_every_entry) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  T x[2] = {0, 1}, *p = x;
  void *null = nullptr, *cell = x;
  std::vector<int32_t> found = {
      entries::new_task(nullptr, 2, x, 0, 0, nullptr, 0, 0),
      entries::edit_spline(nullptr, -1, -1, 4, nullptr, 1, nullptr, x, 0),
      entries::edit_pointer(nullptr, 1, x),
      entries::edit_indexed(nullptr, 2, 0, x),
      entries::query_pointer(nullptr, 1, &p),
      entries::query_indexed(nullptr, 2, 0, &p),
      arko_df_kernel_iEditVal(nullptr, 14, 2),
      arko_df_kernel_iQueryVal(nullptr, 14, &p),
      arko_df_kernel_DeleteTask(nullptr),
      arko_df_kernel_DeleteTask(&null),
      entries::search(nullptr, 0, 1, x, 0, nullptr, cell, nullptr, nullptr, nullptr),
      entries::interpolate(nullptr, 0, 0, 1, x, 0, 0, nullptr, nullptr, x, 0, cell, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
      entries::integrate(nullptr, 0, 1, x, 0, x, 0, nullptr, nullptr, x, 0, nullptr, nullptr, nullptr,
                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)};
  for (const auto construct : {entries::linear, entries::quadratic, entries::from_second, entries::natural,
                               entries::hermite, entries::bessel, entries::hyman, entries::akima})
    for (const int64_t method : {0, 5}) found.push_back(construct(nullptr, 0, method, recorded(2)));
  for (std::size_t i = 0; i < found.size(); i++) EXPECT_EQ(found[i], FIT_ERR_NULL_TASK) << i;
}

// Of every bucket, the last breakpoint below it and the first above it, counted in buckets of the breakpoints.
TYPED_TEST(task_of, buckets) {
  using T = TypeParam;
  std::mt19937 random(1);
  for (const int n : {2, 3, 17, 256, 272, 5000, 16383, 16384, 40000})
    for (const bool skewed : {false, true}) {
      std::vector<T> x(static_cast<std::size_t>(n));
      for (T& v : x)
        v = static_cast<T>(std::pow(std::generate_canonical<double, 53>(random), skewed ? 9 : 1));
      std::sort(x.begin(), x.end());
      const fit_task<T> task(x, FIT_X_NOHINT);
      const fit::task& t = record(task);
      const int64_t m = std::min(std::max(n / 16, 16), 1024);
      ASSERT_EQ(t.bucket_count, m);
      const T scale = static_cast<T>(m) / (x.back() - x[0]);
      EXPECT_EQ(sizeof(T) == 8 ? t.bucket_scale_d : t.bucket_scale_s, scale);
      for (int64_t k = 0; k <= m; k++) {
        int low = 0, high = n - 1;
        for (int j = 1; j < n; j++) {
          const auto b = static_cast<int64_t>((x[static_cast<std::size_t>(j)] - x[0]) * scale);
          if (b < std::min(k, m - 1)) low = j;
          if (b > k && j < high) high = j;
        }
        ASSERT_EQ(t.bucket_table[k].low, low) << n << ' ' << k;
        ASSERT_EQ(t.bucket_table[k].high, high) << n << ' ' << k;
      }
    }
  // Made again when asked for, and when the grid is no longer uniform.
  const T x[3] = {0, 1, 2};
  const fit_task<T> task(2, x, FIT_X_UNIFORM);
  EXPECT_EQ(record(task).bucket_table, nullptr);
  const int64_t hints[] = {FIT_X_QUASI, FIT_X_IRREGULAR, FIT_X_NOHINT};
  const T ends[] = {1, 2, 2};
  for (int i = 0; i < 3; i++) {
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_XHINT, hints[i]), FIT_OK);
    EXPECT_EQ(sizeof(T) == 8 ? record(task).bucket_scale_d : record(task).bucket_scale_s, 16 / ends[i]);
    EXPECT_EQ(record(task).bucket_table[16].high, ends[i]);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_NX, 3), FIT_OK);
  }
}

TYPED_TEST(task_of, memory) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[3] = {0, 1, 3}, y[6] = {};
  T c[100];
  const auto before = arko_core_live_blocks();
  for (int k = 1; k <= 3; k++) {  // the record, the values' table, the buckets
    void* task = nullptr;
    arko_core_fail_allocation(k);
    EXPECT_EQ(entries::new_task(&task, 3, x, 0, 2, y, 0, 0), FIT_ERR_MEMORY);
    EXPECT_EQ(task != nullptr, k > 1);
    EXPECT_EQ(arko_df_kernel_DeleteTask(&task), k > 1 ? FIT_OK : FIT_ERR_NULL_TASK);
    EXPECT_EQ(arko_core_live_blocks(), before) << k;
  }
  {
    const fit_task<T> task(3, x, 0, 2, y);
    ASSERT_EQ(entries::edit_spline(task, 4, 2, 2, nullptr, 0, nullptr, c, 0), FIT_OK);
    for (const auto& edit : {+[](void*t, T*p) { return entries::edit_pointer(t, FIT_ATTR_Y, p); },
                             +[](void*t, T*p) { return entries::edit_pointer(t, FIT_ATTR_COEFF, p); },
                             +[](void*t, T*) { return arko_df_kernel_iEditVal(t, FIT_ATTR_XHINT, 1); }}) {
      arko_core_fail_allocation(1);
      EXPECT_EQ(edit(task, c), FIT_ERR_MEMORY);
      EXPECT_EQ(edit(task, c), FIT_OK);
    }
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
}

}  // namespace
