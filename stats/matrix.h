// Symmetric matrices of the caller: full, or one triangle packed.
#pragma once
#include <arko/stats.h>

#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

template <class T> class symmetric {
  T* a_;
  std::int64_t p_;
  std::int64_t form_;

  T& upper(std::int64_t i, std::int64_t j) const { return a_[i * p_ - i * (i - 1) / 2 + (j - i)]; }
  T& lower(std::int64_t i, std::int64_t j) const { return a_[j * (j + 1) / 2 + i]; }

 public:
  symmetric(T* a, std::int64_t p, std::int64_t storage)
      : a_(a), p_(p), form_(storage & (KOV_SS_LOWER_PACKED | KOV_SS_UPPER_PACKED)) {}

  bool full() const { return form_ == KOV_SS_FULL; }

  // Element (i, j) with i <= j.
  T get(std::int64_t i, std::int64_t j) const {
    return full() ? a_[j * p_ + i] : form_ & KOV_SS_UPPER_PACKED ? upper(i, j) : lower(i, j);
  }
  void set(std::int64_t i, std::int64_t j, T value) const {
    if (full())
      a_[i * p_ + j] = a_[j * p_ + i] = value;
    else
      (form_ & KOV_SS_UPPER_PACKED ? upper(i, j) : lower(i, j)) = value;
  }
};

}  // namespace kov
