// Every linear algebra name and the tridiagonal solvers, in both precisions, against sums in long double.

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "arko/core.h"

namespace {

template <class T> class linear : public testing::Test {};
using precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(linear, precisions);

template <class T, class D, class S> constexpr auto pick([[maybe_unused]] D d, [[maybe_unused]] S s) {
  if constexpr (std::is_same_v<T, double>)
    return d;
  else
    return s;
}
#define ROUTINE(head, tail) pick<T>(head##d##tail, head##s##tail)

template <class T> constexpr long double eps = std::numeric_limits<T>::epsilon();

template <class T> T random_number() {  // in [-1, 1), the same in every run
  static std::mt19937 engine;
  return T(std::int32_t(engine()) * 0x1p-31);
}

// A matrix as a routine takes it, columns ld apart and NaN where it may not look: all of it ('G'), one triangle
// of a symmetric one ('S'), a triangle ('N') or one with ones on its diagonal that are not stored ('U').
template <class T> struct array {
  int rows, columns;
  char kind, uplo;
  std::int32_t ld;
  std::vector<T> v, packed;
  array(int m, int n, int kind_ = 'G', int uplo_ = 'U', int spare = 3)
      : rows(m), columns(n), kind(char(std::toupper(kind_))), uplo(char(std::toupper(uplo_))), ld(m + spare) {
    v.assign(std::size_t(ld) * n, NAN);
    for (int at = 0; at < ld * n; ++at) {
      if (!stored(at % ld, at / ld)) continue;
      packed.push_back(kind == 'U' && at % ld == at / ld ? NAN : random_number<T>());
      v[at] = packed.back();
    }
  }
  bool stored(int i, int j) const { return i < rows && (kind == 'G' || (uplo == 'U' ? i <= j : i >= j)); }
  long double operator()(int i, int j) const {  // the element that is meant
    if (kind == 'U' && i == j) return 1;
    if (!stored(i, j)) return kind == 'S' ? (*this)(j, i) : 0;
    return v[j * ld + i];
  }
};

template <class M> auto op(const M& a, char trans) {
  return [&a, plain = std::toupper(trans) == 'N'](int i, int j) { return plain ? a(i, j) : a(j, i); };
}

// An element of X Y with k terms, and the sum of their magnitudes.
struct sum {
  long double value = 0, terms = 0;
  template <class X, class Y> sum(int k, const X& x, const Y& y, int i, int j) {
    for (int l = 0; l < k; ++l) {
      value += x(i, l) * y(l, j);
      terms += std::fabs(x(i, l) * y(l, j));
    }
  }
};

// C := alpha X Y + beta C with k terms an element: what `call` makes of C is right within the roundings that
// the terms may have, and all else of the array is as it was.
template <class T, class X, class Y, class Call>
void expect_product(const array<T>& c, int k, X x, Y y, T alpha, T beta, Call call) {
  array<T> got = c;
  call(&got.v[0], &c.ld);
  for (std::size_t at = 0; at < c.v.size(); ++at) {
    const int i = int(at % c.ld), j = int(at / c.ld);
    if (!c.stored(i, j)) {
      ASSERT_EQ(std::memcmp(&got.v[at], &c.v[at], sizeof(T)), 0) << "written at " << i << ", " << j;
      continue;
    }
    const sum s(k, x, y, i, j);
    const long double old = beta == 0 ? 0 : beta * c(i, j);
    ASSERT_LE(std::fabs(got.v[at] - (alpha * s.value + old)),
              (k + 2) * eps<T> * (std::fabs(alpha) * s.terms + std::fabs(old)))
        << "at " << i << ", " << j;
  }
}

// All variants, in capitals with one shape and in small letters with another.
TYPED_TEST(linear, products) {
  using T = TypeParam;
  const std::int32_t two = 2;
  for (int variant = 0; variant < 144; ++variant) {
    const bool small = variant >= 72, left = variant % 2 == 0;
    const auto letter = [&](const char* of, int at) { return char(of[at] + (small ? 'a' - 'A' : 0)); };
    const std::int32_t m = small ? 17 : 3, n = small ? 8 : 5, k = small ? 33 : 2, order = left ? m : n;
    const char side = letter("LR", variant % 2), uplo = letter("UL", variant / 2 % 2);
    const char diag = letter("NU", variant / 4 % 2), trans = letter("NTC", variant / 8 % 3);
    const char other = letter("NTC", variant % 3);
    const bool plain = variant / 8 % 3 == 0, other_plain = variant % 3 == 0;
    const T alpha = T(variant / 24 % 3 * -0.75 + 0.75), beta = T(variant / 24 % 3);
    SCOPED_TRACE(testing::Message() << side << uplo << trans << diag << other << ' ' << alpha);

    array<T> a(plain ? m : k, plain ? k : m), b(m, n), c(m, n), cn(n, n, 'S', uplo);
    array<T> d(other_plain ? k : n, other_plain ? n : k), e(plain ? n : k, plain ? k : n);
    if (beta == 0) c.v.assign(c.v.size(), NAN), cn.v.assign(cn.v.size(), NAN);  // then they are not read
    for (const auto gemm : {ROUTINE(arko_blas_, gemm), ROUTINE(arko_blas_x, gemm)})
      expect_product(c, k, op(a, trans), op(d, other), alpha, beta, [&](auto... r) {
        gemm(&trans, &other, &m, &n, &k, &alpha, &a.v[0], &a.ld, &d.v[0], &d.ld, &beta, r...);
      });
    const auto oe = op(e, trans);
    for (const auto syrk : {ROUTINE(arko_blas_, syrk), ROUTINE(arko_blas_x, syrk)})
      expect_product(cn, k, oe, op(oe, 'T'), alpha, beta,
                     [&](auto... r) { syrk(&uplo, &trans, &n, &k, &alpha, &e.v[0], &e.ld, &beta, r...); });

    // A vector is the first row of an array, whose other rows nobody touches.
    array<T> x(1, plain ? n : m, 'G', 'U', 1), y(1, plain ? m : n, 'G', 'U', 2), z(1, n, 'G', 'U', 1);
    expect_product(y, x.columns, x, op(op(b, trans), 'T'), alpha, beta, [&](auto... r) {
      ROUTINE(arko_blas_, gemv)(&trans, &m, &n, &alpha, &b.v[0], &b.ld, &x.v[0], &two, &beta, r...);
    });
    for (const auto syr : {ROUTINE(arko_blas_, syr), ROUTINE(arko_blas_x, syr)})
      expect_product(array<T>(n, n, 'S', uplo), 1, op(z, 'T'), z, alpha, T(1),
                     [&](auto... r) { syr(&uplo, &n, &alpha, &z.v[0], &two, r...); });

    const auto sided = [&](const auto& l, const auto& r) {
      return [&](int i, int j) { return left ? l(i, j) : r(i, j); };
    };
    array<T> s(order, order, 'S', uplo), t(order, order, diag, uplo);
    const auto ot = op(t, trans);
    expect_product(c, order, sided(s, b), sided(b, s), alpha, beta, [&](auto... r) {
      ROUTINE(arko_blas_x, symm)(&side, &uplo, &m, &n, &alpha, &s.v[0], &s.ld, &b.v[0], &b.ld, &beta, r...);
    });
    for (const auto trmm :
         {ROUTINE(arko_blas_, trmm), ROUTINE(arko_blas4zur_, trmm), ROUTINE(arko_blas_x, trmm_4zur)})
      expect_product(b, order, sided(ot, b), sided(b, ot), alpha, T(0), [&](auto... r) {
        trmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, &t.v[0], &t.ld, r...);
      });
    expect_product(b, order, sided(ot, b), sided(b, ot), alpha, T(0), [&](auto... r) {
      ROUTINE(arko_blas4zur_, ptrmm)(&side, &uplo, &trans, &diag, &m, &n, &alpha, &t.packed[0], r...);
    });
  }
}

