// What the Mersenne Twisters share (M. Matsumoto and T. Nishimura, "Mersenne Twister: a 623-dimensionally
// equidistributed uniform pseudo-random number generator", ACM TOMACS 8 (1998)).
#pragma once
#include <algorithm>
#include <cstdint>

#include "rng/quad.h"
#include "rng/sinks.h"

namespace [[gnu::visibility("hidden")]] kov {

// N words, middle M, split at R bits; U is the first shift of the tempering. Words are those of w[N], not tempered.
template <int N, int M, int R, int U> struct twister {
  // The word N places after `oldest`; of one word or of four.
  template <class V> static V next(V oldest, V second, V middle, std::uint32_t a) {
    constexpr std::uint32_t lower = (std::uint32_t{1} << R) - 1;
    const V y = (oldest & ~lower) | (second & lower);
    return middle ^ y >> 1 ^ (-(y & 1) & a);
  }

  // In place of the first `count` words those that follow the N of the table.
  static void renew(std::uint32_t* w, int count, std::uint32_t a) {
    const auto run = [w, a](int from, int to, int to_middle) {
      int k = from;
      for (; to - k >= 4; k += 4)
        arko::store(w + k, next(load(w + k), load(w + k + 1), load(w + k + to_middle), a));
      for (; k < to; k++) w[k] = next(w[k], w[k + 1], w[k + to_middle], a);
    };
    run(0, std::min(count, N - M), M);
    run(N - M, std::min(count, N - 1), M - N);
    if (count == N) w[N - 1] = next(w[N - 1], w[0], w[M - 1], a);
  }

  template <class V> static V tempered(V y, std::uint32_t b, std::uint32_t c) {
    y ^= y >> U;
    y ^= y << 7 & b;
    y ^= y << 15 & c;
    return y ^ y >> 18;
  }
  // n words, tempered, to places from `at` on.
  template <class Sink>
  static void deliver(int n, const std::uint32_t* w, std::uint32_t b, std::uint32_t c, const Sink& sink,
                      std::int32_t at) {
    const int quads = n & ~3;
    for (int i = 0; i < quads; i += 4)
      sink.put(at + i, reinterpret_cast<__m128i>(tempered(load(w + i), b, c)));
    for (int i = quads; i < n; i++) sink.put(at + i, tempered(w[i], b, c));
  }

  // The initialisation by an array of the generator's second version (2002); without an array, by {1}.
  static void seed(std::uint32_t* w, std::int32_t count, const std::uint32_t* key) {
    static constexpr std::uint32_t one = 1;
    if (count < 1) count = 1, key = &one;
    w[0] = 19650218;
    for (std::uint32_t k = 1; k < N; k++) w[k] = 1812433253 * (w[k - 1] ^ w[k - 1] >> 30) + k;
    int i = 1;
    const auto mix = [w, &i](std::uint32_t factor, std::uint32_t term) {
      w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * factor) + term;
      if (++i == N) w[0] = w[N - 1], i = 1;
    };
    for (std::int32_t rounds = std::max(N, count), j = 0; rounds > 0; rounds--) {
      mix(1664525, key[j] + static_cast<std::uint32_t>(j));
      if (++j == count) j = 0;
    }
    for (int rounds = N - 1; rounds > 0; rounds--) mix(1566083941, -static_cast<std::uint32_t>(i));
    w[0] = 0x80000000;
  }
};

}  // namespace kov
