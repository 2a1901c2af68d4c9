// vector_bench: nanoseconds an element of every kernel beside peers, in one process.
//
//   vector_bench [--only=ROOT]... [--csv=FILE] [--costs | --memory] [Google Benchmark's options]
//
// Arrays of 4096; calls rotate over 16 blocks of random arguments so that branches cannot be learnt. All
// measurements are repeated in random order, so that a disturbance hits kernels and peers alike; figures are
// medians of processor time. --memory runs our unit-stride kernels at LA on arrays of 64 MiB each, larger than a
// cache, beside a copy that moves as many bytes. --costs runs our unit-stride kernels only and prints the cost columns of
// vector/functions.def. Peers work on 128 bits without fused multiply-add, except that the scalar functions
// of libm may choose it.
#include <arko/vector.h>
#include <benchmark/benchmark.h>
#include <math.h>
#include <sleef.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/places.h"
#include "tests/support/registry.h"

extern "C" {
__m128 _ZGVbN4v_expf(__m128);
__m128d _ZGVbN2v_exp(__m128d);
__m128 _ZGVbN4v_exp2f(__m128);
__m128d _ZGVbN2v_exp2(__m128d);
__m128 _ZGVbN4v_exp10f(__m128);
__m128d _ZGVbN2v_exp10(__m128d);
__m128 _ZGVbN4v_expm1f(__m128);
__m128d _ZGVbN2v_expm1(__m128d);
__m128 _ZGVbN4v_logf(__m128);
__m128d _ZGVbN2v_log(__m128d);
__m128 _ZGVbN4v_log1pf(__m128);
__m128d _ZGVbN2v_log1p(__m128d);
__m128 _ZGVbN4v_log2f(__m128);
__m128d _ZGVbN2v_log2(__m128d);
__m128 _ZGVbN4v_log10f(__m128);
__m128d _ZGVbN2v_log10(__m128d);
__m128 _ZGVbN4v_cbrtf(__m128);
__m128d _ZGVbN2v_cbrt(__m128d);
__m128 _ZGVbN4vv_hypotf(__m128, __m128);
__m128d _ZGVbN2vv_hypot(__m128d, __m128d);
}

