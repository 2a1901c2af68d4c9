// The kernels built for 256 and 512 bits against those of the module, bit for bit.
//
// The objects of the module's own width are the module's; all three are linked in here.
#include <gtest/gtest.h>

#include <map>

#include "tests/support/child.h"
#include "tests/support/registry.h"
#include "tests/support/samples.h"
#include "vector/expand.h"

namespace arko::test {

// Kernel tables by function: zur::v32::sExp_table is the symbol zur_sExp_table_v32.
#define SYMBOLS(F)                                           \
  extern const entry F##_v32[3] asm("zur_" #F "_table_v32"); \
  extern const entry F##_v64[3] asm("zur_" #F "_table_v64");
#define KERNELS(type, root, form, sharing, twin, ...) \
  SYMBOLS(type##root) ZUR_IF_TWIN_##twin(SYMBOLS(type##root##I))
#include "vector/functions.def"

}  // namespace arko::test

namespace {

using namespace arko::test;

#define ROW(F) {#F, {F##_v32, F##_v64}},
const std::map<std::string, std::vector<const entry*>> wide = {
#define KERNELS(type, root, form, sharing, twin, ...) ROW(type##root) ZUR_IF_TWIN_##twin(ROW(type##root##I))
#include "vector/functions.def"
};

struct outcome {
  std::vector<unsigned char> results[2];
  std::vector<std::int32_t> reports = {};  // element and status of each
  bool operator==(const outcome&) const = default;
};

outcome run(const function& f, entry kernel, arguments c) {
  const std::vector<unsigned char> untouched(2 * (static_cast<std::size_t>(c.n) + 1) * f.how->out_size, 0xA5);
  outcome o = {{untouched, untouched}};
  static thread_local outcome* current;
  current = &o;
  _zurSetErrorCallBack([](ZurErrorContext* report) {
    current->reports.insert(current->reports.end(), {report->Index, report->Code});
    return 0;
  });
  for (int j = 0; j < 2; j++) c.out[j] = o.results[j].data();
  (f.strided ? f.how->twin : f.how->unit)(kernel, c);
  return o;
}

void compare(int width) {
  std::mt19937 random(7);
  std::vector<unsigned char> in[2] = {std::vector<unsigned char>(33000), std::vector<unsigned char>(33000)};
  on_new_thread([&] {
    for (const kernel& k : kernels()) {
      const form& how = *k.f->how;
      for (int round = 0; round < 200; round++) {
        const int n = round < 140 ? round : 1000, inc = k.f->strided && round % 3 ? 2 : 1;
        for (auto& array : in)
          fill(array.data(), static_cast<int>(2 * n * how.in_size / how.real_size), how.real_size, random);
        const arguments c{n, {in[0].data(), in[1].data()}, {}, {inc, inc}, {inc, inc}};
        outcome expected = run(*k.f, k.f->table[k.level], c);
        const outcome got = run(*k.f, wide.at(k.f->name)[width][k.level], c);
        for (std::size_t i = 0; how.inputs == 2 && i < 2 * n * how.out_size; i += how.real_size)
          take_over_nan(&expected.results[0][i], &got.results[0][i], how.real_size);
        ASSERT_TRUE(got == expected) << k << ", n " << n << ", increment " << inc;
      }
    }
  });
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
