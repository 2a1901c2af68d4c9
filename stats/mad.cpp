// Absolute deviations of each component: the median of |x - median|, the weighted mean of |x - mean|.
#include <arko/stats.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/threads.h"
#include "stats/components.h"
#include "stats/open.h"
#include "stats/select.h"
#include "stats/task.h"

using std::int32_t, std::int64_t, std::uint64_t;

namespace kov { namespace {

// Of values with weights, or of plain values where there are none. Four sums, so that they do not wait for each other.
template <class T> double mean(values<const T> x, const T* weights) {
  double sums[4] = {}, totals[4] = {};
  for (std::size_t i = 0; i < x.n; i++) {
    const double w = weights ? weights[i] : 1;
    sums[i % 4] += w * x[i];
    totals[i % 4] += w;
  }
  return ((sums[0] + sums[1]) + (sums[2] + sums[3])) / ((totals[0] + totals[1]) + (totals[2] + totals[3]));
}

template <class T> void deviations(values<const T> x, T center, T* to) {
  for (std::size_t i = 0; i < x.n; i++) to[i] = std::fabs(x[i] - center);
}

// Runs body(component, values, buffer) for the selected components, with room for n numbers.
template <class T, class Body>
status for_components(const SSTask& task, const DFThreadServices* services, const Body& body) {
  const int64_t p = task.dimension(), n = task.count();
  const matrix<const T> x(task.obs, task.storage(), p, n);
  const auto threads = static_cast<int32_t>(std::min<int64_t>(p, arko::thread_count(services)));
  const workspace<T> work(threads, static_cast<std::size_t>(n));
  if (!work) return KOV_SS_ERR_NO_MEMORY;
  const auto one = [&](int32_t c, int32_t thread) {
    if (task.selected(c)) body(c, x[c], work.of(thread));
  };
  arko::parallel_for(services, static_cast<int32_t>(p), threads, one);
  return KOV_SS_OK;
}

template <class T> status median_deviations(const SSTask& task, const DFThreadServices* services) {
  return for_components<T>(task, services, [&](int32_t c, values<const T> x, T* buffer) {
    deviations(x, median(x, buffer), buffer);
    reals<T>(task.median_abs_dev)[c] = median<T>({buffer, 1, x.n}, buffer);
  });
}

template <class T> status mean_deviations(const SSTask& task, bool given, const DFThreadServices* services) {
  const T* weights = reals<T>(task.weights);
  return for_components<T>(task, services, [&](int32_t c, values<const T> x, T* buffer) {
    deviations(x, given ? reals<T>(task.mean)[c] : static_cast<T>(mean(x, weights)), buffer);
    reals<T>(task.mean_abs_dev)[c] = static_cast<T>(mean<T>({buffer, 1, x.n}, weights));
  });
}

// The two estimates are independent of each other; the answer is that of the last one that was computed or refused.
template <class T>
status absolute_deviations(const SSTask& task, uint64_t estimates, uint64_t method,
                           const DFThreadServices* services) {
  if (const status s = open(task, {checks::shared_dimension, checks::count, checks::storage,
                                   checks::one_layout, checks::observations});
      s != KOV_SS_OK)
    return s;

  status answer = KOV_SS_OK;
  if (estimates & KOV_SS_EST_MEDIAN_ABS_DEV) {
    if (!task.median_abs_dev) return KOV_SS_ERR_MEDIAN_ABS_DEV;
    answer = method & KOV_SS_FAST ? median_deviations<T>(task, services) : KOV_SS_ERR_METHOD;
  }
  if (estimates & KOV_SS_EST_MEAN_ABS_DEV) {
    if (!task.mean_abs_dev) return KOV_SS_ERR_MEAN_ABS_DEV;
    const bool given = method & KOV_SS_GIVEN_MEAN;
    if (given && !task.mean) return KOV_SS_ERR_MEAN;
    answer = given || method & KOV_SS_FAST ? mean_deviations<T>(task, given, services) : KOV_SS_ERR_METHOD;
  }
  return answer;
}

}  // namespace
}  // namespace kov

using namespace kov;

#define ENTRY(p, T)                                                                                         \
  KOV_EXPORT int32_t _kov##p##SSMAD(void* task, uint64_t estimates, uint64_t method,                        \
                                    const DFThreadServices* threads) {                                      \
    return task ? absolute_deviations<T>(task_of(task), estimates, method, threads) : KOV_SS_ERR_NULL_TASK; \
  }
ENTRY(d, double)
ENTRY(s, float)
