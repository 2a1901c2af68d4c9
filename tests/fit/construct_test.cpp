// Splines against the equations that define them, in extended precision, from the coefficients as they were written.

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;
using wide = long double;
template <class T> constexpr wide eps = std::numeric_limits<T>::epsilon();

// Kinds of spline. From internal conditions: derivatives of that order at inner breakpoints, or knots.
struct kind {
  const char* name;
  int64_t order, type, ic_type;
  int least_nx;
  const char* entry = name;
};
constexpr kind cubics[] = {{"default", 4, FIT_TYPE_DEFAULT, FIT_IC_D2, 3},
                           {"natural", 4, FIT_TYPE_NATURAL, 0, 4},
                           {"hermite", 4, FIT_TYPE_HERMITE, FIT_IC_D1, 3},
                           {"bessel", 4, FIT_TYPE_BESSEL, 0, 4},
                           {"hyman", 4, FIT_TYPE_HYMAN, 0, 4},
                           {"akima", 4, FIT_TYPE_AKIMA, 0, 5}};
constexpr kind linear = {"linear", 2, 0, 0, 2}, midpoint = {"quadratic", 3, FIT_TYPE_DEFAULT, 0, 2},
               knotted = {"knotted", 3, FIT_TYPE_KNOT_QUADRATIC, FIT_IC_KNOTS, 2, "quadratic"};

// Breakpoints, functions and conditions, and the spline's rows of coefficients, one behind the other.
template <class T> struct spline {
  kind k;
  int n, ny;
  bool uniform;
  int64_t bc_type, ic_type;
  numbers<T> x, y, ic, bc, c;

  // Rough steps are of sizes from 1 to 10^8; in single precision, of whole numbers up to a thousand.
  spline(const kind& k, int n, int ny, bool uniform, int64_t bc_type, std::mt19937& random)
      : k(k), n(n), ny(ny), uniform(uniform), bc_type(bc_type), ic_type(k.ic_type) {
    std::uniform_real_distribution<double> power(-4, 4), value(-1, 1);
    double sum = 0;
    for (int i = 0; i < n; i++) {
      x.push_back(static_cast<T>(uniform ? i * 0.125 : sum));
      sum += sizeof(T) == 8 ? std::pow(10, power(random)) : 1 + random() % 1000;
    }
    for (int i = 0; i < n * ny; i++)
      y.push_back(static_cast<T>(value(random) * std::pow(10, power(random) / 2)));
    for (int f = 0; f < ny && bc_type == FIT_BC_PERIODIC; f++) y[at(f, n - 1)] = y[at(f, 0)];
    for (int i = 0; i <= n; i++)
      ic.push_back(ic_type != FIT_IC_KNOTS ? static_cast<T>(value(random))
                   : i == 0 || i == n
                       ? x[i ? n - 1 : 0]
                       : x[i - 1] + static_cast<T>(0.5 + 0.3 * value(random)) * (x[i] - x[i - 1]));
    bc = {static_cast<T>(value(random)), static_cast<T>(value(random))};
  }
  std::size_t at(int f, int i) const { return static_cast<std::size_t>(f * n + i); }
  wide h(int i) const { return wide(x[i + 1]) - x[i]; }
  wide m(int f, int i) const { return (wide(y[at(f, i + 1)]) - y[at(f, i)]) / h(i); }
  int pieces() const { return k.type == FIT_TYPE_KNOT_QUADRATIC ? n : n - 1; }

  // With values and rows by a storage hint, through `run`, which is to call the constructor.
  template <class Run> void make(int64_t hint, Run run) {
    const T ends[2] = {x[0], x.back()};
    numbers<T> told(y.size());
    for (int f = 0; f < ny; f++)
      for (int i = 0; i < n; i++)
        told[hint == FIT_Y_BYSITE ? static_cast<std::size_t>(i * ny + f) : at(f, i)] = y[at(f, i)];
    const fit_task<T> task(n, uniform ? ends : x.data(), uniform ? FIT_X_UNIFORM : FIT_X_NOHINT, ny,
                           told.data(), hint);
    const auto row = static_cast<std::size_t>(k.order * pieces());
    c.assign(row * static_cast<std::size_t>(ny) + 1, T(-77.25));
    using entries = fit_entries<T>;
    const bool knots_in_the_middle = ic_type == FIT_IC_KNOTS + 1;  // are not told
    const T* const told_ic = ic_type && !knots_in_the_middle ? ic.data() : nullptr;
    ASSERT_EQ(entries::edit_spline(task, k.order, k.type, bc_type, bc.data(), told_ic ? ic_type : 0, told_ic,
                                   c.data(), hint),
              FIT_OK);
    if (knots_in_the_middle) arko_df_kernel_iEditVal(task, FIT_ATTR_ICTYPE, FIT_IC_KNOTS);
    for (int f = 1; f < ny && hint == FIT_Y_PTRS; f++) {
      entries::edit_indexed(task, FIT_ATTR_Y, f, told.data() + at(f, 0));
      entries::edit_indexed(task, FIT_ATTR_COEFF, f, c.data() + static_cast<std::size_t>(f) * row);
    }
    run([&](const DFThreadServices* services) { return entries::construct(k.entry)(task, 0, 0, services); });
    EXPECT_EQ(c.back(), T(-77.25));
    c.pop_back();
  }
  void make(int64_t hint = 0, const DFThreadServices* services = nullptr) {
    make(hint, [&](auto construct) { ASSERT_EQ(construct(services), FIT_OK); });
  }
  // The same by all storage hints, with all numbers of threads.
  void make_all() {
    make();
    const numbers<T> first = c;
    for (const int64_t hint : {FIT_Y_BYFUNC, FIT_Y_BYSITE, FIT_Y_PTRS})
      for (const int t : {1, 3, 8}) {
        make(hint, scripted_services::with(t));
        EXPECT_TRUE(c == first);
      }
  }

  // Derivative k of a piece at a distance from its breakpoint, or the sum of its terms' sizes.
  wide derivative(int f, int piece, wide t, int k_, bool sizes = false) const {
    const T* const row = &c[static_cast<std::size_t>(k.order * (f * pieces() + piece))];
    wide sum = 0;
    for (int p = static_cast<int>(k.order) - 1; p >= k_; p--) {
      wide factor = 1;
      for (int q = p; q > p - k_; q--) factor *= q;
      sum = sum * (sizes ? std::fabs(t) : t) + factor * (sizes ? std::fabs(wide(row[p])) : wide(row[p]));
    }
    return sum;
  }
  wide size(int f, int piece, wide t, int k) const { return derivative(f, piece, t, k, true); }
};

