// Streams in tests: one that ends with its scope, fills of it by its registry row, its image, its chunks; and rows of data.
#pragma once
#include <arko/core.h>
#include <arko/stream.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace arko::test {

using words = std::vector<std::uint32_t>;

class stream {
 public:
  explicit stream(std::int32_t code, const words& seed = {})
      : stream([&](void** s) {
          return __kovNewStreamEx(s, code, static_cast<std::int32_t>(seed.size()), seed.data());
        }) {}
  // Of whatever entry makes one: make(void** stream) gives its status.
  template <std::invocable<void**> Make> explicit stream(Make&& make) : status_(make(&record_)) {
    if (record_) check(__kovGetBrngProperties(__kovGetStreamStateBrng(record_), &row_));
  }
  stream(const stream& other) : stream([&](void** s) { return __kovCopyStream(s, other.record_); }) {}
  stream& operator=(stream other) {
    std::swap(record_, other.record_);
    std::swap(row_, other.row_);
    return *this;
  }
  ~stream() { __kovDeleteStream(&record_); }

  std::int32_t status() const { return status_; }  // of its creation
  void* get() const { return record_; }
  const BrngProperties& row() const { return row_; }
  std::string record() const {
    return {static_cast<const char*>(record_), static_cast<std::size_t>(row_.StateSize)};
  }
  std::string state() const { return record().substr(16); }

  std::int32_t leapfrog(std::int32_t k, std::int32_t count) { return __kovLeapfrogStream(record_, k, count); }
  std::int32_t skip(std::int64_t count) { return __kovSkipAheadStream(record_, count); }
  std::int32_t skip(const std::vector<std::uint64_t>& count) {
    return __kovSkipAheadStreamEx(record_, static_cast<std::int32_t>(count.size()), count.data());
  }

  // The next n outputs; of integer form row().WordBytes / 4 words each.
  words integers(int n) {
    words r(static_cast<std::size_t>(n * row_.WordBytes / 4));
    check(fill(n, r.data()));
    return r;
  }
  template <class T> std::vector<T> reals(int n, T a, T b) {
    std::vector<T> r(static_cast<std::size_t>(n));
    check(fill(n, r.data(), a, b));
    return r;
  }
  std::int32_t fill(int n, std::uint32_t* r) { return row_.FillInteger(record_, n, r); }
  std::int32_t fill(int n, float* r, float a, float b) { return row_.FillSingle(record_, n, r, a, b); }
  std::int32_t fill(int n, double* r, double a, double b) { return row_.FillDouble(record_, n, r, a, b); }

 private:
  static void check(std::int32_t status) {
    if (status != KOV_STATUS_OK) throw std::runtime_error("status " + std::to_string(status));
  }

  void* record_ = nullptr;
  std::int32_t status_;
  BrngProperties row_ = {};
};

template <class W> std::vector<W> operator+(std::vector<W> a, const std::vector<W>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

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

inline void* block_of(const std::string& bytes) {
  return std::memcpy(arko_serv_allocate(bytes.size(), 128), bytes.data(), bytes.size());
}
// A chunk of these bytes, its own or, where the table has data of the id already, the table's.
inline std::int32_t add(const stream& s, std::int32_t id, const std::string& bytes,
                        const std::uint64_t* global_id = nullptr) {
  void* data = block_of(bytes);
  const auto status = __kovAddChunk(s.get(), id, global_id, data, static_cast<std::int32_t>(bytes.size()));
  if (status || __kovSearchChunk(s.get(), id) != data) arko_serv_deallocate(data);
  return status;
}
inline const StreamChunk* chunks(const stream& s) {
  return static_cast<const BrngStream*>(s.get())->ChunkList;
}
// The newest chunk first, as a number and its bytes.
inline std::vector<std::pair<std::int32_t, std::string>> contents(const stream& s) {
  std::vector<std::pair<std::int32_t, std::string>> all;
  for (const StreamChunk* c = chunks(s); c; c = c->ChunkNext) {
    const auto bytes = static_cast<std::size_t>(c->ChunkData ? c->ChunkSize : 0);
    all.push_back({c->ChunkId, {static_cast<const char*>(c->ChunkData), bytes}});
  }
  return all;
}
// Streams that share the data of an id, or the status.
inline std::int32_t references(const std::uint64_t* id) {
  GlobRODataTableEntry* entry;
  const std::int32_t status = __kovFindGlobRODataTableEntry(&entry, id);
  return status == 0 ? entry->RefCount : status;
}

inline const std::map<std::string, std::int32_t> codes_by_name = {{"MCG31M1", KOV_BRNG_MCG31M1},
                                                                  {"R250", KOV_BRNG_R250},
                                                                  {"MRG32K3A", KOV_BRNG_MRG32K3A},
                                                                  {"MCG59", KOV_BRNG_MCG59},
                                                                  {"WH", KOV_BRNG_WH},
                                                                  {"MT19937", KOV_BRNG_MT19937},
                                                                  {"MT2203", KOV_BRNG_MT2203},
                                                                  {"SFMT19937", KOV_BRNG_SFMT19937},
                                                                  {"TRNG", KOV_BRNG_TRNG},
                                                                  {"ARS5", KOV_BRNG_ARS5},
                                                                  {"PHILOX4X32X10", KOV_BRNG_PHILOX4X32X10}};
inline bool usable(std::int32_t code) {
  return (code != KOV_BRNG_TRNG || __kovCPUisRDRAND()) && (code != KOV_BRNG_ARS5 || __kovCPUisAES());
}

// The rows of a file of data: fields by ':', words in each; '#' begins a comment.
using fields = std::vector<std::vector<std::string>>;
inline std::vector<fields> rows_of(const std::string& path) {
  std::ifstream file(path);
  std::vector<fields> rows;
  for (std::string line, part, word; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    rows.emplace_back();
    for (std::istringstream parts(line); std::getline(parts, part, ':');) {
      rows.back().emplace_back();
      for (std::istringstream in(part); in >> word;) rows.back().back().push_back(word);
    }
  }
  if (rows.empty()) throw std::runtime_error("no rows in " + path);
  return rows;
}
template <class T = std::uint32_t> std::vector<T> numbers(const std::vector<std::string>& field) {
  std::vector<T> all;
  for (const std::string& word : field) all.push_back(static_cast<T>(std::stoull(word, nullptr, 0)));
  return all;
}

}  // namespace arko::test
