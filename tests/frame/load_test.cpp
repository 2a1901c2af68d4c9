// The module as a library that a program loads and unloads; where its slot or its memory cannot be had; under threads.

#include <arko/core.h>
#include <arko/state.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string_view>

#include "tests/frame/threads.h"
#include "tests/support/child.h"

// Stands before the C library's for all libraries: a look-up of the mode word during which a lock is held.
static std::atomic<bool> slow_look_up = false;
extern "C" char* getenv(const char* name) noexcept {
  const std::string_view sought = name;
  if (slow_look_up && sought == "ARKO_ZURMODE") usleep(1000);
  for (char** e = environ; e && *e; e++)
    if (const std::string_view entry = *e; entry.starts_with(sought) && entry[sought.size()] == '=')
      return *e + sought.size() + 1;
  return nullptr;
}

namespace {

using namespace arko::test;

constexpr std::uint32_t usual = 0x1A02;
constexpr int needed = 2;  // allocations of a load: the heap and the thread's record

bool loaded() {
  void* handle = dlopen(ARKO_ZUR_MODULE, RTLD_NOW | RTLD_NOLOAD);
  return handle && dlclose(handle) == 0;
}

struct module {
  void* const handle = dlopen(ARKO_ZUR_MODULE, RTLD_NOW);
  decltype(_zurGetMode)* mode = reinterpret_cast<decltype(mode)>(dlsym(handle, "_zurGetMode"));
  module() = default;
  module(const module&) = delete;
  ~module() { dlclose(handle); }
};

TEST(unload, releases_everything_every_time) {
  const std::int64_t before = arko_core_live_blocks();
  for (int i = 0; i < PTHREAD_KEYS_MAX + 10; i++) {
    {
      const module zur;
      ASSERT_EQ(arko_core_live_blocks(), before + needed);
      ASSERT_EQ(zur.mode(), usual);
      ASSERT_EQ(arko_core_live_blocks(), before + needed);
    }
    ASSERT_FALSE(loaded());
    ASSERT_EQ(arko_core_live_blocks(), before);
  }
}

TEST(unload, takes_records_of_running_threads_along) {
  const std::int64_t before = arko_core_live_blocks();
  std::promise<void> used, unloaded;
  auto zur = std::make_unique<module>();
  std::thread thread([&] {
    zur->mode();
    used.set_value();
    unloaded.get_future().wait();
  });
  used.get_future().wait();
  EXPECT_EQ(arko_core_live_blocks(), before + needed + 1);
  zur.reset();
  EXPECT_FALSE(loaded());
  EXPECT_EQ(arko_core_live_blocks(), before);
  unloaded.set_value();
  thread.join();
  EXPECT_EQ(arko_core_live_blocks(), before);
}

TEST(ending, releases_nothing) {
  const ending end = in_child([] {
    const auto* zur = new module;
    on_new_thread([&] { zur->mode(); });
    blocks_at_end = arko_core_live_blocks();
  });
  EXPECT_EQ(end.exit_code, 0);
}

// Each row with each of a load's allocations, where it fails one.
TEST(failures, are_told_and_made_good_later_or_end_the_process) {
  std::vector<pthread_key_t> slots;
  const auto take_slots = [&] {
    for (pthread_key_t slot; pthread_key_create(&slot, nullptr) == 0;) slots.push_back(slot);
  };
  const auto fail = arko_core_fail_allocation;
  const struct {
    const char* what;
    int exit_code, messages;
    std::function<void(int k)> run;
  } rows[] = {{"memory at load", 0, 1, [&](int k) { fail(k), _exit(module().mode() != usual); }},
              {"memory at load and at first use", 3, 2,
               [&](int k) {
                 fail(k);
                 const module zur;
                 fail(1), zur.mode();
               }},
              {"memory at a thread's first use", 3, 1,
               [&](int) {
                 const module zur;
                 fail(1), on_new_thread([&] { zur.mode(); });
               }},
              {"a slot at load", 0, 1,
               [&](int) {
                 take_slots();
                 const module zur;
                 pthread_key_delete(slots.back()), _exit(zur.mode() != usual);
               }},
              // From load, from the accessor's second attempt, and for the record that has nowhere to go.
              {"a slot", 3, 3, [&](int) {
                 take_slots();
                 const std::int64_t before = arko_core_live_blocks();
                 const module zur;
                 if (arko_core_live_blocks() == before) zur.mode();
               }}};
  for (const auto& row : rows)
    for (int k = 1; k <= needed; k++) {
      const ending end = in_child([&] { row.run(k); });
      EXPECT_EQ(end.exit_code, row.exit_code) << row.what << ' ' << k;
      const std::string messages = captured([&] {
        for (int i = 0; i < row.messages; i++) arko_serv_print(1, 773, 0);
      });
      EXPECT_EQ(end.text, messages) << row.what << ' ' << k;
    }
}

TEST(threads, make_slot_and_heap_once_between_them) {
  for (int round = 0; round < 300; round++) {
    const std::int64_t before = arko_core_live_blocks();
    arko_core_fail_allocation(1);  // the heap, at load
    std::unique_ptr<module> zur;
    EXPECT_NE(captured([&] { zur = std::make_unique<module>(); }), "");
    EXPECT_EQ(arko_core_live_blocks(), before);
    on_threads([&](int) { EXPECT_EQ(zur->mode(), usual); });
    EXPECT_EQ(arko_core_live_blocks(), before + 1);
  }
}

// The child has the forking thread alone, which has no record yet: it needs the locks of a first use.
TEST(fork, leaves_no_lock_held_in_the_child) {
  slow_look_up = true;
  {
    const module zur;
    std::atomic<bool> done = false;
    std::vector<std::jthread> users;
    for (int t = 0; t < 4; t++)
      users.emplace_back([&] {
        while (!done) on_new_thread([&] { zur.mode(); });
      });
    on_new_thread([&] {
      ending end{};
      for (int i = 0; i < 30 && end.signal == 0 && end.exit_code == 0; i++)
        end = in_child([&] {
          alarm(20);
          _exit(zur.mode() != usual);
        });
      EXPECT_EQ(end.signal, 0);
      EXPECT_EQ(end.exit_code, 0);
    });
    done = true;
  }
  slow_look_up = false;
  EXPECT_EQ(in_child([] { _exit(0); }).signal, 0);  // the module has gone, and what it did at a fork with it
}

}  // namespace