TYPED_TEST(linear, packed_product_with_zero_alpha_and_a_wrong_argument) {
  using T = TypeParam;
  const T zero = 0, a[6] = {1, 1, 1, 1, 1, 1};
  for (int wrong = 0; wrong < 6; ++wrong) {  // 5: none
    char l[] = "LUNN";
    if (wrong < 4) l[wrong] = 'X';
    const std::int32_t m = 2, n = 3, ldb = wrong == 4 ? 1 : 4;
    std::vector<T> b(12, NAN);
    ROUTINE(arko_blas4zur_, ptrmm)(l, l + 1, l + 2, l + 3, &m, &n, &zero, a, &b[0], &ldb);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(b[i] == 0, wrong == 5 && i % 4 < 2) << wrong << ' ' << i;
  }
}

// The largest |X Y - want| of n by n matrices.
template <class X, class Y, class Want> long double misfit(int n, X x, Y y, Want want) {
  long double most = 0;
  for (int at = 0; at < n * n; ++at) {
    const long double gap = std::fabs(sum(n, x, y, at % n, at / n).value - want(at % n, at / n));
    most = std::isnan(gap) ? INFINITY : std::max(most, gap);
  }
  return most;
}
long double identity(int i, int j) { return i == j; }

TYPED_TEST(linear, factors_inverses_and_eigenvalues) {
  using T = TypeParam;
  for (const char uplo : {'U', 'L'}) {
    const std::int32_t n = 40, lwork = n * n + 6 * n + 1, liwork = 5 * n + 3;
    const long double bound = (n + 1) * eps<T>;
    std::int32_t info = 99;
    const auto done = [&] { return std::exchange(info, 99) == 0; };
    array<T> a(n, n, 'S', uplo);  // well conditioned, no element larger than the ones on its diagonal
    for (int i = 0; i < n * a.ld; ++i) a.v[i] = i % (a.ld + 1) == 0 ? 1 : a.v[i] / T(n + 1);
    array<T> factor = a;
    factor.kind = 'N';
    ROUTINE(arko_lapack_, potrf)(&uplo, &n, &factor.v[0], &a.ld, &info);
    ASSERT_TRUE(done());
    const auto lower = op(factor, uplo == 'U' ? 'T' : 'N');
    EXPECT_LE(misfit(n, lower, op(lower, 'T'), a), bound);
    array<T> inverse = factor, whole = factor;
    whole.kind = 'S';
    ROUTINE(arko_lapack_, trtri)(&uplo, "N", &n, &inverse.v[0], &a.ld, &info);
    ASSERT_TRUE(done());
    EXPECT_LE(misfit(n, factor, inverse, identity), bound);
    ROUTINE(arko_lapack_, potri)(&uplo, &n, &whole.v[0], &a.ld, &info);
    ASSERT_TRUE(done());
    EXPECT_LE(misfit(n, a, whole, identity), 4 * bound);
    array<T> indefinite = a;
    indefinite.v[a.ld + 1] = -1;
    ROUTINE(arko_lapack_, potrf)(&uplo, &n, &indefinite.v[0], &a.ld, &info);
    EXPECT_EQ(info, 2);

    const array<T> e(n, n, 'S', uplo);
    for (const bool packed : {false, true}) {
      array<T> z = packed ? array<T>(n, n) : e;
      z.kind = 'G';
      std::vector<T> w(n), work(lwork), ap = e.packed;
      std::vector<std::int32_t> iwork(liwork);
      const auto syev = ROUTINE(arko_lapack_, syev);
      const auto spevd = ROUTINE(arko_lapack_, spevd);
      if (packed)
        spevd("V", &uplo, &n, &ap[0], &w[0], &z.v[0], &z.ld, &work[0], &lwork, &iwork[0], &liwork, &info);
      else
        syev("V", &uplo, &n, &z.v[0], &z.ld, &w[0], &work[0], &lwork, &info);
      ASSERT_TRUE(done());
      EXPECT_LE(misfit(n, e, z, [&](int i, int j) { return z(i, j) * w[j]; }), 4 * bound);
      EXPECT_LE(misfit(n, op(z, 'T'), z, identity), 4 * bound);
    }
  }
}

