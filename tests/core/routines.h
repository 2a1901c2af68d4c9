// The entries of one precision, and the numbers that tests of both precisions need.
#pragma once

#include <limits>
#include <random>
#include <vector>

#include "arko/core.h"

template <class T> struct routines;

#define ARKO_ROUTINES(p, real)                                                                              \
  template <> struct routines<real> {                                                                       \
    static constexpr auto gemv = arko_blas_##p##gemv;                                                       \
    static constexpr auto symm = arko_blas_x##p##symm;                                                      \
    static constexpr auto ptrmm = arko_blas4zur_##p##ptrmm;                                                 \
    static constexpr auto potrf = arko_lapack_##p##potrf;                                                   \
    static constexpr auto potri = arko_lapack_##p##potri;                                                   \
    static constexpr auto trtri = arko_lapack_##p##trtri;                                                   \
    static constexpr auto syev = arko_lapack_##p##syev;                                                     \
    static constexpr auto spevd = arko_lapack_##p##spevd;                                                   \
    static constexpr auto dttrfb = p##dttrfb_4dfl;                                                          \
    static constexpr auto dttrsb = p##dttrsb_4dfl;                                                          \
    static constexpr auto dtsvb = p##dtsvb_4dfl;                                                            \
    static constexpr decltype(&arko_blas_##p##gemm) gemm[] = {arko_blas_##p##gemm, arko_blas_x##p##gemm};   \
    static constexpr decltype(&arko_blas_##p##syrk) syrk[] = {arko_blas_##p##syrk, arko_blas_x##p##syrk};   \
    static constexpr decltype(&arko_blas_##p##syr) syr[] = {arko_blas_##p##syr, arko_blas_x##p##syr};       \
    static constexpr decltype(&arko_blas_##p##trmm) trmm[] = {arko_blas_##p##trmm, arko_blas4zur_##p##trmm, \
                                                              arko_blas_x##p##trmm_4zur};                   \
  };
ARKO_ROUTINES(d, double)
ARKO_ROUTINES(s, float)
#undef ARKO_ROUTINES

template <class T> constexpr T nan_of = std::numeric_limits<T>::quiet_NaN();
template <class T> constexpr long double eps = std::numeric_limits<T>::epsilon();

// Numbers in [-1, 1), the same in every run.
template <class T> std::vector<T> random_numbers(std::size_t count, unsigned seed) {
  std::mt19937 engine(seed);
  std::vector<T> x(count);
  for (T& v : x) v = T(std::int32_t(engine()) * 0x1p-31);
  return x;
}
