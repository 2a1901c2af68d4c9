// Life of streams: registry, copies, chunks, shared data.

#include <gtest/gtest.h>

#include <set>
#include <span>

#include "tests/rng/streams.h"
#include "tests/support/drivers.h"

namespace {

using namespace arko::test;

// ---- Registry

TEST(registry, knows_the_generators_by_all_their_codes) {
  std::int32_t code = 0;
  for (const fields& row : rows_of(ARKO_SOURCE "/tests/rng/data/registry.txt")) {
    code += 1 << 20;
    const auto about = numbers<std::int32_t>(row[1]);
    const std::int32_t last = about[0] - 1, old = about[1] < 0 ? code : about[1];
    for (const std::int32_t each : {code, code + last, old, old + last}) {
      BrngProperties p;
      ASSERT_EQ(__kovGetBrngProperties(each, &p), 0) << row[0][0];
      EXPECT_EQ((std::vector{p.StateSize, p.SeedCount, p.IncludesZero, p.WordBytes, p.BitCount}),
                numbers<std::int32_t>(row[2]));
      EXPECT_TRUE(p.InitStream && p.FillSingle && p.FillDouble && p.FillInteger);
      std::int32_t place, member;
      EXPECT_EQ(__kovGetBrngBaseOffset(each, &place, &member), each < 1 << 20 ? __RegBrngs : __RegBrngsNew);
      EXPECT_EQ(place, each < 1 << 20 ? old : (code >> 20) - 1);
      EXPECT_EQ(member, each == code || each == old ? 0 : last);
    }
    if (old != code && code != KOV_BRNG_SOBOL && code != KOV_BRNG_NIEDERR) {
      stream a(old + last, {5}), b(code + last, {5});
      const BrngStream head = {old + last, 1, 0, 0, nullptr};
      EXPECT_EQ(std::memcmp(a.get(), &head, sizeof head), 0);
      EXPECT_EQ(a.state(), b.state()) << row[0][0];
    }
  }
  for (const std::int32_t none : {-1, INT32_MIN, 279, 280, 281, 511, 512, 0xFFFFF, 0x100001, 0x500111,
                                  0x900000 + 6024, 0x1100000, 0x20000000, INT32_MAX}) {
    BrngProperties p = {};
    EXPECT_EQ(__kovGetBrngProperties(none, &p), KOV_STATUS_BAD_BRNG) << none;
    EXPECT_EQ(p.StateSize, 0);
    EXPECT_EQ(stream(none).status(), KOV_STATUS_BAD_BRNG);
  }
  for (const std::int32_t abstract : {KOV_BRNG_IABSTRACT, KOV_BRNG_DABSTRACT, KOV_BRNG_SABSTRACT})
    EXPECT_TRUE(stream(abstract).status() == KOV_STATUS_BAD_BRNG && !stream(abstract).get());
}

TEST(processor, is_told_right) {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line) && !line.starts_with("flags")) {
  }
  line += ' ';
  EXPECT_EQ(__kovCPUisRDRAND(), line.find(" rdrand ") != line.npos);
  EXPECT_EQ(__kovCPUisAES(), line.find(" aes ") != line.npos);
  EXPECT_EQ(__kovCPUisVAES(), arko_serv_cpuisicx());
}

// A generator of one's own keeps its seed.
template <class T> std::int32_t no_fill(void*, std::int32_t, T*, T, T) { return -1; }
std::int32_t seed_again(void* s, std::int32_t n, std::uint32_t* r) {
  std::fill_n(r, n, static_cast<std::uint32_t*>(s)[4]);
  return 0;
}
std::int32_t keep_seed(std::int32_t, void* s, std::int32_t, const void* seed) {
  if (seed) std::memcpy(static_cast<char*>(s) + 16, seed, 4);
  return 0;
}

