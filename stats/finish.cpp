// Results: accumulators, or sums that the caller has, turned into estimates.
#include <arko/stream.h>

#include "core/block.h"
#include "stats/computation.h"

using std::int64_t;

namespace kov {
namespace {

// Kurtosis, skewness and variation of component i, from moments.
template <class T>
void finish_ratios(const computation<T>& c, int64_t i, double mean, double m2, double m3, double m4) {
  if (c.want.asked.has(kurtosis)) c.field(&SSTask::kurtosis)[i] = static_cast<T>(m4 / (m2 * m2) - 3);
  if (c.want.asked.has(skewness)) c.field(&SSTask::skewness)[i] = static_cast<T>(m3 / (m2 * _kovdSqrt(m2)));
  if (c.want.asked.has(variation)) c.field(&SSTask::variation)[i] = static_cast<T>(_kovdSqrt(m2) / mean);
}

// Where the caller has an array for it.
template <class T> void put(T* to, int64_t i, double value) {
  if (to) to[i] = static_cast<T>(value);
}

}  // namespace

// Given mean: Q is to be the sum of w x x' less W m m', with m the given mean, over all blocks. Sums of products of d = x - m
// lie in it, and with s the sum of w d what is missing is s m' + m s': next to nothing where m is the mean. The
// blocks before took their own mean out, m + e.
template <class T> void computation<T>::add_mean_terms(accumulators<T>& a) const {
  const auto* kept = static_cast<const series<T>*>(task.saved_mean);
  const bool has_mean = old_weight > 0 && kept && kept->given_mean && kept->components == p &&
                        kept->written.any({cov, cor, cp});
  const T* m = a.origin;
  double *e = a.mean, *s = a.sums[1];
  for (int64_t i = 0; i < p; i++) {
    e[i] = has_mean ? static_cast<double>(kept->origin[i]) - m[i] : 0;
    s[i] += old_weight * e[i];
  }
  for (int64_t j = 0; j < p; j++)
    for (int64_t i = 0; i <= j; i++)
      a.q[j * p + i] += static_cast<T>(s[i] * m[j] + m[i] * s[j] + old_weight * e[i] * e[j]);
}

template <class T> void computation<T>::finish(accumulators<T>& a) const {
  const double w = a.weight;
  if (T* pair = field(&SSTask::accum_weight))
    pair[0] = static_cast<T>(w), pair[1] = static_cast<T>(a.weight2);
  const double per_weight = w != 0 ? 1 / w : 0;
  const double to_variance = w / (w * w - a.weight2);
  for_selected([&](int64_t i) {
    // Sums of powers from 1 on, raw and about the mean, and the moments of the latter.
    double raw[max_order + 1] = {}, central[max_order + 1] = {}, moment[max_order + 1] = {};
    double m;
    if (given_mean()) {
      m = field(&SSTask::mean) ? field(&SSTask::mean)[i] : 0;
      for (int k = 1; k <= a.raw_order; k++) raw[k] = a.raw[k][i];
      for (int k = 2; k <= a.order; k++) central[k] = a.sums[k][i];
    } else {
      m = a.base[i] + a.mean[i];
      for (int k = 2; k <= a.order; k++) central[k] = a.central[k][i];
      raw[1] = w * m;
      raw[2] = central[2] + w * m * m;
      raw[3] = central[3] + 3 * m * central[2] + w * m * m * m;
      raw[4] = central[4] + 4 * m * central[3] + 6 * (m * m) * central[2] + w * (m * m) * (m * m);
    }
    for (int k = 1; k <= max_order; k++) {
      if (!has_raw[k]) continue;
      put(field(raw_fields[k].sum), i, raw[k]);
      if (k > 1) put(field(raw_fields[k].moment), i, raw[k] * per_weight);
      if (k == 1 && !given_mean()) put(field(raw_fields[k].moment), i, m);
    }
    for (int k = 2; k <= max_order; k++) {
      if (!has_central[k]) continue;
      moment[k] = central[k] * (k == 2 ? to_variance : per_weight);
      put(field(central_fields[k].sum), i, central[k]);
      put(field(central_fields[k].moment), i, moment[k]);
    }
    finish_ratios(*this, i, m, moment[2], moment[3], moment[4]);
  });
  if (!matrix) return;
  finish_matrices(a.q, a.vector, w, a.weight2);
}

template <class T> status computation<T>::from_sums() const {
  double w, w2;
  if (const T* pair = field(&SSTask::accum_weight)) {
    w = pair[0], w2 = pair[1];
  } else if (task.obs_count && !task.weights) {
    if (task.count() <= 0) return KOV_SS_ERR_OBS_COUNT;
    w = w2 = static_cast<double>(task.count());
  } else {
    return KOV_SS_ERR_ACCUM_WEIGHT;
  }
  if (const status s = check_matrices(); s != KOV_SS_OK) return s;
  const symmetric<T> products(field(&SSTask::cp), p, matrix ? task.integer(task.cp_storage) : 0);
  const bool unpacked = !matrix || products.full();
  arko::block<T> room(matrix ? static_cast<std::size_t>(unpacked ? p : p * p + p) : 0);
  if (!room) return KOV_SS_ERR_NO_MEMORY;

  for_selected([&](int64_t i) {
    for (int k = 1; k <= max_order; k++)
      if (want.asked.has(raw_fields[k].moment_slot))
        put(field(raw_fields[k].moment), i, field(raw_fields[k].sum)[i] / w);
    double moment[max_order + 1] = {};
    for (int k = 2; k <= max_order; k++) {
      const order_fields& f = central_fields[k];
      if (!want.needed.has(f.moment_slot)) continue;
      if (const T* sum = field(f.sum))
        put(field(f.moment), i, moment[k] = k == 2 ? sum[i] * (w / (w * w - w2)) : sum[i] / w);
      else
        moment[k] = field(f.moment)[i];
    }
    finish_ratios(*this, i, want.needed.has(kov::mean) ? field(&SSTask::mean)[i] : 0, moment[2], moment[3],
                  moment[4]);
  });
  if (!matrix) return KOV_SS_OK;
  const T* q = field(&SSTask::cp);
  if (!unpacked) {
    T* to = room.get() + p;
    for (int64_t j = 0; j < p; j++)
      for (int64_t i = 0; i <= j; i++) to[j * p + i] = products.get(i, j);
    q = to;
  }
  finish_matrices(q, room.get(), w, w2);
  return KOV_SS_OK;
}

template struct computation<float>;
template struct computation<double>;

}  // namespace kov
