// Cell search: cell 0 lies left of x[0], cell i + 1 from x[i] up to but not including x[i+1], cell nx right of
// x[nx-1]; a site on x[nx-1] is in cell nx - 1.
//
// So but for the last breakpoint a cell is the count of breakpoints that are not greater than the site. Methods
// differ in where they begin: the uniform ones calculate a cell, Peak has one, user functions give one. Sorted and
// Hybrid know a range of breakpoints that holds the answer and halve it, for a block of sites in step: nothing in a
// step depends on other sites or on a branch, so the processor waits for the memory of many sites at once.

#include "fit/search.h"

#include <cstring>

#include "core/block.h"
#include "core/threads.h"
#include "fit/ascending.h"

namespace fit {
namespace {

template <class T> T smaller(T a, T b) { return a < b ? a : b; }
template <class T> T larger(T a, T b) { return a > b ? a : b; }

// The count of breakpoints that are not greater than s, from a guess: steps, then strides that double, then halves.
template <class T> int32_t settle(const T* x, int32_t nx, T s, int32_t e) {
  constexpr int32_t steps = 8;
  if (e < nx && x[e] <= s) {
    for (int32_t stop = e + smaller(steps, nx - e); e < stop && x[e] <= s;) e++;
    if (e == nx || !(x[e] <= s)) return e;
    int32_t low = e, stride = steps;  // x[low] <= s
    while (stride < nx - low && x[low + stride] <= s) low += stride, stride = smaller(2 * stride, nx / 2);
    for (int32_t high = smaller(nx - low, stride); high > 1;) {
      const int32_t half = high / 2;
      if (x[low + half] <= s)
        low += half, high -= half;
      else
        high = half;
    }
    return low + 1;
  }
  if (e > 0 && x[e - 1] > s) {
    for (int32_t stop = larger(0, e - steps); e > stop && x[e - 1] > s;) e--;
    if (e == 0 || !(x[e - 1] > s)) return e;
    int32_t high = e - 1, stride = steps;  // x[high] > s
    while (stride <= high && x[high - stride] > s) high -= stride, stride = smaller(2 * stride, nx / 2);
    int32_t low = larger(-1, high - stride);  // x[low] <= s, or low is -1
    while (high - low > 1) {
      const int32_t middle = low + (high - low) / 2;
      (x[middle] > s ? high : low) = middle;
    }
    return high;
  }
  return e;
}

// A product as an index, whatever it is; one more is a number, too.
template <class T> int32_t index_of(T q) {
  constexpr T most = sizeof(T) == sizeof(float) ? T(2147483520) : T(2147483646);
  q = q > 0 ? q : 0;
  const auto index = static_cast<int32_t>(q < most ? q : most);
  return q > most ? INT32_MAX - 1 : index;
}

template <class T> int32_t uniform_cell(T s, T first, T last, T scale, int32_t nx) {
  const int32_t inside = smaller(index_of((s - first) * scale) + 1, nx);
  const int32_t cell = first <= s ? inside : 0;
  return s == last ? nx - 1 : cell;
}

// Loops over blocks count by `block_at`, which never leaves the range of the counts: the end of the sites may be the
// last number there is.
template <class N> N block_at(N i, N n, N size) { return smaller(size, n - i); }

// The number of the last breakpoint not greater than each site, where it is among the `length` from `low` on: a block
// in step. If no breakpoint there is, `low`.
constexpr int32_t block_sites = 32;
template <class T>
[[gnu::always_inline]] inline void halve(const T* x, int32_t n, const T* site, int32_t* low, int32_t length) {
  while (length > 1) {
    const int32_t half = length / 2;
    for (int32_t i = 0; i < n; i++) low[i] += half & -static_cast<int32_t>(x[low[i] + half] <= site[i]);
    length -= half;
  }
}

// What `halve` found, as cells.
template <class T>
[[gnu::always_inline]] inline void last_to_cell(T first, T last, int32_t nx, int32_t n, const T* site,
                                                const int32_t* low, int32_t* cell) {
  for (int32_t i = 0; i < n; i++) {
    int32_t c = low[i] + 1;
    c = site[i] < first ? 0 : c;
    c = site[i] > last ? nx : c;
    cell[i] = site[i] == last ? nx - 1 : c;
  }
}

// ---- Block kernels, with one prototype for all; each ignores what it does not need

#define KERNEL_PARAMETERS(T)                                                                               \
  int64_t nx, const T *x, int32_t nsite, const T *site, [[maybe_unused]] int64_t word,                     \
      [[maybe_unused]] T constant, [[maybe_unused]] int32_t *start, [[maybe_unused]] const int32_t *table, \
      [[maybe_unused]] DFSearchCallBack callback, [[maybe_unused]] void *params,                           \
      [[maybe_unused]] void *spare, [[maybe_unused]] int32_t *flags, int32_t *cell
#define KERNEL_ARGUMENTS \
  nx, x, nsite, site, word, constant, start, table, callback, params, spare, flags, cell
template <class T> using kernel = status (*)(KERNEL_PARAMETERS(T));

template <class T> status uniform_search(KERNEL_PARAMETERS(T)) {
  const auto n = static_cast<int32_t>(nx);
  const T first = x[0], last = x[1];
  for (int32_t i = 0; i < nsite; i++) cell[i] = uniform_cell(site[i], first, last, constant, n);
  return FIT_OK;
}

template <class T> status quasi_uniform_search(KERNEL_PARAMETERS(T)) {
  const auto n = static_cast<int32_t>(nx);
  const T first = x[0], last = x[n - 1];
  for (int32_t i = 0, m; (m = block_at(i, nsite, block_sites)) > 0; i += m) {
    int32_t guess[block_sites];
    for (int32_t j = 0; j < m; j++) guess[j] = smaller(index_of((site[i + j] - first) * constant) + 1, n);
    for (int32_t j = 0; j < m; j++)
      cell[i + j] = site[i + j] == last ? n - 1 : settle(x, n, site[i + j], guess[j]);
  }
  return FIT_OK;
}

// Cells of a block of ascending sites: the range ends with the cell of the last of them, and begins where the block
// before ended. Sites on the last breakpoint leave the running index where it is.
template <class T>
void halve_ascending(const T* x, int32_t nx, int32_t n, const T* site, int32_t& from, int32_t* cell) {
  const int32_t low = larger(from - 1, 0), end = settle(x, nx, site[n - 1], from);
  int32_t lows[block_sites];
  for (int32_t j = 0; j < n; j++) lows[j] = low;
  halve(x, n, site, lows, end - low);
  last_to_cell(x[0], x[nx - 1], nx, n, site, lows, cell);
  for (int32_t j = n; j-- > 0;)
    if (site[j] != x[nx - 1]) {
      from = cell[j];
      break;
    }
}

// Many sites go together, unless they are so close to each other that hardly a range is left to halve.
template <class T> status sorted_search(KERNEL_PARAMETERS(T)) {
  constexpr int32_t close = 4;  // breakpoints
  const auto n = static_cast<int32_t>(nx);
  int32_t from = smaller(larger(*start, 0), n);
  if (from == 0 && nsite > 0 && site[0] != x[n - 1]) {  // the first block: its sites may be anywhere
    int32_t at = 0;
    halve(x, 1, site, &at, n);
    from = at + (x[at] <= site[0]);
  }
  for (int32_t i = 0, m; (m = block_at(i, nsite, ascending_sites)) > 0; i += m) {
    const T* const s = site + i;
    if (m == ascending_sites && from < n - close && x[from + close] <= s[m - 1] &&
        ascending_cells(x, n, s, from, cell + i))
      continue;
    for (int32_t j = 0; j < m; j += block_sites)
      halve_ascending(x, n, smaller(m - j, block_sites), s + j, from, cell + i + j);
  }
  *start = from;
  return FIT_OK;
}

template <class T> status peak_search(KERNEL_PARAMETERS(T)) {
  const auto n = static_cast<int32_t>(nx);
  const T last = x[n - 1];
  const int32_t peak = smaller(index_of(constant), n);
  for (int32_t i = 0; i < nsite; i++) cell[i] = site[i] == last ? n - 1 : settle(x, n, site[i], peak);
  return FIT_OK;
}

// Sites of a block halve ranges of one length, that of the longest bucket among theirs.
template <class T> status hybrid_search(KERNEL_PARAMETERS(T)) {
  const auto n = static_cast<int32_t>(nx);
  const bucket whole = {0, n - 1}, *const buckets = table ? reinterpret_cast<const bucket*>(table) : &whole;
  const int64_t count = table ? bucket_count(nx) : 0;
  const T first = x[0], last = x[n - 1];
  for (int32_t i = 0, m; (m = block_at(i, nsite, block_sites)) > 0; i += m) {
    int32_t low[block_sites], length = 1;
    for (int32_t j = 0; j < m; j++) {
      const bucket b = buckets[bucket_of(site[i + j], first, constant, count)];
      low[j] = b.low;
      length = larger(length, b.high - b.low);
    }
    length = smaller(length, n);
    for (int32_t j = 0; j < m; j++) low[j] = smaller(low[j], n - length);
    halve(x, m, site + i, low, length);
    last_to_cell(first, last, n, m, site + i, low, cell + i);
  }
  return FIT_OK;
}

// ---- The caller's search

// From the caller's guess. A site on the breakpoint h stays in cell h.
template <class T> int32_t refined(const T* x, int32_t nx, T s, int64_t guess) {
  const auto h = static_cast<int32_t>(smaller<int64_t>(larger<int64_t>(guess, 0), nx));
  if (h < nx && s == x[h]) return h;
  return s == x[nx - 1] ? nx - 1 : settle(x, nx, s, h);
}

// Cells of up to user_sites sites by the callback, whose integers are of type C.
template <class T, class C>
status user_block(const searcher<T>& how, C n, const T* site, C* cell, int32_t* flags) {
  std::memset(cell, 0, static_cast<std::size_t>(n) * sizeof(C));
  std::memset(flags, 0, static_cast<std::size_t>(n) * sizeof(int32_t));
  constexpr status final = 1000;
  C count = n;
  const status s = how.callback(&count, site, cell, flags, how.params, how.spare);
  if (s < 0) return s;
  if (s == final) return FIT_OK;
  const auto nx = static_cast<int32_t>(how.nx);
  for (C i = 0; i < n; i++)
    if (flags[i] == 0)
      cell[i] = how.method == method::uniform_user
                    ? uniform_cell(site[i], how.x[0], how.x[1], how.constant, nx)
                    : refined(how.x, nx, site[i], cell[i]);
  return s;
}

template <class T, class C>
status user_kernel(const searcher<T>& how, int32_t nsite, const T* site, int32_t* flags, int32_t* cell) {
  status s = FIT_OK;
  for (int32_t i = 0, n; s >= 0 && (n = block_at(i, nsite, user_sites)) > 0; i += n) {
    C cells[user_sites];
    s = user_block<T, C>(how, n, site + i, cells, flags + i);
    for (int32_t j = 0; j < n && s >= 0; j++) cell[i + j] = static_cast<int32_t>(cells[j]);
  }
  return s;
}

template <method which, class T> status user_search(KERNEL_PARAMETERS(T)) {
  const searcher<T> how = {which, nx, x, constant, nullptr, callback, params, spare, word != 0};
  return (how.wide ? user_kernel<T, int64_t> : user_kernel<T, int32_t>)(how, nsite, site, flags, cell);
}

template <class T>
constexpr kernel<T> kernels[] = {uniform_search<T>,
                                 quasi_uniform_search<T>,
                                 sorted_search<T>,
                                 peak_search<T>,
                                 hybrid_search<T>,
                                 user_search<method::user, T>,
                                 user_search<method::uniform_user, T>};

// ---- A whole array of sites

// Sites in slices for t threads: `count` slices of `size` sites, the rest for the caller's thread.
struct slicing {
  int32_t count;
  int64_t size;
};
template <class T> slicing slices(const searcher<T>& how, int64_t nsite, int32_t t) {
  constexpr bool single = sizeof(T) == sizeof(float);
  const slicing even = {t, nsite / t}, none = {0, 0};
  if (t == 1) return none;
  switch (how.method) {
    case method::uniform:
      return nsite > 1000 ? even : none;
    case method::sorted:
      return nsite > 3000 ? even : none;
    case method::peak:
      return nsite > 1200 || how.nx > 1200 ? even : none;
    case method::quasi_uniform:
      return nsite > 300 || (nsite > 150 && (how.nx >= 600 || (t >= 4 && how.nx >= 40))) ? even : none;
    case method::hybrid: {
      constexpr int64_t small_partition = single ? 32 : 8, block = single ? 32 : 128;
      const int64_t least = t <= 2 ? 300 : t <= 4 ? 600 : 1200, blocks = nsite / block;
      if (nsite <= least || how.nx <= small_partition) return none;
      const auto count = static_cast<int32_t>(smaller<int64_t>(t, blocks));
      return {count, blocks / count * block};
    }
    default:
      return none;
  }
}

// In pieces that 32 bits can count; wide cells by way of narrow ones.
template <class C> void search_slice(const auto& how, int64_t nsite, const auto* site, C* cell) {
  constexpr bool wide = sizeof(C) > sizeof(int32_t);
  constexpr int64_t piece = wide ? 512 : int64_t{1} << 30;
  int32_t start = 0, narrow[wide ? piece : 1];
  for (int64_t i = 0, n; (n = block_at(i, nsite, piece)) > 0; i += n)
    if constexpr (wide) {
      find_cells(how, static_cast<int32_t>(n), site + i, start, narrow);
      for (int64_t j = 0; j < n; j++) cell[i + j] = narrow[j];
    } else {
      find_cells(how, static_cast<int32_t>(n), site + i, start, cell + i);
    }
}

// The last call of the callback has the rest of the sites, also where there is none.
template <class T, class C>
status search_by_user(const searcher<T>& how, int64_t nsite, const T* site, C* cell) {
  C cells[user_sites];
  int32_t flags[user_sites];
  for (int64_t i = 0;; i += user_sites) {
    const int64_t n = block_at<int64_t>(i, nsite, user_sites);
    const status s = user_block<T, C>(how, static_cast<C>(n), site + i, cells, flags);
    if (s < 0) return s;
    std::memcpy(cell + i, cells, static_cast<std::size_t>(n) * sizeof(C));
    if (n < user_sites) return s;
  }
}

template <class T, class C>
status search_all(const searcher<T>& how, int64_t nsite, const T* site, C* cell,
                  const DFThreadServices* services) {
  if (how.callback) return search_by_user(how, nsite, site, cell);
  constexpr int64_t least_for_threads = 32;
  const slicing cut =
      nsite < least_for_threads ? slicing{0, 0} : slices(how, nsite, arko::thread_count(services));
  if (cut.count > 0) {
    const auto slice = [&](int32_t task, int32_t) {
      search_slice(how, cut.size, site + task * cut.size, cell + task * cut.size);
    };
    arko::parallel_for(services, cut.count, cut.count, slice);
  }
  const int64_t done = cut.count * cut.size;
  search_slice(how, nsite - done, site + done, cell + done);
  return FIT_OK;
}

// Sites that are told by their ends. The step is extended, so that the last site is the end.
template <class T> void expand(const T* ends, int64_t nsite, T* site) {
  using wide = long double;
  const wide left = ends[0],
             step = nsite > 1 ? (static_cast<wide>(ends[1]) - left) / static_cast<wide>(nsite - 1) : 0;
  for (int64_t i = 0; i < nsite; i++) site[i] = static_cast<T>(left + static_cast<wide>(i) * step);
}

template <class T>
status search_1d(const task* t, int64_t nsite, const T* site, int64_t sitehint, const double* datahint,
                 void* cell, DFSearchCallBack callback, void* params, const DFThreadServices* services) {
  if (!t) return FIT_ERR_NULL_TASK;
  if (nsite < 1) return FIT_OK;
  searcher<T> how;
  if (const status s = choose_search(how, *t, sitehint, datahint, callback, params, nullptr); s != FIT_OK)
    return s;
  const auto search = [&](const T* sites) {
    return t->wide_ints ? search_all(how, nsite, sites, static_cast<int64_t*>(cell), services)
                        : search_all(how, nsite, sites, static_cast<int32_t*>(cell), services);
  };
  if (sitehint != FIT_SITE_UNIFORM) return search(site);
  constexpr int64_t on_stack = 4096;
  if (nsite <= on_stack) {
    T sites[on_stack];
    expand(site, nsite, sites);
    return search(sites);
  }
  const arko::block<T> sites(static_cast<std::size_t>(nsite));
  if (!sites) return FIT_ERR_MEMORY;
  expand(site, nsite, sites.get());
  return search(sites.get());
}

}  // namespace

template <class T>
status choose_search(searcher<T>& out, const task& t, int64_t sitehint, const double* datahint,
                     DFSearchCallBack callback, void* params, void* spare) {
  const T* const x = static_cast<const T*>(t.x);
  const T cells = static_cast<T>(t.nx - 1);
  out = {method::hybrid, t.nx, x, 0, nullptr, callback, params, spare, t.wide_ints != 0};
  if (callback) {
    out.method = is_uniform(t) ? method::uniform_user : method::user;
  } else if (is_uniform(t)) {
    out.method = method::uniform;
  } else if (t.xhint == FIT_X_QUASI) {
    out.method = method::quasi_uniform;
  } else if (sitehint == FIT_SITE_SORTED) {
    out.method = method::sorted;
  } else if (datahint && datahint[1] != 0) {
    constexpr double peak = 1;
    if (datahint[1] != peak || !(datahint[4] >= 0 && datahint[4] <= static_cast<double>(t.nx)))
      return FIT_ERR_DATAHINT;
    out.method = method::peak;
    out.constant = static_cast<T>(datahint[4]);
  }
  if (is_uniform(t)) {
    out.constant = cells / (x[1] - x[0]);
  } else if (out.method == method::quasi_uniform) {
    out.constant = cells / (x[t.nx - 1] - x[0]);
  } else if (out.method == method::hybrid) {
    out.constant = bucket_scale<T>(t);
    // A table that was made for other breakpoints tells nothing about these.
    if (const bucket* const b = t.bucket_table; b && head_of(b).nx == t.nx && head_of(b).x == t.x)
      out.buckets = b;
  }
  return FIT_OK;
}

template <class T>
status find_cells(const searcher<T>& how, int32_t n, const T* site, int32_t& start, int32_t* cell) {
  int32_t flags[user_sites];
  return kernels<T>[static_cast<int32_t>(how.method)](how.nx, how.x, n, site, how.wide, how.constant, &start,
                                                      reinterpret_cast<const int32_t*>(how.buckets),
                                                      how.callback, how.params, how.spare, flags, cell);
}

template status choose_search(searcher<double>&, const task&, int64_t, const double*, DFSearchCallBack, void*,
                              void*);
template status choose_search(searcher<float>&, const task&, int64_t, const double*, DFSearchCallBack, void*,
                              void*);
template status find_cells(const searcher<double>&, int32_t, const double*, int32_t&, int32_t*);
template status find_cells(const searcher<float>&, int32_t, const float*, int32_t&, int32_t*);

}  // namespace fit

