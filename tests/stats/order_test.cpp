// Order of values: sorters, Sort, Quantiles, MAD, WMedian, against std::sort by the order of bits and definitions in
// long double.

#include "tests/stats/order.h"

namespace {

using namespace arko::test;

// Around the sizes at which sorting and selecting change their ways.
constexpr int sizes[] = {1, 2, 3, 7, 8, 9, 24, 25, 26, 32, 33, 34, 500, 32768, 32769};

const DFThreadServices* const services = thread_services::get();

template <class T> class order : public testing::Test {
 protected:
  void SetUp() override { thread_services::threads = 2; }
};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(order, precisions);

TYPED_TEST(order, of_sorted_observations_and_of_order_statistics) {
  using T = TypeParam;
  for (const char* kind : kinds)
    for (const int n : sizes) {
      std::vector<std::vector<T>> components, expected;
      for (unsigned seed : {1, 2, 3}) {
        components.push_back(input<T>(kind, n, seed));
        expected.push_back(components.back());
        sort_by_bits(expected.back());
      }
      for (const int32_t from : layouts)
        for (const int32_t to : layouts) {
          if (n > 1000 && (to == KOV_SS_COMPONENTS || (from == to) == (n == 32768))) continue;  // one of each
          const std::vector<T> x = laid_out(components, from);
          std::vector<T> sorted(x.size()), statistics(x.size());
          order_task<T> task(3, n, from, x.data());
          task.out_storage = to;
          task.real(KOV_SS_SORTED, sorted.data()).integer(KOV_SS_SORTED_STORAGE, &task.out_storage);
          task.real(KOV_SS_ORDER_STATS, statistics.data())
              .integer(KOV_SS_ORDER_STATS_STORAGE, &task.out_storage);
          ASSERT_EQ(entries<T>::sort(task.task, 0, KOV_SS_RADIX, services), 0);
          ASSERT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_ORDER_STATS, KOV_SS_FAST, services), 0);
          ASSERT_TRUE(same_bits(sorted, laid_out(expected, to)))
              << kind << ' ' << n << ' ' << from << ' ' << to;
          ASSERT_TRUE(same_bits(statistics, sorted)) << kind << ' ' << n << ' ' << from << ' ' << to;
          if (from != to) continue;
          std::vector<T> place = x;
          order_task<T> in_place(3, n, from, place.data());
          in_place.real(KOV_SS_SORTED, place.data()).integer(KOV_SS_SORTED_STORAGE, &in_place.storage);
          ASSERT_EQ(entries<T>::sort(in_place.task, 0, KOV_SS_RADIX, services), 0);
          ASSERT_TRUE(same_bits(place, sorted)) << kind << ' ' << n;
        }
    }
}

// By selection, by sorting for many orders, and beside order statistics, the same quantiles.
TYPED_TEST(order, of_quantiles) {
  using T = TypeParam;
  for (const char* kind : kinds)
    for (const int n : sizes) {
      const std::vector<T> x = input<T>(kind, n, 5), y = input<T>(kind, n, 6);
      std::vector<T> ascending = y;
      sort_by_bits(ascending);
      std::vector<T> few = {0, T(0.1), T(0.25), T(0.5), T(0.75), T(0.999), 1};
      for (int i = n; i-- > 0 && few.size() < 16;)
        few.push_back(static_cast<T>(double(i) / std::max(n - 1, 1)));
      std::vector<T> many = few;
      while (many.size() < 17) many.push_back(T(0.3));
      for (const int32_t layout : layouts) {
        if (n == (layout == KOV_SS_COMPONENTS ? 32768 : 32769)) continue;
        const std::vector<T> data = laid_out<T>({x, y}, layout);
        std::vector<T> selected(2 * few.size()), sorted(2 * many.size()), beside(2 * few.size()),
            statistics(data.size());
        for (auto [orders, results] : {std::pair(&few, &selected), std::pair(&many, &sorted)}) {
          order_task<T> task(2, n, layout, data.data());
          task.quantiles(*orders, results->data());
          ASSERT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, services), 0);
        }
        order_task<T> task(2, n, layout, data.data());
        task.quantiles(few, beside.data())
            .real(KOV_SS_ORDER_STATS, statistics.data())
            .integer(KOV_SS_ORDER_STATS_STORAGE, &layout);
        ASSERT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS | KOV_SS_EST_ORDER_STATS, KOV_SS_FAST,
                                        services),
                  0);
        ASSERT_TRUE(same_bits(selected, beside)) << kind << ' ' << n;
        for (std::size_t i = 0; i < few.size(); i++) {
          const T q = selected[few.size() + i];
          ASSERT_EQ(std::memcmp(&q, &sorted[many.size() + i], sizeof q), 0)
              << kind << ' ' << n << ' ' << few[i];
          const long double t = static_cast<long double>(few[i]) * (n - 1);
          const auto j = static_cast<std::size_t>(t);
          const long double f = t - static_cast<long double>(j);
          const long double a = ascending[j], b = ascending[std::min(j + 1, ascending.size() - 1)];
          const long double exact = f == 0 ? a : a * (1 - f) + b * f;
          if (!std::isfinite(static_cast<double>(a)) || !std::isfinite(static_cast<double>(b))) {
            if (f == 0) {
              ASSERT_TRUE(q == exact || (q != q && exact != exact)) << kind << ' ' << n;
            }
            continue;
          }
          // t is rounded to double: its error is a part of the step.
          const long double bound = std::numeric_limits<T>::epsilon() * std::max(std::fabs(a), std::fabs(b)) +
                                    0x1p-52L * t * std::fabs(b - a) + std::numeric_limits<T>::denorm_min();
          ASSERT_LE(std::fabs(q - exact), bound) << kind << ' ' << n << ' ' << few[i];
        }
      }
    }
}

