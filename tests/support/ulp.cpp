#include "ulp.h"

namespace arko::test {
namespace {

// v as the sum of two numbers of a type.
template <class W> struct parts {
  W high, low;
  parts(mpfr_srcptr v, W (*get)(mpfr_srcptr, mpfr_rnd_t), int (*set)(mpfr_ptr, W, mpfr_rnd_t)) {
    mpfr_t rest;
    mpfr_init2(rest, mpfr_get_prec(v) + 64);
    high = get(v, MPFR_RNDN);
    set(rest, high, MPFR_RNDN);
    mpfr_sub(rest, v, rest, MPFR_RNDN);
    low = get(rest, MPFR_RNDN);
    mpfr_clear(rest);
  }
};

exact<float> from(const parts<double>& p) { return exact<float>(p.high, p.low); }
exact<double> from(const parts<long double>& p) { return exact<double>(p.high, p.low); }

}  // namespace

template <> exact<float>::exact(mpfr_srcptr v) : exact(from({v, mpfr_get_d, mpfr_set_d})) {}
template <> exact<double>::exact(mpfr_srcptr v) : exact(from({v, mpfr_get_ld, mpfr_set_ld})) {}

}  // namespace arko::test
