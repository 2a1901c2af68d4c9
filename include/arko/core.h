/*
 * arko/core.h - the services that the arko modules share: memory, locks, messages, the
 * environment, linear algebra and tridiagonal systems. The library is libarko_core.
 *
 * Every entry may be called from any thread at any time, unless its comment says otherwise.
 */
#ifndef ARKO_CORE_H
#define ARKO_CORE_H

#include <stddef.h>
#include <stdint.h>

#define ARKO_CORE_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Memory ------------------------------------------------------------------------------ */

/*
 * A block of at least `size` bytes at a multiple of `alignment`, with undefined content. Null when
 * it cannot be had or `alignment` is not a power of two. A size of 0 gives a block too, of which
 * no byte may be used. The block is released with arko_serv_deallocate.
 */
ARKO_CORE_API void* arko_serv_allocate(size_t size, size_t alignment);

/* Releases a block of arko_serv_allocate. Null is allowed and does nothing. */
ARKO_CORE_API void arko_serv_deallocate(void* block);

/* ---- Locks ------------------------------------------------------------------------------- */

/*
 * Mutual exclusion on a 32-bit word that is zero before first use and is touched by nothing but
 * these two calls. A thread that finds the lock held sleeps. The lock is not recursive and not
 * fair, it works between the threads of one process, and it is released by the thread that took it.
 */
ARKO_CORE_API void arko_serv_lock(int32_t* word);
ARKO_CORE_API void arko_serv_unlock(int32_t* word);

/* ---- Messages ---------------------------------------------------------------------------- */

/*
 * Writes the message `code` to standard error: one line, in one write, so that the lines of several
 * threads do not mix. `count` further arguments follow, by the code:
 *
 *   748            const char *name, int32_t argument   an argument of function `name` is wrong
 *   749            const char *name                     an array of `name` cannot be accessed
 *   750, 751       const char *name                     domain error, pole
 *   752, 753       const char *name                     overflow, underflow
 *   754            const char *name                     any other error
 *   755 to 766     int32_t index, double value          an element's argument or result, in 17 digits
 *                  755 argument, 756 result;
 *                  757 argument, 758 first and 759 second result;
 *                  760 first and 761 second argument, 762 result;
 *                  763 first and 764 second argument, 765 first and 766 second result
 *   773            none                                 the per-thread record could not be set up
 *
 * A code that is not listed, or one with another count than the list's, prints a line with the code
 * only; then the further arguments are not read. Of a name 255 characters are printed. `level` is 1; other
 * values are reserved and do the same. Returns 0, or -1 when the line could not be written. errno is kept.
 */
ARKO_CORE_API int32_t arko_serv_print(int32_t level, int32_t code, int32_t count, ...);

/* ---- Process ----------------------------------------------------------------------------- */

/*
 * Copies the value of the environment variable `name`, with its NUL, to `buffer` of `size` bytes.
 * Returns the length of the value without the NUL: above 0 for a variable that says something, 0
 * for an empty one. Returns -1 and leaves the buffer alone when there is no such variable or its
 * value does not fit. As with the C library's getenv, no other thread may change the environment
 * meanwhile.
 */
ARKO_CORE_API int32_t arko_serv_getenv(const char* name, char* buffer, int32_t size);

/* Ends the process in the ordinary way, with exit handlers and the exit status `code`. */
ARKO_CORE_API void arko_serv_exit(int32_t code) __attribute__((noreturn));

/*
 * Copies `count` bytes from `from` to `to`, which has room for `to_size`; the two must not overlap.
 * Returns 0. Copies nothing and returns EINVAL when `count` is not 0 and a pointer is null, or
 * ERANGE when the bytes do not fit.
 */
ARKO_CORE_API int32_t arko_serv_memcpy_s(void* to, size_t to_size, const void* from, size_t count);

/* 1 on a processor whose AVX2 and vector AES instructions can be used, else 0. */
ARKO_CORE_API int32_t arko_serv_cpuisicx(void);

/*
 * 1 once the process has begun to end by exit() or by return from main, else 0. A library's
 * destructor can ask it whether the library is being unloaded or the process ends, provided that it
 * has called it before: when it was loaded and, as a library that comes with the program is loaded
 * too early, once more when the program first used it. (libarko_core stays loaded until the process
 * ends.)
 */
ARKO_CORE_API int32_t arko_serv_ending(void);

/* ---- Linear algebra ---------------------------------------------------------------------- */