namespace {

using arko::test::arguments;
using arko::test::function;

constexpr int elements = 4096, blocks = 16;

// ---- Peers: a row or a few for every root

// A function of one V, element by element or vector by vector.
template <class V, class F> void each(const arguments& c, F f) {
  using E = std::conditional_t<sizeof(V) == 4 || std::is_same_v<V, __m128>, float, double>;
  const V* a = static_cast<const V*>(c.in[0]);
  V* r = static_cast<V*>(c.out[0]);
  for (std::size_t i = 0; i < std::size_t(c.n) * sizeof(E) / sizeof(V); i++) r[i] = f(a[i]);
}
// A copy by registers, which no compiler makes a call of memcpy.
template <class V> V copied(V x) {
  asm("" : "+x"(x));
  return x;
}
#define EACH(V, f) [](const arguments& c) { each<V>(c, [](V x) { return f(x); }); }
// The same for functions of two V.
template <class V, class F> void each2(const arguments& c, F f) {
  using E = std::conditional_t<sizeof(V) == 4 || std::is_same_v<V, __m128>, float, double>;
  const V *a = static_cast<const V*>(c.in[0]), *b = static_cast<const V*>(c.in[1]);
  V* r = static_cast<V*>(c.out[0]);
  for (std::size_t i = 0; i < std::size_t(c.n) * sizeof(E) / sizeof(V); i++) r[i] = f(a[i], b[i]);
}
#define EACH2(V, f) [](const arguments& c) { each2<V>(c, [](V x, V y) { return f(x, y); }); }

struct peer {
  const char* function;
  const char* name;
  double ulps;  // the largest error that its makers state
  void (*run)(const arguments&);
};
constexpr peer peers[] = {
    {"sAbs", "copy", 0, EACH(__m128, copied)},
    {"sAbs", "libm", 0, EACH(float, fabsf)},
    {"sAbs", "sleef sse2", 0, EACH(__m128, Sleef_fabsf4_sse2)},
    {"sAbs", "sleef sse4", 0, EACH(__m128, Sleef_fabsf4_sse4)},
    {"dAbs", "copy", 0, EACH(__m128d, copied)},
    {"dAbs", "libm", 0, EACH(double, fabs)},
    {"dAbs", "sleef sse2", 0, EACH(__m128d, Sleef_fabsd2_sse2)},
    {"dAbs", "sleef sse4", 0, EACH(__m128d, Sleef_fabsd2_sse4)},
    {"sAdd", "copy", 0, EACH(__m128, copied)},
    {"dAdd", "copy", 0, EACH(__m128d, copied)},
    {"sSub", "copy", 0, EACH(__m128, copied)},
    {"dSub", "copy", 0, EACH(__m128d, copied)},
    {"sMul", "copy", 0, EACH(__m128, copied)},
    {"dMul", "copy", 0, EACH(__m128d, copied)},
    {"sSqr", "copy", 0, EACH(__m128, copied)},
    {"dSqr", "copy", 0, EACH(__m128d, copied)},
    {"sCopySign", "copy", 0, EACH(__m128, copied)},
    {"dCopySign", "copy", 0, EACH(__m128d, copied)},
    {"sCeil", "copy", 0, EACH(__m128, copied)},
    {"dCeil", "copy", 0, EACH(__m128d, copied)},
    {"sFloor", "copy", 0, EACH(__m128, copied)},
    {"dFloor", "copy", 0, EACH(__m128d, copied)},
    {"sTrunc", "copy", 0, EACH(__m128, copied)},
    {"dTrunc", "copy", 0, EACH(__m128d, copied)},
    {"sRound", "copy", 0, EACH(__m128, copied)},
    {"dRound", "copy", 0, EACH(__m128d, copied)},
    {"sRint", "copy", 0, EACH(__m128, copied)},
    {"dRint", "copy", 0, EACH(__m128d, copied)},
    {"sFmax", "copy", 0, EACH(__m128, copied)},
    {"dFmax", "copy", 0, EACH(__m128d, copied)},
    {"sFmin", "copy", 0, EACH(__m128, copied)},
    {"dFmin", "copy", 0, EACH(__m128d, copied)},
    {"sCeil", "sleef sse2", 0, EACH(__m128, Sleef_ceilf4_sse2)},
    {"dCeil", "sleef sse2", 0, EACH(__m128d, Sleef_ceild2_sse2)},
    {"sFloor", "sleef sse2", 0, EACH(__m128, Sleef_floorf4_sse2)},
    {"dFloor", "sleef sse2", 0, EACH(__m128d, Sleef_floord2_sse2)},
    {"sTrunc", "sleef sse2", 0, EACH(__m128, Sleef_truncf4_sse2)},
    {"dTrunc", "sleef sse2", 0, EACH(__m128d, Sleef_truncd2_sse2)},
    {"sRound", "sleef sse2", 0, EACH(__m128, Sleef_roundf4_sse2)},
    {"dRound", "sleef sse2", 0, EACH(__m128d, Sleef_roundd2_sse2)},
    {"sRint", "sleef sse2", 0, EACH(__m128, Sleef_rintf4_sse2)},
    {"dRint", "sleef sse2", 0, EACH(__m128d, Sleef_rintd2_sse2)},
    {"sFmax", "libm", 0, EACH2(float, fmaxf)},
    {"dFmax", "libm", 0, EACH2(double, fmax)},
    {"sFmax", "sleef sse2", 0, EACH2(__m128, Sleef_fmaxf4_sse2)},
    {"dFmax", "sleef sse2", 0, EACH2(__m128d, Sleef_fmaxd2_sse2)},
    {"sFmin", "libm", 0, EACH2(float, fminf)},
    {"dFmin", "libm", 0, EACH2(double, fmin)},
    {"sFmin", "sleef sse2", 0, EACH2(__m128, Sleef_fminf4_sse2)},
    {"dFmin", "sleef sse2", 0, EACH2(__m128d, Sleef_fmind2_sse2)},
    {"sFdim", "libm", 0, EACH2(float, fdimf)},
    {"dFdim", "libm", 0, EACH2(double, fdim)},
    {"sFdim", "sleef sse2", 0, EACH2(__m128, Sleef_fdimf4_sse2)},
    {"dFdim", "sleef sse2", 0, EACH2(__m128d, Sleef_fdimd2_sse2)},
    {"sNextAfter", "libm", 0, EACH2(float, nextafterf)},
    {"dNextAfter", "libm", 0, EACH2(double, nextafter)},
    {"sNextAfter", "sleef sse2", 0, EACH2(__m128, Sleef_nextafterf4_sse2)},
    {"dNextAfter", "sleef sse2", 0, EACH2(__m128d, Sleef_nextafterd2_sse2)},
    {"sFmod", "libm", 0, EACH2(float, fmodf)},
    {"dFmod", "libm", 0, EACH2(double, fmod)},
    {"sFmod", "sleef sse2", 0, EACH2(__m128, Sleef_fmodf4_sse2)},
    {"dFmod", "sleef sse2", 0, EACH2(__m128d, Sleef_fmodd2_sse2)},
    {"sRemainder", "libm", 0, EACH2(float, remainderf)},
    {"dRemainder", "libm", 0, EACH2(double, remainder)},
    {"sRemainder", "sleef sse2", 0, EACH2(__m128, Sleef_remainderf4_sse2)},
    {"dRemainder", "sleef sse2", 0, EACH2(__m128d, Sleef_remainderd2_sse2)},
    {"sDiv", "divps", 0.5, EACH2(__m128, _mm_div_ps)},
    {"dDiv", "divpd", 0.5, EACH2(__m128d, _mm_div_pd)},
    {"sExp", "libm", 1, EACH(float, expf)},
    {"sExp", "libmvec", 4, EACH(__m128, _ZGVbN4v_expf)},
    {"sExp", "sleef u10 sse2", 1, EACH(__m128, Sleef_expf4_u10sse2)},
    {"sExp", "sleef u10 sse4", 1, EACH(__m128, Sleef_expf4_u10sse4)},
    {"dExp", "libm", 1, EACH(double, exp)},
    {"dExp", "libmvec", 4, EACH(__m128d, _ZGVbN2v_exp)},
    {"dExp", "sleef u10 sse2", 1, EACH(__m128d, Sleef_expd2_u10sse2)},
    {"dExp", "sleef u10 sse4", 1, EACH(__m128d, Sleef_expd2_u10sse4)},
    {"sExp2", "libm", 1, EACH(float, exp2f)},
    {"sExp2", "libmvec", 4, EACH(__m128, _ZGVbN4v_exp2f)},
    {"sExp2", "sleef u10 sse2", 1, EACH(__m128, Sleef_exp2f4_u10sse2)},
    {"sExp2", "sleef u10 sse4", 1, EACH(__m128, Sleef_exp2f4_u10sse4)},
    {"sExp2", "sleef u35 sse2", 3.5, EACH(__m128, Sleef_exp2f4_u35sse2)},
    {"sExp2", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_exp2f4_u35sse4)},
    {"dExp2", "libm", 1, EACH(double, exp2)},
    {"dExp2", "libmvec", 4, EACH(__m128d, _ZGVbN2v_exp2)},
    {"dExp2", "sleef u10 sse2", 1, EACH(__m128d, Sleef_exp2d2_u10sse2)},
    {"dExp2", "sleef u10 sse4", 1, EACH(__m128d, Sleef_exp2d2_u10sse4)},
    {"dExp2", "sleef u35 sse2", 3.5, EACH(__m128d, Sleef_exp2d2_u35sse2)},
    {"dExp2", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_exp2d2_u35sse4)},
    {"sExp10", "libm", 1, EACH(float, exp10f)},
    {"sExp10", "libmvec", 4, EACH(__m128, _ZGVbN4v_exp10f)},
    {"sExp10", "sleef u10 sse2", 1, EACH(__m128, Sleef_exp10f4_u10sse2)},
    {"sExp10", "sleef u10 sse4", 1, EACH(__m128, Sleef_exp10f4_u10sse4)},
    {"sExp10", "sleef u35 sse2", 3.5, EACH(__m128, Sleef_exp10f4_u35sse2)},
    {"sExp10", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_exp10f4_u35sse4)},
    {"dExp10", "libm", 1, EACH(double, exp10)},
    {"dExp10", "libmvec", 4, EACH(__m128d, _ZGVbN2v_exp10)},
    {"dExp10", "sleef u10 sse2", 1, EACH(__m128d, Sleef_exp10d2_u10sse2)},
    {"dExp10", "sleef u10 sse4", 1, EACH(__m128d, Sleef_exp10d2_u10sse4)},
    {"dExp10", "sleef u35 sse2", 3.5, EACH(__m128d, Sleef_exp10d2_u35sse2)},
    {"dExp10", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_exp10d2_u35sse4)},
    {"sExpm1", "libm", 1, EACH(float, expm1f)},
    {"sExpm1", "libmvec", 4, EACH(__m128, _ZGVbN4v_expm1f)},
    {"sExpm1", "sleef u10 sse2", 1, EACH(__m128, Sleef_expm1f4_u10sse2)},
    {"sExpm1", "sleef u10 sse4", 1, EACH(__m128, Sleef_expm1f4_u10sse4)},
    {"dExpm1", "libm", 1, EACH(double, expm1)},
    {"dExpm1", "libmvec", 4, EACH(__m128d, _ZGVbN2v_expm1)},
    {"dExpm1", "sleef u10 sse2", 1, EACH(__m128d, Sleef_expm1d2_u10sse2)},
    {"dExpm1", "sleef u10 sse4", 1, EACH(__m128d, Sleef_expm1d2_u10sse4)},
    {"sLn", "libm", 1, EACH(float, logf)},
    {"sLn", "libmvec", 4, EACH(__m128, _ZGVbN4v_logf)},
    {"sLn", "sleef u35 sse2", 3.5, EACH(__m128, Sleef_logf4_u35sse2)},
    {"sLn", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_logf4_u35sse4)},
    {"sLn", "sleef u10 sse2", 1, EACH(__m128, Sleef_logf4_u10sse2)},
    {"sLn", "sleef u10 sse4", 1, EACH(__m128, Sleef_logf4_u10sse4)},
    {"dLn", "libm", 1, EACH(double, log)},
    {"dLn", "libmvec", 4, EACH(__m128d, _ZGVbN2v_log)},
    {"dLn", "sleef u35 sse2", 3.5, EACH(__m128d, Sleef_logd2_u35sse2)},
    {"dLn", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_logd2_u35sse4)},
    {"dLn", "sleef u10 sse2", 1, EACH(__m128d, Sleef_logd2_u10sse2)},
    {"dLn", "sleef u10 sse4", 1, EACH(__m128d, Sleef_logd2_u10sse4)},
    {"sLog1p", "libm", 1, EACH(float, log1pf)},
    {"sLog1p", "libmvec", 4, EACH(__m128, _ZGVbN4v_log1pf)},
    {"sLog1p", "sleef u10 sse2", 1, EACH(__m128, Sleef_log1pf4_u10sse2)},
    {"sLog1p", "sleef u10 sse4", 1, EACH(__m128, Sleef_log1pf4_u10sse4)},
    {"dLog1p", "libm", 1, EACH(double, log1p)},
    {"dLog1p", "libmvec", 4, EACH(__m128d, _ZGVbN2v_log1p)},
    {"dLog1p", "sleef u10 sse2", 1, EACH(__m128d, Sleef_log1pd2_u10sse2)},
    {"dLog1p", "sleef u10 sse4", 1, EACH(__m128d, Sleef_log1pd2_u10sse4)},
    {"sLog2", "libm", 1, EACH(float, log2f)},
    {"sLog2", "libmvec", 4, EACH(__m128, _ZGVbN4v_log2f)},
    {"sLog2", "sleef u10 sse2", 1, EACH(__m128, Sleef_log2f4_u10sse2)},
    {"sLog2", "sleef u10 sse4", 1, EACH(__m128, Sleef_log2f4_u10sse4)},
    {"sLog2", "sleef u35 sse2", 3.5, EACH(__m128, Sleef_log2f4_u35sse2)},
    {"sLog2", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_log2f4_u35sse4)},
    {"dLog2", "libm", 1, EACH(double, log2)},
    {"dLog2", "libmvec", 4, EACH(__m128d, _ZGVbN2v_log2)},
    {"dLog2", "sleef u10 sse2", 1, EACH(__m128d, Sleef_log2d2_u10sse2)},
    {"dLog2", "sleef u10 sse4", 1, EACH(__m128d, Sleef_log2d2_u10sse4)},
    {"dLog2", "sleef u35 sse2", 3.5, EACH(__m128d, Sleef_log2d2_u35sse2)},
    {"dLog2", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_log2d2_u35sse4)},
    {"sLog10", "libm", 1, EACH(float, log10f)},
    {"sLog10", "libmvec", 4, EACH(__m128, _ZGVbN4v_log10f)},
    {"sLog10", "sleef u10 sse2", 1, EACH(__m128, Sleef_log10f4_u10sse2)},
    {"sLog10", "sleef u10 sse4", 1, EACH(__m128, Sleef_log10f4_u10sse4)},
    {"dLog10", "libm", 1, EACH(double, log10)},
    {"dLog10", "libmvec", 4, EACH(__m128d, _ZGVbN2v_log10)},
    {"dLog10", "sleef u10 sse2", 1, EACH(__m128d, Sleef_log10d2_u10sse2)},
    {"dLog10", "sleef u10 sse4", 1, EACH(__m128d, Sleef_log10d2_u10sse4)},
    {"sLogb", "libm", 0, EACH(float, logbf)},
    {"dLogb", "libm", 0, EACH(double, logb)},
    {"sInv", "copy", HUGE_VAL, EACH(__m128, copied)},
    {"sInv", "divps", 0.5, EACH(__m128, 1.0f /)},
    {"dInv", "divpd", 0.5, EACH(__m128d, 1.0 /)},
    {"sSqrt", "copy", HUGE_VAL, EACH(__m128, copied)},
    {"sSqrt", "sqrtps", 0.5, EACH(__m128, _mm_sqrt_ps)},
    {"sSqrt", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_sqrtf4_u35sse4)},
    {"dSqrt", "copy", HUGE_VAL, EACH(__m128d, copied)},
    {"dSqrt", "sqrtpd", 0.5, EACH(__m128d, _mm_sqrt_pd)},
    {"dSqrt", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_sqrtd2_u35sse4)},
    {"sInvSqrt", "copy", HUGE_VAL, EACH(__m128, copied)},
    {"sInvSqrt", "divps, sqrtps", 1, EACH(__m128, 1.0f / _mm_sqrt_ps)},
    {"dInvSqrt", "copy", HUGE_VAL, EACH(__m128d, copied)},
    {"dInvSqrt", "divpd, sqrtpd", 1, EACH(__m128d, 1.0 / _mm_sqrt_pd)},
    {"sCbrt", "libm", 1, EACH(float, cbrtf)},
    {"sCbrt", "libmvec", 4, EACH(__m128, _ZGVbN4v_cbrtf)},
    {"sCbrt", "sleef u10 sse2", 1, EACH(__m128, Sleef_cbrtf4_u10sse2)},
    {"sCbrt", "sleef u10 sse4", 1, EACH(__m128, Sleef_cbrtf4_u10sse4)},
    {"sCbrt", "sleef u35 sse2", 3.5, EACH(__m128, Sleef_cbrtf4_u35sse2)},
    {"sCbrt", "sleef u35 sse4", 3.5, EACH(__m128, Sleef_cbrtf4_u35sse4)},
    {"dCbrt", "libm", 1, EACH(double, cbrt)},
    {"dCbrt", "libmvec", 4, EACH(__m128d, _ZGVbN2v_cbrt)},
    {"dCbrt", "sleef u10 sse2", 1, EACH(__m128d, Sleef_cbrtd2_u10sse2)},
    {"dCbrt", "sleef u10 sse4", 1, EACH(__m128d, Sleef_cbrtd2_u10sse4)},
    {"dCbrt", "sleef u35 sse2", 3.5, EACH(__m128d, Sleef_cbrtd2_u35sse2)},
    {"dCbrt", "sleef u35 sse4", 3.5, EACH(__m128d, Sleef_cbrtd2_u35sse4)},
    {"sInvCbrt", "divps, libmvec", 4, EACH(__m128, 1.0f / _ZGVbN4v_cbrtf)},
    {"sInvCbrt", "divps, sleef u35 sse4", 4, EACH(__m128, 1.0f / Sleef_cbrtf4_u35sse4)},
    {"sInvCbrt", "divps, sleef u10 sse4", 1.5, EACH(__m128, 1.0f / Sleef_cbrtf4_u10sse4)},
    {"dInvCbrt", "divpd, libmvec", 4, EACH(__m128d, 1.0 / _ZGVbN2v_cbrt)},
    {"dInvCbrt", "divpd, sleef u35 sse4", 4, EACH(__m128d, 1.0 / Sleef_cbrtd2_u35sse4)},
    {"dInvCbrt", "divpd, sleef u10 sse4", 1.5, EACH(__m128d, 1.0 / Sleef_cbrtd2_u10sse4)},
    {"sHypot", "libm", 1, EACH2(float, hypotf)},
    {"sHypot", "libmvec", 4, EACH2(__m128, _ZGVbN4vv_hypotf)},
    {"sHypot", "sleef u05 sse2", 0.5, EACH2(__m128, Sleef_hypotf4_u05sse2)},
    {"sHypot", "sleef u05 sse4", 0.5, EACH2(__m128, Sleef_hypotf4_u05sse4)},
    {"sHypot", "sleef u35 sse2", 3.5, EACH2(__m128, Sleef_hypotf4_u35sse2)},
    {"sHypot", "sleef u35 sse4", 3.5, EACH2(__m128, Sleef_hypotf4_u35sse4)},
    {"dHypot", "libm", 1, EACH2(double, hypot)},
    {"dHypot", "libmvec", 4, EACH2(__m128d, _ZGVbN2vv_hypot)},
    {"dHypot", "sleef u05 sse2", 0.5, EACH2(__m128d, Sleef_hypotd2_u05sse2)},
    {"dHypot", "sleef u05 sse4", 0.5, EACH2(__m128d, Sleef_hypotd2_u05sse4)},
    {"dHypot", "sleef u35 sse2", 3.5, EACH2(__m128d, Sleef_hypotd2_u35sse2)},
    {"dHypot", "sleef u35 sse4", 3.5, EACH2(__m128d, Sleef_hypotd2_u35sse4)},
    {"sPow3o2", "mulps, sqrtps", 1, EACH(__m128, x* _mm_sqrt_ps)},
    {"dPow3o2", "mulpd, sqrtpd", 1, EACH(__m128d, x* _mm_sqrt_pd)},
};

