// Complex elements in registers: real and imaginary parts apart, so that arithmetic reads as on paper.
#pragma once
#include "vector/elements.h"
#include "vector/lanes.h"

namespace zur::inline ZUR_WIDTH {

template <class T> struct complex_lanes { vec<T> re, im; };

// Elements of any type, as many as a register has numbers.
template <class E> struct lanes_of_element { using type = vec<E>; };
template <class T> struct lanes_of_element<complex<T>> { using type = complex_lanes<T>; };
template <class E> using element_lanes = typename lanes_of_element<E>::type;

template <class T> ZUR_INLINE complex_lanes<T> load(const complex<T>* p) {
  const vec<T> low = load(&p->re), high = load(&p->re + lanes<T>);
  return [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
    return complex_lanes<T>{__builtin_shufflevector(low, high, (2 * i)...),
                            __builtin_shufflevector(low, high, (2 * i + 1)...)};
  }
  (std::make_index_sequence<lanes<T>>());
}

template <class T> ZUR_INLINE void store(complex<T>* p, complex_lanes<T> v) {
  [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
    constexpr std::size_t n = lanes<T>;
    store(&p->re, __builtin_shufflevector(v.re, v.im, (i / 2 + i % 2 * n)...));
    store(&p->re + n, __builtin_shufflevector(v.re, v.im, (n / 2 + i / 2 + i % 2 * n)...));
  }
  (std::make_index_sequence<lanes<T>>());
}

}  // namespace zur::inline ZUR_WIDTH
