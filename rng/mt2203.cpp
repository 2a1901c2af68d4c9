// MT2203: 6024 Mersenne Twisters of 69 words and period 2^2203 - 1 (see twister.h), each with a matrix and masks
// of its own, so that they run side by side as independent streams.
//
// M. Matsumoto and T. Nishimura, "Dynamic creation of pseudorandom number generators", Monte Carlo and Quasi-Monte
// Carlo Methods 1998 (2000). The members were found by tools/mt2203_search.cpp.
#include "rng/twister.h"

namespace kov { namespace {

constexpr std::uint32_t members[][3] = {
#include "rng/mt2203_members.inc"
};
static_assert(std::size(members) == 6024);

// Parameters of a state are honoured, whatever they are: they are its own.
struct mt2203 : twister<mt2203, 69, 34, 5, 12> {
  std::uint32_t a, b, c;

  status seed(std::int32_t count, const std::uint32_t* key) {
    const auto& row = members[member_of(head)];
    a = row[0], b = row[1], c = row[2];
    return twister::seed(count, key);
  }
};
static_assert(sizeof(mt2203) == 312);

}  // namespace
}  // namespace kov

KOV_FAMILY(MT2203, kov::mt2203)
