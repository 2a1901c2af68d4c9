// Special values by table: what a function gives at its edges, at every level and in the strided twin.
//
// A table holds rows<T>; check_rows compares results, statuses, report names and flags. The other checks are
// for what a table cannot say.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"

namespace arko::test {

using selection = bool (*)(const kernel&);  // of kernels for which a row holds

template <class T> struct row {
  T x;
  T result;  // by its bits, but any NaN for a NaN of another argument; unused where `near`
  int status;
  selection which = nullptr;  // null: all
  bool near = false;          // compared with the C library's function
  T y = 0;                    // the second argument, where there is one
};
template <class T> constexpr row<T> near(T x, int status, selection which = nullptr) {
  return {x, 0, status, which, true};
}

inline float s(std::uint32_t bits) { return std::bit_cast<float>(bits); }
inline double d(std::uint64_t bits) { return std::bit_cast<double>(bits); }
template <class T> inline constexpr T infinity = std::numeric_limits<T>::infinity();
template <class T> inline constexpr T nan = std::numeric_limits<T>::quiet_NaN();

// What the results are compared with, and the size from which on errors are relative to it at EP.
struct meant {
  long double (*function)(long double);
  double floor = 0;
};

// Unit-stride kernels and twins of a root such as "Exp".
template <class T> std::vector<kernel> kernels_of(const std::string& root) {
  const std::string name = (sizeof(T) == 4 ? "s" : "d") + root;
  std::vector<kernel> found;
  for (const kernel& k : kernels())
    if (k.f->name == name || k.f->name == name + "I") found.push_back(k);
  EXPECT_EQ(found.size(), 6u) << name;
  return found;
}

inline constexpr unsigned invalid_flag = 1, divide_flag = 4, overflow_flag = 8, underflow_flag = 0x10;

// A kernel's call on one element, under a new record.
template <class T> struct outcome {
  T result = -7, second = -7;  // of two arrays, where there are two
  int status = 0;
  std::string reported;  // the name, "" for no report
  unsigned flags = 0;

  outcome(const kernel& k, T x, T y = 0) {
    static thread_local char
        name[sizeof ZurErrorContext::FuncName];  // needs no initialisation on the new thread
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) {
        std::strcpy(name, c->FuncName);
        return 0;
      });
      const arguments c{1, {&x, &y}, {&result, &second}, {2, 2}, {2, 2}};
      flags = under({}, [&] { k(c); }).sse_flags();
      status = _zurGetErrStatus();
      reported = name;
    });
  }
};

// The level's error, doubled and more: the real bounds are the accuracy tests' affair.
template <class T> bool is_near(T result, long double expected, int level, double floor) {
  constexpr bool single = sizeof(T) == 4;
  const double relative = level == 2 ? (single ? 0x1p-11 : 0x1p-26) : (single ? 0x1p-21 : 0x1p-50);
  const long double size = std::fabs(expected);
  const long double allowed = relative * (level == 2 ? std::max<long double>(size, floor) : size) +
                              std::numeric_limits<T>::denorm_min();
  const bool may_overflow = expected + allowed > std::numeric_limits<T>::max();
  return std::fabs(result - expected) <= allowed || (may_overflow && result == infinity<T>);
}

template <class T> void check(const kernel& k, const row<T>& row, const meant& meant) {
  const outcome<T> got(k, row.x, row.y);
  const int status = row.near && std::isinf(got.result) ? ZUR_STATUS_OVERFLOW : row.status;
  EXPECT_EQ(got.status, status);
  EXPECT_EQ(got.reported, status ? k.f->report_name : "");
  if (row.near) {
    const long double expected = meant.function(row.x);
    EXPECT_TRUE(is_near(got.result, expected, k.level, meant.floor)) << got.result << ", not " << expected;
  } else if (std::isnan(row.result) && !std::isnan(row.x)) {
    EXPECT_TRUE(std::isnan(got.result)) << got.result;
  } else {
    EXPECT_EQ(std::memcmp(&got.result, &row.result, sizeof(T)), 0) << got.result << ", not " << row.result;
  }
  unsigned raised = 0, clear = 0;
  if (row.status == 1 && std::isnan(got.result)) raised = invalid_flag;
  if (row.status && row.status < 3 && std::isinf(got.result)) raised = divide_flag;
  if (row.status == 3) raised = overflow_flag;
  // Just below the normal numbers the step that makes a result denormal may be exact and raise nothing.
  if (row.status == 4 && got.result < 0x1p-8f * std::numeric_limits<T>::min()) raised = underflow_flag;
  const T size = std::fabs(row.x);  // the square of a tiny argument underflows
  if (row.status == 0 && (size == 0 || (size > T(1e-10) && size < 80)))
    clear = invalid_flag | divide_flag | overflow_flag | underflow_flag;
  EXPECT_EQ(got.flags & (raised | clear), raised);
}

