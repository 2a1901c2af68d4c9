// Load and unload of the module.
//
// A failed attach cannot refuse the load here; it has said so, and the first use on a thread tries again. At
// the end of the process nothing is released: other threads may still be inside a kernel.
#include <arko/core.h>

#include "frame/state.h"

namespace {

[[gnu::constructor]] void load() {
  arko_serv_ending();  // a first call makes later answers right
  zur::watch_forks();
  zur::attach();
}

[[gnu::destructor]] void unload() {
  if (!arko_serv_ending()) zur::detach();
}

}  // namespace
