// Observations where the caller keeps them, or a range of them.
#pragma once
#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

template <class T> struct observations {
  const T* x;
  const T* w;  // null: all weights are 1
  std::int64_t components, count;
  std::int64_t component_step, observation_step;  // one of the two is 1

  bool rows() const { return observation_step == 1; }  // the observations of a component are contiguous
  const T* component(std::int64_t i) const { return x + i * component_step; }

  observations range(std::int64_t first, std::int64_t n) const {
    observations part = *this;
    part.x += first * observation_step;
    if (w) part.w += first;
    part.count = n;
    return part;
  }
};

}  // namespace kov
