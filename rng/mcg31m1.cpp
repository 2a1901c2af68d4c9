// MCG31M1: x' = a x mod 2^31 - 1, a = 1132489760 unless leapfrog has changed it.
//
// P. L'Ecuyer, "Tables of linear congruential generators of different sizes and good lattice structure",
// Mathematics of Computation 68 (1999). The output is x before the step; x is never 0.
#include <tmmintrin.h>

#include <cstring>

#include "rng/modular.h"
#include "rng/stream.h"

namespace kov { namespace {

// Four numbers times one, mod 2^31 - 1; all are reduced and none is 0.
//
// With the multiplier doubled, p = 2 a x < 2^63 has what the reduction adds up in its two halves: the upper 31
// bits of a x, and twice the lower 31. The sum is below 2^32 and not a multiple of 2^31 - 1, so that adding its
// upper bit to its lower ones completes the reduction. A product takes the lower parts of its lanes: the same
// lanes are real numbers in the making.
inline __m128i times_m31(__m128i x, __m128i twice_a) {
  const __m128 p01 = _mm_castsi128_ps(_mm_mul_epu32(lower_two(x), twice_a));
  const __m128 p23 = _mm_castsi128_ps(_mm_mul_epu32(upper_two(x), twice_a));
  const __m128i upper = _mm_castps_si128(_mm_shuffle_ps(p01, p23, _MM_SHUFFLE(3, 1, 3, 1)));
  const __m128i lower = _mm_castps_si128(_mm_shuffle_ps(p01, p23, _MM_SHUFFLE(2, 0, 2, 0)));
  const __m128i sum = _mm_add_epi32(upper, _mm_srli_epi32(lower, 1));
  return _mm_add_epi32(_mm_and_si128(sum, _mm_set1_epi32(m31)), _mm_srli_epi32(sum, 31));
}

struct mcg31m1 {
  BrngStream head;
  std::uint32_t x, a;

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-31;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    x = count > 0 ? seeds[0] % m31 : 1;
    if (x == 0) x = 1;
    a = 1132489760;
    return KOV_STATUS_OK;
  }
  bool sound() const { return x != 0 && x < m31 && a != 0 && a < m31; }
  status leapfrog(std::int32_t k, std::int32_t streams) {
    skip(static_cast<std::uint64_t>(k));
    a = __koviPowMod2P31M1(a, static_cast<std::uint64_t>(streams));
    return KOV_STATUS_OK;
  }
  status skip(std::uint64_t count) {
    x = kov::times_m31(x, __koviPowMod2P31M1(a, count));
    return KOV_STATUS_OK;
  }

  // Sixteen consecutive numbers advance together, each times a^16.
  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    constexpr int lanes = 16;
    if (n < lanes) {
      for (std::int32_t i = 0; i < n; i++) sink.put(i, next());
      return KOV_STATUS_OK;
    }
    std::uint32_t at[lanes];
    for (std::uint32_t& number : at) number = next();
    const __m128i jump = _mm_set1_epi32(static_cast<int>(2 * __koviPowMod2P31M1(a, lanes)));
    __m128i v[lanes / 4];
    std::memcpy(v, at, sizeof v);
    std::int32_t i = 0;
    for (; n - i >= lanes; i += lanes)
      for (int j = 0; j < lanes / 4; j++) {
        sink.put(i + 4 * j, v[j]);
        v[j] = times_m31(v[j], jump);
      }
    std::memcpy(at, v, sizeof v);
    for (int j = 0; j < n - i; j++) sink.put(i + j, at[j]);
    x = at[n - i];
    return KOV_STATUS_OK;
  }

 private:
  std::uint32_t next() {
    const std::uint32_t now = x;
    x = kov::times_m31(x, a);
    return now;
  }
};
static_assert(sizeof(mcg31m1) == 24);

}  // namespace
}  // namespace kov

KOV_EXPORT std::uint32_t __koviPowMod2P31M1(std::uint32_t a, std::uint64_t n) {
  return kov::power(a % kov::m31, n, 1u,
                    [](std::uint32_t x, std::uint32_t y) { return kov::times_m31(x, y); });
}

KOV_FAMILY(MCG31M1, kov::mcg31m1)
