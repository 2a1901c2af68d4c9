// Ln, Log2 and Log10 at their edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

struct logarithm {
  const char* root;
  long double (*function)(long double);
};
const logarithm logarithms[] = {{"Ln", std::log}, {"Log2", std::log2}, {"Log10", std::log10}};

template <class T> std::vector<row<T>> edges() {
  using limits = std::numeric_limits<T>;
  constexpr T nan = arko::test::nan<T>, inf = infinity<T>, eps = limits::epsilon(), least = limits::min();
  std::vector<row<T>> rows = {
      {nan, nan, 0},
      {-nan, -nan, 0},
      {inf, inf, 0},
      {-inf, nan, 1},
      {limits::lowest(), nan, 1},
      {-1, nan, 1},
      {-limits::denorm_min(), nan, 1},
      {T(-0.0), -inf, 2},
      {T(0.0), -inf, 2},
      {1, 0, 0},
  };
  // Ends of the denormal, normal and finite numbers, both sides of one, and where the exponent's part changes.
  for (const T x : {limits::denorm_min(), least - limits::denorm_min(), least, least * (1 + eps), 1 - eps / 2,
                    1 + eps, T(2), T(10), T(0.001), T(s(0x3F2AAAAA)), T(s(0x3F2AAAAB)),
                    T(d(0x3FE7FBFFFFFFFFFF)), T(d(0x3FE7FC0000000000)), limits::max()})
    rows.push_back(near(x, 0));
  return rows;
}

template <class T> void check_powers_of_two() {
  std::vector<row<T>> powers;
  for (const int k :
       {-1, 3, std::numeric_limits<T>::min_exponent - 1, std::numeric_limits<T>::max_exponent - 1,
        std::ilogb(std::numeric_limits<T>::denorm_min())})
    powers.push_back({std::ldexp(T(1), k), T(k), 0});
  check_rows("Log2", powers, {});
}

TEST(logarithms, edges) {
  for (const logarithm& l : logarithms) {
    check_rows(l.root, edges<float>(), {l.function, 0.25});
    check_rows(l.root, edges<double>(), {l.function, 0.25});
    check_signalling(l.root);
  }
}
TEST(logarithms, of_powers_of_two_are_exact) { check_powers_of_two<float>(), check_powers_of_two<double>(); }
TEST(logarithms, screened_blocks_write_in_order) {
  check_screened("Ln", -1.0, [](const kernel& k) { return !k.f->strided; });
}

}  // namespace
