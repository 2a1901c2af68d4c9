// Moments, sums and matrices against their definitions: all methods, layouts, weights, selections, blocks, threads and
// storage forms; what is missing; memory.

#include <arko/state.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <limits>
#include <sstream>

#include "core/testing.h"
#include "tests/stats/reference.h"
#include "tests/support/child.h"
#include "tests/support/probes.h"

namespace {

using namespace arko::test;

enum weights { none, positive, first_zero };

sample random_sample(int p, int n, weights kind, double mean = 0.7, unsigned seed = 1) {
  std::mt19937 random(seed + 31 * p + n);
  std::normal_distribution<double> normal;
  sample s{p, n, std::vector<double>(std::size_t(p) * n), {}};
  for (int j = 0; j < n; j++) {
    const double common = normal(random);  // correlates components
    for (int i = 0; i < p; i++)
      s.x[std::size_t(j) * p + i] =
          float(mean + 0.3 * i + common + normal(random));  // exact in both precisions
  }
  if (kind != none)
    for (int j = 0; j < n; j++)
      s.w.push_back(kind == first_zero && j < n / 3 ? 0 : float(0.25 + random() / 0x1p32));
  return s;
}

// Everything that the computation has arrays for, against the reference; and nothing outside the selection touched.
template <class T>
void expect_close(computation<T>& c, const reference& r, const setup& how, double tolerance,
                  const std::string& what) {
  const auto chosen = [&](int i) { return how.indices.empty() || how.indices[i]; };
  const auto check = [&](const std::string& name, int at, T value, bool ours) {
    if (!ours) {
      EXPECT_EQ(value, T(untouched)) << what << ": " << name << ' ' << at;
      return;
    }
    const real expected = r.values.at(name)[at], scale = r.scales.at(name)[at];
    EXPECT_LE(std::fabs(value - expected), tolerance * std::max(scale, std::fabs(expected)))
        << what << ": " << name << ' ' << at << " is " << value << ", not " << double(expected);
  };
  for (const auto& [name, values] : c.arrays) {
    if (values.size() == std::size_t(c.p) && (c.p > 1 || name[0] != 'c' || name.size() > 3)) {
      for (int i = 0; i < c.p; i++) check(name, i, values[i], chosen(i));
    } else {
      for (int i = 0; i < c.p; i++)
        for (int k = 0; k < c.p; k++) check(name, i * c.p + k, c.matrix(name, i, k), chosen(i) && chosen(k));
    }
  }
}

template <class T> class basic_test : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(basic_test, precisions);

TYPED_TEST(basic_test, agrees_with_definitions) {
  using T = TypeParam;
  const double tolerance = 60 * std::numeric_limits<T>::epsilon();
  const struct {
    int p, n, blocks, threads;
    weights kind;
    std::vector<int32_t> indices;
    int32_t forms[3];
  } cases[] = {
      {1, 15, 1, 4, none, {}, {0, 1, 2}},
      {2, 40, 3, 1, positive, {}, {1, 0, 2}},
      {3, 500, 2, 2, none, {1, 0, 1}, {0, 0, 0}},
      {3, 3000, 1, 3, first_zero, {}, {2, 0, 1}},
      {5, 2000, 1, 2, positive, {0, 1, 1, 0, 1}, {2, 1, 0}},
      {10, 9001, 1, 0, none, {}, {0, 0, 0}},
      {10, 9001, 2, 2, none, {}, {0, 2, 1}},
      {13, 700, 4, 2, first_zero, {}, {1, 1, 1}},
      {19, 97, 1, 8, none, {}, {3, 3, 0}},
      {70, 260, 2, 2, none, {}, {0, 0, 0}},
  };
  std::uint64_t vectors = 0, matrices = 0;
  for (const std::string& name : vector_names()) vectors |= mask_of(name);
  for (const std::string& name : matrix_names()) matrices |= mask_of(name);
  for (const auto& c : cases) {
    const sample s = random_sample(c.p, c.n, c.kind);
    std::vector<double> given(c.p);  // not the sample's mean
    for (int i = 0; i < c.p; i++) given[i] = 1 + 0.25 * i;
    const reference own(s), about_given(s, given);
    for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS, KOV_SS_GIVEN_MEAN})
      for (const int32_t layout : {KOV_SS_OBSERVATIONS, KOV_SS_COMPONENTS})
        for (const std::uint64_t estimates : {vectors | matrices, vectors, matrices}) {
          const bool mean_given = method == KOV_SS_GIVEN_MEAN;
          const reference& r = mean_given ? about_given : own;
          setup how{method, layout, c.indices, c.blocks, c.threads, {}, true};
          std::copy_n(c.forms, 3, how.forms);
          std::ostringstream what;
          what << "p " << c.p << ", n " << c.n << ", method " << method << ", layout " << layout
               << ", estimates " << std::hex << estimates;
          computation<T> made(c.p, how);
          if (estimates & vectors)
            for (const std::string& name : vector_names()) made.array(name);
          if (estimates & matrices)
            for (const std::string& name : matrix_names()) made.array(name);
          if (mean_given) made.array("mean").assign(given.begin(), given.end());
          made.array("mean");
          for (int b = 0; b < c.blocks; b++)
            ASSERT_EQ(made.run(s, b * c.n / c.blocks, (b + 1) * c.n / c.blocks, estimates, how), 0)
                << what.str();
          EXPECT_NEAR(made.pair[0], double(r.weight), tolerance * double(r.weight)) << what.str();
          EXPECT_NEAR(made.pair[1], double(r.weight2), tolerance * double(r.weight2)) << what.str();
          if (mean_given) {
            EXPECT_TRUE(std::equal(given.begin(), given.end(), made.array("mean").begin())) << what.str();
            made.arrays.erase("mean");
          }
          expect_close(made, r, how, tolerance, what.str());
          if (testing::Test::HasFailure()) return;
        }
  }
}

