// Data fitting in tests: the entries of a precision by short names, a task that ends with its scope, tables of cases.
#pragma once
#include <arko/fit.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/drivers.h"

namespace arko::test {

using std::int32_t;
using std::int64_t;
template <class T> using numbers = std::vector<T>;
using constructor = int32_t (*)(void* task, int64_t, int64_t method, const DFThreadServices*);

template <class T> struct fit_entries;
#define ARKO_SEARCH_KERNELS(p, width)                                                                \
  {                                                                                                  \
    arko_df_kernel_##p##DFUniformSearch1D##width, arko_df_kernel_##p##DFQuasiUniformSearch1D##width, \
        arko_df_kernel_##p##DFSortedSearch1D##width, arko_df_kernel_##p##DFPeakSearch1D##width,      \
        arko_df_kernel_##p##DFHybridSearch1D##width, arko_df_kernel_##p##DFUserDefSearch1D##width,   \
        arko_df_kernel_##p##DFUniUserDefSearch1D##width                                              \
  }
#define ARKO_FIT_ENTRIES(p, T)                                                          \
  template <> struct fit_entries<T> {                                                   \
    static constexpr auto new_task = arko_df_kernel_##p##NewTask1D;                     \
    static constexpr auto edit_spline = arko_df_kernel_##p##EditPPSpline1D;             \
    static constexpr auto edit_pointer = arko_df_kernel_##p##EditPtr;                   \
    static constexpr auto edit_indexed = arko_df_kernel_##p##EditIdxPtr;                \
    static constexpr auto query_pointer = arko_df_kernel_##p##QueryPtr;                 \
    static constexpr auto query_indexed = arko_df_kernel_##p##QueryIdxPtr;              \
    static constexpr auto search = arko_df_kernel_##p##DFSearch1D;                      \
    static constexpr auto interpolate = arko_df_kernel_##p##DFInterpolate1D;            \
    static constexpr auto integrate = arko_df_kernel_##p##DFIntegrate1D;                \
    static constexpr decltype(&arko_df_kernel_##p##DFUniformSearch1D) kernels[2][7] = { \
        ARKO_SEARCH_KERNELS(p, ), ARKO_SEARCH_KERNELS(p, 32)};                          \
    static constexpr struct {                                                           \
      const char* name;                                                                 \
      constructor make;                                                                 \
    } splines[] = {{"linear", arko_df_kernel_##p##DFLinearSpline1D},                    \
                   {"quadratic", arko_df_kernel_##p##DFQuadraticSpline1D},              \
                   {"default", arko_df_kernel_##p##DFDefaultCubicSpline1D},             \
                   {"natural", arko_df_kernel_##p##DFNaturalCubicSpline1D},             \
                   {"hermite", arko_df_kernel_##p##DFHermiteCubicSpline1D},             \
                   {"bessel", arko_df_kernel_##p##DFBesselCubicSpline1D},               \
                   {"hyman", arko_df_kernel_##p##DFHymanCubicSpline1D},                 \
                   {"akima", arko_df_kernel_##p##DFAkimaCubicSpline1D}};                \
    static constructor construct(const std::string& name) {                             \
      for (const auto& s : splines)                                                     \
        if (name == s.name) return s.make;                                              \
      return nullptr;                                                                   \
    }                                                                                   \
  };
ARKO_FIT_ENTRIES(d, double)
ARKO_FIT_ENTRIES(s, float)
#undef ARKO_FIT_ENTRIES
#undef ARKO_SEARCH_KERNELS

using precisions = testing::Types<double, float>;

template <class T> class fit_task {
 public:
  fit_task(int64_t nx, const T* x, int64_t xhint, int64_t ny = 0, const T* y = nullptr,
           int64_t yhint = FIT_Y_NOHINT, int32_t wide = 0) {
    EXPECT_EQ(fit_entries<T>::new_task(&task_, nx, x, xhint, ny, y, yhint, wide), FIT_OK);
  }
  ~fit_task() { arko_df_kernel_DeleteTask(&task_); }
  fit_task(const fit_task&) = delete;
  // A spline without conditions.
  void describe(int64_t order, int64_t type, T* c = nullptr) const {
    EXPECT_EQ(fit_entries<T>::edit_spline(task_, order, type, 0, nullptr, 0, nullptr, c, 0), FIT_OK);
  }
  operator void*() const { return task_; }

 private:
  void* task_ = nullptr;
};

// Requests, with defaults for what a test does not speak of.
template <class T> struct interpolation {
  int64_t n = 1;
  const T* site = nullptr;
  T* r = nullptr;
  int64_t rhint = FIT_R_BYFUNC, type = 0, sitehint = 0, orders = 0;
  const void* dorder = nullptr;
  const double* data = nullptr;
  void* cells = nullptr;
  DFInterpCallBack rules[3] = {};  // to the left, to the right, within
  void* theirs = nullptr;
  DFSearchCallBack search = nullptr;
  void* searcher = nullptr;
  const DFThreadServices* services = nullptr;
  int32_t operator()(void* task) const {
    return fit_entries<T>::interpolate(task, type, 0, n, site, sitehint, orders, dorder, data, r, rhint,
                                       cells, rules[0], theirs, rules[1], theirs, rules[2], theirs, search,
                                       searcher, services);
  }
};
template <class T> struct integration {
  int64_t n = 1;
  const T *l = nullptr, *u = nullptr;
  T* r = nullptr;
  int64_t rhint = FIT_R_BYFUNC, lhint = 0, uhint = 0;
  const double *ldata = nullptr, *udata = nullptr;
  DFIntegrCallBack rules[3] = {};
  void* theirs = nullptr;
  DFSearchCallBack search = nullptr;
  void* searcher = nullptr;
  const DFThreadServices* services = nullptr;
  int32_t operator()(void* task) const {
    return fit_entries<T>::integrate(task, 0, n, l, lhint, u, uhint, ldata, udata, r, rhint, rules[0], theirs,
                                     rules[1], theirs, rules[2], theirs, search, searcher, services);
  }
};

// The rows of a table of cases: columns between blanks; what follows a # is for readers.
inline std::vector<std::istringstream> rows(const std::string& name) {
  std::ifstream file(ARKO_SOURCE "/tests/fit/data/" + name);
  std::vector<std::istringstream> rows;
  for (std::string line; std::getline(file, line);)
    if (line.find_first_not_of(' ') != line.find('#')) rows.emplace_back(line);
  EXPECT_FALSE(rows.empty()) << name;
  return rows;
}

// What scripted services were asked for since: tasks by threads, as 3x2+1x1, or none.
inline std::string rounds() {
  std::string text;
  for (const auto& [tasks, threads] : scripted_services::rounds)
    text += (text.empty() ? "" : "+") + std::to_string(tasks) + 'x' + std::to_string(threads);
  return text.empty() ? "none" : text;
}

}  // namespace arko::test
