// What the kernels of arithmetic, rounding and comparison share: one kernel serves all levels.
#pragma once
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {

// A kernel of `root` in blocks of so many elements. Blocks of kernels that never report are what suits the processor.
template <class T, template <class> class root, int elements, int in = 1>
struct arith : usual_kernel<root, T> {
  static constexpr int block = elements, inputs = in;
};

// From here on every number is whole.
template <class T> inline constexpr T all_whole = sizeof(T) == 4 ? T(0x1p23) : T(0x1p52);

}  // namespace zur::inline ZUR_WIDTH
