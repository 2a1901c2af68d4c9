// Integer outputs to real numbers of an interval, in vectors of two doubles.
//
// A 32-bit word goes into the fraction of 2^52; a 64-bit word in halves into those of 2^52 and 2^84. Taking the
// powers off again is exact, so that the sum of two halves is the one rounding.
#include <emmintrin.h>

#include <cstring>

#include "rng/stream.h"

namespace kov {
namespace {

inline __m128d pair(const std::uint32_t* x) {
  const __m128i fraction = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(x));
  const __m128i exponent = _mm_set1_epi32(0x43300000);
  return _mm_sub_pd(_mm_castsi128_pd(_mm_unpacklo_epi32(fraction, exponent)), _mm_set1_pd(0x1p52));
}
inline __m128d pair(const std::uint64_t* x) {
  const __m128i word = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  const __m128i lower =
      _mm_or_si128(_mm_and_si128(word, _mm_set1_epi64x(0xFFFFFFFF)), _mm_castpd_si128(_mm_set1_pd(0x1p52)));
  const __m128i upper = _mm_or_si128(_mm_srli_epi64(word, 32), _mm_castpd_si128(_mm_set1_pd(0x1p84)));
  return _mm_add_pd(_mm_sub_pd(_mm_castsi128_pd(upper), _mm_set1_pd(0x1p84 + 0x1p52)),
                    _mm_castsi128_pd(lower));
}
inline __m128d pair(const double* x) { return _mm_loadu_pd(x); }

inline void put(double* r, __m128d low, __m128d high) {
  _mm_storeu_pd(r, low);
  _mm_storeu_pd(r + 2, high);
}
inline void put(float* r, __m128d low, __m128d high) {
  _mm_storeu_ps(r, _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high)));
}

template <class X, class T> void convert(int n, const X* x, T* r, double a, double s) {
  const auto at = [=](const X* p) { return _mm_add_pd(_mm_mul_pd(pair(p), _mm_set1_pd(s)), _mm_set1_pd(a)); };
  int i = 0;
  for (; i + 4 <= n; i += 4) put(r + i, at(x + i), at(x + i + 2));
  if (i == n) return;
  const auto left = static_cast<std::size_t>(n - i);
  X last[4] = {};
  T results[4];
  std::memcpy(last, x + i, left * sizeof(X));
  put(results, at(last), at(last + 2));
  std::memcpy(r + i, results, left * sizeof(T));
}

}  // namespace

void to_reals(int n, const std::uint32_t* x, double* r, double a, double s) { convert(n, x, r, a, s); }
void to_reals(int n, const std::uint32_t* x, float* r, double a, double s) { convert(n, x, r, a, s); }
void to_reals(int n, const std::uint64_t* x, double* r, double a, double s) { convert(n, x, r, a, s); }
void to_reals(int n, const std::uint64_t* x, float* r, double a, double s) { convert(n, x, r, a, s); }
void to_reals(int n, const double* x, double* r, double a, double s) { convert(n, x, r, a, s); }
void to_reals(int n, const double* x, float* r, double a, double s) { convert(n, x, r, a, s); }

}  // namespace kov
