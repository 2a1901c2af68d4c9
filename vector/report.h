// The element reporter: the only path by which a kernel says anything about an element.
//
// It stores the status in the thread's record, offers the element to the thread's callback, which may replace
// the result, and then does what the error-mode byte asks for: errno, standard error, the x87 condition. Each report
// goes by the mode word of its moment.
#pragma once
#include <cstdint>

#include "vector/elements.h"

namespace [[gnu::visibility("hidden")]] zur {

// About element `index` of a kernel's call on array `a`, by which the index is corrected: arguments as they were before
// results may have taken their place, and the results in their arrays, where they must stand before the call and are
// taken from again after it. What there is one of is given twice.
template <class A, class R>
void report(std::int32_t status, std::int32_t index, const A* a, const A& arg1, const A& arg2, R& r1, R& r2,
            const char* function);

}  // namespace zur