/*
 * The routines of BLAS and LAPACK under names of this library's own, for double (d) and single (s)
 * precision, from a build inside the library that uses the calling thread alone, whatever else of that kind
 * the program has loaded. Arguments are those of the published routine in their published order, all
 * by reference: letters as const char *, integers as int32_t, matrices by columns. On a wrong
 * argument a routine sets `info`, where it has one, and prints a line to standard output; nothing else.
 *
 *   arko_blas_dgemm, arko_blas_xdgemm    C := alpha op(A) op(B) + beta C
 *   arko_blas_dgemv                      y := alpha op(A) x + beta y
 *   arko_blas_dsyrk, arko_blas_xdsyrk    C := alpha A A' + beta C, or alpha A' A + beta C; one triangle of C
 *   arko_blas_dsyr, arko_blas_xdsyr      A := A + alpha x x'; one triangle of A
 *   arko_blas_xdsymm                     C := alpha A B + beta C, or alpha B A + beta C; A symmetric
 *   arko_blas_dtrmm, arko_blas4zur_dtrmm, arko_blas_xdtrmm_4zur
 *                                        B := alpha op(A) B, or alpha B op(A); A triangular
 *   arko_blas4zur_dptrmm                 the same with the triangle A packed by columns
 *   arko_lapack_dpotrf, arko_lapack_dpotri, arko_lapack_dtrtri
 *                                        Cholesky factor, inverse from it, inverse of a triangle
 *   arko_lapack_dsyev, arko_lapack_dspevd
 *                                        eigenvalues and vectors; full matrix, packed matrix
 *
 * The forms with x and 4zur compute the same as the plain ones. They are meant for small work inside a
 * thread.
 */
#define ARKO_GEMM_PARAMETERS(real)                                                              \
  const char *transa, const char *transb, const int32_t *m, const int32_t *n, const int32_t *k, \
      const real *alpha, const real *a, const int32_t *lda, const real *b, const int32_t *ldb,  \
      const real *beta, real *c, const int32_t *ldc
#define ARKO_GEMV_PARAMETERS(real)                                                         \
  const char *trans, const int32_t *m, const int32_t *n, const real *alpha, const real *a, \
      const int32_t *lda, const real *x, const int32_t *incx, const real *beta, real *y, const int32_t *incy
#define ARKO_SYRK_PARAMETERS(real)                                                                           \
  const char *uplo, const char *trans, const int32_t *n, const int32_t *k, const real *alpha, const real *a, \
      const int32_t *lda, const real *beta, real *c, const int32_t *ldc
#define ARKO_SYR_PARAMETERS(real)                                                                     \
  const char *uplo, const int32_t *n, const real *alpha, const real *x, const int32_t *incx, real *a, \
      const int32_t *lda
#define ARKO_SYMM_PARAMETERS(real)                                                                          \
  const char *side, const char *uplo, const int32_t *m, const int32_t *n, const real *alpha, const real *a, \
      const int32_t *lda, const real *b, const int32_t *ldb, const real *beta, real *c, const int32_t *ldc
#define ARKO_TRMM_PARAMETERS(real)                                                            \
  const char *side, const char *uplo, const char *transa, const char *diag, const int32_t *m, \
      const int32_t *n, const real *alpha, const real *a, const int32_t *lda, real *b, const int32_t *ldb
#define ARKO_PTRMM_PARAMETERS(real)                                                           \
  const char *side, const char *uplo, const char *transa, const char *diag, const int32_t *m, \
      const int32_t *n, const real *alpha, const real *a, real *b, const int32_t *ldb
#define ARKO_POTRF_PARAMETERS(real) \
  const char *uplo, const int32_t *n, real *a, const int32_t *lda, int32_t *info
#define ARKO_TRTRI_PARAMETERS(real) \
  const char *uplo, const char *diag, const int32_t *n, real *a, const int32_t *lda, int32_t *info
#define ARKO_SYEV_PARAMETERS(real)                                                                        \
  const char *jobz, const char *uplo, const int32_t *n, real *a, const int32_t *lda, real *w, real *work, \
      const int32_t *lwork, int32_t *info
#define ARKO_SPEVD_PARAMETERS(real)                                                                     \
  const char *jobz, const char *uplo, const int32_t *n, real *ap, real *w, real *z, const int32_t *ldz, \
      real *work, const int32_t *lwork, int32_t *iwork, const int32_t *liwork, int32_t *info