void expect_close(wide a, wide b, wide tolerance, int i) {
  EXPECT_LE(std::fabs(a - b), tolerance) << "cell " << i << ": " << a << " and " << b;
}

// The derivative at inner breakpoint j that a local rule makes of the slopes about it, and how uncertain that is.
template <class T> std::pair<wide, wide> local_rule(const spline<T>& s, int f, int j) {
  const std::string rule = s.k.name;
  if (rule == "hermite") return {s.ic[j - 1], 0};
  const wide hl = s.h(j - 1), hr = s.h(j), ml = s.m(f, j - 1), mr = s.m(f, j), e = 40 * eps<T>;
  const wide parabola = ml + hl * ((mr - ml) / (hl + hr)), tolerance = e * (std::fabs(ml) + std::fabs(mr));
  if (rule == "bessel") return {parabola, tolerance};
  const wide bound = 3 * std::min(std::fabs(ml), std::fabs(mr));
  if (rule == "hyman" && ml * mr <= 0) return {0, 0};
  if (rule == "hyman") return {std::clamp(parabola, -bound, bound), tolerance};
  const bool first = j == 1, last = j == s.n - 2;
  const wide before = first ? ml : s.m(f, j - 2), after = last ? mr : s.m(f, j + 1);
  const wide w1 = std::fabs(last ? mr - ml : after - mr), w2 = std::fabs(first ? mr - ml : ml - before);
  // Weights lose digits where slopes cancel; the mean of the slopes does not get out of their range by that.
  const wide lost = e * (std::fabs(mr) + std::fabs(ml) + std::fabs(after) + std::fabs(before));
  return {(w1 * ml + w2 * mr) / (w1 + w2),
          tolerance + std::fabs(ml - mr) * std::min(wide(1), lost / (w1 + w2))};
}

