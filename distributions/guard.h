// The callbacks that generators give to the kernel guard around their whole run. They replace what a kernel stores for
// an element without a finite result, so that no infinity gets into the arithmetic after it.
#pragma once
#include <cstdint>

#include "frame/kernel_guard.h"

namespace [[gnu::visibility("hidden")]] kov {

using zur::kernel_guard;

// A pole of the logarithm has the logarithm of the smallest positive number of the type in place of minus
// infinity, as if the argument had been that number.

// Every report is one of a logarithm.
std::int32_t LogFloorD(ZurErrorContext* report);
std::int32_t LogFloorS(ZurErrorContext* report);
// Reports other than poles are left as they are.
std::int32_t PoleFloorD(ZurErrorContext* report);
std::int32_t PoleFloorS(ZurErrorContext* report);
// Of logarithms and of inverse error functions: the latter's results at 1 and -1, and outside, become the ends of
// what they reach inside.
std::int32_t GaussFloorD(ZurErrorContext* report);
std::int32_t GaussFloorS(ZurErrorContext* report);

}  // namespace kov
