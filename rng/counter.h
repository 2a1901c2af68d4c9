// Counter-based generators: a keyed mapping makes four words of a 128-bit counter, and the counter goes up by one.
//
// J. K. Salmon, M. A. Moraes, R. O. Dror, D. E. Shaw, "Parallel random numbers: as easy as 1, 2, 3", SC11.
//
// A mapping has
//
//   key_words           words of its key
//   early               whether a short skip to the end of a block leaves that block, read to its end, in the state;
//                       otherwise the next one, unread
//   missing()           KOV_STATUS_OK, or what keeps it from working on this processor
//   block(key, c)       the block of a counter
//   blocks(key, c, count, sink, i)
//                       the blocks of `count` counters to output i and on; their lower halves do not carry
#pragma once
#include <emmintrin.h>

#include <cstring>

#include "rng/stream.h"

namespace [[gnu::visibility("hidden")]] kov {

struct counter128 {
  std::uint64_t low, high;

  void add(std::uint64_t l, std::uint64_t h = 0) {
    low += l;
    high += h + (low < l);
  }
};

// Where words read as signed numbers go, which lie around 0: centre + x scale, in the precision of the result.
template <class T> struct centred_sink {
  T* r;
  T scale, centre;

  centred_sink(T* to, T a, T b) : r(to), scale((b - a) * T(0x1p-32)), centre((a + b) * T(0.5)) {}

  T number(std::int32_t x) const { return static_cast<T>(x) * scale + centre; }

  void put(std::int32_t i, std::uint32_t x) const { r[i] = number(static_cast<std::int32_t>(x)); }
  void put(std::int32_t i, __m128i four) const {
    if constexpr (sizeof(T) == 8) {
      const __m128d s = _mm_set1_pd(scale), c = _mm_set1_pd(centre);
      _mm_storeu_pd(r + i, _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(four), s), c));
      const __m128i upper = _mm_unpackhi_epi64(four, four);
      _mm_storeu_pd(r + i + 2, _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(upper), s), c));
    } else {
      const __m128 s = _mm_set1_ps(scale), c = _mm_set1_ps(centre);
      _mm_storeu_ps(r + i, _mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(four), s), c));
    }
  }
};

template <class Mapping> struct counter_based {
  BrngStream head;
  std::uint32_t key[Mapping::key_words];
  counter128 counter;       // of the next block to compute
  std::uint32_t index;      // unread words of `result`
  std::uint32_t result[4];  // the last block computed
  std::uint32_t unused;

  using word = std::uint32_t;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    std::uint32_t fields[Mapping::key_words + 4] = {};
    std::copy_n(seeds, std::clamp<std::int32_t>(count, 0, std::size(fields)), fields);
    std::memcpy(key, fields, sizeof key);
    std::memcpy(&counter, fields + Mapping::key_words, sizeof counter);
    index = 0;
    std::fill_n(result, 4, 0u);
    return KOV_STATUS_OK;
  }

  bool sound() const { return index <= std::size(result); }

  status skip(std::uint64_t count) {
    if (const status s = Mapping::missing(); s != KOV_STATUS_OK) return s;
    if (count <= index)
      index -= static_cast<std::uint32_t>(count);
    else if (Mapping::early) {
      go_to(count - index - 1);
      index--;
    } else {
      go_to(count - index);
    }
    return KOV_STATUS_OK;
  }
  status skip_wide(std::span<const std::uint64_t> count) {
    if (const status s = Mapping::missing(); s != KOV_STATUS_OK) return s;
    std::uint64_t c[3] = {};
    std::copy_n(count.begin(), std::min(count.size(), std::size(c)), c);
    if (c[0] <= index && c[1] == 0 && c[2] == 0) {
      index -= static_cast<std::uint32_t>(c[0]);
    } else {
      const std::uint64_t borrow = c[0] < index;
      go_to(c[0] - index, c[1] - borrow, c[2] - (c[1] < borrow));
    }
    return KOV_STATUS_OK;
  }

  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    if (const status s = Mapping::missing(); s != KOV_STATUS_OK) return s;
    std::int32_t i = 0;
    for (; i < n && index > 0; index--) sink.put(i++, result[4 - index]);
    if (i == n) return KOV_STATUS_OK;

    counter128 at = counter, last = at;
    for (std::int32_t left = (n - i) / 4; left > 0;) {
      const auto m = static_cast<std::int32_t>(std::min<std::uint64_t>(left - 1, ~at.low)) + 1;
      Mapping::blocks(key, at, m, sink, i);
      last = at;
      last.add(m - 1);
      at.add(m);
      i += 4 * m;
      left -= m;
    }
    if (i < n) last = at;
    compute(last);  // stays in the state also where all of it has been read
    index = i < n ? 4 : 0;
    for (; i < n; index--) sink.put(i++, result[4 - index]);
    return KOV_STATUS_OK;
  }

  // In an interval whose numbers rounding takes below it they are raised to its end, while they are in the nearest cache.
  template <class T> status reals(std::int32_t n, T* r, T a, T b) {
    const centred_sink<T> all(r, a, b);
    const T low = std::min(a, b);
    const bool below = std::min(all.number(INT32_MIN), all.number(INT32_MAX)) < low;
    status s = KOV_STATUS_OK;
    for (std::int32_t i = 0, m; i < n && s == KOV_STATUS_OK; i += m) {
      m = below ? std::min(n - i, 1024) : n;
      s = draw(m, centred_sink<T>(r + i, a, b));
      if (below && s == KOV_STATUS_OK)
        for (std::int32_t j = 0; j < m; j++) r[i + j] = std::max(r[i + j], low);
    }
    return s;
  }

 private:
  void compute(counter128 of) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(result), Mapping::block(key, of));
    counter = of;
    counter.add(1);
  }
  // Makes the next word the d-th one, counted from word 0 of the next block.
  void go_to(std::uint64_t d0, std::uint64_t d1 = 0, std::uint64_t d2 = 0) {
    index = static_cast<std::uint32_t>(4 - d0 % 4);
    counter.add(d0 >> 2 | d1 << 62, d1 >> 2 | d2 << 62);
    compute(counter);
  }
};

}  // namespace kov
