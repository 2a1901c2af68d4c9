// Moments, sums, matrices and minima against their definitions: all methods, layouts, weights, selections, blocks, threads
// and storage forms; series of blocks; data with known results.

#include <arko/state.h>

#include <cerrno>
#include <random>

#include "tests/stats/reference.h"
#include "tests/support/child.h"
#include "tests/support/probes.h"

namespace {

using namespace arko::test;

constexpr uint64_t both_walks[] = {KOV_SS_FAST, KOV_SS_ONE_PASS};

// Correlated components with means from `mean` on; all numbers are exact in both precisions.
sample random_sample(int p, int n, bool weighted = false, double mean = 0.7) {
  std::mt19937 random(1 + 31 * p + n);
  std::normal_distribution<double> normal;
  sample s{p, n, {}, {}};
  for (int j = 0; j < n; j++) {
    const double common = normal(random);
    for (int i = 0; i < p; i++) s.x.push_back(float(mean + 0.3 * i + common + normal(random)));
    if (weighted) s.w.push_back(float(0.25 + random() / 0x1p32));
  }
  return s;
}

// What is wrong with an estimate at (i, k), if anything is.
template <class T>
std::string differs(computation<T>& made, const std::string& name, int i, int k, const reference& r,
                    double eps) {
  const std::size_t at = estimate_of(name).is_matrix() ? i * made.p + k : i;
  const real expected = r.values.at(name)[at], value = made.element(name, i, k);
  if (std::fabs(value - expected) <= eps * std::max(r.scales.at(name)[at], std::fabs(expected))) return {};
  std::ostringstream text;
  text << name << ' ' << i << ' ' << k << " is " << value << ", not " << expected;
  return text.str();
}
template <class T>
void expect_close(computation<T>& made, const std::string& names, const reference& r, double ulps) {
  for (const std::string& name : words_of(names))
    for (int i = 0; i < made.p; i++)
      for (int k = 0; k < (estimate_of(name).is_matrix() ? made.p : 1); k++)
        EXPECT_EQ(differs(made, name, i, k, r, ulps * std::numeric_limits<T>::epsilon()), "");
}

template <class T> class moments : public testing::Test {};
TYPED_TEST_SUITE(moments, precisions);

// ---- Series of blocks: whatever is asked for when, it is what one computation over all observations so far would give

// What is wrong with the estimates that a block asked for, as far as they have a value: no variance without two
// observations that weigh, no ratio without a variance. Outside the selection nothing is written.
template <class T>
std::string check(computation<T>& made, const std::vector<const estimate*>& asked, const sample& so_far,
                  const setup& how, const std::vector<double>& given, real eps) {
  const reference r(so_far, given);
  const bool one_weighs = r.weight * r.weight == r.weight2;
  const auto varies = [&](int i, bool in_matrix) {
    return (in_matrix ? r.values.at("cp")[i * made.p + i] : r.values.at("csum2")[i]) >
           1e-3L * r.scales.at("sum2")[i];
  };
  for (const estimate* e : asked)
    for (int i = 0; i < made.p; i++)
      for (int k = 0; k < (e->is_matrix() ? made.p : 1); k++) {
        const int other = e->is_matrix() ? k : i;
        const bool is_ratio = e->name == "kurtosis" || e->name == "skewness" || e->name == "variation",
                   in_matrix = e->name == "cor",
                   has_value = !(is_ratio || in_matrix) ||
                               (!one_weighs && varies(i, in_matrix) && varies(other, in_matrix)),
                   has_divisor = !one_weighs || (e->name != "central2" && e->name != "cov"),
                   of_deviations = is_ratio || e->name[0] == 'c';
        const T value = made.element(e->name, i, k);
        if (!how.indices.empty() && !(how.indices[i] && how.indices[other])) {
          if (value != T(untouched)) return e->name + " outside the selection";
        } else if (r.weight == 0) {
          if (has_value && has_divisor && value != 0) return e->name + " of nothing";
        } else if (has_value && has_divisor) {
          const real loss = of_deviations ? std::max(r.loss[i], r.loss[other]) : 1;
          if (const std::string wrong = differs(made, e->name, i, k, r, eps * loss); !wrong.empty())
            return wrong;
        }
      }
  return {};
}

TYPED_TEST(moments, of_series_are_those_of_one_computation) {
  using T = TypeParam;
  const double eps = 300 * std::numeric_limits<T>::epsilon();
  std::mt19937 random(7);
  std::normal_distribution<double> normal;
  const auto below = [&](int n) { return int(random() % unsigned(n)); };
  for (int walk = 0; walk < 1500; walk++) {
    const bool mean_given = below(3) == 0, has_matrix = below(2) == 0, large = walk % 40 == 0;
    const int kind = below(4);  // of weights: none, some, also 0, those of the first half 0
    sample s{1 + below(below(4) ? 4 : 20), 1 + below(below(3) ? 12 : 90), {}, {}};
    if (large) s.p = below(2) ? 1 + below(4) : 10 + below(30), s.n = 17000 / s.p + below(300);
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
    setup how;
    for (int32_t& form : how.forms) form = below(3);
    for (int i = 0; below(3) == 0 && i < s.p; i++) how.indices.push_back(below(2));
    if (!how.indices.empty()) how.indices.resize(std::size_t(s.p));
    std::vector<double> given;
    for (int i = 0; mean_given && i < s.p; i++) given.push_back(float(mean + 0.25 * (i % 3 + 1)));

    computation<T> made(s.p, how);
    for (const estimate& e : estimates())
      if (walk % 2 && below(3) == 0) made.array(e.name);  // also what is never computed
    if (mean_given) made.array("mean").assign(given.begin(), given.end());
    int order = 0, raw_order = 0;  // that the series has begun with
    for (int done = 0; done < s.n;) {
      const bool begins = !(made.pair()[0] > 0);  // also after blocks that weigh nothing
      if (begins) order = raw_order = 0;
      const int count = std::min(large ? s.n / (1 + below(2)) : below(2) ? 1 : 1 + below(40), s.n - done);
      how.method = mean_given ? KOV_SS_GIVEN_MEAN : both_walks[below(2)];
      how.layout = layouts[below(2)];
      how.threads = large ? 1 + below(4) : below(3);
      std::vector<const estimate*> asked;
      bool matrix = false;
      const int largest = begins ? 1 + below(4) : 4;
      uint64_t mask = 0;
      for (int tries = 0; (tries < 4 || asked.empty() || (has_matrix && !matrix)) && tries < 400; tries++) {
        const estimate& e = estimates()[std::size_t(below(20))];
        if ((e.is_matrix() && !has_matrix) || e.order > largest || (mean_given && e.name == "mean")) continue;
        if (!begins && (e.order > std::max(order, 1) || (mean_given && e.raw_order > raw_order))) continue;
        asked.push_back(&e), matrix |= e.is_matrix(), mask |= e.mask, made.array(e.name);
        made.ask(how.method == KOV_SS_FAST ? e.fast : e.pass);
      }
      if (asked.empty() || (has_matrix && !matrix)) break;
      for (const estimate* e : asked) {
        const bool raw = e->name.starts_with("raw") || e->name.starts_with("sum");
        if (begins && !(mean_given && raw)) order = std::max(order, e->order);
        if (begins) raw_order = std::max(raw_order, e->raw_order);
      }
      ASSERT_EQ(made.run(s, done, done + count, mask, how), 0) << "walk " << walk << " at " << done;
      done += count;
      ASSERT_EQ(check(made, asked, s.first(done), how, given, eps), "") << "walk " << walk << " at " << done;
    }
  }
}

// Arrays that another task goes on with, or that came to other addresses, and what the first one computed there: then
// they alone are the state.
TYPED_TEST(moments, go_on_in_another_task) {
  const sample s = {1, 6, {1.5, 4, 2, 7, 3, 3.25}, {}};
  for (const auto& row : table_of("tests/stats/data/continued.csv"))
    for (const auto& [method, moved] :
         {std::pair(KOV_SS_FAST, false), {KOV_SS_ONE_PASS, false}, {KOV_SS_ONE_PASS, true}}) {
      const setup how{.method = method};
      const int until = std::stoi(row[1]);
      computation<TypeParam> first(1), second(1);
      for (const estimate& e : estimates()) first.array(e.name), second.array(e.name);
      ASSERT_EQ(first.run(s, 0, until, first.ask(row[0]), how), 0);
      for (auto& [name, values] : second.reals) values[0] = first[name][0];
      second.pair() = first.pair();
      for (auto& [name, values] : second.reals)
        if (moved) first.at(name, values.data());  // its own memory is of other arrays now
      ASSERT_EQ((moved ? first : second).run(s, until, s.n, second.ask(row[2]), how), 0);
      expect_close(second, row[3], reference(s), 40);
    }
}

// What the caller writes to the arrays between two blocks is the state; another given mean, too.
TYPED_TEST(moments, take_what_the_caller_writes) {
  computation<TypeParam> made(1);
  const sample s = {1, 4, {1, 5, 2, 4}, {}};
  const setup how{.method = KOV_SS_ONE_PASS};
  const uint64_t mask = made.ask("mean csum2");
  ASSERT_EQ(made.run(s, 0, 2, mask, how), 0);
  made["mean"][0] = 7, made["csum2"][0] = 2;  // of 6 and 8
  ASSERT_EQ(made.run(s, 2, 4, mask, how), 0);
  EXPECT_EQ(made["mean"][0], 5);
  EXPECT_FLOAT_EQ(made["csum2"][0], 20);

  const sample other = random_sample(3, 400, true);
  computation<TypeParam> products(3);
  products.ask("mean cp");
  const std::vector<double> last = {1, 0.25, 1.5};
  for (const auto& [mean, begin, end] :
       {std::tuple(std::vector<double>{0.5, 1, 2}, 0, 150), {last, 150, 400}}) {
    products["mean"].assign(mean.begin(), mean.end());
    ASSERT_EQ(products.run(other, begin, end, estimate_of("cp").mask, {.method = KOV_SS_GIVEN_MEAN}), 0);
  }
  expect_close(products, "cp", reference(other, last), 45);
}

// A task that has computed with few components goes on with many.
TEST(given_mean, dimension_may_grow) {
  const int large = 1000;
  task<double> t(1, 2, KOV_SS_OBSERVATIONS, std::vector<double>(2 * large, 1));
  t.real("mean", std::vector<double>(large, 0.5)).real("csum2", std::vector<double>(large));
  for (const int32_t dimension : {1, large, 1}) {
    t.integers["obs_dim"][0] = dimension;
    EXPECT_EQ(t.call("basic", KOV_SS_EST_CSUM2, KOV_SS_GIVEN_MEAN), 0);
    EXPECT_EQ(t["csum2"][std::size_t(dimension - 1)], 0.5);
  }
}

// What does not weigh, or next to nothing, does not decide what deviations are taken from: not the first observation,
// not the first 64, not a block of its own.
TYPED_TEST(moments, do_not_lean_on_what_weighs_nothing) {
  for (const auto& row : table_of("tests/stats/data/light.csv"))
    for (const uint64_t method : both_walks)
      for (const int split : {0, 99}) {  // of the heavy ones, which come first where there is a block of them
        const int count = std::stoi(row[2]);
        sample s = {1, count + 99, {}, {}};
        for (int j = 0; j < s.n; j++) {
          const int heavy = split ? j : j - count;
          const bool weighs = 0 <= heavy && heavy < 99;
          s.x.push_back(weighs ? float(1 + 0.01 * heavy) : std::stod(row[0]));
          s.w.push_back(weighs ? 1 : std::stod(row[1]));
        }
        const setup how{.method = method, .threads = 2};
        computation<TypeParam> made(1);
        made.ask("raw2");
        const uint64_t mask = made.ask("mean central2 cov");
        if (split) {
          ASSERT_EQ(made.run(s, 0, split, mask, how), 0);
        }
        ASSERT_EQ(made.run(s, split, s.n, mask, how), 0);
        expect_close(made, "mean central2 cov", reference(s), 100 + count / 10);
      }
}

// ---- Other ways to the estimates

// Sums turned into moments and matrices; where there are no central sums central moments are inputs.
TYPED_TEST(moments, come_from_sums) {
  for (const bool weighted : {false, true})
    for (const bool pair : {true, false})
      for (const auto& [method, known, wanted] :
           {std::tuple(KOV_SS_FROM_SUMS, "sum1 sum2 sum3 sum4 csum2 csum3 csum4 cp",
                       "mean raw2 raw3 raw4 central2 central3 central4 kurtosis skewness variation cov cor"),
            {KOV_SS_FROM_SUMS_2 | KOV_SS_SQ_TAKE, "mean central2 central3 central4",
             "kurtosis skewness variation"}}) {
        const sample s = random_sample(4, 300, weighted);
        const reference r(s);
        std::vector<const estimate*> asked;
        for (const std::string& name : words_of(wanted)) asked.push_back(&estimate_of(name));
        const setup how{
            .method = method, .indices = {1, 1, 0, 1}, .forms = {1, 2, weighted ? 2 : 0}, .accumulate = pair};
        computation<TypeParam> made(s.p, how);
        made.ask(known);
        for (const std::string& name : words_of(known))
          for (int i = 0, at = 0; i < s.p; i++)
            for (int k = 0; k < (name == "cp" ? s.p : 1); k++)
              if (name != "cp" || !weighted || k >= i)
                made[name][at++] = TypeParam(r.values.at(name)[name == "cp" ? i * s.p + k : i]);
        if (pair) made.pair() = {TypeParam(r.weight), TypeParam(r.weight2)};
        const bool can = pair || !weighted;
        ASSERT_EQ(made.run(s, wanted, how), can ? 0 : KOV_SS_ERR_ACCUM_WEIGHT);
        if (can) {
          EXPECT_EQ(check(made, asked, s, how, {}, 18 * std::numeric_limits<TypeParam>::epsilon()), "");
        }
      }
}

// The field that is missed first, of those that each estimate needs, in each method; and methods that cannot be.
TEST(requests, say_what_is_missing) {
  const sample s = random_sample(2, 20);
  for (const auto& [method, needs] : {std::pair(KOV_SS_FAST | KOV_SS_FROM_SUMS, &estimate::fast),
                                      {KOV_SS_ONE_PASS, &estimate::pass},
                                      {KOV_SS_GIVEN_MEAN, &estimate::pass},
                                      {KOV_SS_FROM_SUMS, &estimate::sums},
                                      {KOV_SS_FROM_SUMS_2, &estimate::sums}})
    for (const estimate& asked : estimates()) {
      const bool possible = asked.*needs != "-";
      const std::vector<std::string> names = words_of(asked.*needs + ' ' + asked.name);
      computation<double> made(s.p);
      const auto status = [&, method = method] {  // clang++ captures no part of a pair by itself
        made.pair() = {20, 20};
        return made.run(s, 0, s.n, asked.mask, {.method = method});
      };
      for (const estimate& e : estimates())  // one field after the other is set
        if (possible && std::find(names.begin(), names.end(), e.name) != names.end()) {
          EXPECT_EQ(status(), e.missing) << asked.name << ", method " << method;
          made.array(e.name);
        }
      EXPECT_EQ(status(), possible ? 0 : KOV_SS_ERR_METHOD) << asked.name << ", method " << method;
    }
}

// Threads are asked for from 16 observations and 8192 products each on, and for a matrix from as many observations as
// there are components.
TEST(threads, are_asked_for_where_it_is_worth_it) {
  for (const auto& row : table_of("tests/stats/data/threads.csv")) {
    computation<double> made(std::stoi(row[0]));
    const int32_t before = thread_services::rounds;
    ASSERT_EQ(made.run(random_sample(made.p, std::stoi(row[1])), row[2], {.threads = 2}), 0);
    EXPECT_EQ(thread_services::rounds - before, std::stoi(row[3]))
        << row[0] << ' ' << row[1] << ' ' << row[2];
  }
}

// A correlation with a component that never changes divides by zero in a kernel: nothing of that but the result is seen.
TYPED_TEST(moments, let_kernels_report_nothing) {
  for (const uint32_t set : {ZUR_ERRMODE_DEFAULT, ZUR_ERRMODE_IGNORE, ZUR_ERRMODE_NOERR | ZUR_EP,
                             ZUR_ERRMODE_DEFAULT | ZUR_FLUSH_DENORMALS | ZUR_TRAP_DIVBYZERO})
    on_new_thread([&] {
      static int calls;
      calls = 0;
      const auto mine = [](ZurErrorContext* report) { return report->Res1 = 5, ++calls; };
      _zurSetErrorCallBack(mine);
      _zurSetMode(set);
      _zurSetErrStatus(ZUR_STATUS_UNDERFLOW);
      const uint32_t mode = _zurGetMode();
      sample s = random_sample(2, 50);
      for (int j = 0; j < s.n; j++) s.x[2 * j] = 3;
      computation<TypeParam> made(s.p);
      errno = 0;
      const fp_words words = {.control = 0x340};  // of the x87: all exceptions trap
      const fp_words after = under(words, [&] { EXPECT_EQ(made.run(s, "mean cor", {}), 0); });
      EXPECT_EQ(calls, 0);
      EXPECT_EQ(errno, 0);
      EXPECT_EQ(_zurGetErrStatus(), ZUR_STATUS_UNDERFLOW);
      EXPECT_EQ(_zurGetMode(), mode);
      EXPECT_EQ(_zurGetErrorCallBack(), +mine);
      EXPECT_EQ(after.control, words.control);
      EXPECT_EQ(after.x87_flags(), 0u);
      EXPECT_EQ(after.sse_control(), words.sse_control());
      EXPECT_TRUE(std::isnan(made["cor"][1]));
    });
}

// ---- Data that strain an algorithm, and data with known results

// A mean of 10^8 beside deviations of 1: variances and covariances lose nothing.
TEST(large_means, take_no_digits) {
  const sample s = random_sample(4, 20000, false, 1e8);
  const reference r(s);
  for (const uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS, KOV_SS_GIVEN_MEAN})
    for (const int threads : {1, 2}) {
      const bool given = method == KOV_SS_GIVEN_MEAN;
      computation<double> made(s.p);
      made.ask("raw2 mean");
      made["mean"].assign(r.values.at("mean").begin(), r.values.at("mean").end());
      ASSERT_EQ(made.run(s, "central2 cov", {.method = method, .threads = threads}), 0);
      // With w x x' less W m m', what the mean lost when it was rounded comes back times 10^8.
      expect_close(made, given ? "central2" : "mean central2 cov", r, 45);
    }
}

