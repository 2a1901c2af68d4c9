// A series in the task's memory: whether it is the one that the caller's arrays show, and how it gets there.
#include "stats/series.h"

#include <algorithm>

#include "core/block.h"
#include "stats/computation.h"

namespace kov {

using std::int64_t;

template <class T> slots computation<T>::kept_fields() const {
  slots kept;
  const auto add = [&](void* SSTask::*f, slot s) {
    if (f && task.*f) kept |= {s};
  };
  for (int k = 1; k <= max_order; k++) {
    if (has_raw[k]) add(raw_fields[k].sum, raw_fields[k].sum_slot);
    if (has_raw[k] && !(given_mean() && k == 1)) add(raw_fields[k].moment, raw_fields[k].moment_slot);
    if (!has_central[k]) continue;
    add(central_fields[k].sum, central_fields[k].sum_slot);
    add(central_fields[k].moment, central_fields[k].moment_slot);
  }
  if (matrix) kept |= want.asked.common({cov, cor, cp});
  return kept;
}

template <class T> std::uint64_t computation<T>::print_of(slots written, bool matrix_contents) const {
  fingerprint print;
  const T* pair = field(&SSTask::accum_weight);
  print.add(pair);
  if (pair) print.add(pair[0]), print.add(pair[1]);
  const auto add = [&](void* SSTask::*f, slot s) {
    if (!written.has(s)) return;
    const T* values = field(f);
    print.add(values);
    if (task.indices)
      for_selected([&](int64_t i) { print.add(i), print.add(values[i]); });
    else
      print.add(values, p);
  };
  for (int k = 1; k <= max_order; k++) {
    add(raw_fields[k].moment, raw_fields[k].moment_slot);
    add(raw_fields[k].sum, raw_fields[k].sum_slot);
    if (k == 1) continue;
    add(central_fields[k].moment, central_fields[k].moment_slot);
    add(central_fields[k].sum, central_fields[k].sum_slot);
  }
  print_matrices(print, written, matrix_contents);
  return print.value();
}

template <class T> void computation<T>::find_before() {
  const T* pair = field(&SSTask::accum_weight);
  if (!pair || !(pair[0] > 0)) return;
  old_weight = pair[0], old_weight2 = pair[1];
  const auto* kept = static_cast<const series<T>*>(task.saved_mean);
  if (!kept || kept->components != p || kept->given_mean != given_mean()) return;
  if (print_of(kept->written, kept->q != nullptr) != kept->print) return;
  before = kept;
  old_weight = kept->weight, old_weight2 = kept->weight2;
}

template <class T> status computation<T>::reserve(const accumulators<T>& a, bool whole_matrix) {
  arena measured;
  series<T>::lay_out(measured, a, given_mean(), whole_matrix);
  const auto* own = static_cast<const series<T>*>(task.saved_mean);
  if (own && own->bytes >= measured.size()) return KOV_SS_OK;
  arko::block<char> larger(measured.size());
  if (!larger) return KOV_SS_ERR_NO_MEMORY;
  arko_serv_deallocate(room);
  room = larger.release();
  return KOV_SS_OK;
}

template <class T> void computation<T>::remember(const accumulators<T>& a, const T* whole_matrix) {
  const std::size_t bytes = room ? 0 : static_cast<const series<T>*>(task.saved_mean)->bytes;
  if (room) {
    arko_serv_deallocate(task.saved_mean);
    task.saved_mean = room, room = nullptr;
  }
  arena memory(task.saved_mean);
  series<T>& s = *series<T>::lay_out(memory, a, given_mean(), whole_matrix != nullptr);
  s.bytes = std::max(bytes, memory.size());
  s.weight = a.weight, s.weight2 = a.weight2;
  std::copy_n(given_mean() ? a.origin : a.base, p, s.origin);
  if (!given_mean()) std::copy_n(a.mean, p, s.mean);
  for (int k = 2; k <= a.order; k++) std::copy_n(given_mean() ? a.sums[k] : a.central[k], p, s.sums[k]);
  for (int k = 1; k <= a.raw_order; k++) std::copy_n(a.raw[k], p, s.raw[k]);
  if (whole_matrix) std::copy_n(whole_matrix, p * p, s.q);
}

template <class T> void computation<T>::sign() {
  auto& s = *static_cast<series<T>*>(task.saved_mean);
  s.written = kept_fields();
  s.print = print_of(s.written, s.q != nullptr);
}

template struct computation<float>;
template struct computation<double>;

}  // namespace kov
