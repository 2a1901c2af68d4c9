// Vectors of one register and the few operations that the language's vector extensions lack.
//
// Arithmetic, comparisons, shifts by one count and selection (`m ? a : b`) are the operators themselves. The
// width is the build's register; no vector is wider and none crosses a call, so that one source gives the
// same bits at 128, 256 and 512 bits.
#pragma once
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

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

// c0 + x (c1 + x (c2 + ...)), for vectors and single numbers, from the innermost bracket outwards.
template <class V, class C> ZUR_INLINE V horner(V x, C c0, C c1) { return c1 * x + c0; }
template <class V, class C, class... Rest> ZUR_INLINE V horner(V x, C c0, C c1, Rest... rest) {
  return horner(x, c1, rest...) * x + c0;
}

// The same from x and x^2, with half the dependent steps for one product more:
// c0 + x c1 + x^2 (c2 + x c3 + x^2 (c4 + ...)).
template <class V, class C> ZUR_INLINE C horner2(V, V, C c0) { return c0; }
template <class V, class C> ZUR_INLINE V horner2(V x, V, C c0, C c1) { return c1 * x + c0; }
template <class V, class C, class... Rest> ZUR_INLINE V horner2(V x, V x2, C c0, C c1, Rest... rest) {
  return horner2(x, x2, rest...) * x2 + (c1 * x + c0);
}

// |x|, and a number that is not negative with the sign of s, by bits.
template <class T> ZUR_INLINE vec<T> magnitude(vec<T> x) {
  return as<vec<T>>(as<pattern<T>>(x) & ~sign_bit<T>());
}
template <class T> ZUR_INLINE vec<T> with_sign(vec<T> x, vec<T> s) {
  return as<vec<T>>(as<pattern<T>>(x) | (as<pattern<T>>(s) & sign_bit<T>()));
}

// The processor's maximum and minimum: the second operand where the two compare equal or one is a NaN.
#if defined(__AVX512DQ__)
ZUR_INLINE vec<float> maximum(vec<float> a, vec<float> b) { return _mm512_maskz_max_ps(0xFFFF, a, b); }
ZUR_INLINE vec<double> maximum(vec<double> a, vec<double> b) { return _mm512_maskz_max_pd(0xFF, a, b); }
ZUR_INLINE vec<float> minimum(vec<float> a, vec<float> b) { return _mm512_maskz_min_ps(0xFFFF, a, b); }
ZUR_INLINE vec<double> minimum(vec<double> a, vec<double> b) { return _mm512_maskz_min_pd(0xFF, a, b); }
#elif defined(__AVX2__)
ZUR_INLINE vec<float> maximum(vec<float> a, vec<float> b) { return _mm256_max_ps(a, b); }
ZUR_INLINE vec<double> maximum(vec<double> a, vec<double> b) { return _mm256_max_pd(a, b); }
ZUR_INLINE vec<float> minimum(vec<float> a, vec<float> b) { return _mm256_min_ps(a, b); }
ZUR_INLINE vec<double> minimum(vec<double> a, vec<double> b) { return _mm256_min_pd(a, b); }
#else
ZUR_INLINE vec<float> maximum(vec<float> a, vec<float> b) { return _mm_max_ps(a, b); }
ZUR_INLINE vec<double> maximum(vec<double> a, vec<double> b) { return _mm_max_pd(a, b); }
ZUR_INLINE vec<float> minimum(vec<float> a, vec<float> b) { return _mm_min_ps(a, b); }
ZUR_INLINE vec<double> minimum(vec<double> a, vec<double> b) { return _mm_min_pd(a, b); }
#endif

// All bits where x has its sign bit set, else none. A comparison would make a quiet NaN an invalid operation.
template <class T> ZUR_INLINE pattern<T> if_negative(vec<T> x) {
  words w = as<words>(x) >> 31;
  if constexpr (sizeof(T) == 8)
    w = [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
      return __builtin_shufflevector(w, w, (i | 1)...);
    }
  (std::make_index_sequence<lanes<float>>());
  return as<pattern<T>>(w);
}

// A flag for each lane: the sign bits of a vector or, with mask registers, the bits of one. Flags combine by
// |.
#if defined(__AVX512DQ__)
template <class T> using flags = unsigned;
#else
template <class T> using flags = ints<T>;
#endif

// From the all-ones or zero lanes of a comparison.
template <class T> ZUR_INLINE flags<T> where(ints<T> m) {
#if defined(__AVX512DQ__)
  if constexpr (sizeof(T) == 4)
    return _mm512_movepi32_mask((__m512i)m);
  else
    return _mm512_movepi64_mask((__m512i)m);
#else
  return m;
#endif
}

