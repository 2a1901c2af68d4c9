// Memory, messages, environment, the checked copy, the processor question, and the end of a process.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "core/testing.h"

namespace {

TEST(memory, blocks_are_aligned_and_usable) {
  const std::int64_t live = arko_core_live_blocks();
  for (std::size_t alignment = 1; alignment <= 1u << 20; alignment *= 2) {
    for (const std::size_t size : {0, 1, 127, 128, 100000}) {
      void* block = arko_serv_allocate(size, alignment);
      ASSERT_NE(block, nullptr) << size << ' ' << alignment;
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << size << ' ' << alignment;
      std::memset(block, 0xA5, size);
      EXPECT_EQ(arko_core_live_blocks(), live + 1);
      arko_serv_deallocate(block);
    }
  }
  arko_serv_deallocate(nullptr);
  EXPECT_EQ(arko_core_live_blocks(), live);
}

TEST(memory, what_cannot_be_had_is_null) {
  struct {
    std::size_t size, alignment;
  } const rows[] = {{16, 0},
                    {16, 3},
                    {16, 96},
                    {SIZE_MAX, 128},
                    {SIZE_MAX - 127, 128},
                    {std::size_t(PTRDIFF_MAX) - 127, 128},
                    {1, ~(SIZE_MAX / 2)},
                    {PTRDIFF_MAX - 31, ~(SIZE_MAX / 2)},
                    {std::size_t(1) << 60, 128}};
  const std::int64_t live = arko_core_live_blocks();
  for (const auto& [size, alignment] : rows) {
    EXPECT_EQ(arko_serv_allocate(size, alignment), nullptr) << size << ' ' << alignment;
  }
  EXPECT_EQ(arko_core_live_blocks(), live);
}

TEST(memory, testing_build_fails_the_chosen_allocation_only) {
  for (const int k : {0, 1, 2, 5}) {
    const std::int64_t live = arko_core_live_blocks(), count = arko_core_allocations();
    arko_core_fail_allocation(k);
    std::vector<void*> blocks;
    for (int i = 1; i <= 6; ++i) {
      blocks.push_back(arko_serv_allocate(8, 128));
      EXPECT_EQ(blocks.back() == nullptr, i == k) << i << " of " << k;
    }
    EXPECT_EQ(arko_core_live_blocks(), live + (k == 0 ? 6 : 5));
    EXPECT_EQ(arko_core_allocations(), count + 6);
    for (void* block : blocks) arko_serv_deallocate(block);
    EXPECT_EQ(arko_core_live_blocks(), live);
  }
  arko_core_fail_allocation(3);
  arko_core_fail_allocation(0);
  for (int i = 0; i < 5; ++i) {
    void* block = arko_serv_allocate(8, 128);
    EXPECT_NE(block, nullptr);
    arko_serv_deallocate(block);
  }
}

TEST(messages, name_and_words) {
  struct {
    std::int32_t code;
    const char* line;
  } const rows[] = {
      {748, "arko: vsExp: wrong argument, number 3\n"},
      {749, "arko: vsExp: an array cannot be accessed\n"},
      {750, "arko: vsExp: argument outside the function's domain\n"},
      {751, "arko: vsExp: pole of the function\n"},
      {752, "arko: vsExp: overflow\n"},
      {753, "arko: vsExp: underflow\n"},
      {754, "arko: vsExp: unknown error\n"},
      {773, "arko: the per-thread record could not be set up\n"},
      {747, "arko: message 747\n"},
      {767, "arko: message 767\n"},
      {-5, "arko: message -5\n"},
  };
  for (const auto& row : rows) {
    const std::int32_t code = row.code;
    const int count = code == 748 ? 2 : code >= 749 && code <= 754 ? 1 : 0;
    EXPECT_EQ(captured([&] { EXPECT_EQ(arko_serv_print(1, code, count, "vsExp", 3), 0); }), row.line);
    // A count that is not the code's: nothing is read.
    EXPECT_EQ(captured([&] { EXPECT_EQ(arko_serv_print(1, code, 3), 0); }),
              "arko: message " + std::to_string(code) + "\n");
  }
  const std::string name(1000, 'n');
  EXPECT_EQ(captured([&] { arko_serv_print(1, 752, 1, name.c_str()); }),
            "arko: " + name.substr(0, 255) + ": overflow\n");
}

TEST(messages, values_read_back_with_all_bits) {
  const char* const labels[] = {"argument",       "result",          "argument",        "first result",
                                "second result",  "first argument",  "second argument", "result",
                                "first argument", "second argument", "first result",    "second result"};
  using limits = std::numeric_limits<double>;
  for (std::int32_t code = 755; code <= 766; ++code) {
    for (const double value : {0.1, -1.5, 1.0 / 3, limits::max(), limits::denorm_min(), -0.0,
                               limits::infinity(), limits::quiet_NaN()}) {
      const std::int32_t index = code == 760 ? std::numeric_limits<std::int32_t>::min() : code - 750;
      const std::string line = captured([&] { EXPECT_EQ(arko_serv_print(1, code, 2, index, value), 0); });
      const std::string start =
          "arko:   element " + std::to_string(index) + ": " + labels[code - 755] + " = ";
      ASSERT_EQ(line.substr(0, start.size()), start);
      char* end;
      const double back = std::strtod(line.c_str() + start.size(), &end);
      EXPECT_EQ(std::bit_cast<std::int64_t>(back), std::bit_cast<std::int64_t>(value)) << line;
      EXPECT_STREQ(end, "\n");
    }
  }
}

TEST(messages, failure_is_told_and_errno_kept) {
  const int before = dup(STDERR_FILENO), closed = open("/dev/null", O_RDONLY);
  dup2(closed, STDERR_FILENO);
  errno = ERANGE;
  const std::int32_t status = arko_serv_print(1, 752, 1, "vsExp");
  const int after = errno;
  dup2(before, STDERR_FILENO);
  close(before);
  close(closed);
  EXPECT_EQ(status, -1);
  EXPECT_EQ(after, ERANGE);
}

TEST(environment, values_that_fit_are_copied) {
  const char* const name = "ARKO_CORE_TEST_VARIABLE";
  const std::string untouched(8, '#');
  const auto get = [&](std::int32_t size, std::string& buffer) {
    buffer = untouched;
    return arko_serv_getenv(name, buffer.data(), size);
  };
  std::string buffer;
  setenv(name, "four", 1);
  for (const std::int32_t size : {5, 6, 8}) {
    EXPECT_EQ(get(size, buffer), 4);
    EXPECT_EQ(buffer, std::string("four\0", 5) + "###") << size;
  }
  for (const std::int32_t size : {4, 1, 0, -1}) {
    EXPECT_EQ(get(size, buffer), -1) << size;
    EXPECT_EQ(buffer, untouched);
  }
  setenv(name, "", 1);
  EXPECT_EQ(get(8, buffer), 0);
  EXPECT_EQ(buffer[0], '\0');
  unsetenv(name);
  EXPECT_EQ(get(8, buffer), -1);
  EXPECT_EQ(buffer, untouched);
}

TEST(copy, all_or_nothing) {
  const char from[] = "abcdefgh";
  struct {
    std::size_t room, count;
    bool null_to, null_from;
    std::int32_t status;
  } const rows[] = {{8, 8, false, false, 0},      {8, 3, false, false, 0},      {8, 0, true, true, 0},
                    {2, 3, false, false, ERANGE}, {0, 1, false, false, ERANGE}, {8, 1, true, false, EINVAL},
                    {8, 1, false, true, EINVAL}};
  for (const auto& [room, count, null_to, null_from, status] : rows) {
    std::string to(8, '#');
    EXPECT_EQ(arko_serv_memcpy_s(null_to ? nullptr : to.data(), room, null_from ? nullptr : from, count),
              status);
    const std::size_t copied = status == 0 && !null_to ? count : 0;
    EXPECT_EQ(to, std::string(from, copied) + std::string(8 - copied, '#')) << room << ' ' << count;
  }
}

// The system lists only what it lets programs use.
TEST(processor, agrees_with_the_system) {
  std::ifstream file("/proc/cpuinfo");
  std::set<std::string> flags;
  for (std::string word; file >> word && word != "flags";) {
  }
  std::string line;
  std::getline(file, line);
  std::istringstream words(line);
  for (std::string word; words >> word;) flags.insert(word);
  if (flags.size() < 2) GTEST_SKIP() << "no list of processor flags on this system";
  EXPECT_EQ(arko_serv_cpuisicx(), flags.count("avx2") && flags.count("vaes") ? 1 : 0);
}

// Runs `body` in a child process with a pipe's end; what came through the pipe, and the exit status.
struct outcome {
  std::string text;
  int status;
};
outcome in_child(const std::function<void(int)>& body) {
  int ends[2];
  if (pipe(ends) != 0) return {"no pipe", -1};
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    body(ends[1]);
    _exit(99);
  }
  close(ends[1]);
  outcome o{"", 0};
  char buffer[64];
  for (ssize_t n; (n = read(ends[0], buffer, sizeof buffer)) > 0;) o.text.append(buffer, std::size_t(n));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  o.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return o;
}

