// What all kernels have in common, over every kernel of the list: which elements are read and written, what
// an element's result depends on, reports, and the caller's floating-point words.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <functional>
#include <map>

#include "tests/support/child.h"
#include "tests/support/guard.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"
#include "tests/support/repeated.h"
#include "tests/support/samples.h"

namespace {

using namespace arko::test;
using bytes = std::vector<unsigned char>;

enum class place { begin, begin_plus_one, end };

struct operand {
  guarded memory{8192};
  unsigned char* first;  // element 0
  int inc;
  std::size_t size;  // of an element

  unsigned char* at(int i) const {
    return first + std::ptrdiff_t{i} * inc * static_cast<std::ptrdiff_t>(size);
  }

  // Puts an array of n elements at an end of the memory. All other bytes are `untouched`.
  void lay(int n, int increment, std::size_t element, place where) {
    inc = increment, size = element;
    const std::size_t steps =
        n > 0 ? static_cast<std::size_t>(n - 1) * static_cast<std::size_t>(std::abs(inc)) : 0;
    const std::size_t extent = n > 0 ? (steps + 1) * size : 0;
    memory.clear();
    unsigned char* low = where == place::end     ? memory.end() - extent
                         : where == place::begin ? memory.begin()
                                                 : memory.begin() + size;
    first = low + (inc < 0 ? steps * size : 0);
  }
  bytes image() { return {memory.begin(), memory.end()}; }
};

class frame : public testing::TestWithParam<kernel> {
 protected:
  const kernel k = GetParam();
  const form& how = *k.f->how;
  std::mt19937 random{20260501};
  operand in[2], out[2];

  // The unit-stride kernel of a twin's level.
  kernel unit() const {
    if (!k.f->strided) return k;
    for (const function& f : functions())
      if (f.name + "I" == k.f->name) return {&f, k.level};
    throw std::logic_error("a twin without its function");
  }

  // The results of one element, in a call of its own.
  void single(const kernel& one, const void* const (&a)[2], unsigned char (&r)[2][16]) const {
    alignas(16) unsigned char x[2][16] = {};
    arguments c{1};
    for (int j = 0; j < how.inputs; j++)
      std::memcpy(x[j], a[j], how.in_size), c.in[j] = x[j], c.inc_in[j] = 2;
    for (int j = 0; j < how.outputs; j++) c.out[j] = r[j], c.inc_out[j] = 2;
    one(c);
  }

  arguments call(int n) {
    arguments c{n};
    for (int j = 0; j < 2; j++) {
      c.in[j] = in[j].first, c.inc_in[j] = in[j].inc;
      c.out[j] = out[j].first, c.inc_out[j] = out[j].inc;
    }
    return c;
  }

  // Lays all arrays and fills the inputs. increments: one for each input, then one for each output.
  void lay(int n, const std::vector<int>& increments, place where) {
    for (int j = 0; j < 2; j++) {
      in[j].lay(n, j < how.inputs ? increments[j] : 1, how.in_size, where);
      out[j].lay(n, j < how.outputs ? increments[how.inputs + j] : 1, how.out_size, where);
    }
    for (int j = 0; j < how.inputs; j++)
      for (int i = 0; i < n; i++)
        fill(in[j].at(i), static_cast<int>(how.in_size / how.real_size), how.real_size, random);
  }
  // An increment that keeps a twin from calling the unit-stride kernel.
  int own_step() const { return k.f->strided ? 2 : 1; }
  std::vector<int> same(int inc) const { return std::vector<int>(how.inputs + how.outputs, inc); }

