// Real numbers of 256 bits on MPFR, for the programs that make tables and fit coefficients.
//
// Every operation rounds to nearest. Conversions to float and double round once, subnormal results included.
#pragma once

#include <mpfr.h>

#include <utility>

namespace arko::tools {

class real {
 public:
  static constexpr mpfr_prec_t precision = 256;

  real() {
    mpfr_init2(value_, precision);
    mpfr_set_zero(value_, 1);
  }
  real(int v) : real() { mpfr_set_si(value_, v, MPFR_RNDN); }
  real(long v) : real() { mpfr_set_si(value_, v, MPFR_RNDN); }
  real(float v) : real() { mpfr_set_flt(value_, v, MPFR_RNDN); }
  real(double v) : real() { mpfr_set_d(value_, v, MPFR_RNDN); }
  explicit real(const char* digits) : real() { mpfr_set_str(value_, digits, 10, MPFR_RNDN); }
  real(const real& o) : real() { mpfr_set(value_, o.value_, MPFR_RNDN); }
  real(real&& o) noexcept : real() { mpfr_swap(value_, o.value_); }
  real& operator=(const real& o) {
    mpfr_set(value_, o.value_, MPFR_RNDN);
    return *this;
  }
  real& operator=(real&& o) noexcept {
    mpfr_swap(value_, o.value_);
    return *this;
  }
  ~real() { mpfr_clear(value_); }

  mpfr_ptr get() { return value_; }
  mpfr_srcptr get() const { return value_; }

  explicit operator float() const { return mpfr_get_flt(value_, MPFR_RNDN); }
  explicit operator double() const { return mpfr_get_d(value_, MPFR_RNDN); }
  explicit operator long double() const { return mpfr_get_ld(value_, MPFR_RNDN); }
  explicit operator long() const { return mpfr_get_si(value_, MPFR_RNDN); }

  int sign() const { return mpfr_sgn(value_); }

  real& operator+=(const real& o) { return *this = *this + o; }
  real& operator-=(const real& o) { return *this = *this - o; }
  real& operator*=(const real& o) { return *this = *this * o; }
  real& operator/=(const real& o) { return *this = *this / o; }

  friend real operator-(const real& a) { return apply(mpfr_neg, a); }
  friend real operator+(const real& a, const real& b) { return apply(mpfr_add, a, b); }
  friend real operator-(const real& a, const real& b) { return apply(mpfr_sub, a, b); }
  friend real operator*(const real& a, const real& b) { return apply(mpfr_mul, a, b); }
  friend real operator/(const real& a, const real& b) { return apply(mpfr_div, a, b); }
  friend bool operator==(const real& a, const real& b) { return mpfr_equal_p(a.value_, b.value_) != 0; }
  friend bool operator<(const real& a, const real& b) { return mpfr_less_p(a.value_, b.value_) != 0; }
  friend bool operator>(const real& a, const real& b) { return b < a; }
  friend bool operator<=(const real& a, const real& b) { return mpfr_lessequal_p(a.value_, b.value_) != 0; }
  friend bool operator>=(const real& a, const real& b) { return b <= a; }

  // r = f(a) and r = f(a, b) for the functions of MPFR, which take the result first and a rounding last.
  template <class F> static real apply(F f, const real& a) {
    real r;
    f(r.value_, a.value_, MPFR_RNDN);
    return r;
  }
  template <class F> static real apply(F f, const real& a, const real& b) {
    real r;
    f(r.value_, a.value_, b.value_, MPFR_RNDN);
    return r;
  }

 private:
  mpfr_t value_;
};

inline real abs(const real& x) { return real::apply(mpfr_abs, x); }
inline real sqrt(const real& x) { return real::apply(mpfr_sqrt, x); }
inline real cbrt(const real& x) { return real::apply(mpfr_cbrt, x); }
inline real exp(const real& x) { return real::apply(mpfr_exp, x); }
inline real exp2(const real& x) { return real::apply(mpfr_exp2, x); }
inline real exp10(const real& x) { return real::apply(mpfr_exp10, x); }
inline real expm1(const real& x) { return real::apply(mpfr_expm1, x); }
inline real log(const real& x) { return real::apply(mpfr_log, x); }
inline real log2(const real& x) { return real::apply(mpfr_log2, x); }
inline real log10(const real& x) { return real::apply(mpfr_log10, x); }
inline real log1p(const real& x) { return real::apply(mpfr_log1p, x); }
inline real sin(const real& x) { return real::apply(mpfr_sin, x); }
inline real cos(const real& x) { return real::apply(mpfr_cos, x); }
inline real tan(const real& x) { return real::apply(mpfr_tan, x); }
inline real asin(const real& x) { return real::apply(mpfr_asin, x); }
inline real acos(const real& x) { return real::apply(mpfr_acos, x); }
inline real atan(const real& x) { return real::apply(mpfr_atan, x); }
inline real sinh(const real& x) { return real::apply(mpfr_sinh, x); }
inline real cosh(const real& x) { return real::apply(mpfr_cosh, x); }
inline real tanh(const real& x) { return real::apply(mpfr_tanh, x); }
inline real asinh(const real& x) { return real::apply(mpfr_asinh, x); }
inline real acosh(const real& x) { return real::apply(mpfr_acosh, x); }
inline real atanh(const real& x) { return real::apply(mpfr_atanh, x); }
inline real erf(const real& x) { return real::apply(mpfr_erf, x); }
inline real erfc(const real& x) { return real::apply(mpfr_erfc, x); }
inline real gamma(const real& x) { return real::apply(mpfr_gamma, x); }
inline real pow(const real& x, const real& y) { return real::apply(mpfr_pow, x, y); }
inline real atan2(const real& y, const real& x) { return real::apply(mpfr_atan2, y, x); }
inline real hypot(const real& x, const real& y) { return real::apply(mpfr_hypot, x, y); }
inline real pi() {
  real r;
  mpfr_const_pi(r.get(), MPFR_RNDN);
  return r;
}
inline real ln2() {
  real r;
  mpfr_const_log2(r.get(), MPFR_RNDN);
  return r;
}
inline real ldexp(const real& x, long n) {
  real r;
  mpfr_mul_2si(r.get(), x.get(), n, MPFR_RNDN);
  return r;
}
inline real floor(const real& x) {
  real r;
  mpfr_floor(r.get(), x.get());
  return r;
}
inline real nearbyint(const real& x) {  // halves go to even
  real r;
  mpfr_rint(r.get(), x.get(), MPFR_RNDN);
  return r;
}

// The binary exponent e with 2^e <= |x| < 2^(e + 1); x is not zero.
inline long exponent(const real& x) { return static_cast<long>(mpfr_get_exp(x.get())) - 1; }

// x rounded to a significand of `bits` bits, its exponent unbounded.
inline real round_to_bits(const real& x, int bits, mpfr_rnd_t mode = MPFR_RNDN) {
  real r;
  mpfr_t v;
  mpfr_init2(v, bits);
  mpfr_set(v, x.get(), mode);
  mpfr_set(r.get(), v, MPFR_RNDN);
  mpfr_clear(v);
  return r;
}

}  // namespace arko::tools
