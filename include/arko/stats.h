/*
 * arko/stats.h - summary statistics of n observations of p components, all at once or block by block.
 *
 * A task is a record of pointers to the caller's arrays: observations, parameters and results. It owns no data. A
 * new task gets dimension, count and observations, edits store further pointers, and a computing entry reads and
 * writes through them; between two computations the caller may change whatever they point to:
 *
 *   const int32_t p = 3, n = 1000, storage = KOV_SS_OBSERVATIONS, full = KOV_SS_FULL;
 *   double mean[3], cov[9];
 *   void* task;
 *   int32_t status = __kovdSSNewTask(&task, &p, &n, &storage, x, 0, 0, 0);
 *   if (!status) status = __kovdSSEditCovCor(task, mean, cov, &full, 0, 0);
 *   if (!status) status = _kovdSSBasic(task, KOV_SS_EST_MEAN | KOV_SS_EST_COV, KOV_SS_FAST, threads);
 *   __kovSSDeleteTask(&task);
 *
 * All entries return a status: KOV_SS_OK or a negative number of the list below. Entries with `d` work on double,
 * those with `s` on float; the two sorts of task must not be mixed. A task may be used by one thread at a time.
 * Apart from what entries say of themselves, a computation that fails leaves its results undefined.
 */
#ifndef ARKO_STATS_H
#define ARKO_STATS_H

#include <arko/threads.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses ---------------------------------------------------------------------------- */

/*
 * Most say that the field of their name is needed and null, or has a value that cannot be. Those marked planned, like
 * the fields so marked below, belong to estimates that are to come: edits know them, no computation does yet.
 */
