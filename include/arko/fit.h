/*
 * arko/fit.h - data fitting: one-dimensional splines.
 *
 * A task is one record that describes breakpoints x[0] < ... < x[nx-1], ny functions over them, a spline (order,
 * type, conditions) and where its coefficients lie. Entries read everything from the task: construction writes
 * coefficients, search tells in which cells sites lie, interpolation and integration evaluate.
 *
 *   void* task;
 *   double coeff[4 * (nx - 1)];
 *   arko_df_kernel_dNewTask1D(&task, nx, x, FIT_X_NOHINT, 1, y, FIT_Y_NOHINT, 0);
 *   arko_df_kernel_dEditPPSpline1D(task, FIT_ORDER_CUBIC, FIT_TYPE_NATURAL, FIT_BC_FREE_END, NULL, FIT_IC_NONE,
 *                                  NULL, coeff, FIT_C_NOHINT);
 *   arko_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, NULL);
 *   arko_df_kernel_DeleteTask(&task);
 *
 * Entries come in two precisions, d with double and s with float arrays. All return a status, FIT_OK or a negative
 * number of the list below. All arrays stay the caller's: a task keeps pointers to them, so they must be valid as
 * long as the task is used. A task may be used by one thread at a time; entries that take a DFThreadServices
 * (arko/threads.h; null: none) may run parts of their work on the caller's threads.
 *
 * Counts, hints and codes are 64-bit integers; nx is at most 2^31 - 1, as cells have 32 bits inside.
 */
#ifndef ARKO_FIT_H
#define ARKO_FIT_H

#include <arko/threads.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses ---------------------------------------------------------------------------- */

#define FIT_OK 0
#define FIT_ERR_NULL_TASK (-1000)
#define FIT_ERR_MEMORY (-1001)
#define FIT_ERR_METHOD (-1002) /* method or spline type that the entry does not have */
#define FIT_ERR_NX (-1004)     /* too few breakpoints, or more than 2^31 - 1 */
#define FIT_ERR_X (-1005)      /* breakpoints null */
#define FIT_ERR_XHINT (-1006)
#define FIT_ERR_NY (-1007) /* no functions, or function count and pointer disagree */
#define FIT_ERR_Y (-1008)  /* function values null, or not told for a function */
#define FIT_ERR_YHINT (-1009)
#define FIT_ERR_ORDER (-1010)
#define FIT_ERR_TYPE (-1011)
#define FIT_ERR_ICTYPE (-1012)
#define FIT_ERR_IC (-1013) /* internal conditions missing, or knots out of place */
#define FIT_ERR_BCTYPE (-1014)
#define FIT_ERR_BC (-1015)    /* boundary conditions missing */
#define FIT_ERR_COEFF (-1016) /* coefficients null, or not told for a function */
#define FIT_ERR_COEFFHINT (-1017)
#define FIT_ERR_PERIODIC (-1018)  /* periodic condition, but first and last value differ */
#define FIT_ERR_ATTR (-1019)      /* unknown attribute */
#define FIT_ERR_INDEX (-1020)     /* function index outside 0..ny-1 */
#define FIT_ERR_SITE (-1022)      /* lookup: a site is no breakpoint */
#define FIT_ERR_NDER (-1024)      /* lookup: more than one result a site */
#define FIT_ERR_DORDER (-1025)    /* lookup: not the value */
#define FIT_ERR_DATAHINT (-1026)  /* a data hint of unknown kind, or a peak cell outside 0..nx */
#define FIT_ERR_RHINT (-1028)     /* interpolation: layout of results */
#define FIT_ERR_INTRHINT (-1034)  /* integration: layout of results */
#define FIT_ERR_FLAGVALUE (-1036) /* FIT_ATTR_FLAG neither 0 nor 1 */
#define FIT_ERR_OUTPTR (-1037)    /* output pointer of a query null */
#define FIT_ERR_SOLVER (-1500)    /* the system of equations is singular */

