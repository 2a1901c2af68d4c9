// Values and derivatives of an interpolant at a block of sites.
//
// It is done in two steps. `locate` tells for every site which polynomial serves it and how far the site is from
// that one's breakpoint, or which breakpoint's value it takes: that depends on the grid, but is the same for all
// functions. Then each function is evaluated from that.
//
// A polynomial is evaluated by Horner's rule; its k-th derivative is the sum over m >= k of
// c[m] * m!/(m-k)! * t^(m-k), by the same rule.
#pragma once
#include <cmath>

#include "fit/spline.h"

namespace [[gnu::visibility("hidden")]] fit {

// Which results a site gets: entry k of `dorder` asks for derivative k, 0 being the value. The sum of the entries is
// the count of slots; those that no derivative is written to are 0.
class request {
 public:
  request(const void* dorder, int64_t count, bool wide)
      : dorder_(dorder), count_(dorder ? count : 0), wide_(wide) {
    for (int64_t k = 0; k < count_; k++) slots_ += entry(k);
    if (slots_ <= 0) count_ = 0, slots_ = 1;  // nothing asked for: the value
    int64_t slot = 0;
    for (int k = 0; k < 4; k++) low_[k] = slot < slots_ && asked(k), slot += low_[k];
    value_only_ = slots_ == 1 && low_[0];
  }
  int64_t slots() const { return slots_; }
  bool asks(int k) const { return low_[k]; }  // k < 4
  bool asked(int64_t k) const { return count_ == 0 ? k == 0 : k < count_ && entry(k) != 0; }
  int64_t end() const { return count_ == 0 ? 1 : count_; }  // no derivative is asked for from here on
  bool value_only() const { return value_only_; }

