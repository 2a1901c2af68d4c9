// Four 32-bit words in a register, from and to memory of any alignment.
#pragma once
#include <emmintrin.h>

#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

typedef std::uint32_t quad __attribute__((vector_size(16)));

inline quad load(const void* p) {
  return reinterpret_cast<quad>(_mm_loadu_si128(static_cast<const __m128i*>(p)));
}
inline void store(void* p, quad x) {
  _mm_storeu_si128(static_cast<__m128i*>(p), reinterpret_cast<__m128i>(x));
}

// r[i] = x[i] ^ y[i] in ascending order: r may start at x or y or at least four words after them.
inline void add_words(int n, std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* y) {
  int i = 0;
  for (; n - i >= 4; i += 4) store(r + i, load(x + i) ^ load(y + i));
  for (; i < n; i++) r[i] = x[i] ^ y[i];
}

}  // namespace kov
