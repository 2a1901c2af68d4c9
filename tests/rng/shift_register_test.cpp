// The shift-register generators against published outputs, the standard library's engine and plain forms of
// their recursions.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include "tests/rng/streams.h"
#include "tools/gf2.h"

namespace {

using namespace arko::test;

words first(words x, std::size_t n) { return x.resize(n), x; }

TEST(shift_register, published_outputs) {
  const std::map<std::string, std::int32_t> codes = {{"MT19937", KOV_BRNG_MT19937},
                                                     {"SFMT19937", KOV_BRNG_SFMT19937}};
  std::ifstream file(ARKO_SOURCE "/tests/rng/data/published.txt");
  int rows = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) continue;
    std::istringstream fields(line);
    std::string family, field;
    words seed, expected;
    for (fields >> family; fields >> field && field != ":";) seed.push_back(std::stoul(field, nullptr, 0));
    while (fields >> field) expected.push_back(std::stoul(field));
    EXPECT_EQ(stream(codes.at(family), seed).integers(static_cast<int>(expected.size())), expected) << family;
    rows++;
  }
  EXPECT_EQ(rows, 2);
}

// ---- Mersenne Twisters ----

// Seeding of the second version, written out; raw words of N by it.
words seeded_by_array(std::uint32_t n, const words& key) {
  words w(n);
  w[0] = 19650218;
  for (std::uint32_t k = 1; k < n; k++) w[k] = 1812433253 * (w[k - 1] ^ w[k - 1] >> 30) + k;
  std::uint32_t i = 1;
  const auto next = [&] {
    if (++i == n) w[0] = w[n - 1], i = 1;
  };
  for (std::size_t round = 0; round < std::max<std::size_t>(n, key.size()); round++, next()) {
    const std::size_t j = round % key.size();
    w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * 1664525) + key[j] + static_cast<std::uint32_t>(j);
  }
  for (std::uint32_t round = 1; round < n; round++, next())
    w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * 1566083941) - i;
  w[0] = 0x80000000;
  return w;
}

words counting(std::uint32_t n) {
  words key(n);
  for (std::uint32_t i = 0; i < n; i++) key[i] = 0x9E3779B9 * (i + 1);
  return key;
}

TEST(mt19937, is_the_engine_of_the_standard_library_from_its_own_seeding) {
  for (const words& key : {words{}, words{1}, words{0}, counting(623), counting(624), counting(2000)}) {
    std::mt19937 engine;  // its state can only be read in
    std::stringstream state;
    for (const std::uint32_t w : seeded_by_array(624, key.empty() ? words{1} : key)) state << w << ' ';
    state << 624;
    state >> engine;
    words expected(3000);
    for (std::uint32_t& x : expected) x = static_cast<std::uint32_t>(engine());
    EXPECT_EQ(stream(KOV_BRNG_MT19937, key).integers(3000), expected) << key.size();
  }
}

struct member {
  std::uint32_t a, b, c;
};
constexpr member members[] = {
#include "rng/mt2203_members.inc"
};
constexpr std::int32_t member_count = 6024;
static_assert(std::size(members) == member_count);

TEST(mt2203, is_the_recursion_with_the_parameters_of_its_member) {
  const words key = counting(80);
  for (const std::int32_t m : {0, 1, 2, 77, 3000, 6023}) {
    words w = seeded_by_array(69, key), expected;
    for (std::size_t k = 0; k < 500; k++) {
      const std::uint32_t y = (w[k] & 0xFFFFFFE0) | (w[k + 1] & 0x1F);
      w.push_back(w[k + 34] ^ y >> 1 ^ (y & 1 ? members[m].a : 0));
      std::uint32_t x = w.back();
      x ^= x >> 12;
      x ^= x << 7 & members[m].b;
      x ^= x << 15 & members[m].c;
      expected.push_back(x ^ x >> 18);
    }
    EXPECT_EQ(stream(KOV_BRNG_MT2203 + m, key).integers(500), expected) << m;
  }
}

