// Exp at its edges: results, statuses and flags by table, for each level and the strided twins.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "tests/support/child.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

constexpr unsigned overflow_flag = 8, underflow_flag = 0x10, invalid_flag = 1;

// The kernels that serve special lanes by their own routine differ in two thresholds of single precision.
enum set { all, screened, masked };  // screened: sExp at LA and HA; masked: sExp at EP, sExpI

template <class T> struct row {
  T x;
  T result;  // unused where `near`
  int status;
  set which = all;
  bool near = false;  // compared with the C library's exp
};

template <class T> constexpr row<T> near(T x, int status, set which = all) {
  return {x, 0, status, which, true};
}

float s(std::uint32_t bits) { return std::bit_cast<float>(bits); }
double d(std::uint64_t bits) { return std::bit_cast<double>(bits); }
template <class T> constexpr T infinity = std::numeric_limits<T>::infinity();

const row<float> singles[] = {
    {s(0x7FC00001), s(0x7FC00001), 0},
    {s(0xFFC00001), s(0xFFC00001), 0},
    {infinity<float>, infinity<float>, 0},
    {-infinity<float>, 0, 0},
    {0.0f, 1, 0},
    {-0.0f, 1, 0},
    {s(0x00000001), 1, 0},
    {s(0x807FFFFF), 1, 0},
    near(1.0f, 0),
    near(s(0x42AEAC4F), 0),  // the last arguments of the fast path, and the first of the routine
    near(s(0x42AEAC50), 0),
    near(s(0xC2AEAC4F), 0),
    near(s(0xC2AEAC50), 4),
    near(-87.4f, 4),
    near(88.7f, 0),
    near(s(0x42B17217), 0),  // 88.72283, the last finite result
    {s(0x42B17218), infinity<float>, 3},
    {100, infinity<float>, 3},
    {s(0x7F7FFFFF), infinity<float>, 3},
    near(s(0xC2CE8ED0), 4),  // -103.27893
    {s(0xC2CE8ED1), 0, 4, screened},
    near(s(0xC2CE8ED1), 4, masked),
    {-103.3f, 0, 4, screened},
    {-103.3f, s(0x00000001), 4, masked},
    {s(0xC2CFF1B4), s(0x00000001), 4, masked},  // -103.972076, the last denormal result
    {s(0xC2CFF1B5), 0, 4},
    {-150, 0, 4},
    {s(0xFF7FFFFF), 0, 4},
};

const row<double> doubles[] = {
    {d(0x7FF8000000000001), d(0x7FF8000000000001), 0},
    {d(0xFFF8000000000001), d(0xFFF8000000000001), 0},
    {infinity<double>, infinity<double>, 0},
    {-infinity<double>, 0, 0},
    {0.0, 1, 0},
    {-0.0, 1, 0},
    {d(0x0000000000000001), 1, 0},
    {d(0x800FFFFFFFFFFFFF), 1, 0},
    near(1.0, 0),
    near(d(0x4086232AFFFFFFFF), 0),  // the last of the fast path by its upper word
    near(d(0x4086232B00000000), 0),
    near(d(0xC086232AFFFFFFFF), 0),
    near(d(0xC086232B00000000), 0),
    near(d(0xC086232BDD7ABCD2), 0),  // -708.3964185322641, the last without a report
    near(d(0xC086232BDD7ABCD3), 4),
    near(-720.0, 4),
    near(709.78, 0),
    near(d(0x40862E3D73697A30), 0),  // below and from 709.78000528721
    near(d(0x40862E3D73697A31), 0),
    near(d(0x40862E42FEFA39EF), 0),  // the last finite result
    {d(0x40862E42FEFA39F0), infinity<double>, 3},
    {d(0x7FEFFFFFFFFFFFFF), infinity<double>, 3},
    near(d(0xC0874910D52D3051), 4),
    {d(0xC0874910D52D3052), 0, 4},  // -745.1332191019412
    {-745.14, 0, 4},
    {d(0xFFEFFFFFFFFFFFFF), 0, 4},
};

// The level's relative error, doubled and more: the real bounds are the accuracy tests' affair.
template <class T> double tolerance(int level) {
  if (level == 2) return sizeof(T) == 4 ? 0x1p-11 : 0x1p-26;
  return sizeof(T) == 4 ? 0x1p-21 : 0x1p-50;
}

thread_local std::string reported;

template <class T> void check(const kernel& k, const row<T>& row) {
  T x = row.x, r = -7;
  std::string name;
  fp_words after;
  on_new_thread([&] {
    reported.clear();
    _zurSetErrorCallBack([](ZurErrorContext* c) {
      reported = c->FuncName;
      return 0;
    });
    arguments c{1, {&x}, {&r}, {2}, {2}};
    after = under({}, [&] { k(c); });
    EXPECT_EQ(_zurGetErrStatus(), row.status);
    name = reported;
  });
  EXPECT_EQ(name, row.status ? k.f->report_name : "");
  if (row.near) {
    const long double expected = std::exp(static_cast<long double>(x));
    const long double allowed = expected * tolerance<T>(k.level) + std::numeric_limits<T>::denorm_min();
    const bool may_overflow = expected + allowed > std::numeric_limits<T>::max();
    EXPECT_TRUE(std::fabs(r - expected) <= allowed || (may_overflow && r == infinity<T>))
        << r << ", not " << expected;
  } else {
    EXPECT_EQ(std::memcmp(&r, &row.result, sizeof r), 0) << r << ", not " << row.result;
  }
  unsigned raised = 0, clear = 0;
  if (row.status == 3) raised = overflow_flag;
  if (row.status == 4 && r < std::numeric_limits<T>::min()) raised = underflow_flag;
  const T size = std::fabs(x);  // the square of a tiny argument underflows
  if (size == 0 || (size > 1e-10 && size < 80)) clear = overflow_flag | underflow_flag | invalid_flag;
  EXPECT_EQ(after.sse_flags() & (raised | clear), raised);
}

