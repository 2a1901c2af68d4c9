// Piecewise functions with known coefficients, their tasks, and what they are by definition, in long double.
#pragma once
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>

#include "tests/fit/tasks.h"

namespace arko::test {

struct shape {  // an order above 4 has type 0: type 1 is for order 3 alone
  const char* name;
  int64_t order, type;
};
inline constexpr shape shapes[] = {{"linear", 2, 0},
                                   {"quadratic", 3, FIT_TYPE_DEFAULT},
                                   {"knot quadratic", 3, FIT_TYPE_KNOT_QUADRATIC},
                                   {"cubic", 4, FIT_TYPE_HYMAN},
                                   {"order 7", 7, 0},
                                   {"step left", 0, FIT_TYPE_STEP_LEFT},
                                   {"step right", 0, FIT_TYPE_STEP_RIGHT},
                                   {"lookup", 0, FIT_TYPE_LOOKUP}};

struct plan {
  shape s = shapes[3];
  int64_t xhint = FIT_X_NOHINT, nx = 17, ny = 1, yhint = FIT_Y_BYFUNC, knots = 0;
  bool wide = false;
  double from = -2, to = from;  // of a uniform grid whose steps round; as they are here, steps are 0.125
  unsigned seed = 1;
};

// Random coefficients, which do not join at the breakpoints, so that the wrong cell shows.
template <class T> struct piecewise : plan {
  using wide_type = long double;
  std::vector<T> x, ends, y, c, ic;
  int64_t ic_type = 0;
  std::optional<fit_task<T>> task;

  explicit piecewise(const plan& of) : plan(of) {
    std::mt19937 random(seed);
    const auto draw = [&](double a, double b) {
      return static_cast<T>(std::uniform_real_distribution<>(a, b)(random));
    };
    const bool uniform = xhint == FIT_X_UNIFORM, rounds = to > from;
    const T step = rounds ? (T(to) - T(from)) / static_cast<T>(nx - 1) : T(0.125);
    for (int64_t i = 0; i < nx; i++)
      x.push_back(uniform ? T(i) * step + T(from) : i > 0 ? x.back() + draw(0.01, 0.3) : T(from));
    ends = {x[0], uniform && rounds ? T(to) : x.back()};
    for (int64_t i = 0; i < nx * ny; i++) y.push_back(draw(-3, 3));
    for (int64_t i = 0; i < s.order * ny * cells(); i++) c.push_back(draw(-3, 3));
    if (has_knots()) ic_type = !uniform && knots == FIT_IC_KNOTS_UNIFORM ? FIT_IC_KNOTS : knots;
    if (ic_type == FIT_IC_KNOTS)
      for (int64_t i = 0; i <= nx; i++)
        ic.push_back(i == 0 || i == nx ? ends[i != 0] : x[i - 1] + draw(0.1, 0.9) * (x[i] - x[i - 1]));
    if (ic_type == FIT_IC_KNOTS_UNIFORM) ic = {x[0] + step / 2, x[nx - 1] - step / 4};
    task.emplace(nx, uniform ? ends.data() : x.data(), xhint, ny, y.data(), yhint, wide);
    EXPECT_EQ(
        fit_entries<T>::edit_spline(*task, s.order, s.type, 0, nullptr, ic_type,
                                    ic.empty() ? nullptr : ic.data(), c.empty() ? nullptr : c.data(), 0),
        0);
  }
  bool has_knots() const { return s.order == 3 && s.type == FIT_TYPE_KNOT_QUADRATIC; }
  int64_t cells() const { return has_knots() ? nx : nx - 1; }

  // ---- By definition

  int64_t cell(T site) const {
    return site == x.back() ? nx - 1 : std::upper_bound(x.begin(), x.end(), site) - x.begin();
  }
  wide_type knot(int64_t k) const {
    if (k == 0 || k == nx) return x[k == 0 ? 0 : nx - 1];
    if (ic_type == FIT_IC_KNOTS) return ic[k];
    if (ic_type == FIT_IC_KNOTS_UNIFORM && k == 1) return ic[0];
    if (ic_type == FIT_IC_KNOTS_UNIFORM)
      return ic[0] + wide_type(k - 1) * (wide_type(ic[1]) - ic[0]) / wide_type(nx - 2);
    return (wide_type(x[k - 1]) + x[k]) / 2;
  }
  T value(int64_t f, int64_t i) const { return yhint == FIT_Y_BYSITE ? y[i * ny + f] : y[f * nx + i]; }
  const T* row(int64_t f, int64_t j) const { return &c[(f * cells() + j) * s.order]; }

  // The piece that serves a site of that cell, and where pieces begin; the outer ones have no end outside.
  int64_t piece(wide_type site, int64_t cell) const {
    const int64_t j = cell == 0 ? 0 : cell == nx ? nx - 2 : cell - 1;
    if (s.order > 0) return has_knots() && site >= knot(j + 1) ? j + 1 : j;
    if (cell == 0) return 0;
    if (site == x.back() || cell == nx) return nx - 1;
    return s.type == FIT_TYPE_STEP_RIGHT && site != x[j] ? j + 1 : j;
  }
  int64_t pieces() const { return s.order == 0 ? nx : cells(); }
  wide_type begin(int64_t j) const {
    constexpr wide_type far = std::numeric_limits<wide_type>::infinity();
    if (j == 0 || j == pieces()) return j == 0 ? -far : far;
    if (has_knots()) return knot(j);
    return s.order == 0 && s.type == FIT_TYPE_STEP_RIGHT ? x[j - 1] : x[j];
  }

  // A number and how large an error a few roundings of its terms can make.
  struct result {
    wide_type value = 0, error = 0;
  };
  static constexpr wide_type eps = std::numeric_limits<T>::epsilon();

  result derivative(int64_t f, T site, int64_t cell, int64_t k) const {
    const int64_t j = piece(site, cell);
    if (s.order == 0) return {k == 0 ? value(f, j) : T(0), 0};
    const wide_type t = site - x[j];
    wide_type sum = 0, size = 0, power = 1;
    for (int64_t m = k; m < s.order; m++, power *= t) {
      wide_type term = row(f, j)[m] * power;
      for (int64_t i = m; i > m - k; i--) term *= wide_type(i);
      sum += term, size += std::fabs(term);
    }
    return {sum, 2 * wide_type(s.order + 1) * eps * size};
  }

  wide_type polynomial(int64_t f, int64_t j, wide_type t, bool sizes = false) const {
    wide_type sum = 0;
    for (int64_t m = s.order - 1; m >= 0; m--)
      sum = sum * t + (sizes ? std::fabs(row(f, j)[m]) : row(f, j)[m]);
    return sum;
  }
  result integral(int64_t f, wide_type l, wide_type u) const {
    if (u < l) {
      const result r = integral(f, u, l);
      return {-r.value, r.error};
    }
    wide_type sum = 0, size = 0;
    for (int64_t j = 0; j < pieces(); j++) {
      const wide_type a = std::max(l, begin(j)), b = std::min(u, begin(j + 1));
      if (!(a < b)) continue;
      if (s.order == 0) {
        sum += (b - a) * value(f, j), size += (b - a) * std::fabs(value(f, j));
        continue;
      }
      // Gauss's rule, exact up to degree 7. Worked out knots may be off by a rounding.
      constexpr wide_type rule[][2] = {
          {0.339981043584856264802665759103244687L, 0.652145154862546142626936050778000593L},
          {0.861136311594052575223946488892809505L, 0.347854845137453857373063949221999407L}};
      const wide_type middle = (a - x[j] + (b - x[j])) / 2, half = (b - a) / 2,
                      far = std::fabs(middle) + half,
                      width = b - a + (has_knots() ? std::fabs(a) + std::fabs(b) : 0);
      for (const auto& [node, weight] : rule)
        sum +=
            half * weight * (polynomial(f, j, middle - half * node) + polynomial(f, j, middle + half * node));
      size += width * polynomial(f, j, far, true);
    }
    return {sum, 2 * wide_type(s.order + 2) * eps * size};
  }
};

}  // namespace arko::test
