// Geometric: failures before the first success, floor(ln u / ln(1 - p)) (L. Devroye, "Non-Uniform Random Variate
// Generation", 1986, X.2).
#include "distributions/frame.h"
#include "distributions/guard.h"

using namespace kov;

KOV_EXPORT std::int32_t _koviRngGeometric(std::int32_t, void* stream, std::int32_t n, std::int32_t* r,
                                          double p) {
  const kernel_guard guard(LogFloorS);
  const auto c = static_cast<float>(1 / _kovdLn(1 - p));
  float v[block];
  return in_blocks(n, block, [&](std::int64_t i, std::int32_t m) {
    const status s = uniform(stream, m, v);
    if (s < KOV_STATUS_OK) return s;
    guard.kernels([&] { kernel<zur::fn::Ln>(m, v, v); });
    for (std::int32_t j = 0; j < m; j++) v[j] *= c;
    floors(m, v, r + i);
    return s;
  });
}
