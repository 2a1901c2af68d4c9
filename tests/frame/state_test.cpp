// The mode word, status and callback of a thread, in a program that came with the module.

#include <arko/vector.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <future>
#include <sstream>
#include <string>

#include "tests/frame/threads.h"
#include "tests/support/child.h"

namespace {

using namespace arko::test;

// data/modes.txt: the mode word in the end, the option that it starts from, and what is set, all in hex.
TEST(mode, starts_from_the_option_and_takes_what_is_set) {
  std::ifstream rows(ARKO_SOURCE "/tests/frame/data/modes.txt");
  ASSERT_TRUE(rows);
  for (std::string mode, option, set;
       std::getline(std::getline(std::getline(rows, mode, '|'), option, '|'), set);) {
    setenv("ARKO_ZURMODE", option.c_str(), 1);
    on_new_thread([&] {
      std::uint32_t before = _zurSetMode(0);
      setenv("ARKO_ZURMODE", "ZUR_LA,ZUR_TRAP_UNDERFLOW", 1);  // too late
      std::istringstream words(set);
      for (std::uint32_t word; words >> std::hex >> word; before = _zurGetMode())
        EXPECT_EQ(_zurSetMode(word), before) << option << ' ' << set;
      EXPECT_EQ(_zurGetMode(), std::stoul(mode, nullptr, 16)) << option << ' ' << set;
    });
  }
  unsetenv("ARKO_ZURMODE");
  on_new_thread([] { EXPECT_EQ(_zurGetMode(), 0x1A02u); });
}

TEST(mode, table_index_is_the_accuracy_less_one) {
  on_new_thread([] {
    for (const int accuracy : {2, 1, 3, 9, 15}) {
      if (accuracy != 2) _zurSetMode(static_cast<std::uint32_t>(accuracy));
      EXPECT_EQ(arko_zur_kernel_GetTTableIndex(), accuracy - 1);
    }
    EXPECT_EQ(arko_zur_kernel_GetTTableIndexM(0, 0x1A03), 2);
    EXPECT_EQ(arko_zur_kernel_GetTTableIndexM(0xFFFFFFFF, 0x1A00), -1);
  });
  EXPECT_EQ(dll_cpu_version(), 5);
}

TEST(status, set_and_clear_return_the_one_before) {
  on_new_thread([] {
    EXPECT_EQ(_zurGetErrStatus(), 0);
    EXPECT_EQ(_zurSetErrStatus(-1234567), 0);
    EXPECT_EQ(_zurSetErrStatus(3), -1234567);
    EXPECT_EQ(_zurGetErrStatus(), 3);
    EXPECT_EQ(_zurClearErrStatus(), 3);
    EXPECT_EQ(_zurClearErrStatus(), 0);
  });
}

std::int32_t drop(ZurErrorContext* c) { return c->Index % 2; }

TEST(callback, switches_its_bit_of_the_mode_word) {
  const struct {
    std::uint32_t before;  // the error mode
    ZurErrorCallBack callback;
    std::uint32_t after;
  } rows[] = {{0x1A00, drop, 0x1A00},    {0x1A00, nullptr, 0x0A00}, {0x0200, drop, 0x1200},
              {0x0200, nullptr, 0x0200}, {0x1000, nullptr, 0x1000},  // a field cannot become 0
              {0x2000, drop, 0x3000}};
  for (const auto& row : rows)
    on_new_thread([&] {
      const ZurErrorCallBack first = [](ZurErrorContext*) { return 0; };
      EXPECT_EQ(_zurSetErrorCallBack(first), nullptr);
      _zurSetMode(row.before);
      EXPECT_EQ(row.callback ? _zurSetErrorCallBack(row.callback) : _zurClearErrorCallBack(), first);
      EXPECT_EQ(_zurGetErrorCallBack(), row.callback);
      EXPECT_EQ(_zurGetMode(), row.after | 2) << std::hex << row.before;
    });
}

TEST(threads, start_with_defaults_and_keep_their_own_state) {
  const std::int64_t before = arko_core_live_blocks();
  for (int round = 0; round < 20; round++)
    on_threads([](int t) {
      EXPECT_EQ(_zurGetMode(), 0x1A02u);
      EXPECT_EQ(_zurGetErrStatus(), 0);
      EXPECT_EQ(_zurGetErrorCallBack(), nullptr);
      const std::uint32_t accuracy = 1 + static_cast<std::uint32_t>(t) % 3;
      _zurSetMode(accuracy | ZUR_ERRMODE_ERRNO);
      if (t % 2) _zurSetErrorCallBack(drop);
      float x[33], r[33];
      for (int i = 0; i < 33; i++) x[i] = static_cast<float>(i - 16);
      x[20] = t < 8 ? 1000.0f : -1000.0f;
      for (int i = 0; i < 50; i++) _zursExp(33, x, r);
      EXPECT_EQ(_zurGetErrStatus(), t < 8 ? 3 : 4);
      EXPECT_EQ(_zurGetMode(), accuracy | (t % 2 ? 0x1200u : 0x200u));
      EXPECT_EQ(_zurGetErrorCallBack(), t % 2 ? drop : nullptr);
    });
  EXPECT_EQ(arko_core_live_blocks(), before);  // records end with their threads
}

// The end of a process releases nothing: other threads may be inside the module.
TEST(ending, keeps_records_of_running_threads) {
  const ending end = in_child([] {
    std::promise<void> used;
    std::thread([&] {
      _zurSetErrStatus(5);
      used.set_value();
      pause();
    }).detach();
    used.get_future().wait();
    blocks_at_end = arko_core_live_blocks();
  });
  EXPECT_EQ(end.exit_code, 0);
}

}  // namespace
