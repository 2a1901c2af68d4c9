// The task: checks in their order, tables of pointers, the record as callers know it, search buckets.

#include "fit/task.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;

template <class T> class task_of : public testing::Test {};
TYPED_TEST_SUITE(task_of, precisions);

const fit::task& record(void* task) { return *static_cast<const fit::task*>(task); }

// Refused tasks are null; those that only memory lacks are there, to be deleted.
TYPED_TEST(task_of, creation_checks_in_order) {
  using T = TypeParam;
  const T numbers[6] = {0, 1, 3};
  for (auto& row : rows("task_creation.txt")) {
    SCOPED_TRACE(row.str());
    int64_t nx, xhint, ny, yhint;
    bool x, y;
    int32_t status;
    ASSERT_TRUE(row >> nx >> x >> xhint >> ny >> y >> yhint >> status);
    void* task = &task;
    EXPECT_EQ(fit_entries<T>::new_task(&task, nx, x ? numbers : nullptr, xhint, ny, y ? numbers : nullptr,
                                       yhint, 0),
              status);
    const bool made = status == FIT_OK || status == FIT_ERR_MEMORY;
    EXPECT_EQ(task != nullptr, made);
    EXPECT_EQ(arko_df_kernel_DeleteTask(&task), made ? FIT_OK : FIT_ERR_NULL_TASK);
    EXPECT_EQ(task, nullptr);
  }
}

// Which function each pointer belongs to, by storage hint; rows of the knot quadratic are one cell longer.
TYPED_TEST(task_of, tables_of_pointers) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[5] = {0, 1, 3, 4, 9}, y[15] = {};
  T c[100];
  for (const int64_t hint : {0, 16, 32, 128}) {
    const fit_task<T> task(5, x, 0, 3, y, hint);
    const bool one_array = hint == FIT_Y_BYSITE, apart = hint == FIT_Y_PTRS;
    const auto told = [&](int64_t attribute, int64_t f) {
      T* found = c + 99;
      EXPECT_EQ(entries::query_indexed(task, attribute, f, &found),
                attribute == FIT_ATTR_Y && one_array ? FIT_ERR_YHINT : FIT_OK);
      return found;
    };
    EXPECT_EQ(told(FIT_ATTR_COEFF, 0), nullptr);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, 0, c), FIT_ERR_COEFF);
    for (int64_t f = 0; f < 3; f++)
      EXPECT_EQ(told(FIT_ATTR_Y, f), one_array ? c + 99 : apart && f ? nullptr : y + f * 5);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 7, y), one_array ? FIT_ERR_YHINT : FIT_ERR_INDEX);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 2, y + 1), one_array ? FIT_ERR_YHINT : FIT_OK);
    EXPECT_EQ(told(FIT_ATTR_Y, 2), one_array ? c + 99 : y + 1);
    T* first = nullptr;
    EXPECT_EQ(entries::edit_pointer(task, FIT_ATTR_Y, y + 2), FIT_OK);
    EXPECT_EQ(entries::query_pointer(task, FIT_ATTR_Y, &first), FIT_OK);
    EXPECT_EQ(first, y + 2);
    for (const int64_t type : {0, 1, 6}) {
      ASSERT_EQ(entries::edit_spline(task, 3, type, 0, nullptr, 0, nullptr, c, hint), FIT_OK);
      for (int64_t f = 0; f < 3; f++)
        EXPECT_EQ(told(FIT_ATTR_COEFF, f), f && apart ? nullptr : c + f * 3 * (type == 1 ? 5 : 4));
    }
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, 1, c + 1), FIT_OK);
    EXPECT_EQ(told(FIT_ATTR_COEFF, 1), c + 1);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_ORDER, 2), FIT_OK);
    EXPECT_EQ(entries::edit_pointer(task, FIT_ATTR_COEFF, c + 2), FIT_OK);
    EXPECT_EQ(told(FIT_ATTR_COEFF, 1), apart ? nullptr : c + 2 + 8);
  }
  const fit_task<T> none(5, x, 4);  // no functions, so nothing to point at
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
  const numbers<T> y(3000);
  numbers<T> c(4000), r(1000);
  for (auto& row : rows("task_functions.txt")) {
    SCOPED_TRACE(row.str());
    int64_t ny, yhint, later_ny, later_yhint;
    int32_t by_index, without_values, without_rows;
    ASSERT_TRUE(row >> ny >> yhint >> later_ny >> later_yhint >> by_index >> without_values >> without_rows);
    const fit_task<T> task(3, x, 0, ny, y.data(), yhint);
    const auto expect_reading = [&](int32_t status) {
      EXPECT_EQ((interpolation<T>{.site = x, .r = r.data()}(task)), status);
      EXPECT_EQ((integration<T>{.l = x, .u = x + 1, .r = r.data()}(task)), status);
    };
    const auto edit = [&](int64_t attribute, int64_t value) {
      ASSERT_EQ(arko_df_kernel_iEditVal(task, attribute, value), FIT_OK);
    };
    const constructor linear = entries::construct("linear");
    const bool indexed = later_yhint != FIT_Y_BYSITE;
    task.describe(2, 0, c.data());
    edit(FIT_ATTR_NY, later_ny), edit(FIT_ATTR_YHINT, later_yhint);
    // An array told by its index is one function's, and makes no room for more.
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 0, y.data()), indexed ? FIT_OK : FIT_ERR_YHINT);
    expect_reading(without_rows);
    EXPECT_EQ(linear(task, 0, 0, nullptr), without_values ? without_values : without_rows);
    T* pointer = c.data();
    EXPECT_EQ(entries::query_indexed(task, FIT_ATTR_Y, later_ny - 1, &pointer),
              indexed ? FIT_OK : FIT_ERR_YHINT);
    EXPECT_EQ(!pointer, indexed && without_values);
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_COEFF, later_ny - 1, c.data()), without_rows);
    for (const int64_t type : {FIT_TYPE_STEP_LEFT, FIT_TYPE_STEP_RIGHT}) {
      task.describe(0, type);
      expect_reading(without_values);
    }
    EXPECT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, later_ny - 1, y.data()), by_index);
    ASSERT_EQ(entries::edit_pointer(task, FIT_ATTR_Y, y.data()), FIT_OK);  // and all is well again
    task.describe(2, 0, c.data());
    expect_reading(FIT_OK);
    edit(FIT_ATTR_YHINT, FIT_Y_PTRS);
    ASSERT_EQ(entries::edit_indexed(task, FIT_ATTR_Y, 0, y.data()), FIT_OK);
    edit(FIT_ATTR_YHINT, FIT_Y_BYSITE);
    EXPECT_EQ(linear(task, 0, 0, nullptr), later_ny > 1 ? FIT_ERR_Y : FIT_OK);
  }
}

