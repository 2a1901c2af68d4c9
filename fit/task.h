// The task record of data fitting, and the plain views of it that kernels work on.
#pragma once
#include <arko/fit.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#define FIT_EXPORT extern "C" [[gnu::visibility("default")]]

namespace [[gnu::visibility("hidden")]] fit {

using status = std::int32_t;
using std::int32_t;
using std::int64_t;

// Hints and types are tested by these bits.
inline constexpr int64_t uniform_bit =
    4;                                   // of xhint, sitehint and limit hints; of ic_type: knots are uniform
inline constexpr int64_t knots_bit = 8;  // of ic_type

// The first and last breakpoint that a bucket of sites lies between.
struct bucket {
  int32_t low, high;
};

// In front of each table that a task owns: what it was made for. Edits change counts, hints and breakpoints under
// it, and the record, whose layout callers know, has no room for them. The table is as aligned as its block.
struct alignas(128) made_for {
  int64_t pointers = 0;  // in the table
  int64_t in_first = 0;  // functions that have their values in the array of the first pointer
  int64_t nx = 0;        // the breakpoints of buckets
  const void* x = nullptr;
};
template <class P> made_for& head_of(P* table) {
  return reinterpret_cast<made_for*>(const_cast<std::remove_const_t<P>*>(table))[-1];
}

// All arrays are of float or of double numbers, as is_double says.
struct task {
  int32_t wide_ints;
  std::int8_t tag;
  int32_t is_double;
  int32_t dimension;
  int64_t nx;
  const void* x;
  int64_t xhint;
  int64_t ny;
  const void** y_table;  // owned: a pointer a function, or one to interleaved values
  int64_t yhint;
  int64_t s_order, s_type;
  int64_t ic_type;
  const void* ic;
  int64_t bc_type;
  const void* bc;
  void** coeff_table;  // owned: a pointer a function
  int64_t coeff_hint;
  int32_t caller_flag;
  int64_t bucket_count;
  bucket* bucket_table;  // owned: bucket_count + 2 of them
  float bucket_scale_s;
  double bucket_scale_d;
};

// The layout is known to callers: pointers and 64-bit fields at multiples of 8 where they are of that size.
#define FIT_OFFSET(field, offset) static_assert(sizeof(void*) != 8 || offsetof(task, field) == offset)
FIT_OFFSET(tag, 4);
FIT_OFFSET(is_double, 8);
FIT_OFFSET(nx, 16);
FIT_OFFSET(ny, 40);
FIT_OFFSET(yhint, 56);
FIT_OFFSET(ic_type, 80);
FIT_OFFSET(bc, 104);
FIT_OFFSET(coeff_hint, 120);
FIT_OFFSET(caller_flag, 128);
FIT_OFFSET(bucket_count, 136);
FIT_OFFSET(bucket_scale_s, 152);
FIT_OFFSET(bucket_scale_d, 160);
#undef FIT_OFFSET
static_assert(sizeof(void*) != 8 || sizeof(task) == 168);

inline bool is_uniform(const task& t) { return t.xhint & uniform_bit; }

// Breakpoints: all of them, or the two ends of a uniform grid.
template <class T> struct partition {
  int64_t n;
  const T* x;
  bool uniform;

  explicit partition(const task& t) : n(t.nx), x(static_cast<const T*>(t.x)), uniform(is_uniform(t)) {}
  T last() const { return x[uniform ? 1 : n - 1]; }
};

// Counts of breakpoints and cells have 32 bits inside.
inline constexpr int64_t most_breakpoints = INT32_MAX;

// The array that holds a function's values, or its row of coefficients; null where none was told for it.
inline const void* told_values(const task& t, int64_t f) {
  if (!t.y_table) return nullptr;
  if (t.yhint == FIT_Y_BYSITE) return f < head_of(t.y_table).in_first ? t.y_table[0] : nullptr;
  return f < head_of(t.y_table).pointers ? t.y_table[f] : nullptr;
}
inline void* told_row(const task& t, int64_t f) {
  return t.coeff_table && f < head_of(t.coeff_table).pointers ? t.coeff_table[f] : nullptr;
}
// Whether all functions have them.
inline bool has_values(const task& t) {
  for (int64_t f = 0; f < t.ny; f++)
    if (!told_values(t, f)) return false;
  return true;
}
inline bool has_rows(const task& t) {
  for (int64_t f = 0; f < t.ny; f++)
    if (!told_row(t, f)) return false;
  return true;
}

// The values of one function that has some: value i at y[i * stride].
template <class T> struct values {
  const T* y;
  std::ptrdiff_t stride;
  T operator[](std::ptrdiff_t i) const { return y[i * stride]; }
};
template <class T> values<T> values_of(const task& t, int64_t f) {
  if (t.yhint == FIT_Y_BYSITE) return {static_cast<const T*>(t.y_table[0]) + f, t.ny};
  return {static_cast<const T*>(t.y_table[f]), 1};
}

template <class T> T* coefficients_of(const task& t, int64_t f) { return static_cast<T*>(t.coeff_table[f]); }
template <class T> const T* conditions_of(const void* array) { return static_cast<const T*>(array); }

template <class T, class Task> auto& bucket_scale(Task& t) {
  if constexpr (sizeof(T) == sizeof(float))
    return t.bucket_scale_s;
  else
    return t.bucket_scale_d;
}

inline constexpr int64_t bucket_count(int64_t nx) {
  return nx / 16 < 16 ? 16 : nx / 16 > 1024 ? 1024 : nx / 16;
}

// The bucket of a point, from 0 to the count of buckets, and never less than that of a smaller point. A product that
// is no number, or beyond the integers, where the range of the breakpoints overflows or is denormal, is kept in.
template <class T> int32_t bucket_of(T point, T first, T scale, int64_t buckets) {
  T q = (point - first) * scale;
  q = q > 0 ? q : 0;
  q = q < static_cast<T>(buckets) ? q : static_cast<T>(buckets);
  return static_cast<int32_t>(q);
}

}  // namespace fit
