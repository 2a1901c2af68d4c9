// Saved streams: what images hold, what is made of them, and what is answered to bad ones and to failures of memory and
// files. Those are taken over here, by the linker's --wrap.

#include <arko/stream.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "tests/rng/streams.h"
#include "tests/support/drivers.h"

namespace {

using namespace arko::test;
namespace fs = std::filesystem;

std::size_t largest_block;            // that was asked for
int until_failure;                    // of file operations; 0: none fails
bool inherited;                       // whether a file was opened that another program would find open
std::vector<std::string> operations;  // asked for since the last look

// Whether the operation may succeed.
bool asked(const char* operation) {
  operations.push_back(operation);
  return until_failure == 0 || --until_failure > 0;
}

}  // namespace

extern "C" {
void* __real_arko_serv_allocate(size_t size, size_t alignment);
std::FILE* __real_fopen(const char* name, const char* mode);
size_t __real_fread(void* to, size_t size, size_t count, std::FILE* f);
size_t __real_fwrite(const void* from, size_t size, size_t count, std::FILE* f);
int __real_fflush(std::FILE* f);
int __real_fclose(std::FILE* f);

void* __wrap_arko_serv_allocate(size_t size, size_t alignment) {
  largest_block = std::max(largest_block, size);
  return __real_arko_serv_allocate(size, alignment);
}
std::FILE* __wrap_fopen(const char* name, const char* mode) {
  std::FILE* f = asked("open") ? __real_fopen(name, mode) : nullptr;
  if (f) inherited |= !(fcntl(fileno(f), F_GETFD) & FD_CLOEXEC);
  return f;
}
size_t __wrap_fread(void* to, size_t size, size_t count, std::FILE* f) {
  return asked("read") ? __real_fread(to, size, count, f) : 0;
}
size_t __wrap_fwrite(const void* from, size_t size, size_t count, std::FILE* f) {
  return asked("write") ? __real_fwrite(from, size, count, f) : 0;
}
int __wrap_fflush(std::FILE* f) { return asked("write") ? __real_fflush(f) : EOF; }
int __wrap_fclose(std::FILE* f) {
  const bool good = asked("close");
  const int result = __real_fclose(f);
  return good ? result : EOF;
}
}

