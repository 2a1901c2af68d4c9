// Shared data from many threads at once.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <thread>

#include "core/testing.h"
#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

// Streams come and go with chunks under few ids, so that entries appear and vanish all the time; each chunk sees the
// data of its id as long as it lives.
TEST(threads, share_data_while_streams_come_and_go) {
  const std::int64_t before = arko_core_live_blocks();
  constexpr int count = 8;
  std::barrier start(count);
  std::vector<std::thread> threads;
  for (int t = 0; t < count; t++)
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < 300; round++) {
        const std::uint64_t id[2] = {static_cast<std::uint64_t>(round % 3), 1};
        const stream s(KOV_BRNG_MCG31M1);
        const std::string bytes = std::to_string(round % 3);
        add(s, 9, bytes, id);
        for (int i = 0; i < 200; i++) {  // counts that are lost free the data too early or never
          StreamChunk chunk;
          __kovRegisterGlobRODataReference(&chunk, id);
          __kovUnregisterGlobRODataReference(id);
        }
        const stream copy(s), image = loaded(image_of(s));
        for (const stream* each : {&s, &copy, &image}) {
          ASSERT_EQ(chunks(*each)->ChunkData, chunks(s)->ChunkData);
          ASSERT_EQ(*static_cast<const char*>(chunks(*each)->ChunkData), bytes[0]);
        }
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(arko_core_live_blocks(), before);
}

// A child of a fork has one thread: it must not wait for one that held the table when it was made.
TEST(threads, leave_the_table_to_the_child_of_a_fork) {
  const stream s(KOV_BRNG_MCG31M1);
  static constexpr std::uint64_t last[2] = {100, 2};
  for (std::uint64_t i = 1; i <= 100; i++) {  // a table that takes a while to look through
    const std::uint64_t id[2] = {i, 2};
    __kovAddChunk(s.get(), 9, id, nullptr, 0);
  }
  std::atomic<bool> over = false;
  std::thread other([&] {
    while (!over) references(last);
  });
  int status = 0;
  for (int i = 0; i < 40 && status == 0; i++) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(3);
      _exit(references(last) != 1);
    }
    waitpid(child, &status, 0);
  }
  over = true;
  other.join();
  EXPECT_EQ(status, 0);
}

}  // namespace
