// SFMT19937, the SIMD-oriented Fast Mersenne Twister of 156 blocks of 128 bits and a period of a multiple of
// 2^19937 - 1. Output: the words of the blocks.
//
// M. Saito and M. Matsumoto, "SIMD-oriented Fast Mersenne Twister: a 128-bit pseudorandom number generator",
// Monte Carlo and Quasi-Monte Carlo Methods 2006 (2008).
#include <emmintrin.h>

#include <algorithm>

#include "rng/jump.h"
#include "rng/stream.h"
#include "rng/table.h"

namespace kov { namespace {

// The block 156 places after `oldest`, from those that are 122, 154 and 155 places after it.
inline __m128i next(__m128i oldest, __m128i middle, __m128i before_last, __m128i last) {
  const __m128i mask = _mm_setr_epi32(static_cast<int>(0xDFFFFFEF), static_cast<int>(0xDDFECB7F),
                                      static_cast<int>(0xBFFAFFFF), static_cast<int>(0xBFFFFFF6));
  const __m128i early = _mm_xor_si128(_mm_xor_si128(oldest, _mm_slli_si128(oldest, 1)),
                                      _mm_and_si128(_mm_srli_epi32(middle, 11), mask));
  return _mm_xor_si128(_mm_xor_si128(early, _mm_srli_si128(before_last, 1)), _mm_slli_epi32(last, 18));
}

struct sfmt19937 {
  static constexpr int size = 624, blocks = size / 4, middle = 122;

  BrngStream head;
  std::uint32_t w[size];
  std::int32_t index;     // a multiple of 4
  std::uint32_t left[3];  // what was not yet delivered of the block before index
  std::int32_t left_position, left_end;

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-32;

  __m128i* block_at(int k) { return reinterpret_cast<__m128i*>(w) + k; }

  // Renews the first count words; put(k, block) shows the new blocks.
  template <class Put> void renew(int count, Put put) {
    __m128i before_last = *block_at(blocks - 2), last = *block_at(blocks - 1);
    const auto run = [&](int from, int to, int to_middle) {
      for (int k = from; k < to; k++) {
        const __m128i x = next(*block_at(k), *block_at(k + to_middle), before_last, last);
        *block_at(k) = x;
        put(k, x);
        before_last = last;
        last = x;
      }
    };
    run(0, std::min(count / 4, blocks - middle), middle);
    run(blocks - middle, count / 4, middle - blocks);
  }
  void renew(int count) {
    renew(count, [](int, __m128i) {});
  }

  status seed(std::int32_t count, const std::uint32_t* key);
  void ensure_period();
  bool sound() const {
    return index >= 0 && index <= size && index % 4 == 0 && left_position >= 0 && left_position <= left_end &&
           left_end <= static_cast<std::int32_t>(std::size(left));
  }

  // The last `count` words before index become the words left over.
  void leave(int count) {
    left_position = 0, left_end = count;
    std::copy_n(w + index - count, count, left);
  }

