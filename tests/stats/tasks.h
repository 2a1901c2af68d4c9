// What all tests of statistics share: the tables in data/, the entries by precision, and tasks that own what they point to.
#pragma once
#include <arko/stats.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/drivers.h"
#include "tests/support/thread_services.h"

namespace arko::test {

using std::int32_t, std::int64_t, std::uint64_t;

// The cells of a file's lines below the first.
inline std::vector<std::vector<std::string>> table_of(const std::string& file) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream in(ARKO_SOURCE "/" + file);
  std::string line;
  for (std::getline(in, line); std::getline(in, line);) {
    std::istringstream cells(line + ',');
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  EXPECT_FALSE(rows.empty()) << file;
  return rows;
}

inline std::vector<std::string> words_of(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

template <class T> std::vector<T> numbers_of(const std::string& text) {
  std::vector<T> numbers;
  for (const std::string& word : words_of(text)) numbers.push_back(T(std::stod(word)));
  return numbers;
}

struct field {
  std::string name, kind;
  int64_t code;
  int32_t missing;  // the status of an edit without a value
};
inline const std::vector<field>& fields() {
  static const std::vector<field> all = [] {
    std::vector<field> made;
    for (const auto& row : table_of("tests/stats/data/fields.csv"))
      made.push_back({row[0], row[1], std::stoll(row[2]), std::stoi(row[3])});
    return made;
  }();
  return all;
}
inline int64_t code_of(const std::string& name) {
  const auto f = std::find_if(fields().begin(), fields().end(), [&](auto& row) { return row.name == name; });
  EXPECT_NE(f, fields().end()) << name;
  return f == fields().end() ? -1 : f->code;
}

using entry = int32_t (*)(void*, uint64_t, uint64_t, const DFThreadServices*);

template <class T> struct entries;
#define ENTRIES(p, T)                                                                                    \
  template <> struct entries<T> {                                                                        \
    static constexpr auto create = __kov##p##SSNewTask;                                                  \
    static constexpr auto edit = __kov##p##SSEditTask;                                                   \
    static constexpr auto quicksort = __kov##p##QSort;                                                   \
    static constexpr auto quicksort_step = __kov##p##QSortStep;                                          \
    static constexpr auto select = __kov##p##QSortSelect;                                                \
    static inline const std::map<std::string, entry> by_name = {{"basic", _kov##p##SSBasic},             \
                                                                {"minmax", _kov##p##SSMinmax},           \
                                                                {"sort", _kov##p##SSSort},               \
                                                                {"quantiles", _kov##p##SSQuantiles},     \
                                                                {"mad", _kov##p##SSMAD},                 \
                                                                {"wmedian", _kov##p##SSWMedian},         \
                                                                {"stream", _kov##p##SSStreamQuantiles}}; \
  };
ENTRIES(d, double)
ENTRIES(s, float)
#undef ENTRIES

inline constexpr int32_t layouts[] = {KOV_SS_COMPONENTS, KOV_SS_OBSERVATIONS};

// A task whose fields are set by name, to arrays that it owns.
template <class T> struct task {
  void* record = nullptr;
  std::map<std::string, std::vector<T>> reals;
  std::map<std::string, std::vector<int32_t>> integers;

  explicit task(int32_t p) {
    std::vector<int32_t>& dimension = integers["obs_dim"] = {p};
    entries<T>::create(&record, dimension.data(), nullptr, nullptr, nullptr, nullptr, nullptr, 0);
  }
  task(int32_t p, int32_t n, int32_t layout, std::vector<T> x) : task(p) {
    integer("obs_count", {n}).integer("obs_storage", {layout}).real("obs", std::move(x));
  }
  ~task() { __kovSSDeleteTask(&record); }
  task(const task&) = delete;

  task& integer(const std::string& name, std::vector<int32_t> values) {
    integers[name] = std::move(values);
    __koviSSEditTask(record, code_of(name), integers[name].data());
    return *this;
  }
  task& real(const std::string& name, std::vector<T> values) {
    reals[name] = std::move(values);
    return at(name, reals[name].data());
  }
  task& at(const std::string& name, const T* elsewhere) {
    entries<T>::edit(record, code_of(name), elsewhere);
    return *this;
  }
  std::vector<T>& operator[](const std::string& name) { return reals.at(name); }

  int32_t call(const std::string& name, uint64_t estimates, uint64_t method,
               const DFThreadServices* services = thread_services::get()) const {
    return entries<T>::by_name.at(name)(record, estimates, method, services);
  }
};

using precisions = testing::Types<double, float>;

}  // namespace arko::test