// ---- Running

// The arrays of a function's benchmarks, at increments 1 or 2.
struct arrays {
  const function& f;
  int increment;
  std::vector<double> in[2], out[2];  // memory for any element

  arrays(const function& of, arko::test::interval range) : f(of), increment(f.strided ? 2 : 1) {
    const std::size_t size = std::max(f.how->in_size, f.how->out_size) / 4 * elements * blocks;
    for (auto& memory : out) memory.resize(size);
    std::mt19937_64 generator(1);
    std::uniform_real_distribution<double> draw(range.low, range.high);
    for (auto& memory : in) {
      memory.resize(size);
      for (double& x : memory) {
        const float pair[] = {float(draw(generator)), float(draw(generator))};
        if (f.is_double())
          x = draw(generator);
        else
          std::memcpy(&x, pair, sizeof x);
      }
    }
  }
  // n elements from element `first` on.
  arguments at(int n, std::size_t first) {
    const std::size_t offset = first * std::size_t(increment) * f.how->in_size;
    arguments c{n};
    for (int k = 0; k < 2; k++) {
      c.in[k] = reinterpret_cast<const char*>(in[k].data()) + offset, c.inc_in[k] = increment;
      c.out[k] = out[k].data(), c.inc_out[k] = increment;
    }
    return c;
  }
};

