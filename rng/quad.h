// Four 32-bit words in a register, from and to arrays that need not be aligned to more than a word.
#pragma once
#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

typedef std::uint32_t quad __attribute__((vector_size(16)));
typedef std::uint32_t quad_in_memory __attribute__((vector_size(16), aligned(4), may_alias));

inline quad load(const std::uint32_t* p) { return *reinterpret_cast<const quad_in_memory*>(p); }
inline void store(std::uint32_t* p, quad x) { *reinterpret_cast<quad_in_memory*>(p) = x; }

// r[i] = x[i] ^ y[i] in ascending order: r may start at x or y or at least four words after them.
inline void add_words(int n, std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* y) {
  int i = 0;
  for (; i + 4 <= n; i += 4) store(r + i, load(x + i) ^ load(y + i));
  for (; i < n; i++) r[i] = x[i] ^ y[i];
}

}  // namespace kov