/* ---- Attributes of a task ---------------------------------------------------------------- */

/* Pointers, for EditPtr, QueryPtr, EditIdxPtr and QueryIdxPtr. */
#define FIT_ATTR_X 1
#define FIT_ATTR_Y 2
#define FIT_ATTR_IC 3
#define FIT_ATTR_BC 4
#define FIT_ATTR_COEFF 5
/* Integers, for iEditVal and iQueryVal, with accepted values. */
#define FIT_ATTR_NX 14        /* 2 to 2^31 - 1 */
#define FIT_ATTR_XHINT 15     /* FIT_X_* */
#define FIT_ATTR_NY 16        /* at least 1 */
#define FIT_ATTR_YHINT 17     /* FIT_Y_* */
#define FIT_ATTR_ORDER 18     /* not negative */
#define FIT_ATTR_TYPE 19      /* FIT_TYPE_*, but not those of tables */
#define FIT_ATTR_ICTYPE 20    /* FIT_IC_NONE, FIT_IC_D1, FIT_IC_D2, or any with the bit of FIT_IC_KNOTS */
#define FIT_ATTR_BCTYPE 21    /* not negative */
#define FIT_ATTR_COEFFHINT 22 /* FIT_C_* */
#define FIT_ATTR_FLAG 23      /* 0 or 1: the caller's own */

/* Breakpoints. */
#define FIT_X_NOHINT 0
#define FIT_X_IRREGULAR 1
#define FIT_X_QUASI 2   /* nearly uniform: cells are guessed as on a uniform grid, then corrected */
#define FIT_X_UNIFORM 4 /* x holds x[0] and x[nx-1] only */

/* Function values. */
#define FIT_Y_NOHINT 0
#define FIT_Y_BYFUNC 16 /* value i of function f at y[f*nx + i]; so without hint, too */
#define FIT_Y_BYSITE 32 /* value i of function f at y[i*ny + f] */
#define FIT_Y_PTRS 128  /* an array a function; the first is given, the others by EditIdxPtr */

/*
 * Coefficients: a row a function, in it cell after cell, in each the coefficients of powers of the distance from
 * the cell's breakpoint, constant term first. Rows lie one behind the other, unless FIT_C_PTRS says that there is
 * an array for each. A row holds order * (nx-1) numbers, or order * nx with FIT_TYPE_KNOT_QUADRATIC.
 */
#define FIT_C_NOHINT 0
#define FIT_C_BYFUNC 16
#define FIT_C_BYCELL 32
#define FIT_C_PTRS 128 /* the first row is given, the others by EditIdxPtr */

/* Spline order: coefficients a cell. More than 4: an interpolant of the caller's. */
#define FIT_ORDER_TABLE 0
#define FIT_ORDER_LINEAR 2
#define FIT_ORDER_QUADRATIC 3
#define FIT_ORDER_CUBIC 4

/* Spline type. */
#define FIT_TYPE_DEFAULT 0        /* quadratic from a midpoint value, cubic from second derivatives */
#define FIT_TYPE_KNOT_QUADRATIC 1 /* quadratic with knots between breakpoints and one cell more */
#define FIT_TYPE_NATURAL 2
#define FIT_TYPE_HERMITE 3
#define FIT_TYPE_BESSEL 4
#define FIT_TYPE_AKIMA 5
#define FIT_TYPE_HYMAN 9
/* Tables, with FIT_ORDER_TABLE. */
#define FIT_TYPE_LOOKUP 6     /* sites must be breakpoints */
#define FIT_TYPE_STEP_LEFT 7  /* the value at the left end of the cell: continuous from the right */
#define FIT_TYPE_STEP_RIGHT 8 /* the value at its right end: continuous from the left */