namespace {

// A folder that goes with its contents.
struct folder {
  fs::path path = fs::temp_directory_path() / ("arko_streams_" + std::to_string(getpid()));
  folder() { fs::create_directory(path); }
  ~folder() { fs::remove_all(path); }
  std::string operator/(const char* name) const { return path / name; }
};

std::string file_bytes(const std::string& name) {
  std::ostringstream bytes;
  bytes << std::ifstream(name, std::ios::binary).rdbuf();
  return bytes.str();
}
stream loaded_from(const std::string& name, std::int32_t length = -1) {
  return stream([&](void** out) { return __kovLoadStreamF(out, name.c_str(), length); });
}
// The status of a load of these bytes, without which there must be no stream.
std::int32_t from_file(const std::string& image) {
  const folder f;
  std::ofstream(f / "image", std::ios::binary) << image;
  const stream s = loaded_from(f / "image");
  EXPECT_EQ(s.get() == nullptr, s.status() != 0);
  return s.status();
}
// The same for bytes that are enough also without a file's end: memory answers alike.
std::int32_t answer(const std::string& image) {
  const std::int32_t status = from_file(image);
  const stream s = loaded(image);
  EXPECT_EQ(s.status(), status == KOV_STATUS_BAD_FILE ? KOV_STATUS_BAD_IMAGE : status);
  EXPECT_EQ(s.get() == nullptr, status != 0);
  return status;
}

template <class T> std::string raw(T value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }
template <class T> std::string with(std::string image, std::size_t at, T value) {
  return image.replace(at, sizeof value, raw(value));
}
// ---- Images

TEST(images, hold_the_fields_of_the_stream_and_nothing_more) {
  const folder f;
  const std::string name = f / "image", large(300001, 'x'), zeros(16, '\0');
  const std::uint64_t id[2] = {0x1122334455667788, 0x99AABBCCDDEEFF00};
  for (const auto& [family, code] : codes_by_name) {
    if (!usable(code)) continue;
    const stream s(code, {1, 2, 3});
    EXPECT_EQ(__kovGetStreamSize(s.get()), s.row().StateSize + 8);
    add(s, 7, large);
    add(s, 9, "the second", id);
    EXPECT_EQ(__kovAddChunk(s.get(), -5, nullptr, nullptr, 77), 0);
    const std::string expected = raw(2) + "RNG" + '\0' + raw(24) + raw(s.row().StateSize - 16) + raw(3) +
                                 raw(code) + s.state() + raw(-5) + zeros + raw(0) + raw(9) + raw(id[0]) +
                                 raw(id[1]) + raw(10) + "the second" + raw(7) + zeros + raw(300001) + large;
    std::string image(expected.size() + 1, '?');
    EXPECT_EQ(__kovGetStreamSize(s.get()), static_cast<std::int32_t>(expected.size()));
    EXPECT_EQ(__kovSaveStreamM(s.get(), image.data()), 0);
    EXPECT_EQ(image, expected + '?') << family;
    EXPECT_EQ(__kovSaveStreamF(s.get(), name.c_str(), -1), 0);
    EXPECT_EQ(file_bytes(name), expected) << family;
    auto reversed = contents(s);
    std::reverse(reversed.begin(), reversed.end());
    reversed.back().second.clear();  // of 77 bytes that are not there
    for (const stream& copy : {loaded(expected), loaded_from(name)}) {
      EXPECT_EQ(copy.state(), s.state());
      EXPECT_EQ(contents(copy), reversed);
    }
  }
}

TEST(images, of_earlier_versions_are_read) {
  const stream s(KOV_BRNG_MRG32K3A, {5});
  const auto old = [&](int version, bool early_magic, int count, const std::string& chunks) {
    std::string head = early_magic ? "RNG" + std::string(7, '?') : raw(version) + "RNG?.?";
    head += raw(std::int16_t{24}) + raw(static_cast<std::int16_t>(count)) + "??" + raw(KOV_BRNG_MRG32K3A);
    return head + s.state() + chunks;
  };
  const std::string data = raw(4) + "data", id = std::string(16, '\0');
  const std::pair<std::string, std::int32_t> cases[] = {
      {old(0, false, 0, ""), 0},
      {old(1, false, 0, ""), 0},
      {old(77, false, 0, ""), 0},
      {old(0, true, 0, ""), 0},
      {old(0, false, 2, raw(3) + data + raw(4) + data), 0},
      {old(1, false, 2, raw(3) + id + data + raw(4) + id + data), 0},
      {old(3, false, 1, raw(3) + id + data), KOV_STATUS_READ_FAILED},
      {old(0, true, 1, raw(3) + data), KOV_STATUS_READ_FAILED},
      {with(old(1, false, 0, ""), 10, std::int16_t{23}), KOV_STATUS_BAD_FILE},
      {with(old(1, false, 0, ""), 4, 'r'), KOV_STATUS_BAD_FILE}};
  for (const auto& [image, status] : cases) {
    EXPECT_EQ(answer(image), status);
    if (status) continue;
    const stream other = loaded(image);
    EXPECT_EQ(other.state(), s.state());
    using list = std::vector<std::pair<std::int32_t, std::string>>;
    EXPECT_EQ(contents(other), image.size() > 44 ? (list{{4, "data"}, {3, "data"}}) : list());
  }
}

// ---- What is no image

TEST(bad_images, are_told) {
  const stream s(KOV_BRNG_MT2203 + 100, {5});
  add(s, 3, "data");
  const std::string image = image_of(s);
  for (const std::string& good : {image, image + "more", with(with(with(image, 1, '?'), 7, '?'), 10, '?'),
                                  with(image, 18, std::int16_t{-1})})
    EXPECT_EQ(answer(good), 0);
  for (const std::string& bad :
       {with(image, 8, std::int16_t{23}), with(image, 8, std::int16_t{25}), with(image, 8, std::int16_t{-1}),
        with(image, 4, 'r'), with(image, 12, 295), with(image, 12, 297), with(image, 12, -1),
        with(image, 20, KOV_BRNG_MT2203 + 6024), with(image, 20, KOV_BRNG_MT19937),
        with(image, 20, 0x1100000), with(image, 20, -1), with(image, 20, 279),
        with(image, 24 + 296 + 20, -1)})
    EXPECT_EQ(answer(bad), KOV_STATUS_BAD_FILE);
  for (std::size_t size = 0; size < image.size(); size++)
    ASSERT_EQ(from_file(image.substr(0, size)), KOV_STATUS_READ_FAILED) << size;
}

// Sizes that a file does not fill cost no more memory than a first piece and twice what was there.
TEST(bad_images, get_little_memory) {
  const stream s(KOV_BRNG_MCG59);
  add(s, 3, std::string(500000, 'x'));
  const std::string image = with(image_of(s), 32 + 8 + 20, INT32_MAX);
  for (const auto& [bytes, limit] : {std::pair{60u, 0x10000u}, {5000u, 0x10000u}, {500000u, 0x100000u}}) {
    largest_block = 0;
    EXPECT_EQ(from_file(image.substr(0, bytes)), KOV_STATUS_READ_FAILED);
    EXPECT_LE(largest_block, limit);
  }
}

TEST(bad_images, of_states_that_no_generator_is_in) {
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/states.txt")) {
    if (!usable(codes_by_name.at(row[0][0]))) continue;
    const std::string image = image_of(stream(codes_by_name.at(row[0][0]), {3, 4, 5, 6, 7, 8}));
    const std::size_t at = 24 + 4 * numbers(row[1])[0];
    for (const std::uint32_t good : numbers(row[2]))
      EXPECT_EQ(answer(with(image, at, good)), 0) << row[0][0] << at;
    for (const std::uint32_t bad : numbers(row[3]))
      EXPECT_EQ(answer(with(image, at, bad)), KOV_STATUS_BAD_FILE) << row[0][0] << at << ' ' << bad;
  }
  for (const auto& [code, at, size] : {std::tuple{KOV_BRNG_MRG32K3A, 24u, 12u},
                                       {KOV_BRNG_MRG32K3A, 36u, 12u},
                                       {KOV_BRNG_MCG59, 24u, 8u}})  // components that stand still
    EXPECT_EQ(answer(image_of(stream(code)).replace(at, size, std::string(size, '\0'))), KOV_STATUS_BAD_FILE);
}

