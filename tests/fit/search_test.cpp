// Cell search against the definition of a cell, for every method, length, count of threads and awkward site.

#include "fit/search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;
using cells = std::vector<int32_t>;
constexpr int32_t untouched = -1;  // in both widths

template <class T> cells cells_by_definition(const numbers<T>& x, const numbers<T>& sites) {
  cells c;
  for (const T s : sites)
    c.push_back(static_cast<int32_t>(s == x.back() ? std::ssize(x) - 1
                                                   : std::upper_bound(x.begin(), x.end(), s) - x.begin()));
  return c;
}

// Kinds of grid: steps alike; of all sizes; over the whole range of numbers; the smallest numbers.
enum class grid { even, rough, widest, tiniest };
template <class T> numbers<T> make_grid(grid kind, int n, std::mt19937& random) {
  using limits = std::numeric_limits<T>;
  std::uniform_real_distribution<double> power(-4, 4);
  double sum = -5;
  numbers<T> x;
  for (int i = 0; i < n; i++) {
    sum += std::pow(10, power(random));
    T v = kind == grid::even     ? static_cast<T>(i) / 4  // cells are calculated without rounding
          : kind == grid::rough  ? static_cast<T>(sum)
          : kind == grid::widest ? limits::max() * (static_cast<T>(2 * i) / static_cast<T>(n - 1) - 1)
                                 : limits::denorm_min() * static_cast<T>(i);
    if (i > 0) v = std::max(v, std::nextafter(x.back(), limits::infinity()));  // small steps get lost
    x.push_back(v);
  }
  return x;
}

// The ends, some breakpoints, the numbers beside all of them, the ends of the number line, and random sites.
template <class T> numbers<T> make_sites(const numbers<T>& x, int count, std::mt19937& random) {
  constexpr T far = std::numeric_limits<T>::infinity();
  numbers<T> s = {x[0], x.back()};
  for (int i = 0; i < 8; i++) s.push_back(x[random() % x.size()]);
  for (std::size_t i = 0; i < 10; i++)
    s.insert(s.end(), {std::nextafter(s[i], -far), std::nextafter(s[i], far)});
  s.insert(s.end(), {-far, far});
  while (static_cast<int>(s.size()) < count) {
    const T a = x[random() % x.size()], b = x[std::min<std::size_t>(random() % x.size() + 1, x.size() - 1)];
    const T u = std::generate_canonical<T, 24>(random);
    s.push_back(a * (1 - u) + b * u);
  }
  std::shuffle(s.begin(), s.end(), random);
  s.resize(static_cast<std::size_t>(count));
  return s;
}

// Methods of DFSearch1D by their hints.
struct way {
  const char* name;
  int64_t xhint, sitehint;
  bool peak;
};
constexpr way ways[] = {{"uniform", FIT_X_UNIFORM, 0, false},
                        {"quasi", FIT_X_QUASI, 0, false},
                        {"sorted", FIT_X_NOHINT, FIT_SITE_SORTED, true},
                        {"peak", FIT_X_IRREGULAR, 0, true},
                        {"hybrid", FIT_X_NOHINT, 0, false}};

template <class T> class search_of : public testing::Test {
 protected:
  std::mt19937 random{1};

  // Sites of all kinds in a task; whatever the width of integers, cells come as 32 bits.
  cells search(void* task, bool wide, const way& w, int64_t nx, const numbers<T>& sites,
               const DFThreadServices* services) {
    const double hint[5] = {0, w.peak ? 1.0 : 0.0, 0, 0,
                            static_cast<double>(random() % static_cast<unsigned>(nx + 1))};
    std::vector<int64_t> found(sites.size() + 1, untouched);
    EXPECT_EQ(fit_entries<T>::search(task, 0, std::ssize(sites), sites.data(), w.sitehint, hint, found.data(),
                                     nullptr, nullptr, services),
              FIT_OK);
    const auto* const narrow = reinterpret_cast<const int32_t*>(found.data());
    cells c = wide ? cells(found.begin(), found.end()) : cells(narrow, narrow + found.size());
    EXPECT_EQ(c.back(), untouched);
    c.pop_back();
    return c;
  }
};
TYPED_TEST_SUITE(search_of, precisions);

