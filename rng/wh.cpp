// WH: 273 generators of four components x' = a x mod m with moduli of 24 bits.
//
// B. A. Wichmann and I. D. Hill, "An efficient and portable pseudo-random number generator", Applied Statistics 31
// (1982), for the form; wh_moduli.inc tells how the members were chosen. An output is the four components before
// the step; the uniform number is the fraction of the sum of x/m. No x is ever 0.
#include <emmintrin.h>

#include <array>

#include "rng/modular.h"
#include "rng/stream.h"

namespace kov { namespace {

struct member {
  std::uint32_t multipliers;  // a byte each, a1 lowest
  std::uint32_t m[4];
};
constexpr member members[] = {
#include "rng/wh_moduli.inc"
};
static_assert(std::size(members) == 273);

// 1/m of all members.
constexpr auto reciprocals = [] {
  std::array<std::array<double, 4>, std::size(members)> t = {};
  for (std::size_t i = 0; i < t.size(); i++)
    for (std::size_t c = 0; c < 4; c++) t[i][c] = 1.0 / members[i].m[c];
  return t;
}();

inline __m128d whole_part(__m128d v) { return _mm_cvtepi32_pd(_mm_cvttpd_epi32(v)); }

// Two numbers of one component.
//
// The product p = a x is below 2^48. It is no multiple of m, so that p / m keeps 2^-24 away from all integers, and
// the quotient's whole part is right although the reciprocal is rounded, in any rounding mode; all else is exact.
struct component {
  __m128d x, jump, m, reciprocal;
  __m128d next() const {
    const __m128d product = _mm_mul_pd(x, jump);
    return _mm_sub_pd(product, _mm_mul_pd(whole_part(_mm_mul_pd(product, reciprocal)), m));
  }
};

struct wh {
  BrngStream head;
  std::uint32_t x[4], a[4];

  using word = std::uint32_t;
  static constexpr double unit = 1;

  const member& row() const { return members[member_of(head)]; }

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    for (int c = 0; c < 4; c++) {
      x[c] = c < count ? seeds[c] % row().m[c] : 1;
      if (x[c] == 0) x[c] = 1;
      a[c] = row().multipliers >> 8 * c & 0xFF;
    }
    return KOV_STATUS_OK;
  }
  bool sound() const {
    for (int c = 0; c < 4; c++)
      if (x[c] == 0 || x[c] >= row().m[c] || a[c] == 0 || a[c] >= row().m[c]) return false;
    return true;
  }
  status leapfrog(std::int32_t k, std::int32_t streams) {
    skip(static_cast<std::uint64_t>(k));
    for (int c = 0; c < 4; c++) a[c] = __koviPowMod(a[c], static_cast<std::uint64_t>(streams), row().m[c]);
    return KOV_STATUS_OK;
  }
  status skip(std::uint64_t count) {
    for (int c = 0; c < 4; c++) x[c] = times_mod(x[c], __koviPowMod(a[c], count, row().m[c]), row().m[c]);
    return KOV_STATUS_OK;
  }

  // Words: the four components of an output side by side.
  status draw(std::int32_t n, std::uint32_t* r) {
    return walk(
        n, [&](std::int32_t i, const __m128d* v, bool both) __attribute__((always_inline)) {
          __m128i w[4];
          for (int c = 0; c < 4; c++) w[c] = _mm_cvttpd_epi32(v[c]);
          const __m128i w01 = _mm_unpacklo_epi32(w[0], w[1]), w23 = _mm_unpacklo_epi32(w[2], w[3]);
          arko::store(r + 4 * i, _mm_unpacklo_epi64(w01, w23));
          if (both) arko::store(r + 4 * i + 4, _mm_unpackhi_epi64(w01, w23));
        });
  }

  // Fractions of the sums of x/m, added from the first component to the last.
  template <class T> status draw(std::int32_t n, const real_sink<T>& sink) {
    const auto& reciprocal = reciprocals[static_cast<std::size_t>(member_of(head))];
    const __m128d by_m[] = {_mm_set1_pd(reciprocal[0]), _mm_set1_pd(reciprocal[1]),
                            _mm_set1_pd(reciprocal[2]), _mm_set1_pd(reciprocal[3])};
    return walk(
        n, [&](std::int32_t i, const __m128d* v, bool both) __attribute__((always_inline)) {
          __m128d sum = _mm_mul_pd(v[0], by_m[0]);
          for (int c = 1; c < 4; c++) sum = _mm_add_pd(sum, _mm_mul_pd(v[c], by_m[c]));
          const __m128d fraction = _mm_sub_pd(sum, whole_part(sum));
          both ? sink.put(i, fraction) : sink.put(i, _mm_cvtsd_f64(fraction));
        });
  }

 private:
  // Gives the next n outputs in pairs: the number of the first, the components of both, whether the second counts.
  // Two pairs advance together, each component times a^4.
  template <class Put> [[gnu::always_inline]] status walk(std::int32_t n, Put&& put) {
    component pairs[2][4];
    const member& of = row();
    const auto& reciprocal = reciprocals[static_cast<std::size_t>(member_of(head))];
    for (int c = 0; c < 4; c++) {
      std::uint32_t v[4] = {x[c]};
      for (int i = 1; i < 4; i++) v[i] = times_mod(v[i - 1], a[c], of.m[c]);
      const std::uint32_t a2 = times_mod(a[c], a[c], of.m[c]), a4 = times_mod(a2, a2, of.m[c]);
      for (int p = 0; p < 2; p++)
        pairs[p][c] = {_mm_set_pd(v[2 * p + 1], v[2 * p]), _mm_set1_pd(a4), _mm_set1_pd(of.m[c]),
                       _mm_set1_pd(reciprocal[static_cast<std::size_t>(c)])};
    }
    __m128d v[4];
    const auto step = [&](int p) __attribute__((always_inline)) {
      for (int c = 0; c < 4; c++) {
        v[c] = pairs[p][c].x;
        pairs[p][c].x = pairs[p][c].next();
      }
    };
    std::int32_t i = 0;
    for (; n - i >= 4; i += 4)
      for (int p = 0; p < 2; p++) {
        step(p);
        put(i + 2 * p, v, true);
      }
    // What comes next is among the four numbers that stand there.
    const std::int32_t left = n - i;
    for (int c = 0; c < 4; c++) {
      const __m128d at = pairs[left / 2][c].x;
      x[c] = static_cast<std::uint32_t>(_mm_cvtsd_si32(left % 2 ? _mm_unpackhi_pd(at, at) : at));
    }
    for (int p = 0; 2 * p < left; p++) {
      step(p);
      put(i + 2 * p, v, 2 * p + 1 < left);
    }
    return KOV_STATUS_OK;
  }
};
static_assert(sizeof(wh) == 48);

}  // namespace
}  // namespace kov

KOV_FAMILY(WH, kov::wh)
