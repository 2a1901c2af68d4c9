// Estimates by their definitions, in two passes of long double; and a task with arrays for what is asked and what that needs.
#pragma once
#include <cmath>
#include <limits>

#include "tests/stats/tasks.h"

namespace arko::test {

using real = long double;

// Observations in rows, whatever the layout that a task gets them in.
struct sample {
  int p, n;
  std::vector<double> x;  // observation j, component i at j * p + i
  std::vector<double> w;  // empty: all 1
  double at(int j, int i) const { return x[std::size_t(j) * p + i]; }
  double weight(int j) const { return w.empty() ? 1 : w[j]; }
  sample first(int count) const {
    sample part = {p, count, {x.begin(), x.begin() + std::ptrdiff_t(count) * p}, {}};
    if (!w.empty()) part.w.assign(w.begin(), w.begin() + count);
    return part;
  }
};

inline real to_the(real x, int k) { return k == 0 ? 1 : x * to_the(x, k - 1); }

// By name: values, matrices full, and the size of what is summed up for them.
struct reference {
  std::map<std::string, std::vector<real>> values, scales;
  std::vector<real> loss;  // by component: what deviations lose beside a larger mean
  real weight = 0, weight2 = 0;

  // `given`: the mean that central moments and matrices are told to take.
  explicit reference(const sample& s, const std::vector<double>& given = {}) {
    struct sum {
      real value = 0, size = 0;
    };
    const auto total = [&](auto term) {
      sum all;
      for (int j = 0; j < s.n; j++) {
        const real v = s.weight(j) * term(j);
        all.value += v, all.size += std::fabs(v);
      }
      return all;
    };
    const auto put = [&](const std::string& name, sum v, real divisor = 1) {
      values[name].push_back(v.value / divisor), scales[name].push_back(std::fabs(v.size / divisor));
    };
    weight = total([](int) { return 1; }).value, weight2 = total([&](int j) { return s.weight(j); }).value;
    const real unbiased = weight - weight2 / weight;
    std::vector<real> m, rest;  // mean, and sum of deviations from it
    for (int i = 0; i < s.p; i++) {
      const auto power = [&](real from, int k) {
        return total([&, from, k](int j) { return to_the(s.at(j, i) - from, k); });
      };
      for (int k = 1; k <= 4; k++) put("sum" + std::to_string(k), power(0, k));
      for (int k = 2; k <= 4; k++) put("raw" + std::to_string(k), power(0, k), weight);
      const real mean = values["sum1"][i] / weight;
      m.push_back(given.empty() ? mean + power(mean, 1).value / weight : given[i]);
      rest.push_back(given.empty() ? 0 : values["sum1"][i] - weight * m[i]);
      put("mean", {m[i], given.empty() ? scales["sum1"][i] / weight : 0});
      for (int k = 2; k <= 4; k++) put("csum" + std::to_string(k), power(m[i], k));
      for (int k = 2; k <= 4; k++)
        put("central" + std::to_string(k), power(m[i], k), k == 2 ? unbiased : weight);
      const real m2 = values["central2"][i], d = std::sqrt(m2), d3 = m2 * d;
      put("skewness", {values["central3"][i] / d3, scales["central3"][i] / d3});
      put("kurtosis", {values["central4"][i] / (m2 * m2) - 3, values["central4"][i] / (m2 * m2) + 3});
      put("variation", {d / m[i], std::fabs(d / m[i]) + (d / m[i]) * (d / m[i])});
      loss.push_back(d > 0 ? 1 + std::fabs(m[i]) / d / 10 : 1);
    }
    // A mean that is not the sample's: sum of w x x' less W m m'.
    std::vector<real> q;
    for (int i = 0; i < s.p; i++)
      for (int k = 0; k < s.p; k++)
        q.push_back(total([&](int j) { return (s.at(j, i) - m[i]) * (s.at(j, k) - m[k]); }).value +
                    rest[i] * m[k] + m[i] * rest[k]);
    for (int i = 0; i < s.p; i++)
      for (int k = 0; k < s.p; k++) {
        const real v = q[i * s.p + k], root = std::sqrt(std::fabs(q[i * s.p + i] * q[k * s.p + k])),
                   size = root + std::fabs(rest[i] * m[k]) + std::fabs(m[i] * rest[k]);
        put("cp", {v, size});
        put("cov", {v, size}, unbiased);
        put("cor", {v, size}, i == k ? unbiased : root);
      }
  }
};

struct estimate {
  std::string name;
  uint64_t mask;
  int32_t missing;               // the status without its field
  std::string fast, pass, sums;  // what it needs beside its own field, by method; "-": impossible
  int order, raw_order;          // of the sums that a walk has to find
  bool is_matrix() const { return name == "cov" || name == "cor" || name == "cp"; }
};
// In the order in which missing fields are looked for.
inline const std::vector<estimate>& estimates() {
  static const std::vector<estimate> all = [] {
    std::vector<estimate> made;
    for (const auto& row : table_of("tests/stats/data/estimates.csv"))
      made.push_back({row[0], std::stoull(row[1], nullptr, 0), std::stoi(row[2]), row[3], row[4], row[5],
                      std::stoi(row[6]), std::stoi(row[7])});
    return made;
  }();
  return all;
}
inline const estimate& estimate_of(const std::string& name) {
  return *std::find_if(estimates().begin(), estimates().end(), [&](auto& e) { return e.name == name; });
}

struct setup {
  uint64_t method = KOV_SS_FAST;
  int32_t layout = KOV_SS_OBSERVATIONS;
  std::vector<int32_t> indices = {};       // empty: all
  int threads = 1;                         // 0: no services at all
  std::vector<int32_t> forms = {0, 0, 0};  // of cov, cor, cp
  bool accumulate = true;
};

constexpr double untouched = -77;

template <class T> struct computation : task<T> {
  int32_t p;

  computation(int dimension, const setup& how = {}) : task<T>(dimension), p(dimension) {
    this->integer("obs_count", {0}).integer("obs_storage", {how.layout});
    if (!how.indices.empty()) this->integer("indices", how.indices);
    if (how.accumulate) this->real("accum_weight", {0, 0});
    for (int k = 0; k < 3; k++)
      this->integer(std::vector<std::string>{"cov", "cor", "cp"}[k] + "_storage", {how.forms[k]});
  }
  std::vector<T>& pair() { return this->reals.at("accum_weight"); }

  // What the names say, with arrays for it from now on.
  uint64_t ask(const std::string& names) {
    uint64_t mask = 0;
    for (const std::string& name : words_of(names)) mask |= estimate_of(name).mask, array(name);
    return mask;
  }
  std::vector<T>& array(const std::string& name) {
    if (!this->reals.contains(name))
      this->real(name, std::vector<T>(estimate_of(name).is_matrix() ? std::size_t(p) * p : p, T(untouched)));
    return this->reals.at(name);
  }

  // One block, observations first to last of the sample.
  int32_t run(const sample& s, int first, int last, uint64_t mask, const setup& how) {
    const int n = last - first;
    std::vector<T> x(std::size_t(n) * p);
    for (int j = 0; j < n; j++)
      for (int i = 0; i < p; i++)
        x[how.layout == KOV_SS_OBSERVATIONS ? std::size_t(j) * p + i : std::size_t(i) * n + j] =
            T(s.at(first + j, i));
    this->integers["obs_count"][0] = n, this->integers["obs_storage"][0] = how.layout;
    this->real("obs", std::move(x));
    if (!s.w.empty()) this->real("weights", {s.w.begin() + first, s.w.begin() + last});
    thread_services::threads = how.threads;
    return this->call("basic", mask, how.method, how.threads ? thread_services::get() : nullptr);
  }
  int32_t run(const sample& s, const std::string& names, const setup& how) {
    return run(s, 0, s.n, ask(names), how);
  }

  // Element (i, k) of a matrix in the form it has, or number i of another estimate.
  T element(const std::string& name, int i, int k) {
    const std::vector<T>& a = this->reals.at(name);
    if (!estimate_of(name).is_matrix()) return a[i];
    const int32_t form = this->integers.at(name + "_storage")[0];
    if (form == KOV_SS_FULL) return a[i * p + k];
    if (i > k) std::swap(i, k);
    return form & KOV_SS_UPPER_PACKED ? a[i * p - i * (i - 1) / 2 + k - i] : a[k * (k + 1) / 2 + i];
  }
};

}  // namespace arko::test
