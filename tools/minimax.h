// Weighted minimax polynomials: minimise the largest |W(r) * (sum c_k r^p_k - F(r))| on an interval.
//
// The single exchange of E. Remez (Sur le calcul effectif des polynomes d'approximation de Tschebyscheff, C.
// R. Acad. Sci. 199, 1934), on a fixed dense grid whose worst point is refined. Rounding the coefficients one
// by one, refitting those still free after each, loses much less than rounding all at once (N. Brisebarre,
// J.-M. Muller, A. Tisserand, Computing machine-efficient polynomial approximations, ACM TOMS 32, 2006, solve
// the same problem exactly).
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "real.h"

namespace arko::tools {

// One c r^power. The powers of the free terms must differ and follow each other without a gap, so that
// r^-lowest times the basis is free of common zeros; fixed terms may repeat a power.
struct term {
  int power;
  std::optional<real> fixed = std::nullopt;
};

struct minimax_problem {
  std::function<real(const real&)> target;  // F
  std::function<real(const real&)> weight;  // W > 0, continuous but for `jumps`
  real low, high;
  std::vector<term> terms;
  std::vector<real> jumps = {};  // inner points, ascending, where W jumps
};

struct minimax_result {
  std::vector<real> coefficients;  // one a term, fixed ones included
  real error;                      // the largest weighted error
};

inline real power(const real& x, int n) {
  real r(1);
  for (; n > 0; --n) r *= x;
  return r;
}

class minimax_fitter {
 public:
  explicit minimax_fitter(minimax_problem p) : problem_(std::move(p)) { make_grid(); }

  // The best coefficients for the terms left free.
  minimax_result fit() const { return fit(problem_.terms); }

  // The largest weighted error of given coefficients.
  real largest_error(const std::vector<real>& c) const { return abs(worst(c, 0).error); }

  // Coefficients of `bits` significand bits: the free terms are rounded in ascending order of their place in
  // the list, each to both of its neighbours, and the rest refitted; the best of the resulting sets.
  minimax_result fit_rounded(int bits) const {
    std::optional<minimax_result> best;
    descend(problem_.terms, bits, best);
    return *best;
  }

 private:
  struct point {
    real r, target, weight;
  };
  struct extremum {
    point at;
    real error;  // signed as r^-lowest times the difference
    std::size_t index;
  };

  static constexpr int points_a_segment = 1500;

  point make_point(const real& r) const { return {r, problem_.target(r), problem_.weight(r)}; }

  // Chebyshev-like points, dense towards the ends of every piece between jumps; inner ends stand just off
  // the jump.
  void make_grid() {
    std::vector<real> ends = {problem_.low};
    for (const real& j : problem_.jumps) ends.push_back(j);
    ends.push_back(problem_.high);
    const real step = pi() / real(points_a_segment - 1);
    for (std::size_t s = 0; s + 1 < ends.size(); ++s) {
      const real nudge = ldexp(ends[s + 1] - ends[s], -40);
      const real a = s == 0 ? ends[s] : ends[s] + nudge;
      const real b = s + 2 == ends.size() ? ends[s + 1] : ends[s + 1] - nudge;
      for (int i = 0; i < points_a_segment; ++i)
        grid_.push_back(make_point((a + b) / 2 - (b - a) / 2 * cos(step * i)));
    }
  }

  // The difference at a point, weighted, with the sign of r^-lowest times it.
  real signed_error(const std::vector<real>& c, const point& x, int lowest) const {
    real sum(0);
    for (std::size_t k = 0; k < c.size(); ++k) sum += c[k] * power(x.r, problem_.terms[k].power);
    const real e = (sum - x.target) * x.weight;
    return lowest % 2 != 0 && x.r.sign() < 0 ? -e : e;
  }

  // The worst point of the grid, refined between its neighbours by thirds.
  extremum worst(const std::vector<real>& c, int lowest) const {
    extremum best{grid_[0], signed_error(c, grid_[0], lowest), 0};
    for (std::size_t i = 1; i < grid_.size(); ++i) {
      real e = signed_error(c, grid_[i], lowest);
      if (abs(e) > abs(best.error)) best = {grid_[i], std::move(e), i};
    }
    const std::size_t i = best.index, piece = i / points_a_segment;
    const std::size_t first = piece * points_a_segment, last = first + points_a_segment - 1;
    real a = grid_[i > first ? i - 1 : i].r, b = grid_[i < last ? i + 1 : i].r;
    for (int n = 0; n < 40; ++n) {
      const real third = (b - a) / 3;
      const point p = make_point(a + third), q = make_point(b - third);
      real ep = signed_error(c, p, lowest), eq = signed_error(c, q, lowest);
      if (abs(ep) < abs(eq)) {
        a = p.r;
        if (abs(eq) > abs(best.error)) best = {q, std::move(eq), i};
      } else {
        b = q.r;
        if (abs(ep) > abs(best.error)) best = {p, std::move(ep), i};
      }
    }
    return best;
  }

