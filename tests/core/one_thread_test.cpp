// A covariance beside a threaded BLAS that the program brought along: loaded before all else, see CMakeLists.txt.

#include <arko/core.h>
#include <arko/stats.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "tests/support/child.h"

// That BLAS starts its threads at its first large product in a process; a fork leaves them behind.
template <class F> int threads_after(F&& compute) {
  return arko::test::in_child([&] {
           const std::int32_t status = compute();
           _exit(status == 0 ? int(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}))
                             : 0);
         })
      .exit_code;
}

TEST(blas, covariance_starts_no_threads_beside_a_threaded_build) {
  const auto theirs = reinterpret_cast<decltype(arko_blas_dsyrk)*>(dlsym(RTLD_DEFAULT, "dsyrk_"));
  if (!theirs || std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "no BLAS with several threads";
  const std::int32_t p = 200, n = 5000, storage = KOV_SS_OBSERVATIONS, full = KOV_SS_FULL;
  const double one = 1, zero = 0;
  std::vector<double> x(std::size_t(p) * n, 0.5), mean(p), cov(std::size_t(p) * p);
  ASSERT_GT(threads_after([&] { return theirs("u", "n", &p, &n, &one, &x[0], &p, &zero, &cov[0], &p), 0; }),
            1);
  void* task;
  ASSERT_EQ(__kovdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 0), 0);
  ASSERT_EQ(__kovdSSEditCovCor(task, mean.data(), cov.data(), &full, nullptr, nullptr), 0);
  EXPECT_EQ(threads_after([&] {
              return _kovdSSBasic(task, KOV_SS_EST_MEAN | KOV_SS_EST_COV, KOV_SS_FAST,
                                  arko_serial_services());
            }),
            1);
  __kovSSDeleteTask(&task);
}
