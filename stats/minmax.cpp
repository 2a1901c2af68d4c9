// Running minima and maxima. The arrays hold them on the way in and out; x takes the place of m where x < m, so that
// NaN observations change nothing.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "core/block.h"
#include "core/registers.h"
#include "stats/observations.h"
#include "stats/open.h"
#include "stats/task.h"

using std::int32_t, std::int64_t;

namespace kov { namespace {

using arko::lanes, arko::load, arko::spread, arko::store;

// x < m ? x : m is what the instruction does, also with NaN and zeros.
struct lesser {
  static double of(double x, double m) { return x < m ? x : m; }
  static float of(float x, float m) { return x < m ? x : m; }
  static lanes<double> of(lanes<double> x, lanes<double> m) { return (lanes<double>)_mm_min_pd(x, m); }
  static lanes<float> of(lanes<float> x, lanes<float> m) { return (lanes<float>)_mm_min_ps(x, m); }
};
struct greater {
  static double of(double x, double m) { return x > m ? x : m; }
  static float of(float x, float m) { return x > m ? x : m; }
  static lanes<double> of(lanes<double> x, lanes<double> m) { return (lanes<double>)_mm_max_pd(x, m); }
  static lanes<float> of(lanes<float> x, lanes<float> m) { return (lanes<float>)_mm_max_ps(x, m); }
};

// The running value of one component.
template <class Which, class T> T along(const T* x, int64_t n, T m) {
  using V = lanes<T>;
  constexpr int length = sizeof(V) / sizeof(T), ways = 8;
  V running[ways];
  for (V& r : running) r = spread<V>(m);
  int64_t j = 0;
  for (; j + ways * length <= n; j += ways * length)
    for (int u = 0; u < ways; u++) running[u] = Which::of(load<V>(x + j + u * length), running[u]);
  for (int u = 1; u < ways; u++) running[0] = Which::of(running[u], running[0]);
  for (int l = 0; l < length; l++) m = Which::of(running[0][l], m);
  for (; j < n; j++) m = Which::of(x[j], m);
  return m;
}

// Some registers of neighbouring components through all observations of a tile.
template <class Which, class V, int strip, class T> void across(const T* x, int64_t step, int64_t n, T* m) {
  constexpr int length = sizeof(V) / sizeof(T);
  V running[strip];
  for (int v = 0; v < strip; v++) running[v] = load<V>(m + v * length);
  for (int64_t j = 0; j < n; j++)
    for (int v = 0; v < strip; v++) running[v] = Which::of(load<V>(x + j * step + v * length), running[v]);
  for (int v = 0; v < strip; v++) store(m + v * length, running[v]);
}

template <class Which, class T> void update(const observations<T>& tile, T* m) {
  int64_t i = 0;
  if (tile.rows()) {
    for (; i < tile.components; i++) m[i] = along<Which>(tile.component(i), tile.count, m[i]);
    return;
  }
  using V = lanes<T>;
  constexpr int length = sizeof(V) / sizeof(T), strip = 8;
  for (; i + strip * length <= tile.components; i += strip * length)
    across<Which, V, strip>(tile.x + i, tile.observation_step, tile.count, m + i);
  for (; i + length <= tile.components; i += length)
    across<Which, V, 1>(tile.x + i, tile.observation_step, tile.count, m + i);
  for (; i < tile.components; i++) across<Which, T, 1>(tile.x + i, tile.observation_step, tile.count, m + i);
}

template <class T> status minmax(void* record, std::uint64_t estimates, std::uint64_t method) {
  if (!record) return KOV_SS_ERR_NULL_TASK;
  const SSTask& task = task_of(record);
  if (const status s = open(task, {checks::dimension, checks::storage, checks::one_layout}); s != KOV_SS_OK)
    return s;
  T* const least = static_cast<T*>(estimates & KOV_SS_EST_MIN ? task.min : nullptr);
  T* const most = static_cast<T*>(estimates & KOV_SS_EST_MAX ? task.max : nullptr);
  if (estimates & KOV_SS_EST_MIN && !least) return KOV_SS_ERR_MIN;
  if (estimates & KOV_SS_EST_MAX && !most) return KOV_SS_ERR_MAX;
  if (!(method & (KOV_SS_FAST | KOV_SS_ONE_PASS))) return KOV_SS_ERR_METHOD;
  if (const status s = open(task, {checks::count, checks::observations}); s != KOV_SS_OK) return s;

  const int64_t p = task.dimension(), n = task.count();
  const bool rows = task.storage() == KOV_SS_COMPONENTS || p == 1;
  const observations<T> data = {static_cast<const T*>(task.obs), nullptr, p, n, rows ? n : 1, rows ? 1 : p};
  // With a selection the walk runs on copies.
  const arko::block<T> copies(task.indices ? 2 * static_cast<std::size_t>(p) : 0);
  if (!copies) return KOV_SS_ERR_NO_MEMORY;
  T *running_least = least, *running_most = most;
  if (task.indices) {
    if (least) std::copy_n(least, p, running_least = copies.get());
    if (most) std::copy_n(most, p, running_most = copies.get() + p);
  }
  const int64_t tile = std::max<int64_t>(0x4000 / static_cast<int64_t>(sizeof(T)) / p, 32);
  for (int64_t first = 0; first < n; first += tile) {
    const observations<T> part = data.range(first, std::min(tile, n - first));
    if (least) update<lesser>(part, running_least);
    if (most) update<greater>(part, running_most);
  }
  for (int64_t i = 0; task.indices && i < p; i++) {
    if (!task.selected(i)) continue;
    if (least) least[i] = running_least[i];
    if (most) most[i] = running_most[i];
  }
  return KOV_SS_OK;
}

}  // namespace
}  // namespace kov

KOV_EXPORT int32_t _kovdSSMinmax(void* task, std::uint64_t estimates, std::uint64_t method,
                                 const DFThreadServices*) {
  return kov::minmax<double>(task, estimates, method);
}

KOV_EXPORT int32_t _kovsSSMinmax(void* task, std::uint64_t estimates, std::uint64_t method,
                                 const DFThreadServices*) {
  return kov::minmax<float>(task, estimates, method);
}
