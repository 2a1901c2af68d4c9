// Exp2 at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, 0, 0},
    {0.0f, 1, 0},
    {-0.0f, 1, 0},
    {s(0x80000001), 1, 0},
    {1, 2, 0},
    {-3, 0.125f, 0},
    near(0.3f, 0),
    {126, 0x1p126f, 0},  // the last arguments of the fast path, and the first of the routine
    near(s(0x42FC0001), 0),
    {-126, 0x1p-126f, 0},
    near(s(0xC2FC0001), 4),
    near(-126.5f, 4),
    {127, 0x1p127f, 0},
    near(s(0x42FFFFFF), 0),  // below 128, the last finite result
    {128, infinity<float>, 3},
    {s(0x7F7FFFFF), infinity<float>, 3},
    near(-148.9f, 4),
    {s(0xC315FFFF), s(0x00000001), 4},  // just above -150
    {-150, 0, 4},
    {s(0xFF7FFFFF), 0, 4},
};

const row<double> doubles[] = {
    {d(0x7FF8000000000001), d(0x7FF8000000000001), 0},
    {d(0xFFF8000000000001), d(0xFFF8000000000001), 0},
    {infinity<double>, infinity<double>, 0},
    {-infinity<double>, 0, 0},
    {0.0, 1, 0},
    {-0.0, 1, 0},
    {d(0x8000000000000001), 1, 0},
    {10, 1024, 0},
    {-3, 0.125, 0},
    near(0.3, 0),
    near(d(0x408FEFFFFFFFFFFF), 0),  // the last of the fast path by its upper word
    {1022, 0x1p1022, 0},
    near(d(0xC08FEFFFFFFFFFFF), 0),
    {-1022, 0x1p-1022, 0},
    near(d(0xC08FF00000000003), 4),
    near(-1022.7, 4),
    near(-1060.3, 4),
    {1023, 0x1p1023, 0},
    near(d(0x408FFFFFFFFFFFFF), 0),  // below 1024, the last finite result
    {1024, infinity<double>, 3},
    {d(0x7FEFFFFFFFFFFFFF), infinity<double>, 3},
    near(-1073.9, 4),
    {d(0xC090CBFFFFFFFFFF), d(0x0000000000000001), 4},  // just above -1075
    {-1075, 0, 4},
    {d(0xFFEFFFFFFFFFFFFF), 0, 4},
};

TEST(exp2, single_edges) { check_rows("Exp2", singles, {std::exp2}); }
TEST(exp2, double_edges) { check_rows("Exp2", doubles, {std::exp2}); }
TEST(exp2, signalling_nan) { check_signalling("Exp2"); }
TEST(exp2, denormal_results) {
  check_denormal_result("Exp2", -140.0f, 4);
  check_denormal_result("Exp2", -1040.0, 4);
}

}  // namespace
