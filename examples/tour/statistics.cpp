// Summary statistics of the columns of a table, and of more numbers than one wants to keep.
#include <arko/stats.h>
#include <arko/stream.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "examples/thread_services.h"
#include "examples/tour/tour.h"

namespace tour {
namespace {

using arko::examples::thread_services;

constexpr double orders[] = {0.1, 0.25, 0.5, 0.75, 0.9};
constexpr std::int32_t order_count = 5;

// A task that deletes itself, over p components of which those of an observation lie side by side.
class task {
 public:
  task(const std::int32_t& p, const std::int32_t& n, const double* x) {
    static const std::int32_t storage = KOV_SS_OBSERVATIONS;
    done(__kovdSSNewTask(&task_, &p, &n, &storage, x, nullptr, nullptr, 0), "__kovdSSNewTask");
  }
  task(const task&) = delete;
  ~task() { __kovSSDeleteTask(&task_); }
  operator void*() const { return task_; }

 private:
  void* task_ = nullptr;
};

// The estimates of the report; `weight` is the sums of weights that a computation by blocks goes on from.
struct moments {
  std::vector<double> mean, raw2, raw3, raw4, variance, central3, central4, skewness, kurtosis, min, max, cov,
      cor;
  double weight[2] = {};

  explicit moments(std::size_t p)
      : mean(p),
        raw2(p),
        raw3(p),
        raw4(p),
        variance(p),
        central3(p),
        central4(p),
        skewness(p),
        kurtosis(p),
        min(p),
        max(p),
        cov(p * p),
        cor(p * p) {}

  void attach(const task& t) {
    static const std::int32_t full = KOV_SS_FULL;
    done(__kovdSSEditMoments(t, mean.data(), raw2.data(), raw3.data(), raw4.data(), variance.data(),
                             central3.data(), central4.data()),
         "__kovdSSEditMoments");
    done(__kovdSSEditCovCor(t, mean.data(), cov.data(), &full, cor.data(), &full), "__kovdSSEditCovCor");
    const struct {
      std::int64_t field;
      double* value;
    } others[] = {{KOV_SS_SKEWNESS, skewness.data()},
                  {KOV_SS_KURTOSIS, kurtosis.data()},
                  {KOV_SS_MIN, min.data()},
                  {KOV_SS_MAX, max.data()},
                  {KOV_SS_ACCUM_WEIGHT, weight}};
    for (const auto& o : others) done(__kovdSSEditTask(t, o.field, o.value), "__kovdSSEditTask");
  }
  void compute(const task& t) {
    done(_kovdSSBasic(t, estimates, KOV_SS_FAST, thread_services::get()), "_kovdSSBasic");
    done(_kovdSSMinmax(t, KOV_SS_EST_MIN | KOV_SS_EST_MAX, KOV_SS_FAST, thread_services::get()),
         "_kovdSSMinmax");
  }

