// Splines against the equations that define them, in extended precision, from the coefficients as they were written.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "core/testing.h"
#include "tests/fit/tasks.h"

namespace {

using namespace arko::test;
using wide = long double;
template <class T> using numbers = std::vector<T>;
template <class T> constexpr wide eps = std::numeric_limits<T>::epsilon();

enum class grid { uniform, rough };
enum class storage { by_function, by_site, apart };

template <class T> struct kind {
  const char* name;
  int32_t (*construct)(void*, int64_t, int64_t, const DFThreadServices*);
  int64_t type, ic_type;
  int least_nx;
};
template <class T>
const kind<T> cubics[] = {
    {"default", fit_entries<T>::from_second, FIT_TYPE_DEFAULT, FIT_IC_D2, 3},
    {"natural", fit_entries<T>::natural, FIT_TYPE_NATURAL, FIT_IC_NONE, 4},
    {"hermite", fit_entries<T>::hermite, FIT_TYPE_HERMITE, FIT_IC_D1, 3},
    {"bessel", fit_entries<T>::bessel, FIT_TYPE_BESSEL, FIT_IC_NONE, 4},
    {"hyman", fit_entries<T>::hyman, FIT_TYPE_HYMAN, FIT_IC_NONE, 4},
    {"akima", fit_entries<T>::akima, FIT_TYPE_AKIMA, FIT_IC_NONE, 5},
};
constexpr int64_t boundaries[] = {0, 1, 2, 12, 24, 36, 48, 64};

// Breakpoints, functions (values by function), conditions.
template <class T> struct data {
  int n, ny;
  grid kind;
  numbers<T> x, y, ic, bc;

  data(int nx, int functions, grid g, std::mt19937& random, bool periodic = false)
      : n(nx), ny(functions), kind(g) {
    std::uniform_real_distribution<double> power(-4, 4), value(-1, 1);
    double sum = 0;
    for (int i = 0; i < n; i++) {
      // Steps of sizes from 1 to 10^8; in single precision, of whole numbers up to a thousand.
      x.push_back(static_cast<T>(g == grid::uniform ? i * 0.125 : sum));
      sum += sizeof(T) == 8 ? std::pow(10, power(random)) : 1 + random() % 1000;
    }
    for (int i = 0; i < n * ny; i++)
      y.push_back(static_cast<T>(value(random) * std::pow(10, power(random) / 2)));
    for (int f = 0; f < ny && periodic; f++) y[at(f, n - 1)] = y[at(f, 0)];
    for (int i = 0; i < n; i++) ic.push_back(static_cast<T>(value(random)));
    bc = {static_cast<T>(value(random)), static_cast<T>(value(random))};
  }
  std::size_t at(int f, int i) const { return static_cast<std::size_t>(f * n + i); }
  wide h(int i) const { return wide(x[at(0, i + 1)]) - x[at(0, i)]; }
  wide m(int f, int i) const { return (wide(y[at(f, i + 1)]) - y[at(f, i)]) / h(i); }
};

struct description {
  int64_t order, type, bc_type, ic_type;
};

// The rows of all functions one behind the other, or an empty vector where construction failed.
template <class T, class Construct>
numbers<T> coefficients(const data<T>& in, const description& d, storage how, Construct construct,
                        const DFThreadServices* services, int32_t& status, const T* ic = nullptr) {
  const bool uniform = in.kind == grid::uniform, by_site = how == storage::by_site;
  const T ends[2] = {in.x[0], in.x.back()};
  numbers<T> y(in.y.size());
  for (int f = 0; f < in.ny; f++)
    for (int i = 0; i < in.n; i++)
      y[by_site ? static_cast<std::size_t>(i * in.ny + f) : in.at(f, i)] = in.y[in.at(f, i)];
  const int64_t yhint = by_site ? FIT_Y_BYSITE : how == storage::apart ? FIT_Y_PTRS : FIT_Y_NOHINT;
  const fit_task<T> task(in.n, uniform ? ends : in.x.data(), uniform ? FIT_X_UNIFORM : FIT_X_NOHINT, in.ny,
                         y.data(), yhint);
  const auto row = static_cast<std::size_t>(d.order * (in.n - (d.type == FIT_TYPE_KNOT_QUADRATIC ? 0 : 1)));
  const auto rows = static_cast<std::size_t>(in.ny);
  constexpr T guard = T(-77.25);
  numbers<T> c(row * rows + 1, guard);
  using entries = fit_entries<T>;
  const int64_t c_hint = how == storage::apart ? FIT_C_PTRS : FIT_C_NOHINT;
  const bool no_ic = d.ic_type == FIT_IC_NONE;
  status = entries::edit_spline(task, d.order, d.type, d.bc_type, in.bc.data(), no_ic ? 0 : d.ic_type,
                                no_ic ? nullptr
                                : ic  ? ic
                                      : in.ic.data(),
                                c.data(), c_hint);
  EXPECT_EQ(status, FIT_OK);
  for (int f = 1; f < in.ny && how == storage::apart; f++) {
    entries::edit_indexed(task, FIT_ATTR_Y, f, y.data() + in.at(f, 0));
    entries::edit_indexed(task, FIT_ATTR_COEFF, f, c.data() + static_cast<std::size_t>(f) * row);
  }
  status = construct(task.get(), 0, 0, services);
  EXPECT_EQ(c.back(), guard);
  c.pop_back();
  return c;
}

// One polynomial, and what its rounding may amount to in value and derivatives at t.
template <class T> struct polynomial {
  const T* c;
  int order;
  wide derivative(wide t, int k, bool sizes = false) const {
    wide sum = 0;
    for (int p = order - 1; p >= k; p--) {
      wide factor = 1;
      for (int q = p; q > p - k; q--) factor *= q;
      sum = sum * (sizes ? std::fabs(t) : t) + factor * (sizes ? std::fabs(wide(c[p])) : wide(c[p]));
    }
    return sum;
  }
  wide size(wide t, int k) const { return derivative(t, k, true); }
};

#define EXPECT_CLOSE(a, b, tolerance)                      \
  EXPECT_LE(std::fabs(wide(a) - wide(b)), wide(tolerance)) \
      << label << " f " << f << " cell " << i << ": " << wide(a) << " and " << wide(b)

// What holds for all cubics: value and derivative go on from cell to cell; then each spline's own equations.
template <class T>
void check_cubic(const data<T>& in, const numbers<T>& c, const std::string& name, int64_t bc_type,
                 const std::string& label) {
  const int n = in.n, l = n - 2;
  const wide e = 40 * eps<T>;
  for (int f = 0; f < in.ny && !testing::Test::HasFailure(); f++) {
    const auto cell = [&](int i) {
      return polynomial<T>{c.data() + 4 * (static_cast<std::size_t>(f) * static_cast<std::size_t>(n - 1) +
                                           static_cast<std::size_t>(i)),
                           4};
    };
    const auto y = [&](int i) { return in.y[in.at(f, i)]; };
    const auto m = [&](int i) { return in.m(f, i); };
    // Derivative and second derivative at breakpoint i, from the cell to the right, and their sizes. Coefficients come
    // from slopes, whose rounding is amplified by 1/h in second derivatives.
    const auto d = [&](int i) { return i <= l ? wide(cell(i).c[1]) : cell(l).derivative(in.h(l), 1); };
    const auto slopes = [&](int i) {
      return std::fabs(m(i)) + std::fabs(d(i)) + std::fabs(d(i + 1)) +
             (std::fabs(wide(y(i))) + std::fabs(wide(y(i + 1)))) / in.h(i) * eps<T>;
    };
    for (int i = 0; i <= l; i++) {
      const wide h = in.h(i), noise = e * slopes(i);
      EXPECT_EQ(cell(i).c[0], y(i)) << label;
      EXPECT_CLOSE(cell(i).derivative(h, 0), y(i + 1), e * (cell(i).size(h, 0)));
      if (i < l) {
        const polynomial<T> next = cell(i + 1);
        if (name != "default") {
          EXPECT_CLOSE(cell(i).derivative(h, 1), next.c[1], noise + e * cell(i).size(h, 1));
        }
        if (name == "natural" || name == "default") {
          const wide tolerance = 8 * e * (slopes(i) / h + slopes(i + 1) / in.h(i + 1));
          EXPECT_CLOSE(cell(i).derivative(h, 2), 2 * wide(next.c[2]), tolerance + e * cell(i).size(h, 2));
          if (name == "default") {
            EXPECT_EQ(next.c[2], in.ic[in.at(0, i)] / 2) << label;
          }
        } else {
          const int j = i + 1;
          const wide hl = in.h(j - 1), hr = in.h(j), ml = m(j - 1), mr = m(j);
          // The derivative of the parabola through three points, by divided differences.
          const wide bessel = ml + hl * ((mr - ml) / (hl + hr)),
                     tolerance = e * (std::fabs(ml) + std::fabs(mr));
          if (name == "hermite") {
            EXPECT_EQ(next.c[1], in.ic[in.at(0, i)]) << label;
          }
          if (name == "bessel") {
            EXPECT_CLOSE(next.c[1], bessel, tolerance);
          }
          if (name == "hyman") {
            const wide bound = 3 * std::min(std::fabs(ml), std::fabs(mr));
            const wide expected = ml * mr <= 0 ? 0 : std::clamp(bessel, -bound, bound);
            EXPECT_CLOSE(next.c[1], expected, ml * mr <= 0 ? 0 : tolerance);
          }
          if (name == "akima") {
            const wide w1 = j == n - 2 ? std::fabs(mr - ml) : std::fabs(m(j + 1) - mr);
            const wide w2 = j == 1 ? std::fabs(mr - ml) : std::fabs(ml - m(j - 2));
            // Weights lose digits where slopes cancel; the mean of the slopes does not get out of their range by that.
            const wide lost = e * (std::fabs(mr) + std::fabs(ml) + (j < n - 2 ? std::fabs(m(j + 1)) : 0) +
                                   (j > 1 ? std::fabs(m(j - 2)) : 0));
            EXPECT_CLOSE(next.c[1], (w1 * ml + w2 * mr) / (w1 + w2),
                         tolerance + std::fabs(ml - mr) * std::min(wide(1), lost / (w1 + w2)));
          }
        }
      }
    }
    // The ends. A second derivative from slopes s of a cell of width h is uncertain by s/h.
    const wide h0 = in.h(0), hl = in.h(l), s0 = 8 * e * slopes(0), sl = 8 * e * slopes(l);
    const bool d1_left = bc_type & 4, d2_left = bc_type & 16, d1_right = bc_type & 8, d2_right = bc_type & 32;
    const auto second_right = [&] { return cell(l).derivative(hl, 2); };
    int i = 0;
    if (d1_left) {
      EXPECT_CLOSE(d(0), in.bc[0], e * cell(0).size(0, 1));
    }
    if (d2_left || bc_type == 2) {
      EXPECT_CLOSE(2 * cell(0).c[2], bc_type == 2 ? 0 : in.bc[0], s0 / h0);
    }
    i = l;
    if (d1_right) {
      EXPECT_CLOSE(d(n - 1), in.bc[1], sl + e * cell(l).size(hl, 1));
    }
    if (d2_right || bc_type == 2) {
      EXPECT_CLOSE(second_right(), bc_type == 2 ? 0 : in.bc[1], sl / hl + e * cell(l).size(hl, 2));
    }
    if (bc_type == 1 && n > 3) {  // the end cell's cubic also holds at the other end of the next one
      const auto next = [&](int k) { return in.h(k) + in.h(k == 0 ? 1 : l - 1); };
      i = 0;
      if (name != "default") {
        const wide t = next(0), back = -in.h(l - 1);
        EXPECT_CLOSE(cell(0).derivative(t, 0), y(2), e * cell(0).size(t, 0) + s0 / h0 * t * t * (1 + t / h0));
        i = l;
        EXPECT_CLOSE(cell(l).derivative(back, 0), y(l - 1),
                     e * cell(l).size(back, 0) + sl / hl * back * back * (1 + -back / hl));
      }
      if (name == "default") {
        EXPECT_CLOSE(cell(0).c[3], cell(1).c[3], e * std::fabs(wide(cell(1).c[3])));
        EXPECT_CLOSE(cell(l).c[3], cell(l - 1).c[3], e * std::fabs(wide(cell(l - 1).c[3])));
      }
    }
    if (bc_type == 64) {
      i = 0;
      const wide w1 = std::fabs(m(1) - m(0)), w2 = std::fabs(m(l) - m(l - 1)),
                 joint = m(l) + hl * ((m(0) - m(l)) / (hl + h0));
      if (name == "default") {
        EXPECT_EQ(cell(0).c[2], in.bc[0] / 2);
        EXPECT_CLOSE(second_right(), in.bc[0], e * cell(l).size(hl, 2));
      } else {
        EXPECT_CLOSE(d(n - 1), d(0), s0 + sl + e * cell(l).size(hl, 1));
        const wide expected = name == "hermite" ? wide(in.bc[0])
                              : name == "akima" ? (w1 * m(l) + w2 * m(0)) / (w1 + w2)
                                                : joint;
        if (name == "natural") {
          EXPECT_CLOSE(second_right(), 2 * wide(cell(0).c[2]), s0 / h0 + sl / hl + e * cell(l).size(hl, 2));
        } else {
          EXPECT_CLOSE(d(0), expected, s0 + sl);
        }
      }
    }
    if (bc_type == 0) {
      i = 0;
      EXPECT_CLOSE(d(0), (3 * m(0) - m(1)) / 2, s0 + e * std::fabs(m(1)));
      EXPECT_CLOSE(d(n - 1), (3 * m(l) - m(l - 1)) / 2, sl + e * (std::fabs(m(l - 1)) + cell(l).size(hl, 1)));
    }
  }
}

template <class T> class construct_of : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(construct_of, precisions);

TYPED_TEST(construct_of, cubics_by_their_equations) {
  using T = TypeParam;
  std::mt19937 random(1);
  for (const auto& k : cubics<T>)
    for (const int64_t bc_type : boundaries) {
      if (bc_type == 0 && std::string(k.name) != "akima") continue;
      for (const grid g : {grid::uniform, grid::rough})
        for (const auto& [n, ny] :
             {std::pair{k.least_nx, 1}, {k.least_nx + 1, 3}, {257, 2}, {258, 5}, {700, 5}, {5000, 1}}) {
          const std::string label = std::string(k.name) + " bc " + std::to_string(bc_type) + " n " +
                                    std::to_string(n) + (g == grid::rough ? " rough" : "");
          const data<T> in(n, ny, g, random, bc_type == FIT_BC_PERIODIC);
          const description d = {4, k.type, bc_type, k.ic_type};
          int32_t status;
          const numbers<T> c = coefficients(in, d, storage::by_function, k.construct, nullptr, status);
          ASSERT_EQ(status, FIT_OK) << label;
          check_cubic(in, c, k.name, bc_type, label);
          if (testing::Test::HasFailure()) return;
          // Storage and threads change nothing.
          for (const storage how : {storage::by_function, storage::by_site, storage::apart})
            for (const int t : {1, 3, 8}) {
              EXPECT_EQ(coefficients(in, d, how, k.construct, recorded(t), status), c) << label;
              EXPECT_EQ(status, FIT_OK);
            }
        }
    }
}

// A cubic is its own spline wherever the conditions are its own; Bessel and Akima reproduce parabolas and lines.
TYPED_TEST(construct_of, polynomials_are_reproduced) {
  using T = TypeParam;
  std::mt19937 random(3);
  const auto p = [](T x, int degree, int k) {
    const T c[] = {1, -2, degree > 1 ? T(0.5) : 0, degree > 2 ? T(0.25) : 0};
    return static_cast<T>(polynomial<T>{c, 4}.derivative(x, k));
  };
  const int n = 9, f = 0;
  for (const auto& k : cubics<T>)
    for (const int64_t bc_type : {1, 12, 24, 36, 48})
      for (const grid g : {grid::uniform, grid::rough}) {
        data<T> in(n, 1, g, random);
        const bool rough = g == grid::rough;
        if (rough)
          for (int i = 0; i < n; i++) in.x[in.at(0, i)] = static_cast<T>(i * i) / 8;
        const std::string name = k.name, label = name + ' ' + std::to_string(bc_type);
        const int degree = name == "bessel" ? 2 : name == "akima" || name == "hyman" ? 1 : 3;
        for (int i = 0; i < n; i++) in.y[in.at(0, i)] = p(in.x[in.at(0, i)], degree, 0);
        for (int i = 1; i < n - 1; i++)
          in.ic[in.at(0, i - 1)] = p(in.x[in.at(0, i)], degree, k.ic_type == FIT_IC_D2 ? 2 : 1);
        in.bc = {p(in.x[0], degree, bc_type & 4 ? 1 : 2), p(in.x.back(), degree, bc_type & 8 ? 1 : 2)};
        int32_t status;
        const numbers<T> c = coefficients(in, {4, k.type, bc_type, k.ic_type}, storage::by_function,
                                          k.construct, nullptr, status);
        ASSERT_EQ(status, FIT_OK);
        for (int i = 0; i < n - 1; i++)
          for (int q = 0; q < 4; q++) {
            const wide expected = wide(p(in.x[in.at(0, i)], degree, q)) / (q == 2 ? 2 : q == 3 ? 6 : 1);
            EXPECT_CLOSE(c[static_cast<std::size_t>(4 * i + q)], expected,
                         degree == 1 ? 0 : 300 * eps<T> * std::pow(in.h(i), -q) * (rough ? 60 : 1));
          }
      }
}

// Values and first derivatives at the joints of pieces around x[i], which lie at joint(i + 1).
template <class T, class Joint>
void check_quadratic(const data<T>& in, const numbers<T>& c, int pieces, Joint joint,
                     const std::string& label) {
  for (int f = 0; f < in.ny; f++)
    for (int i = 0; i < pieces; i++) {
      const auto piece = [&](int k) {
        return polynomial<T>{c.data() + 3 * static_cast<std::size_t>(f * pieces + k), 3};
      };
      EXPECT_EQ(piece(i).c[0], in.y[in.at(f, i)]);
      if (i + 1 == pieces) continue;
      const wide left = wide(joint(i + 1)) - in.x[in.at(0, i)],
                 right = wide(joint(i + 1)) - in.x[in.at(0, i + 1)], e = 30 * eps<T>;
      // The knot itself is rounded.
      const wide moved = 2 * eps<T> * std::fabs(wide(joint(i + 1)));
      for (const int k : {0, 1}) {
        const wide size = piece(i).size(left, k) + piece(i + 1).size(right, k);
        const wide slope = piece(i).size(left, k + 1) + piece(i + 1).size(right, k + 1);
        EXPECT_CLOSE(piece(i).derivative(left, k), piece(i + 1).derivative(right, k),
                     e * size + moved * slope);
      }
    }
}

TYPED_TEST(construct_of, quadratics_by_their_equations) {
  using T = TypeParam;
  std::mt19937 random(4);
  for (const grid g : {grid::uniform, grid::rough})
    for (const int n : {2, 3, 4, 50})
      for (const storage how : {storage::by_function, storage::by_site, storage::apart}) {
        const data<T> in(n, 3, g, random);
        const auto x = [&](int i) { return in.x[in.at(0, i)]; };
        int32_t status;
        numbers<T> c = coefficients(in, {3, FIT_TYPE_DEFAULT, FIT_BC_MIDPOINT, 0}, how,
                                    fit_entries<T>::quadratic, nullptr, status);
        ASSERT_EQ(status, FIT_OK);
        check_quadratic(in, c, n - 1, x, "midpoint " + std::to_string(n));
        for (int f = 0; f < 3; f++) {
          const int i = 0;
          const std::string label = "midpoint";
          const polynomial<T> first = {c.data() + 3 * f * (n - 1), 3},
                              last = {c.data() + 3 * (f * (n - 1) + n - 2), 3};
          EXPECT_CLOSE(first.derivative(in.h(0) / 2, 0), in.bc[0], 20 * eps<T> * first.size(in.h(0) / 2, 0));
          EXPECT_CLOSE(last.derivative(in.h(n - 2), 0), in.y[in.at(f, n - 1)],
                       20 * eps<T> * last.size(in.h(n - 2), 0));
        }

        // Knots: as given, in the middle, evenly spaced.
        numbers<T> given = {x(0)};
        for (int i = 1; i < n; i++)
          given.push_back(x(i - 1) + static_cast<T>(0.2 + 0.6 * std::generate_canonical<double, 32>(random)) *
                                         (x(i) - x(i - 1)));
        given.push_back(x(n - 1));
        const T even[2] = {x(0) + T(0.03125), x(n - 1) - T(0.0625)};
        for (const int64_t ic_type : {8, 9, 12})
          for (const int64_t bc_type : {12, 24, 36, 48}) {
            const bool evenly = ic_type == 12, middle = ic_type == 9;
            if (evenly && g == grid::rough) continue;
            const std::string label = "knots " + std::to_string(ic_type) + ' ' + std::to_string(bc_type) +
                                      " n " + std::to_string(n);
            c = coefficients(
                in, {3, FIT_TYPE_KNOT_QUADRATIC, bc_type, ic_type}, how,
                [&](void* task, int64_t a, int64_t b, const DFThreadServices* s) {
                  if (middle) {
                    fit_entries<T>::edit_spline(task, 3, 1, bc_type, in.bc.data(), 0, nullptr, nullptr,
                                                how == storage::apart ? 128 : 0);
                    arko_df_kernel_iEditVal(task, FIT_ATTR_ICTYPE, 8);
                  }
                  return fit_entries<T>::quadratic(task, a, b, s);
                },
                nullptr, status, evenly ? even : given.data());
            ASSERT_EQ(status, FIT_OK) << label;
            const auto knot = [&](int i) -> wide {
              return middle    ? (wide(x(i - 1)) + x(i)) / 2
                     : !evenly ? wide(given[in.at(0, i)])
                     : n == 2  ? wide(even[0])
                               : even[0] + (i - 1) * (wide(even[1]) - even[0]) / (n - 2);
            };
            check_quadratic(in, c, n, knot, label);
            for (int f = 0; f < 3; f++) {
              int i = 0;
              const T *const first = c.data() + 3 * f * n, *const last = first + 3 * (n - 1);
              const wide s0 =
                  100 * eps<T> *
                  (std::fabs(wide(first[1])) + std::fabs(in.m(f, 0)) + std::fabs(wide(first[4]))) /
                  (knot(1) - x(0));
              EXPECT_CLOSE(bc_type & 4 ? first[1] : 2 * wide(first[2]), in.bc[0], bc_type & 4 ? 0 : s0);
              i = n - 1;
              const wide sl =
                  100 * eps<T> *
                  (std::fabs(wide(last[1])) + std::fabs(in.m(f, n - 2)) + std::fabs(wide(last[-2]))) /
                  (x(n - 1) - knot(n - 1));
              EXPECT_CLOSE(bc_type & 8 ? last[1] : 2 * wide(last[2]), in.bc[1],
                           bc_type & 8 ? 20 * eps<T> * std::fabs(wide(in.bc[1])) : sl);
            }
          }
      }
}

TYPED_TEST(construct_of, linear) {
  using T = TypeParam;
  std::mt19937 random(5);
  for (const grid g : {grid::uniform, grid::rough})
    for (const int n : {2, 127, 128, 1024, 1025, 4097})
      for (const storage how : {storage::by_function, storage::by_site, storage::apart}) {
        const data<T> in(n, 3, g, random);
        int32_t status;
        const numbers<T> c =
            coefficients(in, {2, 0, 77, 0}, how, fit_entries<T>::linear, recorded(2), status);
        ASSERT_EQ(status, FIT_OK);
        const int tiles = (n - 1 + 1023) / 1024;
        EXPECT_EQ(tasks_recorded(), tiles >= 5 ? tiles : 0);
        for (int f = 0; f < 3; f++)
          for (int i = 0; i < n - 1; i++) {
            const T* const cell = c.data() + 2 * (f * (n - 1) + i);
            const std::string label = "linear";
            ASSERT_EQ(cell[0], in.y[in.at(f, i)]);
            EXPECT_CLOSE(cell[1], in.m(f, i), 2 * eps<T> * std::fabs(in.m(f, i)));
          }
      }
}

// A flat stretch, where no weights are; an extremum; a jump.
TYPED_TEST(construct_of, akima_and_hyman_at_corners) {
  using T = TypeParam;
  std::mt19937 random(6);
  data<T> in(8, 1, grid::uniform, random);
  in.y = {0, 0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875};
  int32_t status;
  numbers<T> c = coefficients(in, {4, FIT_TYPE_AKIMA, 0, 0}, storage::by_function, fit_entries<T>::akima,
                              nullptr, status);
  for (std::size_t i = 0; i < 7; i++)
    EXPECT_EQ((numbers<T>{c[4 * i + 1], c[4 * i + 2], c[4 * i + 3]}), (numbers<T>{1, 0, 0}));
  in.y = {0, 1, 1, 0.5, 0.75, 5, 5.001f, 6};
  c = coefficients(in, {4, FIT_TYPE_HYMAN, 2, 0}, storage::by_function, fit_entries<T>::hyman, nullptr,
                   status);
  for (const std::size_t i : {1, 2, 3}) EXPECT_EQ(c[4 * i + 1], 0);
  for (std::size_t i = 1; i < 6; i++)  // no value in a cell is beyond those at its ends
    for (int k = 0; k <= 16; k++) {
      const wide v = polynomial<T>{c.data() + 4 * i, 4}.derivative(k * in.h(0) / 16, 0);
      EXPECT_TRUE(v >= std::min(in.y[i], in.y[i + 1]) - 4 * eps<T> &&
                  v <= std::max(in.y[i], in.y[i + 1]) + 10 * eps<T>)
          << i << ' ' << k;
    }
}

// Long enough to be solved in windows, with a last window of any length; and just not long enough.
TYPED_TEST(construct_of, long_and_rough) {
  using T = TypeParam;
  std::mt19937 random(7);
  const int longest = sizeof(T) == 8 ? 100000 : 30000;
  const std::pair<int, int64_t> rows[] = {{4095, 36}, {4096, 24}, {4097, 12},   {4098, 1},
                                          {8191, 48}, {8192, 24}, {8193, 36},   {8194, 1},
                                          {9300, 12}, {9300, 2},  {longest, 1}, {longest, 64}};
  for (const auto& [n, bc_type] : rows)
    for (const grid g : {grid::rough, grid::uniform}) {
      const data<T> in(n, 1, g, random, bc_type == 64);
      int32_t status;
      const numbers<T> c = coefficients(in, {4, FIT_TYPE_NATURAL, bc_type, 0}, storage::by_function,
                                        fit_entries<T>::natural, nullptr, status);
      ASSERT_EQ(status, FIT_OK);
      check_cubic(in, c, "natural", bc_type, "long " + std::to_string(n) + " bc " + std::to_string(bc_type));
    }
}

// Steps of zero leave no pivot.
TYPED_TEST(construct_of, equal_breakpoints_are_refused) {
  using T = TypeParam;
  std::mt19937 random(9);
  for (const int n : {10, 9000}) {
    data<T> in(n, 1, grid::rough, random);
    in.x[6] = in.x[7] = in.x[5];
    int32_t status;
    coefficients(in, {4, FIT_TYPE_NATURAL, 2, 0}, storage::by_function, fit_entries<T>::natural, nullptr,
                 status);
    EXPECT_EQ(status, FIT_ERR_SOLVER) << n;
  }
}

TYPED_TEST(construct_of, refuses_in_order) {
  using T = TypeParam;
  using entries = fit_entries<T>;
  using construct = int32_t (*)(void*, int64_t, int64_t, const DFThreadServices*);
  const T x[6] = {0, 1, 2, 3, 4, 5}, y[6] = {1, 0, 0, 0, 0, 2},
          given[7] = {0, T(0.5), T(1.5), 2, T(3.5), T(4.5), 5};
  const struct {
    construct entry;
    int64_t nx, yhint, order, type, bc_type;
    bool bc;
    int64_t ic_type, method;
    int32_t status;
  } rows[] = {
      {entries::linear, 2, 0, 2, 0, 64, false, 0, 1, FIT_ERR_METHOD},
      {entries::natural, 2, 0, 4, 2, 1, false, 0, -1, FIT_ERR_METHOD},
      {entries::natural, 2, 0, 4, 2, 1, false, 0, 0, FIT_ERR_NX},
      {entries::natural, 2, 0, 4, 2, 2, false, 0, 0, FIT_OK},
      {entries::natural, 2, 0, 4, 2, 64, false, 0, 0, FIT_ERR_NX},
      {entries::natural, 3, 0, 4, 2, 1, false, 0, 0, FIT_ERR_SOLVER},
      {entries::natural, 6, 0, 4, 2, 64, false, 0, 0, FIT_ERR_PERIODIC},
      {entries::natural, 6, 0, 4, 2, 0, false, 0, 0, FIT_ERR_BCTYPE},
      {entries::from_second, 2, 0, 4, 0, 2, false, 2, 5, FIT_ERR_NX},
      {entries::from_second, 6, 0, 4, 0, 64, false, 2, 5, FIT_ERR_BC},
      {entries::from_second, 6, 0, 4, 0, 64, true, 2, 5, FIT_ERR_PERIODIC},
      {entries::from_second, 3, 0, 4, 0, 1, false, 2, 5, FIT_OK},
      {entries::from_second, 6, 0, 4, 0, 1, false, 0, 5, FIT_ERR_IC},
      {entries::hermite, 2, 0, 4, 3, 2, false, 1, 5, FIT_ERR_NX},
      {entries::hermite, 6, 0, 4, 3, 64, false, 1, 5, FIT_ERR_BC},
      {entries::hermite, 6, 0, 4, 3, 3, true, 1, 0, FIT_ERR_BCTYPE},
      {entries::bessel, 3, 0, 4, 4, 2, false, 0, 5, FIT_ERR_NX},
      {entries::bessel, 6, 0, 4, 4, 0, false, 0, 5, FIT_ERR_BCTYPE},
      {entries::bessel, 6, 0, 4, 4, 64, false, 0, 5, FIT_ERR_PERIODIC},
      {entries::bessel, 6, 0, 4, 4, 20, true, 0, 5, FIT_ERR_BCTYPE},
      {entries::hyman, 3, 0, 4, 9, 2, false, 0, 5, FIT_ERR_NX},
      {entries::akima, 4, 0, 4, 5, 2, false, 0, 5, FIT_ERR_NX},
      {entries::akima, 5, 0, 4, 5, 0, false, 0, 5, FIT_OK},
      {entries::akima, 5, 0, 4, 5, 128, true, 0, 5, FIT_ERR_BCTYPE},
      {entries::linear, 6, 0, 2, 0, 64, false, 0, 0, FIT_ERR_PERIODIC},
      {entries::linear, 6, 0, 2, 0, 99, true, 0, 0, FIT_OK},
      {entries::quadratic, 6, 0, 3, 0, 12, true, 0, 0, FIT_ERR_BCTYPE},
      {entries::quadratic, 6, 0, 3, 2, 128, true, 0, 0, FIT_ERR_METHOD},
      {entries::quadratic, 6, 0, 3, 1, 12, true, 1, 0, FIT_ERR_ICTYPE},
      {entries::quadratic, 6, 0, 3, 1, 1, true, 8, 0, FIT_ERR_BCTYPE},
      {entries::quadratic, 6, 0, 3, 1, 64, true, 8, 0, FIT_ERR_BCTYPE},
      {entries::quadratic, 6, 0, 3, 1, 12, true, 8, 0, FIT_ERR_IC},
      {entries::quadratic, 2, 0, 3, 0, 128, true, 0, 0, FIT_OK},
  };
  int number = 0;
  for (const auto& r : rows) {
    numbers<T> c(40);
    const fit_task<T> task(r.nx, x, 0, 1, y, r.yhint);
    ASSERT_EQ(entries::edit_spline(task, r.order, r.type, r.bc_type, r.bc ? y : x, r.ic_type,
                                   r.ic_type ? given : nullptr, c.data(), 0),
              FIT_OK);
    const auto with_bc = [&](const T* bc) {  // null conditions come in before their type
      entries::edit_spline(task, r.order, r.type, FIT_BC_NONE, bc, r.ic_type, r.ic_type ? given : nullptr,
                           nullptr, 0);
      arko_df_kernel_iEditVal(task, FIT_ATTR_BCTYPE, r.bc_type);
    };
    if (!r.bc) with_bc(nullptr);
    EXPECT_EQ(r.entry(task, 9, r.method, nullptr), r.status) << number;
    if (r.status == FIT_OK && r.bc_type != 99 && r.bc) {
      with_bc(nullptr);
      EXPECT_EQ(r.entry(task, 0, 0, nullptr), FIT_ERR_BC) << number;
    }
    const fit_task<T> empty(r.nx, x, 0, 1, y, 0);  // no coefficients
    EXPECT_LT(r.entry(empty, 0, 0, nullptr), 0);
    number++;
  }
  for (const int64_t bc_type : {12, 24, 36, 48}) {  // given derivatives are needed
    const fit_task<T> task(6, x, 0, 1, y);
    numbers<T> c(40);
    entries::edit_spline(task, 4, 2, 0, nullptr, 8, given, c.data(), 0);
    arko_df_kernel_iEditVal(task, FIT_ATTR_BCTYPE, bc_type);
    for (const construct entry : {entries::from_second, entries::natural, entries::hermite, entries::bessel,
                                  entries::hyman, entries::akima})
      EXPECT_EQ(entry(task, 0, 0, nullptr), FIT_ERR_BC);
    arko_df_kernel_iEditVal(task, FIT_ATTR_TYPE, 1);
    EXPECT_EQ(entries::quadratic(task, 0, 0, nullptr), FIT_ERR_BC);
  }
}

TYPED_TEST(construct_of, knots_lie_strictly_between_breakpoints) {
  using T = TypeParam;
  const T x[4] = {0, 1, 2, 4};
  const struct {
    numbers<T> knots;
    int32_t status;
  } rows[] = {{{0, T(0.5), T(1.5), 3, 4}, FIT_OK},     {{T(0.1), T(0.5), T(1.5), 3, 4}, FIT_ERR_IC},
              {{0, T(0.5), T(1.5), 3, 5}, FIT_ERR_IC}, {{0, 0, T(1.5), 3, 4}, FIT_ERR_IC},
              {{0, T(0.5), 2, 3, 4}, FIT_ERR_IC},      {{0, T(0.5), T(1.5), T(1.9), 4}, FIT_ERR_IC}};
  for (const auto& r : rows) {
    numbers<T> c(12);
    const fit_task<T> task(4, x, 0, 1, x);
    ASSERT_EQ(fit_entries<T>::edit_spline(task, 3, 1, 12, x, 8, r.knots.data(), c.data(), 0), FIT_OK);
    EXPECT_EQ(fit_entries<T>::quadratic(task, 0, 0, nullptr), r.status);
  }
}

// Every allocation failed in turn; and which calls have none.
TYPED_TEST(construct_of, memory_and_slices) {
  using T = TypeParam;
  std::mt19937 random(8);
  const struct {
    int32_t (*entry)(void*, int64_t, int64_t, const DFThreadServices*);
    description d;
    int n, ny, t, tasks, allocations;
  } rows[] = {
      {fit_entries<T>::natural, {4, 2, 2, 0}, 599, 3, 2, 0, 1},
      {fit_entries<T>::natural, {4, 2, 2, 0}, 600, 3, 2, 3, 1},
      {fit_entries<T>::natural, {4, 2, 64, 0}, 600, 1, 2, 0, 1},
      {fit_entries<T>::natural, {4, 2, 64, 0}, 300, 3, 8, 3, 1},
      {fit_entries<T>::natural, {4, 2, 2, 0}, 299, 3, 8, 0, 1},
      {fit_entries<T>::natural, {4, 2, 2, 0}, 9000, 3, 1, 0, 1},
      {fit_entries<T>::natural, {4, 2, 2, 0}, 9000, 3, 2, 3, 1},
      {fit_entries<T>::bessel, {4, 4, 2, 0}, 102, 5, 2, 0, 0},
      {fit_entries<T>::bessel, {4, 4, 2, 0}, 103, 5, 2, 2, 0},
      {fit_entries<T>::akima, {4, 5, 2, 0}, 4098, 5, 8, 6, 0},
      {fit_entries<T>::from_second, {4, 0, 2, 2}, 5000, 5, 8, 0, 0},
      {fit_entries<T>::quadratic, {3, 0, 128, 0}, 5000, 1, 8, 0, 0},
      {fit_entries<T>::quadratic, {3, 1, 48, 8}, 50, 2, 8, 0, 1},
      {fit_entries<T>::linear, {2, 0, 0, 0}, 4097, 5, 8, 8, 0},
      {fit_entries<T>::linear, {2, 0, 0, 0}, 2, 63, 8, 0, 0},
      {fit_entries<T>::linear, {2, 0, 0, 0}, 2, 64, 8, 16, 0},
  };
  for (const auto& r : rows) {
    const data<T> in(r.n, r.ny, grid::rough, random, true);
    numbers<T> knots = {in.x[0]};
    for (int i = 1; i < r.n; i++) knots.push_back((in.x[in.at(0, i - 1)] + in.x[in.at(0, i)]) / 2);
    knots.push_back(in.x.back());
    for (int k = 0; k <= r.allocations + 1; k++) {
      int32_t status;
      int64_t allocations = 0;
      const auto live = arko_core_live_blocks();
      coefficients(
          in, r.d, storage::by_function,
          [&](void* task, int64_t a, int64_t b, const DFThreadServices* s) {
            allocations = arko_core_allocations();
            arko_core_fail_allocation(k);
            const int32_t result = r.entry(task, a, b, s);
            arko_core_fail_allocation(0);
            allocations = arko_core_allocations() - allocations;
            return result;
          },
          recorded(r.t), status, knots.data());
      const bool fails = k > 0 && k <= r.allocations;
      EXPECT_EQ(status, fails ? FIT_ERR_MEMORY : FIT_OK);
      EXPECT_EQ(allocations, fails ? k : r.allocations) << r.n;
      EXPECT_EQ(tasks_recorded(), fails ? 0 : r.tasks) << r.n;
      EXPECT_EQ(arko_core_live_blocks(), live);
    }
  }
}

}  // namespace