// Infinite and undefined observations spoil their own component only; one that never changes has that number for its
// mean and no variance at all.
TEST(components, of_special_observations) {
  sample s = random_sample(4, 9000);
  s.x[4 * 5000 + 1] = HUGE_VAL, s.x[4 * 10 + 2] = NAN;
  for (int j = 0; j < s.n; j++) s.x[4 * j + 3] = 0.1;
  for (const uint64_t method : both_walks)
    for (const int32_t layout : layouts)
      for (const int threads : {0, 1, 2}) {
        computation<double> made(s.p);
        made.ask("raw2");
        ASSERT_EQ(made.run(s, "mean central2 cov", {.method = method, .layout = layout, .threads = threads}),
                  0);
        EXPECT_NEAR(made["mean"][0], 0.7, 0.1);
        EXPECT_NEAR(made.element("cov", 0, 0), 2, 0.2);
        const double infinite = made["mean"][1];
        EXPECT_TRUE(method == KOV_SS_FAST ? infinite == HUGE_VAL : std::isnan(infinite)) << infinite;
        EXPECT_TRUE(std::isnan(made["mean"][2]));
        for (int i = 0; i < 4; i++)
          for (const int k : {1, 2}) EXPECT_TRUE(std::isnan(made.element("cov", i, k))) << i << k;
        EXPECT_EQ(made["mean"][3], 0.1) << method;
        EXPECT_EQ(made["central2"][3], 0) << method;
        for (const int i : {0, 3}) EXPECT_EQ(made.element("cov", i, 3), 0) << method << ' ' << i;
      }
}

