// Every linear algebra name, in both precisions, against sums in long double or its defining equation.

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <functional>

#include "routines.h"

namespace {

// A matrix of long doubles, by columns.
struct matrix {
  int rows, columns;
  std::vector<long double> v;
  matrix(int m, int n) : rows(m), columns(n), v(std::size_t(m) * n) {}
  matrix(int m, int n, const std::function<long double(int, int)>& f) : matrix(m, n) {
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < m; ++i) (*this)(i, j) = f(i, j);
    }
  }
  long double& operator()(int i, int j) { return v[std::size_t(j) * rows + i]; }
  long double operator()(int i, int j) const { return v[std::size_t(j) * rows + i]; }
};

matrix identity(int n) {
  return {n, n, [](int i, int j) { return i == j; }};
}
matrix transposed(const matrix& a) {
  return {a.columns, a.rows, [&](int i, int j) { return a(j, i); }};
}
matrix op(const matrix& a, char letter) { return std::toupper(letter) == 'N' ? a : transposed(a); }
matrix magnitudes(const matrix& a) {
  return {a.rows, a.columns, [&](int i, int j) { return std::fabs(a(i, j)); }};
}
matrix operator*(const matrix& a, const matrix& b) {
  return {a.rows, b.columns, [&](int i, int j) {
            long double sum = 0;
            for (int k = 0; k < a.columns; ++k) sum += a(i, k) * b(k, j);
            return sum;
          }};
}
// alpha X + beta Y, where a beta of 0 does not look at Y.
matrix sum(long double alpha, const matrix& x, long double beta, const matrix& y) {
  return {x.rows, x.columns,
          [&](int i, int j) { return alpha * x(i, j) + (beta == 0 ? 0 : beta * y(i, j)); }};
}
long double largest(const matrix& a) {
  long double m = 0;
  for (long double x : a.v) m = std::isnan(x) ? x : std::max(m, std::fabs(x));
  return m;
}

bool in_triangle(char uplo, int i, int j) { return std::toupper(uplo) == 'U' ? i <= j : i >= j; }

// An array as a routine takes it: columns ld apart. What no routine may read is NaN.
template <class T> struct array {
  int rows, columns;
  std::int32_t ld;
  std::vector<T> v;
  array(int m, int n, unsigned seed, int spare = 3)
      : rows(m), columns(n), ld(std::max(m + spare, 1)), v(std::size_t(ld) * n + 1, nan_of<T>) {
    const std::vector<T> numbers = random_numbers<T>(std::size_t(m) * n, seed);
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < m; ++i) (*this)(i, j) = numbers[std::size_t(j) * m + i];
    }
  }
  T& operator()(int i, int j) { return v[std::size_t(j) * ld + i]; }
  T operator()(int i, int j) const { return v[std::size_t(j) * ld + i]; }
  T* data() { return v.data(); }
  void fill(T x) { std::fill(v.begin(), v.end(), x); }

  matrix full() const {
    return {rows, columns, [&](int i, int j) { return (*this)(i, j); }};
  }
  matrix symmetric(char uplo) const {
    return {rows, columns,
            [&](int i, int j) { return in_triangle(uplo, i, j) ? (*this)(i, j) : (*this)(j, i); }};
  }
  matrix triangle(char uplo, char diag) const {
    return {rows, columns, [&](int i, int j) -> long double {
              if (i == j && std::toupper(diag) == 'U') return 1;
              return in_triangle(uplo, i, j) ? (*this)(i, j) : T(0);
            }};
  }
  void keep_only(char uplo, char diag) {
    for (int j = 0; j < columns; ++j) {
      for (int i = 0; i < rows; ++i) {
        if (!in_triangle(uplo, i, j) || (i == j && std::toupper(diag) == 'U')) (*this)(i, j) = nan_of<T>;
      }
    }
  }
  std::vector<T> packed(char uplo) const {
    std::vector<T> p;
    for (int j = 0; j < columns; ++j) {
      for (int i = 0; i < rows; ++i) {
        if (in_triangle(uplo, i, j)) p.push_back((*this)(i, j));
      }
    }
    return p;
  }
};

// Each element of `got` is within `roundings` of the exact `want`, relative to the sum of the terms'
// magnitudes; all else of the array (padding, the other triangle when uplo is given) is as it was.
template <class T>
void expect_result(const array<T>& got, const array<T>& before, const matrix& want, const matrix& scale,
                   int roundings, char uplo = 0) {
  for (int j = 0; j < got.columns; ++j) {
    for (int i = 0; i < got.ld; ++i) {
      const T x = got(i, j), old = before(i, j);
      if (i < got.rows && (uplo == 0 || in_triangle(uplo, i, j))) {
        ASSERT_LE(std::fabs(x - want(i, j)), roundings * eps<T> * scale(i, j)) << "at " << i << ", " << j;
      } else {
        ASSERT_EQ(std::memcmp(&x, &old, sizeof x), 0) << "written at " << i << ", " << j;
      }
    }
  }
}

