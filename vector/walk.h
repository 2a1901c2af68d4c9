// How kernels walk arrays: blocks, tails, special lanes, strided twins. Written once for all of them.
//
// A kernel K is a small struct that says what a lane is:
//
//   using function = fn::Exp<T>;              the function it serves, for names and the twin's way back
//   using type = T;                           its element
//   static constexpr level slot = la;         its level, the first where it serves several
//   static constexpr int block = 16;          elements tested together; never less than one register
//   static constexpr T filler = T(0.75);      harmless argument for lanes past the end
//   results<T> fast(vec<T> x) const           the lanes' results, and which of them the routine must serve
//   int routine(const T& x, T& r) const       one special element; a status
//
// and, where they differ from the usual:
//
//   using environment = usual_environment<>;  see environment.h
//   static constexpr bool screened = false;   true: elements go out in order as the lanes are served, so that
//   a
//                                             callback sees every element before its own in the output array
//   static constexpr int inputs = 1, outputs = 1;
//   static constexpr T overflow, underflow;   arguments from which on the result is infinity or zero: the
//   lanes
//                                             that need no routine where the error mode is NOERR
//
// A kernel whose `fast` flags nothing needs no routine. Scalars that come by value are members of K.
#pragma once
#include <cstddef>
#include <utility>

#include "vector/environment.h"
#include "vector/functions.h"
#include "vector/lanes.h"
#include "vector/report.h"