/* Boundary conditions. bc[0] is the value at the left end, bc[1] the one at the right. */
#define FIT_BC_NONE 0 /* Akima: its own rule; Linear: nothing to set; refused by all others */
#define FIT_BC_NOT_A_KNOT 1
#define FIT_BC_FREE_END 2 /* second derivatives zero */
#define FIT_BC_D1_LEFT 4  /* first and second derivatives given: one left and one right bit added */
#define FIT_BC_D1_RIGHT 8
#define FIT_BC_D2_LEFT 16
#define FIT_BC_D2_RIGHT 32
#define FIT_BC_PERIODIC \
  64 /* y[0] == y[nx-1]; Default: bc[0] is the second derivative at both ends, Hermite: the first */
#define FIT_BC_MIDPOINT 128 /* Default quadratic: bc[0] is the value in the middle of the first cell */

/* Internal conditions. */
#define FIT_IC_NONE 0
#define FIT_IC_D1 1             /* first derivatives at x[1] to x[nx-2] */
#define FIT_IC_D2 2             /* second derivatives at x[1] to x[nx-2] */
#define FIT_IC_KNOTS 8          /* nx + 1 knots, the first and last of them x[0] and x[nx-1] */
#define FIT_IC_KNOTS_UNIFORM 12 /* first and last inner knot, the others evenly between */

/* Sites. */
#define FIT_SITE_NOHINT 0
#define FIT_SITE_UNIFORM 4 /* the array holds the two ends of evenly spaced sites */
#define FIT_SITE_SORTED 64 /* ascending; equal ones allowed. Not checked: others get some cell from 0 to nx */

/* ---- Tasks ------------------------------------------------------------------------------- */

/*
 * NewTask1D makes a task. With ny 0 and y null it has no functions: it can be searched in, and functions can be set
 * later. With `wide` not 0, integers that callers' functions and queries get by pointer, and cell numbers, have 64
 * bits, else 32. Refused arguments and a lack of memory for the record leave null in *task; where memory for its
 * tables lacks, the task is there, to be deleted.
 *
 * EditPPSpline1D sets all that describes the spline, with one check after the other; what was stored before a
 * refusal stays. A coefficient pointer of null leaves the rows as they are.
 *
 * EditPtr, EditIdxPtr and iEditVal set one attribute. Pointers of functions and rows are worked out when Y or COEFF
 * is set, from NX, NY, hints, order and type as they are then: after a change of those the pointer must be set
 * again. Functions that it was not set for have no values (FIT_ERR_Y) and no rows (FIT_ERR_COEFF) in any entry. A search
 * table is made with the task, and again whenever XHINT is set to FIT_X_IRREGULAR or from FIT_X_UNIFORM to another
 * value: do that after a change of X or NX. For another array or count of breakpoints the old one is not used; numbers
 * that change in their place leave it stale.
 *
 * Queries write what is stored; QueryPtr of Y and COEFF the first pointer, null where there is none.
 *
 * DeleteTask releases the task and stores null; a task that is null already gives FIT_ERR_NULL_TASK.
 */
#define ARKO_DF_TASK_PROTOTYPES(p, real)                                                                     \
  int32_t arko_df_kernel_##p##NewTask1D(void** task, int64_t nx, const real* x, int64_t xhint, int64_t ny,   \
                                        const real* y, int64_t yhint, int32_t wide);                         \
  int32_t arko_df_kernel_##p##EditPPSpline1D(void* task, int64_t s_order, int64_t s_type, int64_t bc_type,   \
                                             const real* bc, int64_t ic_type, const real* ic, real* coeff,   \
                                             int64_t coeff_hint);                                            \
  int32_t arko_df_kernel_##p##EditPtr(void* task, int64_t attribute, const real* pointer);                   \
  int32_t arko_df_kernel_##p##EditIdxPtr(void* task, int64_t attribute, int64_t index, const real* pointer); \
  int32_t arko_df_kernel_##p##QueryPtr(void* task, int64_t attribute, real** pointer);                       \
  int32_t arko_df_kernel_##p##QueryIdxPtr(void* task, int64_t attribute, int64_t index, real** pointer)