struct shape {
  std::int32_t m, n, k;
};
constexpr shape shapes[] = {{1, 1, 1}, {3, 5, 2}, {4, 4, 4}, {17, 8, 33}, {40, 21, 5}, {0, 3, 2}, {3, 0, 2}};

template <class T> class linear : public testing::Test {};
using precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(linear, precisions);

TYPED_TEST(linear, general_products) {
  using T = TypeParam;
  using R = routines<T>;
  const std::pair<T, T> scalars[] = {{1, 0}, {T(-0.5), 2}, {0, 1}};
  for (const auto& [m, n, k] : shapes) {
    for (const char ta : {'N', 'T', 'C', 'n'}) {
      for (const char tb : {'N', 'T', 'c'}) {
        for (const auto& [alpha, beta] : scalars) {
          SCOPED_TRACE(testing::Message() << ta << tb << ' ' << m << ' ' << n << ' ' << k << ' ' << alpha);
          const bool na = std::toupper(ta) == 'N', nb = tb == 'N';
          array<T> a(na ? m : k, na ? k : m, 1), b(nb ? k : n, nb ? n : k, 2), before(m, n, 3);
          if (beta == 0) before.fill(nan_of<T>);  // a beta of 0 does not read C
          const matrix oa = op(a.full(), ta), ob = op(b.full(), tb), c = before.full();
          const matrix want = sum(alpha, oa * ob, beta, c);
          const matrix scale =
              sum(std::fabs(alpha), magnitudes(oa) * magnitudes(ob), std::fabs(beta), magnitudes(c));
          for (const auto gemm : R::gemm) {
            array<T> got = before;
            gemm(&ta, &tb, &m, &n, &k, &alpha, a.data(), &a.ld, b.data(), &b.ld, &beta, got.data(), &got.ld);
            expect_result(got, before, want, scale, k + 3);
          }
        }
      }
    }
  }
}

TYPED_TEST(linear, matrix_by_vector) {
  using T = TypeParam;
  const std::pair<T, T> scalars[] = {{1, 0}, {T(-0.5), 2}, {0, 1}};
  const std::int32_t incx = 3, incy = 2;
  for (const auto& [m, n, unused] : shapes) {
    for (const char trans : {'N', 'T', 'C', 't'}) {
      for (const auto& [alpha, beta] : scalars) {
        SCOPED_TRACE(testing::Message() << trans << ' ' << m << ' ' << n << ' ' << alpha);
        array<T> a(m, n, 1);
        const matrix oa = op(a.full(), trans);
        // A vector lies in the first row of an array, whose other rows nobody touches.
        array<T> x(1, oa.columns, 2, incx - 1), before(1, oa.rows, 3, incy - 1);
        const matrix xv = transposed(x.full()), yv = transposed(before.full());
        array<T> got = before;
        routines<T>::gemv(&trans, &m, &n, &alpha, a.data(), &a.ld, x.data(), &incx, &beta, got.data(), &incy);
        const matrix want = sum(alpha, oa * xv, beta, yv);
        const matrix scale =
            sum(std::fabs(alpha), magnitudes(oa) * magnitudes(xv), std::fabs(beta), magnitudes(yv));
        if (oa.columns == 0) {
          EXPECT_EQ(std::memcmp(got.data(), before.data(), got.v.size() * sizeof(T)), 0);
        } else {
          expect_result(got, before, transposed(want), transposed(scale), oa.columns + 3);
        }
      }
    }
  }
}

