// Writes the public header arko/vector.h from the list of functions.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "vector/expand.h"

namespace {

struct description {
  const char *root, *text;
};
constexpr description descriptions[] = {
#define ROOT(root, text) {#root, text},
#define KERNELS(...)
#include "vector/functions.def"
};

constexpr const char* describe(const char* root) {
  for (const description& d : descriptions)
    if (std::string_view(d.root) == root) return d.text;
  throw "a root with kernels has no row of its own in functions.def";  // ends the compilation
}

struct function {
  char type;
  const char *root, *la, *ep, *parameters, *exported, *twin_parameters, *text;
  bool has_twin;
};

// E and R stand for the element type and its real type until the text is written.
#define TEXT_(...) #__VA_ARGS__
#define TEXT(...) TEXT_(__VA_ARGS__)
constexpr function functions[] = {
#define KERNELS(type, root, form, sharing, twin, ...) \
  {#type[0],                                          \
   #root,                                             \
   ZUR_STRING(ZUR_LA_##type),                         \
   ZUR_STRING(ZUR_EP_##type),                         \
   TEXT(ZUR_FORM_##form(E, R)),                       \
   TEXT(ZUR_EXPORTED_##form(E, R)),                   \
   TEXT(ZUR_FORM_##form##_TWIN(E, R)),                \
   describe(#root),                                   \
   std::string_view(#twin) != "none"},
#include "vector/functions.def"
};

constexpr const char* element(char type) {
  switch (type) {
    case 's':
      return "float";
    case 'd':
      return "double";
    case 'c':
      return "arko_complex_float";
    default:
      return "arko_complex_double";
  }
}

std::string with_types(const char* parameters, char type) {
  const char* real = type == 's' || type == 'c' ? "float" : "double";
  std::string text;
  for (const char* p = parameters; *p; p++) {
    const bool alone = !std::isalnum(static_cast<unsigned char>(p[1]));
    if (*p == 'E' && alone)
      text += element(type);
    else if (*p == 'R' && alone)
      text += real;
    else
      text += *p;
  }
  return text;
}

// The exported functions of a name and its tables.
void declare(std::FILE* out, const function& f, const std::string& name, const char* parameters,
             const char* exported) {
  const char type = f.type;
  const std::string typed = with_types(parameters, type);
  for (const char* suffix : {f.la, "", "_HA", f.ep})
    std::fprintf(out, "void _zur%c%s%s(%s);\n", type, name.c_str(), suffix,
                 with_types(exported, type).c_str());
  std::fprintf(out, "extern void (*const arko_zur_kernel_%c%s_ttab[3])(%s);\n", type, name.c_str(),
               typed.c_str());
  std::fprintf(out, "extern const float arko_zur_kernel_%c%s_ctab[3];\n", type, name.c_str());
}

constexpr char head[] = R"(/*
 * arko: element-wise vector mathematics. Written from the list of functions.
 *
 * Every function exists at three accuracy levels, chosen by the suffix of its name:
 *
 *   LA  _21 (single), _50 (double)   low accuracy: fast, below 4 ulp
 *   HA  no suffix, or _HA            high accuracy: below 1 ulp
 *   EP  _11 (single), _26 (double)   enhanced performance: 11 or 26 good bits (double Ln near 1: see there)
 *
 * and in two forms. The plain form walks arrays of n elements one after the other; the form with a trailing I
 * (the strided twin) takes an increment for each array, in elements, any sign and 0 included: element i is at
 * index i * inc. A count n of 0 or less touches nothing. Arrays may have any alignment of their elements, and
 * the result may be an argument array itself, but must not overlap one otherwise.
 *
 * The caller's floating-point control words are the same after a call as before; flags that the arithmetic
 * raises stay raised. An exceptional element gets its result and is reported by status, as state.h tells; its
 * neighbours are computed all the same. Pack and unpack move elements and do not compute: they have neither
 * levels nor statuses nor a strided form.
 *
 * The three kernels of a function stand in arko_zur_kernel_<function>_ttab, in the order LA, HA, EP, and
 * relative costs an element in arko_zur_kernel_<function>_ctab; arko_zur_kernel_GetTTableIndex gives the index
 * for the thread's accuracy.
 */
#ifndef ARKO_VECTOR_H
#define ARKO_VECTOR_H

#include <arko/state.h>
#include <stdint.h>

#ifdef __cplusplus
#include <complex>
typedef std::complex<float> arko_complex_float;
typedef std::complex<double> arko_complex_double;
extern "C" {
#else
typedef float _Complex arko_complex_float;
typedef double _Complex arko_complex_double;
#endif
)";

}  // namespace

int main(int argc, char** argv) {
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fprintf(stderr, "usage: vector_header FILE\n"), 1;
  std::fputs(head, out);
  const char* root = "";
  for (const function& f : functions) {
    if (std::strcmp(root, f.root) != 0) {
      root = f.root;
      std::fprintf(out, "\n/*\n * %s: ", root);
      for (const char* p = f.text; *p; p++) {
        std::fputc(*p, out);
        if (*p == '\n') std::fputs(" * ", out);
      }
      std::fputs("\n */\n", out);
    }
    declare(out, f, f.root, f.parameters, f.exported);
    if (f.has_twin) declare(out, f, std::string(f.root) + "I", f.twin_parameters, f.twin_parameters);
  }
  std::fputs("\n#ifdef __cplusplus\n}\n#endif\n#endif\n", out);
  return std::fclose(out) != 0;
}