template <class T> struct tridiagonal {
  std::vector<T> dl, d, du;
  bool operator==(const tridiagonal&) const = default;
  long double operator()(int i, int j) const {
    return i == j ? d[i] : i == j + 1 ? dl[j] : i + 1 == j ? du[i] : T(0);
  }
  // The info of a factorisation ("F"), of that and the solution ("B"), or of a solution of that letter.
  std::int32_t call(const char* what, std::int32_t n, std::int32_t nrhs, T* b, std::int32_t ldb) {
    std::int32_t info = 99;
    if (*what == 'F')
      ROUTINE(, dttrfb_4dfl)(&n, &dl[0], &d[0], &du[0], &info);
    else if (*what == 'B')
      ROUTINE(, dtsvb_4dfl)(&n, &nrhs, &dl[0], &d[0], &du[0], b, &ldb, &info);
    else
      ROUTINE(, dttrsb_4dfl)(what, &n, &nrhs, &dl[0], &d[0], &du[0], b, &ldb, &info);
    return info;
  }
};

// By residuals; and a column's solution has the same bits alone as among others.
TYPED_TEST(linear, tridiagonal_solutions) {
  using T = TypeParam;
  const T smallest = std::numeric_limits<T>::min();
  const int nrhs = 10;  // columns are solved by fours, and what remains one by one
  for (const char* what : {"B", "N", "n", "T", "c"})
    for (const int n : {1, 2, 101})
      for (const T scale : {T(1), 1 / std::sqrt(smallest), std::sqrt(smallest)}) {
        SCOPED_TRACE(testing::Message() << what << ' ' << n << ' ' << scale);
        const char* trans = *what == 'B' ? "N" : what;
        array<T> b(n, nrhs), x = b, single = b;
        tridiagonal<T> matrix{std::vector<T>(n), std::vector<T>(n), std::vector<T>(n)};
        for (int i = 0; i < n; ++i) {
          matrix.dl[i] = scale * random_number<T>();
          matrix.d[i] = scale * (random_number<T>() + (i % 3 == 0 ? -3 : 3));
          matrix.du[i] = scale * random_number<T>();
        }
        tridiagonal<T> factors = matrix;
        ASSERT_EQ(*what == 'B' ? 0 : factors.call("F", n, 0, nullptr, 0), 0);
        ASSERT_EQ(factors.call(what, n, nrhs, &x.v[0], b.ld), 0);
        for (int j = 0; j < nrhs; ++j) {
          ASSERT_EQ(factors.call(trans, n, 1, &single.v[j * b.ld], n), 0);
          for (int i = 0; i < n; ++i) {
            const sum s(n, op(matrix, *trans), x, i, j);
            // |L||U| <= 3|A| for a dominant matrix, and six roundings of eps/2 fall on an element of
            // |L||U|: two in the factors, one in the solution with L, three in that with U.
            ASSERT_LE(std::fabs(s.value - b(i, j)), 9.01L * eps<T> * s.terms) << "row " << i;
          }
        }
        ASSERT_EQ(std::memcmp(&x.v[0], &single.v[0], sizeof(T) * x.v.size()), 0);
      }
}

