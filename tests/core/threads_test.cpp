// Locks and messages under many threads.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "arko/core.h"
#include "tests/support/child.h"

namespace {

constexpr int thread_count = 8;

template <class Body> void in_threads(Body&& body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < thread_count; ++t) threads.emplace_back(body, t);
  for (std::thread& t : threads) t.join();
}

// A plain variable behind the lock: a lost update shows in the sum, a missing order in a thread sanitizer.
TEST(lock, excludes_and_lets_waiters_sleep) {
  constexpr int rounds = 20000;
  std::int32_t word = 0;
  long counter = 0;
  std::atomic<int> started{0};
  arko_serv_lock(&word);
  std::thread waiters([&] {
    in_threads([&](int) {
      ++started;
      for (int i = 0; i < rounds; ++i) {
        arko_serv_lock(&word);
        const long before = counter;
        if (i % 1000 == 0) std::this_thread::yield();  // let others find it held
        counter = before + 1;
        arko_serv_unlock(&word);
      }
    });
  });
  while (started < thread_count) std::this_thread::yield();
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);  // spinning would use about 0.3 s of each processor
  EXPECT_EQ(counter, 0);
  arko_serv_unlock(&word);
  waiters.join();
  EXPECT_EQ(counter, long(rounds) * thread_count);
  EXPECT_EQ(word, 0);
}

TEST(messages, lines_of_threads_do_not_mix) {
  constexpr int rounds = 300;
  const auto name = [](int t) { return std::string(std::size_t(20 * t + 1), char('a' + t)); };
  std::istringstream text(arko::test::captured([&] {
    in_threads([&](int t) {
      for (int i = 0; i < rounds; ++i) arko_serv_print(1, 752, 1, name(t).c_str());
    });
  }));
  std::map<std::string, int> lines, expected;
  for (std::string line; std::getline(text, line);) ++lines[line];
  for (int t = 0; t < thread_count; ++t) expected["arko: " + name(t) + ": overflow"] = rounds;
  EXPECT_EQ(lines, expected);
}

TEST(fork, leaves_the_memory_of_matrix_products_usable) {
  const std::int32_t n = 4;
  const double one = 1, a[16] = {};
  const auto product = [&] {
    double c[16] = {};
    arko_blas_dsyrk("u", "n", &n, &n, &one, a, &n, &one, c, &n);
  };
  std::atomic<bool> done{false};
  std::thread users([&] {
    in_threads([&](int) {
      while (!done) product();
    });
  });
  arko::test::ending end{};
  for (int i = 0; i < 100 && end.signal == 0; ++i)
    end = arko::test::in_child([&] {
      alarm(20);
      product();
      _exit(0);
    });
  EXPECT_EQ(end.signal, 0);
  done = true;
  users.join();
}

}  // namespace
