// Cell search against the definition of a cell, for every method, length, count of threads and awkward site.

#include "fit/search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "core/testing.h"
#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;
using cells = std::vector<int32_t>;
constexpr int32_t untouched = -1;  // in both widths

template <class T> using numbers = std::vector<T>;

template <class T> int32_t cell_by_definition(const numbers<T>& x, T s) {
  const auto nx = static_cast<int32_t>(x.size());
  return s == x.back() ? nx - 1 : static_cast<int32_t>(std::upper_bound(x.begin(), x.end(), s) - x.begin());
}
template <class T> cells cells_by_definition(const numbers<T>& x, const numbers<T>& sites) {
  cells c;
  for (const T s : sites) c.push_back(cell_by_definition(x, s));
  return c;
}

// Kinds of grid: steps alike; of all sizes; over the whole range of numbers; the smallest numbers.
enum class grid { even, rough, widest, tiniest };
template <class T> numbers<T> make_grid(grid kind, int n, std::mt19937& random) {
  using limits = std::numeric_limits<T>;
  numbers<T> x(static_cast<std::size_t>(n));
  std::uniform_real_distribution<double> power(-4, 4);
  double sum = -5;
  for (int i = 0; i < n; i++) {
    T& v = x[static_cast<std::size_t>(i)];
    if (kind == grid::even) v = static_cast<T>(i) / 4;  // cells are calculated without rounding
    if (kind == grid::rough) v = static_cast<T>(sum += std::pow(10, power(random)));
    if (kind == grid::widest) v = limits::max() * (static_cast<T>(2 * i) / static_cast<T>(n - 1) - 1);
    if (kind == grid::tiniest) v = limits::denorm_min() * static_cast<T>(i);
  }
  for (int i = 1; i < n; i++) {  // in single precision small steps get lost
    T& v = x[static_cast<std::size_t>(i)];
    v = std::max(v, std::nextafter(x[static_cast<std::size_t>(i - 1)], limits::infinity()));
  }
  return x;
}

// The ends, some breakpoints, the numbers beside all of them, the ends of the number line, and random sites.
template <class T> numbers<T> make_sites(const numbers<T>& x, int count, std::mt19937& random) {
  constexpr T far = std::numeric_limits<T>::infinity();
  numbers<T> s = {x[0], x.back(), -far, far};
  for (int i = 0; i < 8; i++) s.push_back(x[random() % x.size()]);
  for (int i = 0; i < 12; i++)
    if (i < 2 || i > 3)
      s.insert(s.end(), {std::nextafter(s[static_cast<std::size_t>(i)], -far),
                         std::nextafter(s[static_cast<std::size_t>(i)], far)});
  while (static_cast<int>(s.size()) < count) {
    const T a = x[random() % x.size()], b = x[std::min<std::size_t>(random() % x.size() + 1, x.size() - 1)];
    const T u = std::generate_canonical<T, 24>(random);
    s.push_back(a * (1 - u) + b * u);
  }
  std::shuffle(s.begin(), s.end(), random);
  s.resize(static_cast<std::size_t>(count));
  return s;
}

template <class T> class search_of : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(search_of, precisions);

// Methods of DFSearch1D by their hints.
struct way {
  const char* name;
  int64_t xhint, sitehint;
  bool peak;
};
constexpr way ways[] = {{"uniform", FIT_X_UNIFORM, 0, false},
                        {"quasi", FIT_X_QUASI, 0, false},
                        {"sorted", FIT_X_NOHINT, FIT_SITE_SORTED, false},
                        {"peak", FIT_X_IRREGULAR, 0, true},
                        {"hybrid", FIT_X_IRREGULAR, 0, false}};

// Into how many slices the sites go.
int32_t expected_slices(const std::string& name, bool single, int nsite, int nx, int t) {
  if (t == 1 || nsite < 32) return 0;
  if (name == "uniform") return nsite > 1000 ? t : 0;
  if (name == "sorted") return nsite > 3000 ? t : 0;
  if (name == "peak") return nsite > 1200 || nx > 1200 ? t : 0;
  if (name == "quasi")
    return nsite > 300 || (nsite > 150 && nx >= 600) || (t >= 4 && nsite > 150 && nx >= 40) ? t : 0;
  const bool many = nsite > 1200 || (nsite > 600 && t <= 4) || (nsite > 300 && t <= 2);
  return many && nx > (single ? 32 : 8) ? std::min(t, nsite / (single ? 32 : 128)) : 0;
}

