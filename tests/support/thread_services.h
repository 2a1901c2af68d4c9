// The threads that tests and benches lend to the module are those of the examples.
#pragma once
#include "examples/thread_services.h"

namespace arko::test {
using examples::thread_services;
}
