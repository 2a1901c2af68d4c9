// Integration against exact antiderivatives in long double.

#include <gtest/gtest.h>

#include <mutex>
#include <tuple>

#include "core/testing.h"
#include "tests/fit/piecewise.h"
#include "tests/support/recording_services.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;

struct rule {
  DFIntegrCallBack function = nullptr;
  void* params = nullptr;
};

template <class T> struct call {
  std::vector<T> l, u;
  int64_t n = 0, lhint = 0, uhint = 0;
  const double *ldata = nullptr, *udata = nullptr;
  int64_t rhint = 16;
  rule left = {}, right = {}, inner = {};
  DFSearchCallBack search = nullptr;
  void* search_params = nullptr;
  const DFThreadServices* threads = nullptr;
  std::vector<T> r = {};

  T result(int64_t ny, int64_t f, int64_t i) const {
    return r[rhint == 16 || rhint == 128 ? f * n + i : i * ny + f];
  }
  int32_t operator()(void* task, int64_t ny) {
    constexpr int64_t spare = 4;
    r.assign(static_cast<size_t>(ny * n + spare), T(-77));
    const int32_t s =
        fit_entries<T>::integrate(task, 0, n, l.data(), lhint, u.data(), uhint, ldata, udata, r.data(), rhint,
                                  left.function, left.params, right.function, right.params, inner.function,
                                  inner.params, search, search_params, threads);
    for (int64_t i = 0; i < spare; i++) EXPECT_EQ(r[r.size() - 1 - i], T(-77));
    return s;
  }
};

// Intervals within a cell and over many, either way round, in the partition and beyond, from and to breakpoints.
template <class T> void intervals(const piecewise<T>& p, int64_t n, call<T>& c) {
  std::mt19937 random(11);
  std::uniform_real_distribution<> anywhere(p.ends[0] - 0.4, p.ends[1] + 0.4), near(-0.02, 0.02);
  const T x0 = p.ends[0], xn = p.ends[1];
  const std::pair<T, T> special[] = {{x0 - 1, xn + 1}, {xn + 1, x0 - 1}, {x0, xn},     {xn, x0},
                                     {xn, xn},         {x0 - 1, x0},     {xn, xn + 1}, {x0, x0},
                                     {x0 - 2, x0 - 1}, {xn + 2, xn + 1}};
  c.n = n;
  for (int64_t i = 0; i < n; i++) {
    auto [l, u] = special[i % 10];
    if (i >= 10) l = static_cast<T>(anywhere(random)), u = static_cast<T>(anywhere(random));
    if (i >= 10 && i % 4 == 0) l = p.x[random() % p.x.size()];
    if (i >= 10 && i % 4 == 1) u = p.x[random() % p.x.size()];
    if (i >= 10 && i % 4 == 2) u = static_cast<T>(l + near(random));
    c.l.push_back(l), c.u.push_back(u);
  }
}

template <class T> void expect_integrals(const piecewise<T>& p, const call<T>& c, const char* what = "") {
  for (int64_t i = 0; i < c.n; i++)
    for (int64_t f = 0; f < p.ny; f++)
      expect_near<T>(c.result(p.ny, f, i), p.integral(f, c.l[i], c.u[i]), what, p.s.name,
                     p.uniform ? "uniform from" : "from", c.l[i], "to", c.u[i]);
}

constexpr shape lookup = {"lookup", 0, FIT_TYPE_LOOKUP}, cubic = {"cubic", 4, FIT_TYPE_NATURAL};