  // One call against calls for each element; `in_place`: the input that the first output shares, or none.
  void check(int n, const std::vector<int>& increments, place where, int in_place = -1) {
    lay(n, increments, where);
    operand& shared = in_place < 0 ? out[0] : in[in_place];
    const bool ones = increments == same(1);
    bytes expected[2] = {shared.image(), out[1].image()};
    for (int i = 0; i < n; i++) {
      const void* const a[] = {in[0].at(i), in[1].at(i)};
      unsigned char r[2][16];
      single(ones ? unit() : k, a, r);
      std::memcpy(&expected[0][shared.at(i) - shared.memory.begin()], r[0], how.out_size);
      std::memcpy(&expected[1][out[1].at(i) - out[1].memory.begin()], r[1],
                  how.outputs > 1 ? how.out_size : 0);
    }
    const bytes inputs[2] = {in[0].image(), in[1].image()};
    arguments c = call(n);
    c.out[0] = shared.first;
    k(c);
    for (int i = 0; how.inputs == 2 && i < n; i++)
      for (std::size_t part = 0; part < how.out_size; part += how.real_size)
        take_over_nan(&expected[0][shared.at(i) - shared.memory.begin() + part], shared.at(i) + part,
                      how.real_size);
    const auto told = [&] {
      std::string s = "n " + std::to_string(n) + ", place " + std::to_string(static_cast<int>(where)) +
                      ", in place " + std::to_string(in_place) + ", increments";
      for (const int inc : increments) s += " " + std::to_string(inc);
      return s;
    };
    ASSERT_TRUE(shared.image() == expected[0]) << told();
    ASSERT_TRUE(out[1].image() == expected[1]) << told();
    for (int j = 0; j < 2; j++) ASSERT_TRUE(j == in_place || in[j].image() == inputs[j]) << told();
  }
};

// Increments 1 here, also for the twins: those must give just what the unit-stride kernel gives.
TEST_P(frame, every_length_gives_what_single_elements_give) {
  for (const place where : {place::begin, place::begin_plus_one, place::end}) {
    for (const int n : {INT_MIN, -17, -1}) check(n, same(1), where);
    for (int n = 0; n <= 67; n++) {
      check(n, same(1), where);
      for (int j = 0; j < how.inputs && how.in_size == how.out_size; j++) check(n, same(1), where, j);
    }
  }
}

TEST_P(frame, every_increment_gives_what_single_elements_give) {
  if (!k.f->strided) return;
  const int arrays = how.inputs + how.outputs;
  for (int code = 0; code < 1 << (2 * arrays); code++) {
    std::vector<int> increments;
    for (int j = 0; j < arrays; j++) increments.push_back(std::array{-2, 0, 1, 3}[code >> (2 * j) & 3]);
    for (const int n : {-1, 0, 1, 3, 16, 37})
      check(n, increments, place::begin_plus_one), check(n, increments, place::end);
  }
  for (const int inc : {-2, 3})
    for (int n = 0; n <= 67 && how.in_size == how.out_size; n++) check(n, same(inc), place::end, 0);
}

TEST_P(frame, exported_names_reach_the_kernel_of_their_level) {
  constexpr int n = 40;
  lay(n, same(own_step()), place::end);
  k(call(n));
  const bytes expected = out[0].image();
  for (int name = 0; name < 4; name++) {
    if (std::array{0, 1, 1, 2}[name] != k.level) continue;
    out[0].memory.clear();
    (k.f->strided ? how.twin : how.unit)(k.f->names[name], call(n));
    EXPECT_TRUE(out[0].image() == expected) << name;
  }
}

// ---- reports

struct report {
  ZurErrorContext context;
  double result;  // in the array at the time of the report
  bool later_untouched;
};

// What the callback of the running test sees and does.
struct listener {
  operand* out;
  const form* how;
  int n;
  std::vector<report> reports = {};
  std::function<std::int32_t(ZurErrorContext*, std::size_t count)> act = {};
};
thread_local listener* listening;

double real_at(const unsigned char* p, std::size_t real_size) {
  float s;
  double d;
  std::memcpy(&s, p, sizeof s);
  std::memcpy(&d, p, real_size == 8 ? 8 : 4);
  return real_size == 8 ? d : s;
}

bool same_number(double x, double y) { return x == y || (x != x && y != y); }

std::int32_t listen(ZurErrorContext* c) {
  listener& l = *listening;
  // No block is longer than 32 elements, so nothing beyond can have been computed.
  const auto is_untouched = [](unsigned char byte) { return byte == guarded::untouched; };
  bool later_untouched = true;
  for (int i = c->Index + 32; i < l.n; i++)
    later_untouched &= std::all_of(l.out->at(i), l.out->at(i) + l.how->out_size, is_untouched);
  l.reports.push_back({*c, real_at(l.out->at(c->Index), l.how->real_size), later_untouched});
  return l.act ? l.act(c, l.reports.size()) : 0;
}

// Also where the results take the place of arguments: the report has the arguments as they were.
TEST_P(frame, reports_ascend_and_tell_the_element) {
  for (const int inc : {1, 2, -3})
    for (int in_place = -1; in_place < (how.in_size == how.out_size ? how.inputs : 0); in_place++) {
      if (inc != 1 && !k.f->strided) continue;
      constexpr int n = 150;
      lay(n, same(inc), place::end);
      const bytes inputs[2] = {in[0].image(), in[1].image()};
      operand& shared = in_place < 0 ? out[0] : in[in_place];
      listener l{&shared, &how, n};
      on_new_thread([&] {
        std::map<int, int> expected;  // status by element
        for (int i = 0; i < n; i++) {
          const void* const a[] = {in[0].at(i), in[1].at(i)};
          unsigned char r[2][16];
          _zurClearErrStatus();
          single(inc == 1 ? unit() : k, a, r);
          if (const int status = _zurGetErrStatus()) expected[i] = status;
        }
        listening = &l;
        _zurSetErrorCallBack(listen);
        _zurSetErrStatus(77);
        arguments c = call(n);
        c.out[0] = shared.first;
        k(c);
        EXPECT_EQ(_zurGetErrStatus(), expected.empty() ? 77 : expected.rbegin()->second);
        ASSERT_EQ(l.reports.size(), expected.size());
        auto next = expected.begin();
        const std::string name = inc == 1 ? unit().f->report_name : k.f->report_name;
        for (const report& r : l.reports) {
          const int i = r.context.Index;
          const auto argument = [&](int j, bool imaginary = false) {
            if (imaginary && how.in_size == how.real_size) return 0.0;
            const auto offset = in[j].at(i) - in[j].memory.begin();
            return real_at(&inputs[j][offset] + (imaginary ? how.real_size : 0), how.real_size);
          };
          EXPECT_EQ(i, next->first);
          EXPECT_EQ(r.context.Code, next->second);
          EXPECT_EQ(r.context.FuncName, name);
          EXPECT_EQ(r.context.FuncNameLen, static_cast<int>(name.size()));
          EXPECT_PRED2(same_number, r.context.Arg1, argument(0)) << "in place " << in_place;
          EXPECT_PRED2(same_number, r.context.Arg2, argument(how.inputs - 1)) << "in place " << in_place;
          EXPECT_PRED2(same_number, r.context.Res1, r.result);
          EXPECT_PRED2(same_number, r.context.Arg1Im, argument(0, true));
          EXPECT_PRED2(same_number, r.context.Arg2Im, argument(how.inputs - 1, true));
          if (how.out_size == how.real_size) {
            EXPECT_EQ(r.context.Res1Im, 0);
            EXPECT_EQ(r.context.Res2Im, 0);
          }
          EXPECT_TRUE(r.later_untouched || in_place >= 0);
          next++;
        }
      });
    }
}

TEST_P(frame, callback_replaces_results_when_it_returns_zero) {
  constexpr int n = 150;
  lay(n, same(own_step()), place::end);
  on_new_thread([&] {
    k(call(n));
    bytes expected = out[0].image();
    listener l{out, &how, n};
    // 42 for every other report; changes of the others are dropped by returning 1.
    l.act = [](ZurErrorContext* c, std::size_t count) {
      c->Res1 = c->Res2 = 42;
      return static_cast<std::int32_t>(count % 2);
    };
    listening = &l;
    _zurSetErrorCallBack(listen);
    k(call(n));
    for (std::size_t i = 1; i < l.reports.size(); i += 2) {
      const float s = 42;
      const double d = 42;
      unsigned char* at = &expected[out[0].at(l.reports[i].context.Index) - out[0].memory.begin()];
      std::memcpy(at, how.real_size == 4 ? static_cast<const void*>(&s) : &d, how.real_size);
    }
    EXPECT_TRUE(out[0].image() == expected);
  });
}

TEST_P(frame, error_mode_does_not_change_results) {
  constexpr int n = 150;
  for (const unsigned denormals : {ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
    for (const int inc : {1, 2}) {
      lay(n, same(inc), place::end);
      listener l{out, &how, n};
      on_new_thread([&] {
        listening = &l;
        _zurClearErrStatus();
        _zurSetMode(ZUR_ERRMODE_NOERR | denormals);
        k(call(n));
        const bytes expected = out[0].image();
        EXPECT_EQ(_zurGetErrStatus(), 0);
        _zurSetMode(ZUR_ERRMODE_CALLBACK | denormals);
        _zurSetErrorCallBack(listen);
        k(call(n));
        EXPECT_TRUE(out[0].image() == expected) << "with reports";
        const int status = _zurGetErrStatus();
        l.reports.clear();
        for (const unsigned mode : {ZUR_ERRMODE_NOERR, ZUR_ERRMODE_IGNORE}) {
          _zurSetMode(mode | denormals);
          _zurSetErrStatus(77);
          errno = 0;
          out[0].memory.clear();
          const fp_words after = under({}, [&] { k(call(n)); });
          EXPECT_TRUE(out[0].image() == expected) << std::hex << mode;
          EXPECT_EQ(_zurGetErrStatus(), mode == ZUR_ERRMODE_NOERR || status == 0 ? 77 : status);
          EXPECT_EQ(errno, 0);
          EXPECT_EQ(after.x87_flags(), 0u);
          EXPECT_TRUE(l.reports.empty());
        }
      });
    }
}

// A callback may set the mode and call kernels: neither touches the arithmetic of the kernel that it interrupts, and
// the next report goes by the new mode. It may write to arguments a block and more ahead: those are read when their
// turn comes.
TEST_P(frame, callback_may_set_the_mode_call_kernels_and_write_ahead) {
  constexpr int n = 150, ahead = 64;
  const float benign[] = {0.5f, 1.75f, 3};
  lay(n, same(own_step()), place::end);
  on_new_thread([&] {
    const auto write_ahead = [&](int from) {
      for (int j = 0; j < how.inputs; j++)
        for (int i = from + ahead; i < n; i++) std::memcpy(in[j].at(i), in[j].at(0), how.in_size);
    };
    listener l{out, &how, n};
    listening = &l;
    _zurSetErrorCallBack(listen);
    _zurSetMode(ZUR_ERRMODE_CALLBACK);
    k(call(n));
    if (l.reports.empty()) return;
    const int first = l.reports[0].context.Index;
    const bytes inputs[2] = {in[0].image(), in[1].image()};
    write_ahead(first);
    k(call(n));
    const bytes expected = out[0].image();
    for (int j = 0; j < 2; j++) std::copy(inputs[j].begin(), inputs[j].end(), in[j].memory.begin());
    l.reports.clear();
    l.act = [&](ZurErrorContext* c, std::size_t) {
      float r[3];
      _zursCeil(3, benign, r);  // rounds upward
      _zursExp_21(3, benign, r);
      write_ahead(c->Index);
      _zurSetMode(ZUR_ERRMODE_NOERR | ZUR_FLUSH_DENORMALS);
      return 0;
    };
    k(call(n));
    EXPECT_TRUE(out[0].image() == expected);
    EXPECT_EQ(l.reports.size(), 1u);
    EXPECT_EQ(_zurGetMode() & (ZUR_ERRMODE_MASK | ZUR_DENORMALS_MASK),
              ZUR_ERRMODE_NOERR | ZUR_FLUSH_DENORMALS);
  });
}

// ---- the floating-point environment

// Kernels that keep the caller's denormal handling, most of them the rounding too, and do not look at the mode word.
bool keeps_callers_environment(const kernel& k) {
  const std::string& name = k.f->name;
  for (const char* f :
       {"sAbs", "dAbs", "sRint", "dRint", "sNearbyInt", "dNearbyInt", "dLinearFrac", "dLinearFracI"})
    if (name == f) return true;
  return name == "dLog1p" && k.level == 1;
}

TEST_P(frame, callers_words_come_back_and_results_do_not_depend_on_them) {
  constexpr int n = 37;
  const bool own = !keeps_callers_environment(k);
  lay(n, same(own_step()), place::end);
  for (const unsigned denormals : {0u, ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
    on_new_thread([&] {
      // A report may raise x87 flags, which a caller with unmasked exceptions would see as a trap.
      _zurSetMode(ZUR_ERRMODE_IGNORE | denormals);
      const unsigned raised = under({}, [&] { k(call(n)); }).sse_flags();
      const bytes expected = out[0].image();
      int checked = 0;
      for (unsigned sse = 0; sse < 0x10000; sse += 0x20) {
        // Rounding and both denormal bits go round; masks all, none, or all but one; with and without a flag.
        const unsigned masks = sse & 0x1F80;
        if (masks != 0x1F80 && masks != 0 && masks != 0x1F00 && masks != 0x1B80) continue;
        for (const std::uint16_t control : {0x37F, 0x27F, 0x07F, 0xC7F, 0x340, 0xB7B}) {
          out[0].memory.clear();
          const fp_words after = under({sse, control}, [&] { k(call(n)); });
          ASSERT_EQ(after.control, control) << std::hex << sse;
          ASSERT_EQ(after.sse & ~0x3Fu, sse & ~0x3Fu);
          ASSERT_EQ(sse & ~after.sse, 0u) << "a sticky flag was lost";
          if (own) {
            ASSERT_EQ(after.sse, sse | raised) << std::hex << sse;
            ASSERT_TRUE(out[0].image() == expected) << std::hex << sse << ' ' << control;
          }
          checked++;
        }
      }
      EXPECT_EQ(checked, 4 * 4 * 4 * 2 * 6);
    });
}

// The flags of an element alone are those of whole blocks of copies of it.
TEST_P(frame, flags_of_an_array_are_those_of_its_elements) {
  on_new_thread([&] {
    _zurSetMode(ZUR_ERRMODE_IGNORE);
    for (int round = 0; round < 40; round++)
      for (const int inc : {1, 2}) {
        if (inc != 1 && !k.f->strided) continue;
        constexpr int n = 17, copies = 64;
        lay(copies, same(inc), place::end);
        for (int j = 0; j < how.inputs;
             j++) {  // whole numbers, from the second round on with one that may be special
          const auto special = bytes(in[j].at(0), in[j].at(0) + how.in_size);
          for (int i = 0; i < n; i++) {
            const double d = i % 3 + 1;
            const auto s = static_cast<float>(d);
            std::memcpy(in[j].at(i), how.real_size == 4 ? static_cast<const void*>(&s) : &d, how.real_size);
          }
          if (round) std::memcpy(in[j].at(round % n), special.data(), how.in_size);
        }
        const bytes inputs[2] = {in[0].image(), in[1].image()};
        const auto flags = [&](int count) { return under({}, [&] { k(call(count)); }).sse_flags(); };
        unsigned of_each[n], expected = 0;
        for (int i = 0; i < n; i++) {
          for (int j = 0; j < how.inputs; j++)
            for (int to = 0; to < copies; to++)
              std::memcpy(in[j].at(to), &inputs[j][in[j].at(i) - in[j].memory.begin()], how.in_size);
          of_each[i] = flags(copies);
        }
        for (int j = 0; j < 2; j++) std::copy(inputs[j].begin(), inputs[j].end(), in[j].memory.begin());
        for (int count = 1; count <= n; count++) {
          expected |= of_each[count - 1];
          EXPECT_EQ(flags(count), expected) << "n " << count << ", increment " << inc << ", round " << round;
        }
      }
  });
}

// Greater and lesser of two are what the processor's comparison gives, to which a NaN is invalid.
TEST_P(frame, quiet_nan_raises_nothing) {
  for (const char* root : {"Fmax", "Fmin", "MaxMag", "MinMag"})
    if (k.f->name.find(root) != std::string::npos) return;
  constexpr int n = 40;
  for (const unsigned mode : {ZUR_ERRMODE_NOERR, ZUR_ERRMODE_DEFAULT})
    for (const int at : {20, 39})
      for (int which = 0; which < how.inputs; which++)
        on_new_thread([&] {
          _zurSetMode(mode);
          lay(n, same(own_step()), place::end);
          for (int j = 0; j < how.inputs; j++)
            for (int i = 0; i < n; i++) {
              const double d = j == which && i == at ? std::numeric_limits<double>::quiet_NaN() : 1.25;
              const auto s = static_cast<float>(d);
              for (std::size_t part = 0; part < how.in_size; part += how.real_size)
                std::memcpy(in[j].at(i) + part, how.real_size == 4 ? static_cast<const void*>(&s) : &d,
                            how.real_size);
            }
          const fp_words after = under({}, [&] { k(call(n)); });
          EXPECT_EQ(after.sse_flags() & 1, 0u) << "argument " << which << " of element " << at;
          EXPECT_EQ(_zurGetErrStatus(), 0);
        });
}

INSTANTIATE_TEST_SUITE_P(all, frame, testing::ValuesIn(kernels()),
                         [](const auto& info) { return info.param.name(); });

// ---- the longest arrays

// One kernel of each way to walk, with a special last element. The memory repeats, and so do the element and its report.
TEST(longest_arrays, are_walked_to_their_end) {
  constexpr std::size_t n = INT_MAX, period = repeated::period / sizeof(float);
  constexpr std::size_t extent = 2 * n * sizeof(float);
  repeated memory[3]{repeated(extent), repeated(extent), repeated(extent)};
  static std::int32_t last, reports;
  const struct {
    const char* name;
    std::int32_t inc;
    bool reports;
  } rows[] = {{"sInv", 1, true},
              {"sDiv", 1, true},
              {"sModf", 1, false},
              {"sLinearFrac", 1, false},
              {"sLogbI", 2, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const function& f = *std::ranges::find(functions(), row.name, &function::name);
    const std::size_t end = (n - 1) * static_cast<std::size_t>(row.inc) + 1;
    float* array[3];
    for (int j = 0; j < 3; j++) array[j] = memory[j].last<float>(end);
    std::fill_n(array[0] + end - period, period, 2.0f);
    array[0][end - 1] = 0;
    const auto call = [&](std::int32_t count, std::size_t from) {
      for (int j = 1; j < 3; j++) std::fill_n(array[j] + end - period, period, -7.0f);
      const arguments c{count,
                        {array[0] + from, array[0] + from},
                        {array[1] + from, array[2] + from},
                        {row.inc, row.inc},
                        {row.inc, row.inc}};
      f(0, c);
      return std::array{array[1][end - 1], array[2][end - 1], array[1][end - 1 - row.inc]};
    };
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) {
        last = c->Index, reports++;
        return 0;
      });
      const auto expected = call(3, end - 1 - 2 * static_cast<std::size_t>(row.inc));
      last = -1, reports = 0;
      const auto got = call(INT_MAX, 0);
      EXPECT_EQ(std::memcmp(&got, &expected, sizeof got), 0);
      EXPECT_EQ(last, row.reports ? INT_MAX - 1 : -1);
      EXPECT_EQ(reports, row.reports ? static_cast<int>((end - 1) / period + 1) : 0);
    });
  }
}

}  // namespace