ARKO_DF_TASK_PROTOTYPES(d, double);
ARKO_DF_TASK_PROTOTYPES(s, float);
int32_t arko_df_kernel_iEditVal(void* task, int64_t attribute, int64_t value);
int32_t arko_df_kernel_iQueryVal(void* task, int64_t attribute, void* value);
int32_t arko_df_kernel_DeleteTask(void** task);

/* ---- Search ------------------------------------------------------------------------------ */

/*
 * The cell of a site s is 0 where s < x[0]; i, from 1 to nx - 1, where x[i-1] <= s < x[i]; nx - 1 where s == x[nx-1];
 * nx where s > x[nx-1]. On a uniform grid it is calculated, trunc((s - x[0]) * (nx-1) / (x[1] - x[0])) + 1 in the
 * precision of the task, so that a site at a breakpoint can be taken for one just beside it. The cell of a NaN is any.
 */

/*
 * The caller's own search: of *n sites, the cells. Integers at n and cell have 64 bits on a wide task, else 32. With
 * the result 1000 the cells are final; with another that is not negative they are guesses, and those whose flag is
 * still 0 are set right (a site on x[i] stays in a guessed cell i); a negative one ends the search, and is its status.
 */
typedef int32_t (*DFSearchCallBack)(void* n, const void* site, void* cell, int32_t* flag, void* params,
                                    void* spare);

/*
 * DFSearch1D: the cells of nsite sites, 64-bit integers on a wide task, else 32. `sitehint` is one of FIT_SITE_*.
 * `datahint` is null or 5 numbers, of which element 1 tells the kind, 0 for nothing known and 1 for a cell that most
 * sites are near to, which is element 4. `search_cb` is null or the caller's search: it gets 128 sites at a time, and
 * in a last call the rest, even if that is none, on the caller's thread. `method` is not looked at.
 *
 * Methods are chosen by: callback (UniUserDef on a uniform grid, else UserDef); x hint (Uniform, QuasiUniform); site
 * hint (Sorted); data hint (Peak); else Hybrid, by the task's search table and bisection.
 *
 * Block kernels search with one method, on one thread, and write 32-bit cells. Arguments that a method does not need
 * are ignored:
 *   constant   Uniform, UniUserDef: (nx-1) / (x[1] - x[0]); QuasiUniform: (nx-1) / (x[nx-1] - x[0]); Peak: the cell;
 *              Hybrid: the count of buckets / (x[nx-1] - x[0])
 *   start      Sorted: running index, 0 before the first block of ascending sites
 *   buckets    Hybrid: a task's search table, or null to search without one
 *   word       UserDef, UniUserDef: whether integers of the callback have 64 bits
 *   callback, params, spare, flags    UserDef, UniUserDef: the callback, called for up to 128 sites at a time, its two
 *              last arguments, and nsite flags for it
 */
#define ARKO_DF_SEARCH_PARAMETERS(real)                                                                    \
  int64_t nx, const real *x, int32_t nsite, const real *site, int64_t word, real constant, int32_t *start, \
      const int32_t *buckets, DFSearchCallBack callback, void *params, void *spare, int32_t *flags,        \
      int32_t *cell
#define ARKO_DF_SEARCH_PROTOTYPES(p, real)                                                                   \
  int32_t arko_df_kernel_##p##DFSearch1D(                                                                    \
      void* task, int64_t method, int64_t nsite, const real* site, int64_t sitehint, const double* datahint, \
      void* cell, DFSearchCallBack search_cb, void* search_params, const struct DFThreadServices* threads);  \
  int32_t arko_df_kernel_##p##DFUniformSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                            \
  int32_t arko_df_kernel_##p##DFQuasiUniformSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                       \
  int32_t arko_df_kernel_##p##DFSortedSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                             \
  int32_t arko_df_kernel_##p##DFPeakSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                               \
  int32_t arko_df_kernel_##p##DFHybridSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                             \
  int32_t arko_df_kernel_##p##DFUserDefSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                            \
  int32_t arko_df_kernel_##p##DFUniUserDefSearch1D(ARKO_DF_SEARCH_PARAMETERS(real));                         \
  /* The same under second names. */                                                                         \
  int32_t arko_df_kernel_##p##DFUniformSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                          \
  int32_t arko_df_kernel_##p##DFQuasiUniformSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                     \
  int32_t arko_df_kernel_##p##DFSortedSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                           \
  int32_t arko_df_kernel_##p##DFPeakSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                             \
  int32_t arko_df_kernel_##p##DFHybridSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                           \
  int32_t arko_df_kernel_##p##DFUserDefSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real));                          \
  int32_t arko_df_kernel_##p##DFUniUserDefSearch1D32(ARKO_DF_SEARCH_PARAMETERS(real))
