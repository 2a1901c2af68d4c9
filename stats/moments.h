// The accumulators of moments and of a matrix of products, and the three walks over observations that fill them.
//
// Fast and one pass keep the mean and the central sums M_k, of w (x - mean)^k. They say as much as raw sums do and lose
// nothing to a mean that is large beside the deviations; raw moments are made from them at the end. Given mean keeps
// plain sums: of w (x - m)^k with m the given mean, and of w x^k where raw moments are wanted.
//
// All but the matrix is in double in both precisions.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "stats/observations.h"
#include "stats/power_sums.h"

namespace [[gnu::visibility("hidden")]] kov {

template <class T> struct accumulators {
  std::int64_t components;
  int order;      // of the central sums kept, 1 for the mean alone; given mean: of the sums about it, from 0
  int raw_order;  // given mean: of the raw sums, 0 for none

  double weight, weight2;  // sum of weights, sum of their squares
  double base_weight;      // of what the base was taken from; where something weighs more it becomes the base
  // A point near the data, and the mean as its distance from there: so it keeps digits that the mean itself has not.
  T* base;                         // p numbers, as all that follow
  double* mean;                    // given mean: not used
  double* central[max_order + 1];  // from index 2
  double* sums[max_order + 1];     // from index 1; about the origin, of one block; given mean: of all
  double* raw[max_order + 1];      // from index 1; given mean only
  T* origin;                       // what a block's deviations are taken from; given mean: that

  // The upper triangle, by columns, of the matrix of weighted sums of products of deviations; null: none is wanted.
  // Beside it a vector and room for a block of deviations and, with weights, for its scaled copy.
  T *q, *vector, *block, *scaled;
};

// How many observations make a block that stays in the second cache, with the copies that a matrix needs.
template <class T> std::int64_t block_size(const observations<T>& data, bool matrix) {
  constexpr std::int64_t cache = 0x40000 / sizeof(T), least = 64;
  const std::int64_t p = data.components, fitting = cache / p;
  // Contiguous components are better read in long pieces.
  if (!matrix) return std::max<std::int64_t>(fitting, data.rows() ? 4096 : least);
  // Between blocks the whole matrix is changed: with as many observations as components products are worth that.
  return std::max({fitting / (data.w ? 3 : 2), p, least});
}
// The reals that each copy needs; one pass takes components in pairs.
template <class T> std::int64_t block_room(const observations<T>& data) {
  const std::int64_t p = data.components;
  return std::min(block_size(data, true), data.count) * (p + p % 2);
}

// From an infinity there are no deviations. About 0 the sums give the mean what it would have in any order.
template <class T> T finite(T x) { return x - x == 0 ? x : T(); }

// A mean of some observations about the one that weighs most, for a base, and that one's weight; 0 where none weighs
// anything.
template <class T> double find_base(const observations<T>& data, T* base, double* work);

// The same mean, counted from another base.
template <class T> void change_base(accumulators<T>& a, const T* base, double weight);

template <class T> void walk_fast(accumulators<T>& a, const observations<T>& data);
template <class T> void walk_one_pass(accumulators<T>& a, const observations<T>& data);
template <class T> void walk_given_mean(accumulators<T>& a, const observations<T>& data);

// What walks over two disjoint parts of the data have found, put together in `a`.
template <class T> void merge(accumulators<T>& a, const accumulators<T>& b);
template <class T> void merge_given_mean(accumulators<T>& a, const accumulators<T>& b);

}  // namespace kov
