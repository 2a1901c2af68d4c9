// Order statistics beside other libraries, in one process. Ratios count, of medians of processor time (with two threads:
// of real time):
//
//   order_bench --benchmark_enable_random_interleaving=true --benchmark_repetitions=7
//               --benchmark_report_aggregates_only=true
//
// Everything works on copies of the same numbers; the copy is outside the time.

#include <arko/stats.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_rstat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/support/thread_services.h"

namespace {

using std::int32_t;
using reals = std::vector<double>;

constexpr int32_t million = 1000000;

const reals& numbers(const std::string& kind, int32_t n) {
  static std::map<std::pair<std::string, int32_t>, reals> made;
  reals& x = made[{kind, n}];
  if (!x.empty()) return x;
  std::mt19937_64 random(1);
  std::normal_distribution<double> normal;
  x.resize(static_cast<std::size_t>(n));
  for (double& v : x) v = kind == "uniform" ? std::generate_canonical<double, 53>(random) : normal(random);
  if (kind == "ascending") std::sort(x.begin(), x.end());
  if (kind == "offset")
    for (double& v : x) v += 1e8;
  return x;
}

// A task over p components of n numbers.
struct problem {
  int32_t p, n, layout, quant_count = 3, parameters = 1;
  reals results = reals(1000), eps = {0.001}, orders = {0.25, 0.5, 0.75};
  void* task = nullptr;
  problem(const double* x, int32_t p, int32_t n, int32_t layout) : p(p), n(n), layout(layout) {
    __kovdSSNewTask(&task, &this->p, &this->n, &this->layout, x, nullptr, nullptr, 0);
    __kovdSSEditQuantiles(task, &quant_count, orders.data(), results.data(), nullptr, nullptr);
    __kovdSSEditStreamQuantiles(task, &quant_count, orders.data(), results.data(), &parameters, eps.data());
    __kovdSSEditTask(task, KOV_SS_MEDIAN_ABS_DEV, results.data());
  }
  ~problem() { __kovSSDeleteTask(&task); }
  problem(const problem&) = delete;
};

const DFThreadServices* with_threads(int threads) {
  arko::test::thread_services::threads = threads;
  return arko::test::thread_services::get();
}

// One piece of work on a fresh copy of the numbers each time.
template <class F> void on_copies(benchmark::State& state, const reals& x, F&& work) {
  reals copy = x;
  for (auto _ : state) {
    state.PauseTiming();
    std::copy(x.begin(), x.end(), copy.begin());
    state.ResumeTiming();
    work(copy);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(x.size()));
}

void sort_in_place(benchmark::State& state, const reals& x, int32_t p, int threads) {
  const auto* services = with_threads(threads);
  on_copies(state, x, [&](reals& copy) {
    problem task(copy.data(), p, static_cast<int32_t>(x.size()) / p, KOV_SS_COMPONENTS);
    __kovdSSEditTask(task.task, KOV_SS_SORTED, copy.data());
    __koviSSEditTask(task.task, KOV_SS_SORTED_STORAGE, &task.layout);
    if (_kovdSSSort(task.task, 0, KOV_SS_RADIX, services)) state.SkipWithError("");
  });
}
void sort_std(benchmark::State& state, const reals& x) {
  on_copies(state, x, [](reals& copy) { std::sort(copy.begin(), copy.end()); });
}
void sort_quick(benchmark::State& state, const reals& x) {
  on_copies(state, x, [](reals& copy) { __kovdQSort(static_cast<int32_t>(copy.size()), copy.data()); });
}

void quantiles(benchmark::State& state, const reals& x, int32_t p, int32_t layout, int threads) {
  const auto* services = with_threads(threads);
  problem task(x.data(), p, static_cast<int32_t>(x.size()) / p, layout);
  for (auto _ : state)
    if (_kovdSSQuantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, services)) state.SkipWithError("");
}
void quantiles_std(benchmark::State& state, const reals& x) {
  on_copies(state, x, [](reals& copy) {
    for (const double q : {0.25, 0.5, 0.75}) {
      const auto at = copy.begin() + static_cast<std::ptrdiff_t>(q * static_cast<double>(copy.size() - 1));
      std::nth_element(copy.begin(), at, copy.end());
      benchmark::DoNotOptimize(*at);
    }
  });
}
void select_quick(benchmark::State& state, const reals& x) {
  const auto n = static_cast<int32_t>(x.size());
  on_copies(state, x,
            [&](reals& copy) { benchmark::DoNotOptimize(__kovdQSortSelect(n, copy.data(), n / 2)); });
}
void select_std(benchmark::State& state, const reals& x) {
  on_copies(state, x, [](reals& copy) {
    std::nth_element(copy.begin(), copy.begin() + static_cast<std::ptrdiff_t>(copy.size() / 2), copy.end());
  });
}
void median_deviation(benchmark::State& state, const reals& x) {
  problem task(x.data(), 1, static_cast<int32_t>(x.size()), KOV_SS_COMPONENTS);
  for (auto _ : state)
    if (_kovdSSMAD(task.task, KOV_SS_EST_MEDIAN_ABS_DEV, KOV_SS_FAST, nullptr)) state.SkipWithError("");
}