#define KOV_SS_OK 0
#define KOV_SS_ERR_ATTRIBUTE (-3) /* code of an edit that does not exist or is of the other entry */
#define KOV_SS_ERR_NO_MEMORY (-4000)
#define KOV_SS_ERR_OBS_DIM (-4001)   /* null, zero or negative; of sorted values also above 2^31 - 1 */
#define KOV_SS_ERR_OBS_COUNT (-4002) /* null, zero or negative */
#define KOV_SS_ERR_STORAGE (-4003)   /* a layout of observations that does not exist */
#define KOV_SS_ERR_INDICES (-4004)   /* also: stream quantiles of components left out of the first call */
#define KOV_SS_ERR_WEIGHTS (-4005)
#define KOV_SS_ERR_MEAN (-4006)
#define KOV_SS_ERR_RAW2 (-4007)
#define KOV_SS_ERR_RAW3 (-4008)
#define KOV_SS_ERR_RAW4 (-4009)
#define KOV_SS_ERR_CENTRAL2 (-4010)
#define KOV_SS_ERR_CENTRAL3 (-4011)
#define KOV_SS_ERR_CENTRAL4 (-4012)
#define KOV_SS_ERR_KURTOSIS (-4013)
#define KOV_SS_ERR_SKEWNESS (-4014)
#define KOV_SS_ERR_MIN (-4015)
#define KOV_SS_ERR_MAX (-4016)
#define KOV_SS_ERR_VARIATION (-4017)
#define KOV_SS_ERR_COV (-4018)
#define KOV_SS_ERR_COR (-4019)
#define KOV_SS_ERR_ACCUM_WEIGHT (-4020)
#define KOV_SS_ERR_QUANT_ORDERS (-4021)
#define KOV_SS_ERR_QUANT_COUNT (-4022) /* also: an order of a quantile outside 0 to 1 */
#define KOV_SS_ERR_QUANTS (-4023)
#define KOV_SS_ERR_ORDER_STATS (-4024)
#define KOV_SS_ERR_ROBUST_COV (-4027)  /* planned */
#define KOV_SS_ERR_ROBUST_MEAN (-4028) /* planned */
#define KOV_SS_ERR_METHOD (-4029)      /* the method is not one for the estimates asked */
#define KOV_SS_ERR_NULL_TASK (-4031)   /* also: no place for a new one */
#define KOV_SS_ERR_OBS (-4032)
/* planned: */
#define KOV_SS_ERR_POOLED_COV (-4034)
#define KOV_SS_ERR_POOLED_MEAN (-4035)
#define KOV_SS_ERR_GROUP_COV (-4036)
#define KOV_SS_ERR_GROUP_MEANS (-4037)
#define KOV_SS_ERR_GROUP_INDICES (-4038)
#define KOV_SS_ERR_OUTLIER_PARAMS (-4039)
#define KOV_SS_ERR_OUTLIER_PARAM_COUNT (-4040)
#define KOV_SS_ERR_OUTLIER_WEIGHTS (-4041)
#define KOV_SS_ERR_ROBUST_PARAMS (-4042)
#define KOV_SS_ERR_ROBUST_PARAM_COUNT (-4043)
/* served: */
#define KOV_SS_ERR_NULL_INTEGER (-4044) /* a storage form is null */
/* planned: */
#define KOV_SS_ERR_PARTIAL_INDICES (-4045)
#define KOV_SS_ERR_PARTIAL_COV (-4046)
#define KOV_SS_ERR_PARTIAL_COR (-4047)
#define KOV_SS_ERR_MV_PARAMS (-4048)
#define KOV_SS_ERR_MV_PARAM_COUNT (-4049)
#define KOV_SS_ERR_MV_INIT_COUNT (-4052)
#define KOV_SS_ERR_MV_INIT (-4053)
#define KOV_SS_ERR_MV_SIM (-4054)
#define KOV_SS_ERR_MV_SIM_COUNT (-4055)
#define KOV_SS_ERR_MV_EST_COUNT (-4056)
#define KOV_SS_ERR_MV_EST (-4057)
#define KOV_SS_ERR_MV_PRIOR_COUNT (-4061)
#define KOV_SS_ERR_MV_PRIOR (-4062)
/* served: */
#define KOV_SS_ERR_NO_SQ_PARAM_COUNT (-4064) /* null when stream quantiles are computed */
#define KOV_SS_ERR_SQ_PARAMS (-4065)
#define KOV_SS_ERR_SQ_PARAM_COUNT (-4066) /* null in an edit, or not 1 */
#define KOV_SS_ERR_SQ_EPS (-4067) /* the rank error asked is not above 0 and at most 1, or has changed */
#define KOV_SS_ERR_SQ_ORDERS (-4068)
#define KOV_SS_ERR_SQ_COUNT (-4069) /* also: an order outside 0 to 1 */
#define KOV_SS_ERR_SQ_QUANTS (-4070)
#define KOV_SS_ERR_PARAM_MATRIX (-4071) /* planned */
#define KOV_SS_ERR_SUM1 (-4074)         /* null when it is computed; an edit says KOV_SS_ERR_MEAN */
#define KOV_SS_ERR_SUM2 (-4075)
#define KOV_SS_ERR_SUM3 (-4076)
#define KOV_SS_ERR_SUM4 (-4077)
#define KOV_SS_ERR_CSUM2 (-4078)
#define KOV_SS_ERR_CSUM3 (-4079)
#define KOV_SS_ERR_CSUM4 (-4080)
#define KOV_SS_ERR_CP (-4081)
#define KOV_SS_ERR_MEDIAN_ABS_DEV (-4082)
#define KOV_SS_ERR_MEAN_ABS_DEV (-4083)
#define KOV_SS_ERR_SORTED (-4084)
#define KOV_SS_ERR_SORT_IN_PLACE (-4085) /* a selection of components cannot be sorted in place */

/* ---- Storage forms ----------------------------------------------------------------------- */

/* Of observations: component i of observation j is at i * n + j, or at j * p + i. */
#define KOV_SS_COMPONENTS 0x10000   /* a row for each component */
#define KOV_SS_OBSERVATIONS 0x20000 /* a row for each observation */

