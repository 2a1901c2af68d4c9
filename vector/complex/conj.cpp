// The conjugate: the sign bit of the imaginary part changed, of a NaN too.
#include "vector/walk.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T> struct conj : usual_kernel<fn::Conj, complex<T>> {
  static constexpr int block = 64 / sizeof(T);

  static results<complex<T>> fast(complex_lanes<T> z) {
    return {{{z.re, as<vec<T>>(as<pattern<T>>(z.im) ^ sign_bit<T>())}}};
  }
};

}  // namespace

TABLES_BY_LEVEL(cConj, conj<float>, conj<float>, conj<float>)
TABLES_BY_LEVEL(zConj, conj<double>, conj<double>, conj<double>)

}  // namespace zur::inline ZUR_WIDTH
