// The cubic spline with continuous second derivatives. The derivatives solve
//
//   h[i] d[i-1] + 2 (h[i-1] + h[i]) d[i] + h[i-1] d[i+1] = 3 (h[i] m[i-1] + h[i-1] m[i])
//
// with a row for each end. What is solved for is e[i] = d[i] - m[i], with m[n-1] = m[n-2] at the last breakpoint:
// the right side becomes 2 h[i] (m[i-1] - m[i]) + h[i-1] (m[i] - m[i+1]), differences of slopes. Second derivatives are
// made of such differences and keep the digits that d has no room for; a straight line comes back exactly.
//
// Of the periodic spline d[0] to d[n-2] are unknown, and the first and the last row wrap: the
// matrix is T + u v', T tridiagonal, u = (h[0], 0, ..., h[n-3]) and v = (1, 0, ..., 1), and by the formula of Sherman
// and Morrison d = w - z (v'w) / (1 + v'z) where T w is the right side and T z = u.

#include <arko/core.h>

#include <cstring>

#include "core/block.h"
#include "fit/construct.h"
#include "fit/natural_windows.h"

namespace fit { namespace {

void factor(int32_t n, double* dl, double* d, double* du, int32_t& info) {
  ddttrfb_4dfl(&n, dl, d, du, &info);
}
void factor(int32_t n, float* dl, float* d, float* du, int32_t& info) { sdttrfb_4dfl(&n, dl, d, du, &info); }
void solve(int32_t n, int32_t nrhs, const double* dl, const double* d, const double* du, double* b,
           int32_t ldb, int32_t& info) {
  ddttrsb_4dfl("N", &n, &nrhs, dl, d, du, b, &ldb, &info);
}
void solve(int32_t n, int32_t nrhs, const float* dl, const float* d, const float* du, float* b, int32_t ldb,
           int32_t& info) {
  sdttrsb_4dfl("N", &n, &nrhs, dl, d, du, b, &ldb, &info);
}

template <class T> class natural {
 public:
  explicit natural(const spline<T>& spline) : s(spline), n(spline.n) {}

  status run(const DFThreadServices* services) {
    const int64_t t = threads(services);
    if (n >= windows<T>::least_n && !s.periodic()) return run_windows(services, t);
    constexpr int64_t together = 4;  // functions, where they are solved for one group after the other
    const int64_t columns = t > 1 ? t : s.ny < together ? s.ny : together;
    const auto size = static_cast<std::size_t>(n);
    const arko::block<T> work(size * static_cast<std::size_t>(3 + s.periodic() + columns));
    if (!work) return FIT_ERR_MEMORY;
    below = work.get();
    diagonal = below + n;
    above = diagonal + n;
    joint = above + n;
    T* const sides = joint + (s.periodic() ? n : 0);

    set_matrix();
    int32_t info;
    factor(unknowns(), below, diagonal, above, info);
    if (info != 0) return FIT_ERR_SOLVER;
    if (s.periodic()) {
      std::memset(joint, 0, size * sizeof(T));
      joint[0] = s.h(0);
      joint[n - 2] = s.h(n - 3);
      solve(unknowns(), 1, below, diagonal, above, joint, unknowns(), info);
      if (info != 0) return FIT_ERR_SOLVER;
    }
    if (t > 1)  // a task a function, in the right side of its thread
      return run_tasks(services, s.ny, t,
                       [&](int64_t f, int32_t thread) { return functions(f, f + 1, sides + thread * n); });
    for (int64_t f = 0; f < s.ny; f += together)
      if (const status e = functions(f, f + together < s.ny ? f + together : s.ny, sides); e != FIT_OK)
        return e;
    return FIT_OK;
  }

 private:
  const spline<T>& s;
  const int64_t n;
  T *below, *diagonal, *above, *joint;  // the factors of the matrix; z

  int32_t unknowns() const { return static_cast<int32_t>(s.periodic() ? n - 1 : n); }

  // On how many threads functions are worked on side by side.
  int64_t threads(const DFThreadServices* services) const {
    constexpr int64_t least_nx = 300, least_nx_for_few = 600, many = 8;
    if (s.ny == 1 || n < least_nx) return 1;
    const int64_t t = arko::thread_count(services);
    return n < least_nx_for_few && t < many ? 1 : t < s.ny ? t : s.ny;
  }

  // The matrix at an end: its derivative and the next one; h0 is of the cell there, h1 of the next cell.
  static void end_row(end condition, T h0, T h1, T& at, T& next) {
    at = condition == end::first ? 1 : condition == end::not_a_knot ? h1 : 2;
    next = condition == end::first ? 0 : condition == end::not_a_knot ? h0 + h1 : 1;
  }
  // The right side of such a row, where it is `apart` from m0, what is subtracted from the farther derivative less m0.
  static T end_side(end condition, T h0, T h1, T m0, T m1, T apart, T given) {
    const T H = h0 + h1;
    switch (condition) {
      case end::first:
        return given - m0;
      case end::not_a_knot:
        return h0 / H * h0 * (m1 - m0) - H * apart;
      default:
        return -apart - h0 / 2 * given;
    }
  }

  equation<T> first_equation(const values<T>& y) const {
    const T h0 = s.h(0), h1 = n > 2 ? s.h(1) : 0, m0 = s.m(y, 0), m1 = n > 2 ? s.m(y, 1) : m0;
    equation<T> e = {};
    end_row(s.left, h0, h1, e.diagonal, e.above);
    e.side = end_side(s.left, h0, h1, m0, m1, m1 - m0, s.left_value());
    return e;
  }
  equation<T> last_equation(const values<T>& y) const {
    const int64_t l = n - 2;
    const T h0 = s.h(l), h1 = n > 2 ? s.h(l - 1) : 0, m0 = s.m(y, l), m1 = n > 2 ? s.m(y, l - 1) : m0;
    equation<T> e = {};
    end_row(s.right, h0, h1, e.diagonal, e.below);
    e.side =
        end_side(s.right, h0, h1, m0, m1, 0, s.right == end::second ? -s.right_value() : s.right_value());
    return e;
  }

  template <class Body> void in_chunks(chunk<T>& c, Body body, int64_t from, int64_t to) {
    for (; from < to; from += chunk<T>::cells) {
      c.set_cells(s, from, from + chunk<T>::cells < to ? from + chunk<T>::cells : to);
      body();
    }
  }
  template <class Body> void in_chunks(chunk<T>& c, Body body) { in_chunks(c, body, 0, n - 1); }

  // Writes the cells of a chunk from e[stride * k] at its breakpoint k.
  void write(chunk<T>& c, int64_t f, const T* e, int64_t stride) {
    c.set_values(s, s.y(f));
    T* const m = c.m();
    if (c.first + c.count == n - 1) m[c.count] = m[c.count - 1];
    c.write_cubic(
        s.row(f), [=](int64_t k) { return m[k] + e[stride * k]; }, [=](int64_t k) { return -e[stride * k]; },
        [=](int64_t k) { return (m[k] - m[k + 1]) - e[stride * (k + 1)]; });
    // As it was given: m + e has a rounding.
    if (c.first == 0 && s.left == end::first) s.row(f)[1] = s.left_value();
  }

  // Many breakpoints, a function after the other or on a thread.
  status run_windows(const DFThreadServices* services, int64_t t) {
    using system = windows<T>;
    const arko::block<T> work(static_cast<std::size_t>(system::room * t));
    if (!work) return FIT_ERR_MEMORY;
    const auto function = [&](int64_t f, int32_t thread) {
      const values<T> y = s.y(f);
      chunk<T> c;
      return system::solve(s, y, first_equation(y), last_equation(y), work.get() + system::room * thread,
                           [&](int64_t from, int64_t to, const T* e) {
                             in_chunks(
                                 c, [&] { write(c, f, e + system::lanes * (c.first - from), system::lanes); },
                                 from, to);
                           });
    };
    if (t > 1) return run_tasks(services, s.ny, t, function);
    for (int64_t f = 0; f < s.ny; f++)
      if (const status e = function(f, 0); e != FIT_OK) return e;
    return FIT_OK;
  }

  void set_matrix() {
    chunk<T> c;
    in_chunks(c, [&] {
      const T* const h = c.h();
      T *const b = below + c.first, *const d = diagonal + c.first, *const a = above + c.first;
      for (int64_t k = c.first == 0; k < c.count; k++) {
        b[k - 1] = h[k];
        d[k] = 2 * (h[k - 1] + h[k]);
        a[k] = h[k - 1];
      }
    });
    const T first = s.h(0), last = s.h(n - 2), second = n > 2 ? s.h(1) : 0, before = n > 2 ? s.h(n - 3) : 0;
    if (s.periodic()) {
      diagonal[0] = first + 2 * last;
      above[0] = last;
      diagonal[n - 2] = 2 * last + before;
      below[n - 3] = last;
    } else {
      end_row(s.left, first, second, diagonal[0], above[0]);
      end_row(s.right, last, before, diagonal[n - 1], below[n - 2]);
    }
  }

  // The right sides of functions f to f_end, one behind the other.
  void set_sides(int64_t f, int64_t f_end, T* sides) {
    chunk<T> c;
    in_chunks(c, [&] {
      for (int64_t g = f; g < f_end; g++) {
        c.set_values(s, s.y(g));
        const T *const h = c.h(), *const m = c.m();
        T* const b = sides + (g - f) * n + c.first;
        for (int64_t k = c.first == 0; k < c.count; k++)
          b[k] = 2 * h[k] * (m[k - 1] - m[k]) + h[k - 1] * (m[k] - m[k + 1]);
      }
    });
    for (int64_t g = f; g < f_end; g++) {
      const values<T> y = s.y(g);
      T* const b = sides + (g - f) * n;
      const int64_t l = n - 2;
      const T first = s.h(0), last = s.h(l), m0 = s.m(y, 0), m_last = s.m(y, l);
      if (n > 2) {
        const T m1 = s.m(y, 1), m_before = s.m(y, l - 1);
        b[l] = 2 * last * (m_before - m_last) + s.h(l - 1) * (s.periodic() ? m_last - m0 : 0);
        if (s.periodic()) b[0] = 2 * first * (m_last - m0) + last * (m0 - m1);
      }
      if (!s.periodic()) {
        b[0] = first_equation(y).side;
        b[n - 1] = last_equation(y).side;
      }
    }
  }

  status functions(int64_t f, int64_t f_end, T* sides) {
    set_sides(f, f_end, sides);
    int32_t info;
    solve(unknowns(), static_cast<int32_t>(f_end - f), below, diagonal, above, sides, static_cast<int32_t>(n),
          info);
    if (info != 0) return FIT_ERR_SOLVER;
    for (int64_t g = f; g < f_end && s.periodic(); g++) {
      T* const e = sides + (g - f) * n;
      const T factor = (e[0] + e[n - 2]) / (1 + joint[0] + joint[n - 2]);
      for (int64_t i = 0; i < n - 1; i++) e[i] -= joint[i] * factor;
      e[n - 1] = (s.m(s.y(g), 0) - s.m(s.y(g), n - 2)) + e[0];
    }
    chunk<T> c;
    in_chunks(c, [&] {
      for (int64_t g = f; g < f_end; g++) write(c, g, sides + (g - f) * n + c.first, 1);
    });
    return FIT_OK;
  }
};

template <class T> status construct(const task* t, int64_t method, const DFThreadServices* services) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (method != 0) return FIT_ERR_METHOD;
  const bool three = t->bc_type == FIT_BC_NOT_A_KNOT || t->bc_type == FIT_BC_PERIODIC;
  spline<T> s;
  if (const status e = prepare(s, t, {.least_nx = three ? 3 : 2}); e != FIT_OK) return e;
  if (s.ny == 0) return FIT_OK;
  // Through three points go many cubics without a knot between.
  if (s.n == 3 && s.left == end::not_a_knot) return FIT_ERR_SOLVER;
  return natural<T>(s).run(services);
}

}  // namespace
}  // namespace fit

FIT_EXPORT int32_t arko_df_kernel_dDFNaturalCubicSpline1D(void* t, int64_t, int64_t method,
                                                          const DFThreadServices* threads) {
  return fit::construct<double>(static_cast<fit::task*>(t), method, threads);
}
FIT_EXPORT int32_t arko_df_kernel_sDFNaturalCubicSpline1D(void* t, int64_t, int64_t method,
                                                          const DFThreadServices* threads) {
  return fit::construct<float>(static_cast<fit::task*>(t), method, threads);
}
