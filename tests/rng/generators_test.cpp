// The generators against their definitions, written plainly, and against known outputs.

#include <gtest/gtest.h>
#include <wmmintrin.h>

#include <cmath>
#include <numeric>
#include <random>
#include <set>

#include "core/registers.h"
#include "tests/rng/streams.h"
#include "tools/gf2.h"

namespace {

using namespace arko::test;
using std::size_t, std::uint32_t, std::uint64_t, std::int32_t, std::int64_t;
using int128 = __int128;
using uint128 = unsigned __int128;

struct wh_row {
  uint32_t multipliers, m[4];
};
const wh_row wh_members[] = {
#include "rng/wh_moduli.inc"
};
struct mt2203_row {
  uint32_t a, b, c;
};
const mt2203_row mt2203_members[] = {
#include "rng/mt2203_members.inc"
};

// ---- Definitions: n outputs from a seed, of a member of the family

uint64_t seed_word(const words& seed, size_t i, uint64_t otherwise) {
  return i < seed.size() ? seed[i] : otherwise;
}

words mcg31m1(int, const words& seed, size_t n) {
  words r;
  uint64_t x = seed_word(seed, 0, 1) % 2147483647;
  for (x = x ? x : 1; r.size() < n; x = x * 1132489760 % 2147483647) r.push_back(static_cast<uint32_t>(x));
  return r;
}
words mcg59(int, const words& seed, size_t n) {
  words r;
  constexpr uint64_t m = 1ull << 59;
  uint64_t x = (seed_word(seed, 0, 1) + (seed_word(seed, 1, 0) << 32)) % m;
  for (x = x ? x : 1; r.size() < 2 * n; x = x * 302875106592253 % m)
    for (const int shift : {0, 32}) r.push_back(static_cast<uint32_t>(x >> shift));
  return r;
}
words mrg32k3a(int, const words& seed, size_t n) {
  constexpr int128 m1 = 4294967087, m2 = 4294944443;
  words r;
  int128 s[6];
  for (size_t i = 0; i < 6; i++) s[i] = seed_word(seed, i, 1) % static_cast<uint64_t>(i < 3 ? m1 : m2);
  for (const int c : {0, 3})
    if (s[c] == 0 && s[c + 1] == 0 && s[c + 2] == 0) s[c] = 1;
  while (r.size() < n) {
    const int128 x = (1403580 * s[1] - 810728 * s[0]) % m1, y = (527612 * s[5] - 1370589 * s[3]) % m2;
    s[0] = s[1], s[1] = s[2], s[2] = (x + m1) % m1;
    s[3] = s[4], s[4] = s[5], s[5] = (y + m2) % m2;
    r.push_back(static_cast<uint32_t>((s[2] - s[5] + m1) % m1));
  }
  return r;
}
words wh(int member, const words& seed, size_t n) {
  const wh_row& row = wh_members[member];
  words r(4 * n);
  for (size_t c = 0; c < 4; c++) {
    uint64_t x = seed_word(seed, c, 1) % row.m[c];
    x = x ? x : 1;
    for (size_t i = 0; i < n; i++, x = x * (row.multipliers >> 8 * c & 0xFF) % row.m[c])
      r[4 * i + c] = static_cast<uint32_t>(x);
  }
  return r;
}

words r250(int, const words& seed, size_t n) {
  words x = seed;
  if (x.size() < 250) {
    x.clear();
    uint32_t s = seed.empty() || seed[0] == 0 ? 1 : seed[0];
    for (int k = 0; k < 250; k++) x.push_back(s *= 69069);
    for (int k = 0; k < 32; k++) x[3 + 7 * k] = x[3 + 7 * k] << k >> k | 0x80000000 >> k;
  }
  x.resize(250);
  for (size_t i = 250; i < 250 + n; i++) x.push_back(x[i - 250] ^ x[i - 147]);
  return words(x.begin() + 250, x.end());
}

// Initialisation by an array in its second version, then the twist and its tempering.
words twister(size_t size, size_t middle, uint32_t lower, int u, mt2203_row p, const words& seed, size_t n) {
  const words key = seed.empty() ? words{1} : seed;
  words w(size), r;
  w[0] = 19650218;
  for (uint32_t k = 1; k < size; k++) w[k] = 1812433253 * (w[k - 1] ^ w[k - 1] >> 30) + k;
  uint32_t i = 1;
  const auto next = [&] {
    if (++i == size) w[0] = w[size - 1], i = 1;
  };
  for (size_t round = 0; round < std::max(size, key.size()); round++, next()) {
    const size_t j = round % key.size();
    w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * 1664525) + key[j] + static_cast<uint32_t>(j);
  }
  for (size_t round = 1; round < size; round++, next())
    w[i] = (w[i] ^ (w[i - 1] ^ w[i - 1] >> 30) * 1566083941) - i;
  w[0] = 0x80000000;
  for (size_t k = 0; k < n; k++) {
    const uint32_t y = (w[k] & ~lower) | (w[k + 1] & lower);
    w.push_back(w[k + middle] ^ y >> 1 ^ (y & 1 ? p.a : 0));
    uint32_t x = w.back();
    x ^= x >> u;
    x ^= x << 7 & p.b;
    x ^= x << 15 & p.c;
    r.push_back(x ^ x >> 18);
  }
  return r;
}
words mt19937(int, const words& seed, size_t n) {
  return twister(624, 397, 0x7FFFFFFF, 11, {0x9908B0DF, 0x9D2C5680, 0xEFC60000}, seed, n);
}
words mt2203(int member, const words& seed, size_t n) {
  return twister(69, 34, 0x1F, 12, mt2203_members[member], seed, n);
}

