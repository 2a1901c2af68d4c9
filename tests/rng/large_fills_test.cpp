// Fills of as many numbers as can be asked for, where an index that runs ahead of the count would overflow.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/rng/streams.h"
#include "tests/support/repeated.h"

namespace {

using namespace arko::test;

// The end of a fill of n numbers with its own end jumped or stepped to.
template <class T, class... Interval>
void look(std::int32_t code, unsigned char* end_of_room, Interval... interval) {
  if (!usable(code)) return;
  constexpr std::int32_t n = INT32_MAX, tail = 50;
  stream whole(code, {1, 2, 3}), end(whole);
  if (end.skip(n - tail) != KOV_STATUS_OK)
    for (std::int32_t left = n - tail, m; left > 0; left -= m) end.integers(m = std::min(left, 1 << 18));
  T* const r = reinterpret_cast<T*>(end_of_room) - n;
  std::vector<T> expected(tail);
  EXPECT_EQ(end.fill(tail, expected.data(), interval...), KOV_STATUS_OK);
  EXPECT_EQ(whole.fill(n, r, interval...), KOV_STATUS_OK);
  EXPECT_EQ(std::vector<T>(r + n - tail, r + n), expected) << code;
  EXPECT_EQ(whole.integers(tail), end.integers(tail)) << code;
}

// Side by side, as each takes seconds; MT2203 is MT19937 in other sizes.
TEST(fills, of_2_31_less_1_numbers_end_where_the_sequence_does) {
  const auto words_of = [](std::int32_t code, unsigned char* end) { look<std::uint32_t>(code, end); };
  const auto singles_of = [](std::int32_t code, unsigned char* end) { look<float>(code, end, -1.0f, 2.0f); };
  const std::pair<std::int32_t, void (*)(std::int32_t, unsigned char*)> rows[] = {
      {KOV_BRNG_MRG32K3A, words_of},    {KOV_BRNG_PHILOX4X32X10, words_of}, {KOV_BRNG_MCG31M1, words_of},
      {KOV_BRNG_MCG59, singles_of},
#ifndef __SANITIZE_ADDRESS__  // takes many times as long
      {KOV_BRNG_WH + 7, singles_of},    {KOV_BRNG_R250, words_of},          {KOV_BRNG_MT19937, singles_of},
      {KOV_BRNG_SFMT19937, singles_of}, {KOV_BRNG_ARS5, singles_of},
#endif
  };
  std::atomic<std::size_t> next = 0;
  const auto work = [&] {
    repeated room(sizeof(float) * INT32_MAX);
    for (std::size_t i; (i = next++) < std::size(rows);) rows[i].second(rows[i].first, room.end());
  };
  std::thread other(work);
  work();
  other.join();
}

}  // namespace
