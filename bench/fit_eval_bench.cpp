// fit_eval_bench: nanoseconds a site of interpolation and an interval of integration beside GSL's spline, in one process.
//
//   fit_eval_bench [Google Benchmark's options]
//
// A natural cubic through 10^6 irregular breakpoints at 10^6 sites, ascending and in random order, evaluated by GSL with
// an accelerator; the same through 1000 breakpoints, where all is in the nearest caches. All measurements are repeated in
// random order, figures are medians of real time. Ratios are to the peer named beside them; the last ones are of two
// threads to one.
#include <arko/fit.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_spline.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using std::int32_t;
using std::int64_t;

// Two threads that stay: the caller's and a waiting one.
class pool {
 public:
  static const DFThreadServices* get() {
    static constexpr DFThreadServices services = {parallel_for, nullptr, nullptr, nullptr, [] { return 2; }};
    return &services;
  }

 private:
  static inline std::mutex mutex;
  static inline std::condition_variable change;
  static inline int round = 0, done = 0;
  static inline bool stop = false;
  static inline int32_t tasks, count;
  static inline void* context;
  static inline TaskBody body;
  static inline std::atomic<int32_t> next;

  static void work(int32_t thread) {
    for (int32_t task; (task = next++) < tasks;) body(task, thread, count, context);
  }
  struct second {
    std::thread thread{[] {
      for (int seen = 0;;) {
        std::unique_lock lock(mutex);
        change.wait(lock, [&] { return stop || round != seen; });
        if (stop) return;
        seen = round;
        lock.unlock();
        work(1);
        lock.lock();
        done = seen;
        change.notify_all();
      }
    }};
    ~second() {
      {
        const std::lock_guard lock(mutex);
        stop = true;
      }
      change.notify_all();
      thread.join();
    }
  };
  static void parallel_for(int32_t n, int32_t threads, void* c, TaskBody b) {
    static second other;
    {
      const std::lock_guard lock(mutex);
      tasks = n, count = threads, context = c, body = b, next = 0;
      round++;
    }
    if (threads > 1) change.notify_all();
    work(0);
    std::unique_lock lock(mutex);
    if (threads > 1) change.wait(lock, [] { return done == round; });
  }
};

struct data {
  std::vector<double> x, y, c, sites, ascending, r;
  gsl_spline* peer;
  void* task;

  explicit data(int64_t nx, int64_t nsite) : c(4 * (nx - 1)), r(nsite) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<> step(0.5, 1.5), value(-1, 1);
    double next = 0;
    for (int64_t i = 0; i < nx; i++, next += step(random)) x.push_back(next), y.push_back(value(random));
    std::uniform_real_distribution<> within(x.front(), x.back());
    for (int64_t i = 0; i < nsite; i++) sites.push_back(within(random));
    ascending = sites;
    std::sort(ascending.begin(), ascending.end());
    peer = gsl_spline_alloc(gsl_interp_cspline, nx);
    gsl_spline_init(peer, x.data(), y.data(), nx);
    arko_df_kernel_dNewTask1D(&task, nx, x.data(), FIT_X_NOHINT, 1, y.data(), FIT_Y_NOHINT, 0);
    arko_df_kernel_dEditPPSpline1D(task, FIT_ORDER_CUBIC, FIT_TYPE_NATURAL, FIT_BC_FREE_END, nullptr,
                                   FIT_IC_NONE, nullptr, c.data(), FIT_C_NOHINT);
    arko_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, nullptr);
  }
  ~data() {
    gsl_spline_free(peer);
    arko_df_kernel_DeleteTask(&task);
  }
};

void interpolate(benchmark::State& state, data& d, bool ascending, const DFThreadServices* threads) {
  const std::vector<double>& s = ascending ? d.ascending : d.sites;
  for (auto _ : state) {
    arko_df_kernel_dDFInterpolate1D(d.task, 0, 0, static_cast<int64_t>(s.size()), s.data(),
                                    ascending ? FIT_SITE_SORTED : FIT_SITE_NOHINT, 0, nullptr, nullptr,
                                    d.r.data(), FIT_R_BYFUNC, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr, nullptr, threads);
    benchmark::ClobberMemory();
  }
}
void interpolate_peer(benchmark::State& state, data& d, bool ascending) {
  const std::vector<double>& s = ascending ? d.ascending : d.sites;
  gsl_interp_accel* at = gsl_interp_accel_alloc();
  for (auto _ : state) {
    for (size_t i = 0; i < s.size(); i++) d.r[i] = gsl_spline_eval(d.peer, s[i], at);
    benchmark::ClobberMemory();
  }
  gsl_interp_accel_free(at);
}

