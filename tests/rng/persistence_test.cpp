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

#include "core/testing.h"
#include "tests/rng/streams.h"

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
std::string record(const stream& s) {
  return {static_cast<const char*>(s.get()), static_cast<std::size_t>(s.row().StateSize)};
}
std::string state(const stream& s) { return record(s).substr(16); }

void add(const stream& s, std::int32_t id, const std::string& bytes,
         const std::uint64_t* global_id = nullptr) {
  void* data = arko_serv_allocate(bytes.size(), 128);
  std::memcpy(data, bytes.data(), bytes.size());
  ASSERT_EQ(__kovAddChunk(s.get(), id, global_id, data, static_cast<std::int32_t>(bytes.size())), 0);
  if (__kovSearchChunk(s.get(), id) != data) arko_serv_deallocate(data);
}
const StreamChunk* chunks(const stream& s) { return static_cast<const BrngStream*>(s.get())->ChunkList; }

// Every family that can be made and used here, with old codes and members.
std::vector<std::int32_t> codes() {
  std::vector<std::int32_t> all = {0, 11, KOV_BRNG_WH + 272, KOV_BRNG_MT2203 + 6023};
  for (std::int32_t family = 1; family <= 16; family++) all.push_back(family << 20);
  std::erase_if(all, [](std::int32_t code) {
    return stream(code).status() != 0 || (code == KOV_BRNG_TRNG && !__kovCPUisRDRAND()) ||
           (code == KOV_BRNG_ARS5 && !__kovCPUisAES());
  });
  return all;
}

// ---- Images

TEST(images, continue_from_every_place) {
  for (const std::int32_t code : codes()) {
    stream s(code, {11, 22, 33, 44, 55, 66, 77});
    s.leapfrog(2, 3);
    for (int place = 0; place < 1300; place++) {
      stream other = loaded(image_of(s));
      ASSERT_EQ(other.status(), 0) << code << ' ' << place;
      ASSERT_EQ(record(other), record(s)) << code << ' ' << place;
      if (code == KOV_BRNG_TRNG) break;
      if (place % 50 == 0) {
        stream same = s;
        ASSERT_EQ(other.integers(1500), same.integers(1500)) << code << ' ' << place;
        ASSERT_EQ(other.doubles(9, 0, 1), same.doubles(9, 0, 1));
        ASSERT_EQ(other.singles(9, 0, 1), same.singles(9, 0, 1));
      }
      s.integers(1);
    }
  }
}

TEST(images, hold_the_fields_of_the_stream_and_nothing_more) {
  const folder f;
  const std::uint64_t id[2] = {0x1122334455667788, 0x99AABBCCDDEEFF00};
  for (const std::int32_t code : codes()) {
    stream s(code, {1, 2, 3});
    EXPECT_EQ(__kovGetStreamSize(s.get()), s.row().StateSize + 8);
    add(s, 7, "first");
    add(s, 9, "the second", id);
    EXPECT_EQ(__kovAddChunk(s.get(), -5, nullptr, nullptr, 77), 0);
    const std::string zeros(16, '\0'), before = record(s);
    const std::string expected = raw(2) + "RNG" + '\0' + raw(24) + raw(s.row().StateSize - 16) + raw(3) +
                                 raw(code) + state(s) + raw(-5) + zeros + raw(0) + raw(9) + raw(id[0]) +
                                 raw(id[1]) + raw(10) + "the second" + raw(7) + zeros + raw(5) + "first";
    std::string image(expected.size() + 1, '?');
    EXPECT_EQ(__kovGetStreamSize(s.get()), static_cast<std::int32_t>(expected.size()));
    EXPECT_EQ(__kovSaveStreamM(s.get(), image.data()), 0);
    EXPECT_EQ(image, expected + '?') << code;
    const std::string name = f / "image";
    EXPECT_EQ(__kovSaveStreamF(s.get(), name.c_str(), -1), 0);
    EXPECT_EQ(file_bytes(name), expected) << code;
    EXPECT_EQ(record(s), before);
  }
}

TEST(images, bring_their_chunks_in_reverse_order) {
  const folder f;
  const stream s(KOV_BRNG_MT19937);
  const std::string large(300001, 'x');
  add(s, 1, "one");
  add(s, 2, "");
  add(s, 1, "newer one");
  add(s, 4, large + "end");
  const std::string name = f / "image";
  ASSERT_EQ(__kovSaveStreamF(s.get(), name.c_str(), -1), 0);
  for (const stream& copy : {loaded(image_of(s)), loaded_from(name)}) {
    std::vector<std::pair<int, std::string>> found;
    for (const StreamChunk* c = chunks(copy); c; c = c->ChunkNext)
      found.push_back(
          {c->ChunkId, {static_cast<const char*>(c->ChunkData), static_cast<std::size_t>(c->ChunkSize)}});
    EXPECT_EQ(found, (decltype(found){{1, "one"}, {2, ""}, {1, "newer one"}, {4, large + "end"}}));
  }
}

