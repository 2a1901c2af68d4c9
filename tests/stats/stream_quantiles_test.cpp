// Quantiles of streams: ranks against the sorted stream, whatever its order and however it is cut.

#include "tests/stats/order.h"

namespace {

using namespace arko::test;

const DFThreadServices* const services = thread_services::get();

// A stream of p components under one task, fed in blocks.
template <class T> class stream {
 public:
  T eps;
  std::vector<T> orders, quantiles;
  int32_t n = 0, count = 0, parameters = 1;
  void* task = nullptr;

  stream(int32_t p, T eps, std::vector<T> orders, int32_t layout, std::vector<int32_t> indices = {})
      : eps(eps), orders(std::move(orders)), p_(p), layout_(layout), indices_(std::move(indices)) {
    quantiles.assign(static_cast<std::size_t>(p) * this->orders.size(), -1);
    count = static_cast<int32_t>(this->orders.size());
    created = entries<T>::create(&task, &p_, &n, &layout_, nullptr, nullptr,
                                 indices_.empty() ? nullptr : indices_.data(), 0);
    if (created != 0) return;
    EXPECT_EQ(
        entries<T>::edit_stream(task, &count, this->orders.data(), quantiles.data(), &parameters, &this->eps),
        0);
  }
  ~stream() { __kovSSDeleteTask(&task); }
  stream(const stream&) = delete;

  int32_t created = 0;
  int32_t take(const std::vector<T>& x, uint64_t method = KOV_SS_SQ_TAKE) {
    n = static_cast<int32_t>(x.size()) / p_;
    if (n) entries<T>::edit(task, KOV_SS_OBS, x.data());
    return entries<T>::stream_quantiles(task, 0, method, services);
  }
  int32_t results() { return take({}, KOV_SS_SQ_RESULT); }

 private:
  int32_t p_, layout_;
  std::vector<int32_t> indices_;
};

template <class T> class streams : public testing::Test {
 protected:
  void SetUp() override { thread_services::threads = 2; }
};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(streams, precisions);

template <class T> std::vector<T> orders_of(int n) {
  std::vector<T> orders;
  for (int i = 0; i <= n; i++) orders.push_back(static_cast<T>(double(i) / n));
  return orders;
}

// How far the target rank is from those that a value has in the sorted stream.
template <class T> double rank_error(const std::vector<T>& ascending, T value, T order) {
  const auto [first, end] = std::equal_range(ascending.begin(), ascending.end(), value);
  if (first == end) return HUGE_VAL;  // not from the stream
  const double target = std::max(1.0, static_cast<double>(order) * static_cast<double>(ascending.size()));
  return std::max({0.0, static_cast<double>(first - ascending.begin() + 1) - target,
                   target - static_cast<double>(end - ascending.begin())});
}

TYPED_TEST(streams, keep_the_error_of_rank_within_eps) {
  using T = TypeParam;
  std::vector<std::string> all(std::begin(kinds), std::end(kinds));
  all.insert(all.end(), {"saw", "zigzag"});
  const std::vector<T> orders = orders_of<T>(100);
  for (const std::string& kind : all)
    for (const auto& [eps, n] : {std::pair(0.001, 2000),
                                 {0.001, 30000},
                                 {0.003, 667},
                                 {0.01, 20000},
                                 {0.01, 201},
                                 {0.03, 67},
                                 {0.03, 12345},
                                 {0.1, 20000},
                                 {0.2, 10},
                                 {0.2, 9999},
                                 {0.3, 777},
                                 {0.43, 3},
                                 {0.5, 5000},
                                 {0.9, 3000},
                                 {0.01, 1}}) {
      std::vector<T> x = input<T>(kind == "special" ? "random" : kind, n, 4);
      for (int i = 0; i < n; i++) {
        if (kind == "saw") x[static_cast<std::size_t>(i)] = static_cast<T>(i % 1013);
        if (kind == "zigzag") x[static_cast<std::size_t>(i)] = static_cast<T>(i % 2 ? -i : i);
      }
      stream<T> s(1, static_cast<T>(eps), orders, KOV_SS_COMPONENTS);
      ASSERT_EQ(s.take(x, KOV_SS_SQ_RESULT), 0);
      std::sort(x.begin(), x.end());
      for (std::size_t i = 0; i < orders.size(); i++)
        EXPECT_LE(rank_error(x, s.quantiles[i], orders[i]), std::max(eps * n, 1.0))
            << kind << " eps " << eps << " n " << n << " order " << orders[i];
    }
}

// Cuts, layouts and threads do not show, not even with NaN and zeros of both signs; components are what they are alone.
TYPED_TEST(streams, are_the_same_however_they_come) {
  using T = TypeParam;
  const int n = 3000, p = 3;
  const T eps = T(0.01);
  const std::vector<T> orders = orders_of<T>(20);
  std::vector<std::vector<T>> components;
  std::vector<T> expected;
  for (const char* kind : {"random", "special", "descending"}) {
    components.push_back(input<T>(kind, n, 9));
    stream<T> alone(1, eps, orders, KOV_SS_OBSERVATIONS);
    ASSERT_EQ(alone.take(components.back(), KOV_SS_SQ_RESULT), 0);
    expected.insert(expected.end(), alone.quantiles.begin(), alone.quantiles.end());
  }
  for (const int32_t layout : layouts)
    for (const int threads : {0, 1, 4})
      for (const int part : {1, 99, 200, 1999, 3000}) {
        if (part < 99 && threads > 0) continue;  // many calls
        thread_services::threads = threads;
        stream<T> s(p, eps, orders, layout);
        for (int first = 0; first < n; first += part) {
          std::vector<std::vector<T>> block;
          for (const auto& c : components)
            block.emplace_back(c.begin() + first, c.begin() + std::min(first + part, n));
          ASSERT_EQ(s.take(laid_out(block, layout)), 0);
          if (first / part % 7 == 3) {
            ASSERT_EQ(s.results(), 0);  // in between: without effect
          }
        }
        ASSERT_EQ(s.results(), 0);
        ASSERT_TRUE(same_bits(s.quantiles, expected)) << layout << ' ' << threads << ' ' << part;
      }
}

// The stages of a sketch are made for the eps of the first call.
TYPED_TEST(streams, keep_their_eps) {
  using T = TypeParam;
  stream<T> s(1, T(0.5), {T(0.5)}, KOV_SS_COMPONENTS);
  const std::vector<T> x = input<T>("random", 900);
  EXPECT_EQ(s.take({1}), 0);
  for (const T eps : {T(0.001), T(0.75)}) {
    s.eps = eps;
    EXPECT_EQ(s.take(x), KOV_SS_ERR_SQ_EPS);
  }
  s.eps = T(0.5);
  EXPECT_EQ(s.results(), 0);
  EXPECT_EQ(s.quantiles[0], 1) << "nothing of what was refused";
  EXPECT_EQ(__kovSQuantilesFreeBuffers(s.task), 0);
  s.eps = T(0.001);
  EXPECT_EQ(s.take(x), 0) << "another sketch";
}

// The number of threads is the services' affair.
TYPED_TEST(streams, ask_for_all_threads) {
  static int32_t told;
  told = -1;
  DFThreadServices mine = *arko_serial_services();
  mine.parallel_for = [](int32_t tasks, int32_t threads, void* context, TaskBody body) {
    told = threads;
    arko_serial_for(tasks, threads, context, body);
  };
  stream<TypeParam> s(2, TypeParam(0.1), {1}, KOV_SS_COMPONENTS);
  s.n = 1;
  const TypeParam x[2] = {4, 5};
  entries<TypeParam>::edit(s.task, KOV_SS_OBS, x);
  EXPECT_EQ(entries<TypeParam>::stream_quantiles(s.task, 0, KOV_SS_SQ_RESULT, &mine), 0);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(s.quantiles[1], 5);
}

TYPED_TEST(streams, begin_and_end) {
  using T = TypeParam;
  stream<T> s(1, T(0.01), {0, T(0.5), 1}, KOV_SS_COMPONENTS);
  EXPECT_EQ(s.results(), 0);
  EXPECT_EQ(s.quantiles, std::vector<T>(3, -1)) << "of nothing";
  EXPECT_EQ(s.take({5, 3, 4}), 0);
  EXPECT_EQ(s.quantiles, std::vector<T>(3, -1)) << "not asked for";
  EXPECT_EQ(s.results(), 0);
  EXPECT_EQ(s.quantiles, (std::vector<T>{3, 3, 5}));  // ranks 1 and 2 are as near to 1.5
  EXPECT_EQ(__kovSQuantilesFreeBuffers(s.task), 0);
  EXPECT_EQ(__kovSQuantilesFreeBuffers(s.task), 0);
  EXPECT_EQ(s.take({7}, KOV_SS_SQ_RESULT), 0);
  EXPECT_EQ(s.quantiles, std::vector<T>(3, 7)) << "of a new stream";
  EXPECT_EQ(__kovSQuantilesFreeBuffers(nullptr), KOV_SS_ERR_NULL_TASK);

  // With eps 1 blocks of one number leave nothing behind at first; every eps ends.
  for (const T eps : {T(1), T(0.95), T(0.76), T(0.6), T(0.43), T(0.34), T(0.26)}) {
    stream<T> coarse(1, eps, {0, 1}, KOV_SS_COMPONENTS);
    EXPECT_EQ(coarse.take(input<T>("random", 5000), KOV_SS_SQ_RESULT), 0) << eps;
  }
  // No machine has the memory for these.
  for (const T eps : {T(1e-20), std::numeric_limits<T>::min(), std::numeric_limits<T>::denorm_min()})
    EXPECT_EQ(stream<T>(1, eps, {0}, KOV_SS_COMPONENTS).take({1}), KOV_SS_ERR_NO_MEMORY) << eps;
}

TYPED_TEST(streams, of_selected_components) {
  using T = TypeParam;
  std::vector<int32_t> indices = {0, 1, 0, 1};
  stream<T> s(4, T(0.1), {1}, KOV_SS_OBSERVATIONS, indices);
  EXPECT_EQ(s.take({1, 2, 3, 4, 5, 6, 7, 8}, KOV_SS_SQ_RESULT), 0);
  EXPECT_EQ(s.quantiles, (std::vector<T>{6, 8, -1, -1}));
  const int32_t fewer[] = {0, 0, 0, 1}, other[] = {1, 0, 0, 0}, none[] = {0, 0, 0, 0}, less = 3;
  for (const auto& [chosen, status] :
       {std::pair(&fewer[0], 0), {&other[0], KOV_SS_ERR_INDICES}, {&none[0], 0}}) {
    __koviSSEditTask(s.task, KOV_SS_INDICES, chosen);
    EXPECT_EQ(s.results(), status);
  }
  __koviSSEditTask(s.task, KOV_SS_OBS_DIM, &less);
  EXPECT_EQ(s.results(), KOV_SS_ERR_OBS_DIM);
  stream<T> idle(2, T(0.1), {1}, KOV_SS_OBSERVATIONS, {0, 0});
  EXPECT_EQ(idle.take({1, 2}, KOV_SS_SQ_RESULT), 0);
  EXPECT_EQ(idle.take({1, 2}, KOV_SS_SQ_RESULT), KOV_SS_ERR_INDICES);
}

// In the order of the checks: each row mends what the row before it complains of.
TYPED_TEST(streams, of_checks) {
  using T = TypeParam;
  const T x[] = {1, 2, 3}, outside = T(-0.1), inside = T(0.5), zero = 0, above = T(1.001);
  T out[1];
  const int32_t p = 1, n = 3, minus = -1, bad = 1, layout = KOV_SS_OBSERVATIONS, one = 1, two = 2;
  uint64_t method = 0;
  void* task;
  ASSERT_EQ(entries<T>::create(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  const auto expect = [&](int32_t status) {
    EXPECT_EQ(entries<T>::stream_quantiles(task, 0, method, nullptr), status);
  };
  const auto real = [&](int64_t field, const T* value) {
    EXPECT_EQ(entries<T>::edit(task, field, value), 0);
  };
  const auto integer = [&](int64_t field, const int32_t* value) {
    EXPECT_EQ(__koviSSEditTask(task, field, value), 0);
  };
  expect(KOV_SS_ERR_OBS_COUNT), integer(KOV_SS_OBS_COUNT, &minus);
  expect(KOV_SS_ERR_OBS_COUNT), integer(KOV_SS_OBS_COUNT, &n);
  expect(KOV_SS_ERR_OBS), real(KOV_SS_OBS, x);
  expect(KOV_SS_ERR_NULL_INTEGER), integer(KOV_SS_OBS_STORAGE, &bad);
  expect(KOV_SS_ERR_STORAGE), integer(KOV_SS_OBS_STORAGE, &layout);
  expect(KOV_SS_ERR_SQ_QUANTS), real(KOV_SS_SQ_QUANTS, out);
  expect(KOV_SS_ERR_SQ_ORDERS), real(KOV_SS_SQ_ORDERS, &outside);
  expect(KOV_SS_ERR_SQ_COUNT), integer(KOV_SS_SQ_COUNT, &minus);
  expect(KOV_SS_ERR_SQ_COUNT), integer(KOV_SS_SQ_COUNT, &one);
  expect(KOV_SS_ERR_NO_SQ_PARAM_COUNT), integer(KOV_SS_SQ_PARAM_COUNT, &two);
  expect(KOV_SS_ERR_SQ_PARAM_COUNT), integer(KOV_SS_SQ_PARAM_COUNT, &one);
  expect(KOV_SS_ERR_SQ_COUNT), real(KOV_SS_SQ_ORDERS, &inside);
  expect(KOV_SS_ERR_SQ_PARAMS), real(KOV_SS_SQ_PARAMS, &zero);
  method = ~(KOV_SS_SQ_RESULT | KOV_SS_SQ_TAKE);
  expect(KOV_SS_ERR_METHOD), method = KOV_SS_SQ_RESULT;
  expect(KOV_SS_ERR_SQ_EPS), real(KOV_SS_SQ_PARAMS, &above);
  expect(KOV_SS_ERR_SQ_EPS), real(KOV_SS_SQ_PARAMS, &inside);
  int32_t dimension = -1;  // before there is a sketch, and when there is one
  integer(KOV_SS_OBS_DIM, &dimension);
  expect(KOV_SS_ERR_OBS_DIM), integer(KOV_SS_OBS_DIM, &p);
  expect(0), integer(KOV_SS_OBS_DIM, &(dimension = 0));
  expect(KOV_SS_ERR_OBS_DIM);
  EXPECT_EQ(__kovSSDeleteTask(&task), 0);
}

// Also with a failure behind it a sketch can be asked and goes on.
TYPED_TEST(streams, of_allocations_that_fail) {
  using T = TypeParam;
  const std::vector<T> x = input<T>("random", 3 * 900);
  fail_every_allocation(
      [&] {
        stream<T> s(3, T(0.05), {T(0.5)}, KOV_SS_OBSERVATIONS, {1, 0, 1});
        if (s.created != 0) return s.created;
        const int32_t answer = s.take(x, KOV_SS_SQ_RESULT);
        if (answer != 0) {
          EXPECT_EQ(s.take(x, KOV_SS_SQ_RESULT), 0);
          for (const int k : {0, 1}) EXPECT_NE(s.quantiles[static_cast<std::size_t>(k)], -1);
        }
        return answer;
      },
      20);
}

}  // namespace
