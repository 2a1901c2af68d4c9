// Matrices beside a threaded BLAS that the program brought along: loaded before everything else, see CMakeLists.txt.

#include <arko/stats.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/child.h"

namespace {

using namespace arko::test;

constexpr std::int32_t p = 200, n = 5000;

int threads_now() {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

// The program's BLAS starts its threads at its first large product in a process; a fork leaves them behind.
template <class F> int threads_after(F&& compute) {
  return in_child([&] {
           compute();
           _exit(threads_now());
         })
      .exit_code;
}

TEST(blas, covariance_starts_no_threads_beside_a_threaded_build) {
  using routine = void(const char*, const char*, const std::int32_t*, const std::int32_t*, const double*,
                       const double*, const std::int32_t*, const double*, double*, const std::int32_t*);
  const auto theirs = reinterpret_cast<routine*>(dlsym(RTLD_DEFAULT, "dsyrk_"));
  if (!theirs) GTEST_SKIP() << "no threaded BLAS is loaded";
  if (std::thread::hardware_concurrency() < 2)
    GTEST_SKIP() << "on one processor that BLAS has no threads either";
  std::mt19937_64 random(1);
  std::vector<double> x(std::size_t(p) * n), mean(p), cov(std::size_t(p) * p);
  for (double& v : x) v = std::uniform_real_distribution()(random);
  const double one = 1, zero = 0;
  ASSERT_GT(threads_after([&] { theirs("u", "n", &p, &n, &one, x.data(), &p, &zero, cov.data(), &p); }), 1);

  const std::int32_t storage = KOV_SS_OBSERVATIONS, full = KOV_SS_FULL;
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 0), 0);
  ASSERT_EQ(__kovdSSEditCovCor(task, mean.data(), cov.data(), &full, nullptr, nullptr), 0);
  std::int32_t status = -1;
  const auto covariance = [&] {
    status = _kovdSSBasic(task, KOV_SS_EST_MEAN | KOV_SS_EST_COV, KOV_SS_FAST, arko_serial_services());
  };
  EXPECT_EQ(threads_after(covariance), 1);
  covariance();
  EXPECT_EQ(status, 0);
  EXPECT_NEAR(cov[0], 1 / 12.0, 0.01);
  __kovSSDeleteTask(&task);
}

}  // namespace