TEST(registry, takes_generators_until_it_is_full) {
  const BrngProperties good = {24, 1, 1, 4, 32, keep_seed, no_fill<float>, no_fill<double>, seed_again};
  std::vector<refusal> rows;
  const auto refuse = [&](const char* what, std::int32_t status, auto BrngProperties::*field, auto value) {
    rows.push_back({what, status, [=] {
                      BrngProperties p = good;
                      p.*field = value;
                      return __kovRegisterBrng(&p);
                    }});
  };
  using P = BrngProperties;
  refuse("size", KOV_STATUS_BAD_STATE_SIZE, &P::StateSize, -1);
  for (const int bytes : {0, 3, 5, 12, 32}) refuse("word", KOV_STATUS_BAD_WORD_SIZE, &P::WordBytes, bytes);
  refuse("seeds", KOV_STATUS_BAD_SEED_COUNT, &P::SeedCount, 0);
  refuse("bits", KOV_STATUS_BAD_BIT_COUNT, &P::BitCount, 0);
  refuse("init", KOV_STATUS_NULL_ENTRY, &P::InitStream, nullptr);
  refuse("single", KOV_STATUS_NULL_ENTRY, &P::FillSingle, nullptr);
  refuse("double", KOV_STATUS_NULL_ENTRY, &P::FillDouble, nullptr);
  refuse("integer", KOV_STATUS_NULL_ENTRY, &P::FillInteger, nullptr);
  for (const BrngProperties& family : std::span(__RegBrngsNew, 16))  // its InitStream writes all of its state
    rows.push_back({"a family's", KOV_STATUS_BAD_STATE_SIZE, [&] {
                      BrngProperties p = family;
                      p.StateSize--;
                      return __kovRegisterBrng(&p);
                    }});
  expect_refusals(rows);
  EXPECT_EQ(__kovGetNumRegBrngs(), 16);
  for (int row = 16; row < 512; row++) ASSERT_EQ(__kovRegisterBrng(&good), (row + 1) << 20);
  EXPECT_EQ(__kovRegisterBrng(&good), KOV_STATUS_BAD_BRNG);
  EXPECT_EQ(__kovGetNumRegBrngs(), 512);
  for (const std::int32_t code : {0x1100000, 512 << 20}) {
    EXPECT_EQ(stream(code, {41}).integers(2), (words{41, 41}));
    EXPECT_EQ(stream(code + 1).status(), KOV_STATUS_BAD_BRNG);
  }
}

// ---- Streams

TEST(streams, copy_part_of_a_state_and_refuse_what_they_cannot) {
  for (const auto& [name, code] : codes_by_name) {
    if (!usable(code)) continue;
    const stream s(code, {99, 98}), source(code, {5, 6, 7, 8});
    add(s, 1, "old");
    add(source, 2, "new");
    const auto bytes = static_cast<std::size_t>(s.row().WordBytes * s.row().SeedCount);
    const std::string part = source.state().substr(0, bytes);
    const std::string expected = s.state().replace(0, part.size(), part);
    for (const stream* from : {&source, &s}) {
      EXPECT_EQ(__kovCopyStreamState(s.get(), from->get()), 0);
      EXPECT_EQ(s.state(), expected) << name;
      EXPECT_EQ(contents(s), contents(source));
    }
    for (const std::int32_t method : {-1, 4, 100})
      EXPECT_EQ(s.row().InitStream(method, s.get(), 0, nullptr), KOV_STATUS_BAD_METHOD) << name;
    EXPECT_EQ(__kovLeapfrogStream(s.get(), 0, -1), KOV_STATUS_BAD_STREAM_COUNT) << name;
    EXPECT_EQ(s.state(), expected);
  }
}

