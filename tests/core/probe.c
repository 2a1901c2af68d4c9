/* A library as a module is: it may ask at its load, asks at its end, and writes the second answer. */
#include <stdio.h>
#include <stdlib.h>

#include "arko/core.h"

ARKO_CORE_API int arko_core_probe_output = 1;

__attribute__((constructor)) static void load(void) {
  if (getenv("ARKO_CORE_PROBE_ASKS") != NULL) arko_serv_ending();
}
__attribute__((destructor)) static void end(void) {
  dprintf(arko_core_probe_output, "ending %d\n", arko_serv_ending());
}
