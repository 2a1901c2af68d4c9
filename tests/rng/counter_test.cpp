// The counter-based generators against their definitions, written plainly, and against known blocks.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <fstream>
#include <sstream>

#include "tests/rng/streams.h"

namespace {

using namespace arko::test;
using uint128 = unsigned __int128;
using block = std::array<std::uint32_t, 4>;

// ---- The mappings as they are defined

block philox(const words& key, uint128 counter) {
  block c;
  std::memcpy(c.data(), &counter, sizeof c);
  for (std::uint32_t r = 0; r < 10; r++) {
    const std::uint64_t p0 = 0xD2511F53ull * c[0], p1 = 0xCD9E8D57ull * c[2];
    c = {static_cast<std::uint32_t>(p1 >> 32) ^ c[1] ^ (key[0] + r * 0x9E3779B9),
         static_cast<std::uint32_t>(p1),
         static_cast<std::uint32_t>(p0 >> 32) ^ c[3] ^ (key[1] + r * 0xBB67AE85),
         static_cast<std::uint32_t>(p0)};
  }
  return c;
}

using bytes = std::array<std::uint8_t, 16>;

std::uint8_t times(unsigned a, unsigned b) {  // in GF(2^8) of FIPS 197
  unsigned r = 0;
  for (; b; b >>= 1, a = a << 1 ^ (a & 0x80 ? 0x11B : 0))
    if (b & 1) r ^= a;
  return static_cast<std::uint8_t>(r);
}
std::uint8_t substitute(std::uint8_t x) {
  static const std::array<std::uint8_t, 256> box = [] {
    std::array<std::uint8_t, 256> s;
    for (unsigned a = 0; a < 256; a++) {
      unsigned inverse = 0;
      while (a && times(a, inverse) != 1) inverse++;
      unsigned r = 0x63;
      for (const int rotation : {0, 1, 2, 3, 4}) r ^= inverse << rotation ^ inverse >> (8 - rotation);
      s[a] = static_cast<std::uint8_t>(r);
    }
    return s;
  }();
  return box[x];
}
bytes aes_round(const bytes& s, const bytes& key, bool last) {
  bytes moved, r;
  for (std::size_t i = 0; i < 16; i++) moved[i] = substitute(s[(i + 4 * (i % 4)) % 16]);
  for (std::size_t i = 0; i < 16; i++) {
    const auto below = [&](std::size_t k) { return moved[i / 4 * 4 + (i + k) % 4]; };
    r[i] = key[i] ^ (last ? moved[i] : times(2, below(0)) ^ times(3, below(1)) ^ below(2) ^ below(3));
  }
  return r;
}
block ars5(const words& key, uint128 counter) {
  bytes s;
  std::memcpy(s.data(), &counter, sizeof s);
  std::uint64_t k[2];
  std::memcpy(k, key.data(), sizeof k);
  for (int r = 0; r <= 5; r++, k[0] += 0x9E3779B97F4A7C15, k[1] += 0xBB67AE8584CAA73B) {
    bytes round_key;
    std::memcpy(round_key.data(), k, sizeof round_key);
    if (r == 0)
      for (std::size_t i = 0; i < 16; i++) s[i] ^= round_key[i];
    else
      s = aes_round(s, round_key, r == 5);
  }
  block b;
  std::memcpy(b.data(), s.data(), sizeof b);
  return b;
}

bytes from_hex(const std::string& text) {
  bytes b;
  for (std::size_t i = 0; i < 16; i++)
    b[i] = static_cast<std::uint8_t>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
  return b;
}

TEST(plain_aes_round, gives_the_example_of_fips_197) {
  EXPECT_EQ(aes_round(from_hex("193de3bea0f4e22b9ac68d2ae9f84808"),
                      from_hex("a0fafe1788542cb123a339392a6c7605"), false),
            from_hex("a49c7ff2689f352b6b5bea43026a5049"));
  EXPECT_EQ(aes_round(from_hex("eb40f21e592e38848ba113e71bc342d2"),
                      from_hex("d014f9a8c9ee2589e13f0cc8b6630ca6"), true),
            from_hex("3925841d02dc09fbdc118597196a0b32"));
}

// ---- The generators

struct family {
  const char* name;
  std::int32_t code;
  block (*defined)(const words& key, uint128 counter);
  words key;
  bool early;  // a short skip to the end of a block stays there
};
const family both[] = {
    {"PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10, philox, {0x12345678, 0x9ABCDEF0}, true},
    {"ARS5", KOV_BRNG_ARS5, ars5, {0x12345678, 0x9ABCDEF0, 0xFFFFFFFF, 0xFFFFFFF0}, false}};

class counter_based : public testing::TestWithParam<family> {
 protected:
  void SetUp() override {
    if (code() == KOV_BRNG_ARS5 && !__kovCPUisAES()) GTEST_SKIP() << "no AES instructions";
  }
  std::int32_t code() const { return GetParam().code; }
  stream at(uint128 counter) const {
    words c(4);
    std::memcpy(c.data(), &counter, sizeof counter);
    return stream(code(), GetParam().key + c);
  }
  block defined(uint128 counter) const { return GetParam().defined(GetParam().key, counter); }
  // n words from the p-th of a block on.
  words defined(uint128 counter, std::size_t p, std::size_t n) const {
    words all;
    for (; all.size() < p + n; counter++)
      for (const std::uint32_t w : defined(counter)) all.push_back(w);
    return words(all.begin() + static_cast<std::ptrdiff_t>(p),
                 all.begin() + static_cast<std::ptrdiff_t>(p + n));
  }

  struct state {
    uint128 counter;
    std::uint32_t index;
    block result;
    bool operator==(const state&) const = default;
  };
  state state_of(const stream& s) const {
    state t;
    const char* fields = static_cast<const char*>(s.get()) + 16 + 4 * GetParam().key.size();
    std::memcpy(&t.counter, fields, 16);
    std::memcpy(&t.index, fields + 16, 4);
    std::memcpy(t.result.data(), fields + 20, 16);
    return t;
  }
};
INSTANTIATE_TEST_SUITE_P(generators, counter_based, testing::ValuesIn(both),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(counter_based, gives_known_blocks) {
  std::ifstream file(ARKO_SOURCE "/tests/rng/data/counter.txt");
  int rows = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream in(line);
    std::string name;
    in >> name >> std::hex;
    if (name != GetParam().name) continue;
    words all;
    for (std::uint32_t w; in >> w;) all.push_back(w);
    ASSERT_EQ(all.size(), GetParam().key.size() + 8);
    EXPECT_EQ(stream(code(), words(all.begin(), all.end() - 4)).integers(4), words(all.end() - 4, all.end()))
        << line;
    rows++;
  }
  EXPECT_EQ(rows, 3);
}

constexpr uint128 carries = uint128{1} << 64;
const uint128 starts[] = {
    0, 0xFFFFFFF0, carries - 1, carries - 100, (uint128{0xFFFFFFFF} << 64) - 30, -uint128{3}, -uint128{90}};

TEST_P(counter_based, counts_with_all_carries_and_keeps_the_last_block) {
  for (const uint128 start : starts)
    for (const int before : {0, 1, 2, 3, 4, 5, 8, 255})
      for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 27, 64, 255, 256, 257, 700}) {
        stream s = at(start);
        if (before) s.integers(before);
        EXPECT_EQ(s.integers(n),
                  defined(start, static_cast<std::size_t>(before), static_cast<std::size_t>(n)));
        const int blocks = (before + n + 3) / 4;
        EXPECT_EQ(state_of(s), (state{start + static_cast<unsigned>(blocks),
                                      static_cast<std::uint32_t>(4 * blocks - before - n),
                                      defined(start + static_cast<unsigned>(blocks) - 1)}))
            << before << ' ' << n;
      }
}

