// How kernels walk arrays: blocks, tails, special lanes, strided twins. Written once for all of them.
//
// A kernel K is a small struct that says what a lane is. It takes over what it does not say from
// usual_kernel<fn::Exp, T, la>: the function that it serves, its element, its level, the first where it serves several.
//
//   static constexpr int block = 16;          elements tested together; never less than one register
//   results<T> fast(vec<T> x) const           the lanes' results, and which of them the routine must serve
//   int routine(const T& x, T& r) const       one special element; a status
//
// and, where they differ from the usual:
//
//   using environment = usual_environment<>;  see environment.h
//   static constexpr bool screened = false;   true: elements go out in order as lanes are served, so that a
//                                             callback sees all before its own in the output array
//   static constexpr int inputs = 1, outputs = 1;
//   static constexpr int together = 16;       elements, more than a block, whose flags one test covers; with any
//                                             set, the blocks go one by one
//   static constexpr T overflow, underflow;   from these arguments on the result is infinity or zero, and a
//                                             lane needs no routine where the error mode is NOERR
//
// A kernel whose `fast` flags nothing needs no routine. Scalars that come by value are members of K: see `chosen`.
//
// Elements may be complex: `fast` has complex_lanes<T> then, `routine` complex<T>. Which of arguments and results are is told
// by the function's form.
#pragma once
#include <cstddef>
#include <type_traits>
#include <utility>

#include "vector/complex_lanes.h"
#include "vector/environment.h"
#include "vector/functions.h"
#include "vector/lanes.h"
#include "vector/report.h"