template <class T> void every_shape() {
  unsigned n_cases = 0;
  for (const shape& s : shapes) {
    if (s.order == lookup.order && s.type == lookup.type) continue;
    for (const bool uniform : {false, true})
      for (const int64_t rhint : {0, 16, 32, 128})
        for (const int64_t n : {1, 127, 128, 129, 300, 1500}) {
          n_cases++;
          constexpr int64_t knots[] = {0, FIT_IC_KNOTS, FIT_IC_KNOTS_UNIFORM};
          const int64_t ny = n == 129 ? 17 : 2, yhint = n_cases % 2 ? FIT_Y_BYFUNC : FIT_Y_BYSITE;
          piecewise<T> p(s, uniform, n_cases % 5 ? 33 : 2, ny, knots[n_cases % 3], yhint, n_cases);
          const fit_task<T> task(p.nx, uniform ? p.ends.data() : p.x.data(), p.xhint(), ny, p.y.data(),
                                 yhint);
          ASSERT_EQ(p.describe(task), 0);
          call<T> c;
          intervals(p, n, c);
          c.rhint = rhint;
          if (n_cases % 4 == 0) {
            std::sort(c.l.begin(), c.l.end()), c.lhint = FIT_SITE_SORTED;
            if (n_cases % 8 == 0) std::sort(c.u.begin(), c.u.end()), c.uhint = FIT_SITE_SORTED;
          }
          c.threads = thread_services::get();
          ASSERT_EQ(c(task, ny), 0) << s.name;
          expect_integrals(p, c);
        }
  }
}
TEST(integration, is_exact_for_every_shape_and_layout) {
  every_shape<double>();
  every_shape<float>();
}

// Long sums and short intervals keep their bits: errors are a few roundings of the result, however many cells there
// are and however small a part of a cell the interval is.
TEST(integration, loses_nothing_in_long_and_short_intervals) {
  constexpr int64_t nx = 100001;
  piecewise<float> p(cubic, true, 2, 1);
  std::vector<float> c4(4 * (nx - 1));
  for (size_t j = 0; j < c4.size(); j++) c4[j] = j % 4 == 0 ? 1.1f : 0.0f;
  const float ends[] = {0, 100000};
  const fit_task<float> task(nx, ends, FIT_X_UNIFORM, 1, p.y.data(), FIT_Y_PTRS);
  ASSERT_EQ(arko_df_kernel_sEditPPSpline1D(task, 4, FIT_TYPE_NATURAL, 0, nullptr, 0, nullptr, c4.data(), 0),
            0);
  call<float> c;
  c.n = 2, c.l = {0, 0.75f}, c.u = {100000, 0.75f + 0x1p-20f};
  ASSERT_EQ(c(task, 1), 0);
  for (int i = 0; i < 2; i++) EXPECT_NEAR(c.r[i] / ((double(c.u[i]) - c.l[i]) * 1.1f), 1, 2e-7);
}

TEST(integration, takes_evenly_spaced_limits_by_their_ends) {
  piecewise<double> p(cubic, false, 20, 1);
  const fit_task<double> task(p.nx, p.x.data(), 0, 1, p.y.data());
  ASSERT_EQ(p.describe(task), 0);
  for (const int64_t n : {1, 2, 200}) {
    call<double> c;
    c.n = n, c.l = {-2.5, 1}, c.u = {3, -2}, c.lhint = 68, c.uhint = 4;
    ASSERT_EQ(c(task, 1), 0);
    const double step = n > 1 ? 1.0 / static_cast<double>(n - 1) : 0;
    c.l.clear(), c.u.clear();
    for (int64_t i = 0; i < n; i++)
      c.l.push_back(-2.5 + static_cast<double>(i) * (3.5 * step)),
          c.u.push_back(3 - static_cast<double>(i) * (5 * step));
    expect_integrals(p, c, "even");
  }
}

