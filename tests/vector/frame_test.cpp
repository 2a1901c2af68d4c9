// What all kernels have in common, over every kernel of the list: which elements are read and written, what
// an element's result depends on, reports, and the caller's floating-point words.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

  std::ptrdiff_t offset(int i) const { return std::ptrdiff_t{i} * inc * static_cast<std::ptrdiff_t>(size); }
  unsigned char* at(int i) const { return first + offset(i); }
  unsigned char* at(bytes& image, int i) { return &image[at(i) - memory.begin()]; }

  // Puts an array of n elements at an end of the memory. All other bytes are `untouched`.
  void lay(int n, int increment, std::size_t element, place where) {
    inc = increment, size = element;
    const std::ptrdiff_t last = n > 0 ? offset(n - 1) : 0, extent = n > 0 ? std::abs(last) + element : 0;
    memory.clear();
    first = where == place::end     ? memory.end() - extent
            : where == place::begin ? memory.begin()
                                    : memory.begin() + size;
    if (inc < 0) first -= last;
  }
  bytes image() { return {memory.begin(), memory.end()}; }
  void restore(const bytes& image) { std::ranges::copy(image, memory.begin()); }
};

class frame : public testing::TestWithParam<kernel> {
 protected:
  const kernel k = GetParam();
  const form& how = *k.f->how;
  std::mt19937 random{20260501};
  operand in[2], out[2];

  // The unit-stride kernel of a twin's level: in the list a twin follows its function.
  kernel unit() const { return k.f->strided ? kernel{k.f - 1, k.level} : k; }
  // An increment that keeps a twin from calling the unit-stride kernel.
  int own_step() const { return k.f->strided ? 2 : 1; }
  bool can_work_in_place() const { return how.in_size == how.out_size; }
  std::vector<int> same(int inc) const { return std::vector<int>(how.inputs + how.outputs, inc); }

  // A number, in all parts of an argument or in the first alone; and the first part.
  void put(unsigned char* at, double d, bool all = true) const {
    const auto s = static_cast<float>(d);
    for (std::size_t part = 0; part < (all ? how.in_size : how.real_size); part += how.real_size)
      std::memcpy(at + part, how.real_size == 4 ? static_cast<const void*>(&s) : &d, how.real_size);
  }
  double get(const unsigned char* at) const {
    float s;
    double d = 0;
    std::memcpy(&s, at, sizeof s);
    std::memcpy(&d, at, how.real_size);
    return how.real_size == 8 ? d : s;
  }

  // Lays all arrays and fills the inputs. increments: one for each input, then one for each output.
  void lay(int n, const std::vector<int>& increments, place where = place::end) {
    for (int j = 0; j < 2; j++) {
      in[j].lay(n, j < how.inputs ? increments[j] : 1, how.in_size, where);
      out[j].lay(n, j < how.outputs ? increments[how.inputs + j] : 1, how.out_size, where);
    }
    for (int j = 0; j < how.inputs; j++)
      for (int i = 0; i < n; i++)
        fill(in[j].at(i), static_cast<int>(how.in_size / how.real_size), how.real_size, random);
  }

  // `in_place`: the input that the first output shares, or none.
  operand& results(int in_place) { return in_place < 0 ? out[0] : in[in_place]; }
  arguments call(int n, int in_place = -1) {
    return {n,
            {in[0].first, in[1].first},
            {results(in_place).first, out[1].first},
            {in[0].inc, in[1].inc},
            {out[0].inc, out[1].inc}};
  }

  // The results of element i, in a call of its own.
  void single(const kernel& one, int i, unsigned char (&r)[2][16]) const {
    alignas(16) unsigned char x[2][16] = {};
    for (int j = 0; j < how.inputs; j++) std::memcpy(x[j], in[j].at(i), how.in_size);
    one({1, {x[0], x[1]}, {r[0], r[1]}, {2, 2}, {2, 2}});
  }

