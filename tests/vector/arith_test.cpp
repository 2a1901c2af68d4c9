// Arithmetic, rounding and comparison at their edges, and LinearFrac against its definition.

#include <cmath>
#include <random>

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

enum which { both, unit, twin };

template <class T> struct edge {
  const char* root;
  T x, y;
  T result;
  int status = 0;
  which kernels = both;
  T second = -7;  // Modf
};

template <class T> constexpr T inf = infinity<T>;
template <class T> constexpr T nan = arko::test::nan<T>;
template <class T> constexpr T tiny = std::numeric_limits<T>::denorm_min();
template <class T> constexpr T least = std::numeric_limits<T>::min();
template <class T> constexpr T max = std::numeric_limits<T>::max();
template <class T> constexpr T eps = std::numeric_limits<T>::epsilon();
template <class T> constexpr T whole = 1 / eps<T>;
template <class T> constexpr T below_half = (1 - eps<T> / 2) / 2;

template <class T>
const edge<T> edges[] = {
    {"Ceil", T(-0.5), 0, T(-0.0)},
    {"Ceil", T(-0.7), 0, T(-0.0)},
    {"Ceil", T(0.0), 0, 0},
    {"Ceil", tiny<T>, 0, 1},
    {"Floor", T(0.25), 0, 0},
    {"Floor", T(-0.0), 0, T(-0.0)},
    {"Floor", -tiny<T>, 0, -1},
    {"Round", 2.5, 0, 3},
    {"Round", -2.5, 0, -3},
    {"Round", below_half<T>, 0, 0},
    {"Round", -below_half<T>, 0, T(-0.0)},
    {"Trunc", T(-0.7), 0, T(-0.0)},
    {"Rint", 2.5, 0, 2},
    {"Rint", T(-0.5), 0, T(-0.0)},
    {"NearbyInt", 3.5, 0, 4},
    {"Rint", whole<T> + 1, 0, whole<T> + 1},
    {"Ceil", -max<T>, 0, -max<T>},
    {"Floor", -inf<T>, 0, -inf<T>},
    {"Round", whole<T> - T(0.5), 0, whole<T>},
    {"Trunc", nan<T>, 0, nan<T>},
    {"Frac", -2.75, 0, T(-0.75)},
    {"Frac", inf<T>, 0, 0},
    {"Frac", -inf<T>, 0, T(-0.0)},
    {"Frac", -max<T>, 0, T(-0.0)},
    {"Frac", T(-0.0), 0, T(-0.0)},
    {"Modf", T(-0.0), 0, T(-0.0), 0, both, T(-0.0)},
    {"Modf", -2.75, 0, -2, 0, both, T(-0.75)},
    {"Modf", -inf<T>, 0, -inf<T>, 0, both, T(-0.0)},
    {"Modf", max<T>, 0, max<T>, 0, both, 0},
    {"Modf", nan<T>, 0, nan<T>, 0, both, nan<T>},
    {"Div", 1, 0, inf<T>, 2},
    {"Div", 1, T(-0.0), -inf<T>, 2},
    {"Div", 0, 0, nan<T>, 2},
    {"Div", nan<T>, 0, nan<T>, 2},
    {"Div", inf<T>, tiny<T>, inf<T>},
    {"Div", max<T>, tiny<T>, inf<T>},
    {"Fmax", nan<T>, 1, 1},
    {"Fmax", 1, nan<T>, 1},
    {"Fmax", nan<T>, nan<T>, nan<T>},
    {"Fmax", inf<T>, nan<T>, inf<T>},
    {"Fmax", T(0.0), T(-0.0), T(-0.0)},
    {"Fmax", T(-0.0), T(0.0), 0},
    {"Fmin", T(0.0), T(-0.0), T(-0.0)},
    {"Fmin", T(-0.0), T(0.0), 0},
    {"Fmin", nan<T>, -inf<T>, -inf<T>},
    {"Fmin", inf<T>, -max<T>, -max<T>},
    {"MaxMag", -3, 2, -3},
    {"MaxMag", -2, 2, 2},
    {"MaxMag", 2, -2, 2},
    {"MaxMag", nan<T>, -1, -1},
    {"MinMag", -3, 2, 2},
    {"MinMag", -2, 2, -2},
    {"MinMag", 2, -2, -2},
    {"MinMag", -inf<T>, nan<T>, -inf<T>},
    {"CopySign", nan<T>, -1, -nan<T>},
    {"CopySign", -inf<T>, nan<T>, inf<T>},
    {"CopySign", 0, T(-0.0), T(-0.0)},
    {"CopySign", 2, -tiny<T>, -2},
    {"Fdim", 5, 3, 2},
    {"Fdim", 3, 5, 0},
    {"Fdim", nan<T>, 1, nan<T>},
    {"Fdim", 1, nan<T>, nan<T>},
    {"Fdim", inf<T>, inf<T>, 0},
    {"Fdim", max<T>, -max<T>, inf<T>},
    {"NextAfter", 0, 1, tiny<T>, 4},
    {"NextAfter", T(-0.0), -1, -tiny<T>, 4},
    {"NextAfter", 0, T(-0.0), T(-0.0)},
    {"NextAfter", 1, 1, 1},
    {"NextAfter", 1, 2, 1 + eps<T>},
    {"NextAfter", 1, -2, 1 - eps<T> / 2},
    {"NextAfter", -1, -2, -1 - eps<T>},
    {"NextAfter", max<T>, inf<T>, inf<T>, 3},
    {"NextAfter", -max<T>, -inf<T>, -inf<T>, 3},
    {"NextAfter", inf<T>, 0, max<T>},
    {"NextAfter", least<T>, 0, least<T> - tiny<T>, 4},
    {"NextAfter", least<T> - tiny<T>, 1, least<T>},
    {"NextAfter", tiny<T>, -1, 0, 4},
    {"NextAfter", nan<T>, 1, nan<T>},
    {"NextAfter", 1, nan<T>, nan<T>},
    {"Fmod", 5.5, 2, 1.5},
    {"Fmod", -5.5, 2, -1.5},
    {"Fmod", T(-4), 2, T(-0.0)},
    {"Fmod", T(-0.5), 1, T(-0.5)},
    {"Fmod", max<T>, tiny<T>, 0},
    {"Fmod", max<T>, 3, T(std::fmod(static_cast<double>(max<T>), 3))},
    {"Fmod", 1, 0, nan<T>, 2},
    {"Fmod", nan<T>, 0, nan<T>},
    {"Fmod", inf<T>, max<T> / 2, nan<T>, 2},
    {"Fmod", 2, -inf<T>, 2},
    {"Remainder", 5, 2, 1},
    {"Remainder", 7, 2, -1},
    {"Remainder", 6, 4, -2},
    {"Remainder", 10, 4, 2},
    {"Remainder", -6, 4, 2},
    {"Remainder", T(-4), 2, T(-0.0)},
    {"Remainder", max<T>, 3, T(std::remainder(static_cast<double>(max<T>), 3))},
    {"Remainder", 3 * tiny<T>, 2 * tiny<T>, -tiny<T>},
    {"Remainder", tiny<T>, 2 * tiny<T>, tiny<T>},
    {"Remainder", 1, 0, nan<T>, 1},
    {"Remainder", inf<T>, 1, nan<T>},
    {"Remainder", -1, inf<T>, -1},
};

