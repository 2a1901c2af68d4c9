// Log1p at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

template <class T> constexpr T eps = std::numeric_limits<T>::epsilon();
template <class T> constexpr T least = std::numeric_limits<T>::denorm_min();
template <class T> constexpr T most = std::numeric_limits<T>::max();

// Around 2^(emax - 1) the fast path ends.
template <class T>
const row<T> rows[] = {
    {arko::test::nan<T>, arko::test::nan<T>, 0},
    {-arko::test::nan<T>, -arko::test::nan<T>, 0},
    {infinity<T>, infinity<T>, 0},
    {-infinity<T>, arko::test::nan<T>, 1},
    {-most<T>, arko::test::nan<T>, 1},
    {-1 - eps<T>, arko::test::nan<T>, 1},
    {-1, -infinity<T>, 2},
    near<T>(-1 + eps<T> / 2, 0),
    {-0.0, 0, 0},
    {0, 0, 0},
    {least<T>, least<T>, 0},
    {-least<T>, -least<T>, 0},
    {eps<T> / 16, eps<T> / 16, 0},  // the square is below half a place
    {-eps<T> / 16, -eps<T> / 16, 0},
    near<T>(eps<T>, 0),
    near<T>(-eps<T>, 0),
    near<T>(1, 0),
    near<T>(2 / eps<T>, 0),
    near<T>(most<T> / 4, 0),
    near<T>(most<T> / 2, 0),
    near<T>(most<T>, 0),
};

TEST(log1p, single_edges) { check_rows("Log1p", rows<float>, {std::log1p}); }
TEST(log1p, double_edges) { check_rows("Log1p", rows<double>, {std::log1p}); }

// Double at HA has no frame of its own but for its rounding: results do not depend on the caller's.
TEST(log1p, results_hold_in_every_rounding) {
  for (const kernel& k : kernels_of<double>("Log1p"))
    for (const double x :
         {0.0, 0x1p-1000, -0x1p-100, 1e-20, -1e-9, 0.1, -0.9, 3.0, 1e10, 0x1p1022, most<double>}) {
      const auto result = [&](unsigned sse) {
        double r;
        under({sse}, [&] { k({1, {&x}, {&r}, {2}, {2}}); });
        return std::bit_cast<std::uint64_t>(r);
      };
      for (const unsigned sse : {0x3F80u, 0x5F80u, 0x7F80u})
        EXPECT_EQ(result(sse), result(0x1F80)) << k << " under " << std::hex << sse << " of " << x;
    }
}
TEST(log1p, signalling_nan) { check_signalling("Log1p"); }

}  // namespace