// From the stream's own first 624 outputs on; those of a seed are known for one.
words sfmt19937(int, const words& seed, size_t n) {
  const uint32_t mask[] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
  words x = stream(KOV_BRNG_SFMT19937, seed).integers(624);
  while (x.size() < n) {
    const size_t i = x.size() % 4, block = x.size() - i;
    const uint32_t *a = &x[block - 624], *b = &x[block - 624 + 4 * 122], *c = &x[block - 8];
    x.push_back(a[i] ^ a[i] << 8 ^ (i > 0 ? a[i - 1] >> 24 : 0) ^ (b[i] >> 11 & mask[i]) ^ c[i] >> 8 ^
                (i < 3 ? c[i + 1] << 24 : 0) ^ x[x.size() - 4] << 18);
  }
  return x;
}

// Blocks of a key and counters from that of the seed on.
template <size_t keys, class Block> words counted(words seed, size_t n, Block block) {
  seed.resize(keys + 4);
  uint128 counter;
  std::memcpy(&counter, &seed[keys], sizeof counter);
  words r;
  for (; r.size() < n; counter++) {
    words c(4);
    std::memcpy(c.data(), &counter, sizeof counter);
    r = std::move(r) + block(c);
  }
  return r;
}
words philox(int, const words& key, size_t n) {
  return counted<2>(key, n, [&](words c) {
    for (uint32_t r = 0; r < 10; r++) {
      const uint64_t p0 = 0xD2511F53ull * c[0], p1 = 0xCD9E8D57ull * c[2];
      const auto k = [&](size_t i, uint32_t step) {
        return static_cast<uint32_t>(seed_word(key, i, 0)) + r * step;
      };
      c = {static_cast<uint32_t>(p1 >> 32) ^ c[1] ^ k(0, 0x9E3779B9), static_cast<uint32_t>(p1),
           static_cast<uint32_t>(p0 >> 32) ^ c[3] ^ k(1, 0xBB67AE85), static_cast<uint32_t>(p0)};
    }
    return c;
  });
}

[[gnu::target("aes")]] words ars5_block(const words& key, const words& counter) {
  const auto both = [](long long high, long long low) { return _mm_set_epi64x(high, low); };
  __m128i k = arko::load<__m128i>(key.data()), s = _mm_xor_si128(arko::load<__m128i>(counter.data()), k);
  for (int round = 1; round <= 5; round++) {
    k = _mm_add_epi64(
        k, both(static_cast<long long>(0xBB67AE8584CAA73B), static_cast<long long>(0x9E3779B97F4A7C15)));
    s = round < 5 ? _mm_aesenc_si128(s, k) : _mm_aesenclast_si128(s, k);
  }
  words r(4);
  arko::store(r.data(), s);
  return r;
}
words ars5(int, const words& seed, size_t n) {
  return counted<4>(seed, n, [&](const words& c) { return ars5_block(seed + words(4), c); });
}

// ---- All of them

