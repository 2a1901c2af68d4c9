// For expansions of functions.def: what follows from a row's type letter, form and twin.
#pragma once
#include "vector/elements.h"
#include "vector/forms.h"

#define ZUR_STRING_(x) #x
#define ZUR_STRING(x) ZUR_STRING_(x)
#define ZUR_JOIN_(a, b) a##b
#define ZUR_JOIN(a, b) ZUR_JOIN_(a, b)
#define ZUR_LIST(...) __VA_ARGS__

// Suffixes of exported names. HA has none, or _HA.
#define ZUR_LA_s _21
#define ZUR_LA_d _50
#define ZUR_LA_c ZUR_LA_s
#define ZUR_LA_z ZUR_LA_d
#define ZUR_EP_s _11
#define ZUR_EP_d _26
#define ZUR_EP_c ZUR_EP_s
#define ZUR_EP_z ZUR_EP_d

// Arguments of kernels, their twins and exported functions.
#define ZUR_KERNEL_ARGUMENTS(type, form) ZUR_LIST(ZUR_FORM_##form(ZUR_ELEMENT_##type, ZUR_REAL_##type))
#define ZUR_TWIN_ARGUMENTS(type, form) ZUR_LIST(ZUR_FORM_##form##_TWIN(ZUR_ELEMENT_##type, ZUR_REAL_##type))
#define ZUR_EXPORTED_ARGUMENTS(type, form) ZUR_LIST(ZUR_EXPORTED_##form(ZUR_ELEMENT_##type, ZUR_REAL_##type))

// What follows, where there is a twin; and what the twin adds to the name under which it reports.
#define ZUR_IF_TWIN_none(...)
#define ZUR_IF_TWIN_I(...) __VA_ARGS__
#define ZUR_IF_TWIN__(...) __VA_ARGS__
#define ZUR_TWIN_REPORTS_none ""
#define ZUR_TWIN_REPORTS_I "I"
#define ZUR_TWIN_REPORTS__ ""
