/* A program that knows libarko_core only through the library named by its first argument. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  void* library = dlopen(argv[1], RTLD_NOW);
  if (library == NULL) return 1;
  if (strcmp(argv[2], "unload") == 0) {
    dlclose(library);
    printf("unloaded, %s", dlopen("libarko_core.so.1", RTLD_NOW | RTLD_NOLOAD) ? "core stays" : "core gone");
  }
  return 0;
}
