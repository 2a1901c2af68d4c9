// Writes the tables of the logarithm kernels: logarithms of reciprocals in two parts.
//
// hi is a multiple of a power of two small enough for what the kernels add to it (a multiple of log 2,
// likewise in two parts) to add without rounding; lo is what is left, rounded. Rows that stand for 1 hold
// zeros.
#include <cstdio>
#include <initializer_list>

#include "real.h"

namespace {

using arko::tools::abs;
using arko::tools::ldexp;
using arko::tools::nearbyint;
using arko::tools::real;

// A base, and the last place of its hi parts, which are multiples of 2^-places.
struct base {
  const char* name;
  real (*log)(const real&);
  int places;
};
constexpr base natural{"Ln", arko::tools::log, 42}, binary{"Log2", arko::tools::log2, 42},
    decimal{"Log10", arko::tools::log10, 43};

struct parts {
  double hi, lo;
};
parts split(const real& x, int places) {
  const real hi = ldexp(nearbyint(ldexp(x, places)), -places);
  return {static_cast<double>(hi) + 0.0, static_cast<double>(x - hi) + 0.0};  // no -0
}

void print_log2(std::FILE* out, const base& b) {
  const auto [hi, lo] = split(b.log(2), b.places);
  std::fprintf(out, "// log 2 in two parts: multiples of hi up to 2^11 are exact.\n");
  std::fprintf(out, "constexpr double T%sOf2Hi = %a, T%sOf2Lo = %a;\n\n", b.name, hi, b.name, lo);
}

// The number nearest to 1/m for which m' rcp - 1 is a double for all doubles m' up to `reach` from m, with as
// many places as that leaves.
double short_reciprocal(const real& m, const real& reach) {
  const int m_places = m < 1 ? 53 : 52;
  for (int places = 20;; places--) {
    const real rcp = ldexp(nearbyint(ldexp(1 / m, places)), -places);
    if (abs(m * rcp - 1) + reach * rcp <= ldexp(1, 53 - m_places - places)) return static_cast<double>(rcp);
  }
}

// Rows by the leading bits of m in [3/4, 3/2), as log_rows in vector/explog/log.h chooses them: the first
// half for steps of 2^-(bits + 1) from 3/4, the second for steps of 2^-bits from 1. rcp is short, as told
// above, or 1/m rounded.
void rows(std::FILE* out, const base& b, int bits, bool short_rcp) {
  const int n = 1 << bits, half = n / 2;
  const char* suffix = short_rcp ? "" : "Full";
  std::fprintf(out, "// rcp = about 1/m; log(1/rcp) to %d places and what is left of it; unused.\n",
               b.places);
  std::fprintf(out, "alignas(64) constexpr double T%sD%d%s[%d][4] = {\n", b.name, n, suffix, n);
  for (int j = 0; j < n; j++) {
    const real m = j < half ? ldexp(n + n / 2 + j, -bits - 1) : ldexp(n + j - half, -bits);
    const real reach = ldexp(1, j < half ? -bits - 2 : -bits - 1);
    const double rcp = short_rcp && j != half ? short_reciprocal(m, reach) : static_cast<double>(1 / m);
    const auto [hi, lo] = split(-b.log(rcp), b.places);
    std::fprintf(out, "    {%a, %a, %a},\n", rcp, hi, lo);
  }
  std::fprintf(out, "};\n\n");
}

// Rows by an integer c from 2^(p - 1) to 2^p, a reciprocal times 2^p, the first row for 2^(p - 1): log(2^p /
// c). So the first row is log 2 and the last 0.
template <class E> void reciprocal_rows(std::FILE* out, const base& b, int p, int places) {
  const bool single = sizeof(E) == 4;
  const int last = 1 << p, first = last / 2;
  std::fprintf(out, "// hi = log(%d / c) to %d places, c from %d; lo = what is left.\n", last, places, first);
  std::fprintf(out, "alignas(64) constexpr %s T%s%cC%d[%d][2] = {\n", single ? "float" : "double", b.name,
               single ? 'S' : 'D', p, first + 1);
  for (int c = first; c <= last; c++) {
    const auto [hi, lo] = split(-b.log(ldexp(c, -p)), places);
    std::fprintf(out, single ? "    {%af, %af},\n" : "    {%a, %a},\n", hi,
                 static_cast<double>(static_cast<E>(lo)));
  }
  std::fprintf(out, "};\n\n");
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fprintf(stderr, "usage: log_tables FILE\n"), 1;
  std::fprintf(out, "// Written by tools/log_tables.cpp; read by the logarithm kernels.\n\n");
  for (const base& b : {natural, decimal}) {
    print_log2(out, b);
    rows(out, b, 9, true);
  }
  rows(out, natural, 8, false);
  reciprocal_rows<double>(out, natural, 10, natural.places);
  reciprocal_rows<double>(out, binary, 10, binary.places);
  reciprocal_rows<double>(out, binary, 9, binary.places);
  reciprocal_rows<float>(out, natural, 8, 16);
  reciprocal_rows<float>(out, binary, 7, 16);
  reciprocal_rows<float>(out, decimal, 7, 17);
  return std::fclose(out) != 0;
}