// Sums of a computation, turned into moments and matrices by another.
TYPED_TEST(basic_test, goes_from_sums_to_moments) {
  using T = TypeParam;
  for (const weights kind : {none, positive})
    for (const bool pair : {true, false})
      for (const std::uint64_t method : {KOV_SS_FROM_SUMS, KOV_SS_FROM_SUMS_2 | KOV_SS_SQ_TAKE}) {
        const sample s = random_sample(4, 300, kind);
        const reference r(s);
        setup how{.method = method,
                  .indices = {1, 1, 0, 1},
                  .forms = {1, 2, kind == none ? 0 : 2},
                  .accumulate = pair};
        computation<T> made(s.p, how);
        for (const std::string& name : vector_names()) made.array(name);
        for (const std::string& name : matrix_names()) made.array(name);
        for (const char* name : {"sum1", "sum2", "sum3", "sum4", "csum2", "csum3", "csum4"})
          for (int i = 0; i < s.p; i++)
            if (i != 2) made.array(name)[i] = T(r.values.at(name)[i]);
        for (int i = 0, at = 0; i < s.p; i++)
          for (int k = 0; k < s.p; k++)
            if (made.forms[2] == KOV_SS_FULL || k >= i)
              made.array("cp")[made.forms[2] == KOV_SS_FULL ? i * s.p + k : at++] =
                  T(r.values.at("cp")[i * s.p + k]);
        made.pair[0] = T(r.weight), made.pair[1] = T(r.weight2);
        std::uint64_t estimates = mask_of("cov") | mask_of("cor");
        for (int k = 0; k < 10; k++) estimates |= mask_of(vector_names()[k]);
        const int32_t expected = pair || kind == none ? 0 : KOV_SS_ERR_ACCUM_WEIGHT;
        ASSERT_EQ(made.run(s, 0, s.n, estimates, how), expected) << kind << pair;
        made.arrays.erase("cp");
        if (expected == 0) {
          for (const char* name : {"sum1", "sum2", "sum3", "sum4", "csum2", "csum3", "csum4"})
            made.arrays.erase(name);
          expect_close(made, r, how, 20 * std::numeric_limits<T>::epsilon(), "from sums");
        }
        // Without central sums the central moments are inputs.
        computation<T> ratios(s.p, how);
        for (const char* name : {"mean", "central2", "central3", "central4"})
          for (int i = 0; i < s.p; i++) ratios.array(name)[i] = T(r.values.at(name)[i]);
        ratios.pair[0] = made.pair[0], ratios.pair[1] = made.pair[1];
        for (const char* name : {"kurtosis", "skewness", "variation"}) ratios.array(name);
        ASSERT_EQ(ratios.run(s, 0, s.n, 0x380, how), expected);
        for (const char* name : {"mean", "central2", "central3", "central4"}) ratios.arrays.erase(name);
        if (expected == 0)
          expect_close(ratios, r, how, 20 * std::numeric_limits<T>::epsilon(), "ratios from moments");
      }
}

