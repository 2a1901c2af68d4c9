/*
 * Random streams: an estimate of pi by four workers that share one sequence of numbers.
 */
#include <arko/dist.h>
#include <stdio.h>

enum { workers = 4, pairs = 250000 };

/* The number of points of the unit square, of `pairs` drawn, that lie in the quarter of a disc. */
static int hits(void* stream) {
  static double xy[2000];
  int inside = 0, done, i;
  for (done = 0; done < pairs; done += 1000) {
    if (_kovdRngUniform(0, stream, 2000, xy, 0, 1)) return -1;
    for (i = 0; i < 1000; i++) inside += xy[2 * i] * xy[2 * i] + xy[2 * i + 1] * xy[2 * i + 1] < 1;
  }
  return inside;
}

int main(void) {
  const uint32_t seed[1] = {2026};
  void* whole;
  int32_t status;
  const double points = workers * pairs;
  int total = 0, together = 0, w;

  /* A stream is a generator's code and a seed. Every call tells its status. */
  status = __kovNewStreamEx(&whole, KOV_BRNG_PHILOX4X32X10, 1, seed);
  if (status) return fprintf(stderr, "no stream: status %d\n", status), 1;

  /* Each worker has a copy that has passed over what those before it draw: no number is used twice. */
  for (w = 0; w < workers; w++) {
    void* own;
    status = __kovCopyStream(&own, whole);
    if (!status) status = __kovSkipAheadStream(own, (int64_t)w * 2 * pairs);
    if (!status) total += hits(own);
    __kovDeleteStream(&own);
    if (status) return fprintf(stderr, "worker %d: status %d\n", w, status), 1;
  }
  printf("pi is about %.5f by %d workers\n", 4 * total / points, workers);

  /* One worker alone comes to the same points. */
  for (w = 0; w < workers; w++) together += hits(whole);
  printf("and %.5f by one: the same %d points of %d inside\n", 4 * together / points, together,
         workers * pairs);
  __kovDeleteStream(&whole);
  return total != together;
}
