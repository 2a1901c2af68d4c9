// Quadratic splines.
//
// The default one has a piece in each cell, through y[i], a value v[i] in the middle and y[i+1]; v[0] is given, and
// equal derivatives at the joints give the others one by one:
//
//   v[i+1] = h[i+1]/4 ((y[i] + 3 y[i+1]) / h[i] + (3 y[i+1] + y[i+2]) / h[i+1]) - h[i+1]/h[i] v[i].
//
// The other one has its n pieces between knots, t[i] to t[i+1] around x[i], of the form y[i] + v[i] u + c[i] u^2. With g
// the distance from a breakpoint to the knot on the way to the next one,
//
//   c = (v' - v) / (2 h) + (2 dy - h (v + v')) / (2 h g),
//
// v and v' the derivatives here and at the next breakpoint; seen from the other side, dy, v and v' have the other sign.
// That both sides give the same c[i] is a tridiagonal system for v.

#include <arko/core.h>

#include "core/block.h"
#include "fit/construct.h"
#include "fit/spline.h"

namespace fit { namespace {

void factor(int32_t n, double* dl, double* d, double* du, int32_t& info) {
  ddttrfb_4dfl(&n, dl, d, du, &info);
}
void factor(int32_t n, float* dl, float* d, float* du, int32_t& info) { sdttrfb_4dfl(&n, dl, d, du, &info); }
void solve(int32_t n, const double* dl, const double* d, const double* du, double* b, int32_t& info) {
  const int32_t one = 1;
  ddttrsb_4dfl("N", &n, &one, dl, d, du, b, &n, &info);
}
void solve(int32_t n, const float* dl, const float* d, const float* du, float* b, int32_t& info) {
  const int32_t one = 1;
  sdttrsb_4dfl("N", &n, &one, dl, d, du, b, &n, &info);
}

template <class T> void with_midpoints(const spline<T>& s) {
  for (int64_t f = 0; f < s.ny; f++) {
    const values<T> y = s.y(f);
    T *c = s.row(f), v = s.bc[0];
    for (int64_t i = 0; i < s.n - 1; i++, c += 3) {
      const T h = s.h(i), q = h / 2, bend = (y[i] - 2 * v + y[i + 1]) / 2;
      c[0] = y[i];
      c[1] = ((v - y[i]) - bend) / q;
      c[2] = bend / q / q;
      if (i < s.n - 2) {
        const T next = s.h(i + 1), outer = (y[i] + 3 * y[i + 1]) / h + (3 * y[i + 1] + y[i + 2]) / next;
        v = next / 4 * outer - next / h * v;
      }
    }
  }
}

template <class T> T bend(T h, T g, T dy, T v, T v_next) {
  return ((v_next - v) + (2 * dy - h * (v + v_next)) / g) / (2 * h);
}

// Breakpoints and knots by their numbers, the last breakpoint of a uniform grid as it was given.
template <class T, class Grid> struct knotted {
  Grid x;
  knots<T> t;

  T breakpoint(int64_t i) const { return i == x.n - 1 ? x.last() : x[i]; }
  T knot(int64_t i) const { return t.at(x, i); }
  T ahead(int64_t i) const { return knot(i + 1) - breakpoint(i); }  // to the knot after a breakpoint
  T behind(int64_t i) const { return breakpoint(i) - knot(i); }     // from the one before it
  // Whether given knots are where they must be.
  bool valid() const {
    if (t.given && !(t.given[0] == x[0] && t.given[x.n] == x.last())) return false;
    for (int64_t i = 1; i < x.n; i++)
      if (!(breakpoint(i - 1) < knot(i) && knot(i) < breakpoint(i))) return false;
    return true;
  }
};

template <class T, class Grid> status between_knots(const spline<T>& s, const knotted<T, Grid>& at) {
  if (!at.valid()) return FIT_ERR_IC;
  if (s.ny == 0) return FIT_OK;
  const int64_t n = s.n, last = n - 1;
  const arko::block<T> work(6 * static_cast<std::size_t>(n));
  if (!work) return FIT_ERR_MEMORY;
  T *const below = work.get(), *const diagonal = below + n, *const above = diagonal + n;
  T *const p = above + n, *const q = p + n;  // weights of dy to the left and to the right
  T* const v = q + n;
  const auto h = [&](int64_t i) { return s.h(i); };
  const auto ahead = [&](int64_t i) { return at.ahead(i); };
  const auto behind = [&](int64_t i) { return at.behind(i); };

  for (int64_t i = 1; i < last; i++) {
    const T H = h(i - 1) + h(i);
    p[i] = h(i) / (H * behind(i));
    q[i] = h(i - 1) / (H * ahead(i));
    below[i - 1] = ahead(i - 1) * p[i];
    above[i] = behind(i + 1) * q[i];
    diagonal[i] = below[i - 1] + 2 + above[i];
  }
  // An end: its distance to the next knot, seen in its direction.
  const auto end_row = [](end condition, T h, T g, T& here, T& next) {
    here = condition == end::first ? 1 : g + h;
    next = condition == end::first ? 0 : h - g;
  };
  const auto end_side = [](end condition, T h, T g, T dy, T given) {
    return condition == end::first ? given : 2 * dy - given * h * g;
  };
  end_row(s.left, h(0), ahead(0), diagonal[0], above[0]);
  end_row(s.right, h(last - 1), behind(last), diagonal[last], below[last - 1]);
  int32_t info;
  factor(static_cast<int32_t>(n), below, diagonal, above, info);
  if (info != 0) return FIT_ERR_SOLVER;

  for (int64_t f = 0; f < s.ny; f++) {
    const values<T> y = s.y(f);
    const auto dy = [&](int64_t i) { return y[i + 1] - y[i]; };
    for (int64_t i = 1; i < last; i++) v[i] = 2 * (p[i] * dy(i - 1) + q[i] * dy(i));
    const T given = s.right == end::second ? -s.right_value() : s.right_value();
    v[0] = end_side(s.left, h(0), ahead(0), dy(0), s.left_value());
    v[last] = end_side(s.right, h(last - 1), behind(last), dy(last - 1), given);
    solve(static_cast<int32_t>(n), below, diagonal, above, v, info);
    if (info != 0) return FIT_ERR_SOLVER;
    T* c = s.row(f);
    for (int64_t i = 0; i < n; i++, c += 3) {
      c[0] = y[i];
      c[1] = v[i];
      // Rounding of the derivatives is divided by h: the longer side keeps it small over the whole piece.
      const bool forward = i == 0 || (i < last && ahead(i) >= behind(i));
      c[2] = forward ? bend(h(i), ahead(i), dy(i), v[i], v[i + 1])
                     : bend(h(i - 1), behind(i), -dy(i - 1), -v[i], -v[i - 1]);
    }
  }
  return FIT_OK;
}

template <class T> status construct(const task* t) {
  spline<T> s;
  if (const status e = open_task(s, t, 2); e != FIT_OK) return e;
  if (t->s_type == FIT_TYPE_DEFAULT) {
    if (t->bc_type != FIT_BC_MIDPOINT) return FIT_ERR_BCTYPE;
    if (!s.bc) return FIT_ERR_BC;
    if (const status e = check_arrays(s); e != FIT_OK) return e;
    with_midpoints(s);
    return FIT_OK;
  }
  if (t->s_type != FIT_TYPE_KNOT_QUADRATIC) return FIT_ERR_METHOD;
  if (!(t->ic_type & knots_bit)) return FIT_ERR_ICTYPE;
  const status e = set_ends(s, {.least_nx = 2});
  if (e == FIT_ERR_BCTYPE || (e == FIT_OK && s.left != end::first && s.left != end::second))
    return FIT_ERR_BCTYPE;
  if (e != FIT_OK) return e;
  if (const status a = check_arrays(s); a != FIT_OK) return a;
  return with_grid(partition<T>(*t), [&]<class Grid>(const Grid& x) {
    return between_knots(s, knotted<T, Grid>{x, knots<T>(*t)});
  });
}

}  // namespace
}  // namespace fit

FIT_EXPORT int32_t arko_df_kernel_dDFQuadraticSpline1D(void* t, int64_t, int64_t, const DFThreadServices*) {
  return fit::construct<double>(static_cast<fit::task*>(t));
}
FIT_EXPORT int32_t arko_df_kernel_sDFQuadraticSpline1D(void* t, int64_t, int64_t, const DFThreadServices*) {
  return fit::construct<float>(static_cast<fit::task*>(t));
}
