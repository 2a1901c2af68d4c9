// Exp10 at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

long double exp10l_by_pow(long double x) { return std::pow(10.0L, x); }

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, 0, 0},
    {0.0f, 1, 0},
    {-0.0f, 1, 0},
    {s(0x80000001), 1, 0},
    near(1.0f, 0),
    near(-0.3f, 0),
    near(s(0x4217B818), 0),  // the last arguments of the fast path, and the first of the routine
    near(s(0x4217B819), 0),
    near(s(0xC217B818), 0),
    near(-37.9297829f, 4),
    near(-40.0f, 4),
    near(s(0x421A209A), 0),  // the last finite result
    {s(0x421A209B), infinity<float>, 3},
    {s(0x7F7FFFFF), infinity<float>, 3},
    {-45.154499f, s(0x00000001), 4},
    {s(0xC2349E36), 0, 4},
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
    near(1.0, 0),
    near(-0.3, 0),
    near(d(0x40733A70FFFFFFFF), 0),  // the last of the fast path by its upper word
    near(d(0x40733A7100000000), 0),
    near(d(0xC0733A70FFFFFFFF), 0),
    near(d(0xC0733A7100000000), 0),
    near(-307.6526555685887, 0),  // the last normal result
    near(d(0xC0733A7146F72A42), 4),
    near(-310.0, 4),
    near(308.0, 0),
    near(308.2547155599167, 0),  // the last finite result
    {308.25471555991675, infinity<double>, 3},
    {d(0x7FEFFFFFFFFFFFFF), infinity<double>, 3},
    {-323.60724533877976, d(0x0000000000000001), 4},
    {-323.6072453387798, 0, 4},
    {d(0xFFEFFFFFFFFFFFFF), 0, 4},
};

TEST(exp10, single_edges) { check_rows("Exp10", singles, {exp10l_by_pow}); }
TEST(exp10, double_edges) { check_rows("Exp10", doubles, {exp10l_by_pow}); }
TEST(exp10, signalling_nan) { check_signalling("Exp10"); }
TEST(exp10, denormal_results) {
  check_denormal_result("Exp10", -40.0f, 4);
  check_denormal_result("Exp10", -315.0, 4);
}

}  // namespace
