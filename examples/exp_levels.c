/*
 * exp over a column of real data at the three accuracy levels, with error and time an element.
 *
 * The data: waiting times between eruptions of the Old Faithful geyser, in minutes (272 of them). Were
 * eruptions to come at random, a wait would outlast w minutes with probability exp(-w / mean).
 */
#include <arko/vector.h>
#include <math.h>
#include <stdio.h>
#include <time.h>

enum { most = 1000, repetitions = 20000 };

/* Reads the column behind the first comma; returns the number of rows, or -1. */
static int read_column(const char* path, double* column) {
  FILE* file = fopen(path, "r");
  if (!file) return -1;
  int n = 0;
  double first;
  fscanf(file, "%*[^\n]"); /* the names */
  while (n < most && fscanf(file, "%lf,%lf", &first, &column[n]) == 2) n++;
  fclose(file);
  return n;
}

static double seconds(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

static void print(const char* name, double worst_ulp, double time) {
  printf("  %-14s %14.3f ulp %10.2f ns\n", name, worst_ulp, 1e9 * time);
}

/* Distance from e^x in units of the last place: 2^-23 or 2^-52 of the result's power of two. */
static double ulp(long double result, long double x, int digits) {
  const long double exact = expl(x);
  return (double)(fabsl(result - exact) / ldexpl(1, ilogbl(exact) - digits));
}

int main(int argc, char** argv) {
  static double wait[most], xd[most], rd[most];
  static float xs[most], rs[most];
  const int n = argc == 2 ? read_column(argv[1], wait) : -1;
  if (n <= 0) {
    fprintf(stderr, "usage: exp_levels faithful.csv\n");
    return 1;
  }
  double mean = 0;
  for (int i = 0; i < n; i++) mean += wait[i] / n;
  for (int i = 0; i < n; i++) xs[i] = (float)(xd[i] = -wait[i] / mean);
  printf("exp(-wait / mean) of %d waits, mean %.2f minutes: largest error and time an element\n", n, mean);

  static const struct {
    const char* name;
    void (*kernel)(int32_t, const float*, float*);
  } singles[] = {{"single LA", _zursExp_21}, {"single HA", _zursExp}, {"single EP", _zursExp_11}};
  for (int k = 0; k < 3; k++) {
    const double start = seconds();
    for (int j = 0; j < repetitions; j++) singles[k].kernel(n, xs, rs);
    const double time = (seconds() - start) / repetitions / n;
    double worst = 0;
    for (int i = 0; i < n; i++) worst = fmax(worst, ulp(rs[i], xs[i], 23));
    print(singles[k].name, worst, time);
  }

  static const struct {
    const char* name;
    void (*kernel)(int32_t, const double*, double*);
  } doubles[] = {{"double LA", _zurdExp_50}, {"double HA", _zurdExp}, {"double EP", _zurdExp_26}};
  for (int k = 0; k < 3; k++) {
    const double start = seconds();
    for (int j = 0; j < repetitions; j++) doubles[k].kernel(n, xd, rd);
    const double time = (seconds() - start) / repetitions / n;
    double worst = 0;
    for (int i = 0; i < n; i++) worst = fmax(worst, ulp(rd[i], xd[i], 52));
    print(doubles[k].name, worst, time);
  }
  printf("  a wait of %.0f minutes is outlasted with probability %.4f\n", wait[0], rd[0]);
  return 0;
}
