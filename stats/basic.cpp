// Moments, sums and matrices of products: what is to be done, in how many threads, with which memory.
#include <algorithm>
#include <cstring>

#include "core/block.h"
#include "core/threads.h"
#include "stats/arena.h"
#include "stats/computation.h"
#include "stats/open.h"

using std::int32_t, std::int64_t;

namespace kov {
namespace {

constexpr slots matrices = {cov, cor, cp};

template <class T> observations<T> observations_of(const SSTask& task) {
  const int64_t p = task.dimension(), n = task.count();
  const bool rows = task.storage() & KOV_SS_COMPONENTS || p == 1;
  return {
      static_cast<const T*>(task.obs), static_cast<const T*>(task.weights), p, n, rows ? n : 1, rows ? 1 : p};
}

// A thread has to be worth its start; and the matrices that threads keep to themselves take no more room than the
// observations do.
int32_t useful_threads(const DFThreadServices* services, int64_t p, int64_t n, bool matrix) {
  constexpr double least_work = 8192;
  constexpr int64_t least_observations = 16;
  const double work = static_cast<double>(n) * static_cast<double>(p) * (matrix ? static_cast<double>(p) : 1);
  int64_t t = arko::thread_count(services);
  t = std::min(t, n / least_observations);
  if (work / least_work < static_cast<double>(t)) t = static_cast<int64_t>(work / least_work);
  if (matrix) t = std::min(t, n / p);
  return static_cast<int32_t>(std::max<int64_t>(t, 1));
}

// What is kept from block to block, and what a walk has to find for it.
template <class T> void choose_orders(computation<T>& c, accumulators<T>& a) {
  const bool centred = !c.given_mean();
  for (int k = max_order; k >= 1; k--) {
    c.has_raw[k] = c.want.needed.any({raw_fields[k].moment_slot, raw_fields[k].sum_slot});
    if (k >= 2)
      c.has_central[k] = c.want.needed.any({central_fields[k].moment_slot, central_fields[k].sum_slot}) ||
                         (centred && k < max_order && c.has_central[k + 1]);
  }
  // The given mean is no result.
  if (!centred) c.has_raw[1] = c.want.needed.has(sum1);
  a.order = centred || c.matrix ? 1 : 0;
  for (int k = 1; k <= max_order; k++) {
    if (c.has_central[k] || (centred && c.has_raw[k])) a.order = k;
    if (!centred && c.has_raw[k]) a.raw_order = k;
  }
}

template <class T>
void lay_out(accumulators<T>& a, arena& memory, const observations<T>& data, bool matrix, bool own_matrix) {
  const int64_t p = a.components;
  a.base = memory.take<T>(p);
  a.mean = memory.take<double>(p + 1);  // one more: the one-pass walk takes components in pairs
  for (int k = 2; k <= a.order; k++) a.central[k] = memory.take<double>(p + 1);
  for (int k = 1; k <= std::max(a.order, 1); k++) a.sums[k] = memory.take<double>(p);
  for (int k = 1; k <= a.raw_order; k++) a.raw[k] = memory.take<double>(p);
  a.origin = memory.take<T>(p);
  a.vector = memory.take<T>(p);
  if (!matrix) return;
  if (own_matrix) a.q = memory.take<T>(p * p);
  const int64_t room = block_room(data);
  a.block = memory.take<T>(room);
  if (data.w) a.scaled = memory.take<T>(room);
}

template <class T> using walk = void (*)(accumulators<T>&, const observations<T>&);

}  // namespace

template <class T>
computation<T>::computation(SSTask& t, const request& r)
    : task(t), want(r), p(t.dimension()), matrix(r.asked.any(matrices)) {}

template <class T> status computation<T>::run(const DFThreadServices* services) {
  if (want.method == method::from_sums) return from_sums();
  if (const status s = open(task, {checks::count, checks::observations, checks::storage, checks::layout});
      s != KOV_SS_OK)
    return s;
  if (const status s = check_matrices(); s != KOV_SS_OK) return s;
  const observations<T> data = observations_of<T>(task);

  accumulators<T> first = {};
  first.components = p;
  choose_orders(*this, first);
  find_before();
  if (before) {  // what a series has begun with goes on, asked for or not
    first.order = std::max(first.order, before->order);
    first.raw_order = std::max(first.raw_order, before->raw_order);
  }
  const int32_t threads = useful_threads(services, p, data.count, matrix);
  T* const kept = matrix ? host() : nullptr;

  // One block of memory for the accumulators of all threads.
  accumulators<T>* parts = nullptr;
  const auto lay_out_all = [&](arena& memory) {
    parts = memory.take<accumulators<T>>(threads);
    for (int32_t t = 0; t < threads; t++) {
      accumulators<T> a = first;
      lay_out(a, memory, data, matrix, t > 0 || !kept);
      if (parts) parts[t] = a;
    }
  };
  arena measured;
  lay_out_all(measured);
  const arko::block<char> memory(measured.size());
  if (!memory) return KOV_SS_ERR_NO_MEMORY;
  const bool keeps = given_mean() || task.accum_weight;
  // A matrix of the caller's may turn out to be none that a series can go on from. Nothing of it has been written yet.
  const bool may_keep_matrix =
      matrix && !want.asked.has(cp) &&
      (!want.asked.has(cov) || data.w || old_weight + static_cast<double>(data.count) < 2);
  if (keeps)
    if (const status s = reserve(first, may_keep_matrix); s != KOV_SS_OK) return s;
  std::memset(memory.get(), 0, measured.size());
  arena real(memory.get());
  lay_out_all(real);

  accumulators<T>& a = parts[0];
  if (kept) a.q = kept;
  a.weight = old_weight, a.weight2 = old_weight2;
  if (!given_mean()) {
    // Near what weighs; the walks change it where something weighs more than what they have been shown here.
    constexpr int64_t some = 4096;
    if (data.w || old_weight < 1) {  // else the old mean outweighs every observation
      a.base_weight = find_base(data.range(0, std::min(data.count, some)), a.base, a.mean);
      std::fill_n(a.mean, p, 0);
    }
    if (old_weight >= a.base_weight && old_weight > 0) {
      a.base_weight = old_weight;
      for (int64_t i = 0; i < p; i++) a.base[i] = finite(static_cast<T>(old_mean(i)));
    }
    for (int32_t t = 1; t < threads; t++) {
      std::copy_n(a.base, p, parts[t].base);
      parts[t].base_weight = a.base_weight;
    }
  }
  if (old_weight > 0)
    restore(a);
  else if (kept)
    std::fill_n(kept, p * p, T());
  if (given_mean() && task.mean)
    for (int32_t t = 0; t < threads; t++) std::copy_n(static_cast<const T*>(task.mean), p, parts[t].origin);

  const walk<T> walks[] = {walk_fast<T>, walk_one_pass<T>, walk_given_mean<T>};
  const walk<T> go = walks[static_cast<int>(want.method)];
  const int64_t share = data.count / threads;
  const auto chunk = [&](int32_t t) {
    const int64_t begin = t * share;
    go(parts[t], data.range(begin, t + 1 < threads ? share : data.count - begin));
  };
  if (threads == 1)
    chunk(0);
  else
    arko::parallel_region(services, threads, chunk);
  for (int32_t t = 1; t < threads; t++) given_mean() ? merge_given_mean(a, parts[t]) : merge(a, parts[t]);

  if (matrix && given_mean()) add_mean_terms(a);
  const T* whole = may_keep_matrix && keeps && !can_restore_matrix(a) ? a.q : nullptr;
  if (keeps) remember(a, whole);
  finish(a);
  if (keeps) sign();
  return KOV_SS_OK;
}

template struct computation<float>;
template struct computation<double>;

namespace {

template <class T>
status basic(void* task, std::uint64_t estimates, std::uint64_t method, const DFThreadServices* services) {
  if (!task) return KOV_SS_ERR_NULL_TASK;
  SSTask& t = task_of(task);
  if (const status s = open(t, {checks::dimension}); s != KOV_SS_OK) return s;
  request r;
  if (const status s = make_request(t, estimates, method, r); s != KOV_SS_OK) return s;
  return computation<T>(t, r).run(services);
}

}  // namespace
}  // namespace kov

KOV_EXPORT int32_t _kovdSSBasic(void* task, std::uint64_t estimates, std::uint64_t method,
                                const DFThreadServices* threads) {
  return kov::basic<double>(task, estimates, method, threads);
}

KOV_EXPORT int32_t _kovsSSBasic(void* task, std::uint64_t estimates, std::uint64_t method,
                                const DFThreadServices* threads) {
  return kov::basic<float>(task, estimates, method, threads);
}
