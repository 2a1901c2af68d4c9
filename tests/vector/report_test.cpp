// The element reporter, called directly in its eight variants, and through a kernel where the way back
// counts.

#include "vector/report.h"

#include <arko/core.h>
#include <arko/vector.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/probes.h"

namespace {

using namespace arko::test;

// ---- the four element types alike

template <class E> struct of;
template <> struct of<float> {
  static constexpr auto plain = zur::ZurReportS;
  static constexpr auto strided = zur::ZurReportSI;
  static float make(double re, double) { return static_cast<float>(re); }
  static std::array<double, 2> parts(float x) { return {x, 0}; }
};
template <> struct of<double> {
  static constexpr auto plain = zur::ZurReportD;
  static constexpr auto strided = zur::ZurReportDI;
  static double make(double re, double) { return re; }
  static std::array<double, 2> parts(double x) { return {x, 0}; }
};
template <class T> struct of_complex {
  using E = zur::complex<T>;
  static E make(double re, double im) { return {static_cast<T>(re), static_cast<T>(im)}; }
  static std::array<double, 2> parts(E x) { return {x.re, x.im}; }
};
template <> struct of<zur::complex<float>> : of_complex<float> {
  static constexpr auto plain = zur::ZurReportC;
  static constexpr auto strided = zur::ZurReportCI;
};
template <> struct of<zur::complex<double>> : of_complex<double> {
  static constexpr auto plain = zur::ZurReportZ;
  static constexpr auto strided = zur::ZurReportZI;
};

// What the callback got, and what it does.
thread_local ZurErrorContext seen;
thread_local int calls;
thread_local std::function<std::int32_t(ZurErrorContext*)> answer;
std::int32_t callback(ZurErrorContext* c) {
  seen = *c;
  calls++;
  return answer ? answer(c) : 0;
}

template <class E> class report : public testing::Test {
 protected:
  static constexpr bool is_complex = sizeof(E) > sizeof(double) || std::is_class_v<E>;
  E a[40], b[40], r1[40], r2[40];
  report() {
    for (int i = 0; i < 40; i++) {
      a[i] = of<E>::make(100 + i, -100 - i), b[i] = of<E>::make(200 + i, -200 - i);
      r1[i] = of<E>::make(300 + i, -300 - i), r2[i] = of<E>::make(400 + i, -400 - i);
    }
  }
  // A record whose four values are those of the elements with these numbers.
  void expect_values(int ia, int ib, int ir1, int ir2) {
    EXPECT_EQ(seen.Arg1, 100 + ia);
    EXPECT_EQ(seen.Arg2, 200 + ib);
    EXPECT_EQ(seen.Res1, 300 + ir1);
    EXPECT_EQ(seen.Res2, 400 + ir2);
    if (!is_complex) return;
    EXPECT_EQ(seen.Arg1Im, -100 - ia);
    EXPECT_EQ(seen.Arg2Im, -200 - ib);
    EXPECT_EQ(seen.Res1Im, -300 - ir1);
    EXPECT_EQ(seen.Res2Im, -400 - ir2);
  }
};
using elements = testing::Types<float, double, zur::complex<float>, zur::complex<double>>;
TYPED_TEST_SUITE(report, elements);

TYPED_TEST(report, fills_the_record_from_the_elements) {
  on_new_thread([&] {
    _zurSetErrorCallBack(callback);
    of<TypeParam>::plain(3, 7, this->a, this->b, this->r1, this->r2, "name");
    EXPECT_EQ(seen.Code, 3);
    EXPECT_EQ(seen.Index, 7);
    EXPECT_STREQ(seen.FuncName, "name");
    EXPECT_EQ(seen.FuncNameLen, 4);
    this->expect_values(7, 7, 7, 7);
    of<TypeParam>::strided(4, 5, this->a, 2, this->b + 30, -3, this->r1, 0, this->r2, 7, "twin");
    EXPECT_EQ(seen.Code, 4);
    EXPECT_EQ(seen.Index, 5);
    this->expect_values(10, 15, 0, 35);
  });
}

// Counted from the interface input vector, by the size of an element and not by the increment.
TYPED_TEST(report, counts_from_the_interface_input_vector) {
  on_new_thread([&] {
    _zurSetErrorCallBack(callback);
    EXPECT_EQ(_zurSetInterfInputVectorPointer(this->a), this->a);
    of<TypeParam>::plain(1, 5, this->a + 16, this->b, this->r1, this->r2, "");
    EXPECT_EQ(seen.Index, 21);
    this->expect_values(21, 5, 5, 5);
    of<TypeParam>::strided(1, 5, this->a + 16, 3, this->b, 1, this->r1, 1, this->r2, 1, "");
    EXPECT_EQ(seen.Index, 21);
    this->expect_values(31, 5, 5, 5);
    _zurSetInterfInputVectorPointer(this->a + 20);
    of<TypeParam>::plain(1, 5, this->a + 16, this->b, this->r1, this->r2, "");
    EXPECT_EQ(seen.Index, 1);
    _zurSetInterfInputVectorPointer(nullptr);
    of<TypeParam>::plain(1, 5, this->a + 16, this->b, this->r1, this->r2, "");
    EXPECT_EQ(seen.Index, 5);
  });
}

TYPED_TEST(report, takes_results_from_the_record) {
  const auto answering = [](std::int32_t value) {
    return [value](ZurErrorContext* c) {
      c->Res1 = 51, c->Res1Im = 52, c->Res2 = 61, c->Res2Im = 62;
      return value;
    };
  };
  const auto parts = [](TypeParam x) { return of<TypeParam>::parts(x); };
  const auto first = parts(of<TypeParam>::make(51, 52)), second = parts(of<TypeParam>::make(61, 62));
  on_new_thread([&] {
    _zurSetErrorCallBack(callback);
    answer = answering(1);  // dropped
    of<TypeParam>::plain(3, 7, this->a, this->b, this->r1, this->r2, "");
    EXPECT_EQ(parts(this->r1[7])[0], 307);
    EXPECT_EQ(parts(this->r2[7])[0], 407);
    answer = answering(0);
    for (const int no_values : {-1, -2})
      of<TypeParam>::plain(no_values, 7, this->a, this->b, this->r1, this->r2, "");
    EXPECT_EQ(parts(this->r1[7])[0], 307);
    of<TypeParam>::plain(3, 7, this->a, this->b, this->r1, this->r2, "");
    EXPECT_EQ(parts(this->r1[7]), first);
    EXPECT_EQ(parts(this->r2[7]), second);
    of<TypeParam>::strided(3, 4, this->a, 1, this->b, 1, this->r1, 5, this->r2, -2 + 4, "");
    EXPECT_EQ(parts(this->r1[20]), first);
    EXPECT_EQ(parts(this->r2[8]), second);
    of<TypeParam>::plain(3, 9, this->a, this->a, this->r1, this->r1,
                         "");  // one array: the first result stays
    EXPECT_EQ(parts(this->r1[9]), first);
    for (const int i : {6, 8, 10, 19, 21}) EXPECT_EQ(parts(this->r1[i])[0], 300 + i);
  });
}

TEST(report_single, results_survive_the_way_through_double) {
  on_new_thread([] {
    _zurSetErrorCallBack(callback);
    using limits = std::numeric_limits<float>;
    for (const float x : {limits::denorm_min(), limits::min() - limits::denorm_min(), -limits::max(), -0.0f,
                          limits::infinity(), std::bit_cast<float>(0xFFC12345)}) {
      float r = x;
      zur::ZurReportS(3, 0, &x, &x, &r, &r, "");
      EXPECT_EQ(std::bit_cast<std::uint32_t>(r), std::bit_cast<std::uint32_t>(x));
    }
  });
}

// ---- what is done about an element; one variant stands for all from here on

// One report of a double; one array where the second value is that of the first.
struct values {
  double a = 1, b = 1, r1 = 2, r2 = 2;
};
void tell(std::int32_t status, values v = {}, const char* name = "vdTest") {
  zur::ZurReportD(status, 0, &v.a, &v.b, &v.r1, &v.r2, name);
}

TEST(report_actions, names_are_cut_at_47) {
  on_new_thread([] {
    _zurSetErrorCallBack(callback);
    for (const int length : {0, 1, 46, 47, 48, 63, 64, 200}) {
      const std::string name(static_cast<std::size_t>(length), 'x');
      tell(3, {}, name.c_str());
      EXPECT_EQ(seen.FuncNameLen, std::min(length, 47));
      EXPECT_EQ(seen.FuncName, name.substr(0, 47));
    }
  });
}

// Statuses with their errno and x87 flag.
struct status_row {
  int status, number;
  unsigned flag;
};
constexpr status_row statuses[] = {{1, 33, 0x01}, {2, 34, 0x04}, {3, 34, 0x08}, {4, 34, 0x10}, {0, 0, 0},
                                   {-1, 22, 0},   {-2, 13, 0},   {5, 14, 0},    {-3, 14, 0}};

// `actions`: the status is stored, errno is set, the x87 flag is raised, the callback is called.
TEST(report_actions, follow_the_error_mode_byte) {
  struct {
    unsigned byte;
    bool stored, number, flag, called;
  } const rows[] = {{0x2000, false, false, false, false}, {0x0100, true, false, false, false},
                    {0x0300, true, true, false, false},   {0x2200, true, true, false, false},
                    {0x2100, true, false, false, false},  {0x0200, true, true, false, false},
                    {0x0800, true, false, true, false},   {0x1000, true, false, false, true},
                    {0x1100, true, false, false, true},   {0x1A00, true, true, true, true},
                    {0x4000, true, false, false, false}};
  for (const auto& row : rows)
    for (const status_row& s : statuses)
      on_new_thread([&] {
        SCOPED_TRACE(testing::Message() << std::hex << row.byte << " status " << s.status);
        _zurSetErrorCallBack(callback);
        _zurSetMode(row.byte);
        _zurSetErrStatus(99);
        errno = 99;
        calls = 0;
        const fp_words after = under({}, [&] { tell(s.status); });
        EXPECT_EQ(_zurGetErrStatus(), row.stored ? s.status : 99);
        EXPECT_EQ(errno, row.number ? s.number : 99);
        EXPECT_EQ(after.x87_flags(), row.flag ? s.flag : 0);
        EXPECT_EQ(calls, row.called ? 1 : 0);
      });
}

TEST(report_actions, callback_that_returns_nonzero_ends_the_report) {
  on_new_thread([] {
    answer = [](ZurErrorContext*) { return -5; };
    _zurSetErrorCallBack(callback);
    errno = 99;
    EXPECT_EQ(under({}, [] { tell(3); }).x87_flags(), 0u);
    EXPECT_EQ(errno, 99);
    EXPECT_EQ(_zurGetErrStatus(), 3);
    _zurSetErrorCallBack(nullptr);  // none installed, and the bit alone does nothing
    _zurSetMode(ZUR_ERRMODE_DEFAULT);
    tell(3);
    EXPECT_EQ(errno, 34);
  });
}

// What is printed: the messages by number, with the texts of arko_serv_print.
TEST(report_actions, print_one_line_a_value) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct {
    int status;
    values v;
    int head;
    std::vector<int> codes;
  } const rows[] = {
      {1, {1, 1, 2, 2}, 750, {755, 756}},
      {2, {1, 1, 2, 3}, 751, {757, 758, 759}},
      {3, {1, 4, 2, 2}, 752, {760, 761, 762}},
      {4, {1, 4, 2, 3}, 753, {763, 764, 765, 766}},
      {7, {1, 1, 2, 2}, 754, {755, 756}},
      {1, {1.5, 0.0, 2, -0.0}, 750, {755, 756}},  // a second value of zero counts as none
      {1, {nan, nan, 2, 2}, 750, {755, 756}},     // equal patterns
      {1, {1.5, nan, 2, nan}, 750, {763, 764, 765, 766}},
      {1, {0.0, -1.0, 0.0, 5.0}, 750, {763, 764, 765, 766}},
      {-1, {1, 4, 2, 3}, 748, {}},
      {-2, {1, 4, 2, 3}, 749, {}},
      {0, {1, 4, 2, 3}, 0, {}},
  };
  for (const auto& row : rows) {
    const ending printed = in_child([&] {
      _zurSetMode(ZUR_ERRMODE_STDERR);
      tell(row.status, row.v);
    });
    const ending expected = in_child([&] {
      if (row.head == 748)
        arko_serv_print(1, 748, 2, "vdTest", 0);
      else if (row.head)
        arko_serv_print(1, row.head, 1, "vdTest");
      for (const int code : row.codes) {
        const bool first_argument = code == 755 || code == 757 || code == 760 || code == 763;
        const bool second_argument = code == 761 || code == 764, second_result = code == 759 || code == 766;
        arko_serv_print(1, code, 2, 0,
                        first_argument    ? row.v.a
                        : second_argument ? row.v.b
                        : second_result   ? row.v.r2
                                          : row.v.r1);
      }
    });
    EXPECT_EQ(printed.text, expected.text);
    EXPECT_EQ(printed.text.empty(), row.status == 0);
  }
}

