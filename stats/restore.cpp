// The results of the blocks before, turned back into accumulators.
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

template <class T> void computation<T>::restore(accumulators<T>& a) const {
  const double w = old_weight;
  // Central moments of order 2 are divided by what makes them unbiased, others by the weight.
  const auto to_sum = [&](int k) { return k == 2 ? (w * w - old_weight2) / w : w; };
  if (matrix) restore_matrix(a);
  for (int k = 1; k <= max_order; k++) {
    const old_values<T> raw(*this, raw_fields[k]);
    if (given_mean()) {
      if (has_raw[k] && k <= a.raw_order) for_selected([&](int64_t i) { a.raw[k][i] = raw(i, w); });
      if (k >= 2 && has_central[k]) {
        const old_values<T> central(*this, central_fields[k]);
        for_selected([&](int64_t i) { a.sums[k][i] = central(i, to_sum(k)); });
      }
    } else if (k == 1) {
      // Where not even the mean is kept, that of 0 does: raw sums of any data with the same raw sum go on alike.
      for_selected([&](int64_t i) {
        a.mean[i] = (!has_raw[1] ? 0 : raw.sum ? raw.sum[i] / w : raw.moment[i]) - double(a.base[i]);
      });
    } else if (k <= a.order) {
      const old_values<T> central(*this, central_fields[k]);
      if (has_central[k] && central) {
        for_selected([&](int64_t i) { a.central[k][i] = central(i, to_sum(k)); });
      } else if (has_raw[k]) {
        // From the raw sum of the order.
        for_selected([&](int64_t i) {
          const double m = a.base[i] + a.mean[i], mm = m * m, s = raw(i, w);
          const double m2 = k > 2 ? a.central[2][i] : 0, m3 = k > 3 ? a.central[3][i] : 0;
          a.central[k][i] = k == 2   ? s - w * mm
                            : k == 3 ? s - 3 * m * m2 - w * mm * m
                                     : s - 4 * m * m3 - 6 * mm * m2 - w * mm * mm;
        });
      }
    }
  }
}

template struct computation<float>;
template struct computation<double>;

}  // namespace kov
