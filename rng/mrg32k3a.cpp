// MRG32K3A, the combined multiple recursive generator of P. L'Ecuyer, "Good parameters and implementations for
// combined multiple recursive random number generators", Operations Research 47 (1999):
//
//   x(n) = 1403580 x(n-2) - 810728 x(n-3) mod m1,  m1 = 2^32 - 209
//   y(n) = 527612 y(n-1) - 1370589 y(n-3) mod m2,  m2 = 2^32 - 22853
//
// The output is x(n) - y(n) mod m1. The state holds the last three values of each component, the oldest first.
#include <tmmintrin.h>

#include <array>
#include <cstring>

#include "rng/block.h"
#include "rng/modular.h"
#include "rng/stream.h"

namespace kov { namespace {

// ---- Jumps: powers of the one-step matrices

using vector3 = std::array<std::uint32_t, 3>;
using matrix = std::array<vector3, 3>;

// The upper halves of the products are reduced first, so that their sum fits with the lower ones.
template <class Row> constexpr std::uint32_t dot(const Row& row, const vector3& v, std::uint32_t m) {
  std::uint64_t upper = 0, lower = 0;
  for (std::size_t i = 0; i < 3; i++) {
    const std::uint64_t p = static_cast<std::uint64_t>(row[i]) * v[i];
    upper += p >> 32;
    lower += p & 0xFFFFFFFF;
  }
  upper = (upper + (lower >> 32)) % m;
  return static_cast<std::uint32_t>((upper << 32 | (lower & 0xFFFFFFFF)) % m);
}
constexpr vector3 times_mod(const matrix& a, const vector3& v, std::uint32_t m) {
  return {dot(a[0], v, m), dot(a[1], v, m), dot(a[2], v, m)};
}
constexpr matrix times_mod(const matrix& a, const matrix& b, std::uint32_t m) {
  matrix product = {};
  for (std::size_t j = 0; j < 3; j++) {
    const vector3 column = times_mod(a, vector3{b[0][j], b[1][j], b[2][j]}, m);
    for (std::size_t i = 0; i < 3; i++) product[i][j] = column[i];
  }
  return product;
}

// The step from three values to the next three, for v(n) = c1 v(n-1) + c2 v(n-2) + c3 v(n-3).
constexpr matrix step_matrix(const std::uint32_t* c) { return {{{0, 1, 0}, {0, 0, 1}, {c[2], c[1], c[0]}}}; }

// A component: its modulus 2^32 - d and its coefficients c1, c2, c3.
struct component {
  std::uint32_t d;
  std::uint32_t c[3];
  constexpr std::uint32_t m() const { return 0 - d; }
};
constexpr component cx{209, {0, 1403580, 0 - 209u - 810728}};
constexpr component cy{22853, {527612, 0, 0 - 22853u - 1370589}};

constexpr int table_powers = 193;
using power_table = std::array<matrix, table_powers>;
constexpr power_table powers_of(const component& c) {
  power_table t = {step_matrix(c.c)};
  for (std::size_t k = 1; k < t.size(); k++) t[k] = times_mod(t[k - 1], t[k - 1], c.m());
  return t;
}
constexpr power_table x_powers = powers_of(cx), y_powers = powers_of(cy);

void store(std::uint32_t* v, const vector3& value) { std::copy(value.begin(), value.end(), v); }

// The powers commute, so that the vector can be taken through them one by one: a third of the work of a product of
// matrices.
void jump(std::uint32_t* v, const std::uint32_t* c, std::uint32_t m, std::span<const std::uint64_t> n) {
  const vector3 start = {v[0], v[1], v[2]};
  store(v,
        power(step_matrix(c), n, start, [m](const matrix& a, const auto& x) { return times_mod(a, x, m); }));
}

// With the modulus known the remainders need no division.
template <std::uint32_t m>
void jump_by_table(std::uint32_t* v, std::span<const std::uint64_t> n, const std::uint32_t* table) {
  vector3 now = {v[0], v[1], v[2]};
  for (std::size_t k = 0; k < table_powers && k / 64 < n.size(); k++) {
    if (!(n[k / 64] >> k % 64 & 1)) continue;
    const std::uint32_t* a = table + 9 * k;
    now = {dot(a, now, m), dot(a + 3, now, m), dot(a + 6, now, m)};
  }
  store(v, now);
}

std::span<const std::uint64_t> counted(const std::uint64_t* words, std::int32_t count) {
  return {words, static_cast<std::size_t>(std::max(count, 0))};
}

// ---- Vectors of four consecutive values

// v(j + 16) = (c0 v(j) + c1 v(j + 1) + c2 v(j + 2)) mod 2^32 - d: the first row of the step matrix to the 16. The
// coefficients are the ones of least magnitude; a negative one multiplies down from `lift`, a multiple of the
// modulus, and all sums lie between 0 and 2^64.
struct lag16_x {
  static constexpr std::uint32_t d = 209;
  static constexpr std::uint64_t plus0 = 736416029, minus1 = 1333150987, plus2 = 342112271;
  static constexpr std::uint64_t lift = minus1 * (0 - d);
  static __m128i sum(__m128i v0, __m128i v1, __m128i v2) {
    const __m128i positive =
        _mm_add_epi64(_mm_mul_epu32(v0, _mm_set1_epi64x(plus0)), _mm_mul_epu32(v2, _mm_set1_epi64x(plus2)));
    return _mm_add_epi64(positive,
                         _mm_sub_epi64(_mm_set1_epi64x(lift), _mm_mul_epu32(v1, _mm_set1_epi64x(minus1))));
  }
};
struct lag16_y {
  static constexpr std::uint32_t d = 22853;
  static constexpr std::uint64_t plus0 = 818368950, minus1 = 504169876, minus2 = 752600334;
  static constexpr std::uint64_t lift = (minus1 + minus2) * (0 - d);
  static __m128i sum(__m128i v0, __m128i v1, __m128i v2) {
    const __m128i negative =
        _mm_add_epi64(_mm_mul_epu32(v1, _mm_set1_epi64x(minus1)), _mm_mul_epu32(v2, _mm_set1_epi64x(minus2)));
    return _mm_add_epi64(_mm_mul_epu32(v0, _mm_set1_epi64x(plus0)),
                         _mm_sub_epi64(_mm_set1_epi64x(lift), negative));
  }
};

inline __m128i flip_sign(__m128i v) { return _mm_xor_si128(v, _mm_set1_epi32(INT32_MIN)); }
inline __m128i below(__m128i a, __m128i b) { return _mm_cmplt_epi32(flip_sign(a), flip_sign(b)); }

template <int which> __m128i halves(__m128i even, __m128i odd) {
  return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(even), _mm_castsi128_ps(odd),
                                         _MM_SHUFFLE(2 + which, which, 2 + which, which)));
}