// With peaks told for both arrays: limits round the peaks and far from them, peaks at all kinds of places.
template <class T> void peaks() {
  for (const shape& s : shapes) {
    if (s.order == 0) continue;
    for (const auto& [from, to] : {std::pair{5.0, 25.0},
                                   {25.0, 5.0},
                                   {0.0, 40.0},
                                   {1.0, 5.0},
                                   {38.7, 1.2},
                                   {3.0, 6.0},
                                   {3.0, 6.5},
                                   {3.0, 8.0},
                                   {20.0, 20.0},
                                   {40.0, 36.0}}) {
      const int64_t ny = from == 5 ? 20 : 2;
      piecewise<T> p(s, from < to, 40, ny, FIT_IC_KNOTS_UNIFORM);
      const fit_task<T> task(p.nx, p.uniform ? p.ends.data() : p.x.data(), p.xhint(), ny, p.y.data());
      ASSERT_EQ(p.describe(task), 0);
      const double ldata[5] = {0, 1, 0, 0, from}, udata[5] = {0, 1, 0, 0, to};
      call<T> c;
      c.ldata = ldata, c.udata = udata;
      std::mt19937 random(3);
      const auto near = [&](double cell) {
        const auto j = static_cast<int64_t>(cell) + static_cast<int64_t>(random() % 7) - 4;
        return p.x[std::clamp<int64_t>(j, 0, 39)] + static_cast<T>(random() % 100) / 1000;
      };
      intervals(p, 100, c);
      c.n = 500;
      while (c.l.size() < 500) c.l.push_back(near(from)), c.u.push_back(near(to));
      ASSERT_EQ(c(task, ny), 0);
      expect_integrals(p, c, "peaks");
    }
  }
}
TEST(integration, sums_between_peaks) {
  peaks<double>();
  peaks<float>();
}

// The parts that callbacks were asked for; they integrate a constant.
struct part {
  int side;
  int64_t lcell, ucell;
  double l, u;
  bool operator==(const part&) const = default;
};
struct log {
  int64_t ny;
  int32_t status = 0;
  std::mutex mutex = {};
  std::vector<part> parts = {};
};
constexpr double constant(int side, int64_t f) { return 10 * (side + 1) + static_cast<double>(f); }
template <class T, int side>
int32_t integrate_constant(int64_t* n, const int64_t* lcell, const void* llim, const int64_t* ucell,
                           const void* ulim, void* r, void* params, void* spare) {
  log& me = *static_cast<log*>(params);
  const std::lock_guard lock(me.mutex);
  EXPECT_EQ(*n, 1);
  EXPECT_EQ(spare, nullptr);
  const T l = *static_cast<const T*>(llim), u = *static_cast<const T*>(ulim);
  me.parts.push_back({side, *lcell, *ucell, l, u});
  for (int64_t f = 0; f < me.ny; f++)
    static_cast<T*>(r)[f] = static_cast<T>((double(u) - l) * constant(side, f));
  return me.status;
}

template <class T> void callbacks() {
  for (const shape& s : shapes) {
    if (s.order == lookup.order && s.type == lookup.type) continue;
    for (int which = 1; which < 8; which++)
      for (const int64_t rhint : {0, 16}) {
        const int64_t ny = which == 3 ? 17 : 2, n = rhint ? 700 : 40;
        piecewise<T> p(s, which % 2, 17, ny, FIT_IC_KNOTS);
        const fit_task<T> task(p.nx, p.uniform ? p.ends.data() : p.x.data(), p.xhint(), ny, p.y.data());
        ASSERT_EQ(p.describe(task), 0);
        log parts = {ny};
        call<T> c;
        intervals(p, n, c);
        c.rhint = rhint;
        if (which & 1) c.left = {integrate_constant<T, 0>, &parts};
        if (which & 2) c.right = {integrate_constant<T, 1>, &parts};
        if (which & 4) c.inner = {integrate_constant<T, 2>, &parts};
        recording_services::threads = 2;
        c.threads = n == 700 ? thread_services::get() : nullptr;
        ASSERT_EQ(c(task, ny), 0) << s.name;

        std::vector<part> expected;
        const T x0 = p.ends[0], xn = p.ends[1];
        for (int64_t i = 0; i < n; i++) {
          const T l = std::min(c.l[i], c.u[i]), u = std::max(c.l[i], c.u[i]);
          const int64_t kl = p.cell(l), ku = p.cell(u);
          std::vector<part> of_interval;
          if (kl == 0) of_interval.push_back({0, 0, 0, l, std::min(u, x0)});
          if (ku == p.nx) of_interval.push_back({1, p.nx, p.nx, std::max(l, xn), u});
          if (ku > 0 && kl < p.nx) of_interval.push_back({2, kl, ku, std::max(l, x0), std::min(u, xn)});
          for (const part& part : of_interval)
            if (which >> part.side & 1) expected.push_back(part);
          for (int64_t f = 0; f < ny; f++) {
            typename piecewise<T>::result sum = {0, 0};
            for (const part& part : of_interval) {
              auto add = p.integral(f, part.l, part.u);
              if (which >> part.side & 1) {
                add.value = (part.u - part.l) * constant(part.side, f);
                add.error = 2 * p.eps * add.value;
              }
              sum.value += add.value, sum.error += add.error + 3 * p.eps * std::fabs(add.value);
            }
            if (c.u[i] < c.l[i]) sum.value = -sum.value;
            expect_near<T>(c.result(ny, f, i), sum, s.name, "rules", which, "from", c.l[i], "to", c.u[i]);
          }
        }
        if (n == 700) {  // threads keep no order
          const auto less = [](const part& a, const part& b) {
            return std::tie(a.side, a.l, a.u, a.lcell, a.ucell) <
                   std::tie(b.side, b.l, b.u, b.lcell, b.ucell);
          };
          std::sort(expected.begin(), expected.end(), less),
              std::sort(parts.parts.begin(), parts.parts.end(), less);
        }
        EXPECT_TRUE(parts.parts == expected) << s.name << which;
      }
  }
}
TEST(integration, gives_callers_functions_their_parts_in_order) {
  callbacks<double>();
  callbacks<float>();
}

