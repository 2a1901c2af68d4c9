// The module's private heap: blocks of it go back one by one or all at once with the heap.
#pragma once
#include <cstddef>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] zur {

class private_heap {
 public:
  static private_heap* create();  // null when it cannot be had
  void* allocate(std::size_t size);
  void release(void* block);
  void destroy();

  // What allocate and release take for a moment; held around fork().
  void lock();
  void unlock();

 private:
  struct alignas(16) link {
    link *previous, *next;
  };
  std::int32_t lock_;
  link blocks_;  // ring through all live blocks
};

}  // namespace zur