TYPED_TEST(linear, tridiagonal_info) {
  using T = TypeParam;
  const T tiny = std::numeric_limits<T>::min() / 4, next = std::nextafter(tiny, T(1));
  struct {
    const char* what;
    std::int32_t n, nrhs, ldb, info;
    T d0, d1;  // of a matrix with 3 at the end of the diagonal and ones beside it
  } const rows[] = {{"F", 3, 0, 0, 0, 3, 3},    {"F", 0, 0, 0, 0, 3, 3},     {"F", -1, 0, 0, -1, 3, 3},
                    {"B", 3, 1, 3, 0, 3, 3},    {"B", -1, -1, 0, -1, 3, 3},  {"B", 3, -1, 2, -2, 3, 3},
                    {"B", 3, 1, 2, -7, 3, 3},   {"B", 0, 1, 0, -7, 3, 3},    {"B", 0, 1, 1, 0, 3, 3},
                    {"N", 3, 0, 3, 0, 3, 3},    {"X", -1, -1, 0, -1, 3, 3},  {"T", -1, -1, 0, -2, 3, 3},
                    {"C", 3, -1, 2, -3, 3, 3},  {"N", 3, 1, 2, -8, 3, 3},    {"N", 0, 1, 0, -8, 3, 3},
                    {"F", 3, 1, 3, 1, 0, 3},    {"B", 3, 1, 3, 1, -0.0f, 3}, {"F", 3, 1, 3, 2, 1, 1},
                    {"B", 2, 1, 2, 2, 1, 1},    {"B", 1, 1, 1, 1, tiny, 3},  {"B", 1, 1, 1, 1, -tiny, 3},
                    {"B", 1, 1, 1, 0, next, 3}, {"B", 1, 1, 1, 0, -next, 3}};
  for (const auto& [what, n, nrhs, ldb, info, d0, d1] : rows) {
    SCOPED_TRACE(testing::Message() << what << ' ' << n << ' ' << nrhs << ' ' << ldb << ' ' << d0);
    const tridiagonal<T> before{{1, 1}, {d0, d1, 3}, {1, 1}};
    tridiagonal<T> t = before;
    std::vector<T> b(3, T(1)), ones = b;
    EXPECT_EQ(t.call(what, n, nrhs, &b[0], ldb), info);
    EXPECT_EQ(b != ones, info == 0 && *what != 'F' && n * nrhs > 0);
    EXPECT_TRUE(info >= 0 || t == before);
    EXPECT_TRUE(info != 0 || (std::isfinite(t.d[0]) && std::isfinite(b[0])));
  }
}

}  // namespace
