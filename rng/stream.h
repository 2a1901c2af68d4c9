// What the units of the stream layer share: codes taken apart, and a family's four entries from one struct.
//
// A family is a struct that is its stream record: a BrngStream `head`, then the state, and
//
//   using word          what an integer fill writes; word64 where that has 64 bits
//   using number        what real numbers are made of: std::uint32_t, std::uint64_t or double
//   unit                a real number is a + number * (unit * (b - a))
//   draw(n, r)          the next n outputs as words; as numbers too, where those are another type
//   seed(count, words)  and as far as the family has them leapfrog(k, streams), skip(count), skip_wide(words)
//
// all of which return a status. KOV_FAMILY makes the exported entries from it. Inside the module these are called
// directly: the module is linked so that its own functions come first.
#pragma once
#include <arko/stream.h>

#include <algorithm>
#include <cstdint>
#include <span>

#define KOV_EXPORT extern "C" [[gnu::visibility("default")]]

namespace [[gnu::visibility("hidden")]] kov {

using status = std::int32_t;

// A 64-bit output in the caller's array of 32-bit words.
typedef std::uint64_t word64 __attribute__((aligned(4), may_alias));

inline constexpr int family_shift = 20;  // codes have the family above, the member below

// The number within its family that a stream's code selects.
inline std::int32_t member_of(const BrngStream& stream) {
  std::int32_t row, member;
  __kovGetBrngBaseOffset(stream.Brng, &row, &member);
  return member;
}

// r[i] = a + x[i] s in double; x[i] is converted with one rounding at most.
void to_reals(int n, const std::uint32_t* x, double* r, double a, double s);
void to_reals(int n, const std::uint32_t* x, float* r, double a, double s);
void to_reals(int n, const std::uint64_t* x, double* r, double a, double s);
void to_reals(int n, const std::uint64_t* x, float* r, double a, double s);
void to_reals(int n, const double* x, double* r, double a, double s);
void to_reals(int n, const double* x, float* r, double a, double s);

template <class F> status init(std::int32_t method, void* stream, std::int32_t count, const void* params) {
  F& f = *static_cast<F*>(stream);
  switch (method) {
    case KOV_INIT_NEW:
      return f.seed(count, static_cast<const std::uint32_t*>(params));
    case KOV_INIT_LEAPFROG:
      if constexpr (requires { f.leapfrog(0, 0); })
        return f.leapfrog(*static_cast<const std::int32_t*>(params), count);
      return KOV_STATUS_NO_LEAPFROG;
    case KOV_INIT_SKIPAHEAD:
      if constexpr (requires { f.skip(0); }) return f.skip(*static_cast<const std::int64_t*>(params));
      return KOV_STATUS_NO_SKIPAHEAD;
    case KOV_INIT_SKIPAHEADEX:
      if constexpr (requires { f.skip_wide({}); })
        return f.skip_wide(
            {static_cast<const std::uint64_t*>(params), static_cast<std::size_t>(std::max(count, 0))});
      return KOV_STATUS_NO_SKIPAHEADEX;
    default:
      return KOV_STATUS_BAD_METHOD;
  }
}

template <class F> status fill_words(void* stream, std::int32_t n, void* r) {
  return static_cast<F*>(stream)->draw(n, static_cast<typename F::word*>(r));
}

// Numbers go through a block that stays in the nearest cache.
template <class F, class T> status fill_reals(void* stream, std::int32_t n, T* r, T a, T b) {
  F& f = *static_cast<F*>(stream);
  constexpr int block = 1024;
  typename F::number x[block];
  const double low = a, scale = (b - low) * F::unit;
  for (; n > 0; n -= block, r += block) {
    const int m = std::min(n, block);
    if (const status s = f.draw(m, x); s != KOV_STATUS_OK) return s;
    to_reals(m, x, r, low, scale);
  }
  return KOV_STATUS_OK;
}

#define KOV_FAMILY(family, F)                                                                               \
  KOV_EXPORT std::int32_t __kovBRng##family##InitStream(std::int32_t method, void* stream,                  \
                                                        std::int32_t count, const void* params) {           \
    return kov::init<F>(method, stream, count, params);                                                     \
  }                                                                                                         \
  KOV_EXPORT std::int32_t __kovdBRng##family(void* stream, std::int32_t n, double* r, double a, double b) { \
    return kov::fill_reals<F>(stream, n, r, a, b);                                                          \
  }                                                                                                         \
  KOV_EXPORT std::int32_t __kovsBRng##family(void* stream, std::int32_t n, float* r, float a, float b) {    \
    return kov::fill_reals<F>(stream, n, r, a, b);                                                          \
  }                                                                                                         \
  KOV_EXPORT std::int32_t __koviBRng##family(void* stream, std::int32_t n, std::uint32_t* r) {              \
    return kov::fill_words<F>(stream, n, r);                                                                \
  }

}  // namespace kov
