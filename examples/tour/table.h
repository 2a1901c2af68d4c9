// A table of numbers from a file of comma-separated values: a line of names, then a line for each row.
#pragma once
#include <cmath>
#include <string>
#include <vector>

namespace tour {

struct column {
  std::string name;
  std::vector<double> values;  // NaN for a gap
  int gaps = 0;
};

// The columns asked for, by name or by number from 1 on; with none asked, every column that holds a number. A field
// that is empty or NA is a gap. Throws std::runtime_error with file and line on a file that cannot be read, a row with
// more or fewer fields than names, a field that is no number, and a column that is not there.
std::vector<column> read_table(const std::string& path, const std::vector<std::string>& asked = {});

}  // namespace tour
