// Writes the table of the logarithms that the stream layer gives to generators: 65 rows for m = 1 + j / 64.
#include <cstdio>

#include "real.h"

namespace {

using arko::tools::ldexp;
using arko::tools::log;
using arko::tools::nearbyint;
using arko::tools::real;

// x to a multiple of 2^-places.
real cut(const real& x, int places) { return ldexp(nearbyint(ldexp(x, places)), -places); }

}  // namespace

int main(int, char** argv) {
  std::FILE* out = std::fopen(argv[1], "w");
  if (!out) return 1;
  std::fputs(
      "// For m = 1 + j / 64: c = about 1/m, of 12 bits; -log c in two parts, hi to 42 places; 1/m; log m.\n"
      "constexpr double ln_table[65][5] = {\n",
      out);
  for (int j = 0; j <= 64; j++) {
    const real m = 1 + real(j) / 64, c = cut(1 / m, 12);
    const real hi = cut(-log(c), 42), lo = -log(c) - hi;
    std::fprintf(out, "    {%a, %a, %a, %a, %a},\n", static_cast<double>(c), static_cast<double>(hi) + 0.0,
                 static_cast<double>(lo) + 0.0, static_cast<double>(1 / m), static_cast<double>(log(m)));
  }
  std::fputs("};\n", out);
  return std::fclose(out);
}
