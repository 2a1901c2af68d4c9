// Interpolation against the definitions in long double.

#include <gtest/gtest.h>

#include <mutex>
#include <set>

#include "core/testing.h"
#include "tests/fit/piecewise.h"
#include "tests/support/recording_services.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;

struct rule {
  DFInterpCallBack function = nullptr;
  void* params = nullptr;
};

// One call, with defaults for what a test does not speak of.
template <class T> struct call {
  int64_t type = 0;
  std::vector<T> site;
  int64_t nsite = 0, sitehint = 0;
  std::vector<int> dorder;
  const double* datahint = nullptr;
  int64_t rhint = FIT_R_BYFUNC;
  std::vector<int64_t> cells;  // in and out
  rule left, right, inner;
  DFSearchCallBack search = nullptr;
  void* search_params = nullptr;
  const DFThreadServices* threads = nullptr;
  std::vector<T> r;

  int64_t nder() const {
    int64_t sum = 0;
    for (int d : dorder) sum += d;
    return sum == 0 ? 1 : sum;
  }
  // Derivative k of slot s.
  int64_t derivative(int64_t slot) const {
    int64_t k = 0;
    for (; k < static_cast<int64_t>(dorder.size()); k++)
      if (dorder[k] && slot-- == 0) return k;
    return 0;
  }
  int64_t place(int64_t ny, int64_t f, int64_t i, int64_t k) const {
    switch (rhint) {
      case 32:
        return (f * nder() + k) * nsite + i;
      case 256:
        return (i * ny + f) * nder() + k;
      case 512:
        return (i * nder() + k) * ny + f;
      default:
        return (f * nsite + i) * nder() + k;
    }
  }
  int32_t operator()(void* task, int64_t ny, bool wide) {
    constexpr int64_t spare = 4;
    r.assign(static_cast<size_t>(std::max<int64_t>(0, ny * nsite * nder()) + spare), T(-77));
    cells.resize(static_cast<size_t>(std::max<int64_t>(0, nsite)));
    std::vector<int32_t> narrow(cells.begin(), cells.end()), orders(dorder.begin(), dorder.end());
    const std::vector<int64_t> wide_orders(dorder.begin(), dorder.end());
    const int32_t s = fit_entries<T>::interpolate(
        task, type, 0, nsite, site.data(), sitehint, static_cast<int64_t>(dorder.size()),
        wide ? static_cast<const void*>(wide_orders.data()) : orders.data(), datahint, r.data(), rhint,
        wide ? static_cast<void*>(cells.data()) : narrow.data(), left.function, left.params, right.function,
        right.params, inner.function, inner.params, search, search_params, threads);
    if (!wide) cells.assign(narrow.begin(), narrow.end());
    for (int64_t i = 0; i < spare; i++) EXPECT_EQ(r[r.size() - 1 - i], T(-77));
    return s;
  }
};

// Sites over and beyond the partition, breakpoints and neighbours of the ends among them; every third one of lookup is
// a breakpoint and so on for all.
template <class T> std::vector<T> sites_for(const piecewise<T>& p, int64_t n, bool ascending) {
  std::mt19937 random(7);
  std::uniform_real_distribution<> anywhere(p.ends[0] - 0.4, p.ends[1] + 0.4);
  const T inf = std::numeric_limits<T>::infinity();
  const T special[] = {p.ends[1],
                       p.ends[0],
                       std::nextafter(p.ends[1], inf),
                       std::nextafter(p.ends[0], -inf),
                       std::nextafter(p.ends[0], inf),
                       p.ends[1] + 2,
                       p.ends[0] - 2};
  std::vector<T> s(static_cast<size_t>(n));
  for (int64_t i = 0; i < n; i++) {
    if (p.s.type == FIT_TYPE_LOOKUP && p.s.order == 0)
      s[i] = i == 0 ? p.ends[1] : p.x[random() % p.x.size()];
    else
      s[i] = i < 7 ? special[i] : i % 3 == 0 ? p.x[random() % p.x.size()] : static_cast<T>(anywhere(random));
  }
  if (ascending) std::sort(s.begin(), s.end());
  return s;
}

template <class T> void expect_results(const piecewise<T>& p, const call<T>& c, const std::vector<T>& sites) {
  for (int64_t i = 0; i < c.nsite; i++) {
    const int64_t cell = c.type == FIT_INTERP_GIVEN_CELLS ? c.cells[i] : p.cell(sites[i]);
    if (c.type & FIT_INTERP_CELLS) {
      EXPECT_EQ(c.cells[i], cell) << sites[i];
    }
    for (int64_t f = 0; f < p.ny; f++)
      for (int64_t k = 0; k < c.nder(); k++)
        expect_near<T>(c.r[c.place(p.ny, f, i, k)], p.derivative(f, sites[i], cell, c.derivative(k)),
                       p.s.name, p.uniform ? "uniform site" : "site", sites[i], "rhint", c.rhint,
                       "derivative", c.derivative(k));
  }
}

