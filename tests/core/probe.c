/*
 * A library as a module is: it may ask at its load, asks at its end, and writes the second answer. And a
 * program that has libarko_core only through the library named by its argument; a second one unloads it.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include "core/testing.h"

#ifdef ARKO_CORE_HOST
int main(int argc, char** argv) {
  void* library = dlopen(argv[1], RTLD_NOW);
  if (library == NULL || argc == 2) return library == NULL;
  dlclose(library);
  dprintf(2, dlopen("libarko_core.so.1", RTLD_NOW | RTLD_NOLOAD) ? "core stays, " : "core gone, ");
}
#else
__attribute__((constructor)) static void load(void) {
  if (getenv("ARKO_CORE_PROBE_ASKS") != NULL) arko_serv_ending();
}
__attribute__((destructor)) static void end(void) { dprintf(2, "ending %d, ", arko_serv_ending()); }
#endif