TEST(streams, lack_memory_and_keep_what_they_have) {
  const std::uint64_t id[2] = {1, 2};
  const stream s(KOV_BRNG_MCG31M1);
  for (int i = 0; i < 3; i++) add(s, i, "data", i == 1 ? id : nullptr);
  __kovAddChunk(s.get(), 4, nullptr, nullptr, 77);
  int copies = 0;
  const auto copied = [&] {
    const stream copy(s);
    EXPECT_EQ(copy.get() == nullptr, ++copies == 1);
    EXPECT_EQ(copy.get() ? contents(copy).size() : 0, copy.status() ? 0 : 4u);
    return copy.status();
  };
  EXPECT_EQ(each_allocation_fails(KOV_STATUS_NO_MEMORY, copied), 7);  // a record, four chunks, data of two
  for (const auto& [name, code] : codes_by_name) {
    const auto made = [code = code] { return stream(code).status(); };
    EXPECT_EQ(each_allocation_fails(KOV_STATUS_NO_MEMORY, made), 1) << name;
  }
  const auto added = [&] {
    const std::int32_t status = __kovAddChunk(s.get(), 5, nullptr, nullptr, 0);
    __kovDeleteChunksById(s.get(), 5);
    return status;
  };
  EXPECT_EQ(each_allocation_fails(KOV_STATUS_NO_MEMORY, added), 1);
  // Skips that need memory, or leave the stream where it was.
  for (const auto& [code, skip] : {std::pair{KOV_BRNG_MRG32K3A, std::vector<std::uint64_t>(11, ~0ull)},
                                   {KOV_BRNG_MT19937, {12345ull << 20}},
                                   {KOV_BRNG_SFMT19937, {12345ull << 20}},
                                   {KOV_BRNG_SFMT19937, {19000}}}) {
    const stream fresh(code);
    const words first = stream(fresh).integers(50);
    const auto skipped = [&, &skip = skip] {  // clang++ captures no part of a pair by itself
      stream moved(fresh);
      if (moved.status()) return moved.status();
      const std::int32_t status =
          skip.size() > 1 ? moved.skip(skip) : moved.skip(static_cast<std::int64_t>(skip[0]));
      EXPECT_EQ(status == 0, moved.integers(50) != first);
      return status;
    };
    EXPECT_GE(each_allocation_fails(KOV_STATUS_NO_MEMORY, skipped), 2) << code;
  }
}

// ---- Chunks and shared data

