// Blocks of deviations and the matrix of their products.
#pragma once
#include "stats/blas.h"
#include "stats/observations.h"

namespace [[gnu::visibility("hidden")]] kov {

// A copy in `to` of the observations less the origin, without gaps: by components if there are few, else in the
// layout that they have.
template <class T> observations<T> deviations(const observations<T>& data, const T* origin, T* to);

// q += sum of w d d' over a block of deviations without gaps. `scaled` has room for the block if there are weights.
template <class T> void add_products(const observations<T>& block, T* scaled, T* q);

}  // namespace kov