template <class T, std::size_t N> void check_all(const char* name, const row<T> (&rows)[N]) {
  int checked = 0;
  for (const kernel& k : kernels()) {
    if (k.f->name != name && k.f->name != std::string(name) + "I") continue;
    const set which = sizeof(T) == 4 && !k.f->strided && k.level != 2 ? screened : masked;
    for (const row<T>& row : rows) {
      if (row.which != all && row.which != which) continue;
      SCOPED_TRACE(testing::Message() << k << " of " << std::hexfloat << row.x);
      check(k, row);
      checked++;
    }
  }
  EXPECT_GT(checked, 6 * 20);
}

TEST(exp, single_edges) { check_all("sExp", singles); }
TEST(exp, double_edges) { check_all("dExp", doubles); }

template <class T> void quiet(const char* name, T signalling, T quiet) {
  for (const kernel& k : kernels()) {
    if (k.f->name.substr(0, 4) != name) continue;
    T r = 0;
    const arguments c{1, {&signalling}, {&r}, {2}, {2}};
    EXPECT_TRUE(under({}, [&] { k(c); }).sse_flags() & invalid_flag) << k;
    EXPECT_EQ(std::memcmp(&r, &quiet, sizeof r), 0) << k;
  }
}

TEST(exp, signalling_nan_is_quietened_and_invalid) {
  const std::uint64_t in[] = {0x7F800001, 0xFFF0000000000001}, out[] = {0x7FC00001, 0xFFF8000000000001};
  float x, y;  // by memory: a signalling value in a register may lose its nature
  std::memcpy(&x, &in[0], 4), std::memcpy(&y, &out[0], 4);
  quiet("sExp", x, y);
  double u, v;
  std::memcpy(&u, &in[1], 8), std::memcpy(&v, &out[1], 8);
  quiet("dExp", u, v);
}

// A denormal result is flushed where the mode word says so and not where only the caller's word does.
TEST(exp, denormal_results_follow_the_mode_word) {
  for (const kernel& k : kernels()) {
    const std::string root = k.f->name.substr(1);
    if (root != "Exp" && root != "ExpI") continue;
    SCOPED_TRACE(k.name());
    float xs = -95, rs;
    double xd = -720, rd;
    const bool is_double = k.f->is_double();
    const arguments c{1,
                      {is_double ? static_cast<void*>(&xd) : &xs},
                      {is_double ? static_cast<void*>(&rd) : &rs},
                      {2},
                      {2}};
    const auto positive = [&] {
      return is_double ? std::bit_cast<std::uint64_t>(rd) != 0 : std::bit_cast<std::uint32_t>(rs) != 0;
    };
    on_new_thread([&] {
      for (const auto& [mode, sse, kept] : {std::tuple{0u, 0x9FC0u, true},
                                            {ZUR_KEEP_DENORMALS, 0x9FC0u, true},
                                            {ZUR_FLUSH_DENORMALS, 0x1F80u, false}}) {
        _zurSetMode(mode);
        _zurClearErrStatus();
        under({sse}, [&] { k(c); });
        EXPECT_EQ(positive(), kept) << std::hex << mode;
        EXPECT_EQ(_zurGetErrStatus(), ZUR_STATUS_UNDERFLOW);
      }
    });
  }
}

// In a screened block the elements go out one by one: at a report all before are written, none behind.
struct {
  const float* s;
  const double* d;
  int calls;
} watched;
constexpr int special = 11;

TEST(exp, screened_blocks_write_in_order) {
  constexpr int n = 24;
  float xs[n], rs[n];
  double xd[n], rd[n];
  watched = {rs, rd, 0};
  for (const kernel& k : kernels()) {
    const std::string& name = k.f->name;
    if (name != "dExp" && (name != "sExp" || k.level == 2)) continue;
    SCOPED_TRACE(k.name());
    for (int i = 0; i < n; i++) xs[i] = static_cast<float>(i), xd[i] = i, rs[i] = -1, rd[i] = -1;
    xs[special] = 1000, xd[special] = 1000;
    const bool is_double = k.f->is_double();
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) {
        EXPECT_EQ(c->Index, special);
        const bool is_single = c->FuncName[1] == 's';
        for (int i = 0; i < n; i++)
          EXPECT_EQ((is_single ? watched.s[i] : watched.d[i]) > 0, i <= special) << "element " << i;
        watched.calls++;
        return 0;
      });
      k({n, {is_double ? static_cast<void*>(xd) : xs}, {is_double ? static_cast<void*>(rd) : rs}});
    });
  }
  EXPECT_EQ(watched.calls, 5);
}

}  // namespace