// In blocks of so many numbers; the largest error of rank is shown in parts of eps N.
void stream(benchmark::State& state, const reals& x, int32_t p, int32_t block, int threads) {
  const auto* services = with_threads(threads);
  const auto n = static_cast<int32_t>(x.size()) / p;
  reals found;
  for (auto _ : state) {
    problem task(x.data(), p, block, KOV_SS_OBSERVATIONS);
    for (int32_t first = 0; first < n; first += block) {
      task.n = std::min(block, n - first);
      __kovdSSEditTask(task.task, KOV_SS_OBS, x.data() + static_cast<std::ptrdiff_t>(first) * p);
      if (_kovdSSStreamQuantiles(task.task, 0, KOV_SS_SQ_TAKE, services)) state.SkipWithError("");
    }
    task.n = 0;
    if (_kovdSSStreamQuantiles(task.task, 0, KOV_SS_SQ_RESULT, services)) state.SkipWithError("");
    found = task.results;
  }
  double worst = 0;
  for (const double q : {0.25, 0.5, 0.75}) {
    const double value = found[static_cast<std::size_t>(q * 4 - 1)];
    std::int64_t below = 0;
    for (std::size_t i = 0; i < x.size(); i += static_cast<std::size_t>(p)) below += x[i] <= value;
    worst = std::max(worst, std::fabs(static_cast<double>(below) - q * n) / (0.001 * n));
  }
  state.counters["of_eps"] = worst;
}
void stream_gsl(benchmark::State& state, const reals& x) {
  for (auto _ : state)
    for (const double q : {0.25, 0.5, 0.75}) {
      gsl_rstat_quantile_workspace* work = gsl_rstat_quantile_alloc(q);
      for (const double v : x) gsl_rstat_quantile_add(v, work);
      benchmark::DoNotOptimize(gsl_rstat_quantile_get(work));
      gsl_rstat_quantile_free(work);
    }
}

template <class... A> void add(const std::string& name, A... arguments) {
  benchmark::RegisterBenchmark(name.c_str(), arguments...)
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}

void register_all() {
  for (const char* kind : {"uniform", "normal", "offset", "ascending"}) {
    const std::string of = std::string("/") + kind;
    const auto data = [kind](int32_t n) -> const reals& { return numbers(kind, n); };
    add("sort/10M/arko" + of, [=](auto& s) { sort_in_place(s, data(10 * million), 1, 1); });
    add("sort/10M/std" + of, [=](auto& s) { sort_std(s, data(10 * million)); });
    add("sort/10M/quicksort" + of, [=](auto& s) { sort_quick(s, data(10 * million)); });
    add("sort/1000/arko" + of, [=](auto& s) { sort_in_place(s, data(1000), 1, 1); });
    add("sort/1000/std" + of, [=](auto& s) { sort_std(s, data(1000)); });
    add("quantiles/10M/arko" + of,
        [=](auto& s) { quantiles(s, data(10 * million), 1, KOV_SS_COMPONENTS, 1); });
    add("quantiles/10M/std" + of, [=](auto& s) { quantiles_std(s, data(10 * million)); });
    add("median/10M/quick_select" + of, [=](auto& s) { select_quick(s, data(10 * million)); });
    add("median/10M/std" + of, [=](auto& s) { select_std(s, data(10 * million)); });
    add("median_deviation/10M/arko" + of, [=](auto& s) { median_deviation(s, data(10 * million)); });
    add("stream/10M/arko" + of, [=](auto& s) { stream(s, data(10 * million), 1, 10 * million, 1); });
    add("stream/10M/arko/blocks_of_1000" + of, [=](auto& s) { stream(s, data(10 * million), 1, 1000, 1); });
    add("stream/10M/gsl" + of, [=](auto& s) { stream_gsl(s, data(10 * million)); });
  }
  const auto normal = [](int32_t n) -> const reals& { return numbers("normal", n); };
  for (const int threads : {1, 2}) {
    const std::string end = "/threads:" + std::to_string(threads);
    add("sort/100x100000" + end, [=](auto& s) { sort_in_place(s, normal(10 * million), 100, threads); });
    add("quantiles/100x100000" + end,
        [=](auto& s) { quantiles(s, normal(10 * million), 100, KOV_SS_COMPONENTS, threads); });
    add("quantiles/100x100000/observations" + end,
        [=](auto& s) { quantiles(s, normal(10 * million), 100, KOV_SS_OBSERVATIONS, threads); });
    add("stream/10x1M/blocks_of_10000" + end,
        [=](auto& s) { stream(s, normal(10 * million), 10, 10000, threads); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
