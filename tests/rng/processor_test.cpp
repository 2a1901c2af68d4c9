// Generators that need a processor's instructions, on processors that have them, have not, or fail: what the processor
// answers is taken over here, by the linker's --wrap.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

bool hide_aes, hide_vaes, hide_rdrand;

// Reads in place of the instruction's: the numbers in turn, zeros being failures; past the end only failures.
words script;
std::size_t reads;
bool scripted;

class processor : public testing::Test {
 protected:
  processor() { reset(); }
  ~processor() override { reset(); }
  static void reset() {
    hide_aes = hide_vaes = hide_rdrand = scripted = false;
    reads = 0;
  }
};

}  // namespace

extern "C" {
std::int32_t __real___kovCPUisAES();
std::int32_t __real___kovCPUisVAES();
std::int32_t __real___kovCPUisRDRAND();
bool __real__ZN3kov6rdrandERj(std::uint32_t& x);

std::int32_t __wrap___kovCPUisAES() { return !hide_aes && __real___kovCPUisAES(); }
std::int32_t __wrap___kovCPUisVAES() { return !hide_vaes && __real___kovCPUisVAES(); }
std::int32_t __wrap___kovCPUisRDRAND() { return !hide_rdrand && (scripted || __real___kovCPUisRDRAND()); }
bool __wrap__ZN3kov6rdrandERj(std::uint32_t& x) {
  if (!scripted) return __real__ZN3kov6rdrandERj(x);
  x = reads < script.size() ? script[reads] : 0;
  reads++;
  return x != 0;
}
}

namespace {

TEST_F(processor, that_lacks_instructions_loads_no_stream_that_needs_them) {
  const std::string ars5 = image_of(stream(KOV_BRNG_ARS5)), trng = image_of(stream(KOV_BRNG_TRNG));
  for (const bool hidden : {false, true}) {
    hide_aes = hide_rdrand = hidden;
    scripted = !hidden;  // has RDRAND, whatever runs the test
    EXPECT_EQ(loaded(trng).status(), hidden ? KOV_STATUS_NO_RDRAND : 0);
    if (hidden || __real___kovCPUisAES()) {
      EXPECT_EQ(loaded(ars5).status(), hidden ? KOV_STATUS_NO_AES : 0);
    }
  }
}

TEST_F(processor, without_instructions_makes_streams_that_refuse) {
  hide_aes = hide_rdrand = true;
  for (const auto& [code, refusal] :
       {std::pair{KOV_BRNG_ARS5, KOV_STATUS_NO_AES}, {KOV_BRNG_TRNG, KOV_STATUS_NO_RDRAND}}) {
    stream s(code, {1, 2, 3});
    ASSERT_EQ(s.status(), 0);
    const std::string before = s.record();
    for (const int n : {1, 2, 3, 300}) {
      words r(300, 7);
      std::vector<float> f(300, 7);
      std::vector<double> d(300, 7);
      EXPECT_EQ(s.fill(n, r.data()), refusal);
      EXPECT_EQ(s.fill(n, f.data(), 0, 1), refusal);
      EXPECT_EQ(s.fill(n, d.data(), 0, 1), refusal);
      EXPECT_TRUE(r[0] == 7 && f[0] == 7 && d[0] == 7);
    }
    for (const std::int64_t count : {0, 9})
      EXPECT_EQ(s.skip(count), code == KOV_BRNG_ARS5 ? refusal : KOV_STATUS_NO_SKIPAHEAD);
    EXPECT_EQ(s.skip({9, 9}), code == KOV_BRNG_ARS5 ? refusal : KOV_STATUS_NO_SKIPAHEADEX);
    EXPECT_EQ(s.leapfrog(0, 1), KOV_STATUS_NO_LEAPFROG);
    EXPECT_EQ(s.record(), before);
  }
}

TEST_F(processor, makes_the_same_of_ars5_at_all_widths) {
  if (!__real___kovCPUisVAES()) GTEST_SKIP() << "one width only";
  for (const int before : {0, 1, 2, 3})
    for (const int n : {255, 256, 257, 258, 259, 287, 1024, 2001}) {
      stream wide(KOV_BRNG_ARS5, {1, 2, 3, 4, 0xFFFFFFC0, 0xFFFFFFFF}), narrow(wide);
      for (const int part : {before, n, n, n}) {
        if (part == 0) continue;
        const auto all_fills = [&](stream& s, bool hidden) {
          hide_vaes = hidden;
          return std::tuple(s.integers(part), s.reals<double>(part, -1, 3.3), s.reals<float>(part, -1, 3.3f));
        };
        EXPECT_EQ(all_fills(narrow, true), all_fills(wide, false)) << n;
        EXPECT_EQ(narrow.record(), wide.record());
      }
    }
}

TEST_F(processor, is_asked_again_as_often_as_the_seed_of_trng_says) {
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/rdrand.txt")) {
    const stream s(KOV_BRNG_TRNG, numbers(row[0]));
    const std::string before = s.record(), form = row[1][0];
    const int n = std::stoi(row[1][1]);
    const words delivered = numbers(row[4]);
    script = numbers(row[2]), reads = 0, scripted = true;
    std::vector<double> r, expected;  // what was written, and 99 behind it
    std::int32_t status;
    const auto run = [&](auto type, auto... interval) {
      std::vector<decltype(type)> all(static_cast<std::size_t>(n), 99);
      status = stream(s).fill(n, all.data(), interval...);
      r.assign(all.begin(), all.end());
    };
    if (form == "word") {
      run(std::uint32_t());
      expected.assign(delivered.begin(), delivered.end());
    } else if (form == "single") {
      run(0.0f, -1.0f, 2.5f);
      for (const std::uint32_t x : delivered)
        expected.push_back(static_cast<float>(x) * (3.5f * 0x1p-32f) - 1);
    } else {
      run(0.0, -1.0, 2.3);
      for (std::size_t i = 0; i < delivered.size(); i += 2) {
        const long double u = delivered[i] + 0x1p32L * delivered[i + 1], b = 2.3;
        expected.push_back(static_cast<double>(u * ((b + 1) * 0x1p-64L) - 1));
      }
    }
    expected.resize(r.size(), 99);
    EXPECT_EQ(r, expected) << form << ' ' << n;
    EXPECT_EQ(status, row[3][0] == "0" ? 0 : KOV_STATUS_RDRAND_FAILED);
    EXPECT_EQ(reads, numbers(row[5])[0]);
    EXPECT_EQ(s.record(), before);
  }
}

TEST_F(processor, gives_random_words_that_do_not_come_again) {
  if (!__kovCPUisRDRAND()) GTEST_SKIP() << "no RDRAND";
  stream s(KOV_BRNG_TRNG), copy(s);
  const words x = s.integers(4001);
  EXPECT_NE(x, copy.integers(4001));
  for (int bit = 0; bit < 32; bit++) {
    const auto ones = std::count_if(x.begin(), x.end(), [&](std::uint32_t w) { return w >> bit & 1; });
    EXPECT_NEAR(static_cast<double>(ones), 2000, 220) << bit;  // seven standard deviations
  }
}

}  // namespace
