// Kernels called from inside the module, by the folders that stand on vector:
//
//   zur::call<zur::fn::Ln, zur::la>(n, a, r)
//
// runs the kernel of a function at a level on arrays of any one type. No entry is passed, so that the code around the call
// says what becomes of reports and denormals (frame/kernel_guard.h).
#pragma once
#include <cstdint>

#include "vector/functions.h"

namespace [[gnu::visibility("hidden")]] zur {

template <template <class> class F, level at, class T, class... More>
inline void call(std::int32_t n, const T* a, More... more) {
  F<T>::table[at](n, a, more...);
}

}  // namespace zur
