// The element reporter: the only path by which a kernel says anything about an element.
//
// It stores the status in the thread's record, offers the element to the thread's callback, which may replace
// the result, and then does what the error-mode byte asks for: errno, standard error, the x87 condition. The
// result must be in the output array before the call, and is taken from there again after it. A kernel of one
// input passes it twice, and so with one output. Element i of an array lies at index i times its increment.
//
// One variant for each element type, and with a trailing I for arrays with increments.
#pragma once
#include <cstdint>

#include "vector/elements.h"

namespace [[gnu::visibility("hidden")]] zur {

#define ZUR_REPORTER(E, name)                                                                      \
  void name(std::int32_t status, std::int32_t index, const E* a, const E* b, E* r1, E* r2,         \
            const char* function);                                                                 \
  void name##I(std::int32_t status, std::int32_t index, const E* a, std::int32_t inca, const E* b, \
               std::int32_t incb, E* r1, std::int32_t incr1, E* r2, std::int32_t incr2,            \
               const char* function);
ZUR_REPORTER(float, ZurReportS)
ZUR_REPORTER(double, ZurReportD)
ZUR_REPORTER(complex<float>, ZurReportC)
ZUR_REPORTER(complex<double>, ZurReportZ)
#undef ZUR_REPORTER

}  // namespace zur
