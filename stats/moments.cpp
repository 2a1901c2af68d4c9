// Fast and given mean: sums of powers block by block; and the parts of several threads put together.
#include "stats/moments.h"

#include <algorithm>
#include <cmath>

#include "stats/power_sums.h"
#include "stats/products.h"

namespace kov {
namespace {

template <class T> void clear(T* x, std::int64_t n) { std::fill_n(x, n, T()); }

template <class T> void make_finite(T* x, std::int64_t n) {
  for (std::int64_t i = 0; i < n; i++) x[i] = finite(x[i]);
}

// Rank-one update of the matrix by the vector whose i-th number is x(i); none where that is zero.
template <class T, class X> void add_square(accumulators<T>& a, double factor, X x) {
  bool zero = true;
  for (std::int64_t i = 0; i < a.components; i++) {
    a.vector[i] = static_cast<T>(x(i));
    zero &= a.vector[i] == 0;
  }
  const auto p = static_cast<std::int32_t>(a.components);
  if (!zero) blas::syr(p, factor, a.vector, a.q, p);
}

// From sums of a block's deviations from the origin c to the central sums of all that has been seen.
//
// The old sums move from their mean to c, e away, where they add up with the block's; then all move to the new mean,
// h from c. c is the old mean (e is 0 but for rounding), or the mean of some of the block when that weighs more; so
// nothing moves further than the deviations of the data reach, and nothing is lost.
template <class T> void fold(accumulators<T>& a, const weight_sums& block) {
  const double before = a.weight, weight = before + block.w;
  if (weight == 0) return;  // nothing but zero weights yet
  const auto e_of = [&](std::int64_t i) { return (double(a.base[i]) - double(a.origin[i])) + a.mean[i]; };
  const auto t1_of = [&](std::int64_t i) { return a.sums[1][i] + before * e_of(i); };
  if (a.q) {
    // Deviations of the last bit matter where means are some 10^8 times as large as other deviations.
    bool matters = false;
    for (std::int64_t i = 0; i < a.components; i++)
      matters |= before * (e_of(i) * e_of(i)) > 0x1p-60 * double(a.q[i * a.components + i]);
    if (matters) add_square(a, before, e_of);
    add_square(a, -1 / weight, t1_of);
  }
  for (std::int64_t i = 0; i < a.components; i++) {
    const double e = e_of(i), t1 = t1_of(i), h = t1 / weight;
    a.mean[i] = (double(a.origin[i]) - double(a.base[i])) + h;
    if (a.order == 1) continue;
    const double m2 = a.central[2][i], t2 = a.sums[2][i] + m2 + before * e * e;
    a.central[2][i] = t2 - t1 * h;
    if (a.order == 2) continue;
    const double m3 = a.central[3][i], t3 = a.sums[3][i] + m3 + e * (3 * m2 + before * e * e);
    a.central[3][i] = t3 - h * (3 * t2 - 2 * t1 * h);
    if (a.order == 3) continue;
    const double t4 = a.sums[4][i] + a.central[4][i] + e * (4 * m3 + e * (6 * m2 + before * e * e));
    a.central[4][i] = t4 - h * (4 * t3 - h * (6 * t2 - 3 * t1 * h));
  }
  a.weight = weight, a.weight2 += block.w2;
}

// step(block) for one block of the observations after the other.
template <class T, class Step>
void in_blocks(const accumulators<T>& a, const observations<T>& data, Step step) {
  const std::int64_t size = block_size(data, a.q);
  for (std::int64_t first = 0; first < data.count; first += size)
    step(data.range(first, std::min(size, data.count - first)));
}

}  // namespace

template <class T> double find_base(const observations<T>& data, T* base, double* work) {
  constexpr std::int64_t few = 64;
  std::int64_t heavy = 0;
  for (std::int64_t j = 1; data.w && j < data.count; j++)
    if (std::fabs(data.w[j]) > std::fabs(data.w[heavy])) heavy = j;
  const double weight = data.w ? std::fabs(static_cast<double>(data.w[heavy])) : 1;
  const observations<T> at = data.range(heavy, 1),
                        some = data.range(std::min(heavy, std::max<std::int64_t>(data.count - few, 0)),
                                          std::min(data.count, few));
  // About that one, so that a component that never changes has deviations of exactly 0, and what hardly weighs
  // anything leaves no rounding behind.
  for (std::int64_t i = 0; i < data.components; i++) base[i] = weight > 0 ? finite(*at.component(i)) : T();
  const double total = sum_of_weights(some).w;
  if (!(weight > 0 && total >= weight)) return weight;  // with negative ones a mean may be anywhere
  clear(work, data.components);
  add_power_sums(some, base, 1, &work);
  for (std::int64_t i = 0; i < data.components; i++)
    base[i] = finite(static_cast<T>(base[i] + work[i] / total));
  return weight;
}

template <class T> void walk_fast(accumulators<T>& a, const observations<T>& data) {
  in_blocks(a, data, [&](const observations<T>& block) {
    const weight_sums w = sum_of_weights(block);
    if (a.weight < w.w) {
      const double weight = find_base(block, a.origin, a.sums[1]);
      if (weight > a.base_weight) change_base(a, a.origin, weight);
    } else {
      for (std::int64_t i = 0; i < a.components; i++) a.origin[i] = static_cast<T>(a.base[i] + a.mean[i]);
    }
    make_finite(a.origin, a.components);
    for (int k = 1; k <= a.order; k++) clear(a.sums[k], a.components);
    if (a.q) {
      const observations<T> d = deviations(block, a.origin, a.block);
      clear(a.vector, a.components);
      add_power_sums(d, a.vector, a.order, a.sums + 1);
      add_products(d, a.scaled, a.q);
    } else {
      add_power_sums(block, a.origin, a.order, a.sums + 1);
    }
    fold(a, w);
  });
}

template <class T> void walk_given_mean(accumulators<T>& a, const observations<T>& data) {
  clear(a.vector, a.components);  // the origin of raw sums
  in_blocks(a, data, [&](const observations<T>& block) {
    const weight_sums w = sum_of_weights(block);
    a.weight += w.w, a.weight2 += w.w2;
    if (a.order) add_power_sums(block, a.origin, a.order, a.sums + 1);
    if (a.raw_order) add_power_sums(block, a.vector, a.raw_order, a.raw + 1);
    if (a.q) add_products(deviations(block, a.origin, a.block), a.scaled, a.q);
  });
}

template <class T> void change_base(accumulators<T>& a, const T* base, double weight) {
  for (std::int64_t i = 0; i < a.components; i++)
    a.mean[i] += double(a.base[i]) - double(base[i]), a.base[i] = base[i];
  a.base_weight = weight;
}

template <class T> void merge(accumulators<T>& a, const accumulators<T>& b) {
  const double wa = a.weight, wb = b.weight, w = wa + wb;
  if (wb == 0 || w == 0) return;
  const auto way = [&](std::int64_t i) {
    return (double(b.base[i]) - double(a.base[i])) + (b.mean[i] - a.mean[i]);
  };
  const auto add_matrix = [&] {
    for (std::int64_t j = 0; j < a.components; j++)
      for (std::int64_t i = 0; i <= j; i++) a.q[j * a.components + i] += b.q[j * a.components + i];
  };
  if (a.q) {
    add_matrix();
    add_square(a, wa * wb / w, way);
  }
  const double fa = wa / w, fb = wb / w;
  for (std::int64_t i = 0; i < a.components; i++) {
    const double d = way(i), dd = d * d * (wa * fb);
    const double a2 = a.order >= 2 ? a.central[2][i] : 0, b2 = a.order >= 2 ? b.central[2][i] : 0;
    const double a3 = a.order >= 3 ? a.central[3][i] : 0, b3 = a.order >= 3 ? b.central[3][i] : 0;
    if (a.order >= 4)
      a.central[4][i] += b.central[4][i] + dd * d * d * (fa * fa - fa * fb + fb * fb) +
                         6 * d * d * (fa * fa * b2 + fb * fb * a2) + 4 * d * (fa * b3 - fb * a3);
    if (a.order >= 3) a.central[3][i] = a3 + b3 + dd * d * (fa - fb) + 3 * d * (fa * b2 - fb * a2);
    if (a.order >= 2) a.central[2][i] = a2 + b2 + dd;
    if (fb > 0.5)
      a.base[i] = b.base[i], a.mean[i] = b.mean[i] - d * fa;
    else
      a.mean[i] += d * fb;
  }
  a.base_weight = std::max(a.base_weight, b.base_weight);
  a.weight = w, a.weight2 += b.weight2;
}

template <class T> void merge_given_mean(accumulators<T>& a, const accumulators<T>& b) {
  const auto add = [&](double* to, const double* from) {
    for (std::int64_t i = 0; i < a.components; i++) to[i] += from[i];
  };
  for (int k = 1; k <= a.order; k++) add(a.sums[k], b.sums[k]);
  for (int k = 1; k <= a.raw_order; k++) add(a.raw[k], b.raw[k]);
  for (std::int64_t j = 0; a.q && j < a.components; j++)
    for (std::int64_t i = 0; i <= j; i++) a.q[j * a.components + i] += b.q[j * a.components + i];
  a.weight += b.weight, a.weight2 += b.weight2;
}

#define WALKS(T)                                                           \
  template double find_base(const observations<T>&, T*, double*);          \
  template void change_base(accumulators<T>&, const T*, double);           \
  template void walk_fast(accumulators<T>&, const observations<T>&);       \
  template void walk_given_mean(accumulators<T>&, const observations<T>&); \
  template void merge(accumulators<T>&, const accumulators<T>&);           \
  template void merge_given_mean(accumulators<T>&, const accumulators<T>&)
WALKS(float);
WALKS(double);

}  // namespace kov
