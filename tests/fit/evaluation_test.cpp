// Interpolation and integration against the definitions in long double.

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

// What both have: callers' functions by the bits of `which`, results with some room behind them.
template <class T> struct call {
  int64_t n = 0, rhint = 16;
  int which = 0;
  callers* theirs = nullptr;
  DFSearchCallBack search = nullptr;
  void* searcher = nullptr;
  const DFThreadServices* services = nullptr;
  std::vector<T> r = {};

  template <class Function> Function given(int side, Function f) const {
    return which >> side & 1 ? f : nullptr;
  }
  template <class Run> int32_t guarded(int64_t size, Run run) {
    r.assign(static_cast<size_t>(size + 4), T(-77));
    const int32_t status = run();
    for (int64_t i = 0; i < 4; i++) EXPECT_EQ(r[size + i], T(-77));
    return status;
  }
};

template <class T> struct interpolation : call<T> {
  std::vector<T> site = {};
  int64_t type = 0, sitehint = 0;
  std::vector<int> dorder = {};
  std::vector<int64_t> cells = {};  // in and out

  int64_t slots() const { return std::max<int64_t>(1, std::count(dorder.begin(), dorder.end(), 1)); }
  int64_t derivative(int64_t slot) const {  // of a slot
    for (size_t k = 0; k < dorder.size(); k++)
      if (dorder[k] && slot-- == 0) return static_cast<int64_t>(k);
    return 0;
  }
  T result(int64_t ny, int64_t f, int64_t i, int64_t k) const {
    switch (this->rhint) {
      case FIT_R_BYDERIVATIVE:
        return this->r[(f * slots() + k) * this->n + i];
      case FIT_R_BYSITE:
        return this->r[(i * ny + f) * slots() + k];
      case FIT_R_SITE_FUNCTION:
        return this->r[(i * slots() + k) * ny + f];
      default:
        return this->r[(f * this->n + i) * slots() + k];
    }
  }
  int32_t operator()(const piecewise<T>& p) {
    cells.resize(this->n);
    std::vector<int32_t> narrow(cells.begin(), cells.end());
    const std::vector<int64_t> orders(dorder.begin(), dorder.end());
    const int32_t s = this->guarded(p.ny * this->n * slots(), [&] {
      return fit_entries<T>::interpolate(
          *p.task, type, 0, this->n, site.data(), sitehint, std::ssize(dorder),
          p.wide ? static_cast<const void*>(orders.data()) : dorder.data(), nullptr, this->r.data(),
          this->rhint, p.wide ? static_cast<void*>(cells.data()) : narrow.data(),
          this->given(0, values<T, 0>), this->theirs, this->given(1, values<T, 1>), this->theirs,
          this->given(2, values<T, 2>), this->theirs, this->search, this->searcher, this->services);
    });
    if (!p.wide) cells.assign(narrow.begin(), narrow.end());
    return s;
  }
};

