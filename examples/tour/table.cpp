#include "examples/tour/table.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>

namespace tour {
namespace {

// Fields of a line, without blanks and quotes around them. A comma within quotes belongs to the field.
std::vector<std::string> fields(const std::string& line) {
  std::vector<std::string> found(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"')
      quoted = !quoted;
    else if (c == ',' && !quoted)
      found.emplace_back();
    else if (c != '\r')
      found.back() += c;
  }
  for (std::string& f : found) {
    const auto first = f.find_first_not_of(" \t");
    f = first == f.npos ? "" : f.substr(first, f.find_last_not_of(" \t") - first + 1);
  }
  return found;
}

bool is_gap(const std::string& field) { return field.empty() || field == "NA"; }

bool is_number(const std::string& field, double& value) {
  const char* const end = field.data() + field.size();
  const char* const first = field.data() + (field[0] == '+');
  const auto [rest, error] = std::from_chars(first, end, value);
  return error == std::errc() && rest == end && std::isfinite(value);
}

struct line {
  int number;
  std::vector<std::string> fields;
};

std::size_t place(const std::string& path, const std::vector<std::string>& names, const std::string& asked) {
  const auto named = std::find(names.begin(), names.end(), asked);
  if (named != names.end()) return static_cast<std::size_t>(named - names.begin());
  std::size_t number = 0;
  const char* const end = asked.data() + asked.size();
  if (std::from_chars(asked.data(), end, number).ptr == end && number >= 1 && number <= names.size())
    return number - 1;
  std::string known;
  for (const std::string& name : names) known += " " + name;
  throw std::runtime_error(path + ": no column " + asked + "; there are" + known);
}

}  // namespace

std::vector<column> read_table(const std::string& path, const std::vector<std::string>& asked) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + ": cannot be read");
  std::string text;
  if (!std::getline(file, text)) throw std::runtime_error(path + ": empty");
  const std::vector<std::string> names = fields(text);
  std::vector<line> lines;
  for (int number = 2; std::getline(file, text); number++) {
    if (text.find_first_not_of(" \t\r") == text.npos) continue;
    lines.push_back({number, fields(text)});
    if (lines.back().fields.size() != names.size())
      throw std::runtime_error(path + ":" + std::to_string(number) + ": " +
                               std::to_string(lines.back().fields.size()) + " fields, not " +
                               std::to_string(names.size()));
  }
  if (lines.empty()) throw std::runtime_error(path + ": no rows");

  std::vector<std::size_t> places;
  for (const std::string& name : asked) places.push_back(place(path, names, name));
  double value;
  if (asked.empty())
    for (std::size_t c = 0; c < names.size(); c++)
      if (std::any_of(lines.begin(), lines.end(),
                      [&](const line& l) { return is_number(l.fields[c], value); }))
        places.push_back(c);
  if (places.empty()) throw std::runtime_error(path + ": no column of numbers");

  std::vector<column> columns;
  for (const std::size_t c : places) {
    column found{names[c], {}, 0};
    for (const line& l : lines) {
      if (is_gap(l.fields[c]))
        value = NAN, found.gaps++;
      else if (!is_number(l.fields[c], value))
        throw std::runtime_error(path + ":" + std::to_string(l.number) + ": column " + names[c] + ": \"" +
                                 l.fields[c] + "\" is not a number");
      found.values.push_back(value);
    }
    columns.push_back(std::move(found));
  }
  return columns;
}

}  // namespace tour
