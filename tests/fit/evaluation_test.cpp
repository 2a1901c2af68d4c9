// Interpolation and integration against the definitions in long double.

#include <cstring>
#include <mutex>

#include "tests/fit/piecewise.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;

struct draws {
  std::mt19937 random;
  int64_t below(int64_t n) { return static_cast<int64_t>(random() % static_cast<unsigned>(n)); }
  template <class N> auto of(const N& these) { return these[below(static_cast<int64_t>(std::size(these)))]; }
  int64_t of(std::initializer_list<int64_t> these) { return these.begin()[below(std::ssize(these))]; }
  double between(double a, double b) {  // a multiple of 2^-16: sites on a uniform grid without roundings
    return std::ldexp(std::round(std::ldexp(std::uniform_real_distribution<>(a, b)(random), 16)), -16);
  }
  const DFThreadServices* services() {
    const int64_t how = below(4);
    return how == 0 ? nullptr : how == 1 ? thread_services::get() : scripted_services::with(3 * (how - 2));
  }
};

// The caller's functions on the left of, on the right of and within the partition: what they were asked, and answers.
struct asked {
  int side;
  int64_t lcell, ucell;
  double l, u;
  auto operator<=>(const asked&) const = default;
};
struct callers {
  int64_t ny = 1, slots = 1;
  int32_t status = 0;
  int64_t most = 0;
  std::vector<asked> log = {};
  std::mutex mutex = {};
};
double answer(int side, int64_t f, int64_t slot, double site) {
  return 1000 * (side + 1) + 100 * static_cast<double>(f) + 10 * static_cast<double>(slot) + site;
}
template <class T, int side>
int32_t values(int64_t* n, const int64_t* cell, const void* site, void* r, void* params, void* spare) {
  callers& me = *static_cast<callers*>(params);
  const std::lock_guard lock(me.mutex);
  EXPECT_EQ(spare, nullptr);
  me.most = std::max(me.most, *n);
  for (int64_t i = 0; i < *n; i++) {
    const T s = static_cast<const T*>(site)[i];
    me.log.push_back({side, cell[i], cell[i], s, s});
    for (int64_t f = 0; f < me.ny; f++)
      for (int64_t k = 0; k < me.slots; k++)
        static_cast<T*>(r)[(f * *n + i) * me.slots + k] = static_cast<T>(answer(side, f, k, s));
  }
  return me.status;
}
double constant(int side, int64_t f) { return 10 * (side + 1) + static_cast<double>(f); }
template <class T, int side>
int32_t integral(int64_t* n, const int64_t* lcell, const void* llim, const int64_t* ucell, const void* ulim,
                 void* r, void* params, void* spare) {
  callers& me = *static_cast<callers*>(params);
  const std::lock_guard lock(me.mutex);
  EXPECT_TRUE(*n == 1 && spare == nullptr);
  const T l = *static_cast<const T*>(llim), u = *static_cast<const T*>(ulim);
  me.log.push_back({side, *lcell, *ucell, l, u});
  for (int64_t f = 0; f < me.ny; f++)
    static_cast<T*>(r)[f] = static_cast<T>((double(u) - l) * constant(side, f));
  return me.status;
}

// Where results lie.
int64_t place(int64_t rhint, int64_t n, int64_t ny, int64_t slots, int64_t f, int64_t i, int64_t k) {
  switch (rhint) {
    case FIT_R_BYDERIVATIVE:
      return (f * slots + k) * n + i;
    case FIT_R_BYSITE:
      return (i * ny + f) * slots + k;
    case FIT_R_SITE_FUNCTION:
      return (i * slots + k) * ny + f;
    default:
      return (f * n + i) * slots + k;
  }
}

template <class T> std::vector<T> evenly(T first, T last, int64_t n) {
  const T step = n > 1 ? (last - first) / static_cast<T>(n - 1) : 0;
  std::vector<T> all;
  for (int64_t i = 0; i < n; i++) all.push_back(first + static_cast<T>(i) * step);
  return all;
}