TYPED_TEST(linear, symmetric_products) {
  using T = TypeParam;
  using R = routines<T>;
  const T alpha = T(0.75), beta = T(-1.5);
  for (const auto& [m, n, k] : shapes) {
    for (const char uplo : {'U', 'L', 'u'}) {
      for (const char trans : {'N', 'T'}) {
        SCOPED_TRACE(testing::Message() << uplo << trans << ' ' << n << ' ' << k);
        array<T> a(trans == 'N' ? n : k, trans == 'N' ? k : n, 1), before(n, n, 2);
        before.keep_only(uplo, 'N');
        const matrix oa = op(a.full(), trans), c = before.full();
        for (const auto syrk : R::syrk) {
          array<T> got = before;
          syrk(&uplo, &trans, &n, &k, &alpha, a.data(), &a.ld, &beta, got.data(), &got.ld);
          const matrix scale = sum(alpha, magnitudes(oa) * magnitudes(transposed(oa)), -beta, magnitudes(c));
          expect_result(got, before, sum(alpha, oa * transposed(oa), beta, c), scale, k + 3, uplo);
        }
      }
      {
        SCOPED_TRACE(testing::Message() << "syr " << uplo << ' ' << n);
        const std::int32_t two = 2;
        array<T> x(1, n, 4, 1), before(n, n, 2);
        before.keep_only(uplo, 'N');
        const matrix xx = transposed(x.full()) * x.full(), a = before.full();
        for (const auto syr : R::syr) {
          array<T> got = before;
          syr(&uplo, &n, &alpha, x.data(), &two, got.data(), &got.ld);
          expect_result(got, before, sum(alpha, xx, 1, a), sum(alpha, magnitudes(xx), 1, magnitudes(a)), 3,
                        uplo);
        }
      }
      for (const char side : {'L', 'R'}) {
        SCOPED_TRACE(testing::Message() << "symm " << side << uplo << ' ' << m << ' ' << n);
        const int order = side == 'L' ? m : n;
        array<T> a(order, order, 1), b(m, n, 2), before(m, n, 3);
        a.keep_only(uplo, 'N');
        const matrix as = a.symmetric(uplo), bm = b.full(), c = before.full();
        const auto product = [&](const matrix& x, const matrix& y) { return side == 'L' ? x * y : y * x; };
        array<T> got = before;
        R::symm(&side, &uplo, &m, &n, &alpha, a.data(), &a.ld, b.data(), &b.ld, &beta, got.data(), &got.ld);
        expect_result(got, before, sum(alpha, product(as, bm), beta, c),
                      sum(alpha, product(magnitudes(as), magnitudes(bm)), -beta, magnitudes(c)), order + 3);
      }
    }
  }
}

TYPED_TEST(linear, triangular_products) {
  using T = TypeParam;
  using R = routines<T>;
  for (const auto& [m, n, unused] : shapes) {
    for (int variant = 0; variant < 64; ++variant) {
      const char side = "LR"[variant & 1], uplo = "UL"[variant >> 1 & 1], diag = "NU"[variant >> 2 & 1];
      const char trans = "NTCt"[variant >> 3 & 3];
      const T alpha = variant >> 5 & 1 ? T(-0.75) : T(1);
      SCOPED_TRACE(testing::Message() << side << uplo << trans << diag << ' ' << m << ' ' << n);
      const int order = side == 'L' ? m : n;
      array<T> a(order, order, 1), before(m, n, 2);
      a.keep_only(uplo, diag);
      std::vector<T> packed = a.packed(uplo);
      packed.push_back(nan_of<T>);
      const matrix oa = op(a.triangle(uplo, diag), trans), b = before.full();
      const auto product = [&](const matrix& x, const matrix& y) { return side == 'L' ? x * y : y * x; };
      const matrix none(m, n), want = sum(alpha, product(oa, b), 0, none);
      const matrix scale = sum(std::fabs(alpha), product(magnitudes(oa), magnitudes(b)), 0, none);
      for (const auto trmm : R::trmm) {
        array<T> got = before;
        trmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, a.data(), &a.ld, got.data(), &got.ld);
        expect_result(got, before, want, scale, order + 3);
      }
      array<T> got = before;
      R::ptrmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, packed.data(), got.data(), &got.ld);
      expect_result(got, before, want, scale, order + 3);
    }
  }
}

TYPED_TEST(linear, packed_product_with_zero_alpha_and_wrong_arguments) {
  using T = TypeParam;
  struct {
    const char* letters;
    std::int32_t m, n, ldb;
  } const wrong[] = {{"XUNN", 2, 3, 4},  {"LXNN", 2, 3, 4},  {"LUXN", 2, 3, 4}, {"LUNX", 2, 3, 4},
                     {"LUNN", -1, 3, 4}, {"LUNN", 2, -1, 4}, {"LUNN", 2, 3, 1}, {"LUNN", 0, 3, 0}};
  const T zero = 0;
  const std::vector<T> before(12, nan_of<T>);
  const std::vector<T> a = random_numbers<T>(6, 1);
  for (const auto& [letters, m, n, ldb] : wrong) {
    std::vector<T> b = before;
    routines<T>::ptrmm(letters, letters + 1, letters + 2, letters + 3, &m, &n, &zero, a.data(), b.data(),
                       &ldb);
    EXPECT_EQ(std::memcmp(b.data(), before.data(), sizeof(T) * b.size()), 0) << letters;
  }
  std::vector<T> b = before;
  const std::int32_t m = 2, n = 3, ldb = 4;
  routines<T>::ptrmm("l", "u", "n", "n", &m, &n, &zero, a.data(), b.data(), &ldb);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(b[i] == 0, i % 4 < 2) << i;
}

