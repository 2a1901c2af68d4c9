// Streams in tests: one that ends with its scope, and fills of it by its registry row.
#pragma once
#include <arko/stream.h>

#include <concepts>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace arko::test {

using words = std::vector<std::uint32_t>;

class stream {
 public:
  explicit stream(std::int32_t code, const words& seed = {}) {
    status_ = __kovNewStreamEx(&record_, code, static_cast<std::int32_t>(seed.size()), seed.data());
    properties();
  }
  // Of whatever entry makes one: make(void** stream) gives its status.
  template <std::invocable<void**> Make> explicit stream(Make&& make) {
    status_ = make(&record_);
    properties();
  }
  stream(const stream& other) {
    status_ = __kovCopyStream(&record_, other.record_);
    properties();
  }
  stream& operator=(const stream&) = delete;
  ~stream() { __kovDeleteStream(&record_); }

  std::int32_t status() const { return status_; }  // of its creation
  void* get() const { return record_; }
  const BrngProperties& row() const { return row_; }

  std::int32_t leapfrog(std::int32_t k, std::int32_t count) { return __kovLeapfrogStream(record_, k, count); }
  std::int32_t skip(std::int64_t count) { return __kovSkipAheadStream(record_, count); }
  std::int32_t skip(const std::vector<std::uint64_t>& count) {
    return __kovSkipAheadStreamEx(record_, static_cast<std::int32_t>(count.size()), count.data());
  }

  // The next n outputs; of integer form row().WordBytes / 4 words each.
  words integers(int n) {
    words r(static_cast<std::size_t>(n * row_.WordBytes / 4));
    check(row_.FillInteger(record_, n, r.data()));
    return r;
  }
  std::vector<double> doubles(int n, double a, double b) {
    std::vector<double> r(static_cast<std::size_t>(n));
    check(row_.FillDouble(record_, n, r.data(), a, b));
    return r;
  }
  std::vector<float> singles(int n, float a, float b) {
    std::vector<float> r(static_cast<std::size_t>(n));
    check(row_.FillSingle(record_, n, r.data(), a, b));
    return r;
  }

 private:
  void properties() {
    if (record_) check(__kovGetBrngProperties(__kovGetStreamStateBrng(record_), &row_));
  }
  static void check(std::int32_t status) {
    if (status != KOV_STATUS_OK) throw std::runtime_error("status " + std::to_string(status));
  }

  void* record_ = nullptr;
  std::int32_t status_;
  BrngProperties row_ = {};
};

// The bytes of a stream's image, and streams of such bytes: from memory, which is theirs to the byte, so that no others
// are read unseen.
inline std::string image_of(const stream& s) {
  std::string image(static_cast<std::size_t>(__kovGetStreamSize(s.get())), '?');
  if (const std::int32_t status = __kovSaveStreamM(s.get(), image.data()))
    throw std::runtime_error("status " + std::to_string(status));
  return image;
}
inline stream loaded(const std::string& image) {
  const std::vector<char> bytes(image.begin(), image.end());
  return stream([&](void** s) { return __kovLoadStreamM(s, bytes.data()); });
}

inline words operator+(words a, const words& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

}  // namespace arko::test
