// Sorting by comparison against an adversary.

#include "stats/quicksort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

namespace {

// Decides what the elements are while they are compared, so that a pivot splits off as little as can be (McIlroy 1999, A
// killer adversary for quicksort).
struct adversary {
  std::vector<int> value, place;
  int open, decided = 0, candidate = 0;
  std::int64_t comparisons = 0;

  explicit adversary(int n) : value(static_cast<std::size_t>(n), n), place(value.size()), open(n) {
    std::iota(place.begin(), place.end(), 0);
  }
  int& of(int element) { return value[static_cast<std::size_t>(element)]; }
  bool less(int x, int y) {
    comparisons++;
    if (of(x) == open && of(y) == open) of(x == candidate ? x : y) = decided++;
    if (of(x) == open)
      candidate = x;
    else if (of(y) == open)
      candidate = y;
    return of(x) < of(y);
  }
};
struct element {
  adversary* by;
  int number;
  friend bool operator<(element x, element y) { return x.by->less(x.number, y.number); }
  friend bool operator>(element x, element y) { return y < x; }
};
struct elements {
  adversary* by;
  int& at(std::ptrdiff_t i) const { return by->place[static_cast<std::size_t>(i)]; }
  element key(std::ptrdiff_t i) const { return {by, at(i)}; }
  void swap(std::ptrdiff_t i, std::ptrdiff_t j) const { std::swap(at(i), at(j)); }
};

TEST(quicksort, takes_no_more_than_n_log_n_comparisons) {
  for (const int n : {100, 1000, 30000}) {
    const double bound = 6 * n * std::log2(n);
    adversary sorting(n), selecting(n);
    kov::comparison::sort(elements{&sorting}, n);
    EXPECT_LT(static_cast<double>(sorting.comparisons), bound) << n;
    kov::comparison::select(elements{&selecting}, n, n / 2);
    EXPECT_LT(static_cast<double>(selecting.comparisons), bound) << n;
  }
}

}  // namespace
