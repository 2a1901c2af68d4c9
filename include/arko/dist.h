/*
 * arko/dist.h - random numbers of distributions, drawn from the streams of arko/stream.h.
 *
 *   void* stream;
 *   const uint32_t seed[1] = {7777777};
 *   double r[1000];
 *   if (__kovNewStreamEx(&stream, KOV_BRNG_PHILOX4X32X10, 1, seed) == KOV_STATUS_OK)
 *     _kovdRngUniform(0, stream, 1000, r, -1.0, 1.0);
 *   __kovDeleteStream(&stream);
 *
 * All entries have the parameters
 *
 *   method   which method makes the numbers, where there is more than one, and KOV_METHOD_ACCURATE;
 *   stream   any stream of arko/stream.h, not null; it may be used by one thread at a time;
 *   n        how many numbers; with 0 or less none are made and the stream stays where it is;
 *   r        room for n results, not null;
 *
 * then those of the distribution. Successive calls on a stream deliver one sequence, whatever their lengths. Distributions
 * other than those below are planned.
 *
 * The result is a status: KOV_STATUS_OK, or a positive one of a user's generator, for success; otherwise the first
 * negative status of the stream's generator, and results before the block of 1024 that it failed in are there. The
 * parameters of a distribution are not checked: outside the ranges that are told, results are what the arithmetic
 * gives. The calling thread's mode word, error callback and floating-point control words are after a call what they were
 * before; its last element status (arko/state.h) may be that of a kernel which a generator has used.
 */
#ifndef ARKO_DIST_H
#define ARKO_DIST_H

#include <arko/stream.h>

#ifdef __cplusplus
extern "C" {
#endif

/* In a method word: results lie in the stated range, also where rounding would take them out of it. */
#define KOV_METHOD_ACCURATE 0x40000000

/* ---- Uniform ----------------------------------------------------------------------------- */

/*
 * Real numbers of the interval from a to b, a <= b. They are those of the stream's fill (arko/stream.h, which says whether 0
 * and 1 can come); none is below a, but rounding may make one b, or one that lies a last place beyond it, unless `method`
 * has KOV_METHOD_ACCURATE.
 */
int32_t _kovdRngUniform(int32_t method, void* stream, int32_t n, double* r, double a, double b);
int32_t _kovsRngUniform(int32_t method, void* stream, int32_t n, float* r, float a, float b);

/*
 * Integers from a to b - 1, a < b, each as likely as the others: floors of real numbers of the interval, b - 1 where
 * rounding makes one b.
 */
int32_t _koviRngUniform(int32_t method, void* stream, int32_t n, int32_t* r, int32_t a, int32_t b);

/*
 * The words of the stream's generator, as its integer fill gives them: n times WordBytes bytes, of which BitCount bits
 * are random (struct BrngProperties).
 */
int32_t _koviRngUniformBits(int32_t method, void* stream, int32_t n, uint32_t* r);

/*
 * Numbers of 32 and of 64 random bits. MT19937, MT2203, SFMT19937, TRNG, ARS5 and PHILOX4X32X10 give their words, and
 * MCG59 the upper 32 of its 59 bits; the first of two words is the lower half of 64 bits. With other generators, those
 * that were registered included, the status is KOV_STATUS_BITS_NOT_SUPPORTED, and neither r nor the stream is touched.
 */
int32_t _koviRngUniformBits32(int32_t method, void* stream, int32_t n, uint32_t* r);
int32_t _koviRngUniformBits64(int32_t method, void* stream, int32_t n, uint64_t* r);

/* ---- Discrete distributions -------------------------------------------------------------- */

/* 1 with probability p, else 0; 0 <= p <= 1. p counts in single precision. */
int32_t _koviRngBernoulli(int32_t method, void* stream, int32_t n, int32_t* r, double p);

/*
 * Failures before the first success of trials with probability p, 0 < p <= 1: k with probability p (1 - p)^k, by
 * floor(ln u / ln(1 - p)) in single precision from a uniform u, so that values above 2^24 are not all taken. A value
 * above 2^31 - 1, which p below 5e-8 can give, becomes -2^31.
 */
int32_t _koviRngGeometric(int32_t method, void* stream, int32_t n, int32_t* r, double p);

#ifdef __cplusplus
}
#endif
#endif
