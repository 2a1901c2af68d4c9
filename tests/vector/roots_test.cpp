// Roots and reciprocals at their edges, in both types.

#include <immintrin.h>

#include "root_tables.inc"
#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

template <class T> constexpr T inf = infinity<T>;
template <class T> constexpr T quiet = arko::test::nan<T>;
template <class T> constexpr T least = std::numeric_limits<T>::denorm_min();
template <class T> constexpr T normal = std::numeric_limits<T>::min();
template <class T> constexpr T greatest = std::numeric_limits<T>::max();

bool unit(const kernel& k) { return !k.f->strided; }

template <class T> struct root {
  const char* name;
  long double (*function)(long double);
  std::vector<row<T>> exact;
  std::vector<T> near;      // without a status
  bool odd_numbers = true;  // false: negative arguments are out of the domain
};

// At the ends of the types and about the bounds of the fast paths.
template <class T>
const root<T> roots[] = {
    {"Inv",
     [](long double x) { return 1 / x; },
     {{0, inf<T>, 2},
      {T(-0.0), -inf<T>, 2},
      {inf<T>, 0, 0},
      {-inf<T>, T(-0.0), 0},
      {least<T>, inf<T>, 0},
      {-least<T>, -inf<T>, 0}},
     {normal<T>, 3, T(-0.5), T(0x1p126), T(-0x1p126), greatest<T>}},
    {"Sqrt",
     [](long double x) { return std::sqrt(x); },
     {{0, 0, 0}, {T(-0.0), T(-0.0), 0}, {inf<T>, inf<T>, 0}},
     {least<T>, T(0x3p-149), normal<T>, 4, 2, greatest<T>},
     false},
    {"InvSqrt",
     [](long double x) { return 1 / std::sqrt(x); },
     {{0, inf<T>, 2}, {T(-0.0), -inf<T>, 2}, {inf<T>, 0, 0}},
     {least<T>, T(0x3p-149), normal<T>, 4, T(0x1p126), T(0x1.ffe002p127), greatest<T>},
     false},
    {"Cbrt",
     [](long double x) { return std::cbrt(x); },
     {{0, 0, 0}, {T(-0.0), T(-0.0), 0}, {inf<T>, inf<T>, 0}, {-inf<T>, -inf<T>, 0}},
     {least<T>, T(-0x3p-149), normal<T>, -8, 1, -greatest<T>}},
    {"InvCbrt",
     [](long double x) { return 1 / std::cbrt(x); },
     {{0, inf<T>, 2}, {T(-0.0), -inf<T>, 2}, {inf<T>, 0, 0}, {-inf<T>, T(-0.0), 0}},
     {least<T>, T(-0x3p-149), normal<T>, -8, 1, -greatest<T>}},
    {"Pow2o3",
     [](long double x) { return std::cbrt(x) * std::cbrt(x); },
     {{0, 0, 0}, {T(-0.0), 0, 0}, {inf<T>, inf<T>, 0}, {-inf<T>, inf<T>, 0}},
     {least<T>, T(-0x3p-149), normal<T>, -8, 8, -greatest<T>}},
    {"Pow3o2",
     [](long double x) { return x * std::sqrt(x); },
     {{0, 0, 0}, {T(-0.0), 0, 0}, {inf<T>, inf<T>, 0}, {least<T>, 0, 0}, {greatest<T>, inf<T>, 0}},
     {4, T(0x1p-68), T(0x1p-84), T(0x1.8p-100), T(0x1p84), T(0x1.42p85)},
     false},
};

template <class T> void check_roots() {
  for (const root<T>& r : roots<T>) {
    std::vector<row<T>> rows = r.exact;
    rows.push_back({quiet<T>, quiet<T>, 0});
    if (!r.odd_numbers)
      for (const T x : {T(-1), -least<T>, -inf<T>}) rows.push_back({x, quiet<T>, 1});
    for (const T x : r.near) rows.push_back(arko::test::near(x, 0));
    check_rows(r.name, rows, {r.function});
  }
}
TEST(roots, edges) {
  check_roots<float>(), check_roots<double>();
  for (const char* name : {"Inv", "Sqrt", "InvSqrt", "Cbrt", "InvCbrt", "Pow2o3"})
    check_signalling(name);  // Pow3o2 passes them
}

// The one NaN whose bits are settled: of single roots out of their domain.
TEST(roots, of_negative_numbers) {
  for (const kernel& k : kernels_of<float>("Sqrt"))
    for (const float x : {-1.0f, -least<float>, -inf<float>})
      EXPECT_EQ(std::bit_cast<std::uint32_t>(outcome<float>(k, x).result), 0xFFC00000) << k << " of " << x;
}

TEST(roots, screened_blocks) {
  check_screened("Sqrt", -1.0f, unit);
  check_screened("Sqrt", -1.0, unit);
  check_screened("InvSqrt", 0.0, unit);
  check_screened("Inv", 0.0f, [](const kernel& k) { return unit(k) && k.level == 2; });
}

