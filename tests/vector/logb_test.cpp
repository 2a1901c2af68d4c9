// Logb at its edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

template <class T> void check_edges() {
  using limits = std::numeric_limits<T>;
  constexpr T inf = infinity<T>, tiny = limits::denorm_min(), least = limits::min();
  constexpr int lowest = limits::min_exponent - 1, highest = limits::max_exponent - 1,
                bits = limits::digits - 1;
  const T nan = sizeof(T) == 4 ? T(s(0x7FC00001)) : T(d(0x7FF8000000000001));
  const std::vector<row<T>> rows = {
      {nan, nan, 0},
      {-nan, nan, 0},  // the sign of a NaN is cleared
      {inf, inf, 0},
      {-inf, inf, 0},
      {T(0.0), -inf, 1},
      {T(-0.0), -inf, 1},
      {tiny, T(lowest - bits), 0},
      {-3 * tiny, T(lowest - bits + 1), 0},
      {std::ldexp(tiny, bits / 2), T(lowest - bits + bits / 2), 0},
      {least - tiny, T(lowest - 1), 0},
      {least, T(lowest), 0},
      {1 - limits::epsilon() / 2, -1, 0},
      {1, 0, 0},
      {-1, 0, 0},
      {limits::max(), T(highest), 0},
  };
  check_rows("Logb", rows, {});
}
TEST(logb, edges) { check_edges<float>(), check_edges<double>(); }

}  // namespace