  // Solves the square system m x = y by elimination with row exchanges.
  static std::vector<real> solve(std::vector<std::vector<real>> m, std::vector<real> y) {
    const std::size_t n = y.size();
    for (std::size_t k = 0; k < n; ++k) {
      std::size_t pivot = k;
      for (std::size_t i = k + 1; i < n; ++i)
        if (abs(m[i][k]) > abs(m[pivot][k])) pivot = i;
      std::swap(m[k], m[pivot]);
      std::swap(y[k], y[pivot]);
      if (m[k][k].sign() == 0) {
        std::fputs("minimax: the free terms are not independent on the interval\n", stderr);
        std::exit(1);
      }
      for (std::size_t i = k + 1; i < n; ++i) {
        const real f = m[i][k] / m[k][k];
        for (std::size_t j = k; j < n; ++j) m[i][j] -= f * m[k][j];
        y[i] -= f * y[k];
      }
    }
    for (std::size_t k = n; k-- > 0;) {
      for (std::size_t j = k + 1; j < n; ++j) y[k] -= m[k][j] * y[j];
      y[k] /= m[k][k];
    }
    return y;
  }

  // Coefficients that level the error on n + 1 points: W s (sum c r^p - F) = +-h by turns, s the sign of
  // r^lowest.
  std::vector<real> level(const std::vector<term>& terms, const std::vector<point>& reference, int lowest,
                          real& h) const {
    std::vector<std::vector<real>> m;
    std::vector<real> y;
    for (std::size_t i = 0; i < reference.size(); ++i) {
      const point& x = reference[i];
      std::vector<real> row;
      real rest = x.target;
      for (const term& t : terms) {
        const real v = power(x.r, t.power);
        if (t.fixed) {
          rest -= *t.fixed * v;
        } else {
          row.push_back(v);
        }
      }
      const real s = lowest % 2 != 0 && x.r.sign() < 0 ? -1 : 1;
      row.push_back((i % 2 == 0 ? s : -s) / x.weight);
      m.push_back(std::move(row));
      y.push_back(std::move(rest));
    }
    const std::vector<real> solution = solve(std::move(m), std::move(y));
    std::vector<real> c;
    std::size_t next = 0;
    for (const term& t : terms) c.push_back(t.fixed ? *t.fixed : solution[next++]);
    h = abs(solution.back());
    return c;
  }

  // Puts the worst point into the reference so that the signs of the levelled error still alternate.
  static void exchange(std::vector<point>& reference, std::vector<int>& signs, const extremum& w) {
    const int sign = w.error.sign();
    const auto put = [&](std::size_t i) {
      reference[i] = w.at;
      signs[i] = sign;
    };
    const std::size_t n = reference.size();
    if (w.at.r < reference.front().r) {
      if (signs.front() != sign) {
        for (std::size_t i = n - 1; i > 0; --i) {
          reference[i] = reference[i - 1];
          signs[i] = signs[i - 1];
        }
      }
      put(0);
    } else if (w.at.r > reference.back().r) {
      if (signs.back() != sign) {
        for (std::size_t i = 0; i + 1 < n; ++i) {
          reference[i] = reference[i + 1];
          signs[i] = signs[i + 1];
        }
      }
      put(n - 1);
    } else {
      std::size_t i = 0;
      while (i + 2 < n && w.at.r >= reference[i + 1].r) ++i;
      put(signs[i] == sign ? i : i + 1);
    }
  }

  minimax_result fit(const std::vector<term>& terms) const {
    std::size_t free = 0;
    int lowest = 0;
    for (const term& t : terms) {
      if (t.fixed) continue;
      if (free == 0 || t.power < lowest) lowest = t.power;
      ++free;
    }
    std::vector<real> c;
    if (free == 0) {
      for (const term& t : terms) c.push_back(*t.fixed);
      real e = largest_error(c);
      return {std::move(c), std::move(e)};
    }
    // The start: spread like Chebyshev points, shifted a little so that none falls on 0, where a basis may
    // vanish.
    std::vector<point> reference;
    const real middle = (problem_.low + problem_.high) / 2, half = (problem_.high - problem_.low) / 2;
    for (std::size_t i = 0; i <= free; ++i) {
      const real angle = pi() * (static_cast<double>(i) + 0.4375) / (static_cast<double>(free) + 0.9375);
      reference.push_back(make_point(middle - half * cos(angle)));
    }
    real h, e;
    for (int n = 0; n < 200; ++n) {
      c = level(terms, reference, lowest, h);
      const extremum w = worst(c, lowest);
      e = abs(w.error);
      if (e <= h * (1 + 1e-9)) return {std::move(c), std::move(e)};
      std::vector<int> signs;
      for (const point& x : reference) signs.push_back(signed_error(c, x, lowest).sign());
      exchange(reference, signs, w);
    }
    std::fputs("minimax: the exchange does not converge\n", stderr);
    std::exit(1);
  }

  void descend(const std::vector<term>& terms, int bits, std::optional<minimax_result>& best) const {
    minimax_result now = fit(terms);
    // No rounding of the remaining terms can beat what they reach unrounded.
    if (best && now.error >= best->error) return;
    std::size_t k = 0;
    while (k < terms.size() && terms[k].fixed) ++k;
    if (k == terms.size()) {
      best = std::move(now);
      return;
    }
    const real& exact = now.coefficients[k];
    const real nearest = round_to_bits(exact, bits);
    const real farther = round_to_bits(exact, bits, nearest > exact ? MPFR_RNDD : MPFR_RNDU);
    std::vector<term> next = terms;
    next[k].fixed = nearest;
    descend(next, bits, best);
    if (farther == nearest) return;
    next[k].fixed = farther;
    descend(next, bits, best);
  }

  minimax_problem problem_;
  std::vector<point> grid_;
};

}  // namespace arko::tools