ARKO_DF_SEARCH_PROTOTYPES(d, double);
ARKO_DF_SEARCH_PROTOTYPES(s, float);

/* ---- Construction ------------------------------------------------------------------------ */

/*
 * Each entry writes the coefficients of all functions of the task, for one kind of spline: the entry decides the kind.
 * s_order must be that of the kind, and s_type FIT_TYPE_KNOT_QUADRATIC with knots. In a cell, with t the distance from
 * its breakpoint x[i], the spline is c[0] + c[1] t + c[2] t^2 + c[3] t^3.
 *
 *   Linear         order 2. FIT_BC_PERIODIC checks that first and last value are the same; others do nothing.
 *   Quadratic      order 3. FIT_TYPE_DEFAULT with FIT_BC_MIDPOINT: a piece a cell, its derivative continuous, from
 *                  bc[0], the value in the middle of the first cell. FIT_TYPE_KNOT_QUADRATIC with FIT_IC_KNOTS or
 *                  FIT_IC_KNOTS_UNIFORM: nx pieces, between knots of which one lies strictly between each two
 *                  breakpoints; piece i is in powers of the distance from x[i]. With ic null knots lie in the middle.
 *                  First or second derivatives are given at the ends.
 *   DefaultCubic   order 4, from second derivatives at the inner breakpoints (ic), as they are.
 *   NaturalCubic   order 4, second derivatives continuous. With FIT_BC_FREE_END it is the natural spline; with
 *                  FIT_BC_NOT_A_KNOT the two cells at an end share one cubic.
 *   HermiteCubic   order 4, from first derivatives at the inner breakpoints (ic).
 *   BesselCubic    order 4, derivatives of the parabolas through each three neighbouring points.
 *   HymanCubic     order 4, the same, bounded so that a cell is monotone as far as its values allow.
 *   AkimaCubic     order 4, derivatives weighted by the changes of slope on the other side.
 *
 * Least nx: Linear, Quadratic, NaturalCubic 2 (with FIT_BC_NOT_A_KNOT or FIT_BC_PERIODIC 3), DefaultCubic and
 * HermiteCubic 3, BesselCubic and HymanCubic 4, AkimaCubic 5. Boundary conditions of cubics: FIT_BC_NOT_A_KNOT,
 * FIT_BC_FREE_END, the four sums of a left and a right bit, FIT_BC_PERIODIC; Akima also FIT_BC_NONE, with the slopes of
 * the parabolas through the three points at each end. Another one is FIT_ERR_BCTYPE. A periodic
 * NaturalCubic has continuous derivatives at the joint; the others one derivative at both ends, from the rule of the inner
 * ones or, with DefaultCubic and HermiteCubic, bc[0]. A NaturalCubic through three points without a knot is
 * not determined: FIT_ERR_SOLVER.
 *
 * `format` is not looked at; `method` must be 0 with Linear and NaturalCubic, and is not looked at by the others.
 * Checks in order: task, method, nx, yhint, type, conditions, ic, y and coefficients, periodic values. Work
 * memory is taken by NaturalCubic and by Quadratic with knots (FIT_ERR_MEMORY).
 */
