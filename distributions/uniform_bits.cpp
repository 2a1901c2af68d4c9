// The words of a generator as they are, and 32 or 64 random bits from those generators that have them.
#include "distributions/frame.h"

namespace kov { namespace {

constexpr std::int32_t piece =
    1 << 30;  // words of one fill: 64 bits may ask for more of them than a fill counts

// n words of 32 random bits.
status random_words(void* stream, std::int64_t n, std::uint32_t* r) {
  std::int32_t row, member;
  __kovGetBrngBaseOffset(static_cast<const BrngStream*>(stream)->Brng, &row, &member);
  switch ((row + 1) << family_shift) {  // old codes up to WH have their family's row too
    case KOV_BRNG_MCG59:                // the upper 32 of 59 bits
      return in_blocks(n, 2 * block, [&](std::int64_t i, std::int32_t m) {
        std::uint64_t words[2 * block];
        const status s = _koviRngUniformBits(0, stream, m, reinterpret_cast<std::uint32_t*>(words));
        if (s >= KOV_STATUS_OK)
          for (std::int32_t j = 0; j < m; j++) r[i + j] = static_cast<std::uint32_t>(words[j] >> 27);
        return s;
      });
    case KOV_BRNG_MT19937:
    case KOV_BRNG_MT2203:
    case KOV_BRNG_SFMT19937:
    case KOV_BRNG_TRNG:
    case KOV_BRNG_ARS5:
    case KOV_BRNG_PHILOX4X32X10:
      return in_blocks(
          n, piece, [&](std::int64_t i, std::int32_t m) { return _koviRngUniformBits(0, stream, m, r + i); });
    default:
      return KOV_STATUS_BITS_NOT_SUPPORTED;
  }
}

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT std::int32_t _koviRngUniformBits(std::int32_t, void* stream, std::int32_t n, std::uint32_t* r) {
  return n > 0 ? properties_of(stream).FillInteger(stream, n, r) : KOV_STATUS_OK;
}

KOV_EXPORT std::int32_t _koviRngUniformBits32(std::int32_t, void* stream, std::int32_t n, std::uint32_t* r) {
  return random_words(stream, n, r);
}

KOV_EXPORT std::int32_t _koviRngUniformBits64(std::int32_t, void* stream, std::int32_t n, std::uint64_t* r) {
  return random_words(stream, 2 * std::int64_t{n}, reinterpret_cast<std::uint32_t*>(r));
}