template <class T> struct integration : call<T> {
  std::vector<T> l = {}, u = {};
  int64_t lhint = 0, uhint = 0;
  const double *ldata = nullptr, *udata = nullptr;

  T result(int64_t ny, int64_t f, int64_t i) const {
    return this->r[this->rhint == 16 || this->rhint == 128 ? f * this->n + i : i * ny + f];
  }
  int32_t operator()(const piecewise<T>& p) {
    return this->guarded(p.ny * this->n, [&] {
      return fit_entries<T>::integrate(
          *p.task, 0, this->n, l.data(), lhint, u.data(), uhint, ldata, udata, this->r.data(), this->rhint,
          this->given(0, integral<T, 0>), this->theirs, this->given(1, integral<T, 1>), this->theirs,
          this->given(2, integral<T, 2>), this->theirs, this->search, this->searcher, this->services);
    });
  }
};

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

  piecewise<T> any_function(const shape& s) {
    return piecewise<T>(
        {.s = s,
         .xhint = draw.of({FIT_X_NOHINT, FIT_X_IRREGULAR, FIT_X_QUASI, FIT_X_UNIFORM, FIT_X_UNIFORM}),
         .nx = draw.of({2, 3, 17, 33, 33, 700}),
         .ny = draw.of({1, 2, 3, 22}),
         .yhint = draw.of({FIT_Y_BYFUNC, FIT_Y_BYSITE}),
         .knots = draw.of({0, FIT_IC_KNOTS, FIT_IC_KNOTS_UNIFORM}),
         .wide = draw.below(2) == 1,
         .seed = static_cast<unsigned>(draw.below(1000))});
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
  void expect_values(const piecewise<T>& p, const interpolation<T>& c, const std::vector<T>& sites) {
    std::vector<asked> expected;
    for (int64_t i = 0; i < c.n; i++) {
      const bool given = c.type == FIT_INTERP_GIVEN_CELLS;
      const int64_t cell = given ? std::clamp<int64_t>(c.cells[i], 0, p.nx) : p.cell(sites[i]);
      if (c.type & FIT_INTERP_CELLS) {
        EXPECT_EQ(c.cells[i], cell);
      }
      const int side = cell == 0 ? 0 : cell == p.nx ? 1 : 2;
      const bool theirs = c.which >> side & 1;
      if (theirs) expected.push_back({side, cell, cell, sites[i], sites[i]});
      for (int64_t f = 0; f < p.ny; f++)
        for (int64_t k = 0; k < c.slots(); k++)
          if (theirs)
            EXPECT_EQ(c.result(p.ny, f, i, k), static_cast<T>(answer(side, f, k, sites[i])));
          else
            expect_near(c.result(p.ny, f, i, k), p.derivative(f, sites[i], cell, c.derivative(k)));
    }
    std::sort(expected.begin(), expected.end());
    std::sort(c.theirs->log.begin(), c.theirs->log.end());
    EXPECT_TRUE(c.theirs->log == expected);
    EXPECT_LE(c.theirs->most, 64);
  }

  // Limits within a cell and over many, either way round; where numbers may round, also beside breakpoints.
  T any_limit(const piecewise<T>& p) {
    constexpr T far = std::numeric_limits<T>::infinity();
    T v = draw.below(3) ? draw.of(p.x) : p.ends[draw.below(2)];
    for (int64_t steps = p.to > p.from ? draw.below(3) : 0; steps > 0; steps--)
      v = std::nextafter(v, draw.below(2) ? far : -far);
    const int64_t how = draw.below(8);
    return how < 4   ? static_cast<T>(draw.between(p.ends[0] - T(0.4), p.ends[1] + T(0.4)))
           : how < 5 ? v + 2
           : how < 6 ? v - 2
                     : v;
  }
  void expect_integrals(const piecewise<T>& p, const integration<T>& c) {
    using wide = typename piecewise<T>::wide_type;
    const T x0 = p.x[0], xn = p.x.back();
    const wide size = (p.s.order == 0 ? 3 : 500) * (std::fabs(wide(x0)) + std::fabs(xn));
    std::vector<asked> expected;
    for (int64_t i = 0; i < c.n; i++) {
      const T l = std::min(c.l[i], c.u[i]), u = std::max(c.l[i], c.u[i]);
      const int64_t kl = p.cell(l), ku = p.cell(u), nx = p.nx;
      std::vector<asked> parts;
      if (!c.which) parts = {{0, kl, ku, l, u}};
      if (c.which && kl == 0) parts.push_back({0, 0, 0, l, std::min(u, x0)});
      if (c.which && ku == nx) parts.push_back({1, nx, nx, std::max(l, xn), u});
      if (c.which && ku > 0 && kl < nx) parts.push_back({2, kl, ku, std::max(l, x0), std::min(u, xn)});
      for (const asked& part : parts)
        if (c.which >> part.side & 1) expected.push_back(part);
      for (int64_t f = 0; f < p.ny; f++) {
        typename piecewise<T>::result sum = {0, p.to > p.from ? 16 * p.eps * size : 0};
        for (const asked& part : parts) {
          auto add = p.integral(f, part.l, part.u);
          if (c.which >> part.side & 1) {
            add.value = (wide(part.u) - part.l) * constant(part.side, f);
            add.error = 2 * p.eps * std::fabs(add.value);
          }
          sum.value += add.value, sum.error += add.error + (c.which ? 3 * p.eps * std::fabs(add.value) : 0);
        }
        if (c.u[i] < c.l[i]) sum.value = -sum.value;
        SCOPED_TRACE(testing::Message() << "from " << c.l[i] << " to " << c.u[i] << " function " << f);
        expect_near(c.result(p.ny, f, i), sum);
      }
    }
    if (p.to > p.from) return;  // a limit may be taken for the breakpoint beside it
    if (c.services == thread_services::get() || c.n >= 256) {  // threads keep no order
      std::sort(expected.begin(), expected.end());
      std::sort(c.theirs->log.begin(), c.theirs->log.end());
    }
    EXPECT_TRUE(c.theirs->log == expected);
  }
};
TYPED_TEST_SUITE(evaluation_of, precisions);