/* Of symmetric p by p matrices. */
#define KOV_SS_FULL 0         /* row after row */
#define KOV_SS_LOWER_PACKED 1 /* (0,0), (1,0), (1,1), (2,0), ... */
#define KOV_SS_UPPER_PACKED 2 /* (0,0), (0,1), ..., (0,p-1), (1,1), ... */

/* ---- Fields ------------------------------------------------------------------------------ */

/*
 * Codes for the edit entries. Integers, for __koviSSEditTask, are marked (int): they have 32 bits, or 64 in a task
 * made wide. The others are for __kovdSSEditTask and __kovsSSEditTask.
 */
#define KOV_SS_OBS_DIM 1     /* (int) dimension p */
#define KOV_SS_OBS_COUNT 2   /* (int) number n of observations in the block */
#define KOV_SS_OBS 3         /* observations */
#define KOV_SS_OBS_STORAGE 4 /* (int) their layout */
#define KOV_SS_INDICES 5     /* (int) p flags, not zero for a component that takes part; null: all do */
#define KOV_SS_WEIGHTS 6     /* n weights; null: all are 1 */
#define KOV_SS_MEAN 7        /* p means */
#define KOV_SS_RAW2 8        /* p raw moments of order 2, and so on */
#define KOV_SS_RAW3 9
#define KOV_SS_RAW4 10
#define KOV_SS_CENTRAL2 11 /* p central moments of order 2 (variances), and so on */
#define KOV_SS_CENTRAL3 12
#define KOV_SS_CENTRAL4 13
#define KOV_SS_KURTOSIS 14     /* p values */
#define KOV_SS_SKEWNESS 15     /* p values */
#define KOV_SS_MIN 16          /* p values, also input */
#define KOV_SS_MAX 17          /* p values, also input */
#define KOV_SS_VARIATION 18    /* p values: standard deviation / mean */
#define KOV_SS_COV 19          /* covariance matrix */
#define KOV_SS_COV_STORAGE 20  /* (int) */
#define KOV_SS_COR 21          /* correlation matrix, with the variances on its diagonal */
#define KOV_SS_COR_STORAGE 22  /* (int) */
#define KOV_SS_ACCUM_WEIGHT 23 /* pair: sums of weights and of their squares so far; null: none */
#define KOV_SS_QUANT_COUNT 24  /* (int) number of quantile orders */
#define KOV_SS_QUANT_ORDERS 25 /* the orders, 0 to 1 */
#define KOV_SS_QUANTS 26       /* the quantiles */
#define KOV_SS_ORDER_STATS 27  /* sorted observations */
/* planned: */
#define KOV_SS_GROUP_INDICES 28       /* (int) group of each observation */
#define KOV_SS_POOLED_COV_STORAGE 29  /* (int) */
#define KOV_SS_POOLED_MEAN 30         /* pooled mean */
#define KOV_SS_POOLED_COV 31          /* pooled covariance matrix */
#define KOV_SS_GROUP_COV_INDICES 32   /* (int) groups whose matrices are wanted */
#define KOV_SS_GROUP_MEANS 33         /* group means */
#define KOV_SS_GROUP_COV_STORAGE 34   /* (int) */
#define KOV_SS_GROUP_COV 35           /* group covariance matrices */
#define KOV_SS_ROBUST_COV_STORAGE 36  /* (int) */
#define KOV_SS_ROBUST_PARAM_COUNT 37  /* (int) robust estimates: number of parameters */
#define KOV_SS_ROBUST_PARAMS 38       /* the parameters */
#define KOV_SS_ROBUST_MEAN 39         /* robust mean */
#define KOV_SS_ROBUST_COV 40          /* robust covariance matrix */
#define KOV_SS_OUTLIER_PARAM_COUNT 41 /* (int) outlier detection: number of parameters */
#define KOV_SS_OUTLIER_PARAMS 42      /* the parameters */
#define KOV_SS_OUTLIER_WEIGHTS 43     /* results */
/* served: */
#define KOV_SS_ORDER_STATS_STORAGE 44 /* (int) layout of the order statistics */
/* planned: */
#define KOV_SS_PARTIAL_INDICES 45     /* (int) role of each component in partial matrices */
#define KOV_SS_PARTIAL_COV 46         /* partial covariance matrix */
#define KOV_SS_PARTIAL_COV_STORAGE 47 /* (int) */
#define KOV_SS_PARTIAL_COR 48         /* partial correlation matrix */
#define KOV_SS_PARTIAL_COR_STORAGE 49 /* (int) */
#define KOV_SS_MV_PARAM_COUNT 50      /* (int) missing values: number of parameters */
#define KOV_SS_MV_PARAMS 51           /* the parameters */
#define KOV_SS_MV_INIT_COUNT 52       /* (int) number of initial estimates */
#define KOV_SS_MV_INIT 53             /* the initial estimates */
#define KOV_SS_MV_SIM_COUNT 54        /* (int) size of the simulated data */
#define KOV_SS_MV_SIM 55              /* the simulated data */
#define KOV_SS_MV_EST_COUNT 56        /* (int) size of the estimates */
#define KOV_SS_MV_EST 57              /* the estimates */
#define KOV_SS_MV_PRIOR_COUNT 58      /* (int) number of parameters of the prior */
#define KOV_SS_MV_PRIOR 59            /* the parameters of the prior */
#define KOV_SS_PARAM_MATRIX 60        /* parametrized correlation matrix */
#define KOV_SS_PARAM_STORAGE 61       /* (int) */
/* served: */
#define KOV_SS_SQ_PARAM_COUNT 62 /* (int) stream quantiles: number of parameters, 1 */
#define KOV_SS_SQ_PARAMS 63      /* the parameter: rank error relative to the stream's length */
#define KOV_SS_SQ_COUNT 64       /* (int) number of orders */
#define KOV_SS_SQ_ORDERS 65      /* the orders, 0 to 1 */
#define KOV_SS_SQ_QUANTS 66      /* the quantiles */
#define KOV_SS_SUM1 67           /* p raw sums of order 1, and so on */
#define KOV_SS_SUM2 68
#define KOV_SS_SUM3 69
#define KOV_SS_SUM4 70
#define KOV_SS_CSUM2 71 /* p central sums of order 2, and so on */
#define KOV_SS_CSUM3 72
#define KOV_SS_CSUM4 73
#define KOV_SS_CP 74             /* cross-product matrix: sums of products of deviations from the means */
#define KOV_SS_CP_STORAGE 75     /* (int) */
#define KOV_SS_MEDIAN_ABS_DEV 76 /* p median absolute deviations */
#define KOV_SS_MEAN_ABS_DEV 77   /* p mean absolute deviations */
#define KOV_SS_SORTED 78         /* sorted observations */
#define KOV_SS_SORTED_STORAGE 79 /* (int) their layout */