using definition = words (*)(int member, const words& seed, size_t n);
const std::map<std::string, definition> definitions = {
    {"MCG31M1", mcg31m1}, {"MCG59", mcg59},         {"WH", wh},         {"MRG32K3A", mrg32k3a},
    {"R250", r250},       {"MT19937", mt19937},     {"MT2203", mt2203}, {"SFMT19937", sfmt19937},
    {"ARS5", ars5},       {"PHILOX4X32X10", philox}};

struct generator {
  std::string name;
  int32_t code, leapfrog, skip, wide_skip;  // the statuses of what it can and what it cannot
  std::vector<int32_t> members;
  std::vector<words> seeds;
};
std::vector<generator> generators() {
  std::vector<generator> all;
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/generators.txt")) {
    const auto answer = [&](const char* what, int32_t refusal) {
      return std::find(row[1].begin(), row[1].end(), what) != row[1].end() ? 0 : refusal;
    };
    const std::string& name = row[0][0];
    all.push_back({name,
                   codes_by_name.at(name),
                   answer("leapfrog", KOV_STATUS_NO_LEAPFROG),
                   answer("skip", KOV_STATUS_NO_SKIPAHEAD),
                   answer("wide", KOV_STATUS_NO_SKIPAHEADEX),
                   numbers<int32_t>(row[2]),
                   {}});
    for (size_t i = 3; i < row.size(); i++) {
      std::vector<std::string> seed = row[i];
      const bool goes_on = !seed.empty() && seed.back()[0] == '*';
      const size_t length = goes_on ? std::stoul(seed.back().substr(1)) : 0;
      if (goes_on) seed.pop_back();
      words& w = all.back().seeds.emplace_back(numbers(seed));
      while (w.size() < length) w.push_back(w.back() * 69069 + 1);
    }
    if (!usable(all.back().code)) all.pop_back();
  }
  return all;
}

class generators_of : public testing::TestWithParam<generator> {};
INSTANTIATE_TEST_SUITE_P(family, generators_of, testing::ValuesIn(generators()),
                         [](const auto& info) { return info.param.name; });

// The number that an output's words make.
template <class T> T real_of(const stream& s, const uint32_t* x, T a, T b) {
  const int32_t family = __kovGetStreamStateBrng(s.get()) >> 20 << 20;
  const double from = a, width = static_cast<double>(b) - a;
  if (family == KOV_BRNG_PHILOX4X32X10 || family == KOV_BRNG_ARS5) {
    const T exact = static_cast<T>(static_cast<int32_t>(*x)) * ((b - a) * T(0x1p-32)) + (a + b) * T(0.5);
    return std::max(exact, std::min(a, b));  // what is rounded to a number below the interval is its end
  }
  if (family == KOV_BRNG_WH) {
    double sum = 0;
    for (size_t c = 0; c < 4; c++)
      sum += x[c] * (1.0 / wh_members[__kovGetStreamStateBrng(s.get()) & 0xFFFFF].m[c]);
    return static_cast<T>(from + (sum - std::trunc(sum)) * width);
  }
  const uint64_t word = s.row().WordBytes == 4 ? *x : x[0] | uint64_t{x[1]} << 32;
  return static_cast<T>(from + static_cast<double>(word) * (width * std::ldexp(1, -s.row().BitCount)));
}

// A fill of n numbers, which writes those and nothing beside them.
template <class T> void expect_reals(stream& s, int n, const words& x, T a, T b) {
  std::vector<T> r(static_cast<size_t>(std::max(n, 0) + 2), 99), expected = r;
  for (size_t i = 0, width = x.size() / static_cast<size_t>(std::max(n, 1)); i + 2 < r.size(); i++)
    expected[i + 1] = real_of(s, &x[i * width], a, b);
  EXPECT_EQ(s.fill(n, n > 0 ? &r[1] : nullptr, a, b), 0);
  ASSERT_EQ(r, expected) << n << " in " << a << ' ' << b;
}

