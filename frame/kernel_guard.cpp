#include "frame/kernel_guard.h"

#include <xmmintrin.h>

namespace zur {
namespace {

constexpr std::uint16_t x87_masks = 0x3F;

std::uint16_t x87_control() {
  std::uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word)::"memory");
  return word;
}
// A flag that is still set would trap under a word that unmasks it.
void set_x87_control(std::uint16_t word) { asm volatile("fnclex\n\tfldcw %0" ::"m"(word) : "memory"); }

}  // namespace

kernel_guard::kernel_guard(ZurErrorCallBack callback)
    : thread_(state()),
      mode_(mode()),
      status_(thread_.status),
      callback_(thread_.callback),
      sse_(_mm_getcsr()),
      x87_(x87_control()) {
  set_x87_control(x87_ | x87_masks);
  if ((sse_ & _MM_MASK_MASK) != _MM_MASK_MASK) _mm_setcsr(sse_ | _MM_MASK_MASK);
  thread_.mode = (mode_ & ~ZUR_ERRMODE_MASK) | ZUR_ERRMODE_CALLBACK;
  thread_.callback = callback;
}

kernel_guard::~kernel_guard() {
  thread_.mode = mode_;
  thread_.status = status_;
  thread_.callback = callback_;
  set_x87_control(x87_);
  if ((sse_ & _MM_MASK_MASK) != _MM_MASK_MASK) _mm_setcsr(sse_);
}

}  // namespace zur