/* ---- Estimates and methods --------------------------------------------------------------- */

/* Masks of what is to be computed, of 64 bits. An entry looks at the bits of its own estimates alone. */
#define KOV_SS_EST_MEAN UINT64_C(0x1)
#define KOV_SS_EST_RAW2 UINT64_C(0x2)
#define KOV_SS_EST_RAW3 UINT64_C(0x4)
#define KOV_SS_EST_RAW4 UINT64_C(0x8)
#define KOV_SS_EST_CENTRAL2 UINT64_C(0x10)
#define KOV_SS_EST_CENTRAL3 UINT64_C(0x20)
#define KOV_SS_EST_CENTRAL4 UINT64_C(0x40)
#define KOV_SS_EST_KURTOSIS UINT64_C(0x80)
#define KOV_SS_EST_SKEWNESS UINT64_C(0x100)
#define KOV_SS_EST_VARIATION UINT64_C(0x200)
#define KOV_SS_EST_MIN UINT64_C(0x400)
#define KOV_SS_EST_MAX UINT64_C(0x800)
#define KOV_SS_EST_COV UINT64_C(0x1000)
#define KOV_SS_EST_COR UINT64_C(0x2000)
#define KOV_SS_EST_QUANTS UINT64_C(0x10000)
#define KOV_SS_EST_ORDER_STATS UINT64_C(0x20000)
#define KOV_SS_EST_SUM1 UINT64_C(0x2000000)
#define KOV_SS_EST_SUM2 UINT64_C(0x4000000)
#define KOV_SS_EST_SUM3 UINT64_C(0x8000000)
#define KOV_SS_EST_SUM4 UINT64_C(0x10000000)
#define KOV_SS_EST_CSUM2 UINT64_C(0x20000000)
#define KOV_SS_EST_CSUM3 UINT64_C(0x40000000)
#define KOV_SS_EST_CSUM4 UINT64_C(0x80000000)
#define KOV_SS_EST_CP UINT64_C(0x100000000)
#define KOV_SS_EST_MEDIAN_ABS_DEV UINT64_C(0x200000000)
#define KOV_SS_EST_MEAN_ABS_DEV UINT64_C(0x400000000)

