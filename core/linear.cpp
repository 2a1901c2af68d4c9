// The linear algebra names, each handed on to the routine of that name in the installed BLAS or LAPACK.
//
// Those follow the Fortran convention: name with an underscore, and behind the arguments the lengths of
// the letters, by value. Some builds rely on the lengths, so they are always passed.

#include "arko/core.h"

#define ONE_LENGTH size_t
#define TWO_LENGTHS size_t, size_t
#define FOUR_LENGTHS size_t, size_t, size_t, size_t

#define FORWARD(exported, published, parameters, lengths, arguments) \
  extern "C" void published(parameters, lengths);                    \
  extern "C" void exported(parameters) { published arguments; }

#define SAME(exported, plain) \
  extern "C" ARKO_CORE_API decltype(plain) exported __attribute__((alias(#plain)));

// One row a routine.
#define ROUTINES(p, real)                                                              \
  FORWARD(arko_blas_##p##gemm, p##gemm_, ARKO_GEMM_PARAMETERS(real), TWO_LENGTHS,      \
          (transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1))        \
  FORWARD(arko_blas_##p##gemv, p##gemv_, ARKO_GEMV_PARAMETERS(real), ONE_LENGTH,       \
          (trans, m, n, alpha, a, lda, x, incx, beta, y, incy, 1))                     \
  FORWARD(arko_blas_##p##syrk, p##syrk_, ARKO_SYRK_PARAMETERS(real), TWO_LENGTHS,      \
          (uplo, trans, n, k, alpha, a, lda, beta, c, ldc, 1, 1))                      \
  FORWARD(arko_blas_##p##syr, p##syr_, ARKO_SYR_PARAMETERS(real), ONE_LENGTH,          \
          (uplo, n, alpha, x, incx, a, lda, 1))                                        \
  FORWARD(arko_blas_x##p##symm, p##symm_, ARKO_SYMM_PARAMETERS(real), TWO_LENGTHS,     \
          (side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1))               \
  FORWARD(arko_blas_##p##trmm, p##trmm_, ARKO_TRMM_PARAMETERS(real), FOUR_LENGTHS,     \
          (side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1))         \
  FORWARD(arko_lapack_##p##potrf, p##potrf_, ARKO_POTRF_PARAMETERS(real), ONE_LENGTH,  \
          (uplo, n, a, lda, info, 1))                                                  \
  FORWARD(arko_lapack_##p##potri, p##potri_, ARKO_POTRF_PARAMETERS(real), ONE_LENGTH,  \
          (uplo, n, a, lda, info, 1))                                                  \
  FORWARD(arko_lapack_##p##trtri, p##trtri_, ARKO_TRTRI_PARAMETERS(real), TWO_LENGTHS, \
          (uplo, diag, n, a, lda, info, 1, 1))                                         \
  FORWARD(arko_lapack_##p##syev, p##syev_, ARKO_SYEV_PARAMETERS(real), TWO_LENGTHS,    \
          (jobz, uplo, n, a, lda, w, work, lwork, info, 1, 1))                         \
  FORWARD(arko_lapack_##p##spevd, p##spevd_, ARKO_SPEVD_PARAMETERS(real), TWO_LENGTHS, \
          (jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info, 1, 1))      \
  SAME(arko_blas_x##p##gemm, arko_blas_##p##gemm)                                      \
  SAME(arko_blas_x##p##syrk, arko_blas_##p##syrk)                                      \
  SAME(arko_blas_x##p##syr, arko_blas_##p##syr)                                        \
  SAME(arko_blas4zur_##p##trmm, arko_blas_##p##trmm)                                   \
  SAME(arko_blas_x##p##trmm_4zur, arko_blas_##p##trmm)

ROUTINES(d, double)
ROUTINES(s, float)
