// dist_bench: nanoseconds a number of the distributions beside the fills below them and beside peers, in one process.
//
//   dist_bench [Google Benchmark's options]
//
// The peers draw from a Mersenne Twister of their own library, as our rows named MT19937 do.
#include <arko/dist.h>
#include <benchmark/benchmark.h>
#include <gsl/gsl_randist.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench/medians.h"

namespace {

using namespace arko::bench;

using names = std::vector<std::string>;

struct row {
  std::string name;
  names beside;  // ratios are to these
};
std::vector<row> rows;

template <class F> void measure(const std::string& name, const names& beside, F body) {
  rows.push_back({name, beside});
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { body(state); });
}

// A fill, or an entry on top of it: call(stream, row, r) makes a block.
template <class T, class F>
void drawn(const std::string& name, const names& beside, std::int32_t code, F call) {
  measure(name, beside, [=](benchmark::State& state) {
    with_stream(state, code, [&](void* stream, const BrngProperties& properties) {
      blocks<T>(state, [&](T* r) { call(stream, properties, r); });
    });
  });
}

// One number after the other.
template <class T, class Distribution> void standard(const std::string& name, Distribution distribution) {
  measure(name, {}, [=](benchmark::State& state) {
    std::mt19937 engine;
    auto d = distribution;
    blocks<T>(state, [&](T* r) {
      for (int i = 0; i < block; i++) r[i] = static_cast<T>(d(engine));
    });
  });
}
template <class T, class F> void gsl(const std::string& name, F number) {
  measure(name, {}, [=](benchmark::State& state) {
    gsl_rng* generator = gsl_rng_alloc(gsl_rng_mt19937);
    blocks<T>(state, [&](T* r) {
      for (int i = 0; i < block; i++) r[i] = static_cast<T>(number(generator));
    });
    gsl_rng_free(generator);
  });
}

void reals(const std::string& family, std::int32_t code) {
  using P = BrngProperties;
  drawn<double>(family + " double fill", {"copy of 8 bytes"}, code,
                [](void* s, const P& p, double* r) { p.FillDouble(s, block, r, 0, 1); });
  drawn<double>(family + " dUniform", {family + " double fill"}, code,
                [](void* s, const P&, double* r) { _kovdRngUniform(0, s, block, r, 0, 1); });
  drawn<double>(
      family + " dUniform accurate", {family + " double fill"}, code,
      [](void* s, const P&, double* r) { _kovdRngUniform(KOV_METHOD_ACCURATE, s, block, r, 0, 1); });
  drawn<float>(family + " single fill", {"copy of 4 bytes"}, code,
               [](void* s, const P& p, float* r) { p.FillSingle(s, block, r, 0, 1); });
  drawn<float>(family + " sUniform", {family + " single fill"}, code,
               [](void* s, const P&, float* r) { _kovsRngUniform(0, s, block, r, 0, 1); });
}

void discrete(const std::string& family, std::int32_t code, bool peers) {
  using P = BrngProperties;
  const auto beside = [=](const names& of_peers) { return peers ? of_peers : names(); };
  drawn<std::int32_t>(family + " iUniform", beside({"std::uniform_int", "gsl_rng_uniform_int"}), code,
                      [](void* s, const P&, std::int32_t* r) { _koviRngUniform(0, s, block, r, -10, 90); });
  drawn<std::int32_t>(family + " iBernoulli", beside({"std::bernoulli", "gsl_ran_bernoulli"}), code,
                      [](void* s, const P&, std::int32_t* r) { _koviRngBernoulli(0, s, block, r, 0.3); });
  drawn<std::int32_t>(family + " iGeometric", beside({"std::geometric", "gsl_ran_geometric"}), code,
                      [](void* s, const P&, std::int32_t* r) { _koviRngGeometric(0, s, block, r, 0.01); });
  drawn<std::uint32_t>(family + " integer fill", {"copy of 4 bytes"}, code,
                       [](void* s, const P& p, std::uint32_t* r) {
                         static std::uint32_t words[2 * block];  // of 8 bytes in MCG59
                         p.FillInteger(s, block, p.WordBytes == 8 ? words : r);
                       });
  drawn<std::uint32_t>(family + " iUniformBits32", {family + " integer fill"}, code,
                       [](void* s, const P&, std::uint32_t* r) { _koviRngUniformBits32(0, s, block, r); });
}

}  // namespace

int main(int argc, char** argv) {
  measure("copy of 4 bytes", {}, copies<float>);
  measure("copy of 8 bytes", {}, copies<double>);
  for (const auto& [family, code] : {std::pair{"MT19937", KOV_BRNG_MT19937},
                                     {"PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10},
                                     {"MCG59", KOV_BRNG_MCG59},
                                     {"ARS5", KOV_BRNG_ARS5}}) {
    reals(family, code);
    discrete(family, code, code == KOV_BRNG_MT19937);
  }
  measure("iGeometric, a call for one number", {}, [](benchmark::State& state) {
    with_stream(state, KOV_BRNG_MT19937, [&](void* stream, const BrngProperties&) {
      std::int32_t r;
      for (auto _ : state) _koviRngGeometric(0, stream, 1, &r, 0.01), benchmark::DoNotOptimize(r);
    });
  });
  standard<std::int32_t>("std::uniform_int", std::uniform_int_distribution<std::int32_t>(-10, 89));
  standard<std::int32_t>("std::bernoulli", std::bernoulli_distribution(0.3));
  standard<std::int32_t>("std::geometric", std::geometric_distribution<std::int32_t>(0.01));
  gsl<std::int32_t>("gsl_rng_uniform_int",
                    [](gsl_rng* g) { return static_cast<long>(gsl_rng_uniform_int(g, 100)) - 10; });
  gsl<std::int32_t>("gsl_ran_bernoulli", [](gsl_rng* g) { return gsl_ran_bernoulli(g, 0.3); });
  gsl<std::int32_t>("gsl_ran_geometric", [](gsl_rng* g) { return gsl_ran_geometric(g, 0.01); });

  const auto times = medians().run(argc, argv);
  std::printf("%-36s %10s\n", "", "ns");
  for (const row& r : rows) {
    if (!times.count(r.name)) continue;
    std::printf("%-36s %10.3f", r.name.c_str(), times.at(r.name));
    for (const std::string& name : r.beside)
      if (times.count(name)) std::printf("   %.3f of %s", times.at(r.name) / times.at(name), name.c_str());
    std::puts("");
  }
}
