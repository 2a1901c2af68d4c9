// PHILOX4X32X10: the counter through ten rounds of multiplication (Philox4x32 of the paper named in rng/counter.h):
//
//   (c0, c1, c2, c3) -> (hi(m1 c2) ^ c1 ^ k0, lo(m1 c2), hi(m0 c0) ^ c3 ^ k1, lo(m0 c0))
//
// after which the key goes up by (w0, w1).
#include "rng/counter.h"

namespace kov { namespace {

struct philox4x32x10 {
  static constexpr int key_words = 2;
  static constexpr bool early = true;
  static constexpr int rounds = 10;

  static status missing() { return KOV_STATUS_OK; }

  static __m128i block(const std::uint32_t* key, counter128 c) {
    const round_keys keys(key);
    pair one[1] = {pair(_mm_set1_epi64x(static_cast<std::int64_t>(c.low)),
                        _mm_set1_epi64x(static_cast<std::int64_t>(c.high)))};
    mix(one, keys);
    return one[0].first();
  }

  template <class Sink>
  static void blocks(const std::uint32_t* key, counter128 c, std::int32_t count, const Sink& sink,
                     std::int32_t i) {
    const round_keys keys(key);
    const __m128i high = _mm_set1_epi64x(static_cast<std::int64_t>(c.high)), two = _mm_set1_epi64x(2);
    __m128i low = _mm_add_epi64(_mm_set1_epi64x(static_cast<std::int64_t>(c.low)), _mm_set_epi64x(1, 0));
    std::int32_t left = count;
    for (; left >= 2 * together; left -= 2 * together) {
      pair group[together];
      for (pair& p : group) {
        p = pair(low, high);
        low = _mm_add_epi64(low, two);
      }
      mix(group, keys);
      for (const pair& p : group) {
        sink.put(i, p.first());
        sink.put(i + 4, p.second());
        i += 8;
      }
    }
    for (; left > 0; left -= 2) {
      pair p[1] = {pair(low, high)};
      low = _mm_add_epi64(low, two);
      mix(p, keys);
      sink.put(i, p[0].first());
      if (left == 1) break;
      sink.put(i + 4, p[0].second());
      i += 8;
    }
  }

 private:
  static constexpr int together = 3;  // pairs: the products of one fill the time that those of others take

  struct round_keys {
    __m128i k0[rounds], k1[rounds];

    explicit round_keys(const std::uint32_t* key) {
      std::uint32_t a = key[0], b = key[1];
      for (int r = 0; r < rounds; r++, a += 0x9E3779B9, b += 0xBB67AE85) {
        k0[r] = _mm_set1_epi64x(a);
        k1[r] = _mm_set1_epi64x(b);
      }
    }
  };

  // Two blocks, a word of each in the lower part of a 64-bit lane. The upper parts hold what is left over: products
  // do not read them.
  struct pair {
    __m128i c0, c1, c2, c3;

    pair() = default;
    pair(__m128i low, __m128i high)
        : c0(low), c1(_mm_srli_epi64(low, 32)), c2(high), c3(_mm_srli_epi64(high, 32)) {}

    void round(__m128i k0, __m128i k1) {
      const __m128i p0 = _mm_mul_epu32(c0, _mm_set1_epi64x(0xD2511F53));
      const __m128i p1 = _mm_mul_epu32(c2, _mm_set1_epi64x(0xCD9E8D57));
      c0 = _mm_xor_si128(_mm_srli_epi64(p1, 32), _mm_xor_si128(c1, k0));
      c1 = p1;
      c2 = _mm_xor_si128(_mm_srli_epi64(p0, 32), _mm_xor_si128(c3, k1));
      c3 = p0;
    }
    __m128i first() const {
      return _mm_unpacklo_epi64(_mm_unpacklo_epi32(c0, c1), _mm_unpacklo_epi32(c2, c3));
    }
    __m128i second() const {
      return _mm_unpacklo_epi64(_mm_unpackhi_epi32(c0, c1), _mm_unpackhi_epi32(c2, c3));
    }
  };

  template <int pairs>
  [[gnu::always_inline]] static inline void mix(pair (&group)[pairs], const round_keys& keys) {
#pragma GCC unroll 10
    for (int r = 0; r < rounds; r++)
      for (pair& p : group) p.round(keys.k0[r], keys.k1[r]);
  }
};

using philox = counter_based<philox4x32x10>;
static_assert(sizeof(philox) == 64);

}  // namespace
}  // namespace kov

KOV_FAMILY(PHILOX4X32X10, kov::philox)
