// What the construction kernels share: checks, the task as a spline to be made, and cells in chunks.
//
// Notation, as in the comments of all construct_*.cpp: n breakpoints x, steps h[i] = x[i+1] - x[i], values y,
// slopes m[i] = (y[i+1] - y[i]) / h[i], derivatives d[i] at the breakpoints.
#pragma once
#include "fit/slices.h"

namespace [[gnu::visibility("hidden")]] fit {

// The condition at an end; `own` is what a spline does without one.
enum class end { not_a_knot, free, first, second, periodic, own };

// A task, checked. Rows of coefficients are written cell after cell.
template <class T> struct spline {
  const task* t;
  int64_t n, ny;
  const T *x, *bc, *ic;
  bool uniform;
  end left, right;

  values<T> y(int64_t f) const { return values_of<T>(*t, f); }
  T* row(int64_t f) const { return coefficients_of<T>(*t, f); }
  T step() const { return (x[1] - x[0]) / static_cast<T>(n - 1); }  // of a uniform grid
  T h(int64_t i) const { return uniform ? step() : x[i + 1] - x[i]; }
  T m(const values<T>& y, int64_t i) const { return (y[i + 1] - y[i]) / h(i); }
  T breakpoint(int64_t i) const {
    return !uniform ? x[i] : i == n - 1 ? x[1] : x[0] + static_cast<T>(i) * step();
  }
  bool periodic() const { return left == end::periodic; }
  // The given derivative at an end, 0 where there is none.
  T left_value() const { return left == end::first || left == end::second ? bc[0] : 0; }
  T right_value() const { return right == end::first || right == end::second ? bc[1] : 0; }
};

// Which conditions a kernel has.
struct conditions {
  int64_t least_nx;
  bool any_ends = false;        // it does not look at them, but for the periodic one
  bool own_ends = false;        // FIT_BC_NONE is one of them
  bool from_ic = false;         // it needs ic
  bool periodic_value = false;  // it needs bc[0] for the periodic condition
};

// The ends that a boundary condition means. FIT_ERR_BCTYPE where it is none; FIT_ERR_BC where its values are missing.
template <class T> status set_ends(spline<T>& s, const conditions& c) {
  const auto ends = [&](end left, end right) {
    s.left = left;
    s.right = right;
    return FIT_OK;
  };
  const auto given = [&](end left, end right) { return s.bc ? ends(left, right) : FIT_ERR_BC; };
  const int64_t type = s.t->s_type;
  switch (s.t->bc_type) {
    case FIT_BC_NOT_A_KNOT:
      return ends(end::not_a_knot, end::not_a_knot);
    case FIT_BC_FREE_END:
      return ends(end::free, end::free);
    case FIT_BC_D1_LEFT + FIT_BC_D1_RIGHT:
      return given(end::first, end::first);
    case FIT_BC_D1_LEFT + FIT_BC_D2_RIGHT:
      return given(end::first, end::second);
    case FIT_BC_D2_LEFT + FIT_BC_D1_RIGHT:
      return given(end::second, end::first);
    case FIT_BC_D2_LEFT + FIT_BC_D2_RIGHT:
      return given(end::second, end::second);
    case FIT_BC_PERIODIC:
      return c.periodic_value || type == FIT_TYPE_DEFAULT || type == FIT_TYPE_HERMITE
                 ? given(end::periodic, end::periodic)
                 : ends(end::periodic, end::periodic);
    case FIT_BC_NONE:
      return c.own_ends ? ends(end::own, end::own) : FIT_ERR_BCTYPE;
    default:
      return FIT_ERR_BCTYPE;
  }
}

// The checks of all kernels up to the boundary condition.
template <class T> status open_task(spline<T>& s, const task* t, int64_t least_nx) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (t->nx < least_nx) return FIT_ERR_NX;
  if (t->yhint != FIT_Y_NOHINT && t->yhint != FIT_Y_BYFUNC && t->yhint != FIT_Y_BYSITE &&
      t->yhint != FIT_Y_PTRS)
    return FIT_ERR_YHINT;
  s = {t,
       t->nx,
       t->ny,
       static_cast<const T*>(t->x),
       static_cast<const T*>(t->bc),
       static_cast<const T*>(t->ic),
       is_uniform(*t),
       end::own,
       end::own};
  return FIT_OK;
}

// The checks of the arrays that are left.
template <class T> status check_arrays(const spline<T>& s) {
  if (!has_values(*s.t)) return FIT_ERR_Y;
  if (!has_rows(*s.t)) return FIT_ERR_COEFF;
  for (int64_t f = 0; f < s.ny && s.periodic(); f++)
    if (const values<T> y = s.y(f); y[0] != y[s.n - 1]) return FIT_ERR_PERIODIC;
  return FIT_OK;
}

