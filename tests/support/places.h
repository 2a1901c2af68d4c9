// Where each function is measured and timed, from data/places.txt.
#pragma once
#include "tests/support/data.h"

namespace arko::test {

struct interval {
  double low, high;
};

struct places {
  interval single = {}, full = {}, timed_single = {}, timed_full = {};
  double grid = 0, floor = 0;
  std::vector<double> points = {};

  void add(const std::string& key, const std::vector<double>& values) {
    static const std::map<std::string, std::vector<interval places::*>> intervals = {
        {"interval", {&places::single, &places::full, &places::timed_single, &places::timed_full}},
        {"single", {&places::single, &places::timed_single}},
        {"double", {&places::full, &places::timed_full}},
        {"timed", {&places::timed_single, &places::timed_full}},
        {"timed-single", {&places::timed_single}},
        {"timed-double", {&places::timed_full}}};
    if (intervals.contains(key))
      for (const auto member : intervals.at(key)) this->*member = {values.at(0), values.at(1)};
    else if (key == "points")
      points.insert(points.end(), values.begin(), values.end());
    else
      (key == "grid" ? grid : floor) = values.at(0);
  }
};

// Those of a root. Where there are none the program says so and ends.
inline const places& places_of(const std::string& root) {
  static const auto all = [] {
    std::map<std::string, places> found;
    std::vector<std::string> roots;
    for (const auto& row : rows_of("tests/support/data/places.txt")) {
      const std::vector<std::string> words(row.begin() + 1, row.end());
      if (row[0] == "roots") {
        roots = words;
        continue;
      }
      std::vector<double> values;
      for (const std::string& word : words) values.push_back(number<double>(word));
      for (const std::string& name : roots) found[name].add(row[0], values);
    }
    return found;
  }();
  const auto p = all.find(root);
  if (p == all.end() || p->second.single.low == p->second.single.high) {
    std::fprintf(stderr, "no interval for %s in tests/support/data/places.txt\n", root.c_str());
    std::exit(2);
  }
  return p->second;
}

}  // namespace arko::test
