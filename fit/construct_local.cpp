// Cubic splines whose derivatives depend on the neighbourhood: Hermite, where they are given; Bessel, the slopes of
// parabolas through three points; Hyman, the same held within the bounds of monotonicity (Hyman, "Accurate
// monotonicity preserving cubic interpolation", SIAM J. Sci. Stat. Comput. 4, 1983); Akima ("A new method of
// interpolation and smooth curve fitting based on local procedures", J. ACM 17, 1970).
//
// Weighted means are written as one slope and a part of the difference, so that equal slopes give just that slope.
//
// A rule gives d[i] for inner breakpoints, from arrays h and m in which [0] is the cell to the right of it and [-1] the
// one to the left, and d at the joint of the periodic condition, where h, m are those of the first two cells and
// h_last, m_last those of the last two.

#include <cmath>

#include "fit/construct.h"

namespace fit { namespace {

template <class T> T parabola(T h_left, T h_right, T m_left, T m_right) {
  return m_left + h_left / (h_left + h_right) * (m_right - m_left);
}

template <class T> struct hermite_rule {
  static constexpr conditions needs = {.least_nx = 3, .from_ic = true, .periodic_value = true};
  static T inner(const spline<T>& s, int64_t i, const T*, const T*) { return s.ic[i - 1]; }
  static T joint(const spline<T>& s, const T*, const T*, const T*, const T*) { return s.bc[0]; }
};

template <class T> struct bessel_rule {
  static constexpr conditions needs = {.least_nx = 4};
  static T inner(const spline<T>&, int64_t, const T* h, const T* m) {
    return parabola(h[-1], h[0], m[-1], m[0]);
  }
  static T joint(const spline<T>&, const T* h, const T* m, const T* h_last, const T* m_last) {
    return parabola(h_last[1], h[0], m_last[1], m[0]);
  }
};

template <class T> struct hyman_rule : bessel_rule<T> {
  static T inner(const spline<T>&, int64_t, const T* h, const T* m) {
    const T d = parabola(h[-1], h[0], m[-1], m[0]), left = std::fabs(m[-1]), right = std::fabs(m[0]);
    const T bound = 3 * (left < right ? left : right), size = std::fabs(d);
    const bool monotone = (m[-1] > 0 && m[0] > 0) || (m[-1] < 0 && m[0] < 0);
    return monotone ? std::copysign(size < bound ? size : bound, d) : 0;
  }
};

template <class T> struct akima_rule {
  static constexpr conditions needs = {.least_nx = 5, .own_ends = true};
  static T weighted(T w1, T w2, T m_left, T m_right) {
    constexpr T least = T(1e-10);  // an absolute bound, part of the definition
    return m_left + (w1 + w2 < least ? T(0.5) : w2 / (w1 + w2)) * (m_right - m_left);
  }
  static T inner(const spline<T>& s, int64_t i, const T*, const T* m) {
    const T here = std::fabs(m[0] - m[-1]), after = std::fabs(m[1] - m[0]), before = std::fabs(m[-1] - m[-2]);
    return weighted(i == s.n - 2 ? here : after, i == 1 ? here : before, m[-1], m[0]);
  }
  static T joint(const spline<T>&, const T*, const T* m, const T*, const T* m_last) {
    return weighted(std::fabs(m[1] - m[0]), std::fabs(m_last[1] - m_last[0]), m_last[1], m[0]);
  }
};

// The derivative at an end from the two cells there, the nearer one first, and d1, the derivative at the breakpoint
// between. At the right end, a second derivative comes with its sign changed.
template <class T> T at_end(end condition, T h0, T h1, T m0, T m1, T d1, T given) {
  const T H = h0 + h1;
  switch (condition) {
    case end::not_a_knot:  // one cubic over both cells
      return m0 + (h0 + H) / H * (m0 - d1) + h0 / H * (h0 / h1) * (m1 - d1);
    case end::free:
      return m0 + (m0 - d1) / 2;
    case end::first:
      return given;
    case end::second:
      return m0 + (m0 - d1) / 2 - h0 / 4 * given;
    default:  // a parabola's
      return m0 + (m0 - m1) / 2;
  }
}

template <class Rule, class T> T joint_of(const spline<T>& s, int64_t f) {
  const values<T> y = s.y(f);
  const int64_t l = s.n - 2;
  const T h[] = {s.h(0), s.h(1)}, m[] = {s.m(y, 0), s.m(y, 1)};
  const T h_last[] = {s.h(l - 1), s.h(l)}, m_last[] = {s.m(y, l - 1), s.m(y, l)};
  return Rule::joint(s, h, m, h_last, m_last);
}

template <class Rule, class T>
void tile(const spline<T>& s, int64_t cells_from, int64_t cells_to, int64_t f_from, int64_t f_to) {
  chunk<T> c;
  for (int64_t from = cells_from; from < cells_to; from += chunk<T>::cells) {
    c.set_cells(s, from, from + chunk<T>::cells < cells_to ? from + chunk<T>::cells : cells_to);
    const int64_t count = c.count,
                  last = s.n - 1 - from;  // the last breakpoint, counted from the chunk's first
    const int64_t low = from == 0, high = last == count ? count - 1 : count;
    for (int64_t f = f_from; f < f_to; f++) {
      c.set_values(s, s.y(f));
      T *const d = c.d(), *const h = c.h(), *const m = c.m();
      for (int64_t k = low; k <= high; k++) d[k] = Rule::inner(s, from + k, h + k, m + k);
      if (from == 0) {
        d[0] = s.periodic() ? joint_of<Rule>(s, f)
                            : at_end(s.left, h[0], h[1], m[0], m[1], d[1], s.left_value());
      }
      if (last == count) {
        const int64_t l = count - 1;
        const T given = s.right == end::second ? -s.right_value() : s.right_value();
        d[count] = s.periodic() ? joint_of<Rule>(s, f)
                                : at_end(s.right, h[l], h[l - 1], m[l], m[l - 1], d[l], given);
      }
      c.write_cubic(s.row(f));
    }
  }
}

template <template <class> class Rule, class T>
status construct(const task* t, const DFThreadServices* services) {
  spline<T> s;
  if (const status e = prepare(s, t, Rule<T>::needs); e != FIT_OK) return e;
  constexpr int64_t least_numbers = 512;
  for_tiles(s, 2048, 4, least_numbers, 1, services, [&](int64_t from, int64_t to, int64_t f, int64_t f_end) {
    tile<Rule<T>>(s, from, to, f, f_end);
  });
  return FIT_OK;
}

}  // namespace
}  // namespace fit

#define ENTRY(p, T, name, rule)                                                                     \
  FIT_EXPORT int32_t arko_df_kernel_##p##DF##name##CubicSpline1D(void* t, int64_t, int64_t,         \
                                                                 const DFThreadServices* threads) { \
    return fit::construct<fit::rule, T>(static_cast<fit::task*>(t), threads);                       \
  }
#define ENTRIES(p, T)                \
  ENTRY(p, T, Hermite, hermite_rule) \
  ENTRY(p, T, Bessel, bessel_rule)   \
  ENTRY(p, T, Hyman, hyman_rule)     \
  ENTRY(p, T, Akima, akima_rule)
ENTRIES(d, double)
ENTRIES(s, float)
