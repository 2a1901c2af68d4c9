// Where a generator's outputs go: an array of words as they are, or of real numbers of an interval.
//
// Real numbers are a + x s, computed in double. A 32-bit x goes into the fraction of 2^52, which is then taken off; a
// 64-bit x is below 2^63 and is converted with one rounding. In single the sum is rounded once more.
#pragma once
#include <emmintrin.h>

#include <cstdint>

#include "core/registers.h"

namespace [[gnu::visibility("hidden")]] kov {

template <class Word> struct word_sink {
  Word* r;

  template <class X> void put(std::int32_t i, X x) const { r[i] = {x}; }
  void put(std::int32_t i, __m128i four) const { arko::store(r + i, four); }
  void put(std::int32_t i, const std::uint64_t (&four)[4]) const {
    for (int j = 0; j < 4; j++) r[i + j] = {four[j]};
  }
};

// The lower and the upper two of four words, each as the lower part of a 64-bit lane; the upper part makes 2^52 and
// the word of it in double.
inline __m128i lower_two(__m128i four) { return _mm_unpacklo_epi32(four, _mm_set1_epi32(0x43300000)); }
inline __m128i upper_two(__m128i four) { return _mm_unpackhi_epi32(four, _mm_set1_epi32(0x43300000)); }

inline __m128d to_double(__m128i two) { return _mm_sub_pd(_mm_castsi128_pd(two), _mm_set1_pd(0x1p52)); }
inline __m128d to_double(std::uint64_t x, std::uint64_t y) {
  return _mm_set_pd(static_cast<double>(static_cast<std::int64_t>(y)),
                    static_cast<double>(static_cast<std::int64_t>(x)));
}

template <class T> struct real_sink {
  T* r;
  double a, s;

  void put(std::int32_t i, double x) const { r[i] = static_cast<T>(x * s + a); }
  void put(std::int32_t i, std::uint32_t x) const { put(i, static_cast<double>(x)); }
  void put(std::int32_t i, std::uint64_t x) const {
    put(i, static_cast<double>(static_cast<std::int64_t>(x)));
  }
  void put(std::int32_t i, __m128d two) const {
    const __m128d v = scaled(two);
    if constexpr (sizeof(T) == 8)
      arko::store(r + i, v);
    else
      _mm_storel_pi(reinterpret_cast<__m64*>(r + i), _mm_cvtpd_ps(v));
  }
  void put(std::int32_t i, __m128i four) const {
    put(i, to_double(lower_two(four)), to_double(upper_two(four)));
  }
  void put(std::int32_t i, const std::uint64_t (&four)[4]) const {
    put(i, to_double(four[0], four[1]), to_double(four[2], four[3]));
  }

 private:
  __m128d scaled(__m128d x) const { return _mm_add_pd(_mm_mul_pd(x, _mm_set1_pd(s)), _mm_set1_pd(a)); }
  void put(std::int32_t i, __m128d x, __m128d y) const {
    if constexpr (sizeof(T) == 8) {
      put(i, x);
      put(i + 2, y);
    } else {
      arko::store(r + i, _mm_movelh_ps(_mm_cvtpd_ps(scaled(x)), _mm_cvtpd_ps(scaled(y))));
    }
  }
};

}  // namespace kov
