// R250: x(n) = x(n-250) ^ x(n-147), on 32-bit words.
//
// S. Kirkpatrick and E. Stoll, "A very fast shift-register sequence random number generator", Journal of
// Computational Physics 40 (1981).
#include <algorithm>

#include "rng/quad.h"
#include "rng/stream.h"

namespace kov { namespace {

constexpr int size = 250, near = 147;

struct r250 {
  BrngStream head;
  std::uint32_t w[size];
  std::int32_t i, j;  // of the oldest word and of the one that is `near` places back from the next

  using word = std::uint32_t;
  static constexpr double unit = 0x1p-32;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    i = 0, j = size - near;
    if (count >= size) {
      std::copy_n(seeds, size, w);
      return KOV_STATUS_OK;
    }
    std::uint32_t x = count > 0 && seeds[0] != 0 ? seeds[0] : 1;
    for (std::uint32_t& word : w) word = x *= 69069;
    // 32 words made independent: word 3 + 7k has bit 31 - k and none above it.
    for (int k = 0; k < 32; k++) {
      const std::uint32_t top = std::uint32_t{1} << (31 - k);
      w[3 + 7 * k] = (w[3 + 7 * k] & (top - 1)) | top;
    }
    return KOV_STATUS_OK;
  }
  bool sound() const { return i >= 0 && i < size && j == (i + size - near) % size; }

  status draw(std::int32_t n, std::uint32_t* r) {
    if (n < size) {
      for (std::int32_t k = 0; k < n; k++) {
        r[k] = w[i] ^= w[j];
        if (++i == size) i = 0;
        if (++j == size) j = 0;
      }
      return KOV_STATUS_OK;
    }
    if (i != 0) {  // it is 0 between large fills
      std::uint32_t ring[size];
      std::copy_n(w, size, ring);
      std::copy_n(ring, i, std::copy(ring + i, ring + size, w));
    }
    add_words(near, r, w, w + size - near);
    add_words(size - near, r + near, w + near, r);
    add_words(n - size, r + size, r, r + size - near);
    std::copy_n(r + n - size, size, w);
    i = 0, j = size - near;
    return KOV_STATUS_OK;
  }
};
static_assert(sizeof(r250) == 1024);

}  // namespace
}  // namespace kov

KOV_FAMILY(R250, kov::r250)
