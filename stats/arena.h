// Several arrays in one block of memory: laid out once to learn the size, and again when the memory is there.
#pragma once
#include <cstddef>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

class arena {
  std::uintptr_t base_;
  std::size_t used_ = 0;
  bool too_large_ = false;

 public:
  explicit arena(void* base = nullptr) : base_(reinterpret_cast<std::uintptr_t>(base)) {}

  // Each array has cache lines of its own.
  template <class U> U* take(std::int64_t count) {
    constexpr std::size_t line = 128;
    const std::size_t at = used_;
    std::size_t bytes;
    too_large_ |= __builtin_mul_overflow(count, sizeof(U), &bytes) ||
                  __builtin_add_overflow(used_, bytes, &used_) ||
                  __builtin_add_overflow(used_, line - 1, &used_);
    used_ &= ~(line - 1);
    return base_ ? reinterpret_cast<U*>(base_ + at) : nullptr;
  }
  // SIZE_MAX where it cannot be had.
  std::size_t size() const { return too_large_ ? SIZE_MAX : used_; }
};

}  // namespace kov
