// The values of one component, which components are wanted, and the memory for work on them.
#pragma once
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "core/block.h"
#include "stats/task.h"

namespace [[gnu::visibility("hidden")]] kov {

// n values at equal distances.
template <class T> struct values {
  T* first;
  std::ptrdiff_t stride;
  std::size_t n;

  T& operator[](std::size_t i) const { return first[static_cast<std::ptrdiff_t>(i) * stride]; }
  bool contiguous() const { return stride == 1; }
  operator values<const T>() const { return {first, stride, n}; }
};

template <class T> void copy(values<const T> from, values<T> to) {
  if (from.contiguous() && to.contiguous())
    std::copy_n(from.first, from.n, to.first);
  else
    for (std::size_t i = 0; i < from.n; i++) to[i] = from[i];
}

// A p by n matrix in one of the two layouts of observations.
template <class T> struct matrix {
  T* first;
  bool rows;  // of components
  std::int64_t p, n;

  matrix(const void* field, std::int64_t storage, std::int64_t p, std::int64_t n)
      : first(static_cast<T*>(const_cast<void*>(field))),
        rows(storage & KOV_SS_COMPONENTS || p == 1),
        p(p),
        n(n) {}

  values<T> operator[](std::int64_t component) const {
    return {first + component * (rows ? n : 1), static_cast<std::ptrdiff_t>(rows ? 1 : p),
            static_cast<std::size_t>(n)};
  }
};

// The numbers of the components that take part. False where there was no memory.
class selection {
 public:
  explicit selection(const SSTask& task) : numbers_(static_cast<std::size_t>(task.dimension())) {
    for (std::int64_t c = 0, p = task.dimension(); numbers_ && c < p; c++)
      if (task.selected(c)) numbers_[static_cast<std::size_t>(count_++)] = static_cast<std::int32_t>(c);
  }
  explicit operator bool() const { return static_cast<bool>(numbers_); }
  std::int32_t count() const { return count_; }
  std::int32_t operator[](std::int32_t position) const {
    return numbers_[static_cast<std::size_t>(position)];
  }

 private:
  arko::block<std::int32_t> numbers_;
  std::int32_t count_ = 0;
};

// Asks the system for large pages under a large block: passes that write to hundreds of places at a time miss fewer
// translations, and first touches cost a fifth. A sort of 10^7 doubles takes three quarters of the time.
inline void prefer_large_pages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t page = std::uintptr_t{1} << 21;
  const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(block) + page - 1) & ~(page - 1),
                       end = (reinterpret_cast<std::uintptr_t>(block) + bytes) & ~(page - 1);
  const int before = errno;  // advice may be refused
  if (bytes >= 2 * page) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
  errno = before;
#endif
}

// Room for `count` reals for each thread. False where there was no memory.
template <class T> class workspace {
 public:
  workspace(std::int32_t threads, std::size_t count) : count_(count), block_(total(threads, count)) {
    if (block_) prefer_large_pages(block_.get(), total(threads, count) * sizeof(T));
  }
  explicit operator bool() const { return static_cast<bool>(block_); }
  T* of(std::int32_t thread) const { return block_.get() + static_cast<std::size_t>(thread) * count_; }

 private:
  static std::size_t total(std::int32_t threads, std::size_t count) {
    std::size_t product;
    return __builtin_mul_overflow(static_cast<std::size_t>(threads), count, &product) ? PTRDIFF_MAX : product;
  }
  std::size_t count_;
  arko::block<T> block_;
};

// Bytes of work memory: for quantiles that of all threads together, for a sort times the threads that there are.
inline constexpr std::int64_t work_limit = std::int64_t{1} << 30;

}  // namespace kov