template <class Run> void add(const std::string& name, std::shared_ptr<arrays> data, int n, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const std::size_t places = n == 1 ? elements : blocks;
    std::vector<arguments> calls;
    for (std::size_t i = 0; i < places; i++) calls.push_back(data->at(n, i * std::size_t(n)));
    std::size_t i = 0;
    for (auto _ : state) {
      run(calls[i++ & (places - 1)]);
      benchmark::ClobberMemory();
    }
  });
}

struct figure {
  double ns, spread;  // an element; between the quartiles, relative
};

// Collects the repetitions of every benchmark.
struct collector : benchmark::BenchmarkReporter {
  std::map<std::string, std::vector<double>> times;

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration && !r.error_occurred)
        times[r.run_name.function_name].push_back(r.cpu_accumulated_time / double(r.iterations) * 1e9);
  }
  bool has(const std::string& name) const { return times.contains(name); }
  figure operator()(const std::string& name, int n = elements) const {
    auto t = times.at(name);
    std::ranges::sort(t);
    const double median = t[t.size() / 2];
    return {median / n, (t[t.size() * 3 / 4] - t[t.size() / 4]) / median};
  }
};

// ---- Results

constexpr const char* level_name[] = {"LA", "HA", "EP"};

// The first level that shares the kernel of this one.
int kernel_of(const function& f, int level) {
  return int(std::find(f.table, f.table + 3, f.table[level]) - f.table);
}

