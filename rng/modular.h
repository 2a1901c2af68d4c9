// Powers by squaring, and arithmetic modulo the congruential generators' moduli.
#pragma once
#include <cstdint>
#include <span>

namespace [[gnu::visibility("hidden")]] kov {

// a to a power times `start`, from the right: start is multiplied by a^(2^k) for every set bit k. The product
// `times` of powers of a is associative and commutative. The power is given in words, the least significant first.
template <class R, class T, class Times>
constexpr R power(T a, std::span<const std::uint64_t> n, R start, Times times) {
  R result = start;
  std::size_t words = n.size();
  while (words > 0 && n[words - 1] == 0) words--;
  for (std::size_t w = 0; w < words; w++) {
    const bool last = w + 1 == words;
    std::uint64_t bits = n[w];
    for (int k = 0; k < 64 && (bits != 0 || !last); k++, bits >>= 1) {
      if (bits & 1) result = times(a, result);
      if (bits > 1 || !last) a = times(a, a);
    }
  }
  return result;
}
template <class R, class T, class Times> constexpr R power(T a, std::uint64_t n, R start, Times times) {
  return power(a, std::span<const std::uint64_t>(&n, 1), start, times);
}

inline constexpr std::uint32_t m31 = 0x7FFFFFFF;  // 2^31 - 1, a prime

// a b mod 2^31 - 1 of reduced numbers: the upper bits of the product count as often as the lower ones.
constexpr std::uint32_t times_m31(std::uint32_t a, std::uint32_t b) {
  const std::uint64_t p = static_cast<std::uint64_t>(a) * b;
  const auto r = static_cast<std::uint32_t>((p & m31) + (p >> 31));
  return r >= m31 ? r - m31 : r;
}

inline constexpr std::uint64_t mask59 = (std::uint64_t{1} << 59) - 1;

constexpr std::uint64_t times_59(std::uint64_t a, std::uint64_t b) { return a * b & mask59; }

constexpr std::uint32_t times_mod(std::uint32_t a, std::uint32_t b, std::uint32_t m) {
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(a) * b % m);
}

}  // namespace kov
