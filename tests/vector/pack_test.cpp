// Pack and unpack against plain loops, for all types and both widths of the integers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "tests/support/registry.h"

namespace {

using namespace arko::test;
using bytes = std::vector<unsigned char>;

template <class... P> void call(entry f, P... p) { reinterpret_cast<void (*)(P...)>(f)(p...); }

// With I of 64 bits the kernel behind the table, flag 0; else the exported function, whose counts and
// increments may have anything in the upper word.
template <class I> void check(const function& f) {
  constexpr bool wide = sizeof(I) == 8;
  constexpr int room = 4096;
  const auto run = [&](auto... p) {
    wide ? call(f.table[1], p..., std::int32_t{0}) : call(f.names[1], p...);
  };
  const auto argument = [](std::int64_t v) {
    return wide ? v : static_cast<std::int64_t>(static_cast<std::uint32_t>(v)) | std::int64_t{0x5A5A} << 32;
  };
  const bool packs = f.name.find("Un") == f.name.npos;
  const char kind = f.name.back();  // I, V or M
  const std::size_t size = f.how->real_size * (f.type == 'c' || f.type == 'z' ? 2 : 1);
  std::mt19937 random(11);
  const auto drawn = [&] {  // patterns of NaN and negative zeros are among them
    bytes all(room * size);
    for (auto& byte : all) byte = random() % 3 ? static_cast<unsigned char>(random()) : 0xFF;
    return all;
  };
  for (const std::int64_t n : {-3, 0, 1, 2, 7, 64, 1001})
    for (const std::int64_t step : {1, 0, 3, -2}) {
      const bytes a = drawn(), before = drawn();
      const auto count = static_cast<std::size_t>(std::max<std::int64_t>(n, 0));
      std::vector<I> at(count);
      for (I& i : at)  // many places twice; a mask, at step 0 an empty one, counts by either half of its word
        i = kind == 'V'                 ? static_cast<I>(random() % (count / 2 + 1))
            : step == 0 || random() % 2 ? 0
            : wide && random() % 2      ? static_cast<I>(std::int64_t{1} << 40)
                                        : 2;
      const std::int64_t start = kind == 'I' && step < 0 ? room - 1 : 0;
      bytes got = before, expected = before;
      for (std::size_t i = 0, k = 0; i < count; i++) {
        if (kind == 'M' && !at[i]) continue;
        const std::int64_t spread = kind == 'I'   ? start + std::int64_t(i) * step
                                    : kind == 'V' ? std::int64_t(at[i])
                                                  : std::int64_t(i);
        const std::size_t dense = kind == 'M' ? k++ : i;
        const std::size_t from = packs ? std::size_t(spread) : dense,
                          to = packs ? dense : std::size_t(spread);
        std::memcpy(&expected[to * size], &a[from * size], size);
      }
      const unsigned char* x = a.data() + (packs ? start * std::int64_t(size) : 0);
      unsigned char* y = got.data() + (packs ? 0 : start * std::int64_t(size));
      const void* places = at.data();
      if (kind == 'I')
        packs ? run(argument(n), x, argument(step), y) : run(argument(n), x, y, argument(step));
      else
        packs ? run(argument(n), x, places, y) : run(argument(n), x, y, places);
      EXPECT_TRUE(got == expected) << f.name << " n " << n << ", step " << step << ", bits " << 8 * sizeof(I);
    }
}

TEST(pack, moves_what_plain_loops_move) {
  int checked = 0;
  for (const function& f : functions())
    if (f.name.find("Pack") == 1 || f.name.find("Unpack") == 1)
      check<std::int32_t>(f), check<std::int64_t>(f), checked++;
  EXPECT_EQ(checked, 24);
}

}  // namespace
