// Estimates by their definitions, in two passes of long double; and a computation with arrays for every field.
#pragma once
#include <arko/stats.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/thread_services.h"

namespace arko::test {

using std::int32_t, std::int64_t;
using real = long double;

// Observations in rows, whatever the layout that a computation gets them in.
struct sample {
  int p, n;
  std::vector<double> x;  // observation j, component i at j * p + i
  std::vector<double> w;  // empty: all 1
  double at(int j, int i) const { return x[std::size_t(j) * p + i]; }
  double weight(int j) const { return w.empty() ? 1 : w[j]; }
};

inline real to_the(real x, int k) { return k == 1 ? x : x * to_the(x, k - 1); }

inline const std::vector<std::string>& vector_names() {
  static const std::vector<std::string> names = {
      "mean",      "raw2", "raw3", "raw4", "central2", "central3", "central4", "kurtosis", "skewness",
      "variation", "sum1", "sum2", "sum3", "sum4",     "csum2",    "csum3",    "csum4"};
  return names;
}
inline const std::vector<std::string>& matrix_names() {
  static const std::vector<std::string> names = {"cov", "cor", "cp"};
  return names;
}

struct reference {
  std::map<std::string, std::vector<real>> values;  // matrices full
  std::map<std::string, std::vector<real>> scales;  // the size of what is summed up for them
  real weight = 0, weight2 = 0;

  // `given`: the mean that central moments and matrices are told to take.
  explicit reference(const sample& s, const std::vector<double>& given = {}) {
    const int p = s.p;
    for (int j = 0; j < s.n; j++) weight += s.weight(j), weight2 += real(s.weight(j)) * s.weight(j);
    std::vector<real> m(p);
    for (const std::string& name : vector_names()) values[name].resize(p), scales[name].resize(p);
    for (int i = 0; i < p; i++) {
      for (int k = 1; k <= 4; k++) {
        real sum = 0, size = 0;
        for (int j = 0; j < s.n; j++) {
          const real power = s.weight(j) * to_the(s.at(j, i), k);
          sum += power, size += std::fabs(power);
        }
        put("sum" + std::to_string(k), i, sum, size);
        put(k == 1 ? "mean" : "raw" + std::to_string(k), i, sum / weight, size / weight);
      }
      if (given.empty()) {  // what the sum lost
        real rest = 0;
        for (int j = 0; j < s.n; j++) rest += s.weight(j) * (s.at(j, i) - values["mean"][i]);
        m[i] = values["mean"][i] += rest / weight;
      } else {
        put("mean", i, m[i] = given[i], 0);
      }
      for (int k = 2; k <= 4; k++) {
        real sum = 0, size = 0;
        for (int j = 0; j < s.n; j++) {
          const real power = s.weight(j) * to_the(s.at(j, i) - m[i], k);
          sum += power, size += std::fabs(power);
        }
        const real divisor = k == 2 ? weight - weight2 / weight : weight;
        put("csum" + std::to_string(k), i, sum, size);
        put("central" + std::to_string(k), i, sum / divisor, size / divisor);
      }
      const real m2 = values["central2"][i], m3 = values["central3"][i], m4 = values["central4"][i];
      put("kurtosis", i, m4 / (m2 * m2) - 3, m4 / (m2 * m2) + 3);
      put("skewness", i, m3 / std::pow(m2, 1.5L), scales["central3"][i] / std::pow(m2, 1.5L));
      put("variation", i, std::sqrt(m2) / m[i], std::fabs(std::sqrt(m2) / m[i]));
    }
    for (const std::string& name : matrix_names()) values[name].resize(p * p), scales[name].resize(p * p);
    std::vector<real> q(p * p);
    for (int i = 0; i < p; i++)
      for (int k = 0; k <= i; k++) {
        real sum = 0;
        for (int j = 0; j < s.n; j++) sum += s.weight(j) * (s.at(j, i) - m[i]) * (s.at(j, k) - m[k]);
        // A mean that is not the sample's: sum of w x x' less W m m'.
        if (!given.empty())
          sum += (values["sum1"][i] - weight * m[i]) * m[k] + m[i] * (values["sum1"][k] - weight * m[k]);
        q[i * p + k] = q[k * p + i] = sum;
      }
    for (int i = 0; i < p; i++)
      for (int k = 0; k < p; k++) {
        const real root = std::sqrt(std::fabs(q[i * p + i] * q[k * p + k])),
                   f = 1 / (weight - weight2 / weight);
        real size = root;
        if (!given.empty())
          size += std::fabs((values["sum1"][i] - weight * m[i]) * m[k]) +
                  std::fabs(m[i] * (values["sum1"][k] - weight * m[k]));
        put("cp", i * p + k, q[i * p + k], size);
        put("cov", i * p + k, q[i * p + k] * f, size * f);
        put("cor", i * p + k, i == k ? q[i * p + i] * f : q[i * p + k] / root,
            i == k ? size * f : size / root);
      }
  }