// A random walk: fills of all kinds and sizes, skips, copies and images, each from where the last one ended.
TEST_P(generators_of, deliver_one_sequence_whatever_is_asked) {
  const generator& g = GetParam();
  constexpr size_t outputs = 20000;
  const int sizes[] = {0,   INT32_MIN, -1,  -17, 1,   2,   3,   4,   5,    6,   7,  8,
                       9,   15,        16,  17,  18,  31,  33,  64,  69,   70,  71, 249,
                       250, 251,       255, 256, 257, 623, 624, 625, 1030, 2051};
  std::mt19937 random(1);
  for (const int32_t member : g.members)
    for (const words& seed : g.seeds)
      for (const auto& [k, streams] : {std::pair{0, 0}, {2, 3}, {0, 1}, {9, 10}}) {
        const words all = definitions.at(g.name)(member, seed, outputs);
        stream s(g.code + member, seed);
        size_t at = 0, stride = 1;
        if (streams) {
          EXPECT_EQ(s.leapfrog(k, streams), g.leapfrog);
          if (g.leapfrog == 0) at = static_cast<size_t>(k), stride = static_cast<size_t>(streams);
        }
        const size_t width = static_cast<size_t>(s.row().WordBytes) / 4;
        ASSERT_EQ(loaded(image_of(s)).record(), s.record());
        for (;;) {
          const int n = sizes[random() % std::size(sizes)], count = std::max(n, 0);
          if (at + static_cast<size_t>(count) * stride >= outputs) break;
          words next;
          for (size_t i = 0; i < static_cast<size_t>(count); i++)
            for (size_t w = 0; w < width; w++) next.push_back(all[(at + i * stride) * width + w]);
          const std::string before = s.record();
          const unsigned step = random() % 8;
          bool moves = n > 0;
          if (step < 3) {
            words r(next.size() + 2, 99);
            EXPECT_EQ(s.fill(n, n > 0 ? &r[1] : nullptr), 0);
            ASSERT_EQ(r, words{99} + next + words{99}) << "from " << at << ", " << n;
          } else if (step == 3) {
            expect_reals<double>(s, n, next, -3, random() % 2 ? 7.25 : -13.3);
          } else if (step == 4) {
            expect_reals<float>(s, n, next, 2.5, random() % 2 ? 12.8f : -7.8f);
          } else if (step == 5) {
            random() % 2 ? expect_reals<double>(s, n, next, 1, 1 + 0x1p-52)
                         : expect_reals<float>(s, n, next, -2, -2 + 0x1p-22f);
          } else if (step == 6) {
            const bool wide = random() % 2;
            EXPECT_EQ(wide ? s.skip({static_cast<uint64_t>(count), 0, 0}) : s.skip(count),
                      wide ? g.wide_skip : g.skip);
            moves = moves && (wide ? g.wide_skip : g.skip) == 0;
          } else {
            s = random() % 2 ? stream(s) : loaded(image_of(s));
            moves = false;
          }
          if (moves)
            at += static_cast<size_t>(count) * stride;
          else
            ASSERT_EQ(s.record(), before) << "step " << step << " of " << n;
        }
      }
}

TEST(generators, have_their_known_outputs) {
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/published.txt")) {
    const int32_t code = codes_by_name.at(row[0][0]);
    if (!usable(code)) continue;
    const words expected = numbers(row[2]);
    EXPECT_EQ(stream(code, numbers(row[1])).integers(static_cast<int>(expected.size())), expected)
        << row[0][0];
  }
}

// ---- Members and seeds

uint64_t power(uint64_t a, uint64_t n, uint64_t m) {
  return n == 0 ? 1 : power(a * a % m, n / 2, m) * (n % 2 ? a : 1) % m;
}
// Whether a is a primitive root of a prime p, which none is of another number.
bool is_primitive_root(uint32_t a, uint32_t p) {
  for (uint32_t d = 2; d * d <= p; d++)
    if (p % d == 0) return false;
  for (uint32_t left = p - 1, q = 2; left > 1; q = q * q > left ? left : q + 1)
    for (; left % q == 0; left /= q)
      if (power(a, (p - 1) / q, p) == 1) return false;
  return true;
}

TEST(members, are_in_their_places) {
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/members.txt")) {
    const words expected = numbers(row[2]);
    const size_t place = numbers(row[1])[0];
    const void* found =
        row[0][0] == "WH" ? static_cast<const void*>(&wh_members[place]) : &mt2203_members[place];
    EXPECT_EQ(std::memcmp(found, expected.data(), 4 * expected.size()), 0) << row[0][0] << ' ' << place;
  }
}

