// stream_bench: nanoseconds a number of the generators' fills beside peers, in one process.
//
//   stream_bench [Google Benchmark's options]
//
// Ratios are to the words of std::mt19937, and for double fills to the integer fill of the same generator. Serial peers
// are the recursions as they were published.
#include <arko/stream.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench/medians.h"

namespace {

using namespace arko::bench;

// ---- Peers

struct published_mrg32k3a {  // in double, as in the paper
  double s10 = 12345, s11 = 12345, s12 = 12345, s20 = 12345, s21 = 12345, s22 = 12345;
  std::uint32_t operator()() {
    constexpr double m1 = 4294967087.0, m2 = 4294944443.0;
    const auto mod = [](double p, double m) {
      p -= static_cast<double>(static_cast<std::int64_t>(p / m)) * m;
      return p < 0 ? p + m : p;
    };
    const double p1 = mod(1403580.0 * s11 - 810728.0 * s10, m1),
                 p2 = mod(527612.0 * s22 - 1370589.0 * s20, m2);
    s10 = s11, s11 = s12, s12 = p1;
    s20 = s21, s21 = s22, s22 = p2;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(p1 <= p2 ? p1 - p2 + m1 : p1 - p2));
  }
};
struct serial_mcg31m1 {
  std::uint64_t x = 1;
  std::uint32_t operator()() {
    const auto now = static_cast<std::uint32_t>(x);
    x = x * 1132489760 % 2147483647;
    return now;
  }
};
struct serial_mcg59 {
  std::uint64_t x = 1;
  std::uint64_t operator()() {
    const std::uint64_t now = x;
    x = x * 302875106592253 & ((std::uint64_t{1} << 59) - 1);
    return now;
  }
};
struct serial_wh {
  std::uint32_t x[4] = {1, 1, 1, 1};
  struct output {
    std::uint32_t x[4];
  };
  output operator()() {
    constexpr std::uint64_t a[4] = {125, 117, 127, 126}, m[4] = {16770647, 16770643, 16770623, 16770617};
    const output now = {x[0], x[1], x[2], x[3]};
    for (int c = 0; c < 4; c++) x[c] = static_cast<std::uint32_t>(a[c] * x[c] % m[c]);
    return now;
  }
};

struct published_philox {  // word by word, as in the paper
  std::uint32_t counter[4] = {}, key[2] = {7777777, 0}, block[4] = {}, unread = 0;
  std::uint32_t operator()() {
    if (unread == 0) {
      std::uint32_t c[4], k0 = key[0], k1 = key[1];
      std::copy_n(counter, 4, c);
      for (int round = 0; round < 10; round++, k0 += 0x9E3779B9, k1 += 0xBB67AE85) {
        const std::uint64_t p0 = std::uint64_t{0xD2511F53} * c[0], p1 = std::uint64_t{0xCD9E8D57} * c[2];
        c[0] = static_cast<std::uint32_t>(p1 >> 32) ^ c[1] ^ k0;
        c[1] = static_cast<std::uint32_t>(p1);
        c[2] = static_cast<std::uint32_t>(p0 >> 32) ^ c[3] ^ k1;
        c[3] = static_cast<std::uint32_t>(p0);
      }
      std::copy_n(c, 4, block);
      for (int i = 0; i < 4 && ++counter[i] == 0; i++) {
      }
      unread = 4;
    }
    return block[4 - unread--];
  }
};

// ---- Measurements

template <class Word, class Generator> void peer(const char* name) {
  benchmark::RegisterBenchmark(name, [](benchmark::State& state) {
    Generator g;
    blocks<Word>(state, [&](Word* r) {
      for (int i = 0; i < block; i++) r[i] = static_cast<Word>(g());
    });
  });
}

void family(const std::string& name, std::int32_t code) {
  const auto measure = [=](const char* form, auto&& body) {
    benchmark::RegisterBenchmark((name + '/' + form).c_str(), [=](benchmark::State& state) {
      with_stream(state, code, [&](void* stream, const BrngProperties& row) { body(state, stream, row); });
    });
  };
  measure("integer", [](benchmark::State& state, void* stream, const BrngProperties& row) {
    struct word {
      std::uint32_t w[4];
    };
    blocks<word>(state, [&](word* r) { row.FillInteger(stream, block, r->w); });
  });
  measure("double", [](benchmark::State& state, void* stream, const BrngProperties& row) {
    blocks<double>(state, [&](double* r) { row.FillDouble(stream, block, r, 0, 1); });
  });
  measure("single", [](benchmark::State& state, void* stream, const BrngProperties& row) {
    blocks<float>(state, [&](float* r) { row.FillSingle(stream, block, r, 0, 1); });
  });
}