template <class T> void every_shape() {
  unsigned n_cases = 0;
  for (const shape& s : shapes)
    for (const bool uniform : {false, true})
      for (const int64_t rhint : {0, 16, 128, 32, 256, 512})
        for (const std::vector<int>& dorder :
             {std::vector<int>{}, {0, 0}, {1}, {1, 1}, {0, 0, 1}, {1, 0, 1, 1, 0, 1, 0, 1}}) {
          const bool lookup = s.order == 0 && s.type == FIT_TYPE_LOOKUP;
          if (lookup && dorder.size() > 1 && dorder[0] + dorder[1] > 1) continue;
          if (lookup && dorder.size() > 2) continue;
          n_cases++;
          constexpr int64_t counts[] = {1, 31, 32, 63, 64, 65, 513, 975};
          constexpr int64_t knots[] = {0, FIT_IC_KNOTS, FIT_IC_KNOTS_UNIFORM};
          constexpr int64_t ny = 3;
          const int64_t yhint = n_cases % 2 ? FIT_Y_BYFUNC : FIT_Y_BYSITE;
          piecewise<T> p(s, uniform, n_cases % 5 ? 33 : 2, ny, knots[n_cases % 3], yhint, n_cases);
          const bool wide = n_cases % 4 < 2;
          const fit_task<T> task(p.nx, uniform ? p.ends.data() : p.x.data(), p.xhint(), ny, p.y.data(), yhint,
                                 wide);
          ASSERT_EQ(p.describe(task), 0);
          call<T> c;
          c.nsite = counts[n_cases % 8];
          c.type = n_cases % 3 ? FIT_INTERP_CELLS : 6;
          c.dorder = dorder, c.rhint = rhint;
          const bool ascending = n_cases % 7 < 2;
          c.sitehint = ascending ? FIT_SITE_SORTED : FIT_SITE_NOHINT;
          const auto sites = c.site = sites_for(p, c.nsite, ascending);
          c.threads = thread_services::get();
          ASSERT_EQ(c(task, ny, wide), 0) << s.name;
          expect_results(p, c, sites);
          if (lookup || s.order == 0) continue;
          c.type = FIT_INTERP_GIVEN_CELLS;  // whatever cells are given
          for (int64_t i = 0; i < c.nsite; i++) c.cells[i] = (i * 7) % (p.nx + 1);
          ASSERT_EQ(c(task, ny, wide), 0);
          expect_results(p, c, sites);
        }
}
TEST(interpolation, is_as_defined_for_every_shape_layout_and_request) {
  every_shape<double>();
  every_shape<float>();
}

constexpr shape cubic = {"cubic", 4, FIT_TYPE_NATURAL};

// Evenly spaced sites are those told by hand, also for one site.
TEST(interpolation, takes_evenly_spaced_sites_by_their_ends) {
  const piecewise<double> p(cubic, false, 20, 1);
  const fit_task<double> task(p.nx, p.x.data(), 0, 1, p.y.data());
  ASSERT_EQ(const_cast<piecewise<double>&>(p).describe(task), 0);
  for (const int64_t n : {1, 2, 31, 32, 700})
    for (const int64_t hint : {4, 68}) {
      call<double> even, told;
      even.site = {-2.5, 3.5};
      even.nsite = told.nsite = n, even.sitehint = hint;
      even.type = told.type = FIT_INTERP_CELLS;
      for (int64_t i = 0; i < n; i++)
        told.site.push_back(-2.5 + static_cast<double>(i) * (n > 1 ? 6.0 / static_cast<double>(n - 1) : 0));
      ASSERT_EQ(even(task, 1, false), 0);
      ASSERT_EQ(told(task, 1, false), 0);
      EXPECT_EQ(even.r, told.r);
      EXPECT_EQ(even.cells, told.cells);
    }
}