template <class T> class evaluation_of : public testing::Test {
 protected:
  draws draw = {std::mt19937(1)};

  void expect_near(T found, typename piecewise<T>::result r) {
    EXPECT_LE(std::fabs(found - r.value), r.error) << found << " for " << r.value;
  }

  plan any_function(const shape& s) {
    plan p = {.s = s};
    p.xhint = draw.of({FIT_X_NOHINT, FIT_X_IRREGULAR, FIT_X_QUASI, FIT_X_UNIFORM, FIT_X_UNIFORM});
    p.nx = draw.of({2, 3, 17, 33, 33, 300}), p.ny = draw.of({1, 2, 3, 22});
    p.yhint = draw.of({FIT_Y_BYFUNC, FIT_Y_BYSITE});
    p.knots = draw.of({0, FIT_IC_KNOTS, FIT_IC_KNOTS_UNIFORM});
    p.wide = draw.below(2) == 1, p.seed = static_cast<unsigned>(draw.below(1000));
    return p;
  }
  // Sites over and beyond the partition, breakpoints and neighbours of the ends; of lookup, breakpoints only.
  T any_site(const piecewise<T>& p) {
    constexpr T far = std::numeric_limits<T>::infinity();
    const T a = p.ends[0], b = p.ends[1];
    const T special[] = {
        a, b, a - 2, b + 2, std::nextafter(a, -far), std::nextafter(a, far), std::nextafter(b, far)};
    const int64_t how = p.s.order == 0 && p.s.type == FIT_TYPE_LOOKUP ? 0 : draw.below(9);
    if (how < 3) return draw.below(9) ? draw.of(p.x) : b;
    return how < 4 ? draw.of(special) : static_cast<T>(draw.between(a - T(0.4), b + T(0.4)));
  }
  // Of the derivatives in `slots`. Cells are told after the call, or given.
  void expect_values(const piecewise<T>& p, const interpolation<T>& c, const numbers<T>& sites,
                     const std::vector<int>& slots, const std::vector<int64_t>& cells, callers& theirs) {
    std::vector<asked> expected;
    for (int64_t i = 0; i < c.n; i++) {
      const int64_t told = p.wide ? cells[i] : reinterpret_cast<const int32_t*>(cells.data())[i];
      const int64_t cell =
          c.type == FIT_INTERP_GIVEN_CELLS ? std::clamp<int64_t>(told, 0, p.nx) : p.cell(sites[i]);
      if (c.type & FIT_INTERP_CELLS) {
        EXPECT_EQ(told, cell);
      }
      const int side = cell == 0 ? 0 : cell == p.nx ? 1 : 2;
      if (c.rules[side]) expected.push_back({side, cell, cell, sites[i], sites[i]});
      for (int64_t f = 0; f < p.ny; f++)
        for (int64_t k = 0; k < std::ssize(slots); k++) {
          const T found = c.r[place(c.rhint, c.n, p.ny, std::ssize(slots), f, i, k)];
          if (c.rules[side])
            EXPECT_EQ(found, static_cast<T>(answer(side, f, k, sites[i])));
          else
            expect_near(found, p.derivative(f, sites[i], cell, slots[k]));
        }
    }
    std::sort(expected.begin(), expected.end());
    std::sort(theirs.log.begin(), theirs.log.end());
    EXPECT_TRUE(theirs.log == expected);
    EXPECT_LE(theirs.most, 64);
  }

  // Limits within a cell and over many, either way round; where numbers may round, also beside breakpoints.
  T any_limit(const piecewise<T>& p) {
    constexpr T far = std::numeric_limits<T>::infinity();
    T v = draw.below(3) ? draw.of(p.x) : p.ends[draw.below(2)];
    for (int64_t steps = p.to > p.from ? draw.below(3) : 0; steps > 0; steps--)
      v = std::nextafter(v, draw.below(2) ? far : -far);
    const int64_t how = draw.below(8);
    if (how < 4) v = static_cast<T>(draw.between(p.ends[0] - T(0.4), p.ends[1] + T(0.4)));
    return how == 4 ? v + 2 : how == 5 ? v - 2 : v;
  }
  void expect_integrals(const piecewise<T>& p, const integration<T>& c, const numbers<T>& ls,
                        const numbers<T>& us, callers& theirs) {
    using wide = typename piecewise<T>::wide_type;
    const T x0 = p.x[0], xn = p.x.back();
    const bool rules = c.rules[0] || c.rules[1] || c.rules[2], rounds = p.to > p.from;
    const wide noise =
        rounds ? 16 * p.eps * (p.s.order == 0 ? 3 : 500) * (std::fabs(wide(x0)) + std::fabs(xn)) : 0;
    std::vector<asked> expected;
    for (int64_t i = 0; i < c.n; i++) {
      const T l = std::min(ls[i], us[i]), u = std::max(ls[i], us[i]);
      const int64_t kl = p.cell(l), ku = p.cell(u), nx = p.nx;
      std::vector<asked> parts;
      if (!rules) parts = {{0, kl, ku, l, u}};
      if (rules && kl == 0) parts.push_back({0, 0, 0, l, std::min(u, x0)});
      if (rules && ku == nx) parts.push_back({1, nx, nx, std::max(l, xn), u});
      if (rules && ku > 0 && kl < nx) parts.push_back({2, kl, ku, std::max(l, x0), std::min(u, xn)});
      for (const asked& part : parts)
        if (c.rules[part.side]) expected.push_back(part);
      for (int64_t f = 0; f < p.ny; f++) {
        typename piecewise<T>::result sum = {0, noise};
        for (const asked& part : parts) {
          auto add = p.integral(f, part.l, part.u);
          const wide of_theirs = (wide(part.u) - part.l) * constant(part.side, f);
          if (c.rules[part.side]) add = {of_theirs, 2 * p.eps * std::fabs(of_theirs)};
          sum.value += add.value, sum.error += add.error + (rules ? 3 * p.eps * std::fabs(add.value) : 0);
        }
        if (us[i] < ls[i]) sum.value = -sum.value;
        const bool by_function = c.rhint == 16 || c.rhint == 128;
        expect_near(c.r[by_function ? f * c.n + i : i * p.ny + f], sum);
      }
    }
    if (rounds) return;  // a limit may be taken for the breakpoint beside it
    if (c.n >= 256) {    // threads keep no order
      std::sort(expected.begin(), expected.end());
      std::sort(theirs.log.begin(), theirs.log.end());
    }
    EXPECT_TRUE(theirs.log == expected);
  }
};
TYPED_TEST_SUITE(evaluation_of, precisions);

