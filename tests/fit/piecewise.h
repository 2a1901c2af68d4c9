// Piecewise functions with known coefficients, their tasks, and what they are by definition, in long double.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include "tests/fit/tasks.h"

namespace arko::test {

struct shape {  // an order above 4 has type 0: type 1 is for order 3 alone
  const char* name;
  int64_t order, type;
};
inline constexpr shape shapes[] = {{"linear", 2, 0},
                                   {"quadratic", 3, FIT_TYPE_DEFAULT},
                                   {"knot quadratic", 3, FIT_TYPE_KNOT_QUADRATIC},
                                   {"cubic", 4, 9},
                                   {"order 7", 7, 0},
                                   {"step left", 0, FIT_TYPE_STEP_LEFT},
                                   {"step right", 0, FIT_TYPE_STEP_RIGHT},
                                   {"lookup", 0, FIT_TYPE_LOOKUP}};

// Random coefficients, which do not join at the breakpoints, so that the wrong cell shows. The uniform grid has a step
// of a power of two: breakpoints are exact.
template <class T> struct piecewise {
  using wide = long double;
  shape s;
  bool uniform;
  int64_t nx, ny;
  std::vector<T> x, ends, y, c, ic;
  int64_t ic_type = 0, yhint;

  piecewise(shape s, bool uniform, int64_t nx, int64_t ny, int64_t knots = 0, int64_t yhint = FIT_Y_BYFUNC,
            unsigned seed = 1)
      : s(s), uniform(uniform), nx(nx), ny(ny), y(static_cast<size_t>(nx * ny)), yhint(yhint) {
    std::mt19937 random(seed);
    const auto draw = [&](double a, double b) {
      return static_cast<T>(std::uniform_real_distribution<>(a, b)(random));
    };
    T next = -2;
    for (int64_t i = 0; i < nx; i++, next += uniform ? T(0.125) : draw(0.01, 0.3)) x.push_back(next);
    ends = {x.front(), x.back()};
    for (T& v : y) v = draw(-3, 3);
    c.resize(static_cast<size_t>(s.order * ny * cells()));
    for (T& v : c) v = draw(-3, 3);
    if (s.type != FIT_TYPE_KNOT_QUADRATIC || s.order != 3) return;
    ic_type =
        !uniform && knots == FIT_IC_KNOTS_UNIFORM ? FIT_IC_KNOTS : knots;  // knots lie between breakpoints
    if (ic_type == FIT_IC_KNOTS)
      for (int64_t i = 0; i <= nx; i++)
        ic.push_back(i == 0 || i == nx ? ends[i != 0] : x[i - 1] + draw(0.1, 0.9) * (x[i] - x[i - 1]));
    if (ic_type == FIT_IC_KNOTS_UNIFORM) ic = {x[0] + T(0.0625), x[nx - 1] - T(0.03125)};
  }
  // A uniform grid whose steps round, and whose last breakpoint may differ from the given end.
  void stretch(T first, T last) {
    ends = {first, last};
    const T step = (last - first) / static_cast<T>(nx - 1);
    for (int64_t i = 0; i < nx; i++) x[i] = static_cast<T>(i) * step + first;
  }
  int64_t cells() const { return s.type == FIT_TYPE_KNOT_QUADRATIC ? nx : nx - 1; }

  int64_t xhint() const { return uniform ? FIT_X_UNIFORM : FIT_X_NOHINT; }
  int32_t describe(void* task) {
    return fit_entries<T>::edit_spline(task, s.order, s.type, 0, nullptr, ic_type,
                                       ic.empty() ? nullptr : ic.data(), c.empty() ? nullptr : c.data(),
                                       FIT_C_BYFUNC);
  }

  // ---- By definition

  int64_t cell(T site) const {
    if (site == x.back()) return nx - 1;
    return std::upper_bound(x.begin(), x.end(), site) - x.begin();
  }
  wide knot(int64_t k) const {
    if (k == 0 || k == nx) return x[k == 0 ? 0 : nx - 1];
    if (ic_type == FIT_IC_KNOTS) return ic[k];
    if (ic_type == FIT_IC_KNOTS_UNIFORM && k == 1) return ic[0];
    if (ic_type == FIT_IC_KNOTS_UNIFORM) return ic[0] + wide(k - 1) * (wide(ic[1]) - ic[0]) / wide(nx - 2);
    return (wide(x[k - 1]) + x[k]) / 2;
  }
  T value(int64_t f, int64_t i) const { return yhint == FIT_Y_BYSITE ? y[i * ny + f] : y[f * nx + i]; }
  wide origin(int64_t j) const { return x[j]; }
  const T* row(int64_t f, int64_t j) const { return &c[(f * cells() + j) * s.order]; }

  // The piece that serves a site of that cell, and the ends of a piece; the outer ones have none outside.
  int64_t piece(wide site, int64_t cell) const {
    const int64_t j = cell == 0 ? 0 : cell == nx ? nx - 2 : cell - 1;
    if (s.order > 0) return s.type == FIT_TYPE_KNOT_QUADRATIC && site >= knot(j + 1) ? j + 1 : j;
    if (cell == 0) return 0;
    if (site == x.back() || cell == nx) return nx - 1;
    return s.type == FIT_TYPE_STEP_RIGHT && site != x[j] ? j + 1 : j;
  }
  wide begin(int64_t j) const {
    const wide far = -std::numeric_limits<wide>::infinity();
    if (j == 0) return far;
    if (s.order > 0 && s.type == FIT_TYPE_KNOT_QUADRATIC) return knot(j);
    return s.order == 0 && s.type == FIT_TYPE_STEP_RIGHT ? x[j - 1] : x[j];
  }
  int64_t pieces() const { return s.order == 0 ? nx : cells(); }
  wide end(int64_t j) const {
    return j + 1 < pieces() ? begin(j + 1) : std::numeric_limits<wide>::infinity();
  }

  // A number and how large an error a few roundings of its terms can make.
  struct result {
    wide value, error;
  };
  static constexpr wide eps = std::numeric_limits<T>::epsilon();

  result derivative(int64_t f, T site, int64_t cell, int64_t k) const {
    const int64_t j = piece(site, cell);
    if (s.order == 0) return {k == 0 ? value(f, j) : T(0), 0};
    const wide t = site - origin(j);
    wide sum = 0, size = 0, power = 1;
    for (int64_t m = k; m < s.order; m++, power *= t) {
      wide term = row(f, j)[m] * power;
      for (int64_t i = m; i > m - k; i--) term *= wide(i);
      sum += term, size += std::fabs(term);
    }
    return {sum, 2 * wide(s.order + 1) * eps * size};
  }

  result integral(int64_t f, wide l, wide u) const {
    if (u < l) {
      const result r = integral(f, u, l);
      return {-r.value, r.error};
    }
    wide sum = 0, size = 0;
    for (int64_t j = 0; j < pieces(); j++) {
      const wide a = std::max(l, begin(j)), b = std::min(u, end(j));
      if (!(a < b)) continue;
      if (s.order == 0) {
        sum += (b - a) * value(f, j), size += (b - a) * std::fabs(value(f, j));
        continue;
      }
      // Sizes as of the integral of the terms' absolute values; worked out knots may be off by a rounding.
      const bool knots = s.type == FIT_TYPE_KNOT_QUADRATIC;
      const wide A = a - origin(j), B = b - origin(j), far = std::max(std::fabs(A), std::fabs(B)),
                 width = b - a + (knots ? std::fabs(a) + std::fabs(b) : 0);
      wide to_a = A, to_b = B, to_far = 1;
      for (int64_t m = 0; m < s.order; m++, to_a *= A, to_b *= B, to_far *= far) {
        sum += row(f, j)[m] * (to_b - to_a) / wide(m + 1);
        size += std::fabs(row(f, j)[m]) * to_far * width;
      }
    }
    return {sum, 2 * wide(s.order + 2) * eps * size};
  }
};

template <class T, class... What>
void expect_near(T found, typename piecewise<T>::result r, const What&... what) {
  if (std::fabs(found - r.value) <= r.error) return;
  std::ostringstream text;
  ((text << what << ' '), ...);
  ADD_FAILURE() << text.str() << ": " << found << " for " << r.value << " +- " << r.error;
}

}  // namespace arko::test
