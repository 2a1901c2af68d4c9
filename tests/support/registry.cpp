#include "tests/support/registry.h"

#include <complex>

namespace arko::test {

namespace forms {

// Calls `f` with parameters of just the arguments' types.
template <class... P> void call(entry f, P... p) { reinterpret_cast<void (*)(P...)>(f)(p...); }
template <class E> const E* in(const arguments& c, int k = 0) { return static_cast<const E*>(c.in[k]); }
template <class E> E* out(const arguments& c, int k = 0) { return static_cast<E*>(c.out[k]); }
template <class E> E scalar_value(int k) { return static_cast<E>(scalars[k]); }

template <class R, class I, class O> constexpr form one_to_one(const char* name) {
  return {name,
          1,
          1,
          sizeof(R),
          sizeof(I),
          sizeof(O),
          [](entry f, const arguments& c) { call(f, c.n, in<I>(c), out<O>(c)); },
          [](entry f, const arguments& c) { call(f, c.n, in<I>(c), c.inc_in[0], out<O>(c), c.inc_out[0]); }};
}
template <class E, class R> inline constexpr form unary = one_to_one<R, E, E>("unary");
template <class E, class R> inline constexpr form to_real = one_to_one<R, E, R>("to_real");
template <class E, class R> inline constexpr form from_real = one_to_one<R, R, E>("from_real");

template <class E, class R>
inline constexpr form binary{
    "binary",
    2,
    1,
    sizeof(R),
    sizeof(E),
    sizeof(E),
    [](entry f, const arguments& c) { call(f, c.n, in<E>(c), in<E>(c, 1), out<E>(c)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], in<E>(c, 1), c.inc_in[1], out<E>(c), c.inc_out[0]);
    }};

template <class E, class R>
inline constexpr form two_results{
    "two_results",
    1,
    2,
    sizeof(R),
    sizeof(E),
    sizeof(E),
    [](entry f, const arguments& c) { call(f, c.n, in<E>(c), out<E>(c), out<E>(c, 1)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], out<E>(c), c.inc_out[0], out<E>(c, 1), c.inc_out[1]);
    }};

template <class E, class R>
inline constexpr form scalar{
    "scalar",
    1,
    1,
    sizeof(R),
    sizeof(E),
    sizeof(E),
    [](entry f, const arguments& c) { call(f, c.n, in<E>(c), scalar_value<E>(0), out<E>(c)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], scalar_value<E>(0), out<E>(c), c.inc_out[0]);
    }};

template <class E, class R>
inline constexpr form linear{"linear",
                             2,
                             1,
                             sizeof(R),
                             sizeof(E),
                             sizeof(E),
                             [](entry f, const arguments& c) {
                               call(f, c.n, in<E>(c), in<E>(c, 1), scalar_value<E>(0), scalar_value<E>(1),
                                    scalar_value<E>(2), scalar_value<E>(3), out<E>(c));
                             },
                             [](entry f, const arguments& c) {
                               call(f, c.n, in<E>(c), c.inc_in[0], in<E>(c, 1), c.inc_in[1],
                                    scalar_value<E>(0), scalar_value<E>(1), scalar_value<E>(2),
                                    scalar_value<E>(3), out<E>(c), c.inc_out[0]);
                             }};

// The pack functions do not go element by element: nothing here calls them.
template <class E, class R> inline constexpr form pack_step{"pack_step", 0, 0, sizeof(R), 0, 0, {}, {}};
template <class E, class R> inline constexpr form pack_at{"pack_at", 0, 0, sizeof(R), 0, 0, {}, {}};
template <class E, class R> inline constexpr form unpack_step{"unpack_step", 0, 0, sizeof(R), 0, 0, {}, {}};
template <class E, class R> inline constexpr form unpack_at{"unpack_at", 0, 0, sizeof(R), 0, 0, {}, {}};
}  // namespace forms

const std::vector<function>& functions() {
#define ARKO_LA_s _21
#define ARKO_LA_c _21
#define ARKO_LA_d _50
#define ARKO_LA_z _50
#define ARKO_EP_s _11
#define ARKO_EP_c _11
#define ARKO_EP_d _26
#define ARKO_EP_z _26
#define ARKO_JOIN_(a, b) a##b
#define ARKO_JOIN(a, b) ARKO_JOIN_(a, b)
#define ARKO_ANY(f) reinterpret_cast<entry>(f)
#define ARKO_ELEMENT_s float, float
#define ARKO_ELEMENT_d double, double
#define ARKO_ELEMENT_c std::complex<float>, float
#define ARKO_ELEMENT_z std::complex<double>, double
#define ARKO_ROW(type, F, report, strided, form, sharing)                                    \
  {#F,                                                                                       \
   report,                                                                                   \
   #type[0],                                                                                 \
   strided,                                                                                  \
   &forms::form<ARKO_ELEMENT_##type>,                                                        \
   #sharing,                                                                                 \
   {ARKO_ANY(ARKO_JOIN(_zur##F, ARKO_LA_##type)), ARKO_ANY(_zur##F), ARKO_ANY(_zur##F##_HA), \
    ARKO_ANY(ARKO_JOIN(_zur##F, ARKO_EP_##type))},                                           \
   {ARKO_ANY(arko_zur_kernel_##F##_ttab[0]), ARKO_ANY(arko_zur_kernel_##F##_ttab[1]),        \
    ARKO_ANY(arko_zur_kernel_##F##_ttab[2])},                                                \
   arko_zur_kernel_##F##_ctab},
#define ARKO_TWIN_none(type, root, form, sharing)
#define ARKO_TWIN_I(type, root, form, sharing) \
  ARKO_ROW(type, type##root##I, "v" #type #root "I", true, form, sharing)
#define ARKO_TWIN__(type, root, form, sharing) \
  ARKO_ROW(type, type##root##I, "v" #type #root, true, form, sharing)
#define KERNELS(type, root, form, sharing, twin, ...)               \
  ARKO_ROW(type, type##root, "v" #type #root, false, form, sharing) \
  ARKO_TWIN_##twin(type, root, form, sharing)
  static const std::vector<function> all = {
#include "vector/functions.def"
  };
  return all;
}

std::vector<kernel> kernels() {
  std::vector<kernel> all;
  for (const function& f : functions())
    for (int level = 0; level < 3 && f.how->inputs; level++) all.push_back({&f, level});
  return all;
}

}  // namespace arko::test
