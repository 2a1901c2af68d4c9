// Logarithm, square root and floor of single numbers, for generators. None sets a status. What is no number for them is
// told by its pattern: a comparison with NaN would raise the invalid flag.
//
// Logarithms: x = 2^k m with 1 <= m < 2, c is about 1/m from a table by the nearest 1 + j/64, and log x =
// k log 2 - log c + log(1 + r) with r = m c - 1, |r| < 2^-6.9. The errors stay below 0.8 ulp, in single
// below 0.501.
#include "rng/scalars.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "ln_table.inc"
#include "rng/stream.h"

namespace kov {
namespace {

// The row of a number by the first seven bits of its fraction, rounded to six.
template <class Bits> const double* row_of(Bits bits, int fraction_bits) {
  return ln_table[((bits >> (fraction_bits - 7) & 0x7F) + 1) / 2];
}

// Whether a pattern is that of a positive number: what is negative is above infinity.
template <class Bits> bool positive(Bits bits, Bits infinity) { return bits - 1 < infinity - 1; }

// Makes a denormal pattern one of exponent 1, by integers, as the caller may have denormals count as zero. By how many
// places.
template <class Bits> int normalise(Bits& bits, int fraction_bits) {
  const int places = std::countl_zero(bits) - (8 * static_cast<int>(sizeof bits) - 1 - fraction_bits);
  bits <<= places;
  return places;
}

}  // namespace

float ScalarLnF(float x) {
  constexpr double ln2 = 0.6931471805599453;
  auto bits = std::bit_cast<std::uint32_t>(x);
  if (!positive(bits, 0x7F800000u)) return -103.27893f;
  int k = -127;
  if (bits < 0x00800000) k -= normalise(bits, 23);
  k += static_cast<int>(bits >> 23);
  const double m = std::bit_cast<float>((bits & 0x007FFFFF) | 0x3F800000);
  const double* row = row_of(bits, 23);
  const double r = m * row[3] - 1;
  return static_cast<float>(k * ln2 + row[4] + r - 0.5 * r * r + r * r * r * (1.0 / 3 - 0.25 * r));
}

}  // namespace kov

KOV_EXPORT double _kovdLn(double x) {
  constexpr double ln2_high = 0.6931471805598903, ln2_low = 5.497923018708371e-14;
  auto bits = std::bit_cast<std::uint64_t>(x);
  if (!kov::positive(bits, std::uint64_t{0x7FF0000000000000})) return -744.4400719213812;
  int k = -1023;
  if (bits < 0x0010000000000000) k -= kov::normalise(bits, 52);
  k += static_cast<int>(bits >> 52);
  const std::uint64_t m_bits = (bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000;
  const double m = std::bit_cast<double>(m_bits),
               m_high = std::bit_cast<double>(m_bits & ~std::uint64_t{0x1FFFFF});
  const double* row = kov::row_of(bits, 52);
  // 32 bits of m times 12 of c: exact, as is the sum of the high parts.
  const double r_high = m_high * row[0] - 1, r_low = (m - m_high) * row[0], r = r_high + r_low;
  const double r_lost = (r_high - r) + r_low, r2 = r * r;
  const double p = ((-0.24999999959276006 * r + 0.33333333333333787) * r - 0.5000000000000031) * r2 +
                   ((0.1428709072311373 * r - 0.1666800146149218) * r + 0.1999999994995557) * (r2 * r2 * r);
  const double high = k * ln2_high + row[1], low = k * ln2_low + row[2];
  return high + (r + (low + (r_lost + p)));
}

KOV_EXPORT double _kovdSqrt(double x) { return __builtin_sqrt(x); }

// By truncation, which does not depend on the rounding mode. The sign of a zero is that of x.
KOV_EXPORT double _kovdFloor(double x) {
  constexpr std::uint64_t sign = 1ull << 63, whole_from = 0x4330000000000000;  // 2^52
  if ((std::bit_cast<std::uint64_t>(x) & ~sign) >= whole_from) return x;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(x));
  return __builtin_copysign(whole > x ? whole - 1 : whole, x);
}
