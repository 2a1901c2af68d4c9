// rng_image_fuzz [COUNT [FIRST]]: loads images that are broken at random, from a file and, where that is long enough, from
// memory; what can be loaded is used, saved and loaded once more. Ends with 1 at the first image that is not answered
// as it should be or leaves something behind; best run under the address sanitizer. Image N depends on N only.

#include <arko/stream.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>

#include "core/testing.h"
#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

std::mt19937_64 engine;
std::size_t below(std::size_t n) { return engine() % n; }

void expect(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

// The same in the layout of version 0 or 1.
std::string earlier(const std::string& image, char version) {
  std::string old = std::string(1, version) + image.substr(1, 9) + image.substr(12, 2) + image.substr(16, 4) +
                    image.substr(20, 4);
  std::size_t at =
      24 + (static_cast<unsigned char>(image[12]) | std::size_t(static_cast<unsigned char>(image[13])) << 8);
  old += image.substr(24, at - 24);
  while (at < image.size()) {
    std::int32_t size;
    std::memcpy(&size, image.data() + at + 20, sizeof size);
    old += version == 0 ? image.substr(at, 4) + image.substr(at + 20, 4) : image.substr(at, 24);
    old += image.substr(at + 24, static_cast<std::size_t>(size));
    at += 24 + static_cast<std::size_t>(size);
  }
  return old;
}

constexpr std::uint64_t shared_id[2] = {1, 2}, made_id[2] = {1, 3};  // of a live stream; of data made by hand

std::vector<std::string> good_images() {
  std::vector<std::string> images;
  for (const auto& [name, family] : codes_by_name) {
    const std::int32_t code = family + (family == KOV_BRNG_WH || family == KOV_BRNG_MT2203 ? 2 : 0);
    stream s(code, {1, 2, 3});
    for (const int place : {1, 29, 700}) {
      if (code != KOV_BRNG_TRNG && code != KOV_BRNG_ARS5) s.integers(place);
      images.push_back(image_of(s));
      add(s, place == 1 ? 9 : 3, std::string(static_cast<std::size_t>(place), 'x'),
          place == 1    ? shared_id
          : place == 29 ? nullptr
                        : made_id);
    }
    images.push_back(image_of(s));
    for (const char version : {'\0', '\1'}) images.push_back(earlier(images.back(), version));
  }
  return images;
}

std::string broken(std::string image, const std::vector<std::string>& others) {
  static constexpr std::uint32_t numbers[] = {0,   1,   2,   3,      4,          0x7F,       0xFF,
                                              250, 624, 625, 0xFFFF, 0x7FFFFFFF, 0x80000000, ~0u};
  for (std::size_t times = below(5); times-- > 0 && !image.empty();) {
    const std::size_t at = below(3) ? below(image.size()) : below(std::min<std::size_t>(image.size(), 48));
    const std::string& other = others[below(others.size())];
    const std::uint32_t number =
        below(2) ? numbers[below(std::size(numbers))] : static_cast<std::uint32_t>(engine());
    switch (below(7)) {
      case 0:
      case 1:
        image[at] = static_cast<char>(image[at] ^ 1 << below(8));
        break;
      case 2:
      case 3:
        std::memcpy(image.data() + at / 4 * 4, &number, std::min<std::size_t>(4, image.size() - at / 4 * 4));
        break;
      case 4:
        image.resize(below(2) ? at : image.size() + below(100));
        break;
      case 5:
        image.replace(at, number % 40, other.substr(number / 64 % other.size(), number >> 24 & 31));
        break;
      case 6:
        image = image.substr(0, at) + other.substr(std::min(at, other.size()));
        break;
    }
  }
  return image;
}

// A stream that was handed out works as any other.
void use(const stream& s) {
  const stream again = loaded(image_of(s));
  expect(again.status() == 0, "what was loaded cannot be loaded again");
  if (__kovGetStreamStateBrng(s.get()) == KOV_BRNG_TRNG) return;
  stream whole(s), parts(s), reals(s);
  const int first = 1 + static_cast<int>(below(30)), rest = 1 + static_cast<int>(below(700));
  const words joined = parts.integers(first);
  expect(whole.integers(first + rest) == joined + parts.integers(rest), "the sequence depends on the fills");
  reals.reals<double>(first, 0, 1);
  reals.reals<float>(rest, 0, 1);
  expect(reals.integers(5) == whole.integers(5), "the sequence depends on the type of fills");
  if (below(16) == 0) reals.skip(static_cast<std::int64_t>(below(3000)));
  reals.integers(3);
}

std::int32_t load(const std::string& image, bool from_file, int file, const std::string& name) {
  const auto finish = [](const stream& s) {
    expect((s.get() == nullptr) == (s.status() != 0), "a record where there should be none, or none");
    if (s.get()) use(s);
    return s.status();
  };
  if (!from_file) return finish(loaded(image));
  expect(ftruncate(file, 0) == 0 &&
             pwrite(file, image.data(), image.size(), 0) == static_cast<ssize_t>(image.size()),
         "no file");
  return finish(stream([&](void** s) { return __kovLoadStreamF(s, name.c_str(), -1); }));
}

}  // namespace

int main(int count, char** arguments) {
  const std::uint64_t images = count > 1 ? std::strtoull(arguments[1], nullptr, 0) : 30000;
  const std::uint64_t from = count > 2 ? std::strtoull(arguments[2], nullptr, 0) : 0;
  const int file = memfd_create("image", 0);
  const std::string name = "/proc/self/fd/" + std::to_string(file);
  const stream live(KOV_BRNG_MCG59);
  add(live, 9, std::string(10, 'x'), shared_id);
  const std::vector<std::string> good = good_images();
  GlobRODataTableEntry* entry;
  __kovCreateGlobRODataTableEntry(&entry, made_id, block_of(std::string(400, 'y')));
  const std::int64_t blocks = arko_core_live_blocks();
  std::map<std::int32_t, std::uint64_t> statuses;
  for (std::uint64_t n = from; n < from + images; n++) try {
      engine.seed(n);
      const std::string image = broken(good[below(good.size())], good);
      const std::int32_t status = load(image, true, file, name);
      statuses[status]++;
      if (status != KOV_STATUS_READ_FAILED)  // or it would run past the end
        expect(
            load(image, false, file, name) == (status == KOV_STATUS_BAD_FILE ? KOV_STATUS_BAD_IMAGE : status),
            "another status from memory");
      if (below(4) == 0) {
        arko_core_fail_allocation(1 + static_cast<std::int32_t>(below(8)));
        void* starved;
        if (__kovLoadStreamF(&starved, name.c_str(), -1) == 0) __kovDeleteStream(&starved);
        arko_core_fail_allocation(0);
        expect(starved == nullptr, "a record after a failure");
      }
      expect(arko_core_live_blocks() == blocks, "memory left behind");
      const int handle = dup(file);
      close(handle);
      expect(handle == file + 1, "a file left open");
    } catch (const std::exception& e) {
      std::fprintf(stderr, "image %llu: %s\n", static_cast<unsigned long long>(n), e.what());
      return 1;
    }
  for (const auto& [status, times] : statuses)
    std::printf("status %5d: %llu\n", status, static_cast<unsigned long long>(times));
  return statuses.size() < 3;  // images good and bad in several ways, or this has tried nothing
}