/* Flags of a method; each entry reads its own and ignores the others. */
#define KOV_SS_FAST UINT64_C(0x1)          /* blocks at a time */
#define KOV_SS_ONE_PASS UINT64_C(0x2)      /* observation by observation */
#define KOV_SS_GIVEN_MEAN UINT64_C(0x100)  /* the mean is an input */
#define KOV_SS_FROM_SUMS UINT64_C(0x200)   /* from sums that were computed before; no observations */
#define KOV_SS_FROM_SUMS_2 UINT64_C(0x400) /* the same */
#define KOV_SS_SQ_RESULT UINT64_C(0x40)    /* stream quantiles: take the block in and give the quantiles */
#define KOV_SS_SQ_TAKE UINT64_C(0x80)      /* stream quantiles: take the block in */
#define KOV_SS_RADIX UINT64_C(0x100000)    /* sort by digits */

/* ---- Tasks ------------------------------------------------------------------------------- */

/*
 * A new task; null on failure. `obs_dim` is read now, and where `obs` is given so are the other two integers: they
 * can be wrong here already. With `wide` not zero all integers behind pointers of this task have 64 bits and
 * are passed cast. `obs`, `weights` and `indices` may be null.
 */
int32_t __kovdSSNewTask(void** task, const int32_t* obs_dim, const int32_t* obs_count,
                        const int32_t* obs_storage, const double* obs, const double* weights,
                        const int32_t* indices, int32_t wide);
int32_t __kovsSSNewTask(void** task, const int32_t* obs_dim, const int32_t* obs_count,
                        const int32_t* obs_storage, const float* obs, const float* weights,
                        const int32_t* indices, int32_t wide);

/*
 * Store one pointer, to reals or to integers. A null value is refused with the status of the field. Values
 * behind the pointer are looked at by the computing entries.
 */
int32_t __kovdSSEditTask(void* task, int64_t attribute, const double* value);
int32_t __kovsSSEditTask(void* task, int64_t attribute, const float* value);
int32_t __koviSSEditTask(void* task, int64_t attribute, const void* value);

/*
 * Store the fields of the arguments' names as far as they are not null. Partial and pooled matrices, missing values,
 * robust estimates, outliers and parametrized correlations are planned.
 */