template <class T> void check_cubic(const spline<T>& s, int f) {
  const int l = s.n - 2;
  const wide e = 40 * eps<T>;
  const std::string name = s.k.name;
  const bool from_second = name == "default", natural = name == "natural";
  const auto y = [&](int i) { return wide(s.y[s.at(f, i)]); };
  const auto d = [&](int i, wide t, int k) { return s.derivative(f, i, t, k); };
  // Coefficients come from slopes, whose rounding is amplified by 1/h in second derivatives.
  const auto noise = [&](int i, wide t, int k, int of_slopes = 1) {
    const wide h = s.h(i), slopes = std::fabs(s.m(f, i)) + std::fabs(d(i, 0, 1)) + std::fabs(d(i, h, 1)) +
                                    (std::fabs(y(i)) + std::fabs(y(i + 1))) / h * eps<T>;
    return e * (s.size(f, i, t, k) + (k == 0 ? 0 : k == 1 ? of_slopes * slopes : 8 * slopes / h));
  };
  // What goes on from cell to cell, and the rule of the kind.
  for (int i = 0; i <= l; i++) {
    const wide h = s.h(i);
    EXPECT_EQ(d(i, 0, 0), y(i));
    expect_close(d(i, h, 0), y(i + 1), noise(i, h, 0), i);
    if (i == l) break;
    // The natural cubic's derivative is its cell's slope and a part, so that it has the rounding of that slope.
    if (!from_second)
      expect_close(d(i, h, 1), d(i + 1, 0, 1), noise(i, h, 1) + (natural ? noise(i + 1, 0, 1) : 0), i);
    if (from_second || natural)
      expect_close(d(i, h, 2), d(i + 1, 0, 2), noise(i, h, 2) + noise(i + 1, 0, 2), i);
    const auto [rule, tolerance] =
        from_second || natural ? std::pair<wide, wide>(s.ic[i], 0) : local_rule(s, f, i + 1);
    if (!natural) expect_close(d(i + 1, 0, from_second ? 2 : 1), rule, tolerance, i);
  }
  // Of each end its cell, the next one and the place in the cell.
  const bool periodic = s.bc_type == FIT_BC_PERIODIC;
  for (const int right : {0, 1}) {
    const int i = right ? l : 0, next = right ? l - 1 : 1;
    const wide t = right ? s.h(i) : 0, beyond = right ? -s.h(next) : s.h(i) + s.h(next), m = s.m(f, i);
    const auto expect = [&](int k, wide value) { expect_close(d(i, t, k), value, noise(i, t, k, 8), i); };
    if (s.bc_type & (right ? FIT_BC_D1_RIGHT : FIT_BC_D1_LEFT))
      expect_close(d(i, t, 1), s.bc[right], right ? noise(i, t, 1, 8) : e * s.size(f, i, t, 1), i);
    if (s.bc_type & (right ? FIT_BC_D2_RIGHT : FIT_BC_D2_LEFT)) expect(2, s.bc[right]);
    if (s.bc_type == FIT_BC_FREE_END) expect(2, 0);
    if (s.bc_type == FIT_BC_NONE) expect(1, (3 * m - s.m(f, next)) / 2);
    if (periodic && from_second) expect(2, s.bc[0]);
    if (s.bc_type != FIT_BC_NOT_A_KNOT || s.n == 3) continue;
    if (from_second)
      expect_close(d(i, t, 3), d(next, 0, 3), e * std::fabs(d(next, 0, 3)), i);
    else  // the end's cubic also holds at the other end of the next cell
      expect_close(
          d(i, beyond, 0), y(right ? l - 1 : 2),
          e * s.size(f, i, beyond, 0) + noise(i, t, 2) * beyond * beyond * (1 + std::fabs(beyond) / s.h(i)),
          i);
  }
  if (!periodic || from_second) return;
  const wide hl = s.h(l), m0 = s.m(f, 0), ml = s.m(f, l), w1 = std::fabs(s.m(f, 1) - m0),
             w2 = std::fabs(ml - s.m(f, l - 1));
  const wide joint = name == "hermite" ? wide(s.bc[0])
                     : name == "akima" ? (w1 * ml + w2 * m0) / (w1 + w2)
                                       : ml + hl * ((m0 - ml) / (hl + s.h(0)));
  for (int k = 1; k <= 1 + natural; k++)
    expect_close(d(0, 0, k), d(l, hl, k), noise(0, 0, k, 8) + noise(l, hl, k, 8), 0);
  if (!natural) expect_close(d(0, 0, 1), joint, noise(0, 0, 1, 8) + noise(l, hl, 1, 8), 0);
}

