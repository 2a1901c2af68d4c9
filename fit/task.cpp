// The life of a task: creation, edits, queries, the table of search buckets, deletion.
//
// Buckets divide the range of the breakpoints into M equal parts. Of bucket k the table tells the last breakpoint in
// a lower bucket and the first in a higher one: every site in the bucket lies between them. The pair behind the
// last bucket is for x[nx-1] itself.

#include "fit/task.h"

#include <cstring>

#include "core/block.h"

namespace fit { namespace {

using arko::block;

template <class... Values> bool among(int64_t value, Values... accepted) {
  return ((value == accepted) || ...);
}
bool is_xhint(int64_t hint) { return among(hint, FIT_X_NOHINT, FIT_X_IRREGULAR, FIT_X_QUASI, FIT_X_UNIFORM); }
bool is_count_of_breakpoints(int64_t nx) { return nx >= 2 && nx <= most_breakpoints; }
bool is_storage_hint(int64_t hint) { return among(hint, 0, 16, 32, 128); }  // of values and of coefficients

template <class P> void release(P* table) {
  if (table) arko_serv_deallocate(&head_of(table));
}

// Releases the old table first, and leaves null where there is no memory for the new one.
template <class P> status renew(P*& table, int64_t count, const made_for& what) {
  constexpr std::size_t in_head = sizeof(made_for) / sizeof(P);
  release(table);
  table = nullptr;
  block<P> b(in_head + static_cast<std::size_t>(count));
  if (!b) return FIT_ERR_MEMORY;
  table = b.release() + in_head;
  head_of(table) = what;
  std::memset(table, 0, static_cast<std::size_t>(count) * sizeof(P));
  return FIT_OK;
}

template <class T> status set_values(task& t, int64_t ny, int64_t yhint, const T* y) {
  const int64_t pointers = yhint == FIT_Y_BYSITE ? 1 : ny;
  const made_for what = {.pointers = pointers, .in_first = yhint == FIT_Y_PTRS ? 1 : ny};
  if (renew(t.y_table, pointers, what) != FIT_OK) return FIT_ERR_MEMORY;
  t.y_table[0] = y;
  for (int64_t f = 1; f < pointers && yhint != FIT_Y_PTRS; f++) t.y_table[f] = y + f * t.nx;
  return FIT_OK;
}

template <class T> status set_coefficients(task& t, int64_t hint, T* c) {
  if (t.ny == 0) return FIT_ERR_NY;
  if (renew(t.coeff_table, t.ny, {.pointers = t.ny}) != FIT_OK) return FIT_ERR_MEMORY;
  const int64_t cells = t.s_type == FIT_TYPE_KNOT_QUADRATIC ? t.nx : t.nx - 1;
  t.coeff_table[0] = c;
  if (hint != FIT_C_PTRS)
    for (int64_t f = 1; f < t.ny; f++) t.coeff_table[f] = c + f * t.s_order * cells;
  return FIT_OK;
}

template <class T> status build_buckets(task& t) {
  constexpr int32_t mark = -1;
  const int64_t m = bucket_count(t.nx);
  if (renew(t.bucket_table, m + 2, {.nx = t.nx, .x = t.x}) != FIT_OK) return FIT_ERR_MEMORY;
  bucket* const b = t.bucket_table;
  const auto n = static_cast<int32_t>(t.nx);
  const T* const x = static_cast<const T*>(t.x);
  const T scale = static_cast<T>(m) / (x[n - 1] - x[0]);

  for (int64_t k = 0; k < m + 2; k++) b[k] = {mark, mark};
  b[0].low = 0;
  for (int32_t j = 1; j < n; j++) {
    const int32_t k = bucket_of(x[j], x[0], scale, m);
    if (k != 0 && b[k - 1].high == mark) b[k - 1].high = j;
    b[k + 1].low = j;
  }
  b[m - 1].high = n - 1;
  for (int64_t k = 1; k < m; k++)
    if (b[k].low == mark) b[k].low = b[k - 1].low;
  for (int64_t k = m - 2; k >= 0; k--)
    if (b[k].high == mark) b[k].high = b[k + 1].high;
  b[m] = b[m - 1];

  t.bucket_count = m;
  bucket_scale<T>(t) = scale;
  return FIT_OK;
}

template <class T>
status new_task(void** out, int64_t nx, const T* x, int64_t xhint, int64_t ny, const T* y, int64_t yhint,
                int32_t wide) {
  if (!out) return FIT_ERR_NULL_TASK;
  *out = nullptr;
  if (!is_count_of_breakpoints(nx)) return FIT_ERR_NX;
  if (!x) return FIT_ERR_X;
  if (!is_xhint(xhint)) return FIT_ERR_XHINT;
  if (ny <= 0 && y) return FIT_ERR_NY;
  if (ny != 0 && !y) return FIT_ERR_Y;
  if (!is_storage_hint(yhint)) return FIT_ERR_YHINT;

  block<task> record;
  if (!record) return FIT_ERR_MEMORY;
  task& t = *record.release();
  *out = &t;
  t = {};
  t.nx = nx;
  t.x = x;
  t.xhint = xhint;
  if (y && set_values(t, ny, yhint, y) != FIT_OK) return FIT_ERR_MEMORY;
  t.yhint = yhint;
  t.ny = ny;
  t.wide_ints = wide;
  t.tag = 4;
  t.is_double = sizeof(T) == sizeof(double);
  t.dimension = 1;
  return is_uniform(t) ? FIT_OK : build_buckets<T>(t);
}

template <class T>
status edit_spline(task* t, int64_t order, int64_t type, int64_t bc_type, const T* bc, int64_t ic_type,
                   const T* ic, T* coeff, int64_t coeff_hint) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (order < 0) return FIT_ERR_ORDER;
  if (type < 0) return FIT_ERR_TYPE;
  t->s_order = order;
  t->s_type = type;
  if (!bc && !among(bc_type, FIT_BC_NONE, FIT_BC_NOT_A_KNOT, FIT_BC_FREE_END, FIT_BC_PERIODIC))
    return FIT_ERR_BC;
  t->bc_type = bc_type;
  t->bc = bc;
  if (ic_type != FIT_IC_NONE && !ic) return FIT_ERR_IC;
  if (ic_type == FIT_IC_NONE && ic) return FIT_ERR_ICTYPE;
  t->ic_type = ic_type;
  t->ic = ic;
  if (coeff) {
    if (const status s = set_coefficients(*t, coeff_hint, coeff); s != FIT_OK) return s;
  }
  t->coeff_hint = coeff_hint;
  return FIT_OK;
}

template <class T> status edit_pointer(task* t, int64_t attribute, const T* pointer) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (t->dimension != 1) return FIT_OK;
  switch (attribute) {
    case FIT_ATTR_X:
      if (!pointer) return FIT_ERR_X;
      t->x = pointer;
      return FIT_OK;
    case FIT_ATTR_Y:
      if (!pointer) return FIT_ERR_Y;
      return t->ny == 0 ? FIT_ERR_NY : set_values(*t, t->ny, t->yhint, pointer);
    case FIT_ATTR_IC:
      if (!pointer) return FIT_ERR_IC;
      t->ic = pointer;
      return FIT_OK;
    case FIT_ATTR_BC:
      if (!pointer) return FIT_ERR_BC;
      t->bc = pointer;
      return FIT_OK;
    case FIT_ATTR_COEFF:
      if (!pointer) return FIT_ERR_COEFF;
      return set_coefficients(*t, t->coeff_hint, const_cast<T*>(pointer));
    default:
      return FIT_ERR_ATTR;
  }
}

