// Pack and unpack against plain loops, for all types and both widths of the integers.

#include <arko/vector.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

namespace {

// An element of so many bytes, filled at random: patterns of NaN and negative zeros are among them.
template <std::size_t size> using element = std::array<unsigned char, size>;

template <std::size_t size> std::vector<element<size>> random_elements(int n, std::mt19937& random) {
  std::vector<element<size>> all(static_cast<std::size_t>(n));
  for (auto& e : all)
    for (auto& byte : e) byte = random() % 3 ? static_cast<unsigned char>(random()) : 0xFF;
  return all;
}

using any = void (*)();
struct functions {
  std::size_t size;
  any pack_i, pack_v, pack_m, unpack_i, unpack_v, unpack_m;        // exported
  any table_pi, table_pv, table_pm, table_ui, table_uv, table_um;  // behind the tables, at HA
};
#define ANY(f) reinterpret_cast<any>(f)
#define ROW(t, size)                                                                            \
  {                                                                                             \
    size, ANY(_zur##t##PackI), ANY(_zur##t##PackV), ANY(_zur##t##PackM), ANY(_zur##t##UnpackI), \
        ANY(_zur##t##UnpackV), ANY(_zur##t##UnpackM), ANY(arko_zur_kernel_##t##PackI_ttab[1]),  \
        ANY(arko_zur_kernel_##t##PackV_ttab[1]), ANY(arko_zur_kernel_##t##PackM_ttab[1]),       \
        ANY(arko_zur_kernel_##t##UnpackI_ttab[1]), ANY(arko_zur_kernel_##t##UnpackV_ttab[1]),   \
        ANY(arko_zur_kernel_##t##UnpackM_ttab[1])                                               \
  }
const functions types[] = {ROW(s, 4), ROW(d, 8), ROW(c, 8), ROW(z, 16)};

template <class... P> void call(any f, P... p) { reinterpret_cast<void (*)(P...)>(f)(p...); }

// With I of 64 bits the kernels behind the tables, flag 0; else the exported functions, whose counts and
// increments may have anything in the upper word.
template <class I, std::size_t size> void check(const functions& f) {
  using E = element<size>;
  constexpr bool wide = sizeof(I) == 8;
  const auto run = [](any exported, any table, auto... p) {
    wide ? call(table, p..., std::int32_t{0}) : call(exported, p...);
  };
  const auto argument = [](std::int64_t v) {
    return wide ? v : static_cast<std::int64_t>(static_cast<std::uint32_t>(v)) | std::int64_t{0x5A5A} << 32;
  };
  std::mt19937 random(11);
  for (const std::int64_t n : {-3, 0, 1, 2, 7, 64, 1001}) {
    constexpr int room = 4096;
    const auto a = random_elements<size>(room, random), before = random_elements<size>(room, random);
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(n, 0));
    std::vector<I> at(count), mask(count);
    for (I& i : at) i = static_cast<I>(random() % (count / 2 + 1));  // many twice
    // A mask counts by either half of its word.
    for (I& m : mask) m = static_cast<I>(random() % 2 ? 0 : wide && random() % 2 ? std::int64_t{1} << 40 : 2);
    for (const std::int64_t step : {1, 0, 3, -2}) {
      const std::int64_t start = step < 0 ? room - 1 : 0;
      auto got = before, expected = before;
      for (std::int64_t i = 0; i < n; i++) expected[i] = a[start + i * step];
      run(f.pack_i, f.table_pi, argument(n), a.data() + start, argument(step), got.data());
      EXPECT_TRUE(got == expected) << "PackI " << n << ' ' << step;
      got = expected = before;
      for (std::int64_t i = 0; i < n; i++) expected[start + i * step] = a[i];
      run(f.unpack_i, f.table_ui, argument(n), a.data(), got.data() + start, argument(step));
      EXPECT_TRUE(got == expected) << "UnpackI " << n << ' ' << step;
    }
    const auto compare = [&](const char* name, any exported, any table, const std::vector<I>& list,
                             bool packs, auto&& loop) {
      auto got = before, expected = before;
      loop(expected);
      const void* l = list.data();
      if (packs)
        run(exported, table, argument(n), a.data(), l, got.data());
      else
        run(exported, table, argument(n), a.data(), got.data(), l);
      EXPECT_TRUE(got == expected) << name << ' ' << n;
    };
    using elements = std::vector<E>;
    compare("PackV", f.pack_v, f.table_pv, at, true, [&](elements& y) {
      for (std::size_t i = 0; i < count; i++) y[i] = a[static_cast<std::size_t>(at[i])];
    });
    compare("UnpackV", f.unpack_v, f.table_uv, at, false, [&](elements& y) {
      for (std::size_t i = 0; i < count; i++) y[static_cast<std::size_t>(at[i])] = a[i];
    });
    for (const std::vector<I>& m : {mask, std::vector<I>(count)}) {
      compare("PackM", f.pack_m, f.table_pm, m, true, [&](elements& y) {
        for (std::size_t i = 0, k = 0; i < count; i++)
          if (m[i]) y[k++] = a[i];
      });
      compare("UnpackM", f.unpack_m, f.table_um, m, false, [&](elements& y) {
        for (std::size_t i = 0, k = 0; i < count; i++)
          if (m[i]) y[i] = a[k++];
      });
    }
  }
}

TEST(pack, moves_what_plain_loops_move) {
  for (const functions& f : types) {
    if (f.size == 4) check<std::int32_t, 4>(f), check<std::int64_t, 4>(f);
    if (f.size == 8) check<std::int32_t, 8>(f), check<std::int64_t, 8>(f);
    if (f.size == 16) check<std::int32_t, 16>(f), check<std::int64_t, 16>(f);
  }
}

}  // namespace
