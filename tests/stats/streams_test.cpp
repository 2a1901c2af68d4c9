// Quantiles of streams: ranks against the sorted stream, whatever its order and however it is cut; memory.

#include <malloc.h>

#include "tests/stats/order.h"

namespace {

using namespace arko::test;

// A stream of p components under one task, fed in blocks.
template <class T> struct stream : task<T> {
  std::size_t p;
  stream(int32_t p, T eps, std::vector<T> orders, int32_t layout = KOV_SS_OBSERVATIONS)
      : task<T>(p), p(std::size_t(p)) {
    this->integer("obs_count", {0}).integer("obs_storage", {layout}).integer("sq_param_count", {1});
    this->integer("sq_count", {int32_t(orders.size())}).real("sq_params", {eps});
    this->real("sq_quants", std::vector<T>(orders.size() * this->p, -1)).real("sq_orders", std::move(orders));
  }
  int32_t take(std::vector<T> x, uint64_t method = KOV_SS_SQ_TAKE,
               const DFThreadServices* services = thread_services::get()) {
    this->integers["obs_count"][0] = int32_t(x.size() / p);
    if (!x.empty()) this->real("obs", std::move(x));
    return this->call("stream", 0, method, services);
  }
  int32_t results(std::vector<T> x = {}) { return take(std::move(x), KOV_SS_SQ_RESULT); }
  const std::vector<T>& quantiles() { return (*this)["sq_quants"]; }
};

template <class T> std::vector<T> orders_of(int n) {
  std::vector<T> orders;
  for (int i = 0; i <= n; i++) orders.push_back(static_cast<T>(double(i) / n));
  return orders;
}

template <class T> class streams : public testing::Test {};
TYPED_TEST_SUITE(streams, precisions);

// How far the target rank is from those that a value has in the sorted stream.
template <class T> double rank_error(const std::vector<T>& ascending, T value, T order) {
  const auto [first, end] = std::equal_range(ascending.begin(), ascending.end(), value);
  if (first == end) return HUGE_VAL;  // not from the stream
  const double target = std::max(1.0, double(order) * double(ascending.size()));
  return std::max(
      {0.0, double(first - ascending.begin() + 1) - target, target - double(end - ascending.begin())});
}

TYPED_TEST(streams, keep_the_error_of_rank_within_eps) {
  using T = TypeParam;
  const std::vector<T> orders = orders_of<T>(100);
  const auto table = table_of("tests/stats/data/streams.csv");
  for (const std::string kind : kinds)
    for (const auto& row : table) {
      const double eps = std::stod(row[0]);
      const int n = std::stoi(row[1]);
      std::vector<T> x = input<T>(kind == "special" ? "random" : kind, n, 4);
      stream<T> s(1, static_cast<T>(eps), orders);
      ASSERT_EQ(s.results(x), 0);
      std::sort(x.begin(), x.end());
      for (std::size_t i = 0; i < orders.size(); i++)
        EXPECT_LE(rank_error(x, s.quantiles()[i], orders[i]), std::max(eps * n, 1.0))
            << kind << " eps " << eps << " n " << n << " order " << orders[i];
    }
}

// Cuts, layouts and threads do not show, not even with NaN and zeros of both signs; components are what they are alone.
TYPED_TEST(streams, are_the_same_however_they_come) {
  using T = TypeParam;
  const int n = 3000;
  std::vector<std::vector<T>> components;
  std::vector<T> expected;
  for (const char* kind : {"random", "special", "descending"}) {
    components.push_back(input<T>(kind, n, 9));
    stream<T> alone(1, T(0.01), orders_of<T>(20));
    ASSERT_EQ(alone.results(components.back()), 0);
    expected.insert(expected.end(), alone.quantiles().begin(), alone.quantiles().end());
  }
  for (const int32_t layout : layouts)
    for (const auto& [threads, part] :
         {std::pair(0, 1), {0, 1999}, {1, 99}, {1, 200}, {4, 99}, {4, 200}, {4, 3000}}) {
      thread_services::threads = threads;
      stream<T> s(3, T(0.01), orders_of<T>(20), layout);
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
      ASSERT_TRUE(same_bits(s.quantiles(), expected)) << layout << ' ' << threads << ' ' << part;
    }
}

TYPED_TEST(streams, begin_and_end) {
  using T = TypeParam;
  stream<T> s(1, T(0.5), {0, T(0.5), 1});
  EXPECT_EQ(s.results(), 0);
  EXPECT_EQ(s.quantiles(), std::vector<T>(3, -1)) << "of nothing";
  EXPECT_EQ(s.take({5, 3, 4}), 0);
  EXPECT_EQ(s.quantiles(), std::vector<T>(3, -1)) << "not asked for";
  for (const T eps : {T(0.001), T(0.75)}) {
    s.real("sq_params", {eps});
    EXPECT_EQ(s.take(input<T>("random", 900)), KOV_SS_ERR_SQ_EPS)
        << "stages are made for the eps of the first call";
  }
  s.real("sq_params", {T(0.5)});
  EXPECT_EQ(s.results(), 0);
  EXPECT_EQ(s.quantiles(), (std::vector<T>{3, 3, 5}));  // ranks 1 and 2 are as near to 1.5
  for (int again = 0; again < 2; again++) EXPECT_EQ(__kovSQuantilesFreeBuffers(s.record), 0);
  s.real("sq_params", {T(0.01)});
  EXPECT_EQ(s.results({7}), 0);
  EXPECT_EQ(s.quantiles(), std::vector<T>(3, 7)) << "of a new stream";
  EXPECT_EQ(__kovSQuantilesFreeBuffers(nullptr), KOV_SS_ERR_NULL_TASK);

  // With eps 1 blocks of one number leave nothing behind at first; every eps ends.
  for (const T eps : {T(1), T(0.95), T(0.76), T(0.6), T(0.43), T(0.34), T(0.26)})
    EXPECT_EQ(stream<T>(1, eps, {0, 1}).results(input<T>("random", 5000)), 0) << eps;
  // No machine has the memory for these.
  for (const T eps : {T(1e-20), std::numeric_limits<T>::min(), std::numeric_limits<T>::denorm_min()})
    EXPECT_EQ(stream<T>(1, eps, {0}).take({1}), KOV_SS_ERR_NO_MEMORY) << eps;
}

// The number of threads is the services' affair.
TYPED_TEST(streams, keep_to_the_components_of_their_first_call) {
  using T = TypeParam;
  stream<T> s(4, T(0.1), {1});
  s.integer("indices", {0, 1, 0, 1});
  EXPECT_EQ(s.take({1, 2, 3, 4, 5, 6, 7, 8}, KOV_SS_SQ_RESULT, scripted_services::with(3)), 0);
  EXPECT_EQ(scripted_services::rounds, (std::vector{std::pair(4, 0)}))
      << "all threads share out the components";
  EXPECT_EQ(s.quantiles(), (std::vector<T>{6, 8, -1, -1}));
  for (const auto& [p, indices, status] : {std::tuple(4, std::vector<int32_t>{0, 0, 0, 1}, 0),
                                           {4, {1, 0, 0, 0}, KOV_SS_ERR_INDICES},
                                           {4, {0, 0, 0, 0}, 0},
                                           {3, {0, 1, 0}, KOV_SS_ERR_OBS_DIM},
                                           {5, {0, 1, 0, 0, 0}, KOV_SS_ERR_OBS_DIM},
                                           {0, {0}, KOV_SS_ERR_OBS_DIM}}) {
    s.integer("indices", indices).integer("obs_dim", {p});
    EXPECT_EQ(s.results(), status) << p;
  }
  stream<T> idle(2, T(0.1), {1});
  idle.integer("indices", {0, 0});
  EXPECT_EQ(idle.results({1, 2}), 0);
  EXPECT_EQ(idle.results({1, 2}), KOV_SS_ERR_INDICES);
}

// The summary of N numbers: its entries, a number and two ranks each, are less than log(eps N)^3 / eps, and four times the
// stream adds half of them.
TYPED_TEST(streams, take_memory_by_the_logarithm_of_their_length) {
  const auto in_use = [] {
    const struct mallinfo2 heap = mallinfo2();
    return double(heap.uordblks + heap.hblkhd);
  };
  for (const double eps : {0.001, 0.01, 0.1}) {
    stream<TypeParam> s(1, TypeParam(eps), {1});
    s.real("obs", input<TypeParam>("random", 1000)).integer("obs_count", {1000});
    double n = 0;
    const auto entries_at = [&, empty = in_use()](double length) {
      for (; n < length; n += 1000) EXPECT_EQ(s.call("stream", 0, KOV_SS_SQ_TAKE, nullptr), 0);
      return (in_use() - empty) / (sizeof(TypeParam) + 2 * sizeof(int32_t));
    };
    const double some = entries_at(1e6), many = entries_at(4e6);
    if (some == 0) GTEST_SKIP() << "another heap than the one that tells its size";
    EXPECT_LT(many, 0.6 * std::pow(std::log2(eps * n), 3) / eps) << eps;
    EXPECT_LT(many, 1.7 * some) << eps;
  }
}

}  // namespace