// Variances and means that are certified for data which strain an algorithm, and rounded ones as they are published
// everywhere; what decimal fractions lose in the series of large numbers sets their tolerance.
TEST(data, have_their_known_results) {
  for (const auto& row : table_of("tests/stats/data/known.csv"))
    for (const uint64_t method : both_walks) {
      sample s{2, 0, {}, {}};
      const std::size_t first = std::stoul(row[1]), second = std::stoul(row[2]);
      for (const auto& cells : table_of(row[0])) {
        s.x.insert(s.x.end(), {std::stod(cells[first]), std::stod(cells[second])});
        s.n++;
      }
      computation<double> made(2);
      ASSERT_EQ(made.run(s, "mean raw2 central2 cov cor", {.method = method}), 0);
      const double expected = std::stod(row[5]);
      EXPECT_NEAR(made.element(row[3], std::stoi(row[4]), 1), expected,
                  std::stod(row[6]) * std::fabs(expected))
          << row[0] << ' ' << row[3] << ' ' << method;
      expect_close(made, "cov", reference(s), 4.5);  // 15 digits of what the numbers in binary have
    }
}

// ---- Minima and maxima

TYPED_TEST(moments, have_minima_and_maxima_beside_them) {
  using T = TypeParam;
  for (const auto& [p, n] : {std::pair(1, 1), {1, 67}, {2, 40}, {3, 100}, {9, 33}, {23, 200}, {40, 3}})
    for (const int32_t layout : layouts)
      for (const uint64_t estimates : {0xC00, 0x400, 0x800})
        for (const bool selection : {false, true}) {
          sample s = random_sample(p, n);
          s.x[s.x.size() / 2] = NAN;
          setup how{.method = KOV_SS_ONE_PASS, .layout = layout};
          for (int i = 0; selection && i < p; i++) how.indices.push_back(i % 3 == 0);
          computation<T> made(p, how);
          ASSERT_EQ(made.run(s, "mean", how), 0);  // for the observations
          std::vector<T> least(p, 1), most(p, 1);  // inside the range of some, outside that of others
          least[0] = -100, most[p - 1] = 100;
          made.real("min", least).real("max", most);
          for (int i = 0; i < p; i++)
            for (int j = 0; j < n && (!selection || i % 3 == 0); j++) {
              if (estimates & 0x400 && T(s.at(j, i)) < least[i]) least[i] = T(s.at(j, i));
              if (estimates & 0x800 && T(s.at(j, i)) > most[i]) most[i] = T(s.at(j, i));
            }
          EXPECT_EQ(made.call("minmax", estimates, how.method), 0);
          EXPECT_EQ(made["min"], least) << p << ' ' << n;
          EXPECT_EQ(made["max"], most) << p << ' ' << n;
        }
}

}  // namespace
