// Functions of complex elements: special values, by bits, with statuses; at every level and in the twins.
#include <gtest/gtest.h>

#include <bit>
#include <complex>
#include <limits>
#include <type_traits>

#include "tests/support/child.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

template <class T> constexpr T inf = std::numeric_limits<T>::infinity();
template <class T> constexpr T nan = std::numeric_limits<T>::quiet_NaN();
template <class T> constexpr T most = std::numeric_limits<T>::max();

template <class T> bool same(T a, T b) {
  using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  return std::bit_cast<bits>(a) == std::bit_cast<bits>(b);
}
template <class T> bool same(std::complex<T> a, std::complex<T> b) {
  return same(a.real(), b.real()) && same(a.imag(), b.imag());
}

template <class T, class R> struct row {
  std::complex<T> z;
  R result;
  int status = 0;
};

template <class T, class R> void check(const char* root, std::initializer_list<row<T, R>> rows) {
  const std::string name = (sizeof(T) == 4 ? "c" : "z") + std::string(root);
  int count = 0;
  for (const kernel& k : kernels()) {
    if (k.f->name != name && k.f->name != name + "I") continue;
    count++;
    for (const auto& [z, result, status] : rows)
      on_new_thread([&] {
        R r = -7;
        k({1, {&z}, {&r}, {2}, {2}});
        EXPECT_TRUE(same(r, result)) << k << " of " << z << ": " << r << ", not " << result;
        EXPECT_EQ(_zurGetErrStatus(), status) << k << " of " << z;
      });
  }
  EXPECT_EQ(count, 6);
}

template <class T> void conjugates() {
  using c = std::complex<T>;
  constexpr T signalling =
      std::bit_cast<T>(static_cast<std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>(
          sizeof(T) == 4 ? 0x7F800001 : 0x7FF0000000000001));
  check<T, c>("Conj", {{{1, 2}, {1, -2}},
                       {{-0.0, 0.0}, {-0.0, -0.0}},
                       {{inf<T>, -inf<T>}, {inf<T>, inf<T>}},
                       {{nan<T>, -nan<T>}, {nan<T>, nan<T>}},
                       {{1, signalling}, {1, std::copysign(signalling, T(-1))}}});
}
template <class T> void absolute_values() {
  check<T, T>("Abs", {{{0.0, -0.0}, 0},
                      {{-inf<T>, 3}, inf<T>},
                      {{nan<T>, -inf<T>}, inf<T>},
                      {{most<T>, most<T>}, inf<T>, ZUR_STATUS_OVERFLOW},
                      {{-most<T>, inf<T>}, inf<T>}});
}
TEST(complex, conjugates) { conjugates<float>(), conjugates<double>(); }
TEST(complex, absolute_values) { absolute_values<float>(), absolute_values<double>(); }

}  // namespace
