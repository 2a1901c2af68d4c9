// Memory between two inaccessible pages, so that a read or a write just outside an array traps.
#pragma once
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace arko::test {

class guarded {
  unsigned char* map_;
  std::size_t page_, size_;  // of one page; of the accessible part

 public:
  explicit guarded(std::size_t at_least) : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    size_ = (at_least + page_ - 1) / page_ * page_;
    void* map = mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::runtime_error("no memory for guard pages");
    map_ = static_cast<unsigned char*>(map);
    mprotect(begin(), size_, PROT_READ | PROT_WRITE);
  }
  ~guarded() { munmap(map_, size_ + 2 * page_); }
  guarded(const guarded&) = delete;

  unsigned char* begin() { return map_ + page_; }
  unsigned char* end() { return begin() + size_; }

  static constexpr unsigned char untouched = 0xA5;
  void clear() { std::memset(begin(), untouched, size_); }
  // Whether everything outside the bytes from `first` to `last` is as clear() left it.
  bool clear_outside(const unsigned char* first, const unsigned char* last) {
    const auto clear = [](const unsigned char* p, const unsigned char* end) {
      while (p != end && *p == untouched) p++;
      return p == end;
    };
    return clear(begin(), first) && clear(last, end());
  }
};

}  // namespace arko::test
