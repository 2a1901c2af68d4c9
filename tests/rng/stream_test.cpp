// Life of streams: registry, copies, chunks, shared data. Every family that can be created takes part in what all
// have in common.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

// A code of every family that has its generator, and more members of the large ones.
std::vector<std::int32_t> codes() {
  std::vector<std::int32_t> all;
  for (int row = 1; row <= 16; row++) all.push_back(row << 20);
  for (const std::int32_t code : {KOV_BRNG_WH + 7, KOV_BRNG_WH + 272, KOV_BRNG_MT2203 + 6023})
    all.push_back(code);
  std::erase_if(all, [](std::int32_t code) { return stream(code).status() != KOV_STATUS_OK; });
  return all;
}

// The fraction that a family's real numbers come from, of one output in integer form.
double fraction(const BrngProperties& row, const std::uint32_t* word) {
  if (row.WordBytes == 8) return static_cast<double>(word[0] | static_cast<std::uint64_t>(word[1]) << 32);
  return static_cast<double>(word[0]);
}

class families : public testing::TestWithParam<std::int32_t> {
 protected:
  const words seed = {0x12345, 0x23456, 0x34567, 0x45678};
  stream fresh() const { return stream(GetParam(), seed); }
};
INSTANTIATE_TEST_SUITE_P(streams, families, testing::ValuesIn(codes()),
                         [](const auto& info) { return "code_" + std::to_string(info.param); });

TEST_P(families, deliver_one_sequence_whatever_the_fills) {
  const int total = 2600;
  const words whole = fresh().integers(total);
  for (const int part : {1,  2,   3,   5,   7,   8,   9,   15,  16,   17,   31,   33,  69,
                         70, 147, 249, 250, 251, 623, 624, 625, 1023, 1024, 1025, 1300}) {
    stream s = fresh();
    words joined;
    for (int done = 0; done < total; done += part) joined = joined + s.integers(std::min(part, total - done));
    EXPECT_EQ(joined, whole) << part;
  }
}

TEST_P(families, convert_the_words_that_integer_fills_deliver) {
  if (fresh().row().WordBytes == 16) return;  // its fractions are another thing
  const double a = -3, b = 7.25, s = (b - a) * std::ldexp(1, -fresh().row().BitCount);
  stream reals = fresh(), integers = fresh();
  for (const int n : {1, 2, 3, 4, 5, 8, 18, 250, 625, 1030, 2051}) {
    const words x = integers.integers(n);
    words skipped = n % 2 ? integers.integers(n) : words();
    const std::vector<double> d = reals.doubles(n, a, b);
    const std::vector<float> f = n % 2 ? reals.singles(n, -3, 7.25) : std::vector<float>();
    const auto width = static_cast<std::size_t>(fresh().row().WordBytes / 4);
    for (std::size_t i = 0; i < d.size(); i++)
      ASSERT_EQ(d[i], a + fraction(fresh().row(), &x[i * width]) * s) << n << ' ' << i;
    for (std::size_t i = 0; i < f.size(); i++)
      ASSERT_EQ(f[i], static_cast<float>(a + fraction(fresh().row(), &skipped[i * width]) * s))
          << n << ' ' << i;
  }
}

}  // namespace