// What is refused is not stored, but what was checked before it.
TYPED_TEST(task_of, refuses_and_keeps) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[2] = {0, 1}, ic[1] = {};
  T c[8], *p;
  for (const bool wide : {false, true}) {
    const fit_task<T> task(2, x, 0, 1, x, 0, wide);
    const struct {
      int64_t order, type, bc_type;
      const T* bc;
      int64_t ic_type;
      const T* ic;
      int32_t status;
    } splines[] = {
        {-1, -1, 4, nullptr, 1, nullptr, FIT_ERR_ORDER}, {4, -1, 4, nullptr, 1, nullptr, FIT_ERR_TYPE},
        {5, 6, 128, nullptr, 1, nullptr, FIT_ERR_BC},    {4, 7, 64, nullptr, 1, nullptr, FIT_ERR_IC},
        {3, 8, 1, nullptr, 0, ic, FIT_ERR_ICTYPE},       {4, 3, 36, ic, 1, ic, FIT_OK}};
    for (const auto& s : splines) {
      EXPECT_EQ(entries::edit_spline(task, s.order, s.type, s.bc_type, s.bc, s.ic_type, s.ic, c, 0),
                s.status);
      if (s.type < 0) continue;
      EXPECT_EQ(record(task).s_type, s.type);
      EXPECT_EQ(record(task).bc_type, s.status == FIT_ERR_BC ? 0 : s.bc_type);
      EXPECT_EQ(record(task).ic, s.status == FIT_OK ? ic : nullptr);
    }
    for (auto& row : rows("task_edits.txt")) {
      SCOPED_TRACE(row.str());
      int64_t attribute, value, found = -1, before = 0;
      int32_t status;
      ASSERT_TRUE(row >> attribute >> value >> status);
      EXPECT_EQ(arko_df_kernel_iQueryVal(task, attribute, &before), status == FIT_ERR_ATTR ? status : FIT_OK);
      EXPECT_EQ(arko_df_kernel_iEditVal(task, attribute, value), status);
      if (status == FIT_ERR_ATTR) continue;
      const int64_t kept = status == FIT_OK ? value : before;
      EXPECT_EQ(arko_df_kernel_iQueryVal(task, attribute, &found), FIT_OK);
      EXPECT_EQ(found, wide ? kept : (-1LL << 32) | (kept & UINT32_MAX));  // not a byte more is written
    }
    EXPECT_EQ(arko_df_kernel_iQueryVal(task, 14, nullptr), FIT_ERR_OUTPTR);
    const int32_t refusals[] = {FIT_ERR_ATTR, FIT_ERR_X,     FIT_ERR_Y,   FIT_ERR_IC,
                                FIT_ERR_BC,   FIT_ERR_COEFF, FIT_ERR_ATTR};
    for (int64_t a = 0; a < 7; a++) {
      const bool rows = a == FIT_ATTR_COEFF;
      const int32_t indexed = a == FIT_ATTR_Y ? FIT_ERR_YHINT : rows ? FIT_OK : FIT_ERR_ATTR;
      EXPECT_EQ(entries::edit_pointer(task, a, nullptr), refusals[a]) << a;
      EXPECT_EQ(entries::query_pointer(task, a, &p), a % 6 ? FIT_OK : FIT_ERR_ATTR) << a;
      EXPECT_EQ(entries::query_pointer(task, a, nullptr), FIT_ERR_OUTPTR);
      EXPECT_EQ(entries::query_indexed(task, a, 1, &p), FIT_ERR_INDEX);
      EXPECT_EQ(entries::query_indexed(task, a, -1, nullptr), FIT_ERR_OUTPTR);
      EXPECT_EQ(entries::query_indexed(task, a, 0, &p), indexed) << a;
      EXPECT_EQ(entries::edit_indexed(task, a, 1, c), rows ? FIT_ERR_INDEX : indexed);
      EXPECT_EQ(entries::edit_indexed(task, a, 0, nullptr), rows ? FIT_ERR_COEFF : indexed);
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
      interpolation<T>{.site = x, .r = x, .cells = cell}(nullptr),
      integration<T>{.l = x, .u = x, .r = x}(nullptr)};
  for (const auto& spline : entries::splines)
    for (const int64_t method : {0, 5})
      found.push_back(spline.make(nullptr, 0, method, scripted_services::with(2)));
  for (std::size_t i = 0; i < found.size(); i++) EXPECT_EQ(found[i], FIT_ERR_NULL_TASK) << i;
}