TYPED_TEST(evaluation_of, interpolates_any_function_in_any_way) {
  using T = TypeParam;
  draws& draw = this->draw;
  // What is asked for, and the derivatives that this means.
  const std::pair<std::vector<int64_t>, std::vector<int>> orders[] = {
      {{}, {0}},
      {{1}, {0}},
      {{0, 0}, {0}},
      {{1, 1}, {0, 1}},
      {{0, 0, 1}, {2}},
      {{0, 1, 1, 1}, {1, 2, 3}},
      {{1, 0, 1, 1, 0, 1, 0, 1}, {0, 2, 3, 5, 7}}};
  for (int round = 0; round < 1000 && !testing::Test::HasFailure(); round++) {
    const shape& s = shapes[round % 8];
    const bool table = s.order == 0, lookup = table && s.type == FIT_TYPE_LOOKUP;
    const piecewise<T> p(this->any_function(s));
    const auto& [dorder, slots] = orders[draw.below(lookup ? 3 : 7)];
    const std::vector<int32_t> narrow(dorder.begin(), dorder.end());
    const int64_t n = draw.of({1, 31, 32, 63, 64, 65, 200, 513, 975, 1300}),
                  size = n * p.ny * std::ssize(slots);
    numbers<T> sites, r(size + 1, T(-77)), ends = {T(-2.5), T(3.5)};
    std::vector<int64_t> cells(n + 1);
    for (int64_t i = 0; i < n; i++) {
      sites.push_back(this->any_site(p));
      const int64_t cell = i * 7 % (p.nx + 9) - 4;
      std::memcpy(reinterpret_cast<char*>(cells.data()) + i * (p.wide ? 8 : 4), &cell, p.wide ? 8 : 4);
    }
    callers theirs = {p.ny, std::ssize(slots)};
    interpolation<T> c = {
        .n = n, .site = sites.data(), .r = r.data(), .cells = cells.data(), .theirs = &theirs};
    c.rhint = draw.of({0, 16, 32, 128, 256, 512});
    c.type = draw.of({0, FIT_INTERP_CELLS, table ? 0 : FIT_INTERP_GIVEN_CELLS, 6});
    c.sitehint = draw.of({0, 0, FIT_SITE_SORTED, lookup ? 0 : FIT_SITE_UNIFORM, lookup ? 0 : 68});
    c.orders = std::ssize(dorder),
    c.dorder = p.wide ? static_cast<const void*>(dorder.data()) : narrow.data();
    c.services = draw.services();
    const int64_t which = draw.below(2) ? draw.below(8) : 0;
    if (which & 1) c.rules[0] = values<T, 0>;
    if (which & 2) c.rules[1] = values<T, 1>;
    if (which & 4) c.rules[2] = values<T, 2>;
    if (which == 7 && !table)
      p.task->describe(0, 0);  // where all of it is the callers', there need be no spline
    if (c.sitehint == FIT_SITE_SORTED) std::sort(sites.begin(), sites.end());
    if (c.sitehint & FIT_SITE_UNIFORM) c.site = ends.data(), sites = evenly(ends[0], ends[1], n);
    SCOPED_TRACE(testing::Message() << "round " << round << ": " << s.name << " rules " << which << " nx "
                                    << p.nx);
    ASSERT_EQ(c(*p.task), 0);
    EXPECT_EQ(r[size], T(-77));
    this->expect_values(p, c, sites, slots, cells, theirs);
  }
}

