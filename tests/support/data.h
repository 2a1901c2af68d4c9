// Data files: rows of words, a # before what is a comment; and numbers as one writes them.
#pragma once
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace arko::test {

// Of a file of the source tree; without it the program ends.
inline std::vector<std::vector<std::string>> rows_of(const std::string& path) {
  std::ifstream file(ARKO_SOURCE "/" + path);
  std::vector<std::vector<std::string>> rows;
  for (std::string line, word; std::getline(file, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::vector<std::string> row;
    while (words >> word) row.push_back(word);
    if (!row.empty()) rows.push_back(row);
  }
  if (rows.empty()) std::fprintf(stderr, "nothing to read in %s\n", path.c_str()), std::exit(2);
  return rows;
}

template <class T> using bits_of = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

// Sums and products of numbers, decimal or hexadecimal, and of the type's own: 2.5, 0x1p-3, -inf, 3least,
// 1-eps/2. By its bits after an @.
template <class T> T number(const std::string& text) {
  using limits = std::numeric_limits<T>;
  static const std::map<std::string, long double> names = {
      {"inf", limits::infinity()}, {"nan", limits::quiet_NaN()},    {"eps", limits::epsilon()},
      {"normal", limits::min()},   {"least", limits::denorm_min()}, {"most", limits::max()}};
  if (text[0] == '@')
    return std::bit_cast<T>(static_cast<bits_of<T>>(std::stoull(text.substr(1), nullptr, 16)));
  const char* p = text.c_str();
  const auto factor = [&] {
    char* end;
    const long double value = std::isdigit(*p) ? std::strtold(p, &end) : (end = const_cast<char*>(p), 1);
    std::string name;
    for (p = end; std::isalpha(*p); p++) name += *p;
    return name.empty() ? value : value * names.at(name);
  };
  long double sum = -0.0L;
  while (*p) {
    const bool minus = *p == '-';
    if (minus || *p == '+') p++;
    long double term = factor();
    while (*p == '/') p++, term /= factor();
    sum += minus ? -term : term;
  }
  return static_cast<T>(sum);
}

}  // namespace arko::test
