// Writes the tables of the exponential kernels, all powers of 2 at equal steps, rounded to nearest from MPFR.
#include <mpfr.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int precision = 300;

// 2^(j / rows)
struct power {
  mpfr_t value;
  power(int j, int rows) {
    mpfr_init2(value, precision);
    mpfr_set_si(value, j, MPFR_RNDN);
    mpfr_div_si(value, value, rows, MPFR_RNDN);
    mpfr_exp2(value, value, MPFR_RNDN);
  }
  ~power() { mpfr_clear(value); }
};

template <class U, class T> U pattern(T x) {
  U bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

// Patterns of the rounded powers, each less j in the leading fraction bits: adding m rows + j there, from the
// low bits of a shifted sum, gives the pattern of 2^(m + j / rows) at once.
void scales(std::FILE* out, const char* name, int rows, bool single) {
  const int step = (single ? 23 : 52) - std::bit_width(static_cast<unsigned>(rows) - 1);
  std::fprintf(out, "// The pattern of 2^(j/%d), less j << %d.\n", rows, step);
  std::fprintf(out, "alignas(64) constexpr std::uint%d_t %s[%d] = {\n", single ? 32 : 64, name, rows);
  for (std::uint64_t j = 0; j < static_cast<std::uint64_t>(rows); j++) {
    const power p(static_cast<int>(j), rows);
    const std::uint64_t bits = single ? pattern<std::uint32_t>(mpfr_get_flt(p.value, MPFR_RNDN))
                                      : pattern<std::uint64_t>(mpfr_get_d(p.value, MPFR_RNDN));
    std::fprintf(out, "    0x%llx,\n", static_cast<unsigned long long>(bits - (j << step)));
  }
  std::fprintf(out, "};\n\n");
}

// The power rounded to the type, and what is left, relative to it or absolute.
struct row {
  double hi, lo;
  row(int j, int rows, bool single, bool relative) {
    power p(j, rows);
    hi = single ? mpfr_get_flt(p.value, MPFR_RNDN) : mpfr_get_d(p.value, MPFR_RNDN);
    mpfr_sub_d(p.value, p.value, hi, MPFR_RNDN);
    if (relative) mpfr_div_d(p.value, p.value, hi, MPFR_RNDN);
    lo = single ? mpfr_get_flt(p.value, MPFR_RNDN) : mpfr_get_d(p.value, MPFR_RNDN);
  }
};

// The number whose pattern is that of x less j << step.
template <class U, class T> T less_steps(T x, int j, int step) {
  const U bits = pattern<U>(x) - (static_cast<U>(j) << step);
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

void pairs(std::FILE* out, const char* name, int rows, bool single, bool relative) {
  std::fprintf(out, "// hi = 2^(j/%d), rounded; lo = what is left%s.\n", rows,
               relative ? ", relative to hi" : "");
  std::fprintf(out, "alignas(64) constexpr %s %s[%d][2] = {\n", single ? "float" : "double", name, rows);
  for (int j = 0; j < rows; j++) {
    const row r(j, rows, single, relative);
    std::fprintf(out, single ? "    {%af, %af},\n" : "    {%a, %a},\n", r.hi, r.lo);
  }
  std::fprintf(out, "};\n\n");
}

// Both at once: the scale as a number, by its pattern less j steps as above, and by how much the rounded
// power exceeds the exact one, relative to it.
void scaled_pairs(std::FILE* out, const char* name, int rows, bool single) {
  const int step = (single ? 23 : 52) - std::bit_width(static_cast<unsigned>(rows) - 1);
  std::fprintf(out,
               "// The pattern of p = 2^(j/%d), rounded, less j << %d; what rounding added, relative to p.\n",
               rows, step);
  std::fprintf(out, "alignas(64) constexpr %s %s[%d][2] = {\n", single ? "float" : "double", name, rows);
  for (int j = 0; j < rows; j++) {
    const row r(j, rows, single, true);
    const double scale = single ? less_steps<std::uint32_t>(static_cast<float>(r.hi), j, step)
                                : less_steps<std::uint64_t>(r.hi, j, step);
    std::fprintf(out, single ? "    {%af, %af},\n" : "    {%a, %a},\n", scale, 0 - r.lo);
  }
  std::fprintf(out, "};\n\n");
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fprintf(stderr, "usage: exp_tables FILE\n"), 1;
  std::fprintf(out, "// Written by tools/exp_tables.cpp; read by the exponential kernels.\n\n");
  scales(out, "TExpM128", 128, true);
  pairs(out, "TExpS128", 128, true, true);
  scales(out, "TExpM128D", 128, false);
  scales(out, "TExpM1024D", 1024, false);
  pairs(out, "TExpD64", 64, false, false);
  pairs(out, "TExp2S64", 64, true, false);
  pairs(out, "TExp2D64", 64, false, false);
  pairs(out, "TExp10S128", 128, true, false);
  pairs(out, "TExp10D128", 128, false, false);
  scaled_pairs(out, "TExpm1S64", 64, true);
  scaled_pairs(out, "TExpm1D128", 128, false);
  return std::fclose(out) != 0;
}