// Of every bucket, the last breakpoint below it and the first above it, counted in buckets of the breakpoints.
TYPED_TEST(task_of, buckets) {
  using T = TypeParam;
  std::mt19937 random(1);
  for (const int n : {2, 17, 272, 16383, 40000})
    for (const int skew : {1, 9}) {
      numbers<T> x;
      for (int i = 0; i < n; i++)
        x.push_back(static_cast<T>(std::pow(std::generate_canonical<double, 53>(random), skew)));
      std::sort(x.begin(), x.end());
      const fit_task<T> task(n, x.data(), FIT_X_NOHINT);
      const fit::task& t = record(task);
      const int64_t m = std::clamp(n / 16, 16, 1024);
      const T scale = static_cast<T>(m) / (x.back() - x[0]);
      ASSERT_EQ(t.bucket_count, m);
      EXPECT_EQ(sizeof(T) == 8 ? t.bucket_scale_d : t.bucket_scale_s, scale);
      for (int64_t k = 0; k <= m; k++) {
        const auto beyond = [&](int64_t bucket) {  // the first breakpoint of a bucket behind this one
          return std::partition_point(
                     x.begin(), x.end(),
                     [&](T v) { return static_cast<int64_t>((v - x[0]) * scale) <= bucket; }) -
                 x.begin();
        };
        ASSERT_EQ(t.bucket_table[k].low, std::max<int64_t>(0, beyond(std::min(k, m - 1) - 1) - 1))
            << n << ' ' << k;
        ASSERT_EQ(t.bucket_table[k].high, std::min<int64_t>(n - 1, beyond(k))) << n << ' ' << k;
      }
    }
  // Made again when asked for, and when the grid is no longer uniform.
  const T x[3] = {0, 1, 2}, ends[] = {1, 2, 2};
  const fit_task<T> task(2, x, FIT_X_UNIFORM);
  EXPECT_EQ(record(task).bucket_table, nullptr);
  const int64_t hints[] = {FIT_X_QUASI, FIT_X_IRREGULAR, FIT_X_NOHINT};
  for (int i = 0; i < 3; i++) {
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_XHINT, hints[i]), FIT_OK);
    EXPECT_EQ(record(task).bucket_table[16].high, ends[i]);
    ASSERT_EQ(arko_df_kernel_iEditVal(task, FIT_ATTR_NX, 3), FIT_OK);
  }
}

TYPED_TEST(task_of, tells_every_lack_of_memory) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[3] = {0, 1, 3}, y[6] = {};
  T c[100];
  int32_t (*const edits[])(void*, T*) = {
      [](void* t, T* c) { return entries::edit_spline(t, 4, 2, 2, nullptr, 0, nullptr, c, 0); },
      [](void* t, T* y) { return entries::edit_pointer(t, FIT_ATTR_Y, y); },
      [](void* t, T* c) { return entries::edit_pointer(t, FIT_ATTR_COEFF, c); },
      [](void* t, T*) { return arko_df_kernel_iEditVal(t, FIT_ATTR_XHINT, FIT_X_IRREGULAR); }};
  int lives = 0;
  const int allocations = each_allocation_fails(FIT_ERR_MEMORY, [&] {
    void* task = nullptr;
    int32_t status = entries::new_task(&task, 3, x, 0, 2, y, 0, 0);
    EXPECT_EQ(task != nullptr, lives++ > 0);  // where all but its record fails it is there, to be deleted
    for (const auto edit : edits)
      if (status == FIT_OK && (status = edit(task, c)) != FIT_OK) {
        EXPECT_EQ(edit(task, c), FIT_OK);
      }
    arko_df_kernel_DeleteTask(&task);
    return status;
  });
  EXPECT_EQ(allocations, 7);  // the record, tables of values, buckets, rows, values, rows, buckets
}

}  // namespace
