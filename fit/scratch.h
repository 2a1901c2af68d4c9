// Work memory that is on the stack where little is needed.
#pragma once
#include "core/block.h"

namespace [[gnu::visibility("hidden")]] fit {

// Room for `count` T, undefined at first: N of them are local, more are allocated. False where that failed.
template <class T, int N> class scratch {
 public:
  explicit scratch(int64_t count)
      : p_(count <= N ? local_ : arko::block<T>(static_cast<std::size_t>(count)).release()) {}
  ~scratch() {
    if (p_ != local_) arko_serv_deallocate(p_);
  }
  scratch(const scratch&) = delete;
  scratch& operator=(const scratch&) = delete;

  explicit operator bool() const { return p_ != nullptr; }
  T* get() const { return p_; }

 private:
  T local_[N];
  T* p_;
};

}  // namespace fit