template <class T> status edit_indexed(task* t, int64_t attribute, int64_t index, const T* pointer) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (t->dimension != 1) return FIT_OK;
  const bool indexed = index >= 0 && index < t->ny;
  switch (attribute) {
    case FIT_ATTR_Y:
      if (t->yhint == FIT_Y_BYSITE) return FIT_ERR_YHINT;
      if (!indexed) return FIT_ERR_INDEX;
      if (!pointer || !t->y_table || index >= head_of(t->y_table).pointers) return FIT_ERR_Y;
      t->y_table[index] = pointer;
      if (index == 0) head_of(t->y_table).in_first = 1;
      return FIT_OK;
    case FIT_ATTR_COEFF:
      if (!indexed) return FIT_ERR_INDEX;
      if (!pointer || !t->coeff_table || index >= head_of(t->coeff_table).pointers) return FIT_ERR_COEFF;
      t->coeff_table[index] = const_cast<T*>(pointer);
      return FIT_OK;
    default:
      return FIT_ERR_ATTR;
  }
}

template <class T> status query_pointer(const task* t, int64_t attribute, T** out) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (!out) return FIT_ERR_OUTPTR;
  if (t->dimension != 1) return FIT_OK;
  const auto tell = [&](const void* pointer) {
    *out = static_cast<T*>(const_cast<void*>(pointer));
    return FIT_OK;
  };
  switch (attribute) {
    case FIT_ATTR_X:
      return tell(t->x);
    case FIT_ATTR_Y:
      return tell(t->y_table ? t->y_table[0] : nullptr);
    case FIT_ATTR_IC:
      return tell(t->ic);
    case FIT_ATTR_BC:
      return tell(t->bc);
    case FIT_ATTR_COEFF:
      return tell(t->coeff_table ? t->coeff_table[0] : nullptr);
    default:
      return FIT_ERR_ATTR;
  }
}