/* ---- Tridiagonal systems ----------------------------------------------------------------- */

/*
 * Systems with a diagonally dominant tridiagonal matrix of n rows: `d` holds its n diagonal elements,
 * `dl` and `du` the n-1 below and above. There is no pivoting, so another matrix can lose accuracy or fail.
 *
 * ?dttrfb_4dfl factors the matrix in place: `dl` becomes the multipliers, `d` the reciprocals of
 * the pivots. ?dttrsb_4dfl solves with that factorisation and leaves it as it is: the matrix itself
 * when `trans` is "N", its transpose when it is "T" or "C". `b` holds the nrhs right-hand sides in
 * columns that lie `ldb` apart, and takes the solutions. ?dtsvb_4dfl factors and solves ("N").
 * A column's solution has the same bits whatever the number of columns in the call.
 *
 * info: 0 done; -i the i-th argument is wrong, nothing was written; k > 0 the k-th pivot is zero, or
 * so small that it has no finite reciprocal: `b` was not written, and the diagonals are of no further use.
 */
#define ARKO_DTTRFB_PARAMETERS(real) const int32_t *n, real *dl, real *d, real *du, int32_t *info
#define ARKO_DTTRSB_PARAMETERS(real)                                                                       \
  const char *trans, const int32_t *n, const int32_t *nrhs, const real *dl, const real *d, const real *du, \
      real *b, const int32_t *ldb, int32_t *info
#define ARKO_DTSVB_PARAMETERS(real)                                                                \
  const int32_t *n, const int32_t *nrhs, real *dl, real *d, real *du, real *b, const int32_t *ldb, \
      int32_t *info

/* The prototypes of both groups, for a precision letter p and its type. */
#define ARKO_CORE_PROTOTYPES(p, real)                                       \
  ARKO_CORE_API void arko_blas_##p##gemm(ARKO_GEMM_PARAMETERS(real));       \
  ARKO_CORE_API void arko_blas_x##p##gemm(ARKO_GEMM_PARAMETERS(real));      \
  ARKO_CORE_API void arko_blas_##p##gemv(ARKO_GEMV_PARAMETERS(real));       \
  ARKO_CORE_API void arko_blas_##p##syrk(ARKO_SYRK_PARAMETERS(real));       \
  ARKO_CORE_API void arko_blas_x##p##syrk(ARKO_SYRK_PARAMETERS(real));      \
  ARKO_CORE_API void arko_blas_##p##syr(ARKO_SYR_PARAMETERS(real));         \
  ARKO_CORE_API void arko_blas_x##p##syr(ARKO_SYR_PARAMETERS(real));        \
  ARKO_CORE_API void arko_blas_x##p##symm(ARKO_SYMM_PARAMETERS(real));      \
  ARKO_CORE_API void arko_blas_##p##trmm(ARKO_TRMM_PARAMETERS(real));       \
  ARKO_CORE_API void arko_blas4zur_##p##trmm(ARKO_TRMM_PARAMETERS(real));   \
  ARKO_CORE_API void arko_blas_x##p##trmm_4zur(ARKO_TRMM_PARAMETERS(real)); \
  ARKO_CORE_API void arko_blas4zur_##p##ptrmm(ARKO_PTRMM_PARAMETERS(real)); \
  ARKO_CORE_API void arko_lapack_##p##potrf(ARKO_POTRF_PARAMETERS(real));   \
  ARKO_CORE_API void arko_lapack_##p##potri(ARKO_POTRF_PARAMETERS(real));   \
  ARKO_CORE_API void arko_lapack_##p##trtri(ARKO_TRTRI_PARAMETERS(real));   \
  ARKO_CORE_API void arko_lapack_##p##syev(ARKO_SYEV_PARAMETERS(real));     \
  ARKO_CORE_API void arko_lapack_##p##spevd(ARKO_SPEVD_PARAMETERS(real));   \
  ARKO_CORE_API void p##dttrfb_4dfl(ARKO_DTTRFB_PARAMETERS(real));          \
  ARKO_CORE_API void p##dttrsb_4dfl(ARKO_DTTRSB_PARAMETERS(real));          \
  ARKO_CORE_API void p##dtsvb_4dfl(ARKO_DTSVB_PARAMETERS(real))

ARKO_CORE_PROTOTYPES(d, double);
ARKO_CORE_PROTOTYPES(s, float);

#ifdef __cplusplus
}
#endif
#endif
