// The linear algebra names against the published routines, and the solvers of this library's own.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <tuple>
#include <vector>

#include "arko/core.h"

#define BOTH(head, tail) std::get<std::is_same_v<T, float>>(std::tuple(&head##d##tail, &head##s##tail))

namespace {

template <class T> class linear : public testing::Test {};
using precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(linear, precisions);

template <class T> T random_number() {  // in [-1, 1), the same in every run
  static std::mt19937 engine;
  return T(std::int32_t(engine()) * 0x1p-31);
}

// data/routines.txt: a name with ? for the precision, the published routine, and what both are called with: letters and
// whole numbers as they stand, * for an array and # for one of whole numbers. Both must leave the same bits.
TYPED_TEST(linear, names_are_the_published_routines) {
  using T = TypeParam;
  void* const blas = dlopen(ARKO_SHARED_BLAS, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(blas, nullptr) << dlerror();
  std::vector<T> random(1600);
  for (std::size_t i = 0; i < 1600; ++i) random[i] = random_number<T>() + (i % 8 == 0 ? 5 : 0);
  std::ifstream rows(ARKO_SOURCE "/tests/core/data/routines.txt");
  ASSERT_TRUE(rows);
  for (std::string row; std::getline(rows, row);) {
    std::replace(row.begin(), row.end(), '?', sizeof(T) == 8 ? 'd' : 's');
    std::istringstream stream(row);
    std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    const auto left_by = [&](void* routine) {
      std::pair left(random, std::vector<std::int32_t>(1600, -99));
      std::array<void*, 16> p;
      p.fill(reinterpret_cast<void*>(1));  // the lengths of letters, behind the arguments
      for (std::size_t i = 2; i < words.size(); ++i) {
        std::int32_t* const whole = &left.second[100 * (i - 2)];
        if (std::isdigit(words[i][0])) *whole = std::stoi(words[i]);
        p[i - 2] = words[i] == "*"             ? &left.first[100 * (i - 2)]
                   : std::isalpha(words[i][0]) ? &words[i][0]
                                               : (void*)whole;
      }
      std::apply([&](auto... a) { reinterpret_cast<void (*)(decltype(a)...)>(routine)(a...); }, p);
      return left;
    };
    const auto expected = left_by(dlsym(blas, words[1].c_str()));
    EXPECT_NE(expected.first, random) << row;
    EXPECT_EQ(left_by(dlsym(RTLD_DEFAULT, words[0].c_str())), expected) << row;
  }
}

// With whole numbers, of which all sums are exact. An alpha of 0 clears what is no number too.
TYPED_TEST(linear, packed_product_is_that_of_the_full_triangle) {
  using T = TypeParam;
  const std::int32_t m = 4, n = 3;
  for (int variant = 0; variant < 3 * 3 * 4 * 3 * 3 * 2; ++variant) {
    const char side = "LrX"[variant % 3], uplo = "UlX"[variant / 3 % 3], trans = "NtCX"[variant / 9 % 4];
    const char diag = "nUX"[variant / 36 % 3];
    const T alpha = T(variant / 108 % 3);
    const std::int32_t ldb = variant / 324 ? 6 : 3, order = side == 'L' ? m : n;
    std::vector<T> full(order * order), packed, b(18);
    for (int at = 0; at < order * order; ++at) {
      full[at] = std::floor(10 * random_number<T>());
      if (uplo == 'U' ? at % order <= at / order : at % order >= at / order) packed.push_back(full[at]);
    }
    for (int i = 0; i < 18; ++i) b[i] = alpha == 0 && i % 6 < m ? INFINITY : T(i);
    std::vector<T> expected = b;
    const auto trmm = BOTH(arko_blas_, trmm);
    if (side != 'X' && uplo != 'X' && trans != 'X' && diag != 'X' && ldb >= m)
      trmm(&side, &uplo, &trans, &diag, &m, &n, &alpha, &full[0], &order, &expected[0], &ldb);
    BOTH(arko_blas4zur_, ptrmm)(&side, &uplo, &trans, &diag, &m, &n, &alpha, &packed[0], &b[0], &ldb);
    EXPECT_EQ(b, expected) << side << uplo << trans << diag << ' ' << alpha << ' ' << ldb;
  }
}

template <class T> struct tridiagonal {
  std::vector<T> dl, d, du;
  bool operator==(const tridiagonal&) const = default;
  // The info of a factorisation ('F'), of that and the solution ('B'), or of a solution of that letter.
  std::int32_t call(char what, std::int32_t n, std::int32_t nrhs, T* b, std::int32_t ldb) {
    std::int32_t info = 99;
    if (what == 'F')
      BOTH(, dttrfb_4dfl)(&n, &dl[0], &d[0], &du[0], &info);
    else if (what == 'B')
      BOTH(, dtsvb_4dfl)(&n, &nrhs, &dl[0], &d[0], &du[0], b, &ldb, &info);
    else
      BOTH(, dttrsb_4dfl)(&what, &n, &nrhs, &dl[0], &d[0], &du[0], b, &ldb, &info);
    return info;
  }
};

// By residuals; and a column's solution has the same bits alone as among others.
TYPED_TEST(linear, tridiagonal_solutions) {
  using T = TypeParam;
  const T root = std::sqrt(std::numeric_limits<T>::min());
  const int nrhs = 10;  // columns are solved by fours, and what remains one by one
  for (const char what : {'B', 'N', 'n', 'T', 'c'})
    for (const int n : {1, 2, 101})
      for (const T scale : {T(1), 1 / root, root}) {
        const int ldb = n + 3;
        tridiagonal<T> a{std::vector<T>(n), std::vector<T>(n), std::vector<T>(n)};
        for (int i = 0; i < n; ++i)
          for (std::vector<T>* v : {&a.dl, &a.d, &a.du})
            (*v)[i] = scale * (random_number<T>() + (v != &a.d ? 0 : i % 3 == 0 ? -3 : 3));
        std::vector<T> b(std::size_t(ldb) * nrhs);
        std::generate(b.begin(), b.end(), random_number<T>);
        std::vector<T> x = b, single = b;
        tridiagonal<T> factors = a;
        ASSERT_EQ(what == 'B' ? 0 : factors.call('F', n, 0, nullptr, 0), 0);
        ASSERT_EQ(factors.call(what, n, nrhs, &x[0], ldb), 0);
        for (int j = 0; j < nrhs; ++j)
          ASSERT_EQ(factors.call(what == 'B' ? 'N' : what, n, 1, &single[j * ldb], n), 0);
        EXPECT_EQ(x, single);
        if (what == 'T' || what == 'c') std::swap(a.dl, a.du);
        for (int at = 0; at < ldb * nrhs; ++at) {
          const int i = at % ldb;
          const auto term = [&](const std::vector<T>& v, int row, int neighbour) {
            return row >= 0 && row < n && i < n ? 1.0L * v[row] * x[at + neighbour] : 0;
          };
          const long double below = term(a.dl, i - 1, -1), middle = i < n ? term(a.d, i, 0) : x[at];
          const long double above = i < n - 1 ? term(a.du, i, 1) : 0;
          // |L||U| <= 3|A| for a dominant matrix, and six roundings of eps/2 fall on an element of
          // |L||U|: two in the factors, one in the solution with L, three in that with U.
          ASSERT_LE(std::fabs(below + middle + above - b[at]),
                    9.01L * std::numeric_limits<T>::epsilon() *
                        (std::fabs(below) + std::fabs(middle) + std::fabs(above)))
              << what << ' ' << n << ' ' << scale << " row " << i;
        }
      }
}

// data/tridiagonal.txt: what is called, n, nrhs, ldb and info; the first pivot, in units of the largest without a
// reciprocal where it says so, and the second of a matrix with 3 at the end of the diagonal and ones beside it.
TYPED_TEST(linear, tridiagonal_info) {
  using T = TypeParam;
  std::ifstream rows(ARKO_SOURCE "/tests/core/data/tridiagonal.txt");
  char what;
  std::int32_t n, nrhs, ldb, info;
  double d0, d1;
  std::string unit;
  int count = 0;
  for (; rows >> what >> n >> nrhs >> ldb >> info >> d0 >> unit >> d1; ++count) {
    const T first = T(d0) * (unit == "tiny" ? std::numeric_limits<T>::min() / 4 : 1);
    const tridiagonal<T> before{{1, 1}, {first, T(d1), 3}, {1, 1}};
    tridiagonal<T> t = before;
    std::vector<T> b(3, T(1)), ones = b;
    EXPECT_EQ(t.call(what, n, nrhs, &b[0], ldb), info) << "row " << count;
    EXPECT_EQ(b != ones, info == 0 && what != 'F' && n * nrhs > 0) << "row " << count;
    EXPECT_TRUE(info >= 0 || t == before) << "row " << count;
    EXPECT_TRUE(info != 0 || (std::isfinite(t.d[0]) && std::isfinite(b[0]))) << "row " << count;
  }
  EXPECT_TRUE(rows.eof() && count > 0);
}

}  // namespace
