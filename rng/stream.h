// What the units of the stream layer share: codes taken apart, and a family's four entries from one struct.
//
// A family is a struct that is its stream record: a BrngStream `head`, then the state, and
//
//   using word          what an integer fill writes; word64 where that has 64 bits
//   unit                a real number is a + x * (unit * (b - a)), x the output
//   draw(n, sink)       the next n outputs into any sink of rng/sinks.h, where they are made in registers; or
//   draw(n, words)      into an array, where they are made there
//   reals(n, r, a, b)   only where real numbers are not those of `unit`, which is not asked for then
//   seed(count, words)  and as far as the family has them leapfrog(k, streams), skip(count), skip_wide(words)
//
// all of which return a status, and
//
//   sound()             whether the generator can be in this state, as far as its fills and skips rely on it. Asked of
//                       loaded states, which may hold any bits, before the stream is handed out; chunks are there.
//
// KOV_FAMILY makes the exported entries from it, and name_sound for the registry. Inside the module these are called
// directly: the module is linked so that its own functions come first.
#pragma once
#include <arko/stream.h>

#include <algorithm>
#include <cstdint>
#include <span>

#include "rng/sinks.h"

#define KOV_EXPORT extern "C" [[gnu::visibility("default")]]

namespace [[gnu::visibility("hidden")]] kov {

using status = std::int32_t;

// A 64-bit output in the caller's array of 32-bit words, which need not be aligned to more than those.
struct [[gnu::packed, gnu::may_alias]] word64 {
  std::uint64_t value;
};

inline constexpr int family_shift = 20;  // codes have the family above, the member below

// The number within its family that a stream's code selects.
inline std::int32_t member_of(const BrngStream& stream) {
  std::int32_t row, member;
  __kovGetBrngBaseOffset(stream.Brng, &row, &member);
  return member;
}

// The row of a code, or null.
const BrngProperties* row_of_code(std::int32_t code);

// Bytes of a stream's record, and of the state behind the head. A record smaller than a head would not be one,
// whatever a registered row says.
inline std::size_t record_bytes(const BrngProperties& row) {
  return std::max(static_cast<std::size_t>(row.StateSize), sizeof(BrngStream));
}
inline std::size_t state_bytes(const BrngProperties& row) { return record_bytes(row) - sizeof(BrngStream); }

// Whether the generator of the row can be in the stream's state. A registered one is taken to bear any.
bool sound(const BrngProperties& row, const void* stream);

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

// A fill of 0 numbers or fewer is none.
template <class F> status fill_words(void* stream, std::int32_t n, void* r) {
  if (n <= 0) return KOV_STATUS_OK;
  F& f = *static_cast<F*>(stream);
  auto* words = static_cast<typename F::word*>(r);
  const word_sink<typename F::word> sink = {words};
  if constexpr (requires { f.draw(n, sink); })
    return f.draw(n, sink);
  else
    return f.draw(n, words);
}

template <class F, class T> real_sink<T> interval_of(T* r, double a, T b) {
  return {r, a, (b - a) * F::unit};
}

template <class F, class T> status fill_reals(void* stream, std::int32_t n, T* r, T a, T b) {
  if (n <= 0) return KOV_STATUS_OK;
  F& f = *static_cast<F*>(stream);
  if constexpr (requires { f.reals(n, r, a, b); }) {
    return f.reals(n, r, a, b);
  } else if constexpr (requires(real_sink<T> sink) { f.draw(n, sink); }) {
    return f.draw(n, interval_of<F>(r, a, b));
  } else {  // words go through a block that stays in the nearest cache
    const real_sink<T> sink = interval_of<F>(r, a, b);
    constexpr int block = 1024;
    typename F::word words[block];
    for (std::int32_t i = 0, m; i < n; i += m) {
      m = std::min(n - i, block);
      if (const status s = f.draw(m, words); s != KOV_STATUS_OK) return s;
      int j = 0;
      for (; m - j >= 4; j += 4)
        sink.put(i + j, _mm_loadu_si128(reinterpret_cast<const __m128i*>(words + j)));
      for (; j < m; j++) sink.put(i + j, words[j]);
    }
    return KOV_STATUS_OK;
  }
}

#define KOV_FAMILY(family, F)                                                                               \
  namespace kov {                                                                                           \
  bool family##_sound(const void* stream) { return static_cast<const F*>(stream)->sound(); }                \
  }                                                                                                         \
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