// The field that is missed first, of those that each estimate needs, in each method; and methods that cannot be.
TEST(basic, says_what_is_missing) {
  const sample s = random_sample(2, 20, none);
  for (const auto& [method, needs] : {std::pair(KOV_SS_FAST | KOV_SS_FROM_SUMS, &estimate::fast),
                                      {KOV_SS_ONE_PASS, &estimate::pass},
                                      {KOV_SS_GIVEN_MEAN, &estimate::pass},
                                      {KOV_SS_FROM_SUMS, &estimate::sums},
                                      {KOV_SS_FROM_SUMS_2, &estimate::sums}})
    for (const estimate& asked : estimates()) {
      // One field after the other is set, in the order in which they are missed.
      const bool possible = asked.*needs != "-";
      const std::vector<std::string> names = words_of(asked.*needs + ' ' + asked.name);
      std::vector<const estimate*> fields;
      for (const estimate& e : estimates())
        if (possible && std::find(names.begin(), names.end(), e.name) != names.end()) fields.push_back(&e);
      const setup how{.method = method};
      computation<double> made(s.p, how);
      for (std::size_t set = 0; set <= fields.size(); set++) {
        if (set > 0) made.array(fields[set - 1]->name);
        made.pair[0] = made.pair[1] = s.n;
        const int32_t expected = !possible ? -4029 : set < fields.size() ? fields[set]->missing : 0;
        EXPECT_EQ(made.run(s, 0, s.n, asked.mask, how), expected) << asked.name << ", method " << method;
      }
    }
}

TEST(basic, refuses) {
  const sample s = random_sample(2, 20, none);
  const double x[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const int32_t p = 2, zero = 0, n = 4, minus = -4, rows = KOV_SS_OBSERVATIONS, both = 0x30001,
                neither = 0x40000;
  double mean[2] = {}, cov[4] = {};
  const struct {
    const int32_t *n, *layout;
    const double* x;
    std::uint64_t estimates, method;
    int32_t status;
  } rows_of[] = {
      {&n, &rows, x, 0x1, 0x1, 0},
      {&n, &both, x, 0x1, 0x2, 0},
      {&n, &rows, x, 0x1, 0x8000000000000001, 0},
      {&n, &rows, x, 0x1, 0, -4029},
      {&n, &rows, x, 0x1, 0x3, -4029},
      {&n, &rows, x, 0x1, 0x101, -4029},
      {&n, &rows, x, 0x1, 0x103, -4029},
      {&n, &rows, x, 0x2, 0x1003, -4029},
      {&n, &rows, x, 0x11, 0x1, -4007},
      {nullptr, nullptr, nullptr, 0x2, 0x1, -4007},
      {nullptr, nullptr, nullptr, 0x1, 0x1, -4002},
      {&zero, &rows, x, 0x1, 0x1, -4002},
      {&minus, &rows, x, 0x1, 0x1, -4002},
      {&n, nullptr, nullptr, 0x1, 0x1, -4032},
      {&n, nullptr, x, 0x1, 0x1, -4044},
      {&n, &neither, x, 0x1, 0x1, -4003},
      {&n, &rows, x, 0x1001, 0x1, -4044},
  };
  for (const auto& row : rows_of) {
    void* task;
    ASSERT_EQ(__kovdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
    __kovdSSEditCovCor(task, mean, cov, nullptr, nullptr, nullptr);
    __koviSSEditTask(task, KOV_SS_OBS_COUNT, row.n);
    __koviSSEditTask(task, KOV_SS_OBS_STORAGE, row.layout);
    __kovdSSEditTask(task, KOV_SS_OBS, row.x);
    mean[0] = untouched;
    EXPECT_EQ(_kovdSSBasic(task, row.estimates, row.method, nullptr), row.status) << &row - rows_of;
    if (row.status != 0) {
      EXPECT_EQ(mean[0], untouched) << &row - rows_of;
    }
    __kovSSDeleteTask(&task);
  }
  EXPECT_EQ(_kovdSSBasic(nullptr, 1, 1, nullptr), -4031);
  // From sums, with neither sums of weights nor a storage form: the weights first.
  const double pair[2] = {1, 1};
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  __kovdSSEditCovCor(task, mean, cov, nullptr, nullptr, nullptr),
      __kovdSSEditCP(task, mean, mean, cov, nullptr);
  EXPECT_EQ(_kovdSSBasic(task, KOV_SS_EST_COV, KOV_SS_FROM_SUMS, nullptr), -4020);
  __kovdSSEditTask(task, KOV_SS_ACCUM_WEIGHT, pair);
  EXPECT_EQ(_kovdSSBasic(task, KOV_SS_EST_COV, KOV_SS_FROM_SUMS, nullptr), -4044);
  __kovSSDeleteTask(&task);
}

// Every allocation failed in turn: the status, and no block lost.
TEST(basic, survives_without_memory) {
  const sample s = random_sample(3, 200, positive);
  const int64_t live = arko_core_live_blocks();
  int failures = 0;
  for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS, KOV_SS_GIVEN_MEAN, KOV_SS_FROM_SUMS})
    for (int k = 1;; k++) {
      const setup how{.method = method, .threads = 2, .forms = {1, 2, 1}};
      computation<double> made(s.p, how);
      for (const char* name : {"mean", "sum1", "cov", "cor", "cp"}) made.array(name);
      made.array("mean").assign(3, 0), made.pair[0] = 1;
      arko_core_fail_allocation(k);
      const int32_t status = made.run(s, 0, s.n, 0x3001, how);
      arko_core_fail_allocation(0);
      if (status == 0) break;
      EXPECT_EQ(status, -4000);
      EXPECT_EQ(made.arrays.at("cov")[0], untouched);
      failures++;
    }
  EXPECT_EQ(arko_core_live_blocks(), live);
  EXPECT_GE(failures, 5);
}