TYPED_TEST(order, of_known_quantiles) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity();
  const struct {
    std::vector<T> x;
    T order, quantile;
  } rows[] = {
      {{4, 1, 3, 2}, T(0.5), T(2.5)}, {{7}, T(0.3), 7},         {{7}, 1, 7},         {{3, 1, 2}, 0, 1},
      {{3, 1, inf}, T(0.5), 3},       {{-inf, 1, inf}, 1, inf}, {{2, 2}, T(0.25), 2}};
  for (const auto& [x, q, expected] : rows) {
    T result = -1;
    order_task<T> task(1, static_cast<int32_t>(x.size()), KOV_SS_OBSERVATIONS, x.data());
    task.quantiles({q}, &result);
    task.quant_count = 0;
    EXPECT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, nullptr), 0);
    EXPECT_EQ(result, -1);
    task.quant_count = 1;
    EXPECT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, nullptr), 0);
    EXPECT_EQ(result, expected);
  }
}

template <class T> long double median_of(std::vector<T> x) {
  std::sort(x.begin(), x.end());
  const std::size_t n = x.size();
  return n % 2 ? x[n / 2] : (static_cast<long double>(x[n / 2 - 1]) + x[n / 2]) / 2;
}

// Components 1 and 3 of five, in every layout, on any number of threads.
TYPED_TEST(order, of_selected_components) {
  using T = TypeParam;
  const int p = 5, n = 1001;
  std::vector<std::vector<T>> components;
  for (unsigned c = 0; c < p; c++) components.push_back(input<T>("offset", n, 10 + c));
  std::vector<T> weights = input<T>("random", n, 3);
  for (T& w : weights) w = std::fabs(w);
  const std::vector<int32_t> selected = {0, 7, 0, -1, 0};

  // Long double, from the definitions.
  T given[p];
  long double median_dev[p], mean_dev[p], given_dev[p];
  for (std::size_t c = 0; c < p; c++) {
    const std::vector<T>& x = components[c];
    std::vector<T> deviations;
    const T median = static_cast<T>(median_of(x));
    for (const T v : x) deviations.push_back(std::fabs(v - median));
    median_dev[c] = median_of(deviations);
    long double sum = 0, total = 0;
    for (std::size_t i = 0; i < n; i++)
      sum += static_cast<long double>(weights[i]) * x[i], total += weights[i];
    const long double mean = sum / total;
    given[c] = static_cast<T>(mean + 1);
    mean_dev[c] = given_dev[c] = 0;
    for (std::size_t i = 0; i < n; i++) {
      mean_dev[c] += weights[i] * std::fabs(x[i] - mean) / total;
      given_dev[c] += weights[i] * std::fabs(x[i] - static_cast<long double>(given[c])) / total;
    }
  }
  const double rounding = std::numeric_limits<T>::epsilon() * 1e6 * 2;

  for (const int32_t layout : layouts)
    for (const int threads : {1, 2, 7}) {
      thread_services::threads = threads;
      const std::vector<T> x = laid_out(components, layout);
      std::vector<T> quants(p, -1), sorted(p * n, -1), median(p, -1), mean(p, -1);
      order_task<T> task(p, n, layout, x.data(), selected, weights.data());
      task.out_storage = KOV_SS_COMPONENTS;
      task.quantiles({T(0.5)}, quants.data());
      task.real(KOV_SS_SORTED, sorted.data()).integer(KOV_SS_SORTED_STORAGE, &task.out_storage);
      task.real(KOV_SS_MEDIAN_ABS_DEV, median.data())
          .real(KOV_SS_MEAN_ABS_DEV, mean.data())
          .real(KOV_SS_MEAN, given);
      ASSERT_EQ(entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, services), 0);
      ASSERT_EQ(entries<T>::sort(task.task, 0, KOV_SS_RADIX, services), 0);
      for (std::size_t k : {0, 1}) {
        std::vector<T> row = components[2 * k + 1];
        EXPECT_EQ(quants[k], static_cast<T>(median_of(row)));
        sort_by_bits(row);
        EXPECT_TRUE(std::equal(row.begin(), row.end(), sorted.begin() + static_cast<std::ptrdiff_t>(k) * n));
      }
      EXPECT_EQ(std::count(quants.begin(), quants.end(), -1), 3);
      EXPECT_EQ(std::count(sorted.begin(), sorted.end(), -1), 3 * n);

      const uint64_t both = KOV_SS_EST_MEDIAN_ABS_DEV | KOV_SS_EST_MEAN_ABS_DEV;
      ASSERT_EQ(entries<T>::mad(task.task, both, KOV_SS_FAST, services), 0);
      for (std::size_t c = 0; c < p; c++) {
        const bool in = selected[c] != 0;
        EXPECT_NEAR(static_cast<double>(median[c]), in ? static_cast<double>(median_dev[c]) : -1, rounding)
            << c;
        EXPECT_NEAR(static_cast<double>(mean[c]), in ? static_cast<double>(mean_dev[c]) : -1, rounding) << c;
      }
      ASSERT_EQ(entries<T>::mad(task.task, KOV_SS_EST_MEAN_ABS_DEV, KOV_SS_GIVEN_MEAN, services), 0);
      for (const std::size_t c : {1, 3})
        EXPECT_NEAR(static_cast<double>(mean[c]), static_cast<double>(given_dev[c]), rounding) << c;
    }
}

