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

template <class T> std::vector<edge<T>> edges() {
  using limits = std::numeric_limits<T>;
  constexpr T inf = infinity<T>, nan = arko::test::nan<T>, tiny = limits::denorm_min(), max = limits::max();
  constexpr T least = limits::min(), eps = limits::epsilon(), whole = 1 / eps;
  const T below_half = std::nextafter(T(0.5), T(0));
  return {
      {"Ceil", T(-0.5), 0, T(-0.0)},
      {"Ceil", T(-0.7), 0, T(-0.0)},
      {"Ceil", T(0.0), 0, 0},
      {"Ceil", tiny, 0, 1},
      {"Floor", T(0.25), 0, 0},
      {"Floor", T(-0.0), 0, T(-0.0)},
      {"Floor", -tiny, 0, -1},
      {"Round", 2.5, 0, 3},
      {"Round", -2.5, 0, -3},
      {"Round", below_half, 0, 0},
      {"Round", -below_half, 0, T(-0.0)},
      {"Trunc", T(-0.7), 0, T(-0.0)},
      {"Rint", 2.5, 0, 2},
      {"Rint", T(-0.5), 0, T(-0.0)},
      {"NearbyInt", 3.5, 0, 4},
      {"Rint", whole + 1, 0, whole + 1},
      {"Ceil", -max, 0, -max},
      {"Floor", -inf, 0, -inf},
      {"Round", whole - T(0.5), 0, whole},
      {"Trunc", nan, 0, nan},
      {"Frac", -2.75, 0, T(-0.75)},
      {"Frac", inf, 0, 0},
      {"Frac", -inf, 0, T(-0.0)},
      {"Frac", -max, 0, T(-0.0)},
      {"Frac", T(-0.0), 0, T(-0.0)},
      {"Modf", T(-0.0), 0, T(-0.0), 0, both, T(-0.0)},
      {"Modf", -2.75, 0, -2, 0, both, T(-0.75)},
      {"Modf", -inf, 0, -inf, 0, both, T(-0.0)},
      {"Modf", max, 0, max, 0, both, 0},
      {"Modf", nan, 0, nan, 0, both, nan},
      {"Div", 1, 0, inf, 2},
      {"Div", 1, T(-0.0), -inf, 2},
      {"Div", 0, 0, nan, 2},
      {"Div", nan, 0, nan, 2},
      {"Div", inf, tiny, inf},
      {"Div", max, tiny, inf},
      {"Fmax", nan, 1, 1},
      {"Fmax", 1, nan, 1},
      {"Fmax", nan, nan, nan},
      {"Fmax", inf, nan, inf},
      {"Fmax", T(0.0), T(-0.0), T(-0.0)},
      {"Fmax", T(-0.0), T(0.0), 0},
      {"Fmin", T(0.0), T(-0.0), T(-0.0)},
      {"Fmin", T(-0.0), T(0.0), 0},
      {"Fmin", nan, -inf, -inf},
      {"Fmin", inf, -max, -max},
      {"MaxMag", -3, 2, -3},
      {"MaxMag", -2, 2, 2},
      {"MaxMag", 2, -2, 2},
      {"MaxMag", nan, -1, -1},
      {"MinMag", -3, 2, 2},
      {"MinMag", -2, 2, -2},
      {"MinMag", 2, -2, -2},
      {"MinMag", -inf, nan, -inf},
      {"CopySign", nan, -1, -nan},
      {"CopySign", -inf, nan, inf},
      {"CopySign", 0, T(-0.0), T(-0.0)},
      {"CopySign", 2, -tiny, -2},
      {"Fdim", 5, 3, 2},
      {"Fdim", 3, 5, 0},
      {"Fdim", nan, 1, nan},
      {"Fdim", 1, nan, nan},
      {"Fdim", inf, inf, 0},
      {"Fdim", max, -max, inf},
      {"NextAfter", 0, 1, tiny, 4},
      {"NextAfter", T(-0.0), -1, -tiny, 4},
      {"NextAfter", 0, T(-0.0), T(-0.0)},
      {"NextAfter", 1, 1, 1},
      {"NextAfter", 1, 2, 1 + eps},
      {"NextAfter", 1, -2, 1 - eps / 2},
      {"NextAfter", -1, -2, -1 - eps},
      {"NextAfter", max, inf, inf, 3},
      {"NextAfter", -max, -inf, -inf, 3},
      {"NextAfter", inf, 0, max},
      {"NextAfter", least, 0, least - tiny, 4},
      {"NextAfter", least - tiny, 1, least},
      {"NextAfter", tiny, -1, 0, 4},
      {"NextAfter", nan, 1, nan},
      {"NextAfter", 1, nan, nan},
      {"Fmod", 5.5, 2, 1.5},
      {"Fmod", -5.5, 2, -1.5},
      {"Fmod", T(-4), 2, T(-0.0)},
      {"Fmod", T(-0.5), 1, T(-0.5)},
      {"Fmod", max, tiny, 0},
      {"Fmod", max, 3, T(std::fmod(static_cast<double>(max), 3))},
      {"Fmod", 1, 0, nan, 2},
      {"Fmod", nan, 0, nan},
      {"Fmod", inf, max / 2, nan, 2},
      {"Fmod", 2, -inf, 2},
      {"Remainder", 5, 2, 1},
      {"Remainder", 7, 2, -1},
      {"Remainder", 6, 4, -2},
      {"Remainder", 10, 4, 2},
      {"Remainder", -6, 4, 2},
      {"Remainder", T(-4), 2, T(-0.0)},
      {"Remainder", max, 3, T(std::remainder(static_cast<double>(max), 3))},
      {"Remainder", 3 * tiny, 2 * tiny, -tiny},
      {"Remainder", tiny, 2 * tiny, tiny},
      {"Remainder", 1, 0, nan, 1},
      {"Remainder", inf, 1, nan},
      {"Remainder", -1, inf, -1},
  };
}

template <class T> void check_edges() {
  for (const edge<T>& e : edges<T>()) {
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
    EXPECT_LE(std::fabs(got - expected), (sizeof(T) == 4 ? 0x1p-21 : 0x1p-33) * std::fabs(expected));
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
TEST(arith, linear_frac_single) { check_all_linear<float>(); }
TEST(arith, linear_frac_double) { check_all_linear<double>(); }

}  // namespace
