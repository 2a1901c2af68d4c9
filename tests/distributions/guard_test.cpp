// The kernel guard and the callbacks that replace results, from the module's objects.

#include "distributions/guard.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/child.h"
#include "tests/support/probes.h"
#include "vector/functions.h"

namespace {

using namespace arko::test;
using namespace kov;

TEST(callbacks, replace_what_they_are_for) {
  constexpr double d = -744.4400719213812, s = -103.2789306640625, ed = 5.8635847487551676, es = 3.832507f,
                   same = 9;
  EXPECT_EQ(d, -1074 * std::log(2.0));
  struct {
    ZurErrorCallBack callback;
    std::int32_t code;
    double argument, result;
  } const cases[] = {{LogFloorD, 2, 0, d},       {LogFloorD, 4, 3, d},      {LogFloorS, 1, -1, s},
                     {LogFloorS, 3, 3, s},       {PoleFloorD, 2, 0, d},     {PoleFloorD, 1, 0, same},
                     {PoleFloorS, 2, 5, s},      {PoleFloorS, 4, 0, same},  {GaussFloorD, 2, -0.0, d},
                     {GaussFloorD, 2, 1, ed},    {GaussFloorD, 1, -2, -ed}, {GaussFloorD, 1, 0, ed},
                     {GaussFloorD, 4, -1, same}, {GaussFloorS, 2, 0, s},    {GaussFloorS, 1, 2, es},
                     {GaussFloorS, 2, -1, -es}};
  for (const auto& c : cases) {
    ZurErrorContext report = {};
    report.Code = c.code, report.Arg1 = c.argument, report.Res1 = report.Res2 = same;
    EXPECT_EQ(c.callback(&report), 0);
    EXPECT_TRUE(report.Res1 == c.result && report.Res2 == c.result) << &c - cases << ' ' << report.Res1;
  }
}

std::int32_t mine(ZurErrorContext*) { return 1; }

// Guards within guards, kernels and other things inside, and each leaves what it found, the flags of the x87 cleared.
TEST(guard, holds_for_its_scope) {
  for (const std::uint32_t set : {0u, ZUR_FLUSH_DENORMALS | ZUR_ERRMODE_NOERR, ZUR_ERRMODE_IGNORE | ZUR_EP})
    for (const fp_words& words : {fp_words{}, fp_words{.sse = 0xE000, .control = 0xC40}})
      on_new_thread([&] {
        _zurSetErrorCallBack(mine);
        _zurSetMode(set);
        _zurSetErrStatus(ZUR_STATUS_UNDERFLOW);
        const std::uint32_t mode = _zurGetMode();
        double zero[3] = {0, 0x1p-1074, 1}, first[3], second[3];
        std::uint32_t inside[3];
        fp_words seen;
        const fp_words after = under(words, [&] {
          const kernel_guard outer(LogFloorD);
          seen = fp_words::now();
          inside[0] = _zurGetMode();
          {
            const kernel_guard inner(GaussFloorS);
            inner.kernels([&] { zur::dLn_table[zur::ep](3, zero, first); });
            inside[1] = _zurGetMode();
          }
          outer.kernels([&] { inside[2] = _zurGetMode(); });
          outer.kernels([&] { zur::dLn_table[zur::ep](3, zero, second); });
          asm volatile(
              "fld1\n\tfldz\n\tfdivrp\n\tfstp %st(0)");  // a flag that the caller's word would trap on
          if (inside[0] != _zurGetMode() || _zurGetErrorCallBack() != LogFloorD) inside[0] = 0;
          _zurSetMode(ZUR_FLUSH_DENORMALS | ZUR_TRAP_OVERFLOW);  // as a fill of the caller's own might
        });
        EXPECT_EQ(inside[0], (mode & ~ZUR_ERRMODE_MASK) | ZUR_ERRMODE_CALLBACK);
        EXPECT_EQ(inside[1], inside[0]);
        EXPECT_EQ(inside[2], (inside[0] & ~ZUR_DENORMALS_MASK) | ZUR_KEEP_DENORMALS);
        EXPECT_EQ(seen.sse_control(), words.sse_control() | 0x1F80);
        EXPECT_EQ(seen.control, words.control | 0x3F);
        EXPECT_NEAR(first[0], -103.279, 0.001);
        EXPECT_NEAR(second[0], -744.44, 0.001);
        EXPECT_NEAR(first[1], -744.44, 0.001);  // a denormal is a number
        EXPECT_EQ(first[2], 0);
        EXPECT_EQ(_zurGetMode(), mode);
        EXPECT_EQ(_zurGetErrorCallBack(), mine);
        EXPECT_EQ(_zurGetErrStatus(), ZUR_STATUS_UNDERFLOW);
        EXPECT_EQ(after.sse_control(), words.sse_control());
        EXPECT_EQ(after.control, words.control);
        EXPECT_EQ(after.x87_flags(), 0u);
      });
}

}  // namespace