template <class T> void check_edges() {
  for (const edge<T>& e : edges<T>) {
    SCOPED_TRACE(testing::Message() << e.root << " of " << std::hexfloat << e.x << ", " << e.y);
    for (const kernel& k : kernels_of<T>(e.root)) {
      if (e.kernels != both && (e.kernels == twin) != k.f->strided) continue;
      SCOPED_TRACE(k.name());
      const outcome<T> got(k, e.x, e.y);
      const auto same = [](T a, T b) {
        return std::isnan(a) ? std::isnan(b) : !std::memcmp(&a, &b, sizeof a);
      };
      EXPECT_PRED2(same, e.result, got.result);
      EXPECT_PRED2(same, e.second, got.second);
      EXPECT_EQ(got.status, e.status);
      EXPECT_EQ(got.reported, e.status ? k.f->report_name : "");
      // Lanes that the routine serves may raise more on their way to it.
      const bool domain = std::isnan(e.result) && !std::isnan(e.x) && !std::isnan(e.y);
      const unsigned raised = e.status == 4                      ? underflow_flag
                              : e.status == 3                    ? overflow_flag
                              : domain                           ? invalid_flag
                              : std::isinf(e.result) && e.status ? divide_flag
                                                                 : 0;
      EXPECT_EQ(got.flags & raised, raised);
    }
  }
}
TEST(arith, single_edges) { check_edges<float>(); }
TEST(arith, double_edges) { check_edges<double>(); }