// ---- Shared data

TEST(shared_chunks, are_those_of_the_table_in_their_own_size) {
  const std::int64_t before = arko_core_live_blocks();
  const std::uint64_t id[2] = {0, 7}, made[2] = {1, 7};
  std::string image;
  {
    const stream s(KOV_BRNG_MCG59);
    add(s, 9, "table", id);
    image = image_of(s);
    // An image may tell another size.
    for (const std::int32_t size : {5, 0, 3, 5000}) {
      const stream other = loaded(with(image, 32 + 8 + 20, size).substr(0, 64) +
                                  std::string(static_cast<std::size_t>(size), 'x'));
      ASSERT_EQ(other.status(), 0);
      EXPECT_EQ(chunks(other)->ChunkData, chunks(s)->ChunkData);
      EXPECT_EQ(references(id), 2);
      EXPECT_EQ(image_of(other), image);
    }
  }
  {
    const stream first = loaded(image), second = loaded(image);  // the first brings the data
    EXPECT_EQ(references(id), 2);
    EXPECT_EQ(image_of(second), image);
  }
  // Data made without a chunk have the size that an image or an adder without data of its own has, until a maker tells
  // it; an image that is larger than they can be has data of its own.
  GlobRODataTableEntry* entry;
  ASSERT_EQ(__kovCreateGlobRODataTableEntry(&entry, made, block_of("made" + std::string(196, '.'))), 0);
  {
    image.replace(44, 16, raw(made[0]) + raw(made[1]));
    const std::string three = image.substr(0, 60) + raw(3) + "mad",
                      many = image.substr(0, 60) + raw(9000) + std::string(9000, 'x');
    for (const std::int32_t size : {3, 4}) {
      const stream s = loaded(three), copy(s), again = loaded(image_of(copy));
      for (const stream* each : {&s, &copy, &again}) {
        EXPECT_EQ(__kovSearchChunk(each->get(), 9), entry->EntryData);
        EXPECT_EQ(image_of(*each).substr(60), raw(size) + std::string("made", size));
      }
      const stream empty(KOV_BRNG_MCG59);
      __kovAddChunk(empty.get(), 9, made, nullptr, 0);
      EXPECT_EQ(chunks(empty)->ChunkSize, size == 3 ? 0 : 4);
      EXPECT_EQ(references(made), 5);
      const stream large = loaded(many);
      EXPECT_EQ(__kovSearchChunk(large.get(), 9) == entry->EntryData, size == 4);
      EXPECT_EQ(image_of(large).substr(60), size == 3 ? many.substr(60) : raw(4) + "made");
      add(stream(KOV_BRNG_MCG59), 9, "four", made);
    }
  }
  __kovUnregisterGlobRODataReference(made);
  EXPECT_EQ(arko_core_live_blocks(), before);
}