// Squares leave the normal numbers at both ends; an infinity counts for more than a NaN.
template <class T> void check_hypot() {
  struct {
    T a, b, result;
  } const rows[] = {
      {inf<T>, quiet<T>, inf<T>},
      {quiet<T>, -inf<T>, inf<T>},
      {-inf<T>, inf<T>, inf<T>},
      {quiet<T>, 1, quiet<T>},
      {T(-0.0), T(-0.0), 0},
      {0, T(-0.0), 0},
      {greatest<T>, greatest<T>, inf<T>},
      {3, -4, 5},
      {3 * least<T>, 4 * least<T>, 5 * least<T>},
      {-5 * normal<T>, 12 * normal<T>, 13 * normal<T>},
      {greatest<T> / 2, greatest<T> / 4, T(std::hypot(2.0L, 1.0L)) * (greatest<T> / 4)},
      {greatest<T>, 1, greatest<T>},
      {T(0x1p-70), T(0x1p-71), T(0x1p-71L * std::hypot(2.0L, 1.0L))},
      {0, -1, 1},
  };
  for (const auto& [a, b, result] : rows)
    for (const kernel& k : kernels_of<T>("Hypot")) {
      SCOPED_TRACE(testing::Message() << k.name() << " of " << a << ", " << b);
      const outcome<T> got(k, a, b);
      EXPECT_EQ(got.status, 0);
      if (std::isnan(result))
        EXPECT_TRUE(std::isnan(got.result));
      else if (std::isinf(result) || result == 0)
        EXPECT_EQ(got.result, result);
      else
        EXPECT_TRUE(is_near(got.result, static_cast<long double>(result), k.level, 0)) << got.result;
    }
}
TEST(roots, hypot_edges) {
  check_hypot<float>();
  check_hypot<double>();
}

// Where x^(3/2) becomes infinite and zero.
TEST(roots, pow3o2_ends) {
  const row<float> singles[] = {{s(0x6A214518), inf<float>, 0},
                                near(s(0x6A214517), 0),
                                {s(0x0CFFFFFF), 0, 0},
                                {s(0x7F800001), s(0x7F800001), 0}};
  const row<double> doubles[] = {
      near(0x1p682, 0), {0x1p683, inf<double>, 0}, {0x1p-717, 0, 0}, near(0x1.8p-716, 0)};
  check_rows<float>("Pow3o2", singles, {[](long double x) { return x * std::sqrt(x); }});
  check_rows<double>("Pow3o2", doubles, {[](long double x) { return x * std::sqrt(x); }});
}

// What the kernels take from their tables: cubes of TCbrt are exact, its reciprocals rounded; roots of TInvCbrt are
// those of their c but for 2^-7 of an ulp; every row lies in its place.
template <class T, std::size_t n>
void check_tables(const T (&cube)[n][2], const T (&inverse)[n][2], double first) {
  constexpr int digits = std::numeric_limits<T>::digits;
  for (std::size_t j = 0; j < n; j++) {
    const long double at = std::ldexp(first * (1 + (double(j % 64) + 0.5) / 64), int(j / 64));
    const auto [rcp, u] = cube[j];
    EXPECT_EQ(std::fmod(std::ldexp(u, digits / 3 - 1), u < 1 ? 0.5 : 1), 0) << j;
    EXPECT_NEAR(double(u / std::cbrt(at)), 1, std::ldexp(1, -digits / 3)) << j;
    EXPECT_EQ(rcp, T(1 / (static_cast<long double>(u) * u * u))) << j;
    const auto [c, root] = inverse[j];
    EXPECT_NEAR(double(c / at), 1, 0x1p-12) << j;
    EXPECT_NEAR(double(root * std::cbrt(static_cast<long double>(c)) - 1), 0, std::ldexp(1.01, -digits - 6))
        << j;
  }
}
TEST(roots, tables) {
  check_tables(TCbrtS, TInvCbrtS, 0.5);
  check_tables(TCbrtD, TInvCbrtD, 1);
}

// The level is what the processor estimates, in the vector and in the tail.
TEST(roots, estimates_as_they_are) {
  for (float x = 3e-38f; x < 8e37f; x *= 1.7f) {
    float inverse, root;
    _zursInv_11(1, &x, &inverse);
    _zursSqrt_11(1, &x, &root);
    EXPECT_EQ(inverse, _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))));
    EXPECT_EQ(root, x * _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))));
  }
}

// Numbers of which the products with the estimate or its square leave the normal ones: accurate where denormal
// results are flushed, too.
TEST(roots, with_denormals_flushed) {
  on_new_thread([] {
    _zurSetMode(ZUR_FLUSH_DENORMALS);
    for (const float x : {0x1.23456p-126f, 0x1.7p-120f, 0x1.6789acp126f, 0x1.e9p127f}) {
      float r, s;
      _zursInvSqrt(1, &x, &r);
      _zursSqrt(1, &x, &s);
      EXPECT_NEAR(s / std::sqrt(double(x)), 1, 0x1p-23) << x;
      EXPECT_NEAR(r * std::sqrt(double(x)), 1, 0x1p-23) << x;
    }
    for (const double x : {0x1.23456789abcdep-1022, 0x1.789abcdef0123p-1000, 0x1.23456789abcdep1023}) {
      double r, s;
      _zurdInvSqrt(1, &x, &r);
      _zurdSqrt(1, &x, &s);
      EXPECT_NEAR(r * std::sqrt(x), 1, 0x1p-51) << x;
      EXPECT_NEAR(s / std::sqrt(x), 1, 0x1p-52) << x;
    }
  });
}

}  // namespace
