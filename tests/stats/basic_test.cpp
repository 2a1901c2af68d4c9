// Moments, sums and matrices against their definitions: all methods, layouts, weights, selections, blocks, threads and
// storage forms; what is missing; memory.

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <sstream>

#include "core/testing.h"
#include "tests/stats/reference.h"

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

}  // namespace
