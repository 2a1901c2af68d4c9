// Bernoulli trials: 1 where a uniform number is below p.
//
// The uniform numbers are made in the result array itself. Numbers that are not negative are in the order of their
// patterns, so the patterns are compared.
#include <bit>

#include "distributions/frame.h"

using namespace kov;

KOV_EXPORT std::int32_t _koviRngBernoulli(std::int32_t, void* stream, std::int32_t n, std::int32_t* r,
                                          double p) {
  const status s = uniform(stream, n, reinterpret_cast<float*>(r));
  if (s < KOV_STATUS_OK) return s;
  constexpr auto one = std::bit_cast<std::int32_t>(1.0f);
  auto bound = std::bit_cast<std::int32_t>(static_cast<float>(p));
  if (bound == one) bound++;  // a certain event happens with a uniform number that was rounded to 1 too
  for (std::int32_t i = 0; i < n; i++) r[i] = r[i] < bound;
  return s;
}
