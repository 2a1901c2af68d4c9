// Covariance, correlation and cross products: one matrix of sums of products behind all three.
#include <cmath>

#include "frame/kernel_guard.h"
#include "stats/computation.h"
#include "vector/functions.h"

using std::int32_t, std::int64_t;

namespace kov {
namespace {

struct matrix_fields {
  slot is;
  void* SSTask::*matrix;
  const void* SSTask::*storage;
};
// Where sums of products are found without loss comes first.
constexpr matrix_fields matrices[] = {{cp, &SSTask::cp, &SSTask::cp_storage},
                                      {cov, &SSTask::cov, &SSTask::cov_storage},
                                      {cor, &SSTask::cor, &SSTask::cor_storage}};

template <class T> symmetric<T> of(const computation<T>& c, const matrix_fields& m) {
  return {c.field(m.matrix), c.p, c.task.integer(c.task.*m.storage)};
}

// The first level's kernel.
template <class T> void inverse_roots(int64_t n, T* d) {
  zur::silently([&] {
    if constexpr (sizeof(T) == sizeof(double))
      zur::dInvSqrt_table[zur::la](static_cast<int32_t>(n), d, d);
    else
      zur::sInvSqrt_table[zur::la](static_cast<int32_t>(n), d, d);
  });
}

}  // namespace

template <class T> status computation<T>::check_matrices() const {
  for (const matrix_fields& m : matrices)
    if (want.needed.has(m.is) && !(task.*m.storage)) return KOV_SS_ERR_NULL_INTEGER;
  return KOV_SS_OK;
}

template <class T> T* computation<T>::host() const {
  if (task.indices) return nullptr;
  for (const matrix_fields& m : matrices)
    if (want.asked.has(m.is) && of(*this, m).full()) return field(m.matrix);
  return nullptr;
}

template <class T> void computation<T>::restore_matrix(accumulators<T>& a) const {
  const matrix_fields* from = matrices;
  while (!want.asked.has(from->is)) from++;
  const symmetric<T> old = of(*this, *from);
  const double scale = old_weight - old_weight2 / old_weight;
  if (from->is == cor) {    // variances on the diagonal
    double* sums = a.mean;  // not yet in use
    for_selected([&](int64_t i) { sums[i] = old.get(i, i) * scale; });
    for_selected([&](int64_t j) {
      for (int64_t i = 0; i < j; i++)
        if (task.selected(i)) a.q[j * p + i] = static_cast<T>(old.get(i, j) * std::sqrt(sums[i] * sums[j]));
    });
    for_selected([&](int64_t i) { a.q[i * p + i] = static_cast<T>(sums[i]); });
  } else {
    const double factor = from->is == cp ? 1 : scale;
    for_selected([&](int64_t j) {
      for (int64_t i = 0; i <= j; i++)
        if (task.selected(i)) a.q[j * p + i] = static_cast<T>(old.get(i, j) * factor);
    });
  }
}

template <class T>
void computation<T>::finish_matrices(const T* q, T* vector, double weight, double weight2) const {
  const double factor = weight > 0 ? 1 / (weight - weight2 / weight) : 0;
  if (want.asked.has(cor)) {
    for (int64_t i = 0; i < p; i++) vector[i] = task.selected(i) ? q[i * p + i] : T(1);
    inverse_roots(p, vector);
  }
  const T* kept = host();
  const auto write = [&](const matrix_fields& m) {
    const symmetric<T> to = of(*this, m);
    const double scale = m.is == cp ? 1 : factor;
    for_selected([&](int64_t j) {
      const T* column = q + j * p;
      for (int64_t i = 0; i < j; i++)
        if (task.selected(i))
          to.set(i, j,
                 static_cast<T>(m.is == cor ? double(column[i]) * vector[i] * vector[j] : column[i] * scale));
      to.set(j, j, static_cast<T>(column[j] * scale));
    });
  };
  // The one that the sums of products lie in comes last.
  for (const bool last : {false, true})
    for (const matrix_fields& m : matrices)
      if (want.asked.has(m.is) && (field(m.matrix) == kept) == last) write(m);
}

template struct computation<float>;
template struct computation<double>;

}  // namespace kov