TYPED_TEST(evaluation_of, integrates_any_function_in_any_way) {
  using T = TypeParam;
  draws& draw = this->draw;
  for (int round = 0; round < 1000 && !testing::Test::HasFailure(); round++) {
    const shape& s = shapes[round % 7];
    const bool close = draw.below(4) == 0, peaks = !close && draw.below(3) == 0;
    plan as = this->any_function(s);
    if (close) {
      as.nx = draw.of({2, 3, 11, 50, 100, 1000}), as.knots = 0;
      as.from = draw.below(2) ? 0 : draw.between(-3, 0);
      as.to = draw.below(2) ? 1 + as.from : as.from + draw.between(0.3, 1.5);
    }
    if (peaks) as.nx = 41;
    const piecewise<T> p(as);
    const int64_t n = draw.of({1, 40, 127, 128, 129, 300, p.ny * p.nx > 150 ? 300 : 1500});
    constexpr double at[] = {0, 1, 1.2, 3, 5, 6, 6.5, 8, 20, 25, 36, 38.7, 40};
    const double data[2][5] = {{0, 1, 0, 0, draw.of(at)}, {0, 1, 0, 0, draw.of(at)}};
    const auto crowd = [&](double peak) {
      const auto j = static_cast<int64_t>(peak) + draw.below(7) - 4;
      return p.x[std::clamp<int64_t>(j, 0, p.nx - 1)] + static_cast<T>(draw.below(100)) / 1024;
    };
    numbers<T> l, u, r(n * p.ny + 1, T(-77)), ends = {T(3), T(-2.25)};
    for (int64_t i = 0; i < n; i++) {
      const bool far = peaks && i > n / 4;
      l.push_back(far ? crowd(data[0][4]) : this->any_limit(p));
      u.push_back(far             ? crowd(data[1][4])
                  : draw.below(4) ? this->any_limit(p)
                                  : static_cast<T>(l.back() + draw.between(-0.02, 0.02)));
    }
    callers theirs = {p.ny};
    integration<T> c = {.n = n, .l = l.data(), .u = u.data(), .r = r.data(), .theirs = &theirs};
    c.rhint = draw.of({0, 16, 32, 128});
    c.lhint = draw.of({0, 0, FIT_SITE_SORTED});
    c.uhint = draw.of({0, 0, FIT_SITE_SORTED, close || p.xhint == FIT_X_UNIFORM ? 0 : FIT_SITE_UNIFORM});
    if (peaks) c.ldata = data[0], c.udata = data[1];
    c.services = draw.services();
    const int64_t which = draw.below(2) ? draw.below(8) : 0;
    if (which & 1) c.rules[0] = integral<T, 0>;
    if (which & 2) c.rules[1] = integral<T, 1>;
    if (which & 4) c.rules[2] = integral<T, 2>;
    if (c.lhint) std::sort(l.begin(), l.end());
    if (c.uhint == FIT_SITE_SORTED) std::sort(u.begin(), u.end());
    if (c.uhint == FIT_SITE_UNIFORM) c.u = ends.data(), u = evenly(ends[0], ends[1], n);
    SCOPED_TRACE(testing::Message() << "round " << round << ": " << s.name << " rules " << which << " nx "
                                    << p.nx);
    ASSERT_EQ(c(*p.task), 0);
    EXPECT_EQ(r[n * p.ny], T(-77));
    this->expect_integrals(p, c, l, u, theirs);
  }
}

