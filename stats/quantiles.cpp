// Sorted observations and quantiles of each component.
//
// A quantile of order q among n numbers lies at t = q (n - 1) of the sorted ones, counted from 0, and between two of
// them is interpolated linearly. The few numbers that a few quantiles need are selected; for more quantiles the
// numbers are sorted. Both use the order of keys, so that quantiles do not depend on the way.
#include <arko/stats.h>

#include <algorithm>
#include <cstdint>

#include "core/threads.h"
#include "stats/components.h"
#include "stats/open.h"
#include "stats/select.h"
#include "stats/sort.h"
#include "stats/task.h"

using std::int32_t, std::int64_t, std::uint64_t;

namespace kov { namespace {

constexpr int64_t few_orders = 16;  // as many selections take about as long as sorting

// Threads that have work and whose work memory stays within the limit.
int32_t threads_for(const DFThreadServices* services, int64_t p, int64_t most) {
  return static_cast<int32_t>(
      std::max<int64_t>(std::min({int64_t{arko::thread_count(services)}, p, most}), 1));
}

constexpr std::initializer_list<check> readable = {checks::shared_dimension, checks::count,
                                                   checks::observations};

// Sorts x, which is also at `to`, and returns where the sorted numbers are contiguous: in `to` itself, or in the first
// half of `work`, which has room for twice as many where `to` is not contiguous.
template <class T> const T* sorted(values<const T> x, values<T> to, T* work) {
  const bool direct = to.contiguous();
  const values<T> at = {direct ? to.first : work, 1, x.n};
  if (at.first != x.first) copy<T>(x, at);
  radix_sort(at.first, direct ? work : work + x.n, x.n);
  if (!direct && to.first) copy<T>(at, to);
  return at.first;
}

template <class T>
status sort_observations(const SSTask& task, uint64_t method, const DFThreadServices* services) {
  if (!task.sorted) return KOV_SS_ERR_SORTED;
  if (!task.sorted_storage || !task.obs_storage) return KOV_SS_ERR_NULL_INTEGER;
  const int64_t from_storage = task.storage(), to_storage = task.integer(task.sorted_storage);
  if (task.sorted == task.obs) {
    if ((from_storage ^ to_storage) & KOV_SS_COMPONENTS) return KOV_SS_ERR_NULL_INTEGER;
    if (task.indices) return KOV_SS_ERR_SORT_IN_PLACE;
  }
  if (!has_layout(from_storage) || !has_layout(to_storage)) return KOV_SS_ERR_STORAGE;
  if (!(method & KOV_SS_RADIX)) return KOV_SS_ERR_METHOD;
  if (const status s = open(task, readable); s != KOV_SS_OK) return s;

  const int64_t p = task.dimension(), n = task.count();
  const matrix<const T> x(task.obs, from_storage, p, n);
  const matrix<T> to(task.sorted, to_storage, p, n);
  const auto each = static_cast<std::size_t>(n) * (to.rows ? 1 : 2);
  const int32_t available = arko::thread_count(services);
  const int32_t threads = threads_for(
      services, p,
      static_cast<int64_t>(available *
                           (static_cast<double>(work_limit) / (static_cast<double>(each) * sizeof(T)))));
  const workspace<T> work(threads, each);
  const selection selected(task);
  if (!work || !selected) return KOV_SS_ERR_NO_MEMORY;
  const auto body = [&](int32_t k, int32_t thread) { sorted<T>(x[selected[k]], to[k], work.of(thread)); };
  arko::parallel_for(services, selected.count(), threads, body);
  return KOV_SS_OK;
}

template <class T> status check_quantiles(const SSTask& task) {
  if (!task.quants) return KOV_SS_ERR_QUANTS;
  if (!task.quant_orders) return KOV_SS_ERR_QUANT_ORDERS;
  if (!task.quant_count || task.integer(task.quant_count) < 0) return KOV_SS_ERR_QUANT_COUNT;
  const T* orders = reals<T>(task.quant_orders);
  return std::all_of(orders, orders + task.integer(task.quant_count), [](T q) { return q >= 0 && q <= 1; })
             ? KOV_SS_OK
             : KOV_SS_ERR_QUANT_COUNT;
}

template <class T>
status quantiles(const SSTask& task, uint64_t estimates, uint64_t method, const DFThreadServices* services) {
  if (const status s = open(task, {checks::storage, checks::layout}); s != KOV_SS_OK) return s;
  const bool wants_quantiles = estimates & KOV_SS_EST_QUANTS,
             wants_sorted = estimates & KOV_SS_EST_ORDER_STATS;
  if (wants_quantiles)
    if (const status s = check_quantiles<T>(task); s != KOV_SS_OK) return s;
  if (wants_sorted) {
    if (!task.order_stats) return KOV_SS_ERR_ORDER_STATS;
    if (!task.order_stats_storage) return KOV_SS_ERR_NULL_INTEGER;
    if (!has_layout(task.integer(task.order_stats_storage))) return KOV_SS_ERR_STORAGE;
  }
  if (!(method & KOV_SS_FAST)) return KOV_SS_ERR_METHOD;
  if (const status s = open(task, readable); s != KOV_SS_OK) return s;

  const int64_t p = task.dimension(), n = task.count();
  const int64_t m = wants_quantiles ? task.integer(task.quant_count) : 0;
  if (m == 0 && !wants_sorted) return KOV_SS_OK;
  const T* orders = reals<T>(task.quant_orders);
  const matrix<const T> x(task.obs, task.storage(), p, n);
  const matrix<T> to(task.order_stats, wants_sorted ? task.integer(task.order_stats_storage) : 0, p, n);
  const bool selects = !wants_sorted && m <= few_orders;
  // Numbers that are not contiguous are copied first, and work goes on beside the copy.
  const bool copies = selects ? !x.rows : !(wants_sorted && to.rows);
  const auto count = static_cast<std::size_t>(n), each = copies ? 2 * count : count;
  const int32_t threads = threads_for(
      services, p,
      static_cast<int64_t>(static_cast<double>(work_limit) / (static_cast<double>(each) * sizeof(T))));
  const workspace<T> work(threads, each);
  const selection selected(task);
  if (!work || !selected) return KOV_SS_ERR_NO_MEMORY;

  const auto body = [&](int32_t k, int32_t thread) {
    T* const buffer = work.of(thread);
    T* const results = reals<T>(task.quants) + k * m;
    values<const T> source = x[selected[k]];
    if (!selects) {
      const T* ascending = sorted<T>(source, wants_sorted ? to[k] : values<T>{nullptr, 0, count}, buffer);
      for (int64_t i = 0; i < m; i++) results[i] = sorted_quantile(ascending, count, orders[i]);
      return;
    }
    if (copies) {
      copy<T>(source, {buffer, 1, count});
      source = {buffer, 1, count};
    }
    const leading_bits<T> ranks(source);
    for (int64_t i = 0; i < m; i++) {
      const place here(orders[i], count);
      results[i] = here.between(ranks.at(here.position, copies ? buffer + count : buffer));
    }
  };
  arko::parallel_for(services, selected.count(), threads, body);
  return KOV_SS_OK;
}

}  // namespace
}  // namespace kov

using namespace kov;

#define ENTRIES(p, T)                                                                             \
  KOV_EXPORT int32_t _kov##p##SSSort(void* task, uint64_t, uint64_t method,                       \
                                     const DFThreadServices* threads) {                           \
    return task ? sort_observations<T>(task_of(task), method, threads) : KOV_SS_ERR_NULL_TASK;    \
  }                                                                                               \
  KOV_EXPORT int32_t _kov##p##SSQuantiles(void* task, uint64_t estimates, uint64_t method,        \
                                          const DFThreadServices* threads) {                      \
    return task ? quantiles<T>(task_of(task), estimates, method, threads) : KOV_SS_ERR_NULL_TASK; \
  }
ENTRIES(d, double)
ENTRIES(s, float)
