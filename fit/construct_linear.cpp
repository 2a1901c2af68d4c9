// Linear splines: c0 = y[i], c1 = m[i].

#include "fit/construct.h"

namespace fit { namespace {

template <class T> status linear(const task* t, int64_t method, const DFThreadServices* services) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (method != 0) return FIT_ERR_METHOD;
  spline<T> s;
  if (const status e = prepare(s, t, {.least_nx = 2, .any_ends = true}); e != FIT_OK) return e;
  const auto tile = [&](int64_t from, int64_t to, int64_t f, int64_t f_end) {
    const T step = s.step();
    for (; f < f_end; f++) {
      const values<T> y = s.y(f);
      T* const c = s.row(f);
      for (int64_t i = from; i < to; i++) {
        c[2 * i] = y[i];
        c[2 * i + 1] = (y[i + 1] - y[i]) / (s.uniform ? step : s.x[i + 1] - s.x[i]);
      }
    }
  };
  constexpr int64_t least_numbers = 128, least_tiles = 5;
  for_tiles(s, 1024, 4, least_numbers, least_tiles, services, tile);
  return FIT_OK;
}

}  // namespace
}  // namespace fit

FIT_EXPORT int32_t arko_df_kernel_dDFLinearSpline1D(void* t, int64_t, int64_t method,
                                                    const DFThreadServices* threads) {
  return fit::linear<double>(static_cast<fit::task*>(t), method, threads);
}
FIT_EXPORT int32_t arko_df_kernel_sDFLinearSpline1D(void* t, int64_t, int64_t method,
                                                    const DFThreadServices* threads) {
  return fit::linear<float>(static_cast<fit::task*>(t), method, threads);
}
