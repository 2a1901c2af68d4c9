// The functions that have kernels, from the one list: kernel types, tables and names.
#pragma once
#include <cstdint>
#include <tuple>

#include "vector/expand.h"
#include "vector/lanes.h"

#define ZUR_TABLE_SYMBOL(F) "zur_" #F "_table_" ZUR_STRING(ZUR_WIDTH)

#pragma GCC visibility push(hidden)

namespace zur::inline ZUR_WIDTH {

// The kernel tables, sExp_table, sExpI_table and so on: three kernels, at LA, HA and EP. A kernel file
// defines one by TABLE(sExp) = {...}.
#define ZUR_TABLE(F, parameters) extern void (*const F##_table[3])(parameters) asm(ZUR_TABLE_SYMBOL(F));
#define KERNELS(type, root, form, sharing, twin, ...)     \
  ZUR_TABLE(type##root, ZUR_KERNEL_ARGUMENTS(type, form)) \
  ZUR_IF_TWIN_##twin(ZUR_TABLE(type##root##I, ZUR_TWIN_ARGUMENTS(type, form)))
#include "vector/functions.def"

// Accuracy levels, as slots of a kernel table.
enum level : int { la, ha, ep };

// fn::Exp<float> and so on: what the list says of a function, for its kernels.
namespace fn {
template <class A, class R> struct elements {
  using argument = A;
  using result = R;
};
#define KERNELS(type, root, form, sharing, twin, ...)                                                    \
  template <class E> struct root;                                                                        \
  template <>                                                                                            \
  struct root<ZUR_ELEMENT_##type> : elements<ZUR_ELEMENTS_##form(ZUR_ELEMENT_##type, ZUR_REAL_##type)> { \
    static constexpr char name[] = "v" #type #root;                                                      \
    static constexpr char twin_name[] = "v" #type #root ZUR_TWIN_REPORTS_##twin;                         \
    static constexpr auto& table = type##root##_table;                                                   \
  };
#include "vector/functions.def"
}  // namespace fn
}  // namespace zur::inline ZUR_WIDTH

#pragma GCC visibility pop

// The module exports the tables of its own width under a second name.
#ifdef ZUR_MODULE
#define ZUR_EXPORT_TABLE(F, symbol) \
  extern "C"                        \
      [[gnu::visibility("default"), gnu::alias(symbol)]] decltype(F##_table) arko_zur_kernel_##F##_ttab;
#else
#define ZUR_EXPORT_TABLE(F, symbol)
#endif
#define TABLE(F) ZUR_EXPORT_TABLE(F, ZUR_TABLE_SYMBOL(F)) constinit decltype(F##_table) F##_table

// The tables of a function and its twin, of kernels at LA, HA and EP.
template <int slot, class... K> using kernel_at = std::tuple_element_t<slot, std::tuple<K...>>;
#define TABLES_BY_LEVEL(F, ...)                                                     \
  TABLE(F) = {kernel<kernel_at<0, __VA_ARGS__>>, kernel<kernel_at<1, __VA_ARGS__>>, \
              kernel<kernel_at<2, __VA_ARGS__>>};                                   \
  TABLE(F##I) = {twin<kernel_at<0, __VA_ARGS__>>, twin<kernel_at<1, __VA_ARGS__>>,  \
                 twin<kernel_at<2, __VA_ARGS__>>};

// The tables of a real root with one kernel for all levels, K<float> and K<double>; the twins have their own.
#define TABLES_OF_ONE_KERNEL(root, K, twin_K)                                          \
  TABLE(s##root) = {kernel<K<float>>, kernel<K<float>>, kernel<K<float>>};             \
  TABLE(d##root) = {kernel<K<double>>, kernel<K<double>>, kernel<K<double>>};          \
  TABLE(s##root##I) = {twin<twin_K<float>>, twin<twin_K<float>>, twin<twin_K<float>>}; \
  TABLE(d##root##I) = {twin<twin_K<double>>, twin<twin_K<double>>, twin<twin_K<double>>};