  // One call against calls for each element.
  void check(int n, const std::vector<int>& increments, place where, int in_place = -1) {
    lay(n, increments, where);
    operand& shared = results(in_place);
    const bytes inputs[2] = {in[0].image(), in[1].image()};
    bytes expected[2] = {shared.image(), out[1].image()};
    for (int i = 0; i < n; i++) {
      unsigned char r[2][16];
      single(increments == same(1) ? unit() : k, i, r);
      std::memcpy(shared.at(expected[0], i), r[0], how.out_size);
      if (how.outputs > 1) std::memcpy(out[1].at(expected[1], i), r[1], how.out_size);
    }
    k(call(n, in_place));
    for (int i = 0; how.inputs == 2 && i < n; i++)
      for (std::size_t part = 0; part < how.out_size; part += how.real_size)
        take_over_nan(shared.at(expected[0], i) + part, shared.at(i) + part, how.real_size);
    const bool right = shared.image() == expected[0] && out[1].image() == expected[1];
    bool kept = true;
    for (int j = 0; j < 2; j++) kept &= j == in_place || in[j].image() == inputs[j];
    ASSERT_TRUE(right && kept) << "n " << n << ", place " << static_cast<int>(where) << ", in place "
                               << in_place << ", increments " << testing::PrintToString(increments)
                               << (kept ? "" : ": an input has changed");
  }

  // ---- reports

  struct report {
    ZurErrorContext context;
    double result;  // in the array at the time of the report
    bool later_untouched;
  };
  std::vector<report> reports;
  std::function<std::int32_t(ZurErrorContext*)> act;

  // Keeps the reports about the n elements of r, and does what `act` says.
  void listen(operand& r, int n) {
    static thread_local frame* test;
    static thread_local operand* results;
    static thread_local int count;
    test = this, results = &r, count = n;
    reports.clear();
    _zurSetErrorCallBack([](ZurErrorContext* c) {
      // No block is longer than 32 elements, so nothing beyond can have been computed.
      bool untouched = true;
      for (int i = c->Index + 32; i < count; i++)
        untouched &= std::all_of(results->at(i), results->at(i) + test->how.out_size,
                                 [](unsigned char byte) { return byte == guarded::untouched; });
      test->reports.push_back({*c, test->get(results->at(c->Index)), untouched});
      return test->act ? test->act(c) : 0;
    });
  }
};