TEST(basic, reads_wide_integers) {
  const int64_t p = 2, n = 3, layout = KOV_SS_COMPONENTS, form = KOV_SS_LOWER_PACKED;
  const int64_t indices[2] = {int64_t{1} << 32, 0};
  const auto narrow = [](const int64_t* v) { return reinterpret_cast<const int32_t*>(v); };
  const double x[6] = {1, 2, 6, 1, 1, 1};
  double mean[2] = {untouched, untouched}, cov[3] = {untouched, untouched, untouched};
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, narrow(&p), narrow(&n), narrow(&layout), x, nullptr, narrow(indices), 1),
            0);
  __kovdSSEditCovCor(task, mean, cov, narrow(&form), nullptr, nullptr);
  EXPECT_EQ(_kovdSSBasic(task, KOV_SS_EST_MEAN | KOV_SS_EST_COV, KOV_SS_ONE_PASS, nullptr), 0);
  EXPECT_EQ(mean[0], 3);
  EXPECT_DOUBLE_EQ(cov[0], 7);
  for (const double v : {mean[1], cov[1], cov[2]}) EXPECT_EQ(v, untouched);
  __kovSSDeleteTask(&task);
}

// A correlation with a component that never changes divides by zero in a kernel: nothing of that but the result is seen.
TYPED_TEST(basic_test, kernels_report_nothing) {
  for (const std::uint32_t set : {ZUR_ERRMODE_DEFAULT, ZUR_ERRMODE_IGNORE, ZUR_ERRMODE_NOERR | ZUR_EP,
                                  ZUR_ERRMODE_DEFAULT | ZUR_FLUSH_DENORMALS | ZUR_TRAP_DIVBYZERO})
    on_new_thread([&] {
      static int calls;
      calls = 0;
      const auto mine = [](ZurErrorContext* report) { return report->Res1 = 5, ++calls; };
      _zurSetErrorCallBack(mine);
      _zurSetMode(set);
      _zurSetErrStatus(ZUR_STATUS_UNDERFLOW);
      const std::uint32_t mode = _zurGetMode();
      sample s = random_sample(2, 50, none);
      for (int j = 0; j < s.n; j++) s.x[2 * j] = 3;
      computation<TypeParam> made(s.p, {});
      made.array("mean"), made.array("cor");
      errno = 0;
      const fp_words words = {.control = 0x340};  // of the x87: all exceptions trap
      const fp_words after = under(words, [&] { EXPECT_EQ(made.run(s, 0, s.n, mask_of("cor"), {}), 0); });
      EXPECT_EQ(calls, 0);
      EXPECT_EQ(errno, 0);
      EXPECT_EQ(_zurGetErrStatus(), ZUR_STATUS_UNDERFLOW);
      EXPECT_EQ(_zurGetMode(), mode);
      EXPECT_EQ(_zurGetErrorCallBack(), +mine);
      EXPECT_EQ(after.control, words.control);
      EXPECT_EQ(after.x87_flags(), 0u);
      EXPECT_EQ(after.sse_control(), words.sse_control());
      EXPECT_TRUE(std::isnan(made.array("cor")[1]));
    });
}

