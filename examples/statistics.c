/*
 * Summary statistics: moments, correlation and quantiles of a table, then of the same rows in blocks.
 *
 * The data: lengths of eruptions of the Old Faithful geyser and waiting times to the next, in minutes.
 */
#include <arko/stats.h>
#include <math.h>
#include <stdio.h>

enum { most = 1000 };

/* Reads eruption length and waiting time, row after row; returns the number of rows. */
static int32_t read_pairs(const char* path, double* pairs) {
  int32_t n = 0;
  FILE* file = fopen(path, "r");
  if (!file) return 0;
  if (fscanf(file, "%*[^\n]") == 0) /* the names */
    while (n < most && fscanf(file, "%lf,%lf", &pairs[2 * n], &pairs[2 * n + 1]) == 2) n++;
  fclose(file);
  return n;
}

int main(int argc, char** argv) {
  static double x[2 * most];
  const struct DFThreadServices* threads = arko_serial_services();
  const int32_t p = 2, storage = KOV_SS_OBSERVATIONS, full = KOV_SS_FULL, orders = 3;
  const double order[3] = {0.25, 0.5, 0.75};
  const uint64_t estimates = KOV_SS_EST_MEAN | KOV_SS_EST_COV | KOV_SS_EST_COR;
  double mean[2], cov[4], cor[4], quantile[6], blocks_mean[2] = {0, 0}, weights[2] = {0, 0};
  void *task, *by_blocks;
  int32_t n = read_pairs(argc > 1 ? argv[1] : "examples/data/faithful.csv", x), first, size, status;
  if (n == 0) return fprintf(stderr, "usage: %s faithful.csv\n", argv[0]), 1;

  /* A task points to the observations and to where results go; edits add what the making did not name. */
  status = __kovdSSNewTask(&task, &p, &n, &storage, x, 0, 0, 0);
  if (!status) status = __kovdSSEditCovCor(task, mean, cov, &full, cor, &full);
  if (!status) status = __kovdSSEditQuantiles(task, &orders, order, quantile, 0, 0);

  /* What is wanted, how, and the caller's threads. */
  if (!status) status = _kovdSSBasic(task, estimates, KOV_SS_FAST, threads);
  if (!status) status = _kovdSSQuantiles(task, KOV_SS_EST_QUANTS, KOV_SS_FAST, threads);
  __kovSSDeleteTask(&task);
  if (status) return fprintf(stderr, "status %d\n", status), 1;
  printf("%d rows: eruption %.4f +- %.4f, waiting %.4f +- %.4f, correlation %.4f\n", n, mean[0], sqrt(cov[0]),
         mean[1], sqrt(cov[3]), cor[1]);
  printf("quartiles of waiting times: %g %g %g\n", quantile[3], quantile[4], quantile[5]);

  /* By blocks: the sums of weights so far make a computation go on from the one before. */
  size = n / 4;
  status = __kovdSSNewTask(&by_blocks, &p, &size, &storage, x, 0, 0, 0);
  if (!status) status = __kovdSSEditTask(by_blocks, KOV_SS_MEAN, blocks_mean);
  if (!status) status = __kovdSSEditTask(by_blocks, KOV_SS_ACCUM_WEIGHT, weights);
  for (first = 0; !status && first < n; first += size) {
    if (n - first < size) size = n - first;
    status = __kovdSSEditTask(by_blocks, KOV_SS_OBS, &x[2 * first]);
    if (!status) status = _kovdSSBasic(by_blocks, KOV_SS_EST_MEAN, KOV_SS_FAST, threads);
  }
  __kovSSDeleteTask(&by_blocks);
  printf("means by blocks: %.4f %.4f\n", blocks_mean[0], blocks_mean[1]);
  return status != 0;
}
