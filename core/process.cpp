// The process: its environment, its end, its processor; and the checked copy.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include "arko/core.h"
#include "core/fork.h"

extern "C" int32_t arko_serv_getenv(const char* name, char* buffer, int32_t size) {
  const char* value = std::getenv(name);
  if (value == nullptr || size <= 0) return -1;
  const size_t length = std::strlen(value);
  if (length >= static_cast<size_t>(size)) return -1;
  std::memcpy(buffer, value, length + 1);
  return static_cast<int32_t>(length);
}

extern "C" void arko_serv_exit(int32_t code) { std::exit(code); }

extern "C" int32_t arko_serv_memcpy_s(void* to, size_t to_size, const void* from, size_t count) {
  if (count == 0) return 0;
  if (to == nullptr || from == nullptr) return EINVAL;
  if (count > to_size) return ERANGE;
  std::memcpy(to, from, count);
  return 0;
}

#if defined(__x86_64__) || defined(__i386__)
extern "C" int32_t arko_serv_cpuisicx(void) {
  constexpr unsigned osxsave = 1u << 27, avx = 1u << 28;  // leaf 1, ecx
  constexpr unsigned avx2 = 1u << 5;                      // leaf 7, ebx
  constexpr unsigned vaes = 1u << 9;                      // leaf 7, ecx
  constexpr unsigned saved_registers = 6;                 // the system saves xmm and ymm
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d) || (c & osxsave) == 0 || (c & avx) == 0) return 0;
  unsigned low, high;
  asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  if ((low & saved_registers) != saved_registers) return 0;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & avx2) != 0 && (c & vaes) != 0;
}
#else
extern "C" int32_t arko_serv_cpuisicx(void) { return 0; }
#endif

namespace {

std::atomic<bool> ending{false};

void note_ending() { ending.store(true, std::memory_order_relaxed); }

// Exit handlers run in reverse order of registration, and the destructors of the libraries are one of
// them, registered just before the program's own code starts. So if this library came with the program,
// the handler of its constructor is too early to run before those destructors. Nobody tells when the
// program's own code has started, so the first few calls of arko_serv_ending register it again.
__attribute__((constructor)) void watch_for_ending() {
  const arko::core::fork_guard guard;  // the C library's list of handlers has a lock
  std::atexit(note_ending);
}

constexpr int most_watches = 16;
std::atomic<int> watches{0};

}  // namespace

extern "C" int32_t arko_serv_ending(void) {
  if (watches.load(std::memory_order_relaxed) < most_watches) {
    watches.fetch_add(1, std::memory_order_relaxed);
    watch_for_ending();
  }
  return ending.load(std::memory_order_relaxed);
}