// Another mean given to a later block: the matrix is that of all observations with the mean given last.
TEST(basic, takes_another_mean) {
  const sample s = random_sample(3, 400, positive);
  const std::vector<double> first = {0.5, 1, 2}, last = {1, 0.25, 1.5};
  const reference r(s, last);
  const setup how{.method = KOV_SS_GIVEN_MEAN};
  computation<double> made(s.p, how);
  made.array("cp"), made.array("mean") = first;
  ASSERT_EQ(made.run(s, 0, 150, mask_of("cp"), how), 0);
  made.array("mean") = last;
  ASSERT_EQ(made.run(s, 150, 400, mask_of("cp"), how), 0);
  made.arrays.erase("mean");
  expect_close(made, r, how, 1e-14, "another mean");
}

// Threads are asked for from 16 observations and 8192 products each on, and for a matrix from as many observations as
// there are components.
TEST(basic, asks_for_threads_where_it_is_worth_it) {
  const struct {
    int p, n;
    const char* estimate;
    bool asks;
  } cases[] = {{1000, 31, "mean", false}, {1000, 32, "mean", true}, {10, 1638, "mean", false},
               {10, 1639, "mean", true},  {10, 163, "cov", false},  {10, 164, "cov", true},
               {60, 119, "cov", false},   {60, 120, "cov", true}};
  for (const auto& c : cases) {
    const sample s = random_sample(c.p, c.n, none);
    const setup how{.threads = 2};
    computation<double> made(c.p, how);
    made.array("mean"), made.array(c.estimate);
    const int32_t before = thread_services::rounds;
    ASSERT_EQ(made.run(s, 0, c.n, mask_of(c.estimate), how), 0);
    EXPECT_EQ(thread_services::rounds - before, c.asks) << c.p << ' ' << c.n << ' ' << c.estimate;
  }
}

// Infinite and undefined observations spoil their own component only.
TEST(basic, special_observations) {
  sample s = random_sample(3, 9000, none);
  s.x[3 * 5000 + 1] = HUGE_VAL, s.x[3 * 10 + 2] = NAN;
  for (const int threads : {0, 1, 2}) {
    const setup how{.method = threads ? KOV_SS_FAST : KOV_SS_ONE_PASS, .threads = threads};
    computation<double> made(s.p, how);
    made.array("mean"), made.array("cov");
    ASSERT_EQ(made.run(s, 0, s.n, 0x1001, how), 0);
    EXPECT_NEAR(made.array("mean")[0], 0.7, 0.1);
    const double infinite = made.array("mean")[1];
    EXPECT_TRUE(threads ? infinite == HUGE_VAL : std::isnan(infinite)) << infinite;
    EXPECT_TRUE(std::isnan(made.array("mean")[2]));
    EXPECT_NEAR(made.array("cov")[0], 2, 0.2);
    for (const int i : {1, 2, 3, 4, 5, 6, 7, 8}) EXPECT_TRUE(std::isnan(made.array("cov")[i])) << i;
  }
}

// A component that never changes has no variance at all, and that number for its mean.
TEST(basic, constant_component) {
  sample s = random_sample(3, 9000, none);
  for (int j = 0; j < s.n; j++) s.x[3 * j + 1] = 0.1;
  for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS})
    for (const int32_t layout : {KOV_SS_OBSERVATIONS, KOV_SS_COMPONENTS})
      for (const int threads : {1, 2}) {
        const setup how{.method = method, .layout = layout, .threads = threads};
        computation<double> made(s.p, how);
        for (const char* name : {"mean", "raw2", "central2", "cov"}) made.array(name);
        ASSERT_EQ(made.run(s, 0, s.n, 0x1011, how), 0);
        EXPECT_EQ(made.array("mean")[1], 0.1) << method;
        EXPECT_EQ(made.array("central2")[1], 0) << method;
        for (const int i : {1, 3, 4, 5, 7}) EXPECT_EQ(made.array("cov")[i], 0) << method << ' ' << i;
      }
}