std::string kernel_name(const function& f, int level) {
  return f.name + "/" + level_name[kernel_of(f, level)];
}

std::string levels_of(const function& f, int level) {
  std::string names;
  for (int l = 0; l < 3; l++)
    if (kernel_of(f, l) == level) names += (names.empty() ? "" : ",") + std::string(level_name[l]);
  return names;
}

const peer* fastest(const collector& results, const function& f, double ulps) {
  const peer* best = nullptr;
  double least = HUGE_VAL;
  for (const peer& p : peers)
    if (const std::string name = f.name + "/" + p.name;
        f.name == p.function && p.ulps <= ulps && results.has(name))
      if (results(name).ns < least) least = results(name).ns, best = &p;
  return best;
}

void print(const collector& results, const std::vector<function>& functions) {
  std::printf("\n%-9s %-9s %8s %7s   %-22s %8s %6s\n", "function", "level", "ns", "spread", "beside", "ns",
              "ratio");
  for (const function& f : functions)
    for (int l = 0; l < 3; l++) {
      if (kernel_of(f, l) != l || !results.has(kernel_name(f, l))) continue;
      const figure ours = results(kernel_name(f, l));
      std::printf("%-9s %-9s %8.3f %6.1f%%", f.name.c_str(), levels_of(f, l).c_str(), ours.ns,
                  100 * ours.spread);
      // HA is held against peers within 1 ulp, LA against those within 4, EP against LA, a twin against unit
      // stride.
      std::string beside, name;
      if (f.strided) {
        beside = "unit stride", name = f.name.substr(0, f.name.size() - 1) + "/" + level_name[l];
      } else if (l == 2) {
        beside = "LA", name = kernel_name(f, 0);
      } else if (const peer* p = fastest(results, f, kernel_of(f, 1) == l ? 1 : 4)) {
        beside = p->name, name = f.name + "/" + p->name;
      }
      if (results.has(name))
        std::printf("   %-22s %8.3f %6.2f", beside.c_str(), results(name).ns, results(name).ns / ours.ns);
      std::printf("\n");
    }
  std::printf("\n%-9s %-22s %8s %7s %8s\n", "function", "peer", "ns", "spread", "ulp");
  for (const peer& p : peers)
    if (const std::string name = std::string(p.function) + "/" + p.name; results.has(name))
      std::printf("%-9s %-22s %8.3f %6.1f%% %8g\n", p.function, p.name, results(name).ns,
                  100 * results(name).spread, p.ulps);
  std::printf("\nA call with n = 1, ns:\n");
  for (const function& f : functions)
    for (int l = 0; l < 3; l++)
      if (const std::string name = kernel_name(f, l) + "/1"; kernel_of(f, l) == l && results.has(name))
        std::printf("%-9s %-9s %8.2f\n", f.name.c_str(), levels_of(f, l).c_str(), results(name, 1).ns);
}