TYPED_TEST(order, of_integers_with_64_bits) {
  using T = TypeParam;
  const int64_t p = 2, n = 3, layout = KOV_SS_OBSERVATIONS, indices[] = {0, int64_t{1} << 32};
  const T x[] = {9, 3, 8, 2, 7, 1};
  T sorted[6] = {};
  void* task;
  const auto narrow = [](const int64_t* v) { return reinterpret_cast<const int32_t*>(v); };
  ASSERT_EQ(
      entries<T>::create(&task, narrow(&p), narrow(&n), narrow(&layout), x, nullptr, narrow(indices), 1), 0);
  entries<T>::edit(task, KOV_SS_SORTED, sorted);
  __koviSSEditTask(task, KOV_SS_SORTED_STORAGE, &layout);
  EXPECT_EQ(entries<T>::sort(task, 0, KOV_SS_RADIX, services), 0);
  EXPECT_EQ(std::vector<T>(sorted, sorted + 6), (std::vector<T>{1, 0, 2, 0, 3, 0}));
  __kovSSDeleteTask(&task);
}

// Worked by hand.
TYPED_TEST(order, of_weighted_quantiles) {
  using T = TypeParam;
  const struct {
    std::vector<T> x, weights;
    T order, expected;
  } rows[] = {
      {{4, 1, 3, 2}, {1, 1, 1, 1}, T(0.5), T(2.5)},             // the two in the middle
      {{5, 4, 1, 3, 2}, {1, 1, 1, 1, 1}, T(0.5), 3},            // the one in the middle
      {{10, 20, 30}, {1, 6, 1}, T(0.5), 20},                    // as much before as behind
      {{10, 20, 30}, {2, 3, 3}, T(0.5), T(10 + 10 * 2 / 3.0)},  // 2 of 3 into the weight of 20
      {{30, 10, 0, 20}, {3, 2, 0, 3}, T(0.5), T(10 + 10 * 2 / 3.0)},
      {{10, 15, 20, 30}, {1, 0, 3, 4}, T(0.25), T(10 + 10 / 3.0)},  // 15 weighs nothing
      {{10, 15, 20, 30}, {4, 0, 2, 2}, T(0.5), 15},                 // mean with the next that weighs: 20
      {{1, 2, 3}, {1, 1, 2}, 1, 3},
      {{1, 2}, {1, 3}, 0, T(1)},
      {{8}, {5}, T(0.5), 8},
  };
  for (const int32_t layout : layouts)
    for (const auto& [x, weights, q, expected] : rows) {
      const auto n = static_cast<int32_t>(x.size());
      std::vector<T> negative = x;
      for (T& v : negative) v += 100;
      const std::vector<T> data = laid_out<T>({x, negative}, layout);
      T results[2] = {};
      order_task<T> task(2, n, layout, data.data(), {0, 1}, weights.data());
      task.quantiles({q}, results);
      ASSERT_EQ(entries<T>::weighted_median(task.task, 0, 0, nullptr), 0);
      EXPECT_NEAR(results[0], expected, 1e-5) << testing::PrintToString(x) << q;
      EXPECT_NEAR(results[1], expected + 100, 1e-4) << testing::PrintToString(x) << q;
    }
}