TEST(members, of_wh_are_distinct_full_and_coprime_generators) {
  std::set<uint32_t> moduli;
  for (const wh_row& w : wh_members) {
    std::set<uint32_t> multipliers;
    for (int c = 0; c < 4; c++) {
      const uint32_t a = w.multipliers >> 8 * c & 0xFF;
      EXPECT_TRUE(a >= 112 && a <= 127 && is_primitive_root(a, w.m[c])) << w.m[c];
      for (int d = 0; d < c; d++) EXPECT_EQ(std::gcd(w.m[c] - 1, w.m[d] - 1), 2u) << w.m[c];
      moduli.insert(w.m[c]);
      multipliers.insert(a);
    }
    EXPECT_EQ(multipliers.size(), 4u);
  }
  EXPECT_EQ(moduli.size(), 4 * 273u);
}

// The minimal polynomial of an output bit has degree 2203 and is irreducible, so its period is 2^2203 - 1.
TEST(members, of_mt2203_differ_and_have_full_period) {
  std::set<uint32_t> identities;
  for (const mt2203_row& m : mt2203_members) identities.insert(m.a & 0xFFFF);
  EXPECT_EQ(identities.size(), 6024u);
  constexpr int degree = 2203;
  for (int32_t m = 0; m < 6024; m += 1200) {
    const words x = stream(KOV_BRNG_MT2203 + m).integers(2 * degree);
    arko::tools::gf2::row<36> p{};
    for (const int32_t e :
         arko::tools::gf2::minimal_polynomial(2 * degree, [&](int n) { return x[n] >> 17 & 1; }))
      arko::tools::gf2::flip(p.data(), e);
    EXPECT_EQ(arko::tools::gf2::degree(p), degree) << m;
    EXPECT_TRUE(arko::tools::gf2::modulus(p).irreducible()) << m;
  }
}

// Every word of a key counts; the parity of a state under the parity words is odd, which every other key needs made.
TEST(sfmt19937, takes_all_of_a_key_and_has_the_period) {
  std::set<words> seen;
  for (const size_t n : {1, 2, 3, 622, 623, 624, 625, 2000})
    for (const uint32_t last : {1, 2, 3, 4}) {
      words key(n, 77);
      key.back() = last;
      stream s(KOV_BRNG_SFMT19937, key);
      uint32_t w[4];
      std::memcpy(w, s.state().data(), sizeof w);
      EXPECT_EQ(__builtin_parity((w[0] & 1) ^ (w[3] & 0x13C9E684)), 1) << n;
      seen.insert(s.integers(8));
    }
  EXPECT_EQ(seen.size(), 32u);
}

// ---- Jumps

using count = std::vector<uint64_t>;  // words, the lowest first

void expect_same_place(stream a, stream b, const std::string& what) {
  EXPECT_EQ(a.integers(1300), b.integers(1300)) << what;
}

// With skips of a few outputs known, skips by 2^k twice are known one by one; and by 2^k - 1 and 1.
TEST_P(generators_of, skip_as_they_skip_in_parts) {
  const generator& g = GetParam();
  stream start(g.code + g.members.back(), {5});
  start.integers(1);
  if (g.skip == 0)
    for (int k = 8; k < 62; k += k < 22 ? 1 : 8) {
      stream twice(start), once(start), parts(start);
      for (stream* s : {&twice, &twice}) s->skip(int64_t{1} << k);
      once.skip(int64_t{2} << k);
      parts.skip(int64_t{1} << k);
      parts.skip((int64_t{1} << k) - 1);
      parts.skip(1);
      expect_same_place(twice, once, "2^" + std::to_string(k));
      expect_same_place(parts, once, "2^" + std::to_string(k) + " less 1");
    }
  if (g.wide_skip == 0)
    for (int k = 60; k < 900; k += k < 260 ? 1 : 37) {
      const auto bit = [](int b) { return count(b / 64, 0) + count{uint64_t{1} << b % 64}; };
      const auto below = [](int b) {
        return count(b / 64, ~uint64_t{0}) + count{(uint64_t{1} << b % 64) - 1, 0};
      };
      stream twice(start), once(start), parts(start);
      for (stream* s : {&twice, &twice}) s->skip(bit(k));
      EXPECT_EQ(once.skip(bit(k + 1)), 0);
      parts.skip(below(k));
      parts.skip(bit(k));
      parts.skip(1);
      expect_same_place(twice, once, "2^" + std::to_string(k));
      expect_same_place(parts, once, "2^" + std::to_string(k) + " less 1");
    }
}

