// Remainders where denormal numbers are flushed, and LinearFrac against its definition.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

template <class T> class arith : public testing::Test {};
using types = testing::Types<float, double>;
TYPED_TEST_SUITE(arith, types);

// A remainder may become zero, but no other number than the exact one.
TYPED_TEST(arith, remainders_with_denormals_flushed) {
  using T = TypeParam;
  constexpr T least = std::numeric_limits<T>::min();
  std::mt19937 random(3);
  for (const char* root : {"Fmod", "Remainder"})
    for (const kernel& k : kernels_of<T>(root))
      on_new_thread([&] {
        _zurSetMode(ZUR_ERRMODE_IGNORE | ZUR_FLUSH_DENORMALS);
        for (int i = 0; i < 2000; i++) {
          const auto draw = [&](unsigned range) {
            return std::ldexp(least * (1 + static_cast<T>(random()) * T(0x1p-32)),
                              static_cast<int>(random() % range));
          };
          const T x = draw(12), y = draw(6);
          T r = -7;
          k({1, {&x, &y}, {&r}, {2, 2}, {2}});
          const T exact = root[0] == 'F' ? std::fmod(x, y) : std::remainder(x, y);
          const bool flushed = std::fabs(exact) < least && r == 0;
          ASSERT_TRUE(flushed || r == exact)
              << k << " of " << std::hexfloat << x << ", " << y << ": " << r << ", not " << exact;
        }
      });
}

// ---- LinearFrac

// By the unit-stride kernel, or by the twin with increments of 2.
template <class T> void linear_frac(bool strided, int n, const T* a, const T* b, const T (&s)[4], T* r) {
  using unit = void (*)(std::int32_t, const T*, const T*, T, T, T, T, T*);
  using twin =
      void (*)(std::int32_t, const T*, std::int32_t, const T*, std::int32_t, T, T, T, T, T*, std::int32_t);
  const entry f = kernels_of<T>("LinearFrac")[strided ? 3 : 0].f->table[0];
  if (strided)
    reinterpret_cast<twin>(f)(n, a, 2, b, 2, s[0], s[1], s[2], s[3], r, 2);
  else
    reinterpret_cast<unit>(f)(n, a, b, s[0], s[1], s[2], s[3], r);
}

// An array that need not be read is null. With a constant denominator the results are those of plain
// arithmetic, and else as good as the reciprocal.
TYPED_TEST(arith, linear_frac_by_its_definition) {
  using T = TypeParam;
  constexpr int n = 1003;
  const T rows[][4] = {{3, 1, 2, 5}, {-0.5, -1, -2, -0.25}, {3, 1, 0, 7}, {3, 1, 0, 2},
                       {3, 1, 0, 0}, {0, 3, 2, 5},          {0, 3, 0, -3}};
  std::vector<T> a(2 * n), b(2 * n), r(2 * n);
  std::mt19937 random(5);
  std::uniform_real_distribution<T> draw(1, 100);
  for (int i = 0; i < 2 * n; i++) a[i] = draw(random), b[i] = draw(random);
  for (const auto& s : rows)
    for (const int step : {1, 2}) {
      const bool constant = s[2] == 0, without_a = s[0] == 0 && !constant;
      linear_frac(step == 2, n, without_a ? nullptr : a.data(), constant ? nullptr : b.data(), s, r.data());
      for (int i = 0; i < n * step; i += step) {
        const T above = s[0] * a[i] + s[1], below = s[2] * b[i] + s[3];
        if (constant) {
          EXPECT_EQ(r[i], above * (1 / s[3])) << i;
        } else {
          const double expected = static_cast<double>(above) / static_cast<double>(below);
          EXPECT_NEAR(r[i] / expected, 1, sizeof(T) == 4 ? 0x1.4p-22 : 0x1p-34) << i;
        }
      }
    }
}

// The scalars are looked at for no element, and the elements past the end not at all.
TYPED_TEST(arith, linear_frac_raises_nothing_for_what_is_not_there) {
  using T = TypeParam;
  const struct {
    int n;
    T scalars[4];
  } rows[] = {{0, {1, 1, 0, 0}},
              {-1, {1, 1, 0, 0}},
              {1, {1, 0, 1, T(-0.75)}},
              {3, {std::numeric_limits<T>::max(), 0, 1, 0}}};
  const T a[] = {1, T(0.25), T(0.5), 1, T(0.25), 1}, b[] = {2, 4, 3, 4, 5, 4};
  for (const auto& row : rows)
    for (const bool strided : {false, true}) {
      T r[6];
      const fp_words after = under({}, [&] { linear_frac(strided, row.n, a, b, row.scalars, r); });
      EXPECT_EQ(after.sse_flags() & 0x0D, 0u) << row.n;  // invalid, divide, overflow
    }
}

}  // namespace