TEST(chunks, are_found_copied_and_deleted) {
  const std::int64_t before = arko_core_live_blocks();
  {
    const stream s(KOV_BRNG_MCG31M1);
    for (const auto& [id, data] : {std::pair{1, "one"}, {2, "two"}, {1, "newer one"}, {3, "three"}})
      add(s, id, data);
    using list = std::vector<std::pair<std::int32_t, std::string>>;
    EXPECT_EQ(contents(s), (list{{3, "three"}, {1, "newer one"}, {2, "two"}, {1, "one"}}));
    const stream copy(s);
    EXPECT_EQ(contents(copy), (list{{1, "one"}, {2, "two"}, {1, "newer one"}, {3, "three"}}));
    EXPECT_EQ(__kovSearchChunk(s.get(), 1), chunks(s)->ChunkNext->ChunkData);
    EXPECT_EQ(__kovSearchChunk(s.get(), 4), nullptr);
    EXPECT_NE(__kovSearchChunk(copy.get(), 2), __kovSearchChunk(s.get(), 2));
    EXPECT_EQ(__kovDeleteChunksById(s.get(), 1), 0);
    EXPECT_EQ(contents(s), (list{{3, "three"}, {2, "two"}}));
    EXPECT_EQ(__kovGetNumChunks(s.get()), 2);
    EXPECT_EQ(__kovDeleteChunks(s.get()), 0);
    EXPECT_EQ(contents(s), list());
    EXPECT_EQ(__kovGetNumChunks(copy.get()), 4);
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
}

TEST(shared_data, are_counted_and_end_with_the_last_stream) {
  const std::uint64_t id[2] = {0, 7}, like[2] = {1, 7}, zero[2] = {0, 0};
  const std::int64_t before = arko_core_live_blocks();
  {
    const stream second(KOV_BRNG_WH);
    {
      const stream s(KOV_BRNG_MCG31M1);
      add(s, 9, "table", id);
      EXPECT_EQ(references(like), KOV_STATUS_RO_NOT_FOUND);
      const stream copy(s);
      add(second, 9, "unused", id);
      EXPECT_EQ(references(id), 3);
      for (const stream* each : {&copy, &second})
        EXPECT_EQ(__kovSearchChunk(each->get(), 9), __kovSearchChunk(s.get(), 9));
    }
    EXPECT_EQ(contents(second)[0].second, "table");
    StreamChunk chunk = {};
    EXPECT_EQ(__kovRegisterGlobRODataReference(&chunk, id), 0);
    EXPECT_EQ(chunk.ChunkData, chunks(second)->ChunkData);
    EXPECT_EQ(references(id), 2);
    EXPECT_EQ(__kovUnregisterGlobRODataReference(id), 0);
    for (const std::uint64_t* none : {static_cast<const std::uint64_t*>(nullptr), zero}) {
      EXPECT_EQ(references(none), KOV_STATUS_RO_NOT_FOUND);
      EXPECT_EQ(__kovUnregisterGlobRODataReference(none), KOV_STATUS_RO_NOT_FOUND);
      EXPECT_EQ(__kovRegisterGlobRODataReference(&chunk, none), KOV_STATUS_RO_NOT_FOUND);
    }
  }
  EXPECT_EQ(references(id), KOV_STATUS_RO_NOT_FOUND);
  EXPECT_EQ(arko_core_live_blocks(), before);
}

TEST(shared_data, of_a_full_table_stay_private) {
  const std::int64_t before = arko_core_live_blocks();
  GlobRODataTableEntry* entry;
  {
    const stream s(KOV_BRNG_MCG31M1);
    for (std::uint64_t i = 1; i <= 130; i++) {
      const std::uint64_t id[2] = {i, i};
      add(s, static_cast<std::int32_t>(i), std::string(i, 'x'), id);
      EXPECT_EQ(references(id), i <= 127 ? 1 : KOV_STATUS_RO_NOT_FOUND) << i;
      EXPECT_EQ(chunks(s)->ChunkGlobalId[0], i <= 127 ? i : 0);
    }
    const std::uint64_t last[2] = {1, 0}, zero[2] = {0, 0};
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, last, block_of("x")), 0);
    EXPECT_EQ(*static_cast<char*>(entry->EntryData), 'x');
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, zero, nullptr), KOV_STATUS_RO_TABLE_FULL);
    // Gaps are closed: all others are still found, in their sizes, after entries from anywhere have gone.
    const std::set<std::uint64_t> gone = {1, 64, 127};
    for (const std::uint64_t id : gone) __kovDeleteChunksById(s.get(), static_cast<std::int32_t>(id));
    EXPECT_EQ(__kovUnregisterGlobRODataReference(last), 0);
    for (std::uint64_t i = 1; i <= 127; i++) {
      const std::uint64_t id[2] = {i, i};
      ASSERT_EQ(references(id), gone.contains(i) ? KOV_STATUS_RO_NOT_FOUND : 1) << i;
      if (gone.contains(i)) continue;
      const stream other(KOV_BRNG_MCG31M1);
      add(other, 1, "unused", id);
      EXPECT_EQ(contents(other)[0].second, std::string(i, 'x'));
    }
    // Several entries of one id count and go together; zero is an id, only not one to be found.
    for (const std::uint64_t* each : {last, zero}) {
      for (int i = 0; i < 3; i++) EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, each, block_of("y")), 0);
      StreamChunk chunk = {};
      EXPECT_EQ(__kovRegisterGlobRODataReference(&chunk, each), 0);
      EXPECT_EQ(*static_cast<char*>(chunk.ChunkData), 'y');
      EXPECT_EQ(references(each), each == last ? 2 : KOV_STATUS_RO_NOT_FOUND);
      for (const std::int32_t status : {0, 0, KOV_STATUS_RO_NOT_FOUND})
        EXPECT_EQ(__kovUnregisterGlobRODataReference(each), status);
    }
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, nullptr, nullptr), KOV_STATUS_RO_NOT_FOUND);
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
  std::uint64_t id[2];
  EXPECT_EQ(__kovGenerateNewGlobalRODataTableEntryId(id, -5), 0);
  EXPECT_EQ(id[1], static_cast<std::uint64_t>(-5));
}

}  // namespace
