// Four 32-bit words in a register.
#pragma once
#include <cstdint>

#include "core/registers.h"

namespace [[gnu::visibility("hidden")]] kov {

using quad = arko::lanes<std::uint32_t>;
inline quad load(const std::uint32_t* p) { return arko::load<quad>(p); }

// r[i] = x[i] ^ y[i] in ascending order: r may start at x or y or at least four words after them.
inline void add_words(int n, std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* y) {
  int i = 0;
  for (; n - i >= 4; i += 4) arko::store(r + i, load(x + i) ^ load(y + i));
  for (; i < n; i++) r[i] = x[i] ^ y[i];
}

}  // namespace kov