// Random limits, many at, next to and beyond breakpoints and both the given and the calculated end of grids whose
// steps round. Callers' functions, where there are any, integrate constants. Next to a breakpoint a limit may be taken
// for one on its other side: that is a rounding of the limit.
template <class T> void random_intervals() {
  std::mt19937 random(7);
  const auto below = [&](int64_t n) { return static_cast<int64_t>(random() % static_cast<unsigned>(n)); };
  const auto draw = [&](double a, double b) {
    return static_cast<T>(std::uniform_real_distribution<>(a, b)(random));
  };
  for (const shape& s : shapes) {
    if (s.order == lookup.order && s.type == lookup.type) continue;
    for (int round = 0; round < 24; round++) {
      constexpr int64_t counts[] = {50, 100, 1000, 11, 2, 3};
      const int which = round % 2 ? static_cast<int>(below(8)) : 0;
      const T first = round < 12 ? T(0) : draw(-3, 0), last = round < 12 ? T(1) : first + draw(0.3, 1.5);
      piecewise<T> p(s, round % 4 < 3, counts[round / 2 % 6], 1);
      if (p.uniform) p.stretch(first, last);
      const fit_task<T> task(p.nx, p.uniform ? p.ends.data() : p.x.data(), p.xhint(), 1, p.y.data());
      ASSERT_EQ(p.describe(task), 0);
      const T x0 = p.x[0], xn = p.x.back(), far = std::numeric_limits<T>::infinity();
      const auto limit = [&] {
        T v = below(4) ? p.x[below(4) ? below(p.nx) : p.nx - 1] : p.ends[1];
        for (int64_t n = below(3); n > 0; n--) v = std::nextafter(v, below(2) ? far : -far);
        return below(5) ? v : draw(x0 - 0.5, xn + 0.5);
      };
      const long double largest = s.order == 0 ? 3 : 500;  // value
      log parts = {1};
      call<T> c;
      for (c.n = 0; c.n < 150; c.n++) c.l.push_back(limit()), c.u.push_back(limit());
      if (which & 1) c.left = {integrate_constant<T, 0>, &parts};
      if (which & 2) c.right = {integrate_constant<T, 1>, &parts};
      if (which & 4) c.inner = {integrate_constant<T, 2>, &parts};
      ASSERT_EQ(c(task, 1), 0);
      for (int64_t i = 0; i < c.n; i++) {
        const T l = std::min(c.l[i], c.u[i]), u = std::max(c.l[i], c.u[i]);
        const std::pair<T, T> within[] = {
            {l, std::min(u, x0)}, {std::max(l, xn), u}, {std::max(l, x0), std::min(u, xn)}};
        typename piecewise<T>::result sum = {0, 16 * p.eps * largest * (std::fabs(x0) + std::fabs(xn))};
        for (int side = 0; side < 3; side++) {
          const auto [a, b] = within[side];
          if (!(a < b)) continue;
          const auto part = p.integral(0, a, b);
          const bool theirs = which >> side & 1;
          sum.value += theirs ? (static_cast<long double>(b) - a) * constant(side, 0) : part.value;
          sum.error += theirs ? 0 : part.error;
        }
        if (c.u[i] < c.l[i]) sum.value = -sum.value;
        expect_near<T>(c.r[i], sum, s.name, "nx", p.nx, "rules", which, "from", c.l[i], "to", c.u[i]);
      }
    }
  }
}
TEST(integration, of_random_intervals_is_that_of_the_definition) {
  random_intervals<double>();
  random_intervals<float>();
}

