// Sorters, sorted observations, quantiles and absolute deviations against std::sort by the order of bits and definitions in
// long double.

#include "tests/stats/order.h"

namespace {

using namespace arko::test;
using real = long double;

// Around the sizes at which sorting and selecting change their ways.
constexpr int sizes[] = {1, 2, 3, 7, 8, 9, 24, 25, 26, 32, 33, 34, 500, 32768, 32769};

template <class T> class order : public testing::Test {};
TYPED_TEST_SUITE(order, precisions);

// Whether q is the quantile of sorted numbers: its place t is rounded to double, and that error is a part of the step.
template <class T> bool is_quantile(T q, const std::vector<T>& ascending, T order) {
  const real t = static_cast<real>(order) * (ascending.size() - 1);
  const auto j = static_cast<std::size_t>(t);
  const real f = t - j, a = ascending[j], b = ascending[std::min(j + 1, ascending.size() - 1)];
  if (f == 0) return q == a || (q != q && a != a);
  if (!std::isfinite(a) || !std::isfinite(b)) return true;  // anything
  return std::fabs(q - (a * (1 - f) + b * f)) <=
         std::numeric_limits<T>::epsilon() * std::max(std::fabs(a), std::fabs(b)) +
             0x1p-52L * t * std::fabs(b - a) + std::numeric_limits<T>::denorm_min();
}

// Two of three components in every layout, on any number of threads; what is not selected leaves its place.
TYPED_TEST(order, is_that_of_sorted_components) {
  using T = TypeParam;
  int round = 0;
  for (const char* kind : kinds)
    for (const int n : sizes)
      for (const int32_t from : layouts) {
        const int32_t to = layouts[++round % 2];
        thread_services::threads = 1 + round % 7;
        const std::vector<std::vector<T>> x = {input<T>(kind, n, 5), input<T>(kind, n, 6),
                                               input<T>(kind, n, 7)};
        const std::vector<T> blank(3 * std::size_t(n), -1),
            expected[] = {sorted_by_bits(x[0]), sorted_by_bits(x[2])},
            rows = laid_out<T>({expected[0], expected[1], {blank.begin(), blank.begin() + n}}, to);
        std::vector<T> orders = {0, T(0.1), T(0.25), T(0.5), T(0.75), T(0.999), 1};
        for (int i = n; i-- > 0 && orders.size() < 16;) orders.push_back(T(double(i) / std::max(n - 1, 1)));
        task<T> t(3, n, from, laid_out(x, from));
        t.integer("indices", {1, 0, 7}).integer("sorted_storage", {to}).integer("order_stats_storage", {to});
        t.real("sorted", blank).real("order_stats", blank);
        ASSERT_EQ(t.call("sort", 0, KOV_SS_RADIX), 0);
        ASSERT_TRUE(same_bits(t["sorted"], rows)) << kind << ' ' << n << ' ' << from << ' ' << to;
        std::map<std::pair<std::size_t, std::size_t>, T> found;  // by component and order
        // By selection, beside order statistics, and by sorting for many orders, the same quantiles.
        for (const uint64_t estimates :
             {KOV_SS_EST_QUANTS, KOV_SS_EST_QUANTS | KOV_SS_EST_ORDER_STATS, KOV_SS_EST_QUANTS}) {
          const std::size_t m = orders.size();
          t.integer("quant_count", {int32_t(m)})
              .real("quant_orders", orders)
              .real("quants", std::vector<T>(3 * m, -1));
          ASSERT_EQ(t.call("quantiles", estimates, KOV_SS_FAST), 0);
          for (std::size_t i = 0; i < 2 * m; i++) {
            const T q = t["quants"][i], order = orders[i % m];
            ASSERT_TRUE(is_quantile(q, expected[i / m], order))
                << kind << ' ' << n << ' ' << order << ' ' << q;
            const T same = found.try_emplace({i / m, i % m}, q).first->second;
            ASSERT_EQ(std::memcmp(&q, &same, sizeof q), 0) << kind << ' ' << n << ' ' << order;
          }
          ASSERT_EQ(t["quants"][2 * m], -1);
          if (estimates != KOV_SS_EST_QUANTS) {
            ASSERT_TRUE(same_bits(t["order_stats"], rows)) << kind << ' ' << n;
            orders.resize(17, T(0.3));
          }
        }
        t.integer("quant_count", {0}).real("quants", {-1});
        ASSERT_EQ(t.call("quantiles", KOV_SS_EST_QUANTS, KOV_SS_FAST), 0);
        ASSERT_EQ(t["quants"][0], -1);
      }
}

TYPED_TEST(order, may_replace_the_observations) {
  using T = TypeParam;
  const std::vector<T> x = input<T>("special", 1000, 1), y = input<T>("special", 1000, 2);
  for (const int32_t layout : layouts) {
    task<T> t(2, 1000, layout, laid_out<T>({x, y}, layout));
    t.at("sorted", t["obs"].data()).integer("sorted_storage", {layout});
    ASSERT_EQ(t.call("sort", 0, KOV_SS_RADIX), 0);
    EXPECT_TRUE(same_bits(t["obs"], laid_out<T>({sorted_by_bits(x), sorted_by_bits(y)}, layout)));
  }
}

// Medians and means of |x - c|.
TYPED_TEST(order, gives_absolute_deviations) {
  using T = TypeParam;
  const auto median_of = [](std::vector<T> x) {
    std::sort(x.begin(), x.end());
    return (real(x[(x.size() - 1) / 2]) + x[x.size() / 2]) / 2;
  };
  for (const int n : {1, 2, 1000, 1001})
    for (const int32_t layout : layouts)
      for (const bool weighted : {false, true}) {
        thread_services::threads = n % 3 + 1;
        const std::vector<std::vector<T>> x = {input<T>("offset", n, 1), input<T>("offset", n, 2),
                                               input<T>("offset", n, 3)};
        std::vector<T> w = input<T>("random", n), given = {T(1e6), T(1e6 + 1), T(1e6 - 1)};
        for (T& v : w) v = weighted ? std::fabs(v) : 1;
        task<T> t(3, n, layout, laid_out(x, layout));
        t.integer("indices", {1, 0, 1}).real("mean", given);
        if (weighted) t.real("weights", w);
        t.real("median_abs_dev", {-1, -1, -1}).real("mean_abs_dev", {-1, -1, -1});
        ASSERT_EQ(t.call("mad", KOV_SS_EST_MEDIAN_ABS_DEV | KOV_SS_EST_MEAN_ABS_DEV, KOV_SS_FAST), 0);
        const std::vector<T> own = t["mean_abs_dev"];
        ASSERT_EQ(t.call("mad", KOV_SS_EST_MEAN_ABS_DEV, KOV_SS_GIVEN_MEAN), 0);
        for (std::size_t c = 0; c < 3; c++) {
          std::vector<T> from_median;
          real total = 0, mean = 0, from_mean = 0, from_given = 0;
          for (std::size_t i = 0; i < w.size(); i++) total += w[i], mean += real(w[i]) * x[c][i];
          for (std::size_t i = 0; i < w.size(); i++) {
            from_median.push_back(std::fabs(x[c][i] - T(median_of(x[c]))));
            from_mean += w[i] * std::fabs(x[c][i] - mean / total) / total;
            from_given += w[i] * std::fabs(x[c][i] - given[c]) / total;
          }
          const double rounding = std::numeric_limits<T>::epsilon() * 1e6 * 2;
          EXPECT_NEAR(t["median_abs_dev"][c], c == 1 ? -1 : double(median_of(from_median)), rounding) << n;
          EXPECT_NEAR(own[c], c == 1 ? -1 : double(from_mean), rounding) << n;
          EXPECT_NEAR(t["mean_abs_dev"][c], c == 1 ? -1 : double(from_given), rounding) << n;
        }
      }
}

// Every component counts, selected or not.
TYPED_TEST(order, gives_weighted_quantiles) {
  using T = TypeParam;
  for (const auto& row : table_of("tests/stats/data/weighted_quantiles.csv"))
    for (const int32_t layout : layouts) {
      const std::vector<T> x = numbers_of<T>(row[0]);
      std::vector<T> far = x;
      for (T& v : far) v += 100;
      task<T> t(2, int32_t(x.size()), layout, laid_out<T>({x, far}, layout));
      t.integer("indices", {0, 1})
          .real("weights", numbers_of<T>(row[1]))
          .real("quant_orders", numbers_of<T>(row[2]));
      t.real("quants", {0, 0});
      ASSERT_EQ(t.call("wmedian", 0, 0), 0);
      EXPECT_NEAR(t["quants"][0], std::stod(row[3]), 1e-5) << row[4];
      EXPECT_NEAR(t["quants"][1], std::stod(row[3]) + 100, 1e-4) << row[4];
    }
}

TYPED_TEST(order, is_made_by_comparisons) {
  using T = TypeParam;
  for (const char* kind : kinds)
    for (const int n : sizes) {
      if (n > 1000 || kind == std::string("special")) continue;
      const std::vector<T> x = input<T>(kind, n, 8);
      std::vector<T> expected = x, apart(3 * x.size(), -1), array = x;
      std::sort(expected.begin(), expected.end());
      entries<T>::quicksort(n, array.data());
      ASSERT_EQ(array, expected) << kind << ' ' << n;
      for (std::size_t i = 0; i < x.size(); i++) apart[3 * i] = x[i];
      entries<T>::quicksort_step(n, apart.data(), 3);
      for (std::size_t i = 0; i < apart.size(); i++)
        ASSERT_EQ(apart[i], i % 3 ? -1 : expected[i / 3]) << kind << n;
      for (const int k : {0, n / 3, n / 2, n - 1}) {
        array = x;
        const T found = entries<T>::select(n, array.data(), k);
        ASSERT_EQ(found, expected[std::size_t(k)]) << kind << ' ' << n;
        ASSERT_EQ(array[std::size_t(k)], found);
        for (int i = 0; i < n; i++)
          ASSERT_TRUE(i < k ? array[std::size_t(i)] <= found : array[std::size_t(i)] >= found);
      }
    }
}

}  // namespace
