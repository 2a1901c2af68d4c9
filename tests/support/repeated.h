// Arrays of up to 2^31 - 1 elements and more, in little memory: the same 64 MiB again and again over one range of
// addresses, with an inaccessible page on either side.
#pragma once
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>

namespace arko::test {

class repeated {
 public:
  static constexpr std::size_t period = std::size_t{1} << 26;  // bytes

  explicit repeated(std::size_t at_least) : size_((at_least + period - 1) / period * period) {
    map_ = static_cast<unsigned char*>(
        mmap(nullptr, size_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (map_ == MAP_FAILED) throw std::runtime_error("no addresses for a repeated array");
    const int memory = memfd_create("repeated", MFD_CLOEXEC);
    bool have = memory >= 0 && ftruncate(memory, period) == 0;
    for (std::size_t at = 0; have && at < size_; at += period)
      have =
          mmap(begin() + at, period, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory, 0) != MAP_FAILED;
    if (memory >= 0) close(memory);
    if (!have) {
      munmap(map_, size_ + 2 * page);
      throw std::runtime_error("no memory for a repeated array");
    }
  }
  ~repeated() { munmap(map_, size_ + 2 * page); }
  repeated(const repeated&) = delete;

  unsigned char* begin() { return map_ + page; }
  unsigned char* end() { return begin() + size_; }
  // n elements that end where the accessible bytes do.
  template <class T> T* last(std::size_t n) { return reinterpret_cast<T*>(end()) - n; }

 private:
  static constexpr std::size_t page = 4096;
  unsigned char* map_;
  std::size_t size_;
};

}  // namespace arko::test
