// MT2203: 6024 Mersenne Twisters of 69 words and period 2^2203 - 1 (see twister.h), each with a matrix and masks
// of its own, so that they run side by side as independent streams.
//
// M. Matsumoto and T. Nishimura, "Dynamic creation of pseudorandom number generators", Monte Carlo and Quasi-Monte
// Carlo Methods 1998 (2000). The members were found by tools/mt2203_search.cpp.
#include "rng/stream.h"
#include "rng/table.h"
#include "rng/twister.h"

namespace kov { namespace {

constexpr std::uint32_t members[][3] = {
#include "rng/mt2203_members.inc"
};
static_assert(std::size(members) == 6024);

struct mt2203 {
  static constexpr int size = 69;

  BrngStream head;
  std::uint32_t w[size];
  std::int32_t index;
  std::uint32_t a, b, c;

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-32;

  using engine = twister<size, 34, 5, 12>;

  void renew(int count) { engine::renew(w, count, a); }

  status seed(std::int32_t count, const std::uint32_t* key) {
    engine::seed(w, count, key);
    index = size;
    const auto& row = members[member_of(head)];
    a = row[0], b = row[1], c = row[2];
    return KOV_STATUS_OK;
  }
  // Parameters of a state are honoured, whatever they are: they are its own.
  bool sound() const { return index >= 0 && index <= size; }
  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    std::int32_t done = 0;
    const auto deliver = [&](int from, int count) {
      engine::deliver(count, w + from, b, c, sink, done);
      done += count;
    };
    advance(*this, n, deliver, [&](int count) {
      renew(count);
      deliver(0, count);
    });
    return KOV_STATUS_OK;
  }
};
static_assert(sizeof(mt2203) == 312);

}  // namespace
}  // namespace kov

KOV_FAMILY(MT2203, kov::mt2203)
