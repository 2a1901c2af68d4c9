// Load, unload, and what happens where the module's slot or its memory cannot be had.

#include <arko/core.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <pthread.h>

#include <future>
#include <vector>

#include "core/testing.h"
#include "tests/frame/at_end.h"
#include "tests/frame/module.h"
#include "tests/support/child.h"

namespace {

using namespace arko::test;

constexpr std::uint32_t usual = 0x1A02;
constexpr int needed = 2;  // allocations of a load: the heap and the thread's record

std::string message_773() {
  return in_child([] { arko_serv_print(1, 773, 0); }).text;
}

TEST(load, makes_the_threads_record) {
  const std::int64_t before = arko_core_allocations();
  const module zur;
  EXPECT_EQ(arko_core_allocations() - before, needed);
  EXPECT_EQ(zur.mode(), usual);
  EXPECT_EQ(arko_core_allocations() - before, needed);
}

TEST(unload, releases_everything_every_time) {
  const std::int64_t before = arko_core_live_blocks();
  for (int i = 0; i < PTHREAD_KEYS_MAX + 10; i++) {
    {
      const module zur;
      ASSERT_EQ(zur.mode(), usual);
      ASSERT_EQ(arko_core_live_blocks(), before + needed);
    }
    ASSERT_FALSE(module::loaded());
    ASSERT_EQ(arko_core_live_blocks(), before);
  }
}

TEST(unload, takes_records_of_running_threads_along) {
  const std::int64_t before = arko_core_live_blocks();
  std::promise<void> used, unloaded;
  std::thread thread;
  {
    const module zur;
    thread = std::thread([&] {
      EXPECT_EQ(zur.mode(), usual);
      used.set_value();
      unloaded.get_future().wait();
    });
    used.get_future().wait();
    EXPECT_EQ(arko_core_live_blocks(), before + needed + 1);
  }
  EXPECT_FALSE(module::loaded());
  EXPECT_EQ(arko_core_live_blocks(), before);
  unloaded.set_value();
  thread.join();
  EXPECT_EQ(arko_core_live_blocks(), before);
}

TEST(ending, releases_nothing) {
  EXPECT_EQ(in_child([] {
              const auto* zur = new module;
              on_new_thread([&] { zur->mode(); });
              blocks_at_end = arko_core_live_blocks();
            }).exit_code,
            0);
}

TEST(failed_allocation, at_load_is_told_and_made_good_later) {
  for (int k = 1; k <= needed; k++) {
    const ending end = in_child([&] {
      arko_core_fail_allocation(k);
      const module zur;
      _exit(zur.mode() == usual ? 0 : 1);
    });
    EXPECT_EQ(end.exit_code, 0) << k;
    EXPECT_EQ(end.text, message_773()) << k;
  }
}

TEST(failed_allocation, of_a_needed_record_ends_the_process) {
  for (int k = 1; k <= needed; k++) {
    const ending end = in_child([&] {
      arko_core_fail_allocation(k);
      const module zur;
      arko_core_fail_allocation(1);
      zur.mode();
    });
    EXPECT_EQ(end.exit_code, 3) << k;
    EXPECT_EQ(end.text, message_773() + message_773()) << k;
  }
  const ending end = in_child([] {  // a thread's first use
    const module zur;
    arko_core_fail_allocation(1);
    on_new_thread([&] { zur.mode(); });
  });
  EXPECT_EQ(end.exit_code, 3);
  EXPECT_EQ(end.text, message_773());
}

TEST(no_slot, is_told_at_load_and_ends_the_process_when_needed) {
  std::vector<pthread_key_t> keys;
  const auto take_all = [&] {
    for (pthread_key_t key; pthread_key_create(&key, nullptr) == 0;) keys.push_back(key);
  };
  const ending end = in_child([&] {
    take_all();
    const std::int64_t before = arko_core_live_blocks();
    const module zur;
    if (arko_core_live_blocks() != before) _exit(1);
    zur.mode();
  });
  EXPECT_EQ(end.exit_code, 3);
  // From load, from the accessor's second attempt, and for the record that has nowhere to go.
  EXPECT_EQ(end.text, message_773() + message_773() + message_773());

  const ending later = in_child([&] {
    take_all();
    const module zur;
    pthread_key_delete(keys.back());
    _exit(zur.mode() == usual ? 0 : 1);
  });
  EXPECT_EQ(later.exit_code, 0);
  EXPECT_EQ(later.text, message_773());
}

}  // namespace
