// Series of blocks: whatever is asked for when, in which method, layout and size of block, is what one computation over
// all observations so far would give.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>

#include "core/testing.h"
#include "tests/stats/reference.h"

namespace {

using namespace arko::test;

constexpr double never_computed = 777;  // what arrays hold at first

bool is_matrix(const estimate& e) { return e.name == "cov" || e.name == "cor" || e.name == "cp"; }
bool is_ratio(const estimate& e) {
  return e.name == "kurtosis" || e.name == "skewness" || e.name == "variation";
}

sample first_of(const sample& s, int n) {
  sample part = s;
  part.n = n;
  part.x.resize(std::size_t(n) * s.p);
  if (!s.w.empty()) part.w.resize(n);
  return part;
}

template <class T>
std::string differs(const std::string& name, int at, T value, const reference& r, double eps) {
  const real expected = r.values.at(name)[at], scale = r.scales.at(name)[at];
  if (std::fabs(value - expected) <= eps * std::max(scale, std::fabs(expected))) return {};
  std::ostringstream text;
  text << name << ' ' << at << " is " << value << ", not " << double(expected);
  return text.str();
}

// The estimates that a block asked for, as far as they have a value: no variance without two observations that weigh, no
// ratio without a variance.
template <class T>
std::string check(computation<T>& made, const std::vector<const estimate*>& asked, const sample& so_far,
                  const setup& how, const std::vector<double>& given, double eps) {
  int weighing = 0;
  for (int j = 0; j < so_far.n; j++) weighing += so_far.weight(j) != 0;
  const reference r(so_far, given);
  const auto chosen = [&](int i) { return how.indices.empty() || how.indices[i]; };
  for (const estimate* e : asked) {
    const bool needs_variance = is_ratio(*e) || e->name == "cor";
    if (weighing < 2 && (needs_variance || e->name == "central2" || e->name == "cov")) continue;
    if (weighing == 0) {  // nothing seen
      if (e->name != "mean" || given.empty())
        for (int i = 0; i < made.p; i++)
          if (chosen(i) && (is_matrix(*e) ? made.matrix(e->name, i, i) : made.array(e->name)[i]) != 0)
            return e->name + " of nothing";
      continue;
    }
    const auto varies = [&](int i) {
      return r.values.at(e->name == "cor" ? "cp" : "csum2")[e->name == "cor" ? i * made.p + i : i] >
             1e-3L * r.scales.at("sum2")[i];
    };
    // With what deviations lose beside a larger mean, and a mean beside larger deviations.
    const auto tolerance = [&](int i) {
      const real m = std::fabs(r.values.at("mean")[i]), d = std::sqrt(r.values.at("csum2")[i] / r.weight);
      if ((e->name[0] != 'c' && !is_ratio(*e)) || d == 0) return eps;
      return eps * double(1 + m / d / 10 + (e->name == "variation" ? d / m : 0));
    };
    for (int i = 0; i < made.p; i++) {
      if (!chosen(i) || (needs_variance && !varies(i))) continue;
      for (int k = 0; k < (is_matrix(*e) ? made.p : 1); k++) {
        if (is_matrix(*e) && (!chosen(k) || (needs_variance && !varies(k)))) continue;
        const std::string s = is_matrix(*e) ? differs(e->name, i * made.p + k, made.matrix(e->name, i, k), r,
                                                      std::max(tolerance(i), tolerance(k)))
                                            : differs(e->name, i, made.array(e->name)[i], r, tolerance(i));
        if (!s.empty()) return s;
      }
    }
  }
  return {};
}

template <class T> class series : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(series, precisions);

TYPED_TEST(series, give_what_one_computation_gives) {
  using T = TypeParam;
  const double eps = 300 * std::numeric_limits<T>::epsilon();
  std::mt19937 random(7);
  std::normal_distribution<double> normal;
  const auto below = [&](int n) { return int(random() % unsigned(n)); };
  for (int walk = 0; walk < 1500; walk++) {
    const bool mean_given = below(3) == 0, has_matrix = below(2) == 0;
    const int kind = below(4);  // of weights: none, some, also 0, those of the first half 0
    sample s{1 + below(below(4) ? 4 : 20), 1 + below(below(3) ? 12 : 90), {}, {}};
    const bool has_constant = below(4) == 0;
    const double mean = mean_given || below(3) ? 0.7 : 90;
    for (int j = 0; j < s.n; j++)
      for (int i = 0; i < s.p; i++)
        s.x.push_back(has_constant && i == 0
                          ? 0.3f
                          : float(mean + normal(random) + (i ? s.x[std::size_t(j) * s.p] : 0)));
    for (int j = 0; kind && j < s.n; j++)
      s.w.push_back((kind == 2 && below(3)) || (kind == 3 && j < s.n / 2) ? 0
                                                                          : float(0.25 + random() / 0x1p32));
    setup how{.accumulate = true};
    for (int32_t& form : how.forms) form = below(3);
    for (int i = 0; below(3) == 0 && i < s.p; i++) how.indices.push_back(below(2));
    if (!how.indices.empty()) how.indices.resize(std::size_t(s.p));
    std::vector<double> given;
    for (int i = 0; mean_given && i < s.p; i++) given.push_back(float(mean + 0.25 * (i % 3 + 1)));

    computation<T> made(s.p, how);
    const bool sparse = below(2);  // no arrays but those that are needed
    for (const estimate& e : estimates())
      if (!sparse && below(3) == 0)
        std::fill(made.array(e.name).begin(), made.array(e.name).end(), T(never_computed));
    if (mean_given) made.array("mean").assign(given.begin(), given.end());
    int order = 0, raw_order = 0;  // that the series has begun with
    std::ostringstream story;
    story << "walk " << walk << ", p " << s.p << ", n " << s.n << ", weights " << kind
          << (how.indices.empty() ? "" : ", selection");
    for (int done = 0; done < s.n;) {
      const bool begins = !(made.pair[0] > 0);  // also after blocks that weigh nothing
      if (begins) order = raw_order = 0;
      const int count = below(2) ? 1 : std::min(1 + below(40), s.n - done);
      how.method = mean_given ? KOV_SS_GIVEN_MEAN : below(2) ? KOV_SS_FAST : KOV_SS_ONE_PASS;
      made.layout = below(2) ? KOV_SS_OBSERVATIONS : KOV_SS_COMPONENTS;
      how.threads = below(3);
      std::vector<const estimate*> asked;
      bool matrix = false;
      const int largest = begins ? 1 + below(4) : 4;
      std::uint64_t mask = 0;
      for (int tries = 0; (tries < 4 || asked.empty() || (has_matrix && !matrix)) && tries < 400; tries++) {
        const estimate& e = estimates()[std::size_t(below(20))];
        if ((is_matrix(e) && !has_matrix) || e.order > largest) continue;
        if (!begins && (e.order > std::max(order, 1) || (mean_given && e.raw_order > raw_order))) continue;
        if (mean_given && e.name == "mean") continue;
        asked.push_back(&e), matrix |= is_matrix(e), mask |= e.mask;
        for (const std::string& other : words_of(how.method == KOV_SS_FAST ? e.fast : e.pass))
          if (!made.arrays.contains(other))
            made.array(other).assign(made.array(other).size(), T(never_computed));
        if (!made.arrays.contains(e.name))
          made.array(e.name).assign(made.array(e.name).size(), T(never_computed));
      }
      if (asked.empty() || (has_matrix && !matrix)) break;
      if (begins)
        for (const estimate* e : asked) {
          order = std::max(
              order,
              mean_given && (e->name[0] == 'r' || e->name[0] == 's') && e->name != "skewness" ? 0 : e->order);
          raw_order = std::max(raw_order, e->raw_order);
        }
      story << "; " << count << (how.method == KOV_SS_FAST ? " fast" : mean_given ? " given" : " one pass");
      for (const estimate* e : asked) story << ' ' << e->name;
      ASSERT_EQ(made.run(s, done, done + count, mask, how), 0) << story.str();
      done += count;
      ASSERT_EQ(check(made, asked, first_of(s, done), how, given, eps), "") << story.str();
    }
  }
}

// Arrays that another task goes on with, or that came to other addresses, and what the first one computed there: then
// they alone are the state.
TYPED_TEST(series, go_on_in_another_task) {
  using T = TypeParam;
  const sample s = {1, 6, {1.5, 4, 2, 7, 3, 3.25}, {}};
  const reference all(s);
  const struct {
    const char *first, *later, *result;
    int until;  // the first task's observations
  } cases[] = {{"mean raw2 raw3 raw4", "mean raw2 raw3 raw4 central2 central3 central4", "central4", 1},
               {"mean raw2 raw3 raw4", "mean raw2 raw3 raw4 central2 central3 central4", "raw4", 3},
               {"mean raw2 raw3 central2 central3", "mean raw2 raw3 central2 central3", "central3", 1},
               {"mean csum2", "mean csum2", "csum2", 1},
               {"mean csum2 csum3 csum4", "mean csum2 csum3 csum4", "csum4", 3},
               {"mean raw4 csum4", "mean raw4 csum4", "raw4", 2},
               {"sum3", "sum3", "sum3", 2},
               {"mean cov", "mean cov", "cov", 2},
               {"mean cov cor", "mean cov", "cov", 1},
               {"mean cor", "mean cor", "cor", 1},
               {"mean cor cp", "mean cor cp", "cp", 1}};
  for (const auto& c : cases)
    for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS})
      for (const bool moved : {false, true}) {
        if (method == KOV_SS_FAST && std::string(c.first).starts_with("mean cs"))
          continue;  // needs raw moments
        const setup how{.method = method};
        computation<T> first(1, how), second(1, how);
        const auto run = [&](computation<T>& made, const char* names, int from, int to) {
          std::uint64_t mask = 0;
          for (const std::string& name : words_of(names)) mask |= mask_of(name), made.array(name);
          ASSERT_EQ(made.run(s, from, to, mask, how), 0) << names;
        };
        for (const estimate& e : estimates())
          first.array(e.name)[0] = second.array(e.name)[0] = T(never_computed);
        run(first, c.first, 0, c.until);
        std::copy_n(first.pair, 2, second.pair);
        for (auto& [name, values] : first.arrays) second.arrays.at(name)[0] = values[0];
        if (moved) {  // in the first task: its own memory is of other arrays now
          for (auto& [name, values] : second.arrays)
            statistics<T>::edit(first.task, estimate_of(name).code, values.data());
          statistics<T>::edit(first.task, KOV_SS_ACCUM_WEIGHT, second.pair);
        }
        run(moved ? first : second, c.later, c.until, s.n);
        EXPECT_EQ(
            differs(c.result, 0, second.array(c.result)[0], all, 40 * std::numeric_limits<T>::epsilon()), "")
            << c.first << ", " << c.until << ' ' << moved;
      }
}