// Flags as the low bits of an integer, lane 0 lowest.
template <class T> ZUR_INLINE unsigned bits(flags<T> m) {
#if defined(__AVX512DQ__)
  return m;
#elif defined(__AVX2__)
  if constexpr (sizeof(T) == 4)
    return (unsigned)_mm256_movemask_ps((__m256)m);
  else
    return (unsigned)_mm256_movemask_pd((__m256d)m);
#else
  if constexpr (sizeof(T) == 4)
    return (unsigned)_mm_movemask_ps((__m128)m);
  else
    return (unsigned)_mm_movemask_pd((__m128d)m);
#endif
}

// The upper halves of the products of unsigned 16-bit halves.
ZUR_INLINE words upper_products(words a, words b) {
#if defined(__AVX512DQ__)
  return (words)_mm512_mulhi_epu16((__m512i)a, (__m512i)b);
#elif defined(__AVX2__)
  return (words)_mm256_mulhi_epu16((__m256i)a, (__m256i)b);
#else
  return (words)_mm_mulhi_epu16((__m128i)a, (__m128i)b);
#endif
}

// The processor's estimates of 1/x and 1/sqrt(x): of relative error below 1.5 * 2^-12, the same in every lane and at
// every width, but not from one maker of processors to another. Denormal x count as zeros of their sign.
#if defined(__AVX512DQ__)
template <class F>
ZUR_INLINE vec<float> by_halves(vec<float> x, F f) {  // the instructions on 512 bits are others
  return __builtin_shufflevector(f(__builtin_shufflevector(x, x, 0, 1, 2, 3, 4, 5, 6, 7)),
                                 f(__builtin_shufflevector(x, x, 8, 9, 10, 11, 12, 13, 14, 15)), 0, 1, 2, 3,
                                 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}
#endif
ZUR_INLINE vec<float> approx_reciprocal(vec<float> x) {
#if defined(__AVX512DQ__)
  return by_halves(x, [](__m256 v) { return _mm256_rcp_ps(v); });
#elif defined(__AVX2__)
  return _mm256_rcp_ps(x);
#else
  return _mm_rcp_ps(x);
#endif
}
ZUR_INLINE vec<float> approx_reciprocal_root(vec<float> x) {
#if defined(__AVX512DQ__)
  return by_halves(x, [](__m256 v) { return _mm256_rsqrt_ps(v); });
#elif defined(__AVX2__)
  return _mm256_rsqrt_ps(x);
#else
  return _mm_rsqrt_ps(x);
#endif
}

// Lanes where |x|, by its pattern, lies above `bound`. For double the upper words are compared alone:
// processors of this tier have no comparison of 64-bit integers.
template <class T> ZUR_INLINE flags<T> above_abs(vec<T> x, std::int32_t bound) {
  const words w = as<words>(magnitude<T>(x));
#if defined(__AVX512DQ__)
  if constexpr (sizeof(T) == 4) return _mm512_cmpgt_epi32_mask((__m512i)w, _mm512_set1_epi32(bound));
#endif
  return where<T>(as<ints<T>>(w > bound));
}

// Bounds of normal numbers, by patterns; of double, by the upper words.
template <class T> inline constexpr std::uint32_t least_normal = sizeof(T) == 4 ? 0x00800000 : 0x00100000;
template <class T> inline constexpr std::uint32_t greatest_finite = sizeof(T) == 4 ? 0x7F7FFFFF : 0x7FEFFFFF;

// Lanes that hold no number from `least` to `greatest`, told by their patterns; of double, by the upper words alone.
template <class T> ZUR_INLINE flags<T> outside(vec<T> x, std::uint32_t least, std::uint32_t greatest) {
  const std::uint32_t half = 0x80000000;  // moves the order of unsigned integers to that of signed ones
  const words above_least = as<words>(as<pattern<float>>(x) + (half - least));
  return where<T>(as<ints<T>>(above_least > static_cast<std::int32_t>((greatest - least) ^ half)));
}

// Lanes of an infinity or a NaN; and of those too where x is zero or denormal.
template <class T> ZUR_INLINE flags<T> not_finite(vec<T> x) { return above_abs<T>(x, greatest_finite<T>); }
template <class T> ZUR_INLINE flags<T> not_normal(vec<T> x) {
  return outside<T>(magnitude<T>(x), least_normal<T>, greatest_finite<T>);
}

// Lane i of a vector of indices. Taking 32-bit indices out in pairs costs about half of storing the vector
// and reading them back. For the upper of two 64-bit lanes g++ would take an instruction that waits for the
// last value of its target, and with it for the vector before.
template <class T, std::size_t i> ZUR_INLINE std::size_t index(ints<T> j) {
  constexpr std::size_t at = sizeof(T) == 8 ? i : i / 2;
  std::uint64_t lane = as<pattern<double>>(j)[at];
#if !defined(__AVX__)
  if constexpr (at == 1)
    lane = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_shuffle_epi32((__m128i)j, 0xEE)));
