// The element reporter, called directly for its element types, and through a kernel where the way back
// counts.
#include "vector/report.h"

#include <arko/core.h>
#include <arko/vector.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/probes.h"

namespace {

using namespace arko::test;

// What the callback got, and what it does.
thread_local ZurErrorContext seen;
thread_local int calls;
thread_local std::function<std::int32_t(ZurErrorContext*)> answer;
std::int32_t callback(ZurErrorContext* c) {
  seen = *c;
  calls++;
  return answer ? answer(c) : 0;
}

// ---- the four element types alike

template <class E> class reporter : public testing::Test {
 protected:
  using T = typename zur::real_of<E>::type;
  static constexpr bool is_complex = sizeof(E) > sizeof(T);
  static E make(T re, T im) {
    if constexpr (is_complex) return {re, im};
    if constexpr (!is_complex) return re;
  }
  static bool is(const E& x, T re, T im) {
    const E expected = make(re, im);
    return std::memcmp(&x, &expected, sizeof x) == 0;
  }
  E a[40], arg1 = make(1.5, -1.25), arg2 = make(2.5, -2.25), r1 = make(3.5, -3.25), r2 = make(4.5, -4.25);

  void tell(std::int32_t status, std::int32_t index, const E* array, const char* name = "") {
    zur::report(status, index, array, arg1, arg2, r1, r2, name);
  }
};
using elements = testing::Types<float, double, zur::complex<float>, zur::complex<double>>;
TYPED_TEST_SUITE(reporter, elements);

// What is not told of an element is zero. An index counts from the interface input vector, by the size of an
// element; names are cut.
TYPED_TEST(reporter, fills_the_record) {
  const struct {
    TypeParam* input_vector;
    int status, index;
    std::size_t length = 4;  // of the name
  } rows[] = {{nullptr, 3, 5},     {nullptr, -1, 5},     {nullptr, -2, 5},
              {this->a, 3, 21},    {this->a + 20, 3, 1}, {nullptr, 3, 5, 0},
              {nullptr, 3, 5, 47}, {nullptr, 3, 5, 48},  {nullptr, 3, 5, 200}};
  for (const auto& row : rows)
    on_new_thread([&] {
      _zurSetErrorCallBack(callback);
      EXPECT_EQ(_zurSetInterfInputVectorPointer(row.input_vector), row.input_vector);
      ZurErrorContext expected;
      std::memset(&expected, 0, sizeof expected);
      expected.Code = row.status, expected.Index = row.index;
      expected.FuncNameLen = static_cast<int>(std::min<std::size_t>(row.length, 47));
      std::memset(expected.FuncName, 'x', static_cast<std::size_t>(expected.FuncNameLen));
      if (row.status > 0) expected.Arg1 = 1.5, expected.Arg2 = 2.5, expected.Res1 = 3.5, expected.Res2 = 4.5;
      if (row.status > 0 && this->is_complex)
        expected.Arg1Im = -1.25, expected.Arg2Im = -2.25, expected.Res1Im = -3.25, expected.Res2Im = -4.25;
      this->tell(row.status, 5, this->a + 16, std::string(row.length, 'x').c_str());
      EXPECT_EQ(std::memcmp(&seen, &expected, sizeof seen), 0) << row.status << ' ' << seen.Index;
    });
}

// If the callback returns 0 and the status has values; of one result, given twice, the first stays, and what
// the callback writes to the array itself does not count.
TYPED_TEST(reporter, takes_results_from_the_record) {
  on_new_thread([&] {
    _zurSetErrorCallBack(callback);
    std::int32_t returned = 1;
    answer = [&](ZurErrorContext* c) {
      c->Res1 = 51, c->Res1Im = 52, c->Res2 = 61, c->Res2Im = 62;
      return returned;
    };
    this->tell(3, 7, this->a);
    returned = 0;
    for (const int no_values : {-1, -2}) this->tell(no_values, 7, this->a);
    EXPECT_TRUE(this->is(this->r1, 3.5, -3.25) && this->is(this->r2, 4.5, -4.25));
    this->tell(3, 7, this->a);
    EXPECT_TRUE(this->is(this->r1, 51, 52) && this->is(this->r2, 61, 62));
    zur::report(3, 7, this->a, this->arg1, this->arg2, this->r2, this->r2, "");
    EXPECT_TRUE(this->is(this->r2, 51, 52));
    answer = [&](ZurErrorContext*) { return this->r1 = this->arg1, 0; };
    this->tell(3, 7, this->a);
    EXPECT_TRUE(this->is(this->r1, 51, 52));
  });
}

// Also where the caller flushes denormal numbers, and without a flag.
TEST(report_single, numbers_survive_the_way_through_double) {
  on_new_thread([] {
    _zurSetErrorCallBack(callback);
    _zurSetMode(ZUR_ERRMODE_CALLBACK);
    using limits = std::numeric_limits<float>;
    for (const float x :
         {limits::denorm_min(), 5 * limits::denorm_min(), limits::min() - limits::denorm_min(), limits::min(),
          -limits::max(), -0.0f, 1.5f, -limits::infinity(), std::bit_cast<float>(0xFFC12345),
          std::bit_cast<float>(0x7F800001)}) {
      float r = x;
      const fp_words after = under({.sse = 0x9FC0}, [&] { zur::report(3, 0, &x, x, x, r, r, ""); });
      EXPECT_EQ(after.sse_flags(), 0u) << x;
      EXPECT_EQ(std::bit_cast<std::uint32_t>(r), std::bit_cast<std::uint32_t>(x));
      EXPECT_TRUE(x == x ? seen.Arg1 == static_cast<double>(x) : std::isnan(seen.Res1)) << x;
    }
  });
}

// ---- what is done about an element; one type stands for all from here on

// One report of a double; one array where the second value is that of the first.
struct values {
  double a = 1, b = 1, r1 = 2, r2 = 2;
};
void tell(std::int32_t status, values v = {}) {
  zur::report(status, 0, &v.a, v.a, v.b, v.r1, v.r2, "vdTest");
}

// Statuses with their errno and x87 flag.
struct status_row {
  int status, number;
  unsigned flag;
};
constexpr status_row statuses[] = {{1, EDOM, 0x01},   {2, ERANGE, 0x04}, {3, ERANGE, 0x08},
                                   {4, ERANGE, 0x10}, {0, 0, 0},         {-1, EINVAL, 0},
                                   {-2, EACCES, 0},   {5, EFAULT, 0},    {-3, EFAULT, 0}};

// What the error mode byte lets happen: the status is stored, errno is set, the x87 flag is raised, the
// callback is called. One that does not return 0 ends the report.
TEST(report_actions, follow_the_error_mode_byte) {
  const struct {
    unsigned byte;
    std::string actions;
    int answer = 0;
  } rows[] = {{0x2000, ""},   {0x0100, "s"},    {0x0300, "se"}, {0x2200, "se"},
              {0x2100, "s"},  {0x0200, "se"},   {0x0800, "sx"}, {0x1000, "sc"},
              {0x1100, "sc"}, {0x1A00, "sexc"}, {0x4000, "s"},  {0x1A00, "sc", -5}};
  for (const auto& row : rows)
    for (const status_row& s : statuses)
      on_new_thread([&] {
        SCOPED_TRACE(testing::Message() << std::hex << row.byte << " status " << s.status);
        _zurSetErrorCallBack(callback);
        answer = [&](ZurErrorContext*) { return row.answer; };
        _zurSetMode(row.byte);
        _zurSetErrStatus(99);
        errno = 99;
        calls = 0;
        const fp_words after = under({}, [&] { tell(s.status); });
        const auto does = [&](char action) { return row.actions.find(action) != std::string::npos; };
        EXPECT_EQ(_zurGetErrStatus(), does('s') ? s.status : 99);
        EXPECT_EQ(errno, does('e') ? s.number : 99);
        EXPECT_EQ(after.x87_flags(), does('x') ? s.flag : 0);
        EXPECT_EQ(calls, does('c') ? 1 : 0);
        _zurSetErrorCallBack(nullptr);  // none installed: the bit alone does nothing
        tell(s.status);
      });
}

// What is printed: a message by its number, and a line a value, with the texts of arko_serv_print.
TEST(report_actions, print_one_line_a_value) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct line {
    int code;
    double value;
  };
  const struct {
    int status;
    values v;
    int head;
    std::vector<line> lines;
  } rows[] = {
      {1, {1, 1, 2, 2}, 750, {{755, 1}, {756, 2}}},
      {2, {1, 1, 2, 3}, 751, {{757, 1}, {758, 2}, {759, 3}}},
      {3, {1, 4, 2, 2}, 752, {{760, 1}, {761, 4}, {762, 2}}},
      {4, {1, 4, 2, 3}, 753, {{763, 1}, {764, 4}, {765, 2}, {766, 3}}},
      {7, {1, 1, 2, 2}, 754, {{755, 1}, {756, 2}}},
      {1, {1.5, 0.0, 2, -0.0}, 750, {{755, 1.5}, {756, 2}}},  // a second value of zero counts as none
      {1, {nan, nan, 2, 2}, 750, {{755, nan}, {756, 2}}},     // equal patterns
      {1, {1.5, nan, 2, nan}, 750, {{763, 1.5}, {764, nan}, {765, 2}, {766, nan}}},
      {1, {0.0, -1.0, 0.0, 5.0}, 750, {{763, 0.0}, {764, -1.0}, {765, 0.0}, {766, 5.0}}},
      {-1, {1, 4, 2, 3}, 748, {}},
      {-2, {1, 4, 2, 3}, 749, {}},
      {0, {1, 4, 2, 3}, 0, {}},
  };
  for (const auto& row : rows)
    on_new_thread([&] {
      _zurSetMode(ZUR_ERRMODE_STDERR);
      const std::string printed = captured([&] { tell(row.status, row.v); });
      const std::string expected = captured([&] {
        if (row.head) arko_serv_print(1, row.head, row.head == 748 ? 2 : 1, "vdTest", 0);
        for (const line& l : row.lines) arko_serv_print(1, l.code, 2, 0, l.value);
      });
      EXPECT_EQ(printed, expected);
      EXPECT_EQ(printed.empty(), row.status == 0);
    });
}

