// Weighted quantile: where the weights of the sorted numbers, added up, reach the order's part of their sum.
#include <arko/stats.h>

#include <algorithm>
#include <cstdint>

#include "core/block.h"
#include "stats/components.h"
#include "stats/sort.h"
#include "stats/task.h"

using std::int32_t, std::int64_t, std::uint64_t;

namespace kov { namespace {

template <class T> T sum_of(const T* w, std::size_t n) {
  T partial[8] = {};
  for (std::size_t i = 0; i < n; i++) partial[i % 8] += w[i];
  return ((partial[0] + partial[1]) + (partial[2] + partial[3])) +
         ((partial[4] + partial[5]) + (partial[6] + partial[7]));
}

// x ascends, w are its weights; sum is theirs. An order whose target falls between two numbers gives their mean where n
// is even; one inside the weight of a number is interpolated from the number before it.
template <class T> T weighted_quantile(const T* x, const T* w, int64_t n, T sum, T order) {
  const T target = order * sum;
  T reached = 0;
  int64_t i = -1;
  do reached += w[++i];
  while (reached < target && i + 1 < n);

  const T m = x[i];
  const bool odd = n % 2 != 0;
  if (reached > target) {
    const T before = reached - w[i];
    if (!(before > 0) || (odd && before == (sum - w[i]) * order)) return m;
    int64_t k = i - 1;
    while (k > 0 && !(w[k] > 0)) k--;
    return x[k] + (target - before) / (reached - before) * (m - x[k]);
  }
  if (odd || i == n - 1) return m;
  int64_t j = i + 1;
  while (j < n - 1 && !(w[j] > 0)) j++;
  return (m + x[j]) * T(0.5);
}

template <class T> status weighted_median(const SSTask& task) {
  const int64_t p = task.dimension(), n = task.count();
  const auto count = static_cast<std::size_t>(n);
  arko::block<T> work(2 * count);
  if (!work) return KOV_SS_ERR_NO_MEMORY;
  T *const x = work.get(), *const w = x + n;
  const matrix<const T> obs(task.obs, task.storage(), p, n);
  const T* weights = reals<T>(task.weights);
  const T sum = sum_of(weights, count), order = reals<T>(task.quant_orders)[0];
  for (int64_t c = 0; c < p; c++) {
    copy<T>(obs[c], {x, 1, count});
    std::copy_n(weights, n, w);
    sort_pairs(n, x, w);
    reals<T>(task.quants)[c] = weighted_quantile(x, w, n, sum, order);
  }
  return KOV_SS_OK;
}

}  // namespace
}  // namespace kov

using namespace kov;

#define ENTRY(p, T)                                                                                \
  KOV_EXPORT int32_t _kov##p##SSWMedian(void* task, uint64_t, uint64_t, const DFThreadServices*) { \
    return task ? weighted_median<T>(task_of(task)) : KOV_SS_ERR_NULL_TASK;                        \
  }
ENTRY(d, double)
ENTRY(s, float)