// Errors are a few roundings of the result, however many cells there are and however small a part of one it is.
TEST(integration, loses_nothing_in_long_and_short_intervals) {
  constexpr int64_t nx = 100001;
  std::vector<float> c4;
  for (int64_t j = 1; j < nx; j++) c4.insert(c4.end(), {1.1f, 0, 0, 0});
  const float ends[] = {0, 100000}, from[] = {0, 0.75f}, to[] = {100000, 0.75f + 0x1p-20f};
  const fit_task<float> task(nx, ends, FIT_X_UNIFORM, 1, ends, FIT_Y_PTRS);
  task.describe(4, FIT_TYPE_NATURAL, c4.data());
  float r[2];
  EXPECT_EQ((integration<float>{.n = 2, .l = from, .u = to, .r = r}(task)), 0);
  for (int i = 0; i < 2; i++) EXPECT_NEAR(r[i] / ((double(to[i]) - from[i]) * 1.1f), 1, 2e-7);
}

// Breakpoints, or numbers within 2^-40 of one of a uniform grid, and the value alone.
TEST(interpolation, lookup_takes_breakpoints_only) {
  const double x[] = {0, 1, 3, 4}, ends[] = {0, 3}, y[] = {5, 6, 7, 8};
  for (auto& row : rows("lookup.txt")) {
    SCOPED_TRACE(row.str());
    double breakpoint, beside, value, r = 0;
    int32_t uniform, orders[2], status;
    ASSERT_TRUE(row >> uniform >> breakpoint >> beside >> orders[0] >> orders[1] >> status >> value);
    const double site = breakpoint + beside * 0x1p-41;
    const fit_task<double> task(4, uniform ? ends : x, uniform ? FIT_X_UNIFORM : 0, 1, y);
    task.describe(0, FIT_TYPE_LOOKUP);
    EXPECT_EQ((interpolation<double>{.site = &site, .r = &r, .orders = 2, .dorder = orders}(task)), status);
    EXPECT_EQ(r, value);
  }
}

