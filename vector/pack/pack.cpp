// Pack and unpack: elements between a dense array and one that is walked by an increment, at indices or where
// a mask is set. Nothing is computed, so there is neither environment nor report.
//
// With `flag` 1 counts and increments are the low 32 bits of their arguments, and indices and masks are 32-bit
// integers; with any other flag all are 64-bit.
#include <cstring>

#include "vector/functions.h"

namespace zur::inline ZUR_WIDTH {
namespace {

// An element by its bits.
template <class E> struct image { std::uint64_t words[sizeof(E) / 8]; };
template <> struct image<float> { std::uint32_t word; };

template <class E> ZUR_INLINE void move(const E* from, E* to) {
  image<E> e;
  std::memcpy(&e, from, sizeof e);
  std::memcpy(to, &e, sizeof e);
}

// Calls loop(n, step, at) with the integers' width that the flag tells.
template <class Loop>
ZUR_INLINE void by_width(std::int64_t n, std::int64_t step, const void* at, std::int32_t flag, Loop loop) {
  if (flag == 1)
    loop(static_cast<std::int32_t>(n), static_cast<std::int32_t>(step), static_cast<const std::int32_t*>(at));
  else
    loop(n, step, static_cast<const std::int64_t*>(at));
}

template <class E> void pack_i(std::int64_t n, const E* a, std::int64_t inca, E* y, std::int32_t flag) {
  by_width(n, inca, nullptr, flag, [=](std::int64_t count, std::int64_t step, auto) {
    for (std::int64_t i = 0; i < count; i++) move(a + i * step, y + i);
  });
}
template <class E> void unpack_i(std::int64_t n, const E* a, E* y, std::int64_t incy, std::int32_t flag) {
  by_width(n, incy, nullptr, flag, [=](std::int64_t count, std::int64_t step, auto) {
    for (std::int64_t i = 0; i < count; i++) move(a + i, y + i * step);
  });
}

template <class E> void pack_v(std::int64_t n, const E* a, const void* index, E* y, std::int32_t flag) {
  by_width(n, 0, index, flag, [=](std::int64_t count, auto, auto at) {
    for (std::int64_t i = 0; i < count; i++) move(a + at[i], y + i);
  });
}
template <class E> void unpack_v(std::int64_t n, const E* a, E* y, const void* index, std::int32_t flag) {
  by_width(n, 0, index, flag, [=](std::int64_t count, auto, auto at) {
    for (std::int64_t i = 0; i < count; i++) move(a + i, y + at[i]);
  });
}

template <class E> void pack_m(std::int64_t n, const E* a, const void* mask, E* y, std::int32_t flag) {
  by_width(n, 0, mask, flag, [=](std::int64_t count, auto, auto at) {
    for (std::int64_t i = 0, k = 0; i < count; i++)
      if (at[i]) move(a + i, y + k++);
  });
}
template <class E> void unpack_m(std::int64_t n, const E* a, E* y, const void* mask, std::int32_t flag) {
  by_width(n, 0, mask, flag, [=](std::int64_t count, auto, auto at) {
    for (std::int64_t i = 0, k = 0; i < count; i++)
      if (at[i]) move(a + k++, y + i);
  });
}

}  // namespace

#define TABLES(root, kernel)                                                                 \
  TABLE(s##root) = {kernel<float>, kernel<float>, kernel<float>};                            \
  TABLE(d##root) = {kernel<double>, kernel<double>, kernel<double>};                         \
  TABLE(c##root) = {kernel<complex<float>>, kernel<complex<float>>, kernel<complex<float>>}; \
  TABLE(z##root) = {kernel<complex<double>>, kernel<complex<double>>, kernel<complex<double>>};
TABLES(PackI, pack_i)
TABLES(PackV, pack_v)
TABLES(PackM, pack_m)
TABLES(UnpackI, unpack_i)
TABLES(UnpackV, unpack_v)
TABLES(UnpackM, unpack_m)

}  // namespace zur::inline ZUR_WIDTH