TEST(integration, ends_with_a_negative_status_of_a_callback) {
  piecewise<double> p(cubic, false, 17, 1);
  const fit_task<double> task(p.nx, p.x.data(), 0, 1, p.y.data());
  ASSERT_EQ(p.describe(task), 0);
  for (const DFThreadServices* threads :
       {static_cast<const DFThreadServices*>(nullptr), thread_services::get()}) {
    log parts = {1, -5};
    call<double> c;
    c.n = 1000, c.threads = threads;
    c.l.assign(1000, p.ends[0]), c.u.assign(1000, p.ends[1]);
    c.u[600] = p.ends[1] + 1;
    c.right = {integrate_constant<double, 1>, &parts};
    EXPECT_EQ(c(task, 1), -5);
    EXPECT_EQ(parts.parts.size(), 1u);
    EXPECT_EQ(c.r[600], -77);
    if (!threads) {
      EXPECT_NE(c.r[599], -77);
    }
    parts.status = 4;
    EXPECT_EQ(c(task, 1), 0);
  }
}

// The callers' search hears which limits it searches, block after block.
struct search_record {
  int32_t status = 0;
  std::vector<std::pair<int64_t, int32_t>> calls = {};
  template <class C> static int32_t call(void* n, const void*, void*, int32_t*, void* params, void* spare) {
    search_record& me = *static_cast<search_record*>(params);
    me.calls.emplace_back(*static_cast<C*>(n), *static_cast<int32_t*>(spare));
    return me.status;
  }
};
TEST(integration, searches_with_the_callers_function) {
  for (const bool wide : {false, true})
    for (const bool uniform : {false, true}) {
      piecewise<double> p(cubic, uniform, 17, 1);
      const fit_task<double> task(p.nx, uniform ? p.ends.data() : p.x.data(), p.xhint(), 1, p.y.data(), 0,
                                  wide);
      ASSERT_EQ(p.describe(task), 0);
      search_record search;
      call<double> c;
      intervals(p, 200, c);
      c.search = wide ? search_record::call<int64_t> : search_record::call<int32_t>;
      c.search_params = &search;
      ASSERT_EQ(c(task, 1), 0);
      EXPECT_EQ(search.calls,
                (std::vector<std::pair<int64_t, int32_t>>{{128, 0}, {128, 1}, {72, 0}, {72, 1}}));
      expect_integrals(p, c, "searched");
      search = {-6};
      EXPECT_EQ(c(task, 1), -6);
      EXPECT_EQ(search.calls.size(), 1u);
    }
}