// ---- Failures

// Streams that bring all kinds of chunks, loaded and saved in all ways.
struct ways {
  const folder f;
  const std::string name = f / "image";
  const std::uint64_t id[2] = {3, 3};
  const stream live = stream(KOV_BRNG_PHILOX4X32X10), s = stream(KOV_BRNG_PHILOX4X32X10);
  std::string image;

  ways() {
    add(live, 9, "table", id);
    add(s, 1, std::string(100000, 'x'));
    add(s, 9, "table", id);
    add(s, 2, "data");
    image = image_of(s);
    __kovSaveStreamF(s.get(), name.c_str(), -1);
  }
  std::int32_t length() const { return static_cast<std::int32_t>(name.size()); }
};

TEST(failures, of_memory_leave_nothing) {
  const ways w;
  const std::function<std::int32_t()> all[] = {
      [&] { return loaded_from(w.name).status(); }, [&] { return loaded_from(w.name, w.length()).status(); },
      [&] { return loaded(w.image).status(); },
      [&] { return __kovSaveStreamF(w.s.get(), w.name.c_str(), w.length()); }};
  for (const auto& way : all) EXPECT_GT(each_allocation_fails(KOV_STATUS_NO_MEMORY, way), 0);
  EXPECT_EQ(references(w.id), 2);
  EXPECT_EQ(file_bytes(w.name), w.image);  // a name that has no room changes no file
}

TEST(failures, of_files_are_told_and_leave_nothing) {
  const ways w;
  const std::map<std::string, std::int32_t> statuses = {{"open", KOV_STATUS_OPEN_FAILED},
                                                        {"read", KOV_STATUS_READ_FAILED},
                                                        {"write", KOV_STATUS_WRITE_FAILED},
                                                        {"close", KOV_STATUS_CLOSE_FAILED}};
  const std::function<std::int32_t()> all[] = {
      [&] { return loaded_from(w.name).status(); },
      [&] { return __kovSaveStreamF(w.s.get(), w.name.c_str(), -1); }};
  const auto handles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  for (const auto& way : all) {
    operations.clear();
    inherited = false;
    EXPECT_EQ(way(), 0);
    EXPECT_FALSE(inherited);
    const std::vector<std::string> needed = operations;
    const auto open = handles();
    const std::int64_t live = arko_core_live_blocks();
    for (std::size_t k = 0; k < needed.size(); k++) {
      until_failure = static_cast<int>(k) + 1;
      EXPECT_EQ(way(), statuses.at(needed[k])) << k;
      EXPECT_EQ(until_failure, 0);
      EXPECT_EQ(handles(), open);
      EXPECT_EQ(arko_core_live_blocks(), live);
    }
  }
}

