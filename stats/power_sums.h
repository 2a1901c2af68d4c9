// Sums of powers of deviations from a point: what all moments are made of.
#pragma once
#include "stats/observations.h"

namespace [[gnu::visibility("hidden")]] kov {

inline constexpr int max_order = 4;

// sums[k - 1][i] += sum over the observations of w (x_i - origin_i)^k, for k from 1 to order.
//
// Within a tile of the data that the nearest cache holds, sums run in the type of the data, some at a time; the sums of
// tiles are added in double.
template <class T>
void add_power_sums(const observations<T>& data, const T* origin, int order, double* const* sums);

// The sum of the weights and that of their squares.
struct weight_sums {
  double w, w2;
};
template <class T> weight_sums sum_of_weights(const observations<T>& data);

}  // namespace kov
