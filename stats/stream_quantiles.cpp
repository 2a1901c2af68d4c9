// Quantiles of a stream that comes in blocks of observations: the entry, and what it does with the sketch.
#include <arko/stats.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/threads.h"
#include "stats/components.h"
#include "stats/open.h"
#include "stats/sketch.h"
#include "stats/sort.h"
#include "stats/task.h"

using std::int32_t, std::int64_t, std::uint64_t;

namespace kov { namespace {

SketchComponent* sketch_of(const SSTask& task) { return static_cast<SketchComponent*>(task.sq_sketch); }

// Calls f(component, number among the active ones) for the active components until it answers an error.
template <class F> status for_active(SketchComponent* sketch, F&& f) {
  int32_t number = 0;
  for (; sketch->active != end_of_sketch; sketch++)
    if (sketch->active)
      if (const status s = f(*sketch, number++); s != KOV_SS_OK) return s;
  return KOV_SS_OK;
}

// ---- Checks

template <class T> status check_block(const SSTask& task) {
  if (!task.obs_count || task.count() < 0) return KOV_SS_ERR_OBS_COUNT;
  if (task.count() == 0) return KOV_SS_OK;
  return open(task, {checks::observations, checks::storage, checks::layout});
}

template <class T> status check_quantiles(const SSTask& task, uint64_t method) {
  if (!task.sq_quants) return KOV_SS_ERR_SQ_QUANTS;
  if (!task.sq_orders) return KOV_SS_ERR_SQ_ORDERS;
  if (!task.sq_count || task.integer(task.sq_count) < 0) return KOV_SS_ERR_SQ_COUNT;
  if (!task.sq_param_count) return KOV_SS_ERR_NO_SQ_PARAM_COUNT;
  if (task.integer(task.sq_param_count) != 1) return KOV_SS_ERR_SQ_PARAM_COUNT;
  const T* orders = reals<T>(task.sq_orders);
  if (!std::all_of(orders, orders + task.integer(task.sq_count), [](T q) { return q >= 0 && q <= 1; }))
    return KOV_SS_ERR_SQ_COUNT;
  if (!task.sq_params) return KOV_SS_ERR_SQ_PARAMS;
  if (!(method & (KOV_SS_SQ_RESULT | KOV_SS_SQ_TAKE))) return KOV_SS_ERR_METHOD;
  const T eps = *reals<T>(task.sq_params);
  return eps > 0 && eps <= 1 ? KOV_SS_OK : KOV_SS_ERR_SQ_EPS;
}

// ---- The sketch of a task

template <class T> status make_sketch(SSTask& task) {
  const int64_t p = task.dimension();
  arko::block<char> memory(sketch_bytes(p));
  if (!memory) return KOV_SS_ERR_NO_MEMORY;
  auto* const sketch = reinterpret_cast<SketchComponent*>(memory.get());
  for (int64_t c = 0; c < p; c++) sketch[c] = {0, -1, task.selected(c), nullptr};
  *static_cast<SketchEnd*>(sketch + p) = {{0, -1, end_of_sketch, nullptr}, *reals<T>(task.sq_params)};
  task.sq_sketch = memory.release();
  task.cleanup_count = 1;
  task.cleanup_fn = __kovSQuantilesFreeBuffers;
  return KOV_SS_OK;
}

// An earlier call's sketch serves this one if it has the components that are wanted now, and stages for this eps.
template <class T> status check_sketch(const SSTask& task) {
  const SketchComponent* sketch = sketch_of(task);
  bool any = false;
  int64_t p = 0;
  for (; sketch[p].active != end_of_sketch; p++) any |= sketch[p].active != 0;
  if (p != task.dimension()) return KOV_SS_ERR_OBS_DIM;
  if (static_cast<const SketchEnd*>(sketch + p)->eps != *reals<T>(task.sq_params)) return KOV_SS_ERR_SQ_EPS;
  for (int64_t c = 0; task.indices && c < p; c++)
    if (task.selected(c) && !sketch[c].active) return KOV_SS_ERR_INDICES;
  return any ? KOV_SS_OK : KOV_SS_ERR_INDICES;
}

// ---- Taking a block in

// Level 0 is full: it becomes a run and moves up.
template <class T> void flush(SketchStage& stage, sketch_work<T> work) {
  auto &rising = work.runs[0], &merged = work.runs[1];
  const auto block = stage.level<T>(0);
  radix_sort(block.value, rising.value, block.size);
  T &greatest = stage.greatest<T>(), last = block.value[block.size - 1];
  if (stage.top_level == 0 || key_of(last) > key_of(greatest)) greatest = last;
  rising.size = stage.half();
  rising.weight = stage.block;
  for (std::size_t i = 0; i < rising.size; i++) {
    rising.value[i] = block.value[2 * i];
    rising.rank_min[i] = rising.rank_max[i] = static_cast<int32_t>(2 * i + 1);
  }
  int32_t l = 1;
  for (; stage.occupied[l]; stage.occupied[l++] = 0) {
    merge<2>(stage.level<T>(l), rising, merged);
    std::swap(rising, merged);
  }
  const auto place = stage.level<T>(l);
  std::copy_n(rising.value, rising.size, place.value);
  std::copy_n(rising.rank_min, rising.size, place.rank_min);
  std::copy_n(rising.rank_max, rising.size, place.rank_max);
  stage.occupied[l] = 1;
  stage.top_level = std::max(stage.top_level, l);
  stage.fill = 0;
}

template <class T> void take(SketchStage& stage, values<const T> x, void* memory) {
  T* const block = stage.level<T>(0).value;
  for (std::size_t taken = 0; taken < x.n;) {
    const auto room = static_cast<std::size_t>(stage.block - stage.fill), count = std::min(room, x.n - taken);
    copy<T>({&x[taken], x.stride, count}, {block + stage.fill, 1, count});
    taken += count;
    stage.fill += static_cast<int32_t>(count);
    if (count == room) flush(stage, sketch_work<T>(memory, stage.block));
  }
  stage.seen += static_cast<int32_t>(x.n);
}

// All components begin the stage, or none does.
template <class T> status begin_stages(SketchComponent* sketch, T eps) {
  int32_t begun = 0;
  const status answer = for_active(sketch, [&](SketchComponent& c, int32_t) {
    const status s = begin_stage(c, eps);
    begun += s == KOV_SS_OK;
    return s;
  });
  if (answer != KOV_SS_OK)
    for_active(sketch, [&](SketchComponent& c, int32_t number) {
      if (number < begun) drop_stage(c);
      return KOV_SS_OK;
    });
  return answer;
}

template <class T> status take_block(const SSTask& task, T eps, const DFThreadServices* services) {
  SketchComponent* const sketch = sketch_of(task);
  const int64_t p = task.dimension(), n = task.count();
  const SketchComponent* any =
      std::find_if(sketch, sketch + p, [](const SketchComponent& c) { return c.active != 0; });
  if (any == sketch + p || n == 0) return KOV_SS_OK;

  const matrix<const T> x(task.obs, task.storage(), p, n);
  const int32_t threads = arko::thread_count(services);
  for (int64_t taken = 0; taken < n;) {
    int64_t room = any->stage_count ? stage_capacity(any->stage_index, eps) - any->current().seen : 0;
    if (room <= 0) {
      if (const status s = begin_stages(sketch, eps); s != KOV_SS_OK) return s;
      room = stage_capacity(any->stage_index, eps);
    }
    const SketchStage& stage = any->current();
    const int64_t count = std::min(room, n - taken);
    const bool flushes = stage.fill + count >= stage.block;
    const std::size_t each = flushes ? sketch_work<T>::bytes(stage.block) : 0;
    const workspace<unsigned char> work(threads, each);
    if (!work) return KOV_SS_ERR_NO_MEMORY;
    arko::parallel_for(services, static_cast<int32_t>(p), arko::all_threads, [&](int32_t c, int32_t thread) {
      if (!sketch[c].active) return;
      values<const T> part = x[c];
      part.first = &part[static_cast<std::size_t>(taken)];
      part.n = static_cast<std::size_t>(count);
      take(sketch[c].current(), part, work.of(thread));
    });
    taken += count;
  }
  return KOV_SS_OK;
}

// ---- Results

// All runs of a component as one, and of that for each order the number whose rank is nearest.
template <class T> status find_quantiles(const SketchComponent& c, const T* orders, int64_t m, T* results) {
  std::size_t total = 0;
  int64_t seen = 0;
  for (int32_t s = 0; s < c.stage_count; s++) {
    c.stages[s].for_runs<T>([&](const run<T, int32_t>& r) { total += r.size; });
    seen += c.stages[s].seen;
  }
  const std::size_t room = total + 2;  // one for the merge, one for the greatest
  arko::block<T> numbers(2 * room);
  arko::block<int64_t> ranks(4 * room);
  if (!numbers || !ranks) return KOV_SS_ERR_NO_MEMORY;
  run<T, int64_t> list = {numbers.get(), ranks.get(), ranks.get() + room, 0, 0},
                  merged = {list.value + room, list.rank_max + room, list.rank_max + 2 * room, 0, 0};
  for (int32_t s = 0; s < c.stage_count; s++) {
    radix_sort(c.stages[s].level<T>(0).value, merged.value, static_cast<std::size_t>(c.stages[s].fill));
    c.stages[s].for_runs<T>([&](const run<T, int32_t>& r) {
      merge<1>(r, list, merged);
      std::swap(list, merged);
    });
  }
  if (seen == 0) return KOV_SS_OK;
  T greatest = list.size ? list.value[list.size - 1] : T();
  bool known = list.size != 0;
  for (int32_t s = 0; s < c.stage_count; s++)
    if (const SketchStage& stage = c.stages[s]; stage.top_level > 0) {
      const T other = stage.greatest<T>();
      if (!known || key_of(other) > key_of(greatest)) greatest = other;
      known = true;
    }
  list.value[list.size] = greatest, list.rank_min[list.size] = list.rank_max[list.size] = seen;
  list.size++;

  for (int64_t k = 0; k < m; k++) {
    const double rank = static_cast<double>(orders[k]) * static_cast<double>(seen);
    int64_t best = 2 * seen;
    for (std::size_t i = 0; i < list.size; i++) {
      const double middle = 0.5 * static_cast<double>(list.rank_min[i] + list.rank_max[i]);
      const auto distance = static_cast<int64_t>(std::fabs(middle - rank));
      if (distance < best) best = distance, results[k] = list.value[i];
    }
  }
  return KOV_SS_OK;
}

template <class T> status stream_quantiles(SSTask& task, uint64_t method, const DFThreadServices* services) {
  if (const status s = check_block<T>(task); s != KOV_SS_OK) return s;
  if (const status s = check_quantiles<T>(task, method); s != KOV_SS_OK) return s;
  if (const status s = open(task, {checks::shared_dimension}); s != KOV_SS_OK) return s;
  if (const status s = task.sq_sketch ? check_sketch<T>(task) : make_sketch<T>(task); s != KOV_SS_OK)
    return s;
  if (const status s = take_block(task, *reals<T>(task.sq_params), services); s != KOV_SS_OK) return s;
  if (!(method & KOV_SS_SQ_RESULT)) return KOV_SS_OK;
  const int64_t m = task.integer(task.sq_count);
  return for_active(sketch_of(task), [&](const SketchComponent& c, int32_t number) {
    return find_quantiles(c, reals<T>(task.sq_orders), m, reals<T>(task.sq_quants) + number * m);
  });
}

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT int32_t __kovSQuantilesFreeBuffers(void* task) {
  if (!task) return KOV_SS_ERR_NULL_TASK;
  SSTask& record = task_of(task);
  if (!record.sq_sketch) return KOV_SS_OK;
  for_active(sketch_of(record), [](SketchComponent& c, int32_t) {
    while (c.stage_count > 0) drop_stage(c);
    arko_serv_deallocate(c.stages);
    return KOV_SS_OK;
  });
  arko_serv_deallocate(record.sq_sketch);
  record.sq_sketch = nullptr;
  return KOV_SS_OK;
}

#define ENTRY(p, T)                                                                           \
  KOV_EXPORT int32_t _kov##p##SSStreamQuantiles(void* task, uint64_t, uint64_t method,        \
                                                const DFThreadServices* threads) {            \
    return task ? stream_quantiles<T>(task_of(task), method, threads) : KOV_SS_ERR_NULL_TASK; \
  }
ENTRY(d, double)
ENTRY(s, float)
