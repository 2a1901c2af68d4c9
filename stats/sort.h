// Sorting and its keys.
//
// A real number's key is its bits as an unsigned integer whose order is the numerical one: the sign bit flipped in
// positive numbers, all bits in negative ones. In this order -0 comes before +0, and NaN are at both ends by their sign.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace [[gnu::visibility("hidden")]] kov {

template <class T> using key = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

template <class T> inline constexpr key<T> sign_bit = ~(~key<T>{0} >> 1);

template <class T> key<T> key_of_bits(key<T> bits) { return bits & sign_bit<T> ? ~bits : bits | sign_bit<T>; }
template <class T> key<T> bits_of_key(key<T> k) { return k & sign_bit<T> ? k ^ sign_bit<T> : ~k; }
template <class T> key<T> key_of(T x) { return key_of_bits<T>(std::bit_cast<key<T>>(x)); }
template <class T> T real_of(key<T> k) { return std::bit_cast<T>(bits_of_key<T>(k)); }

// Bits that a number takes. (The type of std::bit_width differs between libraries.)
template <class U> int bits_in(U x) { return static_cast<int>(std::bit_width(x)); }

// Sorts x ascending by key. `work` has room for as many.
template <class T> void radix_sort(T* x, T* work, std::size_t n);

// Sorts keys ascending by comparison, moving the payload along. Among equal keys the order of payloads is fixed by the
// order of the input alone.
template <class T> void sort_pairs(std::ptrdiff_t n, T* keys, T* payload);

}  // namespace kov
