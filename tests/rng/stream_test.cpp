// Life of streams: registry, copies, chunks, shared data. Every family that can be created takes part in what all
// have in common.

#include <arko/stream.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "core/testing.h"
#include "tests/rng/streams.h"

namespace {

using namespace arko::test;

// What a family answers to leapfrog and both forms of skip.
struct answers {
  std::int32_t leapfrog, skip, wide;
};
constexpr answers none = {KOV_STATUS_NO_LEAPFROG, KOV_STATUS_NO_SKIPAHEAD, KOV_STATUS_NO_SKIPAHEADEX},
                  both = {0, 0, KOV_STATUS_NO_SKIPAHEADEX}, skips = {KOV_STATUS_NO_LEAPFROG, 0, 0},
                  short_skips = {KOV_STATUS_NO_LEAPFROG, 0, KOV_STATUS_NO_SKIPAHEADEX};
const std::map<std::int32_t, answers> expected_answers = {{KOV_BRNG_MCG31M1, both},
                                                          {KOV_BRNG_MCG59, both},
                                                          {KOV_BRNG_WH, both},
                                                          {KOV_BRNG_MRG32K3A, skips},
                                                          {KOV_BRNG_R250, none},
                                                          {KOV_BRNG_MT2203, none},
                                                          {KOV_BRNG_MT19937, short_skips},
                                                          {KOV_BRNG_SFMT19937, short_skips},
                                                          {KOV_BRNG_PHILOX4X32X10, skips},
                                                          {KOV_BRNG_ARS5, skips}};

// A code of every family that has its generator, and more members of the large ones.
std::vector<std::int32_t> codes() {
  std::vector<std::int32_t> all;
  for (const auto& [code, answer] : expected_answers) all.push_back(code);
  for (const std::int32_t code : {KOV_BRNG_WH + 7, KOV_BRNG_WH + 272, KOV_BRNG_MT2203 + 6023})
    all.push_back(code);
  std::erase_if(all, [](std::int32_t code) {
    return stream(code).status() != KOV_STATUS_OK || (code == KOV_BRNG_ARS5 && !__kovCPUisAES());
  });
  return all;
}

words record(const stream& s) {
  words bytes(static_cast<std::size_t>(s.row().StateSize / 4));
  std::memcpy(bytes.data(), s.get(), static_cast<std::size_t>(s.row().StateSize));
  return bytes;
}

class families : public testing::TestWithParam<std::int32_t> {
 protected:
  static inline const words seed = {0x12345, 0x23456, 0x34567, 0x45678};
  stream fresh() const { return stream(GetParam(), seed); }
  const answers& expected() const { return expected_answers.at(GetParam() >> 20 << 20); }
};
INSTANTIATE_TEST_SUITE_P(streams, families, testing::ValuesIn(codes()),
                         [](const auto& info) { return "code_" + std::to_string(info.param); });

TEST_P(families, deliver_one_sequence_whatever_the_fills) {
  const int total = 2600;
  const words whole = fresh().integers(total);
  for (const int part : {1,  2,  3,   4,   5,   7,   8,   9,   15,  16,   17,   31,   33,
                         69, 70, 147, 249, 250, 251, 623, 624, 625, 1023, 1024, 1025, 1300}) {
    stream s = fresh();
    words joined;
    for (int done = 0; done < total; done += part) joined = joined + s.integers(std::min(part, total - done));
    EXPECT_EQ(joined, whole) << part;
  }
}

TEST_P(families, make_real_numbers_of_the_words_that_integer_fills_deliver) {
  const BrngProperties row = fresh().row();
  if (row.WordBytes == 16 || GetParam() == KOV_BRNG_ARS5 || GetParam() == KOV_BRNG_PHILOX4X32X10)
    return;  // otherwise: in their own tests
  const double a = -3, b = 7.25, s = (b - a) * std::ldexp(1, -row.BitCount);
  stream reals = fresh(), integers = fresh();
  for (const int n : {1, 2, 3, 4, 5, 8, 18, 250, 625, 1030, 2051}) {
    const words x = integers.integers(2 * n);
    const std::vector<double> d = reals.doubles(n, a, b);
    const std::vector<float> f = reals.singles(n, -3, 7.25);
    const auto expect = [&](std::size_t i) {
      const std::uint64_t word = row.WordBytes == 4 ? x[i] : x[2 * i] | std::uint64_t{x[2 * i + 1]} << 32;
      return a + static_cast<double>(word) * s;
    };
    for (std::size_t i = 0; i < d.size(); i++) {
      ASSERT_EQ(d[i], expect(i)) << n << ' ' << i;
      ASSERT_EQ(f[i], static_cast<float>(expect(d.size() + i))) << n << ' ' << i;
    }
  }
}

TEST_P(families, write_n_outputs_where_they_are_told) {
  const BrngProperties row = fresh().row();
  constexpr std::uint32_t untouched = 0xA5A5A5A5;
  for (int n = 1; n <= 40; n++) {
    const int width = row.WordBytes / 4, end = n * width + 1;
    words r(static_cast<std::size_t>(end + 1), untouched);
    std::vector<float> f(static_cast<std::size_t>(n + 2), -1);
    stream integers = fresh(), singles = fresh();
    EXPECT_EQ(row.FillInteger(integers.get(), n, r.data() + 1), 0);
    EXPECT_EQ(row.FillSingle(singles.get(), n, f.data() + 1, 0, 1), 0);
    EXPECT_TRUE(r.front() == untouched && r.back() == untouched && f.front() == -1 && f.back() == -1) << n;
    EXPECT_EQ(words(r.begin() + 1, r.end() - 1), fresh().integers(n));
    EXPECT_EQ(std::vector<float>(f.begin() + 1, f.end() - 1), fresh().singles(n, 0, 1));
  }
}

TEST_P(families, stand_still_for_no_numbers) {
  for (const int before : {0, 1, 2, 30, 700})
    for (const std::int32_t n : {0, -1, -2, -3, -4, -17, -625, -5000, INT32_MIN}) {
      stream s = fresh();
      if (before) s.integers(before);
      const words here = record(s);
      EXPECT_EQ(s.row().FillInteger(s.get(), n, nullptr), 0);
      EXPECT_EQ(s.row().FillSingle(s.get(), n, nullptr, 0, 1), 0);
      EXPECT_EQ(s.row().FillDouble(s.get(), n, nullptr, 0, 1), 0);
      ASSERT_EQ(record(s), here) << before << ' ' << n;
    }
}

TEST_P(families, skip_as_they_step_or_refuse) {
  for (const std::int64_t count : {0, 1, 2, 3, 4, 5, 15, 16, 17, 100, 624, 1000, 12345})
    for (const int before : {0, 1, 5}) {
      stream s = fresh(), wide = fresh(), stepped = fresh();
      for (stream* each : {&s, &wide, &stepped})
        if (before) each->integers(before);
      EXPECT_EQ(s.skip(count), expected().skip);
      EXPECT_EQ(wide.skip({static_cast<std::uint64_t>(count), 0, 0}), expected().wide);
      const words here = stream(stepped).integers(700);
      if (count) stepped.integers(static_cast<int>(count));
      const words there = stepped.integers(700);
      EXPECT_EQ(s.integers(700), expected().skip ? here : there) << count << ' ' << before;
      EXPECT_EQ(wide.integers(700), expected().wide ? here : there) << count << ' ' << before;
    }
}

TEST_P(families, leap_as_they_stride_or_refuse) {
  const auto width = static_cast<std::size_t>(fresh().row().WordBytes / 4);
  const words all = fresh().integers(4000);
  for (const int streams : {1, 2, 3, 10, 17})
    for (const int k : {0, 1, streams - 1}) {
      stream s = fresh();
      EXPECT_EQ(s.leapfrog(k, streams), expected().leapfrog);
      const std::size_t first = expected().leapfrog ? 0 : static_cast<std::size_t>(k);
      const std::size_t stride = expected().leapfrog ? 1 : static_cast<std::size_t>(streams);
      words strided;
      for (std::size_t i = 0; i < 200; i++)
        for (std::size_t w = 0; w < width; w++) strided.push_back(all[(first + i * stride) * width + w]);
      EXPECT_EQ(s.integers(50),
                words(strided.begin(), strided.begin() + static_cast<std::ptrdiff_t>(50 * width)));
      if (expected().leapfrog == 0) {  // a skip counts the stream's own numbers
        s.skip(50);
        EXPECT_EQ(s.integers(100),
                  words(strided.end() - static_cast<std::ptrdiff_t>(100 * width), strided.end()));
      }
    }
}

TEST_P(families, refuse_other_methods_and_negative_streams) {
  stream s = fresh();
  for (const std::int32_t method : {-1, 4, 100})
    EXPECT_EQ(s.row().InitStream(method, s.get(), 0, nullptr), KOV_STATUS_BAD_METHOD);
  EXPECT_EQ(s.leapfrog(0, -1), KOV_STATUS_BAD_STREAM_COUNT);
  EXPECT_EQ(s.integers(100), fresh().integers(100));
}

TEST_P(families, copy_all_of_a_stream_or_part_of_its_state) {
  stream source = fresh();
  source.integers(7);
  stream copy = source;
  EXPECT_EQ(record(copy), record(source));
  EXPECT_EQ(copy.integers(1000), source.integers(1000));

  // Of the state as many bytes as the row tells; the rest stays.
  stream other(GetParam(), {99});
  other.integers(3);
  words expected = record(other);
  const words from = record(source);
  const BrngProperties& row = source.row();
  for (int i = 0; i < std::min(row.WordBytes * row.SeedCount, row.StateSize - 16) / 4; i++)
    expected[static_cast<std::size_t>(4 + i)] = from[static_cast<std::size_t>(4 + i)];
  EXPECT_EQ(__kovCopyStreamState(other.get(), source.get()), 0);
  EXPECT_EQ(record(other), expected);
  EXPECT_EQ(__kovCopyStreamState(other.get(), other.get()), 0);
  EXPECT_EQ(record(other), expected);
}

TEST_P(families, live_without_memory) {
  const std::int64_t before = arko_core_live_blocks();
  arko_core_fail_allocation(1);
  const stream none(GetParam(), seed);
  EXPECT_EQ(none.status(), KOV_STATUS_NO_MEMORY);
  EXPECT_EQ(none.get(), nullptr);
  {
    const stream s = fresh();
    arko_core_fail_allocation(1);
    const stream copy(s);
    EXPECT_EQ(copy.status(), KOV_STATUS_NO_MEMORY);
    EXPECT_EQ(copy.get(), nullptr);
    EXPECT_EQ(arko_core_live_blocks(), before + 1);
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
}

// ---- Registry

TEST(registry, knows_the_families_by_all_their_codes) {
  struct {
    std::int32_t code, old, members, state, seeds, zero, bytes, bits;
  } const rows[] = {{KOV_BRNG_MCG31M1, 0, 1, 24, 1, 0, 4, 31},
                    {KOV_BRNG_R250, 1, 1, 1024, 252, 1, 4, 32},
                    {KOV_BRNG_MRG32K3A, 2, 1, 40, 6, 1, 4, 32},
                    {KOV_BRNG_MCG59, 3, 1, 32, 1, 0, 8, 59},
                    {KOV_BRNG_WH, 4, 273, 48, 4, 1, 16, 24},
                    {KOV_BRNG_SOBOL, 277, 1, 11712, 2604, 0, 4, 32},
                    {KOV_BRNG_NIEDERR, 278, 1, 84288, 10498, 0, 4, 32},
                    {KOV_BRNG_MT19937, -1, 1, 2520, 625, 1, 4, 32},
                    {KOV_BRNG_MT2203, -1, 6024, 312, 70, 1, 4, 32},
                    {KOV_BRNG_IABSTRACT, -1, 1, 40, 0, 1, 4, 32},
                    {KOV_BRNG_DABSTRACT, -1, 1, 56, 0, 1, 4, 32},
                    {KOV_BRNG_SABSTRACT, -1, 1, 48, 0, 1, 4, 32},
                    {KOV_BRNG_SFMT19937, -1, 1, 2536, 625, 1, 4, 32},
                    {KOV_BRNG_TRNG, -1, 1, 24, 1, 0, 4, 32},
                    {KOV_BRNG_ARS5, -1, 1, 72, 8, 1, 4, 32},
                    {KOV_BRNG_PHILOX4X32X10, -1, 1, 64, 8, 1, 4, 32}};
  for (const auto& r : rows) {
    std::vector<std::int32_t> all = {r.code, r.code + r.members - 1};
    if (r.old >= 0) all.insert(all.end(), {r.old, r.old + r.members - 1});
    for (const std::int32_t code : all) {
      BrngProperties p;
      ASSERT_EQ(__kovGetBrngProperties(code, &p), 0) << code;
      EXPECT_EQ((std::vector{p.StateSize, p.SeedCount, p.IncludesZero, p.WordBytes, p.BitCount}),
                (std::vector{r.state, r.seeds, r.zero, r.bytes, r.bits}));
      EXPECT_TRUE(p.InitStream && p.FillSingle && p.FillDouble && p.FillInteger);
      std::int32_t row, member;
      const BrngProperties* table = __kovGetBrngBaseOffset(code, &row, &member);
      EXPECT_EQ(table, code < 0x100000 ? __RegBrngs : __RegBrngsNew);
      EXPECT_EQ(row, code < 0x100000 ? r.old : (r.code >> 20) - 1);
      EXPECT_EQ(member, code == all.front() || code == r.old ? 0 : r.members - 1);
    }
  }
  for (const std::int32_t code : {-1, INT32_MIN, 279, 280, 281, 511, 512, 0xFFFFF, 0x100001, 0x500111,
                                  0x900000 + 6024, 0x1100000, 0x20000000, INT32_MAX}) {
    BrngProperties p = {};
    EXPECT_EQ(__kovGetBrngProperties(code, &p), KOV_STATUS_BAD_BRNG) << code;
    EXPECT_EQ(p.StateSize, 0);
    EXPECT_EQ(stream(code).status(), KOV_STATUS_BAD_BRNG);
  }
  for (const std::int32_t code : {KOV_BRNG_IABSTRACT, KOV_BRNG_DABSTRACT, KOV_BRNG_SABSTRACT})
    EXPECT_EQ(stream(code).status(), KOV_STATUS_BAD_BRNG);
}

TEST(registry, old_and_new_codes_make_the_same_generator) {
  const std::pair<std::int32_t, std::int32_t> same[] = {
      {0, KOV_BRNG_MCG31M1}, {2, KOV_BRNG_MRG32K3A}, {3, KOV_BRNG_MCG59}, {4, KOV_BRNG_WH}, {276, 0x500110}};
  for (const auto& [old, code] : same) {
    stream a(old, {5}), b(code, {5});
    EXPECT_EQ(__kovGetStreamStateBrng(a.get()), old);
    const auto* head = static_cast<const BrngStream*>(a.get());
    EXPECT_TRUE(head->HeadTag == 1 && head->HeadFlags == 0 && head->HeadReserved == 0 && !head->ChunkList);
    EXPECT_EQ(a.integers(100), b.integers(100)) << old;
  }
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

// A generator of one's own: counts from its seed on.
struct counter {
  BrngStream head;
  std::uint32_t next;
};
std::int32_t counter_init(std::int32_t method, void* s, std::int32_t count, const void* seed) {
  if (method != KOV_INIT_NEW) return KOV_STATUS_BAD_METHOD;
  static_cast<counter*>(s)->next = count ? *static_cast<const std::uint32_t*>(seed) : 0;
  return 0;
}
std::int32_t counter_fill(void* s, std::int32_t n, std::uint32_t* r) {
  while (n-- > 0) *r++ = static_cast<counter*>(s)->next++;
  return 0;
}
template <class T> std::int32_t no_fill(void*, std::int32_t, T*, T, T) { return -1; }

TEST(registry, takes_generators_until_it_is_full) {
  const BrngProperties good = {sizeof(counter), 1,           1, 4, 32, counter_init, no_fill<float>,
                               no_fill<double>, counter_fill};
  const auto with = [&](auto BrngProperties::*field, auto value) {
    BrngProperties p = good;
    p.*field = value;
    return __kovRegisterBrng(&p);
  };
  using P = BrngProperties;
  EXPECT_EQ(with(&P::StateSize, -1), KOV_STATUS_BAD_STATE_SIZE);
  for (const int bytes : {0, 3, 5, 12, 32}) EXPECT_EQ(with(&P::WordBytes, bytes), KOV_STATUS_BAD_WORD_SIZE);
  EXPECT_EQ(with(&P::SeedCount, 0), KOV_STATUS_BAD_SEED_COUNT);
  EXPECT_EQ(with(&P::BitCount, 0), KOV_STATUS_BAD_BIT_COUNT);
  EXPECT_EQ(with(&P::InitStream, nullptr), KOV_STATUS_NULL_ENTRY);
  EXPECT_EQ(with(&P::FillSingle, nullptr), KOV_STATUS_NULL_ENTRY);
  EXPECT_EQ(with(&P::FillDouble, nullptr), KOV_STATUS_NULL_ENTRY);
  EXPECT_EQ(with(&P::FillInteger, nullptr), KOV_STATUS_NULL_ENTRY);
  for (int row = 0; row < 16; row++) {  // the InitStream of a family writes all of its state
    BrngProperties p = __RegBrngsNew[row];
    p.StateSize--;
    EXPECT_EQ(__kovRegisterBrng(&p), KOV_STATUS_BAD_STATE_SIZE) << row;
  }
  EXPECT_EQ(__kovGetNumRegBrngs(), 16);
  for (int row = 16; row < 512; row++) ASSERT_EQ(__kovRegisterBrng(&good), (row + 1) << 20);
  EXPECT_EQ(__kovGetNumRegBrngs(), 512);
  EXPECT_EQ(__kovRegisterBrng(&good), KOV_STATUS_BAD_BRNG);
  EXPECT_EQ(__kovGetNumRegBrngs(), 512);
  for (const std::int32_t code : {0x1100000, 512 << 20}) {
    EXPECT_EQ(stream(code, {41}).integers(2), (words{41, 42}));
    EXPECT_EQ(stream(code + 1).status(), KOV_STATUS_BAD_BRNG);
  }
}

// ---- Chunks and shared data

char* block_of(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(arko_serv_allocate(size, 128), text, size));
}
void add(stream& s, std::int32_t id, const char* text, const std::uint64_t* global_id = nullptr) {
  char* data = block_of(text);
  ASSERT_EQ(__kovAddChunk(s.get(), id, global_id, data, static_cast<std::int32_t>(std::strlen(text) + 1)), 0);
  // Where the table had data of this id already, ours stay ours.
  if (__kovSearchChunk(s.get(), id) != data) arko_serv_deallocate(data);
}
const char* text(const stream& s, std::int32_t id) {
  return static_cast<const char*>(__kovSearchChunk(s.get(), id));
}

TEST(chunks, are_found_copied_and_deleted) {
  const std::int64_t before = arko_core_live_blocks();
  {
    stream s(KOV_BRNG_MCG31M1);
    EXPECT_EQ(__kovGetNumChunks(s.get()), 0);
    for (const auto& [id, data] : {std::pair{1, "one"}, {2, "two"}, {1, "newer one"}, {3, "three"}})
      add(s, id, data);
    EXPECT_STREQ(text(s, 1), "newer one");
    EXPECT_EQ(text(s, 4), nullptr);
    const stream copy(s);
    EXPECT_STREQ(text(copy, 1), "one");  // the order is turned round
    EXPECT_NE(text(copy, 2), text(s, 2));
    EXPECT_EQ(__kovDeleteChunksById(s.get(), 1), 0);
    EXPECT_EQ(__kovGetNumChunks(s.get()), 2);
    EXPECT_EQ(text(s, 1), nullptr);
    EXPECT_STREQ(text(s, 2), "two");
    EXPECT_STREQ(text(s, 3), "three");
    EXPECT_EQ(__kovCopyStreamState(s.get(), copy.get()), 0);  // chunks in place of chunks
    EXPECT_EQ(__kovGetNumChunks(s.get()), 4);
    EXPECT_EQ(__kovDeleteChunks(s.get()), 0);
    EXPECT_EQ(__kovGetNumChunks(s.get()), 0);
    EXPECT_EQ(__kovGetNumChunks(copy.get()), 4);
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
}

TEST(chunks, live_without_memory) {
  const std::uint64_t id[2] = {1, 2};
  stream s(KOV_BRNG_MCG31M1);
  for (int i = 0; i < 3; i++) add(s, i, "data", i == 1 ? id : nullptr);
  const std::int64_t before = arko_core_live_blocks();
  const int needed = 6;  // the record, three chunks, data of two
  for (int k = 1; k <= needed + 1; k++) {
    arko_core_fail_allocation(k);
    {
      const stream copy(s);
      EXPECT_EQ(copy.status(), k <= needed ? KOV_STATUS_NO_MEMORY : 0) << k;
      EXPECT_EQ(copy.get() == nullptr, k == 1);
      EXPECT_EQ(copy.get() ? __kovGetNumChunks(copy.get()) : 0, k <= needed ? 0 : 3);
    }
    arko_core_fail_allocation(0);
    EXPECT_EQ(arko_core_live_blocks(), before);
  }
  char* data = block_of("more");
  arko_core_fail_allocation(1);
  EXPECT_EQ(__kovAddChunk(s.get(), 4, nullptr, data, 5), KOV_STATUS_NO_MEMORY);
  arko_serv_deallocate(data);
  EXPECT_EQ(__kovGetNumChunks(s.get()), 3);
}

std::int32_t references(const std::uint64_t* id) {
  GlobRODataTableEntry* entry;
  const std::int32_t status = __kovFindGlobRODataTableEntry(&entry, id);
  return status == 0 ? entry->RefCount : status;
}

TEST(shared_data, are_counted_and_end_with_the_last_stream) {
  const std::uint64_t id[2] = {0, 7}, zero[2] = {0, 0};
  const std::int64_t before = arko_core_live_blocks();
  {
    stream second(KOV_BRNG_WH);
    {
      stream s(KOV_BRNG_MCG31M1);
      add(s, 9, "table", id);
      EXPECT_EQ(references(id), 1);
      const stream copy(s);
      EXPECT_EQ(text(copy, 9), text(s, 9));
      add(second, 9, "unused", id);
      EXPECT_EQ(references(id), 3);
      EXPECT_EQ(text(second, 9), text(s, 9));
    }
    EXPECT_EQ(references(id), 1);
    EXPECT_STREQ(text(second, 9), "table");

    StreamChunk chunk = {};
    EXPECT_EQ(__kovRegisterGlobRODataReference(&chunk, id), 0);
    EXPECT_EQ(chunk.ChunkData, text(second, 9));
    EXPECT_EQ(__kovUnregisterGlobRODataReference(id), 0);
    EXPECT_EQ(references(id), 1);
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
    stream s(KOV_BRNG_MCG31M1);
    for (std::uint64_t i = 1; i <= 130; i++) {
      const std::uint64_t id[2] = {i, i};
      add(s, static_cast<std::int32_t>(i), "data", id);
      EXPECT_EQ(references(id), i <= 127 ? 1 : KOV_STATUS_RO_NOT_FOUND) << i;
    }
    const std::uint64_t last[2] = {1, 0}, more[2] = {2, 0};
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, last, block_of("x")), 0);
    EXPECT_STREQ(static_cast<char*>(entry->EntryData), "x");
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, more, nullptr), KOV_STATUS_RO_TABLE_FULL);
    // Gaps are closed: all others are still found after entries from anywhere have gone.
    for (const std::int32_t id : {1, 64, 127}) __kovDeleteChunksById(s.get(), id);
    EXPECT_EQ(__kovUnregisterGlobRODataReference(last), 0);
    for (std::uint64_t i = 1; i <= 127; i++) {
      const std::uint64_t id[2] = {i, i};
      EXPECT_EQ(references(id), i == 1 || i == 64 || i == 127 ? KOV_STATUS_RO_NOT_FOUND : 1) << i;
    }
    // Several entries of one id count and go together; zero is an id, only not one to be found.
    const std::uint64_t zero[2] = {0, 0};
    for (const std::uint64_t* each : {last, zero}) {
      for (int i = 0; i < 3; i++) EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, each, block_of("y")), 0);
      StreamChunk chunk = {};
      EXPECT_EQ(__kovRegisterGlobRODataReference(&chunk, each), 0);
      EXPECT_STREQ(static_cast<char*>(chunk.ChunkData), "y");
      EXPECT_EQ(references(each), each == last ? 2 : KOV_STATUS_RO_NOT_FOUND);
      for (const std::int32_t status : {0, 0, KOV_STATUS_RO_NOT_FOUND})
        EXPECT_EQ(__kovUnregisterGlobRODataReference(each), status);
      EXPECT_EQ(references(each), KOV_STATUS_RO_NOT_FOUND);
    }
    EXPECT_EQ(__kovCreateGlobRODataTableEntry(&entry, nullptr, nullptr), KOV_STATUS_RO_NOT_FOUND);
  }
  EXPECT_EQ(arko_core_live_blocks(), before);
  std::uint64_t id[2];
  EXPECT_EQ(__kovGenerateNewGlobalRODataTableEntryId(id, -5), 0);
  EXPECT_EQ(id[1], static_cast<std::uint64_t>(-5));
  EXPECT_EQ(references(id), KOV_STATUS_RO_NOT_FOUND);
}

}  // namespace