TEST(integration, is_cut_for_threads_from_its_thresholds_on) {
  using asked = recording_services;
  const double at_cell[5] = {0, 1, 0, 0, 20};
  const struct {
    int64_t xhint, lhint, uhint;
    bool peak;
    int64_t threshold;
  } methods[] = {{FIT_X_UNIFORM, 0, 64, false, 256},
                 {FIT_X_QUASI, 0, 64, false, 384},
                 {0, 64, 0, false, 640},
                 {0, 0, 0, true, 512},
                 {0, 0, 0, false, 256},
                 {0, 64, 64, true, 640}};
  const auto expect_rounds = [&](const auto& m, int64_t n, int32_t threads,
                                 const asked::rounds_type& expected) {
    const bool uniform = m.xhint == FIT_X_UNIFORM;
    piecewise<double> p(cubic, uniform, 40, 2);
    const fit_task<double> task(p.nx, uniform ? p.ends.data() : p.x.data(), m.xhint, 2, p.y.data());
    ASSERT_EQ(p.describe(task), 0);
    call<double> c;
    intervals(p, n, c);
    if (m.lhint == 64) std::sort(c.l.begin(), c.l.end());
    if (m.uhint == 64) std::sort(c.u.begin(), c.u.end());
    c.lhint = m.lhint, c.uhint = m.uhint, c.rhint = 0;
    c.ldata = m.peak ? at_cell : nullptr;
    asked::rounds.clear();
    asked::threads = threads;
    c.threads = asked::get();
    ASSERT_EQ(c(task, 2), 0);
    EXPECT_EQ(asked::rounds, expected) << m.threshold << " " << n;
    expect_integrals(p, c, "cut");
  };
  for (const auto& m : methods) {
    expect_rounds(m, m.threshold - 1, 8, {});
    for (const int64_t n : {m.threshold, m.threshold + 1}) {
      const auto blocks = static_cast<int32_t>(n / 128);
      expect_rounds(m, n, 8, {{blocks, blocks}});
      expect_rounds(m, n, 1, {});
    }
  }
  expect_rounds(methods[4], 1279, 2, {{9, 2}});  // below two chunks
  expect_rounds(methods[4], 1280, 2, {{2, 2}});
  expect_rounds(methods[4], 1500, 2, {{2, 2}, {1, 1}});
}

TEST(integration, tells_every_lack_of_memory) {
  const double at[2][5] = {{0, 1, 0, 0, 5}, {0, 1, 0, 0, 30}};
  const struct {
    shape s;
    int64_t knots, ny, rhint, allocations;
    bool rules, peak;
  } rows[] = {{cubic, 0, 16, 0, 0, false, false},
              {cubic, 0, 17, 0, 1, false, false},
              {cubic, 0, 17, 16, 0, false, false},
              {cubic, 0, 16, 16, 1, true, false},
              {cubic, 0, 15, 16, 0, true, false},
              {cubic, 0, 17, 16, 1, false, true},
              {cubic, 0, 16, 16, 0, false, true},
              {{"knots", 3, 1}, FIT_IC_KNOTS_UNIFORM, 17, 0, 2, false, false},
              {{"knots", 3, 1}, FIT_IC_KNOTS, 1, 16, 0, false, false}};
  for (const auto& row : rows) {
    const bool uniform = row.knots == FIT_IC_KNOTS_UNIFORM;
    piecewise<double> p(row.s, uniform, 40, row.ny, row.knots);
    const fit_task<double> task(p.nx, uniform ? p.ends.data() : p.x.data(), p.xhint(), row.ny, p.y.data());
    ASSERT_EQ(p.describe(task), 0);
    log parts = {row.ny};
    call<double> c;
    intervals(p, 200, c);
    c.rhint = row.rhint;
    if (row.rules) c.left = {integrate_constant<double, 0>, &parts};
    if (row.peak) c.ldata = at[0], c.udata = at[1];
    const int64_t before = arko_core_live_blocks(), asked_before = arko_core_allocations();
    ASSERT_EQ(c(task, row.ny), 0);
    EXPECT_EQ(arko_core_allocations() - asked_before, row.allocations) << &row - rows;
    const auto good = c.r;
    for (int64_t k = 1; k <= row.allocations; k++) {
      arko_core_fail_allocation(static_cast<int32_t>(k));
      EXPECT_EQ(c(task, row.ny), FIT_ERR_MEMORY);
    }
    arko_core_fail_allocation(0);
    EXPECT_EQ(c(task, row.ny), 0);
    EXPECT_EQ(c.r, good);
    EXPECT_EQ(arko_core_live_blocks(), before);
  }
}

}  // namespace