#define ARKO_SS_EDITS(p, real)                                                                               \
  int32_t __kov##p##SSEditMoments(void* task, real* mean, real* raw2, real* raw3, real* raw4,                \
                                  real* central2, real* central3, real* central4);                           \
  int32_t __kov##p##SSEditSums(void* task, real* sum1, real* sum2, real* sum3, real* sum4, real* csum2,      \
                               real* csum3, real* csum4);                                                    \
  int32_t __kov##p##SSEditCovCor(void* task, real* mean, real* cov, const int32_t* cov_storage, real* cor,   \
                                 const int32_t* cor_storage);                                                \
  int32_t __kov##p##SSEditCP(void* task, real* mean, real* sum1, real* cp, const int32_t* cp_storage);       \
  int32_t __kov##p##SSEditPartialCovCor(                                                                     \
      void* task, const int32_t* partial_indices, const real* cov, const int32_t* cov_storage,               \
      const real* cor, const int32_t* cor_storage, real* partial_cov, const int32_t* partial_cov_storage,    \
      real* partial_cor, const int32_t* partial_cor_storage);                                                \
  int32_t __kov##p##SSEditQuantiles(void* task, const int32_t* quant_count, const real* quant_orders,        \
                                    real* quants, real* order_stats, const int32_t* order_stats_storage);    \
  int32_t __kov##p##SSEditStreamQuantiles(void* task, const int32_t* sq_count, const real* sq_orders,        \
                                          real* sq_quants, const int32_t* sq_param_count,                    \
                                          const real* sq_params);                                            \
  int32_t __kov##p##SSEditPooledCovariance(void* task, const int32_t* group_indices, real* pooled_mean,      \
                                           real* pooled_cov, const int32_t* group_cov_indices,               \
                                           real* group_means, real* group_cov);                              \
  int32_t __kov##p##SSEditMissingVals(                                                                       \
      void* task, const int32_t* mv_param_count, const real* mv_params, const int32_t* mv_init_count,        \
      const real* mv_init, const int32_t* mv_prior_count, const real* mv_prior, const int32_t* mv_sim_count, \
      real* mv_sim, const int32_t* mv_est_count, real* mv_est);                                              \
  int32_t __kov##p##SSEditRCov(void* task, const int32_t* robust_cov_storage,                                \
                               const int32_t* robust_param_count, const real* robust_params,                 \
                               real* robust_mean, real* robust_cov);                                         \
  int32_t __kov##p##SSEditOutDetect(void* task, const int32_t* outlier_param_count,                          \
                                    const real* outlier_params, real* outlier_weights);                      \
  int32_t __kov##p##SSEditMtxParametrz(void* task, const real* cor, const int32_t* cor_storage,              \
                                       real* param_matrix, const int32_t* param_storage)
ARKO_SS_EDITS(d, double);
ARKO_SS_EDITS(s, float);

/* Releases the task and what it keeps between blocks, and stores null. KOV_SS_ERR_NULL_TASK when it is null. */
int32_t __kovSSDeleteTask(void** task);

/* ---- Computing entries ------------------------------------------------------------------- */

#define ARKO_SS_COMPUTE(name)                                          \
  int32_t _kovd##name(void* task, uint64_t estimates, uint64_t method, \
                      const struct DFThreadServices* threads);         \
  int32_t _kovs##name(void* task, uint64_t estimates, uint64_t method, const struct DFThreadServices* threads)

