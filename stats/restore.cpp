// The results of the blocks before, turned back into accumulators.
#include <algorithm>
#include <cmath>
#include <limits>

#include "stats/computation.h"

namespace kov {
namespace {

using std::int64_t;

// Of a restored order; the sums where the caller keeps them, else the moments.
template <class T> struct old_values {
  const T *sum, *moment;
  old_values(const computation<T>& c, const order_fields& f)
      : sum(c.field(f.sum)), moment(c.field(f.moment)) {}
  explicit operator bool() const { return sum || moment; }
  double operator()(int64_t i, double moment_to_sum) const {
    return sum ? static_cast<double>(sum[i]) : static_cast<double>(moment[i]) * moment_to_sum;
  }
};

}  // namespace

// Where not even the mean is kept, that of 0 does: raw sums of any data with the same raw sum go on alike.
template <class T> double computation<T>::old_mean(int64_t i) const {
  if (before) return double(before->origin[i]) + before->mean[i];
  const old_values<T> raw(*this, raw_fields[1]);
  return !has_raw[1] || !task.selected(i) ? 0 : raw.sum ? raw.sum[i] / old_weight : raw.moment[i];
}

template <class T> void computation<T>::restore(accumulators<T>& a) const {
  const double w = old_weight;
  // Central moments of order 2 are divided by what makes them unbiased, others by the weight.
  const auto to_sum = [&](int k) { return k == 2 ? (w * w - old_weight2) / w : w; };
  if (matrix) restore_matrix(a);
  if (given_mean()) {
    for (int k = 1; k <= max_order; k++) {
      const old_values<T> raw(*this, raw_fields[k]);
      if (before && k <= before->raw_order)
        std::copy_n(before->raw[k], p, a.raw[k]);
      else if (has_raw[k])
        for_selected([&](int64_t i) { a.raw[k][i] = raw(i, w); });
      if (k == 1) continue;
      const old_values<T> central(*this, central_fields[k]);
      if (before && k <= before->order)
        std::copy_n(before->sums[k], p, a.sums[k]);
      else if (has_central[k])
        for_selected([&](int64_t i) { a.sums[k][i] = central(i, to_sum(k)); });
    }
    return;
  }
  for (int64_t i = 0; i < p; i++)
    a.mean[i] = before ? (double(before->origin[i]) - double(a.base[i])) + before->mean[i]
                       : old_mean(i) - double(a.base[i]);
  for (int k = 2; k <= a.order; k++) {
    if (before && k <= before->order) {
      std::copy_n(before->sums[k], p, a.central[k]);
      continue;
    }
    const old_values<T> raw(*this, raw_fields[k]), central(*this, central_fields[k]);
    const bool has_sum = has_central[k] && central;
    if (!has_sum && !has_raw[k]) continue;
    for_selected([&](int64_t i) {
      const double given = has_sum ? central(i, to_sum(k)) : 0;
      if (!has_raw[k]) {
        a.central[k][i] = given;
        return;
      }
      // Raw moments say the same with fewer digits. Where central ones differ by more, they were never computed, or
      // cannot be turned back.
      const double m = a.base[i] + a.mean[i], mm = m * m, s = raw(i, w);
      const double m2 = k > 2 ? a.central[2][i] : 0, m3 = k > 3 ? a.central[3][i] : 0;
      const double lower = k == 2   ? w * mm
                           : k == 3 ? 3 * m * m2 + w * mm * m
                                    : 4 * m * m3 + 6 * mm * m2 + w * mm * mm;
      const double size =
          std::fabs(s) + (k == 2   ? w * mm
                          : k == 3 ? std::fabs(m) * (3 * std::fabs(m2) + w * mm)
                                   : 4 * std::fabs(m * m3) + mm * (6 * std::fabs(m2) + w * mm));
      const bool agree = std::fabs(given - (s - lower)) <= 64 * std::numeric_limits<T>::epsilon() * size;
      a.central[k][i] = has_sum && (agree || !std::isfinite(s)) ? given : s - lower;
    });
  }
}

template struct computation<float>;
template struct computation<double>;

}  // namespace kov
