// The cubic spline with second derivatives s[i] given at the inner breakpoints. In an inner cell
//
//   c2 = s[i] / 2,  c3 = (s[i+1] - s[i]) / (6 h),  c1 = m - h (s[i+1] / 6 + s[i] / 3).
//
// The first and the last cell take one condition each from the boundary.

#include "fit/construct.h"

namespace fit { namespace {

template <class T> struct cubic {
  T c1, c2, c3;
  void write(T* c, T y) const { c[0] = y, c[1] = c1, c[2] = c2, c[3] = c3; }
};
// c1 is what makes the cubic reach the value at the other breakpoint.
template <class T> cubic<T> through(T h, T m, T c2, T c3) { return {m - (c3 * h + c2) * h, c2, c3}; }
template <class T> cubic<T> between(T h, T m, T s0, T s1) {
  return {m - h * (s1 / 6 + s0 / 3), s0 / 2, (s1 - s0) / (6 * h)};
}

// From s1, the second derivative at the right of the cell; c3 of the next cell is for not-a-knot.
template <class T> cubic<T> first_cell(const spline<T>& s, T h, T m, T s1, T next_c3) {
  const auto with_c3 = [&](T c3) { return through(h, m, s1 / 2 - 3 * h * c3, c3); };
  switch (s.left) {
    case end::not_a_knot:
      return with_c3(next_c3);
    case end::first: {
      const T given = s.left_value();
      cubic<T> c = with_c3((given - m) / (2 * h) / h + s1 / (4 * h));
      c.c1 = given;
      return c;
    }
    case end::periodic:
      return between(h, m, s.bc[0], s1);
    default: {  // second, or free, where it is 0
      const T c2 = s.left_value() / 2;
      return through(h, m, c2, (s1 / 2 - c2) / (3 * h));
    }
  }
}

// From s0, the second derivative at the left of the cell.
template <class T> cubic<T> last_cell(const spline<T>& s, T h, T m, T s0, T previous_c3) {
  switch (s.right) {
    case end::not_a_knot:
      return through(h, m, s0 / 2, previous_c3);
    case end::first:
      // c1 + 2 c2 h + 3 c3 h^2 is given.
      return through(h, m, s0 / 2, ((s.right_value() - m) / h - s0 / 2) / (2 * h));
    case end::periodic:
      return between(h, m, s0, s.bc[0]);
    default:
      return through(h, m, s0 / 2, (s.right_value() - s0) / (6 * h));
  }
}

template <class T> status construct(const task* t) {
  spline<T> s;
  if (const status e = prepare(s, t, {.least_nx = 3, .from_ic = true, .periodic_value = true}); e != FIT_OK)
    return e;
  const T* const second = s.ic - 1;  // second[i] at breakpoint i
  const int64_t last = s.n - 2;
  const auto c3_of = [&](int64_t i) { return s.n > 3 ? (second[i + 1] - second[i]) / (6 * s.h(i)) : 0; };
  const T next_c3 = c3_of(1), previous_c3 = c3_of(last - 1);

  chunk<T> c;
  for (int64_t from = 0; from <= last; from += chunk<T>::cells) {
    const int64_t to = from + chunk<T>::cells < s.n - 1 ? from + chunk<T>::cells : s.n - 1;
    c.set_cells(s, from, to);
    for (int64_t f = 0; f < s.ny; f++) {
      c.set_values(s, s.y(f));
      T* const row = s.row(f) + 4 * from;
      const T *const h = c.h(), *const m = c.m(), *const y = c.y();
      for (int64_t k = from == 0; k < to - from - (to > last); k++)
        between(h[k], m[k], second[from + k], second[from + k + 1]).write(row + 4 * k, y[k]);
      if (from == 0) first_cell(s, h[0], m[0], second[1], next_c3).write(row, y[0]);
      if (const int64_t k = last - from; to > last)
        last_cell(s, h[k], m[k], second[last], previous_c3).write(row + 4 * k, y[k]);
    }
  }
  return FIT_OK;
}

}  // namespace
}  // namespace fit

FIT_EXPORT int32_t arko_df_kernel_dDFDefaultCubicSpline1D(void* t, int64_t, int64_t,
                                                          const DFThreadServices*) {
  return fit::construct<double>(static_cast<fit::task*>(t));
}
FIT_EXPORT int32_t arko_df_kernel_sDFDefaultCubicSpline1D(void* t, int64_t, int64_t,
                                                          const DFThreadServices*) {
  return fit::construct<float>(static_cast<fit::task*>(t));
}