TEST(mt2203, members_differ_and_the_known_ones_are_in_place) {
  std::set<std::uint32_t> matrices, identities;
  std::set<std::pair<std::uint32_t, std::uint32_t>> masks;
  for (const member& m : members)
    matrices.insert(m.a), identities.insert(m.a & 0xFFFF), masks.insert({m.b, m.c});
  EXPECT_EQ(matrices.size(), std::size(members));
  EXPECT_EQ(identities.size(), std::size(members));
  EXPECT_EQ(masks.size(), std::size(members));
  for (const auto& [place, m] : std::map<int, member>{{0, {0xAF81055F, 0xDD7EEF80, 0xEFD78000}},
                                                      {1, {0x832604E1, 0x66AD7F80, 0xEBD58000}},
                                                      {2, {0x92F70739, 0x656D7780, 0xEFC50000}},
                                                      {6023, {0xE8761D4B, 0x72967680, 0xEFEB0000}}})
    EXPECT_TRUE(members[place].a == m.a && members[place].b == m.b && members[place].c == m.c) << place;
}

// The minimal polynomial of an output bit has degree 2203 and is irreducible, so its period is 2^2203 - 1.
TEST(mt2203, members_have_full_period) {
  constexpr int degree = 2203;
  for (std::int32_t m = 0; m < member_count; m += 547) {
    const words x = stream(KOV_BRNG_MT2203 + m).integers(2 * degree);
    arko::tools::gf2::row<36> p{};
    for (const std::int32_t e :
         arko::tools::gf2::minimal_polynomial(2 * degree, [&](int n) { return x[n] >> 17 & 1; }))
      arko::tools::gf2::flip(p.data(), e);
    EXPECT_EQ(arko::tools::gf2::degree(p), degree) << m;
    EXPECT_TRUE(arko::tools::gf2::modulus(p).irreducible()) << m;
  }
}

// ---- R250 ----

TEST(r250, is_its_recursion) {
  const auto check = [](const words& seed, words x) {  // x: the first 250 values
    for (std::size_t n = 250; n < 3250; n++) x.push_back(x[n - 250] ^ x[n - 147]);
    EXPECT_EQ(stream(KOV_BRNG_R250, seed).integers(3000), words(x.begin() + 250, x.end())) << seed.size();
  };
  check(counting(250), counting(250));
  check(counting(300), first(counting(300), 250));
  for (const words& seed : {words{}, words{0}, words{12345, 7}, counting(249)}) {
    words x;
    std::uint32_t s = seed.empty() || seed[0] == 0 ? 1 : seed[0];
    for (int k = 0; k < 250; k++) x.push_back(s *= 69069);
    for (int k = 0; k < 32; k++) x[3 + 7 * k] = x[3 + 7 * k] << k >> k | 0x80000000 >> k;
    check(seed, x);
  }
}

// ---- SFMT19937 ----

// Blocks as plain arrays of words, shifts of a block written out.
TEST(sfmt19937, is_its_recursion) {
  const std::uint32_t mask[] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
  words x = stream(KOV_BRNG_SFMT19937, {3, 1, 4}).integers(4000);
  for (std::size_t n = 624; n < x.size(); n++) {
    const std::size_t i = n % 4, block = n - i;
    const std::uint32_t* a = &x[block - 624];
    const std::uint32_t* b = &x[block - 624 + 4 * 122];
    const std::uint32_t* c = &x[block - 8];
    const std::uint32_t expected = a[i] ^ a[i] << 8 ^ (i > 0 ? a[i - 1] >> 24 : 0) ^ (b[i] >> 11 & mask[i]) ^
                                   c[i] >> 8 ^ (i < 3 ? c[i + 1] << 24 : 0) ^ x[n - 4] << 18;
    ASSERT_EQ(x[n], expected) << n;
  }
}

// The parity of a state under the parity words must be odd; about every other key needs a correction.
TEST(sfmt19937, every_key_has_the_period) {
  for (std::uint32_t key = 0; key < 40; key++) {
    const stream s(KOV_BRNG_SFMT19937, {key});
    const auto* w = reinterpret_cast<const std::uint32_t*>(static_cast<const char*>(s.get()) + 16);
    EXPECT_EQ(std::popcount((w[0] & 1) ^ (w[3] & 0x13C9E684)) % 2, 1) << key;
  }
}

TEST(sfmt19937, every_word_of_a_key_counts) {
  std::set<words> seen;
  for (const std::uint32_t n : {1u, 2u, 622u, 623u, 624u, 625u, 2000u}) {
    words key = counting(n);
    seen.insert(stream(KOV_BRNG_SFMT19937, key).integers(8));
    key.back() ^= 1;
    seen.insert(stream(KOV_BRNG_SFMT19937, key).integers(8));
  }
  EXPECT_EQ(seen.size(), 14u);
  EXPECT_EQ(stream(KOV_BRNG_SFMT19937).integers(8), stream(KOV_BRNG_SFMT19937, {1}).integers(8));
}

}  // namespace
