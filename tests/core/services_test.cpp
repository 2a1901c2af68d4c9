// Memory, messages, environment, the checked copy, the processor question, and the end of a process.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "core/testing.h"
#include "tests/support/child.h"

namespace {

using namespace arko::test;

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

TEST(memory, testing_build_counts_and_fails_the_chosen_allocation_only) {
  for (const int k : {1, 2, 5, 0}) {
    const std::int64_t live = arko_core_live_blocks(), count = arko_core_allocations();
    arko_core_fail_allocation(3);
    arko_core_fail_allocation(k);
    void* blocks[6];
    for (int i = 0; i < 6; ++i) {
      blocks[i] = arko_serv_allocate(8, 128);
      EXPECT_EQ(blocks[i] == nullptr, i + 1 == k) << i << " of " << k;
    }
    EXPECT_EQ(arko_core_live_blocks(), live + (k == 0 ? 6 : 5));
    EXPECT_EQ(arko_core_allocations(), count + 6);
    for (void* block : blocks) arko_serv_deallocate(block);
    EXPECT_EQ(arko_core_live_blocks(), live);
  }
}

TEST(messages, one_line_by_code_and_count) {
  std::istringstream texts(
      "|vsExp: wrong argument, number -3|vsExp: an array cannot be accessed|"
      "vsExp: argument outside the function's domain|vsExp: pole of the function|vsExp: overflow|"
      "vsExp: underflow|vsExp: unknown error|argument|result|argument|first result|second result|"
      "first argument|second argument|result|first argument|second argument|first result|second result|||||||"
      "the per-thread record could not be set up||");
  std::string text;
  for (std::int32_t code = 747; std::getline(texts, text, '|'); ++code) {
    std::int32_t status = -1;
    const auto print = [&](auto... arguments) {
      return captured([&] { status = arko_serv_print(1, code, arguments...); });
    };
    const bool element = code >= 755 && code <= 766;
    const std::string number = "arko: message " + std::to_string(code) + "\n";
    const std::string line = element        ? "arko:   element -3: " + text + " = -0.33333333333333331\n"
                             : text.empty() ? number
                                            : "arko: " + text + "\n";
    const int count = code == 748 ? 2 : text.starts_with("vsExp") ? 1 : 0;
    EXPECT_EQ(element ? print(2, -3, -1.0 / 3) : print(count, "vsExp", -3), line);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(print(3), number);  // not the code's count: nothing is read
  }
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

TEST(environment, values_that_fit_are_copied) {
  const char* const name = "ARKO_CORE_TEST_VARIABLE";
  struct {
    const char* value;
    std::int32_t size, result;
  } const rows[] = {{"four", 8, 4},   {"four", 5, 4}, {"four", 4, -1}, {"four", 1, -1}, {"four", 0, -1},
                    {"four", -1, -1}, {"", 8, 0},     {"", 1, 0},      {"", 0, -1},     {nullptr, 8, -1}};
  for (const auto& [value, size, result] : rows) {
    value ? setenv(name, value, 1) : unsetenv(name);
    std::string buffer(8, '#'), expected = buffer;
    if (result >= 0) expected.replace(0, std::size_t(result) + 1, value, std::size_t(result) + 1);
    EXPECT_EQ(arko_serv_getenv(name, buffer.data(), size), result) << size;
    EXPECT_EQ(buffer, expected) << size;
  }
}

TEST(copy, all_or_nothing) {
  std::string to(8, '#');
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
  while (std::getline(file, line) && !line.starts_with("flags")) {
  }
  if (!file) GTEST_SKIP() << "no list of processor flags on this system";
  line += ' ';
  EXPECT_EQ(arko_serv_cpuisicx() == 1, line.find(" avx2 ") != line.npos && line.find(" vaes ") != line.npos);
}

TEST(process, exit_runs_handlers_and_gives_its_code) {
  for (const int code : {0, 3, 77}) {
    const ending end = in_child([&] {
      std::atexit([] { dprintf(STDERR_FILENO, "handler"); });
      dprintf(STDERR_FILENO, "%d ", arko_serv_ending());
      arko_serv_exit(code);
    });
    EXPECT_EQ(end.exit_code, code);
    EXPECT_EQ(end.text, "0 handler");
  }
}

// A library that asks in its destructor: loaded by a program that came with core (this one), where it has
// to ask at its load too, and by one that did not.
TEST(process, a_library_can_tell_unload_from_the_end) {
  for (int variant = 0; variant < 6; ++variant) {
    const bool unload = variant % 2, host = variant >= 2, asks = variant < 4;
    const ending end = in_child([&] {
      if (asks) setenv("ARKO_CORE_PROBE_ASKS", "", 1);
      if (host) execl(ARKO_CORE_HOST, "", ARKO_CORE_PROBE, unload ? "unload" : nullptr, nullptr);
      void* library = host ? nullptr : dlopen(ARKO_CORE_PROBE, RTLD_NOW);
      if (library == nullptr) _exit(1);
      if (unload) dlclose(library), dprintf(STDERR_FILENO, "unloaded, core stays");
    });
    EXPECT_EQ(end.exit_code, 0);
    EXPECT_EQ(end.text, unload ? "ending 0\nunloaded, core stays" : "ending 1\n") << variant;
  }
}

}  // namespace

// The sanitizers' allocators end the process when a block cannot be had, unless told to return null.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
