// Integration: intervals go through search and summation in blocks of 128.
//
// Where the caller's functions integrate beyond the ends or within the partition, an interval is cut into its parts
// on the left, on the right and within, and each goes to the caller's function or to the integrand of the task.

#include <algorithm>

#include "fit/integral.h"
#include "fit/scratch.h"
#include "fit/search.h"
#include "fit/slices.h"

namespace fit { namespace {

constexpr int unit = 128;  // intervals of a block
static_assert(unit <= user_sites);
constexpr int64_t slice = 5 * unit;  // of a task
constexpr int local_rows = 2048;     // numbers of row buffers that lie on the stack
constexpr int local_pairs = 2 * 16;  // sums of stretches that do

struct rule {
  DFIntegrCallBack function;
  void* params;
};

template <class T> struct limits {
  const T* v;
  bool even;
  searcher<T> find;

  explicit limits(const T* v) : v(v) {}
  status choose(const task& t, int64_t hint, const double* datahint, DFSearchCallBack callback, void* params,
                void* which) {
    even = hint & uniform_bit;
    const status s = choose_search(find, t, hint, datahint, callback, params, which);
    if (is_uniform(t)) find.constant = 1 / uniform_grid<T>(partition<T>(t)).step;
    return s;
  }
  int64_t parallel_from() const { return parallel_from_[static_cast<int32_t>(find.method)]; }

 private:
  // By search method, the count of intervals from which on threads are used.
  static constexpr int64_t parallel_from_[] = {256, 384, 640, 512, 256, 640, 640};
};

// The limits of a block's intervals on one side, and their cells.
template <class T> struct bounds {
  const T* v;
  T even[unit];
  int32_t cell[unit];
};

template <class T> struct integration {
  const task& t;
  kind k;
  knots<T> at;
  limits<T> left, right;
  int64_t nlim;
  T* r;
  bool by_function;
  rule before, within, behind;  // the partition
  const stretches<T>* known;

  bool has_rules() const { return before.function || within.function || behind.function; }

  // Numbers of row buffers that a thread needs.
  int64_t buffer() const { return has_rules() ? (unit + 1) * t.ny : by_function ? 0 : unit * t.ny; }

  // Of function f, over n intervals.
  void integrals(int64_t f, int n, const T* l, const int32_t* kl, const T* u, const int32_t* ku,
                 T* row) const {
    with_pieces(t, k, at, f, [&](const auto& pieces) {
      for (int i = 0; i < n; i++) row[i] = integral(pieces, l[i], kl[i], u[i], ku[i], known, f);
    });
  }

  status find(const limits<T>& side, int64_t first, int n, int32_t& start, bounds<T>& b) const {
    b.v = side.v + first;
    if (side.even) {
      ramp<T>(side.v, nlim).fill(first, n, b.even);
      b.v = b.even;
    }
    const status s = find_cells(side.find, n, b.v, start, b.cell);
    if (side.find.callback) keep_in(t.nx, n, b.cell);
    return s;
  }

  status block(int64_t first, int n, int32_t (&start)[2], T* rows) const {
    bounds<T> l, u;
    if (const status s = find(left, first, n, start[0], l); s < 0) return s;
    if (const status s = find(right, first, n, start[1], u); s < 0) return s;
    if (has_rules()) return by_rules(first, n, l, u, rows);

    for (int64_t f = 0; f < t.ny; f++)
      integrals(f, n, l.v, l.cell, u.v, u.cell, by_function ? r + f * nlim + first : rows + f * unit);
    if (!by_function)
      for (int i = 0; i < n; i++)
        for (int64_t f = 0; f < t.ny; f++) r[(first + i) * t.ny + f] = rows[f * unit + i];
    return FIT_OK;
  }

  status by_rules(int64_t first, int n, const bounds<T>& l, const bounds<T>& u, T* rows) const {
    T* const theirs = rows + unit * t.ny;
    for (int i = 0; i < n; i++) {
      T* const row = rows + i * t.ny;
      std::fill_n(row, t.ny, T(0));
      const bool exchanged = u.v[i] < l.v[i];
      const status s = exchanged ? interval(u.v[i], u.cell[i], l.v[i], l.cell[i], row, theirs)
                                 : interval(l.v[i], l.cell[i], u.v[i], u.cell[i], row, theirs);
      if (s < 0) return s;
      for (int64_t f = 0; f < t.ny; f++)
        r[by_function ? f * nlim + first + i : (first + i) * t.ny + f] = exchanged ? -row[f] : row[f];
    }
    return FIT_OK;
  }

  // Adds the integrals from l to u, l <= u, of all functions to `row`.
  status interval(T l, int32_t kl, T u, int32_t ku, T* row, T* theirs) const {
    return with_grid(partition<T>(t), [&](const auto& x) {
      const auto outermost = static_cast<int32_t>(t.nx);
      status s = FIT_OK;
      if (kl == 0) s = part(before, l, 0, std::min(u, x[0]), 0, row, theirs);
      if (s >= 0 && ku == outermost)
        s = part(behind, std::max(l, x[t.nx - 1]), outermost, u, outermost, row, theirs);
      if (s >= 0 && ku > 0 && kl < outermost)
        s = part(within, std::max(l, x[polynomial_of(kl, outermost)]), kl,
                 std::min(u, x[polynomial_of(ku, outermost) + 1]), ku, row, theirs);
      return s;
    });
  }

  status part(const rule& rule, T l, int32_t kl, T u, int32_t ku, T* row, T* theirs) const {
    if (!rule.function) {
      for (int64_t f = 0; f < t.ny; f++) {
        T sum;
        integrals(f, 1, &l, &kl, &u, &ku, &sum);
        row[f] += sum;
      }
      return FIT_OK;
    }
    int64_t n = 1;
    const int64_t left_cell = kl, right_cell = ku;
    const status s = rule.function(&n, &left_cell, &l, &right_cell, &u, theirs, rule.params, nullptr);
    if (s >= 0)
      for (int64_t f = 0; f < t.ny; f++) row[f] += theirs[f];
    return s;
  }

  status range(int64_t from, int64_t end, T* rows) const {
    int32_t start[2] = {0, 0};
    for (; from < end; from += unit) {
      const status s = block(from, static_cast<int>(std::min<int64_t>(unit, end - from)), start, rows);
      if (s < 0) return s;
    }
    return FIT_OK;
  }

  status slices(const DFThreadServices* services, int32_t threads, T* rows) const {
    int64_t from = 0;
    if (threads > 1)
      for (const int64_t size : {slice, int64_t{unit}}) {
        const int64_t tasks = (nlim - from) / size;
        if (size == slice && tasks < threads) continue;  // blocks share out better
        const status s = run_tasks(services, tasks, threads, [&](int64_t task, int32_t thread) {
          const int64_t first = from + task * size;
          return range(first, first + size, rows + thread * buffer());
        });
        if (s < 0) return s;
        from += tasks * size;
      }
    return range(from, nlim, rows);
  }
};

// ---- Peaks

bool is_peak(const double* datahint) { return datahint && datahint[1] == 1.0; }

// Where left and right limits crowd round two cells, most intervals have the cells between in common. False where the
// peaks are too near each other.
template <class T> bool between_peaks(int64_t nx, double p, double q, stretches<T>& known) {
  if (!(nx >= 6 && std::fabs(p - q) > 3)) return false;
  const auto n = static_cast<double>(nx);
  const auto low = static_cast<int32_t>(std::clamp(std::min(p, q), 2.0, n)),
             high = static_cast<int32_t>(std::min(std::max(p, q), n - 2));
  if (high - (low + 1) <= 2) return false;
  known = {{low, low - 1}, {high - 1, high}, nullptr};
  return true;
}

template <class T> void sum_stretches(const integration<T>& work, const stretches<T>& known, T* sums) {
  for (int64_t f = 0; f < work.t.ny; f++)
    with_pieces(work.t, work.k, work.at, f, [&](const auto& pieces) {
      const T inner = sum_of_pieces(pieces, known.from[0], known.to[0]);
      sums[2 * f] = inner;
      sums[2 * f + 1] = pieces.whole(known.from[1]) + inner + pieces.whole(known.to[0]);
    });
}

// ---- The entry

template <class T>
status integrate(const void* task_, int64_t nlim, const T* llim, int64_t llimhint, const T* rlim,
                 int64_t rlimhint, const double* ldatahint, const double* rdatahint, T* r, int64_t rhint,
                 const rule& before, const rule& behind, const rule& within, DFSearchCallBack search_cb,
                 void* search_params, const DFThreadServices* services) {
  if (!task_) return FIT_ERR_NULL_TASK;
  const task& t = *static_cast<const task*>(task_);
  const bool all_outside = before.function && behind.function && within.function;
  const kind k = kind_of(t, all_outside);
  if (k == kind::none || k == kind::lookup) return FIT_ERR_TYPE;
  limits<T> left(llim), right(rlim);
  int32_t which[2] = {0, 1};  // what the caller's search is told of
  if (const status s = left.choose(t, llimhint, ldatahint, search_cb, search_params, &which[0]); s < 0)
    return s;
  if (const status s = right.choose(t, rlimhint, rdatahint, search_cb, search_params, &which[1]); s < 0)
    return s;
  if (rhint != 0 && rhint != 16 && rhint != 32 && rhint != 128) return FIT_ERR_INTRHINT;
  if (is_table(k) && !t.y_table) return FIT_ERR_Y;  // also where there are no functions
  if (const status s = has_input(t, k, all_outside); s < 0) return s;
  if (nlim < 1) return FIT_OK;

  integration<T> work = {t,      k,      knots<T>(t), left,   right, nlim, r, rhint == 16 || rhint == 128,
                         before, within, behind,      nullptr};

  // Even knots are worked out once, as sums go over many of them.
  const bool even_knots = k == kind::knot_quadratic && (t.ic_type & knots_bit) && work.at.even;
  const scratch<T, 1> all_knots(even_knots ? t.nx + 1 : 0);
  if (!all_knots) return FIT_ERR_MEMORY;
  if (even_knots) {
    with_grid(partition<T>(t), [&](const auto& x) {
      for (int64_t j = 0; j <= t.nx; j++) all_knots.get()[j] = work.at.at(x, j);
    });
    work.at = knots<T>();
    work.at.given = all_knots.get();
  }

  stretches<T> known;
  const bool has_cells = k == kind::linear || k == kind::quadratic || k == kind::cubic || k == kind::general;
  const bool peaks = is_peak(ldatahint) && is_peak(rdatahint) && !work.has_rules() && has_cells &&
                     between_peaks(t.nx, ldatahint[4], rdatahint[4], known);
  const scratch<T, local_pairs> sums(peaks ? 2 * t.ny : 0);
  if (!sums) return FIT_ERR_MEMORY;
  if (peaks) {
    sum_stretches(work, known, sums.get());
    known.sums = sums.get();
    work.known = &known;
  }

  int32_t threads = arko::thread_count(services);
  if (threads < 2 || nlim < std::max(left.parallel_from(), right.parallel_from())) threads = 1;
  const scratch<T, local_rows> rows(work.buffer() * threads);
  if (!rows) return FIT_ERR_MEMORY;
  return work.slices(services, threads, rows.get());
}

}}  // namespace fit

#define INTEGRATE(p, real)                                                                                  \
  FIT_EXPORT int32_t arko_df_kernel_##p##DFIntegrate1D(                                                     \
      void* task, int64_t, int64_t nlim, const real* llim, int64_t llimhint, const real* rlim,              \
      int64_t rlimhint, const double* ldatahint, const double* rdatahint, real* r, int64_t rhint,           \
      DFIntegrCallBack le_cb, void* le_params, DFIntegrCallBack re_cb, void* re_params,                     \
      DFIntegrCallBack i_cb, void* i_params, DFSearchCallBack search_cb, void* search_params,               \
      const DFThreadServices* threads) {                                                                    \
    return fit::integrate<real>(task, nlim, llim, llimhint, rlim, rlimhint, ldatahint, rdatahint, r, rhint, \
                                {le_cb, le_params}, {re_cb, re_params}, {i_cb, i_params}, search_cb,        \
                                search_params, threads);                                                    \
  }
INTEGRATE(d, double)
INTEGRATE(s, float)
