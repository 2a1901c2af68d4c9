// One pass: every observation changes mean and central sums at once.
//
// With weight w, W the weight before and s = W + w, r = w / s and q = W / s, d = x - mean (all before the change):
//   M4 += d^4 W r (q^2 - q r + r^2) + 6 M2 (d r)^2 - 4 M3 d r
//   M3 += d^3 W r (q - r) - 3 M2 d r
//   M2 += d^2 W r
//   Q  += W r d d'
//   mean += d r
// where x and mean are counted from a base near the data, so that the mean keeps its digits.
//
// The factors depend on weights only and are made for a block of observations at a time; then a few components go
// through the block together, their accumulators in registers.
#include <algorithm>
#include <cmath>

#include "core/registers.h"
#include "stats/moments.h"
#include "stats/products.h"

namespace kov {
namespace {

using arko::lanes, arko::load, arko::prefetch, arko::spread, arko::store;

constexpr int most = 256;  // observations of a block

struct factors {
  double r[most], g[most], c3[most], c4[most];  // g is W r, c3 and c4 the brackets
  double root[most];                            // what a deviation is scaled by in the block of the matrix
};

using V = lanes<double>;
constexpr int length = 2;

// `width` pairs of components through a block of n observations. With `keep`, deviations times the root go to `kept`,
// a component every `kept_step` numbers.
template <class T, int order, int width, bool keep>
void pairs(const T* const* x, std::int64_t step, std::int64_t n, const factors& f, const double* base,
           double* mean, double* const* central, T* kept, std::int64_t kept_step) {
  V m1[width], m2[width], m3[width], m4[width], b[width];
  for (int v = 0; v < width; v++) {
    m1[v] = load<V>(mean + v * length);
    b[v] = load<V>(base + v * length);
    if (order >= 2) m2[v] = load<V>(central[2] + v * length);
    if (order >= 3) m3[v] = load<V>(central[3] + v * length);
    if (order >= 4) m4[v] = load<V>(central[4] + v * length);
  }
  for (std::int64_t j = 0; j < n; j++) {
    const V r = spread<V>(f.r[j]), g = spread<V>(f.g[j]);
    prefetch(x[0], (j + n) * step);  // the same place in the next block
    for (int v = 0; v < width; v++) {
      const V value = {static_cast<double>(x[2 * v][j * step]), static_cast<double>(x[2 * v + 1][j * step])};
      const V d = (value - b[v]) - m1[v], dr = d * r;
      if (order >= 2) {
        const V t = d * d * g;
        if (order >= 4) m4[v] += t * d * d * f.c4[j] + dr * (6 * (dr * m2[v]) - 4 * m3[v]);
        if (order >= 3) m3[v] += t * d * f.c3[j] - 3 * (dr * m2[v]);
        m2[v] += t;
      }
      m1[v] += dr;
      if (keep)
        for (int l = 0; l < length; l++)
          kept[(v * length + l) * kept_step + j] = static_cast<T>(d[l] * f.root[j]);
    }
  }
  for (int v = 0; v < width; v++) {
    store(mean + v * length, m1[v]);
    if (order >= 2) store(central[2] + v * length, m2[v]);
    if (order >= 3) store(central[3] + v * length, m3[v]);
    if (order >= 4) store(central[4] + v * length, m4[v]);
  }
}

// Of an odd number of components the last one goes beside itself: accumulators and the kept block have room for it.
template <class T, int order, bool keep>
void through(accumulators<T>& a, const observations<T>& block, const factors& f, std::int64_t kept_step) {
  std::int64_t i = 0;
  const auto with = [&]<int width>(std::integral_constant<int, width>) {
    for (; i + 2 * width <= a.components + 1; i += 2 * width) {
      const T* x[2 * width];
      double base[2 * width];
      for (int v = 0; v < 2 * width; v++) {
        const int64_t at = std::min(i + v, a.components - 1);
        x[v] = block.component(at), base[v] = a.base[at];
      }
      double* central[max_order + 1];
      for (int k = 2; k <= order; k++) central[k] = a.central[k] + i;
      pairs<T, order, width, keep>(x, block.observation_step, block.count, f, base, a.mean + i, central,
                                   keep ? a.block + i * kept_step : nullptr, kept_step);
    }
  };
  if constexpr (order <= 2) with(std::integral_constant<int, 5>());
  if constexpr (order <= 2) with(std::integral_constant<int, 3>());
  with(std::integral_constant<int, 2>());
  with(std::integral_constant<int, 1>());
}

}  // namespace

template <class T> void walk_one_pass(accumulators<T>& a, const observations<T>& data) {
  using kernel = void (*)(accumulators<T>&, const observations<T>&, const factors&, std::int64_t);
  static constexpr kernel kernels[max_order][2] = {{through<T, 1, false>, through<T, 1, true>},
                                                   {through<T, 2, false>, through<T, 2, true>},
                                                   {through<T, 3, false>, through<T, 3, true>},
                                                   {through<T, 4, false>, through<T, 4, true>}};
  std::int64_t first = 0;
  if (data.w && a.weight == 0)
    while (first < data.count && data.w[first] == 0) first++;  // W + w would be 0
  // A block in the nearest cache; with a matrix, one that is worth a call for its products.
  const int64_t fitting =
      a.q ? block_size(data, true) : 0x4000 / static_cast<int64_t>(sizeof(T)) / a.components;
  const int64_t size = std::clamp<int64_t>(fitting, 16, most);
  factors f;
  observations<T> block;
  for (; first < data.count; first += block.count) {
    block = data.range(first, std::min(size, data.count - first));
    const auto weight_of = [&](std::int64_t j) { return block.w ? static_cast<double>(block.w[j]) : 1; };
    // An observation that weighs more than all before it makes a block of its own.
    const bool alone = weight_of(0) > a.weight;
    if (alone) {
      block.count = 1;
      for (std::int64_t i = 0; i < a.components; i++) a.origin[i] = finite(*block.component(i));
      if (weight_of(0) > a.base_weight) change_base(a, a.origin, weight_of(0));
      std::copy_n(a.mean, a.components, a.sums[1]);
    }
    double q = 0;
    const auto make = [&](std::int64_t j, double w) {
      const double s = a.weight + w, inverse = 1 / s, r = w * inverse;
      q = a.weight * inverse;
      f.r[j] = r, f.g[j] = a.weight * r;
      f.c3[j] = q - r, f.c4[j] = q * q - q * r + r * r;
      // Products of scaled deviations; with weights, which may be negative, W r stays apart.
      f.root[j] = a.q && !block.w ? std::sqrt(f.g[j]) : 1;
      a.weight = s, a.weight2 += w * w;
    };
    if (!block.w)
      for (std::int64_t j = 0; j < block.count; j++) make(j, 1);
    else
      for (std::int64_t j = 0; j < block.count; j++)
        if (j > 0 && weight_of(j) > a.weight)
          block.count = j;
        else
          make(j, weight_of(j));
    kernels[a.order - 1][a.q != nullptr](a, block, f, block.count);
    // Not by a step from the old mean, which may be so far away that the new one would lose all digits.
    if (alone)
      for (std::int64_t i = 0; i < a.components; i++)
        a.mean[i] = (static_cast<double>(*block.component(i)) - a.base[i]) * f.r[0] + a.sums[1][i] * q;
    if (a.q) {
      T g[most];
      for (std::int64_t j = 0; j < block.count; j++) g[j] = static_cast<T>(f.g[j]);
      add_products(observations<T>{a.block, block.w ? g : nullptr, a.components, block.count, block.count, 1},
                   a.scaled, a.q);
    }
  }
}

template void walk_one_pass(accumulators<float>&, const observations<float>&);
template void walk_one_pass(accumulators<double>&, const observations<double>&);

}  // namespace kov