void print_costs(const collector& results, const std::vector<function>& functions) {
  const double scale = 6.460 / results("sExp/LA").ns;
  for (const function& f : functions)
    if (results.has(f.name + "/LA"))
      std::printf("%-9s %.3ff, %.3ff, %.3ff\n", f.name.c_str(), scale * results(kernel_name(f, 0)).ns,
                  scale * results(kernel_name(f, 1)).ns, scale * results(kernel_name(f, 2)).ns);
}

// ---- From memory

constexpr std::size_t mebibytes = 64;  // of an array
constexpr std::size_t array_bytes = mebibytes << 20;

// Two inputs side by side and as much room for results, of singles or doubles.
template <class E> struct large_arrays {
  std::vector<E> in, out;
  large_arrays() : in(2 * array_bytes / sizeof(E)), out(in.size()) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<E> draw(-1000, 1000);
    for (E& x : in) x = draw(generator);
  }
};

// Moves as many bytes as a function that reads and writes so many arrays: half of them in, half out.
template <class E> void copy_arrays(const large_arrays<E>& data, std::size_t count, E* to) {
  const auto* a = reinterpret_cast<const __m128i*>(data.in.data());
  auto* r = reinterpret_cast<__m128i*>(to);
  for (std::size_t i = 0; i < count * array_bytes / 2 / sizeof *a; i += 4)
    for (std::size_t j = 0; j < 4; j++) _mm_storeu_si128(r + i + j, _mm_loadu_si128(a + i + j));
}

