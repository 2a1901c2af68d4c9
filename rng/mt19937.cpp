// MT19937, the Mersenne Twister of 624 words and period 2^19937 - 1 (see twister.h).
#include "rng/jump.h"
#include "rng/twister.h"

namespace kov { namespace {

struct mt19937 : twister<mt19937, 624, 397, 31, 11> {
  static constexpr std::uint32_t a = 0x9908B0DF, b = 0x9D2C5680, c = 0xEFC60000;

  status skip(std::int64_t count);
};
static_assert(sizeof(mt19937) == 2520);

// The characteristic polynomial of a step of one word.
constexpr std::int32_t polynomial[] = {
    0,     1189,  1416,  1585,  1643,  1870,  2493,  2773,  3000,  3227,  3454,  3681,  3908,  4135,  4362,
    4753,  5661,  6337,  6569,  7129,  7477,  7525,  7583,  7752,  7979,  8206,  9505,  9901,  9969,  10128,
    10693, 10761, 10920, 11089, 11147, 11157, 11215, 11321, 11374, 11384, 11485, 11611, 11712, 11717, 11838,
    11881, 11944, 11997, 12277, 12335, 12393, 12504, 12509, 12620, 12673, 12731, 12736, 12789, 12905, 12958,
    12963, 13137, 13185, 13190, 13243, 13301, 13412, 13528, 13533, 13639, 13697, 13760, 13813, 13866, 14093,
    14151, 14209, 14320, 14325, 14436, 14547, 14552, 14605, 14721, 14774, 14779, 14953, 15001, 15006, 15059,
    15117, 15228, 15344, 15349, 15455, 15513, 15576, 15629, 15682, 15909, 15967, 16025, 16136, 16141, 16252,
    16363, 16368, 16421, 16537, 16590, 16595, 16817, 16822, 16875, 16933, 17044, 17160, 17271, 17329, 17445,
    17498, 17725, 17783, 17841, 17952, 18068, 18179, 18237, 18406, 18633, 18691, 18860, 19087, 19314, 19937};

// In a skip by polynomial the table is a ring that starts at index, with `size` for 0.
struct ring_of_words : ring<mt19937> {
  static void step(void* state) {
    mt19937& s = *static_cast<mt19937*>(state);
    const auto place = [&s](int k) -> std::uint32_t& { return s.w[(s.index + k) % mt19937::size]; };
    place(0) = mt19937::next(place(0), place(1), place(mt19937::middle), mt19937::a);
    s.index = (s.index + 1) % mt19937::size;
  }
  static void finish(void* stream, void* state, std::int32_t) {
    put_in_order(*static_cast<mt19937*>(stream), *static_cast<const mt19937*>(state));
  }
  static std::int32_t prepare(void* stream, std::int64_t* nskip, std::int32_t*) {
    mt19937& s = *static_cast<mt19937*>(stream);
    const std::int32_t ready = mt19937::size - s.index;
    if (*nskip <= ready) {
      s.index += static_cast<std::int32_t>(*nskip);
      return 0;
    }
    s.index = mt19937::size;
    *nskip -= ready;
    return 1;
  }
};

status mt19937::skip(std::int64_t count) {
  // Below this, passing over the words takes less time.
  constexpr std::int64_t worth_a_jump = 0x100000;
  if (count >= worth_a_jump) return jump<ring_of_words>(__kov_SkipAheadSWin, this, count, polynomial);
  constexpr std::int64_t block = 2048;
  for (; count > 0; count -= block)
    advance(
        *this, std::min(count, block), [](int, int) {}, [this](int words) { renew(words); });
  return KOV_STATUS_OK;
}

}  // namespace
}  // namespace kov

KOV_FAMILY(MT19937, kov::mt19937)
