// The system of the natural cubic for many breakpoints, in windows that stay in the cache.
//
// Elimination from above makes e[i] = g[i] - c[i] e[i+1] with c[i] <= 1/2, as the pivot of a row is at least twice its
// upper element and more; likewise from below. So what lies `margin` rows away has at most 2^-margin of its size as
// influence, less than a hundredth of a rounding of any number 10^10 times smaller, and a window of rows can be solved by
// itself if it begins and ends that much earlier and later. Several windows go in step, one to a lane: the long
// chains of dependent operations overlap, and no memory is needed for whole diagonals.
#pragma once
#include <limits>

#include "core/registers.h"
#include "fit/construct.h"

namespace [[gnu::visibility("hidden")]] fit {

// A row of the system: below e[i-1] + diagonal e[i] + above e[i+1] = side.
template <class T> struct equation { T below, diagonal, above, side; };

template <class T> class windows {
 public:
  static constexpr int64_t cells = 1024, margin = 96, rows = cells + 2 * margin + 1;
  static constexpr int64_t width = 16 / sizeof(T), vectors = 2, lanes = width * vectors;
  static constexpr int64_t least_n = lanes * cells;  // below, the whole system is as good
  static constexpr int64_t room = 2 * rows * lanes;  // numbers of work memory

  // From the first and the last equation, and the numbers of one function: write(from, to, e), for all cells, where
  // e[lanes * k] belongs to breakpoint from + k. FIT_ERR_SOLVER where a pivot is too small.
  template <class Write>
  static status solve(const spline<T>& s, const values<T>& y, const equation<T>& first,
                      const equation<T>& last, T* work, Write write) {
    return s.uniform ? solve<true>(s, y, first, last, work, write)
                     : solve<false>(s, y, first, last, work, write);
  }

 private:
  using vec = arko::lanes<T>;

  template <bool uniform, class Write>
  static status solve(const spline<T>& s, const values<T>& y, const equation<T>& first,
                      const equation<T>& last, T* work, Write write) {
    const int64_t all = s.n - 1, count = (all + cells - 1) / cells;
    for (int64_t w = 0; w < count; w += lanes) {
      int64_t
          low[lanes];  // the first row of each window; where there are no more windows, the last one again
      for (int64_t k = 0; k < lanes; k++) {
        const int64_t from = (w + k < count ? w + k : count - 1) * cells - margin;
        low[k] = from < 0 ? 0 : from + rows > s.n ? s.n - rows : from;
      }
      if (!eliminate<uniform>(s, y, first, last, low, work)) return FIT_ERR_SOLVER;
      for (int64_t k = 0; k < lanes && w + k < count; k++) {
        const int64_t from = (w + k) * cells, to = from + cells < all ? from + cells : all;
        write(from, to, work + rows * lanes + (from - low[k]) * lanes + k);
      }
    }
    return FIT_OK;
  }

  // An inner row; behind the last cell its slope again.
  static equation<T> inner(const spline<T>& s, const values<T>& y, int64_t i) {
    const T h0 = s.h(i - 1), h1 = s.h(i), m0 = s.m(y, i - 1), m1 = s.m(y, i),
            m2 = i + 1 < s.n - 1 ? s.m(y, i + 1) : m1;
    return {h1, 2 * (h0 + h1), h0, 2 * h1 * (m0 - m1) + h0 * (m1 - m2)};
  }

  template <bool uniform>
  static bool eliminate(const spline<T>& s, const values<T>& y, const equation<T>& first,
                        const equation<T>& last, const int64_t* low, T* c) {
    T* const g = c + rows * lanes;
    constexpr T least = std::numeric_limits<T>::min();
    bool good = true;
    const auto row = [&](int64_t k, int64_t r) {
      const int64_t i = low[k] + r;
      return i == 0 ? first : i == s.n - 1 ? last : inner(s, y, i);
    };
    const auto step = [&](int64_t k, int64_t r) {  // one row of one window
      const equation<T> e = row(k, r);
      const T before_c = r > 0 ? c[(r - 1) * lanes + k] : 0, before_g = r > 0 ? g[(r - 1) * lanes + k] : 0;
      const T pivot = e.diagonal - e.below * before_c;
      good &= !(pivot <= least);
      c[r * lanes + k] = e.above / pivot;
      g[r * lanes + k] = (e.side - e.below * before_g) / pivot;
    };

    // The first row and the last two may be at the ends of the system.
    for (int64_t k = 0; k < lanes; k++) step(k, 0);
    vec h0[vectors], h1[vectors], m0[vectors], m1[vectors], y2[vectors], x2[vectors], c0[vectors],
        g0[vectors];
    decltype(vec() <= vec()) small[vectors] = {};
    const auto lane = [&](vec* v, int64_t k) -> T& { return reinterpret_cast<T*>(v)[k]; };
    for (int64_t k = 0; k < lanes; k++) {
      const int64_t i = low[k] + 1;
      lane(h0, k) = s.h(i - 1), lane(h1, k) = s.h(i);
      lane(m0, k) = s.m(y, i - 1), lane(m1, k) = s.m(y, i);
      lane(y2, k) = y[i + 1], lane(x2, k) = uniform ? 0 : s.x[i + 1];
      lane(c0, k) = c[k], lane(g0, k) = g[k];
    }
    const T even = uniform ? s.step() : 0;
    for (int64_t r = 1; r < rows - 2; r++) {
      for (int64_t v = 0; v < vectors; v++) {
        vec y3, x3, h2;
        for (int64_t k = 0; k < width; k++) {
          const int64_t i = low[v * width + k] + r + 2;
          y3[k] = y[i];
          x3[k] = uniform ? even : s.x[i];
        }
        h2 = uniform ? x3 : x3 - x2[v];
        const vec m2 = (y3 - y2[v]) / h2;
        const vec side = 2 * h1[v] * (m0[v] - m1[v]) + h0[v] * (m1[v] - m2);
        const vec pivot = 2 * (h0[v] + h1[v]) - h1[v] * c0[v], reciprocal = 1 / pivot;
        small[v] |= pivot <= least;
        c0[v] = h0[v] * reciprocal;
        g0[v] = (side - h1[v] * g0[v]) * reciprocal;
        *reinterpret_cast<vec*>(c + r * lanes + v * width) = c0[v];
        *reinterpret_cast<vec*>(g + r * lanes + v * width) = g0[v];
        h0[v] = h1[v], h1[v] = h2, m0[v] = m1[v], m1[v] = m2, y2[v] = y3, x2[v] = x3;
      }
    }
    for (int64_t k = 0; k < lanes; k++) good &= small[k / width][k % width] == 0;
    for (int64_t r = rows - 2; r < rows; r++)
      for (int64_t k = 0; k < lanes; k++) step(k, r);

    // Back, e in the place of g. Behind a window that does not end the system e counts as 0.
    vec e[vectors];
    for (int64_t v = 0; v < vectors; v++) e[v] = *reinterpret_cast<vec*>(g + (rows - 1) * lanes + v * width);
    for (int64_t r = rows - 2; r >= 0; r--)
      for (int64_t v = 0; v < vectors; v++) {
        vec& at = *reinterpret_cast<vec*>(g + r * lanes + v * width);
        at = e[v] = at - *reinterpret_cast<vec*>(c + r * lanes + v * width) * e[v];
      }
    return good;
  }
};

}  // namespace fit
