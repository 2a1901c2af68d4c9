// What a task remembers of a series of blocks.
//
// The sums of weights and the results in the caller's arrays are the state of a series, and all that another task needs
// to go on with it. But not all that was computed can be told from them: the variance of one observation is 0 / 0, sums
// of order 4 need those of order 3, which may have no array, and an array that is set may never have been written. So
// the accumulators are kept here as well. They count as long as the arrays are as the task has left them, which a
// fingerprint tells; where the caller has put something else there, that is what counts.
#pragma once
#include <bit>
#include <cstring>

#include "stats/arena.h"
#include "stats/moments.h"
#include "stats/request.h"

namespace [[gnu::visibility("hidden")]] kov {

// One block of memory, at the task's `saved_mean`, with the arrays behind the record.
template <class T> struct series {
  std::size_t bytes;
  std::int64_t components;
  bool given_mean;
  int order, raw_order;  // of the accumulators that are kept
  double weight, weight2;
  slots written;        // the caller's arrays that were
  std::uint64_t print;  // of them, as they were left
  T* origin;            // the base of the mean; given mean: that mean
  double* mean;
  double* sums[max_order + 1];  // from index 2: central, or about the given mean
  double* raw[max_order + 1];   // from index 1
  T* q;                         // null where the caller's matrix says it all

  // Null where the memory is only measured.
  static series* lay_out(arena& memory, const accumulators<T>& a, bool given_mean, bool matrix) {
    const std::int64_t p = a.components;
    series kept = {};
    series* const s = memory.take<series>(1);
    kept.components = p, kept.given_mean = given_mean, kept.order = a.order, kept.raw_order = a.raw_order;
    kept.origin = memory.take<T>(p);
    if (!given_mean) kept.mean = memory.take<double>(p);
    for (int k = 2; k <= a.order; k++) kept.sums[k] = memory.take<double>(p);
    for (int k = 1; k <= a.raw_order; k++) kept.raw[k] = memory.take<double>(p);
    if (matrix) kept.q = memory.take<T>(p * p);
    if (s) *s = kept;
    return s;
  }
};

class fingerprint {
  std::uint64_t value_ = 0;

 public:
  template <class V> void add(V value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    value_ = std::rotl((value_ ^ bits) * 0x9E3779B97F4A7C15, 29);
  }
  template <class T> void add(const T* values, std::int64_t n) {
    fingerprint lanes[4];  // side by side, as each waits for itself
    std::int64_t i = 0;
    for (; i + 4 <= n; i += 4)
      for (int l = 0; l < 4; l++) lanes[l].add(values[i + l]);
    for (; i < n; i++) lanes[0].add(values[i]);
    for (const fingerprint& f : lanes) add(f.value_);
  }
  std::uint64_t value() const { return value_; }
};

}  // namespace kov