// Increments 1 here, also for the twins: those must give just what the unit-stride kernel gives.
TEST_P(frame, every_length_gives_what_single_elements_give) {
  for (const place where : {place::begin, place::begin_plus_one, place::end}) {
    for (const int n : {INT_MIN, -17, -1}) check(n, same(1), where);
    for (int n = 0; n <= 67; n++)
      for (int j = -1; j < (can_work_in_place() ? how.inputs : 0); j++) check(n, same(1), where, j);
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
    for (int n = 0; n <= 67 && can_work_in_place(); n++) check(n, same(inc), place::end, 0);
}

TEST_P(frame, exported_names_reach_the_kernel_of_their_level) {
  constexpr int n = 40, levels[] = {0, 1, 1, 2};
  lay(n, same(own_step()));
  k(call(n));
  const bytes expected = out[0].image();
  for (int name = 0; name < 4; name++) {
    if (levels[name] != k.level) continue;
    out[0].memory.clear();
    (k.f->strided ? how.twin : how.unit)(k.f->names[name], call(n));
    EXPECT_TRUE(out[0].image() == expected) << name;
  }
}

// Also where the results take the place of arguments: the report has the arguments as they were. The callback
// replaces results where it returns 0.
TEST_P(frame, reports_ascend_and_tell_the_element) {
  constexpr int n = 150;
  const auto same_number = [](double x, double y) { return x == y || (x != x && y != y); };
  for (const int inc : {1, 2, -3})
    for (int in_place = -1; in_place < (can_work_in_place() ? how.inputs : 0); in_place++) {
      if (inc != 1 && !k.f->strided) continue;
      SCOPED_TRACE(testing::Message() << "increment " << inc << ", in place " << in_place);
      lay(n, same(inc));
      bytes inputs[2] = {in[0].image(), in[1].image()};
      on_new_thread([&] {
        std::map<int, int> expected;  // status by element
        for (int i = 0; i < n; i++) {
          unsigned char r[2][16];
          _zurClearErrStatus();
          single(inc == 1 ? unit() : k, i, r);
          if (const int status = _zurGetErrStatus()) expected[i] = status;
        }
        k(call(n, in_place));
        bytes replaced = results(in_place).image();
        for (int j = 0; j < 2; j++) in[j].restore(inputs[j]), out[j].memory.clear();
        act = [this](ZurErrorContext* c) {
          c->Res1 = c->Res2 = 42;
          return static_cast<std::int32_t>(reports.size() % 2);
        };
        listen(results(in_place), n);
        _zurSetErrStatus(77);
        k(call(n, in_place));
        EXPECT_EQ(_zurGetErrStatus(), expected.empty() ? 77 : expected.rbegin()->second);
        ASSERT_EQ(reports.size(), expected.size());
        auto next = expected.begin();
        for (const auto& [c, result, later_untouched] : reports) {
          const auto argument = [&](int j, bool imaginary = false) {
            if (imaginary && how.in_size == how.real_size) return 0.0;
            return get(in[j].at(inputs[j], next->first) + (imaginary ? how.real_size : 0));
          };
          EXPECT_EQ(c.Index, next->first);
          EXPECT_EQ(c.Code, next->second);
          EXPECT_EQ(c.FuncName, (inc == 1 ? unit() : k).f->report_name);
          EXPECT_EQ(c.FuncNameLen, static_cast<int>(std::strlen(c.FuncName)));
          EXPECT_PRED2(same_number, c.Arg1, argument(0));
          EXPECT_PRED2(same_number, c.Arg2, argument(how.inputs - 1));
          EXPECT_PRED2(same_number, c.Arg1Im, argument(0, true));
          EXPECT_PRED2(same_number, c.Arg2Im, argument(how.inputs - 1, true));
          EXPECT_PRED2(same_number, c.Res1, result);
          EXPECT_TRUE(how.out_size > how.real_size || (c.Res1Im == 0 && c.Res2Im == 0));
          EXPECT_TRUE(later_untouched || in_place >= 0);
          if (std::distance(expected.begin(), next++) % 2)
            put(results(in_place).at(replaced, c.Index), 42, false);
        }
        EXPECT_TRUE(results(in_place).image() == replaced);
      });
    }
}

TEST_P(frame, error_mode_does_not_change_results) {
  constexpr int n = 150;
  for (const unsigned denormals : {ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
    for (const int inc : {1, 2}) {
      lay(n, same(inc));
      on_new_thread([&] {
        _zurSetMode(ZUR_ERRMODE_CALLBACK | denormals);
        listen(out[0], n);
        k(call(n));
        const bytes expected = out[0].image();
        const int status = _zurGetErrStatus();
        for (const unsigned mode : {ZUR_ERRMODE_NOERR, ZUR_ERRMODE_IGNORE}) {
          _zurSetMode(mode | denormals);
          _zurSetErrStatus(77);
          out[0].memory.clear();
          k(call(n));
          EXPECT_TRUE(out[0].image() == expected) << std::hex << mode;
          EXPECT_EQ(_zurGetErrStatus(), mode == ZUR_ERRMODE_NOERR || status == 0 ? 77 : status);
        }
      });
    }
}

// A callback may set the mode and call kernels: neither touches the arithmetic of the kernel that it
// interrupts, and the next report goes by the new mode. It may write to arguments a block and more ahead:
// those are read when their turn comes.
TEST_P(frame, callback_may_set_the_mode_call_kernels_and_write_ahead) {
  constexpr int n = 150, ahead = 64;
  const float benign[] = {0.5f, 1.75f, 3};
  lay(n, same(own_step()));
  on_new_thread([&] {
    const auto write_ahead = [&](int from) {
      for (int j = 0; j < how.inputs; j++)
        for (int i = from + ahead; i < n; i++) std::memcpy(in[j].at(i), in[j].at(0), how.in_size);
    };
    _zurSetMode(ZUR_ERRMODE_CALLBACK);
    listen(out[0], n);
    k(call(n));
    if (reports.empty()) return;
    const bytes inputs[2] = {in[0].image(), in[1].image()};
    write_ahead(reports[0].context.Index);
    k(call(n));
    const bytes expected = out[0].image();
    for (int j = 0; j < 2; j++) in[j].restore(inputs[j]);
    act = [&](ZurErrorContext* c) {
      float r[3];
      _zursCeil(3, benign, r);  // rounds upward
      _zursExp_21(3, benign, r);
      write_ahead(c->Index);
      _zurSetMode(ZUR_ERRMODE_NOERR | ZUR_FLUSH_DENORMALS);
      return 0;
    };
    reports.clear();
    k(call(n));
    EXPECT_TRUE(out[0].image() == expected);
    EXPECT_EQ(reports.size(), 1u);
  });
}

// ---- the floating-point environment

// Kernels that keep the caller's denormal handling, most of them the rounding too, and do not look at the
// mode word.
bool keeps_callers_environment(const kernel& k) {
  const std::string& name = k.f->name;
  for (const char* f :
       {"sAbs", "dAbs", "sRint", "dRint", "sNearbyInt", "dNearbyInt", "dLinearFrac", "dLinearFracI"})
    if (name == f) return true;
  return name == "dLog1p" && k.level == 1;
}

TEST_P(frame, callers_words_come_back_and_results_do_not_depend_on_them) {
  constexpr int n = 37;
  lay(n, same(own_step()));
  for (const unsigned denormals : {0u, ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
    on_new_thread([&] {
      // A report may raise x87 flags, which a caller with unmasked exceptions would see as a trap.
      _zurSetMode(ZUR_ERRMODE_IGNORE | denormals);
      const unsigned raised = under({}, [&] { k(call(n)); }).sse_flags();
      const bytes expected = out[0].image();
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
          if (keeps_callers_environment(k)) continue;
          ASSERT_EQ(after.sse, sse | raised) << std::hex << sse;
          ASSERT_TRUE(out[0].image() == expected) << std::hex << sse << ' ' << control;
        }
      }
    });
}

// The flags of an array are those of whole blocks of copies of each of its elements: whole numbers, and from
// the second round on one that may be special.
TEST_P(frame, flags_of_an_array_are_those_of_its_elements) {
  on_new_thread([&] {
    _zurSetMode(ZUR_ERRMODE_IGNORE);
    for (int round = 0; round < 40; round++)
      for (const int inc : {1, own_step()}) {
        constexpr int n = 17, copies = 64;
        lay(copies, same(inc));
        for (int j = 0; j < how.inputs; j++) {
          const auto special = bytes(in[j].at(0), in[j].at(0) + how.in_size);
          for (int i = 0; i < n; i++) put(in[j].at(i), i % 3 + 1);
          if (round) std::memcpy(in[j].at(round % n), special.data(), how.in_size);
        }
        bytes inputs[2] = {in[0].image(), in[1].image()};
        const auto flags = [&](int count) { return under({}, [&] { k(call(count)); }).sse_flags(); };
        unsigned expected = 0;
        for (int count = 1; count <= n; count++) {
          for (int j = 0; j < how.inputs; j++)
            for (int to = 0; to < copies; to++)
              std::memcpy(in[j].at(to), in[j].at(inputs[j], count - 1), how.in_size);
          expected |= flags(copies);
          for (int j = 0; j < 2; j++) in[j].restore(inputs[j]);
          EXPECT_EQ(flags(count), expected) << "n " << count << ", increment " << inc << ", round " << round;
        }
      }
  });
}

INSTANTIATE_TEST_SUITE_P(all, frame, testing::ValuesIn(kernels()),
                         [](const auto& info) { return info.param.name(); });

// ---- the longest arrays

// By unit stride, by increments, and in long steps, with a pole in the last element. The memory repeats, and
// so do the pole and its report.
TEST(longest_arrays, are_walked_to_their_end) {
  constexpr std::int32_t n = INT_MAX, step = 1 << 30, period = repeated::period / sizeof(float);
  constexpr std::size_t extent = std::size_t{2} * step + 1;
  repeated memory[2]{repeated(extent * sizeof(float)), repeated(extent * sizeof(float))};
  auto *x = memory[0].last<float>(extent), *r = memory[1].last<float>(extent);
  std::fill_n(x + extent - period, period, 2.0f);
  x[extent - 1] = 0;
  static std::int32_t last, reports;
  const struct {
    const char* name;
    std::int32_t n, inc_in, inc_out, reports;
  } rows[] = {{"sInv", n, 1, 1, (n - 1) / period + 1},
              {"sLogbI", n, 1, 0, (n - 1) / period + 1},
              {"sLogbI", 3, step, step, 3}};
  for (const auto& row : rows)
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) { return last = c->Index, reports++, 0; });
      reports = 0;
      std::fill_n(r + extent - period, period, -7.0f);
      const auto of_last = [&](std::int32_t inc) { return static_cast<std::size_t>(row.n - 1) * inc; };
      float *const from = x + extent - 1 - of_last(row.inc_in), *const to =
                                                                    r + extent - 1 - of_last(row.inc_out);
      const function& f = *std::ranges::find(functions(), row.name, &function::name);
      f(0, {row.n, {from, nullptr}, {to, nullptr}, {row.inc_in, 1}, {row.inc_out, 1}});
      EXPECT_TRUE(std::isinf(r[extent - 1])) << row.name;
      EXPECT_EQ(last, row.n - 1);
      EXPECT_EQ(reports, row.reports);
    });
}

}  // namespace
