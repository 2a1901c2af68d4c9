// Moments and covariances beside other libraries, plain loops, one read of the data and BLAS alone. Ratios count, of
// medians within one interleaved run:
//
//   stats_bench --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
//               --benchmark_report_aggregates_only=true

#include <arko/core.h>
#include <arko/stats.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_statistics_double.h>

#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/thread_services.h"

namespace {

using std::int32_t;
using reals = std::vector<double>;

const reals& numbers() {
  static const reals x = [] {
    std::mt19937_64 random(1);
    std::normal_distribution<double> normal(1, 1);
    reals v(10'000'000);
    for (double& a : v) a = normal(random);
    return v;
  }();
  return x;
}

// The data as p components of n observations with arrays for results.
struct problem {
  int32_t p, n, layout;
  reals mean, raw2, raw3, raw4, central2, central3, central4, cov;
  const int32_t form = KOV_SS_FULL;
  void* task;
  problem(int32_t dimension, int32_t storage)
      : p(dimension), n(int32_t(numbers().size()) / p), layout(storage), cov(std::size_t(p) * p) {
    for (reals* v : {&mean, &raw2, &raw3, &raw4, &central2, &central3, &central4}) v->resize(p);
    __kovdSSNewTask(&task, &p, &n, &layout, numbers().data(), nullptr, nullptr, 0);
    __kovdSSEditMoments(task, mean.data(), raw2.data(), raw3.data(), raw4.data(), central2.data(),
                        central3.data(), central4.data());
    __kovdSSEditCovCor(task, nullptr, cov.data(), &form, nullptr, nullptr);
  }
  ~problem() { __kovSSDeleteTask(&task); }
};

constexpr auto variances = KOV_SS_EST_MEAN | KOV_SS_EST_CENTRAL2;
constexpr auto fourth = variances | KOV_SS_EST_CENTRAL3 | KOV_SS_EST_CENTRAL4;
constexpr auto covariances = KOV_SS_EST_MEAN | KOV_SS_EST_COV;

void basic(benchmark::State& state, int32_t p, int32_t layout, std::uint64_t estimates, std::uint64_t method,
           int threads) {
  problem a(p, layout);
  arko::test::thread_services::threads = threads;
  for (auto _ : state) {
    if (_kovdSSBasic(a.task, estimates, method, arko::test::thread_services::get())) state.SkipWithError("");
    benchmark::DoNotOptimize(a.mean.data());
  }
}

// ---- Peers

void read_once(benchmark::State& state) {
  typedef double pair __attribute__((vector_size(16)));
  const pair* x = reinterpret_cast<const pair*>(numbers().data());
  const std::size_t n = numbers().size() / 2;
  for (auto _ : state) {
    pair s[8] = {};
    for (std::size_t i = 0; i + 8 <= n; i += 8)
      for (int k = 0; k < 8; k++) s[k] += x[i + k];
    for (pair& v : s) benchmark::DoNotOptimize(v);
  }
}

void welford(benchmark::State& state, int32_t p, bool rows) {
  const double* x = numbers().data();
  const int32_t n = int32_t(numbers().size()) / p;
  reals mean(p), m2(p);
  for (auto _ : state) {
    std::fill(mean.begin(), mean.end(), 0), std::fill(m2.begin(), m2.end(), 0);
    if (rows)
      for (int32_t i = 0; i < p; i++)
        for (int32_t j = 0; j < n; j++) {
          const double v = x[std::size_t(i) * n + j], d = v - mean[i];
          mean[i] += d / (j + 1);
          m2[i] += d * (v - mean[i]);
        }
    else
      for (int32_t j = 0; j < n; j++)
        for (int32_t i = 0; i < p; i++) {
          const double v = x[std::size_t(j) * p + i], d = v - mean[i];
          mean[i] += d / (j + 1);
          m2[i] += d * (v - mean[i]);
        }
    benchmark::DoNotOptimize(m2.data());
  }
}

void gsl(benchmark::State& state, int32_t p, int32_t layout) {
  const double* x = numbers().data();
  const std::size_t n = numbers().size() / p, step = layout == KOV_SS_OBSERVATIONS ? p : 1;
  for (auto _ : state)
    for (int32_t i = 0; i < p; i++) {
      const double* c = layout == KOV_SS_OBSERVATIONS ? x + i : x + i * n;
      const double mean = gsl_stats_mean(c, step, n);
      benchmark::DoNotOptimize(gsl_stats_variance_m(c, step, n, mean));
    }
}

void dsyrk(benchmark::State& state, int32_t p, int32_t layout) {
  const int32_t n = int32_t(numbers().size()) / p, pitch = layout == KOV_SS_OBSERVATIONS ? p : n;
  const double one = 1, zero = 0;
  reals q(std::size_t(p) * p);
  for (auto _ : state) {
    arko_blas_dsyrk("u", layout == KOV_SS_OBSERVATIONS ? "n" : "t", &p, &n, &one, numbers().data(), &pitch,
                    &zero, q.data(), &p);
    benchmark::DoNotOptimize(q.data());
  }
}

void register_all() {
  using benchmark::RegisterBenchmark;
  const auto add = [](const std::string& name, auto... arguments) {
    RegisterBenchmark(name.c_str(), arguments...)->Unit(benchmark::kMillisecond)->UseRealTime();
  };
  add("read_once", read_once);
  for (const auto& [layout, of] :
       {std::pair(KOV_SS_OBSERVATIONS, "/observations"), std::pair(KOV_SS_COMPONENTS, "/components")}) {
    const std::string suffix = of;
    for (const int threads : {1, 2}) {
      const std::string end = suffix + "/threads:" + std::to_string(threads);
      for (const int p : {10, 100}) {
        const std::string at = "/p:" + std::to_string(p) + end;
        add("variance/fast" + at, basic, p, layout, variances, KOV_SS_FAST, threads);
        add("variance/one_pass" + at, basic, p, layout, variances, KOV_SS_ONE_PASS, threads);
        add("moments_to_4/fast" + at, basic, p, layout, fourth, KOV_SS_FAST, threads);
        add("moments_to_4/one_pass" + at, basic, p, layout, fourth, KOV_SS_ONE_PASS, threads);
        add("covariance/fast" + at, basic, p, layout, covariances, KOV_SS_FAST, threads);
        add("covariance/one_pass" + at, basic, p, layout, covariances, KOV_SS_ONE_PASS, threads);
      }
    }
    add("variance/welford/p:10" + suffix, welford, 10, layout == KOV_SS_COMPONENTS);
    add("variance/gsl/p:10" + suffix, gsl, 10, layout);
    for (const int p : {10, 100, 1000}) add("dsyrk/p:" + std::to_string(p) + suffix, dsyrk, p, layout);
    for (const int threads : {1, 2})
      add("covariance/fast/p:1000" + suffix + "/threads:" + std::to_string(threads), basic, 1000, layout,
          covariances, KOV_SS_FAST, threads);
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
