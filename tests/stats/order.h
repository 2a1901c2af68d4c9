// What the tests of order statistics share: entries by precision, tasks, inputs of all kinds, the order of bits.
#pragma once
#include <arko/stats.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/testing.h"
#include "tests/support/thread_services.h"

namespace arko::test {

using std::int32_t, std::int64_t, std::uint64_t;

template <class T> struct entries;
#define ENTRIES(p, T)                                                    \
  template <> struct entries<T> {                                        \
    static constexpr auto create = __kov##p##SSNewTask;                  \
    static constexpr auto edit = __kov##p##SSEditTask;                   \
    static constexpr auto edit_stream = __kov##p##SSEditStreamQuantiles; \
    static constexpr auto sort = _kov##p##SSSort;                        \
    static constexpr auto quantiles = _kov##p##SSQuantiles;              \
    static constexpr auto mad = _kov##p##SSMAD;                          \
    static constexpr auto weighted_median = _kov##p##SSWMedian;          \
    static constexpr auto stream_quantiles = _kov##p##SSStreamQuantiles; \
    static constexpr auto quicksort = __kov##p##QSort;                   \
    static constexpr auto quicksort_step = __kov##p##QSortStep;          \
    static constexpr auto select = __kov##p##QSortSelect;                \
  };
ENTRIES(d, double)
ENTRIES(s, float)
#undef ENTRIES

// A task over observations, with the integers that it points to.
template <class T> struct order_task {
  int32_t p, n, storage, out_storage, quant_count = 0, sq_count = 0, one = 1;
  std::vector<int32_t> indices;
  std::vector<T> orders;
  void* task = nullptr;

  order_task(int32_t p, int32_t n, int32_t storage, const T* x, std::vector<int32_t> selected = {},
             const T* weights = nullptr)
      : p(p), n(n), storage(storage), out_storage(storage), indices(std::move(selected)) {
    EXPECT_EQ(entries<T>::create(&task, &this->p, &this->n, &this->storage, x, weights,
                                 indices.empty() ? nullptr : indices.data(), 0),
              0);
  }
  ~order_task() { __kovSSDeleteTask(&task); }
  order_task(const order_task&) = delete;

  order_task& real(int64_t attribute, const T* value) {
    EXPECT_EQ(entries<T>::edit(task, attribute, value), 0);
    return *this;
  }
  order_task& integer(int64_t attribute, const int32_t* value) {
    EXPECT_EQ(__koviSSEditTask(task, attribute, value), 0);
    return *this;
  }
  order_task& quantiles(std::vector<T> wanted, T* results) {
    orders = std::move(wanted);
    quant_count = static_cast<int32_t>(orders.size());
    return integer(KOV_SS_QUANT_COUNT, &quant_count)
        .real(KOV_SS_QUANT_ORDERS, orders.data())
        .real(KOV_SS_QUANTS, results);
  }
};

// The order of bits, which has a place for NaN and for zeros of both signs.
template <class T> void sort_by_bits(std::vector<T>& x) {
  std::sort(x.begin(), x.end(), [](T a, T b) { return std::strong_order(a, b) < 0; });
}
template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

inline constexpr const char* kinds[] = {"random", "ascending", "descending", "equal", "few",
                                        "offset", "powers",    "special",    "pipe"};

// n numbers; only "special" has NaN.
template <class T> std::vector<T> input(const std::string& kind, int n, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal;
  using limits = std::numeric_limits<T>;
  static constexpr T special[] = {0,
                                  T(-0.0),
                                  limits::denorm_min(),
                                  -limits::denorm_min(),
                                  limits::infinity(),
                                  -limits::infinity(),
                                  limits::quiet_NaN(),
                                  -limits::quiet_NaN(),
                                  limits::max(),
                                  limits::lowest(),
                                  limits::min(),
                                  1};
  std::vector<T> x(static_cast<std::size_t>(n));
  for (int i = 0; i < n; i++) {
    double v = normal(random);
    if (kind == "ascending") v = i;
    if (kind == "descending") v = -i;
    if (kind == "equal") v = 2.5;
    if (kind == "few") v = static_cast<int>(random() % 5) - 2;
    if (kind == "offset") v += 1e6;
    if (kind == "powers") v = std::ldexp(1 + (i % 3), -static_cast<int>(random() % 120));
    if (kind == "pipe") v = std::min(i, n - i);
    x[static_cast<std::size_t>(i)] = static_cast<T>(v);
    if (kind == "special" && random() % 4 == 0)
      x[static_cast<std::size_t>(i)] = special[random() % std::size(special)];
  }
  return x;
}

// p by n observations in a layout, and the component c of such.
template <class T> std::vector<T> laid_out(const std::vector<std::vector<T>>& components, int32_t storage) {
  const std::size_t p = components.size(), n = components[0].size();
  std::vector<T> x(p * n);
  for (std::size_t c = 0; c < p; c++)
    for (std::size_t i = 0; i < n; i++)
      x[storage == KOV_SS_COMPONENTS ? c * n + i : i * p + c] = components[c][i];
  return x;
}

inline constexpr int32_t layouts[] = {KOV_SS_COMPONENTS, KOV_SS_OBSERVATIONS};

// Runs `computation` with each of its allocations failing in turn, which must answer -4000 and leave nothing behind,
// until one succeeds.
template <class F> void fail_every_allocation(F&& computation, int at_least) {
  for (int k = 1;; k++) {
    const int64_t before = arko_core_live_blocks();
    arko_core_fail_allocation(k);
    const int32_t answer = computation();
    arko_core_fail_allocation(0);
    EXPECT_EQ(arko_core_live_blocks(), before) << k;
    if (answer == KOV_SS_OK) {
      EXPECT_GT(k, at_least);
      return;
    }
    ASSERT_EQ(answer, KOV_SS_ERR_NO_MEMORY) << k;
  }
}

}  // namespace arko::test