TYPED_TEST(search_of, every_method_gives_the_cells_of_the_definition) {
  using T = TypeParam;
  std::mt19937 random(1);
  const auto allocations = arko_core_allocations();
  int64_t tasks_made = 0;
  for (const grid kind : {grid::even, grid::rough, grid::widest, grid::tiniest})
    for (const int nx : {2, 3, 8, 9, 32, 33, 39, 40, 599, 600, 1200, 1201, 20000}) {
      const numbers<T> x = make_grid<T>(kind, nx, random);
      for (const way& w : ways) {
        const bool uniform = w.xhint == FIT_X_UNIFORM;
        if (uniform && kind != grid::even) continue;
        const numbers<T> ends = {x[0], x.back()};
        const int32_t wide = random() % 2;
        const fit_task<T> task(nx, uniform ? ends.data() : x.data(), w.xhint, 0, nullptr, 0, wide);
        tasks_made += uniform ? 1 : 2;
        for (const int nsite :
             {1, 31, 32, 33, 150, 151, 300, 301, 600, 601, 1000, 1001, 1200, 1201, 3000, 3001}) {
          numbers<T> sites = make_sites(x, nsite, random);
          if (w.sitehint == FIT_SITE_SORTED) std::sort(sites.begin(), sites.end());
          cells expected = cells_by_definition(x, sites);
          const double hint[5] = {0, w.peak ? 1.0 : 0.0, 0, 0,
                                  static_cast<double>(random() % (static_cast<unsigned>(nx) + 1))};
          for (const int32_t t : {1, 2, 4, 5}) {
            std::vector<int64_t> found(static_cast<std::size_t>(nsite) + 1, untouched);
            const auto status = fit_entries<T>::search(task, 0, nsite, sites.data(), w.sitehint, hint,
                                                       found.data(), nullptr, nullptr, recorded(t));
            ASSERT_EQ(status, FIT_OK);
            EXPECT_EQ(tasks_recorded(), expected_slices(w.name, sizeof(T) == 4, nsite, nx, t))
                << w.name << ' ' << nsite << ' ' << nx << ' ' << t;
            const auto* const narrow = reinterpret_cast<const int32_t*>(found.data());
            for (int i = 0; i < nsite; i++) {
              const auto at = static_cast<std::size_t>(i);
              ASSERT_EQ(wide ? found[at] : narrow[i], expected[at])
                  << w.name << " grid " << static_cast<int>(kind) << " nx " << nx << " site " << i << " of "
                  << nsite << ": " << sites[at];
            }
            ASSERT_EQ(wide ? found[static_cast<std::size_t>(nsite)] : narrow[nsite], untouched);
          }
        }
      }
    }
  // Records and buckets: searches have none.
  EXPECT_EQ(arko_core_allocations() - allocations, tasks_made);
}

// Block kernels under both names, in pieces as others call them, with and without buckets.
TYPED_TEST(search_of, block_kernels) {
  using T = TypeParam;
  std::mt19937 random(2);
  for (const int nx : {2, 9, 700}) {
    const numbers<T> x = make_grid<T>(grid::even, nx, random), ends = {x[0], x.back()};
    const fit_task<T> task(x, FIT_X_NOHINT);
    const fit::task& record = *static_cast<const fit::task*>(task.get());
    const T scale = static_cast<T>(nx - 1) / (x.back() - x[0]);
    numbers<T> sites = make_sites(x, 500, random);
    std::sort(sites.begin(), sites.end());
    const cells expected = cells_by_definition(x, sites);
    const auto callback = [](void* n, const void*, void* cell, int32_t* flag, void* wide, void*) -> int32_t {
      const int64_t count = wide ? *static_cast<int64_t*>(n) : *static_cast<int32_t*>(n);
      EXPECT_LE(count, 128);
      for (int64_t i = 0; i < count; i++) {  // guesses above the low word must be understood
        EXPECT_EQ(flag[i], 0);
        if (wide)
          static_cast<int64_t*>(cell)[i] = (i % 7 - 3) << 33;
        else
          static_cast<int32_t*>(cell)[i] = static_cast<int32_t>(i % 7 - 3) * 100;
      }
      return 3;
    };
    for (const auto& kernels : fit_entries<T>::kernels)
      for (int k = 0; k < 7; k++)
        for (const bool second : {false, true}) {  // wide, without buckets, or a peak beyond the end
          const bool uniform = k == 0 || k == 6, user = k >= 5;
          const T constant = k == 3   ? static_cast<T>(second ? nx : 1)
                             : k == 4 ? fit::bucket_scale<T>(record)
                                      : scale;
          cells found(501, untouched);
          std::vector<int32_t> flags(500);
          int32_t start = 0;
          int done = 0;
          for (const int piece : {0, 1, 63, 64, 128, 200, 44}) {
            const int32_t status =
                kernels[k](nx, uniform ? ends.data() : x.data(), piece, sites.data() + done, second, constant,
                           &start, second ? nullptr : reinterpret_cast<const int32_t*>(record.bucket_table),
                           callback, second ? &start : nullptr, nullptr, flags.data(), found.data() + done);
            ASSERT_EQ(status, user && piece ? 3 : 0);
            done += piece;
          }
          ASSERT_EQ(found[500], untouched);
          found.pop_back();
          // A site on an inner breakpoint may stay in a guessed cell of that number.
          if (k == 5)
            for (std::size_t i = 0; i < 500; i++)
              if (found[i] == expected[i] - 1 && sites[i] == x[static_cast<std::size_t>(found[i])])
                found[i]++;
          EXPECT_EQ(found, expected) << "kernel " << k << " nx " << nx << (second ? " second" : "");
        }
  }
}