// ---- Data with known results

std::vector<std::vector<double>> columns(const std::string& file) {
  std::ifstream in(std::string(ARKO_SOURCE) + file);
  std::vector<std::vector<double>> rows;
  std::string line;
  for (std::getline(in, line); std::getline(in, line);) {
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, ',');)
      rows.back().push_back(cell.empty() ? NAN : std::stod(cell));
  }
  return rows;
}

// Standard deviations certified to 15 digits for Michelson's measurements and for four series that strain an algorithm
// (Statistical Reference Datasets, National Institute of Standards and Technology: Michelso, NumAcc1 to NumAcc4). What
// decimal fractions lose in the series of large numbers sets their tolerance.
TEST(basic, certified_results) {
  const auto alternating = [](double first, double low, double high) {
    std::vector<double> x = {first};
    for (int i = 0; i < 500; i++) x.push_back(low), x.push_back(high);
    return x;
  };
  std::vector<double> michelson;
  for (const auto& row : columns("/tests/stats/data/michelson.csv")) michelson.push_back(299000 + row[2]);
  ASSERT_EQ(michelson.size(), 100u);
  const struct {
    std::vector<double> x;
    double mean, deviation, tolerance;
  } series[] = {
      {michelson, 299852.4, 79.0105478190518, 2e-15},
      {{10000001, 10000003, 10000002}, 10000002, 1, 0},
      {alternating(1.2, 1.1, 1.3), 1.2, 0.1, 5e-15},
      {alternating(1000000.2, 1000000.1, 1000000.3), 1000000.2, 0.1, 1e-9},
      {alternating(10000000.2, 10000000.1, 10000000.3), 10000000.2, 0.1, 1e-8},
  };
  for (const auto& c : series)
    for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS}) {
      const sample s{1, int(c.x.size()), c.x, {}};
      const setup how{.method = method};
      computation<double> made(1, how);
      for (const char* name : {"mean", "raw2", "central2"}) made.array(name);
      ASSERT_EQ(made.run(s, 0, s.n, 0x11, how), 0);
      EXPECT_NEAR(made.array("mean")[0], c.mean, 2e-16 * c.mean) << c.mean << ' ' << method;
      EXPECT_NEAR(std::sqrt(made.array("central2")[0]), c.deviation, c.tolerance * c.deviation)
          << c.mean << ' ' << method;
    }
}

// Eruptions and waiting times of a geyser; daily wind and temperature. Rounded values as they are published everywhere.
TEST(basic, real_data) {
  const struct {
    std::vector<std::vector<double>> rows;
    int first;
    double mean[2], cov[3], correlation;
  } sets[] = {
      {columns("/examples/data/faithful.csv"),
       0,
       {3.487783, 70.89706},
       {1.302728, 13.97781, 184.8233},
       0.9008112},
      {columns("/tests/stats/data/airquality.csv"),
       2,
       {9.957516, 77.88235},
       {12.41154, -15.27214, 89.59133},
       -0.4579879},
  };
  for (const auto& set : sets) {
    sample s{2, int(set.rows.size()), {}, {}};
    for (const auto& row : set.rows) s.x.insert(s.x.end(), {row[set.first], row[set.first + 1]});
    for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS}) {
      const setup how{.method = method, .forms = {KOV_SS_UPPER_PACKED, 0, 0}};
      computation<double> made(2, how);
      made.array("mean"), made.array("cov"), made.array("cor");
      ASSERT_EQ(made.run(s, 0, s.n, 0x3001, how), 0);
      for (int i = 0; i < 2; i++) EXPECT_NEAR(made.array("mean")[i] / set.mean[i], 1, 1e-6);
      for (int i = 0; i < 3; i++) EXPECT_NEAR(made.array("cov")[i] / set.cov[i], 1, 1e-6);
      EXPECT_NEAR(made.array("cor")[1], set.correlation, 1e-7);
    }
  }
}