TYPED_TEST(order, of_sorters_by_comparison) {
  using T = TypeParam;
  for (const char* kind : kinds)
    for (const int n : sizes) {
      if (n > 1000) continue;
      std::vector<T> x = input<T>(kind, n, 8);
      for (T& v : x)
        if (v != v) v = 0;
      std::vector<T> expected = x, apart(static_cast<std::size_t>(3 * n), -1), array = x;
      std::sort(expected.begin(), expected.end());
      entries<T>::quicksort(n, array.data());
      ASSERT_EQ(array, expected) << kind << ' ' << n;
      for (std::size_t i = 0; i < x.size(); i++) apart[3 * i] = x[i];
      entries<T>::quicksort_step(n, apart.data(), 3);
      for (std::size_t i = 0; i < apart.size(); i++)
        ASSERT_EQ(apart[i], i % 3 ? -1 : expected[i / 3]) << kind << ' ' << n;
      for (const int k : {0, n / 3, n / 2, n - 1}) {
        array = x;
        ASSERT_EQ(entries<T>::select(n, array.data(), k), expected[static_cast<std::size_t>(k)])
            << kind << ' ' << n;
        const auto here = array.begin() + k;
        ASSERT_EQ(*here, expected[static_cast<std::size_t>(k)]);
        ASSERT_TRUE(std::all_of(array.begin(), here, [&](T v) { return v <= *here; }));
        ASSERT_TRUE(std::all_of(here, array.end(), [&](T v) { return v >= *here; }));
      }
    }
}