TEST(images, of_earlier_versions_are_read) {
  const stream s(KOV_BRNG_MRG32K3A, {5});
  const auto old = [&](int version, bool early_magic, int count, const std::string& chunks) {
    std::string head = early_magic ? "RNG" + std::string(7, '?') : raw(version) + "RNG?.?";
    head += raw(std::int16_t{24}) + raw(static_cast<std::int16_t>(count)) + "??" + raw(KOV_BRNG_MRG32K3A);
    return head + state(s) + chunks;
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
    stream other = loaded(image);
    EXPECT_EQ(other.integers(100), stream(s).integers(100));
    for (const StreamChunk* c = chunks(other); c; c = c->ChunkNext)
      EXPECT_EQ(std::string(static_cast<char*>(c->ChunkData), 4), "data");
    EXPECT_EQ(__kovGetNumChunks(other.get()), image.size() > 44 ? 2 : 0);
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

// A word of the state, counted from its begin, and values of it that fit and do not fit.
TEST(bad_images, of_states_that_no_generator_is_in) {
  using values = std::vector<std::uint32_t>;
  const std::uint32_t m1 = 0 - 209u, m2 = 0 - 22853u;
  struct {
    std::int32_t code;
    std::size_t word;
    values good, bad;
  } const cases[] = {{KOV_BRNG_MCG31M1, 0, {1, 0x7FFFFFFE}, {0, 0x7FFFFFFF, 0x80000001}},
                     {KOV_BRNG_MCG31M1, 1, {1, 0x7FFFFFFE}, {0, 0x7FFFFFFF}},
                     {KOV_BRNG_MCG59, 1, {0, 0x7FFFFFF}, {0x8000000, ~0u}},
                     {KOV_BRNG_MCG59, 2, {1, 3}, {0, 2}},
                     {KOV_BRNG_MCG59, 3, {0, 0x7FFFFFF}, {0x8000000}},
                     {KOV_BRNG_MRG32K3A, 0, {0, m1 - 1}, {m1, ~0u}},
                     {KOV_BRNG_MRG32K3A, 5, {0, m2 - 1}, {m2, m1 - 1}},
                     {KOV_BRNG_WH, 0, {1, 16770646}, {0, 16770647, ~0u}},
                     {KOV_BRNG_WH, 7, {1, 16770616}, {0, 16770617}},
                     {KOV_BRNG_R250, 250, {0}, {1, 250, ~0u, 0x80000000}},
                     {KOV_BRNG_R250, 251, {103}, {0, 102, 104, 250, ~0u}},
                     {KOV_BRNG_MT19937, 624, {0, 1, 624}, {625, ~0u, 0x80000000}},
                     {KOV_BRNG_MT2203, 69, {0, 69}, {70, ~0u}},
                     {KOV_BRNG_SFMT19937, 624, {0, 4, 624}, {1, 622, 628, ~0u, ~0u - 3}},
                     {KOV_BRNG_SFMT19937, 628, {0}, {1, ~0u}},
                     {KOV_BRNG_SFMT19937, 629, {0, 3}, {4, ~0u, 0x7FFFFFFF}},
                     {KOV_BRNG_TRNG, 0, {0}, {1, ~0u}},
                     {KOV_BRNG_TRNG, 1, {1, ~0u}, {0}},
                     {KOV_BRNG_ARS5, 8, {0, 4}, {5, ~0u}},
                     {KOV_BRNG_PHILOX4X32X10, 6, {0, 4}, {5, ~0u}}};
  const std::vector<std::int32_t> usable = codes();
  for (const auto& c : cases) {
    if (std::find(usable.begin(), usable.end(), c.code) == usable.end()) continue;
    const std::string image = image_of(stream(c.code, {3, 4, 5, 6, 7, 8}));
    for (const auto& [all, status] : {std::pair{c.good, 0}, {c.bad, KOV_STATUS_BAD_FILE}})
      for (const std::uint32_t value : all)
        EXPECT_EQ(answer(with(image, 24 + 4 * c.word, value)), status)
            << c.code << ' ' << c.word << ' ' << value;
  }
  const std::string zeros(12, '\0');  // components that stand still
  for (const std::size_t at : {24, 36})
    EXPECT_EQ(answer(image_of(stream(KOV_BRNG_MRG32K3A)).replace(at, 12, zeros)), KOV_STATUS_BAD_FILE);
  EXPECT_EQ(answer(with(image_of(stream(KOV_BRNG_MCG59)), 24, std::uint64_t{0})), KOV_STATUS_BAD_FILE);
}

// ---- Shared data

std::int32_t references(const std::uint64_t* id) {
  GlobRODataTableEntry* entry;
  return __kovFindGlobRODataTableEntry(&entry, id) == 0 ? entry->RefCount : 0;
}

TEST(shared_chunks, are_those_of_the_table_in_their_own_size) {
  const std::int64_t before = arko_core_live_blocks();
  const std::uint64_t id[2] = {0, 7}, made[2] = {1, 7};
  std::string image;
  {
    const stream s(KOV_BRNG_MCG59);
    add(s, 9, "table", id);
    image = image_of(s);
    {
      const stream other = loaded(image);
      EXPECT_EQ(__kovSearchChunk(other.get(), 9), __kovSearchChunk(s.get(), 9));
      EXPECT_EQ(references(id), 2);
    }
    // An image may tell another size.
    for (const std::int32_t size : {0, 3, 5000}) {
      const stream other = loaded(with(image, 32 + 8 + 20, size).substr(0, 64) +
                                  std::string(static_cast<std::size_t>(size), 'x'));
      ASSERT_EQ(other.status(), 0);
      EXPECT_EQ(__kovSearchChunk(other.get(), 9), __kovSearchChunk(s.get(), 9));
      EXPECT_EQ(image_of(other), image);
    }
    EXPECT_EQ(references(id), 1);
  }
  {
    const stream first = loaded(image), second = loaded(image);  // the first brings the data
    EXPECT_EQ(references(id), 2);
    EXPECT_EQ(image_of(second), image);
  }
  EXPECT_EQ(references(id), 0);
  // Data made without a chunk have the size that an image or an adder without data of its own has, until a maker tells
  // it; an image that is larger than they can be has data of its own.
  GlobRODataTableEntry* entry;
  ASSERT_EQ(
      __kovCreateGlobRODataTableEntry(&entry, made, std::memcpy(arko_serv_allocate(200, 128), "made", 5)), 0);
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
  for (const auto& way : all) {
    const std::int64_t live = arko_core_live_blocks(), before = arko_core_allocations();
    EXPECT_EQ(way(), 0);
    const std::int64_t needed = arko_core_allocations() - before;
    EXPECT_GT(needed, 0);
    for (std::int32_t k = 1; k <= needed; k++) {
      arko_core_fail_allocation(k);
      EXPECT_EQ(way(), KOV_STATUS_NO_MEMORY) << k;
      arko_core_fail_allocation(0);
      EXPECT_EQ(arko_core_live_blocks(), live) << k;
      EXPECT_EQ(references(w.id), 2);
    }
    EXPECT_EQ(file_bytes(w.name), w.image);  // a name that has no room changes no file
  }
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

TEST(failures, of_real_files) {
  const ways w;
  const stream small(KOV_BRNG_MCG59);
  for (const stream& s : {w.s, small})  // one that fills the file's buffer and one that does not
    EXPECT_EQ(__kovSaveStreamF(s.get(), "/dev/full", -1), KOV_STATUS_WRITE_FAILED);
  for (const std::string& name : {w.f / "none/image", std::string()}) {
    EXPECT_EQ(__kovSaveStreamF(small.get(), name.c_str(), -1), KOV_STATUS_OPEN_FAILED);
    EXPECT_EQ(loaded_from(name).status(), KOV_STATUS_OPEN_FAILED);
  }
  EXPECT_EQ(loaded_from(w.name, 0).status(), KOV_STATUS_OPEN_FAILED);  // an empty name
  EXPECT_EQ(loaded_from(w.f.path).status(), KOV_STATUS_READ_FAILED);
  EXPECT_EQ(loaded_from("/dev/zero").status(), KOV_STATUS_BAD_FILE);
  // Of a name with a length so many bytes count.
  const std::string longer = w.name + "2 and more";
  EXPECT_EQ(__kovSaveStreamF(w.s.get(), longer.c_str(), w.length() + 1), 0);
  EXPECT_EQ(file_bytes(w.name + '2'), w.image);
  EXPECT_EQ(loaded_from(longer, w.length() + 1).status(), 0);
  EXPECT_EQ(loaded_from(longer).status(), KOV_STATUS_OPEN_FAILED);
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
    EXPECT_EQ(answer(image), 0);
  }
}

}  // namespace
