// Memory, locks, messages, environment, the checked copy, the processor question, forks, and the end of a process.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/testing.h"
#include "tests/support/child.h"

namespace {

using namespace arko::test;

constexpr int thread_count = 8;

template <class Body> std::vector<std::jthread> started(Body body) {
  std::vector<std::jthread> threads;
  for (int t = 0; t < thread_count; ++t) threads.emplace_back(body, t);
  return threads;
}

TEST(memory, blocks_are_aligned_and_usable_or_null) {
  const std::int64_t live = arko_core_live_blocks();
  for (std::size_t alignment = 1; alignment <= 1u << 20; alignment *= 2)
    for (const std::size_t size : {0, 1, 128, 100000}) {
      void* block = arko_serv_allocate(size, alignment);
      ASSERT_NE(block, nullptr) << size << ' ' << alignment;
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << size << ' ' << alignment;
      std::memset(block, 0xA5, size);
      arko_serv_deallocate(block);
    }
  arko_serv_deallocate(nullptr);
  const std::int64_t count = arko_core_allocations();
  for (const std::size_t alignment : {std::size_t(0), std::size_t(3), std::size_t(96), ~(SIZE_MAX / 2)})
    EXPECT_EQ(arko_serv_allocate(1, alignment), nullptr) << alignment;
  for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 2 - 127, SIZE_MAX / 16})
    EXPECT_EQ(arko_serv_allocate(size, 128), nullptr) << size;
  EXPECT_EQ(arko_core_allocations(), count + 1);  // a size that some system could serve
  EXPECT_EQ(arko_core_live_blocks(), live);
}

// A plain variable behind the lock: a lost update shows in the sum, a missing order in a thread sanitizer.
TEST(lock, excludes_and_lets_waiters_sleep) {
  std::int32_t word = 0;
  long counter = 0;
  arko_serv_lock(&word);
  const std::clock_t before = std::clock();
  auto waiters = started([&](int) {
    for (int i = 0; i < 20000; ++i) {
      arko_serv_lock(&word);
      const long seen = counter;
      if (i % 1000 == 0) std::this_thread::yield();  // let others find it held
      counter = seen + 1;
      arko_serv_unlock(&word);
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);  // spinning would use about 0.3 s of each processor
  EXPECT_EQ(counter, 0);
  arko_serv_unlock(&word);
  waiters.clear();
  EXPECT_EQ(counter, 20000L * thread_count);
}

// data/messages.txt: a code, what it takes, and the line.
TEST(messages, one_line_by_code_and_count) {
  std::ifstream rows(ARKO_SOURCE "/tests/core/data/messages.txt");
  int code, count = 0;
  for (std::string takes, line; rows >> code >> takes && std::getline(rows.ignore(), line); ++count) {
    const auto print = [&](auto... arguments) {
      return captured([&] { EXPECT_EQ(arko_serv_print(1, code, arguments...), 0); });
    };
    EXPECT_EQ(print(3), "arko: message " + std::to_string(code) + "\n");  // another count: nothing is read
    EXPECT_EQ(takes == "nothing"  ? print(0)
              : takes == "name"   ? print(1, "vsExp")
              : takes == "number" ? print(2, "vsExp", -3)
                                  : print(2, -3, -1.0 / 3),
              line + "\n");
  }
  EXPECT_TRUE(rows.eof() && count > 0);
  const std::string name(1000, 'n');
  EXPECT_EQ(captured([&] { arko_serv_print(1, 752, 1, name.c_str()); }),
            "arko: " + name.substr(0, 255) + ": overflow\n");
  const ending end = in_child([] {  // a failure is told, and errno is kept
    close(STDERR_FILENO);
    errno = ERANGE;
    _exit(arko_serv_print(1, 752, 1, "vsExp") == -1 && errno == ERANGE ? 0 : 1);
  });
  EXPECT_EQ(end.exit_code, 0);
}

TEST(messages, lines_of_threads_do_not_mix) {
  const auto name = [](int t) { return std::string(20 * t + 1, char('a' + t)); };
  std::istringstream text(captured([&] {
    started([&](int t) {
      for (int i = 0; i < 300; ++i) arko_serv_print(1, 752, 1, name(t).c_str());
    });
  }));
  std::map<std::string, int> lines, expected;
  for (std::string line; std::getline(text, line);) ++lines[line];
  for (int t = 0; t < thread_count; ++t) expected["arko: " + name(t) + ": overflow"] = 300;
  EXPECT_EQ(lines, expected);
}

TEST(environment, values_that_fit_are_copied) {
  for (const char* value : {"four", "", static_cast<const char*>(nullptr)})
    for (const int size : {8, 5, 4, 1, 0, -1}) {
      value ? setenv("ARKO_TEST", value, 1) : unsetenv("ARKO_TEST");
      const int length = value ? int(std::strlen(value)) : 8;
      std::string buffer(8, '#'), expected = buffer;
      if (length < size) expected.replace(0, length + 1, value, length + 1);
      EXPECT_EQ(arko_serv_getenv("ARKO_TEST", buffer.data(), size), length < size ? length : -1);
      EXPECT_EQ(buffer, expected) << length << ' ' << size;
    }
}

TEST(copy, all_or_nothing) {
  std::string to = "########";
  EXPECT_EQ(arko_serv_memcpy_s(&to[0], 2, "abc", 3), ERANGE);
  EXPECT_EQ(arko_serv_memcpy_s(nullptr, 8, "abc", 1), EINVAL);
  EXPECT_EQ(arko_serv_memcpy_s(&to[0], 8, nullptr, 1), EINVAL);
  EXPECT_EQ(arko_serv_memcpy_s(nullptr, 0, nullptr, 0), 0);
  EXPECT_EQ(to, "########");
  EXPECT_EQ(arko_serv_memcpy_s(&to[0], 3, "abcd", 3), 0);
  EXPECT_EQ(to, "abc#####");
}

// The system lists only what it lets programs use.
TEST(processor, agrees_with_the_system) {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line) && !line.starts_with("flags")) line.clear();
  line += ' ';
  EXPECT_EQ(arko_serv_cpuisicx() == 1, line.find(" avx2 ") != line.npos && line.find(" vaes ") != line.npos);
}