  template <class Sink> status draw(std::int32_t n, const Sink& sink) {
    std::int32_t done = 0;
    for (; done < n && left_position < left_end; left_position++) sink.put(done++, left[left_position]);
    if (done == n) return KOV_STATUS_OK;
    const int spare = (done - n) & 3;
    const auto wanted = [&](int count) { return std::min(count, n - done); };  // without the spare words
    const auto put_last = [&](int from, int count) {                           // after the whole blocks
      for (int k = count & ~3; k < count; k++) sink.put(done + k, w[from + k]);
      done += count;
    };
    const auto deliver = [&](int from, int count) {
      count = wanted(count);
      for (int k = 0; k < count / 4; k++) sink.put(done + 4 * k, *block_at(from / 4 + k));
      put_last(from, count);
    };
    advance(*this, std::int64_t{n} - done + spare, deliver, [&](int count) {
      const int end = wanted(count), whole = end / 4;
      renew(count, [&](int k, __m128i x) {
        if (k < whole) sink.put(done + 4 * k, x);
      });
      put_last(0, end);
    });
    leave(spare);
    return KOV_STATUS_OK;
  }
  status skip(std::int64_t count);
};
static_assert(sizeof(sfmt19937) == 2536);

// The initialisation by an array of the published generator, with lag 11 and middle 306; without one, by {1}.
status sfmt19937::seed(std::int32_t count, const std::uint32_t* key) {
  static constexpr std::uint32_t one = 1;
  if (count < 1) count = 1, key = &one;
  constexpr int lag = 11, mid = (size - lag) / 2;
  std::fill_n(w, size, 0x8B8B8B8B);
  int i = 0;
  const auto place = [this, &i](int k) -> std::uint32_t& { return w[(i + k) % size]; };
  const auto mix = [&](std::uint32_t term) {
    std::uint32_t x = place(0) ^ place(mid) ^ place(size - 1);
    x = (x ^ x >> 27) * 1664525;
    place(mid) += x;
    x += term;
    place(mid + lag) += x;
    place(0) = x;
    i = (i + 1) % size;
  };
  mix(static_cast<std::uint32_t>(count));
  for (std::int32_t j = 0; j < std::max(count, size - 1); j++)
    mix((j < count ? key[j] : 0) + static_cast<std::uint32_t>(i));
  for (int j = 0; j < size; j++) {
    std::uint32_t x = place(0) + place(mid) + place(size - 1);
    x = (x ^ x >> 27) * 1566083941;
    place(mid) ^= x;
    x -= static_cast<std::uint32_t>(i);
    place(mid + lag) ^= x;
    place(0) = x;
    i = (i + 1) % size;
  }
  ensure_period();
  index = size;
  leave(0);
  return KOV_STATUS_OK;
}

// A state whose parity under the parity words is even may have a shorter period; it gets its first bit flipped.
void sfmt19937::ensure_period() {
  constexpr std::uint32_t parity[4] = {1, 0, 0, 0x13C9E684};
  std::uint32_t sum = 0;
  for (int k = 0; k < 4; k++) sum ^= w[k] & parity[k];
  if (!__builtin_parity(sum)) w[0] ^= 1;  // the lowest bit of parity[0]
}

// The characteristic polynomial of a step of one block.
constexpr std::int32_t polynomial[] = {
#include "sfmt_polynomial.inc"
};

// In a skip by polynomial the table is a ring that starts at index, with `size` for 0.
struct ring_of_blocks : ring<sfmt19937> {
  static void step(void* state) {
    sfmt19937& s = *static_cast<sfmt19937*>(state);
    const int first = s.index / 4;
    const auto place = [&s, first](int k) { return s.block_at((first + k) % sfmt19937::blocks); };
    *place(0) = next(*place(0), *place(sfmt19937::middle), *place(sfmt19937::blocks - 2),
                     *place(sfmt19937::blocks - 1));
    s.index = (first + 1) % sfmt19937::blocks * 4;
  }
  static void finish(void* stream, void* state, std::int32_t offset) {
    sfmt19937& s = *static_cast<sfmt19937*>(stream);
    put_in_order(s, *static_cast<const sfmt19937*>(state));
    s.leave(-offset & 3);
  }
  // Blocks are what is skipped; `offset` words of the last one count as delivered, all of them if it is 0.
  static std::int32_t prepare(void* stream, std::int64_t* nskip, std::int32_t* offset) {
    sfmt19937& s = *static_cast<sfmt19937*>(stream);
    const std::int32_t stored = s.left_end - s.left_position;
    if (*nskip <= stored) {
      s.left_position += static_cast<std::int32_t>(*nskip);
      return 0;
    }
    const std::int64_t beyond = *nskip - stored - (sfmt19937::size - s.index);
    if (beyond > 0) {
      s.index = sfmt19937::size;
      s.leave(0);
      *nskip = (beyond - 1) / 4 + 1;
      *offset = static_cast<std::int32_t>(beyond % 4);
      return 1;
    }
    const std::int32_t target = sfmt19937::size + static_cast<std::int32_t>(beyond);
    s.index = (target + 3) / 4 * 4;
    s.leave(s.index - target);
    return 0;
  }
};

status sfmt19937::skip(std::int64_t count) {
  if (count < 1) return KOV_STATUS_OK;
  // Below the degree there is nothing to reduce.
  constexpr int degree = polynomial[std::size(polynomial) - 1];
  return jump<ring_of_blocks>(count < degree ? __kov_SkipAheadHorner : __kov_SkipAheadSWin, this, count,
                              polynomial);
}

}  // namespace
}  // namespace kov

KOV_FAMILY(SFMT19937, kov::sfmt19937)