// Of a name with a length so many bytes count.
TEST(failures, of_real_files) {
  const ways w;
  const std::string longer = w.name + "2 and more", none = w.f / "none/image";
  const auto saved = [&](const std::string& name, std::int32_t length) {
    return [&, length] { return __kovSaveStreamF(w.live.get(), name.c_str(), length); };
  };
  const auto load = [&](const std::string& name, std::int32_t length) {
    return [&, length] { return loaded_from(name, length).status(); };
  };
  const std::string full = "/dev/full";
  expect_refusals({{"no room", KOV_STATUS_WRITE_FAILED, saved(full, -1)},
                   {"no folder", KOV_STATUS_OPEN_FAILED, saved(none, -1)},
                   {"no file", KOV_STATUS_OPEN_FAILED, load(none, -1)},
                   {"an empty name", KOV_STATUS_OPEN_FAILED, load(w.name, 0)},
                   {"a part of the name", 0, saved(longer, w.length() + 1)},
                   {"the same part", 0, load(longer, w.length() + 1)},
                   {"all of it", KOV_STATUS_OPEN_FAILED, load(longer, -1)}});
  EXPECT_EQ(file_bytes(w.name + '2'), image_of(w.live));
}

TEST(failures, of_streams_without_image_change_no_file) {
  const ways w;
  const std::function<std::int32_t(void*)> all[] = {
      __kovGetStreamSize, [&](void* s) { return __kovSaveStreamF(s, w.name.c_str(), -1); },
      [&](void* s) { return __kovSaveStreamM(s, nullptr); }};
  stream many(KOV_BRNG_MCG59);
  for (int i = 0; i < 65535; i++) __kovAddChunk(many.get(), i, nullptr, nullptr, 0);
  EXPECT_EQ(__kovGetStreamSize(many.get()), 32 + 8 + 65535 * 24);
  EXPECT_EQ(image_of(loaded(image_of(many))).substr(0, 40), image_of(many).substr(0, 40));
  __kovAddChunk(many.get(), 0, nullptr, nullptr, 0);
  for (const auto& way : all) EXPECT_EQ(way(many.get()), KOV_STATUS_WRITE_FAILED);
  BrngStream foreign = {0x1100000, 1, 0, 0, nullptr};
  for (const auto& way : all) EXPECT_EQ(way(&foreign), KOV_STATUS_BAD_BRNG);
  EXPECT_EQ(file_bytes(w.name), w.image);
}

// ---- Generators of one's own: any state, also none

std::int32_t no_init(std::int32_t, void*, std::int32_t, const void*) { return 0; }
std::int32_t no_words(void*, std::int32_t, std::uint32_t*) { return 0; }
template <class T> std::int32_t no_fill(void*, std::int32_t, T*, T, T) { return 0; }

TEST(registered_generators, are_saved_whatever_their_state) {
  for (const std::int32_t size : {0, 16, 20, 5000}) {
    const BrngProperties p = {size, 1, 1, 4, 32, no_init, no_fill<float>, no_fill<double>, no_words};
    const stream s(__kovRegisterBrng(&p));
    const std::string bytes(static_cast<std::size_t>(std::max(size - 16, 0)), 'x');
    std::memcpy(static_cast<char*>(s.get()) + 16, bytes.data(), bytes.size());
    const std::string image = image_of(s);
    EXPECT_EQ(image.substr(24), bytes);
    EXPECT_EQ(image_of(loaded(image)), image);
  }
}

}  // namespace
