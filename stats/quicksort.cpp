// The sorters by comparison: plain, strided and paired elements.
#include "stats/quicksort.h"

#include <arko/stats.h>

#include <cstddef>
#include <utility>

#include "stats/sort.h"
#include "stats/task.h"

namespace kov {
namespace {

using index = std::ptrdiff_t;

template <class T> struct array {
  T* x;
  T key(index i) const { return x[i]; }
  void swap(index i, index j) const { std::swap(x[i], x[j]); }
};
template <class T> struct strided {
  T* x;
  index stride;
  T key(index i) const { return x[i * stride]; }
  void swap(index i, index j) const { std::swap(x[i * stride], x[j * stride]); }
};
template <class T> struct pairs {
  T *keys, *payload;
  T key(index i) const { return keys[i]; }
  void swap(index i, index j) const { std::swap(keys[i], keys[j]), std::swap(payload[i], payload[j]); }
};

}  // namespace

template <class T> void sort_pairs(std::ptrdiff_t n, T* keys, T* payload) {
  comparison::sort(pairs<T>{keys, payload}, n);
}
template void sort_pairs(std::ptrdiff_t, double*, double*);
template void sort_pairs(std::ptrdiff_t, float*, float*);

}  // namespace kov

using namespace kov;

#define SORTERS(p, T)                                                                         \
  KOV_EXPORT void __kov##p##QSort(std::int32_t n, T* x) { comparison::sort(array<T>{x}, n); } \
  KOV_EXPORT void __kov##p##QSortStep(std::int32_t n, T* x, std::int32_t stride) {            \
    comparison::sort(strided<T>{x, stride}, n);                                               \
  }                                                                                           \
  KOV_EXPORT T __kov##p##QSortSelect(std::int32_t n, T* x, std::int32_t k) {                  \
    return comparison::select(array<T>{x}, n, k);                                             \
  }
SORTERS(d, double)
SORTERS(s, float)
