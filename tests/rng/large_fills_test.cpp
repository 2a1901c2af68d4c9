// Fills of as many numbers as can be asked for, where an index that runs ahead of the count would overflow.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/rng/streams.h"
#include "tests/support/repeated.h"

namespace {

using namespace arko::test;

TEST(fills, of_2_31_less_1_numbers_end_where_the_sequence_does) {
  constexpr std::int32_t n = INT32_MAX, tail = 50;
  enum form { integer, single, real };
  const std::pair<std::int32_t, form> rows[] = {
      {KOV_BRNG_MCG31M1, integer},    {KOV_BRNG_MCG59, single},         {KOV_BRNG_MRG32K3A, integer},
      {KOV_BRNG_WH + 7, single},      {KOV_BRNG_R250, integer},         {KOV_BRNG_MT19937, single},
      {KOV_BRNG_MT2203, integer},     {KOV_BRNG_SFMT19937, real},       {KOV_BRNG_ARS5, single},
      {KOV_BRNG_PHILOX4X32X10, real}, {KOV_BRNG_PHILOX4X32X10, integer}};
  repeated room(sizeof(double) * n);
  for (const auto& [code, form] : rows) {
    if (code == KOV_BRNG_ARS5 && !__kovCPUisAES()) continue;
    stream whole(code, {1, 2, 3}), end(whole);
    if (end.skip(n - tail) != KOV_STATUS_OK)
      for (std::int32_t left = n - tail, m; left > 0; left -= m) end.integers(m = std::min(left, 1 << 18));
    const BrngProperties& row = whole.row();
    const auto look = [&](auto fill, auto* r, const auto& expected) {
      ASSERT_EQ(fill(r), KOV_STATUS_OK) << code;
      EXPECT_EQ(std::memcmp(r + n - tail, expected.data(), tail * sizeof *r), 0) << code;
    };
    if (form == integer)
      look([&](auto* r) { return row.FillInteger(whole.get(), n, r); }, room.last<std::uint32_t>(n),
           end.integers(tail));
    else if (form == single)
      look([&](auto* r) { return row.FillSingle(whole.get(), n, r, -1, 2); }, room.last<float>(n),
           end.singles(tail, -1, 2));
    else
      look([&](auto* r) { return row.FillDouble(whole.get(), n, r, -1, 2); }, room.last<double>(n),
           end.doubles(tail, -1, 2));
    EXPECT_EQ(whole.integers(tail), end.integers(tail)) << code;
  }
}

}  // namespace
