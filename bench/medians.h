// What the benches of streams and distributions share: fills of 1024 numbers, as a program would use them, measured in
// random order with repetitions; figures are medians of processor time by name.
#pragma once
#include <arko/stream.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace arko::bench {

inline constexpr int block = 1024;

// fill(r) writes a block of numbers into one array again and again.
template <class Word, class F> void blocks(benchmark::State& state, F&& fill) {
  std::vector<Word> r(block);
  for (auto _ : state) {
    fill(r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * block);
}

// The least that as many bytes can take.
template <class T> void copies(benchmark::State& state) {
  const std::vector<T> from(block);
  blocks<T>(state, [&](T* r) {
    const T* source = from.data();
    benchmark::DoNotOptimize(source);
    std::memcpy(r, source, block * sizeof(T));
  });
}

// body(stream, row) with a stream of a generator and its registry row.
template <class F> void with_stream(benchmark::State& state, std::int32_t code, F&& body) {
  void* stream;
  BrngProperties row;
  const std::uint32_t seed = 7777777;
  if (__kovNewStreamEx(&stream, code, 1, &seed) != KOV_STATUS_OK) return state.SkipWithError("no stream");
  __kovGetBrngProperties(code, &row);
  body(stream, row);
  __kovDeleteStream(&stream);
}

// Nanoseconds by name: a number, where the benchmark makes blocks, else a call.
class medians : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      const double calls = static_cast<double>(run.iterations);
      const bool fill = run.counters.count("items_per_second") != 0;
      times_[run.run_name.function_name].push_back(run.cpu_accumulated_time / calls * 1e9 /
                                                   (fill ? block : 1));
    }
  }

  // Runs the registered benchmarks, with Google Benchmark's options.
  std::map<std::string, double> run(int argc, char** argv) {
    std::vector<char*> options(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true", repeat[] = "--benchmark_repetitions=9",
         brief[] = "--benchmark_min_time=0.02";
    options.insert(options.begin() + 1, {interleave, repeat, brief});
    int count = static_cast<int>(options.size());
    benchmark::Initialize(&count, options.data());
    benchmark::RunSpecifiedBenchmarks(this);

    std::map<std::string, double> middle;
    for (auto& [name, times] : times_) {
      const auto half = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
      std::nth_element(times.begin(), half, times.end());
      middle[name] = *half;
    }
    return middle;
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

}  // namespace arko::bench
