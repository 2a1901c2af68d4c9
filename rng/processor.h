// Instructions that only some processors have, beside the exported checks for them.
#pragma once
#include <cstdint>

namespace [[gnu::visibility("hidden")]] kov {

// A random word from the processor where __kovCPUisRDRAND; false where it has none at the moment.
bool rdrand(std::uint32_t& x);

}  // namespace kov
