// Uniform numbers of an interval, real and integer.
#include "distributions/frame.h"

namespace kov { namespace {

// `fill` is the row's fill for T.
template <class T>
status uniform_by(status (*BrngProperties::*fill)(void*, std::int32_t, T*, T, T), std::int32_t method,
                  void* stream, std::int32_t n, T* r, T a, T b) {
  if (n <= 0) return KOV_STATUS_OK;
  const status s = (properties_of(stream).*fill)(stream, n, r, a, b);
  if (s >= KOV_STATUS_OK && (method & KOV_METHOD_ACCURATE))  // a + (b - a) u may have been rounded past b
    for (std::int32_t i = 0; i < n; i++) r[i] = std::min(b, std::max(a, r[i]));
  return s;
}

}  // namespace
}  // namespace kov

using namespace kov;

KOV_EXPORT std::int32_t _kovdRngUniform(std::int32_t method, void* stream, std::int32_t n, double* r,
                                        double a, double b) {
  return uniform_by(&BrngProperties::FillDouble, method, stream, n, r, a, b);
}

KOV_EXPORT std::int32_t _kovsRngUniform(std::int32_t method, void* stream, std::int32_t n, float* r, float a,
                                        float b) {
  return uniform_by(&BrngProperties::FillSingle, method, stream, n, r, a, b);
}

KOV_EXPORT std::int32_t _koviRngUniform(std::int32_t, void* stream, std::int32_t n, std::int32_t* r,
                                        std::int32_t a, std::int32_t b) {
  double v[block];
  const double top = a < b ? b - 1.0 : a;  // numbers may be rounded to b
  return in_blocks(n, block, [&](std::int64_t i, std::int32_t m) {
    const status s = uniform(stream, m, v, a, b);
    if (s >= KOV_STATUS_OK) floors(m, v, r + i, top);
    return s;
  });
}
