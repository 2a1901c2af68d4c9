// How many digits each method keeps when means are large beside deviations: the table of docs/statistics.md.
//
//   stats_digits docs/statistics.md    writes the table between the marks that the file has for it
//   stats_digits                       prints it

#include <algorithm>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <sstream>

#include "tests/stats/reference.h"

namespace {

using namespace arko::test;

constexpr const char *begin = "<!-- digits: begin -->\n", *end = "<!-- digits: end -->\n";
const std::vector<std::string> shown = {"mean", "central2", "skewness", "kurtosis", "cov", "cor"};

// Skewed data of deviation 1 about the offset; reals of the precision that is tested.
template <class T> sample far_sample(double offset) {
  const int p = 3, n = 100000;
  std::mt19937 random(7);
  std::exponential_distribution<double> skewed;
  sample s{p, n, std::vector<double>(std::size_t(p) * n), {}};
  for (int j = 0; j < n; j++) {
    const double common = skewed(random);
    for (int i = 0; i < p; i++) s.x[std::size_t(j) * p + i] = T(offset + common + skewed(random));
  }
  return s;
}

using digits = std::map<std::string, double>;

// The fewest digits over the components, of those that the type has.
template <class T> void keep_fewest(digits& found, const std::string& name, double value, real expected) {
  const double most = -std::log10(double(std::numeric_limits<T>::epsilon()));
  const double error = std::fabs(double((value - expected) / expected));
  const double right =
      std::isfinite(error) ? std::clamp(error > 0 ? -std::log10(error) : most, 0.0, most) : 0;
  found[name] = found.contains(name) ? std::min(found[name], right) : right;
}

template <class T> digits of_method(const sample& s, const reference& r, std::uint64_t method, int blocks) {
  const setup how{.method = method};
  computation<T> made(s.p, how);
  for (const char* name : {"mean", "raw2", "raw3", "raw4", "central2", "central3", "central4"})
    made.array(name);
  std::uint64_t estimates = 0x7F;
  for (const std::string& name : shown) made.array(name), estimates |= mask_of(name);
  if (method == KOV_SS_GIVEN_MEAN)
    for (int i = 0; i < s.p; i++) made.array("mean")[i] = T(r.values.at("mean")[i]);
  for (int b = 0; b < blocks; b++)
    if (made.run(s, b * s.n / blocks, (b + 1) * s.n / blocks, estimates, how) != 0) return {};
  digits found;
  for (const std::string& name : shown)
    for (std::size_t i = 0; i < made.array(name).size(); i++)
      keep_fewest<T>(found, name, made.array(name)[i], r.values.at(name)[i]);
  return found;
}

// What sums of powers and products give without any care.
template <class T> digits of_plain_sums(const sample& s, const reference& r) {
  digits found;
  const T n = T(s.n);
  for (int i = 0; i < s.p; i++) {
    T s1 = 0, s2 = 0, s3 = 0, s4 = 0, t1 = 0, q = 0;
    const int other = (i + 1) % s.p;
    for (int j = 0; j < s.n; j++) {
      const T x = T(s.at(j, i)), y = T(s.at(j, other));
      s1 += x, s2 += x * x, s3 += x * x * x, s4 += x * x * x * x, t1 += y, q += x * y;
    }
    const T m = s1 / n, m2 = s2 / n - m * m, m3 = s3 / n - 3 * m * s2 / n + 2 * m * m * m;
    const T m4 = s4 / n - 4 * m * s3 / n + 6 * m * m * s2 / n - 3 * m * m * m * m, v = m2 * n / (n - 1);
    keep_fewest<T>(found, "mean", m, r.values.at("mean")[i]);
    keep_fewest<T>(found, "central2", v, r.values.at("central2")[i]);
    keep_fewest<T>(found, "skewness", m3 / std::pow(v, T(1.5)), r.values.at("skewness")[i]);
    keep_fewest<T>(found, "kurtosis", m4 / (v * v) - 3, r.values.at("kurtosis")[i]);
    keep_fewest<T>(found, "cov", (q - s1 * t1 / n) / (n - 1), r.values.at("cov")[i * s.p + other]);
  }
  return found;
}

template <class T> void rows(std::ostream& out, const char* type, const std::vector<double>& offsets) {
  for (const double offset : offsets) {
    const sample s = far_sample<T>(offset);
    const reference r(s);
    std::vector<double> mean(r.values.at("mean").begin(), r.values.at("mean").end());
    const auto row = [&](const char* method, const digits& found) {
      out << "| " << type << " | " << offset << " | " << method << " |";
      for (const std::string& name : shown) {
        if (found.contains(name))
          out << ' ' << std::floor(10 * found.at(name)) / 10 << " |";
        else
          out << " |";
      }
      out << '\n';
    };
    row("fast", of_method<T>(s, r, KOV_SS_FAST, 1));
    row("fast, in 10 blocks", of_method<T>(s, r, KOV_SS_FAST, 10));
    row("one pass", of_method<T>(s, r, KOV_SS_ONE_PASS, 1));
    row("given mean", of_method<T>(s, r, KOV_SS_GIVEN_MEAN, 1));
    row("plain sums", of_plain_sums<T>(s, r));
  }
}

std::string table() {
  std::ostringstream out;
  out << "| type | mean | method | mean | variance | skewness | kurtosis | covariance | correlation |\n"
         "| --- | --- | --- | --- | --- | --- | --- | --- | --- |\n";
  rows<double>(out, "double", {1, 1e4, 1e8, 1e12});
  rows<float>(out, "single", {1, 1e2, 1e4});
  return out.str();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cout << table();
    return 0;
  }
  std::stringstream text;
  text << std::ifstream(argv[1]).rdbuf();
  std::string page = text.str();
  const std::size_t first = page.find(begin), last = page.find(end);
  if (first == page.npos || last == page.npos) return 1;
  page.replace(first + std::string(begin).size(), last - first - std::string(begin).size(), table());
  std::ofstream(argv[1]) << page;
}
