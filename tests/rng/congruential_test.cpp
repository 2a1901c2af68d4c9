// The congruential generators against their recursions in exact integers, and their powers against periods that number
// theory tells.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <numeric>
#include <set>

#include "core/testing.h"
#include "tests/rng/streams.h"

namespace {

using namespace arko::test;
using int128 = __int128;
using uint128 = unsigned __int128;

struct member {
  std::uint32_t multipliers, m[4];
};
const member wh_members[] = {
#include "rng/wh_moduli.inc"
};

// ---- The generators, written as they are defined

constexpr int128 m1 = 4294967087, m2 = 4294944443;

// `count` outputs from a state of numbers, as words.
using recursion = std::function<words(std::vector<int128> state, int count)>;

words mcg31m1(std::vector<int128> s, int count) {
  words r;
  for (int i = 0; i < count; i++, s[0] = s[0] * 1132489760 % 2147483647)
    r.push_back(static_cast<std::uint32_t>(s[0]));
  return r;
}
words mcg59(std::vector<int128> s, int count) {
  words r;
  for (int i = 0; i < count; i++, s[0] = s[0] * 302875106592253 % (int128{1} << 59))
    for (const int shift : {0, 32}) r.push_back(static_cast<std::uint32_t>(s[0] >> shift));
  return r;
}
words mrg32k3a(std::vector<int128> s, int count) {
  words r;
  for (int i = 0; i < count; i++) {
    const int128 x = (1403580 * s[1] - 810728 * s[0]) % m1, y = (527612 * s[5] - 1370589 * s[3]) % m2;
    s = {s[1], s[2], (x + m1) % m1, s[4], s[5], (y + m2) % m2};
    r.push_back(static_cast<std::uint32_t>((s[2] - s[5] + m1) % m1));
  }
  return r;
}
recursion wh(int number) {
  return [=](std::vector<int128> s, int count) {
    words r;
    for (int i = 0; i < count; i++)
      for (std::size_t c = 0; c < 4; c++) {
        r.push_back(static_cast<std::uint32_t>(s[c]));
        s[c] = s[c] * (wh_members[number].multipliers >> 8 * c & 0xFF) % wh_members[number].m[c];
      }
    return r;
  };
}

TEST(congruential, are_their_recursions_from_every_seed) {
  struct {
    std::int32_t code;
    recursion defined;
    words seed;
    std::vector<int128> state;  // what the seed means
  } const rows[] = {
      {KOV_BRNG_MCG31M1, mcg31m1, {}, {1}},
      {KOV_BRNG_MCG31M1, mcg31m1, {0}, {1}},
      {KOV_BRNG_MCG31M1, mcg31m1, {2147483646, 5}, {2147483646}},
      {KOV_BRNG_MCG31M1, mcg31m1, {2147483647}, {1}},
      {KOV_BRNG_MCG31M1, mcg31m1, {2147483648}, {1}},
      {KOV_BRNG_MCG31M1, mcg31m1, {4294967295}, {1}},
      {KOV_BRNG_MCG59, mcg59, {}, {1}},
      {KOV_BRNG_MCG59, mcg59, {0}, {1}},
      {KOV_BRNG_MCG59, mcg59, {4294967295}, {4294967295}},
      {KOV_BRNG_MCG59, mcg59, {0, 0x8000000}, {1}},
      {KOV_BRNG_MCG59, mcg59, {5, 0xFFFFFFFF, 9}, {5 + (int128{0x7FFFFFF} << 32)}},
      {KOV_BRNG_MRG32K3A, mrg32k3a, {}, {1, 1, 1, 1, 1, 1}},
      {KOV_BRNG_MRG32K3A, mrg32k3a, {0, 0, 0, 0, 0, 0}, {1, 0, 0, 1, 0, 0}},
      {KOV_BRNG_MRG32K3A, mrg32k3a, {4294967295, 4294967087, 4294967086}, {208, 0, m1 - 1, 1, 1, 1}},
      {KOV_BRNG_MRG32K3A,
       mrg32k3a,
       {1, 2, 3, 4294944443, 4294944442, 4294967295, 8},
       {1, 2, 3, 0, m2 - 1, 22852}},
      {KOV_BRNG_WH, wh(0), {}, {1, 1, 1, 1}},
      {KOV_BRNG_WH + 1, wh(1), {16770311, 7, 4294967295}, {1, 7, 4294967295 % 16770263, 1}},
      {KOV_BRNG_WH + 272, wh(272), {1, 2, 3, 16766230, 5}, {1, 2, 3, 16766230}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(stream(row.code, row.seed).integers(20000), row.defined(row.state, 20000)) << &row - rows;
}

TEST(mrg32k3a, is_the_published_generator) {
  std::ifstream file(ARKO_SOURCE "/tests/rng/data/mrg32k3a.txt");
  words published;
  for (std::string line; std::getline(file, line);)
    if (line[0] != '#')
      published.push_back(
          static_cast<std::uint32_t>(std::llround(std::stod(line) * (static_cast<double>(m1) + 1))));
  ASSERT_EQ(published.size(), 5u);
  EXPECT_EQ(stream(KOV_BRNG_MRG32K3A, words(6, 12345)).integers(5), published);
}

TEST(wh, real_numbers_are_fractions_of_sums) {
  for (const int number : {0, 7, 272}) {
    stream reals(KOV_BRNG_WH + number, {11, 22, 33, 44}), integers(reals);
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 1030}) {
      const words x = integers.integers(2 * n);
      const std::vector<double> d = reals.doubles(n, -3, 7.25);
      const std::vector<float> f = reals.singles(n, -3, 7.25);
      for (std::size_t i = 0; i < 2 * d.size(); i++) {
        double sum = 0;
        for (std::size_t c = 0; c < 4; c++) sum += x[4 * i + c] * (1.0 / wh_members[number].m[c]);
        const double expected = -3 + (sum - std::trunc(sum)) * 10.25;
        if (i < d.size())
          ASSERT_EQ(d[i], expected);
        else
          ASSERT_EQ(f[i - d.size()], static_cast<float>(expected));
      }
    }
  }
}

// ---- Jumps

// a^n mod m, from the left.
uint128 power(uint128 a, std::uint64_t n, uint128 m) {
  uint128 r = 1 % m;
  for (int k = 63; k >= 0; k--) r = r * r % m * (n >> k & 1 ? a % m : 1) % m;
  return r;
}

TEST(powers, are_right) {
  const std::uint64_t counts[] = {0, 1, 2, 3, 7, 8, 1000, 1ull << 32, (1ull << 63) + 12345, ~0ull};
  for (const std::uint64_t n : counts)
    for (const std::uint32_t a : {0u, 1u, 2u, 125u, 16770646u, 2147483646u, 2147483648u, 4294967295u}) {
      for (const std::uint32_t m : {2u, 16770647u, 2147483647u, 4294967087u, 4294967295u})
        EXPECT_EQ(__koviPowMod(a, n, m), power(a, n, m)) << a << ' ' << n << ' ' << m;
      EXPECT_EQ(__koviPowMod2P31M1(a, n), power(a, n, 2147483647)) << a << ' ' << n;
      const std::uint64_t wide = a * 0x123456789ull;
      EXPECT_EQ(__koviPowMod2P59(wide, n), power(wide % (1ull << 59), n, uint128{1} << 59)) << a << ' ' << n;
    }
}

TEST(jumps, by_a_period_change_nothing_and_by_its_parts_something) {
  struct {
    std::int32_t code;
    std::uint64_t period;
    std::vector<std::uint64_t> parts;  // the period divided by each of its primes
  } const rows[] = {{KOV_BRNG_MCG31M1, 2147483646, {2, 3, 7, 11, 31, 151, 331}},
                    {KOV_BRNG_MCG59, 1ull << 57, {2}}};
  for (const auto& row : rows) {
    stream s(row.code, {77});
    const words next = stream(s).integers(1);
    s.skip(static_cast<std::int64_t>(row.period));
    EXPECT_EQ(stream(s).integers(1), next);
    for (const std::uint64_t part : row.parts) {
      stream elsewhere(s);
      elsewhere.skip(static_cast<std::int64_t>(row.period / part));
      EXPECT_NE(elsewhere.integers(1), next) << part;
    }
  }
}

using count = std::vector<std::uint64_t>;
count times(const count& a, const count& b) {
  count r(a.size() + b.size());
  for (std::size_t i = 0; i < a.size(); i++) {
    std::uint64_t carry = 0;
    for (std::size_t j = 0; j < b.size(); j++) {
      const uint128 sum = static_cast<uint128>(a[i]) * b[j] + r[i + j] + carry;
      r[i + j] = static_cast<std::uint64_t>(sum);
      carry = static_cast<std::uint64_t>(sum >> 64);
    }
    r[i + b.size()] = carry;
  }
  return r;
}
count plus(count a, std::uint64_t small) {
  for (std::size_t i = 0; small && i < a.size(); i++) small = (a[i] += small) < small;
  return a;
}
// m^3 - 1, the period of a component.
count period(int128 m) {
  const count word = {static_cast<std::uint64_t>(m)};
  count p = times(times(word, word), word);
  p[0]--;
  return p;
}

TEST(mrg32k3a, long_skips_are_skips_beyond_whole_periods) {
  const std::uint64_t c = 0xFEDCBA9876543210;
  stream expected(KOV_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6});
  expected.skip(static_cast<std::int64_t>(c));
  const words next = expected.integers(100);
  const count both = times(period(m1), period(m2));  // 192 bits, and twice a period
  struct {
    const char* what;
    count n;
  } const rows[] = {
      {"a word", {c}},
      {"and zeros", {c, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"from the tables", plus(both, c)},
      {"bit 192", plus(times(both, {2}), c)},
      {"bit 193 and on", plus(times(both, {16}), c)},
      {"ten words", plus(times(both, {0, 0, 5}), c)},
      {"more", plus(times(both, {0, 0, 0, 0, 0, 1, 0, ~0ull}), c)},
  };
  for (const auto& row : rows) {
    stream s(KOV_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(s.skip(row.n), 0) << row.what;
    EXPECT_EQ(s.integers(100), next) << row.what;
  }
  // The period of one component alone brings back that one.
  stream s(KOV_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6});
  s.skip(period(m1));
  std::uint32_t state[6];
  std::memcpy(state, static_cast<const char*>(s.get()) + 16, sizeof state);
  EXPECT_EQ(words(state, state + 3), (words{1, 2, 3}));
  EXPECT_NE(words(state + 3, state + 6), (words{4, 5, 6}));
}

// Numbers next to 0 and to the modulus in every place of the lanes, where reductions could go wrong. They are rare: the
// stream starts so far before them.
TEST(congruential, reduce_numbers_next_to_their_moduli) {
  const count both = times(period(m1), period(m2));
  const words seeds[] = {{5, 7, 100, 3, 20000, 9},
                         {4294967086, 4294967085, 0, 4294944442, 4294944441, 0},
                         {208, 209, 210, 22852, 22853, 22854}};
  for (const words& seed : seeds) {
    const words expected = mrg32k3a(std::vector<int128>(seed.begin(), seed.end()), 20);
    for (std::uint64_t before = 16; before < 40; before++) {
      count back = both;
      back[0] -= before;
      stream s(KOV_BRNG_MRG32K3A, seed);
      s.skip(back);
      const words all = s.integers(static_cast<int>(before) + 20);
      EXPECT_EQ(words(all.end() - 20, all.end()), expected) << before;
    }
  }
  for (const std::uint32_t x : {1u, 2u, 2147483645u, 2147483646u})
    for (int before = 16; before < 40; before++) {
      stream s(KOV_BRNG_MCG31M1, {x});
      s.skip(2147483646 - before);
      const words all = s.integers(before + 20);
      EXPECT_EQ(words(all.end() - 20, all.end()), mcg31m1({x}, 20)) << before;
    }
}

TEST(mrg32k3a, long_skip_without_memory_leaves_the_stream) {
  stream s(KOV_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6});
  const words next = stream(s).integers(10);
  const count eleven(11, ~0ull);
  const std::int64_t before = arko_core_live_blocks();
  for (const int k : {1, 2}) {
    arko_core_fail_allocation(k);
    EXPECT_EQ(s.skip(eleven), KOV_STATUS_NO_MEMORY) << k;
    arko_core_fail_allocation(0);
    EXPECT_EQ(stream(s).integers(10), next) << k;
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
}

// ---- The members of WH

bool is_prime(std::uint32_t n) {
  for (std::uint32_t p = 2; p * p <= n; p++)
    if (n % p == 0) return false;
  return n > 1;
}
bool is_primitive_root(std::uint32_t a, std::uint32_t p) {
  std::uint32_t left = p - 1;
  for (std::uint32_t q = 2; left > 1; q++) {
    if (q * q > left) q = left;
    if (left % q) continue;
    while (left % q == 0) left /= q;
    if (power(a, (p - 1) / q, p) == 1) return false;
  }
  return true;
}

TEST(wh, members_are_distinct_full_and_coprime_generators) {
  ASSERT_EQ(std::size(wh_members), 273u);
  std::set<std::uint32_t> moduli;
  for (const member& w : wh_members) {
    std::set<std::uint32_t> multipliers;
    for (int c = 0; c < 4; c++) {
      const std::uint32_t a = w.multipliers >> 8 * c & 0xFF;
      EXPECT_TRUE(is_prime(w.m[c]) && a >= 112 && a <= 127 && is_primitive_root(a, w.m[c])) << w.m[c];
      for (int d = 0; d < c; d++) EXPECT_EQ(std::gcd(w.m[c] - 1, w.m[d] - 1), 2u) << w.m[c];
      moduli.insert(w.m[c]);
      multipliers.insert(a);
    }
    EXPECT_EQ(multipliers.size(), 4u);
  }
  EXPECT_EQ(moduli.size(), 4 * 273u);
  EXPECT_EQ(*moduli.begin(), 16718909u);
  EXPECT_EQ(*moduli.rbegin(), 16776971u);
  for (int j = 4; j <= 271; j++) EXPECT_LT(wh_members[j].m[0], wh_members[j - 1].m[0]);
  const std::pair<int, member> known[] = {{0, {0x7E7F757D, {16770647, 16770643, 16770623, 16770617}}},
                                          {1, {0x7B7D7E7F, {16770311, 16770283, 16770263, 16770209}}},
                                          {2, {0x7E7B777D, {16769807, 16769771, 16769749, 16769663}}},
                                          {272, {0x7C7D7F7E, {16766363, 16766359, 16766327, 16766231}}}};
  for (const auto& [number, row] : known)
    EXPECT_EQ(std::memcmp(&wh_members[number], &row, sizeof row), 0) << number;
}

}  // namespace