// Values and first derivatives go on where pieces around x[i] meet, at joint(i + 1), which is rounded.
template <class T, class Joint> void check_quadratic(const spline<T>& s, int f, Joint joint) {
  for (int i = 0; i < s.pieces(); i++) {
    EXPECT_EQ(s.derivative(f, i, 0, 0), s.y[s.at(f, i)]);
    if (i + 1 == s.pieces()) break;
    const wide left = joint(i + 1) - s.x[i], right = joint(i + 1) - s.x[i + 1];
    const auto size = [&](int k) { return s.size(f, i, left, k) + s.size(f, i + 1, right, k); };
    for (const int k : {0, 1})
      expect_close(s.derivative(f, i, left, k), s.derivative(f, i + 1, right, k),
                   30 * eps<T> * size(k) + 2 * eps<T> * std::fabs(joint(i + 1)) * size(k + 1), i);
  }
}

template <class T> class construct_of : public testing::Test {};
TYPED_TEST_SUITE(construct_of, precisions);

// Among the long ones are those that are solved in windows, with a last window of any length, and just not so.
TYPED_TEST(construct_of, cubics_by_their_equations) {
  using T = TypeParam;
  std::mt19937 random(1);
  for (const kind& k : cubics)
    for (const int64_t bc_type : {0, 1, 2, 12, 24, 36, 48, 64})
      for (const bool uniform : {true, false}) {
        if (bc_type == 0 && std::string(k.name) != "akima") continue;
        SCOPED_TRACE(testing::Message() << k.name << " bc " << bc_type << (uniform ? " uniform" : " rough"));
        for (const auto& [n, ny] :
             {std::pair{k.least_nx, 1}, {k.least_nx + 1, 3}, {258, 5}, {700, 5}, {5000, 1}}) {
          spline<T> s(k, n, ny, uniform, bc_type, random);
          s.make_all();
          for (int f = 0; f < s.ny; f++) check_cubic(s, f);
        }
        if (std::string(k.name) == "natural")
          for (const int n : {4094, 4095, 4096, 4097, 4098, 8193, 9300, sizeof(T) == 8 ? 100000 : 30000}) {
            spline<T> s(k, n + static_cast<int>(bc_type) / 24, 1, uniform, bc_type, random);
            s.make();
            for (int f = 0; f < s.ny; f++) check_cubic(s, f);
          }
        if (testing::Test::HasFailure()) return;
      }
}

TYPED_TEST(construct_of, lines_and_quadratics_by_their_equations) {
  using T = TypeParam;
  const wide e = eps<T>;
  std::mt19937 random(4);
  for (const bool uniform : {true, false})
    for (const int n : {2, 3, 4, 50, 4097}) {
      spline<T> s(linear, n, 3, uniform, 77, random);
      s.make_all();
      for (int f = 0; f < 3; f++)
        for (int i = 0; i < n - 1; i++) {
          EXPECT_EQ(s.derivative(f, i, 0, 0), s.y[s.at(f, i)]);
          expect_close(s.derivative(f, i, 0, 1), s.m(f, i), 2 * e * std::fabs(s.m(f, i)), i);
        }
      if (n > 50) continue;
      s = spline<T>(midpoint, n, 3, uniform, FIT_BC_MIDPOINT, random);
      s.make_all();
      for (int f = 0; f < 3; f++) {
        const int l = n - 2;
        check_quadratic(s, f, [&](int i) { return wide(s.x[i]); });
        expect_close(s.derivative(f, 0, s.h(0) / 2, 0), s.bc[0], 20 * e * s.size(f, 0, s.h(0) / 2, 0), 0);
        expect_close(s.derivative(f, l, s.h(l), 0), s.y[s.at(f, n - 1)], 20 * e * s.size(f, l, s.h(l), 0), l);
      }
    }
}

