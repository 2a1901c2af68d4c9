// An owned block of core's memory.
#pragma once
#include "core/block.h"

namespace kov {

using arko::block;

}  // namespace kov
