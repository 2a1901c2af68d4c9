// Diagonally dominant tridiagonal systems.
//
// A = L U without pivoting: L has ones on its diagonal and the multipliers l below it, U has the pivots u
// on its diagonal and du, unchanged, above it:
//
//   u[0] = d[0],   l[i] = dl[i] / u[i],   u[i+1] = d[i+1] - l[i] du[i].
//
// Dominance bounds the growth, |u[i+1]| >= |d[i+1]| - |du[i]|. What is stored in place of d are the
// reciprocals 1/u, so that solving does not divide; the two roundings instead of one stay within the
// backward error of the elimination itself.

#include <cmath>
#include <limits>

#include "arko/core.h"
#include "core/letters.h"

namespace {

using arko::core::is_letter;

// 0, or the number of the first pivot without a finite reciprocal.
template <class T> int32_t factor(int32_t n, T* dl, T* d, const T* du) {
  for (int32_t i = 0; i < n; ++i) {
    const T pivot = i == 0 ? d[0] : d[i] - dl[i - 1] * du[i - 1];
    if (std::fabs(pivot) <= std::numeric_limits<T>::min() / 4) return i + 1;  // here 1/pivot is infinite
    d[i] = 1 / pivot;
    if (i + 1 < n) dl[i] *= d[i];
  }
  return 0;
}

// A diagonal of ones, which costs nothing to divide by.
struct ones {};
template <class T> T scaled(T x, const T* reciprocals, int32_t i) { return x * reciprocals[i]; }
template <class T> T scaled(T x, ones, int32_t) { return x; }

// Solves with the two bidiagonal factors, for `width` columns at once: each column is one long chain of
// dependent operations, and the chains of several columns overlap.
template <int width, class T, class Lower, class Upper>
void solve_columns(int32_t n, const T* below, Lower lower, const T* above, Upper upper, T* b, ptrdiff_t ldb) {
  T x[width] = {};
  for (int32_t i = 0; i < n; ++i) {
    const T e = i == 0 ? T(0) : below[i - 1];
#pragma GCC unroll 4
    for (int c = 0; c < width; ++c) b[i + c * ldb] = x[c] = scaled(b[i + c * ldb] - e * x[c], lower, i);
  }
  for (int c = 0; c < width; ++c) x[c] = T(0);
  for (int32_t i = n - 1; i >= 0; --i) {
    const T e = i == n - 1 ? T(0) : above[i];
#pragma GCC unroll 4
    for (int c = 0; c < width; ++c) b[i + c * ldb] = x[c] = scaled(b[i + c * ldb] - e * x[c], upper, i);
  }
}

template <class T, class Lower, class Upper>
void solve(int32_t n, int32_t nrhs, const T* below, Lower lower, const T* above, Upper upper, T* b,
           ptrdiff_t ldb) {
  constexpr int width = 4;
  int32_t column = 0;
  for (; column + width <= nrhs; column += width) {
    solve_columns<width>(n, below, lower, above, upper, b + column * ldb, ldb);
  }
  for (; column < nrhs; ++column) solve_columns<1>(n, below, lower, above, upper, b + column * ldb, ldb);
}

template <class T> void dttrfb(ARKO_DTTRFB_PARAMETERS(T)) { *info = *n < 0 ? -1 : factor(*n, dl, d, du); }

template <class T> void dttrsb(ARKO_DTTRSB_PARAMETERS(T)) {
  const bool plain = is_letter(trans, 'N');
  if (!plain && !is_letter(trans, 'T') && !is_letter(trans, 'C')) {
    *info = -1;
  } else if (*n < 0) {
    *info = -2;
  } else if (*nrhs < 0) {
    *info = -3;
  } else if (*ldb < *n || *ldb < 1) {
    *info = -8;
  } else {
    *info = 0;
    if (plain) {
      solve(*n, *nrhs, dl, ones(), du, d, b, *ldb);  // L (U x) = b
    } else {
      solve(*n, *nrhs, du, d, dl, ones(), b, *ldb);  // U' (L' x) = b
    }
  }
}

template <class T> void dtsvb(ARKO_DTSVB_PARAMETERS(T)) {
  if (*n < 0) {
    *info = -1;
  } else if (*nrhs < 0) {
    *info = -2;
  } else if (*ldb < *n || *ldb < 1) {
    *info = -7;
  } else {
    *info = factor(*n, dl, d, du);
    if (*info == 0) dttrsb("N", n, nrhs, dl, d, du, b, ldb, info);
  }
}

}  // namespace

#define ENTRIES(p, real)                                                                       \
  extern "C" void p##dttrfb_4dfl(ARKO_DTTRFB_PARAMETERS(real)) { dttrfb(n, dl, d, du, info); } \
  extern "C" void p##dttrsb_4dfl(ARKO_DTTRSB_PARAMETERS(real)) {                               \
    dttrsb(trans, n, nrhs, dl, d, du, b, ldb, info);                                           \
  }                                                                                            \
  extern "C" void p##dtsvb_4dfl(ARKO_DTSVB_PARAMETERS(real)) { dtsvb(n, nrhs, dl, d, du, b, ldb, info); }

ENTRIES(d, double)
ENTRIES(s, float)