using namespace fit;

// Each block kernel under its two names.
#define KERNEL(p, T, name, which)                                                                      \
  FIT_EXPORT int32_t arko_df_kernel_##p##DF##name##Search1D(KERNEL_PARAMETERS(T)) {                    \
    return nsite < 1 ? FIT_OK : kernels<T>[static_cast<int32_t>(method::which)](KERNEL_ARGUMENTS);     \
  }                                                                                                    \
  FIT_EXPORT decltype(arko_df_kernel_##p##DF##name##Search1D) arko_df_kernel_##p##DF##name##Search1D32 \
      __attribute__((alias("arko_df_kernel_" #p "DF" #name "Search1D")));
#define ENTRIES(p, T)                                                                                       \
  KERNEL(p, T, Uniform, uniform)                                                                            \
  KERNEL(p, T, QuasiUniform, quasi_uniform)                                                                 \
  KERNEL(p, T, Sorted, sorted)                                                                              \
  KERNEL(p, T, Peak, peak)                                                                                  \
  KERNEL(p, T, Hybrid, hybrid)                                                                              \
  KERNEL(p, T, UserDef, user)                                                                               \
  KERNEL(p, T, UniUserDef, uniform_user)                                                                    \
  FIT_EXPORT int32_t arko_df_kernel_##p##DFSearch1D(                                                        \
      void* t, int64_t, int64_t nsite, const T* site, int64_t sitehint, const double* datahint, void* cell, \
      DFSearchCallBack callback, void* params, const DFThreadServices* threads) {                           \
    return search_1d(static_cast<const task*>(t), nsite, site, sitehint, datahint, cell, callback, params,  \
                     threads);                                                                              \
  }
ENTRIES(d, double)
ENTRIES(s, float)