// A negative status ends both; others mean nothing, but for a single site at its simplest.
TEST(evaluation, ends_with_a_negative_status_of_a_callback) {
  const piecewise<double> p(plan{});
  numbers<double> site(1000, p.ends[0] + 0.1), l = site, u(1000, p.ends[1]), r(1000), s(1000);
  std::fill_n(&site[700], 300, p.ends[1] + 1), u[700] = p.ends[1] + 1;
  for (const bool threads : {false, true}) {
    callers theirs = {1, 1, -5};
    interpolation<double> c = {.n = 1000, .site = site.data(), .r = r.data(), .theirs = &theirs};
    integration<double> d = {.n = 1000, .l = l.data(), .u = u.data(), .r = s.data(), .theirs = &theirs};
    c.rules[1] = values<double, 1>, d.rules[1] = integral<double, 1>;
    c.services = d.services = threads ? thread_services::get() : nullptr;
    r.assign(1000, -77), s = r;
    EXPECT_EQ(c(*p.task), -5);
    EXPECT_EQ(theirs.log.size(), 4u);  // of the first block with some
    EXPECT_EQ(d(*p.task), -5);
    EXPECT_EQ(theirs.log.size(), 5u);
    EXPECT_TRUE(r[999] == -77 && s[700] == -77 && (threads || (r[639] != -77 && s[699] != -77)));
    theirs.status = 3;
    EXPECT_EQ(c(*p.task), 0);
    EXPECT_EQ(d(*p.task), 0);
    c.n = 1, c.site = &site[999];
    EXPECT_EQ(c(*p.task), 3);
  }
}

// The caller's search: counts and sides of its calls, and what it answers.
struct caller_search {
  int32_t status;
  int cell, flag;
  std::vector<std::pair<int64_t, int32_t>> calls = {};

  template <class C>
  static int32_t call(void* n, const void*, void* cell, int32_t* flag, void* params, void* spare) {
    caller_search& me = *static_cast<caller_search*>(params);
    me.calls.emplace_back(*static_cast<C*>(n), spare ? *static_cast<int32_t*>(spare) : -1);
    for (C i = 0; i < *static_cast<C*>(n); i++) static_cast<C*>(cell)[i] = me.cell, flag[i] = me.flag;
    return me.status;
  }
};
TYPED_TEST(evaluation_of, searches_with_the_callers_function) {
  using T = TypeParam;
  using calls = std::vector<std::pair<int64_t, int32_t>>;
  for (const bool wide : {false, true})
    for (const int64_t xhint : {FIT_X_NOHINT, FIT_X_UNIFORM}) {
      const piecewise<T> p({.xhint = xhint, .wide = wide});
      callers none;
      caller_search search = {1000, 5, 0};
      const numbers<T> l = evenly(p.ends[0] - T(0.3), p.ends[1] + T(0.3), 150), u(l.rbegin(), l.rend());
      numbers<T> r(150);
      std::vector<int64_t> cells(150);
      interpolation<T> c = {.n = 150, .site = l.data(), .r = r.data(), .cells = cells.data()};
      integration<T> d = {.n = 150, .l = l.data(), .u = u.data(), .r = r.data()};
      c.search = d.search = wide ? caller_search::call<int64_t> : caller_search::call<int32_t>;
      c.searcher = d.searcher = &search;
      ASSERT_EQ(c(*p.task), 0);  // all cells are said to be 5
      EXPECT_EQ(search.calls, (calls{{64, -1}, {64, -1}, {22, -1}}));
      for (int i = 0; i < 150; i++) this->expect_near(r[i], p.derivative(0, l[i], 5, 0));
      search = {0, 5, 0};  // a guess
      c.type = FIT_INTERP_CELLS;
      ASSERT_EQ(c(*p.task), 0);
      this->expect_values(p, c, l, {0}, cells, none);
      search.calls.clear();
      ASSERT_EQ(d(*p.task), 0);
      EXPECT_EQ(search.calls, (calls{{128, 0}, {128, 1}, {22, 0}, {22, 1}}));
      this->expect_integrals(p, d, l, u, none);
      search = {-9, 0, 0}, r.assign(150, -77);
      EXPECT_EQ(c(*p.task), -9);
      EXPECT_EQ(d(*p.task), -9);
      EXPECT_EQ(search.calls.size(), 2u);
      EXPECT_EQ(r[0], -77);
      for (const int nowhere : {1 << 20, -5}) {  // the outer polynomials
        search = {1000, nowhere, 0};
        EXPECT_EQ(c(*p.task), 0);
        EXPECT_EQ(d(*p.task), 0);
      }
    }
}

