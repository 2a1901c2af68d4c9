// Vectors of one register and the few operations that the language's vector extensions lack.
//
// Arithmetic, comparisons, shifts by one count and selection (`m ? a : b`) are the operators themselves. The
// width is the build's register; no vector is wider and none crosses a call, so that one source gives the
// same bits at 128, 256 and 512 bits.
#pragma once
#include <immintrin.h>

#include <cstdint>

// One namespace a width keeps builds of one source at several widths apart in one process.
#if defined(__AVX512DQ__)
#define ZUR_WIDTH v64
#elif defined(__AVX2__)
#define ZUR_WIDTH v32
#else
#define ZUR_WIDTH v16
#endif

#define ZUR_INLINE [[gnu::always_inline]] inline

namespace zur::inline ZUR_WIDTH {

#if defined(__AVX512DQ__)
inline constexpr int register_bytes = 64;
#elif defined(__AVX2__)
inline constexpr int register_bytes = 32;
#else
inline constexpr int register_bytes = 16;
#endif

template <class T> struct lanes_of;
template <> struct lanes_of<float> {
  typedef float fp __attribute__((vector_size(register_bytes)));
  typedef std::int32_t si __attribute__((vector_size(register_bytes)));
  typedef std::uint32_t ui __attribute__((vector_size(register_bytes)));
};
template <> struct lanes_of<double> {
  typedef double fp __attribute__((vector_size(register_bytes)));
  typedef std::int64_t si __attribute__((vector_size(register_bytes)));
  typedef std::uint64_t ui __attribute__((vector_size(register_bytes)));
};

template <class T> using vec = typename lanes_of<T>::fp;      // one register of T
template <class T> using ints = typename lanes_of<T>::si;     // a signed integer as wide as T in each lane
template <class T> using pattern = typename lanes_of<T>::ui;  // an unsigned one
using words = ints<float>;                                    // the 32-bit words of a register

template <class T> inline constexpr int lanes = register_bytes / (int)sizeof(T);

// Between vectors a cast reinterprets the bits; `as` says so.
template <class To, class From> ZUR_INLINE To as(From v) {
  static_assert(sizeof(To) == sizeof(From));
  return (To)v;
}

template <class T> ZUR_INLINE vec<T> load(const T* p) {
  vec<T> v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}
template <class T> ZUR_INLINE void store(T* p, vec<T> v) { __builtin_memcpy(p, &v, sizeof v); }

template <class T> ZUR_INLINE vec<T> all(T x) {
  vec<T> v = {};
  for (int i = 0; i < lanes<T>; i++) v[i] = x;
  return v;
}

template <class T> ZUR_INLINE pattern<T> sign_bit() {
  return pattern<T>{} + (std::uint64_t{1} << (8 * sizeof(T) - 1));
}

// One bit a lane: its sign bit.
template <class T> ZUR_INLINE unsigned signs(ints<T> v) {
#if defined(__AVX512DQ__)
  if constexpr (sizeof(T) == 4)
    return _mm512_movepi32_mask((__m512i)v);
  else
    return _mm512_movepi64_mask((__m512i)v);
#elif defined(__AVX2__)
  if constexpr (sizeof(T) == 4)
    return (unsigned)_mm256_movemask_ps((__m256)v);
  else
    return (unsigned)_mm256_movemask_pd((__m256d)v);
#else
  if constexpr (sizeof(T) == 4)
    return (unsigned)_mm_movemask_ps((__m128)v);
  else
    return (unsigned)_mm_movemask_pd((__m128d)v);
#endif
}

// One bit a lane where |x|, by its pattern, lies above `bound`. For double the upper words are compared
// alone: processors of this tier have no comparison of 64-bit integers.
template <class T> ZUR_INLINE unsigned above_abs(vec<T> x, std::int32_t bound) {
  const words w = as<words>(x) & 0x7FFFFFFF;
#if defined(__AVX512DQ__)
  if constexpr (sizeof(T) == 4) return _mm512_cmpgt_epi32_mask((__m512i)w, _mm512_set1_epi32(bound));
#endif
  return signs<T>(as<ints<T>>(w > bound));
}

// table[j[i]] for every lane i, entries and indices as wide as a lane. Taking the indices out in pairs of 32
// bits costs about half of what storing the vector and reading them back does.
template <class E, class I> ZUR_INLINE auto lookup(const E* table, I j) {
  typedef E V __attribute__((vector_size(register_bytes)));
  V v;
  if constexpr (sizeof(E) == 8) {
    for (int i = 0; i < register_bytes / 8; i++) v[i] = table[j[i]];
  } else {
    const auto pairs = as<pattern<double>>(j);
    for (int i = 0; i < register_bytes / 8; i++) {
      const std::uint64_t two = pairs[i];
      v[2 * i] = table[static_cast<std::uint32_t>(two)];
      v[2 * i + 1] = table[two >> 32];
    }
  }
  return v;
}

// The two columns of rows j[i].
template <class T> struct columns { vec<T> hi, lo; };
template <class T> ZUR_INLINE columns<T> lookup(const T (*table)[2], ints<T> j) {
  columns<T> c;
  if constexpr (sizeof(T) == 8) {
#if !defined(__AVX__)
    const __m128d r0 = _mm_load_pd(table[j[0]]), r1 = _mm_load_pd(table[j[1]]);
    return {_mm_unpacklo_pd(r0, r1), _mm_unpackhi_pd(r0, r1)};
#endif
    for (int i = 0; i < lanes<T>; i++) c.hi[i] = table[j[i]][0], c.lo[i] = table[j[i]][1];
  } else {
    const auto rows = [&](int i) { return _mm_castpd_ps(_mm_load_sd((const double*)table[j[i]])); };
#if !defined(__AVX__)
    const __m128 even = _mm_unpacklo_ps(rows(0), rows(1)), odd = _mm_unpacklo_ps(rows(2), rows(3));
    return {_mm_movelh_ps(even, odd), _mm_movehl_ps(odd, even)};
#endif
    for (int i = 0; i < lanes<T>; i++) c.hi[i] = table[j[i]][0], c.lo[i] = table[j[i]][1];
  }
  return c;
}
}  // namespace zur::inline ZUR_WIDTH
