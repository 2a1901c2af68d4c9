// The floating-point control and status words of the processor, and a scope that puts them back.
#pragma once
#include <xmmintrin.h>

#include <cstdint>

namespace arko::test {

inline std::uint16_t x87_control() {
  std::uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word)::"memory");
  return word;
}
inline std::uint16_t x87_status() {
  std::uint16_t word;
  asm volatile("fnstsw %0" : "=m"(word)::"memory");
  return word;
}
inline void set_x87_control(std::uint16_t word) { asm volatile("fnclex\n\tfldcw %0" ::"m"(word) : "memory"); }

// Everything in one: what a caller has before a kernel runs, and what it finds after.
struct fp_words {
  unsigned sse = 0x1F80;          // exceptions masked, to nearest, no flags
  std::uint16_t control = 0x37F;  // exceptions masked, 64 bits, to nearest
  std::uint16_t status = 0;       // read only: setting the words clears the x87 flags

  unsigned sse_control() const { return sse & 0xFFC0; }
  unsigned sse_flags() const { return sse & 0x3F; }
  unsigned x87_flags() const { return status & 0x3F; }

  static fp_words now() {
    asm volatile("" ::: "memory");
    return {_mm_getcsr(), x87_control(), x87_status()};
  }
  void set() const {
    set_x87_control(control);
    asm volatile("" ::: "memory");
    _mm_setcsr(sse);
    asm volatile("" ::: "memory");
  }
};

// Runs `f` under `words` and returns the words after it; the words before are back on return.
template <class F> fp_words under(const fp_words& words, F&& f) {
  const fp_words before = fp_words::now();
  words.set();
  f();
  const fp_words after = fp_words::now();
  before.set();
  return after;
}

}  // namespace arko::test
