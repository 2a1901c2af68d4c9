// A register of 16 bytes, for the libraries that stand on core: numbers of any kind, loaded from and stored to any
// address.
#pragma once
#include <cstdint>
#include <cstring>

namespace [[gnu::visibility("hidden")]] arko {

template <class T> struct register_of { typedef T type __attribute__((vector_size(16))); };
template <class T> using lanes = typename register_of<T>::type;

// V is any type of register, or T for a single number.
template <class V, class T> [[gnu::always_inline]] inline V load(const T* p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V, class T> [[gnu::always_inline]] inline void store(T* p, V v) {
  std::memcpy(p, &v, sizeof v);
}

// All lanes of a V the same.
template <class V, class T> [[gnu::always_inline]] inline V spread(T x) {
  if constexpr (sizeof(V) == sizeof(T)) {
    return x;
  } else {
    V v;
    for (unsigned i = 0; i < sizeof(V) / sizeof(T); i++) v[i] = x;
    return v;
  }
}

// Asks for what lies `offset` numbers from p, which may be outside the array.
template <class T> [[gnu::always_inline]] inline void prefetch(const T* p, std::int64_t offset) {
  __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) +
                                                   static_cast<std::uintptr_t>(offset) * sizeof(T)));
}

}  // namespace arko