template <class T> status prepare(spline<T>& s, const task* t, const conditions& c) {
  if (const status e = open_task(s, t, c.least_nx); e != FIT_OK) return e;
  if (c.any_ends) {
    if (t->bc_type == FIT_BC_PERIODIC) s.left = s.right = end::periodic;
  } else if (const status e = set_ends(s, c); e != FIT_OK) {
    return e;
  }
  if (c.from_ic && !s.ic) return FIT_ERR_IC;
  return check_arrays(s);
}

// Cells are worked on in chunks that stay in the nearest cache, for several functions one after the other. A
// chunk knows of `halo` cells on either side too; those that do not exist are like the one at the end.
template <class T> struct chunk {
  static constexpr int64_t cells = 256, halo = 2, room = cells + 2 * halo;
  int64_t first, count;  // its own cells
  T h_[room], inverse_[room], y_[room + 1], m_[room], d_[cells + 1];

  // Arrays by the number of the cell or breakpoint within the chunk.
  T* h() { return h_ + halo; }
  T* inverse() { return inverse_ + halo; }  // of h
  T* y() { return y_ + halo; }
  T* m() { return m_ + halo; }
  T* d() { return d_; }

  void set_cells(const spline<T>& s, int64_t from, int64_t to) {
    first = from;
    count = to - from;
    const int64_t low = from < halo ? -from : -halo,
                  high = s.n - 1 - from < count + halo ? s.n - 1 - from : count + halo;
    if (s.uniform) {
      const T step = s.step();
      for (T& h : h_) h = step;
    } else {
      for (T& h : h_) h = 1;
      for (int64_t k = low; k < high; k++) h()[k] = s.x[from + k + 1] - s.x[from + k];
    }
    for (int64_t k = 0; k < room; k++) inverse_[k] = 1 / h_[k];
  }
  void set_values(const spline<T>& s, const values<T>& y_of) {
    const int64_t low = first < halo ? -first : -halo,
                  high = s.n - 1 - first < count + halo ? s.n - 1 - first : count + halo;
    for (int64_t k = low; k <= high; k++) y()[k] = y_of[first + k];
    for (int64_t k = -halo; k < low; k++) y()[k] = y()[low];
    for (int64_t k = high + 1; k <= count + halo; k++) y()[k] = y()[high];
    for (int64_t k = -halo; k < count + halo; k++) m()[k] = (y()[k + 1] - y()[k]) / h()[k];
  }

  // The cubic with the derivatives d[0] to d[count]. Its upper coefficients come from how far those are from the
  // slope, so that a straight line has none.
  void write_cubic(T* row) {
    const T *d = d_, *m = this->m();
    write_cubic(
        row, [=](int64_t k) { return d[k]; }, [=](int64_t k) { return m[k] - d[k]; },
        [=](int64_t k) { return m[k] - d[k + 1]; });
  }
  // From c1, and m - d at the near and at the far end.
  template <class C1, class Near, class Far> void write_cubic(T* row, C1 c1, Near near, Far far) {
    T* c = row + 4 * first;
    const T *y = this->y(), *r = inverse();
    for (int64_t k = 0; k < count; k++, c += 4) {
      c[0] = y[k];
      c[1] = c1(k);
      c[2] = (2 * near(k) + far(k)) * r[k];
      c[3] = -(near(k) + far(k)) * r[k] * r[k];
    }
  }
};

// Runs body(cells from, to, functions from, to) over all cells and functions, `cells` and `functions` at a time: on
// the caller's threads where there are at least that many numbers and tiles.
template <class T, class Body>
void for_tiles(const spline<T>& s, int64_t cells, int64_t functions, int64_t least_numbers,
               int64_t least_tiles, const DFThreadServices* services, Body body) {
  const int64_t all = s.n - 1, rows = (all + cells - 1) / cells,
                tiles = rows * ((s.ny + functions - 1) / functions);
  const auto tile = [&](int64_t task) {
    const int64_t c = task % rows * cells, f = task / rows * functions;
    body(c, c + cells < all ? c + cells : all, f, f + functions < s.ny ? f + functions : s.ny);
  };
  if (services && tiles >= least_tiles && s.n * s.ny >= least_numbers)
    run_tasks(services, tiles, arko::thread_count(services),
              [&](int64_t task, int32_t) { return tile(task), FIT_OK; });
  else
    for (int64_t task = 0; task < tiles; task++) tile(task);
}

}  // namespace fit
