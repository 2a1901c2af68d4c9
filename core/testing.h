/*
 * core/testing.h - what the testing build of libarko_core exports besides arko/core.h, so that tests
 * can let any allocation fail and see leaks. All calls are safe from any thread.
 */
#ifndef ARKO_CORE_TESTING_H
#define ARKO_CORE_TESTING_H

#include "arko/core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The k-th allocation from now returns null, 1 being the next; only that one fails. 0 switches off. */
ARKO_CORE_API void arko_core_fail_allocation(int32_t k);

/* Blocks that were allocated and not yet deallocated. */
ARKO_CORE_API int64_t arko_core_live_blocks(void);

/*
 * Allocations asked for since the process started, those that failed included. Calls with a size or
 * an alignment that no system could serve do not count, here and for the call above.
 */
ARKO_CORE_API int64_t arko_core_allocations(void);

#ifdef __cplusplus
}
#endif
#endif