// Numbers next to 0 and to the moduli in every place of the lanes, where reductions could go wrong. They are rare, so the
// stream starts up to 40 outputs before them, by a skip of nearly a period.
TEST(congruential, come_back_after_a_period_and_reduce_numbers_next_to_their_moduli) {
  const count long_way = numbers<uint64_t>(rows_of(ARKO_SOURCE "/tests/rng/data/long_skips.txt")[0][1]);
  const auto look = [&](int32_t code, const definition& defined, const words& seed, const count& back) {
    for (int before = 16; before <= 40; before++) {
      stream s(code, seed);
      EXPECT_EQ(back.size() > 1 ? s.skip(back) : s.skip(static_cast<int64_t>(back[0])), 0);
      s.skip(40 - before);
      const words all = s.integers(before + 20), expected = defined(0, seed, 20);
      EXPECT_TRUE(std::equal(expected.rbegin(), expected.rend(), all.rbegin())) << before;
    }
  };
  look(KOV_BRNG_MRG32K3A, mrg32k3a, {5, 7, 100, 3, 20000, 9}, long_way);
  look(KOV_BRNG_MRG32K3A, mrg32k3a, {4294967086, 4294967085, 0, 4294944442, 4294944441, 0}, long_way);
  look(KOV_BRNG_MRG32K3A, mrg32k3a, {208, 209, 210, 22852, 22853, 22854}, long_way);
  for (const uint32_t x : {1u, 2u, 2147483645u, 2147483646u})
    look(KOV_BRNG_MCG31M1, mcg31m1, {x}, {2147483646 - 40});
  look(KOV_BRNG_MCG59, mcg59, {77}, {(1ull << 57) - 40});
}

// What a state tells of the next word: the block's counter and how many words of it are left.
TEST(counter_based, states_after_skips) {
  struct {
    int32_t code;
    uint32_t place;  // of the counter in the state
    int drawn, skipped;
    uint32_t counter, left;
  } const rows[] = {{KOV_BRNG_PHILOX4X32X10, 2, 0, 0, 0, 0}, {KOV_BRNG_PHILOX4X32X10, 2, 1, 2, 1, 1},
                    {KOV_BRNG_PHILOX4X32X10, 2, 1, 4, 2, 3}, {KOV_BRNG_PHILOX4X32X10, 2, 1, 7, 2, 0},
                    {KOV_BRNG_PHILOX4X32X10, 2, 4, 0, 1, 0}, {KOV_BRNG_ARS5, 4, 1, 3, 1, 0},
                    {KOV_BRNG_ARS5, 4, 1, 4, 2, 3},          {KOV_BRNG_ARS5, 4, 1, 7, 3, 4}};
  for (const auto& r : rows) {
    if (!usable(r.code)) continue;
    stream s(r.code);
    if (r.drawn) s.integers(r.drawn);
    s.skip(r.skipped);
    uint32_t w[9];
    std::memcpy(w, s.state().data(), sizeof w);
    EXPECT_TRUE(w[r.place] == r.counter && w[r.place + 4] == r.left) << &r - rows;
  }
}

TEST(poly_rem, is_the_power_of_x) {
  namespace gf2 = arko::tools::gf2;
  const std::vector<int32_t> polynomials[] = {
      {0, 3, 10},    {0, 1}, {0, 9, 10}, {0, 38, 63}, {0, 1, 3, 4, 64}, {0, 64, 65}, {0, 2, 3, 7, 60, 128},
      {0, 600, 1279}};
  std::mt19937_64 random(1);
  for (const std::vector<int32_t>& p : polynomials) {
    constexpr size_t size = 22;
    gf2::row<size> row{}, x{2};
    for (const int32_t e : p) gf2::flip(row.data(), e);
    const gf2::modulus modulus(row);
    for (int bits = 0; bits < 63; bits++) {
      const auto n = static_cast<int64_t>(bits ? random() >> (64 - bits) : 0);
      gf2::row<size> power{1}, result;
      for (int bit = bits; bit-- > 0;) {
        power = modulus.square(power);
        if (n >> bit & 1) power = modulus.product(power, x);
      }
      result.fill(~uint64_t{0});
      ASSERT_EQ(__kovPolyRem(n, p.back(), static_cast<int32_t>(p.size()), p.data(), size,
                             reinterpret_cast<uint32_t*>(result.data())),
                KOV_STATUS_OK);
      EXPECT_LT(gf2::degree(result), p.back());
      for (size_t i = 0; i < size; i++) power[i] ^= result[i];
      EXPECT_TRUE(modulus.divides(power)) << p.back() << ' ' << n;
    }
  }
}

}  // namespace
