// Inputs of all kinds for what goes by order, and the order of bits.
#pragma once
#include <cmath>
#include <compare>
#include <cstring>
#include <limits>
#include <random>

#include "tests/stats/tasks.h"

namespace arko::test {

// The order of bits, which has a place for NaN and for zeros of both signs.
template <class T> std::vector<T> sorted_by_bits(std::vector<T> x) {
  std::sort(x.begin(), x.end(), [](T a, T b) { return std::strong_order(a, b) < 0; });
  return x;
}
template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

inline constexpr const char* kinds[] = {"random", "ascending", "descending", "equal", "few",   "offset",
                                        "powers", "special",   "pipe",       "saw",   "zigzag"};

// n numbers; only "special" has NaN.
template <class T> std::vector<T> input(const std::string& kind, int n, unsigned seed = 1) {
  using limits = std::numeric_limits<T>;
  std::vector<T> special;
  for (const T v :
       {T(0), limits::denorm_min(), limits::infinity(), limits::quiet_NaN(), limits::max(), limits::min()})
    special.insert(special.end(), {v, -v});
  std::mt19937 random(seed);
  std::normal_distribution<double> normal;
  std::vector<T> x;
  for (int i = 0; i < n; i++) {
    double v = normal(random);
    if (kind == "ascending") v = i;
    if (kind == "descending") v = -i;
    if (kind == "equal") v = 2.5;
    if (kind == "few") v = static_cast<int>(random() % 5) - 2;
    if (kind == "offset") v += 1e6;
    if (kind == "powers") v = std::ldexp(1 + (i % 3), -static_cast<int>(random() % 120));
    if (kind == "pipe") v = std::min(i, n - i);
    if (kind == "saw") v = i % 1013;
    if (kind == "zigzag") v = i % 2 ? -i : i;
    x.push_back(kind == "special" && random() % 4 == 0 ? special[random() % special.size()] : T(v));
  }
  return x;
}

template <class T> std::vector<T> laid_out(const std::vector<std::vector<T>>& components, int32_t storage) {
  const std::size_t p = components.size(), n = components[0].size();
  std::vector<T> x(p * n);
  for (std::size_t c = 0; c < p; c++)
    for (std::size_t i = 0; i < n; i++)
      x[storage == KOV_SS_COMPONENTS ? c * n + i : i * p + c] = components[c][i];
  return x;
}

}  // namespace arko::test
