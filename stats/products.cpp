#include "stats/products.h"

#include <algorithm>
#include <cstring>

namespace kov {

template <class T> observations<T> deviations(const observations<T>& data, const T* origin, T* to) {
  observations<T> copy = data;
  copy.x = to;
  const std::int64_t p = data.components, n = data.count;
  if (data.rows()) {
    copy.component_step = n;
    for (std::int64_t i = 0; i < p; i++, to += n) {
      const T *x = data.component(i), c = origin[i];
      for (std::int64_t j = 0; j < n; j++) to[j] = x[j] - c;
    }
  } else {
    // A short row would not be worth its loop: origins side by side make one of several.
    constexpr std::int64_t room = 128;
    T several[room];
    const std::int64_t r = std::min(std::max<std::int64_t>(room / p, 1), n);
    if (r > 1) {
      for (std::int64_t k = 0; k < r; k++)
        std::memcpy(several + k * p, origin, static_cast<std::size_t>(p) * sizeof(T));
      origin = several;
    }
    const T* x = data.x;
    for (std::int64_t j = 0; j < n; j += r) {
      const std::int64_t length = std::min(r, n - j) * p;
      for (std::int64_t i = 0; i < length; i++) to[i] = x[i] - origin[i];
      x += length, to += length;
    }
  }
  return copy;
}

template <class T> void add_products(const observations<T>& block, T* scaled, T* q) {
  const auto p = static_cast<std::int32_t>(block.components), n = static_cast<std::int32_t>(block.count);
  const char trans = block.rows() ? 't' : 'n';
  const auto pitch = static_cast<std::int32_t>(block.rows() ? block.component_step : block.observation_step);
  if (!block.w) return blas::syrk(trans, p, n, block.x, pitch, q, p);
  const std::int64_t lines = block.rows() ? p : n, length = block.rows() ? n : p;
  for (std::int64_t l = 0; l < lines; l++) {
    const T* from = block.x + l * pitch;
    T* to = scaled + l * pitch;
    if (block.rows())
      for (std::int64_t j = 0; j < length; j++) to[j] = from[j] * block.w[j];
    else
      for (std::int64_t i = 0; i < length; i++) to[i] = from[i] * block.w[l];
  }
  blas::gemm(trans, p, n, scaled, block.x, pitch, q, p);
}

template observations<float> deviations(const observations<float>&, const float*, float*);
template observations<double> deviations(const observations<double>&, const double*, double*);
template void add_products(const observations<float>&, float*, float*);
template void add_products(const observations<double>&, double*, double*);

}  // namespace kov
