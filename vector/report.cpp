#include "vector/report.h"

#include <arko/core.h>
#include <errno.h>

#include <bit>
#include <cstddef>

#include "frame/state.h"

namespace zur {
namespace {

static_assert(sizeof(ZurErrorContext) == 144 && offsetof(ZurErrorContext, Arg1) == 8 &&
              offsetof(ZurErrorContext, FuncNameLen) == 104 && offsetof(ZurErrorContext, Arg1Im) == 112);

// Statuses -2 to 4: their errno and their x87 exception bit.
struct condition {
  int number;
  std::uint16_t flag;
};
constexpr condition conditions[] = {
    {EACCES, 0}, {EINVAL, 0}, {0, 0}, {EDOM, 0x01}, {ERANGE, 0x04}, {ERANGE, 0x08}, {ERANGE, 0x10},
};
static_assert(EDOM == 33 && ERANGE == 34 && EINVAL == 22 && EACCES == 13 && EFAULT == 14);

constexpr condition condition_of(std::int32_t status) {
  return status >= -2 && status <= 4 ? conditions[status + 2] : condition{EFAULT, 0};
}

constexpr bool has_values(std::int32_t status) {
  return status != ZUR_STATUS_BAD_ARGUMENT && status != ZUR_STATUS_BAD_ACCESS;
}

// Whether `second` repeats `first` or was never there.
bool single(double first, double second) {
  const auto bits = std::bit_cast<std::uint64_t>(second);
  return bits == std::bit_cast<std::uint64_t>(first) || bits << 1 == 0;
}

void print(const ZurErrorContext& c) {
  const auto message = [&](std::int32_t code) { arko_serv_print(1, code, 1, c.FuncName); };
  const auto value = [&](std::int32_t code, double v) { arko_serv_print(1, code, 2, c.Index, v); };
  switch (c.Code) {
    case ZUR_STATUS_OK:
      return;
    case ZUR_STATUS_BAD_ARGUMENT:
      arko_serv_print(1, 748, 2, c.FuncName, c.Index);
      return;
    case ZUR_STATUS_BAD_ACCESS:
      message(749);
      return;
    case ZUR_STATUS_DOMAIN:
      message(750);
      break;
    case ZUR_STATUS_SINGULARITY:
      message(751);
      break;
    case ZUR_STATUS_OVERFLOW:
      message(752);
      break;
    case ZUR_STATUS_UNDERFLOW:
      message(753);
      break;
    default:
      message(754);
      break;
  }
  // The codes of values run on through the four combinations of one or two inputs and results.
  const bool one_argument = single(c.Arg1, c.Arg2), one_result = single(c.Res1, c.Res2);
  std::int32_t code = one_argument ? (one_result ? 755 : 757) : (one_result ? 760 : 763);
  value(code++, c.Arg1);
  if (!one_argument) value(code++, c.Arg2);
  value(code++, c.Res1);
  if (!one_result) value(code, c.Res2);
}

// The x87 environment as fnstenv leaves it in memory.
struct x87_environment {
  std::uint32_t control, status, rest[5];
};

// Leaves `flag` set with all exceptions masked; where the mode word unmasks it, the second load delivers the
// trap.
void raise_x87(std::uint16_t flag, std::uint32_t mode) {
  x87_environment saved;
  asm volatile("fnstenv %0" : "=m"(saved));
  x87_environment armed = saved;
  constexpr struct {
    std::uint32_t trap, mask;
  } traps[] = {{ZUR_TRAP_INVALID, 0x01},
               {ZUR_TRAP_DIVBYZERO, 0x04},
               {ZUR_TRAP_OVERFLOW, 0x08},
               {ZUR_TRAP_UNDERFLOW, 0x10}};
  for (const auto& t : traps)
    if (mode & t.trap) armed.control &= ~t.mask;
  armed.status = (armed.status & ~0x3Fu) | flag;
  saved.control |= 0x3F;
  saved.status |= flag;
  asm volatile("fldenv %0\n\tfldenv %1" ::"m"(armed), "m"(saved));
}

void ZurEmitError(const ZurErrorContext& c) {
  const std::uint32_t mode = zur::mode();
  const condition what = condition_of(c.Code);
  if (mode & ZUR_ERRMODE_ERRNO) errno = what.number;
  if (mode & ZUR_ERRMODE_STDERR) print(c);
  if (mode & ZUR_ERRMODE_EXCEPT) raise_x87(what.flag, mode);
}

// A number as a double by its pattern: a conversion would quieten a signalling NaN, raise flags, and lose a denormal
// number where those are flushed.
double widened(double x) { return x; }
double widened(float x) {
  const auto bits = std::bit_cast<std::uint32_t>(x);
  const std::uint64_t sign = std::uint64_t{bits >> 31} << 63, size = bits & 0x7FFFFFFF;
  if (size >= 0x7F800000) return std::bit_cast<double>(sign | (size << 29) | 0x7FF0000000000000);
  if (size == 0) return std::bit_cast<double>(sign);
  // A denormal number brings its leading bit to the place of the hidden one.
  const int up = size < 0x00800000 ? std::countl_zero(size) - 40 : 0;
  return std::bit_cast<double>(sign | (((size << up) << 29) + (std::uint64_t(896 - up) << 52)));
}

// A result from the record: `was` still, unless the callback wrote another.
template <class T> T narrowed(double now, T was) {
  return std::bit_cast<std::uint64_t>(now) == std::bit_cast<std::uint64_t>(widened(was))
             ? was
             : static_cast<T>(now);
}

template <class T> void read(T x, double& re, double&) { re = widened(x); }
template <class T> void read(const complex<T>& x, double& re, double& im) {
  re = widened(x.re), im = widened(x.im);
}
template <class T> T written(T was, double re, double) { return narrowed(re, was); }
template <class T> complex<T> written(const complex<T>& was, double re, double im) {
  return {narrowed(re, was.re), narrowed(im, was.im)};
}

}  // namespace

template <class A, class R>
void report(std::int32_t status, std::int32_t index, const A* a, const A& arg1, const A& arg2, R& r1, R& r2,
            const char* function) {
  const std::uint32_t mode = zur::mode();
  const std::uint32_t byte = mode & ZUR_ERRMODE_MASK;
  if (byte == ZUR_ERRMODE_NOERR) return;
  thread_state& thread = state();
  thread.status = status;
  if (byte == ZUR_ERRMODE_IGNORE) return;

  ZurErrorContext c = {};
  c.Code = status;
  c.Index = index;
  if (thread.interf_input_vector) {
    constexpr int shift = std::bit_width(sizeof(A)) - 1;
    const auto bytes =
        reinterpret_cast<std::intptr_t>(a) - reinterpret_cast<std::intptr_t>(thread.interf_input_vector);
    c.Index += static_cast<std::int32_t>(bytes >> shift);
  }
  for (; c.FuncNameLen < 47 && function[c.FuncNameLen]; c.FuncNameLen++)
    c.FuncName[c.FuncNameLen] = function[c.FuncNameLen];
  const R was1 = r1, was2 = r2;
  if (has_values(status)) {
    read(arg1, c.Arg1, c.Arg1Im);
    read(arg2, c.Arg2, c.Arg2Im);
    read(was1, c.Res1, c.Res1Im);
    read(was2, c.Res2, c.Res2Im);
  }
  if ((mode & ZUR_ERRMODE_CALLBACK) && thread.callback && thread.callback(&c) != 0) return;
  constexpr std::uint32_t emitting = 0x2F00;
  if (mode & emitting) ZurEmitError(c);
  if (has_values(status)) {
    r2 = written(was2, c.Res2, c.Res2Im);
    r1 = written(was1, c.Res1, c.Res1Im);
  }
}

#define ZUR_REPORTER(A, R) \
  template void report(std::int32_t, std::int32_t, const A*, const A&, const A&, R&, R&, const char*);
#define ZUR_REPORTERS(T)               \
  ZUR_REPORTER(T, T)                   \
  ZUR_REPORTER(complex<T>, complex<T>) \
  ZUR_REPORTER(complex<T>, T)          \
  ZUR_REPORTER(T, complex<T>)
ZUR_REPORTERS(float)
ZUR_REPORTERS(double)

}  // namespace zur
