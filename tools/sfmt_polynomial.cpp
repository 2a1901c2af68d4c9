// Writes the characteristic polynomial of SFMT19937's step of one 128-bit block, for its skip-ahead: the minimal
// polynomial of one bit of the blocks' first word, by Berlekamp and Massey. The state has 19968 bits, which is
// the polynomial's degree; some bits see only a divisor of it, of degree 19965.
#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "gf2.h"

namespace {

constexpr std::uint32_t mask[4] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
constexpr int block_count = 156, pos1 = 122, degree = 128 * block_count;

// A block as a number, the first word lowest (Saito and Matsumoto 2008, section 2).
using block = unsigned __int128;
template <class F> block by_words(block x, F f) {
  block r = 0;
  for (int i = 0; i < 4; i++) r |= block{f(static_cast<std::uint32_t>(x >> 32 * i), i)} << 32 * i;
  return r;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<block> x(block_count + 2 * degree);
  for (std::size_t i = 0; i < block_count; i++)  // any state that is not zero
    x[i] = block{(i + 1) * 0x9E3779B97F4A7C15} << 64 | (i + 7) * 0xBF58476D1CE4E5B9;
  for (std::size_t i = block_count; i < x.size(); i++) {
    const block a = x[i - block_count], b = x[i - block_count + pos1], c = x[i - 2], d = x[i - 1];
    x[i] = a ^ a << 8 ^ by_words(b, [](std::uint32_t w, int k) { return w >> 11 & mask[k]; }) ^ c >> 8 ^
           by_words(d, [](std::uint32_t w, int) { return w << 18; });
  }
  std::vector<std::int32_t> exponents{0};
  for (int bit = 0; bit < 32 && exponents.back() != degree; bit++)
    exponents = arko::tools::gf2::minimal_polynomial(
        2 * degree, [&](int n) { return x[static_cast<std::size_t>(block_count + n)] >> bit & 1; });
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fprintf(stderr, "usage: sfmt_polynomial FILE\n"), 1;
  std::fprintf(out, "// Written by tools/sfmt_polynomial.cpp: exponents in ascending order.\n");
  for (const std::int32_t e : exponents) std::fprintf(out, "%d,\n", e);
  return std::fclose(out) != 0;
}