#endif
  if constexpr (sizeof(T) == 8) return lane;
  return i % 2 ? lane >> 32 : static_cast<std::uint32_t>(lane);
}

// table[j[i]] for every lane i. Entries and indices are as wide as a lane of T.
template <class T, class E> ZUR_INLINE auto lookup(const E* table, ints<T> j) {
  static_assert(sizeof(E) == sizeof(T));
#if !defined(__AVX__)
  // g++ would take three of four 32-bit entries through an integer register.
  if constexpr (sizeof(T) == 4) {
    typedef E V __attribute__((vector_size(register_bytes)));
    const auto entry = [&](std::size_t i) __attribute__((always_inline)) {
      return _mm_loadu_si32(table + i);
    };
    const __m128i r01 = _mm_unpacklo_epi32(entry(index<T, 0>(j)), entry(index<T, 1>(j)));
    const __m128i r23 = _mm_unpacklo_epi32(entry(index<T, 2>(j)), entry(index<T, 3>(j)));
    return (V)_mm_unpacklo_epi64(r01, r23);
  }
#endif
  typedef E V __attribute__((vector_size(register_bytes)));
  return [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
    return V{table[index<T, i>(j)]...};
  }
  (std::make_index_sequence<lanes<T>>());
}

// The first two, three or four columns of rows j[i], by the names that the caller binds them to.
template <class T, int count> struct columns;
template <class T> struct columns<T, 2> { vec<T> a, b; };
template <class T> struct columns<T, 3> { vec<T> a, b, c; };
template <class T> struct columns<T, 4> { vec<T> a, b, c, d; };

// Rows begin at multiples of their own size, 16 bytes or 32, or 8 for two columns of single. Registers of 16 bytes are
// loaded with parts of rows and transposed; wider ones are filled number by number.
template <int count, class T, int width>
ZUR_INLINE columns<T, count> lookup_rows(const T (*table)[width], ints<T> j) {
  static_assert(count <= width && (width == 2 || width == 4));
#if !defined(__AVX__)
  if constexpr (sizeof(T) == 8) {
    constexpr int row_bits = width == 2 ? 4 : 5;  // of its size in bytes
    const ints<T> places = j << row_bits;
    const auto row = [&](std::size_t place) __attribute__((always_inline)) {
      return reinterpret_cast<const double*>(reinterpret_cast<const char*>(table) + place);
    };
    const double *const p = row(index<T, 0>(places)), *const q = row(index<T, 1>(places));
    const __m128d p01 = _mm_load_pd(p), q01 = _mm_load_pd(q);
    const __m128d a = _mm_unpacklo_pd(p01, q01), b = _mm_unpackhi_pd(p01, q01);
    if constexpr (count == 2) return {a, b};
    if constexpr (count == 3) return {a, b, _mm_loadh_pd(_mm_load_sd(p + 2), q + 2)};
    if constexpr (count == 4) {
      const __m128d p23 = _mm_load_pd(p + 2), q23 = _mm_load_pd(q + 2);
      return {a, b, _mm_unpacklo_pd(p23, q23), _mm_unpackhi_pd(p23, q23)};
    }
  } else {
    const auto row = [&](std::size_t i) __attribute__((always_inline)) {
      if constexpr (width == 2)
        return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(table[i])));
      else
        return _mm_load_ps(table[i]);
    };
    const __m128 r0 = row(index<T, 0>(j)), r1 = row(index<T, 1>(j)), r2 = row(index<T, 2>(j)),
                 r3 = row(index<T, 3>(j));
    const __m128 r01 = _mm_unpacklo_ps(r0, r1), r23 = _mm_unpacklo_ps(r2, r3);
    const __m128 a = _mm_movelh_ps(r01, r23), b = _mm_movehl_ps(r23, r01);
    if constexpr (count == 2) return {a, b};
    const __m128 s01 = _mm_unpackhi_ps(r0, r1), s23 = _mm_unpackhi_ps(r2, r3);
    if constexpr (count == 3) return {a, b, _mm_movelh_ps(s01, s23)};
    if constexpr (count == 4) return {a, b, _mm_movelh_ps(s01, s23), _mm_movehl_ps(s23, s01)};
  }
#else
  return [&]<std::size_t... c>(std::index_sequence<c...>) __attribute__((always_inline)) {
    return columns<T, count>{lookup<T>(table[0] + c, j * width)...};
  }
  (std::make_index_sequence<count>());
#endif
}

}  // namespace zur::inline ZUR_WIDTH
