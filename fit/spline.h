// What interpolation and integration read of a task: the kind of its interpolant, its grid and its knots.
#pragma once
#include "fit/task.h"

namespace [[gnu::visibility("hidden")]] fit {

enum class kind { linear, quadratic, cubic, knot_quadratic, general, step_right, step_left, lookup, none };

inline bool is_table(kind k) { return k == kind::step_right || k == kind::step_left || k == kind::lookup; }

// `all_outside`: the caller's functions evaluate all sites, wherever they lie.
inline kind kind_of(const task& t, bool all_outside) {
  switch (t.s_order) {
    case FIT_ORDER_TABLE:
      switch (t.s_type) {
        case FIT_TYPE_LOOKUP:
          return kind::lookup;
        case FIT_TYPE_STEP_LEFT:
          return kind::step_left;
        case FIT_TYPE_STEP_RIGHT:
          return kind::step_right;
        default:
          return all_outside ? kind::general : kind::none;
      }
    case FIT_ORDER_LINEAR:
      return kind::linear;
    case FIT_ORDER_QUADRATIC:
      switch (t.s_type) {
        case FIT_TYPE_DEFAULT:
          return kind::quadratic;
        case FIT_TYPE_KNOT_QUADRATIC:
          return kind::knot_quadratic;
        default:
          return kind::none;
      }
    case FIT_ORDER_CUBIC:
      switch (t.s_type) {
        case FIT_TYPE_DEFAULT:
        case FIT_TYPE_NATURAL:
        case FIT_TYPE_HERMITE:
        case FIT_TYPE_BESSEL:
        case FIT_TYPE_AKIMA:
        case FIT_TYPE_HYMAN:
          return kind::cubic;
        default:
          return kind::none;
      }
    default:
      return t.s_order > FIT_ORDER_CUBIC ? kind::general : kind::none;
  }
}

// Whether a task has the arrays that a kind reads.
inline status has_input(const task& t, kind k, bool all_outside) {
  if (is_table(k)) return has_values(t) ? FIT_OK : FIT_ERR_Y;
  return all_outside || has_rows(t) ? FIT_OK : FIT_ERR_COEFF;
}

// Breakpoints that are all there, or on a uniform grid.
template <class T> struct given_grid {
  const T* x;
  int64_t n;

  explicit given_grid(const partition<T>& p) : x(p.x), n(p.n) {}
  T operator[](int64_t j) const { return x[j]; }
  T width(int64_t j) const { return x[j + 1] - x[j]; }
  T last() const { return x[n - 1]; }
};
template <class T> struct uniform_grid {
  T first, end, step;
  int64_t n;

  explicit uniform_grid(const partition<T>& p)
      : first(p.x[0]), end(p.x[1]), step((end - first) / static_cast<T>(p.n - 1)), n(p.n) {}
  T operator[](int64_t j) const { return static_cast<T>(j) * step + first; }
  T width(int64_t) const { return step; }
  T last() const { return end; }
};

// Calls f with the grid of a partition.
template <class T, class F> auto with_grid(const partition<T>& p, const F& f) {
  return p.uniform ? f(uniform_grid<T>(p)) : f(given_grid<T>(p));
}

// The knots t[0..n] of a quadratic with knots between breakpoints: t[0] and t[n] are the ends, inner ones lie in the
// middle of cells, or are given, or are even between a first and a last one.
template <class T> struct knots {
  const T* given = nullptr;
  const T* even = nullptr;

  knots() = default;
  explicit knots(const task& t) { (t.ic_type & uniform_bit ? even : given) = conditions_of<T>(t.ic); }

  template <class Grid> T at(const Grid& x, int64_t k) const {
    if (k == 0) return x[0];
    if (k == x.n) return x.last();
    if (given) return given[k];
    if (!even) return (x[k - 1] + x[k]) / 2;
    return k == 1 ? even[0] : even[0] + static_cast<T>(k - 1) * (even[1] - even[0]) / static_cast<T>(x.n - 2);
  }
};

// Equally spaced numbers, given by the first and the last of them.
template <class T> struct ramp {
  T first, step;

  ramp(const T* ends, int64_t count)
      : first(ends[0]), step(count < 2 ? 0 : (ends[1] - ends[0]) / static_cast<T>(count - 1)) {}
  void fill(int64_t from, int n, T* r) const {
    for (int i = 0; i < n; i++) r[i] = first + static_cast<T>(from + i) * step;
  }
};

}  // namespace fit
