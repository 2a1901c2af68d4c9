// Covariance, correlation and cross products: one matrix of sums of products behind all three.
#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/kernel_guard.h"
#include "stats/computation.h"
#include "vector/calls.h"

using std::int32_t, std::int64_t;

namespace kov {
namespace {

// Rows; beyond it p * p * 8 bytes cannot be told in 64 bits, let alone had.
constexpr int64_t largest_matrix = 1 << 28;

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
  zur::silently([&] { zur::call<zur::fn::InvSqrt, zur::la>(static_cast<int32_t>(n), d, d); });
}

}  // namespace

template <class T> status computation<T>::check_matrices() const {
  for (const matrix_fields& m : matrices)
    if (want.needed.has(m.is) && !(task.*m.storage)) return KOV_SS_ERR_NULL_INTEGER;
  return matrix && p > largest_matrix ? KOV_SS_ERR_NO_MEMORY : KOV_SS_OK;
}

template <class T> T* computation<T>::host() const {
  if (task.indices) return nullptr;
  for (const matrix_fields& m : matrices)
    if (want.asked.has(m.is) && of(*this, m).full()) return field(m.matrix);
  return nullptr;
}

template <class T> void computation<T>::restore_matrix(accumulators<T>& a) const {
  if (before && before->q) {
    std::copy_n(before->q, p * p, a.q);
    return;
  }
  // Of those that were written, where that is known.
  const bool known = before && before->written.any({cp, cov, cor});
  const matrix_fields* from = matrices;
  while (!(known ? before->written : want.asked).has(from->is)) from++;
  const symmetric<T> old = of(*this, *from);
  const double scale = old_weight - old_weight2 / old_weight;
  if (from->is != cp && !given_mean() && scale < 4 * std::numeric_limits<T>::epsilon() * old_weight) {
    std::fill_n(a.q, p * p, T());  // one observation, which is its own mean
    return;
  }
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

// The divisor of covariances may be 0, as it is with one observation, and a variance of a correlation, too.
template <class T> bool computation<T>::can_restore_matrix(const accumulators<T>& a) const {
  if (want.asked.has(cp)) return true;
  const double scale = a.weight - a.weight2 / a.weight;
  bool can = std::isfinite(1 / scale);
  if (!want.asked.has(cov)) for_selected([&](int64_t i) { can &= a.q[i * p + i] > 0; });
  return can;
}

// Where they are, and what is in them if that counts.
template <class T>
void computation<T>::print_matrices(fingerprint& print, slots written, bool contents) const {
  for (const matrix_fields& m : matrices) {
    if (!written.has(m.is)) continue;
    print.add(task.*m.matrix);
    if (!(task.*m.storage)) continue;
    const symmetric<T> values = of(*this, m);
    print.add(task.integer(task.*m.storage) & (KOV_SS_LOWER_PACKED | KOV_SS_UPPER_PACKED));
    for_selected([&](int64_t j) {
      for (int64_t i = 0; contents && i <= j; i++)
        if (task.selected(i)) print.add(values.get(i, j));
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
