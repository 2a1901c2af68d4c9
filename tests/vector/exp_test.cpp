// Exp at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

// The kernels that serve special lanes by their own routine differ in two thresholds of single precision.
bool screened(const kernel& k) { return !k.f->strided && (k.f->is_double() || k.level != 2); }
bool masked(const kernel& k) { return !screened(k); }

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, 0, 0},
    {0.0f, 1, 0},
    {-0.0f, 1, 0},
    {s(0x00000001), 1, 0},
    {s(0x807FFFFF), 1, 0},
    near(1.0f, 0),
    near(s(0x42AEAC4F), 0),  // the last arguments of the fast path, and the first of the routine
    near(s(0x42AEAC50), 0),
    near(s(0xC2AEAC4F), 0),
    near(s(0xC2AEAC50), 4),
    near(-87.4f, 4),
    near(88.7f, 0),
    near(s(0x42B17217), 0),  // 88.72283, the last finite result
    {s(0x42B17218), infinity<float>, 3},
    {100, infinity<float>, 3},
    {s(0x7F7FFFFF), infinity<float>, 3},
    near(s(0xC2CE8ED0), 4),  // -103.27893
    {s(0xC2CE8ED1), 0, 4, screened},
    near(s(0xC2CE8ED1), 4, masked),
    {-103.3f, 0, 4, screened},
    {-103.3f, s(0x00000001), 4, masked},
    {s(0xC2CFF1B4), s(0x00000001), 4, masked},  // -103.972076, the last denormal result
    {s(0xC2CFF1B5), 0, 4},
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
    {d(0x0000000000000001), 1, 0},
    {d(0x800FFFFFFFFFFFFF), 1, 0},
    near(1.0, 0),
    near(d(0x4086232AFFFFFFFF), 0),  // the last of the fast path by its upper word
    near(d(0x4086232B00000000), 0),
    near(d(0xC086232AFFFFFFFF), 0),
    near(d(0xC086232B00000000), 0),
    near(d(0xC086232BDD7ABCD2), 0),  // -708.3964185322641, the last without a report
    near(d(0xC086232BDD7ABCD3), 4),
    near(-720.0, 4),
    near(709.78, 0),
    near(d(0x40862E3D73697A30), 0),  // below and from 709.78000528721
    near(d(0x40862E3D73697A31), 0),
    near(d(0x40862E42FEFA39EF), 0),  // the last finite result
    {d(0x40862E42FEFA39F0), infinity<double>, 3},
    {d(0x7FEFFFFFFFFFFFFF), infinity<double>, 3},
    near(d(0xC0874910D52D3051), 4),
    {d(0xC0874910D52D3052), 0, 4},  // -745.1332191019412
    {-745.14, 0, 4},
    {d(0xFFEFFFFFFFFFFFFF), 0, 4},
};

TEST(exp, single_edges) { check_rows("Exp", singles, {std::exp}); }
TEST(exp, double_edges) { check_rows("Exp", doubles, {std::exp}); }
TEST(exp, signalling_nan) { check_signalling("Exp"); }
TEST(exp, denormal_results) {
  check_denormal_result("Exp", -95.0f, 4);
  check_denormal_result("Exp", -720.0, 4);
}
TEST(exp, screened_blocks_write_in_order) {
  check_screened("Exp", 1000.0f, screened);
  check_screened("Exp", 1000.0, screened);
}

}  // namespace