// Every status, as edits that follow each other: each row mends what the row before it complains of.
TYPED_TEST(order, of_checks) {
  using T = TypeParam;
  const std::vector<T> x = {3, 1, 2, 6, 5, 4};
  T out[6], other[6];
  const int32_t bad = 5, components = KOV_SS_COMPONENTS, observations = KOV_SS_OBSERVATIONS, negative = -1,
                one = 1;
  const T outside = T(1.5), inside = T(0.5), no_number = std::numeric_limits<T>::quiet_NaN();
  order_task<T> task(2, 3, components, x.data());
  const auto sort = [&](uint64_t method) { return entries<T>::sort(task.task, 0, method, nullptr); };
  EXPECT_EQ(sort(KOV_SS_RADIX), KOV_SS_ERR_SORTED);
  task.real(KOV_SS_SORTED, out);
  EXPECT_EQ(sort(KOV_SS_RADIX), KOV_SS_ERR_NULL_INTEGER);
  task.integer(KOV_SS_SORTED_STORAGE, &bad);
  EXPECT_EQ(sort(0), KOV_SS_ERR_STORAGE);
  task.integer(KOV_SS_SORTED_STORAGE, &observations);
  EXPECT_EQ(sort(~KOV_SS_RADIX), KOV_SS_ERR_METHOD);
  task.real(KOV_SS_SORTED, x.data());
  EXPECT_EQ(sort(KOV_SS_RADIX), KOV_SS_ERR_NULL_INTEGER);
  task.integer(KOV_SS_SORTED_STORAGE, &components).integer(KOV_SS_INDICES, &one);
  EXPECT_EQ(sort(KOV_SS_RADIX), KOV_SS_ERR_SORT_IN_PLACE);

  order_task<T> q(2, 3, bad, nullptr);
  uint64_t wanted = KOV_SS_EST_QUANTS;
  const auto quantiles = [&](uint64_t method) {
    return entries<T>::quantiles(q.task, wanted, method, nullptr);
  };
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_STORAGE);
  q.integer(KOV_SS_OBS_STORAGE, &components);
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_QUANTS);
  q.real(KOV_SS_QUANTS, out);
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_QUANT_ORDERS);
  q.real(KOV_SS_QUANT_ORDERS, &outside);
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_QUANT_COUNT);
  for (const auto& [count, value] : {std::pair(&negative, &inside), {&one, &outside}, {&one, &no_number}}) {
    q.integer(KOV_SS_QUANT_COUNT, count).real(KOV_SS_QUANT_ORDERS, value);
    EXPECT_EQ(quantiles(0), KOV_SS_ERR_QUANT_COUNT);
  }
  q.real(KOV_SS_QUANT_ORDERS, &inside);
  EXPECT_EQ(quantiles(~KOV_SS_FAST), KOV_SS_ERR_METHOD);
  wanted |= KOV_SS_EST_ORDER_STATS;
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_ORDER_STATS);
  q.real(KOV_SS_ORDER_STATS, other);
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_NULL_INTEGER);
  q.integer(KOV_SS_ORDER_STATS_STORAGE, &bad);
  EXPECT_EQ(quantiles(0), KOV_SS_ERR_STORAGE);
  q.integer(KOV_SS_ORDER_STATS_STORAGE, &components);
  EXPECT_EQ(quantiles(KOV_SS_FAST), KOV_SS_ERR_OBS);
  q.real(KOV_SS_OBS, x.data());
  EXPECT_EQ(quantiles(KOV_SS_FAST), 0);

  const uint64_t median = KOV_SS_EST_MEDIAN_ABS_DEV, mean = KOV_SS_EST_MEAN_ABS_DEV;
  order_task<T> m(2, 3, KOV_SS_COMPONENTS | KOV_SS_OBSERVATIONS, nullptr);
  const auto mad = [&](uint64_t estimates, uint64_t method) {
    return entries<T>::mad(m.task, estimates, method, nullptr);
  };
  EXPECT_EQ(mad(median, KOV_SS_FAST), KOV_SS_ERR_STORAGE);
  m.storage = KOV_SS_OBSERVATIONS;
  EXPECT_EQ(mad(median, KOV_SS_FAST), KOV_SS_ERR_OBS);
  m.real(KOV_SS_OBS, x.data());
  EXPECT_EQ(mad(0, 0), 0);
  EXPECT_EQ(mad(median | mean, 0), KOV_SS_ERR_MEDIAN_ABS_DEV);
  EXPECT_EQ(mad(mean, 0), KOV_SS_ERR_MEAN_ABS_DEV);
  m.real(KOV_SS_MEDIAN_ABS_DEV, out);
  EXPECT_EQ(mad(median, ~KOV_SS_FAST), KOV_SS_ERR_METHOD);
  EXPECT_EQ(mad(median | mean, 0), KOV_SS_ERR_MEAN_ABS_DEV);
  m.real(KOV_SS_MEAN_ABS_DEV, other);
  EXPECT_EQ(mad(mean, KOV_SS_ONE_PASS), KOV_SS_ERR_METHOD);
  EXPECT_EQ(mad(mean, KOV_SS_GIVEN_MEAN), KOV_SS_ERR_MEAN);
  m.real(KOV_SS_MEAN, out);
  EXPECT_EQ(mad(median | mean, KOV_SS_GIVEN_MEAN), 0);  // the second estimate's answer
  for (const auto& [dimension, count, status] :
       {std::tuple(0, 3, KOV_SS_ERR_OBS_DIM), {2, 0, KOV_SS_ERR_OBS_COUNT}, {2, -3, KOV_SS_ERR_OBS_COUNT}}) {
    m.p = q.p = dimension, m.n = q.n = count;
    EXPECT_EQ(mad(median, KOV_SS_FAST), status);
    EXPECT_EQ(quantiles(KOV_SS_FAST), status);
  }
}