// What the caller writes to the arrays between two blocks is the state.
TYPED_TEST(series, take_what_the_caller_writes) {
  const sample s = {1, 4, {1, 5, 2, 4}, {}};
  const setup how{.method = KOV_SS_ONE_PASS};
  computation<TypeParam> made(1, how);
  const std::uint64_t mask = mask_of("mean") | mask_of("csum2");
  made.array("mean"), made.array("csum2");
  ASSERT_EQ(made.run(s, 0, 2, mask, how), 0);
  made.array("mean")[0] = 7, made.array("csum2")[0] = 2;  // of 6 and 8
  ASSERT_EQ(made.run(s, 2, 4, mask, how), 0);
  EXPECT_EQ(made.array("mean")[0], 5);
  EXPECT_FLOAT_EQ(made.array("csum2")[0], 20);
}

// A task that has computed with few components goes on with many.
TEST(given_mean, dimension_may_grow) {
  const int large = 1000;
  int32_t p = 1, n = 2, layout = KOV_SS_OBSERVATIONS;
  std::vector<double> x(2 * large, 1), mean(large, 0.5), sums(large);
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, &p, &n, &layout, x.data(), nullptr, nullptr, 0), 0);
  ASSERT_EQ(__kovdSSEditMoments(task, mean.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(__kovdSSEditTask(task, KOV_SS_CSUM2, sums.data()), 0);
  for (const int32_t dimension : {1, large, 1}) {
    p = dimension;
    EXPECT_EQ(_kovdSSBasic(task, KOV_SS_EST_CSUM2, KOV_SS_GIVEN_MEAN, nullptr), 0);
    EXPECT_EQ(sums[std::size_t(p - 1)], 0.5);
  }
  EXPECT_EQ(__kovSSDeleteTask(&task), 0);
}

// What does not weigh, or next to nothing, does not decide what deviations are taken from: not the first observation,
// not the first 64, not a block of its own.
TYPED_TEST(series, do_not_lean_on_what_weighs_nothing) {
  using T = TypeParam;
  const struct {
    double x, weight;
    int count;
  } cases[] = {{1e10, 0, 1},  {1e20, 0, 1},      {1e15, 1e-30, 1},
               {1e10, 0, 70}, {1e15, 1e-30, 70}, {1e15, 1e-30, 20000}};  // the last with two threads
  for (const auto& c : cases)
    for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS})
      for (const bool apart : {false, true}) {
        sample s = {1, c.count, std::vector<double>(std::size_t(c.count), c.x), {}};
        s.w.assign(std::size_t(c.count), c.weight);
        for (int i = 0; i < 99; i++) s.x.push_back(float(1 + 0.01 * i)), s.w.push_back(1), s.n++;
        const reference r(s);
        const setup how{.method = method, .threads = 2};
        computation<T> made(1, how);
        const std::uint64_t mask = mask_of("mean") | mask_of("central2") | mask_of("cov");
        for (const char* name : {"mean", "raw2", "central2", "cov"}) made.array(name);
        const int split = apart ? 99 : 0;
        if (apart) {  // the light ones last
          std::rotate(s.x.begin(), s.x.begin() + c.count, s.x.end());
          std::rotate(s.w.begin(), s.w.begin() + c.count, s.w.end());
          ASSERT_EQ(made.run(s, 0, split, mask, how), 0);
        }
        ASSERT_EQ(made.run(s, split, s.n, mask, how), 0);
        const double eps = (100 + c.count / 10) * std::numeric_limits<T>::epsilon();
        for (const char* name : {"mean", "central2", "cov"})
          EXPECT_EQ(differs(name, 0, made.array(name)[0], r, eps), "")
              << c.x << ' ' << c.weight << ' ' << c.count << ' ' << method << ' ' << apart;
      }
}

}  // namespace