TYPED_TEST(search_of, running_index_of_sorted_stays_at_the_last_breakpoint) {
  using T = TypeParam;
  const numbers<T> x = {0, 1, 2, 3}, at_end(40, 3), mixed = {T(0.5), 1, 3, 3}, beyond = {3, 4};
  const struct {
    const numbers<T>& sites;
    int32_t before, after;
  } rows[] = {{at_end, 0, 0}, {at_end, 2, 2}, {mixed, 0, 2}, {beyond, 2, 4}};
  for (const auto& r : rows) {
    int32_t start = r.before;
    cells found(r.sites.size());
    fit_entries<T>::kernels[0][2](4, x.data(), static_cast<int32_t>(r.sites.size()), r.sites.data(), 0, 0,
                                  &start, nullptr, nullptr, nullptr, nullptr, nullptr, found.data());
    EXPECT_EQ(found, cells_by_definition(x, r.sites));
    EXPECT_EQ(start, r.after);
  }
}

// A uniform cell is calculated: just below the right end rounding may give nx. Numbers that are none break nothing.
TYPED_TEST(search_of, uniform_rounding_and_nan) {
  using T = TypeParam;
  const T ends[2] = {0, 15}, below = std::nextafter(ends[1], ends[0]);
  int rounded = 0;
  for (int nx = 2; nx < 1000; nx++) {
    const T scale = static_cast<T>(nx - 1) / ends[1], product = below * scale;
    const fit_task<T> task(nx, ends, FIT_X_UNIFORM);
    int32_t cell = -1;
    fit_entries<T>::search(task, 0, 1, &below, 0, nullptr, &cell, nullptr, nullptr, nullptr);
    ASSERT_EQ(cell, product >= static_cast<T>(nx - 1) ? nx : nx - 1);
    rounded += cell == nx;
  }
  EXPECT_GT(rounded, 0);
  std::mt19937 random(4);
  const numbers<T> x = make_grid<T>(grid::rough, 100, random), nans(40, std::numeric_limits<T>::quiet_NaN());
  for (const way& w : ways) {
    const fit_task<T> task(x, w.xhint);
    const double hint[5] = {0, w.peak ? 1.0 : 0.0, 0, 0, 50};
    cells found(40, untouched);
    EXPECT_EQ(fit_entries<T>::search(task, 0, 40, nans.data(), w.sitehint, hint, found.data(), nullptr,
                                     nullptr, nullptr),
              FIT_OK);
    for (const int32_t c : found) EXPECT_TRUE(c >= 0 && c <= 100) << w.name;
  }
}

TYPED_TEST(search_of, evenly_spaced_sites) {
  using T = TypeParam;
  std::mt19937 random(5);
  const numbers<T> x = make_grid<T>(grid::rough, 50, random);
  const fit_task<T> task(x, FIT_X_NOHINT);
  const T ends[2] = {x[0] - 1, x.back()};
  for (const int n : {1, 2, 31, 4096, 4097}) {
    numbers<T> sites;
    for (int i = 0; i < n; i++)
      sites.push_back(static_cast<T>(n == 1 ? ends[0]
                                            : ends[0] + static_cast<long double>(i) *
                                                            (static_cast<long double>(ends[1]) - ends[0]) /
                                                            (n - 1)));
    // One rounding of the step lies between the two ways to write a site: take those off the breakpoints.
    cells found(static_cast<std::size_t>(n)), expected = cells_by_definition(x, sites);
    const auto search = [&] {
      return fit_entries<T>::search(task, 0, n, ends, FIT_SITE_UNIFORM, nullptr, found.data(), nullptr,
                                    nullptr, nullptr);
    };
    const auto allocations = arko_core_allocations(), live = arko_core_live_blocks();
    EXPECT_EQ(search(), FIT_OK);
    EXPECT_EQ(found, expected) << n;
    EXPECT_EQ(arko_core_allocations() - allocations, n > 4096);
    arko_core_fail_allocation(1);
    EXPECT_EQ(search(), n > 4096 ? FIT_ERR_MEMORY : FIT_OK);
    arko_core_fail_allocation(0);
    EXPECT_EQ(arko_core_live_blocks(), live);
  }
}

