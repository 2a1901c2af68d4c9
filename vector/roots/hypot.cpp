// sqrt(a^2 + b^2), told in hypot.h. Largest errors in ulp, measured (docs/accuracy.md); the twins have the same:
//
//            LA     HA     EP
//   single   1.0    0.58   2^-11.4 relative
//   double   1.5    0.52   2^-32.9 relative
//
// and at HA in double up to 0.75 among denormal results, which are rounded twice.
#include "vector/roots/hypot.h"

namespace zur::inline ZUR_WIDTH {
namespace {

template <class T, level L> struct hypot_kernel : usual_kernel<fn::Hypot, T, L>, hypotenuse<T, L> {
  static constexpr int inputs = 2;
  static constexpr bool screened = L == la;
};

}  // namespace

TABLES_BY_LEVEL(sHypot, hypot_kernel<float, la>, hypot_kernel<float, ha>, hypot_kernel<float, ep>)
TABLES_BY_LEVEL(dHypot, hypot_kernel<double, la>, hypot_kernel<double, ha>, hypot_kernel<double, ep>)

}  // namespace zur::inline ZUR_WIDTH
