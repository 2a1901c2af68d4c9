// TRNG: words of the processor's random-number instruction, which may have none at a time and is then asked again.
#include "rng/processor.h"
#include "rng/stream.h"

namespace kov { namespace {

// What the words of a group become: one number of two words, or as many numbers as words.
struct real_of_pairs {
  double* r;
  long double a, s;
  void put(std::int64_t i, const std::uint32_t* x, int) const {
    r[i / 2] = static_cast<double>(static_cast<long double>(x[0] | std::uint64_t{x[1]} << 32) * s + a);
  }
};
struct single_of_words {
  float* r;
  float a, s;
  void put(std::int64_t i, const std::uint32_t* x, int words) const {
    for (int j = 0; j < words; j++) r[i + j] = static_cast<float>(x[j]) * s + a;
  }
};
struct words_as_they_are {
  std::uint32_t* r;
  void put(std::int64_t i, const std::uint32_t* x, int words) const { std::copy_n(x, words, r + i); }
};

struct trng {
  BrngStream head;
  std::uint32_t reserved, retries;

  using word = std::uint32_t;

  status seed(std::int32_t count, const std::uint32_t* seeds) {
    reserved = 0;
    retries = count >= 2 && seeds[1] != 0 ? seeds[1] : 10;
    return KOV_STATUS_OK;
  }
  bool sound() const { return reserved == 0 && retries != 0; }

  status draw(std::int32_t n, std::uint32_t* r) const { return groups(n, words_as_they_are{r}); }
  status reals(std::int32_t n, float* r, float a, float b) const {
    return groups(n, single_of_words{r, a, (b - a) * 0x1p-32f});
  }
  status reals(std::int32_t n, double* r, double a, double b) const {
    return groups(std::int64_t{2} * n, real_of_pairs{r, a, (b - static_cast<long double>(a)) * 0x1p-64L});
  }

 private:
  // Hands out n words in pairs, the last one alone where n is odd. A group with a failed read is read again as a whole;
  // the repeat that uses up the retries ends the fill, whatever it has read.
  template <class Sink> status groups(std::int64_t n, const Sink& sink) const {
    if (!__kovCPUisRDRAND()) return KOV_STATUS_NO_RDRAND;
    for (std::int64_t i = 0; i < n; i += 2) {
      const int words = n - i > 1 ? 2 : 1;
      std::uint32_t x[2], repeats = 0;
      for (bool good = read(x, words); !good;) {
        good = read(x, words);
        if (++repeats == retries) return KOV_STATUS_RDRAND_FAILED;
      }
      sink.put(i, x, words);
    }
    return KOV_STATUS_OK;
  }
  static bool read(std::uint32_t* x, int words) { return rdrand(x[0]) && (words == 1 || rdrand(x[1])); }
};
static_assert(sizeof(trng) == 24);

}  // namespace
}  // namespace kov

KOV_FAMILY(TRNG, kov::trng)
