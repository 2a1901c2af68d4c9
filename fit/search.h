// Cell search, for blocks of sites.
#pragma once
#include "fit/task.h"

namespace [[gnu::visibility("hidden")]] fit {

// The methods, in the order of the table of block kernels.
enum class method : int32_t { uniform, quasi_uniform, sorted, peak, hybrid, user, uniform_user };

// All that a search needs but its sites.
template <class T> struct searcher {
  fit::method method;
  int64_t nx;
  const T* x;
  T constant;             // scale of uniform, quasi_uniform, hybrid, uniform_user; peak
  const bucket* buckets;  // null where there are none that fit the breakpoints: the whole range is one then
  DFSearchCallBack callback;
  void *params, *spare;  // handed to the callback
  bool wide;             // the callback's count and cells have 64 bits
};

// Chooses the method by the hints and fills in a searcher. FIT_ERR_DATAHINT on a bad data hint.
template <class T>
status choose_search(searcher<T>& out, const task& t, int64_t sitehint, const double* datahint,
                     DFSearchCallBack callback, void* params, void* spare);

// The cells of n sites, with a callback at most user_sites. `start` is the running index of method::sorted, 0 before
// the first block of ascending sites; the others leave it alone. Negative: the status of the callback.
inline constexpr int32_t user_sites = 128;  // in one call of the callback
template <class T>
status find_cells(const searcher<T>& how, int32_t n, const T* site, int32_t& start, int32_t* cell);

}  // namespace fit