TEST_P(counter_based, takes_seeds_as_key_and_counter) {
  const std::size_t keys = GetParam().key.size();
  for (std::size_t n = 0; n <= keys + 6; n++) {
    words seed(n), full(keys + 4);
    for (std::size_t i = 0; i < n; i++) seed[i] = static_cast<std::uint32_t>(0x1000001 * (i + 1));
    std::copy_n(seed.begin(), std::min(n, full.size()), full.begin());
    const stream s(code(), seed);
    uint128 counter;
    std::memcpy(&counter, full.data() + keys, sizeof counter);
    EXPECT_EQ(state_of(s), (state{counter, 0, {}}));
    EXPECT_EQ(std::memcmp(static_cast<const char*>(s.get()) + 16, full.data(), 4 * keys), 0) << n;
  }
}

// What is rounded to a number below the interval is its end: in a short one every fourth.
template <class T> void expect_reals(const std::vector<T>& r, const words& x, T a, T b) {
  for (std::size_t i = 0; i < r.size(); i++) {
    const T exact =
        static_cast<T>(static_cast<std::int32_t>(x[i])) * ((b - a) * T(0x1p-32)) + (a + b) * T(0.5);
    ASSERT_EQ(r[i], std::max(exact, std::min(a, b))) << a << ' ' << b << ' ' << r.size() << ' ' << i;
  }
}

