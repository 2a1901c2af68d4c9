/*
 * Vector mathematics: survival of waiting times, exp(-w / mean), at the three accuracy levels.
 *
 * The data: waiting times between eruptions of the Old Faithful geyser, in minutes. Were eruptions to come at random,
 * a wait would outlast w minutes with probability exp(-w / mean).
 */
#include <arko/vector.h>
#include <math.h>
#include <stdio.h>

enum { most = 1000 };

/* Reads eruption length and waiting time, row after row; returns the number of rows. */
static int read_pairs(const char* path, double* pairs) {
  int n = 0;
  FILE* file = fopen(path, "r");
  if (!file) return 0;
  if (fscanf(file, "%*[^\n]") == 0) /* the names */
    while (n < most && fscanf(file, "%lf,%lf", &pairs[2 * n], &pairs[2 * n + 1]) == 2) n++;
  fclose(file);
  return n;
}

int main(int argc, char** argv) {
  static double pairs[2 * most], x[most], la[most], ha[most], ep[most], root[most];
  double mean = 0;
  int i;
  const int n = read_pairs(argc > 1 ? argv[1] : "examples/data/faithful.csv", pairs);
  if (n == 0) {
    fprintf(stderr, "usage: %s faithful.csv\n", argv[0]);
    return 1;
  }
  for (i = 0; i < n; i++) mean += pairs[2 * i + 1] / n;

  /* -w / mean: a linear function of every second number, by the form with increments, trailing I. */
  _zurdLinearFracI(n, &pairs[1], 2, 0, 0, -1, 0, 0, mean, x, 1);

  /* One call an array. The suffix is the level: LA below 4 ulp, HA below 1 ulp, EP 26 good bits. */
  _zurdExp_50(n, x, la);
  _zurdExp(n, x, ha);
  _zurdExp_26(n, x, ep);

  printf("%d waits, mean %.2f minutes\n\n  wait   LA                  HA                  EP\n", n, mean);
  for (i = 0; i < 3; i++) printf("  %4.0f   %.16f  %.16f  %.16f\n", pairs[2 * i + 1], la[i], ha[i], ep[i]);

  /* A result may go where an argument came from; what a kernel costs is in its table, if a program must choose. */
  _zurdSqrtI(n, &pairs[1], 2, root, 1);
  _zurdLn(n, ha, ha);
  printf("\n  sqrt of the first wait %.15g; ln of its survival %.15g, that is %.15g\n", root[0], ha[0], x[0]);
  printf("  relative costs of Exp, LA to EP: %g %g %g\n", (double)arko_zur_kernel_dExp_ctab[0],
         (double)arko_zur_kernel_dExp_ctab[1], (double)arko_zur_kernel_dExp_ctab[2]);
  return 0;
}
