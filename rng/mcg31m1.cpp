// MCG31M1: x' = a x mod 2^31 - 1, a = 1132489760 unless leapfrog has changed it.
//
// P. L'Ecuyer, "Tables of linear congruential generators of different sizes and good lattice structure",
// Mathematics of Computation 68 (1999). The output is x before the step; x is never 0.
#include "rng/modular.h"
#include "rng/stream.h"

namespace kov { namespace {

struct mcg31m1 {
  BrngStream head;
  std::uint32_t x, a;

  using word = std::uint32_t;
  using number = std::uint32_t;
  static constexpr double unit = 0x1p-31;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    x = count > 0 ? seeds[0] % m31 : 1;
    if (x == 0) x = 1;
    a = 1132489760;
    return KOV_STATUS_OK;
  }
  status leapfrog(std::int32_t k, std::int32_t streams) {
    skip(static_cast<std::uint64_t>(k));
    a = __koviPowMod2P31M1(a, static_cast<std::uint64_t>(streams));
    return KOV_STATUS_OK;
  }
  status skip(std::uint64_t count) {
    x = times_m31(x, __koviPowMod2P31M1(a, count));
    return KOV_STATUS_OK;
  }
  status draw(std::int32_t n, std::uint32_t* r) {
    for (std::int32_t i = 0; i < n; i++) {
      r[i] = x;
      x = times_m31(x, a);
    }
    return KOV_STATUS_OK;
  }
};
static_assert(sizeof(mcg31m1) == 24);

}  // namespace
}  // namespace kov

KOV_EXPORT std::uint32_t __koviPowMod2P31M1(std::uint32_t a, std::uint64_t n) {
  return kov::power(a % kov::m31, n, 1u, kov::times_m31);
}

KOV_FAMILY(MCG31M1, kov::mcg31m1)