TYPED_TEST(evaluation_of, interpolates_any_function_in_any_way) {
  using T = TypeParam;
  draws& draw = this->draw;
  const std::vector<int> orders[] = {
      {}, {1}, {0, 0}, {1, 1}, {0, 0, 1}, {0, 1, 1, 1}, {1, 0, 1, 1, 0, 1, 0, 1}};
  for (int round = 0; round < 1000 && !testing::Test::HasFailure(); round++) {
    const shape& s = shapes[round % 8];
    const bool lookup = s.order == 0 && s.type == FIT_TYPE_LOOKUP, table = s.order == 0;
    const piecewise<T> p = this->any_function(s);
    interpolation<T> c;
    c.n = draw.of({1, 31, 32, 63, 64, 65, 200, 513, 975, 1300});
    c.dorder = orders[draw.below(lookup ? 3 : 7)];
    callers theirs = {p.ny, c.slots()};
    c.theirs = &theirs;
    c.which = draw.below(2) ? static_cast<int>(draw.below(8)) : 0;
    c.rhint = draw.of({0, 16, 32, 128, 256, 512});
    c.type = draw.of({0, FIT_INTERP_CELLS, table ? 0 : FIT_INTERP_GIVEN_CELLS, 6});
    c.sitehint = draw.of({0, 0, FIT_SITE_SORTED, lookup ? 0 : FIT_SITE_UNIFORM, lookup ? 0 : 68});
    c.services = draw.services();
    for (int64_t i = 0; i < c.n; i++)
      c.site.push_back(this->any_site(p)), c.cells.push_back(i * 7 % (p.nx + 9) - 4);
    if (c.sitehint == FIT_SITE_SORTED) std::sort(c.site.begin(), c.site.end());
    std::vector<T> sites = c.site;
    if (c.sitehint & FIT_SITE_UNIFORM) c.site = {T(-2.5), T(3.5)}, sites = evenly(c.site[0], c.site[1], c.n);
    // Where all of it is the callers', there need be no spline.
    if (c.which == 7 && !table)
      fit_entries<T>::edit_spline(*p.task, 0, 0, 0, nullptr, 0, nullptr, nullptr, 0);
    SCOPED_TRACE(testing::Message() << "round " << round << ": " << s.name << " rules " << c.which << " nx "
                                    << p.nx);
    ASSERT_EQ(c(p), 0);
    this->expect_values(p, c, sites);
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
      as.from = draw.below(2) ? 0 : draw.between(-3, 0),
      as.to = draw.below(2) ? 1 + as.from : as.from + draw.between(0.3, 1.5);
    }
    if (peaks) as.nx = 41;
    const piecewise<T> p(as);
    callers theirs = {p.ny};
    integration<T> c;
    c.theirs = &theirs;
    c.n = draw.of({1, 40, 127, 128, 129, 300, p.ny > 3 ? 300 : 1500});
    c.which = draw.below(2) ? static_cast<int>(draw.below(8)) : 0;
    c.rhint = draw.of({0, 16, 32, 128});
    c.services = draw.services();
    for (int64_t i = 0; i < c.n; i++) {
      c.l.push_back(this->any_limit(p));
      c.u.push_back(draw.below(4) ? this->any_limit(p)
                                  : static_cast<T>(c.l.back() + draw.between(-0.02, 0.02)));
    }
    constexpr double at[] = {0, 1, 1.2, 3, 5, 6, 6.5, 8, 20, 25, 36, 38.7, 40};
    const double ldata[5] = {0, 1, 0, 0, draw.of(at)}, udata[5] = {0, 1, 0, 0, draw.of(at)};
    const auto crowd = [&](double peak) {
      const auto j = static_cast<int64_t>(peak) + draw.below(7) - 4;
      return p.x[std::clamp<int64_t>(j, 0, p.nx - 1)] + static_cast<T>(draw.below(100)) / 1024;
    };
    if (peaks) c.ldata = ldata, c.udata = udata;
    for (int64_t i = c.n / 4; i < c.n && peaks; i++) c.l[i] = crowd(ldata[4]), c.u[i] = crowd(udata[4]);
    const auto told = [&](std::vector<T>& v) -> int64_t {
      if (draw.below(3) == 0) return std::sort(v.begin(), v.end()), FIT_SITE_SORTED;
      return 0;
    };
    c.lhint = told(c.l), c.uhint = told(c.u);
    std::vector<T> all = c.u;
    if (!close && p.xhint != FIT_X_UNIFORM && draw.below(6) == 0)
      c.uhint = FIT_SITE_UNIFORM, c.u = {T(3), T(-2.25)}, all = evenly(c.u[0], c.u[1], c.n);
    SCOPED_TRACE(testing::Message() << "round " << round << ": " << s.name << " rules " << c.which << " nx "
                                    << p.nx);
    ASSERT_EQ(c(p), 0);
    c.u = all;
    this->expect_integrals(p, c);
  }
}

