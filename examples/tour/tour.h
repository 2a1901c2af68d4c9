// What the parts of the tour share.
#pragma once
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "examples/tour/table.h"

namespace tour {

// The parts; each prints its report. Data files are read from the folder `data`, pictures written to `pictures`.
void vector_mathematics(const std::string& data);
void streams(const std::string& folder);              // a stream is saved there
void statistics(const std::vector<column>& columns);  // of the rows without gaps
void geyser(const std::string& data, const std::string& pictures);
void splines(const std::string& data, const std::string& pictures);

// The answer of an entry that must not fail. Throws std::runtime_error with its name and status.
void done(std::int32_t status, const char* entry);

// Seconds of one call.
template <class F> double once(F&& f) {
  const auto began = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
}

// The least of several calls, two or more, for at least `total` seconds in all.
template <class F> double seconds(F&& f, double total = 0.02) {
  double least = 1e300, sum = 0;
  for (int calls = 0; calls < 2 || sum < total; calls++) {
    const double time = once(f);
    sum += time;
    if (time < least) least = time;
  }
  return least;
}

// A curve or points for a picture.
struct series {
  std::string name, style;  // gnuplot's, such as "lines" or "points pt 7"
  std::vector<double> x, y;
};
// What stands around them: the axes say what they show and in which unit. `settings` are further lines for gnuplot.
struct frame {
  std::string title, x_axis, y_axis, settings;
};
// Writes pictures/name.svg by gnuplot and prints its path.
void draw(const std::string& pictures, const std::string& name, const frame& around,
          const std::vector<series>& all);

}  // namespace tour
