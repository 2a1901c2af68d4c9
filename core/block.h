// An owned block of core's memory, for the libraries that stand on core.
#pragma once
#include <arko/core.h>

#include <cstddef>
#include <cstdint>

namespace [[gnu::visibility("hidden")]] arko {

// Room for some T, undefined at first; given back at the end of the scope unless it was released. False where it
// could not be had, also where so many T have no size.
template <class T> class block {
 public:
  explicit block(std::size_t count = 1)
      : p_(count > PTRDIFF_MAX / sizeof(T) ? nullptr
                                           : static_cast<T*>(arko_serv_allocate(count * sizeof(T), 128))) {}
  ~block() { arko_serv_deallocate(p_); }
  block(const block&) = delete;
  block& operator=(const block&) = delete;

  explicit operator bool() const { return p_ != nullptr; }
  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator[](std::size_t i) const { return p_[i]; }
  void swap(block& other) {
    T* p = p_;
    p_ = other.p_;
    other.p_ = p;
  }
  T* release() {
    T* p = p_;
    p_ = nullptr;
    return p;
  }

 private:
  T* p_;
};

}  // namespace arko