// Of no task at all, and of one with more components than the services can count.
TYPED_TEST(order, of_tasks_that_cannot_be) {
  using T = TypeParam;
  const int64_t p = (int64_t{1} << 31) + 1, n = 1, layout = KOV_SS_COMPONENTS;
  const auto narrow = [](const int64_t* v) { return reinterpret_cast<const int32_t*>(v); };
  const T x[1] = {}, order = T(0.5);
  T out[1];
  void* wide;
  ASSERT_EQ(entries<T>::create(&wide, narrow(&p), narrow(&n), narrow(&layout), x, nullptr, nullptr, 1), 0);
  for (const int64_t field : {KOV_SS_SORTED, KOV_SS_QUANTS, KOV_SS_SQ_QUANTS, KOV_SS_MEDIAN_ABS_DEV})
    entries<T>::edit(wide, field, out);
  for (const int64_t field : {KOV_SS_QUANT_ORDERS, KOV_SS_SQ_ORDERS, KOV_SS_SQ_PARAMS})
    entries<T>::edit(wide, field, &order);
  for (const int64_t field : {KOV_SS_QUANT_COUNT, KOV_SS_SQ_COUNT, KOV_SS_SQ_PARAM_COUNT})
    __koviSSEditTask(wide, field, &n);
  __koviSSEditTask(wide, KOV_SS_SORTED_STORAGE, &layout);
  EXPECT_EQ(entries<T>::weighted_median(nullptr, 0, 0, services), KOV_SS_ERR_NULL_TASK);
  for (const auto& [entry, estimates, method] :
       {std::tuple(entries<T>::mad, KOV_SS_EST_MEDIAN_ABS_DEV, KOV_SS_FAST),
        {entries<T>::sort, 0, KOV_SS_RADIX},
        {entries<T>::quantiles, KOV_SS_EST_QUANTS, KOV_SS_FAST},
        {entries<T>::stream_quantiles, 0, KOV_SS_SQ_RESULT}}) {
    ASSERT_EQ(entry(wide, estimates, method, services), KOV_SS_ERR_OBS_DIM);
    EXPECT_EQ(entry(nullptr, estimates, method, services), KOV_SS_ERR_NULL_TASK);
  }
  __kovSSDeleteTask(&wide);
}

TYPED_TEST(order, of_allocations_that_fail) {
  using T = TypeParam;
  const int n = 100;
  const std::vector<T> x = input<T>("random", 2 * n), weights(n, 1);
  std::vector<T> out(2 * n), statistics(2 * n);
  order_task<T> task(2, n, KOV_SS_OBSERVATIONS, x.data(), {1, 1}, weights.data());
  task.quantiles({T(0.5)}, out.data());
  for (const int64_t field : {KOV_SS_SORTED, KOV_SS_ORDER_STATS, KOV_SS_MEDIAN_ABS_DEV, KOV_SS_MEAN_ABS_DEV})
    task.real(field, statistics.data());
  for (const int64_t field : {KOV_SS_SORTED_STORAGE, KOV_SS_ORDER_STATS_STORAGE})
    task.integer(field, &task.storage);
  fail_every_allocation([&] { return entries<T>::sort(task.task, 0, KOV_SS_RADIX, services); }, 2);
  fail_every_allocation(
      [&] { return entries<T>::quantiles(task.task, KOV_SS_EST_QUANTS, KOV_SS_FAST, services); }, 2);
  fail_every_allocation(
      [&] { return entries<T>::quantiles(task.task, KOV_SS_EST_ORDER_STATS, KOV_SS_FAST, services); }, 2);
  fail_every_allocation(
      [&] { return entries<T>::mad(task.task, KOV_SS_EST_MEDIAN_ABS_DEV, KOV_SS_FAST, services); }, 1);
  fail_every_allocation(
      [&] { return entries<T>::mad(task.task, KOV_SS_EST_MEAN_ABS_DEV, KOV_SS_FAST, services); }, 1);
  fail_every_allocation([&] { return entries<T>::weighted_median(task.task, 0, 0, services); }, 1);
}

}  // namespace
