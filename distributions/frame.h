// What the generators of distributions share: a request cut into blocks, uniform numbers, whole parts.
//
// A generator is a few passes over a block: uniform numbers from the stream into an array on the stack, kernels on that
// under the guard (distributions/guard.h), arithmetic into the caller's array. It ends with the first negative status.
// Its results do not depend on the blocks, since the fills of a stream are one sequence.
#pragma once
#include <arko/dist.h>
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/registers.h"
#include "rng/stream.h"
#include "vector/calls.h"

namespace [[gnu::visibility("hidden")]] kov {

inline constexpr std::int32_t block = 1024;

// step(first, count) for one part of 0..n-1 after the other, each of `size` or what is left. Ends with the first negative
// status; the last step's status, 0 without any.
template <class Step> status in_blocks(std::int64_t n, std::int32_t size, Step step) {
  status s = KOV_STATUS_OK;
  for (std::int64_t i = 0; i < n && s >= KOV_STATUS_OK; i += size)
    s = step(i, static_cast<std::int32_t>(std::min<std::int64_t>(n - i, size)));
  return s;
}

// The registry row of a stream's generator.
inline const BrngProperties& properties_of(const void* stream) {
  std::int32_t row, member;
  return __kovGetBrngBaseOffset(static_cast<const BrngStream*>(stream)->Brng, &row, &member)[row];
}

inline status uniform(void* stream, std::int32_t n, double* r, double a = 0, double b = 1) {
  return _kovdRngUniform(0, stream, n, r, a, b);
}
inline status uniform(void* stream, std::int32_t n, float* r, float a = 0, float b = 1) {
  return _kovsRngUniform(0, stream, n, r, a, b);
}

// The kernel of a function that a generator runs unless it says otherwise: in double at EP, in single at LA.
template <template <class> class F, class T, class... More>
void kernel(std::int32_t n, const T* a, More... more) {
  zur::call<F, sizeof(T) == sizeof(double) ? zur::ep : zur::la>(n, a, more...);
}

// The largest integers not above four numbers, which count as no more than `top`; the least integer where that is outside 32
// bits.
inline __m128i floors_of_four(const float* v, float top) {
  const __m128 x = _mm_min_ps(_mm_set1_ps(top), arko::load<__m128>(v)),
               whole = _mm_cvtepi32_ps(_mm_cvttps_epi32(x));
  return _mm_cvttps_epi32(_mm_sub_ps(x, _mm_and_ps(_mm_cmplt_ps(x, whole), _mm_set1_ps(1))));
}
inline __m128i floors_of_four(const double* v, double top) {
  const auto two = [top](const double* of) {
    const __m128d x = _mm_min_pd(_mm_set1_pd(top), arko::load<__m128d>(of)),
                  whole = _mm_cvtepi32_pd(_mm_cvttpd_epi32(x));
    return _mm_cvttpd_epi32(_mm_sub_pd(x, _mm_and_pd(_mm_cmplt_pd(x, whole), _mm_set1_pd(1))));
  };
  return _mm_unpacklo_epi64(two(v), two(v + 2));
}

template <class T>
void floors(std::int32_t n, const T* v, std::int32_t* r, T top = std::numeric_limits<T>::infinity()) {
  std::int32_t i = 0;
  for (; n - i >= 4; i += 4) arko::store(r + i, floors_of_four(v + i, top));
  if (i == n) return;
  T last[4] = {};
  std::int32_t whole[4];
  std::memcpy(last, v + i, sizeof(T) * (n - i));
  arko::store(whole, floors_of_four(last, top));
  std::memcpy(r + i, whole, sizeof(std::int32_t) * (n - i));
}

}  // namespace kov
