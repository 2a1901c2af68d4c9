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
TEST(log1p, signalling_nan) { check_signalling("Log1p"); }

}  // namespace
