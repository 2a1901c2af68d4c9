// MCG59: x' = a x mod 2^59, a = 13^13 unless leapfrog has changed it.
//
// The output is x before the step, in words of 64 bits.
#include "rng/modular.h"
#include "rng/stream.h"

namespace kov { namespace {

struct mcg59 {
  BrngStream head;
  std::uint64_t x, a;

  using word = word64;
  static constexpr double unit = 0x1p-59;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    x = count > 0 ? seeds[0] : 1;
    if (count > 1) x |= static_cast<std::uint64_t>(seeds[1] & 0x7FFFFFF) << 32;
    if (x == 0) x = 1;
    a = 302875106592253;
    return KOV_STATUS_OK;
  }
  bool sound() const { return x != 0 && x <= mask59 && a <= mask59 && a % 2 == 1; }
  status leapfrog(std::int32_t k, std::int32_t streams) {
    skip(static_cast<std::uint64_t>(k));
    a = __koviPowMod2P59(a, static_cast<std::uint64_t>(streams));
    return KOV_STATUS_OK;
  }
  status skip(std::uint64_t count) {
    x = times_59(x, __koviPowMod2P59(a, count));
    return KOV_STATUS_OK;
  }

  // Four consecutive numbers advance together, each times a^4. Bits above the modulus do no harm below it, and
  // are cleared on output only.
  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    std::uint64_t v[4] = {x};
    for (int j = 1; j < 4; j++) v[j] = v[j - 1] * a;
    const std::uint64_t jump = a * a * a * a;
    std::int32_t i = 0;
    for (; n - i >= 4; i += 4) {
      sink.put(i, {v[0] & mask59, v[1] & mask59, v[2] & mask59, v[3] & mask59});
      for (std::uint64_t& number : v) number *= jump;
    }
    for (int j = 0; j < n - i; j++) sink.put(i + j, v[j] & mask59);
    x = v[n - i] & mask59;
    return KOV_STATUS_OK;
  }
};
static_assert(sizeof(mcg59) == 32);

}  // namespace
}  // namespace kov

KOV_EXPORT std::uint64_t __koviPowMod2P59(std::uint64_t a, std::uint64_t n) {
  return kov::power(a & kov::mask59, n, std::uint64_t{1}, kov::times_59);
}

KOV_FAMILY(MCG59, kov::mcg59)