// Of neighbouring sites, short and long intervals.
void integrate(benchmark::State& state, data& d, bool ascending, const DFThreadServices* threads) {
  const std::vector<double>& s = ascending ? d.ascending : d.sites;
  const auto n = static_cast<int64_t>(s.size()) - 1;
  const int64_t hint = ascending ? FIT_SITE_SORTED : FIT_SITE_NOHINT;
  for (auto _ : state) {
    arko_df_kernel_dDFIntegrate1D(d.task, 0, n, s.data(), hint, s.data() + 1, hint, nullptr, nullptr,
                                  d.r.data(), FIT_R_BYFUNC, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, threads);
    benchmark::ClobberMemory();
  }
}
void integrate_peer(benchmark::State& state, data& d, bool ascending) {
  const std::vector<double>& s = ascending ? d.ascending : d.sites;
  gsl_interp_accel* at = gsl_interp_accel_alloc();
  for (auto _ : state) {
    for (size_t i = 0; i + 1 < s.size(); i++)
      d.r[i] = s[i] < s[i + 1] ? gsl_spline_eval_integ(d.peer, s[i], s[i + 1], at)
                               : gsl_spline_eval_integ(d.peer, s[i + 1], s[i], at);
    benchmark::ClobberMemory();
  }
  gsl_interp_accel_free(at);
}

class medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      if (run.aggregate_name == "median") real[run.run_name.function_name] = run.GetAdjustedRealTime();
  }
  std::map<std::string, double> real;  // milliseconds
};

}  // namespace

int main(int argc, char** argv) {
  static data large(1000000, 1000000), small(1000, 100000), few(200, 20000);
  struct row {
    std::string name, peer;
  };
  std::vector<row> rows;
  const auto add = [&](const std::string& name, const std::string& peer, auto f) {
    benchmark::RegisterBenchmark(name.c_str(), f)->Unit(benchmark::kMillisecond);
    rows.push_back({name, peer});
  };
  const struct {
    const char* name;
    data& d;
  } sizes[] = {{"large", large}, {"small", small}};
  for (const auto& size : sizes)
    for (const bool up : {true, false}) {
      data& d = size.d;
      const std::string name = std::string(size.name) + (up ? " ascending" : " random");
      add("GSL " + name, "", [&d, up](benchmark::State& s) { interpolate_peer(s, d, up); });
      add("arko " + name, "GSL " + name, [&d, up](benchmark::State& s) { interpolate(s, d, up, nullptr); });
      add("two threads " + name, "arko " + name,
          [&d, up](benchmark::State& s) { interpolate(s, d, up, pool::get()); });
    }
  for (const auto& [name, d, up] :
       {std::tuple<std::string, data*, bool>{"integrals large ascending", &large, true},
        {"integrals few random", &few, false}}) {
    add("GSL " + name, "", [d = d, up = up](benchmark::State& s) { integrate_peer(s, *d, up); });
    add("arko " + name, "GSL " + name,
        [d = d, up = up](benchmark::State& s) { integrate(s, *d, up, nullptr); });
    add("two threads " + name, "arko " + name,
        [d = d, up = up](benchmark::State& s) { integrate(s, *d, up, pool::get()); });
  }
  std::vector<char*> arguments(argv, argv + argc);
  std::string options[] = {"--benchmark_repetitions=15", "--benchmark_enable_random_interleaving=true",
                           "--benchmark_min_time=0.02"};
  for (std::string& option : options) arguments.insert(arguments.begin() + 1, option.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  medians reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("%-40s %10s %8s\n", "", "ms", "ratio");
  for (const row& row : rows)
    if (reporter.real.count(row.name))
      std::printf("%-40s %10.3f %8.3f\n", row.name.c_str(), reporter.real[row.name],
                  row.peer.empty() ? 1.0 : reporter.real[row.name] / reporter.real[row.peer]);
}