// What a callback was asked, and what it shall answer.
struct caller {
  std::vector<int64_t> counts;
  std::vector<int32_t> answers;
  bool wide;
  static int32_t search(void* n, const void* site, void* cell, int32_t* flag, void* params, void* spare) {
    caller& me = *static_cast<caller*>(params);
    const int64_t count = me.wide ? *static_cast<int64_t*>(n) : *static_cast<int32_t*>(n);
    EXPECT_EQ(spare, nullptr);
    EXPECT_NE(site, nullptr);
    for (int64_t i = 0; i < count; i++) {
      EXPECT_EQ(flag[i], 0);
      flag[i] = i % 2;  // every other cell is final
      if (me.wide)
        static_cast<int64_t*>(cell)[i] = 2;
      else
        static_cast<int32_t*>(cell)[i] = 2;
    }
    me.counts.push_back(count);
    return me.answers[me.counts.size() - 1];
  }
};

TYPED_TEST(search_of, callbacks) {
  using T = TypeParam;
  const numbers<T> x = {0, 1, 2, 3, 4};
  numbers<T> sites;
  for (int i = 0; i < 300; i++) sites.push_back(static_cast<T>(i % 11) / 2 - T(0.5));
  const cells exact = cells_by_definition(x, sites);
  const struct {
    int nsite;
    std::vector<int32_t> answers;
    std::vector<int64_t> counts;
    int32_t status;
    int written;
  } rows[] = {
      {0, {0}, {}, 0, 0},
      {1, {0}, {1}, 0, 1},
      {127, {1000}, {127}, 0, 127},
      {128, {0, 1000}, {128, 0}, 0, 128},
      {256, {7, 1000, 8}, {128, 128, 0}, 8, 256},
      {300, {1000, -5, 0}, {128, 128}, -5, 128},
      {300, {1000, 0, -1}, {128, 128, 44}, -1, 256},
      {300, {0, 1000, 2}, {128, 128, 44}, 2, 300},
  };
  for (const bool wide : {false, true})
    for (const bool uniform : {false, true}) {
      const numbers<T> ends = {0, 4};
      const fit_task<T> task(5, uniform ? ends.data() : x.data(), uniform ? FIT_X_UNIFORM : FIT_X_QUASI, 0,
                             nullptr, 0, wide);
      for (const auto& r : rows) {
        caller me = {{}, r.answers, wide};
        std::vector<int64_t> found(301, untouched);
        const double bad_hint[5] = {0, 9, 0, 0, 0};  // not looked at
        const auto status = fit_entries<T>::search(task, 0, r.nsite, sites.data(), 64, bad_hint, found.data(),
                                                   caller::search, &me, recorded(4));
        EXPECT_EQ(status, r.status);
        EXPECT_EQ(me.counts, r.counts);
        EXPECT_EQ(tasks_recorded(), 0);
        for (int i = 0; i < 300; i++) {
          const auto at = static_cast<std::size_t>(i);
          const int64_t cell = wide ? found[at] : reinterpret_cast<const int32_t*>(found.data())[i];
          const bool given = i % 128 % 2 || r.answers[at / 128] == 1000 || (!uniform && sites[at] == 2);
          ASSERT_EQ(cell, i >= r.written ? untouched
                          : given        ? 2
                                         : exact[at])
              << i << ' ' << r.nsite << ' ' << wide << uniform;
          if (r.written == i) break;
        }
      }
    }
}

TYPED_TEST(search_of, refuses) {
  using T = TypeParam;
  const T x[3] = {0, 1, 2}, site = 1;
  const fit_task<T> task(3, x, FIT_X_NOHINT);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double kind, cell;
    int32_t status;
  } rows[] = {{0, 99, FIT_OK},
              {1, 0, FIT_OK},
              {1, 3, FIT_OK},
              {1, 3.01, FIT_ERR_DATAHINT},
              {1, -0.5, FIT_ERR_DATAHINT},
              {1, nan, FIT_ERR_DATAHINT},
              {2, 1, FIT_ERR_DATAHINT},
              {nan, 1, FIT_ERR_DATAHINT}};
  for (const auto& r : rows) {
    const double hint[5] = {0, r.kind, 0, 0, r.cell};
    int32_t cell = untouched;
    EXPECT_EQ(fit_entries<T>::search(task, 0, 1, &site, 0, hint, &cell, nullptr, nullptr, nullptr), r.status);
    EXPECT_EQ(cell, r.status == FIT_OK ? 2 : untouched);
    EXPECT_EQ(fit_entries<T>::search(task, 0, 0, &site, 0, nullptr, &cell, nullptr, nullptr, nullptr),
              FIT_OK);
  }
}

}  // namespace