// ---- traps

bool trapped(unsigned mode, const std::function<void()>& f) {
  const ending end = in_child([&] { _zurSetMode(mode), f(); });
  EXPECT_TRUE(end.exit_code == 0 || end.signal == SIGFPE);
  return end.signal == SIGFPE;
}

TEST(report_traps, arrive_exactly_where_the_mode_selects_them) {
  for (unsigned nibble = 1; nibble < 16; nibble++)
    for (const status_row& s : statuses) {
      const bool selected = s.status >= 1 && s.status <= 4 && (nibble >> (s.status - 1) & 1);
      EXPECT_EQ(trapped(nibble << 24 | ZUR_ERRMODE_EXCEPT, [&] { tell(s.status); }), selected)
          << nibble << " status " << s.status;
    }
  EXPECT_FALSE(trapped(ZUR_TRAP_OVERFLOW | ZUR_ERRMODE_ERRNO, [] { tell(3); }))
      << "without ZUR_ERRMODE_EXCEPT";
  const auto overflow = [] {
    const float x = 100;
    float r;
    _zursExp_21(1, &x, &r);
    if (!std::isinf(r)) _exit(1);
  };
  EXPECT_TRUE(trapped(ZUR_TRAP_OVERFLOW, overflow));
  EXPECT_FALSE(trapped(ZUR_TRAP_INVALID | ZUR_TRAP_DIVBYZERO | ZUR_TRAP_UNDERFLOW, overflow));
}

TEST(report_traps, flags_add_up_and_the_control_word_is_the_callers) {
  on_new_thread([] {
    const float x[] = {100, -1000};
    float r[2];
    const fp_words after = under({.control = 0x27F}, [&] {
      tell(1);
      _zursExp(2, x, r);  // overflow and underflow
    });
    EXPECT_EQ(after.x87_flags(), 0x19u);
    EXPECT_EQ(after.control, 0x27F);
  });
}

}  // namespace