template <class E> void add_from_memory(const function& f, std::shared_ptr<large_arrays<E>> data) {
  const std::size_t n = array_bytes / sizeof(E), count = std::size_t(f.how->inputs + f.how->outputs);
  arguments c{int(n)};
  for (std::size_t k = 0; k < 2; k++) c.in[k] = &data->in[k * n], c.out[k] = &data->out[k * n];
  const auto one = [](const std::string& name, auto run) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      for (auto _ : state) run(), benchmark::ClobberMemory();
    });
  };
  one(f.name + "/memory", [=, &f] { f(0, c); });
  one(f.name + "/copy", [=] { copy_arrays(*data, count, data->out.data()); });
}

void print_from_memory(const collector& results, const std::vector<function>& functions) {
  std::printf(
      "arrays of %zu MiB; medians of processor time; a copy moves as many bytes, half in, half out\n\n",
      mebibytes);
  std::printf("%-12s %8s %7s %8s %7s %6s\n", "function", "ns", "spread", "copy", "spread", "ratio");
  for (const function& f : functions) {
    if (!results.has(f.name + "/memory")) continue;
    const int n = int(array_bytes / f.how->real_size);
    const figure ours = results(f.name + "/memory", n), copy = results(f.name + "/copy", n);
    std::printf("%-12s %8.3f %6.1f%% %8.3f %6.1f%% %6.2f\n", f.name.c_str(), ours.ns, 100 * ours.spread,
                copy.ns, 100 * copy.spread, ours.ns / copy.ns);
  }
}