// Unit-stride Rint and NearbyInt round as the caller does; all others as their names say.
TEST(arith, whose_rounding_holds) {
  const auto check = [](auto x, const char* root, unsigned sse, decltype(x) unit, decltype(x) twin) {
    for (const kernel& k : kernels_of<decltype(x)>(root)) {
      auto r = x, unused = x;
      under({sse}, [&] { k({1, {&x}, {&r, &unused}, {2}, {2, 2}}); });
      EXPECT_EQ(r, k.f->strided ? twin : unit) << k << " under " << std::hex << sse << " of " << x;
    }
  };
  for (const char* root : {"Rint", "NearbyInt"}) {
    check(2.5, root, 0x5F80, 3, 2);  // upward
    check(2.5f, root, 0x5F80, 3, 2);
    check(-2.75f, root, 0x7F80, -2, -3);  // toward zero
  }
  for (const unsigned sse : {0x1F80u, 0x3F80u, 0x5F80u, 0x7F80u}) {
    check(1.25, "Ceil", sse, 2, 2), check(1.75f, "Floor", sse, 1, 1), check(-1.75, "Trunc", sse, -1, -1);
    check(2.5f, "Round", sse, 3, 3), check(-1.75f, "Modf", sse, -1, -1);
  }
}

// Denormal arguments and results of Add are flushed where the mode word says so and the caller does not.
TEST(arith, denormal_numbers_go_by_the_mode_word) {
  struct {
    std::uint32_t mode;
    unsigned sse;
    double sum;
  } const cases[] = {
      {ZUR_KEEP_DENORMALS, 0x9FC0, 0x3p-1074}, {0, 0x9FC0, 0x3p-1074}, {ZUR_FLUSH_DENORMALS, 0x1F80, 0}};
  for (const kernel& k : kernels_of<double>("Add"))
    for (const auto& c : cases)
      on_new_thread([&] {
        _zurSetMode(c.mode);
        const double x = 0x1p-1073, y = 0x1p-1074;
        double r = -1;
        under({c.sse}, [&] { k({1, {&x, &y}, {&r}, {2, 2}, {2}}); });
        EXPECT_EQ(r, c.sum) << k;
      });
}

// Where denormal numbers are flushed a remainder may become zero, but no other number than the exact one.
template <class T> void check_remainders_flushed() {
  std::mt19937 random(3);
  for (const char* root : {"Fmod", "Remainder"})
    for (const kernel& k : kernels_of<T>(root))
      on_new_thread([&] {
        _zurSetMode(ZUR_ERRMODE_IGNORE | ZUR_FLUSH_DENORMALS);
        for (int i = 0; i < 2000; i++) {
          const auto draw = [&](int range) {
            return std::ldexp(least<T> * (1 + static_cast<T>(random()) * T(0x1p-32)),
                              static_cast<int>(random() % range));
          };
          const T x = draw(12), y = draw(6);
          T r = -7;
          k({1, {&x, &y}, {&r}, {2, 2}, {2}});
          const T exact = root[0] == 'F' ? std::fmod(x, y) : std::remainder(x, y);
          const bool flushed = std::fabs(exact) < least<T> && r == 0;
          ASSERT_TRUE(flushed || r == exact)
              << k << " of " << std::hexfloat << x << ", " << y << ": " << r << ", not " << exact;
        }
      });
}
TEST(arith, single_remainders_flushed) { check_remainders_flushed<float>(); }
TEST(arith, double_remainders_flushed) { check_remainders_flushed<double>(); }