// The four values sixteen places on from `v`, of which `after` holds the next four.
template <class C> [[gnu::always_inline]] inline __m128i lag16(__m128i v, __m128i after) {
  // Each 64-bit lane of a product takes its lower half: values 0 and 2, 1 and 3, 2 and 4, 3 and 5.
  const __m128i v02 = v, v13 = _mm_srli_epi64(v, 32);
  const __m128i v24 = _mm_alignr_epi8(after, v, 8), v35 = _mm_srli_epi64(v24, 32);
  // s - (s / 2^32) m = s mod 2^32 + (s / 2^32) d is below 2^39 for x, 2^46 for y: 15 bits at most lie above 32.
  const auto fold = [](__m128i s) {
    return _mm_sub_epi64(s, _mm_mul_epu32(_mm_srli_epi64(s, 32), _mm_set1_epi64x(0u - C::d)));
  };
  const __m128i even = fold(C::sum(v02, v13, v24)), odd = fold(C::sum(v13, v24, v35));
  // lower + d upper is below 2 m. Another d makes it 2^32 or more exactly where m has to come off.
  const __m128i lower = halves<0>(even, odd), upper = halves<1>(even, odd), d = _mm_set1_epi32(C::d);
  const __m128i less_m = _mm_add_epi32(lower, _mm_add_epi32(_mm_madd_epi16(upper, d), d));
  const __m128i reduced = _mm_sub_epi32(less_m, _mm_andnot_si128(below(less_m, lower), d));
  return _mm_shuffle_epi32(reduced, _MM_SHUFFLE(3, 1, 2, 0));
}

