// Both layouts, orders and weights are instances of two loops: along the observations of a component, and across some
// components side by side.
#include "stats/power_sums.h"

#include <algorithm>

#include "core/registers.h"

namespace kov {
namespace {

using arko::lanes, arko::load, arko::prefetch, arko::spread, arko::store;

// Registers whose sums run beside each other: enough to hide the latency of an addition, few enough to stay registers.
constexpr int width_of(int order) { return order <= 2 ? 4 : 2; }

// V is a register, or T for what is left over. One step for all `order` sums of one register.
template <int order, bool weighted, class V> [[gnu::always_inline]] inline void step(V d, V w, V* s) {
  V power = weighted ? w * d : d;
  s[0] += power;
  for (int k = 1; k < order; k++) {
    power *= d;
    s[k] += power;
  }
}

// One component whose observations are contiguous.
template <class T, int order, bool weighted>
void along(const T* x, const T* w, std::int64_t n, T origin, double* sums) {
  using V = lanes<T>;
  constexpr int length = sizeof(V) / sizeof(T), width = width_of(order);
  V s[width][order] = {};
  std::int64_t j = 0;
  for (; j + width * length <= n; j += width * length)
    for (int u = 0; u < width; u++)
      step<order, weighted>(load<V>(x + j + u * length) - origin,
                            weighted ? load<V>(w + j + u * length) : V{}, s[u]);
  T rest[order] = {};
  for (; j < n; j++) step<order, weighted>(x[j] - origin, weighted ? w[j] : T(), rest);
  for (int k = 0; k < order; k++) {
    V total = s[0][k];
    for (int u = 1; u < width; u++) total += s[u][k];
    double sum = rest[k];
    for (int l = 0; l < length; l++) sum += total[l];
    sums[k] += sum;
  }
}

// `strip` registers of neighbouring components, an observation every `step_x` numbers.
template <class V, class T, int order, bool weighted, int strip>
void across(const T* x, std::int64_t step_x, const T* w, std::int64_t n, const T* origin,
            double* const* sums) {
  constexpr int length = sizeof(V) / sizeof(T), ways = width_of(order) / strip;
  V s[ways][strip][order] = {}, c[strip];
  for (int v = 0; v < strip; v++) c[v] = load<V>(origin + v * length);
  std::int64_t j = 0;
  for (; j + ways <= n; j += ways)
    for (int u = 0; u < ways; u++) {
      prefetch(x, (j + u + n) * step_x);  // the same place in the next tile
      for (int v = 0; v < strip; v++)
        step<order, weighted>(load<V>(x + (j + u) * step_x + v * length) - c[v],
                              weighted ? spread<V>(w[j + u]) : V{}, s[u][v]);
    }
  for (; j < n; j++)
    for (int v = 0; v < strip; v++)
      step<order, weighted>(load<V>(x + j * step_x + v * length) - c[v], weighted ? spread<V>(w[j]) : V{},
                            s[0][v]);
  for (int v = 0; v < strip; v++)
    for (int k = 0; k < order; k++) {
      V total = s[0][v][k];
      for (int u = 1; u < ways; u++) total += s[u][v][k];
      T sum[length];
      store(sum, total);
      for (int l = 0; l < length; l++) sums[k][v * length + l] += sum[l];
    }
}

template <class T, int order, bool weighted>
void add(const observations<T>& data, const T* origin, double* const* sums) {
  constexpr std::int64_t tile_bytes = 0x2000;
  if (data.rows()) {
    constexpr std::int64_t tile = 0x8000 / sizeof(T);
    for (std::int64_t j = 0; j < data.count; j += tile)
      for (std::int64_t i = 0; i < data.components; i++) {
        double s[order] = {};
        along<T, order, weighted>(data.component(i) + j, weighted ? data.w + j : nullptr,
                                  std::min(tile, data.count - j), origin[i], s);
        for (int k = 0; k < order; k++) sums[k][i] += s[k];
      }
    return;
  }
  using V = lanes<T>;
  constexpr int length = sizeof(V) / sizeof(T), width = width_of(order);
  const std::int64_t p = data.components, pitch = data.observation_step;
  const std::int64_t tile =
      std::max<std::int64_t>(tile_bytes / static_cast<std::int64_t>(sizeof(T)) / std::min(p, tile_bytes), 8);
  for (std::int64_t j = 0; j < data.count; j += tile) {
    const std::int64_t n = std::min(tile, data.count - j);
    const T* w = weighted ? data.w + j : nullptr;
    std::int64_t i = 0;
    const auto strips = [&]<class U, int strip>(U, std::integral_constant<int, strip>) {
      constexpr int wide = strip * static_cast<int>(sizeof(U) / sizeof(T));
      for (; i + wide <= p; i += wide) {
        double* at[order];
        for (int k = 0; k < order; k++) at[k] = sums[k] + i;
        across<U, T, order, weighted, strip>(data.x + j * pitch + i, pitch, w, n, origin + i, at);
      }
    };
    strips(V{}, std::integral_constant<int, width>());
    if constexpr (width > 2) strips(V{}, std::integral_constant<int, 2>());
    strips(V{}, std::integral_constant<int, 1>());
    if constexpr (length > 2) strips(T{}, std::integral_constant<int, 2>());
    strips(T{}, std::integral_constant<int, 1>());
  }
}

}  // namespace

template <class T>
void add_power_sums(const observations<T>& data, const T* origin, int order, double* const* sums) {
  using kernel = void (*)(const observations<T>&, const T*, double* const*);
  static constexpr kernel kernels[max_order][2] = {{add<T, 1, false>, add<T, 1, true>},
                                                   {add<T, 2, false>, add<T, 2, true>},
                                                   {add<T, 3, false>, add<T, 3, true>},
                                                   {add<T, 4, false>, add<T, 4, true>}};
  kernels[order - 1][data.w != nullptr](data, origin, sums);
}

template <class T> weight_sums sum_of_weights(const observations<T>& data) {
  if (!data.w) return {static_cast<double>(data.count), static_cast<double>(data.count)};
  double w[4] = {}, w2[4] = {};
  for (std::int64_t j = 0; j < data.count; j++) {
    const double weight = data.w[j];
    w[j % 4] += weight, w2[j % 4] += weight * weight;
  }
  return {w[0] + w[1] + w[2] + w[3], w2[0] + w2[1] + w2[2] + w2[3]};
}

template void add_power_sums(const observations<float>&, const float*, int, double* const*);
template void add_power_sums(const observations<double>&, const double*, int, double* const*);
template weight_sums sum_of_weights(const observations<float>&);
template weight_sums sum_of_weights(const observations<double>&);

}  // namespace kov