template <class T> void check_rows(const char* root, const std::vector<row<T>>& rows, const meant& meant) {
  const auto kernels = kernels_of<T>(root);
  for (const row<T>& row : rows) {
    SCOPED_TRACE(testing::Message() << root << " of " << std::hexfloat << row.x << ", " << row.y);
    int checked = 0;
    for (const kernel& k : kernels) {
      if (row.which && !row.which(k)) continue;
      SCOPED_TRACE(k.name());
      check(k, row, meant);
      checked++;
    }
    EXPECT_GT(checked, 0);
  }
}

template <class T, std::size_t N>
void check_rows(const char* root, const row<T> (&rows)[N], const meant& meant) {
  check_rows(root, std::vector<row<T>>(rows, rows + N), meant);
}

// A signalling NaN comes out quiet, with its sign and payload, and is an invalid operation.
inline void check_signalling(const char* root) {
  const auto check = [&]<class T, class U>(T, U in, U out) {
    for (const kernel& k : kernels_of<T>(root)) {  // by memory: in a register it may lose its nature
      U r = 0;
      const arguments c{1, {&in}, {&r}, {2}, {2}};
      EXPECT_TRUE(under({}, [&] { k(c); }).sse_flags() & invalid_flag) << k;
      EXPECT_EQ(r, out) << k;
    }
  };
  check(0.0f, 0x7F800001u, 0x7FC00001u);
  check(0.0, 0xFFF0000000000001ul, 0xFFF8000000000001ul);
}

// A denormal result is flushed where the mode word says so and not where only the caller's word does; the
// status is the same.
template <class T> void check_denormal_result(const char* root, T x, int status) {
  for (const kernel& k : kernels_of<T>(root)) {
    SCOPED_TRACE(k.name());
    on_new_thread([&] {
      for (const auto& [mode, sse, kept] : {std::tuple{0u, 0x9FC0u, true},
                                            {ZUR_KEEP_DENORMALS, 0x9FC0u, true},
                                            {ZUR_FLUSH_DENORMALS, 0x1F80u, false}}) {
        T r = -1;
        const arguments c{1, {&x}, {&r}, {2}, {2}};
        _zurSetMode(mode);
        _zurClearErrStatus();
        under({sse}, [&] { k(c); });
        EXPECT_EQ(std::fpclassify(r), kept ? FP_SUBNORMAL : FP_ZERO) << std::hex << mode;
        EXPECT_EQ(_zurGetErrStatus(), status);
      }
    });
  }
}

// In a screened block the elements go out one by one: at a report all before are written, none behind.
// `reports` is an argument that gives a status, among ones.
template <class T> void check_screened(const char* root, T reports, selection which) {
  static constexpr int n = 24, special = 11;
  static constexpr T untouched = -77;
  static T x[n], r[n];
  static int calls;
  int screened = 0;
  calls = 0;
  std::fill_n(x, n, T(1));
  x[special] = reports;
  for (const kernel& k : kernels_of<T>(root)) {
    if (!which(k)) continue;
    SCOPED_TRACE(k.name());
    screened++;
    std::fill_n(r, n, untouched);
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) {
        EXPECT_EQ(c->Index, special);
        for (int i = 0; i < n; i++) EXPECT_EQ(r[i] != untouched, i <= special) << "element " << i;
        calls++;
        return 0;
      });
      k({n, {x}, {r}});
    });
  }
  EXPECT_GT(screened, 0);
  EXPECT_EQ(calls, screened);
}

}  // namespace arko::test
