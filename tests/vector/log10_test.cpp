// Log10 at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, arko::test::nan<float>, 1},
    {s(0xFF7FFFFF), arko::test::nan<float>, 1},
    {-1, arko::test::nan<float>, 1},
    {s(0x80000001), arko::test::nan<float>, 1},
    {-0.0f, -infinity<float>, 2},
    {0.0f, -infinity<float>, 2},
    near(s(0x007FFFFF), 0),
    near(s(0x00800001), 0),
    near(s(0x3F2AAAAA), 0),  // where k changes
    near(s(0x3F2AAAAB), 0),
    near(s(0x3F7FFFFF), 0),
    {1, 0, 0},
    near(s(0x3F800001), 0),
    near(10.0f, 0),
    near(0.001f, 0),
    near(0x1p-149f, 0),
    near(s(0x7F7FFFFF), 0),
};

const row<double> doubles[] = {
    {d(0x7FF8000000000001), d(0x7FF8000000000001), 0},
    {d(0xFFF8000000000001), d(0xFFF8000000000001), 0},
    {infinity<double>, infinity<double>, 0},
    {-infinity<double>, arko::test::nan<double>, 1},
    {d(0xFFEFFFFFFFFFFFFF), arko::test::nan<double>, 1},
    {-1, arko::test::nan<double>, 1},
    {d(0x8000000000000001), arko::test::nan<double>, 1},
    {-0.0, -infinity<double>, 2},
    {0.0, -infinity<double>, 2},
    near(d(0x000FFFFFFFFFFFFF), 0),
    near(d(0x0010000000000001), 0),
    near(d(0x3FEFFFFFFFFFFFFF), 0),
    {1, 0, 0},
    near(d(0x3FF0000000000001), 0),
    near(10.0, 0),
    near(0.001, 0),
    near(0x1p-1074, 0),
    near(d(0x7FEFFFFFFFFFFFFF), 0),
};

TEST(log10, single_edges) { check_rows("Log10", singles, {std::log10, 0.25}); }
TEST(log10, double_edges) { check_rows("Log10", doubles, {std::log10, 0.25}); }
TEST(log10, signalling_nan) { check_signalling("Log10"); }

}  // namespace
