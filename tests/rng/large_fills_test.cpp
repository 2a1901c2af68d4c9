// Fills of as many numbers as can be asked for, where an index that runs ahead of the count would overflow.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/rng/streams.h"
#include "tests/support/repeated.h"

namespace {

using namespace arko::test;

struct family {
  const char* name;
  std::int32_t code;
  enum { integer, single, real } form;
};
const family families[] = {{"MCG31M1", KOV_BRNG_MCG31M1, family::integer},
                           {"MCG59", KOV_BRNG_MCG59, family::single},
                           {"MRG32K3A", KOV_BRNG_MRG32K3A, family::integer},
                           {"PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10, family::integer},
#ifndef __SANITIZE_ADDRESS__  // takes many times as long
                           {"WH", KOV_BRNG_WH + 7, family::single},
                           {"R250", KOV_BRNG_R250, family::integer},
                           {"MT19937", KOV_BRNG_MT19937, family::single},
                           {"MT2203", KOV_BRNG_MT2203, family::integer},
                           {"SFMT19937", KOV_BRNG_SFMT19937, family::real},
                           {"ARS5", KOV_BRNG_ARS5, family::single}
#endif
};

class fills : public testing::TestWithParam<family> {};
INSTANTIATE_TEST_SUITE_P(of, fills, testing::ValuesIn(families),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(fills, of_2_31_less_1_numbers_end_where_the_sequence_does) {
  const auto [name, code, form] = GetParam();
  if (code == KOV_BRNG_ARS5 && !__kovCPUisAES()) GTEST_SKIP() << "no AES instructions";
  constexpr std::int32_t n = INT32_MAX, tail = 50;
  static repeated room(sizeof(double) * n);
  stream whole(code, {1, 2, 3}), end(whole);
  if (end.skip(n - tail) != KOV_STATUS_OK)
    for (std::int32_t left = n - tail, m; left > 0; left -= m) end.integers(m = std::min(left, 1 << 18));
  const auto look = [&](auto fill, auto* r, const auto& expected) {
    ASSERT_EQ(fill(r), KOV_STATUS_OK);
    EXPECT_EQ(std::memcmp(r + n - tail, expected.data(), tail * sizeof *r), 0);
  };
  const BrngProperties& row = whole.row();
  if (form == family::integer)
    look([&](auto* r) { return row.FillInteger(whole.get(), n, r); }, room.last<std::uint32_t>(n),
         end.integers(tail));
  else if (form == family::single)
    look([&](auto* r) { return row.FillSingle(whole.get(), n, r, -1, 2); }, room.last<float>(n),
         end.singles(tail, -1, 2));
  else
    look([&](auto* r) { return row.FillDouble(whole.get(), n, r, -1, 2); }, room.last<double>(n),
         end.doubles(tail, -1, 2));
  EXPECT_EQ(whole.integers(tail), end.integers(tail));
}

}  // namespace