inline __m128i difference(__m128i x, __m128i y) {
  return _mm_sub_epi32(_mm_sub_epi32(x, y), _mm_and_si128(below(x, y), _mm_set1_epi32(209)));
}

// ---- The generator

struct mrg32k3a {
  BrngStream head;
  std::uint32_t x[3], y[3];

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-32;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    const auto take = [&](std::uint32_t* v, std::int32_t first, std::uint32_t m) {
      for (std::int32_t i = 0; i < 3; i++) {
        v[i] = first + i < count ? seeds[first + i] : 1;
        if (v[i] >= m) v[i] -= m;
      }
      if (v[0] == 0 && v[1] == 0 && v[2] == 0) v[0] = 1;
    };
    take(x, 0, cx.m());
    take(y, 3, cy.m());
    return KOV_STATUS_OK;
  }
  bool sound() const {
    const auto within = [](const std::uint32_t* v, std::uint32_t m) {
      return v[0] < m && v[1] < m && v[2] < m && (v[0] | v[1] | v[2]) != 0;
    };
    return within(x, cx.m()) && within(y, cy.m());
  }
  status skip(std::uint64_t count) {
    __koviVect3PowMod(x, cx.c, cx.m(), count);
    __koviVect3PowMod(y, cy.c, cy.m(), count);
    return KOV_STATUS_OK;
  }
  status skip_wide(std::span<const std::uint64_t> count) {
    const auto words = static_cast<std::int32_t>(count.size());
    while (!count.empty() && count.back() == 0) count = count.first(count.size() - 1);
    if (count.size() <= 3 || (count.size() == 4 && count[3] == 1)) {  // no bit from position 193 on
      __koviVect3PowArrayMod_M1(x, words, count.data(), x_powers[0][0].data());
      __koviVect3PowArrayMod_M2(y, words, count.data(), y_powers[0][0].data());
      return KOV_STATUS_OK;
    }
    const mrg32k3a before = *this;
    status s = __koviVect3PowArrayMod(x, cx.c, cx.m(), words, count.data());
    if (s == KOV_STATUS_OK) s = __koviVect3PowArrayMod(y, cy.c, cy.m(), words, count.data());
    if (s != KOV_STATUS_OK) *this = before;
    return s;
  }

  // Sixteen values of each component come from serial steps; then sixteen advance together.
  status draw(std::int32_t n, std::uint32_t* r) {
    constexpr int lanes = 16, vectors = lanes / 4;
    if (n < lanes) {
      for (std::int32_t i = 0; i < n; i++) r[i] = next();
      return KOV_STATUS_OK;
    }
    // Behind three older values each: a last group that is not used up leaves its state among them.
    std::uint32_t xs[3 + lanes], ys[3 + lanes];
    std::int32_t i = 0;
    for (; i < lanes; i++) {
      r[i] = next();
      xs[3 + i] = x[2], ys[3 + i] = y[2];
    }
    __m128i vx[vectors], vy[vectors];
    std::memcpy(vx, xs + 3, sizeof vx);
    std::memcpy(vy, ys + 3, sizeof vy);
    const auto advance = [&](std::uint32_t * to) __attribute__((always_inline)) {
      for (int j = 0; j < vectors; j++) {
        vx[j] = lag16<lag16_x>(vx[j], vx[(j + 1) % vectors]);
        vy[j] = lag16<lag16_y>(vy[j], vy[(j + 1) % vectors]);
        arko::store(to + 4 * j, difference(vx[j], vy[j]));
      }
    };
    for (; n - i > lanes; i += lanes) advance(r + i);
    const int end = i < n ? n - i : lanes;  // of the values delivered from the last group
    if (i < n) {
      const auto keep_three = [](std::uint32_t* older, const __m128i* v) {
        std::memcpy(older, reinterpret_cast<const char*>(v + vectors) - 3 * sizeof *older, 3 * sizeof *older);
      };
      keep_three(xs, vx);
      keep_three(ys, vy);
      std::uint32_t last[lanes];
      advance(last);
      std::copy_n(last, end, r + i);
    }
    std::memcpy(xs + 3, vx, sizeof vx);
    std::memcpy(ys + 3, vy, sizeof vy);
    std::memcpy(x, xs + end, sizeof x);
    std::memcpy(y, ys + end, sizeof y);
    return KOV_STATUS_OK;
  }

 private:
  std::uint32_t next() {
    const auto step = [](std::uint32_t* v, std::uint32_t value) { v[0] = v[1], v[1] = v[2], v[2] = value; };
    const auto reduced = [](std::uint64_t p, const component& c) {
      for (int fold = 0; fold < 2; fold++) p = (p & 0xFFFFFFFF) + (p >> 32) * c.d;
      return static_cast<std::uint32_t>(p >= c.m() ? p - c.m() : p);
    };
    step(x, reduced(std::uint64_t{1403580} * x[1] + std::uint64_t{810728} * (cx.m() - x[0]), cx));
    step(y, reduced(std::uint64_t{527612} * y[2] + std::uint64_t{1370589} * (cy.m() - y[0]), cy));
    return x[2] - y[2] - (x[2] < y[2] ? cx.d : 0);
  }
};
static_assert(sizeof(mrg32k3a) == 40);

}  // namespace
}  // namespace kov