TEST(fork, leaves_the_memory_of_matrix_products_usable) {
  const auto product = [] {
    const std::int32_t n = 4;
    const double one = 1, a[16] = {};
    double c[16] = {};
    arko_blas_dsyrk("u", "n", &n, &n, &one, a, &n, &one, c, &n);
  };
  std::atomic<bool> done = false;
  const auto users = started([&](int) {
    while (!done) product();
  });
  ending end{};
  for (int i = 0; i < 100 && end.signal == 0; ++i)
    end = in_child([&] {
      alarm(20);
      product();
      _exit(0);
    });
  EXPECT_EQ(end.signal, 0);
  done = true;
}

// A library that asks in its destructor: loaded by a program that came with core (this one), where it has
// to ask at its load too, and by one that did not.
TEST(process, a_library_can_tell_unload_from_the_end) {
  for (int variant = 0; variant < 6; ++variant) {
    const bool unload = variant % 2, host = variant >= 2, asks = variant < 4;
    const ending end = in_child([&] {
      if (asks) setenv("ARKO_CORE_PROBE_ASKS", "", 1);
      if (host) execl(ARKO_CORE_HOST, "", ARKO_CORE_PROBE, unload ? "unload" : nullptr, nullptr);
      void* const library = dlopen(ARKO_CORE_PROBE, RTLD_NOW);
      if (unload) dlclose(library), dprintf(STDERR_FILENO, "core stays, ");
      std::atexit([] { dprintf(STDERR_FILENO, "handler, "); });
      arko_serv_exit(78);
    });
    EXPECT_EQ(end.exit_code, host ? 0 : 78);
    const std::string handler = host ? "" : "handler, ";
    EXPECT_EQ(end.text, unload ? "ending 0, core stays, " + handler : handler + "ending 1, ") << variant;
  }
}

}  // namespace

// The sanitizers' allocators end the process when a block cannot be had, unless told to return null.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