template <class T> status query_indexed(const task* t, int64_t attribute, int64_t index, T** out) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (!out) return FIT_ERR_OUTPTR;
  if (index < 0 || index >= t->ny) return FIT_ERR_INDEX;
  if (t->dimension != 1) return FIT_OK;
  if (attribute == FIT_ATTR_Y && t->yhint == FIT_Y_BYSITE) return FIT_ERR_YHINT;
  if (attribute != FIT_ATTR_Y && attribute != FIT_ATTR_COEFF) return FIT_ERR_ATTR;
  const void* const found = attribute == FIT_ATTR_Y ? told_values(*t, index) : told_row(*t, index);
  *out = static_cast<T*>(const_cast<void*>(found));
  return FIT_OK;
}

// The integer attributes in the order of their codes, from FIT_ATTR_NX on; the flag, of another width, is apart.
struct integer_attribute {
  int64_t task::*field;
  bool (*accepts)(int64_t);
  status refusal;
};
constexpr integer_attribute integers[] = {
    {&task::nx, is_count_of_breakpoints, FIT_ERR_NX},
    {&task::xhint, is_xhint, FIT_ERR_XHINT},
    {&task::ny, [](int64_t v) { return v >= 1; }, FIT_ERR_NY},
    {&task::yhint, is_storage_hint, FIT_ERR_YHINT},
    {&task::s_order, [](int64_t v) { return v >= 0; }, FIT_ERR_ORDER},
    {&task::s_type, [](int64_t v) { return among(v, 0, 1, 2, 3, 4, 5, 9); }, FIT_ERR_TYPE},
    {&task::ic_type, [](int64_t v) { return among(v, 0, 1, 2) || (v & knots_bit); }, FIT_ERR_ICTYPE},
    {&task::bc_type, [](int64_t v) { return v >= 0; }, FIT_ERR_BCTYPE},
    {&task::coeff_hint, is_storage_hint, FIT_ERR_COEFFHINT},
};

status edit_integer(task* t, int64_t attribute, int64_t value) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (t->dimension != 1) return FIT_OK;
  if (attribute < FIT_ATTR_NX || attribute > FIT_ATTR_FLAG) return FIT_ERR_ATTR;
  if (attribute == FIT_ATTR_FLAG) {
    if (!among(value, 0, 1)) return FIT_ERR_FLAGVALUE;
    t->caller_flag = static_cast<int32_t>(value);
    return FIT_OK;
  }
  const integer_attribute& a = integers[attribute - FIT_ATTR_NX];
  if (!a.accepts(value)) return a.refusal;
  const bool was_uniform = is_uniform(*t);
  t->*a.field = value;
  const bool rebuild =
      attribute == FIT_ATTR_XHINT && !is_uniform(*t) && (was_uniform || value == FIT_X_IRREGULAR);
  if (!rebuild) return FIT_OK;
  return t->is_double ? build_buckets<double>(*t) : build_buckets<float>(*t);
}

