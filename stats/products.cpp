#include "stats/products.h"

#include <algorithm>
#include <cstring>

#include "core/registers.h"

namespace kov {
namespace {

using arko::lanes, arko::load, arko::prefetch;

using std::int64_t;

// Up to so many components the routines of BLAS take longer to arrange the data than to multiply: a covariance of 10
// takes 0.8 of the time with the loop below.
constexpr int64_t few_components = 16;

// For a few components: the observations less the origin, turned into rows, a few of each row at a time.
template <class T> void turn(const observations<T>& data, const T* origin, T* to) {
  const int64_t p = data.components, n = data.count;
  int64_t j = 0;
  for (; j + 4 <= n; j += 4) {
    const T* x = data.x + j * p;
    for (int64_t i = 0; i < p; i++) {
      T* row = to + i * n + j;
      for (int64_t k = 0; k < 4; k++) row[k] = x[k * p + i] - origin[i];
    }
  }
  for (; j < n; j++)
    for (int64_t i = 0; i < p; i++) to[i * n + j] = data.x[j * p + i] - origin[i];
}

// q += sum of y_i d_k over rows of n numbers, for i <= k: two rows of y with four of d at a time, sums in registers. These
// are short, and added to long ones beside them: what rounding takes grows with the length of each. Rows beyond the last
// are the last again, and not stored.
template <class T> void multiply_rows(const T* y, const T* d, int64_t p, int64_t n, int64_t pitch, T* q) {
  using V = lanes<T>;
  constexpr int length = sizeof(V) / sizeof(T), high = 2, wide = 4, short_sum = 64 * length;
  for (int64_t i = 0; i < p; i += high)
    for (int64_t k = i; k < p; k += wide) {
      const T *a[high], *b[wide];
      for (int r = 0; r < high; r++) a[r] = y + std::min(i + r, p - 1) * pitch;
      for (int c = 0; c < wide; c++) b[c] = d + std::min(k + c, p - 1) * pitch;
      V total[high][wide] = {};
      const int64_t whole = n - n % length;
      for (int64_t j = 0, end; j < whole; j = end) {
        end = std::min(j + short_sum, whole);
        V s[high][wide] = {};
        for (; j < end; j += length)
          for (int r = 0; r < high; r++)
            for (int c = 0; c < wide; c++) s[r][c] += load<V>(a[r] + j) * load<V>(b[c] + j);
        for (int r = 0; r < high; r++)
          for (int c = 0; c < wide; c++) total[r][c] += s[r][c];
      }
      for (int r = 0; r < high; r++)
        for (int c = 0; c < wide; c++) {
          if (i + r > k + c || i + r >= p || k + c >= p) continue;
          T sum = 0;
          for (int l = 0; l < length; l++) sum += total[r][c][l];
          for (int64_t rest = whole; rest < n; rest++) sum += a[r][rest] * b[c][rest];
          q[(k + c) * p + i + r] += sum;
        }
    }
}

}  // namespace

template <class T> observations<T> deviations(const observations<T>& data, const T* origin, T* to) {
  observations<T> copy = data;
  copy.x = to;
  const std::int64_t p = data.components, n = data.count;
  if (data.rows()) {
    copy.component_step = n;
    for (std::int64_t i = 0; i < p; i++, to += n) {
      const T *x = data.component(i), c = origin[i];
      constexpr int64_t line = 64 / sizeof(T);
      for (int64_t j = 0; j < n; j += line) prefetch(x, data.component_step + j);  // the next row's part
      for (std::int64_t j = 0; j < n; j++) to[j] = x[j] - c;
    }
  } else if (p <= few_components) {
    turn(data, origin, to);
    copy.component_step = n, copy.observation_step = 1;
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
  const bool few = block.rows() && p <= few_components;
  if (!block.w && few) return multiply_rows(block.x, block.x, p, n, pitch, q);
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
  if (few) return multiply_rows(scaled, block.x, p, n, pitch, q);
  blas::gemm(trans, p, n, scaled, block.x, pitch, q, p);
}

template observations<float> deviations(const observations<float>&, const float*, float*);
template observations<double> deviations(const observations<double>&, const double*, double*);
template void add_products(const observations<float>&, float*, float*);
template void add_products(const observations<double>&, double*, double*);

}  // namespace kov
