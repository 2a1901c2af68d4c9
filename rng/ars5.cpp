// ARS5: the counter through five rounds of AES with a simpler key schedule (ARS-5 of the paper named in rng/counter.h).
//
// Round key i is the key with (w0, w1) added i times to its 64-bit halves; the state starts as the counter xor key 0.
#include <immintrin.h>

#include "rng/counter.h"

// Compiled for instructions that the module as a whole does not ask for: reached only where the processor has them.
#define WITH_AES gnu::target("aes")
#define WITH_VAES gnu::target("aes,avx2,vaes")

namespace kov { namespace {

// Eight words, as the sinks take four.
[[WITH_VAES, gnu::always_inline]] inline void put(const word_sink<std::uint32_t>& sink, std::int32_t i,
                                                  __m256i eight) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(sink.r + i), eight);
}
[[WITH_VAES, gnu::always_inline]] inline void put(const centred_sink<double>& sink, std::int32_t i,
                                                  __m256i eight) {
  const __m256d scale = _mm256_set1_pd(sink.scale), centre = _mm256_set1_pd(sink.centre);
  const __m256d lower = _mm256_cvtepi32_pd(_mm256_castsi256_si128(eight)),
                upper = _mm256_cvtepi32_pd(_mm256_extracti128_si256(eight, 1));
  _mm256_storeu_pd(sink.r + i, _mm256_add_pd(_mm256_mul_pd(lower, scale), centre));
  _mm256_storeu_pd(sink.r + i + 4, _mm256_add_pd(_mm256_mul_pd(upper, scale), centre));
}
[[WITH_VAES, gnu::always_inline]] inline void put(const centred_sink<float>& sink, std::int32_t i,
                                                  __m256i eight) {
  const __m256 scale = _mm256_set1_ps(sink.scale), centre = _mm256_set1_ps(sink.centre);
  _mm256_storeu_ps(sink.r + i, _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(eight), scale), centre));
}

inline __m128i both_halves(std::uint64_t low, std::uint64_t high) {
  return _mm_set_epi64x(static_cast<std::int64_t>(high), static_cast<std::int64_t>(low));
}

struct ars5_mapping {
  static constexpr int key_words = 4;
  static constexpr bool early = false;
  static constexpr int rounds = 5;

  static status missing() { return __kovCPUisAES() ? KOV_STATUS_OK : KOV_STATUS_NO_AES; }

  [[WITH_AES]] static __m128i block(const std::uint32_t* key, counter128 c) {
    const round_keys keys(key);
    __m128i one[1] = {both_halves(c.low, c.high)};
    encrypt(one, keys);
    return one[0];
  }

  template <class Sink>
  static void blocks(const std::uint32_t* key, counter128 c, std::int32_t count, const Sink& sink,
                     std::int32_t i) {
    if (count >= wide_blocks && __kovCPUisVAES()) {
      const std::int32_t done = wide(key, c, count, sink, i);
      c.add(static_cast<std::uint64_t>(done));
      count -= done;
      i += 4 * done;
    }
    narrow(key, c, count, sink, i);
  }

 private:
  static constexpr int together = 4;      // vectors, to fill the time that a round takes
  static constexpr int wide_blocks = 63;  // of a fill of 256 words or more

  struct round_keys {
    __m128i k[rounds + 1];

    explicit round_keys(const std::uint32_t* key) {
      const __m128i step = both_halves(0x9E3779B97F4A7C15, 0xBB67AE8584CAA73B);
      k[0] = arko::load<__m128i>(key);
      for (int r = 0; r < rounds; r++) k[r + 1] = _mm_add_epi64(k[r], step);
    }
  };

  template <int n>
  [[WITH_AES, gnu::always_inline]] static inline void encrypt(__m128i (&s)[n], const round_keys& keys) {
    for (__m128i& x : s) x = _mm_xor_si128(x, keys.k[0]);
    for (int r = 1; r < rounds; r++)
      for (__m128i& x : s) x = _mm_aesenc_si128(x, keys.k[r]);
    for (__m128i& x : s) x = _mm_aesenclast_si128(x, keys.k[rounds]);
  }

  template <class Sink>
  [[WITH_AES]] static void narrow(const std::uint32_t* key, counter128 c, std::int32_t count,
                                  const Sink& sink, std::int32_t i) {
    const round_keys keys(key);
    const __m128i one = both_halves(1, 0);
    __m128i at = both_halves(c.low, c.high);
    for (; count >= together; count -= together) {
      __m128i s[together];
      for (__m128i& x : s) {
        x = at;
        at = _mm_add_epi64(at, one);
      }
      encrypt(s, keys);
      for (const __m128i& x : s) {
        sink.put(i, x);
        i += 4;
      }
    }
    for (; count > 0; count--, i += 4) {
      __m128i s[1] = {at};
      at = _mm_add_epi64(at, one);
      encrypt(s, keys);
      sink.put(i, s[0]);
    }
  }

  // Two blocks a vector. Returns how many blocks it has made: as many as fill whole groups.
  template <class Sink>
  [[WITH_VAES]] static std::int32_t wide(const std::uint32_t* key, counter128 c, std::int32_t count,
                                         const Sink& sink, std::int32_t i) {
    const round_keys keys(key);
    __m256i k[rounds + 1];
    for (int r = 0; r <= rounds; r++) k[r] = _mm256_broadcastsi128_si256(keys.k[r]);
    const __m256i two = _mm256_set_epi64x(0, 2, 0, 2);
    __m256i at = _mm256_set_m128i(both_halves(c.low + 1, c.high), both_halves(c.low, c.high));
    std::int32_t done = 0;
    for (; done + 2 * together <= count; done += 2 * together) {
      __m256i s[together];
      for (__m256i& x : s) {
        x = _mm256_xor_si256(at, k[0]);
        at = _mm256_add_epi64(at, two);
      }
      for (int r = 1; r < rounds; r++)
        for (__m256i& x : s) x = _mm256_aesenc_epi128(x, k[r]);
      for (__m256i& x : s) {
        put(sink, i, _mm256_aesenclast_epi128(x, k[rounds]));
        i += 8;
      }
    }
    return done;
  }
};

using ars5 = counter_based<ars5_mapping>;
static_assert(sizeof(ars5) == 72);

}  // namespace
}  // namespace kov

KOV_FAMILY(ARS5, kov::ars5)
