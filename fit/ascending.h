// Cells of ascending sites that follow each other closely.
//
// A merge of sites with breakpoints waits for a branch that nobody can foresee, about once a site. Here 64 sites are
// cut into eight runs that are merged side by side, so that eight chains of loads are under way, and each site advances
// its run by the count of those of the next four breakpoints that are not greater than the site: rarely are there
// more. The runs' first sites halve the range that the block lies in.
#pragma once
#include <emmintrin.h>

#include <cstdint>

namespace [[gnu::visibility("hidden")]] fit {

using std::int32_t;

// How many of four ascending breakpoints are not greater than s.
inline int not_greater(const double* x, double s) {
  const __m128d v = _mm_set1_pd(s);
  const __m128 low = _mm_castpd_ps(_mm_cmple_pd(_mm_loadu_pd(x), v)),
               high = _mm_castpd_ps(_mm_cmple_pd(_mm_loadu_pd(x + 2), v));
  return __builtin_ctz(~_mm_movemask_ps(_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))));
}
inline int not_greater(const float* x, float s) {
  return __builtin_ctz(~_mm_movemask_ps(_mm_cmple_ps(_mm_loadu_ps(x), _mm_set1_ps(s))));
}

inline constexpr int32_t ascending_sites = 64;

// The cells of ascending_sites sites, if they all lie below x[start + reach]; else nothing is done. Cells lie between
// start - 1 and start + reach, whatever the sites are: none counts as greater than the last.
template <class T>
bool ascending_cells(const T* x, int32_t nx, const T* site, int32_t& start, int32_t* cell) {
  constexpr int runs = 8, length = ascending_sites / runs;
  constexpr int32_t reach = 256;
  const T last = site[ascending_sites - 1];
  if (start >= nx - reach - 4 || !(last < x[start + reach])) return false;

  // What the next blocks will look at. Beyond the end a prefetch does nothing.
  for (int32_t j = reach; j < 2 * reach; j += 64 / sizeof(T)) __builtin_prefetch(x + start + j);

  int32_t at[runs];  // of each run, how many breakpoints are not greater than its first site
  const int32_t low = start > 0 ? start - 1 : 0;
  for (int32_t& a : at) a = low;
  for (int32_t half = reach / 2; half > 0; half /= 2)
    for (int r = 0; r < runs; r++) at[r] += x[at[r] + half - 1] <= site[r * length] ? half : 0;

  for (int i = 0; i < length; i++)
#pragma GCC unroll 8
    for (int r = 0; r < runs; r++) {
      const T s = site[r * length + i] < last ? site[r * length + i] : last;
      const int more = not_greater(x + at[r], s);
      at[r] += more;
      if (more == 4) [[unlikely]]
        while (x[at[r]] <= s) at[r]++;
      cell[r * length + i] = at[r];
    }
  start = cell[ascending_sites - 1];
  return true;
}

}  // namespace fit