#define ARKO_DF_CONSTRUCT_PARAMETERS \
  void *task, int64_t format, int64_t method, const struct DFThreadServices *threads
#define ARKO_DF_CONSTRUCT_PROTOTYPES(p)                                             \
  int32_t arko_df_kernel_##p##DFLinearSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS);       \
  int32_t arko_df_kernel_##p##DFQuadraticSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS);    \
  int32_t arko_df_kernel_##p##DFDefaultCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS); \
  int32_t arko_df_kernel_##p##DFNaturalCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS); \
  int32_t arko_df_kernel_##p##DFHermiteCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS); \
  int32_t arko_df_kernel_##p##DFBesselCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS);  \
  int32_t arko_df_kernel_##p##DFHymanCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS);   \
  int32_t arko_df_kernel_##p##DFAkimaCubicSpline1D(ARKO_DF_CONSTRUCT_PARAMETERS)
ARKO_DF_CONSTRUCT_PROTOTYPES(d);
ARKO_DF_CONSTRUCT_PROTOTYPES(s);

/* ---- Interpolation ----------------------------------------------------------------------- */

/*
 * The caller's evaluation of *n sites: their cells, the sites, and at r room for the results of all functions, in the
 * order [function][site][derivative]. The last argument is null. A negative result ends the interpolation and is its
 * status.
 */
typedef int32_t (*DFInterpCallBack)(int64_t* n, const int64_t* cell, const void* site, void* r, void* params,
                                    void* spare);

/* Interpolation, bits of `type`. */
#define FIT_INTERP_CELLS 2 /* write the cells, too */
#define FIT_INTERP_GIVEN_CELLS \
  4 /* this value alone: `cell` holds the cells already, and nothing is searched */

/* Layout of results: result k of function f at site i. */
#define FIT_R_NOHINT 0
#define FIT_R_BYFUNC 16         /* r[(f*nsite + i)*nder + k]; so without hint and with 128, too */
#define FIT_R_BYDERIVATIVE 32   /* r[(f*nder + k)*nsite + i] */
#define FIT_R_BYSITE 256        /* r[(i*ny + f)*nder + k] */
#define FIT_R_SITE_FUNCTION 512 /* r[(i*nder + k)*ny + f] */

/*
 * DFInterpolate1D evaluates the task's spline, of all functions, at nsite sites. That it was constructed is the caller's
 * to see to: coefficients are read as they are.
 *
 * Sites: with the bit of FIT_SITE_UNIFORM in `sitehint`, `site` holds the first and the last of equally spaced ones. They
 * are searched as by DFSearch1D, with `sitehint`, `datahint` and `search_cb`, which is called for up to 64 sites at a
 * time. `cell`, used as `type` tells, has 64-bit integers on a wide task, else 32.
 *
 * Results: `dorder` has `ndorder` integers, 64-bit on a wide task, else 32; where entry k is not 0, derivative k is
 * asked for, 0 being the value. Their sum nder is the count of results of a function at a site; nothing asked for
 * means the value. Results stand in ascending order of k and are laid out in r as `rhint` tells. Derivatives above the
 * degree are 0.
 *
 * Sites beyond the ends take the first or the last polynomial. le_cb, re_cb and i_cb, where not null, evaluate the
 * sites below x[0], those above x[nx-1] and those between in place of the spline; with all three no coefficients are
 * needed, and with FIT_ORDER_TABLE and a type that is no table, all three must be there.
 *
 * FIT_ORDER_TABLE: steps and lookup read function values. They have no derivatives (slots of which are 0), and lookup
 * gives FIT_ERR_SITE, and nothing for the sites that follow, at a site that is no breakpoint (on a uniform grid: not
 * within 2^-40 of one). It takes no other request than the value (FIT_ERR_NDER, FIT_ERR_DORDER).
 *
 * Above 512 sites the work is shared between threads, and then callbacks run on them. Fewer than 32 sites need no memory,
 * unless a callback has more than 1024 results in one call. Statuses beside those: FIT_ERR_TYPE where order and type
 * make no interpolant, FIT_ERR_RHINT, FIT_ERR_DATAHINT, FIT_ERR_COEFF and FIT_ERR_Y where there is nothing to
 * evaluate, FIT_ERR_MEMORY. Results before a failure stay written. `method` is not looked at.
 */