// A mean of 10^8 beside deviations of 1: variances and covariances lose nothing.
TEST(basic, large_means) {
  const sample s = random_sample(4, 20000, none, 0);
  sample far = s;
  for (double& x : far.x) x += 1e8;
  const reference r(far);
  for (const std::uint64_t method : {KOV_SS_FAST, KOV_SS_ONE_PASS, KOV_SS_GIVEN_MEAN})
    for (const int threads : {1, 2}) {
      const setup how{.method = method, .threads = threads};
      computation<double> made(s.p, how);
      for (const char* name : {"raw2", "central2", "cov"}) made.array(name);
      const auto mean = r.values.at("mean");
      made.array("mean").assign(mean.begin(), mean.end());
      ASSERT_EQ(made.run(far, 0, s.n, 0x1010, how), 0);
      made.arrays.erase("mean"), made.arrays.erase("raw2");
      // With w x x' less W m m', what the mean lost when it was rounded comes back times 10^8.
      if (method == KOV_SS_GIVEN_MEAN) made.arrays.erase("cov");
      expect_close(made, r, how, 1e-14, "method " + std::to_string(method));
    }
}

// ---- Minima and maxima

TYPED_TEST(basic_test, minima_and_maxima) {
  using T = TypeParam;
  const int cases[][2] = {{1, 1}, {1, 67}, {2, 40}, {3, 100}, {9, 33}, {23, 200}, {40, 3}};
  for (const auto& [p, n] : cases)
    for (const int32_t layout : {KOV_SS_OBSERVATIONS, KOV_SS_COMPONENTS})
      for (const std::uint64_t estimates : {0xC00, 0x400, 0x800})
        for (const bool selection : {false, true}) {
          sample s = random_sample(p, n, none);
          s.x[s.x.size() / 2] = NAN;
          setup how{.method = KOV_SS_ONE_PASS, .layout = layout};
          if (selection)
            for (int i = 0; i < p; i++) how.indices.push_back(i % 3 == 0);
          computation<T> made(p, how);
          made.array("mean");
          ASSERT_EQ(made.run(s, 0, n, 1, how), 0);
          std::vector<T> least(p, 1), most(p, 1);  // seeds inside the range of some, outside that of others
          least[0] = -100, most[p - 1] = 100;
          std::vector<T> expected[2] = {least, most};
          for (int i = 0; i < p; i++)
            for (int j = 0; j < n && (!selection || i % 3 == 0); j++) {
              if (estimates & 0x400 && T(s.at(j, i)) < expected[0][i]) expected[0][i] = T(s.at(j, i));
              if (estimates & 0x800 && T(s.at(j, i)) > expected[1][i]) expected[1][i] = T(s.at(j, i));
            }
          statistics<T>::edit(made.task, KOV_SS_MIN, least.data());
          statistics<T>::edit(made.task, KOV_SS_MAX, most.data());
          EXPECT_EQ(statistics<T>::minmax(made.task, estimates, how.method, nullptr), 0);
          EXPECT_EQ(least, expected[0]) << p << ' ' << n;
          EXPECT_EQ(most, expected[1]) << p << ' ' << n;
        }
}

TEST(minmax, refuses) {
  const int32_t p = 2, n = 2, layout = KOV_SS_COMPONENTS, both = 0x30000, indices[2] = {0, 0};
  const double x[4] = {1, 2, 3, 4};
  double least[2] = {0, 9};
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, &p, &n, &layout, x, nullptr, indices, 0), 0);
  EXPECT_EQ(_kovdSSMinmax(task, 0xC00, 0, nullptr), -4015);
  __kovdSSEditTask(task, KOV_SS_MIN, least);
  EXPECT_EQ(_kovdSSMinmax(task, 0xC00, 0, nullptr), -4016);
  EXPECT_EQ(_kovdSSMinmax(task, 0x400, 0x100, nullptr), -4029);
  arko_core_fail_allocation(1);
  EXPECT_EQ(_kovdSSMinmax(task, 0x400, 1, nullptr), -4000);
  arko_core_fail_allocation(0);
  EXPECT_EQ(_kovdSSMinmax(task, 0x400, 1, nullptr), 0);
  EXPECT_EQ(least[1], 9);  // nothing is selected
  __koviSSEditTask(task, KOV_SS_OBS_STORAGE, &both);
  EXPECT_EQ(_kovdSSMinmax(task, 0xC00, 0, nullptr), -4003);
  EXPECT_EQ(_kovdSSMinmax(nullptr, 0xC00, 1, nullptr), -4031);
  __kovSSDeleteTask(&task);
}

}  // namespace