// Tasks as they were made, or come from fewer breakpoints, others or a uniform grid.
TYPED_TEST(search_of, every_method_gives_the_cells_of_the_definition) {
  using T = TypeParam;
  for (const grid kind : {grid::even, grid::rough, grid::widest, grid::tiniest})
    for (const int nx : {2, 3, 9, 33, 40, 600, 1201, 20000})
      for (const way& w : ways)
        for (const int edited : {0, 1, 2, 3}) {
          const bool uniform = w.xhint == FIT_X_UNIFORM, wide = this->random() % 2;
          if (uniform && kind != grid::even) continue;
          const numbers<T> x = make_grid<T>(kind, nx, this->random), ends = {x[0], x.back()},
                           other = make_grid<T>(grid::rough, nx, this->random);
          const T* const told = uniform ? ends.data() : x.data();
          const fit_task<T> task(edited == 1 ? std::max(2, nx / 2) : nx, edited == 2 ? other.data() : told,
                                 edited == 3 ? FIT_X_UNIFORM : w.xhint, 0, nullptr, 0, wide);
          arko_df_kernel_iEditVal(task, FIT_ATTR_NX, nx);
          fit_entries<T>::edit_pointer(task, FIT_ATTR_X, told);
          if (edited == 3) arko_df_kernel_iEditVal(task, FIT_ATTR_XHINT, w.xhint);
          SCOPED_TRACE(testing::Message() << w.name << " grid " << static_cast<int>(kind) << " nx " << nx
                                          << " edited " << edited);
          const int64_t allocations = arko_core_allocations();
          for (const int nsite : {1, 31, 33, 150, 700, 3001}) {
            numbers<T> sites = make_sites(x, nsite, this->random);
            if (w.sitehint == FIT_SITE_SORTED) std::sort(sites.begin(), sites.end());
            for (const int32_t t : {1, 5})
              ASSERT_EQ(this->search(task, wide, w, nx, sites, scripted_services::with(t)),
                        cells_by_definition(x, sites));
          }
          ASSERT_EQ(arko_core_allocations(), allocations);
        }
}

TYPED_TEST(search_of, is_cut_for_threads_as_told) {
  using T = TypeParam;
  for (auto& row : rows("search_cuts.txt")) {
    SCOPED_TRACE(row.str());
    std::string method, precision, cut;
    int nsite, nx, threads;
    ASSERT_TRUE(row >> method >> precision >> nsite >> nx >> threads >> cut);
    if (precision == (sizeof(T) == 4 ? "double" : "single")) continue;
    const way& w = *std::find_if(ways, std::end(ways), [&](const way& w) { return w.name == method; });
    const numbers<T> x = make_grid<T>(grid::even, nx, this->random), ends = {x[0], x.back()};
    const fit_task<T> task(nx, w.xhint == FIT_X_UNIFORM ? ends.data() : x.data(), w.xhint);
    numbers<T> sites = make_sites(x, nsite, this->random);
    std::sort(sites.begin(), sites.end());
    EXPECT_EQ(this->search(task, false, w, nx, sites, scripted_services::with(threads)),
              cells_by_definition(x, sites));
    EXPECT_EQ(rounds(), cut);
  }
}

// Block kernels under both names, in pieces as others call them, with and without buckets.
TYPED_TEST(search_of, block_kernels) {
  using T = TypeParam;
  for (const int nx : {2, 9, 700}) {
    const numbers<T> x = make_grid<T>(grid::even, nx, this->random), ends = {x[0], x.back()};
    const fit_task<T> task(nx, x.data(), FIT_X_NOHINT);
    const fit::task& record = *static_cast<const fit::task*>(static_cast<void*>(task));
    const T scale = static_cast<T>(nx - 1) / (x.back() - x[0]);
    numbers<T> sites = make_sites(x, 500, this->random);
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
          for (std::size_t i = 0; i < 500 && k == 5; i++)  // a site on a guessed breakpoint may stay there
            if (found[i] == expected[i] - 1 && sites[i] == x[static_cast<std::size_t>(found[i])]) found[i]++;
          EXPECT_EQ(found, expected) << "kernel " << k << " nx " << nx << (second ? " second" : "");
        }
  }
}

TYPED_TEST(search_of, running_index_of_sorted_stays_at_the_last_breakpoint) {
  using T = TypeParam;
  const numbers<T> x = {0, 1, 2, 3}, at_end(40, 3), mixed = {T(0.5), 1, 3, 3}, beyond = {3, 4};
  const std::tuple<numbers<T>, int32_t, int32_t> cases[] = {
      {at_end, 0, 0}, {at_end, 2, 2}, {mixed, 0, 2}, {beyond, 2, 4}};
  for (auto [sites, start, after] : cases) {
    cells found(sites.size());
    fit_entries<T>::kernels[0][2](4, x.data(), static_cast<int32_t>(sites.size()), sites.data(), 0, 0, &start,
                                  nullptr, nullptr, nullptr, nullptr, nullptr, found.data());
    EXPECT_EQ(found, cells_by_definition(x, sites));
    EXPECT_EQ(start, after);
  }
}

// A uniform cell is calculated: just below the right end rounding may give nx. Numbers that are none break nothing.
TYPED_TEST(search_of, uniform_rounding_and_nan) {
  using T = TypeParam;
  const T ends[2] = {0, 15}, below = std::nextafter(ends[1], ends[0]);
  int rounded = 0;
  for (int nx = 2; nx < 1000; nx++) {
    const T product = below * (static_cast<T>(nx - 1) / ends[1]);
    const fit_task<T> task(nx, ends, FIT_X_UNIFORM);
    const int32_t cell = this->search(task, false, ways[0], nx, {below}, nullptr)[0];
    ASSERT_EQ(cell, product >= static_cast<T>(nx - 1) ? nx : nx - 1);
    rounded += cell == nx;
  }
  EXPECT_GT(rounded, 0);
  const numbers<T> x = make_grid<T>(grid::rough, 3000, this->random);
  numbers<T> sites = make_sites(x, 10000, this->random);
  std::sort(sites.begin(), sites.end());
  for (std::size_t i = 0; i < sites.size(); i++)
    if (i < 100 || i % 999 == 0) sites[i] = std::numeric_limits<T>::quiet_NaN();
  for (const way& w : ways)
    for (const int32_t c : this->search(fit_task<T>(3000, x.data(), w.xhint), false, w, 3000, sites, nullptr))
      EXPECT_TRUE(c >= 0 && c <= 3000) << w.name;
}