// What a request asks of threads and memory; neither changes the results.
TEST(evaluation, is_cut_as_told_and_tells_every_lack_of_memory) {
  draws draw = {std::mt19937(2)};
  for (auto& row : rows("evaluation_cuts.txt")) {
    SCOPED_TRACE(row.str());
    std::string what, cut;
    int64_t s, xhint, knots, ny, rhint, lhint, uhint, rules, lpeak, upeak, n, threads, allocations;
    ASSERT_TRUE(row >> what >> s >> xhint >> knots >> ny >> rhint >> lhint >> uhint >> rules >> lpeak >>
                upeak >> n >> threads >> cut >> allocations);
    const piecewise<double> p({.s = shapes[s], .xhint = xhint, .nx = 40, .ny = ny, .knots = knots});
    const double ldata[5] = {0, 1, 0, 0, double(lpeak)}, udata[5] = {0, 1, 0, 0, double(upeak)};
    numbers<double> l(n), u(n), r(2 * n * ny), alone;
    for (double& v : l) v = draw.between(-3, 3);
    for (double& v : u) v = draw.between(-3, 3);
    if (lhint) std::sort(l.begin(), l.end());
    if (uhint) std::sort(u.begin(), u.end());
    constexpr int32_t orders[] = {1, 1};
    callers theirs = {ny, 2};
    interpolation<double> c = {.n = n, .site = l.data(), .r = r.data(), .rhint = rhint, .theirs = &theirs};
    c.sitehint = lhint, c.orders = 2, c.dorder = orders;
    integration<double> d = {
        .n = n, .l = l.data(), .u = u.data(), .r = r.data(), .rhint = rhint, .theirs = &theirs};
    d.lhint = lhint, d.uhint = uhint;
    if (lpeak) d.ldata = ldata;
    if (upeak) d.udata = udata;
    if (rules) c.rules[2] = values<double, 2>, d.rules[2] = integral<double, 2>;
    const auto run = [&] { return what == "interpolation" ? c(*p.task) : d(*p.task); };
    EXPECT_EQ(run(), FIT_OK);
    alone = r;
    c.services = d.services = scripted_services::with(static_cast<int32_t>(threads));
    EXPECT_EQ(each_allocation_fails(FIT_ERR_MEMORY, run), allocations);
    EXPECT_TRUE(r == alone);
    scripted_services::rounds.clear();
    theirs.log = {};
    EXPECT_EQ(run(), FIT_OK);
    EXPECT_EQ(rounds(), cut);
  }
}

// What both refuse, and in which order: with all arrays, with no functions, or with one of which nothing was told.
TEST(evaluation, refuses_in_order) {
  constexpr double x[] = {0, 1, 2}, hints[][5] = {{}, {0, 2, 0, 0, 0}, {0, 1, 0, 0, 4}};
  double c[16] = {}, r[3];
  for (auto& row : rows("evaluation_refusals.txt")) {
    SCOPED_TRACE(row.str());
    std::string functions;
    int64_t order, type, rhint, data, interpolates, integrates;
    ASSERT_TRUE(row >> functions >> order >> type >> rhint >> data >> interpolates >> integrates);
    const bool all = functions == "all";
    const fit_task<double> task(3, x, 0, all, all ? x : nullptr);
    task.describe(order, type, all ? c : nullptr);
    if (functions == "untold") arko_df_kernel_iEditVal(task, FIT_ATTR_NY, 1);
    const double* const hint = data ? hints[data] : nullptr;
    for (const int64_t n : {1, 0}) {
      EXPECT_EQ((interpolation<double>{.n = n, .site = x, .r = r, .rhint = rhint, .data = hint}(task)),
                interpolates);
      EXPECT_EQ(
          (integration<double>{.n = n, .l = x, .u = x + 1, .r = r, .rhint = rhint, .ldata = hint}(task)),
          integrates);
      EXPECT_EQ(
          (integration<double>{.n = n, .l = x, .u = x + 1, .r = r, .rhint = rhint, .udata = hint}(task)),
          integrates);
    }
  }
}

}  // namespace