// Knots as given, in the middle, evenly spaced.
TYPED_TEST(construct_of, quadratics_between_knots_by_their_equations) {
  using T = TypeParam;
  const wide e = eps<T>;
  std::mt19937 random(5);
  for (const int n : {2, 3, 4, 50})
    for (const int64_t ic_type : {FIT_IC_KNOTS, FIT_IC_KNOTS + 1, FIT_IC_KNOTS_UNIFORM})
      for (const int64_t bc_type : {12, 24, 36, 48})
        for (const bool uniform : {ic_type == FIT_IC_KNOTS_UNIFORM, true}) {
          SCOPED_TRACE(testing::Message() << "knots " << ic_type << " bc " << bc_type << " n " << n);
          spline<T> s(knotted, n, 3, uniform, bc_type, random);
          s.ic_type = ic_type;
          if (ic_type == FIT_IC_KNOTS_UNIFORM) s.ic = {s.x[0] + T(0.03125), s.x[n - 1] - T(0.0625)};
          s.make_all();
          const auto knot = [&](int i) -> wide {
            if (ic_type == FIT_IC_KNOTS) return s.ic[i];
            if (ic_type == FIT_IC_KNOTS + 1) return (wide(s.x[i - 1]) + s.x[i]) / 2;
            return i == 1 ? wide(s.ic[0]) : s.ic[0] + (i - 1) * (wide(s.ic[1]) - s.ic[0]) / (n - 2);
          };
          for (int f = 0; f < 3; f++) {
            check_quadratic(s, f, knot);
            for (const int right : {0, 1}) {
              const int i = right ? n - 1 : 0, next = right ? n - 2 : 1;
              const int k = bc_type & (right ? FIT_BC_D1_RIGHT : FIT_BC_D1_LEFT) ? 1 : 2;
              const wide slopes = std::fabs(s.derivative(f, i, 0, 1)) +
                                  std::fabs(s.derivative(f, next, 0, 1)) +
                                  std::fabs(s.m(f, right ? n - 2 : 0)),
                         near = std::fabs(knot(right ? n - 1 : 1) - s.x[i]);
              expect_close(s.derivative(f, i, 0, k), s.bc[right],
                           k == 2  ? 100 * e * slopes / near
                           : right ? 20 * e * std::fabs(wide(s.bc[1]))
                                   : 0,
                           i);
            }
          }
        }
}

// Straight lines come back exactly; a flat stretch has no weights; an extremum and a jump keep values in a cell's range.
TYPED_TEST(construct_of, akima_and_hyman_at_corners) {
  using T = TypeParam;
  std::mt19937 random(6);
  for (const int which : {1, 3, 4, 5}) {
    spline<T> s(cubics[which], 8, 1, true, which == 5 ? 0 : 1, random);
    for (int i = 0; i < 8; i++) s.y[i] = s.x[i];
    s.make();
    for (std::size_t i = 0; i < 28; i += 4)
      EXPECT_EQ((numbers<T>{s.c[i + 1], s.c[i + 2], s.c[i + 3]}), (numbers<T>{1, 0, 0})) << s.k.name;
  }
  spline<T> s(cubics[4], 8, 1, true, FIT_BC_FREE_END, random);
  s.y = {0, 1, 1, 0.5, 0.75, 5, 5.001f, 6};
  s.make();
  for (const int i : {1, 2, 3}) EXPECT_EQ(s.c[4 * i + 1], 0);
  for (int i = 1; i < 6; i++)
    for (int k = 0; k <= 16; k++) {
      const wide v = s.derivative(0, i, k * s.h(0) / 16, 0);
      EXPECT_GE(v, std::min(s.y[i], s.y[i + 1]) - 4 * eps<T>);
      EXPECT_LE(v, std::max(s.y[i], s.y[i + 1]) + 10 * eps<T>);
    }
}

