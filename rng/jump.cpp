// Powers of x modulo a sparse polynomial over the field of two elements, and skips by them (see jump.h).
#include "rng/jump.h"

#include <bit>
#include <cstring>

#include "core/registers.h"
#include "rng/block.h"

using std::int32_t, std::int64_t, std::uint32_t, std::uint64_t;

namespace kov { namespace {

bool coefficient(const uint64_t* p, int i) { return p[i / 64] >> (i % 64) & 1; }

// The bits of a half word, apart by one place.
uint64_t spread(uint64_t x) {
  x = (x | x << 16) & 0x0000FFFF0000FFFF;
  x = (x | x << 8) & 0x00FF00FF00FF00FF;
  x = (x | x << 4) & 0x0F0F0F0F0F0F0F0F;
  x = (x | x << 2) & 0x3333333333333333;
  return (x | x << 1) & 0x5555555555555555;
}

class modulus {
 public:
  modulus(int32_t degree, int32_t terms, const int32_t* exponents)
      : degree(degree), lower_terms(terms - 1), exponents(exponents) {}

  // Words of a remainder, and of an array in which one is squared.
  std::size_t words() const { return (static_cast<std::size_t>(degree) + 63) / 64; }
  std::size_t room() const { return 2 * words() + 16; }

  // p = p^2, or x p^2.
  void square(uint64_t* p, bool times_x) const {
    for (std::size_t i = words(); i-- > 0;) {
      const uint64_t w = p[i];
      p[2 * i] = spread(w & 0xFFFFFFFF) << times_x;
      p[2 * i + 1] = spread(w >> 32) << times_x;  // the bit that moves to the next word is 0
    }
    reduce(p);
  }

 private:
  // Terms from the top down, as many at once as do not meet again: x^degree = the sum of the lower terms.
  void reduce(uint64_t* p) const {
    const int gap = degree - exponents[lower_terms - 1];
    for (int top = 2 * degree; top > degree;) {
      const int width = std::min({most_at_once, gap, top - degree});
      top -= width;
      shifts s;
      if (s.take(p, top, width)) s.add(p, top - degree, lower_terms, exponents);
    }
    if (degree % 64) p[degree / 64] &= (uint64_t{1} << degree % 64) - 1;
    std::fill(p + words(), p + room(), 0);
  }

  static constexpr int most_at_once = 512;

  // Bits of a polynomial at each place within a word, so that they are added as whole words.
  struct shifts {
    static constexpr int pairs = most_at_once / 128 + 1, words = 2 * pairs;
    uint64_t bits[64][words];

    bool take(const uint64_t* p, int from, int width) {
      const uint64_t* first = p + from / 64;
      const int shift = from % 64;
      uint64_t any = 0;
      for (int i = 0; i < words; i++) {
        const int left = width - 64 * i;
        uint64_t w = left > 0 ? first[i] >> shift | first[i + 1] << 1 << (63 - shift) : 0;
        if (left > 0 && left < 64) w &= (uint64_t{1} << left) - 1;
        bits[0][i] = w;
        any |= w;
      }
      for (int s = 1; s < 64; s++) {
        bits[s][0] = bits[0][0] << s;
        for (int i = 1; i < words; i++) bits[s][i] = bits[0][i] << s | bits[0][i - 1] >> (64 - s);
      }
      return any != 0;
    }
    // Adds them at `to` plus each of n ascending places; places within one word are summed first.
    void add(uint64_t* p, int to, int n, const int32_t* places) const {
      for (int i = 0; i < n;) {
        const int target = (to + places[i]) / 64;
        using pair = arko::lanes<uint64_t>;
        pair sum[pairs] = {};
        do {
          const uint64_t* b = bits[(to + places[i]) % 64];
#pragma GCC unroll 8
          for (int k = 0; k < pairs; k++) sum[k] ^= arko::load<pair>(b + 2 * k);
        } while (++i < n && (to + places[i]) / 64 == target);
#pragma GCC unroll 8
        for (int k = 0; k < pairs; k++)
          arko::store(p + target + 2 * k, arko::load<pair>(p + target + 2 * k) ^ sum[k]);
      }
    }
  };