/*
 * Moments, sums and matrices: any of KOV_SS_EST_MEAN to KOV_SS_EST_VARIATION, KOV_SS_EST_COV, KOV_SS_EST_COR and
 * KOV_SS_EST_SUM1 to KOV_SS_EST_CP, in one walk over a block of observations. With m the mean, W the sum of the
 * weights and W2 that of their squares:
 *
 *   raw moment of order k       sum of w x^k / W
 *   central moment of order 2   sum of w (x - m)^2 / (W - W2 / W)
 *   central moment of order 3, 4   sum of w (x - m)^k / W
 *   sums                        the same without the division
 *   kurtosis, skewness, variation   c4 / c2^2 - 3, c3 / c2^(3/2), c2^(1/2) / m, from central moments
 *   cross products, covariance  sum of w (x - m) (x - m)', the same / (W - W2 / W)
 *   correlation                 between -1 and 1 off the diagonal, variances on it
 *
 * So variances and covariances are unbiased for weights that tell how reliable an observation is; weights of 2 are not
 * two observations each. Kurtosis, skewness and variation are of that variance, c2, not of the sum over W. The sum of
 * the weights so far is to be above 0: where it is negative covariances are 0 and no series goes on, and where it passes
 * through 0 results are not defined. Observations of weight 0 do not count (but make NaN of what they are not finite in);
 * of nothing but those means and sums are 0 and variances NaN. A NaN makes all results of its component NaN, and no
 * others.
 *
 * The method is one of
 *
 *   KOV_SS_FAST        blocks that stay in the cache
 *   KOV_SS_ONE_PASS    observation by observation
 *   KOV_SS_GIVEN_MEAN  m is the content of `mean` and stays; a matrix is the sum of w x x' less W m m'
 *   KOV_SS_FROM_SUMS   without observations, from sums and cross products in their arrays. W and W2 are in
 *                      `accum_weight`, or n without one; where a central sum is not set its moment is an input
 *
 * Beside its own array an estimate needs others, which may be written too: fast the mean and raw moments up to its
 * order for central moments and sums; one pass and given mean the same for moments, but for central sums only the
 * mean; ratios also the central moments that they are made of, matrices the mean; from sums the sum of each moment,
 * `cp` for matrices, and for ratios the mean and the central moments.
 *
 * With `accum_weight` set and its first number above 0 the call goes on from the results of the blocks before; a
 * caller starts a series by setting it to 0. It keeps to one selection, and either to a given mean or to the two other
 * methods. Estimates may come and go, as long as the first block that weighs something asks for one of the highest
 * order and, if matrices are to come, every block asks for one. What the caller writes to the arrays, their moving to
 * other addresses and another task at the same arrays are followed, as far as the arrays tell the state: central sums of
 * order 3 and 4 then need those of lower orders.
 *
 * Only components selected by `indices` are written. A matrix in full form without a selection is also the work
 * space. Checks, in this order: KOV_SS_ERR_NULL_TASK, _OBS_DIM, _METHOD, then the missing array that comes first in
 * mean, raw, central, cov, cor, kurtosis, skewness, variation, sums, central sums, cp; KOV_SS_ERR_OBS_COUNT, _OBS,
 * _NULL_INTEGER, _STORAGE, or from sums KOV_SS_ERR_ACCUM_WEIGHT; the storage of a matrix KOV_SS_ERR_NULL_INTEGER. They
 * and KOV_SS_ERR_NO_MEMORY come before anything is written, but to the work space. `threads` may be null.
 *
 * Source of the updates: P. Pebay, Formulas for robust, one-pass parallel computation of covariances and
 * arbitrary-order statistical moments, Sandia report SAND2008-6212 (2008), with weights.
 */
ARKO_SS_COMPUTE(SSBasic);

/*
 * KOV_SS_EST_MIN and KOV_SS_EST_MAX: what the arrays hold, and the observations of the block, whichever is least or
 * greatest. The caller seeds the arrays: with infinities, or with an observation. NaN observations change nothing, and a
 * NaN seed stays. Method KOV_SS_FAST or KOV_SS_ONE_PASS, which do the same; `threads` is not used. Checks, in this order:
 * KOV_SS_ERR_NULL_TASK, _OBS_DIM, _NULL_INTEGER, _STORAGE (one of the two layouts exactly), _MIN, _MAX, _METHOD,
 * _OBS_COUNT, _OBS, _NO_MEMORY.
 */
ARKO_SS_COMPUTE(SSMinmax);

/*
 * What follows works on the order of each component's values. The entries take the task, a mask of estimates, flags of a
 * method, and the caller's threads, which share out components; null threads: all runs on the calling thread. Results
 * do not depend on the number of threads. Selected components (`indices`) fill the rows of their results one after
 * another, without gaps, where it is not said otherwise.
 *
 * -0 comes before +0, NaN with their sign bit set come first of all and those without last.
 *
 * Needed by all: `obs_dim`, `obs_count`, `obs`, `obs_storage`, with KOV_SS_ERR_OBS_DIM, _OBS_COUNT, _OBS and
 * _NULL_INTEGER for those that are missing, and KOV_SS_ERR_STORAGE for a layout that does not exist. Work memory
 * that cannot be had answers KOV_SS_ERR_NO_MEMORY. A null task is KOV_SS_ERR_NULL_TASK.
 */

