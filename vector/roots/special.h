// What the roots and reciprocals share: the answers for special arguments.
#pragma once
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH { namespace {

template <class T> inline constexpr T infinite = static_cast<T>(__builtin_inf());

// A pole at zero: the infinity with the sign of x. A negative argument out of the domain: NaN.
template <class T> int pole(T x, T& r) { return r = fp::divide(T(1), x), ZUR_STATUS_SINGULARITY; }
template <class T> int out_of_domain(T& r) { return r = fp::divide(T(0), T(0)), ZUR_STATUS_DOMAIN; }

}  // namespace
}  // namespace zur::inline ZUR_WIDTH