// Ascending sites, dense and sparse among many breakpoints, in crowds, on breakpoints, beyond the ends and told wrongly.
template <class T> void ascending() {
  piecewise<T> p(cubic, false, 3000, 1);
  const fit_task<T> task(p.nx, p.x.data(), 0, 1, p.y.data());
  ASSERT_EQ(p.describe(task), 0);
  std::mt19937 random(5);
  for (const int64_t nsite : {64, 200, 700, 3000, 10000}) {
    call<T> c;
    c.type = FIT_INTERP_CELLS, c.sitehint = FIT_SITE_SORTED, c.nsite = nsite;
    std::uniform_real_distribution<> anywhere(p.ends[0] - 5, p.ends[1] + 5), crowd(100, 101);
    for (int64_t i = 0; i < nsite; i++)
      c.site.push_back(i % 5 == 0   ? p.x[random() % p.x.size()]
                       : i % 5 == 1 ? static_cast<T>(crowd(random))
                                    : static_cast<T>(anywhere(random)));
    std::vector<T> sites = c.site;
    std::sort(sites.begin(), sites.end());
    c.site.swap(sites);
    ASSERT_EQ(c(task, 1, false), 0);
    expect_results(p, c, c.site);
    sites[nsite / 2] = std::numeric_limits<T>::quiet_NaN();
    c.site = sites;  // not ascending
    ASSERT_EQ(c(task, 1, false), 0);
    for (const int64_t cell : c.cells) EXPECT_TRUE(cell >= 0 && cell <= p.nx);
    c.sitehint = 0;
    ASSERT_EQ(c(task, 1, false), 0);
    EXPECT_TRUE(std::isnan(c.r[nsite / 2]));
  }
}
TEST(interpolation, takes_ascending_sites_of_any_density) {
  ascending<double>();
  ascending<float>();
}

TEST(interpolation, lookup_takes_breakpoints_only) {
  const double x[] = {0, 1, 3, 4}, ends[] = {0, 3}, y[] = {5, 6, 7, 8};
  const double tiny = 0x1p-41, large = 0x1p-39;
  const struct {
    bool uniform;
    double site;
    std::vector<int> dorder;
    int32_t status;
    double value;
  } rows[] = {{false, 1, {1}, 0, 6},
              {false, 4, {1}, 0, 8},
              {false, 1 + tiny, {1}, FIT_ERR_SITE, 0},
              {false, 5, {1}, FIT_ERR_SITE, 0},
              {false, -1, {1}, FIT_ERR_SITE, 0},
              {false, NAN, {1}, FIT_ERR_SITE, 0},
              {true, 1 + tiny, {1}, 0, 6},
              {true, 1 - tiny, {1}, 0, 6},
              {true, 3 + tiny, {1}, 0, 8},
              {true, 1 + large, {1}, FIT_ERR_SITE, 0},
              {true, 1 - large, {1}, FIT_ERR_SITE, 0},
              {true, -tiny, {1}, FIT_ERR_SITE, 0},
              {true, 3 + large, {1}, FIT_ERR_SITE, 0},
              {false, 1, {1, 1}, FIT_ERR_NDER, 0},
              {false, 1, {0, 1}, FIT_ERR_DORDER, 0},
              {false, 2, {1, 1}, FIT_ERR_SITE, 0}};
  for (const auto& row : rows) {
    const fit_task<double> task(4, row.uniform ? ends : x, row.uniform ? FIT_X_UNIFORM : 0, 1, y);
    ASSERT_EQ(arko_df_kernel_dEditPPSpline1D(task, 0, FIT_TYPE_LOOKUP, 0, nullptr, 0, nullptr, nullptr, 0),
              0);
    call<double> c;
    c.site = {row.site}, c.nsite = 1, c.dorder = row.dorder;
    EXPECT_EQ(c(task, 1, false), row.status) << row.site;
    if (row.status == 0) {
      EXPECT_EQ(c.r[0], row.value) << row.site;
    }
  }
}

// What callbacks saw, and what they answer: result of function f, derivative slot k at a site.
struct record {
  int64_t ny, nder, side;
  int32_t status = 0;
  std::mutex mutex = {};
  std::vector<std::pair<int64_t, double>> seen = {};  // cell, site
  int64_t calls = 0, largest = 0;

  static double answer(double site, int64_t f, int64_t k, int64_t side) {
    return 1000 * static_cast<double>(side + 1) + 100 * static_cast<double>(f) + 10 * static_cast<double>(k) +
           site;
  }
  template <class T>
  static int32_t call(int64_t* n, const int64_t* cell, const void* site, void* r, void* params, void* spare) {
    record& me = *static_cast<record*>(params);
    const std::lock_guard lock(me.mutex);
    EXPECT_EQ(spare, nullptr);
    me.calls++, me.largest = std::max(me.largest, *n);
    for (int64_t i = 0; i < *n; i++) {
      const T s = static_cast<const T*>(site)[i];
      me.seen.emplace_back(cell[i], s);
      for (int64_t f = 0; f < me.ny; f++)
        for (int64_t k = 0; k < me.nder; k++)
          static_cast<T*>(r)[(f * *n + i) * me.nder + k] = static_cast<T>(answer(s, f, k, me.side));
    }
    return me.status;
  }
};

