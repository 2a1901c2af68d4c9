// Data fitting in tests: the entries of a precision by short names, and a task that ends with its scope.
#pragma once
#include <arko/fit.h>

#include <cstdint>
#include <span>
#include <vector>

#include "tests/support/recording_services.h"

namespace arko::test {

using std::int32_t;
using std::int64_t;

template <class T> struct fit_entries;
#define ARKO_FIT_ENTRIES(p, T)                                                                  \
  template <> struct fit_entries<T> {                                                           \
    static constexpr auto new_task = arko_df_kernel_##p##NewTask1D;                             \
    static constexpr auto edit_spline = arko_df_kernel_##p##EditPPSpline1D;                     \
    static constexpr auto edit_pointer = arko_df_kernel_##p##EditPtr;                           \
    static constexpr auto edit_indexed = arko_df_kernel_##p##EditIdxPtr;                        \
    static constexpr auto query_pointer = arko_df_kernel_##p##QueryPtr;                         \
    static constexpr auto query_indexed = arko_df_kernel_##p##QueryIdxPtr;                      \
    static constexpr auto search = arko_df_kernel_##p##DFSearch1D;                              \
    static constexpr auto interpolate = arko_df_kernel_##p##DFInterpolate1D;                    \
    static constexpr auto integrate = arko_df_kernel_##p##DFIntegrate1D;                        \
    static constexpr decltype(&arko_df_kernel_##p##DFUniformSearch1D) kernels[2][7] = {         \
        {arko_df_kernel_##p##DFUniformSearch1D, arko_df_kernel_##p##DFQuasiUniformSearch1D,     \
         arko_df_kernel_##p##DFSortedSearch1D, arko_df_kernel_##p##DFPeakSearch1D,              \
         arko_df_kernel_##p##DFHybridSearch1D, arko_df_kernel_##p##DFUserDefSearch1D,           \
         arko_df_kernel_##p##DFUniUserDefSearch1D},                                             \
        {arko_df_kernel_##p##DFUniformSearch1D32, arko_df_kernel_##p##DFQuasiUniformSearch1D32, \
         arko_df_kernel_##p##DFSortedSearch1D32, arko_df_kernel_##p##DFPeakSearch1D32,          \
         arko_df_kernel_##p##DFHybridSearch1D32, arko_df_kernel_##p##DFUserDefSearch1D32,       \
         arko_df_kernel_##p##DFUniUserDefSearch1D32}};                                          \
    static constexpr auto linear = arko_df_kernel_##p##DFLinearSpline1D;                        \
    static constexpr auto quadratic = arko_df_kernel_##p##DFQuadraticSpline1D;                  \
    static constexpr auto from_second = arko_df_kernel_##p##DFDefaultCubicSpline1D;             \
    static constexpr auto natural = arko_df_kernel_##p##DFNaturalCubicSpline1D;                 \
    static constexpr auto hermite = arko_df_kernel_##p##DFHermiteCubicSpline1D;                 \
    static constexpr auto bessel = arko_df_kernel_##p##DFBesselCubicSpline1D;                   \
    static constexpr auto hyman = arko_df_kernel_##p##DFHymanCubicSpline1D;                     \
    static constexpr auto akima = arko_df_kernel_##p##DFAkimaCubicSpline1D;                     \
  };
ARKO_FIT_ENTRIES(d, double)
ARKO_FIT_ENTRIES(s, float)
#undef ARKO_FIT_ENTRIES

template <class T> class fit_task {
 public:
  using entries = fit_entries<T>;

  fit_task(int64_t nx, const T* x, int64_t xhint, int64_t ny = 0, const T* y = nullptr,
           int64_t yhint = FIT_Y_NOHINT, int32_t wide = 0)
      : status_(entries::new_task(&task_, nx, x, xhint, ny, y, yhint, wide)) {}
  fit_task(std::span<const T> x, int64_t xhint) : fit_task(static_cast<int64_t>(x.size()), x.data(), xhint) {}
  ~fit_task() { arko_df_kernel_DeleteTask(&task_); }
  fit_task(const fit_task&) = delete;

  int32_t status() const { return status_; }  // of its creation
  void* get() const { return task_; }
  operator void*() const { return task_; }

 private:
  void* task_ = nullptr;
  int32_t status_;
};

// Services with t threads, and the tasks that they were asked for since.
inline const DFThreadServices* recorded(int32_t t) {
  recording_services::threads = t;
  recording_services::rounds.clear();
  return recording_services::get();
}
inline int32_t tasks_recorded() {
  int32_t tasks = 0;
  for (const auto& [count, threads] : recording_services::rounds) tasks += count;
  return tasks;
}

}  // namespace arko::test