/*
 * The sorted observations, to `sorted` in the layout `sorted_storage`. Method KOV_SS_RADIX; no estimates. `sorted` may
 * be `obs`: then the layouts must be one (KOV_SS_ERR_NULL_INTEGER) and all components taken
 * (KOV_SS_ERR_SORT_IN_PLACE).
 */
ARKO_SS_COMPUTE(SSSort);

/*
 * KOV_SS_EST_QUANTS: quantiles of the `quant_count` orders in `quant_orders`, a row for each component in `quants`. With
 * t = q (n - 1), j its integer part and x sorted from x[0], the quantile of order q is x[j] (1 - (t - j)) +
 * x[j + 1] (t - j). KOV_SS_EST_ORDER_STATS: the sorted observations, to `order_stats` in the layout
 * `order_stats_storage`. Method KOV_SS_FAST. A few quantiles take selections, more a sort.
 */
ARKO_SS_COMPUTE(SSQuantiles);

/*
 * Absolute deviations, to the component's own place. KOV_SS_EST_MEDIAN_ABS_DEV: the median of |x - median x|, method
 * KOV_SS_FAST; weights are not looked at. KOV_SS_EST_MEAN_ABS_DEV: the mean of |x - mean x|, both with `weights`; method
 * KOV_SS_FAST, or KOV_SS_GIVEN_MEAN for deviations from the values in `mean`. Where both are asked the status is that
 * of the mean one, unless a field of the first is missing.
 */
ARKO_SS_COMPUTE(SSMAD);

/*
 * The weighted quantile of one order, `quant_orders`[0], of every component, to `quants`: in the sorted values, where the
 * sum of the weights reaches the order's part of their whole sum. There two values are averaged, for even n, or the
 * value is interpolated from the one before. `indices` plays no part, `weights` must be there, nothing but a null task
 * is checked.
 */
ARKO_SS_COMPUTE(SSWMedian);

/*
 * Approximate quantiles of a stream that comes block by block, of any length. With KOV_SS_SQ_TAKE the block is taken
 * into a summary that the task keeps, with KOV_SS_SQ_RESULT it is taken in and the quantiles of all so far go to
 * `sq_quants`, a row of `sq_count` for each component. `sq_params` has one number, eps, above 0 and at most 1 and the
 * same in all calls, else KOV_SS_ERR_SQ_EPS: of N numbers so far, the rank of what is given for order q differs from q N
 * by at most eps N, or one. The summary takes at most 0.6 log2(eps N)^3 / eps numbers for each component. A block may
 * be empty (`obs_count` 0).
 *
 * The first call decides by `indices` which components are summarised. A later one that selects others answers
 * KOV_SS_ERR_INDICES, and KOV_SS_ERR_OBS_DIM where the dimension is another. Where memory cannot be had, values of the
 * block may have been taken in part.
 *
 * __kovSQuantilesFreeBuffers releases the summary, which __kovSSDeleteTask does too; the next call begins another.
 */
ARKO_SS_COMPUTE(SSStreamQuantiles);
int32_t __kovSQuantilesFreeBuffers(void* task);

#undef ARKO_SS_COMPUTE

/*
 * Sorting and selection by comparison, in place; NaN make an order that is not defined. QSortStep sorts n elements at
 * distance `stride`. QSortSelect returns the element that position k, from 0, would have after sorting; nothing before
 * it is greater then, and nothing behind it is less. The time is of order n log n for any input.
 */
#define ARKO_SS_SORTERS(p, real)                                    \
  void __kov##p##QSort(int32_t n, real* array);                     \
  void __kov##p##QSortStep(int32_t n, real* array, int32_t stride); \
  real __kov##p##QSortSelect(int32_t n, real* array, int32_t k)
ARKO_SS_SORTERS(d, double);
ARKO_SS_SORTERS(s, float);

#ifdef __cplusplus
}
#endif
#endif
