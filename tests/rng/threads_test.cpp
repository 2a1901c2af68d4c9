// Shared data from many threads at once.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <cstring>
#include <thread>

#include "core/testing.h"
#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

// Streams come and go with chunks under few ids, so that entries appear and vanish all the time; each chunk sees the
// data of its id as long as it lives.
TEST(shared_data, hold_while_streams_come_and_go) {
  const std::int64_t before = arko_core_live_blocks();
  constexpr int count = 8, ids = 3;
  std::barrier start(count);
  std::vector<std::thread> threads;
  for (int t = 0; t < count; t++)
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < 2000; round++) {
        const std::uint64_t id[2] = {static_cast<std::uint64_t>(round % ids), 1};
        stream s(KOV_BRNG_MCG31M1);
        auto* data = static_cast<std::uint64_t*>(arko_serv_allocate(sizeof id, 128));
        std::memcpy(data, id, sizeof id);
        ASSERT_EQ(__kovAddChunk(s.get(), 9, id, data, sizeof id), 0);
        if (__kovSearchChunk(s.get(), 9) != data) arko_serv_deallocate(data);
        const stream copy(s);
        ASSERT_EQ(__kovSearchChunk(copy.get(), 9), __kovSearchChunk(s.get(), 9));
        ASSERT_EQ(std::memcmp(__kovSearchChunk(copy.get(), 9), id, sizeof id), 0);
        const stream other = loaded(image_of(s));
        ASSERT_EQ(__kovSearchChunk(other.get(), 9), __kovSearchChunk(s.get(), 9));
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(arko_core_live_blocks(), before);
}

// A child of a fork has one thread: it must not wait for one that held the table when it was made.
TEST(shared_data, are_found_in_the_child_of_a_fork) {
  stream s(KOV_BRNG_MCG31M1);
  for (std::uint64_t i = 1; i <= 100; i++) {  // a table that takes a while to look through
    const std::uint64_t id[2] = {i, 2};
    __kovAddChunk(s.get(), 9, id, nullptr, 0);
  }
  const auto look = [] {
    constexpr std::uint64_t last[2] = {100, 2};
    GlobRODataTableEntry* entry;
    return __kovFindGlobRODataTableEntry(&entry, last);
  };
  std::atomic<bool> over = false;
  std::thread other([&] {
    while (!over) look();
  });
  int status = 0;
  for (int i = 0; i < 40 && status == 0; i++) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(3);
      _exit(look());
    }
    waitpid(child, &status, 0);
  }
  over = true;
  other.join();
  EXPECT_EQ(status, 0);
}

}  // namespace
