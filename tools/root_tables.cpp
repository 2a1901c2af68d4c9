// Writes the tables of the kernels with exponents of thirds (vector/roots/third.h).
//
// Rows are for the numbers v from `first` on, in three binades of 64 rows each. TCbrt: u, a number near the cube root of
// the row's middle with so few bits that u^3 is a number of the type; before it 1/u^3, rounded. TInvCbrt: c, the number
// nearest the row's middle of which c^(-1/3) is a number u of the type but for 2^-7 of its last place; and u.
#include <cstdio>

#include "real.h"

namespace {

using arko::tools::abs;
using arko::tools::cbrt;
using arko::tools::exponent;
using arko::tools::ldexp;
using arko::tools::real;
using arko::tools::round_to_bits;

struct type {
  char letter;
  const char* name;
  const char* suffix;
  int bits, first;  // of its significand; binary logarithm of the first v
};
constexpr type single{'S', "float", "f", 24, -1}, twice{'D', "double", "", 53, 0};

constexpr int rows = 64;
real middle(const type& t, int j) { return ldexp(real(2 * (rows + j % rows) + 1), t.first + j / rows - 7); }

template <class Row> void table(std::FILE* out, const char* name, const type& t, Row row) {
  std::fprintf(out, "alignas(64) constexpr %s T%s%c[%d][2] = {\n", t.name, name, t.letter, 3 * rows);
  for (int j = 0; j < 3 * rows; j++) {
    const auto [a, b] = row(middle(t, j));
    std::fprintf(out, "    {%a%s, %a%s},\n", static_cast<double>(a), t.suffix, static_cast<double>(b),
                 t.suffix);
  }
  std::fprintf(out, "};\n\n");
}

struct pair {
  real a, b;
};

void tables(std::FILE* out, const type& t) {
  std::fprintf(out, "// 1/u^3, u.\n");
  table(out, "Cbrt", t, [&](const real& v) {
    const real u = round_to_bits(cbrt(v), t.bits / 3);
    return pair{round_to_bits(1 / (u * u * u), t.bits), u};
  });
  std::fprintf(out, "// c, c^(-1/3).\n");
  table(out, "InvCbrt", t, [&](const real& v) {
    const real step = ldexp(real(1), exponent(v) + 1 - t.bits);
    for (int k = 0;; k = k > 0 ? -k : 1 - k) {
      const real c = v + k * step, exact = 1 / cbrt(c), u = round_to_bits(exact, t.bits);
      if (abs(u - exact) < ldexp(real(1), exponent(u) + 1 - t.bits - 7)) return pair{c, u};
    }
  });
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* out = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (!out) return std::fprintf(stderr, "usage: root_tables FILE\n"), 1;
  std::fprintf(out, "// Written by tools/root_tables.cpp; read by vector/roots/third.h.\n\n");
  tables(out, single);
  tables(out, twice);
  return std::fclose(out) != 0;
}
