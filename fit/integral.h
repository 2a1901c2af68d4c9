// The integral of one function between two limits.
//
// An integrand is a row of pieces, each with a formula for the integral over a part of it and for the whole of it. The
// outer pieces go on beyond the ends. An interval is the part of its first piece, the sum of the whole pieces that
// follow and the part of its last one; if the limits come the other way round, the negative of that.
//
// The integral of a polynomial from a to b is
//
//   (b - a) * (c[0]*s[0] + c[1]*s[1]/2 + c[2]*s[2]/3 + ...),  s[m] = a^m + a^(m-1)*b + ... + b^m,
//
// which unlike the difference of two antiderivatives keeps all its bits in a short interval far from the breakpoint.
#pragma once
#include <utility>

#include "fit/evaluate.h"

namespace [[gnu::visibility("hidden")]] fit {

// Of orders up to 4 the factors are constants. (A table for each type would be a unique symbol where nothing is
// optimised, and the module could not be unloaded.)
template <class T, int order> inline T over(T c, int64_t m) {
  constexpr T reciprocal[] = {0, 1, T(0.5), T(1) / 3, T(0.25)};
  if constexpr (order > 0)
    return c * reciprocal[m];
  else
    return c / static_cast<T>(m);
}

// Polynomials in the distance from a breakpoint: what the pieces below share. Order 0: told at run time.
template <class T, class Grid, int fixed_order> struct polynomials {
  const Grid& x;
  const T* row;
  int64_t told_order;

  int64_t order() const { return fixed_order > 0 ? fixed_order : told_order; }

  T part(int32_t j, T from, T to) const {
    const T* const c = row + j * order();
    const T a = from - x[j], b = to - x[j];
    T s = 1, power = 1, sum = c[0];
    for (int64_t m = 1; m < order(); m++) {
      power *= a;
      s = s * b + power;
      sum += over<T, fixed_order>(c[m], m + 1) * s;
    }
    return (to - from) * sum;
  }
};

// Pieces are the cells of the partition.
template <class T, class Grid, int fixed_order> struct cell_pieces : polynomials<T, Grid, fixed_order> {
  using base = polynomials<T, Grid, fixed_order>;
  using base::row, base::order, base::x;

  int32_t piece(int32_t cell, T) const { return polynomial_of(cell, static_cast<int32_t>(x.n)); }
  T begin(int32_t j) const { return x[j]; }
  T end(int32_t j) const { return x[j + 1]; }
  T whole(int32_t j) const {
    const T* const c = row + j * order();
    const T h = x.width(j);
    T sum = over<T, fixed_order>(c[order() - 1], order());
    for (int64_t m = order() - 1; m > 0; m--) sum = sum * h + over<T, fixed_order>(c[m - 1], m);
    return sum * h;
  }
};

// Pieces lie between knots.
template <class T, class Grid> struct knot_pieces : polynomials<T, Grid, 3> {
  using base = polynomials<T, Grid, 3>;
  using base::x, base::part;
  const knots<T>& t;

  knot_pieces(const Grid& x, const T* row, const knots<T>& t) : base{x, row, 3}, t(t) {}
  int32_t piece(int32_t cell, T limit) const {
    if (cell == 0) return 0;
    if (cell >= x.n) return static_cast<int32_t>(x.n - 1);
    return limit < t.at(x, cell) ? cell - 1 : cell;
  }
  T begin(int32_t j) const { return t.at(x, j); }
  T end(int32_t j) const { return t.at(x, j + 1); }
  T whole(int32_t j) const { return part(j, begin(j), end(j)); }
};

// Piece j takes the value at its left end; the last begins at the last breakpoint.
template <class T, class Grid> struct left_steps {
  const Grid& x;
  values<T> y;

  int32_t piece(int32_t cell, T) const { return cell > 0 ? cell - 1 : 0; }
  T begin(int32_t j) const { return x[j]; }
  T end(int32_t j) const { return x[j + 1]; }
  T part(int32_t j, T from, T to) const { return (to - from) * y[j]; }
  T whole(int32_t j) const { return x.width(j) * y[j]; }
};

// Piece j takes the value at its right end, which belongs to it; the first ends at the first breakpoint. On a uniform
// grid all breakpoints are calculated, the last one, too: the given end may differ from it by a rounding.
template <class T, class Grid> struct right_steps {
  const Grid& x;
  values<T> y;

  int32_t piece(int32_t cell, T limit) const {
    const int32_t c = cell - (cell >= x.n ? 1 : 0);
    return c > 0 && limit == x[cell - 1] && limit != x[x.n - 1] ? c - 1 : c;
  }
  T begin(int32_t j) const { return x[j - 1]; }
  T end(int32_t j) const { return x[j]; }
  T part(int32_t j, T from, T to) const { return (to - from) * y[j]; }
  T whole(int32_t j) const { return x.width(j - 1) * y[j]; }
};

// Sums over two stretches of cells that many intervals have in common, each from `from` up to but not including `to`.
template <class T> struct stretches {
  int32_t from[2], to[2];
  const T* sums;  // a pair a function
};

// The sum of the whole pieces m..end-1, eight at a time; the eights are added with what rounding loses (Knuth's
// two-sum), so that the error does not grow with their number.
template <class P> auto sum_of_pieces(const P& p, int32_t m, int32_t end) {
  decltype(p.whole(m)) sum = 0, lost = 0;
  for (; end - m >= 8; m += 8) {
    const auto eight = ((p.whole(m) + p.whole(m + 1)) + (p.whole(m + 2) + p.whole(m + 3))) +
                       ((p.whole(m + 4) + p.whole(m + 5)) + (p.whole(m + 6) + p.whole(m + 7)));
    const auto next = sum + eight, added = next - sum;
    lost += (sum - (next - added)) + (eight - added);
    sum = next;
  }
  for (; m < end; m++) lost += p.whole(m);
  return sum + lost;
}

// The same from whatever is nearest to it: nothing, or one of two stretches whose sums are known.
template <class P, class T>
T sum_of_pieces(const P& p, int32_t m, int32_t end, const stretches<T>& known, const T* sums) {
  const auto apart = [](int32_t a, int32_t b) { return a < b ? b - a : a - b; };
  int best = -1;
  int32_t least = end - m;
  for (int i = 0; i < 2; i++)
    if (const int32_t missing = apart(m, known.from[i]) + apart(end, known.to[i]); missing < least)
      least = missing, best = i;
  if (best < 0) return sum_of_pieces(p, m, end);
  const auto between = [&](int32_t a, int32_t b) {
    return a <= b ? sum_of_pieces(p, a, b) : -sum_of_pieces(p, b, a);
  };
  return sums[best] + (between(m, known.from[best]) + between(known.to[best], end));
}

// The integral from l in search cell kl to u in search cell ku.
template <class P, class T>
T integral(const P& p, T l, int32_t kl, T u, int32_t ku, const stretches<T>* known, int64_t f) {
  int32_t a = p.piece(kl, l), b = p.piece(ku, u);
  if (a == b) return p.part(a, l, u);
  const bool exchanged = a > b;
  if (exchanged) std::swap(a, b), std::swap(l, u);
  const T whole =
      known ? sum_of_pieces(p, a + 1, b, *known, known->sums + 2 * f) : sum_of_pieces(p, a + 1, b);
  const T sum = p.part(a, l, p.end(a)) + whole + p.part(b, p.begin(b), u);
  return exchanged ? -sum : sum;
}

// Calls use(pieces) with the pieces of function f.
template <class T, class F>
void with_pieces(const task& t, kind k, const knots<T>& at, int64_t f, const F& use) {
  with_grid(partition<T>(t), [&]<class Grid>(const Grid& x) {
    const auto cells = [&]<int order>() {
      use(cell_pieces<T, Grid, order>{{x, coefficients_of<T>(t, f), t.s_order}});
    };
    switch (k) {
      case kind::linear:
        return cells.template operator()<2>();
      case kind::quadratic:
        return cells.template operator()<3>();
      case kind::cubic:
        return cells.template operator()<4>();
      case kind::knot_quadratic:
        return use(knot_pieces<T, Grid>(x, coefficients_of<T>(t, f), at));
      case kind::step_right:
        return use(right_steps<T, Grid>{x, values_of<T>(t, f)});
      case kind::step_left:
        return use(left_steps<T, Grid>{x, values_of<T>(t, f)});
      default:
        return cells.template operator()<0>();
    }
  });
}

}  // namespace fit
