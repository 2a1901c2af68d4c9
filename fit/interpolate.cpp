// Interpolation: sites go through search and evaluation in blocks of 64.
//
// A block's sites that lie beyond an end of the partition, or within it, can be the caller's to evaluate: they are
// gathered, and the caller's results put where they belong. What is left of the block is evaluated in runs.

#include <algorithm>

#include "fit/evaluate.h"
#include "fit/scratch.h"
#include "fit/search.h"
#include "fit/slices.h"

namespace fit { namespace {

constexpr int unit = 64;  // sites of a block
static_assert(unit <= user_sites);
constexpr int64_t slice = 5 * unit;      // of a task
constexpr int64_t few_sites = 32;        // below it there are no threads and nothing is allocated
constexpr int64_t parallel_above = 512;  // sites
constexpr int local_results = 1024;      // of a caller's function that lie on the stack

constexpr int64_t write_cells_bit = 2, given_cells = 4;  // of `type`

struct rule {
  DFInterpCallBack function;
  void* params;
};
enum where { left, right, inner };

// What a thread needs for a block.
template <class T> struct work_area {
  T site[unit], offset[unit], picked_site[unit];
  int32_t cell[unit], index[unit], picked[unit];
  int64_t picked_cell[unit];
};

// Result k of function f at site i has the number f * function + i * site + k * slot.
struct layout {
  int64_t function, site, slot;
};
bool layout_of(int64_t rhint, int64_t ny, int64_t nsite, int64_t slots, layout& l) {
  switch (rhint) {
    case 0:
    case 16:
    case 128:
      l = {nsite * slots, slots, 1};
      return true;
    case 32:
      l = {slots * nsite, 1, nsite};
      return true;
    case 256:
      l = {slots, ny * slots, 1};
      return true;
    case 512:
      l = {1, slots * ny, ny};
      return true;
    default:
      return false;
  }
}

template <class T> struct interpolation {
  const task& t;
  kind k;
  request ask;
  knots<T> at;
  searcher<T> find;
  int64_t type, nsite;
  const T* site;
  bool even_sites;
  T* r;
  layout to;
  void* cell;
  rule rules[3];

  where side(int32_t c) const { return c <= 0 ? left : c >= t.nx ? right : inner; }
  bool has_rules() const { return rules[left].function || rules[right].function || rules[inner].function; }

  output<T> results(int64_t f, int64_t i) const {
    return {r + f * to.function + i * to.site, to.site, to.slot};
  }

  void read_cells(int64_t first, int n, int32_t* c) const {
    for (int i = 0; i < n; i++) {
      const int64_t given = t.wide_ints ? static_cast<const int64_t*>(cell)[first + i]
                                        : static_cast<const int32_t*>(cell)[first + i];
      c[i] = static_cast<int32_t>(std::clamp(given, int64_t{0}, t.nx));
    }
  }
  void write_cells(int64_t first, int n, const int32_t* c) const {
    if (t.wide_ints)
      std::copy_n(c, n, static_cast<int64_t*>(cell) + first);
    else
      std::copy_n(c, n, static_cast<int32_t*>(cell) + first);
  }

  // Sites from..to of a block whose first site is `first`, by the interpolant of the task.
  status evaluate_run(int64_t first, int from, int n, const T* s, work_area<T>& w) const {
    const status found = with_grid(partition<T>(t), [&](const auto& x) {
      return locate(k, x, at, ask, n, s + from, w.cell + from, w.index, w.offset);
    });
    if (found < 0) return found;
    for (int64_t f = 0; f < t.ny; f++) evaluate(t, k, f, ask, n, w.index, w.offset, results(f, first + from));
    return FIT_OK;
  }

  // The block's sites on one side of or in the partition, by the caller's function.
  status evaluate_outside(where group, int64_t first, int n, const T* s, work_area<T>& w) const {
    int64_t count = 0;
    for (int i = 0; i < n; i++)
      if (side(w.cell[i]) == group) {
        w.picked[count] = i;
        w.picked_site[count] = s[i];
        w.picked_cell[count++] = w.cell[i];
      }
    if (count == 0) return FIT_OK;

    const int64_t slots = ask.slots(), size = count * t.ny * slots;
    const scratch<T, local_results> theirs(size);
    if (!theirs) return FIT_ERR_MEMORY;

    int64_t handed_over = count;
    const rule& rule = rules[group];
    const status done =
        rule.function(&handed_over, w.picked_cell, w.picked_site, theirs.get(), rule.params, nullptr);
    if (done < 0) return done;
    const T* from = theirs.get();
    for (int64_t f = 0; f < t.ny; f++)
      for (int64_t i = 0; i < count; i++) {
        const output<T> out = results(f, first + w.picked[i]);
        for (int64_t slot = 0; slot < slots; slot++) out.r[slot * out.slot] = *from++;
      }
    return done;
  }

  // A negative status, or else that of the last function of the caller that was called.
  status block(int64_t first, int n, work_area<T>& w, int32_t& start) const {
    const T* s = site + first;
    if (even_sites) {
      ramp<T>(site, nsite).fill(first, n, w.site);
      s = w.site;
    }
    if (type == given_cells)
      read_cells(first, n, w.cell);
    else if (const status found = find_cells(find, n, s, start, w.cell); found < 0)
      return found;
    if (type & write_cells_bit) write_cells(first, n, w.cell);
    if (find.callback && type != given_cells) keep_in(t.nx, n, w.cell);
    if (!has_rules()) return evaluate_run(first, 0, n, s, w);

    const auto ours = [&](int i) { return !rules[side(w.cell[i])].function; };
    for (int i = 0, end; i < n; i = end) {
      for (end = i; end < n && ours(end); end++) {
      }
      if (end > i)
        if (const status done = evaluate_run(first, i, end - i, s, w); done < 0) return done;
      for (; end < n && !ours(end); end++) {
      }
    }
    status last = FIT_OK;
    for (const where group : {left, right, inner})
      if (rules[group].function) {
        const status done = evaluate_outside(group, first, n, s, w);
        if (done < 0) return done;
        if (done != FIT_OK) last = done;
      }
    return last;
  }

  status range(int64_t from, int64_t end, work_area<T>& w) const {
    int32_t start = 0;
    status last = FIT_OK;
    for (; from < end; from += unit) {
      last = block(from, static_cast<int>(std::min<int64_t>(unit, end - from)), w, start);
      if (last < 0) return last;
    }
    return last;
  }

  status slices(const DFThreadServices* services, int32_t threads, work_area<T>* areas) const {
    int64_t from = 0;
    if (threads > 1 && nsite > parallel_above)
      for (const int64_t size : {slice, int64_t{unit}}) {
        const int64_t tasks = (nsite - from) / size;
        const status done = run_tasks(services, tasks, threads, [&](int64_t task, int32_t thread) {
          const int64_t first = from + task * size;
          return range(first, first + size, areas[thread]);
        });
        if (done < 0) return done;
        from += tasks * size;
      }
    return range(from, nsite, areas[0]);
  }
};

template <class T>
status interpolate(const void* task_, int64_t type, int64_t nsite, const T* site, int64_t sitehint,
                   int64_t ndorder, const void* dorder, const double* datahint, T* r, int64_t rhint,
                   void* cell, const rule (&rules)[3], DFSearchCallBack search_cb, void* search_params,
                   const DFThreadServices* services) {
  if (!task_) return FIT_ERR_NULL_TASK;
  const task& t = *static_cast<const task*>(task_);
  const bool all_outside = rules[left].function && rules[right].function && rules[inner].function;
  const kind k = kind_of(t, all_outside);
  if (k == kind::none) return FIT_ERR_TYPE;
  const request ask(dorder, ndorder, t.wide_ints);
  layout to;
  if (!layout_of(rhint, t.ny, nsite, ask.slots(), to)) return FIT_ERR_RHINT;
  const bool even_sites = sitehint & uniform_bit;
  searcher<T> find = {};
  if (type != given_cells)
    if (const status s = choose_search(find, t, sitehint, datahint, search_cb, search_params, nullptr); s < 0)
      return s;
  if (const status s = has_input(t, k, all_outside); s < 0) return s;

  const interpolation<T> work = {t,
                                 k,
                                 ask,
                                 knots<T>(t),
                                 find,
                                 type,
                                 nsite,
                                 site,
                                 even_sites,
                                 r,
                                 to,
                                 cell,
                                 {rules[0], rules[1], rules[2]}};
  if (nsite < few_sites) {
    work_area<T> area;
    const status s = work.range(0, nsite, area);
    // A single site at its simplest is the caller's call as a whole.
    const bool simple = nsite == 1 && type != given_cells && !(type & write_cells_bit) && !even_sites &&
                        (k == kind::linear || k == kind::quadratic || k == kind::cubic) && ndorder <= 2 &&
                        t.ny == 1 && !search_cb;
    return s < 0 || simple ? s : FIT_OK;
  }
  const int32_t threads = arko::thread_count(services);
  const arko::block<work_area<T>> areas(static_cast<std::size_t>(threads));
  if (!areas) return FIT_ERR_MEMORY;
  return std::min(work.slices(services, threads, areas.get()), FIT_OK);
}

}}  // namespace fit

#define INTERPOLATE(p, real)                                                                                 \
  FIT_EXPORT int32_t arko_df_kernel_##p##DFInterpolate1D(                                                    \
      void* task, int64_t type, int64_t, int64_t nsite, const real* site, int64_t sitehint, int64_t ndorder, \
      const void* dorder, const double* datahint, real* r, int64_t rhint, void* cell,                        \
      DFInterpCallBack le_cb, void* le_params, DFInterpCallBack re_cb, void* re_params,                      \
      DFInterpCallBack i_cb, void* i_params, DFSearchCallBack search_cb, void* search_params,                \
      const DFThreadServices* threads) {                                                                     \
    return fit::interpolate<real>(task, type, nsite, site, sitehint, ndorder, dorder, datahint, r, rhint,    \
                                  cell, {{le_cb, le_params}, {re_cb, re_params}, {i_cb, i_params}},          \
                                  search_cb, search_params, threads);                                        \
  }
INTERPOLATE(d, double)
INTERPOLATE(s, float)
