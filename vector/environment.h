// The floating-point environment of a kernel: entered, and left with the flags it raised, by a scope object.
//
// Arithmetic may not move across the change of the control words. Loads and stores cannot cross the fences; a
// value in a register could, so scalars that come by value are laundered after entry and results leave
// through memory.
#pragma once
#include <xmmintrin.h>

#include <cstdint>
#include <type_traits>

#include "frame/state.h"
#include "vector/elements.h"
#include "vector/lanes.h"

namespace zur::inline ZUR_WIDTH {

namespace fp {

inline constexpr unsigned masks = 0x1F80;   // all SSE exceptions masked
inline constexpr unsigned flags = 0x3F;     // the sticky flags
inline constexpr unsigned flush = 0x8040;   // flush-to-zero and denormals-are-zero
inline constexpr unsigned nearest = masks;  // control words by rounding
inline constexpr unsigned up = masks | 0x4000;
inline constexpr unsigned down = masks | 0x2000;
inline constexpr unsigned toward_zero = masks | 0x6000;
inline constexpr unsigned rounding = 0x6000;  // these bits are 0 to nearest

ZUR_INLINE void fence() { asm volatile("" ::: "memory"); }

// Keeps arithmetic on numbers that are at hand already behind what stands before. What is no number is left alone.
template <class T> ZUR_INLINE void launder(T& x) {
  if constexpr (std::is_floating_point_v<T>)
    asm volatile("" : "+x"(x));
  else if constexpr (!std::is_same_v<T, typename real_of<T>::type>)
    launder(x.re), launder(x.im);
}

// x * x at run time, so that the flags of an overflow or an underflow are raised.
template <class T> ZUR_INLINE T square(T x) {
  asm volatile("" : "+x"(x));
  return x * x;
}

// The flags alone.
template <class T> ZUR_INLINE void raise_by_square(T x) {
  const T unused = square(x);
  asm volatile("" : : "x"(unused));
}

// a / b at run time, so that the flag of a pole (-1 / 0) or of an invalid operation (0 / 0) is raised.
template <class T> ZUR_INLINE T divide(T a, T b) {
  asm volatile("" : "+x"(a), "+x"(b));
  return a / b;
}

// x * 1 at run time: a NaN comes out quiet, a denormal number is zero where denormals are.
template <class T> ZUR_INLINE T quieted(T x) {
  T one = 1;
  asm volatile("" : "+x"(x), "+x"(one));
  return x * one;
}

}  // namespace fp

// The x87 control word: exceptions masked, and with `wanted` not 0 its precision and rounding fixed too
// (0x23F: 53 bits, 0x33F: 64 bits, to nearest). Exception flags raised inside stay.
template <std::uint16_t wanted = 0> class x87_scope {
  static constexpr std::uint16_t fixed = wanted ? 0xF3F : 0x3F, value = wanted ? wanted : 0x3F;
  std::uint16_t saved_;
  bool changed_;

 public:
  ZUR_INLINE x87_scope() {
    asm volatile("fnstcw %0" : "=m"(saved_));
    changed_ = (saved_ & fixed) != value;
    if (changed_) [[unlikely]] {
      const std::uint16_t word = (saved_ & ~fixed) | value;
      asm volatile("fnclex\n\tfldcw %0" ::"m"(word));
    }
  }
  ZUR_INLINE ~x87_scope() {
    if (changed_) [[unlikely]] {
      asm volatile("fldcw %0" ::"m"(saved_));
    }
  }
  x87_scope(const x87_scope&) = delete;
};

// Nearly all kernels: SSE exceptions masked, rounding the kernel's own, denormals as the mode word says.
template <unsigned control = fp::nearest, std::uint16_t x87 = 0> class usual_environment {
  x87_scope<x87> x87_;
  std::uint32_t mode_;
  unsigned saved_;
  bool changed_;

 public:
  ZUR_INLINE usual_environment() : mode_(zur::mode()) {
    const bool flushing = (mode_ & ZUR_DENORMALS_MASK) == ZUR_FLUSH_DENORMALS;
    const unsigned want = control | (flushing ? fp::flush : 0);
    saved_ = _mm_getcsr();
    changed_ = (saved_ & 0xFFC0) != want;
    if (changed_) [[unlikely]]
      _mm_setcsr((saved_ & 0xFFFF003F) | want);
    fp::fence();
  }
  ZUR_INLINE ~usual_environment() {
    fp::fence();
    if (changed_) [[unlikely]]
      _mm_setcsr(saved_ | (_mm_getcsr() & fp::flags));
  }
  usual_environment(const usual_environment&) = delete;

  // The mode word as read on entry.
  std::uint32_t mode() const { return mode_; }
};

// Exceptions masked, nothing else: denormals stay the caller's and no mode word is read. The rounding is the caller's
// too, or to nearest.
template <bool to_nearest = false> class mask_only_environment {
  static constexpr unsigned changeable = fp::masks | (to_nearest ? fp::rounding : 0);
  x87_scope<> x87_;
  unsigned saved_;
  bool changed_;

 public:
  ZUR_INLINE mask_only_environment() {
    saved_ = _mm_getcsr();
    changed_ = (saved_ & changeable) != fp::nearest;
    if (changed_) [[unlikely]]
      _mm_setcsr((saved_ & ~changeable) | fp::nearest);
    fp::fence();
  }
  ZUR_INLINE ~mask_only_environment() {
    fp::fence();
    if (changed_) [[unlikely]]
      _mm_setcsr(saved_ | (_mm_getcsr() & fp::flags));
  }
  mask_only_environment(const mask_only_environment&) = delete;
  std::uint32_t mode() const { return 0; }
};

}  // namespace zur::inline ZUR_WIDTH