// A well conditioned symmetric positive definite matrix: eigenvalues between about n and 5n/3.
template <class T> array<T> positive_definite(int n) {
  array<T> a(n, n, 5);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < j; ++i) a(i, j) = a(j, i) = a(i, j) / 3;
    a(j, j) = n + std::fabs(a(j, j)) / 3;
  }
  return a;
}

TYPED_TEST(linear, cholesky_and_inverses) {
  using T = TypeParam;
  using R = routines<T>;
  for (const std::int32_t n : {1, 2, 7, 50}) {
    for (const char uplo : {'U', 'L'}) {
      SCOPED_TRACE(testing::Message() << uplo << ' ' << n);
      array<T> a = positive_definite<T>(n);
      const matrix exact = a.full();
      a.keep_only(uplo, 'N');
      std::int32_t info = 99;
      R::potrf(&uplo, &n, a.data(), &a.ld, &info);
      ASSERT_EQ(info, 0);
      const matrix f = a.triangle(uplo, 'N'), ft = transposed(f);
      const matrix back = uplo == 'U' ? ft * f : f * ft;
      EXPECT_LE(largest(sum(1, back, -1, exact)), (n + 1) * eps<T> * largest(back));

      array<T> factor_inverse = a, inverse = a;
      info = 99;
      R::trtri(&uplo, "N", &n, factor_inverse.data(), &factor_inverse.ld, &info);
      ASSERT_EQ(info, 0);
      const matrix fi = factor_inverse.triangle(uplo, 'N');
      EXPECT_LE(largest(sum(1, f * fi, -1, identity(n))),
                (n + 1) * eps<T> * largest(magnitudes(f) * magnitudes(fi)));

      info = 99;
      R::potri(&uplo, &n, inverse.data(), &inverse.ld, &info);
      ASSERT_EQ(info, 0);
      const matrix ai = inverse.symmetric(uplo);
      EXPECT_LE(largest(sum(1, exact * ai, -1, identity(n))),
                4 * (n + 1) * eps<T> * largest(magnitudes(exact) * magnitudes(ai)));
    }
  }
  array<T> a = positive_definite<T>(5);
  a(2, 2) = -1;
  const std::int32_t n = 5;
  std::int32_t info = 0;
  R::potrf("L", &n, a.data(), &a.ld, &info);
  EXPECT_EQ(info, 3);
}

TYPED_TEST(linear, eigenvalues) {
  using T = TypeParam;
  using R = routines<T>;
  for (const std::int32_t n : {1, 2, 9, 40}) {
    for (const char uplo : {'U', 'L'}) {
      SCOPED_TRACE(testing::Message() << uplo << ' ' << n);
      array<T> a(n, n, 6);
      a.keep_only(uplo, 'N');
      const matrix exact = a.symmetric(uplo);
      array<T> vectors[2] = {a, array<T>(n, n, 7)}, only_values = a;
      std::vector<T> w[3] = {std::vector<T>(n), std::vector<T>(n), std::vector<T>(n)};
      const std::int32_t lwork = std::max(50 * n, n * n + 6 * n + 1), liwork = 5 * n + 3;
      std::vector<T> work(lwork), packed = a.packed(uplo);
      std::vector<std::int32_t> iwork(liwork);
      std::int32_t info[3] = {99, 99, 99};
      R::syev("V", &uplo, &n, vectors[0].data(), &vectors[0].ld, w[0].data(), work.data(), &lwork, &info[0]);
      R::spevd("V", &uplo, &n, packed.data(), w[1].data(), vectors[1].data(), &vectors[1].ld, work.data(),
               &lwork, iwork.data(), &liwork, &info[1]);
      R::syev("N", &uplo, &n, only_values.data(), &only_values.ld, w[2].data(), work.data(), &lwork,
              &info[2]);
      const long double bound = 4 * (n + 1) * eps<T> * std::max(1.0L, largest(exact));
      for (int form = 0; form < 3; ++form) {
        ASSERT_EQ(info[form], 0);
        for (int i = 0; i < n; ++i) {
          ASSERT_LE(w[form][std::max(i - 1, 0)], w[form][i]);
          ASSERT_LE(std::fabs(static_cast<long double>(w[form][i]) - w[0][i]), bound) << form;
        }
        if (form == 2) continue;
        const matrix v = vectors[form].full();
        const matrix vw(n, n, [&](int i, int j) { return v(i, j) * w[form][j]; });
        EXPECT_LE(largest(sum(1, exact * v, -1, vw)), bound) << form;
        EXPECT_LE(largest(sum(1, transposed(v) * v, -1, identity(n))), bound) << form;
      }
    }
  }
}

}  // namespace
