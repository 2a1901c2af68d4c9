// Quicksort and selection by comparison, in place: median of three, insertion sort of short ranges, the larger side
// put off (Sedgewick 1978, Implementing quicksort programs). Where a range has been split more often than twice its
// logarithm and is not short yet, as happens with inputs made for that, it is sorted by heap (Musser 1997, Introspective
// sorting and selection algorithms).
//
// What is sorted is anything with a key(i) and a swap(i, j).
#pragma once
#include <cstddef>
#include <utility>

#include "stats/sort.h"

namespace [[gnu::visibility("hidden")]] kov { namespace comparison {

using index = std::ptrdiff_t;

constexpr index short_range = 7;

struct range {
  index left, right;  // both belong to it
  int splits;         // that are left before the heap takes over

  static range of(index n) { return {0, n - 1, 2 * bits_in(static_cast<std::size_t>(n))}; }
};

template <class A> void order(const A& a, index i, index j) {
  if (a.key(i) > a.key(j)) a.swap(i, j);
}

struct split {
  index left_end, right_start;  // what lies between is in its place
};

// Nothing up to left_end is greater than what follows, nothing from right_start on is less than what precedes.
template <class A> split partition(const A& a, index l, index r) {
  a.swap((l + r) >> 1, l + 1);
  order(a, l, r), order(a, l + 1, r), order(a, l, l + 1);
  const auto pivot = a.key(l + 1);
  index i = l + 1, j = r;
  for (;;) {
    do i++;
    while (a.key(i) < pivot);
    do j--;
    while (a.key(j) > pivot);
    if (j < i) break;
    a.swap(i, j);
  }
  a.swap(l + 1, j);
  return {j - 1, i};
}

template <class A> void insertion_sort(const A& a, index l, index r) {
  for (index i = l + 1; i <= r; i++)
    for (index j = i; j > l && a.key(j - 1) > a.key(j); j--) a.swap(j - 1, j);
}

template <class A> void heap_sort(const A& a, index l, index r) {
  const auto sift = [&](index node, index n) {
    for (index child; (child = 2 * node + 1) < n; node = child) {
      if (child + 1 < n && a.key(l + child) < a.key(l + child + 1)) child++;
      if (!(a.key(l + node) < a.key(l + child))) return;
      a.swap(l + node, l + child);
    }
  };
  const index n = r - l + 1;
  for (index node = n / 2; node-- > 0;) sift(node, n);
  for (index last = n; --last > 0;) a.swap(l, l + last), sift(0, last);
}

template <class A> void sort(const A& a, index n) {
  range put_off[64];  // at most one for each bit of n, as the smaller side goes first
  int waiting = 0;
  range now = range::of(n);
  for (;;) {
    while (now.right - now.left >= short_range && now.splits-- > 0) {
      const auto [left_end, right_start] = partition(a, now.left, now.right);
      range left = {now.left, left_end, now.splits}, right = {right_start, now.right, now.splits};
      if (right.right - right.left < left.right - left.left) std::swap(left, right);
      now = left;
      put_off[waiting++] = right;
    }
    if (now.right - now.left < short_range)
      insertion_sort(a, now.left, now.right);
    else
      heap_sort(a, now.left, now.right);
    if (waiting == 0) return;
    now = put_off[--waiting];
  }
}

// Returns the key that position k would have after sorting, and puts it there.
template <class A> auto select(const A& a, index n, index k) {
  range now = range::of(n);
  while (now.right > now.left + 1) {
    if (now.splits-- == 0) {
      heap_sort(a, now.left, now.right);
      return a.key(k);
    }
    const auto [left_end, right_start] = partition(a, now.left, now.right);
    if (k <= left_end)
      now.right = left_end;
    else if (k >= right_start)
      now.left = right_start;
    else
      return a.key(k);
  }
  if (now.right == now.left + 1) order(a, now.left, now.right);
  return a.key(k);
}

}  // namespace comparison
}  // namespace kov
