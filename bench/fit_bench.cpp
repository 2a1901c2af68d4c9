// Data fitting beside other libraries and plain loops. Ratios count, of medians within one interleaved run:
//
//   fit_bench --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
//             --benchmark_report_aggregates_only=true

#include <arko/fit.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_spline.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/thread_services.h"

namespace {

using reals = std::vector<double>;
constexpr std::int64_t million = 1000000;

// Ascending, with random steps.
reals random_grid(std::int64_t n) {
  std::mt19937_64 random(1);
  reals x(static_cast<std::size_t>(n));
  double sum = 0;
  for (double& v : x) v = sum += 0.01 + std::generate_canonical<double, 53>(random);
  return x;
}
reals random_sites(std::int64_t n, const reals& x) {
  std::mt19937_64 random(2);
  std::uniform_real_distribution<double> site(x[0], x.back());
  reals s(static_cast<std::size_t>(n));
  for (double& v : s) v = site(random);
  return s;
}

struct search_data {
  reals x = random_grid(million), random = random_sites(million, x), sorted = random;
  std::vector<std::int32_t> cells = std::vector<std::int32_t>(million);
  void* task = nullptr;
  search_data() {
    std::sort(sorted.begin(), sorted.end());
    arko_df_kernel_dNewTask1D(&task, million, x.data(), FIT_X_NOHINT, 0, nullptr, FIT_Y_NOHINT, 0);
  }
  static search_data& get() {
    static search_data data;
    return data;
  }
};

void search(benchmark::State& state, const reals& sites, std::int64_t hint, int threads) {
  search_data& d = search_data::get();
  arko::test::thread_services::threads = threads;
  const auto* const services = threads > 1 ? arko::test::thread_services::get() : nullptr;
  for (auto _ : state) {
    arko_df_kernel_dDFSearch1D(d.task, 0, million, sites.data(), hint, nullptr, d.cells.data(), nullptr,
                               nullptr, services);
    benchmark::ClobberMemory();
  }
}
void search_random(benchmark::State& state) {
  search(state, search_data::get().random, FIT_SITE_NOHINT, static_cast<int>(state.range(0)));
}
void search_sorted(benchmark::State& state) {
  search(state, search_data::get().sorted, FIT_SITE_SORTED, static_cast<int>(state.range(0)));
}
void std_upper_bound(benchmark::State& state) {
  search_data& d = search_data::get();
  for (auto _ : state) {
    for (std::size_t i = 0; i < d.cells.size(); i++)
      d.cells[i] =
          static_cast<std::int32_t>(std::upper_bound(d.x.begin(), d.x.end(), d.random[i]) - d.x.begin());
    benchmark::ClobberMemory();
  }
}
void linear_merge(benchmark::State& state) {
  search_data& d = search_data::get();
  for (auto _ : state) {
    std::size_t cell = 0;
    for (std::size_t i = 0; i < d.cells.size(); i++) {
      while (cell < d.x.size() && d.x[cell] <= d.sorted[i]) cell++;
      d.cells[i] = static_cast<std::int32_t>(cell);
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK(search_random)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(std_upper_bound)->UseRealTime();
BENCHMARK(search_sorted)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(linear_merge)->UseRealTime();

// Natural cubic splines of as many functions over a million breakpoints.
struct spline_data {
  static constexpr std::int64_t most = 4;
  reals x = random_grid(million), y = random_sites(most * million, x), c = reals(4 * most * million);
  static spline_data& get() {
    static spline_data data;
    return data;
  }
};
void natural_cubic(benchmark::State& state) {
  spline_data& d = spline_data::get();
  const std::int64_t ny = state.range(0);
  arko::test::thread_services::threads = static_cast<int>(state.range(1));
  void* task;
  arko_df_kernel_dNewTask1D(&task, million, d.x.data(), FIT_X_NOHINT, ny, d.y.data(), FIT_Y_BYFUNC, 0);
  arko_df_kernel_dEditPPSpline1D(task, FIT_ORDER_CUBIC, FIT_TYPE_NATURAL, FIT_BC_FREE_END, nullptr,
                                 FIT_IC_NONE, nullptr, d.c.data(), FIT_C_NOHINT);
  for (auto _ : state) {
    arko_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, arko::test::thread_services::get());
    benchmark::ClobberMemory();
  }
  arko_df_kernel_DeleteTask(&task);
}
void gsl_natural_cubic(benchmark::State& state) {
  spline_data& d = spline_data::get();
  gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, million);
  for (auto _ : state) {
    gsl_spline_init(spline, d.x.data(), d.y.data(), million);
    benchmark::ClobberMemory();
  }
  gsl_spline_free(spline);
}
BENCHMARK(natural_cubic)->Args({1, 1})->Args({4, 1})->Args({4, 2})->UseRealTime();
BENCHMARK(gsl_natural_cubic)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