TEST(process, exit_runs_handlers_and_gives_its_code) {
  for (const int code : {0, 3, 77}) {
    const outcome o = in_child([&](int out) {
      static int to;
      to = out;
      std::atexit([] { dprintf(to, "handler %d", arko_serv_ending()); });
      dprintf(out, "before %d, ", arko_serv_ending());
      arko_serv_exit(code);
    });
    EXPECT_EQ(o.status, code);
    // The handler may run before or after core's own; that it ran is what counts.
    EXPECT_EQ(o.text.substr(0, 18), "before 0, handler ");
  }
}

// A library that asks in its destructor: loaded by a program that came with core (this one), where it has
// to ask at its load too, and by one that did not.
TEST(process, a_library_can_tell_unload_from_the_end) {
  for (const bool unload : {true, false}) {
    const outcome o = in_child([&](int out) {
      setenv("ARKO_CORE_PROBE_ASKS", "", 1);
      void* library = dlopen(ARKO_CORE_PROBE, RTLD_NOW);
      if (library == nullptr) arko_serv_exit(1);
      *static_cast<int*>(dlsym(library, "arko_core_probe_output")) = out;
      if (unload) dlclose(library);
      if (unload) dprintf(out, "unloaded");
      arko_serv_exit(0);
    });
    EXPECT_EQ(o.status, 0);
    EXPECT_EQ(o.text, unload ? "ending 0\nunloaded" : "ending 1\n");

    for (const bool asks : {true, false}) {
      const outcome host = in_child([&](int out) {
        if (asks) setenv("ARKO_CORE_PROBE_ASKS", "", 1);
        dup2(out, STDOUT_FILENO);
        execl(ARKO_CORE_HOST, ARKO_CORE_HOST, ARKO_CORE_PROBE, unload ? "unload" : "exit", nullptr);
      });
      EXPECT_EQ(host.status, 0);
      EXPECT_EQ(host.text, unload ? "ending 0\nunloaded, core stays" : "ending 1\n");
    }
  }
}

}  // namespace

// The sanitizers' allocators end the process when a block cannot be had, unless told to return null.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
