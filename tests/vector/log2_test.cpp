// Log2 at its edges.

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
    {8, 3, 0},
    {0.5f, -1, 0},
    {0x1p127f, 127, 0},
    {0x1p-126f, -126, 0},
    {0x1p-149f, -149, 0},
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
    {8, 3, 0},
    {0.5, -1, 0},
    {0x1p1023, 1023, 0},
    {0x1p-1022, -1022, 0},
    {0x1p-1074, -1074, 0},
    near(d(0x7FEFFFFFFFFFFFFF), 0),
};

TEST(log2, single_edges) { check_rows("Log2", singles, {std::log2, 0.25}); }
TEST(log2, double_edges) { check_rows("Log2", doubles, {std::log2, 0.25}); }
TEST(log2, signalling_nan) { check_signalling("Log2"); }

}  // namespace
