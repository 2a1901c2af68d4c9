/*
 * Data fitting: a natural cubic spline through a table, its values, slopes and integral.
 *
 * The data: vapour pressure of mercury, mm, by temperature, degrees C.
 */
#include <arko/fit.h>
#include <stdio.h>

enum { most = 100, order = FIT_ORDER_CUBIC };

/* Reads the columns x and y; returns the number of rows. */
static int64_t read_table(const char* path, double* x, double* y) {
  int64_t n = 0;
  FILE* file = fopen(path, "r");
  if (!file) return 0;
  if (fscanf(file, "%*[^\n]") == 0) /* the names */
    while (n < most && fscanf(file, "%lf,%lf", &x[n], &y[n]) == 2) n++;
  fclose(file);
  return n;
}

int main(int argc, char** argv) {
  static double x[most], y[most], coefficients[order * (most - 1)];
  const struct DFThreadServices* threads = arko_serial_services();
  const double site[4] = {15, 100, 250, 355}, from = 100, to = 300;
  const int32_t derivatives[2] = {1, 1}; /* the value and the first */
  double r[8], area;
  void* task;
  int32_t status, i;
  const int64_t n = read_table(argc > 1 ? argv[1] : "examples/data/mercury_pressure.csv", x, y);
  if (n == 0) return fprintf(stderr, "usage: %s mercury_pressure.csv\n", argv[0]), 1;

  /* A task points to breakpoints and values; one function here, any number in general. */
  status = arko_df_kernel_dNewTask1D(&task, n, x, FIT_X_NOHINT, 1, y, FIT_Y_NOHINT, 0);

  /* The kind of spline, its end and inner conditions, and the room for its coefficients. Then they are computed. */
  if (!status)
    status = arko_df_kernel_dEditPPSpline1D(task, order, FIT_TYPE_NATURAL, FIT_BC_FREE_END, 0, FIT_IC_NONE, 0,
                                            coefficients, FIT_C_NOHINT);
  if (!status) status = arko_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, threads);

  /* Values and slopes at sites, then an integral. What is not needed is 0: cells, callbacks, hints on data. */
  if (!status)
    status = arko_df_kernel_dDFInterpolate1D(task, 0, 0, 4, site, FIT_SITE_SORTED, 2, derivatives, 0, r,
                                             FIT_R_NOHINT, 0, 0, 0, 0, 0, 0, 0, 0, 0, threads);
  if (!status)
    status = arko_df_kernel_dDFIntegrate1D(task, 0, 1, &from, FIT_SITE_NOHINT, &to, FIT_SITE_NOHINT, 0, 0,
                                           &area, FIT_R_NOHINT, 0, 0, 0, 0, 0, 0, 0, 0, threads);
  arko_df_kernel_DeleteTask(&task);
  if (status) return fprintf(stderr, "status %d\n", status), 1;

  for (i = 0; i < 4; i++)
    printf("at %3g degrees: %10.5f mm, %8.5f mm a degree\n", site[i], r[2 * i], r[2 * i + 1]);
  printf("mean from %g to %g degrees: %.5f mm\n", from, to, area / (to - from));
  return 0;
}
