// Argument forms of the functions, for expansions of functions.def. E is the element type, R its real type.
//
// ZUR_FORM_x(E, R): parameters of a unit-stride kernel; ZUR_FORM_x_TWIN(E, R): those of its strided twin.
// ZUR_PASS_x, ZUR_PASS_x_TWIN: the arguments by name. ZUR_EXPORTED_x(E, R): parameters of the exported function.
// They are the kernel's, but for the pack functions: their kernels take a flag last, which their exported
// functions always set. ZUR_ELEMENTS_x(E, R): elements of arguments and of results.
#pragma once

#define ZUR_ELEMENTS_unary(E, R) E, E
#define ZUR_ELEMENTS_to_real(E, R) E, R
#define ZUR_ELEMENTS_from_real(E, R) R, E
#define ZUR_ELEMENTS_binary(E, R) E, E
#define ZUR_ELEMENTS_two_results(E, R) E, E
#define ZUR_ELEMENTS_scalar(E, R) E, E
#define ZUR_ELEMENTS_linear(E, R) E, E
#define ZUR_ELEMENTS_pack_step(E, R) E, E
#define ZUR_ELEMENTS_pack_at(E, R) E, E
#define ZUR_ELEMENTS_unpack_step(E, R) E, E
#define ZUR_ELEMENTS_unpack_at(E, R) E, E

#define ZUR_FORM_unary(E, R) int32_t n, const E *a, E *r
#define ZUR_EXPORTED_unary ZUR_FORM_unary
#define ZUR_PASS_unary n, a, r
#define ZUR_FORM_unary_TWIN(E, R) int32_t n, const E *a, int32_t inca, E *r, int32_t incr
#define ZUR_PASS_unary_TWIN n, a, inca, r, incr

#define ZUR_FORM_to_real(E, R) int32_t n, const E *a, R *r
#define ZUR_EXPORTED_to_real ZUR_FORM_to_real
#define ZUR_PASS_to_real n, a, r
#define ZUR_FORM_to_real_TWIN(E, R) int32_t n, const E *a, int32_t inca, R *r, int32_t incr
#define ZUR_PASS_to_real_TWIN n, a, inca, r, incr

#define ZUR_FORM_from_real(E, R) int32_t n, const R *a, E *r
#define ZUR_EXPORTED_from_real ZUR_FORM_from_real
#define ZUR_PASS_from_real n, a, r
#define ZUR_FORM_from_real_TWIN(E, R) int32_t n, const R *a, int32_t inca, E *r, int32_t incr
#define ZUR_PASS_from_real_TWIN n, a, inca, r, incr

#define ZUR_FORM_binary(E, R) int32_t n, const E *a, const E *b, E *r
#define ZUR_EXPORTED_binary ZUR_FORM_binary
#define ZUR_PASS_binary n, a, b, r
#define ZUR_FORM_binary_TWIN(E, R) \
  int32_t n, const E *a, int32_t inca, const E *b, int32_t incb, E *r, int32_t incr
#define ZUR_PASS_binary_TWIN n, a, inca, b, incb, r, incr

#define ZUR_FORM_two_results(E, R) int32_t n, const E *a, E *r1, E *r2
#define ZUR_EXPORTED_two_results ZUR_FORM_two_results
#define ZUR_PASS_two_results n, a, r1, r2
#define ZUR_FORM_two_results_TWIN(E, R) \
  int32_t n, const E *a, int32_t inca, E *r1, int32_t incr1, E *r2, int32_t incr2
#define ZUR_PASS_two_results_TWIN n, a, inca, r1, incr1, r2, incr2

#define ZUR_FORM_scalar(E, R) int32_t n, const E *a, E b, E *r
#define ZUR_EXPORTED_scalar ZUR_FORM_scalar
#define ZUR_PASS_scalar n, a, b, r
#define ZUR_FORM_scalar_TWIN(E, R) int32_t n, const E *a, int32_t inca, E b, E *r, int32_t incr
#define ZUR_PASS_scalar_TWIN n, a, inca, b, r, incr

#define ZUR_FORM_linear(E, R) int32_t n, const E *a, const E *b, E scalea, E shifta, E scaleb, E shiftb, E *r
#define ZUR_EXPORTED_linear ZUR_FORM_linear
#define ZUR_PASS_linear n, a, b, scalea, shifta, scaleb, shiftb, r
#define ZUR_FORM_linear_TWIN(E, R)                                                                       \
  int32_t n, const E *a, int32_t inca, const E *b, int32_t incb, E scalea, E shifta, E scaleb, E shiftb, \
      E *r, int32_t incr
#define ZUR_PASS_linear_TWIN n, a, inca, b, incb, scalea, shifta, scaleb, shiftb, r, incr

// One array is dense; the other is walked by an increment, or at indices or where a mask is set.
#define ZUR_FORM_pack_step(E, R) int64_t n, const E *a, int64_t inca, E *y, int32_t flag
#define ZUR_EXPORTED_pack_step(E, R) int64_t n, const E *a, int64_t inca, E *y
#define ZUR_PASS_pack_step n, a, inca, y, 1

#define ZUR_FORM_pack_at(E, R) int64_t n, const E *a, const void *at, E *y, int32_t flag
#define ZUR_EXPORTED_pack_at(E, R) int64_t n, const E *a, const int32_t *at, E *y
#define ZUR_PASS_pack_at n, a, at, y, 1

#define ZUR_FORM_unpack_step(E, R) int64_t n, const E *a, E *y, int64_t incy, int32_t flag
#define ZUR_EXPORTED_unpack_step(E, R) int64_t n, const E *a, E *y, int64_t incy
#define ZUR_PASS_unpack_step n, a, y, incy, 1

#define ZUR_FORM_unpack_at(E, R) int64_t n, const E *a, E *y, const void *at, int32_t flag
#define ZUR_EXPORTED_unpack_at(E, R) int64_t n, const E *a, E *y, const int32_t *at
#define ZUR_PASS_unpack_at n, a, y, at, 1
