// Uniform numbers from three generators, one sequence shared by four streams, and a stream that is saved and restored.
#include <arko/stream.h>

#include <cstdio>
#include <stdexcept>

#include "examples/tour/tour.h"

namespace tour {
namespace {

constexpr int million = 1000000;

// A stream that deletes itself.
class stream {
 public:
  explicit stream(std::int32_t code) {
    const std::uint32_t seed[1] = {20261123};
    done(__kovNewStreamEx(&record_, code, 1, seed), "__kovNewStreamEx");
  }
  stream(const stream& other) { done(__kovCopyStream(&record_, other.record_), "__kovCopyStream"); }
  explicit stream(const std::string& saved) {
    done(__kovLoadStreamF(&record_, saved.c_str(), static_cast<std::int32_t>(saved.size())),
         "__kovLoadStreamF");
  }
  ~stream() { __kovDeleteStream(&record_); }

  void leapfrog(int k, int count) { done(__kovLeapfrogStream(record_, k, count), "__kovLeapfrogStream"); }
  void skip(std::int64_t count) { done(__kovSkipAheadStream(record_, count), "__kovSkipAheadStream"); }
  void save(const std::string& path) const {
    done(__kovSaveStreamF(record_, path.c_str(), static_cast<std::int32_t>(path.size())), "__kovSaveStreamF");
  }
  std::vector<double> uniform(int n) {
    std::vector<double> r(static_cast<std::size_t>(n));
    uniform(r);
    return r;
  }
  void uniform(std::vector<double>& r) {
    BrngProperties generator;
    done(__kovGetBrngProperties(__kovGetStreamStateBrng(record_), &generator), "__kovGetBrngProperties");
    done(generator.FillDouble(record_, static_cast<std::int32_t>(r.size()), r.data(), 0, 1), "FillDouble");
  }

 private:
  void* record_ = nullptr;
};

const char* verdict(bool equal) { return equal ? "the same numbers" : "DIFFERENT NUMBERS"; }

// One sequence by four streams: every fourth number each, or a quarter each.
bool leapfrogs_join(std::int32_t code) {
  const std::vector<double> whole = stream(code).uniform(million);
  bool equal = true;
  for (int k = 0; k < 4; k++) {
    stream part(code);
    part.leapfrog(k, 4);
    const std::vector<double> numbers = part.uniform(million / 4);
    for (std::size_t i = 0; i < numbers.size(); i++)
      equal &= numbers[i] == whole[4 * i + static_cast<std::size_t>(k)];
  }
  return equal;
}
bool quarters_join(std::int32_t code) {
  const std::vector<double> whole = stream(code).uniform(million);
  std::vector<double> joined;
  for (int k = 0; k < 4; k++) {
    stream part(code);
    part.skip(std::int64_t{k} * (million / 4));
    const std::vector<double> numbers = part.uniform(million / 4);
    joined.insert(joined.end(), numbers.begin(), numbers.end());
  }
  return joined == whole;
}

}  // namespace

void streams(const std::string& folder) {
  std::printf("Streams: 10^6 uniform doubles\n");
  const struct {
    const char* name;
    std::int32_t code;
  } generators[] = {{"MT19937", KOV_BRNG_MT19937},
                    {"MRG32K3A", KOV_BRNG_MRG32K3A},
                    {"PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10}};
  std::vector<double> r(million);
  for (const auto& g : generators) {
    stream s(g.code);
    const double time = seconds([&] { s.uniform(r); });
    double sum = 0, squares = 0;
    for (const double x : r) sum += x, squares += (x - 0.5) * (x - 0.5);
    std::printf("  %-14s %5.2f ns a number; mean %.5f (0.5), variance %.6f (%.6f)\n", g.name,
                1e9 * time / million, sum / million, squares / million, 1.0 / 12);
  }
  std::printf("  four streams by leapfrog (MCG59) and the whole: %s\n",
              verdict(leapfrogs_join(KOV_BRNG_MCG59)));
  std::printf("  four quarters by skip-ahead (MRG32K3A) and the whole: %s\n",
              verdict(quarters_join(KOV_BRNG_MRG32K3A)));

  stream going_on(KOV_BRNG_MT19937);
  going_on.uniform(million / 2);
  const std::string path = folder + "/stream.bin";
  going_on.save(path);
  stream restored(path);
  std::printf("  saved in the middle and restored (MT19937): %s\n\n",
              verdict(restored.uniform(million) == going_on.uniform(million)));
}

}  // namespace tour
