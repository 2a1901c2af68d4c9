// Skips by polynomial: powers of x against long-hand arithmetic, skips against stepping, without memory.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "core/testing.h"
#include "tests/rng/streams.h"
#include "tools/gf2.h"

namespace {

using namespace arko::test;
namespace gf2 = arko::tools::gf2;

TEST(poly_rem, is_the_power_of_x) {
  const std::vector<std::int32_t> polynomials[] = {
      {0, 3, 10},        {0, 1},           {0, 9, 10},  {0, 1, 2, 3, 4, 5, 6, 7},
      {0, 38, 63},       {0, 1, 3, 4, 64}, {0, 64, 65}, {0, 2, 3, 7, 60, 128},
      {0, 1, 149, 1000}, {0, 600, 1279}};
  std::mt19937_64 random(1);
  for (const std::vector<std::int32_t>& p : polynomials) {
    constexpr std::size_t size = 22;
    const std::int32_t degree = p.back();
    gf2::row<size> row{}, x{2};
    for (const std::int32_t e : p) gf2::flip(row.data(), e);
    const gf2::modulus modulus(row);
    for (int bits = 0; bits < 63; bits++) {
      const std::int64_t n = static_cast<std::int64_t>(bits ? random() >> (64 - bits) : 0);
      gf2::row<size> power{1};
      for (int bit = bits; bit-- > 0;) {
        power = modulus.square(power);
        if (n >> bit & 1) power = modulus.product(power, x);
      }
      gf2::row<size> result;
      result.fill(~std::uint64_t{0});
      ASSERT_EQ(__kovPolyRem(n, degree, static_cast<std::int32_t>(p.size()), p.data(), size,
                             reinterpret_cast<std::uint32_t*>(result.data())),
                KOV_STATUS_OK);
      EXPECT_LT(gf2::degree(result), degree);
      for (std::size_t i = 0; i < size; i++) power[i] ^= result[i];
      EXPECT_TRUE(modulus.divides(power)) << degree << ' ' << n;
    }
  }
}

constexpr std::int32_t block_polynomial[] = {
#include "sfmt_polynomial.inc"
};

TEST(sfmt19937, polynomial_has_the_known_terms) {
  const std::vector<std::int32_t> p(std::begin(block_polynomial), std::end(block_polynomial));
  ASSERT_EQ(p.size(), 6711u);
  using list = std::vector<std::int32_t>;
  EXPECT_EQ(list(p.begin(), p.begin() + 12),
            (list{0, 1041, 1195, 1197, 1232, 1260, 1349, 1351, 1414, 1416, 1505, 1507}));
  EXPECT_EQ(list(p.end() - 3, p.end()), (list{19393, 19437, 19968}));
}

// What both schedules rest on are the operations that they are given: x(n) = x(n-3) ^ x(n-10), outputs one by one.
struct register_10 {
  std::uint32_t w[10];
  std::int32_t index, unused[4];

  static register_10& at(void* s) { return *static_cast<register_10*>(s); }
  static const register_10& at(const void* s) { return *static_cast<const register_10*>(s); }
  static void zero(void* s) { at(s) = {}; }
  static void add(void* t, const void* s) {
    for (int k = 0; k < 10; k++) at(t).w[(at(t).index + k) % 10] ^= at(s).w[(at(s).index + k) % 10];
  }
  static void copy(void* t, const void* s) { at(t) = at(s); }
  static void step(void* s) {
    std::int32_t& i = at(s).index;
    at(s).w[i] ^= at(s).w[(i + 7) % 10];
    i = (i + 1) % 10;
  }
  static void finish(void* s, void* state, std::int32_t offset) {
    at(s) = at(state);
    at(s).unused[0] = offset;
  }
  static std::int32_t prepare(void*, std::int64_t* nskip, std::int32_t* offset) {
    *offset = 77;
    return --*nskip > 0;  // as if one output had been at hand
  }
};

TEST(schedules, give_the_state_after_the_steps) {
  const std::int32_t exponents[] = {0, 7, 10};
  for (const auto schedule : {__kov_SkipAheadHorner, __kov_SkipAheadSWin})
    for (std::int64_t count = 0; count < 200; count++) {
      register_10 s{{9, 8, 7, 6, 5, 4, 3, 2, 1, 1}, 3, {}}, stepped = s;
      for (std::int64_t i = 1; i < count; i++) register_10::step(&stepped);
      using r = register_10;
      ASSERT_EQ(schedule(&s, r::zero, r::add, r::copy, r::step, r::finish, r::prepare, count, 1, 10, sizeof s,
                         3, exponents),
                KOV_STATUS_OK);
      for (int k = 0; k < 10; k++)
        EXPECT_EQ(s.w[(s.index + k) % 10], stepped.w[(stepped.index + k) % 10]) << count;
      EXPECT_EQ(s.unused[0], count > 1 ? 77 : 0);
    }
}

class skips : public testing::TestWithParam<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(streams, skips, testing::Values(KOV_BRNG_MT19937, KOV_BRNG_SFMT19937));

TEST_P(skips, go_where_stepping_goes) {
  const words whole = stream(GetParam(), {5}).integers(0x100000 + 30000);
  for (const int start : {0, 1, 2, 4, 7, 300, 621, 623, 624, 1250})
    for (const int count :
         {0,   1,   2,   3,    4,    5,    100,   320,   321,   322,     323,      324,     623,
          624, 625, 627, 1248, 2047, 2673, 19967, 19968, 19971, 0xFFFFF, 0x100000, 0x100003}) {
      stream s(GetParam(), {5});
      if (start) s.integers(start);
      ASSERT_EQ(s.skip(count), KOV_STATUS_OK);
      words next = s.integers(1);
      next = next + s.integers(700);
      const auto expected = whole.begin() + start + count;
      EXPECT_TRUE(std::equal(next.begin(), next.end(), expected)) << start << " + " << count;
    }
}

TEST_P(skips, add_up) {
  const std::int64_t far = 1'000'000'000'000'000, farthest = std::int64_t{1} << 62;
  for (const auto& [x, y] : {std::pair{far, far}, {far - 5, std::int64_t{5}}, {farthest, farthest - 1}}) {
    stream at_once(GetParam()), in_parts(GetParam());
    at_once.skip(x + y);
    in_parts.skip(y);
    in_parts.skip(x);
    EXPECT_EQ(at_once.integers(1300), in_parts.integers(1300));
  }
}

TEST_P(skips, leave_the_words_without_memory) {
  stream fresh(GetParam());
  const words expected = stream(GetParam()).integers(100);
  for (const std::int64_t count : {std::int64_t{12345} << 20, std::int64_t{19000}}) {
    int failures = 0;
    for (int k = 1;; k++) {
      stream s(fresh);
      const std::int64_t live = arko_core_live_blocks();
      arko_core_fail_allocation(k);
      const std::int32_t status = s.skip(count);
      arko_core_fail_allocation(0);
      EXPECT_EQ(arko_core_live_blocks(), live);
      if (status == KOV_STATUS_OK) break;
      failures++;
      EXPECT_EQ(status, KOV_STATUS_NO_MEMORY);
      EXPECT_EQ(s.integers(100), expected);
    }
    EXPECT_TRUE(failures > 2 || count == 19000);
  }
}

}  // namespace