TEST_P(counter_based, makes_real_numbers_of_signed_words) {
  for (const int before : {0, 1, 3})
    for (const int n : {1, 2, 5, 12, 255, 256, 1030})
      for (const double width : {0.0, 10.3, -10.3}) {
        stream d = at(77);
        if (before) d.integers(before);
        stream f = d, integers = d;
        const words x = integers.integers(n);
        const double a = width ? -3 : 1, b = width ? a + width : 1 + 0x1p-52;
        const float c = width ? 2.5f : -2, e = width ? c + static_cast<float>(width) : -2 + 0x1p-22f;
        expect_reals(d.doubles(n, a, b), x, a, b);
        expect_reals(f.singles(n, c, e), x, c, e);
        EXPECT_EQ(state_of(d), state_of(integers));
        EXPECT_EQ(state_of(f), state_of(integers));
      }
}

TEST_P(counter_based, skips_to_where_arithmetic_says) {
  const std::uint64_t top = ~0ull;
  const std::vector<std::uint64_t> counts[] = {{},
                                               {0, 0},
                                               {1},
                                               {2},
                                               {3},
                                               {4},
                                               {5},
                                               {6},
                                               {7},
                                               {8},
                                               {1ull << 63},
                                               {top - 1},
                                               {top},
                                               {0, 1},
                                               {1, 1},
                                               {3, top},
                                               {2, top},
                                               {0, 0, 1},
                                               {0, 0, 3},
                                               {4, 0, 5},
                                               {1, 0, 7},
                                               {3, top, top},
                                               {top, top, top},
                                               {9, 0, 0, 1, 2},
                                               {0, 0, 0, 8}};
  for (const uint128 start : starts)
    for (const unsigned before : {0, 1, 2, 3, 4})
      for (const std::vector<std::uint64_t>& count : counts) {
        stream s = at(start);
        if (before) s.integers(static_cast<int>(before));
        const state here = state_of(s);
        stream narrow = s;
        ASSERT_EQ(s.skip(count), 0);
        // The word to come next: `quarters` words behind word 0 of the block `whole` blocks on.
        std::uint64_t c[3] = {};
        std::copy_n(count.begin(), std::min<std::size_t>(count.size(), 3), c);
        const uint128 quarters = (c[0] & 3) + before;
        const uint128 whole =
            (uint128{c[0] >> 2} | uint128{c[1]} << 62 | uint128{c[2]} << 126) + quarters / 4;
        EXPECT_EQ(stream(s).integers(9), defined(start + whole, quarters % 4, 9)) << &count - counts;
        if (count.empty() || (c[0] <= here.index && c[1] == 0 && c[2] == 0)) {
          EXPECT_EQ(state_of(s),
                    (state{here.counter, here.index - static_cast<std::uint32_t>(c[0]), here.result}));
        } else {
          EXPECT_EQ(state_of(s), (state{start + whole + 1, static_cast<std::uint32_t>(4 - quarters % 4),
                                        defined(start + whole)}));
        }
        if (count.size() != 1) continue;
        ASSERT_EQ(narrow.skip(static_cast<std::int64_t>(c[0])), 0);
        if (GetParam().early && c[0] > here.index && quarters % 4 == 0)
          EXPECT_EQ(state_of(narrow), (state{start + whole, 0, defined(start + whole - 1)}));
        else
          EXPECT_EQ(state_of(narrow), state_of(s));
      }
}

}  // namespace