namespace zur::inline ZUR_WIDTH {

// What `fast` says of a vector: the results of its lanes, and one bit for each lane that the routine must
// serve.
template <class E, int outputs = 1> struct results {
  using number = typename real_of<E>::type;
  element_lanes<E> value[outputs];
  flags<number> flagged;

  results() = default;  // nothing is set: setting many would keep them in memory
  ZUR_INLINE results(const element_lanes<E> (&v)[outputs], flags<number> f = flags<number>()) : flagged(f) {
    for (int o = 0; o < outputs; o++) value[o] = v[o];
  }
};

// What a kernel takes over unless it says otherwise. Its type is that of the numbers in a lane.
template <template <class> class root, class E, level L = la> struct usual_kernel {
  using function = root<E>;
  using type = typename real_of<E>::type;
  using argument = typename function::argument;
  using result = typename function::result;
  static constexpr level slot = L;
  using environment = usual_environment<>;
  static constexpr bool screened = false;
  static constexpr int inputs = 1, outputs = 1;
  static constexpr int together = 0;
};

// A kernel as a strided twin runs it: in blocks of 8 or 16, with reports before a block is stored.
template <class K> struct as_twin : K {
  static constexpr int block = K::block < 8 ? 8 : K::block > 16 ? 16 : K::block, together = 0;
  static constexpr bool screened = false;
};

namespace walk {

// An array of the caller's, by unit stride or by increment.
template <class E> struct dense {
  static constexpr bool contiguous = true;
  E* p;
  ZUR_INLINE E& operator[](int i) const { return p[i]; }
  ZUR_INLINE dense from(int first) const { return {p + first}; }
};
template <class E> dense(E*) -> dense<E>;
template <class E> struct strided {
  E* p;
  std::int32_t inc;
  ZUR_INLINE E& operator[](int i) const { return p[static_cast<std::ptrdiff_t>(i) * inc]; }
  ZUR_INLINE strided from(int first) const { return {&(*this)[first], inc}; }
};
template <class E> strided(E*, std::int32_t) -> strided<E>;

template <class K, template <class> class array> struct operands {
  array<const typename K::argument> in[K::inputs];
  array<typename K::result> out[K::outputs];
};

template <class K> inline constexpr bool has_routine = requires { &K::routine; };
template <class K> inline constexpr bool saturates = requires {
  K::overflow;
  K::underflow;
};

// at(0), at(1) and so on as a vector; unless it is whole, only the first m are read. The first of them fills the other
// lanes, so that nothing is raised for elements that are not there.
template <bool whole, class T, class At> ZUR_INLINE vec<T> gather(int m, At at) {
  const T first = at(0);
  return [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
    return vec<T>{(whole || int{i} < m ? at(i) : first)...};
  }
  (std::make_index_sequence<lanes<T>>());
}

// Elements from the beginning of an array.
template <bool whole, class E, template <class> class array>
ZUR_INLINE element_lanes<E> take(array<const E> a, int m) {
  using T = typename real_of<E>::type;
  if constexpr (whole && requires { array<const E>::contiguous; }) return load(&a[0]);
  if constexpr (std::is_same_v<E, T>)
    return gather<whole, T>(m, [&](int i) { return a[i]; });
  else
    return {gather<whole, T>(m, [&](int i) { return a[i].re; }),
            gather<whole, T>(m, [&](int i) { return a[i].im; })};
}

template <bool whole, class E, template <class> class array>
ZUR_INLINE void put(array<E> r, int m, element_lanes<E> v) {
  if constexpr (whole && requires { array<E>::contiguous; }) return store(&r[0], v);
  constexpr int count = lanes<typename real_of<E>::type>;
  E lane[count];
  store(lane, v);
#pragma GCC unroll 16
  for (int i = 0; i < count; i++)
    if (whole || i < m) r[i] = lane[i];
}

// Vectors of a block.
template <class K>
inline constexpr int block_vectors =
    K::block < lanes<typename K::type> ? 1 : K::block / lanes<typename K::type>;

template <class K, std::size_t... s>
ZUR_INLINE auto fast(const K& k, const element_lanes<typename K::argument> (&x)[K::inputs],
                     std::index_sequence<s...>) {
  return k.fast(x[s]...);
}

// `count` vectors of arguments, results and flags, in registers.
template <class K, int count, class T = typename K::type> struct group {
  static_assert(count * lanes<T> <= 32);
  element_lanes<typename K::argument> x[count][K::inputs];
  results<typename K::result, K::outputs> y[count];

  template <bool whole, template <class> class array>
  ZUR_INLINE group(const K& k, int m, int first, const operands<K, array>& arrays,
                   std::bool_constant<whole>) {
#pragma GCC unroll 8
    for (int v = 0; v < count; v++) {
      const int past = v * lanes<T>;
#pragma GCC unroll 2
      for (int s = 0; s < K::inputs; s++)
        x[v][s] = take<whole, typename K::argument>(arrays.in[s].from(first + past), m);
      y[v] = fast(k, x[v], std::make_index_sequence<K::inputs>());
    }
  }

  // Whether any lane is flagged, by one test for all vectors.
  ZUR_INLINE bool special() const {
    flags<T> any = y[0].flagged;
#pragma GCC unroll 8
    for (int v = 1; v < count; v++) any |= y[v].flagged;
    return bits<T>(any) != 0;
  }
};

template <class F, class E> constexpr const char* report_name(dense<E>) { return F::name; }
template <class F, class E> constexpr const char* report_name(strided<E>) { return F::twin_name; }

// m elements, at most a block, with flagged lanes among them; through memory, vector by vector. Flagged lanes go to the
// routine and the reporter in ascending order; then the elements are stored.
template <class K, template <class> class array>
[[gnu::noinline, gnu::cold]] void special_group(const K& k, int m, int first, std::uint32_t mode,
                                                operands<K, array> arrays) {
  using T = typename K::type;
  constexpr int room = block_vectors<K> * lanes<T>;
  static_assert(room <= 32);
  typename K::argument in[K::inputs][room];
  typename K::result out[K::outputs][room];
  unsigned flagged = 0;
#pragma GCC unroll 1
  for (int past = 0; past < m; past += lanes<T>) {
    element_lanes<typename K::argument> x[K::inputs];
    for (int s = 0; s < K::inputs; s++) {
      x[s] = take<false, typename K::argument>(arrays.in[s].from(first + past), m - past);
      store(&in[s][past], x[s]);
    }
    const auto y = fast(k, x, std::make_index_sequence<K::inputs>());
    for (int o = 0; o < K::outputs; o++) store(&out[o][past], y.value[o]);
    flags<T> left = y.flagged;
    unsigned settled = 0;
    if constexpr (saturates<K>)
      if ((mode & ZUR_ERRMODE_MASK) == ZUR_ERRMODE_NOERR) {
        const vec<T> number =
            as<vec<T>>(as<ints<T>>(x[0]) & (x[0] == x[0]));  // an order of NaN would be invalid
        const auto over = number >= K::overflow, under = number <= K::underflow;
        store(&out[0][past], over ? all<T>(__builtin_inf()) : under ? vec<T>{} : y.value[0]);
        settled = bits<T>(where<T>(over | under));
      }
    flagged |= (bits<T>(left) & ~settled) << past;
  }
  flagged &= static_cast<unsigned>((std::uint64_t{1} << m) - 1);

  int stored = 0;  // lanes before this one are in the output arrays for good
  const auto store_lane = [&](int i) {
    for (int o = 0; o < K::outputs; o++) arrays.out[o][first + i] = out[o][i];
  };
  for (; flagged; flagged &= flagged - 1) {
    const int i = __builtin_ctz(flagged);
    const int status = [&]<std::size_t... s, std::size_t... o>(std::index_sequence<s...>,
                                                               std::index_sequence<o...>) {
      return k.routine(in[s][i]..., out[o][i]...);
    }
    (std::make_index_sequence<K::inputs>(), std::make_index_sequence<K::outputs>());
    if (status == ZUR_STATUS_OK) continue;
    if constexpr (K::screened)
      for (; stored < i; stored++) store_lane(stored);
    store_lane(i);
    zur::report(status, first + i, arrays.in[0].p, in[0][i], in[K::inputs - 1][i], arrays.out[0][first + i],
                arrays.out[K::outputs - 1][first + i], report_name<typename K::function>(arrays.in[0]));
    if constexpr (K::screened) stored = i + 1;
    if constexpr (!K::screened)
      for (int o = 0; o < K::outputs; o++) out[o][i] = arrays.out[o][first + i];
  }
  for (; stored < m; stored++) store_lane(stored);
}

// `count` vectors of elements from `first` on, a part of a block or several; or the first m lanes of one.
template <class K, int count, bool whole = true, template <class> class array>
ZUR_INLINE void step(const K& k, int first, std::uint32_t mode, const operands<K, array>& arrays,
                     int m = lanes<typename K::type>) {
  constexpr int vector = lanes<typename K::type>;
  const group<K, count> g(k, m, first, arrays, std::bool_constant<whole>());
  if constexpr (has_routine<K>)
    if (g.special()) [[unlikely]] {
      constexpr int alone = count < block_vectors<K> ? count : block_vectors<K>;
      for (int v = 0; v < count; v += alone)
        special_group(k, whole ? alone * vector : m, first + v * vector, mode, arrays);
      return;
    }
#pragma GCC unroll 8
  for (int v = 0; v < count; v++)
#pragma GCC unroll 2
    for (int o = 0; o < K::outputs; o++)
      put<whole, typename K::result>(arrays.out[o].from(first + v * vector), m, g.y[v].value[o]);
}

// The elements after the last whole vector, once a call. Out of line it costs half a nanosecond; kernels without a routine
// are so short that this would be a tenth of a call.
template <class K, template <class> class array>
[[gnu::noinline]] void last_step(const K& k, int m, int first, std::uint32_t mode,
                                 const operands<K, array>& arrays) {
  step<K, 1, false>(k, first, mode, arrays, m);
}

// Whole blocks, then whole vectors, then what is left, in an environment that is entered.
template <class K, template <class> class array>
ZUR_INLINE void elements(const K& k, int n, std::uint32_t mode, const operands<K, array>& arrays) {
  constexpr int vector = lanes<typename K::type>;
  constexpr int vectors = block_vectors<K>, block = vectors * vector;
  constexpr int count = K::together < block ? vectors : K::together / vector, elements = count * vector;
  int i = 0;
  for (; n - i >= elements; i += elements) step<K, count>(k, i, mode, arrays);
  if constexpr (count > vectors && vectors > 1)
    for (; n - i >= block; i += block) step<K, vectors>(k, i, mode, arrays);
  if constexpr (count > 1)
    for (; n - i >= vector; i += vector) step<K, 1>(k, i, mode, arrays);
  if (i >= n) return;
  if constexpr (has_routine<K>)
    last_step(k, n - i, i, mode, arrays);
  else
    step<K, 1, false>(k, i, mode, arrays, n - i);
}

template <class K, template <class> class array>
ZUR_INLINE void all_elements(int n, const operands<K, array>& arrays) {
  const typename K::environment environment;
  elements(K{}, n, environment.mode(), arrays);
}

// A function with scalars that come by value: C::choose(run, arrays and scalars...) calls run(kernel, arrays...) with the
// kernel that they ask for and the arrays that it reads. Arithmetic on scalars stays inside the environment.
template <class C, template <class> class array, class... Rest>
ZUR_INLINE void chosen(int n, array<typename C::result> r, Rest... rest) {
  if (n <= 0) return;
  const typename C::environment environment;
  (fp::launder(rest), ...);
  const auto run = [&](const auto& k, auto... in) {
    using K = std::remove_cvref_t<decltype(k)>;
    if constexpr (requires { decltype(r)::contiguous; })
      elements<K, array>(k, n, environment.mode(), {{in...}, {r}});
    else
      elements<as_twin<K>, array>(as_twin<K>{k}, n, environment.mode(), {{in...}, {r}});
  };
  C::choose(run, rest...);
}

}  // namespace walk

// Kernels as table entries; the table's type chooses the form.

template <class K, class A = typename K::argument, class R = typename K::result>
void kernel(std::int32_t n, const A* a, R* r) {
  walk::all_elements<K, walk::dense>(n, {{{a}}, {{r}}});
}
template <class K, class A = typename K::argument, class R = typename K::result>
void kernel(std::int32_t n, const A* a, const A* b, R* r) {
  walk::all_elements<K, walk::dense>(n, {{{a}, {b}}, {{r}}});
}
template <class K, class A = typename K::argument, class R = typename K::result>
void kernel(std::int32_t n, const A* a, R* r1, R* r2) {
  walk::all_elements<K, walk::dense>(n, {{{a}}, {{r1}, {r2}}});
}
template <class C, class A = typename C::argument, class R = typename C::result>
void kernel(std::int32_t n, const A* a, A b, R* r) {
  walk::chosen<C, walk::dense>(n, {r}, walk::dense{a}, b);
}
template <class C, class A = typename C::argument, class R = typename C::result>
void kernel(std::int32_t n, const A* a, const A* b, A s1, A s2, A s3, A s4, R* r) {
  walk::chosen<C, walk::dense>(n, {r}, walk::dense{a}, walk::dense{b}, s1, s2, s3, s4);
}

// Strided twins of a kernel; with all increments 1 they call the unit-stride kernel of their level.

template <class K, class A = typename K::argument, class R = typename K::result>
void twin(std::int32_t n, const A* a, std::int32_t inca, R* r, std::int32_t incr) {
  if (inca == 1 && incr == 1) return K::function::table[K::slot](n, a, r);
  walk::all_elements<as_twin<K>, walk::strided>(n, {{{a, inca}}, {{r, incr}}});
}
template <class K, class A = typename K::argument, class R = typename K::result>
void twin(std::int32_t n, const A* a, std::int32_t inca, const A* b, std::int32_t incb, R* r,
          std::int32_t incr) {
  if (inca == 1 && incb == 1 && incr == 1) return K::function::table[K::slot](n, a, b, r);
  walk::all_elements<as_twin<K>, walk::strided>(n, {{{a, inca}, {b, incb}}, {{r, incr}}});
}
template <class K, class A = typename K::argument, class R = typename K::result>
void twin(std::int32_t n, const A* a, std::int32_t inca, R* r1, std::int32_t incr1, R* r2,
          std::int32_t incr2) {
  if (inca == 1 && incr1 == 1 && incr2 == 1) return K::function::table[K::slot](n, a, r1, r2);
  walk::all_elements<as_twin<K>, walk::strided>(n, {{{a, inca}}, {{r1, incr1}, {r2, incr2}}});
}
template <class C, class A = typename C::argument, class R = typename C::result>
void twin(std::int32_t n, const A* a, std::int32_t inca, A b, R* r, std::int32_t incr) {
  if (inca == 1 && incr == 1) return C::function::table[C::slot](n, a, b, r);
  walk::chosen<C, walk::strided>(n, {r, incr}, walk::strided{a, inca}, b);
}
template <class C, class A = typename C::argument, class R = typename C::result>
void twin(std::int32_t n, const A* a, std::int32_t inca, const A* b, std::int32_t incb, A s1, A s2, A s3,
          A s4, R* r, std::int32_t incr) {
  if (inca == 1 && incb == 1 && incr == 1) return C::function::table[C::slot](n, a, b, s1, s2, s3, s4, r);
  walk::chosen<C, walk::strided>(n, {r, incr}, walk::strided{a, inca}, walk::strided{b, incb}, s1, s2, s3,
                                 s4);
}

}  // namespace zur::inline ZUR_WIDTH
