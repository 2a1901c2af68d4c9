// Many threads at once: first use of a module whose load had failed, and settings that stay a thread's own.

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cmath>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "core/testing.h"
#include "tests/frame/module.h"
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

constexpr int count = 16;

template <class F> void on_threads(F&& f) {
  std::barrier start(count);
  std::vector<std::thread> threads;
  for (int t = 0; t < count; t++)
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      f(t);
    });
  for (std::thread& thread : threads) thread.join();
}

std::int32_t drop(ZurErrorContext* c) { return c->Index % 2; }

TEST(threads, start_with_defaults_and_keep_their_own_state) {
  const module zur;
  const std::int64_t before = arko_core_live_blocks();
#define ENTRY(name) const auto name = zur.entry<decltype(::name)>(#name)
  ENTRY(_zurGetMode);
  ENTRY(_zurSetMode);
  ENTRY(_zurGetErrStatus);
  ENTRY(_zurGetErrorCallBack);
  ENTRY(_zurSetErrorCallBack);
  ENTRY(_zursExp);
  for (int round = 0; round < 20; round++)
    on_threads([&](int t) {
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
      for (int i = 0; i < 33; i++)
        EXPECT_TRUE(i == 20 || std::fabs(r[i] / std::exp(static_cast<double>(x[i])) - 1) < 1e-6);
    });
  EXPECT_EQ(arko_core_live_blocks(), before);  // records end with their threads
}

TEST(threads, make_slot_and_heap_once_between_them) {
  for (int round = 0; round < 300; round++) {
    const std::int64_t before = arko_core_live_blocks();
    arko_core_fail_allocation(1);  // the heap, at load
    std::unique_ptr<module> loaded;
    EXPECT_NE(captured([&] { loaded = std::make_unique<module>(); }), "");
    const module& zur = *loaded;
    EXPECT_EQ(arko_core_live_blocks(), before);
    on_threads([&](int) { EXPECT_EQ(zur.mode(), 0x1A02u); });
    EXPECT_EQ(arko_core_live_blocks(), before + 1);
  }
}

// The child has the forking thread alone, which has no record yet: it needs the locks of a first use.
TEST(fork, leaves_no_lock_held_in_the_child) {
  slow_look_up = true;
  {
    const module zur;
    const auto mode = zur.entry<decltype(_zurGetMode)>("_zurGetMode");  // the loader has locks of its own
    std::atomic<bool> done = false;
    std::vector<std::thread> users;
    for (int t = 0; t < 4; t++)
      users.emplace_back([&] {
        while (!done) on_new_thread([&] { mode(); });
      });
    on_new_thread([&] {
      ending end{};
      for (int i = 0; i < 30 && end.signal == 0 && end.exit_code == 0; i++)
        end = in_child([&] {
          alarm(20);
          _exit(mode() != 0x1A02);
        });
      EXPECT_EQ(end.signal, 0);
      EXPECT_EQ(end.exit_code, 0);
    });
    done = true;
    for (std::thread& user : users) user.join();
  }
  slow_look_up = false;
  EXPECT_EQ(in_child([] { _exit(0); }).signal, 0);  // the module has gone, and what it did at a fork with it
}

}  // namespace