 private:
  void put(const std::string& name, int i, real value, real scale) {
    values[name][i] = value, scales[name][i] = scale;
  }
};

// An estimate, with the status of its missing field, in the order in which these are looked for. What it needs beside its
// own array: fast; one pass and given mean; from sums, where "-" is what cannot be had. The orders of the sums that a
// walk has to find: central ones, or where the mean is given those about it and raw ones.
struct estimate {
  std::string name;
  std::uint64_t mask;
  int64_t code;
  int32_t missing;
  std::string fast, pass, sums;
  int order, raw_order;
};
inline const std::vector<estimate>& estimates() {
  static const std::string to2 = "mean raw2", to3 = to2 + " raw3", to4 = to3 + " raw4";
  static const std::vector<estimate> all = {
      {"mean", 0x1, 7, -4006, "", "", "sum1", 1, 0},
      {"raw2", 0x2, 8, -4007, "", "", "sum2", 2, 2},
      {"raw3", 0x4, 9, -4008, "", "", "sum3", 3, 3},
      {"raw4", 0x8, 10, -4009, "", "", "sum4", 4, 4},
      {"central2", 0x10, 11, -4010, to2, to2, "csum2", 2, 2},
      {"central3", 0x20, 12, -4011, to3, to3, "csum3", 3, 3},
      {"central4", 0x40, 13, -4012, to4, to4, "csum4", 4, 4},
      {"cov", 0x1000, 19, -4018, "mean", "mean", "cp", 1, 0},
      {"cor", 0x2000, 21, -4019, "mean", "mean", "cp", 1, 0},
      {"kurtosis", 0x80, 14, -4013, to4 + " central2 central4", to4 + " central2 central4",
       "mean central2 central4", 4, 4},
      {"skewness", 0x100, 15, -4014, to3 + " central2 central3", to3 + " central2 central3",
       "mean central2 central3", 3, 3},
      {"variation", 0x200, 18, -4017, to2 + " central2", to2 + " central2", "mean central2", 2, 2},
      {"sum1", 0x2000000, 67, -4074, "", "", "-", 1, 1},
      {"sum2", 0x4000000, 68, -4075, "", "", "-", 2, 2},
      {"sum3", 0x8000000, 69, -4076, "", "", "-", 3, 3},
      {"sum4", 0x10000000, 70, -4077, "", "", "-", 4, 4},
      {"csum2", 0x20000000, 71, -4078, to2, "mean", "-", 2, 0},
      {"csum3", 0x40000000, 72, -4079, to3, "mean", "-", 3, 0},
      {"csum4", 0x80000000, 73, -4080, to4, "mean", "-", 4, 0},
      {"cp", 0x100000000, 74, -4081, "mean", "mean", "-", 1, 0},
  };
  return all;
}
inline const estimate& estimate_of(const std::string& name) {
  return *std::find_if(estimates().begin(), estimates().end(),
                       [&](const estimate& e) { return e.name == name; });
}
inline std::uint64_t mask_of(const std::string& name) { return estimate_of(name).mask; }
inline std::vector<std::string> words_of(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

template <class T> struct statistics;
template <> struct statistics<double> {
  static constexpr auto create = __kovdSSNewTask;
  static constexpr auto edit = __kovdSSEditTask;
  static constexpr auto basic = _kovdSSBasic;
  static constexpr auto minmax = _kovdSSMinmax;
};
template <> struct statistics<float> {
  static constexpr auto create = __kovsSSNewTask;
  static constexpr auto edit = __kovsSSEditTask;
  static constexpr auto basic = _kovsSSBasic;
  static constexpr auto minmax = _kovsSSMinmax;
};

struct setup {
  uint64_t method = KOV_SS_FAST;
  int32_t layout = KOV_SS_OBSERVATIONS;
  std::vector<int32_t> indices = {};  // empty: all
  int blocks = 1;
  int threads = 1;        // 0: no services at all
  int32_t forms[3] = {};  // of cov, cor, cp
  bool accumulate = true;
};

constexpr double untouched = -77;

// A task with arrays of its own for everything that is asked for and what that needs.
template <class T> struct computation {
  int32_t p, n = 0, layout;
  int32_t forms[3];
  std::vector<T> x, w;
  std::vector<int32_t> indices;
  T pair[2] = {};
  std::map<std::string, std::vector<T>> arrays;
  void* task = nullptr;

  computation(int dimension, const setup& how) : p(dimension), layout(how.layout), indices(how.indices) {
    for (int k = 0; k < 3; k++) forms[k] = how.forms[k];
    statistics<T>::create(&task, &p, &n, &layout, nullptr, nullptr,
                          indices.empty() ? nullptr : indices.data(), 0);
    if (how.accumulate) statistics<T>::edit(task, KOV_SS_ACCUM_WEIGHT, pair);
    const int64_t storages[3] = {KOV_SS_COV_STORAGE, KOV_SS_COR_STORAGE, KOV_SS_CP_STORAGE};
    for (int k = 0; k < 3; k++) __koviSSEditTask(task, storages[k], &forms[k]);
  }
  ~computation() { __kovSSDeleteTask(&task); }
  computation(const computation&) = delete;

  std::vector<T>& array(const std::string& name) {
    std::vector<T>& a = arrays[name];
    if (a.empty()) {
      const bool matrix = name[0] == 'c' && name.size() < 4;
      a.assign(matrix ? std::size_t(p) * p : p, T(untouched));
      statistics<T>::edit(task, estimate_of(name).code, a.data());
    }
    return a;
  }

  // One block, observations first to last of the sample.
  int32_t run(const sample& s, int first, int last, std::uint64_t estimates, const setup& how) {
    n = last - first;
    x.resize(std::size_t(n) * p);
    for (int j = 0; j < n; j++)
      for (int i = 0; i < p; i++)
        x[layout == KOV_SS_OBSERVATIONS ? std::size_t(j) * p + i : std::size_t(i) * n + j] =
            T(s.at(first + j, i));
    w.assign(s.w.begin() + (s.w.empty() ? 0 : first), s.w.begin() + (s.w.empty() ? 0 : last));
    statistics<T>::edit(task, KOV_SS_OBS, x.data());
    if (!w.empty()) statistics<T>::edit(task, KOV_SS_WEIGHTS, w.data());
    thread_services::threads = how.threads;
    return statistics<T>::basic(task, estimates, how.method, how.threads ? thread_services::get() : nullptr);
  }

  // Element (i, k) of a matrix in the form it has.
  T matrix(const std::string& name, int i, int k) {
    const std::vector<T>& a = arrays.at(name);
    const int32_t form = forms[name == "cov" ? 0 : name == "cor" ? 1 : 2];
    if (form == KOV_SS_FULL) return a[i * p + k];
    if (i > k) std::swap(i, k);
    return form & KOV_SS_UPPER_PACKED ? a[i * p - i * (i - 1) / 2 + k - i] : a[k * (k + 1) / 2 + i];
  }
};

}  // namespace arko::test
