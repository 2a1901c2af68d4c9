// Polynomials over the field of two elements, for the programs that search or derive generator parameters and
// for the tests of what they found. Bit i of a row of 64-bit words is the coefficient of x^i.
#pragma once

#include <emmintrin.h>
#include <wmmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace arko::tools::gf2 {

template <std::size_t N> using row = std::array<std::uint64_t, N>;

inline bool bit(const std::uint64_t* p, int i) { return p[i / 64] >> (i % 64) & 1; }
inline void flip(std::uint64_t* p, int i) { p[i / 64] ^= std::uint64_t{1} << (i % 64); }

// -1 for the zero polynomial.
template <std::size_t N> int degree(const row<N>& p) {
  for (int i = N - 1; i >= 0; i--)
    if (p[i]) return 64 * i + 63 - std::countl_zero(p[i]);
  return -1;
}

inline __m128i clmul(std::uint64_t a, std::uint64_t b) {
  return _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<long long>(a)),
                              _mm_cvtsi64_si128(static_cast<long long>(b)), 0);
}

// The sum of products of words, as 128-bit terms by the parity of their first word.
template <std::size_t N> class product_sum {
 public:
  // this += factor p x^(64 first)
  void add(std::size_t first, std::uint64_t factor, const row<N>& p) {
    static_assert(N % 2 == 0);
    __m128i* const from_even = first % 2 ? odd + first / 2 : even + first / 2;
    __m128i* const from_odd = first % 2 ? even + first / 2 + 1 : odd + first / 2;
    const __m128i f = _mm_cvtsi64_si128(static_cast<long long>(factor));
    for (std::size_t i = 0; i < N / 2; i++) {
      const __m128i pair = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&p[2 * i]));
      from_even[i] = _mm_xor_si128(from_even[i], _mm_clmulepi64_si128(f, pair, 0x00));
      from_odd[i] = _mm_xor_si128(from_odd[i], _mm_clmulepi64_si128(f, pair, 0x10));
    }
  }
  void set_even(std::size_t i, __m128i term) { even[i] = term; }
  std::uint64_t operator[](std::size_t i) const {
    const __m128i after = i % 2 ? odd[i / 2] : even[i / 2];
    const __m128i before = i % 2 ? even[i / 2] : i ? odd[i / 2 - 1] : __m128i{};
    return static_cast<std::uint64_t>(after[0] ^ before[1]);
  }

 private:
  __m128i even[N + 1] = {}, odd[N + 1] = {};
};

template <std::size_t N> row<N> greatest_common_divisor(row<N> a, row<N> b) {
  int degree_a = degree(a), degree_b = degree(b);
  while (degree_b >= 0) {
    if (degree_a < degree_b) std::swap(a, b), std::swap(degree_a, degree_b);
    const int shift = degree_a - degree_b, words = shift / 64, bits = shift % 64;
    for (int i = degree_a / 64; i >= words; i--) {
      a[i] ^= b[i - words] << bits;
      if (bits && i > words) a[i] ^= b[i - words - 1] >> (64 - bits);
    }
    degree_a = degree(a);
    if (degree_a < degree_b) std::swap(a, b), std::swap(degree_a, degree_b);
  }
  return a;
}

// Arithmetic modulo a polynomial p of degree below 64 N, done modulo p x^k, whose degree is 64 N.
template <std::size_t N> class modulus {
 public:
  explicit modulus(const row<N>& p) : polynomial(p), p_degree(degree(p)) {
    const int k = static_cast<int>(64 * N) - p_degree;
    flip(x_to_k.data(), k);
    for (int i = p_degree - 1; i >= 0; i--)  // without the leading term, whose place is beyond the row
      if (bit(p.data(), i)) flip(shifted.data(), i + k);
    // The quotient x^(64 N + 64) / (p x^k) is x^64 and these lower terms, found bit by bit.
    std::uint64_t rest = shifted[N - 1];
    for (int i = 63; i >= 0; i--)
      if (rest >> i & 1) {
        inverse |= std::uint64_t{1} << i;
        rest ^= shifted[N - 1] >> (63 - i) >> 1;
      }
  }

  row<N> product(const row<N>& a, const row<N>& b) const {
    product_sum<N> r;
    for (std::size_t i = 0; i < N; i++) r.add(i, b[i], a);
    return reduced(r);
  }
  row<N> square(const row<N>& a) const {
    product_sum<N> r;
    for (std::size_t i = 0; i < N; i++) r.set_even(i, clmul(a[i], a[i]));
    return reduced(r);
  }
  bool divides(const row<N>& a) const { return product(a, x_to_k) == row<N>{}; }

  // For a p of prime degree that neither x nor x + 1 divides: whether it is irreducible, which is whether
  // x^(2^degree) = x. With `search`, first looks for factors of degree up to 64, which most p have.
  bool irreducible(bool search = false) const {
    const auto minus_x = [](row<N> a) { return a[0] ^= 2, a; };
    row<N> power{2}, factors{1};
    for (int i = 1; i <= p_degree; i++) {
      power = square(power);
      if (!search || i <= 64 || i > 128) continue;
      factors = product(factors, minus_x(power));  // has all irreducible factors whose degree divides i
      if (i == 128 && degree(greatest_common_divisor(polynomial, factors)) > 0) return false;
    }
    return divides(minus_x(power));
  }

 private:
  row<N> reduced(product_sum<N>& r) const {
    for (std::size_t i = 2 * N - 1; i >= N; i--) {
      const std::uint64_t top = r[i];
      r.add(i - N, top ^ static_cast<std::uint64_t>(clmul(top, inverse)[1]), shifted);
    }
    row<N> low;
    for (std::size_t i = 0; i < N; i++) low[i] = r[i];
    return low;
  }

  row<N> polynomial, shifted{}, x_to_k{};
  std::uint64_t inverse = 0;
  int p_degree;
};

// The minimal polynomial of a sequence whose degree is at most half the sequence's length, by Berlekamp and
// Massey (Massey 1969, algorithm 1): exponents in ascending order. bit_at(n) is the sequence's bit n.
template <class F> std::vector<std::int32_t> minimal_polynomial(int length, F bit_at) {
  const int size = length / 128 + 2;
  std::vector<std::uint64_t> connection(size), previous(size), window(size);
  connection[0] = previous[0] = 1;
  const auto shift = [size](std::vector<std::uint64_t>& p) {
    for (int i = size - 1; i > 0; i--) p[i] = p[i] << 1 | p[i - 1] >> 63;
    p[0] <<= 1;
  };
  int degree = 0;
  for (int n = 0; n < length; n++) {
    shift(window);
    window[0] |= bit_at(n) ? 1 : 0;
    shift(previous);
    std::uint64_t sum = 0;
    for (int i = 0; i < size; i++) sum ^= connection[i] & window[i];
    if (!(std::popcount(sum) & 1)) continue;
    const bool longer = 2 * degree <= n;
    for (int i = 0; i < size; i++) {
      const std::uint64_t old = connection[i];
      connection[i] ^= previous[i];
      if (longer) previous[i] = old;
    }
    if (longer) degree = n + 1 - degree;
  }
  std::vector<std::int32_t> exponents;
  for (int i = degree; i >= 0; i--)
    if (bit(connection.data(), i)) exponents.push_back(degree - i);
  return exponents;
}

}  // namespace arko::tools::gf2
