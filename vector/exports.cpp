// Everything the module exports of vector mathematics, from the one list: kernel tables, cost tables,
// forwarders.
#include "vector/functions.h"

using std::int32_t;
using std::int64_t;

#define EXPORT extern "C" [[gnu::visibility("default")]]

#define ZUR_SUFFIX_LA_s _21
#define ZUR_SUFFIX_LA_c _21
#define ZUR_SUFFIX_LA_d _50
#define ZUR_SUFFIX_LA_z _50
#define ZUR_SUFFIX_EP_s _11
#define ZUR_SUFFIX_EP_c _11
#define ZUR_SUFFIX_EP_d _26
#define ZUR_SUFFIX_EP_z _26
#define ZUR_ENTRY__(F, suffix) _zur##F##suffix
#define ZUR_ENTRY_(F, suffix) ZUR_ENTRY__(F, suffix)

// A forwarder is one jump through the slot; F is the root with its type letter and, for a twin, the trailing
// I. The bare name is HA, and _HA another name of it.
#define FORWARD(type, F, parameters, arguments)                                                       \
  EXPORT void ZUR_ENTRY_(F, ZUR_SUFFIX_LA_##type)(parameters) { zur::F##_table[zur::la](arguments); } \
  EXPORT void _zur##F(parameters) { zur::F##_table[zur::ha](arguments); }                             \
  EXPORT void _zur##F##_HA(parameters) __attribute__((alias("_zur" #F)));                             \
  EXPORT void ZUR_ENTRY_(F, ZUR_SUFFIX_EP_##type)(parameters) { zur::F##_table[zur::ep](arguments); }

#define COSTS(F, ...) EXPORT const float arko_zur_kernel_##F##_ctab[3] = {__VA_ARGS__};

#define TWIN_none(type, root, form, ...)
#define TWIN_I(type, root, form, ...) TWIN(type, root, form, __VA_ARGS__)
#define TWIN__(type, root, form, ...) TWIN(type, root, form, __VA_ARGS__)
#define TWIN(type, root, form, ...)                                                                   \
  COSTS(type##root##I, __VA_ARGS__)                                                                   \
  FORWARD(type, type##root##I, ZUR_LIST(ZUR_FORM_##form##_TWIN(ZUR_ELEMENT_##type, ZUR_REAL_##type)), \
          ZUR_LIST(ZUR_PASS_##form##_TWIN))

#define KERNELS(type, root, form, sharing, twin, ...)                                           \
  COSTS(type##root, __VA_ARGS__)                                                                \
  FORWARD(type, type##root, ZUR_LIST(ZUR_EXPORTED_##form(ZUR_ELEMENT_##type, ZUR_REAL_##type)), \
          ZUR_LIST(ZUR_PASS_##form))                                                            \
  TWIN_##twin(type, root, form, __VA_ARGS__)
#include "vector/functions.def"