template <class T> void callbacks() {
  for (const shape& s : shapes)
    for (int which = 1; which < 8; which++)
      for (const int64_t nsite : {1, 31, 200, 1300}) {
        const bool lookup = s.order == 0 && s.type == FIT_TYPE_LOOKUP;
        if (lookup && which % 4 != 3) continue;  // sites beyond the ends must be the callbacks'
        const int64_t ny = 2 + (which == 3) * 20;
        piecewise<T> p(s, which % 2, 17, ny, FIT_IC_KNOTS);
        const fit_task<T> task(p.nx, p.uniform ? p.ends.data() : p.x.data(), p.xhint(), ny, p.y.data());
        if (which == 7 && !lookup) p.s.order = 0, p.s.type = 0;  // none of it is the spline's
        ASSERT_EQ(p.describe(task), 0);
        p.s = s;
        call<T> c;
        c.nsite = nsite, c.rhint = nsite == 200 ? 512 : 16;
        if (!lookup) c.dorder = {1, 1};
        const auto sites = c.site = sites_for(p, nsite, false);
        c.threads = thread_services::get();
        record left = {ny, c.nder(), 0}, right = {ny, c.nder(), 1}, inner = {ny, c.nder(), 2};
        if (which & 1) c.left = {record::call<T>, &left};
        if (which & 2) c.right = {record::call<T>, &right};
        if (which & 4) c.inner = {record::call<T>, &inner};
        ASSERT_EQ(c(task, ny, false), 0) << s.name << which;

        record* const records[] = {&left, &right, &inner};
        std::multiset<std::pair<int64_t, double>> expected[3];
        for (int64_t i = 0; i < nsite; i++) {
          const int64_t cell = p.cell(sites[i]), side = cell == 0 ? 0 : cell == p.nx ? 1 : 2;
          if (which >> side & 1) expected[side].emplace(cell, sites[i]);
          for (int64_t f = 0; f < ny; f++)
            for (int64_t k = 0; k < c.nder(); k++)
              if (which >> side & 1)
                EXPECT_EQ(c.r[c.place(ny, f, i, k)], static_cast<T>(record::answer(sites[i], f, k, side)));
              else
                expect_near<T>(c.r[c.place(ny, f, i, k)], p.derivative(f, sites[i], cell, k), s.name);
        }
        for (const record* r : records) {
          EXPECT_EQ((std::multiset<std::pair<int64_t, double>>(r->seen.begin(), r->seen.end())),
                    expected[r->side]);
          EXPECT_LE(r->largest, 64);
        }
      }
}
TEST(interpolation, gives_callers_functions_their_sites) {
  callbacks<double>();
  callbacks<float>();
}

TEST(interpolation, ends_with_a_negative_status_of_a_callback) {
  piecewise<double> p(cubic, false, 17, 1);
  const fit_task<double> task(p.nx, p.x.data(), 0, 1, p.y.data());
  ASSERT_EQ(p.describe(task), 0);
  for (const DFThreadServices* threads :
       {static_cast<const DFThreadServices*>(nullptr), thread_services::get()}) {
    record inner = {1, 1, 2, -5};
    call<double> c;
    c.nsite = 1000, c.threads = threads;
    c.site.assign(1000, p.ends[0] - 1);
    for (int64_t i = 700; i < 1000; i++) c.site[i] = 0;
    c.inner = {record::call<double>, &inner};
    EXPECT_EQ(c(task, 1, false), -5);
    EXPECT_EQ(inner.calls, 1);
    EXPECT_EQ(c.r[999], -77);
    if (!threads) {
      EXPECT_NE(c.r[639], -77);
    }
    inner.status = 3;  // of no consequence, but for a single site
    EXPECT_EQ(c(task, 1, false), 0);
    c.nsite = 1, c.site[0] = 0;
    EXPECT_EQ(c(task, 1, false), 3);
  }
}

struct search_record {
  int32_t status;
  int cell, flag;
  std::vector<int64_t> counts = {};