// Errors are a few roundings of the result, however many cells there are and however small a part of one it is.
TEST(integration, loses_nothing_in_long_and_short_intervals) {
  constexpr int64_t nx = 100001;
  std::vector<float> c4;
  for (int64_t j = 1; j < nx; j++) c4.insert(c4.end(), {1.1f, 0, 0, 0});
  const float ends[] = {0, 100000}, from[] = {0, 0.75f}, to[] = {100000, 0.75f + 0x1p-20f};
  const fit_task<float> task(nx, ends, FIT_X_UNIFORM, 1, ends, FIT_Y_PTRS);
  using entries = fit_entries<float>;
  ASSERT_EQ(entries::edit_spline(task, 4, FIT_TYPE_NATURAL, 0, nullptr, 0, nullptr, c4.data(), 0), 0);
  float r[2];
  ASSERT_EQ(entries::integrate(task, 0, 2, from, 0, to, 0, nullptr, nullptr, r, 16, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  for (int i = 0; i < 2; i++) EXPECT_NEAR(r[i] / ((double(to[i]) - from[i]) * 1.1f), 1, 2e-7);
}

// Breakpoints, or numbers within 2^-40 of one of a uniform grid, and the value alone.
TEST(interpolation, lookup_takes_breakpoints_only) {
  const double x[] = {0, 1, 3, 4}, ends[] = {0, 3}, y[] = {5, 6, 7, 8};
  for (auto& row : rows("lookup.txt")) {
    SCOPED_TRACE(row.str());
    double breakpoint, beside, value;
    int32_t uniform, orders[2], status;
    ASSERT_TRUE(row >> uniform >> breakpoint >> beside >> orders[0] >> orders[1] >> status >> value);
    const fit_task<double> task(4, uniform ? ends : x, uniform ? FIT_X_UNIFORM : 0, 1, y);
    ASSERT_EQ(fit_entries<double>::edit_spline(task, 0, FIT_TYPE_LOOKUP, 0, nullptr, 0, nullptr, nullptr, 0),
              0);
    const double site = breakpoint + beside * 0x1p-41;
    double r = 0;
    EXPECT_EQ(fit_entries<double>::interpolate(task, 0, 0, 1, &site, 0, 2, orders, nullptr, &r, 16, nullptr,
                                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                               nullptr, nullptr),
              status);
    EXPECT_EQ(r, value);
  }
}

// A negative status ends both; others mean nothing, but for a single site at its simplest.
TEST(evaluation, ends_with_a_negative_status_of_a_callback) {
  const piecewise<double> p(plan{});
  const double inside = p.ends[0] + 0.1, beyond = p.ends[1] + 1;
  for (const DFThreadServices* services :
       {static_cast<const DFThreadServices*>(nullptr), thread_services::get()}) {
    callers theirs = {1, 1, -5};
    interpolation<double> c = {{.n = 1000, .which = 2, .theirs = &theirs, .services = services}};
    integration<double> d = {{.n = 1000, .which = 2, .theirs = &theirs, .services = services}};
    c.site.assign(1000, inside), d.l.assign(1000, inside), d.u.assign(1000, p.ends[1]);
    std::fill_n(&c.site[700], 300, beyond), d.u[700] = beyond;
    EXPECT_EQ(c(p), -5);
    EXPECT_EQ(theirs.log.size(), 4u);  // of the first block with some
    EXPECT_EQ(c.r[999], -77);
    EXPECT_EQ(d(p), -5);
    EXPECT_EQ(theirs.log.size(), 5u);
    EXPECT_EQ(d.r[700], -77);
    if (!services) {
      EXPECT_TRUE(c.r[639] != -77 && d.r[699] != -77);
    }
    theirs.status = 3;
    EXPECT_EQ(c(p), 0);
    EXPECT_EQ(d(p), 0);
    c.n = 1, c.site[0] = beyond;
    EXPECT_EQ(c(p), 3);
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
      const auto function = wide ? caller_search::call<int64_t> : caller_search::call<int32_t>;
      interpolation<T> c = {{.n = 150, .theirs = &none, .search = function, .searcher = &search}};
      integration<T> d = {{.n = 150, .theirs = &none, .search = function, .searcher = &search}};
      c.site = d.l = evenly(p.ends[0] - T(0.3), p.ends[1] + T(0.3), 150);
      d.u.assign(d.l.rbegin(), d.l.rend());
      ASSERT_EQ(c(p), 0);  // all cells are said to be 5
      EXPECT_EQ(search.calls, (calls{{64, -1}, {64, -1}, {22, -1}}));
      for (int i = 0; i < 150; i++) this->expect_near(c.result(1, 0, i, 0), p.derivative(0, c.site[i], 5, 0));
      search = {0, 5, 0};  // a guess
      c.type = FIT_INTERP_CELLS;
      ASSERT_EQ(c(p), 0);
      this->expect_values(p, c, c.site);
      search.calls.clear();
      ASSERT_EQ(d(p), 0);
      EXPECT_EQ(search.calls, (calls{{128, 0}, {128, 1}, {22, 0}, {22, 1}}));
      this->expect_integrals(p, d);
      search = {-9, 0, 0};
      EXPECT_EQ(c(p), -9);
      EXPECT_EQ(c.r[0], -77);
      EXPECT_EQ(d(p), -9);
      EXPECT_EQ(search.calls.size(), 2u);
      for (const int nowhere : {1 << 20, -5}) {  // the outer polynomials
        search = {1000, nowhere, 0};
        EXPECT_EQ(c(p), 0);
        EXPECT_EQ(d(p), 0);
      }
    }
}

TEST(evaluation, is_cut_for_threads_as_told) {
  draws draw = {std::mt19937(2)};
  for (auto& row : rows("evaluation_cuts.txt")) {
    SCOPED_TRACE(row.str());
    std::string what, cut;
    int64_t n, threads, xhint, lhint, uhint, peak;
    ASSERT_TRUE(row >> what >> xhint >> lhint >> uhint >> peak >> n >> threads >> cut);
    const piecewise<double> p({.xhint = xhint, .nx = 40, .ny = 2});
    const double data[5] = {0, 1, 0, 0, 20};
    std::vector<double> site, u;
    for (int64_t i = 0; i < n; i++) site.push_back(draw.between(-3, 3)), u.push_back(draw.between(-3, 3));
    if (lhint == FIT_SITE_SORTED) std::sort(site.begin(), site.end());
    if (uhint == FIT_SITE_SORTED) std::sort(u.begin(), u.end());
    const auto expect_cut = [&](auto c) {
      auto alone = c;
      ASSERT_EQ(alone(p), 0);
      c.services = scripted_services::with(static_cast<int32_t>(threads));
      ASSERT_EQ(c(p), 0);
      EXPECT_EQ(rounds(), cut);
      EXPECT_EQ(c.r, alone.r);
    };
    if (what == "interpolation") {
      expect_cut(interpolation<double>{{.n = n, .rhint = 256}, site, 0, lhint});
    } else {
      expect_cut(integration<double>{{.n = n, .rhint = 0}, site, u, lhint, uhint, peak ? data : nullptr});
    }
  }
}

TEST(evaluation, tells_every_lack_of_memory) {
  draws draw = {std::mt19937(3)};
  const double data[2][5] = {{0, 1, 0, 0, 5}, {0, 1, 0, 0, 30}};
  for (auto& row : rows("evaluation_memory.txt")) {
    SCOPED_TRACE(row.str());
    std::string what;
    int64_t s, knots, ny, rhint, rules, peaks, n, allocations;
    ASSERT_TRUE(row >> what >> s >> knots >> ny >> rhint >> rules >> peaks >> n >> allocations);
    const piecewise<double> p(
        {.s = shapes[s], .xhint = knots == 12 ? 4 : 0, .nx = 40, .ny = ny, .knots = knots});
    std::vector<double> site(n);
    for (double& v : site) v = draw.between(-2.5, 2);
    const auto expect_allocations = [&](auto c) {
      callers theirs = {ny, 2};
      if (rules) c.theirs = &theirs, c.which = 7;
      ASSERT_EQ(c(p), 0);
      const auto good = c.r;
      EXPECT_EQ(each_allocation_fails(FIT_ERR_MEMORY, [&] { return theirs.log.clear(), c(p); }), allocations);
      EXPECT_EQ(c.r, good);
    };
    if (what == "interpolation") {
      expect_allocations(interpolation<double>{{.n = n, .rhint = rhint}, site, FIT_INTERP_CELLS, 0, {1, 1}});
    } else {
      const std::vector<double> u(site.rbegin(), site.rend());
      expect_allocations(integration<double>{
          {.n = n, .rhint = rhint}, site, u, 0, 0, peaks ? data[0] : nullptr, peaks ? data[1] : nullptr});
    }
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
    using entries = fit_entries<double>;
    const fit_task<double> task(3, x, 0, all, all ? x : nullptr);
    ASSERT_EQ(entries::edit_spline(task, order, type, 0, nullptr, 0, nullptr, all ? c : nullptr, 0), 0);
    if (functions == "untold") arko_df_kernel_iEditVal(task, FIT_ATTR_NY, 1);
    const double* const hint = data ? hints[data] : nullptr;
    for (const int64_t n : {1, 0}) {
      EXPECT_EQ(entries::interpolate(task, 0, 0, n, x, 0, 0, nullptr, hint, r, rhint, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                interpolates);
      for (const bool left : {false, true})
        EXPECT_EQ(entries::integrate(task, 0, n, x, 0, x + 1, 0, left ? hint : nullptr, left ? nullptr : hint,
                                     r, rhint, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr),
                  integrates);
    }
  }
}

}  // namespace