  int degree, lower_terms;
  const int32_t* exponents;
};

// What both schedules begin with: the coefficients of x^nskip, and the highest of them.
status remainder_of(int64_t nskip, int32_t words, int32_t degree, int32_t nterms, const int32_t* exponents,
                    uint64_t* coefficients, int* highest) {
  if (const status s =
          __kovPolyRem(nskip, degree, nterms, exponents, words, reinterpret_cast<uint32_t*>(coefficients));
      s != KOV_STATUS_OK)
    return s;
  int h = degree - 1;
  while (h > 0 && !coefficient(coefficients, h)) h--;
  *highest = h;
  return KOV_STATUS_OK;
}

// States at places that suit the generators' vectors.
struct states {
  std::size_t stride;
  block<char> memory;
  states(int count, int32_t state_bytes)
      : stride((static_cast<std::size_t>(state_bytes) + 63) / 64 * 64),
        memory(static_cast<std::size_t>(count) * stride) {}
  explicit operator bool() const { return bool(memory); }
  void* operator[](int i) const { return memory.get() + static_cast<std::size_t>(i) * stride; }
};

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT int32_t __kovPolyRem(int64_t nskip, int32_t degree, int32_t nterms, const int32_t* exponents,
                                int32_t words, uint32_t* result) {
  const modulus m(degree, nterms, exponents);
  block<uint64_t> p(m.room());
  if (!p) return KOV_STATUS_NO_MEMORY;
  std::fill_n(p.get(), m.room(), 0);

  // The leading bits of nskip as far as they need no reduction, then one bit after the other.
  const auto n = static_cast<uint64_t>(nskip);
  int bits = 0;
  while (n >> bits >= static_cast<uint64_t>(degree)) bits++;
  p[(n >> bits) / 64] = uint64_t{1} << ((n >> bits) % 64);
  while (bits-- > 0) m.square(p.get(), n >> bits & 1);

  std::memset(result, 0, static_cast<std::size_t>(words) * sizeof(uint64_t));
  std::memcpy(result, p.get(), m.words() * sizeof(uint64_t));
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kov_SkipAheadHorner(void* stream, StateZero, StateXor xor_, StateCopy copy,
                                         StateStep step, StateFinish finish, SkipPrepare prepare,
                                         int64_t nskip, int32_t words, int32_t degree, int32_t state_bytes,
                                         int32_t nterms, const int32_t* exponents) {
  int32_t offset = 0;
  if (nskip == 0 || prepare(stream, &nskip, &offset) == 0) return KOV_STATUS_OK;
  block<uint64_t> c(static_cast<std::size_t>(words));
  states state(1, state_bytes);
  if (!c || !state) return KOV_STATUS_NO_MEMORY;
  int h;
  if (remainder_of(nskip, words, degree, nterms, exponents, c.get(), &h) != KOV_STATUS_OK)
    return KOV_STATUS_NO_MEMORY;

  copy(state[0], stream);
  for (int i = h - 1; i >= 0; i--) {
    step(state[0]);
    if (coefficient(c.get(), i)) xor_(state[0], stream);
  }
  finish(stream, state[0], offset);
  return KOV_STATUS_OK;
}

KOV_EXPORT int32_t __kov_SkipAheadSWin(void* stream, StateZero zero, StateXor xor_, StateCopy copy,
                                       StateStep step, StateFinish finish, SkipPrepare prepare, int64_t nskip,
                                       int32_t words, int32_t degree, int32_t state_bytes, int32_t nterms,
                                       const int32_t* exponents) {
  int32_t offset = 0;
  if (nskip == 0 || prepare(stream, &nskip, &offset) == 0) return KOV_STATUS_OK;
  constexpr int window = 8, combinations = 1 << (window - 1);
  block<uint64_t> c(static_cast<std::size_t>(words));
  states spare(1, state_bytes), table(combinations, state_bytes), sum(1, state_bytes);
  if (!c || !spare || !table || !sum) return KOV_STATUS_NO_MEMORY;
  int h;
  if (remainder_of(nskip, words, degree, nterms, exponents, c.get(), &h) != KOV_STATUS_OK)
    return KOV_STATUS_NO_MEMORY;

  void* const acc = sum[0];
  const auto steps = [step](void* state, int count) {
    while (count-- > 0) step(state);
  };
  // table[w] = (T^7 + the sum of T^m over the bits m of w) s, in the order of a Gray code.
  copy(table[0], stream);
  steps(table[0], window - 1);
  for (int j = 1, w = 0; j < combinations; j++) {
    const int e = window - 2 - std::countr_zero(static_cast<unsigned>(j)), previous = w;
    w ^= 1 << e;
    copy(spare[0], stream);
    steps(spare[0], e);
    copy(table[w], table[previous]);
    xor_(table[w], spare[0]);
  }

  zero(acc);
  int i = h;
  while (i >= window - 1) {
    if (!coefficient(c.get(), i)) {
      step(acc);
      i--;
      continue;
    }
    int w = 0;
    for (int k = 1; k < window; k++) w = 2 * w + coefficient(c.get(), i - k);
    steps(acc, window);
    xor_(acc, table[w]);
    i -= window;
  }
  for (; i >= 0; i--) {
    step(acc);
    if (coefficient(c.get(), i)) xor_(acc, stream);
  }
  finish(stream, acc, offset);
  return KOV_STATUS_OK;
}
