// The routines of core that work on matrices, for both precisions, by value.
#pragma once
#include <arko/core.h>

#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov { namespace blas {

using std::int32_t;

// The upper triangle, by columns, of C += A A' where `trans` is 'n', C += A' A where it is 't'.
template <class T> void syrk(char trans, int32_t n, int32_t k, const T* a, int32_t lda, T* c, int32_t ldc) {
  const T one = 1;
  if constexpr (sizeof(T) == sizeof(double))
    arko_blas_xdsyrk("u", &trans, &n, &k, &one, a, &lda, &one, c, &ldc);
  else
    arko_blas_xssyrk("u", &trans, &n, &k, &one, a, &lda, &one, c, &ldc);
}

// C += A B' where `trans` is 'n', C += A' B where it is 't'; C is n by n.
template <class T>
void gemm(char trans, int32_t n, int32_t k, const T* a, const T* b, int32_t ld, T* c, int32_t ldc) {
  const T one = 1;
  const char other = trans == 'n' ? 't' : 'n';
  if constexpr (sizeof(T) == sizeof(double))
    arko_blas_xdgemm(&trans, &other, &n, &n, &k, &one, a, &ld, b, &ld, &one, c, &ldc);
  else
    arko_blas_xsgemm(&trans, &other, &n, &n, &k, &one, a, &ld, b, &ld, &one, c, &ldc);
}

// The upper triangle, by columns, of C += alpha x x'.
template <class T> void syr(int32_t n, double alpha, const T* x, T* c, int32_t ldc) {
  const T factor = static_cast<T>(alpha);
  const int32_t one = 1;
  if constexpr (sizeof(T) == sizeof(double))
    arko_blas_xdsyr("u", &n, &factor, x, &one, c, &ldc);
  else
    arko_blas_xssyr("u", &n, &factor, x, &one, c, &ldc);
}

}  // namespace blas
}  // namespace kov