// ---- traps

sigjmp_buf landing;
void land(int) { siglongjmp(landing, 1); }

bool trapped(const std::function<void()>& f) {
  struct sigaction act = {}, old;
  act.sa_handler = land;
  sigaction(SIGFPE, &act, &old);
  volatile bool arrived = false;
  if (sigsetjmp(landing, 1) == 0)
    f();
  else
    arrived = true;
  fp_words{}.set();
  sigaction(SIGFPE, &old, nullptr);
  return arrived;
}

TEST(report_traps, arrive_exactly_where_the_mode_selects_them) {
  for (unsigned nibble = 1; nibble < 16; nibble++)
    for (const status_row& s : statuses)
      on_new_thread([&] {
        _zurSetMode(nibble << 24 | ZUR_ERRMODE_EXCEPT);
        const bool selected = s.status >= 1 && s.status <= 4 && (nibble >> (s.status - 1) & 1);
        EXPECT_EQ(trapped([&] { tell(s.status); }), selected) << nibble << " status " << s.status;
        _zurSetMode(ZUR_ERRMODE_ERRNO);
        EXPECT_FALSE(trapped([&] { tell(s.status); })) << "without ZUR_ERRMODE_EXCEPT";
      });
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

TEST(report_traps, end_a_process_that_does_not_handle_them) {
  const float x = 100;
  const auto run = [&](unsigned trap) {
    return in_child([&] {
      float r;
      _zurSetMode(trap);
      _zursExp_21(1, &x, &r);
      _exit(std::isinf(r) ? 0 : 1);
    });
  };
  EXPECT_EQ(run(ZUR_TRAP_OVERFLOW).signal, SIGFPE);
  EXPECT_EQ(run(ZUR_TRAP_INVALID | ZUR_TRAP_DIVBYZERO | ZUR_TRAP_UNDERFLOW).exit_code, 0);
}

// ---- the record's place in memory is part of the interface

#define AT(field, offset) static_assert(offsetof(ZurErrorContext, field) == offset)
AT(Code, 0);
AT(Index, 4);
AT(Arg1, 8);
AT(Arg2, 16);
AT(Res1, 24);
AT(Res2, 32);
AT(FuncName, 40);
AT(FuncNameLen, 104);
AT(Arg1Im, 112);
AT(Arg2Im, 120);
AT(Res1Im, 128);
AT(Res2Im, 136);
static_assert(sizeof(ZurErrorContext) == 144);

}  // namespace
