// As many sites and limits as a 32-bit count can tell, and more.

#include <algorithm>
#include <thread>

#include "tests/fit/tasks.h"
#include "tests/support/repeated.h"
#include "tests/support/thread_services.h"

namespace {

using namespace arko::test;
using entries = fit_entries<float>;
constexpr int64_t most = INT32_MAX, beyond = most + 1000;

// Numbers that are `value`, over and over in the same memory but for the last, which have memory of their own.
template <class T> class endless {
 public:
  static constexpr int64_t own = 4096;
  endless(T value, T at_end) : end(memory_.template last<T>(0)), begin(end - beyond) {
    std::fill_n(end - repeated::period / sizeof(T), repeated::period / sizeof(T), value);
    if (mmap(end - own, own * sizeof(T), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
             0) == MAP_FAILED)
      throw std::runtime_error("no memory for the end of an array");
    std::fill_n(end - own, own, at_end);
  }
  void expect(T at_end) {
    for (int64_t i = 1; i <= own; i++) ASSERT_EQ(end[-i], at_end) << "from the end " << i;
    std::fill_n(end - own, own, T(-77));
  }

 private:
  repeated memory_{sizeof(T) * beyond};

 public:
  T *const end, *const begin;
};

constexpr float x[] = {0, 1, 2}, ends[] = {0, 2}, y[] = {3, 5, 7};

// Blocks of sites, blocks of the caller's search, and pieces of a whole array: the other methods have the same loops.
TEST(huge, searches) {
  endless<float> sites(0.5f, 1.5f);
  const auto by_caller = [](void* n, const void*, void* cell, int32_t*, void*, void*) {
    std::fill_n(static_cast<int32_t*>(cell), *static_cast<int32_t*>(n), 2);
    return 1000;
  };
  const auto by_kernel = [&](int k) {
    endless<int32_t> cells(-77, -77), flags(0, 0);
    int32_t start = 0;
    EXPECT_EQ(entries::kernels[0][k](3, x, most, sites.end - most, 0, 1, &start, nullptr, by_caller, nullptr,
                                     nullptr, flags.end - most, cells.end - most),
              0);
    cells.expect(2);
  };
  std::thread quasi_uniform(by_kernel, 1);
  by_kernel(5);
  endless<int32_t> cells(-77, -77);
  const fit_task<float> task(3, ends, FIT_X_UNIFORM);
  EXPECT_EQ(entries::search(task, 0, beyond, sites.begin, 0, nullptr, cells.begin, nullptr, nullptr, nullptr),
            0);
  cells.expect(2);
  quasi_uniform.join();
}

TEST(huge, interpolation_and_integration) {
  const fit_task<float> task(3, ends, FIT_X_UNIFORM, 1, y);
  task.describe(0, FIT_TYPE_STEP_LEFT);
  endless<float> left(0.5f, 0.25f), right(0.75f, 1.5f), r(-77, -77);
  const auto* const services = thread_services::get();
  float* const results = r.end - most;
  EXPECT_EQ(
      (interpolation<float>{.n = most, .site = right.end - most, .r = results, .services = services}(task)),
      0);
  r.expect(5);
  EXPECT_EQ(
      (integration<float>{
          .n = most, .l = left.end - most, .u = right.end - most, .r = results, .services = services}(task)),
      0);
  r.expect(0.75f * 3 + 0.5f * 5);
}

// Cells of the largest grid, and its last pieces, all of value and width 1.
TEST(huge, grid) {
  constexpr float grid[] = {0, 0x1p31f}, from = 0x1p31f - 1280;
  endless<float> values(1, 1);
  const fit_task<float> task(most, grid, FIT_X_UNIFORM, 1, values.end - most);
  const float sites[] = {-1, 0x1p31f, 0x1p32f};
  int32_t cells[3];
  EXPECT_EQ(entries::search(task, 0, 3, sites, 0, nullptr, cells, nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(cells[0] == 0 && cells[1] == most - 1 && cells[2] == most);
  for (const int64_t type : {FIT_TYPE_STEP_LEFT, FIT_TYPE_STEP_RIGHT}) {
    task.describe(0, type);
    float r = 0;
    EXPECT_EQ((integration<float>{.l = &from, .u = grid + 1, .r = &r}(task)), 0);
    EXPECT_NEAR(r, 1280, 4);  // single precision has no numbers for the ends of single pieces here
  }
}

}  // namespace