TYPED_TEST(search_of, evenly_spaced_sites) {
  using T = TypeParam;
  const numbers<T> x = make_grid<T>(grid::rough, 50, this->random);
  const fit_task<T> task(50, x.data(), FIT_X_NOHINT);
  const T ends[2] = {x[0] - 1, x.back()};
  for (const int n : {1, 2, 31, 4096, 4097}) {
    numbers<T> sites;
    for (int i = 0; i < n; i++)
      sites.push_back(static_cast<T>(
          ends[0] + (i == 0 ? 0 : i * (static_cast<long double>(ends[1]) - ends[0]) / (n - 1))));
    cells found(sites.size());
    const int allocations = each_allocation_fails(FIT_ERR_MEMORY, [&] {
      return fit_entries<T>::search(task, 0, n, ends, FIT_SITE_UNIFORM, nullptr, found.data(), nullptr,
                                    nullptr, nullptr);
    });
    EXPECT_EQ(allocations, n > 4096);
    EXPECT_EQ(found, cells_by_definition(x, sites)) << n;
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
    EXPECT_TRUE(site && !spare);
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
  const numbers<T> x = {0, 1, 2, 3, 4}, ends = {0, 4};
  numbers<T> sites;
  for (int i = 0; i < 300; i++) sites.push_back(static_cast<T>(i % 11) / 2 - T(0.5));
  const cells exact = cells_by_definition(x, sites);
  const struct {
    int nsite;
    std::vector<int32_t> answers;
    std::vector<int64_t> counts;
    int32_t status;
    std::size_t written;
  } cases[] = {{0, {0}, {}, 0, 0},
               {1, {0}, {1}, 0, 1},
               {127, {1000}, {127}, 0, 127},
               {128, {0, 1000}, {128, 0}, 0, 128},
               {256, {7, 1000, 8}, {128, 128, 0}, 8, 256},
               {300, {1000, -5, 0}, {128, 128}, -5, 128},
               {300, {1000, 0, -1}, {128, 128, 44}, -1, 256},
               {300, {0, 1000, 2}, {128, 128, 44}, 2, 300}};
  for (const bool wide : {false, true})
    for (const bool uniform : {false, true})
      for (const auto& k : cases) {
        const fit_task<T> task(5, uniform ? ends.data() : x.data(), uniform ? FIT_X_UNIFORM : FIT_X_QUASI, 0,
                               nullptr, 0, wide);
        caller me = {{}, k.answers, wide};
        std::vector<int64_t> found(301, untouched);
        const double bad_hint[5] = {0, 9, 0, 0, 0};  // not looked at
        EXPECT_EQ(fit_entries<T>::search(task, 0, k.nsite, sites.data(), 64, bad_hint, found.data(),
                                         caller::search, &me, scripted_services::with(4)),
                  k.status);
        EXPECT_EQ(me.counts, k.counts);
        EXPECT_EQ(rounds(), "none");
        for (std::size_t i = 0; i <= k.written; i++) {
          const int64_t cell = wide ? found[i] : reinterpret_cast<const int32_t*>(found.data())[i];
          const bool given =
              i < k.written && (i % 128 % 2 || k.answers[i / 128] == 1000 || (!uniform && sites[i] == 2));
          ASSERT_EQ(cell, i == k.written ? untouched : given ? 2 : exact[i]) << i << " of " << k.nsite;
        }
      }
}

TYPED_TEST(search_of, refuses) {
  using T = TypeParam;
  const T x[3] = {0, 1, 2}, site = 1;
  const fit_task<T> task(3, x, FIT_X_NOHINT);
  constexpr double cases[][3] = {{0, 99, 0},
                                 {1, 0, 0},
                                 {1, 3, 0},
                                 {1, 3.01, FIT_ERR_DATAHINT},
                                 {1, -0.5, FIT_ERR_DATAHINT},
                                 {1, NAN, FIT_ERR_DATAHINT},
                                 {2, 1, FIT_ERR_DATAHINT},
                                 {NAN, 1, FIT_ERR_DATAHINT}};
  for (const auto& [kind, peak, status] : cases) {
    const double hint[5] = {0, kind, 0, 0, peak};
    int32_t cell = untouched;
    EXPECT_EQ(fit_entries<T>::search(task, 0, 0, &site, 0, hint, &cell, nullptr, nullptr, nullptr), FIT_OK);
    EXPECT_EQ(fit_entries<T>::search(task, 0, 1, &site, 0, hint, &cell, nullptr, nullptr, nullptr), status);
    EXPECT_EQ(cell, status == FIT_OK ? 2 : untouched);
  }
}

}  // namespace