namespace zur::inline ZUR_WIDTH {

// What `fast` says of a vector: the results of its lanes, and one bit for each lane that the routine must
// serve.
template <class T, int outputs = 1> struct results {
  vec<T> value[outputs];
  flags<T> flagged = {};
};

// What a kernel takes over unless it says otherwise.
struct usual_kernel {
  using environment = usual_environment<>;
  static constexpr bool screened = false;
  static constexpr int inputs = 1, outputs = 1;
};

namespace walk {

// An array of the caller's, by unit stride or by increment.
template <class E> struct dense {
  E* p;
  ZUR_INLINE E& operator[](int i) const { return p[i]; }
};
template <class E> struct strided {
  E* p;
  std::int32_t inc;
  ZUR_INLINE E& operator[](int i) const { return p[static_cast<std::ptrdiff_t>(i) * inc]; }
};

template <class K, template <class> class array> struct operands {
  array<const typename K::type> in[K::inputs];
  array<typename K::type> out[K::outputs];
};

template <class K> inline constexpr bool has_routine = requires { &K::routine; };
template <class K> inline constexpr bool saturates = requires {
  K::overflow;
  K::underflow;
};

template <class K> inline constexpr int lanes_of = lanes<typename K::type>;
template <class K> inline constexpr int block_vectors = K::block < lanes_of<K> ? 1 : K::block / lanes_of<K>;

// Arguments and results of a group of lanes, in memory.
template <class K, int elements> struct buffer {
  typename K::type in[K::inputs][elements], out[K::outputs][elements];
};

template <class K, std::size_t... I>
ZUR_INLINE auto fast(const K& k, const typename K::type* const (&in)[K::inputs], int i,
                     std::index_sequence<I...>) {
  return k.fast(load(in[I] + i)...);
}

// Runs K over `count` vectors; results and flags stay in registers.
template <class K, int count, class T = typename K::type>
ZUR_INLINE void run(const K& k, const T* const (&in)[K::inputs], vec<T> (&y)[K::outputs][count],
                    flags<T> (&flagged)[count]) {
  static_assert(count * lanes<T> <= 32);
#pragma GCC unroll 8
  for (int v = 0; v < count; v++) {
    const auto r = fast(k, in, v * lanes<T>, std::make_index_sequence<K::inputs>());
    flagged[v] = r.flagged;
    for (int o = 0; o < K::outputs; o++) y[o][v] = r.value[o];
  }
}

// Whether any lane is flagged, by one test for all vectors.
template <class T, int count> ZUR_INLINE bool any(const flags<T> (&flagged)[count]) {
  flags<T> all = flagged[0];
#pragma GCC unroll 8
  for (int v = 1; v < count; v++) all |= flagged[v];
  return bits<T>(all) != 0;
}

// The first m flags, lane 0 lowest.
template <class T, int count> ZUR_INLINE unsigned first_flags(const flags<T> (&flagged)[count], int m) {
  unsigned b = 0;
  for (int v = 0; v < count; v++) b |= bits<T>(flagged[v]) << (v * lanes<T>);
  return b & static_cast<unsigned>((std::uint64_t{1} << m) - 1);
}

template <class T>
ZUR_INLINE void report(int status, int i, dense<const T> a, dense<const T> b, dense<T> r1, dense<T> r2,
                       const char* name) {
  if constexpr (sizeof(T) == 4)
    ZurReportS(status, i, a.p, b.p, r1.p, r2.p, name);
  else
    ZurReportD(status, i, a.p, b.p, r1.p, r2.p, name);
}
template <class T>
ZUR_INLINE void report(int status, int i, strided<const T> a, strided<const T> b, strided<T> r1,
                       strided<T> r2, const char* name) {
  if constexpr (sizeof(T) == 4)
    ZurReportSI(status, i, a.p, a.inc, b.p, b.inc, r1.p, r1.inc, r2.p, r2.inc, name);
  else
    ZurReportDI(status, i, a.p, a.inc, b.p, b.inc, r1.p, r1.inc, r2.p, r2.inc, name);
}

template <class F, class E> constexpr const char* report_name(dense<E>) { return F::name; }
template <class F, class E> constexpr const char* report_name(strided<E>) { return F::twin_name; }

// Lanes whose result is infinity or zero whatever the exact argument: settled without the routine.
template <class K, int elements> unsigned saturate(unsigned flagged, buffer<K, elements>& lanes_in_memory) {
  using T = typename K::type;
  unsigned settled = 0;
  for (int i = 0; i < elements; i += lanes<T>) {
    const vec<T> x = load(&lanes_in_memory.in[0][i]), y = load(&lanes_in_memory.out[0][i]);
    const auto over = x >= K::overflow, under = x <= K::underflow;
    store(&lanes_in_memory.out[0][i], over ? all<T>(__builtin_inf()) : under ? vec<T>{} : y);
    settled |= bits<T>(where<T>(over | under)) << i;
  }
  return flagged & ~settled;
}

// Serves the flagged lanes of a group in ascending order and stores the group's first `m` lanes.
template <class K, int elements, template <class> class array>
[[gnu::noinline, gnu::cold]] void serve(const K& k, unsigned flagged, int m, int first, std::uint32_t mode,
                                        operands<K, array> arrays, buffer<K, elements>& group) {
  constexpr int last_in = K::inputs - 1, last_out = K::outputs - 1;
  if constexpr (saturates<K>)
    if ((mode & ZUR_ERRMODE_MASK) == ZUR_ERRMODE_NOERR) flagged = saturate<K>(flagged, group);
  int stored = 0;  // lanes before this one are in the output arrays for good
  const auto store_lane = [&](int i) {
    for (int o = 0; o < K::outputs; o++) arrays.out[o][first + i] = group.out[o][i];
  };
  for (; flagged; flagged &= flagged - 1) {
    const int i = __builtin_ctz(flagged);
    int status;
    if constexpr (K::inputs == 1 && K::outputs == 1)
      status = k.routine(group.in[0][i], group.out[0][i]);
    else if constexpr (K::outputs == 1)
      status = k.routine(group.in[0][i], group.in[1][i], group.out[0][i]);
    else
      status = k.routine(group.in[0][i], group.out[0][i], group.out[1][i]);
    if (status == ZUR_STATUS_OK) continue;
    if constexpr (K::screened)
      for (; stored < i; stored++) store_lane(stored);
    store_lane(i);
    report(status, first + i, arrays.in[0], arrays.in[last_in], arrays.out[0], arrays.out[last_out],
           report_name<typename K::function>(arrays.in[0]));
    if constexpr (K::screened)
      stored = i + 1;
    else
      for (int o = 0; o < K::outputs; o++) group.out[o][i] = arrays.out[o][first + i];
  }
  for (; stored < m; stored++) store_lane(stored);
}

// Elements `first` to `first + m` of any arrays, through a buffer; lanes past the end hold the filler.
template <class K, int count, template <class> class array, class T = typename K::type>
ZUR_INLINE void group(const K& k, int m, int first, std::uint32_t mode, const operands<K, array>& arrays) {
  constexpr int elements = count * lanes<T>;
  buffer<K, elements> lanes_in_memory;
  const T* in[K::inputs];
  for (int s = 0; s < K::inputs; s++) {
    in[s] = lanes_in_memory.in[s];
    for (int i = 0; i < elements; i++) lanes_in_memory.in[s][i] = i < m ? arrays.in[s][first + i] : K::filler;
  }
  vec<T> y[K::outputs][count];
  flags<T> flagged[count];
  run<K, count>(k, in, y, flagged);
  __builtin_memcpy(lanes_in_memory.out, y, sizeof y);
  if constexpr (has_routine<K>)
    if (any<T>(flagged)) [[unlikely]]
      return serve(k, first_flags<T>(flagged, m), m, first, mode, arrays, lanes_in_memory);
  for (int o = 0; o < K::outputs; o++)
    for (int i = 0; i < m; i++) arrays.out[o][first + i] = lanes_in_memory.out[o][i];
}

// A block with flagged lanes, from its arguments once more: so nothing of it must outlive the test.
template <class K, int count>
[[gnu::noinline, gnu::cold]] void special_block(const K& k, int first, std::uint32_t mode,
                                                operands<K, dense> arrays) {
  group<K, count>(k, count * lanes_of<K>, first, mode, arrays);
}

// Whole blocks of `count` vectors from element i on; returns the first element that is left.
template <class K, int count, class T = typename K::type>
ZUR_INLINE int blocks(const K& k, int n, int i, std::uint32_t mode, const operands<K, dense>& arrays) {
  constexpr int elements = count * lanes<T>;
  for (; n - i >= elements; i += elements) {
    const T* in[K::inputs];
    for (int s = 0; s < K::inputs; s++) in[s] = &arrays.in[s][i];
    vec<T> y[K::outputs][count];
    flags<T> flagged[count];
    run<K, count>(k, in, y, flagged);
    if constexpr (has_routine<K>)
      if (any<T>(flagged)) [[unlikely]] {
        special_block<K, count>(k, i, mode, arrays);
        continue;
      }
    for (int o = 0; o < K::outputs; o++)
#pragma GCC unroll 8
      for (int v = 0; v < count; v++) store(&arrays.out[o][i + v * lanes<T>], y[o][v]);
  }
  return i;
}

template <class K> ZUR_INLINE void unit(const K& k, int n, const operands<K, dense>& arrays) {
  const typename K::environment environment;
  int i = blocks<K, block_vectors<K>>(k, n, 0, environment.mode(), arrays);
  if constexpr (block_vectors < K >> 1) i = blocks<K, 1>(k, n, i, environment.mode(), arrays);
  if (i < n) group<K, 1>(k, n - i, i, environment.mode(), arrays);
}

template <class K> ZUR_INLINE void twin(const K& k, int n, const operands<K, strided>& arrays) {
  const typename K::environment environment;
  constexpr int count = block_vectors<K>, elements = count * lanes_of<K>;
  int i = 0;
  for (; n - i >= elements; i += elements) group<K, count>(k, elements, i, environment.mode(), arrays);
  if constexpr (count > 1)
    for (; n - i >= lanes_of<K>; i += lanes_of<K>) group<K, 1>(k, lanes_of<K>, i, environment.mode(), arrays);
  if (i < n) group<K, 1>(k, n - i, i, environment.mode(), arrays);
}

}  // namespace walk

// Kernels as table entries; the table's type chooses the form.

template <class K, class T = typename K::type> void kernel(std::int32_t n, const T* a, T* r) {
  walk::unit<K>(K{}, n, {{{a}}, {{r}}});
}
template <class K, class T = typename K::type> void kernel(std::int32_t n, const T* a, const T* b, T* r) {
  walk::unit<K>(K{}, n, {{{a}, {b}}, {{r}}});
}
template <class K, class T = typename K::type> void kernel(std::int32_t n, const T* a, T* r1, T* r2) {
  walk::unit<K>(K{}, n, {{{a}}, {{r1}, {r2}}});
}

// Strided twins; with all increments 1 they call the unit-stride kernel of their level.

template <class K, class T = typename K::type>
void twin(std::int32_t n, const T* a, std::int32_t inca, T* r, std::int32_t incr) {
  if (inca == 1 && incr == 1) return K::function::table[K::slot](n, a, r);
  walk::twin<K>(K{}, n, {{{a, inca}}, {{r, incr}}});
}
template <class K, class T = typename K::type>
void twin(std::int32_t n, const T* a, std::int32_t inca, const T* b, std::int32_t incb, T* r,
          std::int32_t incr) {
  if (inca == 1 && incb == 1 && incr == 1) return K::function::table[K::slot](n, a, b, r);
  walk::twin<K>(K{}, n, {{{a, inca}, {b, incb}}, {{r, incr}}});
}
template <class K, class T = typename K::type>
void twin(std::int32_t n, const T* a, std::int32_t inca, T* r1, std::int32_t incr1, T* r2,
          std::int32_t incr2) {
  if (inca == 1 && incr1 == 1 && incr2 == 1) return K::function::table[K::slot](n, a, r1, r2);
  walk::twin<K>(K{}, n, {{{a, inca}}, {{r1, incr1}, {r2, incr2}}});
}

}  // namespace zur::inline ZUR_WIDTH
