// The ulp meter itself, by errors worked out by hand.
#include "tests/support/ulp.h"

#include <gtest/gtest.h>

namespace {

using arko::test::exact;
using arko::test::in_relative;
using arko::test::in_ulps;

constexpr double infinite = HUGE_VAL;

TEST(Ulp, IsTheSpacingInTheBinadeOfTheExactValue) {
  EXPECT_EQ(in_ulps(1.0f + 0x1p-23f, exact<float>(1.0)), 1);
  EXPECT_EQ(in_ulps(1.0f, exact<float>(1.0 - 0x1p-25)), 0.5);
  EXPECT_EQ(in_ulps(1.5f, exact<float>(1.5 + 0x1p-25)), 0.25);
  EXPECT_EQ(in_ulps(-3.0f, exact<float>(-3.0 - 0x1p-22)), 1);
  EXPECT_EQ(in_ulps(3.0, exact<double>(3.0L + 0x1p-53L)), 0.25);
}

TEST(Ulp, RestDecidesTheBinade) {
  EXPECT_EQ(in_ulps(1.0f - 0x1p-24f, exact<float>(1.0, -0x1p-80)), 1);
  EXPECT_EQ(in_ulps(1.0f - 0x1p-24f, exact<float>(1.0, 0x1p-80)), 0.5);
  EXPECT_EQ(in_ulps(1.0, exact<double>(1.0L, 0x1p-54L)), 0.25);
}

TEST(Ulp, IsTheSmallestDenormalBelowTheNormalNumbers) {
  EXPECT_EQ(in_ulps(0.0f, exact<float>(0x1p-149)), 1);
  EXPECT_EQ(in_ulps(0x1p-149f, exact<float>(0.0)), 1);
  EXPECT_EQ(in_ulps(0x1p-127f, exact<float>(0x1p-127 + 0x1p-150)), 0.5);
  EXPECT_EQ(in_ulps(0x1p-1074, exact<double>(0x1.8p-1074L)), 0.5);
  EXPECT_EQ(in_ulps(0.0, exact<double>(0.0L)), 0);
}

TEST(Ulp, InfinityIsTheNextPowerOfTwo) {
  const float inf = HUGE_VALF;
  EXPECT_EQ(in_ulps(inf, exact<float>(0x1p200)), 0);
  EXPECT_EQ(in_ulps(inf, exact<float>(infinite)), 0);
  EXPECT_EQ(in_ulps(inf, exact<float>(0x1.fffffep127)), 1);
  EXPECT_EQ(in_ulps(0x1.fffffep127f, exact<float>(0x1p128)), 1);
  EXPECT_EQ(in_ulps(-inf, exact<float>(infinite)), infinite);
  EXPECT_EQ(in_ulps(1.0f, exact<float>(infinite)), infinite);
  EXPECT_EQ(in_ulps(infinite, exact<double>(0x1.fffffffffffffp1023L)), 1);
}

TEST(Ulp, NaNOnlyMeetsNaN) {
  const double nan = NAN;
  EXPECT_EQ(in_ulps(NAN, exact<float>(nan)), 0);
  EXPECT_EQ(in_ulps(NAN, exact<float>(1.0)), infinite);
  EXPECT_EQ(in_ulps(1.0f, exact<float>(nan)), infinite);
  EXPECT_EQ(in_ulps(HUGE_VALF, exact<float>(nan)), infinite);
}

TEST(Ulp, RelativeErrorsHaveAFloor) {
  EXPECT_EQ(in_relative(1.25f, exact<float>(1.0), 0), 0.25);
  EXPECT_EQ(in_relative(0.125f, exact<float>(0.0625), 0.25), 0.25);
  EXPECT_EQ(in_relative(0.0f, exact<float>(0x1p-127), 0), 0.5);
  EXPECT_EQ(in_relative(HUGE_VALF, exact<float>(0x1p127), 0), 1);
}

TEST(Ulp, MpfrValuesKeepTheirRest) {
  mpfr_t v;
  mpfr_init2(v, 200);
  mpfr_set_ui_2exp(v, 1, -1075, MPFR_RNDN);  // half of the smallest denormal
  EXPECT_EQ(in_ulps(0.0, exact<double>(v)), 0.5);
  mpfr_set_ui(v, 1, MPFR_RNDN);
  mpfr_nextbelow(v);
  EXPECT_EQ(exact<double>(v).rest, -0x1p-200L);
  EXPECT_EQ(exact<float>(v).rest, -0x1p-200);
  EXPECT_EQ(in_ulps(1.0f - 0x1p-24f, exact<float>(v)), 1);
  mpfr_clear(v);
}

TEST(Ulp, MeterKeepsTheWorstAndTheMean) {
  arko::test::meter<float> a, b;
  const exact<float> quarter(1 + 0x1p-25), one(1.0), three_quarters(1 + 0x1.8p-24), small(-0x1p-127);
  a.add(1, 1, quarter, true);
  a.add(2, 1 + 0x3p-23f, one, false);
  a.add(5, 1 - 0x1p-23f, one, false);
  b.add(3, 1, three_quarters, true);
  b.add(4, -0x1p-127f + 0x7p-149f, small, false);
  b.add_relative(3, 1.125f, one, 0);
  b.add_relative(6, 1.0625f, one, 0);
  a.merge(b);
  EXPECT_EQ(a.normal.error, 3);
  EXPECT_EQ(a.normal.where, 2);
  EXPECT_EQ(a.tiny.error, 7);
  EXPECT_EQ(a.tiny.where, 4);
  EXPECT_EQ(a.mean(), 0.5);
  EXPECT_EQ(a.samples, 5u);
  EXPECT_EQ(a.relative.error, 0.125);
  EXPECT_EQ(a.relative.where, 3);
  a.add(7, std::numeric_limits<float>::quiet_NaN(), one, false);
  EXPECT_EQ(a.normal.error, HUGE_VAL);
  EXPECT_EQ(a.normal.where, 7);
}

}  // namespace
