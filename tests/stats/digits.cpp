// How many digits each method keeps when means are large beside deviations: prints the table of docs/statistics.md.

#include <iostream>
#include <random>

#include "tests/stats/reference.h"

namespace {

using namespace arko::test;

const std::vector<std::string> shown = {"mean", "central2", "skewness", "kurtosis", "cov", "cor"};

// Skewed data of deviation 1 about the offset; reals of the precision that is tested.
template <class T> sample far_sample(double offset) {
  std::mt19937 random(7);
  std::exponential_distribution<double> skewed;
  sample s{3, 100000, {}, {}};
  for (int j = 0; j < s.n; j++) {
    const double common = skewed(random);
    for (int i = 0; i < s.p; i++) s.x.push_back(T(offset + common + skewed(random)));
  }
  return s;
}

// The fewest digits over the components, of those that the type has.
template <class T> double digits(computation<T>& made, const std::string& name, const reference& r) {
  const double most = -std::log10(double(std::numeric_limits<T>::epsilon()));
  double fewest = most;
  for (std::size_t at = 0; at < made[name].size(); at++) {
    const real exact = r.values.at(name)[at];
    const double error = std::fabs(double((made[name][at] - exact) / exact));
    fewest = std::min(fewest, error < 1 ? -std::log10(error) : 0);
  }
  return std::floor(10 * fewest) / 10;
}

template <class T> void rows(const char* type, const std::vector<double>& offsets) {
  const struct {
    const char* name;
    uint64_t method;
    int blocks;
  } ways[] = {{"fast", KOV_SS_FAST, 1},
              {"fast, in 10 blocks", KOV_SS_FAST, 10},
              {"one pass", KOV_SS_ONE_PASS, 1},
              {"given mean", KOV_SS_GIVEN_MEAN, 1}};
  for (const double offset : offsets) {
    const sample s = far_sample<T>(offset);
    const reference r(s);
    for (const auto& way : ways) {
      computation<T> made(s.p);
      const uint64_t mask =
          made.ask("raw2 raw3 raw4 central3 central4 mean central2 skewness kurtosis cov cor");
      made["mean"].assign(r.values.at("mean").begin(), r.values.at("mean").end());
      for (int b = 0; b < way.blocks; b++)
        made.run(s, b * s.n / way.blocks, (b + 1) * s.n / way.blocks, mask, {.method = way.method});
      std::cout << "| " << type << " | " << offset << " | " << way.name << " |";
      for (const std::string& name : shown) std::cout << ' ' << digits(made, name, r) << " |";
      std::cout << '\n';
    }
  }
}

}  // namespace

int main() {
  std::cout << "| type | mean | method | mean | variance | skewness | kurtosis | covariance | correlation |\n"
               "| --- | --- | --- | --- | --- | --- | --- | --- | --- |\n";
  rows<double>("double", {1, 1e4, 1e8, 1e12});
  rows<float>("single", {1, 1e2, 1e4});
}