 private:
  static constexpr std::uint64_t estimates = KOV_SS_EST_MEAN | KOV_SS_EST_CENTRAL2 | KOV_SS_EST_CENTRAL3 |
                                             KOV_SS_EST_CENTRAL4 | KOV_SS_EST_SKEWNESS | KOV_SS_EST_KURTOSIS |
                                             KOV_SS_EST_COV | KOV_SS_EST_COR;
};

struct summary {
  std::int32_t p, n;  // components, rows without gaps
  moments m;
  std::vector<double> quantiles;  // of each component, in the order of `orders`
};

summary summarise(std::int32_t p, const std::vector<double>& rows) {
  const auto n = static_cast<std::int32_t>(rows.size() / static_cast<std::size_t>(p));
  summary s{p, n, moments(static_cast<std::size_t>(p)),
            std::vector<double>(static_cast<std::size_t>(p * order_count))};
  const task t(s.p, s.n, rows.data());
  s.m.attach(t);
  for (std::int32_t c = 0; c < p; c++) s.m.min[c] = s.m.max[c] = rows[c];
  s.m.compute(t);
  done(__kovdSSEditQuantiles(t, &order_count, orders, s.quantiles.data(), nullptr, nullptr),
       "__kovdSSEditQuantiles");
  done(_kovdSSQuantiles(t, KOV_SS_EST_QUANTS, KOV_SS_FAST, thread_services::get()), "_kovdSSQuantiles");
  return s;
}

// The observations without gaps, one after the other.
std::vector<double> complete_rows(const std::vector<column>& columns) {
  std::vector<double> rows;
  for (std::size_t i = 0; i < columns[0].values.size(); i++) {
    if (std::any_of(columns.begin(), columns.end(), [&](const column& c) { return std::isnan(c.values[i]); }))
      continue;
    for (const column& c : columns) rows.push_back(c.values[i]);
  }
  return rows;
}

void print(const std::vector<column>& columns, const summary& s) {
  std::printf("  %-14s %10s %10s %9s %9s %10s %10s", "", "mean", "deviation", "skewness", "kurtosis", "least",
              "greatest");
  std::printf("\n");
  for (std::int32_t c = 0; c < s.p; c++)
    std::printf("  %-14.14s %10.5g %10.5g %9.4f %9.4f %10.5g %10.5g\n", columns[c].name.c_str(), s.m.mean[c],
                std::sqrt(s.m.variance[c]), s.m.skewness[c], s.m.kurtosis[c], s.m.min[c], s.m.max[c]);
  std::printf("  %-14s", "quantiles");
  for (const double q : orders) std::printf(" %9.0f%%", 100 * q);
  std::printf("\n");
  for (std::int32_t c = 0; c < s.p; c++) {
    std::printf("  %-14.14s", columns[c].name.c_str());
    for (std::int32_t q = 0; q < order_count; q++) std::printf(" %10.5g", s.quantiles[c * order_count + q]);
    std::printf("\n");
  }
  if (s.p < 2) return;
  std::printf("  covariance below and on the diagonal, correlation above it\n");
  for (std::int32_t i = 0; i < s.p; i++) {
    std::printf("  %-14.14s", columns[i].name.c_str());
    for (std::int32_t j = 0; j < s.p; j++) std::printf(" %10.5g", (j > i ? s.m.cor : s.m.cov)[i * s.p + j]);
    std::printf("\n");
  }
}

// The largest difference, relative to the second.
double difference(const std::vector<double>& a, const std::vector<double>& b) {
  double largest = 0;
  for (std::size_t i = 0; i < a.size(); i++) largest = std::fmax(largest, std::fabs((a[i] - b[i]) / b[i]));
  return largest;
}

// The same moments from four blocks, as data come that do not fit into memory.
void in_blocks(const std::vector<double>& rows, const summary& whole) {
  moments m(static_cast<std::size_t>(whole.p));
  std::int32_t n = whole.n / 4;
  std::size_t first = 0;
  const task t(whole.p, n, rows.data());
  m.attach(t);
  for (std::int32_t c = 0; c < whole.p; c++) m.min[c] = m.max[c] = rows[c];
  for (int block = 0; block < 4; block++) {
    if (block == 3) n = whole.n - 3 * n;
    done(__kovdSSEditTask(t, KOV_SS_OBS, &rows[first]), "__kovdSSEditTask");
    m.compute(t);
    first += static_cast<std::size_t>(n) * static_cast<std::size_t>(whole.p);
  }
  std::printf("  in four blocks, %d threads: means differ by %.1g, covariances by %.1g (relative)\n",
              thread_services::threads, difference(m.mean, whole.m.mean), difference(m.cov, whole.m.cov));
}

// Quantiles of numbers that come in blocks and are not kept, beside those of all numbers sorted.
void stream_quantiles() {
  constexpr std::int32_t blocks = 100, count = 10000000, one = 1;
  constexpr double eps = 0.001;
  std::vector<double> x(count);
  void* stream = nullptr;
  const std::uint32_t seed[1] = {7};
  done(__kovNewStreamEx(&stream, KOV_BRNG_SFMT19937, 1, seed), "__kovNewStreamEx");
  done(__kovdBRngSFMT19937(stream, count, x.data(), 0, 1), "__kovdBRngSFMT19937");
  __kovDeleteStream(&stream);
  for (double& u : x) u = std::sqrt(u);

  double estimates[order_count];
  std::int32_t n = count / blocks;
  const task t(one, n, x.data());
  done(__kovdSSEditStreamQuantiles(t, &order_count, orders, estimates, &one, &eps),
       "__kovdSSEditStreamQuantiles");
  const double streamed = once([&] {
    for (int b = 0; b < blocks; b++) {
      const double* const block = &x[static_cast<std::size_t>(b) * static_cast<std::size_t>(n)];
      done(__kovdSSEditTask(t, KOV_SS_OBS, block), "__kovdSSEditTask");
      const std::uint64_t how = b + 1 < blocks ? KOV_SS_SQ_TAKE : KOV_SS_SQ_RESULT;
      done(_kovdSSStreamQuantiles(t, 0, how, thread_services::get()), "_kovdSSStreamQuantiles");
    }
  });
  const double sorting = once([&] { std::sort(x.begin(), x.end()); });
  double worst = 0;
  for (std::int32_t q = 0; q < order_count; q++) {
    const double rank = static_cast<double>(std::lower_bound(x.begin(), x.end(), estimates[q]) - x.begin());
    worst = std::fmax(worst, std::fabs(rank / count - orders[q]));
  }
  std::printf(
      "  quantiles of 10^7 numbers in %d blocks: %.2f s (std::sort %.2f s), rank error %.1g, asked %.1g\n",
      blocks, streamed, sorting, worst, eps);
}

}  // namespace

void statistics(const std::vector<column>& columns) {
  const std::vector<double> rows = complete_rows(columns);
  const auto p = static_cast<std::int32_t>(columns.size());
  const std::size_t n = rows.size() / columns.size();
  std::printf("Statistics of %d columns, %zu rows", p, columns[0].values.size());
  if (n < columns[0].values.size()) std::printf(", of which %zu without gaps are used", n);
  std::printf("\n");
  for (const column& c : columns)
    if (c.gaps) std::printf("  %s: %d gaps\n", c.name.c_str(), c.gaps);
  if (n < 2) throw std::runtime_error("fewer than two rows without gaps");
  print(columns, summarise(p, rows));
}

void geyser(const std::string& data, const std::string& pictures) {
  const std::vector<column> columns = read_table(data + "/faithful.csv");
  statistics(columns);
  const std::vector<double> rows = complete_rows(columns);
  const summary s = summarise(2, rows);
  in_blocks(rows, s);
  stream_quantiles();
  frame around = {"Old Faithful, lines at 10, 25, 50, 75 and 90 %", "duration of the eruption, minutes",
                  "waiting time to the next, minutes", "unset key\n"};
  for (std::int32_t q = 0; q < order_count; q++) {
    char lines[200];
    std::snprintf(lines, sizeof lines,
                  "set arrow from %g, graph 0 to %g, graph 1 nohead lc rgb 'gray'\n"
                  "set arrow from graph 0, first %g to graph 1, first %g nohead lc rgb 'gray'\n",
                  s.quantiles[q], s.quantiles[q], s.quantiles[order_count + q], s.quantiles[order_count + q]);
    around.settings += lines;
  }
  draw(pictures, "geyser", around, {{"", "points pt 7 ps 0.4", columns[0].values, columns[1].values}});
  std::printf("\n");
}

}  // namespace tour
