// The tridiagonal solvers by their residuals in long double, and their info.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <utility>

#include "routines.h"

namespace {

template <class T> struct tridiagonal {
  std::vector<T> dl, d, du;

  static tridiagonal dominant(int n, T scale) {
    tridiagonal t{random_numbers<T>(n, 1), random_numbers<T>(n, 2), random_numbers<T>(n, 3)};
    for (int i = 0; i < n; ++i) {
      const T beside = (i > 0 ? std::fabs(t.dl[i - 1]) : 0) + (i + 1 < n ? std::fabs(t.du[i]) : 0);
      t.d[i] += t.d[i] < 0 ? -beside : beside;
    }
    for (std::vector<T>* v : {&t.dl, &t.d, &t.du}) {
      if (n > 0 && v != &t.d) v->resize(n - 1);
      for (T& x : *v) x *= scale;
    }
    return t;
  }

  // Element (i, j) of the matrix or of its transpose.
  long double operator()(int i, int j, bool transpose) const {
    if (transpose) std::swap(i, j);
    return i == j ? d[i] : i == j + 1 ? dl[j] : du[i];
  }
};

template <class T> class tridiagonal_solvers : public testing::Test {};
using precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(tridiagonal_solvers, precisions);

enum class path { factor_and_solve, factor_then_solve, factor_then_solve_transposed };

template <class T>
std::int32_t run(path p, const char* trans, tridiagonal<T>& t, std::int32_t n, std::int32_t nrhs, T* b,
                 std::int32_t ldb) {
  using R = routines<T>;
  std::int32_t info = 99;
  if (p == path::factor_and_solve) {
    R::dtsvb(&n, &nrhs, t.dl.data(), t.d.data(), t.du.data(), b, &ldb, &info);
    return info;
  }
  R::dttrfb(&n, t.dl.data(), t.d.data(), t.du.data(), &info);
  if (info != 0) return info;
  info = 99;
  R::dttrsb(trans, &n, &nrhs, t.dl.data(), t.d.data(), t.du.data(), b, &ldb, &info);
  return info;
}

TYPED_TEST(tridiagonal_solvers, residuals) {
  using T = TypeParam;
  const T smallest = std::numeric_limits<T>::min();
  struct {
    path p;
    const char* trans;
  } const paths[] = {{path::factor_and_solve, "N"},
                     {path::factor_then_solve, "N"},
                     {path::factor_then_solve, "n"},
                     {path::factor_then_solve_transposed, "T"},
                     {path::factor_then_solve_transposed, "c"}};
  for (const auto& [p, trans] : paths) {
    const bool transpose = p == path::factor_then_solve_transposed;
    for (const int n : {0, 1, 2, 3, 10, 501}) {
      for (const int nrhs : {0, 1, 2, 4, 7, 9}) {
        for (const T scale : {T(1), 1 / std::sqrt(smallest), std::sqrt(smallest)}) {
          SCOPED_TRACE(testing::Message() << trans << ' ' << n << ' ' << nrhs << ' ' << scale);
          const tridiagonal<T> matrix = tridiagonal<T>::dominant(n, scale);
          const int ldb = n + 3;
          std::vector<T> b = random_numbers<T>(std::size_t(ldb) * nrhs + 1, 4), x = b;
          tridiagonal<T> factors = matrix;
          ASSERT_EQ(run(p, trans, factors, n, nrhs, x.data(), ldb), 0);
          for (std::size_t at = 0; at < x.size(); ++at) {
            const int i = int(at % ldb);
            if (i >= n || at + 1 == x.size()) {
              ASSERT_EQ(x[at], b[at]) << "written outside the columns at " << at;
              continue;
            }
            const T* column = &x[at - i];
            long double residual = -static_cast<long double>(b[at]), terms = 0;
            for (int j = std::max(i - 1, 0); j < std::min(i + 2, n); ++j) {
              residual += matrix(i, j, transpose) * column[j];
              terms += std::fabs(matrix(i, j, transpose) * column[j]);
            }
            // |L||U| <= 3|A| for a dominant matrix, and six roundings of eps/2 fall on an element of
            // |L||U|: two in the factors, one in the solution with L, three in that with U.
            ASSERT_LE(std::fabs(residual), 9.01L * eps<T> * terms) << "row " << i;
          }
        }
      }
    }
  }
}

// Some callers solve all right-hand sides in one call and others spread them over threads.
TYPED_TEST(tridiagonal_solvers, columns_do_not_depend_on_their_number) {
  using T = TypeParam;
  const int n = 30, many = 7;
  for (const char* trans : {"N", "T"}) {
    const std::vector<T> b = random_numbers<T>(n * many, 4);
    std::vector<T> together = b, single = b;
    tridiagonal<T> t = tridiagonal<T>::dominant(n, 1);
    ASSERT_EQ(run(path::factor_then_solve, trans, t, n, many, together.data(), n), 0);
    const std::int32_t one = 1;
    for (int j = 0; j < many; ++j) {
      std::int32_t info = 99;
      routines<T>::dttrsb(trans, &n, &one, t.dl.data(), t.d.data(), t.du.data(), &single[j * n], &n, &info);
      ASSERT_EQ(info, 0);
    }
    EXPECT_EQ(std::memcmp(together.data(), single.data(), sizeof(T) * b.size()), 0) << trans;
  }
}

TYPED_TEST(tridiagonal_solvers, pivots_without_reciprocal) {
  using T = TypeParam;
  const T tiny = std::numeric_limits<T>::min() / 4, next = std::nextafter(tiny, T(1));
  struct {
    std::vector<T> dl, d, du;
    std::int32_t info;
  } const rows[] = {
      {{}, {0}, {}, 1},
      {{1, 1}, {0, 3, 3}, {1, 1}, 1},
      {{1, 1}, {1, 1, 3}, {1, 1}, 2},  // 1 - 1 * 1 in the second row
      {{2, 0, 1}, {4, 3, 5, -0.0f}, {1, 1, 0}, 4},
      {{}, {tiny}, {}, 1},
      {{}, {-tiny}, {}, 1},
      {{}, {next}, {}, 0},
      {{}, {-next}, {}, 0},
  };
  for (const auto& row : rows) {
    for (const path p : {path::factor_and_solve, path::factor_then_solve}) {
      SCOPED_TRACE(testing::Message() << row.d.size() << ' ' << row.info);
      tridiagonal<T> t{row.dl, row.d, row.du};
      const std::vector<T> before(row.d.size(), T(1));
      std::vector<T> b = before;
      EXPECT_EQ(run(p, "N", t, int(b.size()), 1, b.data(), int(b.size())), row.info);
      if (row.info != 0) {
        EXPECT_EQ(b, before);
      } else {
        EXPECT_TRUE(std::isfinite(b[0]));
      }
    }
  }
}

TYPED_TEST(tridiagonal_solvers, wrong_arguments) {
  using T = TypeParam;
  using R = routines<T>;
  struct {
    const char* trans;
    std::int32_t n, nrhs, ldb;
    std::int32_t factor, solve, both;  // the info of each entry
  } const rows[] = {{"N", -1, 1, 4, -1, -2, -1}, {"N", 4, -1, 4, 0, -3, -2}, {"N", 4, 1, 3, 0, -8, -7},
                    {"N", 0, 1, 0, 0, -8, -7},   {"X", 4, 1, 4, 0, -1, 0},   {"X", -1, -1, 0, -1, -1, -1},
                    {"T", -1, -1, 0, -1, -2, -1}};
  for (const auto& [trans, n, nrhs, ldb, factor, solve, both] : rows) {
    SCOPED_TRACE(testing::Message() << trans << ' ' << n << ' ' << nrhs << ' ' << ldb);
    const tridiagonal<T> before = tridiagonal<T>::dominant(4, 1);
    const std::vector<T> b_before(4, T(1));
    const auto untouched = [&](const tridiagonal<T>& t, const std::vector<T>& b) {
      return t.dl == before.dl && t.d == before.d && t.du == before.du && b == b_before;
    };
    for (int entry = 0; entry < 3; ++entry) {
      tridiagonal<T> t = before;
      std::vector<T> b = b_before;
      std::int32_t info = 99;
      if (entry == 0) R::dttrfb(&n, t.dl.data(), t.d.data(), t.du.data(), &info);
      if (entry == 1) {
        R::dttrsb(trans, &n, &nrhs, t.dl.data(), t.d.data(), t.du.data(), b.data(), &ldb, &info);
      }
      if (entry == 2) R::dtsvb(&n, &nrhs, t.dl.data(), t.d.data(), t.du.data(), b.data(), &ldb, &info);
      const std::int32_t want[] = {factor, solve, both};
      EXPECT_EQ(info, want[entry]) << entry;
      EXPECT_TRUE(want[entry] == 0 || untouched(t, b)) << entry;
    }
  }
}

}  // namespace
