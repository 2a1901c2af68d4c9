/* The headers are C11 as they stand. */
#include "arko/core.h"
#include "core/testing.h"
