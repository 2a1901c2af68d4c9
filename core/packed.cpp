// The product with a packed triangle, B := alpha op(A) B or B := alpha B op(A).
//
// BLAS has the product with one vector. From the left that is applied to each column of B; from the
// right, to each row with the other transposition, as (b op(A))' = op(A)' b'.

#include "arko/core.h"
#include "core/letters.h"

#define TPMV_PARAMETERS(real)                                                                       \
  const char *uplo, const char *trans, const char *diag, const int32_t *n, const real *ap, real *x, \
      const int32_t *incx
extern "C" void dtpmv_(TPMV_PARAMETERS(double), size_t, size_t, size_t);
extern "C" void stpmv_(TPMV_PARAMETERS(float), size_t, size_t, size_t);

namespace {

using arko::core::is_letter;

void tpmv(TPMV_PARAMETERS(double)) { dtpmv_(uplo, trans, diag, n, ap, x, incx, 1, 1, 1); }
void tpmv(TPMV_PARAMETERS(float)) { stpmv_(uplo, trans, diag, n, ap, x, incx, 1, 1, 1); }

template <class T> void ptrmm(ARKO_PTRMM_PARAMETERS(T)) {
  const bool left = is_letter(side, 'L'), plain = is_letter(transa, 'N');
  if (!left && !is_letter(side, 'R')) return;
  if (!is_letter(uplo, 'U') && !is_letter(uplo, 'L')) return;
  if (!plain && !is_letter(transa, 'T') && !is_letter(transa, 'C')) return;
  if (!is_letter(diag, 'U') && !is_letter(diag, 'N')) return;
  if (*m < 0 || *n < 0 || *ldb < *m || *ldb < 1) return;

  const ptrdiff_t column = *ldb;
  if (*alpha != 1) {
    for (int32_t j = 0; j < *n; ++j) {
      T* b_j = b + j * column;
      // As in BLAS, an alpha of 0 clears B whatever it held.
      for (int32_t i = 0; i < *m; ++i) b_j[i] = *alpha == 0 ? T(0) : *alpha * b_j[i];
    }
    if (*alpha == 0) return;
  }
  if (left) {
    const int32_t next = 1;
    for (int32_t j = 0; j < *n; ++j) tpmv(uplo, transa, diag, m, a, b + j * column, &next);
  } else {
    for (int32_t i = 0; i < *m; ++i) tpmv(uplo, plain ? "T" : "N", diag, n, a, b + i, ldb);
  }
}

}  // namespace

#define ENTRY(p, real)                                                    \
  extern "C" void arko_blas4zur_##p##ptrmm(ARKO_PTRMM_PARAMETERS(real)) { \
    ptrmm(side, uplo, transa, diag, m, n, alpha, a, b, ldb);              \
  }

ENTRY(d, double)
ENTRY(s, float)