status query_integer(const task* t, int64_t attribute, void* out) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (!out) return FIT_ERR_OUTPTR;
  if (t->dimension != 1) return FIT_OK;
  if (attribute < FIT_ATTR_NX || attribute > FIT_ATTR_FLAG) return FIT_ERR_ATTR;
  const int64_t value =
      attribute == FIT_ATTR_FLAG ? t->caller_flag : t->*integers[attribute - FIT_ATTR_NX].field;
  if (t->wide_ints)
    *static_cast<int64_t*>(out) = value;
  else
    *static_cast<int32_t*>(out) = static_cast<int32_t>(value);
  return FIT_OK;
}

status delete_task(void** pointer) {
  if (!pointer || !*pointer) return FIT_ERR_NULL_TASK;
  task* const t = static_cast<task*>(*pointer);
  release(t->y_table);
  release(t->coeff_table);
  release(t->bucket_table);
  arko_serv_deallocate(t);
  *pointer = nullptr;
  return FIT_OK;
}

}  // namespace
}  // namespace fit

using namespace fit;

#define ENTRIES(p, T)                                                                                     \
  FIT_EXPORT int32_t arko_df_kernel_##p##NewTask1D(void** t, int64_t nx, const T* x, int64_t xhint,       \
                                                   int64_t ny, const T* y, int64_t yhint, int32_t wide) { \
    return new_task(t, nx, x, xhint, ny, y, yhint, wide);                                                 \
  }                                                                                                       \
  FIT_EXPORT int32_t arko_df_kernel_##p##EditPPSpline1D(void* t, int64_t order, int64_t type,             \
                                                        int64_t bc_type, const T* bc, int64_t ic_type,    \
                                                        const T* ic, T* coeff, int64_t coeff_hint) {      \
    return edit_spline(static_cast<task*>(t), order, type, bc_type, bc, ic_type, ic, coeff, coeff_hint);  \
  }                                                                                                       \
  FIT_EXPORT int32_t arko_df_kernel_##p##EditPtr(void* t, int64_t attribute, const T* pointer) {          \
    return edit_pointer(static_cast<task*>(t), attribute, pointer);                                       \
  }                                                                                                       \
  FIT_EXPORT int32_t arko_df_kernel_##p##EditIdxPtr(void* t, int64_t attribute, int64_t index,            \
                                                    const T* pointer) {                                   \
    return edit_indexed(static_cast<task*>(t), attribute, index, pointer);                                \
  }                                                                                                       \
  FIT_EXPORT int32_t arko_df_kernel_##p##QueryPtr(void* t, int64_t attribute, T** pointer) {              \
    return query_pointer(static_cast<task*>(t), attribute, pointer);                                      \
  }                                                                                                       \
  FIT_EXPORT int32_t arko_df_kernel_##p##QueryIdxPtr(void* t, int64_t attribute, int64_t index,           \
                                                     T** pointer) {                                       \
    return query_indexed(static_cast<task*>(t), attribute, index, pointer);                               \
  }
ENTRIES(d, double)
ENTRIES(s, float)

FIT_EXPORT int32_t arko_df_kernel_iEditVal(void* t, int64_t attribute, int64_t value) {
  return edit_integer(static_cast<task*>(t), attribute, value);
}
FIT_EXPORT int32_t arko_df_kernel_iQueryVal(void* t, int64_t attribute, void* value) {
  return query_integer(static_cast<task*>(t), attribute, value);
}
FIT_EXPORT int32_t arko_df_kernel_DeleteTask(void** t) { return delete_task(t); }
