/*
 * Exceptional elements: statuses, a callback that repairs results, and modes.
 */
#include <arko/vector.h>
#include <errno.h>
#include <stdio.h>

static void print(const char* what, const double* r, int n) {
  int i;
  printf("%-34s", what);
  for (i = 0; i < n; i++) printf(" %10.4g", r[i]);
  printf("\n");
}

/* Called for each exceptional element, in ascending order. Returning 0 stores Res1 as the result. */
static int32_t repair(struct ZurErrorContext* c) {
  printf("  %s: element %d, argument %g, status %d\n", c->FuncName, c->Index, c->Arg1, c->Code);
  if (c->Code == ZUR_STATUS_DOMAIN) c->Res1 = 0;
  return 0;
}

int main(void) {
  const double x[5] = {4, -1, 0, 0.25, 1e300};
  double r[5];

  /* By default an exceptional element gets its IEEE result, errno and a status that stays until it is cleared. */
  errno = 0;
  _zurdLn(5, x, r);
  print("ln", r, 5);
  printf("  status %d, errno %s\n", _zurGetErrStatus(),
         errno == EDOM     ? "EDOM"
         : errno == ERANGE ? "ERANGE"
                           : "0");

  /* A callback sees the elements and may put other results in their place. */
  _zurSetErrorCallBack(repair);
  _zurdLn(5, x, r);
  print("ln, negative arguments give 0", r, 5);
  _zurClearErrorCallBack();

  /* Modes belong to the calling thread. NOERR: results only, at the highest speed; status and errno stay. */
  _zurClearErrStatus();
  _zurSetMode(ZUR_ERRMODE_NOERR);
  _zurdLn(5, x, r);
  printf("without reports the status is %d\n", _zurGetErrStatus());

  /* A message an element, to standard error. */
  _zurSetMode(ZUR_ERRMODE_STDERR);
  _zurdInvSqrt(5, x, r);
  print("1 / sqrt, with messages", r, 5);
  return _zurClearErrStatus() == ZUR_STATUS_SINGULARITY ? 0 : 1;
}
