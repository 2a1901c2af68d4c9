// The ulp meter itself, by errors worked out by hand.
#include "tests/support/ulp.h"

#include <gtest/gtest.h>

namespace {

using arko::test::exact;
using arko::test::in_relative;
using arko::test::in_ulps;

constexpr double infinite = HUGE_VAL, nan = NAN;

template <class E> struct row {
  E result;
  typename exact<E>::wide value, rest;
  double ulps;
};
template <class E> void check(std::initializer_list<row<E>> rows) {
  for (const auto& r : rows)
    EXPECT_EQ(in_ulps(r.result, exact<E>(r.value, r.rest)), r.ulps)
        << r.result << " for " << r.value << " + " << r.rest;
}

TEST(Ulp, IsTheSpacingInTheBinadeOfTheExactValue) {
  check<float>({{1 + 0x1p-23f, 1, 0, 1},
                {1, 1 - 0x1p-25, 0, 0.5},
                {1.5, 1.5 + 0x1p-25, 0, 0.25},
                {-3, -3 - 0x1p-22, 0, 1}});
  check<double>({{3, 3 + 0x1p-53L, 0, 0.25}, {1, 1, 0x1p-54L, 0.25}});
  // The rest decides the binade.
  check<float>({{1 - 0x1p-24f, 1, -0x1p-80, 1}, {1 - 0x1p-24f, 1, 0x1p-80, 0.5}});
}
TEST(Ulp, IsTheSmallestDenormalBelowTheNormalNumbers) {
  check<float>({{0, 0x1p-149, 0, 1}, {0x1p-149f, 0, 0, 1}, {0x1p-127f, 0x1p-127 + 0x1p-150, 0, 0.5}});
  check<double>({{0x1p-1074, 0x1.8p-1074L, 0, 0.5}, {0, 0, 0, 0}});
}
TEST(Ulp, InfinityIsTheNextPowerOfTwoAndNaNOnlyMeetsNaN) {
  check<float>({{HUGE_VALF, 0x1p200, 0, 0},
                {HUGE_VALF, infinite, 0, 0},

                {HUGE_VALF, 0x1.fffffep127, 0, 1},
                {0x1.fffffep127f, 0x1p128, 0, 1},
                {-HUGE_VALF, infinite, 0, infinite},
                {1, infinite, 0, infinite},
                {NAN, nan, 0, 0},
                {NAN, 1, 0, infinite},
                {1, nan, 0, infinite},
                {HUGE_VALF, nan, 0, infinite}});
  check<double>({{infinite, 0x1.fffffffffffffp1023L, 0, 1}});
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
  mpfr_clear(v);
}

TEST(Ulp, MeterKeepsTheWorstAndTheMean) {
  arko::test::meter<float> a, b;
  const exact<float> quarter(1 + 0x1p-25), one(1.0), three_quarters(1 + 0x1.8p-24), small(-0x1p-127);
  const auto is = [](const auto& worst, double error, float where) {
    return worst.error == error && worst.where == where;
  };
  a.add(1, 1, quarter, true);
  a.add(2, 1 + 0x3p-23f, one, false);
  a.add(5, 1 - 0x1p-23f, one, false);
  b.add(3, 1, three_quarters, true);
  b.add(4, -0x1p-127f + 0x7p-149f, small, false);
  b.add_relative(3, 1.125f, one, 0);
  b.add_relative(6, 1.0625f, one, 0);
  b.add_relative(7, 0x1.4p-3f, exact<float>(0x1p-3), 0);
  a.merge(b);
  EXPECT_TRUE(is(a.normal, 3, 2) && is(a.tiny, 7, 4) && is(a.relative, 0.25, 7));
  EXPECT_EQ(a.mean(), 0.5);
  EXPECT_EQ(a.samples, 5u);
  a.add(7, NAN, one, false);
  EXPECT_TRUE(is(a.normal, HUGE_VAL, 7));
}

}  // namespace
