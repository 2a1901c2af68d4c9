// What the Mersenne Twisters share (M. Matsumoto and T. Nishimura, "Mersenne Twister: a 623-dimensionally
// equidistributed uniform pseudo-random number generator", ACM TOMACS 8 (1998)).
#pragma once
#include <algorithm>
#include <cstdint>

#include "rng/quad.h"
#include "rng/stream.h"
#include "rng/table.h"

namespace [[gnu::visibility("hidden")]] kov {

// The twister F of N words with middle M, split at R bits; U is the first shift of the tempering. F has the
// parameters a, b and c: the matrix and the masks of the tempering. Words are those of w[N], not tempered.
template <class F, int N, int M, int R, int U> struct twister {
  static constexpr int size = N, middle = M;

  BrngStream head;
  std::uint32_t w[N];
  std::int32_t index;

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-32;

  bool sound() const { return index >= 0 && index <= N; }
  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    std::int32_t done = 0;
    const auto deliver = [&](int from, int count) {
      put(w + from, count, sink, done);
      done += count;
    };
    advance(*this, n, deliver, [&](int count) {
      renew(count);
      deliver(0, count);
    });
    return KOV_STATUS_OK;
  }

  // The word N places after `oldest`; of one word or of four.
  template <class V> static V next(V oldest, V second, V middle, std::uint32_t a) {
    constexpr std::uint32_t lower = (std::uint32_t{1} << R) - 1;
    const V y = (oldest & ~lower) | (second & lower);
    return middle ^ y >> 1 ^ (-(y & 1) & a);
  }

  // In place of the first `count` words those that follow the N of the table.
  void renew(int count) {
    const std::uint32_t a = parameters().a;
    std::uint32_t* const v = w;  // without bounds: g++ warns of steps beyond them that no count takes
    const auto run = [v, a](int from, int to, int to_middle) {
      int k = from;
      for (; to - k >= 4; k += 4)
        arko::store(v + k, next(load(v + k), load(v + k + 1), load(v + k + to_middle), a));
      for (; k < to; k++) v[k] = next(v[k], v[k + 1], v[k + to_middle], a);
    };
    run(0, std::min(count, N - M), M);
    run(N - M, std::min(count, N - 1), M - N);
    if (count == N) v[N - 1] = next(v[N - 1], v[0], v[M - 1], a);
  }

  // The initialisation by an array of the generator's second version (2002); without an array, by {1}.
  status seed(std::int32_t count, const std::uint32_t* key) {
    static constexpr std::uint32_t one = 1;
    if (count < 1) count = 1, key = &one;
    w[0] = 19650218;
    for (std::uint32_t k = 1; k < N; k++) w[k] = 1812433253 * (w[k - 1] ^ w[k - 1] >> 30) + k;
    int i = 1;
    const auto mix = [this, &i](std::uint32_t factor, std::uint32_t term) {
      w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * factor) + term;
      if (++i == N) w[0] = w[N - 1], i = 1;
    };
    for (std::int32_t rounds = std::max(N, count), j = 0; rounds > 0; rounds--) {
      mix(1664525, key[j] + static_cast<std::uint32_t>(j));
      if (++j == count) j = 0;
    }
    for (int rounds = N - 1; rounds > 0; rounds--) mix(1566083941, -static_cast<std::uint32_t>(i));
    w[0] = 0x80000000;
    index = N;
    return KOV_STATUS_OK;
  }

 private:
  const F& parameters() const { return static_cast<const F&>(*this); }

  template <class V> static V tempered(V y, std::uint32_t b, std::uint32_t c) {
    y ^= y >> U;
    y ^= y << 7 & b;
    y ^= y << 15 & c;
    return y ^ y >> 18;
  }
  // Words from `from` on, tempered, to places from `at` on.
  template <class Sink>
  void put(const std::uint32_t* from, int count, const Sink& sink, std::int32_t at) const {
    const std::uint32_t b = parameters().b, c = parameters().c;
    const int quads = count & ~3;
    for (int i = 0; i < quads; i += 4)
      sink.put(at + i, reinterpret_cast<__m128i>(tempered(load(from + i), b, c)));
    for (int i = quads; i < count; i++) sink.put(at + i, tempered(from[i], b, c));
  }
};

}  // namespace kov
