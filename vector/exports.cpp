// Everything the module exports of vector mathematics, from the one list: kernel tables, cost tables,
// forwarders.
#include "vector/functions.h"

using std::int32_t;
using std::int64_t;

#define EXPORT extern "C" [[gnu::visibility("default")]]

// A forwarder is one jump through the slot; F is the root with its type letter and, for a twin, the trailing
// I. The bare name is HA, and _HA another name of it.
#define FORWARD(type, F, parameters, arguments)                                                    \
  EXPORT void ZUR_JOIN(_zur##F, ZUR_LA_##type)(parameters) { zur::F##_table[zur::la](arguments); } \
  EXPORT void _zur##F(parameters) { zur::F##_table[zur::ha](arguments); }                          \
  EXPORT void _zur##F##_HA(parameters) __attribute__((alias("_zur" #F)));                          \
  EXPORT void ZUR_JOIN(_zur##F, ZUR_EP_##type)(parameters) { zur::F##_table[zur::ep](arguments); }

#define COSTS(F, ...) EXPORT const float arko_zur_kernel_##F##_ctab[3] = {__VA_ARGS__};

#define KERNELS(type, root, form, sharing, twin, ...)                                      \
  COSTS(type##root, __VA_ARGS__)                                                           \
  FORWARD(type, type##root, ZUR_EXPORTED_ARGUMENTS(type, form), ZUR_LIST(ZUR_PASS_##form)) \
  ZUR_IF_TWIN_##twin(COSTS(type##root##I, __VA_ARGS__) FORWARD(                            \
      type, type##root##I, ZUR_TWIN_ARGUMENTS(type, form), ZUR_LIST(ZUR_PASS_##form##_TWIN)))
#include "vector/functions.def"