// Nanoseconds a call.
void skip(const char* name, std::int32_t code, const std::vector<std::uint64_t>& count) {
  benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
    void* stream;
    if (__kovNewStreamEx(&stream, code, 0, nullptr) != KOV_STATUS_OK) return state.SkipWithError("no stream");
    for (auto _ : state) {
      const std::int32_t status =
          count.size() == 1
              ? __kovSkipAheadStream(stream, static_cast<std::int64_t>(count[0]))
              : __kovSkipAheadStreamEx(stream, static_cast<std::int32_t>(count.size()), count.data());
      if (status != KOV_STATUS_OK) state.SkipWithError("refused");
    }
    __kovDeleteStream(&stream);
  });
}

}  // namespace

int main(int argc, char** argv) {
  peer<std::uint32_t, std::mt19937>("std::mt19937");
  peer<std::uint32_t, published_mrg32k3a>("MRG32K3A/published");
  peer<std::uint32_t, published_philox>("PHILOX4X32X10/published");
  peer<std::uint32_t, serial_mcg31m1>("MCG31M1/serial");
  peer<std::uint64_t, serial_mcg59>("MCG59/serial");
  peer<serial_wh::output, serial_wh>("WH/serial");
  benchmark::RegisterBenchmark("copy of 4 bytes", copies<float>);
  benchmark::RegisterBenchmark("copy of 8 bytes", copies<double>);
  family("MCG31M1", KOV_BRNG_MCG31M1);
  family("MCG59", KOV_BRNG_MCG59);
  family("MRG32K3A", KOV_BRNG_MRG32K3A);
  family("WH", KOV_BRNG_WH);
  family("R250", KOV_BRNG_R250);
  family("MT19937", KOV_BRNG_MT19937);
  family("MT2203", KOV_BRNG_MT2203);
  family("SFMT19937", KOV_BRNG_SFMT19937);
  family("PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10);
  family("ARS5", KOV_BRNG_ARS5);
  family("TRNG", KOV_BRNG_TRNG);
  skip("skip MRG32K3A by 2^62", KOV_BRNG_MRG32K3A, {std::uint64_t{1} << 62});
  skip("skip MRG32K3A by 193 bits", KOV_BRNG_MRG32K3A, {~0ull, ~0ull, ~0ull, 1});
  skip("skip MRG32K3A by 1024 bits", KOV_BRNG_MRG32K3A, std::vector<std::uint64_t>(16, ~0ull));
  skip("skip WH by 2^62", KOV_BRNG_WH, {std::uint64_t{1} << 62});
  skip("skip MT19937 by 2^20 - 1", KOV_BRNG_MT19937, {(1 << 20) - 1});
  skip("skip MT19937 by 2^20", KOV_BRNG_MT19937, {1 << 20});
  skip("skip MT19937 by 10^15", KOV_BRNG_MT19937, {1'000'000'000'000'000});
  skip("skip SFMT19937 by 10^15", KOV_BRNG_SFMT19937, {1'000'000'000'000'000});
  skip("skip PHILOX4X32X10 by 2^62", KOV_BRNG_PHILOX4X32X10, {std::uint64_t{1} << 62});
  skip("skip PHILOX4X32X10 by 192 bits", KOV_BRNG_PHILOX4X32X10, {~0ull, ~0ull, ~0ull});
  skip("skip ARS5 by 2^62", KOV_BRNG_ARS5, {std::uint64_t{1} << 62});

  const auto times = medians().run(argc, argv);
  std::printf("%-28s %12s %14s %12s\n", "", "ns", "to mt19937", "to integer");
  for (const auto& [name, time] : times) {
    const auto slash = name.find('/');
    std::printf("%-28s %12.3f", name.c_str(), time);
    if (times.count("std::mt19937")) std::printf(" %14.3f", time / times.at("std::mt19937"));
    if (const auto integer = times.find(name.substr(0, slash) + "/integer");
        slash != name.npos && integer != times.end())
      std::printf(" %12.3f", time / integer->second);
    std::puts("");
  }
}
