#include "tests/support/registry.h"

#include <complex>
#include <stdexcept>

#include "vector/expand.h"

namespace arko::test {

namespace forms {

// Calls `f` with parameters of just the arguments' types.
template <class... P> void call(entry f, P... p) { reinterpret_cast<void (*)(P...)>(f)(p...); }
template <class E> const E* in(const arguments& c, int k = 0) { return static_cast<const E*>(c.in[k]); }
template <class E> E* out(const arguments& c, int k = 0) { return static_cast<E*>(c.out[k]); }
template <class E> E scalar_value(int k) { return static_cast<E>(scalars[k]); }

// A form by how a unit-stride function and a twin are called.
template <class I, class O, class R>
constexpr form made(int inputs, int outputs, void (*unit)(entry, const arguments&),
                    void (*twin)(entry, const arguments&)) {
  return {inputs, outputs, sizeof(R), sizeof(I), sizeof(O), unit, twin};
}
template <class R, class I, class O>
inline constexpr form one_to_one = made<I, O, R>(
    1, 1, [](entry f, const arguments& c) { call(f, c.n, in<I>(c), out<O>(c)); },
    [](entry f, const arguments& c) { call(f, c.n, in<I>(c), c.inc_in[0], out<O>(c), c.inc_out[0]); });
template <class E, class R> inline constexpr form unary = one_to_one<R, E, E>;
template <class E, class R> inline constexpr form to_real = one_to_one<R, E, R>;
template <class E, class R> inline constexpr form from_real = one_to_one<R, R, E>;

template <class E, class R>
inline constexpr form binary = made<E, E, R>(
    2, 1, [](entry f, const arguments& c) { call(f, c.n, in<E>(c), in<E>(c, 1), out<E>(c)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], in<E>(c, 1), c.inc_in[1], out<E>(c), c.inc_out[0]);
    });

template <class E, class R>
inline constexpr form two_results = made<E, E, R>(
    1, 2, [](entry f, const arguments& c) { call(f, c.n, in<E>(c), out<E>(c), out<E>(c, 1)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], out<E>(c), c.inc_out[0], out<E>(c, 1), c.inc_out[1]);
    });

template <class E, class R>
inline constexpr form scalar = made<E, E, R>(
    1, 1, [](entry f, const arguments& c) { call(f, c.n, in<E>(c), scalar_value<E>(0), out<E>(c)); },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], scalar_value<E>(0), out<E>(c), c.inc_out[0]);
    });

template <class E, class R>
inline constexpr form linear = made<E, E, R>(
    2, 1,
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), in<E>(c, 1), scalar_value<E>(0), scalar_value<E>(1), scalar_value<E>(2),
           scalar_value<E>(3), out<E>(c));
    },
    [](entry f, const arguments& c) {
      call(f, c.n, in<E>(c), c.inc_in[0], in<E>(c, 1), c.inc_in[1], scalar_value<E>(0), scalar_value<E>(1),
           scalar_value<E>(2), scalar_value<E>(3), out<E>(c), c.inc_out[0]);
    });

// The pack functions do not go element by element: nothing here calls them.
template <class E, class R> inline constexpr form pack_step{0, 0, sizeof(R), 0, 0, {}, {}};
template <class E, class R> inline constexpr form pack_at = pack_step<E, R>;
template <class E, class R> inline constexpr form unpack_step = pack_step<E, R>;
template <class E, class R> inline constexpr form unpack_at = pack_step<E, R>;
}  // namespace forms

const std::vector<function>& functions() {
#define ARKO_ANY(f) reinterpret_cast<entry>(f)
#define ARKO_ELEMENT_s float, float
#define ARKO_ELEMENT_d double, double
#define ARKO_ELEMENT_c std::complex<float>, float
#define ARKO_ELEMENT_z std::complex<double>, double
#define ARKO_ROW(type, F, report, strided, form)                                           \
  {#F,                                                                                     \
   report,                                                                                 \
   #type[0],                                                                               \
   strided,                                                                                \
   &forms::form<ARKO_ELEMENT_##type>,                                                      \
   {ARKO_ANY(ZUR_JOIN(_zur##F, ZUR_LA_##type)), ARKO_ANY(_zur##F), ARKO_ANY(_zur##F##_HA), \
    ARKO_ANY(ZUR_JOIN(_zur##F, ZUR_EP_##type))},                                           \
   {ARKO_ANY(arko_zur_kernel_##F##_ttab[0]), ARKO_ANY(arko_zur_kernel_##F##_ttab[1]),      \
    ARKO_ANY(arko_zur_kernel_##F##_ttab[2])},                                              \
   arko_zur_kernel_##F##_ctab},
#define KERNELS(type, root, form, sharing, twin, ...)      \
  ARKO_ROW(type, type##root, "v" #type #root, false, form) \
  ZUR_IF_TWIN_##twin(ARKO_ROW(type, type##root##I, "v" #type #root ZUR_TWIN_REPORTS_##twin, true, form))
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

std::vector<kernel> kernels_of(const std::string& function) {
  auto found = kernels();
  std::erase_if(found, [&](const kernel& k) { return k.f->name != function && k.f->name != function + "I"; });
  if (found.size() != 6) throw std::logic_error("no function and twin " + function);
  return found;
}

}  // namespace arko::test
