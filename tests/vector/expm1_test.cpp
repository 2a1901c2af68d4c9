// Expm1 at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, -1, 0},
    {0.0f, 0.0f, 0},
    {-0.0f, -0.0f, 0},
    {s(0x00000001), s(0x00000001), 0},
    {s(0x807FFFFF), s(0x807FFFFF), 0},
    {0x1p-30f, 0x1p-30f, 0},
    near(0x1p-12f, 0),
    near(0.0108f, 0),
    near(-0.0108f, 0),
    near(1.0f, 0),
    near(-16.0f, 0),
    {-18, -1, 0},
    near(s(0x42AD496B), 0),  // the last arguments of the fast path, and the first of the routine
    near(s(0x42AD496C), 0),
    {s(0xC2AD496B), -1, 0},
    {s(0xC2AD496C), -1, 0},
    {-100, -1, 0},
    near(88.7228317f, 0),  // the last finite result
    {s(0x42B17218), infinity<float>, 3},
    {s(0x7F7FFFFF), infinity<float>, 3},
    {s(0xFF7FFFFF), -1, 0},
};

const row<double> doubles[] = {
    {d(0x7FF8000000000001), d(0x7FF8000000000001), 0},
    {d(0xFFF8000000000001), d(0xFFF8000000000001), 0},
    {infinity<double>, infinity<double>, 0},
    {-infinity<double>, -1, 0},
    {0.0, 0.0, 0},
    {-0.0, -0.0, 0},
    {d(0x0000000000000001), d(0x0000000000000001), 0},
    {d(0x800FFFFFFFFFFFFF), d(0x800FFFFFFFFFFFFF), 0},
    {0x1p-60, 0x1p-60, 0},
    near(0x1p-26, 0),
    near(0.0054, 0),
    near(-0.0054, 0),
    near(1.0, 0),
    near(-36.0, 0),
    {-40, -1, 0},
    near(d(0x40861DA0FFFFFFFF), 0),  // the last of the fast path by its upper word
    near(d(0x40861DA100000000), 0),
    {d(0xC0861DA0FFFFFFFF), -1, 0},
    {d(0xC0861DA100000000), -1, 0},
    near(709.78, 0),
    near(d(0x40862E42FEFA39EF), 0),  // the last finite result
    {d(0x40862E42FEFA39F0), infinity<double>, 3},
    {d(0x7FEFFFFFFFFFFFFF), infinity<double>, 3},
    {d(0xFFEFFFFFFFFFFFFF), -1, 0},
};

TEST(expm1, single_edges) { check_rows("Expm1", singles, {std::expm1}); }
TEST(expm1, double_edges) { check_rows("Expm1", doubles, {std::expm1}); }
TEST(expm1, signalling_nan) { check_signalling("Expm1"); }

}  // namespace