  template <class C>
  static int32_t call(void* n, const void*, void* cell, int32_t* flag, void* params, void* spare) {
    search_record& me = *static_cast<search_record*>(params);
    EXPECT_EQ(spare, nullptr);
    me.counts.push_back(*static_cast<C*>(n));
    for (C i = 0; i < *static_cast<C*>(n); i++) static_cast<C*>(cell)[i] = me.cell, flag[i] = me.flag;
    return me.status;
  }
};
TEST(interpolation, searches_with_the_callers_function) {
  for (const bool wide : {false, true})
    for (const bool uniform : {false, true}) {
      piecewise<double> p(cubic, uniform, 17, 1);
      const fit_task<double> task(p.nx, uniform ? p.ends.data() : p.x.data(), p.xhint(), 1, p.y.data(), 0,
                                  wide);
      ASSERT_EQ(p.describe(task), 0);
      const struct {
        search_record search;
        bool final;
      } rows[] = {{{1000, 5, 0}, true}, {{0, 5, 1}, true}, {{0, 5, 0}, false}, {{7, 5, 0}, false}};
      for (const auto& row : rows) {
        search_record search = row.search;
        call<double> c;
        c.nsite = 150, c.type = FIT_INTERP_CELLS;
        for (int i = 0; i < 150; i++) c.site.push_back(p.ends[0] - 0.3 + i * 0.031);
        c.search = wide ? search_record::call<int64_t> : search_record::call<int32_t>;
        c.search_params = &search;
        ASSERT_EQ(c(task, 1, wide), 0);
        EXPECT_EQ(search.counts, (std::vector<int64_t>{64, 64, 22}));
        for (int i = 0; i < 150; i++) {
          const int64_t cell = row.final ? 5 : p.cell(c.site[i]);
          EXPECT_EQ(c.cells[i], cell);
          expect_near<double>(c.r[i], p.derivative(0, c.site[i], cell, 0), "searched");
        }
        search = {-9, 0, 0};
        EXPECT_EQ(c(task, 1, wide), -9);
        EXPECT_EQ(search.counts.size(), 1u);
        EXPECT_EQ(c.r[0], -77);
        search = {1000, 1 << 20, 0};  // cells that do not exist take the outer polynomials
        EXPECT_EQ(c(task, 1, wide), 0);
      }
    }
}

TEST(interpolation, is_cut_for_threads_above_its_threshold) {
  using asked = recording_services;
  piecewise<double> p(cubic, false, 40, 2);
  const fit_task<double> task(p.nx, p.x.data(), 0, 2, p.y.data());
  ASSERT_EQ(p.describe(task), 0);
  const struct {
    int64_t nsite;
    int32_t threads;
    asked::rounds_type expected;
  } rows[] = {{511, 4, {}},
              {512, 4, {}},
              {513, 1, {}},
              {513, 4, {{1, 1}, {3, 3}}},
              {640, 2, {{2, 2}}},
              {1300, 3, {{4, 3}}},
              {1350, 3, {{4, 3}, {1, 1}}}};
  for (const auto& row : rows)
    for (const int64_t sitehint : {0, 64}) {
      asked::rounds.clear();
      asked::threads = row.threads;
      call<double> c;
      c.nsite = row.nsite, c.sitehint = sitehint, c.rhint = 256;
      const auto sites = c.site = sites_for(p, row.nsite, sitehint == 64);
      c.threads = asked::get();
      ASSERT_EQ(c(task, 2, false), 0);
      EXPECT_EQ(asked::rounds, row.expected) << row.nsite;
      expect_results(p, c, sites);
    }
}

TEST(interpolation, tells_every_lack_of_memory) {
  piecewise<double> p(cubic, false, 40, 30);
  for (const bool wide : {false, true}) {
    const fit_task<double> task(p.nx, p.x.data(), 0, 30, p.y.data(), 0, wide);
    ASSERT_EQ(p.describe(task), 0);
    for (const bool rules : {false, true})
      for (const int64_t nsite : {1, 31, 32, 600}) {
        record inner = {30, 2, 2};
        call<double> c;
        c.nsite = nsite, c.dorder = {1, 1}, c.type = FIT_INTERP_CELLS, c.rhint = 32;
        c.site = sites_for(p, nsite, false);
        if (rules) c.inner = {record::call<double>, &inner};
        const int64_t before = arko_core_live_blocks(), asked_before = arko_core_allocations();
        ASSERT_EQ(c(task, 30, wide), 0);
        const int64_t allocations = arko_core_allocations() - asked_before;
        if (!rules) {
          EXPECT_EQ(allocations, nsite < 32 ? 0 : 1);
        }
        const auto good = c.r;
        for (int64_t k = 1; k <= allocations; k++) {
          arko_core_fail_allocation(static_cast<int32_t>(k));
          EXPECT_EQ(c(task, 30, wide), FIT_ERR_MEMORY);
        }
        arko_core_fail_allocation(0);
        EXPECT_EQ(c(task, 30, wide), 0);
        EXPECT_EQ(c.r, good);
        EXPECT_EQ(arko_core_live_blocks(), before);
      }
  }
}

}  // namespace
