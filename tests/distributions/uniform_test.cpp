// The uniform family, Bernoulli and geometric: against the fills that they are made of and their defining equations; and
// what they leave alone, also where a fill fails.

#include <arko/dist.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <span>
#include <string>

#include "core/testing.h"
#include "tests/distributions/scripted.h"
#include "tests/rng/streams.h"
#include "tests/support/child.h"
#include "tests/support/guard.h"
#include "tests/support/probes.h"

namespace {

using namespace arko::test;

using integers = std::vector<std::int32_t>;

template <class R, class Entry, class... P>
std::vector<R> drawn(Entry entry, const stream& s, int n, P... parameters) {
  std::vector<R> r(static_cast<std::size_t>(n));
  EXPECT_EQ(entry(0, s.get(), n, r.data(), parameters...), 0);
  return r;
}
integers uniform(const stream& s, int n, std::int32_t a, std::int32_t b) {
  return drawn<std::int32_t>(_koviRngUniform, s, n, a, b);
}
integers bernoulli(const stream& s, int n, double p) {
  return drawn<std::int32_t>(_koviRngBernoulli, s, n, p);
}
integers geometric(const stream& s, int n, double p) {
  return drawn<std::int32_t>(_koviRngGeometric, s, n, p);
}

// ---- What all entries have in common

struct entry {
  const char* name;
  std::size_t bytes;  // of a result
  std::int32_t (*call)(void* stream, std::int32_t n, void* r);
};
#define CALL(name, T, ...)                                                    \
  sizeof(T), [](void* stream, std::int32_t n, void* r) {                      \
    return name(0, stream, n, static_cast<T*>(r) __VA_OPT__(, ) __VA_ARGS__); \
  }
const entry entries[] = {{"dUniform", CALL(_kovdRngUniform, double, -3, 7.3)},
                         {"sUniform", CALL(_kovsRngUniform, float, -3, 7.3f)},
                         {"iUniform", CALL(_koviRngUniform, std::int32_t, -1000, 1 << 30)},
                         {"iUniformBits", CALL(_koviRngUniformBits, std::uint32_t)},
                         {"iUniformBits32", CALL(_koviRngUniformBits32, std::uint32_t)},
                         {"iUniformBits64", CALL(_koviRngUniformBits64, std::uint64_t)},
                         {"iBernoulli", CALL(_koviRngBernoulli, std::int32_t, 0.3)},
                         {"iGeometric", CALL(_koviRngGeometric, std::int32_t, 0.01)}};

TEST(entries, deliver_one_sequence_into_their_results_only_and_without_memory) {
  constexpr int total = 8000;
  for (const entry& e : entries) {
    const stream fresh(KOV_BRNG_MT19937, {1}), whole(fresh), parts(fresh);
    std::string all(total * e.bytes, '\0');
    ASSERT_EQ(e.call(whole.get(), total, all.data()), 0) << e.name;
    guarded room(2100 * e.bytes);
    std::size_t done = 0;
    for (const int n : {1, 2, 3, 0, 4, 5, 1023, -7, 1024, 1025, 2048, 2049, 13}) {
      const std::size_t size = e.bytes * static_cast<std::size_t>(std::max(n, 0));
      unsigned char* r = n % 2 ? room.begin() : room.end() - size;
      room.clear();
      const std::int64_t allocations = arko_core_allocations();
      ASSERT_EQ(e.call(parts.get(), n, r), 0) << e.name << ' ' << n;
      EXPECT_EQ(arko_core_allocations(), allocations) << e.name;
      EXPECT_EQ(std::memcmp(r, all.data() + done, size), 0) << e.name << ' ' << n;
      EXPECT_TRUE(room.clear_outside(r, r + size)) << e.name << ' ' << n;
      done += size;
    }
  }
}

TEST(entries, hand_on_statuses_and_keep_blocks_before_a_failed_one) {
  for (const entry& e : entries) {
    if (std::strstr(e.name, "Bits32") || std::strstr(e.name, "Bits64"))
      continue;  // not of registered generators
    std::string r(3000 * e.bytes, '*');
    const auto call = [&](const script& s, std::int32_t n) {
      return e.call(stream(scripted(s)).get(), n, r.data());
    };
    for (const std::int32_t n : {0, -1, INT32_MIN}) EXPECT_EQ(call({.answer = 5}, n), 0) << e.name;
    EXPECT_EQ(call({.fails_at = 1}, 10), script::failure) << e.name;
    EXPECT_EQ(played.fills, 1);
    EXPECT_EQ(r, std::string(r.size(), '*'));
    if (call({.fails_at = 2, .answer = 5}, 3000) == 5) continue;  // in one fill
    EXPECT_EQ(played.fills, 2);
    std::string expected;
    for (int i = 0; i < 1024; i++) expected += r.substr(0, e.bytes);
    EXPECT_EQ(r, expected + std::string((3000 - 1024) * e.bytes, '*')) << e.name;
    EXPECT_EQ(call({.answer = 5}, 3000), 5) << e.name;
  }
}

// Everything of the thread's that a call may change: under masked and unmasked exceptions, all roundings, denormals
// flushed, and modes with fields that SetMode cannot bring back; with pole reports, and failing in the second block.
std::int32_t callbacks_called;
std::int32_t callback(ZurErrorContext*) { return callbacks_called++; }

TEST(entries, leave_mode_callback_and_control_words_alone) {
  struct {
    std::uint32_t mode;
    fp_words words;
  } const cases[] = {{0, {}},
                     {ZUR_FLUSH_DENORMALS | ZUR_ERRMODE_NOERR, {.sse = 0x9FC0}},
                     {ZUR_KEEP_DENORMALS | ZUR_ERRMODE_STDERR | ZUR_EP, {.sse = 0x7F80, .control = 0x27F}},
                     {ZUR_ERRMODE_CALLBACK, {.sse = 0x3F80, .control = 0xF7F}},
                     // Invalid operation and division by zero would trap.
                     {ZUR_ERRMODE_DEFAULT | ZUR_TRAP_DIVBYZERO, {.sse = 0x1D00, .control = 0x37A}}};
  for (const entry& e : entries)
    for (const auto& c : cases)
      for (const int fails_at : {0, 1, 2})
        for (const ZurErrorCallBack mine : {ZurErrorCallBack{}, &callback})
          on_new_thread([&] {
            const stream s(scripted({.numbers = {0.25, 0}, .fails_at = fails_at}));
            std::uint64_t r[1500];
            _zurSetErrorCallBack(mine);
            _zurSetMode(c.mode);
            const std::uint32_t mode = _zurGetMode();
            errno = callbacks_called = 0;
            std::int32_t status = 0;
            const fp_words after = under(c.words, [&] { status = e.call(s.get(), 1500, r); });
            EXPECT_EQ(status == script::failure, fails_at > 0 && fails_at <= played.fills) << e.name;
            EXPECT_EQ(_zurGetMode(), mode) << e.name;
            EXPECT_EQ(_zurGetErrorCallBack(), mine) << e.name;
            EXPECT_EQ(after.sse_control(), c.words.sse_control()) << e.name;
            EXPECT_EQ(after.control, c.words.control) << e.name;
            EXPECT_TRUE(errno == 0 && callbacks_called == 0 && after.x87_flags() == 0) << e.name;
          });
}

// ---- Real numbers

// Reals are the fill's, whatever the stream, unless they have to be clamped.
template <class T> void check_reals(std::int32_t (*entry)(std::int32_t, void*, std::int32_t, T*, T, T)) {
  const T a = T(-3), b = T(7.3);
  for (const std::int32_t code : {0, 3, KOV_BRNG_WH + 272, KOV_BRNG_MT2203 + 3, KOV_BRNG_PHILOX4X32X10}) {
    const stream s(code, {9});
    stream same(s);
    EXPECT_EQ(drawn<T>(entry, s, 1500, a, b), same.reals<T>(1500, a, b)) << code;
  }
  const script outside = {.numbers = {-3, 7.3, -3.0001, 7.31, 0, -1e30, 1e30, 2}};
  for (const std::int32_t method : {0, 1, KOV_METHOD_ACCURATE, KOV_METHOD_ACCURATE | 2}) {
    std::vector<T> r(30);
    EXPECT_EQ(entry(method, stream(scripted(outside)).get(), 30, r.data(), a, b), 0);
    for (std::size_t i = 0; i < r.size(); i++) {
      const T x = static_cast<T>(outside.numbers[i % 8]);
      EXPECT_EQ(r[i], method < KOV_METHOD_ACCURATE ? x : std::clamp(x, a, b)) << method;
    }
  }
}
TEST(uniform, reals_are_the_fills_clamped_on_request) {
  check_reals(_kovdRngUniform);
  check_reals(_kovsRngUniform);
}

// ---- Integers

TEST(uniform, integers_are_floors) {
  stream s(KOV_BRNG_MCG59, {3});
  for (const auto& [a, b] : {std::pair{-1000, 1000}, {-2, 0}, {3, 4}, {INT32_MIN, INT32_MAX}, {0, 1 << 30}}) {
    const stream same(s);
    const std::vector<double> x = s.reals<double>(4099, a, b);
    const integers r = uniform(same, 4099, a, b);
    for (std::size_t i = 0; i < x.size(); i++) ASSERT_EQ(r[i], std::floor(x[i])) << a;
    EXPECT_EQ(s.record(), same.record());
  }
  const double edges[] = {-2, -2 + 0x1p-51, -1 - 0x1p-52, -1,        -0x1p-1074,        -0.0,
                          0,  1 - 0x1p-53,  INT32_MIN,    INT32_MAX, INT32_MAX + 0.999, INT32_MIN + 0.5};
  const integers r = uniform(stream(scripted({.numbers = {std::begin(edges), std::end(edges)}})), 12,
                             INT32_MIN, INT32_MAX - 1);
  EXPECT_EQ(r, (integers{-2, -2, -2, -1, -1, 0, 0, 0, INT32_MIN, INT32_MAX - 2, INT32_MAX - 2, INT32_MIN}));
}

// The largest output of a generator may be rounded to the end of the interval.
TEST(uniform, integers_are_below_that_end) {
  constexpr std::int32_t a = 1 << 30, b = a + 1;
  words last(250);
  last[0] = ~0u;
  for (const auto& [code, seed] : {std::pair{KOV_BRNG_MCG31M1, words{0x7FFFFFFE}},
                                   {KOV_BRNG_MCG59, {~0u, ~0u}},
                                   {KOV_BRNG_R250, last}}) {
    EXPECT_EQ(stream(code, seed).reals<double>(1, a, b)[0], b) << code;
    EXPECT_EQ(uniform(stream(code, seed), 1, a, b), integers{a}) << code;
  }
  for (const std::int32_t c : {INT32_MIN, -5, INT32_MAX})  // an interval with nothing in it
    EXPECT_EQ(uniform(stream(scripted({.numbers = {c + 0.0}})), 5, c, c), integers(5, c));
}

// Families with 32 random bits in a word; MCG59 has them at the top of 59.
TEST(uniform, bits_are_random_ones_or_refused) {
  auto codes = codes_by_name;
  codes["old MCG59"] = 3, codes["last of MT2203"] = KOV_BRNG_MT2203 + 6023;
  for (const auto& [family, code] : codes) {
    if (!usable(code) || code == KOV_BRNG_TRNG) continue;
    const bool has = code >= KOV_BRNG_MT19937 || code == KOV_BRNG_MCG59 || code == 3;
    for (const int n : {0, 1, 2048, 2049, 5001}) {
      const stream fresh(code, {5}), words_of(fresh), half(fresh), full(fresh);
      const auto bytes = static_cast<std::size_t>(fresh.row().WordBytes);
      const auto count = static_cast<std::size_t>(n);
      const words x = n ? stream(fresh).integers(2 * n) : words();
      words all(x.size()), expected, r(2 * count);
      std::vector<std::uint64_t> pairs(count);
      EXPECT_EQ(_koviRngUniformBits(0, words_of.get(), 2 * n, all.data()), 0);
      EXPECT_EQ(all, x);
      const std::int32_t status = has ? 0 : KOV_STATUS_BITS_NOT_SUPPORTED;
      EXPECT_EQ(_koviRngUniformBits32(0, half.get(), 2 * n, r.data()), status) << family;
      EXPECT_EQ(_koviRngUniformBits64(0, full.get(), n, pairs.data()), status) << family;
      if (!has) continue;
      for (std::size_t i = 0; i < x.size(); i += bytes / 4)
        expected.push_back(bytes == 4 ? x[i] : x[i + 1] << 5 | x[i] >> 27);
      EXPECT_EQ(r, expected) << family << ' ' << n;
      EXPECT_TRUE(std::ranges::equal(std::as_bytes(std::span(pairs)), std::as_bytes(std::span(expected))))
          << family << ' ' << n;
      for (const stream* each : {&half, &full}) EXPECT_EQ(each->record(), words_of.record());
    }
  }
  std::uint64_t r[2];  // words that nobody can repeat, where the processor has them
  EXPECT_EQ(_koviRngUniformBits64(0, stream(KOV_BRNG_TRNG).get(), 2, r),
            __kovCPUisRDRAND() ? KOV_STATUS_OK : KOV_STATUS_NO_RDRAND);
  // Of those that are refused only the head is looked at, so that families with entries of their own take part.
  for (const std::int32_t code : {0, 1, 277, 278, KOV_BRNG_SOBOL, KOV_BRNG_NIEDERR, KOV_BRNG_IABSTRACT,
                                  KOV_BRNG_DABSTRACT, KOV_BRNG_SABSTRACT, scripted({})}) {
    BrngStream head = {.Brng = code, .HeadTag = 1, .HeadFlags = 0, .HeadReserved = 0, .ChunkList = nullptr};
    EXPECT_EQ(_koviRngUniformBits32(0, &head, 1, nullptr), KOV_STATUS_BITS_NOT_SUPPORTED) << code;
    EXPECT_EQ(_koviRngUniformBits64(0, &head, 1, nullptr), KOV_STATUS_BITS_NOT_SUPPORTED) << code;
  }
}

// ---- Bernoulli and geometric

TEST(bernoulli, is_one_below_p) {
  const float third = 1 / 3.0f;
  const double below = std::nextafter(third, 0.0f), at = third;
  const script s = {.numbers = {0, 0x1p-149, below, at, 0.5, 1 - 0x1p-24, 1}};
  struct {
    double p;
    integers expected;
  } const cases[] = {
      {0, {0, 0, 0, 0, 0, 0, 0}},           {0x1p-149, {1, 0, 0, 0, 0, 0, 0}},
      {at, {1, 1, 1, 0, 0, 0, 0}},          {1 / 3.0, {1, 1, 1, 0, 0, 0, 0}},  // in single precision
      {1 - 0x1p-24, {1, 1, 1, 1, 1, 0, 0}}, {1, {1, 1, 1, 1, 1, 1, 1}}};
  for (const auto& c : cases) EXPECT_EQ(bernoulli(stream(scripted(s)), 7, c.p), c.expected) << c.p;
}

// k <= x < k + 1 for x = ln u / ln(1 - p), but for the rounding of single precision.
TEST(geometric, is_the_floor_of_a_quotient_of_logarithms) {
  for (const std::int32_t code : {KOV_BRNG_MT19937, KOV_BRNG_MCG59})
    for (const double p : {1e-7, 1e-4, 0.01, 0.3, 0.5, 0.9, 0.999999, 1.0}) {
      stream s(code, {2});
      const stream same(s);
      const std::vector<float> u = s.reals<float>(5000, 0, 1);
      const integers r = geometric(same, 5000, p);
      for (std::size_t i = 0; i < u.size(); i++) {
        const long double x =
            p == 1 ? 0 : std::log(static_cast<long double>(u[i])) / std::log1p(-static_cast<long double>(p));
        ASSERT_LE(r[i], x * (1 + 0x1p-21l) + 1e-9l) << p << ' ' << u[i];
        ASSERT_GE(r[i] + 1, x * (1 - 0x1p-21l)) << p << ' ' << u[i];
      }
      EXPECT_EQ(s.record(), same.record());
    }
}

// Zero counts as the smallest number above it, and denormals are numbers whatever the thread's mode says; the caller's
// mode is there while a fill runs, but for the error mode.
TEST(geometric, takes_zero_and_denormals_in_any_mode) {
  const double u[] = {0, 0x1p-149, 0x1p-130, 0.5, 1};
  for (const std::uint32_t denormals : {ZUR_FLUSH_DENORMALS, ZUR_KEEP_DENORMALS})
    on_new_thread([&] {
      _zurSetMode(denormals | ZUR_ERRMODE_NOERR);
      const stream s(scripted({.numbers = {std::begin(u), std::end(u)}}));
      const integers r = geometric(s, 1028, 0.001);
      for (std::size_t i = 0; i < r.size(); i++) {
        const double x = std::max(u[i % 5], 0x1p-149);
        EXPECT_EQ(r[i], std::floor(std::log(x) / std::log1p(-0.001))) << x;
      }
      EXPECT_EQ(played.fills, 2);
      EXPECT_EQ(played.mode & ZUR_DENORMALS_MASK, denormals);
      EXPECT_EQ(played.mode & ZUR_ERRMODE_MASK, ZUR_ERRMODE_CALLBACK);
    });
}

}  // namespace
