// Threads that end while the module is unloaded. The frame's sources are in this program, since the system takes no
// care that a thread has left a library whose code goes away.

#include <gtest/gtest.h>

#include "frame/state.h"
#include "tests/frame/threads.h"

TEST(unload, and_threads_that_end_release_each_record_once) {
  constexpr int count = 8;
  const std::int64_t before = arko_core_live_blocks();
  for (int round = 0; round < 400; round++) {
    ASSERT_TRUE(zur::attach());
    std::barrier used(count + 1);
    std::thread threads(
        [&] { arko::test::on_threads([&](int) { zur::state(), used.arrive_and_wait(); }, count); });
    used.arrive_and_wait();
    zur::detach();
    ASSERT_EQ(arko_core_live_blocks(), before);
    threads.join();
    ASSERT_EQ(arko_core_live_blocks(), before);
  }
}
