// Locks, memory and messages under many threads.

#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"
#include "core/testing.h"

namespace {

constexpr int thread_count = 8;

template <class Body> void in_threads(Body&& body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < thread_count; ++t) threads.emplace_back(body, t);
  for (std::thread& t : threads) t.join();
}

// Plain variables behind the lock: a lost update shows in the sum, a missing order in a thread sanitizer.
TEST(lock, excludes) {
  std::int32_t word = 0;
  long counter = 0;
  int inside = 0, most_inside = 0;
  constexpr int rounds = 20000;
  in_threads([&](int) {
    for (int i = 0; i < rounds; ++i) {
      arko_serv_lock(&word);
      most_inside = std::max(most_inside, ++inside);
      ++counter;
      if (i % 1000 == 0) std::this_thread::yield();  // let others find it held
      --inside;
      arko_serv_unlock(&word);
    }
  });
  EXPECT_EQ(counter, long(rounds) * thread_count);
  EXPECT_EQ(most_inside, 1);
  EXPECT_EQ(word, 0);
}

double processor_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

TEST(lock, waiters_sleep_and_all_wake) {
  using namespace std::chrono;
  std::int32_t word = 0;
  std::atomic<int> started{0}, finished{0};
  std::vector<double> used(thread_count), waited(thread_count);
  arko_serv_lock(&word);
  std::thread holder([&] {
    in_threads([&](int t) {
      const auto begin = steady_clock::now();
      const double before = processor_seconds();
      ++started;
      arko_serv_lock(&word);
      used[t] = processor_seconds() - before;
      waited[t] = duration<double>(steady_clock::now() - begin).count();
      ++finished;
      arko_serv_unlock(&word);
    });
  });
  while (started < thread_count) std::this_thread::yield();
  std::this_thread::sleep_for(milliseconds(300));
  EXPECT_EQ(finished, 0);
  arko_serv_unlock(&word);
  holder.join();
  EXPECT_EQ(finished, thread_count);
  EXPECT_EQ(word, 0);
  double total = 0;
  for (int t = 0; t < thread_count; ++t) {
    EXPECT_GE(waited[t], 0.3);
    total += used[t];
  }
  EXPECT_LT(total, 0.1);  // spinning would use about 0.3 s of each processor
}

TEST(memory, from_many_threads) {
  const std::int64_t live = arko_core_live_blocks(), count = arko_core_allocations();
  constexpr int rounds = 2000;
  std::atomic<int> failed{0}, damaged{0};
  arko_core_fail_allocation(rounds);
  in_threads([&](int t) {
    std::vector<unsigned char*> blocks(16, nullptr);
    std::vector<std::size_t> sizes(16, 0);
    const auto release = [&](int slot) {
      for (std::size_t i = 0; blocks[slot] != nullptr && i < sizes[slot]; ++i) {
        damaged += blocks[slot][i] != (t * 16 + slot) % 251;
      }
      arko_serv_deallocate(blocks[slot]);
      blocks[slot] = nullptr;
    };
    for (int i = 0; i < rounds; ++i) {
      const int slot = i * 7 % 16;
      release(slot);
      sizes[slot] = std::size_t(i * 37 % 700);
      blocks[slot] = static_cast<unsigned char*>(arko_serv_allocate(sizes[slot], 128));
      failed += blocks[slot] == nullptr;
      if (blocks[slot] != nullptr) std::memset(blocks[slot], (t * 16 + slot) % 251, sizes[slot]);
    }
    for (int slot = 0; slot < 16; ++slot) release(slot);
  });
  EXPECT_EQ(failed, 1);
  EXPECT_EQ(damaged, 0);
  EXPECT_EQ(arko_core_live_blocks(), live);
  EXPECT_EQ(arko_core_allocations(), count + rounds * thread_count);
}

TEST(messages, lines_of_threads_do_not_mix) {
  constexpr int rounds = 300;
  const std::string text = captured([&] {
    in_threads([&](int t) {
      const std::string name(std::size_t(20 * t + 1), char('a' + t));
      for (int i = 0; i < rounds; ++i) arko_serv_print(1, 752, 1, name.c_str());
    });
  });
  std::map<std::string, int> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) ++lines[line];
  EXPECT_EQ(lines.size(), std::size_t(thread_count));
  for (int t = 0; t < thread_count; ++t) {
    EXPECT_EQ(lines["arko: " + std::string(std::size_t(20 * t + 1), char('a' + t)) + ": overflow"], rounds);
  }
}

}  // namespace