// ---- LinearFrac

template <class T> using linear = void (*)(std::int32_t, const T*, const T*, T, T, T, T, T*);
template <class T>
using linear_twin = void (*)(std::int32_t, const T*, std::int32_t, const T*, std::int32_t, T, T, T, T, T*,
                             std::int32_t);

// By both kernels; an array that need not be read is null. With a constant denominator the results are those of
// plain arithmetic, and else as good as the reciprocal.
template <class T> void check_linear(bool with_a, bool with_b, T sa, T ta, T sb, T tb) {
  constexpr int n = 1003;
  std::vector<T> a(2 * n), b(2 * n), r(n), spread(2 * n);
  std::mt19937 random(5);
  std::uniform_real_distribution<T> draw(1, 100);
  for (T& x : a) x = draw(random);
  for (T& x : b) x = draw(random);
  const T *const pa = with_a ? a.data() : nullptr, *const pb = with_b ? b.data() : nullptr;
  const auto kernels = kernels_of<T>("LinearFrac");
  reinterpret_cast<linear<T>>(kernels[0].f->table[0])(n, pa, pb, sa, ta, sb, tb, r.data());
  reinterpret_cast<linear_twin<T>>(kernels[3].f->table[0])(n, pa, 2, pb, 2, sa, ta, sb, tb, spread.data(), 2);
  const auto check = [&](T x, T y, T got) {
    if (sb == 0) {
      EXPECT_EQ(got, (sa * x + ta) * (1 / tb));
      return;
    }
    const T above = sa * x + ta, below = sb * y + tb;
    const double expected = static_cast<double>(above) / static_cast<double>(below);
    EXPECT_LE(std::fabs(got - expected), (sizeof(T) == 4 ? 0x1.4p-22 : 0x1p-34) * std::fabs(expected));
  };
  for (int i = 0; i < n; i++) check(a[i], b[i], r[i]), check(a[2 * i], b[2 * i], spread[2 * i]);
}
template <class T> void check_all_linear() {
  check_linear<T>(true, true, 3, 1, 2, 5);
  check_linear<T>(true, true, -0.5, -1, -2, -0.25);
  check_linear<T>(true, false, 3, 1, 0, 7);
  check_linear<T>(true, false, 3, 1, 0, 2);
  check_linear<T>(true, false, 3, 1, 0, 0);
  check_linear<T>(false, true, 0, 3, 2, 5);
  check_linear<T>(true, false, 0, 3, 0, -3);
}

// The scalars are looked at for no element, and the elements past the end not at all.
template <class T> void check_linear_flags() {
  struct {
    int n;
    T sa, ta, sb, tb;
  } const rows[] = {{0, 1, 1, 0, 0}, {-1, 1, 1, 0, 0}, {1, 1, 0, 1, T(-0.75)}, {3, max<T>, 0, 1, 0}};
  const auto kernels = kernels_of<T>("LinearFrac");
  const T a[] = {1, T(0.25), T(0.5), 1, T(0.25), 1}, b[] = {2, 4, 3, 4, 5, 4};
  for (const auto& row : rows) {
    T r[6];
    const auto check = [&](const fp_words& after) {
      EXPECT_EQ(after.sse_flags() & (invalid_flag | divide_flag | overflow_flag), 0u) << row.n;
    };
    check(under({}, [&] {
      reinterpret_cast<linear<T>>(kernels[0].f->table[0])(row.n, a, b, row.sa, row.ta, row.sb, row.tb, r);
    }));
    check(under({}, [&] {
      reinterpret_cast<linear_twin<T>>(kernels[3].f->table[0])(row.n, a, 2, b, 2, row.sa, row.ta, row.sb,
                                                               row.tb, r, 2);
    }));
  }
}
TEST(arith, linear_frac_flags) { check_linear_flags<float>(), check_linear_flags<double>(); }
TEST(arith, linear_frac_single) { check_all_linear<float>(); }
TEST(arith, linear_frac_double) { check_all_linear<double>(); }

}  // namespace