std::string processor() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);)
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  return "unknown";
}

}  // namespace

int main(int argc, char** argv) {
  std::string csv;
  std::vector<std::string> only;
  bool costs = false, memory = false;
  std::vector<char*> options = {argv[0], const_cast<char*>("--benchmark_repetitions=15"),
                                const_cast<char*>("--benchmark_min_time=0.02"),
                                const_cast<char*>("--benchmark_enable_random_interleaving=true")};
  for (int i = 1; i < argc; i++) {
    const std::string a = argv[i];
    if (a == "--costs")
      costs = true;
    else if (a == "--memory")
      memory = true;
    else if (a.starts_with("--csv="))
      csv = a.substr(6);
    else if (a.starts_with("--only="))
      only.push_back(a.substr(7));
    else
      options.push_back(argv[i]);
  }
  int count = int(options.size());
  benchmark::Initialize(&count, options.data());
  if (benchmark::ReportUnrecognizedArguments(count, options.data())) return 2;
  arko_zur_kernel_SetMode(ZUR_ERRMODE_IGNORE);

  const auto& functions = arko::test::functions();
  const auto singles = memory ? std::make_shared<large_arrays<float>>() : nullptr;
  const auto doubles = memory ? std::make_shared<large_arrays<double>>() : nullptr;
  for (const function& f : functions) {
    const std::string root = f.name.substr(1, f.name.size() - 1 - f.strided);
    const bool scale = costs && f.name == "sExp";
    if (!f.how->inputs || ((costs || memory) && f.strided)) continue;
    if (!scale && !only.empty() && std::ranges::find(only, root) == only.end()) continue;
    if (memory) {
      f.is_double() ? add_from_memory(f, doubles) : add_from_memory(f, singles);
      continue;
    }
    const auto& places = arko::test::places_of(root);
    const auto data = std::make_shared<arrays>(f, f.is_double() ? places.timed_full : places.timed_single);
    for (int l = 0; l < 3; l++) {
      if (kernel_of(f, l) != l) continue;
      const auto run = [&f, l](const arguments& c) { f(l, c); };
      add(kernel_name(f, l), data, elements, run);
      if (!costs) add(kernel_name(f, l) + "/1", data, 1, run);
    }
    for (const peer& p : peers)
      if (!costs && f.name == p.function) add(f.name + "/" + p.name, data, elements, p.run);
  }

  collector results;
  benchmark::RunSpecifiedBenchmarks(&results);
  if (results.times.empty()) return std::cerr << "vector_bench: nothing was run\n", 2;
  if (costs) return print_costs(results, functions), 0;
  if (memory) return print_from_memory(results, functions), 0;
  std::printf("compiler   %s\nflags      %s\nprocessor  %s\n",
#ifdef __clang__
              "clang " __clang_version__,
#else
              "gcc " __VERSION__,
#endif
              ARKO_FLAGS, processor().c_str());
  std::printf("arrays of %d elements, %d blocks in turn; medians of processor time\n", elements, blocks);
  print(results, functions);
  if (!csv.empty()) {
    std::ofstream file(csv);
    file << "function,kernel or peer,n,ns per element,spread\n";
    for (const auto& [name, times] : results.times) {
      const int n = name.ends_with("/1") ? 1 : elements;
      const figure t = results(name, n);
      const auto slash = name.find('/');
      file << name.substr(0, slash) << ',' << name.substr(slash + 1, name.size() - slash - (n == 1 ? 3 : 1))
           << ',' << n << ',' << t.ns << ',' << t.spread << '\n';
    }
    if (!file.flush()) return std::cerr << "vector_bench: cannot write " << csv << "\n", 2;
  }
}
