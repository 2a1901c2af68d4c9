// One call of Basic: what it works on, and its steps in the files that have them.
#pragma once
#include <arko/core.h>

#include "stats/matrix.h"
#include "stats/moments.h"
#include "stats/request.h"
#include "stats/series.h"
#include "stats/task.h"

namespace [[gnu::visibility("hidden")]] kov {

// Fields and slots of an order: from 1 for means and raw sums, from 2 for central ones.
struct order_fields {
  void* SSTask::*moment;
  void* SSTask::*sum;
  slot moment_slot, sum_slot;
};
inline constexpr order_fields raw_fields[] = {{},
                                              {&SSTask::mean, &SSTask::sum1, mean, sum1},
                                              {&SSTask::raw2, &SSTask::sum2, raw2, sum2},
                                              {&SSTask::raw3, &SSTask::sum3, raw3, sum3},
                                              {&SSTask::raw4, &SSTask::sum4, raw4, sum4}};
inline constexpr order_fields central_fields[] = {{},
                                                  {},
                                                  {&SSTask::central2, &SSTask::csum2, central2, csum2},
                                                  {&SSTask::central3, &SSTask::csum3, central3, csum3},
                                                  {&SSTask::central4, &SSTask::csum4, central4, csum4}};

template <class T> struct computation {
  SSTask& task;
  request want;
  std::int64_t p;
  bool matrix;  // whether any is wanted
  // Orders whose raw moments or sums, and whose central ones, live in the caller's arrays from block to block.
  bool has_raw[max_order + 1] = {}, has_central[max_order + 1] = {};
  double old_weight = 0, old_weight2 = 0;  // of the blocks before
  const series<T>* before = nullptr;       // what the task remembers of them, where it counts

  computation(SSTask& t, const request& r);
  ~computation() { arko_serv_deallocate(room); }
  computation(const computation&) = delete;

  bool given_mean() const { return want.method == method::given_mean; }
  T* field(void* SSTask::*f) const { return static_cast<T*>(task.*f); }
  template <class Step> void for_selected(Step step) const {
    for (std::int64_t i = 0; i < p; i++)
      if (task.selected(i)) step(i);
  }

  // basic.cpp: all of it.
  status run(const DFThreadServices* services);

  // restore.cpp: what the blocks before have left, as accumulators of the walk.
  double old_mean(std::int64_t i) const;
  void restore(accumulators<T>& a) const;

  // series.cpp: the series in the task's memory.
  void find_before();
  slots kept_fields() const;
  std::uint64_t print_of(slots written, bool matrix_contents) const;
  char* room = nullptr;  // for the accumulators, where the task's memory is not large enough
  status reserve(const accumulators<T>& a, bool whole_matrix);
  void remember(const accumulators<T>& a, const T* whole_matrix);
  void sign();  // when the results are where they belong

  // finish.cpp: results in the caller's arrays.
  void add_mean_terms(accumulators<T>& a) const;
  void finish(accumulators<T>& a) const;
  status from_sums() const;

  // matrices.cpp.
  status check_matrices() const;
  T* host() const;  // the caller's matrix in which the upper triangle can be kept, or null
  void restore_matrix(accumulators<T>& a) const;
  bool can_restore_matrix(const accumulators<T>& a) const;  // once its results are written
  void print_matrices(fingerprint& print, slots written, bool contents) const;
  void finish_matrices(const T* q, T* vector, double weight, double weight2) const;
};

}  // namespace kov
