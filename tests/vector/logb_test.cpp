// Logb at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},  // the sign of a NaN is cleared
    {s(0xFFC00001), s(0x7FC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, infinity<float>, 0},
    {0.0f, -infinity<float>, 1},
    {-0.0f, -infinity<float>, 1},
    {s(0x00000001), -149, 0},
    {s(0x80000003), -148, 0},
    {s(0x007FFFFF), -127, 0},
    {s(0x00800000), -126, 0},
    {s(0x3F7FFFFF), -1, 0},
    {1.0f, 0, 0},
    {-1.0f, 0, 0},
    {s(0x7F7FFFFF), 127, 0},
};

const row<double> doubles[] = {
    {d(0x7FF8000000000001), d(0x7FF8000000000001), 0},
    {d(0xFFF8000000000001), d(0x7FF8000000000001), 0},
    {infinity<double>, infinity<double>, 0},
    {-infinity<double>, infinity<double>, 0},
    {0.0, -infinity<double>, 1},
    {-0.0, -infinity<double>, 1},
    {d(0x0000000000000001), -1074, 0},
    {d(0x8000000100000000), -1042, 0},
    {d(0x000FFFFFFFFFFFFF), -1023, 0},
    {d(0x0010000000000000), -1022, 0},
    {d(0x3FEFFFFFFFFFFFFF), -1, 0},
    {1.0, 0, 0},
    {-1.0, 0, 0},
    {d(0x7FEFFFFFFFFFFFFF), 1023, 0},
};

TEST(logb, single_edges) { check_rows("Logb", singles, {std::logb}); }
TEST(logb, double_edges) { check_rows("Logb", doubles, {std::logb}); }

}  // namespace