using namespace kov;
using std::int32_t;

KOV_EXPORT std::uint32_t __koviPowMod(std::uint32_t a, std::uint64_t n, std::uint32_t m) {
  return power(a, n, 1u, [m](std::uint32_t x, std::uint32_t y) { return times_mod(x, y, m); });
}

KOV_EXPORT int32_t __koviVect3PowMod(std::uint32_t* v, const std::uint32_t* c, std::uint32_t m,
                                     std::uint64_t n) {
  jump(v, c, m, {&n, 1});
  return KOV_STATUS_OK;
}

// The count is copied first, as it may lie anywhere, also in the vector.
KOV_EXPORT int32_t __koviVect3PowArrayMod(std::uint32_t* v, const std::uint32_t* c, std::uint32_t m,
                                          int32_t nwords, const std::uint64_t* words) {
  const std::span<const std::uint64_t> count = counted(words, nwords);
  std::uint64_t few[10];
  if (count.size() <= std::size(few)) {
    std::copy(count.begin(), count.end(), few);
    jump(v, c, m, {few, count.size()});
    return KOV_STATUS_OK;
  }
  const block<std::uint64_t> many(count.size());
  if (!many) return KOV_STATUS_NO_MEMORY;
  std::copy(count.begin(), count.end(), many.get());
  jump(v, c, m, {many.get(), count.size()});
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __koviVect3PowArrayMod_M1(std::uint32_t* v, int32_t nwords, const std::uint64_t* words,
                                             const std::uint32_t* table) {
  jump_by_table<cx.m()>(v, counted(words, nwords), table);
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __koviVect3PowArrayMod_M2(std::uint32_t* v, int32_t nwords, const std::uint64_t* words,
                                             const std::uint32_t* table) {
  jump_by_table<cy.m()>(v, counted(words, nwords), table);
  return KOV_STATUS_OK;
}

KOV_FAMILY(MRG32K3A, kov::mrg32k3a)