// What is refused, in which order.
TYPED_TEST(construct_of, refuses_in_order) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  const T x[6] = {0, 1, 2, 3, 4, 5}, y[6] = {1, 0, 0, 0, 0, 2},
          knots[7] = {0, T(0.5), T(1.5), 2, T(3.5), T(4.5), 5};
  for (auto& row : rows("construct_refusals.txt")) {
    SCOPED_TRACE(row.str());
    std::string entry, arrays;
    int64_t nx, yhint, order, type, bc_type, ic_type, method, status;
    ASSERT_TRUE(row >> entry >> nx >> yhint >> order >> type >> bc_type >> ic_type >> arrays >> method >>
                status);
    const auto has = [&](char array) { return arrays.find(array) != std::string::npos; };
    T c[40];
    const fit_task<T> task(nx, x, 0, 1, y);
    // Types whose arrays are missing come in as integers.
    ASSERT_EQ(entries::edit_spline(task, order, type, 0, has('b') ? y : nullptr, has('i') ? 1 : 0,
                                   has('i') ? knots : nullptr, has('c') ? c : nullptr, 0),
              FIT_OK);
    if (has('n')) arko_df_kernel_iEditVal(task, FIT_ATTR_NY, 2);
    for (const auto& [attribute, value] :
         {std::pair{FIT_ATTR_YHINT, yhint}, {FIT_ATTR_BCTYPE, bc_type}, {FIT_ATTR_ICTYPE, ic_type}})
      ASSERT_EQ(arko_df_kernel_iEditVal(task, attribute, value), FIT_OK);
    EXPECT_EQ(entries::construct(entry)(task, 9, method, nullptr), status);
  }
  for (const int n : {10, 9000}) {  // steps of zero leave no pivot
    std::mt19937 random(9);
    spline<T> s(cubics[1], n, 1, false, FIT_BC_FREE_END, random);
    s.x[6] = s.x[7] = s.x[5];
    s.make(0, [](auto construct) { EXPECT_EQ(construct(nullptr), FIT_ERR_SOLVER); });
  }
}

TYPED_TEST(construct_of, knots_lie_strictly_between_breakpoints) {
  using T = TypeParam;
  const T x[4] = {0, 1, 2, 4};
  for (auto& row : rows("knots.txt")) {
    SCOPED_TRACE(row.str());
    T knots[5], c[12];
    int32_t status;
    ASSERT_TRUE(row >> knots[0] >> knots[1] >> knots[2] >> knots[3] >> knots[4] >> status);
    const fit_task<T> task(4, x, 0, 1, x);
    ASSERT_EQ(fit_entries<T>::edit_spline(task, 3, 1, 12, x, 8, knots, c, 0), FIT_OK);
    EXPECT_EQ(fit_entries<T>::construct("quadratic")(task, 0, 0, nullptr), status);
  }
}

// What each asks of threads and memory.
TYPED_TEST(construct_of, tells_every_lack_of_memory_and_is_cut_as_told) {
  using T = TypeParam;
  std::mt19937 random(8);
  for (auto& row : rows("construct_cuts.txt")) {
    SCOPED_TRACE(row.str());
    std::string name, cut;
    int64_t bc_type, n, ny, threads, allocations;
    ASSERT_TRUE(row >> name >> bc_type >> n >> ny >> threads >> cut >> allocations);
    kind k = name == "linear" ? linear : name == "quadratic" ? midpoint : knotted;
    for (const kind& cubic : cubics)
      if (name == cubic.name) k = cubic;
    spline<T> s(k, static_cast<int>(n), static_cast<int>(ny), false, bc_type, random);
    s.make(0, [&](auto construct) {
      const auto* const services = scripted_services::with(static_cast<int32_t>(threads));
      EXPECT_EQ(each_allocation_fails(FIT_ERR_MEMORY, [&] { return construct(services); }), allocations);
      EXPECT_EQ(rounds(), cut);
    });
  }
}

}  // namespace