 private:
  int64_t entry(int64_t k) const {
    return wide_ ? static_cast<const int64_t*>(dorder_)[k] : static_cast<const int32_t*>(dorder_)[k];
  }
  const void* dorder_;
  int64_t count_, slots_ = 0;
  bool wide_, low_[4], value_only_;
};

// Where results of a function go: slot k of site i at r[i * site + k * slot].
template <class T> struct output {
  T* r;
  int64_t site, slot;
};

// ---- Places

// Cells that a caller's search has told could be anything.
inline void keep_in(int64_t nx, int n, int32_t* cell) {
  const auto last = static_cast<int32_t>(nx);
  for (int i = 0; i < n; i++) cell[i] = cell[i] < 0 ? 0 : cell[i] > last ? last : cell[i];
}

// The polynomial of a cell; the outer ones serve the sites beyond the ends.
inline int32_t polynomial_of(int32_t cell, int32_t nx) {
  return (cell > 0 ? cell - 1 : 0) - (cell >= nx ? 1 : 0);
}

// The breakpoint that a site of lookup lies on, or -1.
template <class T> int32_t breakpoint_at(const given_grid<T>& x, T site, int32_t cell) {
  if (cell > 0 && site == x[cell - 1]) return cell - 1;
  return cell > 0 && cell < x.n && site == x[cell] ? cell : -1;
}
template <class T> int32_t breakpoint_at(const uniform_grid<T>& x, T site, int32_t cell) {
  constexpr T near = static_cast<T>(0x1p-40);
  if (cell > 0 && std::fabs(site - x[cell - 1]) < near) return cell - 1;
  return cell > 0 && cell < x.n && std::fabs(site - x[cell]) < near ? cell : -1;
}

// Into index[i] the polynomial or the breakpoint of site i, into offset[i] the distance from its breakpoint.
template <class T, class Grid>
status locate(kind k, const Grid& x, const knots<T>& t, const request& ask, int n, const T* site,
              const int32_t* cell, int32_t* index, T* offset) {
  const auto last = static_cast<int32_t>(x.n - 1);
  switch (k) {
    case kind::knot_quadratic:
      for (int i = 0; i < n; i++) {
        index[i] = polynomial_of(cell[i], last + 1);
        if (site[i] >= t.at(x, index[i] + 1)) index[i]++;
        offset[i] = site[i] - x[index[i]];
      }
      return FIT_OK;
    case kind::step_left:
      for (int i = 0; i < n; i++) {
        const int32_t b = cell[i] > 0 ? cell[i] - 1 : 0;
        index[i] = site[i] == x.last() ? last : b;
      }
      return FIT_OK;
    case kind::step_right:
      for (int i = 0; i < n; i++) {
        const int32_t b = cell[i] > 0 ? cell[i] - 1 : 0;
        index[i] = cell[i] > 0 && b < last && site[i] != x[b] ? b + 1 : b;
      }
      return FIT_OK;
    case kind::lookup:
      for (int i = 0; i < n; i++) {
        const bool at_end = cell[i] > 0 && site[i] == x.last();
        const int32_t b = at_end ? last : breakpoint_at(x, site[i], cell[i]);
        if (b < 0) return FIT_ERR_SITE;
        if (ask.slots() != 1) return FIT_ERR_NDER;
        if (!ask.asks(0)) return FIT_ERR_DORDER;
        index[i] = b;
      }
      return FIT_OK;
    default:
      for (int i = 0; i < n; i++) index[i] = polynomial_of(cell[i], last + 1);
      for (int i = 0; i < n; i++) offset[i] = site[i] - x[index[i]];
      return FIT_OK;
  }
}

// ---- Functions

// m!/(m-k)!
template <class T> [[gnu::always_inline]] inline T falling(int64_t m, int64_t k) {
  T product = 1;
  for (int64_t i = 0; i < k; i++) product *= static_cast<T>(m - i);
  return product;
}

// Derivative k < order of a polynomial.
template <class T> [[gnu::always_inline]] inline T derivative(const T* c, int64_t order, int64_t k, T t) {
  T sum = falling<T>(order - 1, k) * c[order - 1];
  for (int64_t m = order - 2; m >= k; m--) sum = sum * t + falling<T>(m, k) * c[m];
  return sum;
}

// A function of a fixed order, the same for all its cells.
template <int order, class T>
void evaluate(const T* row, const request& ask, int n, const int32_t* index, const T* offset, output<T> out) {
  T* r = out.r;
  if (ask.value_only()) {
    for (int i = 0; i < n; i++, r += out.site)
      *r = derivative(row + int64_t{order} * index[i], order, 0, offset[i]);
    return;
  }
  for (int i = 0; i < n; i++, r += out.site) {
    const T* const c = row + int64_t{order} * index[i];
    int64_t slot = 0;
#pragma GCC unroll 4
    for (int k = 0; k < order; k++)
      if (ask.asks(k)) r[slot++ * out.slot] = derivative(c, order, k, offset[i]);
    for (; slot < ask.slots(); slot++) r[slot * out.slot] = 0;
  }
}

// A function of any order.
template <class T>
void evaluate(const T* row, int64_t order, const request& ask, int n, const int32_t* index, const T* offset,
              output<T> out) {
  T* r = out.r;
  for (int i = 0; i < n; i++, r += out.site) {
    int64_t slot = 0;
    for (int64_t k = 0; k < order && k < ask.end() && slot < ask.slots(); k++)
      if (ask.asked(k)) r[slot++ * out.slot] = derivative(row + order * index[i], order, k, offset[i]);
    for (; slot < ask.slots(); slot++) r[slot * out.slot] = 0;
  }
}

// A function's values at breakpoints.
template <class T> void take(values<T> y, const request& ask, int n, const int32_t* index, output<T> out) {
  T* r = out.r;
  for (int i = 0; i < n; i++, r += out.site) {
    for (int64_t slot = 0; slot < ask.slots(); slot++) r[slot * out.slot] = 0;
    if (ask.asks(0)) *r = y[index[i]];
  }
}

// Function f of a task at n places.
template <class T>
void evaluate(const task& t, kind k, int64_t f, const request& ask, int n, const int32_t* index,
              const T* offset, output<T> out) {
  if (is_table(k)) return take(values_of<T>(t, f), ask, n, index, out);
  const T* const row = coefficients_of<T>(t, f);
  switch (k) {
    case kind::linear:
      return evaluate<2>(row, ask, n, index, offset, out);
    case kind::quadratic:
    case kind::knot_quadratic:
      return evaluate<3>(row, ask, n, index, offset, out);
    case kind::cubic:
      return evaluate<4>(row, ask, n, index, offset, out);
    default:
      return evaluate(row, t.s_order, ask, n, index, offset, out);
  }
}

}  // namespace fit