#define ARKO_DF_INTERPOLATE_PROTOTYPE(p, real)                                                         \
  int32_t arko_df_kernel_##p##DFInterpolate1D(                                                         \
      void* task, int64_t type, int64_t method, int64_t nsite, const real* site, int64_t sitehint,     \
      int64_t ndorder, const void* dorder, const double* datahint, real* r, int64_t rhint, void* cell, \
      DFInterpCallBack le_cb, void* le_params, DFInterpCallBack re_cb, void* re_params,                \
      DFInterpCallBack i_cb, void* i_params, DFSearchCallBack search_cb, void* search_params,          \
      const struct DFThreadServices* threads)
ARKO_DF_INTERPOLATE_PROTOTYPE(d, double);
ARKO_DF_INTERPOLATE_PROTOTYPE(s, float);

/* ---- Integration ------------------------------------------------------------------------- */

/*
 * The caller's integration over one interval: *n is 1; the cell of the left limit and that limit, the same of the right
 * limit, and at r room for a result a function. The last argument is null. A negative result ends the integration
 * and is its status.
 */
typedef int32_t (*DFIntegrCallBack)(int64_t* n, const int64_t* lcell, const void* llim, const int64_t* rcell,
                                    const void* rlim, void* r, void* params, void* spare);

/*
 * DFIntegrate1D integrates the task's spline, of all functions, from llim[i] to rlim[i] for nlim intervals; where the
 * right limit is the lower one, that is the negative of the integral between them.
 *
 * Limits: with the bit of FIT_SITE_UNIFORM in its hint an array holds the first and the last of equally spaced limits.
 * Each array is searched as by DFSearch1D, with its hint, its data hint and `search_cb`, whose last argument points to
 * an int32_t, 0 for left and 1 for right limits. Where both data hints tell peaks, the sum between the peaks is worked
 * out once for all intervals.
 *
 * Results: the one of function f and interval i is r[f*nlim + i] with `rhint` FIT_R_BYFUNC or 128, and r[i*ny + f]
 * with FIT_R_NOHINT or 32; others give FIT_ERR_INTRHINT.
 *
 * The polynomials are integrated exactly, but for rounding, and go on beyond the ends. le_cb, re_cb and i_cb, where not
 * null, integrate the part of an interval below x[0], the part above x[nx-1] and the part between in place of the
 * spline, and are called in this order, with the lower limit on the left. The cells are those of the interval's
 * limits; 0 for both limits below x[0], nx above x[nx-1].
 *
 * From several hundred intervals on the work is shared between threads, and then callbacks run on them. Statuses beside
 * those of DFInterpolate1D: lookup cannot be integrated, FIT_ERR_TYPE. `method` is not looked at.
 */
#define ARKO_DF_INTEGRATE_PROTOTYPE(p, real)                                                          \
  int32_t arko_df_kernel_##p##DFIntegrate1D(                                                          \
      void* task, int64_t method, int64_t nlim, const real* llim, int64_t llimhint, const real* rlim, \
      int64_t rlimhint, const double* ldatahint, const double* rdatahint, real* r, int64_t rhint,     \
      DFIntegrCallBack le_cb, void* le_params, DFIntegrCallBack re_cb, void* re_params,               \
      DFIntegrCallBack i_cb, void* i_params, DFSearchCallBack search_cb, void* search_params,         \
      const struct DFThreadServices* threads)
ARKO_DF_INTEGRATE_PROTOTYPE(d, double);
ARKO_DF_INTEGRATE_PROTOTYPE(s, float);

#ifdef __cplusplus
}
#endif
#endif
