// Arguments for functions that a test knows nothing about: ordinary numbers with special ones between.
#pragma once
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace arko::test {

template <class T> T sample(std::mt19937& random) {
  using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  using limits = std::numeric_limits<T>;
  // Zeros, limits, and where functions overflow or underflow.
  // clang-format off
  static constexpr double about[] = {
      0, 0.5, 0.75, 1, 2, 86.65, 87.3, 87.34, 88.72283, 88.72284, 103.28, 104, 150, 708.3, 709.78, 709.79, 745.1, 745.14,
      37.93, 38.54, 45.16, 128, 307.66, 308.26, 323.61, 1023.5, 1024, 1075, 1e6,
      limits::denorm_min(), limits::min(), limits::max(), limits::infinity()};
  // clang-format on
  constexpr bits infinity = std::bit_cast<bits>(limits::infinity());
  constexpr bits sign = ~(~bits{0} >> 1), quiet = infinity | (infinity >> 1 & ~infinity);
  const bits any = random() | static_cast<bits>(std::uint64_t{random()} << 32);
  switch (random() % 8) {
    case 0:
      return std::bit_cast<T>(std::bit_cast<bits>(static_cast<T>(about[any % std::size(about)])) |
                              (random() % 2 ? sign : 0));
    case 1: {
      const bits kinds[] = {quiet | (any & sign) | (any & 0xFFF), infinity | (any & sign) | (any & 0xFFF) | 1,
                            any & ~infinity, any};  // of NaN, quiet and signalling; denormal numbers; any
      return std::bit_cast<T>(kinds[random() % 4]);
    }
    default:
      return static_cast<T>((static_cast<double>(random()) / 0x1p31 - 1) * (random() % 4 ? 30 : 800));
  }
}

// `count` numbers of 4 or 8 bytes to `to`, which need not be aligned.
inline void fill(void* to, int count, std::size_t real_size, std::mt19937& random) {
  for (auto* p = static_cast<unsigned char*>(to); count > 0; count--, p += real_size) {
    const float s = real_size == 4 ? sample<float>(random) : 0;
    const double d = real_size == 8 ? sample<double>(random) : 0;
    std::memcpy(p, real_size == 4 ? static_cast<const void*>(&s) : &d, real_size);
  }
}

// Of two NaN the processor gives the first operand, and which that is the compiler may choose from place to
// place: what a function of two arguments gives where both a result and the expected one are NaN counts as
// expected.
inline void take_over_nan(void* expected, const void* result, std::size_t real_size) {
  const auto is_nan = [=](const void* p) {
    float s;
    double d = 0;
    std::memcpy(&s, p, sizeof s);
    std::memcpy(&d, p, real_size);
    return real_size == 4 ? s != s : d != d;
  };
  if (is_nan(expected) && is_nan(result)) std::memcpy(expected, result, real_size);
}

}  // namespace arko::test
