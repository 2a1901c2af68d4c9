// The kernels built for 256 and 512 bits against those of the module, bit for bit.
//
// The objects of the module's own width are the module's; all three are linked in here.

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/registry.h"
#include "tests/support/samples.h"

namespace arko::test {

// Kernel tables by function: zur::v32::sExp_table is the symbol zur_sExp_table_v32.
#define TWIN_none(macro, F)
#define TWIN_I(macro, F) macro(F##I)
#define TWIN__(macro, F) macro(F##I)
#define SYMBOLS(F)                                           \
  extern const entry F##_v32[3] asm("zur_" #F "_table_v32"); \
  extern const entry F##_v64[3] asm("zur_" #F "_table_v64");
#define KERNELS(type, root, form, sharing, twin, ...) SYMBOLS(type##root) TWIN_##twin(SYMBOLS, type##root)
#include "vector/functions.def"

}  // namespace arko::test

namespace {

using namespace arko::test;

#define ROW(F) {#F, {F##_v32, F##_v64}},
const std::map<std::string, std::array<const entry*, 2>> wide = {
#define KERNELS(type, root, form, sharing, twin, ...) ROW(type##root) TWIN_##twin(ROW, type##root)
#include "vector/functions.def"
};

struct outcome {
  std::vector<unsigned char> results;
  std::vector<std::int32_t> reports;  // element and status of each
  bool operator==(const outcome&) const = default;
};
thread_local outcome* current;

outcome run(const function& f, const entry* table, int level, const arguments& c, std::size_t size) {
  outcome o;
  o.results.resize(2 * size, 0xA5);
  arguments mine = c;
  for (int j = 0; j < 2; j++) mine.out[j] = &o.results[j * size];
  current = &o;
  (f.strided ? f.how->twin : f.how->unit)(table[level], mine);
  return o;
}

void compare(int width) {
  std::mt19937 random(7);
  constexpr int rounds = 200;
  int compared = 0;
  on_new_thread([&] {
    _zurSetErrorCallBack([](ZurErrorContext* c) {
      current->reports.insert(current->reports.end(), {c->Index, c->Code});
      return 0;
    });
    for (const kernel& k : kernels()) {
      const form& how = *k.f->how;
      for (int round = 0; round < rounds; round++) {
        const int n = round < 140 ? round : 1000;
        arguments c{n};
        std::vector<unsigned char> in[2];
        const int inc = k.f->strided && round % 3 ? 2 : 1;
        for (int j = 0; j < 2; j++) {
          in[j].resize((2 * static_cast<std::size_t>(n) + 1) * 16);
          fill(in[j].data(), 2 * n + 1, how.real_size, random);
          if (how.in_size > how.real_size) fill(in[j].data(), 4 * n + 2, how.real_size, random);
          c.in[j] = in[j].data(), c.inc_in[j] = c.inc_out[j] = inc;
        }
        const std::size_t size = (2 * static_cast<std::size_t>(n) + 1) * how.out_size;
        outcome expected = run(*k.f, k.f->table, k.level, c, size);
        const outcome got = run(*k.f, wide.at(k.f->name)[width], k.level, c, size);
        for (std::size_t i = 0; how.inputs == 2 && i < size; i += how.real_size)
          take_over_nan(&expected.results[i], &got.results[i], how.real_size);
        ASSERT_TRUE(got == expected) << k << ", n " << n << ", increment " << inc;
        compared++;
      }
    }
  });
  EXPECT_GE(compared, rounds * 24);
}

TEST(widths, of_256_bits_give_the_same_bits) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma"))
    GTEST_SKIP() << "this processor has no AVX2 with fused multiply-add: nothing was compared";
  compare(0);
}

TEST(widths, of_512_bits_give_the_same_bits) {
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
      !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw"))
    GTEST_SKIP() << "this processor has no AVX-512: nothing was compared";
  compare(1);
}

}  // namespace
